// Morphology: a 1-bit page beside Leptonica, gray pictures beside OpenCV.
//
// Leptonica's pixels outside the page are set for erosion, as ours: then results are equal to the
// last bit, and compared before anything is timed. Bricks take its fastest call (words that are
// accumulated, DWA), other elements the general one. A sweep of our thinning is put together from
// its erosions; thinning to the end is another algorithm there, and not compared.

#include "harness.h"
#include "pictures.h"

#include <allheaders.h>
#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <malloc.h>
#include <stdio.h>
#include <string.h>

#include <string>

// ---- elements -----------------------------------------------------------------------------------

// As text, rows from the top: x counts.
struct BenchElement {
    int nSide;
    const char *pText;
};

static const BenchElement SQUARE_3 = {3, "xxxxxxxxx"};
static const BenchElement SQUARE_5 = {5, "xxxxxxxxxxxxxxxxxxxxxxxxx"};
static const BenchElement CROSS_3 = {3, " x xxx x "};
static const BenchElement CROSS_5 = {5, "  x    x  xxxxx  x    x  "};
static const BenchElement DISC_5 = {5, " xxx xxxxxxxxxxxxxxx xxx "};
static const BenchElement SCATTERED_5 = {5, "x x x x x x xxx x x x x x"};
static const BenchElement HIT = {3, "    xx   "};
static const BenchElement MISS = {3, "   x     "};

enum { MOST_SIDE = 5 };
struct Descriptor {
    BYTE bytes[MOST_SIDE][MOST_SIDE];
    BYTE *columns[MOST_SIDE];
    FilterMask mask;
};

static const FilterMask *Describe(const BenchElement &e, Descriptor *p)
{
    for (int x = 0; x < e.nSide; x++) {
        p->columns[x] = p->bytes[x];
        for (int y = 0; y < e.nSide; y++) {
            p->bytes[x][y] = e.pText[y * e.nSide + x] == 'x';
        }
    }
    p->mask = {p->columns, e.nSide, e.nSide, e.nSide / 2, e.nSide / 2};
    return &p->mask;
}

static SEL *MakeSel(const char *pHits, const char *pMisses, int nSide)
{
    SEL *pSel = selCreate(nSide, nSide, NULL);
    selSetOrigin(pSel, nSide / 2, nSide / 2);
    for (int i = 0; i < nSide * nSide; i++) {
        const int type = pHits[i] == 'x'                        ? SEL_HIT
                         : pMisses != NULL && pMisses[i] == 'x' ? SEL_MISS
                                                                : SEL_DONT_CARE;
        selSetElement(pSel, i / nSide, i % nSide, type);
    }
    return pSel;
}

// ---- the page -----------------------------------------------------------------------------------

enum PageOperation { DILATE, ERODE, OPEN, HIT_MISS, THIN, SKELETON, BLOCK_ALONE };

struct PageRow {
    const char *pName;
    PageOperation operation;
    const BenchElement *pElement;
    int bBrick;
    int nSweeps;
    int bCompared;
};

static HGLOBAL g_hPage;
static PIX *g_pPage;

static HGLOBAL RunPage(const PageRow &row)
{
    Descriptor element, miss;
    const FilterMask *pMask = row.pElement != NULL ? Describe(*row.pElement, &element) : NULL;
    switch (row.operation) {
    case DILATE:
        return BinaryDilation(g_hPage, pMask, 0, 0, NULL);
    case ERODE:
        return BinaryErosion(g_hPage, pMask, 0, 0, NULL);
    case OPEN:
        return BinaryOpening(g_hPage, pMask, 0, 0, NULL);
    case HIT_MISS:
        return BinaryHitMiss(g_hPage, pMask, Describe(MISS, &miss), 0, 0, NULL);
    case THIN:
        return BinaryThinning(g_hPage, 0, 0, NULL);
    case SKELETON:
        return BinarySkeleton(g_hPage, row.nSweeps, 0, 0, NULL);
    case BLOCK_ALONE:
    default:
        return NEW_BLOCK.Run(g_hPage, 0, 0);
    }
}

