// Windows without a screen: dialogs, messages, the progress bar, cursors.
//
// Promised: CreateDialogParamA knows one template, PROGRESSDLG (Cancel button 2, progress bar
// 1000), and runs the real dialog procedure: WM_INITDIALOG before it returns, posted commands when
// the thread drains its queue. The bar answers the PBM_ messages. Each thread has a queue; WM_QUIT
// comes out when nothing else is left. A window that is destroyed takes its controls, the dialogs
// that it owns (they get WM_DESTROY first) and its waiting messages along. Every HWND is checked.
// Left out: the screen, the keyboard, timers, other templates and classes, and messages sent to a
// dialog or plain window of another thread (the answer is 0). Windows that are still there when
// their thread ends go without WM_DESTROY.
//
// One lock guards windows and queues; it is never held while a procedure or the observer runs.

#include <windows.h>

#include <commctrl.h>

#include "headless.h"
#include "internal.h"

#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

static const char PROGRESS_TEMPLATE[] = "PROGRESSDLG";
static const int PROGRESS_BAR_ID = 1000;

static const int MAX_MESSAGES = 10000;  // in one queue, as on Windows
static const uintptr_t MAX_WINDOWS = 1024;
// An HWND is no valid address: this, a running number, and the index in windows.
static const uintptr_t FIRST_HWND = uintptr_t(0x0057) << 48;

struct Message {
    MSG msg;
    Message *pNext;
};

struct ThreadQueue {
    Message *pFirst;
    Message *pLast;
    int nMessages;
    int nDialogs;  // open dialogs of this thread
    bool bQuit;
    int nExitCode;
};

enum WindowKind { DIALOG, PLAIN, BUTTON, PROGRESS_BAR };

struct Window {
    HWND hWnd;     // null: free
    HWND hParent;  // parent of a control, owner of a dialog
    ThreadQueue *pQueue;
    WindowKind kind;
    int nId;
    bool bEnabled;
    bool bVisible;
    bool bDying;
    DLGPROC pDialogProc;
    PlainWindowProc pPlainProc;
    void *pContext;
    HBITMAP hBitmap;  // what is drawn into a plain window; null: it has no size
    int nLow;
    int nHigh;
    int nStep;
    int nPosition;
};

static pthread_mutex_t windowLock = PTHREAD_MUTEX_INITIALIZER;
static Window windows[MAX_WINDOWS];
static uintptr_t nCreated;
static ProgressObserver pObserver;
static void *pObserverContext;

static std::atomic<bool> bProgressClass;
static std::atomic<bool> bCancelRequested;
static_assert(ATOMIC_BOOL_LOCK_FREE == 2, "RequestCancel is called in signal handlers");

static __thread ThreadQueue *threadQueue;
static __thread HCURSOR hCurrentCursor;
static __thread bool bCursorSet;  // until then it is the arrow

// ---- windows and queues; called with the lock held -----------------------------------------

static Window *FindWindowOf(HWND hWnd)
{
    Window *window = &windows[reinterpret_cast<uintptr_t>(hWnd) % MAX_WINDOWS];
    return hWnd != nullptr && window->hWnd == hWnd ? window : nullptr;
}

static Window *FindControl(HWND hDialog, int id)
{
    for (Window &window : windows) {
        if (window.hWnd != nullptr && window.hParent == hDialog && window.nId == id &&
            (window.kind == BUTTON || window.kind == PROGRESS_BAR)) {
            return &window;
        }
    }
    return nullptr;
}

// The dialog that the thread opened last.
static Window *FindTopDialog(const ThreadQueue *queue)
{
    Window *top = nullptr;
    for (Window &window : windows) {
        if (window.hWnd != nullptr && window.kind == DIALOG && window.pQueue == queue &&
            (top == nullptr || window.hWnd > top->hWnd)) {
            top = &window;
        }
    }
    return top;
}

