// The command line, called in-process with pictures in a folder of its own: exit codes, what it
// says, and that nothing is lost or left behind.
#include "hosts/cli/commandline.h"
#include "hosts/cli/system.h"
#include "hosts/imagefile/filesystem.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

struct Outcome {
    int code;
    std::string out, error;
};

static Outcome Call(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), "vexafilter");
    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string &argument : arguments) {
        argv.push_back(&argument[0]);
    }
    argv.push_back(nullptr);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Outcome outcome;
    outcome.code = RunCommandLine(int(arguments.size()), argv.data());
    fflush(stdout);
    fflush(stderr);
    outcome.out = testing::internal::GetCapturedStdout();
    outcome.error = testing::internal::GetCapturedStderr();
    return outcome;
}

// An empty folder for the running test.
static std::string Folder()
{
    std::string folder = testing::TempDir() + "vexafilter-cli-" +
                         testing::UnitTest::GetInstance()->current_test_info()->name();
    std::error_code error;
    std::filesystem::remove_all(std::filesystem::u8path(folder), error);
    EXPECT_TRUE(MakeFolder(folder.c_str()));
    return folder + "/";
}

static std::set<std::string> Names(const std::string &folder)
{
    std::set<std::string> names;
    std::error_code error;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::filesystem::u8path(folder), error)) {
        names.insert(entry.path().filename().u8string());
    }
    return names;
}

static HGLOBAL MakeDib(int width, int height, int bits)
{
    size_t table = bits == 24 ? 0 : size_t(4) << bits;
    size_t rows = size_t((width * bits + 31) / 32 * 4) * unsigned(height);
    HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 40 + table + rows);
    BYTE *block = static_cast<BYTE *>(GlobalLock(hDib));
    BITMAPINFOHEADER header = {40, width, height, 1, WORD(bits), 0, 0, 0, 0, 0, 0};
    memcpy(block, &header, 40);
    for (size_t i = 0; i < table; i += 4) {
        memset(block + 40 + i, int(i / 4 * 255 / (table / 4 - 1)), 3);
    }
    for (size_t i = 0; i < rows; i++) {
        block[40 + table + i] = BYTE(i * i >> 4);
    }
    GlobalUnlock(hDib);
    return hDib;
}

static std::string MakePicture(const std::string &path, int bits, int width = 20, int height = 10)
{
    ImageMessages messages;
    HGLOBAL hDib = MakeDib(width, height, bits);
    EXPECT_TRUE(
        WriteImageFile(hDib, path.c_str(), ImageFormatOfName(path.c_str()), 90, false, &messages))
        << messages.szError;
    GlobalFree(hDib);
    return path;
}

static std::string MakeFile(const std::string &path, const std::string &content)
{
    FILE *file = OpenPath(path.c_str(), "wb");
    fwrite(content.data(), 1, content.size(), file);
    fclose(file);
    return path;
}

static std::string Content(const std::string &path)
{
    std::string content;
    FILE *file = OpenPath(path.c_str(), "rb");
    for (int c = file ? fgetc(file) : EOF; c != EOF; c = fgetc(file)) {
        content += char(c);
    }
    if (file) {
        fclose(file);
    }
    return content;
}

// The bytes of a DIB, for comparing results.
static std::string DibBytes(HGLOBAL hDib)
{
    EXPECT_TRUE(hDib);
    if (!hDib) {
        return "";
    }
    const BITMAPINFOHEADER *header = static_cast<BITMAPINFOHEADER *>(GlobalLock(hDib));
    int bits = header->biBitCount;
    size_t size = 40 + (bits == 24 ? 0 : size_t(4) << bits) +
                  size_t((header->biWidth * bits + 31) / 32 * 4) * unsigned(header->biHeight);
    std::string bytes(reinterpret_cast<const char *>(header) + 40, size - 40);
    GlobalUnlock(hDib);
    return bytes;
}

TEST(CommandLine, ResultIsTheExportsOwn)
{
    std::string folder = Folder();
    for (int bits : {1, 8, 24}) {
        std::string in = MakePicture(folder + "in.png", bits), out = folder + "out.bmp";
        ImageMessages messages;
        HGLOBAL hDib = MakeDib(20, 10, bits), hExpected = FilterLaplace(hDib, 13, 0, nullptr);
        Outcome outcome = Call({"laplace", in, "--kernel=diagonal-down", out});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        EXPECT_EQ(outcome.out + outcome.error, "");
        HGLOBAL hResult = ReadImageFile(out.c_str(), nullptr, &messages);
        EXPECT_TRUE(DibBytes(hResult) == DibBytes(hExpected)) << bits;
        for (HGLOBAL h : {hDib, hExpected, hResult}) {
            GlobalFree(h);
        }
    }
    EXPECT_EQ(Names(folder), (std::set<std::string>{"in.png", "out.bmp"}));
}

