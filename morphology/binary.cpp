// Binary morphology on 1-bit images: dilation, erosion, opening, closing, hit-or-miss, outlines.
//
// How the family hangs together. All of it is one question asked of every pixel: is one of the
// pixels under a structuring element set? (binary_rows.h). Asked of the object it is dilation;
// asked of the background, and the answer turned round, erosion. Hit-or-miss asks the background
// twice, with two elements; an outline is the difference between the answer and the image. Opening
// and closing are two steps, the second one on the result of the first, in place. Thinning,
// thickening and the skeleton (thinning.cpp) ask for eight fixed hit-or-miss patterns at once. The
// gray-scale operators (gray.cpp) share the elements.
//
// Pixels outside the picture are neither object nor background: they never answer yes. So the
// picture's edge does not erode an object, and it does not miss one.
//
// The bar takes the steps of operators that work on a grid of bytes in one to four passes; what has
// no work left here only steps.

#include "binary.h"

#include "binary_rows.h"
#include "frame/intops.h"
#include "frame/progress.h"
#include "frame/rows.h"

// ---- black and white ----------------------------------------------------------------------------

Polarity ReadPolarity(const DibView *pSource, int bWhiteObject)
{
    const RGBQUAD *pFirst = pSource->pColors;
    const int bBlackIsClear = pFirst->rgbBlue == 0 && pFirst->rgbGreen == 0 && pFirst->rgbRed == 0;
    const int bObjectIsClear = bBlackIsClear == (bWhiteObject == 0);
    const BYTE clear = 0xff, set = 0;
    return {bObjectIsClear ? clear : set, bObjectIsClear ? set : clear};
}

// ---- operations ---------------------------------------------------------------------------------

enum PassKind {
    NO_PASS,
    STEPS,  // for the bar alone
    DILATE,
    ERODE,
    OUTLINE_OUTSIDE,
    OUTLINE_INSIDE,
    HIT_OR_MISS
};

enum { MOST_PASSES = 4, OUTLINES = 2 };

struct BinaryOperation {
    PassKind passes[OUTLINES][MOST_PASSES];  // for nOutline 0 and any other
    int nAnnounced[OUTLINES];                // passes in the step total
    const ElementDefault *pDefaults[MOST_ELEMENTS];
    int nElements;
};

