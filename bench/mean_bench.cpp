// The mean and adaptive filters beside OpenCV, which has none of them: the peer puts each together
// from tables, box filters and matrix arithmetic in 32-bit floating point, the usual way.
//
// The peer neither keeps the order of the sums nor truncates where we do. Before anything is timed
// the results are compared away from the border: they may differ by one level, two for the
// geometric mean, whose own factors are rounded. The double-window filter has no such peer, nor
// have orders whose sums are rounded on the way.

#include "harness.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <math.h>

#include <string>

// ---- ours ---------------------------------------------------------------------------------------

static HGLOBAL Geometric(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterGeometricMean(hDib, nSize, mode, NULL);
}

static HGLOBAL Harmonic(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterHarmonicMean(hDib, nSize, mode, NULL);
}

template <int ORDER> static HGLOBAL Contra(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterContraHarmonicMean(hDib, nSize, ORDER, mode, NULL);
}

template <int ORDER> static HGLOBAL Yp(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterYpMean(hDib, nSize, ORDER, mode, NULL);
}

enum { NOISE = 400 };

static HGLOBAL Mmse(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAdaptiveMMSE(hDib, nSize, NOISE, mode, NULL);
}

// The small window is two smaller.
static HGLOBAL Trimmed(HGLOBAL hDib, int nLargeSize, UINT mode)
{
    return FilterAdaptiveDWMTM(hDib, nLargeSize - 2, nLargeSize, 20, mode, NULL);
}

enum { MASK_SIDE = 7 };

static BYTE Weight(int row, int column)
{
    return (BYTE)(1 + row + 2 * column);
}

// One row and column more stays uncomputed than the peer's.
static HGLOBAL Weighted(HGLOBAL hDib, int, UINT mode)
{
    BYTE runs[MASK_SIDE][MASK_SIDE];
    BYTE *elements[MASK_SIDE];
    for (int i = 0; i < MASK_SIDE; i++) {
        elements[i] = runs[i];
        for (int j = 0; j < MASK_SIDE; j++) {
            runs[i][j] = Weight(j, i);
        }
    }
    const FilterMask mask = {elements, MASK_SIDE, MASK_SIDE, MASK_SIDE / 2, MASK_SIDE / 2};
    return FilterWeightedMean(hDib, &mask, mode, NULL);
}

static HGLOBAL EqualWeights(HGLOBAL hDib, int, UINT mode)
{
    return FilterWeightedMean(hDib, NULL, mode, NULL);
}

// ---- the peer -----------------------------------------------------------------------------------

static cv::Mat Table(double (*f)(double))
{
    cv::Mat table(1, 256, CV_32F);
    for (int s = 0; s < 256; s++) {
        table.at<float>(s) = (float)f(s);
    }
    return table;
}

static double LogOf(double s)
{
    return s > 0 ? log(s) : -1e6;
}

static double InverseOf(double s)
{
    return s > 0 ? 1 / s : 1e6;
}

static cv::Mat Box(const cv::Mat &src, int n)
{
    cv::Mat mean;
    cv::boxFilter(src, mean, CV_32F, cv::Size(n, n));
    return mean;
}

static cv::Mat SquareBox(const cv::Mat &src, int n)
{
    cv::Mat mean;
    cv::sqrBoxFilter(src, mean, CV_32F, cv::Size(n, n));
    return mean;
}

template <int N> static void PeerGeometric(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table = Table(LogOf);
    cv::Mat logs;
    cv::LUT(src, table, logs);
    cv::Mat mean = Box(logs, N);
    cv::exp(mean, mean);
    mean.convertTo(dst, CV_8U);
}

template <int N> static void PeerHarmonic(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table = Table(InverseOf);
    cv::Mat inverses;
    cv::LUT(src, table, inverses);
    cv::divide(1, Box(inverses, N), dst, CV_8U);
}

template <int N> static void PeerContra(const cv::Mat &src, cv::Mat &dst)
{
    cv::divide(SquareBox(src, N), Box(src, N), dst, 1, CV_8U);
}

template <int N> static void PeerYp(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat mean = SquareBox(src, N);
    cv::sqrt(mean, mean);
    mean.convertTo(dst, CV_8U);
}

