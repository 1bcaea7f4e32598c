// What the command line says about itself and the filters, all of it from the tables of options and
// filters.
#include "commandline.h"

#include <string.h>

static const size_t LINE_WIDTH = 80;
static const char VERSION[] = "10.75";

// Prints words in lines, each line after so many blanks; the first line stands at column already.
static void PrintWrapped(const char *text, size_t indent, size_t column)
{
    std::string line;
    for (const char *word = text; *word;) {
        size_t length = strcspn(word, " ");
        if (column + 1 + length > LINE_WIDTH && column > indent) {
            line += "\n";
            column = 0;
        }
        if (column < indent) {
            line += std::string(indent - column, ' ');
            column = indent;
        } else if (column > indent) {
            line += " ";
            column++;
        }
        line.append(word, length);
        column += length;
        word += length;
        word += strspn(word, " ");
    }
    Print("%s\n", line.c_str());
}

// A name and, from a column on, what it means.
static void PrintEntry(const std::string &name, size_t indent, const char *meaning)
{
    Print("%s", name.c_str());
    if (name.size() + 2 > indent) {
        Print("\n");
    }
    PrintWrapped(meaning, indent, name.size() + 2 > indent ? 0 : name.size());
}

static void PrintOptions()
{
    for (size_t i = 0; i < COMMON_OPTION_COUNT; i++) {
        const CommonOption *option = &COMMON_OPTIONS[i];
        std::string name = option->cLetter ? Text("  -%c, --%s", option->cLetter, option->pName)
                                           : Text("      --%s", option->pName);
        if (option->pValueName) {
            name += Text(" %s", option->pValueName);
        }
        PrintEntry(name, 26, option->pMeaning);
    }
}

void PrintUsage()
{
    Print("vexafilter applies one filter to pictures (BMP, PNG, JPEG).\n\n"
          "  vexafilter FILTER IN OUT [--PARAMETER VALUE]...\n"
          "  vexafilter FILTER IN... -o DIR [--PARAMETER VALUE]...\n"
          "  vexafilter FILTER ... + FILTER ... IN OUT    one filter after the other\n"
          "  vexafilter FILTER --help    the filter's parameters, ranges and defaults\n"
          "  vexafilter list             all filters\n"
          "  vexafilter counts IN        how often each level occurs, as comma-separated values\n\n"
          "IN and OUT may be - for standard input and output. The ending of OUT chooses its\n"
          "format; standard output takes the format of the input. OUT is replaced only by a\n"
          "complete picture and may be the same file as IN. Options may stand anywhere and\n"
          "may be written --name value or --name=value; -- ends them.\n\n"
          "Options\n");
    PrintOptions();
    Print("\nExit codes\n"
          "  0    done\n"
          "  1    a picture failed; of several, the others were still done\n"
          "  2    the command line is wrong; nothing was done\n"
          "  3    the input (the only one) could not be read\n"
          "  130  interrupted; finished pictures stay, no half-written one does\n");
}

static void PrintChoices(const FilterParameter *parameter)
{
    for (size_t i = 0; i < parameter->nChoices; i++) {
        const NamedValue *choice = &parameter->pChoices[i];
        char name[80] = "";
        DescribeChoice(choice, name, sizeof name);
        std::string numbers = choice->nCount > 1 ? Text("%d to %d", choice->nValue,
                                                        choice->nValue + choice->nCount - 1)
                                                 : Text("%d", choice->nValue);
        const char *start = *name ? name : numbers.c_str();
        std::string meaning = *name ? Text("(%s) %s", numbers.c_str(), choice->pMeaning)
                                    : std::string(choice->pMeaning);
        PrintEntry(Text("      %s", start), 30, meaning.c_str());
    }
}

// What stands for a value: "--size NUMBER".
static const char *ValueName(const FilterParameter *parameter)
{
    switch (parameter->nType) {
    case PARAMETER_FLAG:
        return "[yes|no]";
    case PARAMETER_CHOICE:
        return "NAME";
    case PARAMETER_MASK:
        return "MASK";
    case PARAMETER_RECT:
        return "L,T,R,B";
    case PARAMETER_INTEGER:
    case PARAMETER_REAL:
        break;
    }
    return "NUMBER";
}

