// See window_calls.h.

#include "window_calls.h"

#include <gtest/gtest.h>

#include <limits.h>

const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};

WindowCall Call(int filter, int first, int second, int third)
{
    return {filter, {first, second, third}, {}, 0, 0, 0, 0};
}

WindowCall Masked(int filter, int rows, int columns, int row, int column,
                  const std::vector<BYTE> &weights)
{
    return {filter, {0, 0, 0}, weights, rows, columns, row, column};
}

std::vector<BYTE> RandomWeights(size_t count, unsigned seed, unsigned limit)
{
    std::vector<BYTE> weights(count);
    for (BYTE &weight : weights) {
        seed = seed * 1664525 + 1013904223;
        weight = (BYTE)((seed >> 16) % limit);
    }
    weights[count - 1] = (BYTE)(limit - 1);
    return weights;
}

HGLOBAL CallWithMask(MaskExport Export, const WindowCall &call, HGLOBAL hDib, UINT mode)
{
    std::vector<Bytes> runs((size_t)call.columns, Bytes((size_t)call.rows));
    std::vector<BYTE *> elements;
    if (call.weights.empty()) {
        return Export(hDib, NULL, mode, NULL);
    }
    for (size_t i = 0; i < call.weights.size(); i++) {
        runs[i % runs.size()][i / runs.size()] = call.weights[i];
    }
    for (Bytes &run : runs) {
        elements.push_back(run.data());
    }
    // The origin fields are crossed.
    const FilterMask mask = {elements.data(), call.rows, call.columns, call.row, call.column};
    return Export(hDib, &mask, mode, NULL);
}

// ---- answers ------------------------------------------------------------------------------------

std::string CheckCall(const WindowFamily &family, const WindowCall &call, const Bytes &dib,
                      UINT mode, const Expected &want)
{
    const std::string fault =
        CheckCall([&](HGLOBAL hDib) { return family.Make(call, hDib, mode); }, dib, NULL, want);
    return fault.empty()
               ? ""
               : "filter " + std::to_string(call.filter) + ", first " + std::to_string(call.p[0]) +
                     ", second " + std::to_string(call.p[1]) + ", third " +
                     std::to_string(call.p[2]) + ", mask " + std::to_string(call.rows) + " x " +
                     std::to_string(call.columns) + ", " + fault;
}

std::string CheckAnswer(const WindowFamily &family, const WindowCall &call, const Bytes &dib,
                        UINT mode)
{
    return CheckCall(family, call, dib, mode, family.Expect(call, dib));
}

void CompareLiteral(const WindowFamily &family, const Literal &t)
{
    for (int bits : {8, 24}) {
        const Expected want = ExpectBlock(MakeLevels(t.width, t.height, bits, t.want));
        const Bytes source = MakeLevels(t.width, t.height, bits, t.source);
        EXPECT_EQ("", CheckCall(family, t.call, source, 0, want)) << t.pName << ", " << bits;
    }
}

void CompareSome(const WindowFamily &family, const std::vector<WindowCall> &calls, int width,
                 int height, unsigned nSeed, size_t nTurns)
{
    for (const TestPicture &picture : EveryKind(width, height, nSeed)) {
        const Bytes dib = MakeDib(picture);
        for (size_t i = picture.nSeed % nTurns; i < calls.size(); i += nTurns) {
            EXPECT_EQ("", CheckAnswer(family, calls[i], dib)) << Describe(picture);
        }
    }
}

// ---- what is refused ----------------------------------------------------------------------------

void RefuseBeforeAnyDialog(const WindowFamily &family, const std::vector<WindowCall> &calls)
{
    const int nShown = DialogsOpened();
    SetDialogs(GO_ON);
    for (const TestPicture &picture : EveryKind(5, 4, 9)) {
        for (const WindowCall &call : calls) {
            EXPECT_EQ("", CheckCall(family, call, MakeDib(picture), 3, ExpectNull()))
                << Describe(picture);
            EXPECT_EQ(1, GetLastFilterError());
        }
    }
    EXPECT_EQ(0, g_dialog.nCalls);
    EXPECT_EQ(nShown, DialogsOpened());
}

