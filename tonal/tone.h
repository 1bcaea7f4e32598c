// Runs a tonal filter: a pixel depends on its own level alone, so the whole filter is a table of
// 256 levels, or three of them, one per channel.
#ifndef TONAL_TONE_H
#define TONAL_TONE_H

#include "frame/call.h"

// What a table may depend on besides the parameters, gathered from the source before any pixel is
// mapped.
enum ToneFacts { FACTS_NONE, FACTS_EXTREMES, FACTS_COUNTS };

enum { CHANNEL_GRAY = -1, CHANNEL_BLUE = 0, CHANNEL_GREEN = 1, CHANNEL_RED = 2 };

// One channel of the source.
struct ToneChannel {
    int nChannel;  // CHANNEL_
    BYTE lowest;   // with FACTS_EXTREMES
    BYTE highest;
    DWORD counts[GRAY_LEVELS];  // with FACTS_COUNTS: pixels of each level
};

struct ToneRule {
    ToneFacts facts;
    int nEarlierPasses;  // that gather the facts in steps of the bar
    // table[level]: what the level becomes. All entries must be set: where a palette lacks levels,
    // a pixel may come to show a level that the source did not have.
    void (*FillTable)(const ToneChannel *pChannel, const void *pArguments, BYTE *table);
    // Of the record; null: what is usual.
    ArgumentTest AcceptsCall;
    ArgumentTest AcceptsEdited;
    StepFormula StepTotal;
};

// Every level stays what it is.
void FillIdentity(BYTE *table);

// The description of every such filter; the rule is its record's pRule.
int DescribeTone(const Picture *pPicture, const FilterCall *pCall, NeighbourhoodFilter *pFilter);

struct TonePlan {
    BYTE tables[3][GRAY_LEVELS];  // by channel; the first for gray
};

// A record with one pointer for the dialog per parameter. Pictures of 8 and 24 bits.
constexpr FilterFrame ToneFrame(const char *pDialogEntry, int nParameters, const ToneRule *pRule)
{
    FilterFrame frame = {};
    frame.pDialogEntry = pDialogEntry;
    frame.nParameters = frame.nDialogPointers = nParameters;
    frame.Describe = DescribeTone;
    frame.nPlanBytes = sizeof(TonePlan);
    frame.AcceptsCall = pRule->AcceptsCall;
    frame.AcceptsEdited = pRule->AcceptsEdited;
    frame.nAccepted = ACCEPT_8_24;
    if (pRule->StepTotal != NULL) {
        frame.StepTotal = pRule->StepTotal;
    }
    frame.pRule = pRule;
    return frame;
}

#endif
