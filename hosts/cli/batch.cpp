// One picture or many: read, filter, write. A picture that fails gets one sentence; the next one
// is still tried. An interrupt ends everything and leaves only finished pictures.
#include "commandline.h"
#include "hosts/catalogue/depth.h"
#include "hosts/imagefile/filesystem.h"
#include "system.h"

#include <errno.h>
#include <string.h>

#include <set>

// Says what happened to a file, unless it was the user who stopped the work.
static ExitCode Fail(ExitCode code, const std::string &path, const char *sentence)
{
    if (WasInterrupted()) {
        return EXIT_INTERRUPTED;
    }
    const char *stream = code == EXIT_UNREADABLE ? "standard input" : "standard output";
    Say("%s: %s", path == "-" ? stream : path.c_str(), sentence);
    return code;
}

static ExitCode ReadInput(const CommandOptions *options, const std::string &path, HGLOBAL *hDib,
                          ImageFormat *format, ImageExtras *extras)
{
    ImageMessages messages;
    *hDib = ReadImageFile(path.c_str(), format, &messages, extras);
    if (!*hDib) {
        return Fail(EXIT_UNREADABLE, path, messages.szError);
    }
    if (*messages.szNotice && !options->bQuiet) {
        Say("%s: %s", path.c_str(), messages.szNotice);
    }
    return EXIT_DONE;
}

static BITMAPINFOHEADER HeaderOf(HGLOBAL hDib)
{
    BITMAPINFOHEADER header = *static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib));
    GlobalUnlock(hDib);
    return header;
}

// The depth that a picture is brought to before the filter; 0: it stays.
static int DepthFor(const CommandOptions *options, HGLOBAL hDib)
{
    const CatalogueFilter *filter = options->pFilter;
    const int bits = BitsOfDib(hDib);
    if (!options->bStoredValues) {
        return DepthForFilter(filter, hDib);
    }
    const bool bTaken = (filter->nDepths & DepthBit(bits)) != 0;
    return bits == 4 && !bTaken && (filter->nDepths & DEPTH_8) ? 8 : 0;
}

// Of two pictures both get the depth that one needs.
static ExitCode ConvertInputs(const CommandOptions *options, const std::string *paths,
                              HGLOBAL *images)
{
    int needs[FILTER_IMAGES_MOST] = {}, depth = 0;
    for (int i = 0; i < options->pFilter->nImages; i++) {
        needs[i] = DepthFor(options, images[i]);
        depth = needs[i] > depth ? needs[i] : depth;
    }
    for (int i = 0; i < options->pFilter->nImages; i++) {
        if (depth == 0 || (needs[i] == 0 && HeaderOf(images[i]).biBitCount >= depth)) {
            continue;
        }
        const HGLOBAL hConverted =
            options->bStoredValues ? WidenDib4To8(images[i]) : ConvertDib(images[i], depth);
        if (!hConverted) {
            return Fail(EXIT_FAILED, paths[i], "not enough memory");
        }
        GlobalFree(images[i]);
        images[i] = hConverted;
    }
    return EXIT_DONE;
}

static ExitCode CheckDepth(const CommandOptions *options, const std::string &path, HGLOBAL hDib)
{
    const CatalogueFilter *filter = options->pFilter;
    const int bits = HeaderOf(hDib).biBitCount;
    const bool bGrayOnly = !(filter->nDepths & DEPTH_24) && !filter->bStoredValues;
    char accepted[80];
    if (bits == 8 && bGrayOnly && ValuesOfDib(hDib) == VALUES_NAME_COLOURS) {
        return Fail(
            EXIT_FAILED, path,
            Text("%s takes gray pictures, and this one has colours; 'vexafilter gray' makes "
                 "them gray",
                 filter->pName)
                .c_str());
    }
    if (filter->nDepths & DepthBit(bits)) {
        return EXIT_DONE;
    }
    DescribeDepths(filter->nDepths, accepted, sizeof accepted);
    return Fail(EXIT_FAILED, path,
                Text("%s takes %s pictures, and this one has %d bit%s a pixel", filter->pName,
                     accepted, bits, bits == 1 ? "" : "s")
                    .c_str());
}

static std::string SizeText(HGLOBAL hDib)
{
    const BITMAPINFOHEADER header = HeaderOf(hDib);
    return Text("%d x %d pixels of %d bit%s", int(header.biWidth), int(header.biHeight),
                int(header.biBitCount), header.biBitCount == 1 ? "" : "s");
}