TEST(CommandLine, WrongCommandLinesSayWhyAndDoNothing)
{
    std::string folder = Folder();
    std::string in = MakePicture(folder + "in.bmp", 8), out = folder + "out.png";
    std::string wide = MakePicture(folder + "wide.bmp", 8, 21);
    std::string colour = MakePicture(folder + "colour.bmp", 24);
    std::string tall = MakePicture(folder + "tall.bmp", 8, 1, 65536);
    const struct {
        std::vector<std::string> arguments;
        const char *pSays;
    } CASES[] = {
        {{}, "--help"},
        {{"gaus", in, out}, "did you mean 'gauss'?"},
        {{"xyzzyxyzzy", in, out}, "vexafilter list"},
        {{"gauss", "+", in, out}, "there is no filter"},
        {{"gauss", in, out, "+"}, "behind '+'"},
        {{"gauss", "+", "arithmetic", in, in, out}, "can only come first"},
        {{"gauss", "+", "yp-mean", "--order", "0", in, out}, "--order 0"},
        {{"gauss", "+", "median", "--trim", "0", in, out}, "median has no option"},
        {{in, out, "gauss"}, "the filter comes first: vexafilter gauss"},
        {{"gauss"}, "vexafilter gauss IN OUT"},
        {{"gauss", in}, "vexafilter gauss IN OUT"},
        {{"gauss", in, in, out}, "-o DIR"},
        {{"gauss", in, folder + "out.gif"}, "--format"},
        {{"gauss", in, "-o", out}, "-o takes a folder"},
        {{"gauss", in, out, "--kernel", "1"}, "--kernel"},
        {{"laplace", in, out, "--kernl", "1"}, "did you mean '--kernel'?"},
        {{"laplace", in, out, "--kernel", "3"}, "four, vertical"},
        {{"laplace", in, out, "--kernel", "10x"}, "10, 0, 1"},
        {{"laplace", in, out, "--kernel", ""}, "10, 0, 1"},
        {{"laplace", in, out, "--kernel"}, "needs a value"},
        {{"gradient", in, out, "--kernel", "sobel-8"}, "sobel-0 to sobel-7"},
        {{"gradient", in, out, "--kernel", "68"}, "60 to 67"},
        {{"gauss", in, out, "--quality", "101"}, "1 to 100"},
        {{"gauss", in, out, "--format", "gif"}, "bmp, png or jpeg"},
        {{"gauss", in, out, "--progress=loud"}, "auto, always or never"},
        {{"gauss", in, out, "--quiet=yes"}, "takes no value"},
        {{"gauss", in, out, "-x"}, "'-x'"},
        {{"gauss", "--", in, "-o", out}, "several pictures"},
        {{"levels", in, out, "--in-low", "9", "--in-high", "8"}, "--in-low 9 is above --in-high 8"},
        {{"levels", in, out, "--in-mid", "9", "--in-high", "8"}, "--in-mid 9 does not lie"},
        {{"levels", in, out, "--out-high", "8", "--out-low", "9"}, "--out-low 9 is above"},
        {{"trimmed-mean", in, out, "--trim", "4"}, "3 at the most"},
        {{"yp-mean", in, out, "--order", "0"}, "--order 0"},
        {{"dwmtm", in, out, "--small", "7", "--large", "3"}, "--small 7 is above --large 3"},
        {{"arithmetic", in, wide, out}, "has 20 x 10 pixels of 8 bits"},
        {{"wiener", in, colour, out}, "of the same depth"},
        {{"slide", tall, out}, "up to 65535 rows, and this one has 65536"},
        {{"lowpass", tall, out}, "up to 8192 rows"},
    };
    for (const auto &row : CASES) {
        Outcome outcome = Call(row.arguments);
        EXPECT_EQ(outcome.code, 2) << row.pSays;
        EXPECT_NE(outcome.error.find(row.pSays), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.error.find('\n'), outcome.error.size() - 1) << outcome.error;
    }
    EXPECT_EQ(Names(folder),
              (std::set<std::string>{"colour.bmp", "in.bmp", "tall.bmp", "wide.bmp"}));
    // The middle follows the ends, and what is at the limit is done.
    EXPECT_EQ(Call({"levels", in, out, "--in-high", "100"}).code, 0);
    EXPECT_EQ(Call({"trimmed-mean", in, out, "--trim", "3"}).code, 0);
    EXPECT_EQ(Call({"wiener", in, wide, out}).code, 0);
}

TEST(CommandLine, EveryValueThatTheHelpNamesIsAccepted)
{
    std::string folder = Folder();
    std::string in = MakePicture(folder + "in.bmp", 8), out = folder + "out.bmp";
    for (int kernel = -2; kernel < 80; kernel++) {
        HGLOBAL hDib = MakeDib(20, 10, 8);
        for (const char *filter : {"laplace", "gradient"}) {
            HGLOBAL hResult = strcmp(filter, "laplace") == 0
                                  ? FilterLaplace(hDib, kernel, 0, nullptr)
                                  : FilterGradient(hDib, kernel, 0, nullptr);
            Outcome outcome = Call({filter, "--kernel", std::to_string(kernel), in, out});
            EXPECT_EQ(outcome.code, hResult ? 0 : 2) << filter << " " << kernel;
            if (hResult) {
                GlobalFree(hResult);
            }
        }
        GlobalFree(hDib);
    }
    std::string number = Content((Call({"gradient", in, out, "--kernel", "52"}), out));
    std::string name = Content((Call({"gradient", "--kernel=Sobel-2", in, out}), out));
    std::string other = Content((Call({"gradient", "--kernel=sobel", in, out}), out));
    EXPECT_TRUE(number == name && number != other);
}

