// See display.h.
//
// A sample is a truncated level, so a fast logarithm or exponential with an error far below a level
// decides nearly all of them; where the level lies so close to a whole number that it might not,
// the function is computed as it should be. Functions are rounded from long doubles: then they are
// the same in both builds, whatever the system's own are.

#include "display.h"

#include "frame/intops.h"

#include <math.h>

// ---- LogMagnitude, NormalizeSpectrum ------------------------------------------------------------

static double ValueOf(DisplayFunction function, double number)
{
    return function == DISPLAY_LOGARITHM ? (double)log10l((long double)number)
                                         : (double)expl((long double)LimitExponent(number));
}

static double LevelOf(const Display *p, double number)
{
    const double level = (ValueOf(p->function, number) - p->least) * p->scale;
    return level > p->top ? p->top : level < 0.0 ? 0.0 : level;
}

Display SpreadOver(DisplayFunction function, const Planes *planes, size_t side, int nTop)
{
    // Kept: values above 1e10 do not raise the least one.
    static const double LIMIT = 1e10;
    static const double LEAST_RANGE = 1e-10;
    static const double NEAR_ERROR = 1e-10;
    Display display;
    double leastNumber = HUGE_VAL;
    double greatestNumber = -HUGE_VAL;
    for (size_t r = 0; r < side; r++) {
        g_pSpectrumKernels->Range(planes->re + r * planes->stride, side, &leastNumber,
                                  &greatestNumber);
    }
    double least = LIMIT;
    double greatest = -LIMIT;
    if (leastNumber <= greatestNumber) {  // there is a number
        const double low = ValueOf(function, leastNumber);
        const double high = ValueOf(function, greatestNumber);
        least = low < LIMIT ? low : LIMIT;
        greatest = high > -LIMIT ? high : -LIMIT;
    }
    const double range = greatest - least;
    display.function = function;
    display.least = least;
    display.top = (double)nTop;
    display.scale = display.top / (range < LEAST_RANGE ? LEAST_RANGE : range);
    display.doubt = NEAR_ERROR * (1.0 + fabs(greatest) * display.scale);
    return display;
}

void ShowNumbers(const Display *p, const double *numbers, size_t count, BYTE *samples)
{
    enum { RUN = 256 };
    BYTE sure[RUN];
    for (size_t k = 0; k < count; k += RUN) {
        const size_t nRun = Least(RUN, count - k);
        if (g_pSpectrumKernels->Show(p, numbers + k, nRun, samples + k, sure) == 0) {
            continue;
        }
        // What is in doubt is often the same number many times over: nothing at all.
        double known = NAN;
        BYTE knownSample = 0;
        for (size_t i = 0; i < nRun; i++) {
            if (!sure[i] && numbers[k + i] != known) {
                known = numbers[k + i];
                knownSample = (BYTE)TruncateToInt(LevelOf(p, known));
            }
            samples[k + i] = sure[i] ? samples[k + i] : knownSample;
        }
    }
}
