// See picture.h.

#include "picture.h"

#include "convert.h"

void BuildLevelMaps(const RGBQUAD *pColors, LevelMaps *pMaps)
{
    pMaps->paletteChanged = 0;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        pMaps->indexOf[i] = -1;
    }
    for (int i = 0; i < GRAY_LEVELS; i++) {
        pMaps->levels[i] = pColors[i].rgbBlue;
        pMaps->indexOf[pMaps->levels[i]] = i;
    }
}

int HasAllLevels(const LevelMaps *pMaps)
{
    int bAll = 1;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        bAll &= pMaps->indexOf[i] >= 0;
    }
    return bAll;
}

int IsGrayRamp(const LevelMaps *pMaps)
{
    int bRamp = 1;
    for (int i = 0; i < GRAY_LEVELS; i++) {
        bRamp &= pMaps->levels[i] == i;
    }
    return bRamp;
}

int GrayLevelToIndex(LevelMaps *pMaps, int level)
{
    if (pMaps->indexOf[level] == -1) {
        pMaps->paletteChanged = 1;
        pMaps->levels[level] = (BYTE)level;
        pMaps->indexOf[level] = level;
    }
    return pMaps->indexOf[level];
}

void MapRowInOrder(LevelMaps *pMaps, const LevelRow *pRow, BYTE *indices)
{
    for (size_t i = 0; i < pRow->count; i++) {
        const BYTE level = pRow->levels[i];
        const int bNew = pMaps->indexOf[level] < 0;
        indices[i] = (BYTE)GrayLevelToIndex(pMaps, level);
        if (bNew && pRow->bUsed[level]) {
            pRow->ComputeAnew(pRow->pContext);
        }
    }
}

void StoreChangedLevels(const DibView *pView, const LevelMaps *pMaps)
{
    for (int i = 0; pMaps->paletteChanged && i < GRAY_LEVELS; i++) {
        RGBQUAD *pColor = &pView->pColors[i];
        pColor->rgbBlue = pColor->rgbGreen = pColor->rgbRed = pMaps->levels[i];
    }
}

int IsWorkedOnInGray(const DibView *pSource)
{
    return pSource->shape.bitCount == 1 || IsGrayPalette(pSource);
}

static HGLOBAL ExpandPlainMono(const DibView *pSource, DibView *pGray)
{
    return ExpandMono(pSource, 0, pGray);
}

int OpenPicture(const DibView *pSource, int bGray, Picture *pPicture)
{
    const int bitCount = pSource->shape.bitCount;
    HGLOBAL (*Expand)(const DibView *, DibView *) = NULL;
    if (bitCount == 1) {
        Expand = ExpandPlainMono;
    } else if (bitCount == 8 && !bGray) {
        Expand = ExpandPalette;
    } else if (bitCount == 8 && pSource->shape.nColors < GRAY_LEVELS) {
        Expand = CopyWithFullTable;
    }
    pPicture->bGray = bGray;
    pPicture->view = *pSource;
    pPicture->hExpanded = Expand != NULL ? Expand(pSource, &pPicture->view) : NULL;
    if (Expand != NULL && pPicture->hExpanded == NULL) {
        return 0;
    }
    if (bGray) {
        BuildLevelMaps(pPicture->view.pColors, &pPicture->maps);
    }
    return 1;
}

void ClosePicture(Picture *pPicture)
{
    if (pPicture->hExpanded != NULL) {
        UnlockDib(&pPicture->view);
        GlobalFree(pPicture->hExpanded);
    }
}
