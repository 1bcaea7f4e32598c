// Tables over pictures. See tone.h.
//
// The neighbourhood drivers carry the tables, with a window of one pixel: gray palettes that hold
// all levels and colour pictures go row by row, other palettes pixel by pixel from the top left,
// through the level map, since there a new level changes what later pixels show. The facts are
// those of the untouched source in both cases.
//
// Extremes are found in a vector loop; counts take one pass that adds up bytes.

#include "tone.h"

#include "frame/levels.h"
#include "tonal_kernels.h"

#include <string.h>

// ---- facts --------------------------------------------------------------------------------------

// The pixels of a picture as runs of bytes, a stride apart: its rows, or all of them at once where
// there is no padding between them.
struct PixelRuns {
    const BYTE *first;
    size_t nBytes;
    size_t nRuns;
};

static PixelRuns RunsOf(const DibView *pView, size_t channels)
{
    const size_t rowBytes = (size_t)pView->shape.width * channels;
    const size_t height = (size_t)pView->shape.height;
    if (pView->shape.stride == rowBytes) {
        return {pView->pBits, rowBytes * height, 1};
    }
    return {pView->pBits, rowBytes, height};
}

// Gray samples become levels in pieces of this size (a whole number of extreme lanes).
enum { PIECE = 32 * EXTREME_LANES };

struct Extremes {
    BYTE lowest[EXTREME_LANES];
    BYTE highest[EXTREME_LANES];
};

static void AddGrayExtremes(const LevelMaps *pMaps, const BYTE *run, size_t count, Extremes *p)
{
    BYTE piece[PIECE];
    for (size_t start = 0; start < count; start += PIECE) {
        const size_t n = count - start < PIECE ? count - start : (size_t)PIECE;
        MapBytes(pMaps->levels, run + start, piece, n);
        g_pTonalKernels->FindExtremes(piece, n, p->lowest, p->highest);
    }
}

// pMaps null: three interleaved channels, or gray samples as they are.
static void FindExtremes(const DibView *pView, const LevelMaps *pMaps, size_t channels, Extremes *p)
{
    const PixelRuns runs = RunsOf(pView, channels);
    memset(p->lowest, 255, sizeof p->lowest);
    memset(p->highest, 0, sizeof p->highest);
    for (size_t i = 0; i < runs.nRuns; i++) {
        const BYTE *run = runs.first + i * pView->shape.stride;
        if (pMaps != NULL) {
            AddGrayExtremes(pMaps, run, runs.nBytes, p);
        } else {
            g_pTonalKernels->FindExtremes(run, runs.nBytes, p->lowest, p->highest);
        }
    }
}

// The lanes first, first + step, ... of a picture.
static void ReduceExtremes(const Extremes *p, size_t first, size_t step, ToneChannel *pChannel)
{
    pChannel->lowest = 255;
    pChannel->highest = 0;
    for (size_t i = first; i < EXTREME_LANES; i += step) {
        if (p->lowest[i] < pChannel->lowest) {
            pChannel->lowest = p->lowest[i];
        }
        if (p->highest[i] > pChannel->highest) {
            pChannel->highest = p->highest[i];
        }
    }
}

static void GatherGray(const DibView *pView, const LevelMaps *pMaps, ToneFacts facts,
                       ToneChannel *pChannel)
{
    const PixelRuns runs = RunsOf(pView, 1);
    pChannel->nChannel = CHANNEL_GRAY;
    if (facts == FACTS_EXTREMES) {
        Extremes extremes;
        FindExtremes(pView, IsGrayRamp(pMaps) ? NULL : pMaps, 1, &extremes);
        ReduceExtremes(&extremes, 0, 1, pChannel);
    } else if (facts == FACTS_COUNTS) {
        DWORD indices[GRAY_LEVELS] = {};
        for (size_t i = 0; i < runs.nRuns; i++) {
            CountBytes(runs.first + i * pView->shape.stride, runs.nBytes, indices);
        }
        memset(pChannel->counts, 0, sizeof pChannel->counts);
        for (int index = 0; index < GRAY_LEVELS; index++) {
            pChannel->counts[pMaps->levels[index]] += indices[index];
        }
    }
}

static void GatherColor(const DibView *pView, ToneFacts facts, ToneChannel *channels)
{
    const PixelRuns runs = RunsOf(pView, COLOR_CHANNELS);
    DWORD counts[COLOR_CHANNELS][GRAY_LEVELS] = {};
    Extremes extremes;
    if (facts == FACTS_EXTREMES) {
        FindExtremes(pView, NULL, COLOR_CHANNELS, &extremes);
    }
    for (size_t i = 0; facts == FACTS_COUNTS && i < runs.nRuns; i++) {
        CountPixels(runs.first + i * pView->shape.stride, runs.nBytes, counts);
    }
    for (int channel = 0; channel < COLOR_CHANNELS; channel++) {
        channels[channel].nChannel = channel;
        if (facts == FACTS_EXTREMES) {
            ReduceExtremes(&extremes, (size_t)channel, COLOR_CHANNELS, &channels[channel]);
        }
        memcpy(channels[channel].counts, counts[channel], sizeof counts[channel]);
    }
}

// ---- tables -------------------------------------------------------------------------------------

void FillIdentity(BYTE *table)
{
    for (int level = 0; level < GRAY_LEVELS; level++) {
        table[level] = (BYTE)level;
    }
}

static void MapLine(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                    const void *pParameters)
{
    (void)step;
    MapBytes((const BYTE *)pParameters, lines[0], out, count);
}

static void MapColorLine(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                         const void *pParameters)
{
    (void)step;
    MapPixels((const BYTE(*)[GRAY_LEVELS])pParameters, lines[0], out, count);
}

int DescribeTone(const Picture *pPicture, const FilterCall *pCall, NeighbourhoodFilter *pFilter)
{
    const ToneRule *pRule = (const ToneRule *)pCall->pFrame->pRule;
    TonePlan *pPlan = (TonePlan *)pCall->pPlan;
    const int nChannels = pPicture->bGray ? 1 : COLOR_CHANNELS;
    ToneChannel channels[COLOR_CHANNELS];
    if (pPicture->bGray) {
        GatherGray(&pPicture->view, &pPicture->maps, pRule->facts, channels);
    } else {
        GatherColor(&pPicture->view, pRule->facts, channels);
    }
    for (int channel = 0; channel < nChannels; channel++) {
        pRule->FillTable(&channels[channel], pCall->pArguments, pPlan->tables[channel]);
    }
    const int bOneTable =
        pPicture->bGray || (memcmp(pPlan->tables[0], pPlan->tables[1], GRAY_LEVELS) == 0 &&
                            memcmp(pPlan->tables[0], pPlan->tables[2], GRAY_LEVELS) == 0);
    pFilter->nRows = pFilter->nColumns = 1;
    pFilter->border = BORDER_COPIED;  // there is none
    pFilter->order = VISIT_ROWS;
    pFilter->Kernel = bOneTable ? MapLine : MapColorLine;
    pFilter->pParameters = pPlan->tables;
    pFilter->nEarlierPasses = pRule->nEarlierPasses;
    return 1;
}
