// Histogram transforms, and the chart.
#include "catalogue.h"
#include "chart.h"

#include <iterator>

static const char LOW_MEANING[] = "The lowest value that changes.";
static const char HIGH_MEANING[] = "The highest value that changes; 128 to 255 never do.";

static const FilterParameter SLIDE_PARAMETERS[] = {
    {"low", PARAMETER_INTEGER, 0, 255, 0, LOW_MEANING, nullptr, 0},
    {"high", PARAMETER_INTEGER, 0, 255, 255, HIGH_MEANING, nullptr, 0},
    {"shift", PARAMETER_INTEGER, -255, 255, 20, "What is added. Below 0 and above 255 is white.",
     nullptr, 0},
};

static const FilterParameter STRETCH_PARAMETERS[] = {
    {"low", PARAMETER_INTEGER, 0, 255, 0, LOW_MEANING, nullptr, 0},
    {"high", PARAMETER_INTEGER, 0, 255, 255, HIGH_MEANING, nullptr, 0},
    {"factor", PARAMETER_REAL, 0, 255, 1.5, "What the values are multiplied by.", nullptr, 0},
};

static const FilterParameter THRESHOLD_PARAMETERS[] = {
    {"threshold", PARAMETER_INTEGER, 0, 256, 128, "The lowest value that becomes white.", nullptr,
     0},
};

static const NamedValue CHANNELS[] = {
    {"all", 0, 1, "the sum of the three"},
    {"blue", 1, 1, "blue alone"},
    {"green", 2, 1, "green alone"},
    {"red", 3, 1, "red alone"},
};

static const FilterParameter CHART_PARAMETERS[] = {
    {"channel", PARAMETER_CHOICE, 0, 3, 0, "What is drawn of a colour picture.", CHANNELS,
     std::size(CHANNELS)},
    {"width", PARAMETER_INTEGER, 276, 20000, 532,
     "Of the chart; below 532 a level is a pixel wide.", nullptr, 0},
    {"height", PARAMETER_INTEGER, 41, 20000, 300, "Of the chart.", nullptr, 0},
};

static HGLOBAL CallChart(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    HistogramRecord record;
    return CountPicture(call->pImages[0], &record)
               ? DrawChart(&record, p[1].nValue, p[2].nValue, p[0].nValue)
               : nullptr;
}

static HGLOBAL CallSlide(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    return HistDIBSlide(call->pImages[0], UINT(p[0].nValue), UINT(p[1].nValue), p[2].nValue,
                        call->mode, call->hParent);
}

static HGLOBAL CallStretch(const CatalogueCall *call)
{
    const ParameterValue *p = call->pValues;
    return HistDIBStretch(call->pImages[0], UINT(p[0].nValue), UINT(p[1].nValue),
                          float(p[2].dValue), call->mode, call->hParent);
}

static HGLOBAL CallThreshold(const CatalogueCall *call)
{
    return HistDIBThreshold(call->pImages[0], UINT(call->pValues[0].nValue), call->mode,
                            call->hParent);
}

static HGLOBAL CallComplement(const CatalogueCall *call)
{
    return HistDIBComplement(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallModify(const CatalogueCall *call)
{
    return HistDIBModify(call->pImages[0], call->mode, call->hParent);
}

static HGLOBAL CallEqualization(const CatalogueCall *call)
{
    return HistDIBEqualization(call->pImages[0], call->mode, call->hParent);
}

static const unsigned DEPTHS = DEPTH_4 | DEPTH_8 | DEPTH_24;
static const char PLAIN_ARGUMENTS[] = "HGLOBAL hDib, UINT mode, HWND hParent";
static const char VALUES[] = "A picture with a colour table becomes gray or 24 bits before; with "
                             "--stored-values the numbers "
                             "of its colours are changed.";

static const CatalogueFilter FILTERS[] = {
    {"slide", "HistDIBSlide",
     "HGLOBAL hDib, UINT low, UINT high, int shift, UINT mode, HWND hParent", "HistSlideUI",
     "adds to the darker values", VALUES, 1, DEPTHS, SLIDE_PARAMETERS, std::size(SLIDE_PARAMETERS),
     CallSlide, nullptr, SIXTEEN_BIT_LIMITS, true},
    {"stretch", "HistDIBStretch",
     "HGLOBAL hDib, UINT low, UINT high, float factor, UINT mode, HWND hParent", "HistStretchUI",
     "multiplies the darker values", VALUES, 1, DEPTHS, STRETCH_PARAMETERS,
     std::size(STRETCH_PARAMETERS), CallStretch, nullptr, SIXTEEN_BIT_LIMITS, true},
    {"threshold", "HistDIBThreshold", "HGLOBAL hDib, UINT threshold, UINT mode, HWND hParent",
     "ThresholdUI", "makes everything black or white", VALUES, 1, DEPTHS, THRESHOLD_PARAMETERS,
     std::size(THRESHOLD_PARAMETERS), CallThreshold, nullptr, SIXTEEN_BIT_LIMITS, true, "binarize"},
    {"complement", "HistDIBComplement", PLAIN_ARGUMENTS, "HistTransformUI", "makes a negative",
     VALUES, 1, DEPTH_1 | DEPTHS, nullptr, 0, CallComplement, nullptr, SIXTEEN_BIT_LIMITS, true,
     "invert negative"},
    {"modify", "HistDIBModify", PLAIN_ARGUMENTS, "HistTransformUI",
     "spreads the values by how often they occur, the dark ones most", VALUES, 1, DEPTHS, nullptr,
     0, CallModify, nullptr, SIXTEEN_BIT_LIMITS, true},
    {"equalize", "HistDIBEqualization", PLAIN_ARGUMENTS, "HistTransformUI",
     "spreads the values by how often they occur, evenly", VALUES, 1, DEPTHS, nullptr, 0,
     CallEqualization, nullptr, SIXTEEN_BIT_LIMITS, true, "histeq"},
    {"histogram",
     "HistDispToDC",
     "HDC hdc, const HistogramRecord *pRecord, const RECT *pRect, int channel",
     nullptr,
     "draws how often each level occurs",
     "The chart takes the picture's place. 'vexafilter counts IN' prints the numbers.",
     1,
     DEPTH_1 | DEPTHS,
     CHART_PARAMETERS,
     std::size(CHART_PARAMETERS),
     CallChart,
     nullptr,
     {},
     true,
     "chart",
     true},
};

const CatalogueFamily HISTOGRAM_FAMILY = {"histogram", "Histograms", FILTERS, std::size(FILTERS)};
