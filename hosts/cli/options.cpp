// Arguments to options. The first name is the filter; which parameters it takes and what they
// accept stands in the catalogue. Options may stand before or after the names; "--" ends them.
//
// The arguments are walked twice: first to find the filter, since a parameter may stand before it,
// then to fill the options.
#include "commandline.h"
#include "hosts/imagefile/filesystem.h"
#include "system.h"

#include <errno.h>
#include <iterator>
#include <stdlib.h>
#include <string.h>

static bool ApplyHelp(CommandOptions *options, const char *)
{
    options->nAction = ACTION_HELP;
    return true;
}

static bool ApplyVersion(CommandOptions *options, const char *)
{
    options->nAction = ACTION_VERSION;
    return true;
}

static bool ApplyQuiet(CommandOptions *options, const char *)
{
    options->bQuiet = true;
    return true;
}

static bool ApplyNoClobber(CommandOptions *options, const char *)
{
    options->bKeepExisting = true;
    return true;
}

static bool ApplyStoredValues(CommandOptions *options, const char *)
{
    options->bStoredValues = true;
    return true;
}

static bool ApplyOutput(CommandOptions *options, const char *value)
{
    options->output = value;
    options->bFolder = true;
    return *value != 0;
}

static bool ApplyFormat(CommandOptions *options, const char *value)
{
    options->nFormat = ImageFormatOfName((std::string(".") + value).c_str());
    return options->nFormat != IMAGE_UNKNOWN;
}

static bool ParseNumber(const char *value, int least, int greatest, int *number)
{
    const FilterParameter parameter = {"", PARAMETER_INTEGER, double(least), double(greatest),
                                       0,  nullptr,           nullptr,       0};
    ParameterValue parsed;
    if (!ParseParameterValue(&parameter, value, &parsed)) {
        return false;
    }
    *number = parsed.nValue;
    return true;
}

static bool ApplyQuality(CommandOptions *options, const char *value)
{
    return ParseNumber(value, 1, 100, &options->nQuality);
}

static bool ApplyJobs(CommandOptions *options, const char *value)
{
    return ParseNumber(value, 1, JOBS_MOST, &options->nJobs);
}

static bool ApplyProgress(CommandOptions *options, const char *value)
{
    static const struct {
        const char *pWord;
        ProgressWish nWish;
    } WISHES[] = {{"auto", PROGRESS_AUTO}, {"always", PROGRESS_ALWAYS}, {"never", PROGRESS_NEVER}};
    for (const auto &wish : WISHES) {
        if (strcmp(value, wish.pWord) == 0) {
            options->nProgress = wish.nWish;
            return true;
        }
    }
    return false;
}

const CommonOption COMMON_OPTIONS[] = {
    {"output", 'o', "DIR", "write the results into this folder, under the inputs' names",
     "the name of a folder", ApplyOutput},
    {"no-clobber", 'n', nullptr, "never replace an existing file", nullptr, ApplyNoClobber},
    {"format", 0, "FORMAT", "write bmp, png or jpeg, whatever the name ends in", "bmp, png or jpeg",
     ApplyFormat},
    {"jobs", 'j', "N", "with -o: work on so many pictures at a time, 1 to 64 (default 1)",
     "a whole number from 1 to 64", ApplyJobs},
    {"quality", 0, "N",
     "quality of a JPEG file, 1 to 100 (default: the input's if it is one, else 90)",
     "a whole number from 1 to 100", ApplyQuality},
    {"progress", 0, "WHEN", "show a progress bar: auto (on a terminal), always or never",
     "auto, always or never", ApplyProgress},
    {"stored-values", 0, nullptr,
     "hand pictures with colour tables to the filter as a host would, not as people see them",
     nullptr, ApplyStoredValues},
    {"quiet", 'q', nullptr, "no notices and no progress bar, errors only", nullptr, ApplyQuiet},
    {"help", 'h', nullptr, "this text, or behind a filter's name all about that filter", nullptr,
     ApplyHelp},
    {"version", 0, nullptr, "the version", nullptr, ApplyVersion},
};
const size_t COMMON_OPTION_COUNT = std::size(COMMON_OPTIONS);

// One argument taken apart.
struct Argument {
    bool bOption;
    std::string name;   // of the option without its dashes, or the whole argument
    bool bAttached;     // "--name=value"
    std::string value;  // attached
    const CommonOption *pCommon;
    const FilterParameter *pParameter;
};

static const FilterParameter *FindAnyParameter(const char *name)
{
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            if (const FilterParameter *found =
                    FindFilterParameter(&families[i]->pFilters[j], name)) {
                return found;
            }
        }
    }
    return nullptr;
}

