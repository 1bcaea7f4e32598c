// Inverse filter and Wiener filter: undo a blur that is known, given as an image of what it makes
// of a point (Helstrom 1967; Gonzalez and Wintz 1977).
//
// The spectrum of the degraded image is divided by that of the blur, or multiplied by the Wiener
// filter made of it. Both images lie in the corner of planes of the same side, that holds them
// both.
// Kept: of the recurrence, whose spectra are small, factors of 100000 and 1e-5 remain that do not
// cancel out: the scale is what brings the result into range.

#include "calls.h"

#include "VexaFilter.h"

static const double RECURRENCE_GAIN = 100000.0;
static const double RECURRENCE_LOSS = 1e-5;

struct RestorationArguments {
    double noise;
    int bWiener;
    int nTransformKind;
    int nScale;
};

struct RestorationWork {
    FrequencyWork work;
    Restoration restoration;
    Pass blurPass;  // the second one of the blur's spectrum, taken in step with the image's
    int bFinite;
};

static void Restore(void *pContext, size_t nFirst, const Lines *lines)
{
    RestorationWork *p = (RestorationWork *)pContext;
    const FourierPlan *pFourier = &p->work.fourier;
    const Lines *blur = &pFourier->otherLines;
    RunPassOn(pFourier, &p->blurPass, &p->work.blurPlanes, nFirst, blur, blur);
    p->bFinite &= g_pSpectrumKernels->Restore(&p->restoration, pFourier->side, lines, blur);
}

static void RestoreChannel(FrequencyWork *pWork)
{
    RestorationWork *p = (RestorationWork *)(void *)pWork;
    const FourierPlan *pFourier = &pWork->fourier;
    Pass blurFirst = FirstPass(pFourier, 0);
    Pass first = FirstPass(pFourier, 0);
    Pass second = SecondPass(pFourier, 0);
    p->blurPass = SecondPass(pFourier, 0);
    p->bFinite = 1;
    TakeSamples(pFourier, &pWork->blur, &blurFirst, &p->blurPass);
    TakeSamples(pFourier, &pWork->source, &first, &second);
    second.Step = Restore;
    second.pContext = p;
    RunPass(pFourier, &blurFirst, &pWork->blurPlanes);
    RunPass(pFourier, &first, &pWork->planes);
    RunPass(pFourier, &second, &pWork->planes);
    InvertToResult(pWork, p->bFinite);
}

static HGLOBAL RestoreImage(FilterCall *pCall, const Picture *pPicture)
{
    const RestorationArguments *pArguments = (const RestorationArguments *)pCall->pArguments;
    RestorationWork *p = (RestorationWork *)pCall->pPlan;
    const int bRecurrence = pArguments->nTransformKind == 0;
    (void)pPicture;
    p->work.kind = bRecurrence ? FFT_RECURRENCE : FFT_TABLE;
    p->work.RunChannel = RestoreChannel;
    p->restoration.bWiener = pArguments->bWiener;
    p->restoration.noise = pArguments->noise;
    p->restoration.before = bRecurrence ? RECURRENCE_GAIN : 1.0;
    p->restoration.scale = (double)pArguments->nScale;
    p->restoration.after = bRecurrence ? RECURRENCE_LOSS : 1.0;
    return RunOnPlanes(pCall, &p->work);
}

static constexpr FilterFrame RestorationFrame(void)
{
    FilterFrame frame = {};
    frame.nPlanBytes = sizeof(RestorationWork);
    frame.nAccepted = ACCEPT_4 | ACCEPT_8 | ACCEPT_24 | ACCEPT_OTHER;
    frame.nQuirks = FREQUENCY_QUIRKS | TWO_IMAGES | SECOND_OF_ANY_SIZE | LACK_LEAVES_LOCK;
    frame.Prepare = FitsPlanes;
    frame.Work = RestoreImage;
    return frame;
}

static HGLOBAL RunRestoration(const FilterFrame *pFrame, HGLOBAL hDegraded, HGLOBAL hPsf,
                              RestorationArguments arguments)
{
    FilterCall call = {};
    call.hDib = hDegraded;
    call.hSecond = hPsf;
    call.pArguments = &arguments;
    return RunCall(pFrame, &call);
}

HGLOBAL VEXAFILTER_API FreqDIBInverse(HGLOBAL hDegraded, HGLOBAL hPsf, int nTransformKind,
                                      int nScale)
{
    static constexpr FilterFrame FRAME = RestorationFrame();
    return RunRestoration(&FRAME, hDegraded, hPsf, {0.0, 0, nTransformKind, nScale});
}

HGLOBAL VEXAFILTER_API FreqDIBWiener(HGLOBAL hDegraded, HGLOBAL hPsf, double noiseK,
                                     int nTransformKind, int nScale)
{
    static constexpr FilterFrame FRAME = RestorationFrame();
    return RunRestoration(&FRAME, hDegraded, hPsf, {noiseK, 1, nTransformKind, nScale});
}
