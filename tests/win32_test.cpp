// What only real windows and a 32-bit stack can show: the look of the progress dialog, where the
// dialog library is looked for, and that every export keeps registers and stack as hosts count on.

#include "exports.h"
#include "host.h"
#include "host_win32.h"
#include "reference/effects.h"

#include <commctrl.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <stdlib.h>
#include <string.h>

// ---- the progress dialog ------------------------------------------------------------------------

struct Control {
    int nId;
    const char *pClass, *pText;
    DWORD nStyle;
    RECT place;  // dialog units
};

static const Control CONTROLS[] = {
    {IDCANCEL, "Button", "&Cancel", WS_CHILD | WS_VISIBLE | WS_TABSTOP, {67, 49, 117, 63}},
    {0xffff, "Static", "Processing Image...", WS_CHILD | WS_VISIBLE | WS_GROUP, {7, 7, 70, 15}},
    {1000, "msctls_progress32", "", WS_CHILD | WS_VISIBLE | PBS_SMOOTH, {7, 23, 179, 37}}};

static HWND g_hParent;

static void LookAtDialog(HWND)
{
    const HWND hDialog = OpenDialog();
    RECT whole = {0, 0, 186, 70}, got;
    char text[64];
    MapDialogRect(hDialog, &whole);
    GetClientRect(hDialog, &got);
    EXPECT_TRUE(EqualRect(&whole, &got)) << got.right << "x" << got.bottom;
    EXPECT_EQ(g_hParent, GetWindow(hDialog, GW_OWNER));
    EXPECT_TRUE(IsWindowVisible(hDialog));
    EXPECT_EQ(0, GetWindowTextLengthA(hDialog));
    const DWORD nStyle = (DWORD)GetWindowLongA(hDialog, GWL_STYLE);
    EXPECT_EQ((DWORD)(WS_POPUP | DS_MODALFRAME), nStyle & (WS_POPUP | WS_CAPTION | DS_MODALFRAME));
    for (const Control &control : CONTROLS) {
        const HWND hControl = GetDlgItem(hDialog, control.nId);
        ASSERT_TRUE(hControl != NULL) << control.pClass;
        GetClassNameA(hControl, text, sizeof text);
        EXPECT_STREQ(control.pClass, text);
        GetWindowTextA(hControl, text, sizeof text);
        EXPECT_STREQ(control.nId == 1000 ? text : control.pText, text);
        EXPECT_EQ(control.nStyle, (DWORD)GetWindowLongA(hControl, GWL_STYLE) & control.nStyle);
        RECT want = control.place;
        MapDialogRect(hDialog, &want);
        GetWindowRect(hControl, &got);
        MapWindowPoints(NULL, hDialog, (POINT *)(void *)&got, 2);
        // Sizes and positions are rounded one by one.
        EXPECT_NEAR(want.left, got.left, 1) << control.pClass;
        EXPECT_NEAR(want.top, got.top, 1) << control.pClass;
        EXPECT_NEAR(want.right, got.right, 1) << control.pClass;
        EXPECT_NEAR(want.bottom, got.bottom, 1) << control.pClass;
    }
}

TEST(Windows, TheProgressDialogLooksAsItsTemplate)
{
    const Bytes dib = MakeDib({9, 9, 8, RAMP, 0, 1, 0});
    const HWND hHost = NewWindow(LookAtDialog);
    g_hParent = NewWindow(NULL);
    ResetHost();
    PostMessageA(hHost, WM_APP, 0, 0);
    EXPECT_EQ("",
              Check(FILTERS[GAUSS], dib, 0, MODE_PROGRESS, g_hParent, ExpectFilter(GAUSS, dib, 0)));
    EXPECT_FALSE(g_bOwnerDisabledAtDestroy) << "else another program gets the focus";
    CancelAtStep(1);
    EXPECT_EQ("", Check(FILTERS[GAUSS], dib, 0, MODE_PROGRESS, g_hParent, ExpectNull()));
    EXPECT_FALSE(g_bOwnerDisabledAtDestroy);
    DestroyWindow(g_hParent);
    DestroyWindow(hHost);
}

