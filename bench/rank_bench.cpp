// The rank filters beside OpenCV.
//
// Extremes must agree exactly away from the border; the peer's midpoint rounds where ours drops the
// half. Its median is that of all samples, ours leaves the first one out, so those results are not
// compared: the work is the same. The trimmed mean and the weighted median have no such peer.

#include "harness.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

// ---- ours ---------------------------------------------------------------------------------------

static HGLOBAL Minimum(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMinimum(hDib, nSize, mode, NULL);
}

static HGLOBAL Maximum(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMaximum(hDib, nSize, mode, NULL);
}

static HGLOBAL Midpoint(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMidpoint(hDib, nSize, mode, NULL);
}

static HGLOBAL RangeOf(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterRange(hDib, nSize, mode, NULL);
}

static HGLOBAL Median(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterMedian(hDib, nSize, mode, NULL);
}

// A fifth of the samples goes at either end.
static HGLOBAL Trimmed(HGLOBAL hDib, int nSize, UINT mode)
{
    return FilterAlphaTrimmedMean(hDib, nSize, nSize * nSize / 5, mode, NULL);
}

static HGLOBAL Weighted(HGLOBAL hDib, int, UINT mode)
{
    return FilterWeightedMedian(hDib, NULL, mode, NULL);
}

// ---- the peer -----------------------------------------------------------------------------------

static cv::Mat Square(int n)
{
    return cv::Mat::ones(n, n, CV_8U);
}

template <int N> static void PeerMinimum(const cv::Mat &src, cv::Mat &dst)
{
    cv::erode(src, dst, Square(N));
}

template <int N> static void PeerMaximum(const cv::Mat &src, cv::Mat &dst)
{
    cv::dilate(src, dst, Square(N));
}

template <int N> static void PeerMidpoint(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat lowest;
    cv::erode(src, lowest, Square(N));
    cv::dilate(src, dst, Square(N));
    cv::addWeighted(lowest, 0.5, dst, 0.5, 0, dst);
}

template <int N> static void PeerRange(const cv::Mat &src, cv::Mat &dst)
{
    cv::morphologyEx(src, dst, cv::MORPH_GRADIENT, Square(N));
}

template <int N> static void PeerMedian(const cv::Mat &src, cv::Mat &dst)
{
    cv::medianBlur(src, dst, N);
}

// ---- rows ---------------------------------------------------------------------------------------

static const BenchRow ROWS[] = {
    {{"Minimum-3", Minimum, 3}, PeerMinimum<3>, 0},
    {{"Minimum-5", Minimum, 5}, PeerMinimum<5>, 0},
    {{"Minimum-7", Minimum, 7}, PeerMinimum<7>, 0},
    {{"Minimum-15", Minimum, 15}, PeerMinimum<15>, 0},
    {{"Minimum-31", Minimum, 31}, PeerMinimum<31>, 0},
    {{"Maximum-3", Maximum, 3}, PeerMaximum<3>, 0},
    {{"Maximum-31", Maximum, 31}, PeerMaximum<31>, 0},
    {{"Midpoint-3", Midpoint, 3}, PeerMidpoint<3>, 1},
    {{"Midpoint-7", Midpoint, 7}, PeerMidpoint<7>, 1},
    {{"Midpoint-31", Midpoint, 31}, PeerMidpoint<31>, 1},
    {{"Range-3", RangeOf, 3}, PeerRange<3>, 0},
    {{"Range-7", RangeOf, 7}, PeerRange<7>, 0},
    {{"Range-31", RangeOf, 31}, PeerRange<31>, 0},
    {{"Median-3", Median, 3}, PeerMedian<3>, NOT_COMPARED},
    {{"Median-5", Median, 5}, PeerMedian<5>, NOT_COMPARED},
    {{"Median-7", Median, 7}, PeerMedian<7>, NOT_COMPARED},
    {{"Median-9", Median, 9}, PeerMedian<9>, NOT_COMPARED},
    {{"Median-15", Median, 15}, PeerMedian<15>, NOT_COMPARED},
    {{"Median-31", Median, 31}, PeerMedian<31>, NOT_COMPARED},
    {{"Median-101", Median, 101}, PeerMedian<101>, NOT_COMPARED},
    {{"Median-301", Median, 301}, NULL, 0},
    {{"Trimmed-3", Trimmed, 3}, NULL, 0},
    {{"Trimmed-5", Trimmed, 5}, NULL, 0},
    {{"Trimmed-7", Trimmed, 7}, NULL, 0},
    {{"Trimmed-15", Trimmed, 15}, NULL, 0},
    {{"Trimmed-31", Trimmed, 31}, NULL, 0},
    {{"Weighted", Weighted, 0}, NULL, 0},
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
