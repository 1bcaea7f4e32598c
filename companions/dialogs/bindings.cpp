// See bindings.h.
#include "bindings.h"

#include <iterator>
#include <string.h>

// The parameter, or the first of several one behind the other, behind the image.
#define ONE                                                                                        \
    {                                                                                              \
        {                                                                                          \
            1, 0                                                                                   \
        }                                                                                          \
    }
#define ROW                                                                                        \
    {                                                                                              \
        {1, 0},                                                                                    \
        {                                                                                          \
            1, 1                                                                                   \
        }                                                                                          \
    }
#define TWO                                                                                        \
    {                                                                                              \
        {1, 0},                                                                                    \
        {                                                                                          \
            2, 0                                                                                   \
        }                                                                                          \
    }
#define THREE                                                                                      \
    {                                                                                              \
        {1, 0}, {2, 0},                                                                            \
        {                                                                                          \
            3, 0                                                                                   \
        }                                                                                          \
    }

const DialogBinding BINDINGS[] = {
    {"LaplaceUI", 2, -1, "FilterLaplace", 1, ONE},
    {"GradientUI", 2, -1, "FilterGradient", 1, ONE},
    {"EnhanceUI", 1, -1, "FilterEnhance", 0, {}},
    {"UniformUI", 1, -1, "FilterUniform", 0, {}},
    {"GaussUI", 1, -1, "FilterGauss", 0, {}},
    {"ARITHUI", 3, -1, "ArithmeticDIB", 1, {{0, 0}}, 1, 2},
    {"ARITHCONSTUI", 3, -1, "ArithmeticDIBConst", 2, {{0, 0}, {2, 0}}, 1},
    {"MinimumFilterUI", 2, -1, "FilterMinimum", 1, ONE},
    {"MaximumFilterUI", 2, -1, "FilterMaximum", 1, ONE},
    {"MedianFilterUI", 2, -1, "FilterMedian", 1, ONE},
    {"MidpointFilterUI", 2, -1, "FilterMidpoint", 1, ONE},
    {"RangeFilterUI", 2, -1, "FilterRange", 1, ONE},
    {"AlphaFilterUI", 2, -1, "FilterAlphaTrimmedMean", 2, ROW},
    {"WMedianFilterUI", 2, -1, "FilterWeightedMedian", 1, ONE, 0, -1, true},
    {"GeometricFilterUI", 2, -1, "FilterGeometricMean", 1, ONE},
    {"HarmonicFilterUI", 2, -1, "FilterHarmonicMean", 1, ONE},
    {"ContraFilterUI", 3, -1, "FilterContraHarmonicMean", 2, TWO},
    {"YpFilterUI", 3, -1, "FilterYpMean", 2, TWO},
    {"WMeanFilterUI", 2, -1, "FilterWeightedMean", 1, ONE, 0, -1, true},
    {"ADWMTMUI", 4, -1, "FilterAdaptiveDWMTM", 3, THREE},
    {"AMMSEUI", 3, -1, "FilterAdaptiveMMSE", 2, TWO},
    {"BDilationUI", 3, -1, "BinaryDilation", 2, TWO},
    {"BErosionUI", 3, -1, "BinaryErosion", 2, TWO},
    {"BOpeningUI", 3, -1, "BinaryOpening", 2, TWO},
    {"BClosingUI", 3, -1, "BinaryClosing", 2, TWO},
    {"BHitmissUI", 4, -1, "BinaryHitMiss", 3, THREE},
    {"OutliningUI", 4, -1, "BinaryOutlining", 3, THREE},
    {"ThinningUI", 2, -1, "BinaryThinning", 1, ONE},
    {"ThickeningUI", 2, -1, "BinaryThickening", 1, ONE},
    {"SkeletonUI", 3, -1, "BinarySkeleton", 2, TWO},
    {"GDilationUI", 2, -1, "GrayScaleDilation", 1, ONE},
    {"GErosionUI", 2, -1, "GrayScaleErosion", 1, ONE},
    {"GOpeningUI", 2, -1, "GrayScaleOpening", 1, ONE},
    {"GClosingUI", 2, -1, "GrayScaleClosing", 1, ONE},
    {"GTophatUI", 2, -1, "GrayScaleTopHat", 1, ONE},
    {"AUTOCONTRASTUI", 1, -1, "FilterAutoContrast", 0, {}},
    {"PARABOLAUI", 2, -1, "FilterParabolaTransformation", 1, ONE},
    {"SOLARIZINGUI", 2, -1, "FilterSolarizing", 1, ONE},
    {"POSTERIZINGUI", 2, -1, "FilterPosterizing", 1, ONE},
    {"LEVELSUI", 7, -1, "FilterLevels", 6, {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}, {6, 0}}},
    {"AUTOLEVELSUI", 2, -1, "FilterAutoLevels", 1, ONE},
    {"DIFFERENCEUI", 2, -1, "FilterDifference", 1, ONE},
    {"MOTIONBLURUI", 4, 1, "FilterMotionBlur", 2, TWO},
    {"MOTIONBLURUI", 4, 0, "FilterCenterMotionBlur", 2, TWO},
    {"FILTERGROUPUI", 3, 0, "FilterMozaic", 1, ONE},
    {"FILTERGROUPUI", 3, 1, "FilterAddNoise", 1, ONE},
    {"FILTERGROUPUI", 3, 2, "FilterAverage", 1, ONE},
    {"FILTERGROUPUI", 3, 3, "FilterImpressionist", 2, ROW},
    {"FILTERGROUPUI", 3, 4, "FilterMultiply", 1, ONE},
    {"FILTERGROUPUI", 3, 5, "FilterPuzzle", 2, ROW},
    {"POLARUI", 1, -1, "FilterPolar", 0, {}},
    {"CYLINDERUI", 3, -1, "FilterCylinder", 2, TWO},
    {"RedEyeUI", 4, -1, "RedEyeRemover", 3, THREE},
    {"FFTPASSUI", 5, 1, "FreqDIBLowpass", 3, THREE},
    {"FFTPASSUI", 5, 0, "FreqDIBHighpass", 3, THREE},
    {"FFTENHANCEUI", 4, -1, "FreqDIBEnhance", 3, THREE},
    {"FFTHOMOMORPHICUI", 6, -1, "FreqDIBHomomorphic", 5, {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}}},
    {"HistSlideUI", 4, -1, "HistDIBSlide", 3, THREE},
    {"HistStretchUI", 4, -1, "HistDIBStretch", 3, THREE},
    {"ThresholdUI", 2, -1, "HistDIBThreshold", 1, ONE},
    {"HistTransformUI", 2, 0, "HistDIBComplement", 0, {}},
    {"HistTransformUI", 2, 1, "HistDIBModify", 0, {}},
    {"HistTransformUI", 2, 2, "HistDIBEqualization", 0, {}},
};
const size_t BINDING_COUNT = std::size(BINDINGS);

