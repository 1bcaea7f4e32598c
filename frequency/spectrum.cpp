// FreqDIBFFT: an image of the spectrum.
//
// Kept: the thread's codes stay as they are, like the header's fields other than the sides.

#include "calls.h"

#include "VexaFilter.h"

// The recurrence divides by the number of samples: without this all but the brightest few would
// come out black.
static const double RECURRENCE_GAIN = 500000.0;

static void Magnify(void *pContext, size_t nFirst, const Lines *lines)
{
    const FourierPlan *p = (const FourierPlan *)pContext;
    (void)nFirst;
    g_pSpectrumKernels->Magnify(p->kind == FFT_RECURRENCE ? RECURRENCE_GAIN : 1.0, p->side, lines);
}

static void ShowSpectrum(FrequencyWork *p)
{
    Pass first = FirstPass(&p->fourier, 0);
    Pass second = SecondPass(&p->fourier, 0);
    TakeSamples(&p->fourier, &p->source, &first, &second);
    second.Step = Magnify;
    second.pContext = &p->fourier;
    second.keep = KEEP_REAL;
    RunPass(&p->fourier, &first, &p->planes);
    RunPass(&p->fourier, &second, &p->planes);
    ShowCentred(p, DISPLAY_LOGARITHM);
}

static HGLOBAL MakeSpectrum(FilterCall *pCall, const Picture *pPicture)
{
    FrequencyWork *p = (FrequencyWork *)pCall->pPlan;
    (void)pPicture;
    p->kind = *(const int *)pCall->pArguments == 0 ? FFT_RECURRENCE : FFT_TABLE;
    p->bSpectrum = 1;
    p->RunChannel = ShowSpectrum;
    return RunOnPlanes(pCall, p);
}

static constexpr FilterFrame SpectrumFrame(void)
{
    FilterFrame frame = {};
    frame.nPlanBytes = sizeof(FrequencyWork);
    frame.nAccepted = ACCEPT_4 | ACCEPT_8 | ACCEPT_24 | ACCEPT_OTHER;
    frame.nQuirks = FREQUENCY_QUIRKS | LEAVES_CODES;
    frame.Prepare = FitsPlanes;
    frame.Work = MakeSpectrum;
    return frame;
}

HGLOBAL VEXAFILTER_API FreqDIBFFT(HGLOBAL hDib, int nTransformKind)
{
    static constexpr FilterFrame FRAME = SpectrumFrame();
    FilterCall call = {};
    call.hDib = hDib;
    call.pArguments = &nTransformKind;
    return RunCall(&FRAME, &call);
}