static Window *AddWindow(WindowKind kind, HWND hParent, int id, ThreadQueue *queue)
{
    for (uintptr_t n = 0; n < MAX_WINDOWS; n++) {
        Window *window = &windows[n];
        if (window->hWnd != nullptr) {
            continue;
        }
        *window = Window();
        window->hWnd = reinterpret_cast<HWND>(FIRST_HWND + ++nCreated * MAX_WINDOWS + n);
        window->hParent = hParent;
        window->pQueue = queue;
        window->kind = kind;
        window->nId = id;
        window->bEnabled = true;
        window->nHigh = 100;
        window->nStep = 10;
        queue->nDialogs += kind == DIALOG;
        testBench.nWindows += kind == DIALOG || kind == PLAIN;
        return window;
    }
    return nullptr;
}

// Takes the first message that passes the filters out of the queue, or copies it.
static bool TakeMessage(ThreadQueue *queue, MSG *msg, HWND hWnd, UINT first, UINT last,
                        bool bRemove)
{
    Message *before = nullptr;
    for (Message *message = queue->pFirst; message != nullptr;
         before = message, message = message->pNext) {
        HWND hTarget = message->msg.hwnd;
        const Window *target = FindWindowOf(hTarget);
        bool bWindow = hWnd == nullptr || hTarget == hWnd ||
                       (target != nullptr && target->hParent == hWnd && target->kind >= BUTTON);
        bool bRange = (first == 0 && last == 0) ||
                      (message->msg.message >= first && message->msg.message <= last);
        if (!bWindow || !bRange) {
            continue;
        }
        *msg = message->msg;
        if (bRemove) {
            (before != nullptr ? before->pNext : queue->pFirst) = message->pNext;
            if (queue->pLast == message) {
                queue->pLast = before;
            }
            queue->nMessages--;
            free(message);
        }
        return true;
    }
    return false;
}

static bool AppendMessage(ThreadQueue *queue, HWND hWnd, UINT code, WPARAM wParam, LPARAM lParam)
{
    Message *message = nullptr;
    if (queue->nMessages < MAX_MESSAGES) {
        message = static_cast<Message *>(calloc(1, sizeof(Message)));
    }
    if (message == nullptr) {
        return false;
    }
    message->msg.hwnd = hWnd;
    message->msg.message = code;
    message->msg.wParam = wParam;
    message->msg.lParam = lParam;
    message->msg.time = GetTickCount();
    (queue->pLast != nullptr ? queue->pLast->pNext : queue->pFirst) = message;
    queue->pLast = message;
    queue->nMessages++;
    return true;
}

// Forgets a window with its controls, the windows that it owns, and their messages.
static void RemoveWindow(Window *window)
{
    HWND hWnd = window->hWnd;
    MSG msg;
    while (TakeMessage(window->pQueue, &msg, hWnd, 0, 0, true)) {
    }
    window->pQueue->nDialogs -= window->kind == DIALOG;
    testBench.nWindows -= window->kind == DIALOG || window->kind == PLAIN;
    window->hWnd = nullptr;
    for (Window &other : windows) {
        if (other.hWnd != nullptr && other.hParent == hWnd) {
            RemoveWindow(&other);
        }
    }
}

static void PressCancel(ThreadQueue *queue)
{
    const Window *dialog = FindTopDialog(queue);
    const Window *button = dialog != nullptr ? FindControl(dialog->hWnd, IDCANCEL) : nullptr;
    if (button != nullptr) {
        AppendMessage(queue, dialog->hWnd, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED),
                      reinterpret_cast<LPARAM>(button->hWnd));
    }
}

// ---- the same with the lock taken ----------------------------------------------------------

// A copy of the record, to be used without the lock. False: no such window.
static bool ReadWindow(HWND hWnd, Window *copy)
{
    pthread_mutex_lock(&windowLock);
    const Window *window = FindWindowOf(hWnd);
    if (window != nullptr) {
        *copy = *window;
    }
    pthread_mutex_unlock(&windowLock);
    if (window == nullptr) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    }
    return window != nullptr;
}

