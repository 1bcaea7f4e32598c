// Runs a tonal filter: a pixel depends on its own level alone, so the whole filter is a table of
// 256 levels, or three of them, one per channel.
#ifndef TONAL_TONE_H
#define TONAL_TONE_H

#include "frame/dib.h"

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
    void (*FillTable)(const ToneChannel *pChannel, const void *pParameters, BYTE *table);
};

// Every level stays what it is.
void FillIdentity(BYTE *table);

// An 8-bit image with a full colour table, by its gray levels; one that is not gray is expanded and
// filtered in colour. Null without memory or once the user has cancelled.
HGLOBAL ToneGray(const ToneRule *pRule, const void *pParameters, HGLOBAL hDib, int width,
                 int height, int bProgress);

// A 24-bit image.
HGLOBAL ToneColor(const ToneRule *pRule, const void *pParameters, HGLOBAL hDib, int width,
                  int height, int bProgress);

#endif
