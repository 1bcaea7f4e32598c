// Low-pass, high-pass, high-frequency emphasis and homomorphic filters: the spectrum is multiplied
// by a factor that depends on the distance from frequency (0, 0) alone (Butterworth 1930;
// Oppenheim, Schafer and Stockham 1968).
//
// Kept: results are truncated and wrap around, but for the homomorphic filter's, which are spread
// over all levels.

#include "calls.h"

#include "VexaFilter.h"
#include "frame/intops.h"

#include <math.h>

// ---- transfer functions -------------------------------------------------------------------------

// Distances count by their low 16 bits.
static double Square(int distance)
{
    return (double)distance * (double)distance;
}

static int LowWord(int word)
{
    return word & 0xffff;
}

static Transfer PassTransfer(const int *words, TransferShape ideal, TransferShape butterworth)
{
    static const int FILTER_BUTTERWORTH = 2;
    Transfer transfer = {};
    transfer.cutoff2 = Square(LowWord(words[0]));
    transfer.shape = words[1] == FILTER_BUTTERWORTH ? butterworth : ideal;
    return transfer;
}

static Transfer LowpassTransfer(const int *words)
{
    return PassTransfer(words, LOWPASS_IDEAL, LOWPASS_BUTTERWORTH);
}

static Transfer HighpassTransfer(const int *words)
{
    return PassTransfer(words, HIGHPASS_IDEAL, HIGHPASS_BUTTERWORTH);
}

static double Gain(const int *words)
{
    return (double)FloatOfBits((uint32_t)words[1]);
}

// The dialog may have changed the gain.
static Transfer EnhanceTransfer(const int *words)
{
    static const double MOST_GAIN = 2.0;
    const double gain = Gain(words);
    Transfer transfer = {};
    transfer.shape = HIGH_EMPHASIS;
    transfer.cutoff2 = Square(LowWord(words[0]));
    transfer.offset = (gain > MOST_GAIN ? MOST_GAIN : gain) - 1.0;
    return transfer;
}

static int IsGain(const void *pArguments)
{
    return !(Gain((const int *)pArguments) < 1.0);
}

static Transfer HomomorphicTransfer(const int *words)
{
    static const double LEAST_DIVISOR = 0.001;
    const int cutoff = LowWord(words[0]);
    const int half = LowWord(words[1]) / 2;
    Transfer transfer = {};
    transfer.shape = HOMOMORPHIC;
    transfer.inner2 = Square(cutoff - half);
    transfer.outer2 = Square(cutoff + half);
    transfer.high = (double)FloatOfBits((uint32_t)words[2]);
    transfer.low = (double)FloatOfBits((uint32_t)words[3]);
    const double most = transfer.high > transfer.low ? transfer.high : transfer.low;
    transfer.most = most < LEAST_DIVISOR ? LEAST_DIVISOR : most;
    return transfer;
}

// ---- the call -----------------------------------------------------------------------------------

struct FrequencyFilter {
    Transfer (*MakeTransfer)(const int *words);
    int nKindWord;  // the transform kind's place in the arguments
    int bLogarithms;
};

struct FilterWork {
    FrequencyWork work;
    Transfer transfer;
};

static void Multiply(void *pContext, size_t nFirst, const Lines *lines)
{
    const FilterWork *p = (const FilterWork *)pContext;
    g_pSpectrumKernels->Multiply(&p->transfer, p->work.fourier.side, nFirst, lines);
}

static int IsFinite(const Transfer *p)
{
    return isfinite(p->offset) && isfinite(p->low) && isfinite(p->high);
}

static void FilterChannel(FrequencyWork *pWork)
{
    FilterWork *p = (FilterWork *)(void *)pWork;
    Pass first = FirstPass(&pWork->fourier, 0);
    Pass second = SecondPass(&pWork->fourier, 0);
    TakeSamples(&pWork->fourier, &pWork->source, &first, &second);
    second.Step = Multiply;
    second.pContext = p;
    RunPass(&pWork->fourier, &first, &pWork->planes);
    RunPass(&pWork->fourier, &second, &pWork->planes);
    if (pWork->bLogarithms) {
        InvertToExponentials(pWork, IsFinite(&p->transfer));
    } else {
        InvertToResult(pWork, IsFinite(&p->transfer));
    }
}