// The calling thread's queue, made on first use.
static ThreadQueue *GetQueue(void)
{
    if (threadQueue == nullptr && WatchThreadExit()) {
        threadQueue = static_cast<ThreadQueue *>(calloc(1, sizeof(ThreadQueue)));
    }
    if (threadQueue == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return threadQueue;
}

void DestroyThreadWindows(void)
{
    ThreadQueue *queue = threadQueue;
    if (queue == nullptr) {
        return;
    }
    threadQueue = nullptr;
    pthread_mutex_lock(&windowLock);
    for (Window &window : windows) {
        if (window.hWnd != nullptr && window.pQueue == queue) {
            RemoveWindow(&window);
        }
    }
    MSG msg;
    while (TakeMessage(queue, &msg, nullptr, 0, 0, true)) {
    }
    pthread_mutex_unlock(&windowLock);
    free(queue);
}

// ---- the progress bar ----------------------------------------------------------------------

static bool IsRangeMessage(UINT code)
{
    return code == PBM_SETRANGE || code == PBM_SETRANGE32;
}

// Returns the previous range as the message asks for it.
static LRESULT SetRange(Window *bar, int low, int high)
{
    LRESULT previous = MAKELONG(bar->nLow, bar->nHigh);
    bar->nLow = low;
    bar->nHigh = high;
    if (bar->nPosition < low) {
        bar->nPosition = low;
    }
    if (bar->nPosition > high) {
        bar->nPosition = high;
    }
    testBench.nLastRange = high;
    return previous;
}

static LRESULT SetPosition(Window *bar, int position)
{
    LRESULT previous = bar->nPosition;
    bar->nPosition = position < bar->nLow ? bar->nLow : position;
    if (bar->nPosition > bar->nHigh) {
        bar->nPosition = bar->nHigh;
    }
    return previous;
}

// A step past the end starts over.
static LRESULT StepIt(Window *bar)
{
    LRESULT previous = bar->nPosition;
    testBench.nSteps++;
    long long next = static_cast<long long>(bar->nPosition) + bar->nStep;
    long long range = static_cast<long long>(bar->nHigh) - bar->nLow;
    if (next > bar->nHigh && range > 0) {
        next = (next - bar->nLow) % range + bar->nLow;
    }
    SetPosition(bar, static_cast<int>(range > 0 ? next : bar->nLow));
    return previous;
}

static LRESULT GetRange(const Window *bar, BOOL bLow, PBRANGE *range)
{
    if (range != nullptr) {
        *range = {bar->nLow, bar->nHigh};
    }
    return bLow ? bar->nLow : bar->nHigh;
}

static LRESULT AnswerBarMessage(Window *bar, UINT code, WPARAM wParam, LPARAM lParam)
{
    LRESULT previous;
    switch (code) {
    case PBM_SETRANGE:
        return SetRange(bar, static_cast<SHORT>(LOWORD(lParam)),
                        static_cast<SHORT>(HIWORD(lParam)));
    case PBM_SETRANGE32:
        return SetRange(bar, static_cast<int>(wParam), static_cast<int>(lParam));
    case PBM_SETPOS:
        return SetPosition(bar, static_cast<int>(wParam));
    case PBM_SETSTEP:
        previous = bar->nStep;
        bar->nStep = static_cast<int>(wParam);
        return previous;
    case PBM_STEPIT:
        return StepIt(bar);
    case PBM_GETRANGE:
        return GetRange(bar, wParam != 0, reinterpret_cast<PBRANGE *>(lParam));
    case PBM_GETPOS:
        return bar->nPosition;
    default:
        return 0;
    }
}

static LRESULT SendToBar(HWND hWnd, UINT code, WPARAM wParam, LPARAM lParam)
{
    pthread_mutex_lock(&windowLock);
    Window *bar = FindWindowOf(hWnd);
    LRESULT result = bar != nullptr ? AnswerBarMessage(bar, code, wParam, lParam) : 0;
    Window now = bar != nullptr ? *bar : Window();
    ProgressObserver observer = pObserver;
    void *context = pObserverContext;
    pthread_mutex_unlock(&windowLock);
    bool bMoved = IsRangeMessage(code) || code == PBM_SETPOS || code == PBM_STEPIT;
    if (bar != nullptr && bMoved && observer != nullptr) {
        observer(now.hParent, now.nHigh - now.nLow, now.nPosition - now.nLow, context);
    }
    return result;
}

// ---- procedures ----------------------------------------------------------------------------

static LRESULT CallDialog(const Window *dialog, UINT code, WPARAM wParam, LPARAM lParam)
{
    INT_PTR result = dialog->pDialogProc(dialog->hWnd, code, wParam, lParam);
    if (result == FALSE && code == WM_CLOSE) {
        PostMessageA(dialog->hWnd, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    }
    return result;
}

static LRESULT CallWindow(HWND hWnd, UINT code, WPARAM wParam, LPARAM lParam)
{
    Window window;
    if (!ReadWindow(hWnd, &window)) {
        return 0;
    }
    if (window.kind == PROGRESS_BAR) {
        return SendToBar(hWnd, code, wParam, lParam);
    }
    if (window.pQueue != threadQueue) {
        SetLastError(ERROR_ACCESS_DENIED);
        return 0;
    }
    if (window.kind == DIALOG) {
        return CallDialog(&window, code, wParam, lParam);
    }
    if (window.kind == PLAIN && window.pPlainProc != nullptr) {
        window.pPlainProc(hWnd, code, wParam, lParam, window.pContext);
    }
    if (window.kind == BUTTON && code == BM_CLICK) {
        CallWindow(window.hParent, WM_COMMAND, MAKEWPARAM(window.nId, BN_CLICKED),
                   reinterpret_cast<LPARAM>(hWnd));
    }
    return 0;
}

// ---- making and destroying windows ---------------------------------------------------------

BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX *pControls)
{
    if (pControls == nullptr || pControls->dwSize != sizeof *pControls) {
        return FALSE;
    }
    if ((pControls->dwICC & ICC_PROGRESS_CLASS) != 0) {
        bProgressClass = true;
    }
    return TRUE;
}

// 0, or why the dialog cannot be created.
static DWORD CheckDialog(HINSTANCE hInstance, LPCSTR name, HWND hParent, DLGPROC procedure)
{
    if (testBench.bFailDialogs) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (procedure == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    bool bName = reinterpret_cast<uintptr_t>(name) > 0xffff;
    if (!IsModule(hInstance) || !bName || strcasecmp(name, PROGRESS_TEMPLATE) != 0) {
        return ERROR_RESOURCE_NAME_NOT_FOUND;
    }
    if (hParent != nullptr && !IsWindow(hParent)) {
        return ERROR_INVALID_WINDOW_HANDLE;
    }
    if (!bProgressClass) {
        return ERROR_CANNOT_FIND_WND_CLASS;
    }
    return NO_ERROR;
}

// Makes the dialog with its two controls, all or nothing. Called with the lock held.
static Window *AddDialog(HWND hParent, DLGPROC procedure, ThreadQueue *queue)
{
    Window *dialog = AddWindow(DIALOG, hParent, 0, queue);
    if (dialog == nullptr) {
        return nullptr;
    }
    dialog->pDialogProc = procedure;
    if (AddWindow(BUTTON, dialog->hWnd, IDCANCEL, queue) != nullptr &&
        AddWindow(PROGRESS_BAR, dialog->hWnd, PROGRESS_BAR_ID, queue) != nullptr) {
        return dialog;
    }
    RemoveWindow(dialog);
    return nullptr;
}

HWND WINAPI CreateDialogParamA(HINSTANCE hInstance, LPCSTR lpTemplateName, HWND hWndParent,
                               DLGPROC lpDialogFunc, LPARAM dwInitParam)
{
    DWORD error = CheckDialog(hInstance, lpTemplateName, hWndParent, lpDialogFunc);
    if (error != NO_ERROR) {
        SetLastError(error);
        return nullptr;
    }
    ThreadQueue *queue = GetQueue();
    if (queue == nullptr) {
        return nullptr;
    }
    pthread_mutex_lock(&windowLock);
    const Window *dialog = AddDialog(hWndParent, lpDialogFunc, queue);
    HWND hDialog = dialog != nullptr ? dialog->hWnd : nullptr;
    pthread_mutex_unlock(&windowLock);
    if (hDialog == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    testBench.nDialogs++;
    // The first control that takes the keyboard is the button.
    WPARAM hFocus = reinterpret_cast<WPARAM>(GetDlgItem(hDialog, IDCANCEL));
    CallWindow(hDialog, WM_INITDIALOG, hFocus, dwInitParam);
    return IsWindow(hDialog) ? hDialog : nullptr;
}

HWND CreatePlainWindow(void)
{
    ThreadQueue *queue = GetQueue();
    if (queue == nullptr) {
        return nullptr;
    }
    pthread_mutex_lock(&windowLock);
    Window *window = AddWindow(PLAIN, nullptr, 0, queue);
    HWND hWnd = window != nullptr ? window->hWnd : nullptr;
    pthread_mutex_unlock(&windowLock);
    if (hWnd == nullptr) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return hWnd;
}

BOOL SetPlainWindowProc(HWND hWnd, PlainWindowProc pProc, void *pContext)
{
    pthread_mutex_lock(&windowLock);
    Window *window = FindWindowOf(hWnd);
    BOOL bPlain = window != nullptr && window->kind == PLAIN;
    if (bPlain) {
        window->pPlainProc = pProc;
        window->pContext = pContext;
    }
    pthread_mutex_unlock(&windowLock);
    return bPlain;
}

BOOL SetPlainWindowBitmap(HWND hWnd, HBITMAP hBitmap)
{
    int width, height;
    if (hBitmap != nullptr && !SizeOfBitmap(hBitmap, &width, &height)) {
        return FALSE;
    }
    pthread_mutex_lock(&windowLock);
    Window *window = FindWindowOf(hWnd);
    BOOL bPlain = window != nullptr && window->kind == PLAIN;
    if (bPlain) {
        window->hBitmap = hBitmap;
    }
    pthread_mutex_unlock(&windowLock);
    return bPlain;
}

BOOL BitmapOfWindow(HWND hWnd, HBITMAP *phBitmap)
{
    Window window;
    if (!ReadWindow(hWnd, &window)) {
        return FALSE;
    }
    *phBitmap = window.hBitmap;
    return TRUE;
}

// A window has no frame, and its upper left corner is the screen's.
BOOL WINAPI GetClientRect(HWND hWnd, LPRECT lpRect)
{
    HBITMAP hBitmap;
    int width = 0, height = 0;
    if (lpRect == nullptr || !BitmapOfWindow(hWnd, &hBitmap)) {
        return FALSE;
    }
    SizeOfBitmap(hBitmap, &width, &height);
    *lpRect = {0, 0, width, height};
    return TRUE;
}

BOOL WINAPI GetWindowRect(HWND hWnd, LPRECT lpRect)
{
    return GetClientRect(hWnd, lpRect);
}

// A dialog that the window owns and that is not being destroyed; null: none.
static HWND OwnedDialog(HWND hWnd)
{
    HWND hOwned = nullptr;
    pthread_mutex_lock(&windowLock);
    for (const Window &window : windows) {
        if (window.hWnd != nullptr && window.kind == DIALOG && window.hParent == hWnd &&
            window.pQueue == threadQueue && !window.bDying) {
            hOwned = window.hWnd;
        }
    }
    pthread_mutex_unlock(&windowLock);
    return hOwned;
}

BOOL WINAPI DestroyWindow(HWND hWnd)
{
    pthread_mutex_lock(&windowLock);
    Window *window = FindWindowOf(hWnd);
    DWORD error = NO_ERROR;
    if (window == nullptr || window->bDying) {
        error = ERROR_INVALID_WINDOW_HANDLE;
    } else if (window->pQueue != threadQueue) {
        error = ERROR_ACCESS_DENIED;
    } else {
        window->bDying = true;
    }
    pthread_mutex_unlock(&windowLock);
    if (error != NO_ERROR) {
        SetLastError(error);
        return FALSE;
    }
    for (HWND hOwned = OwnedDialog(hWnd); hOwned != nullptr; hOwned = OwnedDialog(hWnd)) {
        DestroyWindow(hOwned);
    }
    CallWindow(hWnd, WM_DESTROY, 0, 0);
    pthread_mutex_lock(&windowLock);
    window = FindWindowOf(hWnd);
    if (window != nullptr) {
        RemoveWindow(window);
    }
    pthread_mutex_unlock(&windowLock);
    return TRUE;
}

// ---- flags and controls --------------------------------------------------------------------

// Sets one flag of a window; returns the old one. False for no window.
static bool SwapFlag(HWND hWnd, bool Window::*pFlag, bool bValue, bool *pOld)
{
    pthread_mutex_lock(&windowLock);
    Window *window = FindWindowOf(hWnd);
    if (window != nullptr) {
        *pOld = window->*pFlag;
        window->*pFlag = bValue;
    }
    pthread_mutex_unlock(&windowLock);
    if (window == nullptr) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    }
    return window != nullptr;
}

BOOL WINAPI ShowWindow(HWND hWnd, int nCmdShow)
{
    bool bWasVisible;
    return SwapFlag(hWnd, &Window::bVisible, nCmdShow != SW_HIDE, &bWasVisible) && bWasVisible;
}

BOOL WINAPI EnableWindow(HWND hWnd, BOOL bEnable)
{
    bool bWasEnabled;
    return SwapFlag(hWnd, &Window::bEnabled, bEnable != FALSE, &bWasEnabled) && !bWasEnabled;
}

BOOL WINAPI UpdateWindow(HWND hWnd)
{
    Window window;
    return ReadWindow(hWnd, &window);
}

BOOL WINAPI IsWindow(HWND hWnd)
{
    Window window;
    return ReadWindow(hWnd, &window);
}

BOOL WINAPI IsWindowEnabled(HWND hWnd)
{
    Window window;
    return ReadWindow(hWnd, &window) && window.bEnabled;
}

HWND WINAPI GetDlgItem(HWND hDlg, int nIDDlgItem)
{
    pthread_mutex_lock(&windowLock);
    const Window *control = FindWindowOf(hDlg) != nullptr ? FindControl(hDlg, nIDDlgItem) : nullptr;
    HWND hControl = control != nullptr ? control->hWnd : nullptr;
    pthread_mutex_unlock(&windowLock);
    if (hControl == nullptr) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    }
    return hControl;
}

// ---- messages ------------------------------------------------------------------------------

LRESULT WINAPI SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam)
{
    return CallWindow(hWnd, Msg, wParam, lParam);
}

