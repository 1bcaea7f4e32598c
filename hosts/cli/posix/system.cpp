// The command line's system side on Linux. The progress comes from the observer of the headless
// dialogs, so every filter runs with its progress on: that is also what makes it cancellable.
#include "../commandline.h"
#include "../system.h"

#include <headless.h>

#include <VexaFilter.h>

#include <errno.h>
#include <signal.h>
#include <sys/wait.h>
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

// ---- jobs ------------------------------------------------------------------------------------

static struct {
    pid_t nProcess;  // 0: free
    int nId;
} g_Jobs[JOBS_MOST];

bool StartJob(const std::vector<std::string> &arguments, int id)
{
    for (auto &job : g_Jobs) {
        if (job.nProcess != 0) {
            continue;
        }
        fflush(nullptr);
        job.nId = id;
        job.nProcess = fork();
        if (job.nProcess == 0) {
            std::vector<std::string> texts = arguments;
            std::vector<char *> argv = {const_cast<char *>("vexafilter")};
            for (std::string &text : texts) {
                argv.push_back(&text[0]);
            }
            const int code = RunCommandLine(int(argv.size()), argv.data());
            fflush(nullptr);
            _exit(code);
        }
        job.nProcess = job.nProcess < 0 ? 0 : job.nProcess;
        return job.nProcess != 0;
    }
    return false;
}

void StopJobs()
{
    for (const auto &job : g_Jobs) {
        if (job.nProcess != 0) {
            kill(job.nProcess, SIGTERM);
        }
    }
}

bool WaitJob(int *id, int *code)
{
    for (;;) {
        int status = 0;
        const pid_t process = waitpid(-1, &status, 0);
        if (process < 0 && errno == EINTR) {
            StopJobs();
            continue;
        }
        if (process < 0) {
            return false;
        }
        for (auto &job : g_Jobs) {
            if (job.nProcess == process) {
                job.nProcess = 0;
                *id = job.nId;
                *code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
                return true;
            }
        }
    }
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
