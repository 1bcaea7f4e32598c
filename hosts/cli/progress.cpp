// The progress bar: one line on standard error, redrawn when its percentage changes and wiped when
// the filter is done.
#include "commandline.h"
#include "system.h"

static const int BAR_WIDTH = 30;
static const size_t LABEL_MOST = 30;

static struct {
    std::string label;
    bool bDraw, bStepped;
    int nPercent;  // what stands on the screen, -1 for nothing
    size_t nColumns;
} g_Bar;

void BeginProgressBar(const char *label, bool bDraw)
{
    g_Bar.label = label;
    if (g_Bar.label.size() > LABEL_MOST) {
        size_t end = LABEL_MOST;
        while (end > 0 && (g_Bar.label[end] & 0xC0) == 0x80) {  // not inside a letter
            end--;
        }
        g_Bar.label.resize(end);
    }
    g_Bar.bDraw = bDraw;
    g_Bar.bStepped = false;
    g_Bar.nPercent = -1;
    g_Bar.nColumns = 0;
}

void StepProgressBar(int position, int range)
{
    g_Bar.bStepped = true;
    int percent = range > 0 ? int(100.0 * position / range) : 0;
    // The system's bar starts over past its end, which low, wide pictures reach: this one stays
    // full.
    percent = percent > 100 || percent < g_Bar.nPercent ? 100 : percent;
    if (!g_Bar.bDraw || percent == g_Bar.nPercent) {
        return;
    }
    g_Bar.nPercent = percent;
    size_t filled = size_t(percent * BAR_WIDTH / 100);
    std::string line = "\r" + g_Bar.label + " [" + std::string(filled, '#') +
                       std::string(BAR_WIDTH - filled, '.') + Text("] %3d %%", percent);
    g_Bar.nColumns = line.size() - 1;
    WriteText(stderr, line.c_str());
}

bool EndProgressBar()
{
    if (g_Bar.nColumns > 0) {
        WriteText(stderr, ("\r" + std::string(g_Bar.nColumns, ' ') + "\r").c_str());
    }
    g_Bar.nColumns = 0;
    return g_Bar.bStepped;
}