// filter: null while it is not known; then any filter's parameter will do.
static Argument TakeApart(const char *text, const CatalogueFilter *filter)
{
    Argument argument = {false, text, false, "", nullptr, nullptr};
    if (text[0] != '-' || text[1] == 0) {
        return argument;
    }
    argument.bOption = true;
    bool bLong = text[1] == '-';
    argument.name = text + (bLong ? 2 : 1);
    size_t split = bLong ? argument.name.find('=') : 1;
    if (split < argument.name.size()) {
        argument.bAttached = true;
        argument.value = argument.name.substr(split + (bLong ? 1 : 0));
        argument.name.resize(split);
    }
    for (const CommonOption &option : COMMON_OPTIONS) {
        if (bLong ? argument.name == option.pName
                  : option.cLetter && argument.name[0] == option.cLetter) {
            argument.pCommon = &option;
        }
    }
    if (!argument.pCommon && bLong) {
        argument.pParameter = filter ? FindFilterParameter(filter, argument.name.c_str())
                                     : FindAnyParameter(argument.name.c_str());
    }
    return argument;
}

// A flag may stand alone: "--invert".
static bool TakesNextArgument(const Argument *argument)
{
    if (argument->bAttached) {
        return false;
    }
    if (argument->pCommon) {
        return argument->pCommon->pValueName != nullptr;
    }
    return argument->pParameter && argument->pParameter->nType != PARAMETER_FLAG;
}

// The index of the first name, or argc.
static int FindFirstName(int argc, char **argv)
{
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--") == 0) {
            return i + 1 < argc ? i + 1 : argc;
        }
        Argument argument = TakeApart(argv[i], nullptr);
        if (!argument.bOption) {
            return i;
        }
        if (TakesNextArgument(&argument)) {
            i++;
        }
    }
    return argc;
}

// Words in another order.
static bool RefuseOrder(int argc, char **argv)
{
    for (int i = 1; i < argc; i++) {
        if (argv[i][0] != '-' && FindCatalogueFilter(argv[i])) {
            Say("the filter comes first: vexafilter %s IN OUT", argv[i]);
            return true;
        }
    }
    return false;
}

static bool RefuseFilter(const char *name)
{
    std::vector<const char *> names = {"list", "help", "counts"};
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            names.push_back(families[i]->pFilters[j].pName);
        }
    }
    const char *nearest = NearestName(name, names);
    if (nearest) {
        Say("there is no filter '%s'; did you mean '%s'?", name, nearest);
    } else {
        Say("there is no filter '%s'; 'vexafilter list' names them all", name);
    }
    return false;
}

static bool RefuseOption(const char *text, const Argument *argument, const CatalogueFilter *filter)
{
    std::vector<const char *> names;
    for (const CommonOption &option : COMMON_OPTIONS) {
        names.push_back(option.pName);
    }
    for (size_t i = 0; filter && i < filter->nParameters; i++) {
        names.push_back(filter->pParameters[i].pName);
    }
    const char *nearest = NearestName(argument->name.c_str(), names);
    std::string subject = filter ? std::string(filter->pName) : "vexafilter";
    if (nearest) {
        Say("%s has no option '%s'; did you mean '--%s'?", subject.c_str(), text, nearest);
    } else {
        Say("%s has no option '%s'; --help names them all", subject.c_str(), text);
    }
    return false;
}

// A small text file. False after it has said what is wrong.
static bool ReadTextFile(const char *path, std::string *text)
{
    enum { MOST_BYTES = 1 << 20 };
    FILE *file = OpenPath(path, "rb");
    char block[4096];
    size_t length = 0;
    if (!file) {
        Say("'%s' is neither a mask nor a file: %s", path, strerror(errno));
        return false;
    }
    text->clear();
    do {
        length = fread(block, 1, sizeof block, file);
        text->append(block, length);
    } while (length == sizeof block && text->size() < MOST_BYTES);
    bool bRead = !ferror(file) && text->size() < MOST_BYTES;
    fclose(file);
    if (!bRead) {
        Say("the mask '%s' cannot be read, or is larger than a mask", path);
    }
    return bRead;
}

