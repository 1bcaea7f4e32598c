// Red-eye removal: pixels of a rectangle whose hue is red and whose saturation is high become grays
// of the same intensity.
//
// Hue, saturation and intensity are those of the colour library, VexaImage.dll, which is loaded for
// each call and asked for each pixel. Kept: without it nothing is even checked; the upper bound of
// the hue does not follow what the dialog makes of the lower one.

#include "VexaFilter.h"
#include "frame/call.h"
#include "frame/intops.h"
#include "frame/progress.h"

#include <string.h>

// Current errors.
enum { ERROR_NO_COLOURS = -2, ERROR_NO_RESULT = -4, ERROR_BAD_ARGUMENT = 87 };

// A record of three bytes into another, whose address is returned: red, green, blue or hue,
// saturation, intensity.
typedef BYTE *(WINAPI *ConvertColour)(BYTE *pBuffer, const BYTE *pRecord);

struct ColourLibrary {
    HMODULE hLibrary;
    ConvertColour ToHsi;
    ConvertColour ToRgb;
};

// A dialog gets the addresses of the two limits. Whole words: it may take them for integers.
struct RedEyeArguments {
    HGLOBAL hDib;
    RECT *pRect;
    UINT nHueLow;
    UINT nSaturation;
    BYTE hueHigh;
    ColourLibrary *pColours;
};

// ---- the colour library -------------------------------------------------------------------------

static ConvertColour EntryOf(HMODULE hLibrary, const char *pName)
{
    typedef void (*AnyEntry)(void);
    return (ConvertColour)(AnyEntry)GetProcAddress(hLibrary, pName);
}

static int LoadColours(ColourLibrary *pColours)
{
    LetHostRun();
    pColours->hLibrary = LoadLibraryA("VexaImage.dll");
    if (pColours->hLibrary != NULL) {
        pColours->ToHsi = EntryOf(pColours->hLibrary, "RGBtoHSI");
        pColours->ToRgb = EntryOf(pColours->hLibrary, "HSItoRGB");
    }
    ResumeCall();
    return pColours->ToHsi != NULL && pColours->ToRgb != NULL;
}

static void FreeColours(const ColourLibrary *pColours)
{
    if (pColours->hLibrary != NULL) {
        FreeLibrary(pColours->hLibrary);
    }
}

// ---- the call -----------------------------------------------------------------------------------

// Both sides belong to the rectangle; kept: one whose sides are equal is refused all the same.
static int HasRectangle(const RECT *pRect)
{
    return pRect != NULL && pRect->right != pRect->left && pRect->bottom != pRect->top &&
           pRect->left >= 0 && pRect->top >= 0 && pRect->right >= 0 && pRect->bottom >= 0;
}

static int AcceptsRedEye(const void *pArguments)
{
    const RedEyeArguments *p = (const RedEyeArguments *)pArguments;
    int code = 0;
    if (!LoadColours(p->pColours)) {
        code = ERROR_NO_COLOURS;
    } else if (!HasRectangle(p->pRect) || p->hDib == NULL) {
        code = ERROR_BAD_ARGUMENT;
    }
    if (code != 0) {
        GetFilterThreadState()->nCurrentError = code;
    }
    return code == 0;
}

// One less than the columns; without a sign, whatever the rectangle is by now.
static int StepsOverRectangle(int width, int height, int bGray, const void *pArguments)
{
    const RECT *pRect = ((const RedEyeArguments *)pArguments)->pRect;
    const unsigned nColumns = (unsigned)pRect->right - (unsigned)pRect->left;
    (void)width;
    (void)height;
    (void)bGray;
    return (int)((nColumns + 4) / UNITS_PER_STEP * UNITS_PER_STEP);
}

static void RemoveRed(const RedEyeArguments *p, BYTE *pixel)
{
    const BYTE rgb[] = {pixel[2], pixel[1], pixel[0]};
    BYTE buffer[4];
    const BYTE *hsi = p->pColours->ToHsi(buffer, rgb);
    if (hsi == NULL || hsi[1] <= (BYTE)p->nSaturation ||
        (hsi[0] >= (BYTE)p->nHueLow && hsi[0] <= p->hueHigh)) {
        return;
    }
    const BYTE gray[] = {hsi[0], 0, hsi[2]};
    const BYTE *result = p->pColours->ToRgb(buffer, gray);
    if (result != NULL) {
        pixel[0] = result[2];
        pixel[1] = result[1];
        pixel[2] = result[0];
    }
}

static HGLOBAL RemoveRedEye(FilterCall *pCall, const Picture *pPicture)
{
    const RedEyeArguments *p = (const RedEyeArguments *)pCall->pArguments;
    const DibShape *pShape = &pPicture->view.shape;
    // As it is now: a dialog may have moved it, out of the picture too.
    const RECT rect = *p->pRect;
    DibView result;
    const HGLOBAL hResult = DuplicateFrame(&pPicture->view, &result);
    if (hResult == NULL) {
        pCall->pState->nCurrentError = ERROR_NO_RESULT;
        return NULL;
    }
    memcpy(result.pBits, pPicture->view.pBits, pShape->stride * (size_t)pShape->height);
    const unsigned nRight = (unsigned)rect.right, nBottom = (unsigned)rect.bottom;
    for (unsigned x = (unsigned)rect.left; x <= nRight && x < (unsigned)pShape->width; x++) {
        if (!BeginUnit(pCall->pState, pCall->bProgress, x)) {
            break;
        }
        for (unsigned y = (unsigned)rect.top; y <= nBottom && y < (unsigned)pShape->height; y++) {
            RemoveRed(p, PictureRow(&result, (int)y) + (size_t)x * 3);
        }
    }
    UnlockDib(&result);
    return hResult;
}

static constexpr FilterFrame RedEyeFrame(void)
{
    FilterFrame frame = {};
    frame.pDialogEntry = "RedEyeUI";
    frame.AcceptsCall = AcceptsRedEye;
    frame.nAccepted = ACCEPT_24;
    frame.nDepthError = ERROR_BAD_ARGUMENT;
    frame.StepTotal = StepsOverRectangle;
    frame.Work = RemoveRedEye;
    return frame;
}

HGLOBAL VEXAFILTER_API RedEyeRemover(HGLOBAL hDib, RECT *pRect, UINT mode, HWND hParent,
                                     const BYTE *pLimits)
{
    static constexpr FilterFrame FRAME = RedEyeFrame();
    ColourLibrary colours = {NULL, NULL, NULL};
    // Kept: the bounds are only alike if they are given.
    RedEyeArguments arguments = {hDib, pRect, 31, 76, 223, &colours};
    if (pLimits != NULL) {
        arguments.nHueLow = pLimits[0];
        arguments.nSaturation = pLimits[1];
        arguments.hueHigh = (BYTE)(255 - pLimits[0]);
    }
    FilterCall call;
    memset(&call, 0, sizeof call);
    call.hDib = hDib;
    call.pArguments = &arguments;
    call.dialogArguments[0] = (UINT_PTR)hDib;
    call.dialogArguments[1] = (UINT_PTR)pRect;
    call.dialogArguments[2] = (UINT_PTR)&arguments.nHueLow;
    call.dialogArguments[3] = (UINT_PTR)&arguments.nSaturation;
    call.nDialogArguments = 4;
    call.mode = mode;
    call.pParent = &hParent;
    const HGLOBAL hResult = RunCall(&FRAME, &call);
    FreeColours(&colours);
    return hResult;
}
