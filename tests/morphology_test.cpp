// Binary and gray-scale morphology: small pictures by hand, every operator against the plain
// definition, and what a host can see of the frame: refusals, dialogs, steps.

#include "host.h"
#include "reference/morphology.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <random>

static const DialogScript GO_ON = {true, true, false, false, 0, NULL, 0, NULL, 0, 0};
static const DialogScript NO_LIBRARY = {false, false, false, false, 0, NULL, 0, NULL, 0, 0};

struct Morphologies : testing::Test {
    void SetUp() override
    {
        ResetHost();
    }
    void TearDown() override
    {
        ResetHost();
    }
};

// ---- calls --------------------------------------------------------------------------------------

struct Descriptor {
    Bytes bytes;
    std::vector<BYTE *> columns;
    FilterMask mask;
};

static const FilterMask *Describe(const Element &e, Descriptor *p)
{
    p->bytes = e.bytes;
    p->bytes.push_back(0);
    for (int i = 0; i < e.columns; i++) {
        p->columns.push_back(&p->bytes[(size_t)i * (size_t)e.rows]);
    }
    p->mask = {p->columns.data(), e.rows, e.columns, e.originColumn, e.originRow};
    return e.columns == 0 ? NULL : &p->mask;
}

static HGLOBAL Make(const MorphologyCall &call, HGLOBAL hDib, UINT mode, HWND hParent)
{
    typedef HGLOBAL(VEXAFILTER_API * Binary)(HGLOBAL, const FilterMask *, int, UINT, HWND);
    typedef HGLOBAL(VEXAFILTER_API * Gray)(HGLOBAL, const FilterMask *, UINT, HWND);
    static const Binary BINARY[] = {BinaryDilation, BinaryErosion, BinaryOpening, BinaryClosing};
    static const Gray GRAY[] = {GrayScaleDilation, GrayScaleErosion, GrayScaleOpening,
                                GrayScaleClosing, GrayScaleTopHat};
    Descriptor element, miss;
    const FilterMask *pElement = Describe(call.element, &element);
    const FilterMask *pMiss = Describe(call.miss, &miss);
    const int bWhite = call.bWhiteObject;
    switch (call.operation) {
    case B_HIT_MISS:
        return BinaryHitMiss(hDib, pElement, pMiss, bWhite, mode, hParent);
    case B_OUTLINING:
        return BinaryOutlining(hDib, pElement, call.nOutline, bWhite, mode, hParent);
    case B_THINNING:
        return BinaryThinning(hDib, bWhite, mode, hParent);
    case B_THICKENING:
        return BinaryThickening(hDib, bWhite, mode, hParent);
    case B_SKELETON:
        return BinarySkeleton(hDib, call.nMaxSweeps, bWhite, mode, hParent);
    default:
        return call.operation < G_DILATION
                   ? BINARY[call.operation](hDib, pElement, bWhite, mode, hParent)
                   : GRAY[call.operation - G_DILATION](hDib, pElement, mode, hParent);
    }
}

static std::string CheckMorphology(const MorphologyCall &call, const Bytes &dib, UINT mode,
                                   const Expected &want)
{
    const std::string fault =
        CheckCall([&](HGLOBAL hDib) { return Make(call, hDib, mode, NULL); }, dib, NULL, want);
    const Element &e = call.element;
    return fault.empty()
               ? ""
               : "operation " + std::to_string(call.operation) + ", element " +
                     std::to_string(e.columns) + " x " + std::to_string(e.rows) + ", origin " +
                     std::to_string(e.originColumn) + " " + std::to_string(e.originRow) +
                     ", white " + std::to_string(call.bWhiteObject) + ": " + fault;
}

// ---- by hand ------------------------------------------------------------------------------------

