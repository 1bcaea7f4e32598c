// See viewer.h: the window.
#include "viewer.h"

#include "hosts/imagefile/win32/wide.h"

#include <commctrl.h>
#include <shellapi.h>

static const wchar_t WINDOW_CLASS[] = L"VexaView";
static const UINT CHANGED_DPI =
    0x02E0;  // WM_DPICHANGED, younger than the systems this is built for
static const wchar_t TITLE[] = L"VexaView";

Viewer g_viewer;

std::wstring Wide(const std::string &text)
{
    return WideText(text.c_str());
}

std::string Narrow(const std::wstring &text)
{
    return NarrowText(text.c_str());
}

HGLOBAL ShownPicture()
{
    const Document *document = &g_viewer.document;
    if (document->steps.empty()) {
        return nullptr;
    }
    return document->steps[document->nStep - (g_viewer.bBefore && document->nStep > 0)];
}

void SayWrong(const std::wstring &sentence)
{
    MessageBoxW(g_viewer.hWindow, sentence.c_str(), TITLE, MB_OK | MB_ICONWARNING);
}

// Size and depth of the picture, and what was done last.
static std::wstring StatusText()
{
    const HGLOBAL hDib = ShownPicture();
    const BITMAPINFOHEADER *header =
        hDib ? static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib)) : nullptr;
    if (!header) {
        return L"Open a picture, drop one here, or paste one.";
    }
    const std::wstring text =
        std::to_wstring(header->biWidth) + L" x " + std::to_wstring(header->biHeight) + L", " +
        std::to_wstring(header->biBitCount) + (header->biBitCount == 1 ? L" bit" : L" bits");
    GlobalUnlock(hDib);
    return text + (g_viewer.bBefore ? L"   before" : L"   " + g_viewer.did);
}

void UpdateViewer()
{
    const std::wstring &name = g_viewer.document.name;
    SetWindowTextW(g_viewer.hWindow, name.empty() ? TITLE : (name + L" - " + TITLE).c_str());
    SetWindowTextW(g_viewer.hStatus, StatusText().c_str());
    UpdateScrolling(g_viewer.hWindow);
    UpdateHistogram();
    InvalidateRect(g_viewer.hWindow, nullptr, FALSE);
}

static void SetFullSize(bool bFullSize)
{
    g_viewer.bFullSize = bFullSize;
    UpdateViewer();
}

static void ShowBefore(bool bBefore)
{
    if (g_viewer.bBefore != bBefore) {
        g_viewer.bBefore = bBefore;
        UpdateViewer();
    }
}

static void About()
{
    char version[64] = "";
    GetVexaFilterVersion(version, int(sizeof version));
    MessageBoxW(g_viewer.hWindow,
                (L"VexaView, the example host of VexaFilter.\n" + Wide(version)).c_str(), TITLE,
                MB_OK | MB_ICONINFORMATION);
}

static void OpenAsked()
{
    std::wstring path;
    if (AskForPath(false, &path)) {
        OpenPath(path);
    }
}

static void OnCommand(HWND hWnd, int command)
{
    const CatalogueFilter *filter = FilterOfCommand(command);
    if (g_viewer.bBusy) {  // a filter lets messages through
        return;
    }
    if (filter) {
        ApplyFilter(filter);
        return;
    }
    switch (command) {
    case COMMAND_OPEN:
        OpenAsked();
        break;
    case COMMAND_SAVE_AS:
        SaveAs();
        break;
    case COMMAND_EXIT:
        DestroyWindow(hWnd);
        break;
    case COMMAND_UNDO:
        MoveStep(-1);
        break;
    case COMMAND_REDO:
        MoveStep(1);
        break;
    case COMMAND_COPY:
        CopyPicture();
        break;
    case COMMAND_PASTE:
        PastePicture();
        break;
    case COMMAND_FIT:
        SetFullSize(false);
        break;
    case COMMAND_FULL_SIZE:
        SetFullSize(true);
        break;
    case COMMAND_HISTOGRAM:
        ToggleHistogram();
        break;
    case COMMAND_BEFORE:
        ShowBefore(!g_viewer.bBefore);
        break;
    case COMMAND_ABOUT:
        About();
        break;
    }
}