const DialogBinding *FindBinding(const char *entry, const UINT_PTR *arguments, int count)
{
    for (const DialogBinding &binding : BINDINGS) {
        const bool bNumber =
            binding.nNumber < 0 || arguments[count - 1] == UINT_PTR(binding.nNumber);
        if (strcmp(binding.pEntry, entry) == 0 && binding.nArguments == count && bNumber) {
            return &binding;
        }
    }
    return nullptr;
}

// ---- masks -------------------------------------------------------------------------------------

// The sides of the masks that the grid shows.
static const int MASK_SIDE_MOST = 15;

// What an edited mask points at must outlive the dialog: the export reads it while it works. As
// many calls as there are blocks may work at a time.
static const int MASK_BLOCKS = 64;
static struct {
    BYTE elements[MASK_SIDE_MOST * MASK_SIDE_MOST];
    BYTE *columns[MASK_SIDE_MOST];
} g_maskBlocks[MASK_BLOCKS];
static volatile LONG g_nMaskBlock;

static void ReadMask(const FilterMask *mask, bool bCrossed, MaskValue *value)
{
    if (!mask->elements || mask->rows < 1 || mask->columns < 1 || mask->rows > MASK_SIDE_MOST ||
        mask->columns > MASK_SIDE_MOST) {
        return;  // the default stays
    }
    value->rows = mask->rows;
    value->columns = mask->columns;
    value->originRow = bCrossed ? mask->originColumn : mask->originRow;
    value->originColumn = bCrossed ? mask->originRow : mask->originColumn;
    value->elements.clear();
    for (int x = 0; x < mask->columns; x++) {
        value->elements.insert(value->elements.end(), mask->elements[x],
                               mask->elements[x] + mask->rows);
    }
}