// Rows from the top: '#' black.
static Bytes Mono(const std::vector<std::string> &rows)
{
    Bytes dib = MakeDib({(int)rows[0].size(), (int)rows.size(), 1, RAMP, 0, 5, 0});
    for (size_t y = 0; y < rows.size(); y++) {
        for (size_t x = 0; x < rows[y].size(); x++) {
            BYTE *p = &dib[48 + (rows.size() - 1 - y) * 4 + x / 8];
            const BYTE mask = (BYTE)(0x80 >> x % 8);
            *p = (BYTE)(rows[y][x] == '#' ? *p & ~mask : *p | mask);
        }
    }
    return dib;
}

TEST_F(Morphologies, SmallPicturesComeOutAsDrawn)
{
    static const Element NONE = {};
    static const Element RIGHT = {1, 2, 0, 0, {0, 1}};      // the pixel on the right
    static const Element TWOS = {1, 3, 1, 0, {2, 2, 255}};  // no byte is 1
    const struct {
        MorphologyCall call;
        std::vector<std::string> before, after;
    } rows[] = {
        {{B_DILATION, NONE, NONE, 0, 0, 0}, {"....", ".#..", "...."}, {"###.", "###.", "###."}},
        {{B_DILATION, RIGHT, NONE, 0, 0, 0}, {".#.#"}, {".###"}},
        {{B_DILATION, NONE, NONE, 0, 0, 1},
         {"#####", "#####", "##.##"},
         {"#####", "#...#", "#...#"}},
        {{B_DILATION, TWOS, NONE, 0, 0, 0}, {".#.."}, {".#.."}},
        {{B_EROSION, NONE, NONE, 0, 0, 0}, {"###.", "###.", "###."}, {"##..", "##..", "##.."}},
        {{B_EROSION, RIGHT, NONE, 0, 0, 0}, {"##.##"}, {"#..##"}},
        {{B_OPENING, NONE, NONE, 0, 0, 0},
         {"......", ".###..", ".###..", ".###.#", "......"},
         {"......", ".###..", ".###..", ".###..", "......"}},
        {{B_CLOSING, NONE, NONE, 0, 0, 0},
         {".........", ".........", "..##.##..", "..##.##..", ".........", "........."},
         {".........", ".........", "..#####..", "..#####..", ".........", "........."}},
        {{B_HIT_MISS, NONE, NONE, 0, 0, 0}, {".##.#.###"}, {".#....#.."}},
        {{B_HIT_MISS, NONE, NONE, 0, 0, 0}, {"##.##"}, {"...#."}},
        {{B_OUTLINING, NONE, NONE, 0, 0, 0},
         {".....", ".###.", ".###.", ".###.", "....."},
         {".....", ".###.", ".#.#.", ".###.", "....."}},
        {{B_OUTLINING, NONE, NONE, 1, 0, 0},
         {".....", ".....", "..#..", "....."},
         {".....", ".###.", ".#.#.", ".###."}},
        {{B_THINNING, NONE, NONE, 0, 0, 0},
         {"......", ".####.", "......"},
         {"......", ".####.", "......"}},
        {{B_THINNING, NONE, NONE, 0, 0, 0},
         {".....", ".###.", ".###.", ".###.", "....."},
         {".....", ".#.#.", "..#..", ".#.#.", "....."}},
        {{B_THICKENING, NONE, NONE, 0, 0, 1},
         {".....", ".###.", ".###.", ".###.", "....."},
         {".....", ".#.#.", "..#..", ".#.#.", "....."}},
        {{B_SKELETON, NONE, NONE, 0, 0, 0},
         {".......", ".#####.", ".#####.", ".#####.", ".......", "......."},
         {".......", ".#...#.", "..###..", ".#...#.", ".......", "......."}},
    };
    for (const auto &row : rows) {
        const Bytes dib = Mono(row.before);
        EXPECT_EQ("", CheckMorphology(row.call, dib, 0, ExpectBlock(Mono(row.after))));
        EXPECT_EQ("", CheckMorphology(row.call, dib, 0, ExpectMorphology(row.call, dib)));
    }
}

// ---- against the plain definition ---------------------------------------------------------------