TEST(Windows, TheDialogLibraryIsLookedForBesideTheDllFirst)
{
    char path[MAX_PATH];
    ResetHost();
    const HGLOBAL hDib = NewBlock(MakeDib({4, 4, 8, RAMP, 0, 2, 0}));
    FreeBlock(FilterGauss(hDib, MODE_DIALOG, NULL));
    GetModuleFileNameA(GetModuleHandleA("VexaFilter.dll"), path, sizeof path);
    const std::string folder(path, std::string(path).rfind('\\') + 1);
    EXPECT_EQ((std::vector<std::string>{folder + "VexaDlgs.dll", "VexaDlgs.dll"}), g_loaded);
    FreeBlock(hDib);
}

// ---- registers and stack ------------------------------------------------------------------------

struct Registers {
    DWORD ebx, esi, edi, ebp;
    DWORD nStackMoved;  // bytes between the stack pointer before the arguments and after the call
};

extern "C" {
Registers g_registers;
DWORD g_savedStack, g_savedFrame;
DWORD CallOffAlignment(const void *function, const DWORD *pArguments, int nArguments, int nOff);
}

// Aligns the stack so that it is off by nOff at the call, loads the registers with known values,
// pushes the arguments and calls.
__asm__(".globl _CallOffAlignment\n"
        "_CallOffAlignment:\n"
        "    pushl %ebp\n"
        "    movl %esp, %ebp\n"
        "    pushl %ebx\n"
        "    pushl %esi\n"
        "    pushl %edi\n"
        "    movl 16(%ebp), %ecx\n"
        "    movl 12(%ebp), %edx\n"
        "    movl 8(%ebp), %eax\n"
        "    leal (,%ecx,4), %ebx\n"
        "    andl $-16, %esp\n"
        "    subl $256, %esp\n"
        "    addl %ebx, %esp\n"      // the arguments end on a multiple of 16,
        "    subl 20(%ebp), %esp\n"  // less nOff
        "    movl %ebp, _g_savedFrame\n"
        "    movl %esp, _g_savedStack\n"
        "1:  testl %ecx, %ecx\n"
        "    jz 2f\n"
        "    decl %ecx\n"
        "    pushl (%edx,%ecx,4)\n"
        "    jmp 1b\n"
        "2:  movl $0x11111111, %ebx\n"
        "    movl $0x22222222, %esi\n"
        "    movl $0x33333333, %edi\n"
        "    movl $0x44444444, %ebp\n"
        "    call *%eax\n"
        "    movl %ebx, _g_registers\n"
        "    movl %esi, _g_registers+4\n"
        "    movl %edi, _g_registers+8\n"
        "    movl %ebp, _g_registers+12\n"
        "    movl _g_savedStack, %ecx\n"
        "    subl %esp, %ecx\n"
        "    movl %ecx, _g_registers+16\n"
        "    movl _g_savedFrame, %ebp\n"
        "    leal -12(%ebp), %esp\n"
        "    popl %edi\n"
        "    popl %esi\n"
        "    popl %ebx\n"
        "    popl %ebp\n"
        "    ret\n");

// In the arguments: the image, and a block of each kind that the point operations take.
enum { DIB = 0xd1b0001, COUNTS, TABLE };

struct StackCall {
    const char *pName;
    std::vector<DWORD> arguments;
};

static int g_origin[2];
static char g_version[20];
static const DWORD ORIGIN = (DWORD)(UINT_PTR)g_origin;
static const DWORD HALF = 0x3f000000;  // 0.5, single precision
static const DWORD ONE_AND_A_HALF = 0x3fc00000;
static const DWORD ONE[] = {0, 0x3ff00000};  // double precision

static const LONG RECTANGLE[] = {1, 2, 30, 7};