LRESULT WINAPI SendDlgItemMessageA(HWND hDlg, int nIDDlgItem, UINT Msg, WPARAM wParam,
                                   LPARAM lParam)
{
    HWND hControl = GetDlgItem(hDlg, nIDDlgItem);
    return hControl != nullptr ? CallWindow(hControl, Msg, wParam, lParam) : 0;
}

BOOL WINAPI PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam)
{
    ThreadQueue *queue = hWnd == nullptr ? GetQueue() : nullptr;
    if (hWnd == nullptr && queue == nullptr) {
        return FALSE;
    }
    DWORD error = NO_ERROR;
    pthread_mutex_lock(&windowLock);
    if (hWnd != nullptr) {
        const Window *window = FindWindowOf(hWnd);
        queue = window != nullptr ? window->pQueue : nullptr;
    }
    if (queue == nullptr) {
        error = ERROR_INVALID_WINDOW_HANDLE;
    } else if (!AppendMessage(queue, hWnd, Msg, wParam, lParam)) {
        error = ERROR_NOT_ENOUGH_QUOTA;
    }
    pthread_mutex_unlock(&windowLock);
    if (error != NO_ERROR) {
        SetLastError(error);
    }
    return error == NO_ERROR;
}

void WINAPI PostQuitMessage(int nExitCode)
{
    ThreadQueue *queue = GetQueue();
    if (queue == nullptr) {
        return;
    }
    pthread_mutex_lock(&windowLock);
    queue->bQuit = true;
    queue->nExitCode = nExitCode;
    pthread_mutex_unlock(&windowLock);
}

