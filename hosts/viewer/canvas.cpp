// See viewer.h: the picture in the window.
#include "viewer.h"

#include <string.h>

static RECT CanvasArea(HWND hWnd)
{
    RECT client, status = {};
    GetClientRect(hWnd, &client);
    if (g_viewer.hStatus) {
        GetWindowRect(g_viewer.hStatus, &status);
    }
    client.bottom -= status.bottom - status.top;
    client.bottom = client.bottom < 0 ? 0 : client.bottom;
    return client;
}

// Where the picture lies in the window.
static RECT PlaceOf(const BITMAPINFOHEADER *header, const RECT *area)
{
    int width = header->biWidth, height = header->biHeight;
    if (!g_viewer.bFullSize) {
        const double across = double(area->right) / width, down = double(area->bottom) / height;
        const double least = across < down ? across : down, scale = least < 1 ? least : 1;
        width = int(width * scale) < 1 ? 1 : int(width * scale);
        height = int(height * scale) < 1 ? 1 : int(height * scale);
    }
    const LONG left = width < area->right ? (area->right - width) / 2 : -g_viewer.scroll.x;
    const LONG top = height < area->bottom ? (area->bottom - height) / 2 : -g_viewer.scroll.y;
    return {left, top, left + width, top + height};
}

void PaintCanvas(HWND hWnd)
{
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(hWnd, &paint);
    const RECT area = CanvasArea(hWnd);
    const HGLOBAL hDib = ShownPicture();
    const BITMAPINFOHEADER *header =
        hDib ? static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib)) : nullptr;
    if (!header) {
        FillRect(hdc, &area, GetSysColorBrush(COLOR_APPWORKSPACE));
        EndPaint(hWnd, &paint);
        return;
    }
    const DWORD colours = header->biClrUsed        ? header->biClrUsed
                          : header->biBitCount > 8 ? 0
                                                   : 1u << header->biBitCount;
    const BYTE *bits = reinterpret_cast<const BYTE *>(header + 1) + colours * sizeof(RGBQUAD);
    const RECT place = PlaceOf(header, &area);
    SetStretchBltMode(hdc, HALFTONE);
    SetBrushOrgEx(hdc, 0, 0, nullptr);
    StretchDIBits(hdc, place.left, place.top, place.right - place.left, place.bottom - place.top, 0,
                  0, header->biWidth, header->biHeight, bits,
                  reinterpret_cast<const BITMAPINFO *>(header), DIB_RGB_COLORS, SRCCOPY);
    ExcludeClipRect(hdc, place.left, place.top, place.right, place.bottom);
    FillRect(hdc, &area, GetSysColorBrush(COLOR_APPWORKSPACE));
    GlobalUnlock(hDib);
    EndPaint(hWnd, &paint);
}

// ---- scrolling ---------------------------------------------------------------------------------

static LONG Limited(LONG value, LONG most)
{
    most = most < 0 ? 0 : most;
    return value < 0 ? 0 : value > most ? most : value;
}

static void SetBar(HWND hWnd, int bar, int size, int page, int position)
{
    SCROLLINFO info = {};
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    info.nMax = g_viewer.bFullSize && size > page ? size - 1 : 0;
    info.nPage = UINT(page);
    info.nPos = position;
    SetScrollInfo(hWnd, bar, &info, TRUE);
}

void UpdateScrolling(HWND hWnd)
{
    const HGLOBAL hDib = ShownPicture();
    const BITMAPINFOHEADER *locked =
        hDib ? static_cast<const BITMAPINFOHEADER *>(GlobalLock(hDib)) : nullptr;
    int width = 0, height = 0;
    if (locked) {
        width = locked->biWidth;
        height = locked->biHeight;
        GlobalUnlock(hDib);
    }
    const RECT area = CanvasArea(hWnd);
    g_viewer.scroll.x = Limited(g_viewer.scroll.x, g_viewer.bFullSize ? width - area.right : 0);
    g_viewer.scroll.y = Limited(g_viewer.scroll.y, g_viewer.bFullSize ? height - area.bottom : 0);
    SetBar(hWnd, SB_HORZ, width, area.right, g_viewer.scroll.x);
    SetBar(hWnd, SB_VERT, height, area.bottom, g_viewer.scroll.y);
}

void Scroll(HWND hWnd, int bar, int code)
{
    SCROLLINFO info = {};
    LONG *position = bar == SB_HORZ ? &g_viewer.scroll.x : &g_viewer.scroll.y;
    info.cbSize = sizeof info;
    info.fMask = SIF_ALL;
    GetScrollInfo(hWnd, bar, &info);
    const LONG line = 32, page = LONG(info.nPage);
    switch (code) {
    case SB_LINEUP:
        *position -= line;
        break;
    case SB_LINEDOWN:
        *position += line;
        break;
    case SB_PAGEUP:
        *position -= page;
        break;
    case SB_PAGEDOWN:
        *position += page;
        break;
    case SB_THUMBTRACK:
    case SB_THUMBPOSITION:
        *position = info.nTrackPos;
        break;
    }
    UpdateScrolling(hWnd);
    InvalidateRect(hWnd, nullptr, FALSE);
}