void RefuseOtherDepths(const WindowFamily &family, const std::vector<WindowCall> &calls)
{
    const Bytes dib = MakeDib({9, 9, 4, RAMP, 0, 1, 0});
    for (const WindowCall &call : calls) {
        EXPECT_EQ("", CheckCall(family, call, dib, 0, ExpectNull()));
        EXPECT_TRUE(family.Make(call, NULL, 0) == NULL);
    }
}

void RefuseBadMasks(MaskExport Export)
{
    BYTE ones[3] = {1, 1, 1}, zeros[3] = {0, 0, 0};
    BYTE *full[] = {ones, ones, zeros}, *torn[] = {ones, NULL, ones},
         *empty[] = {zeros, zeros, zeros};
    const struct {
        FilterMask mask;
        bool bAccepted;
    } rows[] = {{{full, 3, 3, 1, 1}, true},        {{full, 3, 1, 1, 0}, true},
                {{empty, 3, 3, 1, 1}, false},      {{torn, 3, 3, 1, 1}, false},
                {{NULL, 3, 3, 1, 1}, false},       {{full, 0, 3, 1, 1}, false},
                {{full, 3, 0, 1, 1}, false},       {{full, -3, 3, 1, 1}, false},
                {{full, 3, INT_MIN, 1, 1}, false}, {{full, INT_MAX, INT_MAX, 1, 1}, false},
                {{full, 1 << 24, 2, 1, 1}, false}};
    const HGLOBAL hDib = NewBlock(MakeDib({9, 9, 8, RAMP, 0, 1, 0}));
    const int nBlocks = LiveBlocks();
    for (const auto &row : rows) {
        const HGLOBAL hResult = Export(hDib, &row.mask, 0, NULL);
        EXPECT_EQ(row.bAccepted, hResult != NULL) << row.mask.rows << " x " << row.mask.columns;
        FreeBlock(hResult);
        EXPECT_EQ(nBlocks, LiveBlocks());
    }
    FreeBlock(hDib);
}

// ---- progress ------------------------------------------------------------------

// Both drivers, gray and colour, one bit.
static const TestPicture DRIVERS[] = {
    {19, 18, 8, RAMP, 0, 71, 0},      {19, 18, 8, SHUFFLED, 0, 72, 0}, {19, 18, 8, EVEN, 0, 73, 0},
    {19, 18, 8, COLOURED, 50, 74, 0}, {18, 19, 24, RAMP, 0, 75, 0},    {18, 19, 1, RAMP, 0, 76, 0}};

void CountSteps(const WindowFamily &family, const std::vector<WindowCall> &calls)
{
    for (const TestPicture &picture : DRIVERS) {
        const Bytes dib = MakeDib(picture);
        for (const WindowCall &call : calls) {
            const Expected want = family.Expect(call, dib);
            CancelAtStep(0);
            EXPECT_EQ("", CheckCall(family, call, dib, MODE_PROGRESS, want)) << Describe(picture);
            EXPECT_EQ(want.nSteps, StepsSeen()) << Describe(picture);
            EXPECT_EQ(want.nRange, LastRange()) << Describe(picture);
        }
    }
}

// ---- the default mask ---------------------------------------------------------------------------

void EditDefaultMask(const WindowFamily &family, const char *pEntry, const WindowCall &edited,
                     void (*OnDefault)(void), void (*Spoil)(void))
{
    const WindowCall mask = Masked(edited.filter, 1, 2, 0, 0, {3, 1});
    const WindowCall none = Call(edited.filter, 0);
    const Bytes dib = MakeDib({9, 8, 8, RAMP, 0, 8, 0});
    DialogScript script = GO_ON;
    script.OnCall = OnDefault;
    SetDialogs(script);
    EXPECT_EQ("", CheckAnswer(family, mask, dib, MODE_DIALOG));
    EXPECT_EQ("", CheckCall(family, none, dib, MODE_DIALOG, family.Expect(edited, dib)));
    EXPECT_EQ(2, g_dialog.nCalls);
    EXPECT_STREQ(pEntry, g_dialog.pEntry);
    script.OnCall = Spoil;
    SetDialogs(script);
    EXPECT_EQ("", CheckAnswer(family, mask, dib, MODE_DIALOG));
    EXPECT_EQ("", CheckCall(family, none, dib, MODE_DIALOG, ExpectNull()));
}
