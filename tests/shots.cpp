// See shots.h.
#include "shots.h"

#include "hosts/imagefile/codecs.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

void ShootWindow(HWND hWnd, const std::string &name)
{
    const char *folder = getenv("VEXA_SHOTS");
    RECT frame;
    BITMAPINFO info = {};
    void *bits = nullptr;
    if (!folder) {
        return;
    }
    RedrawWindow(hWnd, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN | RDW_INVALIDATE);
    GetWindowRect(hWnd, &frame);
    const int width = frame.right - frame.left, height = frame.bottom - frame.top;
    info.bmiHeader = {40, width, height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    const HDC screen = GetDC(nullptr), memory = CreateCompatibleDC(screen);
    const HBITMAP hBitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ hOld = SelectObject(memory, hBitmap);
    BitBlt(memory, 0, 0, width, height, screen, frame.left, frame.top, SRCCOPY);
    GdiFlush();
    ImageMessages messages;
    DibView view;
    if (CreateDib(width, height, 24, 0, &view, &messages)) {
        memcpy(view.pBits, bits, view.nStride * size_t(height));
        CloseDib(&view);
        const std::string path = std::string(folder) + "/" + name + ".png";
        EXPECT_TRUE(WriteImageFile(view.hDib, path.c_str(), IMAGE_PNG, 90, false, &messages));
        GlobalFree(view.hDib);
    }
    SelectObject(memory, hOld);
    DeleteObject(hBitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
}
