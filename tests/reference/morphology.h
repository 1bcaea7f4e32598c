// The morphological operators over grids of bytes, element by element.
#ifndef TESTS_REFERENCE_MORPHOLOGY_H
#define TESTS_REFERENCE_MORPHOLOGY_H

#include "reference.h"

enum Morphology {
    B_DILATION,
    B_EROSION,
    B_OPENING,
    B_CLOSING,
    B_HIT_MISS,
    B_OUTLINING,
    B_THINNING,
    B_THICKENING,
    B_SKELETON,
    G_DILATION,
    G_EROSION,
    G_OPENING,
    G_CLOSING,
    G_TOP_HAT,
    MORPHOLOGIES
};

// A structuring element: bytes column by column. Without columns: null is passed.
struct Element {
    int rows, columns, originColumn, originRow;
    std::vector<BYTE> bytes;
};

struct MorphologyCall {
    Morphology operation;
    Element element, miss;
    int nOutline, nMaxSweeps, bWhiteObject;
};

// The whole call on a DIB that is in order.
Expected ExpectMorphology(const MorphologyCall &call, const std::vector<BYTE> &dib);

#endif