static HistogramRecord g_record = {1, 2, {0, 0, 0}, {9, 0, 0}, {{9, 4}}};
static const LONG CANVAS[] = {0, 0, 30, 70};
static const DWORD RECORD = (DWORD)(UINT_PTR)&g_record;

// Every export once.
static const StackCall STACK_CALLS[] = {
    {"GetLastFilterError", {}},
    {"GetVexaFilterVersion", {(DWORD)(UINT_PTR)g_version, sizeof g_version}},
    {"ConvertMonoDibToGrayScale", {DIB, 2}},
    {"Convert8bitto24", {DIB}},
    {"ComputeHistogram", {DIB, LUT_COMPUTE, COUNTS, ORIGIN, 0}},
    {"ComputeLUT", {COUNTS, LUT_COMPUTE, TABLE, 70, 10, 0}},
    {"ApplyLUT", {DIB, TABLE, 1, 0}},
    {"ArithmeticDIB", {ARITH_MUL, DIB, DIB, 0, 0}},
    {"ArithmeticDIBConst", {ARITH_EXP, DIB, 3, 1, 0}},
    {"FilterLaplace", {DIB, 10, 1, 0}},
    {"FilterGradient", {DIB, 7, 1, 0}},
    {"FilterEnhance", {DIB, 1, 0}},
    {"FilterUniform", {DIB, 0, 0}},
    {"FilterGauss", {DIB, 2, 0}},
    {"FilterMinimum", {DIB, 9, 0, 0}},
    {"FilterMaximum", {DIB, 3, 2, 0}},
    {"FilterMedian", {DIB, 6, 1, 0}},
    {"FilterMidpoint", {DIB, 4, 0, 0}},
    {"FilterRange", {DIB, 9, 0, 0}},
    {"FilterAlphaTrimmedMean", {DIB, 5, 2, 0, 0}},
    {"FilterWeightedMedian", {DIB, 0, 3, 0}},
    {"FilterGeometricMean", {DIB, 3, 0, 0}},
    {"FilterHarmonicMean", {DIB, 3, 0, 0}},
    {"FilterContraHarmonicMean", {DIB, 3, (DWORD)-2, 0, 0}},
    {"FilterYpMean", {DIB, 3, 3, 1, 0}},
    {"FilterWeightedMean", {DIB, 0, 2, 0}},
    {"FilterAdaptiveDWMTM", {DIB, 3, 5, 20, 0, 0}},
    {"FilterAdaptiveMMSE", {DIB, 3, 200, 0, 0}},
    {"FilterMotionBlur", {DIB, 30, 5, 1, 0}},
    {"FilterCenterMotionBlur", {DIB, 9, 6, 0, 0}},
    {"FilterMozaic", {DIB, 4, 0, 0}},
    {"FilterMultiply", {DIB, 12, 0, 0}},
    {"FilterAddNoise", {DIB, 30, 0, 0}},
    {"FilterAverage", {DIB, 5, 1, 0}},
    {"FilterImpressionist", {DIB, 3, 4, 0, 0}},
    {"FilterPolar", {DIB, 0, 0}},
    {"FilterCylinder", {DIB, 12, 0, 0, 0}},
    {"FilterPuzzle", {DIB, 3, 2, 0, 0}},
    {"RedEyeRemover", {DIB, (DWORD)(UINT_PTR)RECTANGLE, 0, 0, 0}},
    {"FilterAutoContrast", {DIB, 0, 0}},
    {"FilterParabolaTransformation", {DIB, 1, 0, 0}},
    {"FilterSolarizing", {DIB, 100, 1, 0}},
    {"FilterPosterizing", {DIB, 5, 0, 0}},
    {"FilterLevels", {DIB, 10, 200, 90, 0, 250, 0, 2, 0}},
    {"FilterAutoLevels", {DIB, 5, 0, 0}},
    {"FilterDifference", {DIB, 2, 0, 0}},
    {"BinaryDilation", {DIB, 0, 0, 0, 0}},
    {"BinaryErosion", {DIB, 0, 1, 0, 0}},
    {"BinaryOpening", {DIB, 0, 0, 1, 0}},
    {"BinaryClosing", {DIB, 0, 1, 2, 0}},
    {"BinaryHitMiss", {DIB, 0, 0, 0, 0, 0}},
    {"BinaryOutlining", {DIB, 0, 1, 0, 0, 0}},
    {"BinaryThinning", {DIB, 0, 0, 0}},
    {"BinaryThickening", {DIB, 1, 0, 0}},
    {"BinarySkeleton", {DIB, 0, 0, 0, 0}},
    {"GrayScaleDilation", {DIB, 0, 0, 0}},
    {"GrayScaleErosion", {DIB, 0, 1, 0}},
    {"GrayScaleOpening", {DIB, 0, 0, 0}},
    {"GrayScaleClosing", {DIB, 0, 2, 0}},
    {"GrayScaleTopHat", {DIB, 0, 0, 0}},
    {"HistDIBSlide", {DIB, 10, 90, 20, 0, 0}},
    {"HistDIBStretch", {DIB, 10, 90, HALF, 0, 0}},
    {"HistDIBThreshold", {DIB, 60, 1, 0}},
    {"HistDIBComplement", {DIB, 0, 0}},
    {"HistDIBModify", {DIB, 0, 0}},
    {"HistDIBEqualization", {DIB, 0, 0}},
    {"HistDIBCreate", {DIB, RECORD}},
    {"HistDispToDC",
     {(DWORD)(UINT_PTR)CreateCompatibleDC(NULL), RECORD, (DWORD)(UINT_PTR)CANVAS, 0}},
    {"HistDispWmPain", {0, RECORD, 0}},
    {"HistDIBGen", {DIB, 0, 1}},
    {"FreqDIBFFT", {DIB, 0}},
    {"FreqDIBLowpass", {DIB, 9, 2, 1, 0}},
    {"FreqDIBHighpass", {DIB, 2, 0, 0, 0}},
    {"FreqDIBEnhance", {DIB, 5, ONE_AND_A_HALF, 1, 0}},
    {"FreqDIBHomomorphic", {DIB, 5, 2, ONE_AND_A_HALF, HALF, 0, 0}},
    {"FreqDIBInverse", {DIB, DIB, 0, 9}},
    {"FreqDIBWiener", {DIB, DIB, ONE[0], ONE[1], 1, 3}}};