static const ElementDefault SQUARE = {{{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}};
// The left end of a run of two or more pixels.
static const ElementDefault CENTRE_AND_RIGHT = {{{0, 0, 0}, {0, 1, 0}, {0, 1, 0}}};
static const ElementDefault LEFT = {{{0, 1, 0}, {0, 0, 0}, {0, 0, 0}}};

static const BinaryOperation DILATION = {{{STEPS, DILATE}}, {2}, {&SQUARE}, 1};
static const BinaryOperation EROSION = {{{ERODE}}, {1}, {&SQUARE}, 1};
static const BinaryOperation OPENING = {{{ERODE, STEPS, DILATE}}, {3}, {&SQUARE}, 1};
// Kept: the bar is announced a pass that closing does not take.
static const BinaryOperation CLOSING = {{{STEPS, DILATE, ERODE}}, {4}, {&SQUARE}, 1};
static const BinaryOperation HIT_MISS = {
    {{HIT_OR_MISS, STEPS}}, {2}, {&CENTRE_AND_RIGHT, &LEFT}, 2};
static const BinaryOperation OUTLINING = {
    {{OUTLINE_INSIDE, STEPS}, {STEPS, OUTLINE_OUTSIDE, STEPS}}, {2, 3}, {&SQUARE}, 1};

struct BinaryArguments {
    MorphologyArguments common;
    const BinaryOperation *pOperation;
};

static const BinaryArguments *ArgumentsOf(const FilterCall *pCall)
{
    return (const BinaryArguments *)pCall->pArguments;
}

static int OperationSteps(int width, int height, int bGray, const void *pArguments)
{
    const BinaryArguments *p = (const BinaryArguments *)pArguments;
    (void)width;
    (void)bGray;
    return RoundToSteps((int64_t)p->pOperation->nAnnounced[p->common.nOutline != 0] * height);
}

static int AreElements(const void *pArguments)
{
    const BinaryArguments *p = (const BinaryArguments *)pArguments;
    int bElements = 1;
    for (int n = 0; n < p->pOperation->nElements; n++) {
        bElements &= IsElement(&p->common.elements[n]);
    }
    return bElements;
}

static int PrepareOperation(FilterCall *pCall)
{
    BinaryArguments *p = (BinaryArguments *)pCall->pArguments;
    TakeElements(&p->common, p->pOperation->pDefaults, p->pOperation->nElements);
    return PrepareCopy(pCall);
}

// ---- passes -------------------------------------------------------------------------------------

static void DescribePass(const FilterCall *pCall, PassKind kind, BinaryPass *pPass)
{
    const BinaryArguments *pArguments = ArgumentsOf(pCall);
    const Polarity polarity =
        ReadPolarity(&((const WorkingCopy *)pCall->pPlan)->result, pArguments->common.bWhiteObject);
    pPass->invert =
        kind == DILATE || kind == OUTLINE_OUTSIDE ? polarity.object : polarity.background;
    pPass->invertResult = polarity.object;
    switch (kind) {
    case ERODE:
        pPass->rule = KEEP_NOT_FOUND;
        break;
    case OUTLINE_OUTSIDE:
    case OUTLINE_INSIDE:
        // Inside: the background's neighbours that are not background.
        pPass->rule = KEEP_FOUND_NEW;
        break;
    case HIT_OR_MISS:
        pPass->rule = KEEP_BETWEEN;
        break;
    case NO_PASS:
    case STEPS:
    case DILATE:
    default:
        pPass->rule = KEEP_FOUND;
        break;
    }
}

// 0 without memory or once the user has cancelled.
static int RunPass(FilterCall *pCall, PassKind kind, const BYTE *pFrom)
{
    const BinaryArguments *pArguments = ArgumentsOf(pCall);
    const int nElements = pArguments->pOperation->nElements;
    // Dilation asks, from the pixel, where it may have been spread from.
    const int bReflected = kind == DILATE || kind == OUTLINE_OUTSIDE;
    ElementPlan plans[MOST_PLANS] = {};
    BinaryPass pass = {};
    int bDone = 1;
    DescribeLines(&pCall->source.shape, &pass.layout);
    DescribePass(pCall, kind, &pass);
    pass.pPlans = plans;
    pass.nPlans = nElements;
    pass.pFrom = pFrom;
    pass.pTo = ((WorkingCopy *)pCall->pPlan)->result.pBits;
    for (int n = 0; n < nElements && bDone; n++) {
        bDone = PlanElement(&pArguments->common.elements[n], bReflected, &pass.layout, &plans[n]);
    }
    bDone = bDone && BeginBinaryPass(&pass) && PassOverRows(pCall, RunBinaryRows, &pass);
    EndBinaryPass(&pass);
    for (int n = 0; n < nElements; n++) {
        FreeElementPlan(&plans[n]);
    }
    return bDone;
}

static HGLOBAL WorkInPasses(FilterCall *pCall, const Picture *pPicture)
{
    const BinaryArguments *pArguments = ArgumentsOf(pCall);
    const PassKind *pPasses = pArguments->pOperation->passes[pArguments->common.nOutline != 0];
    const WorkingCopy *pCopy = LockCopy(pCall);
    (void)pPicture;
    if (pCopy == NULL) {
        return NULL;
    }
    const BYTE *pFrom = pCopy->pFrom;
    int bDone = 1;
    for (int n = 0; bDone && n < MOST_PASSES && pPasses[n] != NO_PASS; n++) {
        if (pPasses[n] == STEPS) {
            bDone = StepPasses(pCall->pState, pCall->bProgress, 1, pCall->source.shape.height);
            continue;
        }
        bDone = RunPass(pCall, pPasses[n], pFrom);
        pFrom = pCopy->result.pBits;  // the next one's
    }
    return FinishCopy(pCall, bDone);
}

// ---- exports ------------------------------------------------------------------------------------

static constexpr FilterFrame OperationFrame(const char *pDialogEntry)
{
    FilterFrame frame = BinaryFrame(pDialogEntry, WorkInPasses, OperationSteps);
    frame.AcceptsEdited = AreElements;
    frame.Prepare = PrepareOperation;
    return frame;
}

static HGLOBAL RunOperation(const FilterFrame *pFrame, const BinaryOperation *pOperation,
                            HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject, UINT mode,
                            HWND hParent)
{
    BinaryArguments arguments = {};
    arguments.pOperation = pOperation;
    arguments.common.pGiven[0] = pMask;
    arguments.common.bWhiteObject = bWhiteObject;
    return RunMorphology(
        pFrame, hDib, &arguments,
        {(UINT_PTR)&arguments.common.elements[0], (UINT_PTR)&arguments.common.bWhiteObject}, mode,
        hParent);
}

HGLOBAL VEXAFILTER_API BinaryDilation(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                      UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("BDilationUI");
    return RunOperation(&FRAME, &DILATION, hDib, pMask, bWhiteObject, mode, hParent);
}

HGLOBAL VEXAFILTER_API BinaryErosion(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("BErosionUI");
    return RunOperation(&FRAME, &EROSION, hDib, pMask, bWhiteObject, mode, hParent);
}

HGLOBAL VEXAFILTER_API BinaryClosing(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("BClosingUI");
    return RunOperation(&FRAME, &CLOSING, hDib, pMask, bWhiteObject, mode, hParent);
}

HGLOBAL VEXAFILTER_API BinaryOpening(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("BOpeningUI");
    return RunOperation(&FRAME, &OPENING, hDib, pMask, bWhiteObject, mode, hParent);
}

HGLOBAL VEXAFILTER_API BinaryHitMiss(HGLOBAL hDib, const FilterMask *pHitMask,
                                     const FilterMask *pMissMask, int bWhiteObject, UINT mode,
                                     HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("BHitmissUI");
    BinaryArguments arguments = {};
    arguments.pOperation = &HIT_MISS;
    arguments.common.pGiven[0] = pHitMask;
    arguments.common.pGiven[1] = pMissMask;
    arguments.common.bWhiteObject = bWhiteObject;
    return RunMorphology(&FRAME, hDib, &arguments,
                         {(UINT_PTR)&arguments.common.elements[0],
                          (UINT_PTR)&arguments.common.elements[1],
                          (UINT_PTR)&arguments.common.bWhiteObject},
                         mode, hParent);
}

HGLOBAL VEXAFILTER_API BinaryOutlining(HGLOBAL hDib, const FilterMask *pMask, int nOutline,
                                       int bWhiteObject, UINT mode, HWND hParent)
{
    static constexpr FilterFrame FRAME = OperationFrame("OutliningUI");
    BinaryArguments arguments = {};
    arguments.pOperation = &OUTLINING;
    arguments.common.pGiven[0] = pMask;
    arguments.common.nOutline = nOutline;
    arguments.common.bWhiteObject = bWhiteObject;
    return RunMorphology(&FRAME, hDib, &arguments,
                         {(UINT_PTR)&arguments.common.elements[0],
                          (UINT_PTR)&arguments.common.nOutline,
                          (UINT_PTR)&arguments.common.bWhiteObject},
                         mode, hParent);
}
