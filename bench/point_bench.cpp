// The point operations beside OpenCV, their row kernels at each level, and the histogram's
// viewport.
//
// Both sides combine the picture at half its brightness with the same, mirrored and made odd: below
// 128 signed and unsigned bytes are the same and no divisor is 0, so that the results can be
// compared; they must agree exactly, but for quotients, which the peer rounds. Where it has no such
// call (NAND, NOR) its peer is a copy of the first image. "Table" is ApplyLUT at 8 bits and the
// exponential at 24, beside the peer's table look-up.

#include "harness.h"

#include "pictures.h"
#include "point/arithmetic_kernels.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <string.h>

#include <string>

enum { CONSTANT = 60, DIVISOR = 3 };

// ---- two images ---------------------------------------------------------------------------------

static void FillSecond(BYTE *second, BYTE *first, size_t nBytes)
{
    for (size_t i = 0; i < nBytes; i++) {
        second[i] = (BYTE)(first[nBytes - 1 - i] / 2 | 1);
    }
    for (size_t i = 0; i < nBytes; i++) {
        first[i] /= 2;
    }
}

struct OurPair {
    HGLOBAL hSource, hFirst, hSecond;
};

static HGLOBAL CopyOf(HGLOBAL hDib)
{
    const SIZE_T nBytes = GlobalSize(hDib);
    const HGLOBAL hCopy = GlobalAlloc(GMEM_MOVEABLE, nBytes);
    memcpy(GlobalLock(hCopy), GlobalLock(hDib), nBytes);
    GlobalUnlock(hCopy);
    GlobalUnlock(hDib);
    return hCopy;
}

// The pair made of a picture, kept from the first call on.
static const OurPair *PairOf(HGLOBAL hDib)
{
    static OurPair pairs[2 * PICTURE_KINDS];
    OurPair *p = pairs;
    while (p->hSource != NULL && p->hSource != hDib) {
        p++;
    }
    if (p->hSource == NULL) {
        *p = {hDib, CopyOf(hDib), CopyOf(hDib)};
        BYTE *first = const_cast<BYTE *>(PictureBits(p->hFirst));
        BYTE *end = (BYTE *)GlobalLock(p->hFirst) + GlobalSize(p->hFirst);
        FillSecond(const_cast<BYTE *>(PictureBits(p->hSecond)), first, (size_t)(end - first));
    }
    return p;
}

static HGLOBAL Combine(HGLOBAL hDib, int nOperation, UINT mode)
{
    const OurPair *p = PairOf(hDib);
    return ArithmeticDIB(nOperation, p->hFirst, p->hSecond, mode, NULL);
}

static HGLOBAL WithConstant(HGLOBAL hDib, int nOperation, UINT mode)
{
    const int nConstant = nOperation == ARITH_MUL || nOperation == ARITH_DIV ? DIVISOR : CONSTANT;
    return ArithmeticDIBConst(nOperation, PairOf(hDib)->hFirst, nConstant, mode, NULL);
}

// ---- the peer -----------------------------------------------------------------------------------

struct PeerPair {
    cv::Mat first, second;
};

// The rows are turned, so the mirrored bytes are those of the picture turned back.
static const PeerPair &PairOf(const cv::Mat &src)
{
    static PeerPair pairs[4];
    PeerPair *p = pairs;
    while (!p->first.empty() && (p->first.size() != src.size() || p->first.type() != src.type())) {
        p++;
    }
    if (p->first.empty()) {
        const size_t nRow = src.total() * src.elemSize() / (size_t)src.rows;
        cv::Mat bottomUp, second(src.size(), src.type());
        cv::flip(src, bottomUp, 0);
        FillSecond(second.data, bottomUp.data, nRow * (size_t)src.rows);
        cv::flip(bottomUp, p->first, 0);
        cv::flip(second, p->second, 0);
    }
    return *p;
}

typedef void (*PeerOperation)(const PeerPair &pair, cv::Mat &dst);

static void PeerAdd(const PeerPair &pair, cv::Mat &dst)
{
    cv::add(pair.first, pair.second, dst);
}

static void PeerSubtract(const PeerPair &pair, cv::Mat &dst)
{
    cv::subtract(pair.first, pair.second, dst);
}

static void PeerMultiply(const PeerPair &pair, cv::Mat &dst)
{
    cv::multiply(pair.first, pair.second, dst);
}

static void PeerDivide(const PeerPair &pair, cv::Mat &dst)
{
    cv::divide(pair.first, pair.second, dst);
}