// The caller's own elements are not touched.
static void WriteMask(const MaskValue *value, bool bCrossed, FilterMask *mask)
{
    auto &block = g_maskBlocks[unsigned(InterlockedIncrement(&g_nMaskBlock)) % MASK_BLOCKS];
    memcpy(block.elements, value->elements.data(), value->elements.size());
    for (int x = 0; x < value->columns; x++) {
        block.columns[x] = block.elements + x * value->rows;
    }
    mask->elements = block.columns;
    mask->rows = value->rows;
    mask->columns = value->columns;
    mask->originColumn = bCrossed ? value->originRow : value->originColumn;
    mask->originRow = bCrossed ? value->originColumn : value->originRow;
}

// ---- arguments ---------------------------------------------------------------------------------

static void *SlotAddress(const DialogBinding *binding, int slot, const UINT_PTR *arguments)
{
    const ParameterSlot &place = binding->slots[slot];
    const UINT_PTR pointer = arguments[place.nArgument];
    return pointer ? reinterpret_cast<int *>(pointer) + place.nWord : nullptr;
}

void ReadArguments(const DialogBinding *binding, const UINT_PTR *arguments, ParameterValue *values)
{
    const CatalogueFilter *filter = FindCatalogueFilter(binding->pExport);
    for (size_t i = 0; i < filter->nParameters; i++) {
        const FilterParameter *parameter = &filter->pParameters[i];
        DefaultParameterValue(parameter, &values[i]);
        if (int(i) >= binding->nSlots) {
            if (strcmp(parameter->pName, "as-stored") == 0) {
                values[i].nValue = 1;
            }
            continue;
        }
        const void *address = SlotAddress(binding, int(i), arguments);
        if (!address) {
            continue;
        }
        float real;
        switch (parameter->nType) {
        case PARAMETER_REAL:
            memcpy(&real, address, sizeof real);
            values[i].dValue = double(real);
            break;
        case PARAMETER_MASK:
            ReadMask(static_cast<const FilterMask *>(address), binding->bCrossed, &values[i].mask);
            break;
        case PARAMETER_RECT:
            values[i].rect = *static_cast<const RECT *>(address);
            break;
        case PARAMETER_INTEGER:
        case PARAMETER_FLAG:
        case PARAMETER_CHOICE:
            values[i].nValue = *static_cast<const int *>(address);
            break;
        }
    }
}

void WriteArguments(const DialogBinding *binding, const UINT_PTR *arguments,
                    const ParameterValue *values)
{
    const CatalogueFilter *filter = FindCatalogueFilter(binding->pExport);
    for (int i = 0; i < binding->nSlots; i++) {
        void *address = SlotAddress(binding, i, arguments);
        if (!address) {
            continue;
        }
        const float real = float(values[i].dValue);
        switch (filter->pParameters[i].nType) {
        case PARAMETER_REAL:
            memcpy(address, &real, sizeof real);
            break;
        case PARAMETER_MASK:
            WriteMask(&values[i].mask, binding->bCrossed, static_cast<FilterMask *>(address));
            break;
        case PARAMETER_RECT:
            *static_cast<RECT *>(address) = values[i].rect;
            break;
        case PARAMETER_INTEGER:
        case PARAMETER_FLAG:
        case PARAMETER_CHOICE:
            *static_cast<int *>(address) = values[i].nValue;
            break;
        }
    }
}