// The eight patterns of a sweep: five neighbours in a row and the pixel, and the other three.
static const char *const SWEEP_HITS[] = {" xx xx xx", "xx xx xx ", "   xxxxxx", "xxxxxx   ",
                                         "xxx xx  x", "x  xx xxx", "xxxxx x  ", "  x xxxxx"};
static const char *const SWEEP_MISSES[] = {"x  x  x  ", "  x  x  x", "xxx      ", "      xxx",
                                           "   x  xx ", " xx  x   ", "     x xx", "xx x     "};

static PIX *PeerSweep(void)
{
    PIX *pResult = pixCopy(NULL, g_pPage);
    for (int k = 0; k < 8; k++) {
        SEL *pHit = MakeSel(SWEEP_HITS[k], NULL, 3);
        SEL *pMiss = MakeSel(SWEEP_MISSES[k], NULL, 3);
        PIX *pMatched = pixErode(NULL, g_pPage, pHit);
        PIX *pMissed = pixErode(NULL, g_pPage, pMiss);
        pixSubtract(pMatched, pMatched, pMissed);
        pixSubtract(pResult, pResult, pMatched);
        pixDestroy(&pMatched);
        pixDestroy(&pMissed);
        selDestroy(&pHit);
        selDestroy(&pMiss);
    }
    return pResult;
}

static PIX *RunPeer(const PageRow &row)
{
    const BenchElement *p = row.pElement;
    SEL *pSel = NULL;
    PIX *pResult = NULL;
    if (p != NULL && !row.bBrick) {
        pSel = MakeSel(p->pText, row.operation == HIT_MISS ? MISS.pText : NULL, p->nSide);
    }
    switch (row.operation) {
    case DILATE:
        pResult = pSel != NULL ? pixDilate(NULL, g_pPage, pSel)
                               : pixDilateBrickDwa(NULL, g_pPage, p->nSide, p->nSide);
        break;
    case ERODE:
        pResult = pSel != NULL ? pixErode(NULL, g_pPage, pSel)
                               : pixErodeBrickDwa(NULL, g_pPage, p->nSide, p->nSide);
        break;
    case OPEN:
        pResult = pSel != NULL ? pixOpen(NULL, g_pPage, pSel)
                               : pixOpenBrickDwa(NULL, g_pPage, p->nSide, p->nSide);
        break;
    case HIT_MISS:
        pResult = pixHMT(NULL, g_pPage, pSel);
        break;
    case THIN:
        pResult = PeerSweep();
        break;
    case SKELETON:
        pResult = pixThinConnected(g_pPage, L_THIN_FG, 8, row.nSweeps);
        break;
    case BLOCK_ALONE:
    default:
        pResult = pixCreateNoInit(PAGE_WIDTH, PAGE_HEIGHT, 1);
        memset(pixGetData(pResult), 1, (size_t)pixGetWpl(pResult) * PAGE_HEIGHT * 4);
        break;
    }
    selDestroy(&pSel);
    return pResult;
}

