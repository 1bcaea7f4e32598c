// See sample_rows.h. Results are written in the order of memory, from the bottom row up, but for
// gray palettes that lack levels: there a level without an entry takes over the one of its own
// number, which changes what pixels that come later show.

#include "sample_rows.h"

#include "frame/levels.h"
#include "frame/progress.h"
#include "platform/workmemory.h"

#include <string.h>

void OpenSamples(const Picture *pPicture, SampleKind kind, SampleRows *pRows)
{
    const DibShape *pShape = &pPicture->view.shape;
    memset(pRows, 0, sizeof *pRows);
    pRows->pView = &pPicture->view;
    pRows->bStored = kind == SAMPLE_INDICES || !pPicture->bGray;
    if (!pRows->bStored) {
        pRows->maps = pPicture->maps;
        pRows->bStored = IsGrayRamp(&pRows->maps);
    }
    pRows->width = pShape->width;
    pRows->height = pShape->height;
    pRows->channels = (size_t)pShape->bitCount / 8;
    pRows->nSamples = (size_t)pShape->width * pRows->channels;
}

const BYTE *RowSamples(const SampleRows *pRows, int y, BYTE *scratch)
{
    const BYTE *row = PictureRow(pRows->pView, y);
    if (pRows->bStored) {
        return row;
    }
    MapBytes(pRows->maps.levels, row, scratch, pRows->nSamples);
    return scratch;
}

int64_t RowSteps(const SampleRows *pRows)
{
    return UnitSteps(0, pRows->height);
}

int StepsOverHeight(int width, int height, int bGray, const void *pArguments)
{
    (void)width;
    (void)bGray;
    (void)pArguments;
    return height / UNITS_PER_STEP * UNITS_PER_STEP;
}

static int MakeInMemoryOrder(SampleRows *pRows, const RowEffect *pEffect, const DibView *pResult,
                             int bProgress)
{
    BYTE indexOf[GRAY_LEVELS];
    ProgressPace pace = {GetFilterThreadState(), bProgress, pEffect->nSteps, 0};
    for (int i = 0; i < GRAY_LEVELS; i++) {
        indexOf[i] = (BYTE)pRows->maps.indexOf[i];
    }
    for (int y = pRows->height - 1; y >= 0; y--) {
        BYTE *row = PictureRow(pResult, y);
        if (!BeginPacedRow(&pace, pRows->height - 1 - y, pRows->height)) {
            return 0;
        }
        pEffect->MakeRow(pEffect->pContext, y, row);
        if (!pRows->bStored) {
            MapBytes(indexOf, row, row, pRows->nSamples);
        }
        CopyRowPadding(pRows->pView, pResult, y);
    }
    return 1;
}

// ---- palettes that lack levels ------------------------------------------------------------------

struct ExactRows {
    const RowEffect *pEffect;
    BYTE *levels;
    int y;
};

static void MakeRowAnew(void *pContext)
{
    const ExactRows *p = (const ExactRows *)pContext;
    if (p->pEffect->Forget != NULL) {
        p->pEffect->Forget(p->pEffect->pContext);
    }
    p->pEffect->MakeRow(p->pEffect->pContext, p->y, p->levels);
}

static int MakeInOrder(SampleRows *pRows, const RowEffect *pEffect, const DibView *pResult,
                       int bProgress)
{
    BYTE bUsed[GRAY_LEVELS] = {};
    ExactRows exact = {pEffect, (BYTE *)WorkAlloc(pRows->nSamples, 1), 0};
    const LevelRow row = {exact.levels, pRows->nSamples, bUsed, MakeRowAnew, &exact};
    ProgressPace pace = {GetFilterThreadState(), bProgress, pEffect->nSteps, 0};
    int bGoOn = exact.levels != NULL;
    for (int y = 0; bGoOn && y < pRows->height; y++) {
        const BYTE *src = PictureRow(pRows->pView, y);
        for (int x = 0; x < pRows->width; x++) {
            bUsed[src[x]] = 1;
        }
    }
    for (int y = 0; bGoOn && y < pRows->height; y++) {
        bGoOn = BeginPacedRow(&pace, y, pRows->height);
        if (bGoOn) {
            exact.y = y;
            pEffect->MakeRow(pEffect->pContext, y, exact.levels);
            MapRowInOrder(&pRows->maps, &row, PictureRow(pResult, y));
            CopyRowPadding(pRows->pView, pResult, y);
        }
    }
    WorkFree(exact.levels);
    StoreChangedLevels(pResult, &pRows->maps);
    return bGoOn;
}

HGLOBAL MakeRows(SampleRows *pRows, const RowEffect *pEffect, int bProgress)
{
    DibView result;
    HGLOBAL hResult = DuplicateFrame(pRows->pView, &result);
    if (hResult == NULL) {
        return NULL;
    }
    const int bInOrder = !pRows->bStored && !HasAllLevels(&pRows->maps);
    const int bDone = bInOrder ? MakeInOrder(pRows, pEffect, &result, bProgress)
                               : MakeInMemoryOrder(pRows, pEffect, &result, bProgress);
    UnlockDib(&result);
    if (!bDone) {
        GlobalFree(hResult);
        hResult = NULL;
    }
    return hResult;
}
