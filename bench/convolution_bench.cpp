// The 3 x 3 convolution filters beside OpenCV, and their kernels at each level.
//
// For each filter the peer is the fastest of OpenCV's calls that does the same work (tried:
// filter2D, sepFilter2D, Laplacian, Sobel to 8 bits, Sobel to 16 bits and convertTo, subtract of
// two overlapping views; blur; GaussianBlur), to 8 bits, borders reflected. Before anything is
// timed the results are compared inside the picture: whole-number kernels must agree exactly, and
// where the peer rounds to nearest and we round down they may differ by one.

#include "harness.h"

#include "convolution/convolution_kernels.h"

#include <benchmark/benchmark.h>
#include <opencv2/imgproc.hpp>

#include <string.h>

#include <string>

// ---- the peer -----------------------------------------------------------------------------------

static const cv::Point CENTRE(-1, -1);

static cv::Mat Weights(const double *weights)
{
    cv::Mat kernel(3, 3, CV_32F);
    for (int k = 0; k < WEIGHTS; k++) {
        kernel.at<float>(k / 3, k % 3) = (float)weights[k];
    }
    return kernel;
}

static cv::Mat Weights(const int *weights)
{
    double wide[WEIGHTS];
    for (int k = 0; k < WEIGHTS; k++) {
        wide[k] = weights[k];
    }
    return Weights(wide);
}

static void Convolve(const cv::Mat &src, cv::Mat &dst, const cv::Mat &kernel)
{
    cv::filter2D(src, dst, CV_8U, kernel, CENTRE, 0, cv::BORDER_REFLECT_101);
}

// Rows weighted along (1, middle, 1), then the difference of the rows above and below.
static void RowDifference(const cv::Mat &src, cv::Mat &dst, float middle)
{
    static const cv::Mat down = (cv::Mat_<float>(3, 1) << 1, 0, -1);
    const cv::Mat along = (cv::Mat_<float>(1, 3) << 1, middle, 1);
    cv::sepFilter2D(src, dst, CV_8U, along, down, CENTRE, 0, cv::BORDER_REFLECT_101);
}

static void PeerLaplace4(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = Weights(LAPLACE_WEIGHTS[0]);
    Convolve(src, dst, kernel);
}

static void PeerLaplace8(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = Weights(LAPLACE_WEIGHTS[1]);
    Convolve(src, dst, kernel);
}

static void PeerIsotropic(const cv::Mat &src, cv::Mat &dst)
{
    RowDifference(src, dst, (float)ROOT);
}

static void PeerKirsch(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = Weights(GRADIENT_WEIGHTS[1][0]);
    Convolve(src, dst, kernel);
}

// The last row repeats the one before it, as ours does.
static void PeerDifference(const cv::Mat &src, cv::Mat &dst)
{
    const int last = src.rows - 1;
    dst.create(src.size(), src.type());
    cv::Mat upper = dst.rowRange(0, last);
    cv::subtract(src.rowRange(0, last), src.rowRange(1, last + 1), upper);
    dst.row(last - 1).copyTo(dst.row(last));
}

static void PeerDifferenceKernel(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = Weights(GRADIENT_WEIGHTS[2][0]);
    Convolve(src, dst, kernel);
}

static void PeerSobel(const cv::Mat &src, cv::Mat &dst)
{
    RowDifference(src, dst, 2);
}

static void PeerEnhance(const cv::Mat &src, cv::Mat &dst)
{
    static const cv::Mat kernel = Weights(ENHANCE_WEIGHTS[ENHANCE_INNER]);
    Convolve(src, dst, kernel);
}

static void PeerUniform(const cv::Mat &src, cv::Mat &dst)
{
    cv::blur(src, dst, cv::Size(3, 3), CENTRE, cv::BORDER_REFLECT_101);
}

static void PeerGauss(const cv::Mat &src, cv::Mat &dst)
{
    cv::GaussianBlur(src, dst, cv::Size(3, 3), 0, 0, cv::BORDER_REFLECT_101);
}

static const struct Peer {
    const char *pFilter;
    PeerFilter Run;
    int nTolerance;
} PEERS[] = {
    {"Laplace-0", PeerLaplace4, 0},
    {"Laplace-10", PeerLaplace8, 0},
    {"Gradient-0", PeerIsotropic, 1},
    {"Gradient-10", PeerKirsch, 0},
    {"Gradient-20", PeerDifference, 0},
    {"Gradient-50", PeerSobel, 0},
    {"Enhance", PeerEnhance, 0},
    {"Uniform", PeerUniform, 1},
    {"Gauss", PeerGauss, 1},
};

// A filter without a peer is timed alone.
static int RegisterFilter(const BenchFilter *pFilter)
{
    for (const Peer &peer : PEERS) {
        if (strcmp(peer.pFilter, pFilter->pName) == 0) {
            RegisterWholeCalls(pFilter, "opencv", peer.Run);
            return PeerAgrees(pFilter, peer.Run, peer.nTolerance);
        }
    }
    RegisterWholeCalls(pFilter, NULL, NULL);
    return 1;
}

// ---- the kernels --------------------------------------------------------------------------------

static void RegisterLevel(const char *pLevel, const WeightedKernels *pWeighted,
                          const SmoothingKernels *pMean)
{
    static const char *const LAPLACE_NAMES[LAPLACE_KERNELS] = {
        "laplace-0", "laplace-10", "laplace-1", "laplace-2", "laplace-13", "laplace-14"};
    static const char *const FAMILY_NAMES[GRADIENT_FAMILIES] = {
        "isotropic", "kirsch", "neighbour", "prewitt", "central", "sobel", "neighbour-turned"};
    static const char *const ENHANCE_NAMES[ENHANCE_KERNELS] = {"enhance", "enhance-edge-row",
                                                               "enhance-edge-column"};
    for (int i = 0; i < LAPLACE_KERNELS; i++) {
        RegisterKernel(LAPLACE_NAMES[i], pLevel, pWeighted->laplace[i]);
    }
    for (int f = 0; f < GRADIENT_FAMILIES; f++) {
        for (int d = 0; d < GRADIENT_DIRECTIONS; d++) {
            const std::string name = std::string(FAMILY_NAMES[f]) + "-" + std::to_string(d);
            RegisterKernel(name.c_str(), pLevel, pWeighted->gradient[f][d]);
        }
    }
    for (int i = 0; i < ENHANCE_KERNELS; i++) {
        RegisterKernel(ENHANCE_NAMES[i], pLevel, pWeighted->enhance[i]);
    }
    RegisterKernel("uniform", pLevel, pMean->uniform);
    RegisterKernel("gauss", pLevel, pMean->gauss);
}

int main(int argc, char **argv)
{
    int bAgree = 1;
    cv::setNumThreads(1);
    for (const BenchFilter *p = CONVOLUTIONS; p->pName != NULL; p++) {
        bAgree &= RegisterFilter(p);
        if (strcmp(p->pName, "Gradient-20") == 0) {
            RegisterOtherPeer(p, "opencv-filter2D", PeerDifferenceKernel);
        }
    }
    RegisterLevel("sse2", &sse2::WEIGHTED_KERNELS, &sse2::SMOOTHING_KERNELS);
    RegisterLevel("avx2", &avx2::WEIGHTED_KERNELS, &avx2::SMOOTHING_KERNELS);
    return RunBenchmarks(bAgree, argc, argv);
}
