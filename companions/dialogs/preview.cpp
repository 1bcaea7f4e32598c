// See preview.h.
#include "preview.h"

#include "hosts/imagefile/codecs.h"

#include <string.h>

// Windows of this size and more see all of a small picture.
static const int LARGEST_PREVIEWED = 400;

static void CopyIndex(const DibView *source, const BYTE *in, int x, const DibView *target,
                      BYTE *out, int to)
{
    const unsigned index = DibPixelIndex(source, in, x);
    if (target->nBitCount == 8) {
        out[to] = BYTE(index);
        return;
    }
    const int perByte = 8 / target->nBitCount;
    out[to / perByte] |= BYTE(index << (8 - target->nBitCount * (to % perByte + 1)));
}

// Every n-th pixel, with the same depth and colour table: what filters see must stay what it is.
static HGLOBAL Shrink(HGLOBAL hDib, double scale)
{
    ImageMessages messages;
    DibView source, target;
    if (!OpenDib(hDib, &source, &messages)) {
        return nullptr;
    }
    const int width = int(source.nWidth * scale), height = int(source.nHeight * scale);
    HGLOBAL hSmall = nullptr;
    if (CreateDib(width < 1 ? 1 : width, height < 1 ? 1 : height, source.nBitCount, source.nColours,
                  &target, &messages)) {
        memcpy(target.pColours, source.pColours, source.nColours * sizeof(RGBQUAD));
        for (int y = 0; y < target.nHeight; y++) {
            const BYTE *in = DibRow(&source, int((y + 0.5) * source.nHeight / target.nHeight));
            BYTE *out = DibRow(&target, y);
            for (int x = 0; x < target.nWidth; x++) {
                const int from = int((x + 0.5) * source.nWidth / target.nWidth);
                if (source.nBitCount == 24) {
                    memcpy(out + x * 3, in + size_t(from) * 3, 3);
                } else {
                    CopyIndex(&source, in, from, &target, out, x);
                }
            }
        }
        hSmall = target.hDib;
        CloseDib(&target);
    }
    CloseDib(&source);
    return hSmall;
}

static double ScaleFor(HGLOBAL hDib, int side)
{
    ImageMessages messages;
    DibView view;
    if (!OpenDib(hDib, &view, &messages)) {
        return 1;
    }
    const int longest = view.nWidth > view.nHeight ? view.nWidth : view.nHeight;
    CloseDib(&view);
    return longest > side ? double(side) / longest : 1;
}

void OpenPreview(const DialogBinding *binding, const UINT_PTR *arguments, int side,
                 Preview *preview)
{
    const HGLOBAL hImage = reinterpret_cast<HGLOBAL>(arguments[binding->nImage]);
    memset(preview, 0, sizeof *preview);
    preview->dScale = ScaleFor(hImage, side);
    preview->images[0] = Shrink(hImage, preview->dScale);
    if (binding->nSecondImage >= 0) {
        preview->images[1] =
            Shrink(reinterpret_cast<HGLOBAL>(arguments[binding->nSecondImage]), preview->dScale);
    }
}

static void Free(HGLOBAL *handle)
{
    if (*handle) {
        GlobalFree(*handle);
    }
    *handle = nullptr;
}

void ClosePreview(Preview *preview)
{
    Free(&preview->images[0]);
    Free(&preview->images[1]);
    Free(&preview->hShown);
}

static LONG Scaled(LONG value, double scale)
{
    return LONG(value * scale);
}

void RunPreview(const CatalogueFilter *filter, const ParameterValue *values, Preview *preview)
{
    ParameterValue scaled[FILTER_PARAMETERS_MOST];
    bool bRun = preview->images[0] != nullptr && (filter->nImages == 1 || preview->images[1]);
    for (size_t i = 0; i < filter->nParameters; i++) {
        const FilterParameter *parameter = &filter->pParameters[i];
        scaled[i] = values[i];
        if (parameter->nType == PARAMETER_RECT) {
            RECT *rect = &scaled[i].rect;
            *rect = {Scaled(rect->left, preview->dScale), Scaled(rect->top, preview->dScale),
                     Scaled(rect->right, preview->dScale), Scaled(rect->bottom, preview->dScale)};
        }
        bRun = bRun && (parameter->nType != PARAMETER_INTEGER || parameter->dGreatest <= 65535 ||
                        values[i].nValue <= LARGEST_PREVIEWED);
    }
    Free(&preview->hShown);
    if (bRun) {
        const CatalogueCall call = {preview->images, scaled, 0, nullptr};
        preview->hShown = filter->Run(&call);
    }
}

void PaintPreview(const Preview *preview, HDC hdc, const RECT *area)
{
    ImageMessages messages;
    DibView view;
    FillRect(hdc, area, GetSysColorBrush(COLOR_APPWORKSPACE));
    if (!OpenDib(preview->hShown ? preview->hShown : preview->images[0], &view, &messages)) {
        return;
    }
    // A result may be larger than the copy that it was made of.
    const int across = area->right - area->left, down = area->bottom - area->top;
    double scale = 1;
    scale = view.nWidth * scale > across ? double(across) / view.nWidth : scale;
    scale = view.nHeight * scale > down ? double(down) / view.nHeight : scale;
    const int width = int(view.nWidth * scale), height = int(view.nHeight * scale);
    SetStretchBltMode(hdc, COLORONCOLOR);
    StretchDIBits(hdc, area->left + (across - width) / 2, area->top + (down - height) / 2, width,
                  height, 0, 0, view.nWidth, view.nHeight, view.pBits,
                  reinterpret_cast<const BITMAPINFO *>(view.pHeader), DIB_RGB_COLORS, SRCCOPY);
    CloseDib(&view);
}