static bool ApplyArgument(const Argument *argument, const char *value, CommandOptions *options)
{
    const FilterParameter *parameter = argument->pParameter;
    if (argument->pCommon && !argument->pCommon->pValueName && argument->bAttached) {
        Say("--%s takes no value", argument->pCommon->pName);
        return false;
    }
    if (argument->pCommon) {
        if (argument->pCommon->Apply(options, value)) {
            return true;
        }
        Say("'%s' is not a value of --%s, which takes %s", value, argument->pCommon->pName,
            argument->pCommon->pAccepted);
        return false;
    }
    size_t index = size_t(parameter - options->pFilter->pParameters);
    std::string text = value;
    const bool bFile = parameter->nType == PARAMETER_MASK && !LooksLikeMask(value) &&
                       !FindNamedMask(parameter, value);
    if (bFile && !ReadTextFile(value, &text)) {
        return false;
    }
    if (ParseParameterValue(parameter, text.c_str(), &options->values[index])) {
        return true;
    }
    char accepted[1000];
    DescribeAccepted(parameter, accepted, sizeof accepted);
    Say("'%s' %s a value of --%s, which takes %s", value, bFile ? "does not hold" : "is not",
        parameter->pName, accepted);
    return false;
}

static bool WalkArguments(int argc, char **argv, CommandOptions *options,
                          std::vector<std::string> *names)
{
    bool bNamesOnly = false;
    for (int i = 1; i < argc; i++) {
        if (!bNamesOnly && strcmp(argv[i], "--") == 0) {
            bNamesOnly = true;
            continue;
        }
        Argument argument = TakeApart(argv[i], options->pFilter);
        if (bNamesOnly || !argument.bOption) {
            if (names->empty()) {
                options->shared.push_back(argv[i]);  // the filter's
            }
            names->push_back(argv[i]);
            continue;
        }
        const int start = i;
        if (!argument.pCommon && !argument.pParameter) {
            return RefuseOption(argv[i], &argument, options->pFilter);
        }
        const char *value = argument.bAttached ? argument.value.c_str() : "yes";
        if (TakesNextArgument(&argument)) {
            if (++i == argc) {
                Say("'%s' needs a value", argv[i - 1]);
                return false;
            }
            value = argv[i];
        }
        if (!ApplyArgument(&argument, value, options)) {
            return false;
        }
        if (!argument.pCommon || argument.pCommon->Apply != ApplyJobs) {
            options->shared.insert(options->shared.end(), argv + start, argv + i + 1);
        }
    }
    return true;
}

// Which of the names are inputs and which is the output.
static bool ShareNames(const std::vector<std::string> *names, CommandOptions *options)
{
    size_t images = size_t(options->pFilter->nImages);
    size_t inputs = names->size();
    if (!options->bFolder && inputs > 0) {
        options->output = names->back();
        inputs--;
    }
    for (size_t i = 0; i < inputs; i++) {
        ExpandName((*names)[i].c_str(), &options->inputs);
    }
    const char *name = options->pFilter->pName;
    if (images == 2 ? options->inputs.size() != 2 || options->bFolder : options->inputs.empty()) {
        if (images == 2) {
            Say("give two pictures and an output: vexafilter %s IN IN OUT", name);
        } else {
            Say("give a picture and an output: vexafilter %s IN OUT, or several pictures and a "
                "folder: vexafilter %s IN... -o DIR",
                name, name);
        }
        return false;
    }
    if (images == 1 && !options->bFolder && options->inputs.size() > 1) {
        Say("several pictures need a folder for the results: vexafilter %s IN... -o DIR", name);
        return false;
    }
    return true;
}

static bool CheckOutput(const CommandOptions *options)
{
    const char *output = options->output.c_str();
    if (options->bFolder) {
        for (const std::string &input : options->inputs) {
            if (input == "-") {
                Say("standard input has no name to write under in a folder");
                return false;
            }
        }
        if (KindOfPath(output) != PATH_DIRECTORY && ImageFormatOfName(output) != IMAGE_UNKNOWN) {
            Say("-o takes a folder, and '%s' looks like a picture", output);
            return false;
        }
        return true;
    }
    if (options->output == "-" && IsTerminal(stdout)) {
        Say("standard output is a terminal; send the picture to a file or a pipe");
        return false;
    }
    if (options->output != "-" && options->nFormat == IMAGE_UNKNOWN) {
        Say("'%s' does not end in .bmp, .png or .jpg; choose with --format bmp, png or jpeg",
            output);
        return false;
    }
    return true;
}

// The arguments up to each "+", every part with the program's name in front. Behind "--" a "+" is a
// name.
static std::vector<std::vector<char *>> SplitSteps(int argc, char **argv)
{
    std::vector<std::vector<char *>> steps(1);
    bool bNamesOnly = false;
    for (int i = 0; i < argc; i++) {
        bNamesOnly = bNamesOnly || strcmp(argv[i], "--") == 0;
        if (i > 0 && !bNamesOnly && strcmp(argv[i], "+") == 0) {
            steps.push_back({argv[0]});
        } else {
            steps.back().push_back(argv[i]);
        }
    }
    return steps;
}