TEST(CommandLine, UnreadableInputsHaveTheirOwnCode)
{
    std::string folder = Folder(), out = folder + "out.png";
    std::string whole = Content(MakePicture(folder + "in.png", 24));
    MakeFile(folder + "cut.png", whole.substr(0, whole.size() - 20));
    MakeFile(folder + "empty.png", "");
    MakeFile(folder + "text.png", "no picture");
    MakePicture(out, 8, 3, 3);
    std::string before = Content(out);
    for (const char *name : {"cut.png", "empty.png", "text.png", "missing.png", ""}) {
        Outcome outcome = Call({"gauss", folder + name, out});
        EXPECT_EQ(outcome.code, 3) << name;
        EXPECT_NE(outcome.error.find(folder + name + ": "), std::string::npos) << outcome.error;
        EXPECT_TRUE(Content(out) == before) << name;
    }
    EXPECT_EQ(Call({"gauss", folder + "in.png", folder + "no/such/out.png"}).code, 1);
    EXPECT_EQ(Names(folder).size(), 5u);
}

// Not read on and on, once its head is seen to be no picture's.
TEST(CommandLine, EndlessInputIsRefused)
{
    const char *endless = "/dev/zero";
    FILE *file = fopen(endless, "rb");
    if (file == NULL) {
        GTEST_SKIP() << "there is no " << endless;
    }
    fclose(file);
    Outcome outcome = Call({"gauss", endless, Folder() + "out.png"});
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.error.find("it is not a BMP, PNG or JPEG file"), std::string::npos);
}

TEST(CommandLine, SeveralPicturesGoOnAfterAFailure)
{
    std::string folder = Folder(), results = folder + "results";
    std::string a = MakePicture(folder + "a.png", 24), b = MakePicture(folder + "b.bmp", 4);
    std::string bad = MakeFile(folder + "bad.png", "no picture");
    MakeFolder((folder + "twin").c_str());
    std::string twin = MakePicture(folder + "twin/a.png", 8);
    Outcome outcome = Call({"gauss", bad, a, b, twin, "-o", results});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(Names(results), (std::set<std::string>{"a.png", "b.bmp"}));
    EXPECT_NE(outcome.error.find("2 of 4"), std::string::npos) << outcome.error;
    EXPECT_EQ(Call({"gauss", a, "-o", results, "--format", "jpg"}).code, 0);
    EXPECT_EQ(Names(results).count("a.jpg"), 1u);
}

TEST(CommandLine, FiltersOneAfterTheOtherAreTheFiltersInTurn)
{
    const std::string folder = Folder(), one = folder + "1.bmp", two = folder + "2.bmp",
                      three = folder + "3.bmp", all = folder + "all.bmp";
    const std::string in = MakePicture(folder + "in.bmp", 24),
                      other = MakePicture(folder + "o.bmp", 24);
    EXPECT_EQ(Call({"arithmetic", in, other, one, "--operation=xor"}).code, 0);
    EXPECT_EQ(Call({"multiply", one, two, "--tenths", "13"}).code, 0);
    EXPECT_EQ(Call({"gray", two, three}).code, 0);
    EXPECT_EQ(Call({"arithmetic", "--operation=xor", "+", "multiply", "--tenths", "13", "+", "gray",
                    in, other, all})
                  .code,
              0);
    EXPECT_EQ(Content(three), Content(all));
    EXPECT_EQ(Call({"arithmetic", in, other, "--operation=xor", "+", "--tenths=13", "multiply", "+",
                    "gray", two, "-n"})
                  .code,
              1);
    EXPECT_EQ(Call({"gauss", "+", "gauss", in, one, "-o", folder + "both"}).code, 0);
    EXPECT_EQ(Names(folder + "both"), (std::set<std::string>{"1.bmp", "in.bmp"}));
    const std::string large = MakePicture(folder + "large.bmp", 8, 4, 65536);
    EXPECT_EQ(Call({"gauss", "+", "slide", large, all}).code, 2);
}

TEST(CommandLine, AFolderIsMadeForAResultOnly)
{
    std::string folder = Folder(), results = folder + "results";
    std::string bad = MakeFile(folder + "bad.png", "no picture");
    EXPECT_EQ(Call({"gauss", bad, "-o", results}).code, 3);
    EXPECT_EQ(Call({"gauss", bad, folder + "none.png", "-o", results}).code, 1);
    EXPECT_EQ(Names(folder), std::set<std::string>{"bad.png"});
    EXPECT_EQ(Call({"gauss", bad, "-o", bad}).code, 2);
    const std::string file = MakeFile(folder + "file", "");
    EXPECT_EQ(Call({"gauss", MakePicture(folder + "a.png", 8), "-o", file}).code, 1);
}