// What is wrong with the pictures' sizes; empty: nothing.
static std::string Misfit(const CatalogueFilter *filter, const std::string *paths,
                          const HGLOBAL *images)
{
    const PictureLimits *limits = &filter->limits;
    for (int i = 0; i < filter->nImages; i++) {
        const BITMAPINFOHEADER header = HeaderOf(images[i]);
        const long long rowBytes = ((long long)header.biWidth * header.biBitCount + 31) / 32 * 4;
        if (limits->nMostWidth && header.biWidth > limits->nMostWidth) {
            return Text("%s: %s takes pictures of up to %d columns, and this one has %d",
                        paths[i].c_str(), filter->pName, limits->nMostWidth, int(header.biWidth));
        }
        if (limits->nMostHeight && header.biHeight > limits->nMostHeight) {
            return Text("%s: %s takes pictures of up to %d rows, and this one has %d",
                        paths[i].c_str(), filter->pName, limits->nMostHeight, int(header.biHeight));
        }
        if (limits->nMostRowBytes && rowBytes > limits->nMostRowBytes) {
            return Text("%s: %s takes rows of up to %d bytes, and those of this picture have %lld",
                        paths[i].c_str(), filter->pName, limits->nMostRowBytes, rowBytes);
        }
    }
    if (filter->nImages < 2) {
        return "";
    }
    const BITMAPINFOHEADER a = HeaderOf(images[0]), b = HeaderOf(images[1]);
    const bool bSides = a.biWidth == b.biWidth && a.biHeight == b.biHeight;
    const bool bDepth = a.biBitCount == b.biBitCount;
    if ((limits->bSameSides && !bSides) || (limits->bSameDepth && !bDepth)) {
        return Text("%s takes two pictures of the same %s: %s has %s, %s has %s", filter->pName,
                    limits->bSameSides ? "size and depth" : "depth", paths[0].c_str(),
                    SizeText(images[0]).c_str(), paths[1].c_str(), SizeText(images[1]).c_str());
    }
    return "";
}

static bool DrawsBar(const CommandOptions *options)
{
    return options->nProgress == PROGRESS_ALWAYS ||
           (options->nProgress == PROGRESS_AUTO && !options->bQuiet && IsTerminal(stderr));
}

static HGLOBAL ApplyFilter(const CommandOptions *options, const HGLOBAL *images, const char *label)
{
    CatalogueCall call = {images, options->values, 0, nullptr};
    BeginProgressBar(label, DrawsBar(options));
    NoteBlocks();
    call.mode = WatchFilter(StepProgressBar);
    HGLOBAL hResult = options->pFilter->Run(&call);
    UnwatchFilter();
    // Without a single step the progress itself may be what failed: a session without windows.
    if (!EndProgressBar() && !hResult && !WasInterrupted()) {
        call.mode = 0;
        hResult = options->pFilter->Run(&call);
    }
    FreeLeftBlocks(hResult);
    return hResult;
}

// Null results have no reason; what a filter may refuse was looked at before.
static std::string NoResult(const CommandOptions *options, HGLOBAL hDib)
{
    static const int COLOURS_MISSING = -2;
    if (GetLastFilterError() == COLOURS_MISSING) {
        return "the colour library, VexaImage, is not there: it belongs beside VexaFilter";
    }
    return Text("%s gave no result for %s: memory ran out", options->pFilter->pName,
                SizeText(hDib).c_str());
}

static ExitCode WriteOutput(const CommandOptions *options, const std::string &path, HGLOBAL hDib,
                            ImageFormat format, const ImageExtras *extras)
{
    ImageMessages messages;
    if (WasInterrupted()) {
        return EXIT_INTERRUPTED;
    }
    if (options->bFolder && !MakeFolder(options->output.c_str())) {
        return Fail(EXIT_FAILED, options->output, strerror(errno));
    }
    if (!WriteImageFile(hDib, path.c_str(), format, options->nQuality, options->bKeepExisting,
                        &messages, extras)) {
        return Fail(EXIT_FAILED, path, messages.szError);
    }
    if (*messages.szNotice && !options->bQuiet) {
        Say("%s: %s", path.c_str(), messages.szNotice);
    }
    return EXIT_DONE;
}

