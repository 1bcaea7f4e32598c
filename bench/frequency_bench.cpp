// Fourier transforms: forward and inverse of one square of numbers beside FFTW and OpenCV, and the
// whole low-pass call beside the same steps in OpenCV.
//
//     Transform/KIND/SIDE/ours|fftw|opencv    complex numbers in place, plans made before
//     Lowpass/DEPTH/SIDE/ours|opencv          new pages for all that a call makes
//     Lowpass/DEPTH/1024-reused/...           memory that the allocator kept
//
// KIND is exact or table for ours; FFTW measures its plans. What our calls leave allocated is freed
// untimed.

#include "pictures.h"

#include "VexaFilter.h"
#include "frequency/planes.h"
#include "headless.h"

#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <opencv2/core.hpp>

#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>

static const int SIDES[] = {512, 1024, 2048, 4096};

static void CountPixels(benchmark::State &state, size_t side)
{
    state.SetItemsProcessed(state.iterations() * (int64_t)(side * side));
}

// ---- transforms ---------------------------------------------------------------------------------

static double SampleAt(size_t i)
{
    return (double)(int)(i * 2654435761u >> 7 & 255) - 128.0;
}

static double *NewPlane(size_t count)
{
    double *p = (double *)aligned_alloc(size_t(2) << 20, count * sizeof(double));
    for (size_t i = 0; i < count; i++) {
        p[i] = SampleAt(i);
    }
    return p;
}

// Values would grow without end, so what is not scaled by the transforms is scaled now and then,
// untimed.
static void Shrink(double *numbers, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        numbers[i] = SampleAt(i);
    }
}

static void TimeOurs(benchmark::State &state, size_t side, TransformKind kind)
{
    FourierPlan plan;
    MakeFourierPlan(kind, side, 0, &plan);
    const Planes planes = {NewPlane(side * side), NewPlane(side * side), side};
    const Pass passes[] = {FirstPass(&plan, 0), SecondPass(&plan, 0), FirstPass(&plan, 1),
                           SecondPass(&plan, 1)};
    for (auto _ : state) {
        for (const Pass &pass : passes) {
            RunPass(&plan, &pass, &planes);
        }
    }
    CountPixels(state, side);
    free(planes.re);
    free(planes.im);
    FreeFourierPlan(&plan);
}

static void TimeFftw(benchmark::State &state, size_t side)
{
    const int n = (int)side;
    fftw_complex *numbers = (fftw_complex *)NewPlane(2 * side * side);
    // A longer limit finds no better plan for these sizes.
    fftw_set_timelimit(60);
    const fftw_plan forward = fftw_plan_dft_2d(n, n, numbers, numbers, FFTW_FORWARD, FFTW_MEASURE);
    const fftw_plan inverse = fftw_plan_dft_2d(n, n, numbers, numbers, FFTW_BACKWARD, FFTW_MEASURE);
    Shrink(&numbers[0][0], 2 * side * side);
    for (auto _ : state) {
        fftw_execute(forward);
        fftw_execute(inverse);
        state.PauseTiming();
        Shrink(&numbers[0][0], 2 * side * side);
        state.ResumeTiming();
    }
    CountPixels(state, side);
    fftw_destroy_plan(forward);
    fftw_destroy_plan(inverse);
    free(numbers);
}

static void TimeOpencv(benchmark::State &state, size_t side)
{
    const int n = (int)side;
    double *numbers = NewPlane(2 * side * side);
    cv::Mat plane(n, n, CV_64FC2, numbers);
    for (auto _ : state) {
        cv::dft(plane, plane);
        cv::dft(plane, plane, cv::DFT_INVERSE | cv::DFT_SCALE);
    }
    CountPixels(state, side);
    free(numbers);
}

// ---- the whole call -----------------------------------------------------------------------------

static const int CUTOFF = 40;

static void SetHeap(int bKeep)
{
    mallopt(M_MMAP_THRESHOLD, bKeep ? 32 << 20 : 128 << 10);
    mallopt(M_TRIM_THRESHOLD, bKeep ? 1 << 30 : 128 << 10);
    GlobalCompact(0);
    malloc_trim(0);
}

static void FreeLeft(HGLOBAL hMark)
{
    for (HGLOBAL h = NextGlobalBlock(hMark); h != NULL; h = NextGlobalBlock(h)) {
        GlobalFree(h);
    }
}

static void TimeLowpass(benchmark::State &state, size_t side, PictureKind kind, int bReused)
{
    const HGLOBAL hSource = SharedPicture(kind, (int)side);
    const HGLOBAL hMark = LatestGlobalBlock();
    SetHeap(bReused);
    FreqDIBLowpass(hSource, CUTOFF, 2, 0, 0);  // a virtual machine's first touch of its memory
    FreeLeft(hMark);
    SetHeap(bReused);
    for (auto _ : state) {
        FreqDIBLowpass(hSource, CUTOFF, 2, 0, 0);
        state.PauseTiming();
        FreeLeft(hMark);
        if (!bReused) {
            SetHeap(0);
        }
        state.ResumeTiming();
    }
    CountPixels(state, side);
}