TEST(CommandLine, ExistingFilesAreReplacedOrKept)
{
    std::string folder = Folder();
    std::string in = MakePicture(folder + "\xC3\xA9t\xC3\xA9.png", 24), before = Content(in);
    Outcome kept = Call({"enhance", "-n", in, in});
    EXPECT_EQ(kept.code, 1);
    EXPECT_NE(kept.error.find("kept"), std::string::npos) << kept.error;
    ImageMessages messages;  // also when it appears only while the filter runs
    HGLOBAL hDib = MakeDib(3, 3, 8);
    EXPECT_FALSE(WriteImageFile(hDib, in.c_str(), IMAGE_PNG, 90, true, &messages));
    GlobalFree(hDib);
    EXPECT_TRUE(Content(in) == before);
    EXPECT_EQ(Call({"enhance", in, in}).code, 0);
    EXPECT_TRUE(Content(in) != before);
    EXPECT_EQ(Names(folder).size(), 1u);
}

static int g_nCancelled;

// Ctrl-C just as the filter begins.
static HGLOBAL RunInterrupted(const CatalogueCall *call)
{
    Interrupt();
    HGLOBAL hResult = FilterGauss(call->pImages[0], call->mode, call->hParent);
    g_nCancelled += hResult ? 0 : 1;
    return hResult;
}

TEST(CommandLine, AnInterruptStopsTheFilterAndLeavesNothingBehind)
{
    std::string folder = Folder(), in = MakePicture(folder + "in.bmp", 24, 200, 200);
    CatalogueFilter filter = *FindCatalogueFilter("gauss");
    CommandOptions options = {};
    filter.Run = RunInterrupted;
    options.pFilter = &filter;
    options.inputs = {in, in};
    options.output = folder + "results";
    options.bFolder = options.bQuiet = true;
    g_nCancelled = 0;
    testing::internal::CaptureStderr();
    EXPECT_EQ(RunBatch(&options), 130);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "vexafilter: interrupted\n");
    EXPECT_EQ(g_nCancelled, 1);
    EXPECT_EQ(Names(folder + "results").size(), 0u);
    EXPECT_EQ(Call({"gauss", in, folder + "out.png"}).code, 130);
    ForgetInterrupt();
    EXPECT_EQ(Call({"gauss", in, folder + "out.png"}).code, 0);
    EXPECT_EQ(Names(folder), (std::set<std::string>{"in.bmp", "out.png"}));
}

TEST(CommandLine, BarIsDrawnOnStandardErrorAndWiped)
{
    std::string folder = Folder(), in = MakePicture(folder + "in.bmp", 24, 200, 200);
    Outcome outcome = Call({"gauss", in, folder + "out.bmp", "--progress=always"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_NE(outcome.error.find("in.bmp [####"), std::string::npos) << outcome.error;
    EXPECT_EQ(outcome.error.back(), '\r');
    EXPECT_EQ(outcome.out, "");
}

// A wide picture takes more steps than the bar has room for.
TEST(CommandLine, BarNeverGoesBack)
{
    std::string folder = Folder(), in = MakePicture(folder + "in.bmp", 24, 300, 5);
    Outcome outcome = Call({"gauss", in, folder + "out.bmp", "--progress=always"});
    int last = -1;
    for (size_t at = 0; (at = outcome.error.find("] ", at)) != std::string::npos; at++) {
        int percent = atoi(outcome.error.c_str() + at + 2);
        EXPECT_GE(percent, last);
        last = percent;
    }
    EXPECT_EQ(last, 100);
}

TEST(CommandLine, HelpComesFromTheCatalogue)
{
    Outcome help = Call({"--help"}), list = Call({"list"}), version = Call({"--version"});
    for (const Outcome *outcome : {&help, &list, &version}) {
        EXPECT_EQ(outcome->code, 0);
        EXPECT_EQ(outcome->error, "");
    }
    EXPECT_NE(help.out.find("130"), std::string::npos);
    EXPECT_NE(version.out.find("vexafilter 10.75"), std::string::npos) << version.out;
    EXPECT_NE(version.out.find("Version 10.75"), std::string::npos) << version.out;
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            const char *name = families[i]->pFilters[j].pName;
            EXPECT_NE(list.out.find(std::string("  ") + name + " "), std::string::npos) << name;
            Outcome filter = Call({name, "--help"});
            EXPECT_EQ(filter.code, 0);
            EXPECT_EQ(Call({"help", name}).out, filter.out);
            for (size_t k = 0, start = 0; k < 1000 && start < filter.out.size(); k++) {
                size_t end = filter.out.find('\n', start);
                EXPECT_LE(end - start, 80u) << filter.out.substr(start, end - start);
                start = end + 1;
            }
        }
    }
}

