// Effects that make one row of the result after the other, each from any rows of the source. They
// see samples: the stored bytes of colour, the levels of gray.
#ifndef EFFECTS_SAMPLE_ROWS_H
#define EFFECTS_SAMPLE_ROWS_H

#include "frame/call.h"

// Where samples come from. Gray whose palette lacks levels is made from the top row down, and then
// the levels of its indices change on the way.
struct SampleRows {
    const DibView *pView;
    LevelMaps maps;
    int bStored;  // the samples are the stored bytes: colour, a gray ramp, or indices as they are
    int width, height;
    size_t channels;
    size_t nSamples;  // of a row: width * channels
};

enum SampleKind { SAMPLE_LEVELS, SAMPLE_INDICES };
void OpenSamples(const Picture *pPicture, SampleKind kind, SampleRows *pRows);

// The samples of row y, counted from the top: where they are stored, or looked up into scratch.
const BYTE *RowSamples(const SampleRows *pRows, int y, BYTE *scratch);

struct RowEffect {
    // The samples of the result's row y. Rows come in any order, and a row may come again.
    void (*MakeRow)(void *pContext, int y, BYTE *out);
    // The source's samples have changed; null if none are kept from row to row.
    void (*Forget)(void *pContext);
    void *pContext;
    int64_t nSteps;  // of the bar
};

// The steps of a bar that counts the rows, and nothing else.
int64_t RowSteps(const SampleRows *pRows);

// The step total of most effects. Kept: rounded down.
int StepsOverHeight(int width, int height, int bGray, const void *pArguments);

// The result with the source's size, depth and, but for a palette that lacks levels, colour table.
// Null without memory or once the user has cancelled.
HGLOBAL MakeRows(SampleRows *pRows, const RowEffect *pEffect, int bProgress);

#endif
