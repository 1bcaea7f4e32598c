// The command line from its arguments to its exit code.
#include "commandline.h"
#include "system.h"

#include <stdio.h>

int RunCommandLine(int argc, char **argv)
{
    CommandOptions options = {};
    SetImageStop(WasInterrupted);
    if (argc < 2) {
        Say("name a filter and its pictures: vexafilter FILTER IN OUT; --help says more");
        return EXIT_USAGE;
    }
    if (!ParseOptions(argc, argv, &options)) {
        return EXIT_USAGE;
    }
    switch (options.nAction) {
    case ACTION_RUN:
        return RunBatch(&options);
    case ACTION_HELP:
        if (options.pFilter) {
            PrintFilterHelp(options.pFilter);
        } else {
            PrintUsage();
        }
        break;
    case ACTION_LIST:
        PrintFilters();
        break;
    case ACTION_COUNTS:
        return PrintCounts(&options);
    case ACTION_VERSION:
        PrintVersion();
        break;
    }
    return fflush(stdout) == 0 ? EXIT_DONE : EXIT_FAILED;
}