static void PrintParameter(const FilterParameter *parameter)
{
    char accepted[1000], standard[80];
    ParameterValue value;
    DefaultParameterValue(parameter, &value);
    DescribeValue(parameter, &value, standard, sizeof standard);
    if (parameter->nType == PARAMETER_CHOICE) {
        Print("\n  --%s %s    (default %s)\n", parameter->pName, ValueName(parameter), standard);
        PrintWrapped(parameter->pMeaning, 6, 0);
        Print("    NAME is one of these, or the number in brackets:\n");
        PrintChoices(parameter);
        return;
    }
    DescribeAccepted(parameter, accepted, sizeof accepted);
    if (parameter->nType == PARAMETER_MASK) {
        Print("\n  --%s %s    (default %s)\n", parameter->pName, ValueName(parameter), standard);
        PrintWrapped(Text("%s MASK is %s.", parameter->pMeaning, accepted).c_str(), 6, 0);
        return;
    }
    Print("\n  --%s %s    %s (default %s)\n", parameter->pName, ValueName(parameter), accepted,
          standard);
    PrintWrapped(parameter->pMeaning, 6, 0);
}

// One way to call a filter; what does not fit the line goes on below the names.
static void PrintCall(const CatalogueFilter *filter, const char *names,
                      const std::string &parameters)
{
    const std::string start = Text("  vexafilter %s", filter->pName);
    Print("%s", start.c_str());
    PrintWrapped((names + parameters).c_str(), 6, start.size());
}

// With the filter's first parameter, if it has one, at its default.
static void PrintExample(const CatalogueFilter *filter)
{
    std::string line = Text("  vexafilter %s %s", filter->pName,
                            filter->nImages == 2 ? "one.png two.png out.png" : "photo.png out.png");
    if (filter->nParameters > 0) {
        char standard[200];
        ParameterValue value;
        DefaultParameterValue(&filter->pParameters[0], &value);
        DescribeValue(&filter->pParameters[0], &value, standard, sizeof standard);
        const char *quote = filter->pParameters[0].nType == PARAMETER_MASK ? "'" : "";
        line += Text(" --%s %s%s%s", filter->pParameters[0].pName, quote, standard, quote);
    }
    Print("\nExample\n%s\n", line.c_str());
}

// "Also: blur, soften."
static std::string OtherNames(const CatalogueFilter *filter)
{
    std::string names = filter->pAliases ? filter->pAliases : "";
    for (size_t blank = names.find(' '); blank != names.npos; blank = names.find(' ', blank + 2)) {
        names.insert(blank, ",");
    }
    return names.empty() ? "" : " Also called " + names + ".";
}

void PrintFilterHelp(const CatalogueFilter *filter)
{
    char depths[80];
    DescribeDepths(filter->nDepths, depths, sizeof depths);
    std::string parameters;
    for (size_t i = 0; i < filter->nParameters; i++) {
        parameters +=
            Text(" [--%s %s]", filter->pParameters[i].pName, ValueName(&filter->pParameters[i]));
    }
    PrintWrapped(Text("%s - %s", filter->pName, filter->pSummary).c_str(), 0, 0);
    Print("\n");
    PrintCall(filter, filter->nImages == 2 ? "IN IN OUT" : "IN OUT", parameters);
    if (filter->nImages == 1) {
        PrintCall(filter, "IN... -o DIR", parameters);
    }
    Print("\n");
    std::string details = Text("%s Takes %s pictures. In the library: %s.%s", filter->pDetails,
                               depths, filter->pExport, OtherNames(filter).c_str());
    PrintWrapped(details.c_str(), 0, 0);
    for (size_t i = 0; i < filter->nParameters; i++) {
        PrintParameter(&filter->pParameters[i]);
    }
    PrintExample(filter);
    Print("\n'vexafilter --help' lists the options that all filters share.\n");
}

void PrintFilters()
{
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        Print("%s%s\n", i > 0 ? "\n" : "", families[i]->pTitle);
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            const CatalogueFilter *filter = &families[i]->pFilters[j];
            PrintEntry(Text("  %s", filter->pName), 24, filter->pSummary);
        }
    }
}

void PrintVersion()
{
    char library[64];
    GetVexaFilterVersion(library, int(sizeof library));
    Print("vexafilter %s (library: %s)\n", VERSION, library);
}
