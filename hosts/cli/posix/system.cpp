// The command line's system side on Linux. The progress comes from the observer of the headless
// dialogs, so every filter runs with its progress on: that is also what makes it cancellable.
#include "../system.h"

#include <headless.h>

#include <VexaFilter.h>

#include <signal.h>
#include <unistd.h>

static volatile sig_atomic_t g_bInterrupted;
static void (*g_Step)(int position, int range);

void WriteText(FILE *stream, const char *text)
{
    fputs(text, stream);
}

bool IsTerminal(FILE *stream)
{
    return isatty(fileno(stream)) == 1;
}

void Interrupt()
{
    g_bInterrupted = 1;
    RequestCancel();
}

bool WasInterrupted()
{
    return g_bInterrupted != 0;
}

void ForgetInterrupt()
{
    g_bInterrupted = 0;
    ClearCancelRequest();
}

static void OnSignal(int)
{
    Interrupt();
}

// Without SA_RESTART: a read that waits for a pipe gives up too.
void CatchInterrupts()
{
    for (int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action = {}, before = {};
        action.sa_handler = OnSignal;
        action.sa_flags = int(SA_RESETHAND);
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
        }
    }
}

// The shell has expanded it.
void ExpandName(const char *name, std::vector<std::string> *names)
{
    names->push_back(name);
}

static void OnProgress(HWND, int range, int position, void *)
{
    g_Step(position, range);
}

UINT WatchFilter(void (*Step)(int position, int range))
{
    g_Step = Step;
    SetProgressObserver(OnProgress, nullptr);
    return MODE_PROGRESS;
}

void UnwatchFilter()
{
    SetProgressObserver(nullptr, nullptr);
}

// ---- blocks ----------------------------------------------------------------------------------

static HGLOBAL g_hLatest;

void NoteBlocks()
{
    g_hLatest = LatestGlobalBlock();
}

void FreeLeftBlocks(HGLOBAL hKeep)
{
    HGLOBAL hBlock = NextGlobalBlock(g_hLatest);
    for (; hBlock; hBlock = NextGlobalBlock(hBlock)) {
        if (hBlock != hKeep) {
            GlobalFree(hBlock);
        }
    }
}