// What a new row can get wrong.
TEST(Catalogue, RowsAreSound)
{
    std::set<std::string> names, reserved;
    for (size_t i = 0; i < COMMON_OPTION_COUNT; i++) {
        reserved.insert(COMMON_OPTIONS[i].pName);
    }
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            const CatalogueFilter *filter = &families[i]->pFilters[j];
            SCOPED_TRACE(filter->pName);
            EXPECT_TRUE(names.insert(filter->pName).second);
            std::istringstream aliases(filter->pAliases ? filter->pAliases : "");
            for (std::string alias; aliases >> alias;) {
                EXPECT_TRUE(names.insert(alias).second) << alias;
                EXPECT_EQ(FindCatalogueFilter(alias.c_str()), filter) << alias;
            }
            EXPECT_EQ(FindCatalogueFilter(filter->pExport), filter);
            EXPECT_TRUE(filter->pSummary && filter->pDetails && filter->pArguments && filter->Run);
            EXPECT_TRUE(filter->nDepths && filter->nImages >= 1 &&
                        filter->nImages <= FILTER_IMAGES_MOST);
            ASSERT_LE(filter->nParameters, FILTER_PARAMETERS_MOST);
            for (size_t k = 0; k < filter->nParameters; k++) {
                const FilterParameter *parameter = &filter->pParameters[k];
                char text[100], accepted[1000];
                ParameterValue standard, parsed;
                EXPECT_EQ(reserved.count(parameter->pName), 0u) << parameter->pName;
                DefaultParameterValue(parameter, &standard);
                DescribeValue(parameter, &standard, text, sizeof text);
                EXPECT_TRUE(ParseParameterValue(parameter, text, &parsed)) << text;
                if (parameter->nType == PARAMETER_REAL) {
                    EXPECT_EQ(parsed.dValue, standard.dValue) << parameter->pName;
                } else {
                    EXPECT_EQ(parsed.nValue, standard.nValue) << parameter->pName;
                }
                DescribeAccepted(parameter, accepted, sizeof accepted);
                EXPECT_LT(strlen(accepted), sizeof accepted - 1) << parameter->pName;
            }
        }
    }
}

TEST(CommandLine, ASeedGivesThePictureAgain)
{
    std::string folder = Folder(), out = folder + "out.bmp", first;
    std::string in = MakePicture(folder + "in.bmp", 8), color = MakePicture(folder + "c.bmp", 24);
    for (const std::vector<std::string> &call :
         {std::vector<std::string>{"noise", in}, {"impressionist", in}, {"puzzle", color}}) {
        std::set<std::string> contents;
        for (const char *seed : {"5", "6", "5", "2147483647", "0"}) {
            EXPECT_EQ(Call({call[0], call[1], out, "--seed", seed}).code, 0);
            contents.insert(Content(out));
        }
        EXPECT_EQ(contents.size(), 4u) << call[0];
    }
}

// Colours of an 8-bit picture move with its pixels unless the export's own table is asked for.
TEST(CommandLine, APuzzleOfOneTileIsThePicture)
{
    std::string folder = Folder(), out = folder + "out.bmp";
    std::string in = MakePicture(folder + "in.bmp", 8);
    ImageMessages messages;
    for (bool bStored : {false, true}) {
        const char *flag = bStored ? "--as-stored=yes" : "--as-stored=no";
        EXPECT_EQ(Call({"puzzle", in, out, "--across=1", "--down=1", flag}).code, 0);
        const HGLOBAL hIn = ReadImageFile(in.c_str(), nullptr, &messages);
        const HGLOBAL hOut = ReadImageFile(out.c_str(), nullptr, &messages);
        EXPECT_EQ(DibBytes(hIn) == DibBytes(hOut), !bStored);
        GlobalFree(hIn);
        GlobalFree(hOut);
    }
}

// A picture of 2 x 1 pixels with the colours of a table of that many bits.
static std::string MakeTablePicture(const std::string &path, int bits, RGBQUAD first,
                                    RGBQUAD second)
{
    ImageMessages messages;
    HGLOBAL hDib = MakeDib(2, 1, bits);
    BYTE *block = static_cast<BYTE *>(GlobalLock(hDib));
    memset(block + 40, 99, size_t(4) << bits);  // gray
    memcpy(block + 40, &first, 4);
    memcpy(block + 44, &second, 4);
    block[40 + (size_t(4) << bits)] = bits == 1 ? 0x40 : bits == 4 ? 0x01 : 0;
    block[41 + (size_t(4) << bits)] = bits == 8;
    GlobalUnlock(hDib);
    EXPECT_TRUE(WriteImageFile(hDib, path.c_str(), IMAGE_BMP, 90, false, &messages));
    GlobalFree(hDib);
    return path;
}

// The depth, and blue, green, red or the level of both pixels.
static std::vector<int> Pixels(const std::string &path)
{
    ImageMessages messages;
    HGLOBAL hDib = ReadImageFile(path.c_str(), nullptr, &messages);
    std::vector<int> values;
    if (hDib) {
        const BYTE *block = static_cast<const BYTE *>(GlobalLock(hDib));
        values.push_back(block[14]);
        const size_t first = block[14] == 24 ? 40 : 40 + (size_t(4) << block[14]);
        for (size_t i = 0; i < (block[14] == 24 ? 6 : 2); i++) {
            values.push_back(block[first + i]);
        }
        GlobalUnlock(hDib);
        GlobalFree(hDib);
    }
    return values;
}

