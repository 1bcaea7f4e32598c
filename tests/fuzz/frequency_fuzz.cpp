// Fuzz target of the frequency filters.

#include "fuzz_host.h"

#include <string.h>

// Any float: infinities and NaN as well.
static float NextFloat(void)
{
    const int bits = NextNumber();
    float value = (float)bits / 16;
    if (NextNumber() % 2 != 0) {
        memcpy(&value, &bits, sizeof value);
    }
    return value;
}

// Planes of a thousand on a side would leave time for few inputs.
static HGLOBAL QuickImage(HGLOBAL hDib)
{
    enum { MOST_SIDE = 130 };
    BITMAPINFOHEADER header = {};
    const void *pBlock = GlobalLock(hDib);
    if (pBlock != NULL) {
        memcpy(&header, pBlock, GlobalSize(hDib) < sizeof header ? 0 : sizeof header);
        GlobalUnlock(hDib);
    }
    return header.biWidth > MOST_SIDE || header.biHeight > MOST_SIDE ? NULL : hDib;
}

static int WantsDialog(void)
{
    return g_scene.mode > 1;
}

static HGLOBAL CallSpectrum(void)
{
    return FreqDIBFFT(QuickImage(g_scene.hDib), NextNumber() % 2);
}

template <auto EXPORT> static HGLOBAL CallPass(void)
{
    return EXPORT(QuickImage(g_scene.hDib), NextNumber(), NextNumber() % 4, NextNumber() % 2,
                  WantsDialog());
}

static HGLOBAL CallEnhance(void)
{
    const float gain = NextFloat();
    return FreqDIBEnhance(QuickImage(g_scene.hDib), NextNumber(), gain, NextNumber() % 2,
                          WantsDialog());
}

static HGLOBAL CallHomomorphic(void)
{
    const float high = NextFloat(), low = NextFloat();
    const int nCutoff = NextNumber();
    return FreqDIBHomomorphic(QuickImage(g_scene.hDib), nCutoff, NextNumber(), high, low,
                              NextNumber() % 2, WantsDialog());
}

static HGLOBAL CallInverse(void)
{
    const int nKind = NextNumber() % 2;
    return FreqDIBInverse(QuickImage(g_scene.hDib), QuickImage(g_scene.hOther), nKind,
                          NextNumber());
}

static HGLOBAL CallWiener(void)
{
    const double noise = (double)NextFloat();
    const int nKind = NextNumber() % 2;
    return FreqDIBWiener(QuickImage(g_scene.hDib), QuickImage(g_scene.hOther), noise, nKind,
                         NextNumber());
}

const FuzzExport EXPORTS[] = {
    {"FreqDIBFFT", CallSpectrum, NULL, 0, KEEPS_PLANES},
    {"FreqDIBLowpass", CallPass<FreqDIBLowpass>, "FFTPASSUI", 5, KEEPS_PLANES},
    {"FreqDIBHighpass", CallPass<FreqDIBHighpass>, "FFTPASSUI", 5, KEEPS_PLANES},
    {"FreqDIBEnhance", CallEnhance, "FFTENHANCEUI", 4, KEEPS_PLANES},
    {"FreqDIBHomomorphic", CallHomomorphic, "FFTHOMOMORPHICUI", 6, KEEPS_PLANES},
    {"FreqDIBInverse", CallInverse, NULL, 0, KEEPS_PLANES},
    {"FreqDIBWiener", CallWiener, NULL, 0, KEEPS_PLANES},
};
const size_t EXPORT_COUNT = sizeof EXPORTS / sizeof *EXPORTS;