// Those without a frame are not in EXPORTS.
TEST(Windows, EveryExportHasItsRowsInTheTests)
{
    const BYTE *pBase = (const BYTE *)GetModuleHandleA("VexaFilter.dll");
    const IMAGE_NT_HEADERS32 *pHeaders =
        (const IMAGE_NT_HEADERS32 *)(pBase + ((const IMAGE_DOS_HEADER *)pBase)->e_lfanew);
    const IMAGE_EXPORT_DIRECTORY *pExports =
        (const IMAGE_EXPORT_DIRECTORY *)(pBase + pHeaders->OptionalHeader
                                                     .DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT]
                                                     .VirtualAddress);
    const DWORD *pNames = (const DWORD *)(pBase + pExports->AddressOfNames);
    EXPECT_EQ(std::size(STACK_CALLS), pExports->NumberOfNames);
    for (DWORD i = 0; i < pExports->NumberOfNames; i++) {
        const std::string name = (const char *)(pBase + pNames[i]);
        EXPECT_TRUE(std::any_of(std::begin(STACK_CALLS), std::end(STACK_CALLS),
                                [&](const StackCall &call) { return name == call.pName; }))
            << name << " is not called with the stack off";
        bool bFramed = true;
        for (const char *pUnasked :
             {"Get", "Convert", "Compute", "Apply", "FreqDIBFFT", "FreqDIBInverse", "FreqDIBWiener",
              "HistDisp", "HistDIBCreate", "HistDIBGen"}) {
            bFramed &= name.find(pUnasked) != 0;
        }
        EXPECT_EQ(bFramed, std::any_of(std::begin(EXPORTS), std::end(EXPORTS),
                                       [&](const ExportCall &call) { return name == call.pName; }))
            << name << " in tests/exports.h";
    }
}