// Filters on stored values see the picture, not the numbers of its colours, unless told otherwise.
TEST(CommandLine, ColourTablesAreLookedThrough)
{
    const std::string folder = Folder(), out = folder + "out.bmp";
    const RGBQUAD red = {10, 20, 200, 0}, green = {0, 250, 40, 0}, dark = {60, 60, 60, 0},
                  light = {180, 180, 180, 0}, black = {0, 0, 0, 0}, white = {255, 255, 255, 0};
    const std::vector<int> negative = {24, 245, 235, 55, 255, 5, 215};
    for (int bits : {1, 4, 8}) {
        const std::string color = MakeTablePicture(folder + "c.bmp", bits, red, green);
        const std::string gray = MakeTablePicture(folder + "g.bmp", bits, light, dark);
        EXPECT_EQ(Call({"invert", color, out}).code, 0);
        EXPECT_EQ(Pixels(out), negative) << bits;
        EXPECT_EQ(Call({"complement", gray, out}).code, 0);
        EXPECT_EQ(Pixels(out), (std::vector<int>{8, 75, 195})) << bits;
        EXPECT_EQ(Call({"arithmetic", gray, color, out, "--operation", "xor"}).code, 0);
        EXPECT_EQ(Pixels(out),
                  (std::vector<int>{24, 180 ^ 10, 180 ^ 20, 180 ^ 200, 60, 60 ^ 250, 60 ^ 40}))
            << bits;
        EXPECT_EQ(Call({"grayscale", color, out}).code, 0);
        EXPECT_EQ(Pixels(out), (std::vector<int>{8, 73, 159})) << bits;
        EXPECT_EQ(Call({"to-24", color, out}).code, 0);
        EXPECT_EQ(Pixels(out), (std::vector<int>{24, 10, 20, 200, 0, 250, 40})) << bits;
        EXPECT_EQ(Call({"multiply", color, out, "--tenths=10"}).code, 0);
        EXPECT_EQ(Pixels(out), (std::vector<int>{24, 10, 20, 200, 0, 250, 40})) << bits;
        EXPECT_EQ(Call({"average", color, out, "--size=2"}).code, 0);
        EXPECT_EQ(Pixels(out)[0], 24) << bits;
        EXPECT_EQ(Call({"brightness", color, out, "--brightness=5"}).code, 0);
        EXPECT_EQ(Pixels(out), (std::vector<int>{24, 15, 25, 205, 5, 255, 45})) << bits;
    }
    const std::string color = MakeTablePicture(folder + "c.bmp", 8, red, green);
    EXPECT_EQ(Call({"complement", color, out, "--stored-values"}).code, 0);
    EXPECT_EQ(Pixels(out), (std::vector<int>{8, 255, 254}));
    const std::string page = MakeTablePicture(folder + "p.bmp", 1, black, white);
    EXPECT_EQ(Call({"gray", page, out}).code, 0);
    EXPECT_EQ(Pixels(out), (std::vector<int>{8, 0, 255}));
    Outcome refused = Call({"gray-dilate", color, out});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.error.find("gray pictures"), std::string::npos) << refused.error;
}

TEST(Catalogue, RectanglesAreReadStrictly)
{
    const FilterParameter *rect = FindFilterParameter(FindCatalogueFilter("redeye"), "rect");
    ParameterValue value;
    for (const char *text : {"1,2,3", "1,2,3,4,5", "1,2,1,4", "1,2,3,2", "-1,2,3,4", "1,2,3,x", "",
                             "1,,3,4", "1,2,3,4,", "1, 2,3,4", "1,2,3,99999999999999999999999"}) {
        EXPECT_FALSE(ParseParameterValue(rect, text, &value)) << text;
    }
    char text[100];
    for (const char *good : {"0,0,1,1", "7,8,2147483647,9", "all"}) {
        EXPECT_TRUE(ParseParameterValue(rect, good, &value)) << good;
        DescribeValue(rect, &value, text, sizeof text);
        EXPECT_STREQ(good, text);
    }
}