// Presses Cancel if a signal handler, another thread or the test bench has asked for it.
static void AnswerCancelRequests(ThreadQueue *queue)
{
    bool bRequested = bCancelRequested.exchange(false);
    int step = testBench.nCancelAtStep;
    if (step > 0 && testBench.nSteps + 1 >= step) {
        bRequested |= testBench.nCancelAtStep.compare_exchange_strong(step, 0);
    }
    if (bRequested) {
        PressCancel(queue);
    }
}

BOOL WINAPI PeekMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax,
                         UINT wRemoveMsg)
{
    ThreadQueue *queue = threadQueue;
    if (queue == nullptr) {
        return FALSE;  // nobody can have posted anything
    }
    bool bRemove = (wRemoveMsg & PM_REMOVE) != 0;
    pthread_mutex_lock(&windowLock);
    if (queue->nDialogs > 0) {
        AnswerCancelRequests(queue);
    }
    bool bFound = TakeMessage(queue, lpMsg, hWnd, wMsgFilterMin, wMsgFilterMax, bRemove);
    if (!bFound && queue->bQuit) {
        *lpMsg = MSG();
        lpMsg->message = WM_QUIT;
        lpMsg->wParam = static_cast<WPARAM>(queue->nExitCode);
        lpMsg->time = GetTickCount();
        queue->bQuit = !bRemove;
        bFound = true;
    }
    pthread_mutex_unlock(&windowLock);
    return bFound;
}

