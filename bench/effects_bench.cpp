// The effects beside OpenCV.
//
// A motion blur meets filter2D with a kernel that has one weight for each of its samples, and along
// the rows a box of the same length, too. Polar and cylinder meet remap to the nearest pixel, the
// maps made in the call; polar also the peer's own polar warp, which is the same work another way
// round. Mosaic meets resize down by areas and up again, noise the peer's random numbers, added.
// The zoom blur, the shuffles and the puzzle have no peer. Before anything is timed the results are
// compared inside the picture where the work is the same; the peer rounds to nearest.

#include "harness.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <math.h>
#include <string.h>

enum { LENGTH = 15, MOSAIC_SIDE = 16, NOISE_AMOUNT = 40, GLASS_RADIUS = 700 };

// ---- the peer -----------------------------------------------------------------------------------

template <int ANGLE> static void PeerMotion(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = [] {
        cv::Mat weights = cv::Mat::zeros(LENGTH, LENGTH, CV_32F);
        const double theta = (360 - ANGLE) * 0.01745277777777778;
        for (int t = -(LENGTH / 2); t <= LENGTH / 2; t++) {
            const int x = (int)floor(t * cos(theta)), y = (int)floor(t * sin(theta));
            weights.at<float>(LENGTH / 2 + y, LENGTH / 2 + x) += 1.0F / LENGTH;
        }
        // Empty rows cost the peer time.
        int top = 0, bottom = LENGTH;
        while (cv::countNonZero(weights.row(top)) == 0) {
            top++;
        }
        while (cv::countNonZero(weights.row(bottom - 1)) == 0) {
            bottom--;
        }
        return cv::Mat(weights.rowRange(top, bottom)).clone();
    }();
    static const int above = ANGLE == 0 ? 1 : kernel.rows / 2;
    cv::filter2D(src, dst, -1, kernel, cv::Point(LENGTH / 2, above), 0, cv::BORDER_CONSTANT);
}

static void PeerBoxAlong(const cv::Mat &src, cv::Mat &dst)
{
    cv::blur(src, dst, cv::Size(LENGTH, 1), cv::Point(-1, -1), cv::BORDER_CONSTANT);
}

template <int SIZE> static void PeerAverage(const cv::Mat &src, cv::Mat &dst)
{
    cv::blur(src, dst, cv::Size(SIZE, SIZE), cv::Point(SIZE / 2, SIZE / 2), cv::BORDER_REFLECT_101);
}

static void PeerMosaic(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat small;
    cv::resize(src, small, cv::Size(src.cols / MOSAIC_SIDE, src.rows / MOSAIC_SIDE), 0, 0,
               cv::INTER_AREA);
    cv::resize(small, dst, src.size(), 0, 0, cv::INTER_NEAREST);
}

static void PeerMultiply(const cv::Mat &src, cv::Mat &dst)
{
    src.convertTo(dst, -1, 1.5);
}

static void PeerNoise(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat noise(src.size(), src.type());
    cv::randu(noise, cv::Scalar::all(0), cv::Scalar::all(NOISE_AMOUNT));
    cv::add(src, noise, dst);
    cv::subtract(dst, cv::Scalar::all(NOISE_AMOUNT / 2), dst);
}

static void PeerWarpPolar(const cv::Mat &src, cv::Mat &dst)
{
    const cv::Point2f centre((float)(src.cols / 2), (float)(src.rows / 2));
    cv::warpPolar(src, dst, src.size(), centre, src.rows / 2.0,
                  cv::WARP_INVERSE_MAP | cv::INTER_NEAREST);
}

// Angles and radii of a row at a time, by the peer's own vector function.
static void PeerPolar(const cv::Mat &src, cv::Mat &dst)
{
    const int width = src.cols, height = src.rows, shorter = std::min(width, height);
    cv::Mat mapX(src.size(), CV_32F), mapY(src.size(), CV_32F);
    cv::Mat dx(1, width, CV_32F), dy(1, width, CV_32F);
    for (int x = 0; x < width; x++) {
        dx.at<float>(x) = (float)(x - width / 2);
    }
    for (int y = 0; y < height; y++) {
        cv::Mat radii = mapY.row(y), angles = mapX.row(y);
        dy.setTo(cv::Scalar(height / 2 - y));
        cv::cartToPolar(dx, dy, radii, angles, true);
        angles *= (width - 1) / 360.0;
        radii *= 2.0 * (height - 1) / shorter;
    }
    cv::remap(src, dst, mapX, mapY, cv::INTER_NEAREST, cv::BORDER_CONSTANT);
}

static void PeerCylinder(const cv::Mat &src, cv::Mat &dst)
{
    cv::Mat mapX(src.size(), CV_32F), mapY(src.size(), CV_32F);
    float *row = mapX.ptr<float>(0);
    const int half = src.cols / 2;
    for (int x = 0; x < half; x++) {
        const double s = (double)(half - x) / GLASS_RADIUS, t = s * 1.4;
        double d = half - x;
        d = t <= 1 ? floor(d * 1.4 / sin(asin(s) + 1.570796326794895 - asin(t)) + 0.5) : d;
        row[x] = (float)(d < half ? half - d : x);
        row[src.cols - 1 - x] =
            (float)(d < half && (t <= 1 || s >= 1) ? half + d : src.cols - 1 - x);
    }
    for (int y = 0; y < src.rows; y++) {
        memcpy(mapX.ptr<float>(y), row, (size_t)src.cols * sizeof(float));
        mapY.row(y).setTo(cv::Scalar(y));
    }
    cv::remap(src, dst, mapX, mapY, cv::INTER_NEAREST);
}

// ---- rows ---------------------------------------------------------------------------------------

static const struct {
    const char *pName;
    PeerFilter peer;
    int nTolerance;
} PEERS[] = {
    {"MotionBlur-0", PeerMotion<0>, 1},    {"MotionBlur-30", PeerMotion<30>, 1},
    {"Average-4", PeerAverage<4>, 1},      {"Average-16", PeerAverage<16>, 1},
    {"Average-64", PeerAverage<64>, 1},    {"Average-256", PeerAverage<256>, 1},
    {"Mosaic-16", PeerMosaic, 1},          {"Multiply-15", PeerMultiply, 1},
    {"Noise-40", PeerNoise, NOT_COMPARED}, {"Polar", PeerPolar, NOT_COMPARED},
    {"Cylinder-700", PeerCylinder, 0},
};

// The margin in which a peer's borders count.
static int MarginOf(const BenchFilter *pFilter)
{
    return strncmp(pFilter->pName, "Average", 7) == 0 ? pFilter->nParameter : LENGTH;
}

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchFilter *p = EFFECTS; p->pName != NULL; p++) {
        PeerFilter found = NULL;
        for (const auto &row : PEERS) {
            if (strcmp(row.pName, p->pName) == 0) {
                found = row.peer;
                bAgree &= row.nTolerance == NOT_COMPARED ||
                          PeerAgrees(p, row.peer, row.nTolerance, MarginOf(p));
            }
        }
        RegisterWholeCalls(p, "opencv", found);
        if (strcmp(p->pName, "MotionBlur-0") == 0) {
            RegisterOtherPeer(p, "opencv-blur", PeerBoxAlong);
        } else if (strcmp(p->pName, "Polar") == 0) {
            RegisterOtherPeer(p, "opencv-warpPolar", PeerWarpPolar);
        }
    }
    return RunBenchmarks(bAgree, argc, argv);
}