// What a call leaves in its blocks and gives back, with the stack off by nOff.
static std::vector<Bytes> CallWithStackOff(const StackCall &call, const Bytes &dib, int nOff)
{
    const void *function = (void *)GetProcAddress(GetModuleHandleA("VexaFilter.dll"), call.pName);
    const HGLOBAL blocks[] = {NewBlock(dib), NewBlock(Bytes(512, 1)), NewBlock(Bytes(256, 7))};
    std::vector<DWORD> arguments = call.arguments;
    for (DWORD &argument : arguments) {
        argument = argument >= DIB && argument <= TABLE ? (DWORD)(UINT_PTR)blocks[argument - DIB]
                                                        : argument;
    }
    WatchBlocks();
    const HGLOBAL hResult = (HGLOBAL)(UINT_PTR)CallOffAlignment(function, arguments.data(),
                                                                (int)arguments.size(), nOff);
    FreeKeptBlocks(hResult);
    const Registers r = g_registers;
    EXPECT_TRUE(r.ebx == 0x11111111 && r.esi == 0x22222222 && r.edi == 0x33333333 &&
                r.ebp == 0x44444444 && r.nStackMoved == 0)
        << call.pName << ", off by " << nOff << std::hex << ": ebx " << r.ebx << ", esi " << r.esi
        << ", edi " << r.edi << ", ebp " << r.ebp << ", stack moved by " << r.nStackMoved;
    std::vector<Bytes> left;
    for (const HGLOBAL hBlock : blocks) {
        left.push_back(ReadBlock(hBlock));
    }
    // Those of the state return no block, one of them nothing at all.
    const bool bNew = strncmp(call.pName, "Get", 3) != 0 &&
                      GlobalFlags(hResult) != GMEM_INVALID_HANDLE && hResult != blocks[0] &&
                      hResult != blocks[1] && hResult != blocks[2];
    if (bNew) {
        left.push_back(ReadBlock(hResult));
        FreeBlock(hResult);
    }
    for (const HGLOBAL hBlock : blocks) {
        FreeBlock(hBlock);
    }
    return left;
}

TEST(Windows, EveryExportKeepsTheRegistersAndTheStackAtAnyAlignment)
{
    ResetHost();
    for (const StackCall &call : STACK_CALLS) {
        size_t nMost = 0;
        for (const TestPicture &picture :
             {TestPicture{37, 9, 8, RAMP, 0, 300, 0}, TestPicture{37, 9, 8, EVEN, 0, 301, 0},
              TestPicture{37, 9, 24, RAMP, 0, 302, 0}, TestPicture{37, 9, 1, RAMP, 0, 303, 0}}) {
            const Bytes dib = WithResolutions(MakeDib(picture));
            const std::vector<Bytes> aligned = CallWithStackOff(call, dib, 0);
            for (int nOff : {4, 8, 12}) {
                EXPECT_TRUE(aligned == CallWithStackOff(call, dib, nOff))
                    << call.pName << ", off by " << nOff << ", " << Describe(picture);
            }
            nMost = std::max(nMost, aligned.size());
        }
        const std::string name = call.pName;
        const bool bNoBlock = name.find("Get") == 0 || name.find("Compute") == 0 ||
                              name.find("HistDisp") == 0 || name == "HistDIBCreate";
        EXPECT_EQ(bNoBlock ? 3u : 4u, nMost) << call.pName << ": a result, or none";
    }
}

// Hosts have pictures that were made with it.
TEST(Windows, TheDrawsAreThoseOfTheSystemsCLibrary)
{
    for (unsigned seed : {0u, 1u, 1234567890u, 0xffffffffu}) {
        srand(seed);
        for (unsigned draw : Draws(seed, 100)) {
            EXPECT_EQ((int)draw, rand());
        }
    }
}