// Bricks, crosses, sparse and dense ones, with other bytes than 1, an origin anywhere.
static Element RandomElement(std::mt19937 *pRandom, int nMost, bool bGray)
{
    const auto random = [&] { return (unsigned)(*pRandom)(); };
    Element e = {
        (int)(random() % (unsigned)nMost) + 1, (int)(random() % (unsigned)nMost) + 1, 0, 0, {}};
    const bool bAnywhere = random() % 4 == 0;
    e.originColumn = bAnywhere ? (int)(random() % 40) - 20 : (int)(random() % (unsigned)e.columns);
    e.originRow = bAnywhere ? (int)(random() % 40) - 20 : (int)(random() % (unsigned)e.rows);
    const unsigned kind = random() % 4;
    for (int i = 0; i < e.columns * e.rows; i++) {
        const bool bCross = i / e.rows == e.columns / 2 || i % e.rows == e.rows / 2;
        const unsigned value = kind == 0   ? 1
                               : kind == 1 ? bCross
                               : kind == 2 ? random() % 2
                                           : random() % 3 * (random() % 8 == 0 ? 127 : 1);
        e.bytes.push_back((BYTE)(bGray ? kind == 0 ? 0 : value * (random() % 90) : value));
    }
    return e;
}

static MorphologyCall RandomCall(int nOperation, std::mt19937 *pRandom, int nMost)
{
    const auto random = [&] { return (unsigned)(*pRandom)(); };
    MorphologyCall call = {(Morphology)nOperation, {}, {}, 0, 0, 0};
    const bool bGray = nOperation >= G_DILATION;
    if (random() % 5 != 0) {
        call.element = RandomElement(pRandom, nMost, bGray);
    }
    if (random() % 3 != 0) {
        call.miss = RandomElement(pRandom, 4, bGray);
    }
    call.nOutline = (int)(random() % 3) - 1;
    call.nMaxSweeps = (int)(random() % 5) - 1;
    call.bWhiteObject = (int)(random() % 3) - 1;
    return call;
}

TEST_F(Morphologies, EveryOperatorEqualsItsDefinition)
{
    std::mt19937 random(BaseSeed());
    const int sizes[][2] = {{1, 1},   {1, 9},    {9, 1},   {2, 2},  {7, 5},   {8, 8},
                            {31, 6},  {32, 7},   {33, 5},  {63, 9}, {65, 12}, {255, 6},
                            {256, 5}, {257, 11}, {289, 7}, {520, 8}};
    for (const auto &size : sizes) {
        for (int operation = 0; operation < MORPHOLOGIES; operation++) {
            const bool bGray = operation >= G_DILATION;
            for (int turn = 0; turn < (bGray ? 6 : 5); turn++) {
                static const Palette GRAYS[] = {RAMP, EVEN, SHUFFLED, FEW, REVERSED, EVEN};
                const MorphologyCall call = RandomCall(operation, &random, turn < 4 ? 6 : 40);
                const TestPicture picture = {bGray ? size[0] % 70 + 1 : size[0],
                                             size[1],
                                             bGray ? 8 : 1,
                                             bGray           ? GRAYS[turn]
                                             : turn % 2 != 0 ? RAMP
                                                             : REVERSED,
                                             bGray && turn == 5 ? 77u : 0u,
                                             (unsigned)random(),
                                             turn == 2 ? 9 : 0};
                const Bytes dib = MakeDib(picture);
                ASSERT_EQ("", CheckMorphology(call, dib, 0, ExpectMorphology(call, dib)))
                    << Describe(picture);
            }
        }
    }
}