TEST(Catalogue, NumbersAreReadStrictly)
{
    const FilterParameter integer = {"i", PARAMETER_INTEGER, -5, 99, 3, "", nullptr, 0};
    const FilterParameter real = {"r", PARAMETER_REAL, -1, 1.5, 0, "", nullptr, 0};
    const FilterParameter flag = {"f", PARAMETER_FLAG, 0, 1, 0, "", nullptr, 0};
    const struct {
        const FilterParameter *pParameter;
        const char *pText;
        bool bAccepted;
        double dValue;
    } CASES[] = {
        {&integer, "-5", true, -5},  {&integer, "99", true, 99},
        {&integer, "100", false, 0}, {&integer, "-6", false, 0},
        {&integer, "1.0", false, 0}, {&integer, " 1", false, 0},
        {&integer, "1 ", false, 0},  {&integer, "0x1", false, 0},
        {&integer, "", false, 0},    {&integer, "4294967297", false, 0},
        {&integer, "-", false, 0},   {&real, "1.5", true, 1.5},
        {&real, "-1e0", true, -1},   {&real, "1.6", false, 0},
        {&real, "nan", false, 0},    {&real, "inf", false, 0},
        {&real, "1,5", false, 0},    {&real, "0x1", false, 0},
        {&real, "", false, 0},       {&real, ".", false, 0},
        {&flag, "yes", true, 1},     {&flag, "OFF", true, 0},
        {&flag, "2", false, 0},
    };
    for (const auto &row : CASES) {
        ParameterValue value = {};
        EXPECT_EQ(ParseParameterValue(row.pParameter, row.pText, &value), row.bAccepted)
            << row.pText;
        double parsed = row.pParameter == &real ? value.dValue : value.nValue;
        if (row.bAccepted) {
            EXPECT_EQ(parsed, row.dValue) << row.pText;
        }
    }
}

TEST(Catalogue, MasksAreReadStrictly)
{
    const FilterParameter weights = {"m", PARAMETER_MASK, 0, 255, 0, "", nullptr, 0, "1"};
    const struct {
        const char *pText, *pWanted;  // null: refused
    } CASES[] = {
        {"1,3,1;1,3,1;1,3,1", "1,3,1;1,3,1;1,3,1"},
        {"1 2\t3\r\n 4, 5 ,6 \r\n\n", "1,2,3;4,5,6"},
        {"0,255@0,-3", "0,255@0,-3"},
        {"7@0 0", "7"},
        {"1,2;3,4\n@1,0\n", "1,2;3,4@1,0"},
        {"", nullptr},
        {"0,0;0,0", nullptr},
        {"1,2;3", nullptr},
        {"1,,2", nullptr},
        {"1,2,", nullptr},
        {",1", nullptr},
        {"1;;2", nullptr},
        {"256", nullptr},
        {"-1,2", nullptr},
        {"1.5", nullptr},
        {"1,2@", nullptr},
        {"1,2@1", nullptr},
        {"1,2@1,2,3", nullptr},
        {"1,2@1,", nullptr},
        {"one", nullptr},
        {"1,2 x", nullptr},
        {"@1,1", nullptr},
        {"1@99999999999,0", nullptr},
    };
    for (const auto &row : CASES) {
        ParameterValue value = {};
        char text[100] = "";
        EXPECT_EQ(ParseParameterValue(&weights, row.pText, &value), row.pWanted != nullptr)
            << row.pText;
        if (row.pWanted) {
            DescribeValue(&weights, &value, text, sizeof text);
            EXPECT_STREQ(text, row.pWanted);
        }
    }
}

TEST(CommandLine, AnElementGoesByItsName)
{
    std::string folder = Folder();
    std::string in = MakePicture(folder + "in.bmp", 1), out = folder + "out.bmp";
    const char *const NAMES[][2] = {{"cross3", "0,1,0;1,1,1;0,1,0"},
                                    {"square3", "1,1,1;1,1,1;1,1,1"}};
    for (const auto &name : NAMES) {
        std::vector<BYTE> results[2];
        for (int i = 0; i < 2; i++) {
            ImageMessages messages;
            Outcome outcome = Call({"dilate", in, out, "--element", name[i]});
            EXPECT_EQ(outcome.code, 0) << outcome.error;
            HGLOBAL hResult = ReadImageFile(out.c_str(), nullptr, &messages);
            const auto bytes = DibBytes(hResult);
            results[i].assign(bytes.begin(), bytes.end());
            GlobalFree(hResult);
        }
        EXPECT_TRUE(results[0] == results[1]) << name[0];
    }
    EXPECT_EQ(Call({"dilate", in, out, "--element", "cross4"}).code, 2);
}