// The filter on pictures, which are freed. Null after it has said why, and the code.
static HGLOBAL RunStep(const CommandOptions *options, const std::string *inputs, HGLOBAL *images,
                       ExitCode *code)
{
    HGLOBAL hResult = nullptr;
    *code = ConvertInputs(options, inputs, images);
    for (int i = 0; i < options->pFilter->nImages && *code == EXIT_DONE; i++) {
        *code = CheckDepth(options, inputs[i], images[i]);
    }
    std::string misfit = *code == EXIT_DONE ? Misfit(options->pFilter, inputs, images) : "";
    if (!misfit.empty()) {
        Say("%s", misfit.c_str());
        *code = EXIT_USAGE;
    }
    if (*code == EXIT_DONE) {
        hResult = ApplyFilter(options, images, BaseName(inputs[0]).c_str());
        if (!hResult) {
            *code = Fail(EXIT_FAILED, inputs[0], NoResult(options, images[0]).c_str());
        }
    }
    for (int i = 0; i < options->pFilter->nImages; i++) {
        GlobalFree(images[i]);
    }
    return hResult;
}

// The filters behind the first, one on what the other has made.
static HGLOBAL RunFurther(const CommandOptions *options, const std::string *inputs, HGLOBAL hResult,
                          ExitCode *code)
{
    CommandOptions step = *options;
    for (size_t i = 0; i < options->further.size() && hResult; i++) {
        HGLOBAL images[FILTER_IMAGES_MOST] = {hResult};
        step.pFilter = options->further[i].pFilter;
        for (size_t j = 0; j < FILTER_PARAMETERS_MOST; j++) {
            step.values[j] = options->further[i].values[j];
        }
        hResult = RunStep(&step, inputs, images, code);
    }
    return hResult;
}

// Transparency stays where it was, so it must not where the picture does not.
static void FitAlpha(const CommandOptions *options, const std::string &input, HGLOBAL hResult,
                     ImageExtras *extras)
{
    const BITMAPINFOHEADER header = HeaderOf(hResult);
    const CatalogueFilter *moving = options->pFilter->bMovesPixels ? options->pFilter : nullptr;
    for (const FilterStep &step : options->further) {
        moving = step.pFilter->bMovesPixels ? step.pFilter : moving;
    }
    const bool bSides =
        header.biWidth == extras->nAlphaWidth && header.biHeight == extras->nAlphaHeight;
    if (extras->alpha.empty() || (!moving && bSides)) {
        return;
    }
    extras->alpha.clear();
    if (!options->bQuiet) {
        Say("%s: the transparency was dropped: %s", input.c_str(),
            moving ? Text("%s moves pixels", moving->pName).c_str()
                   : "the result has another size");
    }
}

// inputs: as many as the filter takes. format IMAGE_UNKNOWN: the first input's.
static ExitCode RunPicture(const CommandOptions *options, const std::string *inputs,
                           const std::string &output, ImageFormat format)
{
    HGLOBAL images[FILTER_IMAGES_MOST] = {};
    ImageFormat found[FILTER_IMAGES_MOST] = {};
    ImageExtras extras = {};
    ExitCode code = EXIT_DONE;
    // Asked early, so that no work is done in vain; the writing asks again.
    if (options->bKeepExisting && output != "-" && KindOfPath(output.c_str()) == PATH_FILE) {
        return Fail(EXIT_FAILED, output, "exists already and is kept");
    }
    for (int i = 0; i < options->pFilter->nImages && code == EXIT_DONE; i++) {
        code = ReadInput(options, inputs[i], &images[i], &found[i], i == 0 ? &extras : nullptr);
    }
    if (code == EXIT_DONE && WasInterrupted()) {
        code = EXIT_INTERRUPTED;
    }
    if (code != EXIT_DONE) {
        for (HGLOBAL hDib : images) {
            if (hDib) {
                GlobalFree(hDib);
            }
        }
        return code;
    }
    HGLOBAL hResult = RunStep(options, inputs, images, &code);
    hResult = RunFurther(options, inputs, hResult, &code);
    if (hResult) {
        FitAlpha(options, inputs[0], hResult, &extras);
        code = WriteOutput(options, output, hResult, format ? format : found[0], &extras);
        GlobalFree(hResult);
    }
    return code;
}

// The input's own name in the folder, with another ending if another format is asked for.
static std::string NameInFolder(const CommandOptions *options, const std::string &input)
{
    std::string name = BaseName(input);
    if (options->nFormat && ImageFormatOfName(name.c_str()) != options->nFormat) {
        if (ImageFormatOfName(name.c_str()) != IMAGE_UNKNOWN) {
            name.resize(name.rfind('.'));
        }
        name += ImageFormatEnding(options->nFormat);
    }
    const std::string &folder = options->output;
    return IsPathSeparator(folder.back()) ? folder + name : folder + "/" + name;
}

