// The command line's system side on Windows.
//
// Progress and cancelling come with the library's progress dialog, which this program keeps out of
// sight: a hook on its own thread sees the messages that the dialog and its bar get. The dialog is
// given a window procedure that takes the word "show" out of every change of its position, so it
// is never drawn and takes no focus; steps of the bar become steps of the text bar; and after
// Ctrl-C, which arrives on a thread of its own, the dialog gets the command of its Cancel button.
#include "../system.h"
#include "hosts/imagefile/win32/wide.h"

#include <VexaFilter.h>
#include <commctrl.h>
#include <io.h>

static volatile LONG g_bInterrupted;
static void (*g_Step)(int position, int range);

static struct {
    HHOOK hHook;
    HWND hDialog;
    WNDPROC pDialogProc;
    int nPosition, nRange;
} g_Watch;

// ---- text --------------------------------------------------------------------------------------

static HANDLE ConsoleOf(FILE *stream)
{
    HANDLE hStream = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD mode;
    return GetConsoleMode(hStream, &mode) ? hStream : nullptr;
}

bool IsTerminal(FILE *stream)
{
    return ConsoleOf(stream) != nullptr;
}

void WriteText(FILE *stream, const char *text)
{
    HANDLE hConsole = ConsoleOf(stream);
    if (!hConsole) {
        fputs(text, stream);
        return;
    }
    std::wstring wide = WideText(text);
    DWORD written;
    fflush(stream);
    WriteConsoleW(hConsole, wide.c_str(), DWORD(wide.size()), &written, nullptr);
}

void ExpandName(const char *name, std::vector<std::string> *names)
{
    std::string pattern = name;
    WIN32_FIND_DATAW found;
    HANDLE hSearch = INVALID_HANDLE_VALUE;
    if (pattern.find_first_of("*?") != std::string::npos) {
        hSearch = FindFirstFileW(WidePath(name).c_str(), &found);
    }
    if (hSearch == INVALID_HANDLE_VALUE) {
        names->push_back(pattern);
        return;
    }
    size_t slash = pattern.find_last_of("/\\:");
    std::string folder = slash == std::string::npos ? "" : pattern.substr(0, slash + 1);
    size_t before = names->size();
    do {
        if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) {
            names->push_back(folder + NarrowText(found.cFileName));
        }
    } while (FindNextFileW(hSearch, &found));
    FindClose(hSearch);
    if (names->size() == before) {
        names->push_back(pattern);
    }
}

// ---- interrupts --------------------------------------------------------------------------------

void Interrupt()
{
    InterlockedExchange(&g_bInterrupted, 1);
}

bool WasInterrupted()
{
    return g_bInterrupted != 0;
}

void ForgetInterrupt()
{
    InterlockedExchange(&g_bInterrupted, 0);
}

// The second time the system's own handler ends the program.
static BOOL WINAPI OnConsoleControl(DWORD event)
{
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    return InterlockedExchange(&g_bInterrupted, 1) == 0;
}

void CatchInterrupts()
{
    SetConsoleCtrlHandler(OnConsoleControl, TRUE);
}

// ---- progress ----------------------------------------------------------------------------------

static LRESULT CALLBACK HiddenDialogProc(HWND hWindow, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_WINDOWPOSCHANGING) {
        WINDOWPOS *position = reinterpret_cast<WINDOWPOS *>(lParam);
        position->flags &= ~UINT(SWP_SHOWWINDOW);
        position->flags |= SWP_NOACTIVATE;
    }
    return CallWindowProcA(g_Watch.pDialogProc, hWindow, message, wParam, lParam);
}

static void HideDialog(HWND hDialog)
{
    g_Watch.hDialog = hDialog;
    g_Watch.pDialogProc = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrA(hDialog, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(HiddenDialogProc)));
}