static void PeerAnd(const PeerPair &pair, cv::Mat &dst)
{
    cv::bitwise_and(pair.first, pair.second, dst);
}

static void PeerOr(const PeerPair &pair, cv::Mat &dst)
{
    cv::bitwise_or(pair.first, pair.second, dst);
}

static void PeerXor(const PeerPair &pair, cv::Mat &dst)
{
    cv::bitwise_xor(pair.first, pair.second, dst);
}

static void PeerMin(const PeerPair &pair, cv::Mat &dst)
{
    cv::min(pair.first, pair.second, dst);
}

static void PeerMax(const PeerPair &pair, cv::Mat &dst)
{
    cv::max(pair.first, pair.second, dst);
}

static void PeerCopy(const PeerPair &pair, cv::Mat &dst)
{
    pair.first.copyTo(dst);
}

static void PeerAddConstant(const PeerPair &pair, cv::Mat &dst)
{
    cv::add(pair.first, cv::Scalar::all(CONSTANT), dst);
}

static void PeerSubtractConstant(const PeerPair &pair, cv::Mat &dst)
{
    cv::subtract(pair.first, cv::Scalar::all(CONSTANT), dst);
}

static void PeerMultiplyConstant(const PeerPair &pair, cv::Mat &dst)
{
    pair.first.convertTo(dst, -1, DIVISOR);
}

static void PeerDivideConstant(const PeerPair &pair, cv::Mat &dst)
{
    pair.first.convertTo(dst, -1, 1.0 / DIVISOR);
}

static void PeerAndConstant(const PeerPair &pair, cv::Mat &dst)
{
    cv::bitwise_and(pair.first, cv::Scalar::all(CONSTANT), dst);
}

static void PeerMinConstant(const PeerPair &pair, cv::Mat &dst)
{
    cv::min(pair.first, CONSTANT, dst);
}

static void PeerMaxConstant(const PeerPair &pair, cv::Mat &dst)
{
    cv::max(pair.first, CONSTANT, dst);
}

// The peer's filters take the picture alone.
template <PeerOperation OPERATION> static void OnPair(const cv::Mat &src, cv::Mat &dst)
{
    OPERATION(PairOf(src), dst);
}

// ---- tables -------------------------------------------------------------------------------------

// No pattern that a vector could follow.
static BYTE Scrambled(int i)
{
    return (BYTE)(i * 167 + 13);
}

// The exponential of a signed byte.
static BYTE Exponential(int i)
{
    static const BYTE FIRST[] = {1, 2, 7, 20, 54, 148};
    return i >= 128 ? 0 : i < 6 ? FIRST[i] : 255;
}

static HGLOBAL ThroughTable(HGLOBAL hDib, int, UINT mode)
{
    static HGLOBAL hTable;
    if (hDib == SharedPicture(PICTURE_COLOR, 2048) || hDib == SharedPicture(PICTURE_COLOR, 256)) {
        return ArithmeticDIBConst(ARITH_EXP, hDib, 0, mode, NULL);
    }
    if (hTable == NULL) {
        hTable = GlobalAlloc(GMEM_MOVEABLE, 256);
        BYTE *table = (BYTE *)GlobalLock(hTable);
        for (int i = 0; i < 256; i++) {
            table[i] = Scrambled(i);
        }
        GlobalUnlock(hTable);
    }
    return ApplyLUT(hDib, hTable, 1, NULL);
}

static void PeerTable(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat table(1, 256, CV_8U);
    for (int i = 0; i < 256; i++) {
        table.data[i] = src.channels() == 3 ? Exponential(i) : Scrambled(i);
    }
    cv::LUT(src, table, dst);
}

// ---- rows ---------------------------------------------------------------------------------------