static const PageRow PAGE_ROWS[] = {
    {"Dilate-square3", DILATE, &SQUARE_3, 1, 0, 1},
    {"Dilate-square5", DILATE, &SQUARE_5, 1, 0, 1},
    {"Dilate-cross3", DILATE, &CROSS_3, 0, 0, 1},
    {"Dilate-cross5", DILATE, &CROSS_5, 0, 0, 1},
    {"Dilate-disc5", DILATE, &DISC_5, 0, 0, 1},
    {"Dilate-scattered5", DILATE, &SCATTERED_5, 0, 0, 1},
    {"Erode-square3", ERODE, &SQUARE_3, 1, 0, 1},
    {"Erode-square5", ERODE, &SQUARE_5, 1, 0, 1},
    {"Erode-cross3", ERODE, &CROSS_3, 0, 0, 1},
    {"Erode-cross5", ERODE, &CROSS_5, 0, 0, 1},
    {"Erode-scattered5", ERODE, &SCATTERED_5, 0, 0, 1},
    {"Open-square3", OPEN, &SQUARE_3, 1, 0, 1},
    {"Open-square5", OPEN, &SQUARE_5, 1, 0, 1},
    {"Open-disc5", OPEN, &DISC_5, 0, 0, 1},
    {"HitMiss", HIT_MISS, &HIT, 0, 0, 1},
    {"Thin", THIN, NULL, 0, 0, 1},
    {"Skeleton", SKELETON, NULL, 0, 0, 0},
    {"Skeleton-1", SKELETON, NULL, 0, 1, 0},
    {"Skeleton-10", SKELETON, NULL, 0, 10, 0},
    {"Skeleton-50", SKELETON, NULL, 0, 50, 0},
    {"Memset", BLOCK_ALONE, NULL, 0, 0, 0},
};

// Leptonica's rows begin at the top, black is set, words are of the machine's own order.
static PIX *PixOf(HGLOBAL hDib)
{
    const size_t stride = (PAGE_WIDTH + 31) / 32 * 4;
    PIX *p = pixCreate(PAGE_WIDTH, PAGE_HEIGHT, 1);
    for (int y = 0; y < PAGE_HEIGHT; y++) {
        l_uint32 *row = pixGetData(p) + (size_t)y * (size_t)pixGetWpl(p);
        memcpy(row, PictureBits(hDib) + (size_t)(PAGE_HEIGHT - 1 - y) * stride, stride);
        for (size_t i = 0; i < stride / 4; i++) {
            row[i] = ~__builtin_bswap32(row[i]);
        }
    }
    pixSetPadBits(p, 0);
    return p;
}

// Compared away from the border: the default pattern of hit-or-miss looks beyond it.
static int PageAgrees(const PageRow &row)
{
    const HGLOBAL hResult = RunPage(row);
    PIX *pOurs = PixOf(hResult);
    PIX *pPeer = RunPeer(row);
    pixSetOrClearBorder(pOurs, 1, 1, 1, 1, PIX_CLR);
    pixSetOrClearBorder(pPeer, 1, 1, 1, 1, PIX_CLR);
    l_int32 bSame = 0;
    pixEqual(pOurs, pPeer, &bSame);
    if (!bSame) {
        fprintf(stderr, "%s: the peer's result is another.\n", row.pName);
    }
    pixDestroy(&pOurs);
    pixDestroy(&pPeer);
    GlobalFree(hResult);
    return bSame;
}

static void SetHeap(int bKeep)
{
    mallopt(M_MMAP_THRESHOLD, bKeep ? 1 << 30 : 128 << 10);
    mallopt(M_TRIM_THRESHOLD, bKeep ? 1 << 30 : 128 << 10);
    GlobalCompact(0);
    malloc_trim(0);
}

