// See viewer.h: a window with the chart of the picture that shows, painted by the library.
#include "viewer.h"

static const wchar_t HISTOGRAM_CLASS[] = L"VexaViewHistogram";

static HistogramRecord g_record;

static LRESULT CALLBACK HistogramProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT:  // on the class's black background
        HistDispWmPain(hWnd, &g_record, 0);
        return 0;
    case WM_SIZE:
        InvalidateRect(hWnd, nullptr, TRUE);
        return 0;
    case WM_DESTROY:
        g_viewer.hHistogram = nullptr;
        return 0;
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

bool RegisterHistogram(HINSTANCE hInstance)
{
    WNDCLASSW type = {};
    type.lpfnWndProc = HistogramProc;
    type.hInstance = hInstance;
    type.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    type.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    type.lpszClassName = HISTOGRAM_CLASS;
    return RegisterClassW(&type) != 0;
}

void UpdateHistogram()
{
    const HGLOBAL hDib = ShownPicture();
    if (!g_viewer.hHistogram) {
        return;
    }
    if (!hDib || !HistDIBCreate(hDib, &g_record)) {
        g_record.nLevels = 0;  // nothing is drawn
    }
    InvalidateRect(g_viewer.hHistogram, nullptr, TRUE);
}

void ToggleHistogram()
{
    if (g_viewer.hHistogram) {
        DestroyWindow(g_viewer.hHistogram);
        return;
    }
    RECT frame = {0, 0, 532, 240};  // a level is two pixels wide
    const DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_VISIBLE;
    AdjustWindowRectEx(&frame, style, FALSE, WS_EX_TOOLWINDOW);
    RECT owner;
    GetWindowRect(g_viewer.hWindow, &owner);
    g_viewer.hHistogram =
        CreateWindowExW(WS_EX_TOOLWINDOW, HISTOGRAM_CLASS, L"Histogram", style, owner.left + 60,
                        owner.top + 120, frame.right - frame.left, frame.bottom - frame.top,
                        g_viewer.hWindow, nullptr, GetModuleHandleW(nullptr), nullptr);
    UpdateHistogram();
}