// Thick strokes, so that sweeps have work for long and in few places.
TEST_F(Morphologies, ASkeletonLooksAgainAtAllThatMayStillChange)
{
    std::mt19937 random(BaseSeed());
    for (int turn = 0; turn < 4; turn++) {
        const int width = 600, height = 60;
        std::vector<std::string> rows((size_t)height, std::string((size_t)width, '.'));
        for (int n = 0; n < 9; n++) {
            const size_t x = random() % 560, y = random() % 50, w = random() % 250 + 1,
                         h = random() % 40 + 1;
            for (size_t j = y; j < std::min(y + h, (size_t)height); j++) {
                for (size_t i = x; i < std::min(x + w, (size_t)width); i++) {
                    rows[j][i] = n % 3 == 2 ? '.' : '#';
                }
            }
        }
        Bytes dib = MakeDib({width, height, 1, RAMP, 0, 5, 0});
        for (size_t y = 0; y < rows.size(); y++) {
            for (size_t x = 0; x < rows[y].size(); x++) {
                BYTE *p = &dib[48 + ((size_t)height - 1 - y) * 76 + x / 8];
                const BYTE mask = (BYTE)(0x80 >> x % 8);
                *p = (BYTE)(rows[y][x] == '#' ? *p & ~mask : *p | mask);
            }
        }
        const MorphologyCall call = {B_SKELETON, {}, {}, 0, turn % 3 == 0 ? turn + 2 : 0, turn % 2};
        ASSERT_EQ("", CheckMorphology(call, dib, 0, ExpectMorphology(call, dib))) << turn;
    }
}

// ---- the frame ----------------------------------------------------------------------------------

TEST_F(Morphologies, StepsAndRangeAreThoseOfThePasses)
{
    std::mt19937 random(BaseSeed());
    for (int operation = 0; operation < MORPHOLOGIES; operation++) {
        for (int turn = 0; turn < (DIALOG_TURNS > 1 ? 2 : 1); turn++) {
            const bool bGray = operation >= G_DILATION;
            const TestPicture picture = {
                9, 17 + turn, bGray ? 8 : 1, bGray && turn ? EVEN : RAMP, 0, (unsigned)random(), 0};
            const Bytes dib = MakeDib(picture);
            const MorphologyCall call = RandomCall(operation, &random, 4);
            const Expected want = ExpectMorphology(call, dib);
            CancelAtStep(0);
            EXPECT_EQ("", CheckMorphology(call, dib, 1, want));
            EXPECT_EQ(want.nSteps, StepsSeen()) << operation;
            EXPECT_EQ(want.nRange, LastRange()) << operation;
            CancelAtStep(want.nSteps);
            EXPECT_EQ("", CheckMorphology(call, dib, 1, ExpectNull())) << operation;
        }
    }
}

TEST_F(Morphologies, OtherDepthsAndPalettesAreRefusedWithoutADialog)
{
    for (int operation = 0; operation < MORPHOLOGIES; operation++) {
        const MorphologyCall call = {(Morphology)operation, {}, {}, 0, 0, 0};
        for (const TestPicture &picture : EveryKind(6, 5, 9)) {
            const Bytes dib = MakeDib(picture);
            const Expected want = ExpectMorphology(call, dib);
            SetDialogs(GO_ON);
            EXPECT_EQ("", CheckMorphology(call, dib, MODE_DIALOG, want)) << Describe(picture);
            EXPECT_EQ(want.bNull ? 0 : 1, g_dialog.nCalls) << Describe(picture);
        }
    }
}

static HGLOBAL WithMask(int nOperation, HGLOBAL hDib, const FilterMask *pMask)
{
    return nOperation == B_DILATION   ? BinaryDilation(hDib, pMask, 0, 0, NULL)
           : nOperation == B_HIT_MISS ? BinaryHitMiss(hDib, NULL, pMask, 0, 0, NULL)
                                      : GrayScaleErosion(hDib, pMask, 0, NULL);
}