static void TimePage(benchmark::State &state, const PageRow *pRow, int bPeer, int bReused)
{
    SetHeap(bReused);
    for (auto _ : state) {
        const HGLOBAL hResult = bPeer ? NULL : RunPage(*pRow);
        PIX *pPix = bPeer ? RunPeer(*pRow) : NULL;
        state.PauseTiming();
        GlobalFree(hResult);
        pixDestroy(&pPix);
        if (!bReused) {
            SetHeap(0);
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * PAGE_WIDTH * PAGE_HEIGHT);
}

static int RegisterPage(void)
{
    int bAgree = 1;
    resetMorphBoundaryCondition(SYMMETRIC_MORPH_BC);
    g_hPage = MakePage();
    g_pPage = PixOf(g_hPage);
    for (const PageRow &row : PAGE_ROWS) {
        bAgree &= !row.bCompared || PageAgrees(row);
        for (int i = 0; i < 4; i++) {
            const std::string name = std::string(row.pName) + "/1bit/page" +
                                     (i / 2 ? "-reused" : "") + (i % 2 ? "/leptonica" : "/ours");
            benchmark::RegisterBenchmark(name.c_str(), TimePage, &row, i % 2, i / 2);
        }
    }
    return bAgree;
}

// ---- gray ---------------------------------------------------------------------------------------

static const BYTE HEIGHTS[9] = {0, 20, 5, 30, 40, 10, 0, 25, 15};

typedef HGLOBAL(VEXAFILTER_API *GrayExport)(HGLOBAL, const FilterMask *, UINT, HWND);

// nSide of a flat square; 0: the 3 x 3 heights above.
template <GrayExport EXPORT> static HGLOBAL Gray(HGLOBAL hDib, int nSide, UINT mode)
{
    static BYTE zeros[64];
    static BYTE heights[9];
    BYTE *columns[64];
    for (int i = 0; i < 9; i++) {
        heights[i % 3 * 3 + i / 3] = HEIGHTS[i];
    }
    const int n = nSide == 0 ? 3 : nSide;
    for (int i = 0; i < n; i++) {
        columns[i] = nSide == 0 ? heights + 3 * i : zeros;
    }
    const FilterMask mask = {columns, n, n, n / 2, n / 2};
    return EXPORT(hDib, &mask, mode, NULL);
}

template <int OPERATION, int N> static void PeerGray(const cv::Mat &src, cv::Mat &dst)
{
    cv::morphologyEx(src, dst, OPERATION, cv::Mat::ones(N, N, CV_8U));
}

static void PeerValued(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat wide, sum;
    cv::copyMakeBorder(src, wide, 1, 1, 1, 1, cv::BORDER_CONSTANT, cv::Scalar(0));
    for (int i = 0; i < 9; i++) {
        const cv::Mat view = wide(cv::Rect(i % 3, i / 3, src.cols, src.rows));
        cv::add(view, cv::Scalar(HEIGHTS[i]), i == 0 ? dst : sum);
        if (i > 0) {
            cv::max(dst, sum, dst);
        }
    }
}

static const BenchRow GRAY_ROWS[] = {
    {{"GrayDilate-3", Gray<GrayScaleDilation>, 3, 1}, PeerGray<cv::MORPH_DILATE, 3>, 0},
    {{"GrayDilate-5", Gray<GrayScaleDilation>, 5, 1}, PeerGray<cv::MORPH_DILATE, 5>, 0},
    {{"GrayDilate-31", Gray<GrayScaleDilation>, 31, 1}, PeerGray<cv::MORPH_DILATE, 31>, 0},
    {{"GrayErode-3", Gray<GrayScaleErosion>, 3, 1}, PeerGray<cv::MORPH_ERODE, 3>, 0},
    {{"GrayOpen-3", Gray<GrayScaleOpening>, 3, 1}, PeerGray<cv::MORPH_OPEN, 3>, 0},
    {{"GrayOpen-15", Gray<GrayScaleOpening>, 15, 1}, PeerGray<cv::MORPH_OPEN, 15>, 0},
    {{"GrayClose-3", Gray<GrayScaleClosing>, 3, 1}, PeerGray<cv::MORPH_CLOSE, 3>, 0},
    {{"TopHat-3", Gray<GrayScaleTopHat>, 3, 1}, PeerGray<cv::MORPH_TOPHAT, 3>, 0},
    {{"TopHat-15", Gray<GrayScaleTopHat>, 15, 1}, PeerGray<cv::MORPH_TOPHAT, 15>, 0},
    {{"Valued-3", Gray<GrayScaleDilation>, 0, 1}, PeerValued, 0},
};

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    int bAgree = RegisterPage();
    for (const BenchRow &row : GRAY_ROWS) {
        bAgree &= RegisterRow(&row, row.filter.nParameter == 0 ? 1 : 0);
    }
    return RunBenchmarks(bAgree, argc, argv);
}
