// What the tests of the filters with windows share: calls as records, and the questions that every
// such filter is asked.
#ifndef TESTS_WINDOW_CALLS_H
#define TESTS_WINDOW_CALLS_H

#include "host.h"

// A call of one of a family's filters. p: its numbers in the order of the export. The mask's
// weights row by row, none for no mask, and the position over the pixel.
struct WindowCall {
    int filter;
    int p[3];
    std::vector<BYTE> weights;
    int rows, columns, row, column;
};

WindowCall Call(int filter, int first, int second = 0, int third = 0);
WindowCall Masked(int filter, int rows, int columns, int row, int column,
                  const std::vector<BYTE> &weights);

// Below the limit; the last one is the greatest.
std::vector<BYTE> RandomWeights(size_t count, unsigned seed, unsigned limit);

typedef HGLOBAL(VEXAFILTER_API *MaskExport)(HGLOBAL, const FilterMask *, UINT, HWND);
HGLOBAL CallWithMask(MaskExport Export, const WindowCall &call, HGLOBAL hDib, UINT mode);

struct WindowFamily {
    HGLOBAL (*Make)(const WindowCall &call, HGLOBAL hDib, UINT mode);
    Expected (*Expect)(const WindowCall &call, const Bytes &dib);
};

// As Check, and says which call it was.
std::string CheckCall(const WindowFamily &family, const WindowCall &call, const Bytes &dib,
                      UINT mode, const Expected &want);

// The answer is that of the plain definition.
std::string CheckAnswer(const WindowFamily &family, const WindowCall &call, const Bytes &dib,
                        UINT mode = 0);

struct Literal {
    const char *pName;
    WindowCall call;
    int width, height;
    std::vector<int> source, want;
};
void CompareLiteral(const WindowFamily &family, const Literal &literal);

// Every call takes its turn on every kind of picture over the sizes.
void CompareSome(const WindowFamily &family, const std::vector<WindowCall> &calls, int width,
                 int height, unsigned nSeed, size_t nTurns);

// A dialog library whose dialogs accept what they are handed.
extern const DialogScript GO_ON;

void RefuseBeforeAnyDialog(const WindowFamily &family, const std::vector<WindowCall> &calls);
void RefuseOtherDepths(const WindowFamily &family, const std::vector<WindowCall> &calls);
void RefuseBadMasks(MaskExport Export);
void CountSteps(const WindowFamily &family, const std::vector<WindowCall> &calls);

// pEntry is handed the default mask, whether or not it is in use: OnDefault looks at it and makes
// that of edited, Spoil one that is refused.
void EditDefaultMask(const WindowFamily &family, const char *pEntry, const WindowCall &edited,
                     void (*OnDefault)(void), void (*Spoil)(void));

#endif
