// The command line "vexafilter": one filter applied to picture files. Private to this folder and
// its tests.
//
//   options.cpp   arguments -> CommandOptions, by the catalogue
//   help.cpp      --help, list, --version
//   batch.cpp     reading, filtering, writing one picture or many
//   counts.cpp    a picture's counts
//   progress.cpp  the bar on standard error
//   text.cpp      messages and small text helpers
//   run.cpp       the whole
//
// All texts are UTF-8.
#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include "hosts/catalogue/catalogue.h"
#include "hosts/imagefile/imagefile.h"

#include <string>
#include <vector>

// What the program returns to its caller. Fixed: scripts depend on it.
enum ExitCode {
    EXIT_DONE = 0,
    EXIT_FAILED = 1,
    EXIT_USAGE = 2,
    EXIT_UNREADABLE = 3,
    EXIT_INTERRUPTED = 130,
};

enum Action { ACTION_RUN, ACTION_HELP, ACTION_LIST, ACTION_VERSION, ACTION_COUNTS };

enum ProgressWish { PROGRESS_AUTO, PROGRESS_ALWAYS, PROGRESS_NEVER };

// A filter behind a "+": it gets what the one before has made.
struct FilterStep {
    const CatalogueFilter *pFilter;
    ParameterValue values[FILTER_PARAMETERS_MOST];
};

struct CommandOptions {
    Action nAction;
    const CatalogueFilter *pFilter;  // may be null unless the action is to run one
    ParameterValue values[FILTER_PARAMETERS_MOST];
    std::vector<FilterStep> further;
    std::vector<std::string> inputs;  // expanded
    std::string output;               // a file, or the folder of -o
    bool bFolder;
    ImageFormat nFormat;  // IMAGE_UNKNOWN: by the output's name
    int nQuality, nJobs;
    std::vector<std::string>
        shared;  // of the arguments, what is not about one picture or about jobs
    bool bQuiet, bKeepExisting, bStoredValues;
    ProgressWish nProgress;
};

// An option that every filter knows. Apply puts the value into the options; false: not accepted.
struct CommonOption {
    const char *pName;
    char cLetter;            // 0: none
    const char *pValueName;  // null: takes no value
    const char *pMeaning;
    const char *pAccepted;  // what the value may be, for the sentence that refuses it
    bool (*Apply)(CommandOptions *options, const char *value);
};
extern const CommonOption COMMON_OPTIONS[];
extern const size_t COMMON_OPTION_COUNT;

// The whole program but for what the system's main does: arguments as argv has them, exit code.
int RunCommandLine(int argc, char **argv);

// False after it has said what is wrong.
bool ParseOptions(int argc, char **argv, CommandOptions *options);

void PrintUsage();
void PrintFilterHelp(const CatalogueFilter *filter);
void PrintFilters();
void PrintVersion();

int RunBatch(const CommandOptions *options);
int PrintCounts(const CommandOptions *options);

// label is what the bar is about. One bar at a time.
void BeginProgressBar(const char *label, bool bDraw);
void StepProgressBar(int position, int range);
// Wipes the bar. True when it was stepped at all.
bool EndProgressBar();

std::string Text(const char *format, ...) __attribute__((format(printf, 1, 2)));

// A line on standard error, with the program's name in front.
void Say(const char *format, ...) __attribute__((format(printf, 1, 2)));

// Standard output.
void Print(const char *format, ...) __attribute__((format(printf, 1, 2)));

// The last part of a path.
std::string BaseName(const std::string &path);

// The candidate that differs least from a mistyped word, or null when none is like it.
const char *NearestName(const char *word, const std::vector<const char *> &candidates);

#endif
