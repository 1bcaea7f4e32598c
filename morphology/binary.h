// What the exports on 1-bit images share: black and white, and their record.
#ifndef MORPHOLOGY_BINARY_H
#define MORPHOLOGY_BINARY_H

#include "calls.h"

// Inverting masks for stored bits, 0 or 0xff: what makes set bits of the object, or of the
// background. Black is the colour of clear bits if colour-table entry 0 is pure black, else that of
// set bits.
struct Polarity {
    BYTE object, background;
};

Polarity ReadPolarity(const DibView *pSource, int bWhiteObject);

// Prepare and AcceptsEdited are left to the export.
constexpr FilterFrame BinaryFrame(const char *pDialogEntry, Worker Work, StepFormula StepTotal)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.nPlanBytes = sizeof(WorkingCopy);
    frame.nAccepted = ACCEPT_1;
    frame.StepTotal = StepTotal;
    frame.Work = Work;
    frame.nQuirks = AS_STORED | WORKS_ON_COPY;
    return frame;
}

#endif