static const BenchRow ROWS[] = {
    {{"Add", Combine, ARITH_ADD}, OnPair<PeerAdd>, 0},
    {{"Subtract", Combine, ARITH_SUB}, OnPair<PeerSubtract>, 0},
    {{"Multiply", Combine, ARITH_MUL}, OnPair<PeerMultiply>, 0},
    {{"Divide", Combine, ARITH_DIV}, OnPair<PeerDivide>, 1},
    {{"And", Combine, ARITH_AND}, OnPair<PeerAnd>, 0},
    {{"Nand", Combine, ARITH_NAND}, OnPair<PeerCopy>, NOT_COMPARED},
    {{"Or", Combine, ARITH_OR}, OnPair<PeerOr>, 0},
    {{"Nor", Combine, ARITH_NOR}, OnPair<PeerCopy>, NOT_COMPARED},
    {{"Xor", Combine, ARITH_XOR}, OnPair<PeerXor>, 0},
    {{"Min", Combine, ARITH_MIN}, OnPair<PeerMin>, 0},
    {{"Max", Combine, ARITH_MAX}, OnPair<PeerMax>, 0},
    {{"Add-const", WithConstant, ARITH_ADD}, OnPair<PeerAddConstant>, 0},
    {{"Subtract-const", WithConstant, ARITH_SUB}, OnPair<PeerSubtractConstant>, 0},
    {{"Multiply-const", WithConstant, ARITH_MUL}, OnPair<PeerMultiplyConstant>, 0},
    {{"Divide-const", WithConstant, ARITH_DIV}, OnPair<PeerDivideConstant>, 1},
    {{"And-const", WithConstant, ARITH_AND}, OnPair<PeerAndConstant>, 0},
    {{"Min-const", WithConstant, ARITH_MIN}, OnPair<PeerMinConstant>, 0},
    {{"Max-const", WithConstant, ARITH_MAX}, OnPair<PeerMaxConstant>, 0},
    {{"Table", ThroughTable, 0}, PeerTable, 0},
};

// A viewport counted anew.
static void RunViewport(benchmark::State &state)
{
    const HGLOBAL hDib = SharedPicture(PICTURE_RAMP, 2048);
    const HGLOBAL hHistogram = ComputeHistogram(NULL, LUT_CREATE, NULL, NULL, NULL);
    int origin[2] = {0, 0};
    for (auto _ : state) {
        origin[0] = 1024 - origin[0];
        ComputeHistogram(hDib, LUT_COMPUTE, hHistogram, origin, NULL);
    }
    GlobalFree(hHistogram);
}

static void RunPeerViewport(benchmark::State &state)
{
    const HGLOBAL hDib = SharedPicture(PICTURE_RAMP, 2048);
    const cv::Mat picture(2048, 2048, CV_8U, const_cast<BYTE *>(PictureBits(hDib)));
    const int channel = 0, bins = 256;
    const float range[] = {0, 256};
    const float *ranges = range;
    int x = 0;
    for (auto _ : state) {
        const cv::Mat viewport = picture(cv::Rect(x = 1024 - x, 2048 - 256, 256, 256));
        cv::Mat counts;
        cv::calcHist(&viewport, 1, &channel, cv::Mat(), counts, 1, &bins, &ranges);
    }
}

// A row kernel on two rows in the cache.
static void RunRowKernel(benchmark::State &state, const ArithmeticKernels *pKernels, int nOperation,
                         int nDepth, int bSupported)
{
    enum { COUNT = 6144 };
    alignas(64) static BYTE a[COUNT], b[COUNT], dst[COUNT];
    if (!bSupported) {
        state.SkipWithError("this processor lacks the level");
        return;
    }
    for (size_t i = 0; i < COUNT; i++) {
        a[i] = (BYTE)(i * 167);
        b[i] = (BYTE)(i * 91);
    }
    for (auto _ : state) {
        pKernels->rows[nOperation][nDepth](a, b, dst, COUNT);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * COUNT);
}

static void RegisterRowKernels(const char *pLevel, const ArithmeticKernels *pKernels,
                               int bSupported)
{
    static const char *const DEPTHS[ARITHMETIC_DEPTHS] = {"1bit", "4bit", "8bit", "24bit"};
    for (int i = 0; i < PAIR_OPERATIONS; i++) {
        for (int depth = 0; depth < ARITHMETIC_DEPTHS; depth++) {
            const std::string name =
                std::string("Kernel/") + ROWS[i].filter.pName + "/" + DEPTHS[depth] + "/" + pLevel;
            benchmark::RegisterBenchmark(name.c_str(), RunRowKernel, pKernels, i, depth,
                                         bSupported);
        }
    }
}

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchRow &row : ROWS) {
        bAgree &= RegisterRow(&row);
    }
    benchmark::RegisterBenchmark("Viewport/8bit/256/ours", RunViewport);
    benchmark::RegisterBenchmark("Viewport/8bit/256/opencv", RunPeerViewport);
    RegisterRowKernels("sse2", &sse2::ARITHMETIC_KERNELS, 1);
    RegisterRowKernels("avx2", &avx2::ARITHMETIC_KERNELS, __builtin_cpu_supports("avx2") != 0);
    return RunBenchmarks(bAgree, argc, argv);
}