static void SetDefaults(CommandOptions *options)
{
    for (size_t i = 0; options->pFilter && i < options->pFilter->nParameters; i++) {
        DefaultParameterValue(&options->pFilter->pParameters[i], &options->values[i]);
    }
}

static bool CheckValues(const CommandOptions *options)
{
    char why[200];
    const CatalogueFilter *filter = options->pFilter;
    if (filter->Accepts && !filter->Accepts(options->values, why, sizeof why)) {
        Say("%s: %s", filter->pName, why);
        return false;
    }
    return true;
}

// A filter behind a "+", and the names that stand behind it.
static bool ParseStep(std::vector<char *> *step, CommandOptions *options,
                      std::vector<std::string> *names)
{
    const int argc = int(step->size());
    const int first = FindFirstName(argc, step->data());
    std::vector<std::string> found;
    CommandOptions parsed = *options;
    parsed.pFilter = first < argc ? FindCatalogueFilter((*step)[size_t(first)]) : nullptr;
    if (!parsed.pFilter) {
        if (first < argc) {
            return RefuseFilter((*step)[size_t(first)]);
        }
        Say("name a filter behind '+'");
        return false;
    }
    if (parsed.pFilter->nImages != 1) {
        Say("%s takes two pictures and can only come first", parsed.pFilter->pName);
        return false;
    }
    SetDefaults(&parsed);
    parsed.shared.push_back("+");
    if (!WalkArguments(argc, step->data(), &parsed, &found) || !CheckValues(&parsed)) {
        return false;
    }
    FilterStep further;
    further.pFilter = parsed.pFilter;
    for (size_t i = 0; i < FILTER_PARAMETERS_MOST; i++) {
        further.values[i] = parsed.values[i];
        parsed.values[i] = options->values[i];
    }
    parsed.pFilter = options->pFilter;
    *options = parsed;
    options->further.push_back(further);
    names->insert(names->end(), found.begin() + 1, found.end());
    return true;
}

bool ParseOptions(int argc, char **argv, CommandOptions *options)
{
    std::vector<std::vector<char *>> steps = SplitSteps(argc, argv);
    std::vector<char *> &head = steps[0];
    const int headCount = int(head.size());
    options->nAction = ACTION_RUN;
    options->nQuality = JPEG_QUALITY_KEPT;
    options->nJobs = 1;
    int first = FindFirstName(headCount, head.data());
    const char *word = first < headCount ? head[size_t(first)] : "";
    bool bList = strcmp(word, "list") == 0, bHelp = strcmp(word, "help") == 0;
    const bool bCounts = strcmp(word, "counts") == 0, bPlain = bList || bHelp || bCounts;
    options->pFilter = *word && !bPlain ? FindCatalogueFilter(word) : nullptr;
    if (*word && !bPlain && !options->pFilter) {
        return !RefuseOrder(argc, argv) && RefuseFilter(word);
    }
    SetDefaults(options);

    std::vector<std::string> names;
    if (!WalkArguments(headCount, head.data(), options, &names)) {
        return false;
    }
    if (bHelp && names.size() > 1) {
        options->pFilter = FindCatalogueFilter(names[1].c_str());
        if (!options->pFilter) {
            return RefuseFilter(names[1].c_str());
        }
    }
    if (bHelp) {
        options->nAction = ACTION_HELP;
    }
    if (options->nAction != ACTION_RUN) {
        return true;
    }
    if (bList) {
        options->nAction = ACTION_LIST;
        return true;
    }
    if (bCounts) {
        options->nAction = ACTION_COUNTS;
        options->inputs.assign(names.begin() + 1, names.end());
        if (options->inputs.size() != 1) {
            Say("name one picture: vexafilter counts IN");
        }
        return options->inputs.size() == 1;
    }
    if (!options->pFilter) {
        Say("name a filter; 'vexafilter list' names them all, --help says more");
        return false;
    }
    names.erase(names.begin());
    for (size_t i = 1; i < steps.size(); i++) {
        if (!ParseStep(&steps[i], options, &names)) {
            return false;
        }
    }
    if (options->nAction != ACTION_RUN) {
        return true;
    }
    if (!ShareNames(&names, options) || !CheckValues(options)) {
        return false;
    }
    if (!options->bFolder && options->nFormat == IMAGE_UNKNOWN && options->output != "-") {
        options->nFormat = ImageFormatOfName(options->output.c_str());
    }
    return CheckOutput(options);
}