// g + V / variance x (mean - g)
template <int N> static void PeerMmse(const cv::Mat &src, cv::Mat &dst)
{
    const cv::Mat mean = Box(src, N);
    cv::Mat ratio = SquareBox(src, N), squares, pull;
    cv::multiply(mean, mean, squares);
    cv::subtract(ratio, squares, ratio);
    cv::divide(NOISE, ratio, ratio);
    cv::subtract(mean, src, pull, cv::noArray(), CV_32F);
    cv::multiply(pull, ratio, pull);
    cv::add(src, pull, dst, cv::noArray(), CV_8U);
}

static void PeerWeighted(const cv::Mat &src, cv::Mat &dst)
{
    static cv::Mat kernel;
    if (kernel.empty()) {
        kernel.create(MASK_SIDE, MASK_SIDE, CV_32F);
        for (int i = 0; i < MASK_SIDE * MASK_SIDE; i++) {
            kernel.at<float>(i / MASK_SIDE, i % MASK_SIDE) = Weight(i / MASK_SIDE, i % MASK_SIDE);
        }
        kernel /= cv::sum(kernel)[0];
    }
    cv::filter2D(src, dst, CV_8U, kernel);
}

static void PeerEqualWeights(const cv::Mat &src, cv::Mat &dst)
{
    cv::blur(src, dst, cv::Size(3, 3));
}

// ---- rows ---------------------------------------------------------------------------------------

static const BenchRow ROWS[] = {
    {{"Geometric-3", Geometric, 3}, PeerGeometric<3>, 2},
    {{"Geometric-7", Geometric, 7}, PeerGeometric<7>, 2},
    {{"Geometric-15", Geometric, 15}, PeerGeometric<15>, 2},
    {{"Geometric-31", Geometric, 31}, PeerGeometric<31>, 2},
    {{"Harmonic-3", Harmonic, 3}, PeerHarmonic<3>, 1},
    {{"Harmonic-7", Harmonic, 7}, PeerHarmonic<7>, 1},
    {{"Harmonic-15", Harmonic, 15}, PeerHarmonic<15>, 1},
    {{"Harmonic-31", Harmonic, 31}, PeerHarmonic<31>, 1},
    {{"Contra1-3", Contra<1>, 3}, PeerContra<3>, 1},
    {{"Contra1-7", Contra<1>, 7}, PeerContra<7>, 1},
    {{"Contra1-15", Contra<1>, 15}, PeerContra<15>, 1},
    {{"Contra2-3", Contra<2>, 3}, NULL, 0},
    {{"Contra2-7", Contra<2>, 7}, NULL, 0},
    {{"Contra-1-3", Contra<-1>, 3}, NULL, 0},
    {{"Contra-1-7", Contra<-1>, 7}, NULL, 0},
    {{"Contra-2-3", Contra<-2>, 3}, NULL, 0},
    {{"Yp2-3", Yp<2>, 3}, PeerYp<3>, 1},
    {{"Yp2-7", Yp<2>, 7}, PeerYp<7>, 1},
    {{"Yp2-15", Yp<2>, 15}, PeerYp<15>, 1},
    {{"Yp3-3", Yp<3>, 3}, NULL, 0},
    {{"Yp3-7", Yp<3>, 7}, NULL, 0},
    {{"Yp-1-3", Yp<-1>, 3}, PeerHarmonic<3>, 1},
    {{"Yp-1-7", Yp<-1>, 7}, PeerHarmonic<7>, 1},
    {{"Mmse-3", Mmse, 3}, PeerMmse<3>, NOT_COMPARED},  // near-flat windows leave the ratio open
    {{"Mmse-7", Mmse, 7}, PeerMmse<7>, NOT_COMPARED},
    {{"Mmse-31", Mmse, 31}, PeerMmse<31>, NOT_COMPARED},
    {{"Dwmtm-5", Trimmed, 5}, NULL, 0},
    {{"Dwmtm-9", Trimmed, 9}, NULL, 0},
    {{"Dwmtm-15", Trimmed, 15}, NULL, 0},
    {{"Dwmtm-31", Trimmed, 31}, NULL, 0},
    {{"Weighted-7", Weighted, 7}, PeerWeighted, 1},
    {{"Weighted-equal", EqualWeights, 3}, PeerEqualWeights, 1},
};

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchRow &row : ROWS) {
        bAgree &= RegisterRow(&row, row.filter.nParameter);
    }
    return RunBenchmarks(bAgree, argc, argv);
}