TEST_F(Morphologies, OddDescriptorsSelectNothingOrAreRefused)
{
    BYTE run[] = {1, 1};
    BYTE *columns[] = {run, run};
    BYTE *missing[] = {run, NULL};
    const struct {
        FilterMask mask;
        bool bNull;
    } rows[] = {{{NULL, 0, 2, 0, 0}, false},
                {{columns, -1, 2, 0, 0}, false},
                {{NULL, 2, INT_MIN, 0, 0}, false},
                {{NULL, 2, 2, 0, 0}, true},
                {{missing, 2, 2, 0, 0}, true},
                {{columns, 1 << 13, 1 << 13, 0, 0}, true},
                {{columns, 2, 2, INT_MIN, INT_MAX}, false},
                {{columns, 2, 2, INT_MAX, INT_MIN}, false}};
    for (int operation : {B_DILATION, B_HIT_MISS, G_EROSION}) {
        for (const auto &row : rows) {
            const Bytes dib = MakeDib({40, 6, operation == G_EROSION ? 8 : 1, RAMP, 0, 3, 0});
            Element none = {0, 1, 0, 0, {}};
            const MorphologyCall call = {
                (Morphology)operation, operation == B_HIT_MISS ? Element{} : none, none, 0, 0, 0};
            const Expected want = row.bNull ? ExpectNull() : ExpectMorphology(call, dib);
            EXPECT_EQ("", CheckCall([&](HGLOBAL h) { return WithMask(operation, h, &row.mask); },
                                    dib, NULL, want))
                << operation << ", " << row.mask.rows << " x " << row.mask.columns;
        }
    }
}

// The dialog edits what the work then uses, and finds the image read already.
TEST_F(Morphologies, TheDialogEditsTheCopiesOfElementsAndNumbers)
{
    static BYTE one[] = {1};
    static BYTE *columns[] = {one};
    static HGLOBAL hDib;
    DialogScript script = GO_ON;
    // One position, on the right of the pixel; white becomes the object; two sweeps.
    script.OnCall = [] {
        for (int i = 1; i < g_dialog.nArguments; i++) {
            const bool bElement = i < g_dialog.nArguments - (g_dialog.pEntry[0] == 'O' ? 2 : 1) &&
                                  g_dialog.pEntry[0] != 'S' && g_dialog.pEntry[0] != 'T';
            if (bElement || g_dialog.pEntry[0] == 'G') {
                FilterMask *p = (FilterMask *)g_dialog.arguments[i];
                *p = {columns, 1, 1, -1, 0};
            } else {
                *(int *)g_dialog.arguments[i] = i + 1;
            }
        }
        BYTE *p = (BYTE *)GlobalLock(hDib);
        memset(p + 1064, 0x5a, 8);  // in the rows at either depth
        GlobalUnlock(hDib);
    };
    for (int operation = 0; operation < MORPHOLOGIES; operation++) {
        const bool bGray = operation >= G_DILATION;
        const Bytes dib = MakeDib({200, 60, bGray ? 8 : 1, RAMP, 0, 6, 0});
        Bytes changed = dib;
        memset(&changed[1064], 0x5a, 8);
        const Element edited = {1, 1, -1, 0, {1}};
        const bool bSkeleton = operation == B_SKELETON;
        MorphologyCall call = {(Morphology)operation, edited, edited, 1, bSkeleton ? 2 : 0, 1};
        Expected want = ExpectMorphology(call, dib);
        if (operation == G_TOP_HAT) {
            // The image is read once more.
            MorphologyCall opening = call;
            opening.operation = G_OPENING;
            const Bytes opened = ExpectMorphology(opening, dib).block;
            for (size_t i = 1064; i < want.block.size(); i++) {
                want.block[i] = (BYTE)std::max(0, changed[i] - opened[i]);
            }
        }
        for (bool bDefault : {true, false}) {
            SetDialogs(script);
            call.element = call.miss = bDefault ? Element{} : Element{1, 1, 0, 0, {5}};
            hDib = NewBlock(dib);
            EXPECT_EQ("", Compare(Make(call, hDib, MODE_DIALOG, NULL), want)) << operation;
            EXPECT_EQ(1, g_dialog.nCalls);
            EXPECT_EQ((UINT_PTR)hDib, g_dialog.first);
            FreeBlock(hDib);
        }
        SetDialogs(NO_LIBRARY);
        call.element = call.miss = edited;
        call.nOutline = 1;
        EXPECT_EQ("", CheckMorphology(call, dib, MODE_DIALOG, ExpectMorphology(call, dib)));
        EXPECT_EQ(-1, GetLastFilterError());
    }
}