BOOL WINAPI IsDialogMessageA(HWND hDlg, LPMSG lpMsg)
{
    Window dialog;
    Window target;
    if (lpMsg->hwnd == nullptr || !ReadWindow(hDlg, &dialog) || dialog.kind != DIALOG ||
        !ReadWindow(lpMsg->hwnd, &target)) {
        return FALSE;
    }
    bool bControl = target.hParent == hDlg && target.kind >= BUTTON;
    if (target.hWnd != hDlg && !bControl) {
        return FALSE;
    }
    CallWindow(lpMsg->hwnd, lpMsg->message, lpMsg->wParam, lpMsg->lParam);
    return TRUE;
}

// There is no keyboard to translate.
BOOL WINAPI TranslateMessage(const MSG *)
{
    return FALSE;
}

LRESULT WINAPI DispatchMessageA(const MSG *lpMsg)
{
    if (lpMsg == nullptr || lpMsg->hwnd == nullptr) {
        return 0;
    }
    return CallWindow(lpMsg->hwnd, lpMsg->message, lpMsg->wParam, lpMsg->lParam);
}

// ---- what hosts call -----------------------------------------------------------------------

void SetProgressObserver(ProgressObserver pNewObserver, void *pContext)
{
    pthread_mutex_lock(&windowLock);
    pObserver = pNewObserver;
    pObserverContext = pContext;
    pthread_mutex_unlock(&windowLock);
}

void RequestCancel(void)
{
    bCancelRequested = true;
}

void ClearCancelRequest(void)
{
    bCancelRequested = false;
}

// ---- cursors -------------------------------------------------------------------------------

// A cursor's handle is its number, moved out of the range of resource numbers.
static HCURSOR CursorOf(uintptr_t number)
{
    return reinterpret_cast<HCURSOR>(number | 0x10000);
}

HCURSOR WINAPI LoadCursorA(HINSTANCE hInstance, LPCSTR lpCursorName)
{
    uintptr_t number = reinterpret_cast<uintptr_t>(lpCursorName);
    if (hInstance != nullptr || number < 32512 || number > 32651) {
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return nullptr;
    }
    return CursorOf(number);
}

HCURSOR WINAPI GetCursor(void)
{
    return bCursorSet ? hCurrentCursor : CursorOf(reinterpret_cast<uintptr_t>(IDC_ARROW));
}

HCURSOR WINAPI SetCursor(HCURSOR hCursor)
{
    HCURSOR hPrevious = GetCursor();
    hCurrentCursor = hCursor;
    bCursorSet = true;
    return hPrevious;
}