static double DistanceOf(int k, int n)
{
    return k <= n / 2 ? k : n - k;
}

static void MultiplyPeer(cv::Mat &spectrum)
{
    const double c2 = (double)CUTOFF * CUTOFF;
    for (int y = 0; y < spectrum.rows; y++) {
        double *row = spectrum.ptr<double>(y);
        const double dy2 = DistanceOf(y, spectrum.rows) * DistanceOf(y, spectrum.rows);
        for (int x = 0; x < spectrum.cols; x++) {
            const double dx = DistanceOf(x, spectrum.cols);
            const double h = 1.0 / ((dx * dx + dy2) / c2 + 1.0);
            row[2 * x] *= h;
            row[2 * x + 1] *= h;
        }
    }
}

static cv::Mat PeerChannel(const cv::Mat &channel)
{
    cv::Mat numbers, spectrum, back, result;
    channel.convertTo(numbers, CV_64F);
    cv::dft(numbers, spectrum, cv::DFT_COMPLEX_OUTPUT);
    MultiplyPeer(spectrum);
    cv::dft(spectrum, back, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
    back.convertTo(result, CV_8U);
    return result;
}

static cv::Mat PeerLowpass(const cv::Mat &src)
{
    cv::Mat channels[3], result;
    if (src.channels() == 1) {
        return PeerChannel(src);
    }
    cv::split(src, channels);
    for (cv::Mat &channel : channels) {
        channel = PeerChannel(channel);
    }
    cv::merge(channels, 3, result);
    return result;
}

static void TimePeerLowpass(benchmark::State &state, size_t side, PictureKind kind, int bReused)
{
    const int type = IsColorPicture(kind) ? CV_8UC3 : CV_8UC1;
    cv::Mat source((int)side, (int)side, type);
    memcpy(source.data, PictureBits(SharedPicture(kind, (int)side)),
           source.total() * source.elemSize());
    SetHeap(bReused);
    PeerLowpass(source);
    SetHeap(bReused);
    for (auto _ : state) {
        cv::Mat result = PeerLowpass(source);
        state.PauseTiming();
        result.release();
        if (!bReused) {
            SetHeap(0);
        }
        state.ResumeTiming();
    }
    CountPixels(state, side);
}

// The levels up to 127 must agree: ours truncates, theirs rounds.
static int LowpassAgrees(void)
{
    enum { SIDE = 256 };
    BYTE *pixels = (BYTE *)PictureBits(SharedPicture(PICTURE_RAMP, SIDE));
    for (int i = 0; i < SIDE * SIDE; i++) {
        pixels[i] &= 127;
    }
    const HGLOBAL hMark = LatestGlobalBlock();
    const HGLOBAL hResult = FreqDIBLowpass(SharedPicture(PICTURE_RAMP, SIDE), CUTOFF, 2, 0, 0);
    const cv::Mat peer = PeerLowpass(cv::Mat(SIDE, SIDE, CV_8UC1, pixels));
    int bAgree = 1;
    for (int i = 0; i < SIDE * SIDE; i++) {
        bAgree &= abs(PictureBits(hResult)[i] - peer.data[i]) <= 1;
    }
    FreeLeft(hMark);
    if (!bAgree) {
        fprintf(stderr, "Lowpass: the peer's result is another.\n");
    }
    return bAgree;
}

// ---- rows ---------------------------------------------------------------------------------------

int main(int argc, char **argv)
{
    cv::setNumThreads(1);
    for (int side : SIDES) {
        const size_t n = (size_t)side;
        const std::string size = "/" + std::to_string(side);
        const std::string exact = "Transform/exact" + size, table = "Transform/table" + size;
        benchmark::RegisterBenchmark((exact + "/ours").c_str(), TimeOurs, n, FFT_RECURRENCE);
        benchmark::RegisterBenchmark((exact + "/fftw").c_str(), TimeFftw, n);
        benchmark::RegisterBenchmark((exact + "/opencv").c_str(), TimeOpencv, n);
        benchmark::RegisterBenchmark((table + "/ours").c_str(), TimeOurs, n, FFT_TABLE);
        benchmark::RegisterBenchmark((table + "/opencv").c_str(), TimeOpencv, n);
        for (PictureKind kind : {PICTURE_RAMP, PICTURE_COLOR}) {
            for (int bReused = 0; bReused < (side == 1024 ? 2 : 1); bReused++) {
                const std::string name = std::string("Lowpass/") + PICTURE_NAMES[kind] + size +
                                         (bReused ? "-reused" : "");
                benchmark::RegisterBenchmark((name + "/ours").c_str(), TimeLowpass, n, kind,
                                             bReused);
                benchmark::RegisterBenchmark((name + "/opencv").c_str(), TimePeerLowpass, n, kind,
                                             bReused);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    if (!LowpassAgrees() || benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