// Row 0, column 1 over the pixel: the exports read the two fields crossed.
TEST(CommandLine, AMaskIsTheSameFromAFile)
{
    std::string folder = Folder();
    std::string in = MakePicture(folder + "in.png", 8), out = folder + "out.bmp";
    BYTE left[] = {1, 0}, right[] = {0, 5};
    BYTE *columns[] = {left, right};
    const FilterMask mask = {columns, 2, 2, 0, 1};
    HGLOBAL hDib = MakeDib(20, 10, 8), hExpected = FilterWeightedMedian(hDib, &mask, 0, nullptr);
    std::string file = MakeFile(folder + "mask.txt", "# weights\n1 0 # ;\n\n0 5\n@0,1 #\n# 7\n");
    for (const std::string &text : {std::string("1,0;0,5@0,1"), file}) {
        ImageMessages messages;
        Outcome outcome = Call({"weighted-median", in, out, "--mask", text});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        HGLOBAL hResult = ReadImageFile(out.c_str(), nullptr, &messages);
        EXPECT_TRUE(DibBytes(hResult) == DibBytes(hExpected)) << text;
        GlobalFree(hResult);
    }
    GlobalFree(hDib);
    GlobalFree(hExpected);
    Outcome outcome = Call({"weighted-median", in, out, "--mask", folder + "none.txt"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_NE(outcome.error.find("neither a mask nor a file"), std::string::npos) << outcome.error;
    for (const char *bad :
         {"1 2\n3\n", "0 0\n0 0\n", "1 256\n", "1 2\n@0,1 2\n", "1,,2\n", "", "x"}) {
        outcome = Call({"weighted-median", in, out, "--mask", MakeFile(folder + "bad.txt", bad)});
        EXPECT_EQ(outcome.code, 2) << bad;
        EXPECT_NE(outcome.error.find("does not hold a value of --mask"), std::string::npos) << bad;
    }
}

TEST(CommandLine, CountsAreATable)
{
    const std::string folder = Folder();
    Outcome outcome = Call({"counts", MakePicture(folder + "in.png", 1, 5, 3)});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_EQ(outcome.out, "level,count\n0,15\n1,0\n");
    outcome = Call({"counts", MakePicture(folder + "in.png", 24, 5, 3)});
    EXPECT_EQ(outcome.out.substr(0, 30), "level,red,green,blue\n0,1,1,2\n1");
    EXPECT_EQ(Call({"counts", folder + "missing.png"}).code, 3);
    EXPECT_EQ(Call({"counts"}).code, 2);
}

TEST(CommandLine, TransparencyStaysUnlessPixelsMove)
{
    const std::string folder = Folder(), in = folder + "in.png", out = folder + "out.png";
    ImageMessages messages;
    ImageExtras extras = {};
    extras.nAlphaWidth = 20;
    extras.nAlphaHeight = 10;
    extras.alpha.assign(200, 90);
    HGLOBAL hDib = MakeDib(20, 10, 24);
    EXPECT_TRUE(WriteImageFile(hDib, in.c_str(), IMAGE_PNG, 90, false, &messages, &extras));
    GlobalFree(hDib);
    static const struct {
        std::vector<std::string> words;
        const char *pNotice;
    } CASES[] = {
        {{"median"}, ""},
        {{"gray", "+", "gauss"}, ""},
        {{"median", "+", "polar"}, "the transparency was dropped: polar moves pixels"},
        {{"puzzle", "+", "median"}, "the transparency was dropped: puzzle moves pixels"},
        {{"spectrum"}, "the transparency was dropped: spectrum moves pixels"},
    };
    for (const auto &row : CASES) {
        std::vector<std::string> words = row.words;
        words.insert(words.end(), {in, out});
        const Outcome outcome = Call(words);
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        EXPECT_EQ(outcome.error,
                  *row.pNotice ? "vexafilter: " + in + ": " + row.pNotice + "\n" : "");
        ImageExtras found = {};
        GlobalFree(ReadImageFile(out.c_str(), nullptr, &messages, &found));
        EXPECT_EQ(found.alpha, *row.pNotice ? std::vector<BYTE>() : extras.alpha);
    }
}

#ifndef _WIN32  // there a job is the program itself: scripts/check-dll runs it
// The files, messages and codes of several at a time are those of one after the other.
TEST(CommandLine, JobsDoTheSame)
{
    const std::string folder = Folder();
    std::vector<std::string> inputs;
    for (int i = 0; i < 9; i++) {
        inputs.push_back(MakePicture(folder + Text("in %d.png", i), i % 2 ? 24 : 8, 20 + i, 9));
    }
    inputs.push_back(MakeFile(folder + "bad.png", "no picture"));
    inputs.push_back(folder + "missing.bmp");
    ASSERT_TRUE(MakeFolder((folder + "more").c_str()));
    inputs.push_back(MakePicture(folder + "more/in 3.png", 8));
    std::string errors[2];
    for (int jobs : {1, 4}) {
        const std::string out = folder + Text("out%d", jobs);
        std::vector<std::string> words = {"--size",  "5",           "median",         "-o",
                                          out,       "-j",          Text("%d", jobs), "+",
                                          "enhance", "--format=bmp"};
        words.insert(words.end(), inputs.begin(), inputs.end());
        const Outcome outcome = Call(words);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.error.find("9 of 12 pictures done"), std::string::npos) << outcome.error;
        EXPECT_NE(outcome.error.find("same name"), std::string::npos) << outcome.error;
        errors[jobs > 1] = outcome.error;
    }
    EXPECT_EQ(errors[0].size(), errors[1].size());
    EXPECT_EQ(Names(folder + "out1").size(), 9u);
    EXPECT_EQ(Names(folder + "out1"), Names(folder + "out4"));
    for (const std::string &name : Names(folder + "out1")) {
        EXPECT_TRUE(Content(folder + "out1/" + name) == Content(folder + "out4/" + name)) << name;
    }
    EXPECT_EQ(Call({"median", "-j", "65", inputs[0], "-o", folder}).code, 2);
}
#endif