static HGLOBAL FilterFrequencies(FilterCall *pCall, const Picture *pPicture)
{
    const FrequencyFilter *pFilter = (const FrequencyFilter *)pCall->pFrame->pRule;
    const int *words = (const int *)pCall->pArguments;
    FilterWork *p = (FilterWork *)pCall->pPlan;
    (void)pPicture;
    p->work.kind = words[pFilter->nKindWord] == 0 ? FFT_RECURRENCE : FFT_TABLE;
    p->work.bLogarithms = pFilter->bLogarithms;
    p->work.RunChannel = FilterChannel;
    p->transfer = pFilter->MakeTransfer(words);
    return RunOnPlanes(pCall, &p->work);
}

static constexpr FilterFrame FrequencyFrame(const char *pDialogEntry, int nParameters,
                                            const FrequencyFilter *pFilter)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.nParameters = frame.nDialogPointers = nParameters;
    frame.nPlanBytes = sizeof(FilterWork);
    frame.nAccepted = ACCEPT_4 | ACCEPT_8 | ACCEPT_24 | ACCEPT_OTHER;
    frame.nQuirks = FREQUENCY_QUIRKS | FLAG_FOR_MODE | DIALOG_LEAVES_RESULT;
    frame.Prepare = FitsPlanes;
    frame.pRule = pFilter;
    frame.Work = FilterFrequencies;
    return frame;
}

// The dialog is told by a number which of the two calls.
static constexpr FilterFrame PassFrame(int nDialogNumber, const FrequencyFilter *pFilter)
{
    FilterFrame frame = FrequencyFrame("FFTPASSUI", 3, pFilter);
    frame.nDialogNumber = nDialogNumber;
    return frame;
}

static constexpr FilterFrame EnhanceFrame(const FrequencyFilter *pFilter)
{
    FilterFrame frame = FrequencyFrame("FFTENHANCEUI", 3, pFilter);
    frame.AcceptsCall = IsGain;
    return frame;
}

static constexpr FrequencyFilter LOWPASS = {LowpassTransfer, 2, 0};
static constexpr FrequencyFilter HIGHPASS = {HighpassTransfer, 2, 0};
static constexpr FrequencyFilter EMPHASIS = {EnhanceTransfer, 2, 0};
static constexpr FrequencyFilter LOGARITHMIC = {HomomorphicTransfer, 4, 1};

// ---- exports ------------------------------------------------------------------------------------

HGLOBAL VEXAFILTER_API FreqDIBLowpass(HGLOBAL hDib, int nCutoff, int nFilterType,
                                      int nTransformKind, int bShowDialog)
{
    static constexpr FilterFrame FRAME = PassFrame(1, &LOWPASS);
    return RunFilter(&FRAME, hDib, {nCutoff, nFilterType, nTransformKind}, (UINT)bShowDialog, NULL);
}

HGLOBAL VEXAFILTER_API FreqDIBHighpass(HGLOBAL hDib, int nCutoff, int nFilterType,
                                       int nTransformKind, int bShowDialog)
{
    static constexpr FilterFrame FRAME = PassFrame(0, &HIGHPASS);
    return RunFilter(&FRAME, hDib, {nCutoff, nFilterType, nTransformKind}, (UINT)bShowDialog, NULL);
}

HGLOBAL VEXAFILTER_API FreqDIBEnhance(HGLOBAL hDib, int nCutoff, float gain, int nTransformKind,
                                      int bShowDialog)
{
    static constexpr FilterFrame FRAME = EnhanceFrame(&EMPHASIS);
    return RunFilter(&FRAME, hDib, {nCutoff, (int)BitsOfFloat(gain), nTransformKind},
                     (UINT)bShowDialog, NULL);
}

HGLOBAL VEXAFILTER_API FreqDIBHomomorphic(HGLOBAL hDib, int nCutoff, int nBandWidth,
                                          float gammaHigh, float gammaLow, int nTransformKind,
                                          int bShowDialog)
{
    static constexpr FilterFrame FRAME = FrequencyFrame("FFTHOMOMORPHICUI", 5, &LOGARITHMIC);
    return RunFilter(&FRAME, hDib,
                     {nCutoff, nBandWidth, (int)BitsOfFloat(gammaHigh), (int)BitsOfFloat(gammaLow),
                      nTransformKind},
                     (UINT)bShowDialog, NULL);
}