static void OnDrop(HDROP hDrop)
{
    wchar_t path[32768];
    if (!g_viewer.bBusy && DragQueryFileW(hDrop, 0, path, UINT(sizeof path / sizeof *path))) {
        OpenPath(path);
    }
    DragFinish(hDrop);
}

static void OnCreate(HWND hWnd)
{
    g_viewer.hWindow = hWnd;
    g_viewer.hStatus =
        CreateWindowExW(0, STATUSCLASSNAMEW, L"", WS_CHILD | WS_VISIBLE | SBARS_SIZEGRIP, 0, 0, 0,
                        0, hWnd, nullptr, GetModuleHandleW(nullptr), nullptr);
    DragAcceptFiles(hWnd, TRUE);
    UpdateViewer();
}

// The size that the system proposes for the screen's resolution.
static void Follow(HWND hWnd, const RECT *place)
{
    SetWindowPos(hWnd, nullptr, place->left, place->top, place->right - place->left,
                 place->bottom - place->top, SWP_NOZORDER | SWP_NOACTIVATE);
}

static LRESULT CALLBACK WindowProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_CREATE:
        OnCreate(hWnd);
        return 0;
    case WM_SIZE:
        SendMessageW(g_viewer.hStatus, WM_SIZE, 0, 0);
        UpdateScrolling(hWnd);
        InvalidateRect(hWnd, nullptr, FALSE);
        return 0;
    case WM_ERASEBKGND:
        return 1;  // painting covers everything
    case WM_PAINT:
        PaintCanvas(hWnd);
        return 0;
    case WM_INITMENUPOPUP:
        UpdateMenus(GetMenu(hWnd));
        return 0;
    case WM_COMMAND:
        OnCommand(hWnd, LOWORD(wParam));
        return 0;
    case WM_HSCROLL:
    case WM_VSCROLL:
        Scroll(hWnd, message == WM_HSCROLL ? SB_HORZ : SB_VERT, LOWORD(wParam));
        return 0;
    case WM_KEYDOWN:
    case WM_KEYUP:
        if (wParam == VK_SPACE) {
            ShowBefore(message == WM_KEYDOWN);
        }
        return 0;
    case WM_ENABLE:
        if (wParam) {
            NoteEnabled();
        }
        return 0;
    case CHANGED_DPI:  // moved to another screen
        Follow(hWnd, reinterpret_cast<const RECT *>(lParam));
        return 0;
    case WM_DROPFILES:
        OnDrop(reinterpret_cast<HDROP>(wParam));
        return 0;
    case WM_CLOSE:
        // Not under a filter that is still at work in this thread: it has the progress dialog's
        // Cancel.
        if (!g_viewer.bBusy) {
            DestroyWindow(hWnd);
        }
        return 0;
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

static bool Register(HINSTANCE hInstance)
{
    WNDCLASSW type = {};
    type.lpfnWndProc = WindowProc;
    type.hInstance = hInstance;
    type.hIcon = LoadIconW(nullptr, reinterpret_cast<LPCWSTR>(IDI_APPLICATION));
    type.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    type.lpszClassName = WINDOW_CLASS;
    return RegisterClassW(&type) != 0 && RegisterHistogram(hInstance);
}

int main()
{
    const HINSTANCE hInstance = GetModuleHandleW(nullptr);
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES | ICC_PROGRESS_CLASS};
    InitCommonControlsEx(&controls);
    if (!Register(hInstance)) {
        return 1;
    }
    const HWND hWnd = CreateWindowExW(
        0, WINDOW_CLASS, TITLE, WS_OVERLAPPEDWINDOW | WS_HSCROLL | WS_VSCROLL, CW_USEDEFAULT,
        CW_USEDEFAULT, 900, 700, nullptr, MakeMenus(), hInstance, nullptr);
    if (!hWnd) {
        return 1;
    }
    ShowWindow(hWnd, SW_SHOWDEFAULT);
    int count = 0;
    if (wchar_t **arguments = CommandLineToArgvW(GetCommandLineW(), &count)) {
        if (count > 1) {
            OpenPath(arguments[1]);
        }
        LocalFree(arguments);
    }
    const HACCEL hKeys = MakeKeys();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (!TranslateAcceleratorW(hWnd, hKeys, &message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    return int(message.wParam);
}
