// The tonal filters beside OpenCV.
//
// Fixed curves meet the peer's table look-up, auto contrast its normalisation by the extremes, in
// colour channel by channel, the two levels filters its histogram and a table made from that (that
// of automatic levels for both: the work is the same). Differences meet the absolute difference of
// two overlapping views. Before anything is timed the results are compared inside the picture, but
// for levels; the normalisation rounds to nearest and may differ by one.

#include "harness.h"

#include "peer_table.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

enum { LEVELS = 256, THRESHOLD = 128, POSTER_LEVELS = 8 };

// ---- ours ---------------------------------------------------------------------------------------

static HGLOBAL AutoContrast(HGLOBAL hDib, int, UINT mode)
{
    return FilterAutoContrast(hDib, mode, NULL);
}

static HGLOBAL Parabola(HGLOBAL hDib, int bInvert, UINT mode)
{
    return FilterParabolaTransformation(hDib, (UINT)bInvert, mode, NULL);
}

static HGLOBAL Solarizing(HGLOBAL hDib, int nThreshold, UINT mode)
{
    return FilterSolarizing(hDib, nThreshold, mode, NULL);
}

static HGLOBAL Posterizing(HGLOBAL hDib, int nLevels, UINT mode)
{
    return FilterPosterizing(hDib, nLevels, mode, NULL);
}

static HGLOBAL Levels(HGLOBAL hDib, int, UINT mode)
{
    return FilterLevels(hDib, 20, 230, 100, 0, 255, 0, mode, NULL);
}

static HGLOBAL AutoLevels(HGLOBAL hDib, int nClipPercent, UINT mode)
{
    return FilterAutoLevels(hDib, nClipPercent, mode, NULL);
}

static HGLOBAL Difference(HGLOBAL hDib, int nDirection, UINT mode)
{
    return FilterDifference(hDib, (UINT)nDirection, mode, NULL);
}

// ---- the peer -----------------------------------------------------------------------------------

static void PeerParabola(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table = TableOf([](int level) {
        const double t = level / 128.0 - 1;
        return (int)(t * t * 255);
    });
    cv::LUT(src, table, dst);
}

static void PeerSolarizing(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat gray =
        TableOf([](int level) { return level > THRESHOLD ? 255 - level : level; });
    static const cv::Mat color =
        TableOf([](int level) { return level > THRESHOLD ? 255 - level : 0; });
    cv::LUT(src, src.channels() == 3 ? color : gray, dst);
}

static void PeerPosterizing(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat table = TableOf([](int level) {
        const int step = 255 / (POSTER_LEVELS - 1);
        return (level + step / 2) / step * step;
    });
    cv::LUT(src, table, dst);
}

static void PeerContrast(const cv::Mat &src, cv::Mat &dst)
{
    if (src.channels() == 1) {
        cv::normalize(src, dst, 0, 255, cv::NORM_MINMAX);
        return;
    }
    cv::Mat channels[3];
    cv::split(src, channels);
    for (cv::Mat &channel : channels) {
        cv::normalize(channel, channel, 0, 255, cv::NORM_MINMAX);
    }
    cv::merge(channels, 3, dst);
}

// The table of automatic levels without clipping, from the counts of a channel.
static void SpreadPresent(const cv::Mat &counts, BYTE *table, size_t step)
{
    int n = 0, rank = -1, last = 0, highest = 0;
    for (int level = 0; level < LEVELS; level++) {
        const bool bPresent = (int)counts.at<float>(level) % 256 != 0;
        n += bPresent;
        highest = bPresent ? level : highest;
    }
    for (int level = 0; level < LEVELS; level++) {
        const bool bPresent = (int)counts.at<float>(level) % 256 != 0;
        rank += bPresent;
        const int value = level >= highest && rank >= 0 ? 255 : bPresent ? 255 * rank / (n + 1) : 0;
        last = value != 0 ? value : last;
        table[(size_t)level * step] = (BYTE)last;
    }
}

static void PeerAutoLevels(const cv::Mat &src, cv::Mat &dst)
{
    const int nLevels = LEVELS;
    const float range[] = {0, LEVELS};
    const float *ranges = range;
    const int channels = src.channels();
    cv::Mat table(1, LEVELS, CV_8UC(channels));
    for (int channel = 0; channel < channels; channel++) {
        cv::Mat counts;
        cv::calcHist(&src, 1, &channel, cv::Mat(), counts, 1, &nLevels, &ranges);
        SpreadPresent(counts, table.data + channel, (size_t)channels);
    }
    cv::LUT(src, table, dst);
}

static void PeerLeft(const cv::Mat &src, cv::Mat &dst)
{
    dst.create(src.size(), src.type());
    cv::Mat right = dst.colRange(1, src.cols);
    cv::absdiff(src.colRange(1, src.cols), src.colRange(0, src.cols - 1), right);
    dst.col(0).setTo(0);
}

static void PeerAboveRight(const cv::Mat &src, cv::Mat &dst)
{
    const cv::Mat lower = src.rowRange(1, src.rows), upper = src.rowRange(0, src.rows - 1);
    const int last = src.cols - 1;
    dst.create(src.size(), src.type());
    cv::Mat inside = dst.rowRange(1, src.rows).colRange(0, last);
    cv::absdiff(lower.colRange(0, last), upper.colRange(1, src.cols), inside);
    dst.row(0).setTo(0);
    dst.col(last).setTo(0);
}

static const BenchRow ROWS[] = {
    {{"AutoContrast", AutoContrast, 0}, PeerContrast, 1},
    {{"Parabola", Parabola, 0}, PeerParabola, 0},
    {{"Solarizing", Solarizing, THRESHOLD}, PeerSolarizing, 0},
    {{"Posterizing", Posterizing, POSTER_LEVELS}, PeerPosterizing, 0},
    {{"Levels", Levels, 0}, PeerAutoLevels, NOT_COMPARED},
    {{"AutoLevels", AutoLevels, 0}, PeerAutoLevels, 0},
    {{"Difference-0", Difference, 0}, PeerLeft, 0},
    {{"Difference-3", Difference, 3}, PeerAboveRight, 0},
};

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchRow &row : ROWS) {
        bAgree &= RegisterRow(&row);
    }
    return RunBenchmarks(bAgree, argc, argv);
}