// What a folder's work has come to.
struct FolderWork {
    const CommandOptions *pOptions;
    std::set<std::string> outputs;  // taken by a picture that is done or in work
    std::vector<std::string> names;
    std::vector<ExitCode> codes;  // of each input
    int nRunning, nEnded;
    bool bDraw;
};

static void EndPicture(FolderWork *work, size_t index, ExitCode code)
{
    work->codes[index] = code;
    if (code != EXIT_DONE) {
        work->outputs.erase(work->names[index]);
    }
    if (work->bDraw) {
        StepProgressBar(++work->nEnded, int(work->codes.size()));
    }
}

// Waits until a job ends.
static void EndJob(FolderWork *work)
{
    int index = 0, code = 0;
    if (!WaitJob(&index, &code)) {
        work->nRunning = 0;
        return;
    }
    work->nRunning--;
    EndPicture(work, size_t(index),
               code == EXIT_DONE          ? EXIT_DONE
               : code == EXIT_INTERRUPTED ? EXIT_INTERRUPTED
                                          : EXIT_FAILED);
}

// This program again, on one of the inputs.
static bool StartPicture(FolderWork *work, size_t index)
{
    std::vector<std::string> arguments = work->pOptions->shared;
    arguments.insert(arguments.begin(), "--progress=never");
    arguments.insert(arguments.end(), {"--", work->pOptions->inputs[index]});
    while (work->nRunning >= work->pOptions->nJobs) {
        EndJob(work);
    }
    if (WasInterrupted() || !StartJob(arguments, int(index))) {
        return false;
    }
    work->nRunning++;
    return true;
}

static void BeginPicture(FolderWork *work, size_t index)
{
    const CommandOptions *options = work->pOptions;
    const std::string &input = options->inputs[index], &output = work->names[index];
    const ImageFormat format =
        options->nFormat ? options->nFormat : ImageFormatOfName(output.c_str());
    ExitCode code = EXIT_FAILED;
    if (WasInterrupted()) {
        code = EXIT_INTERRUPTED;
    } else if (!work->outputs.insert(output).second) {
        Fail(code, input, "another input has the same name, and its result would be lost");
        work->codes[index] = code;
        return;
    } else if (format == IMAGE_UNKNOWN) {
        Fail(code, input, "does not end in .bmp, .png or .jpg; choose with --format");
    } else if (options->nJobs > 1 && options->inputs.size() > 1 && StartPicture(work, index)) {
        return;
    } else {
        code = WasInterrupted() ? EXIT_INTERRUPTED : RunPicture(options, &input, output, format);
    }
    EndPicture(work, index, code);
}

static ExitCode RunIntoFolder(const CommandOptions *options)
{
    const size_t count = options->inputs.size();
    const bool bJobs = options->nJobs > 1 && count > 1;
    FolderWork work = {};
    work.pOptions = options;
    work.codes.resize(count, EXIT_INTERRUPTED);
    // Made with the first result: no folder is left behind when there is none.
    if (KindOfPath(options->output.c_str()) == PATH_FILE) {
        return Fail(EXIT_FAILED, options->output, strerror(ENOTDIR));
    }
    work.bDraw = bJobs;
    if (bJobs) {
        BeginProgressBar(Text("%d pictures", int(count)).c_str(), DrawsBar(options));
    }
    for (size_t i = 0; i < count && !WasInterrupted(); i++) {
        work.names.push_back(NameInFolder(options, options->inputs[i]));
        BeginPicture(&work, i);
    }
    while (work.nRunning > 0) {
        EndJob(&work);
    }
    if (bJobs) {
        EndProgressBar();
    }
    int done = 0;
    for (ExitCode code : work.codes) {
        if (code == EXIT_INTERRUPTED || count == 1) {
            return code;
        }
        done += code == EXIT_DONE;
    }
    if (size_t(done) == count) {
        return EXIT_DONE;
    }
    if (!options->bQuiet) {
        Say("%d of %d pictures done", done, int(count));
    }
    return EXIT_FAILED;
}

int RunBatch(const CommandOptions *options)
{
    ExitCode code = options->bFolder ? RunIntoFolder(options)
                                     : RunPicture(options, options->inputs.data(), options->output,
                                                  options->nFormat);
    if (code == EXIT_INTERRUPTED) {
        Say("interrupted");
    }
    return code;
}
