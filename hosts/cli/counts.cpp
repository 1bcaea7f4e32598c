// "vexafilter counts IN": how often each level occurs, as comma-separated values on standard
// output.
#include "commandline.h"

#include "hosts/catalogue/chart.h"

int PrintCounts(const CommandOptions *options)
{
    static const int RED_FIRST[] = {2, 1, 0};
    HistogramRecord record;
    ImageMessages messages;
    const char *path = options->inputs[0].c_str();
    HGLOBAL hDib = ReadImageFile(path, nullptr, &messages);
    if (!hDib) {
        Say("%s: %s", path, messages.szError);
        return EXIT_UNREADABLE;
    }
    // As people see it, so that a row is a level and not the number of a colour.
    const DibValues values = ValuesOfDib(hDib);
    if (values != VALUES_ARE_LEVELS && !options->bStoredValues) {
        const HGLOBAL hSeen = ConvertDib(hDib, values == VALUES_NAME_COLOURS ? 24 : 8);
        GlobalFree(hDib);
        hDib = hSeen;
    }
    const bool bCounted = hDib && CountPicture(hDib, &record);
    if (hDib) {
        GlobalFree(hDib);
    }
    if (!bCounted) {
        Say("%s: not enough memory", path);
        return EXIT_FAILED;
    }
    std::string table = record.nChannels == 1 ? "level,count\n" : "level,red,green,blue\n";
    for (UINT level = 0; level < record.nLevels; level++) {
        table += Text("%u", level);
        for (int channel : RED_FIRST) {
            if (UINT(channel) < record.nChannels) {
                table += Text(",%u", record.counts[channel][level]);
            }
        }
        table += "\n";
    }
    Print("%s", table.c_str());
    return fflush(stdout) == 0 ? EXIT_DONE : EXIT_FAILED;
}
