// The records of the effects' exports.
#ifndef EFFECTS_EFFECT_FRAME_H
#define EFFECTS_EFFECT_FRAME_H

#include "frame/call.h"

// The number that tells the parameter dialog of several effects which one asks.
enum EffectNumber {
    NUMBER_MOSAIC,
    NUMBER_NOISE,
    NUMBER_AVERAGE,
    NUMBER_IMPRESSIONIST,
    NUMBER_MULTIPLY,
    NUMBER_PUZZLE
};

// 8 and 24 bits. Accepts is asked before the dialog alone; nDialogNumber -1: none.
static constexpr FilterFrame EffectFrame(const char *pEntry, int nParameters, int nDialogPointers,
                                         int nDialogNumber, ArgumentTest Accepts, Worker Work,
                                         StepFormula StepTotal)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pEntry;
    frame.nParameters = nParameters;
    frame.nDialogPointers = nDialogPointers;
    frame.nDialogNumber = nDialogNumber;
    frame.AcceptsCall = Accepts;
    frame.nAccepted = ACCEPT_8_24;
    frame.Work = Work;
    frame.StepTotal = StepTotal;
    return frame;
}

#endif