static LRESULT CALLBACK OnMessage(int code, WPARAM wParam, LPARAM lParam)
{
    const CWPSTRUCT *sent = reinterpret_cast<const CWPSTRUCT *>(lParam);
    if (code == HC_ACTION && sent->message == WM_INITDIALOG && !g_Watch.hDialog) {
        HideDialog(sent->hwnd);
    } else if (code == HC_ACTION && g_Watch.hDialog && GetParent(sent->hwnd) == g_Watch.hDialog) {
        if (sent->message == PBM_SETRANGE32) {
            g_Watch.nRange = int(sent->lParam);
            g_Step(0, g_Watch.nRange);
        }
        if (sent->message == PBM_STEPIT) {
            g_Step(++g_Watch.nPosition, g_Watch.nRange);
            if (WasInterrupted()) {
                PostMessageA(g_Watch.hDialog, WM_COMMAND, IDCANCEL, 0);
            }
        }
    }
    return CallNextHookEx(g_Watch.hHook, code, wParam, lParam);
}

UINT WatchFilter(void (*Step)(int position, int range))
{
    g_Step = Step;
    ZeroMemory(&g_Watch, sizeof g_Watch);
    g_Watch.hHook = SetWindowsHookExA(WH_CALLWNDPROC, OnMessage, nullptr, GetCurrentThreadId());
    return g_Watch.hHook ? MODE_PROGRESS : 0;
}

void UnwatchFilter()
{
    if (g_Watch.hHook) {
        UnhookWindowsHookEx(g_Watch.hHook);
    }
    g_Watch.hHook = nullptr;
}

// ---- jobs --------------------------------------------------------------------------------------

static struct {
    HANDLE hProcess;  // null: free
    int nId;
} g_Jobs[JOBS_MOST];

// An argument as CommandLineToArgvW reads it: a backslash counts twice before a quotation mark.
static void Quote(const std::string &argument, std::wstring *line)
{
    size_t slashes = 0;
    *line += L" \"";
    for (wchar_t letter : WideText(argument.c_str())) {
        if (letter == L'"') {
            line->append(slashes + 1, L'\\');
        }
        slashes = letter == L'\\' ? slashes + 1 : 0;
        *line += letter;
    }
    line->append(slashes, L'\\');
    *line += L'"';
}

bool StartJob(const std::vector<std::string> &arguments, int id)
{
    wchar_t program[32768];
    STARTUPINFOW startup = {};
    PROCESS_INFORMATION process;
    std::wstring line = L"vexafilter";
    startup.cb = sizeof startup;
    for (const std::string &argument : arguments) {
        Quote(argument, &line);
    }
    for (auto &job : g_Jobs) {
        if (job.hProcess) {
            continue;
        }
        if (!GetModuleFileNameW(nullptr, program, DWORD(sizeof program / sizeof *program)) ||
            !CreateProcessW(program, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                            &startup, &process)) {
            return false;
        }
        CloseHandle(process.hThread);
        job.hProcess = process.hProcess;
        job.nId = id;
        return true;
    }
    return false;
}

// The console has told every process.
void StopJobs()
{
}

bool WaitJob(int *id, int *code)
{
    HANDLE handles[JOBS_MOST];
    DWORD count = 0, status = 0;
    for (const auto &job : g_Jobs) {
        if (job.hProcess) {
            handles[count++] = job.hProcess;
        }
    }
    if (count == 0) {
        return false;
    }
    const DWORD ended = WaitForMultipleObjects(count, handles, FALSE, INFINITE);
    for (auto &job : g_Jobs) {
        if (ended < WAIT_OBJECT_0 + count && job.hProcess == handles[ended - WAIT_OBJECT_0]) {
            GetExitCodeProcess(job.hProcess, &status);
            CloseHandle(job.hProcess);
            job.hProcess = nullptr;
            *id = job.nId;
            *code = int(status);
            return true;
        }
    }
    return false;
}

void NoteBlocks()
{
}

void FreeLeftBlocks(HGLOBAL)
{
}
