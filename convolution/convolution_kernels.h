// The 3 x 3 kernels: their weights, and the table of compiled forms for this processor.
#ifndef CONVOLUTION_CONVOLUTION_KERNELS_H
#define CONVOLUTION_CONVOLUTION_KERNELS_H

#include "frame/line_kernel.h"

enum { WEIGHTS = 9, LAPLACE_KERNELS = 6, GRADIENT_FAMILIES = 7, GRADIENT_DIRECTIONS = 8 };

// Weights row by row from the top left: the pixel's own weight is the fifth.

// clang-format off
constexpr int LAPLACE_WEIGHTS[LAPLACE_KERNELS][WEIGHTS] = {
    { 0, -1,  0, -1,  4, -1,  0, -1,  0},  // four neighbours
    {-1, -1, -1, -1,  8, -1, -1, -1, -1},  // eight neighbours
    { 0, -1,  0,  0,  2,  0,  0, -1,  0},  // vertical
    { 0,  0,  0, -1,  2, -1,  0,  0,  0},  // horizontal
    {-1,  0,  0,  0,  2,  0,  0,  0, -1},  // upper left to lower right
    { 0,  0, -1,  0,  2,  0, -1,  0,  0},  // upper right to lower left
};

// Kept: this decimal, not the nearest double to the square root of two.
constexpr double ROOT = 1.41421356237309;

constexpr double GRADIENT_WEIGHTS[GRADIENT_FAMILIES][GRADIENT_DIRECTIONS][WEIGHTS] = {
    {   // isotropic compass
        { 1,  ROOT,  1,  0, 0,  0, -1, -ROOT, -1},
        { 1,  1,  0,  ROOT, 0, -1,  0, -1, -ROOT},
        { 1,  0, -1,  ROOT, 0, -ROOT,  1,  0, -1},
        { 0, -1, -ROOT,  1, 0, -1,  ROOT,  1,  0},
        {-1, -ROOT, -1,  0, 0,  0,  1,  ROOT,  1},
        {-1, -1,  0, -ROOT, 0,  1,  0,  1,  ROOT},
        {-1,  0,  1, -ROOT, 0,  ROOT, -1,  0,  1},
        { 0,  1,  ROOT, -1, 0,  1, -ROOT, -1,  0},
    },
    {   // Kirsch compass. Kept: directions 4 to 7 repeat 0 to 3, they are not their opposites.
        { 5, -3, -3,  5, 0, -3,  5, -3, -3},
        {-3,  5,  5, -3, 0,  5, -3, -3, -3},
        { 5,  5,  5, -3, 0, -3, -3, -3, -3},
        { 5,  5, -3,  5, 0, -3, -3, -3, -3},
        { 5, -3, -3,  5, 0, -3,  5, -3, -3},
        {-3,  5,  5, -3, 0,  5, -3, -3, -3},
        { 5,  5,  5, -3, 0, -3, -3, -3, -3},
        { 5,  5, -3,  5, 0, -3, -3, -3, -3},
    },
    {   // difference to one neighbour
        { 0,  0,  0,  0, 1,  0,  0, -1,  0},
        { 0,  0,  0,  0, 1,  0,  0,  0, -1},
        { 0,  0,  0,  0, 1, -1,  0,  0,  0},
        { 0,  0, -1,  0, 1,  0,  0,  0,  0},
        { 0, -1,  0,  0, 1,  0,  0,  0,  0},
        {-1,  0,  0,  0, 1,  0,  0,  0,  0},
        { 0,  0,  0, -1, 1,  0,  0,  0,  0},
        { 0,  0,  0,  0, 1,  0, -1,  0,  0},
    },
    {   // Prewitt compass
        { 1,  1,  1,  0, 0,  0, -1, -1, -1},
        { 1,  1,  0,  1, 0, -1,  0, -1, -1},
        { 1,  0, -1,  1, 0, -1,  1,  0, -1},
        { 0, -1, -1,  1, 0, -1,  1,  1,  0},
        {-1, -1, -1,  0, 0,  0,  1,  1,  1},
        {-1, -1,  0, -1, 0,  1,  0,  1,  1},
        {-1,  0,  1, -1, 0,  1, -1,  0,  1},
        { 0,  1,  1, -1, 0,  1, -1, -1,  0},
    },
    {   // central difference. Kept: direction 3 weighs the right neighbour as well and sums to 1.
        { 0,  1,  0,  0, 0,  0,  0, -1,  0},
        { 1,  0,  0,  0, 0,  0,  0,  0, -1},
        { 0,  0,  0,  1, 0, -1,  0,  0,  0},
        { 0,  0, -1,  0, 0,  1,  1,  0,  0},
        { 0, -1,  0,  0, 0,  0,  0,  1,  0},
        {-1,  0,  0,  0, 0,  0,  0,  0,  1},
        { 0,  0,  0, -1, 0,  1,  0,  0,  0},
        { 0,  0,  1,  0, 0,  0, -1,  0,  0},
    },
    {   // Sobel compass
        { 1,  2,  1,  0, 0,  0, -1, -2, -1},
        { 2,  1,  0,  1, 0, -1,  0, -1, -2},
        { 1,  0, -1,  2, 0, -2,  1,  0, -1},
        { 0, -1, -2,  1, 0, -1,  2,  1,  0},
        {-1, -2, -1,  0, 0,  0,  1,  2,  1},
        {-2, -1,  0, -1, 0,  1,  0,  1,  2},
        {-1,  0,  1, -2, 0,  2, -1,  0,  1},
        { 0,  1,  2, -1, 0,  1, -2, -1,  0},
    },
    {   // difference to one neighbour, turned by half a circle
        { 0, -1,  0,  0, 1,  0,  0,  0,  0},
        {-1,  0,  0,  0, 1,  0,  0,  0,  0},
        { 0,  0,  0, -1, 1,  0,  0,  0,  0},
        { 0,  0,  0,  0, 1,  0, -1,  0,  0},
        { 0,  0,  0,  0, 1,  0,  0, -1,  0},
        { 0,  0,  0,  0, 1,  0,  0,  0, -1},
        { 0,  0,  0,  0, 1, -1,  0,  0,  0},
        { 0,  0, -1,  0, 1,  0,  0,  0,  0},
    },
};
// clang-format on

// The picture is mirrored about its edges, so both weights across an edge meet the same pixel.
// Kept: on the top and bottom row only the left neighbour counts besides it, twice; on the left and
// right column only the lower one.
enum { ENHANCE_INNER, ENHANCE_EDGE_ROW, ENHANCE_EDGE_COLUMN, ENHANCE_KERNELS };
// clang-format off
constexpr int ENHANCE_WEIGHTS[ENHANCE_KERNELS][WEIGHTS] = {
    {0, -1, 0, -1, 5, -1, 0, -1, 0},
    {0, -1, 0, -2, 5,  0, 0, -1, 0},
    {0,  0, 0, -1, 5, -1, 0, -2, 0},
};
// clang-format on

// Means: their sums are divided by 9 and by 16.
enum { MEAN_UNIFORM, MEAN_GAUSS, MEAN_FILTERS };
// clang-format off
constexpr int MEAN_WEIGHTS[MEAN_FILTERS][WEIGHTS] = {
    {1, 1, 1, 1, 1, 1, 1, 1, 1},
    {1, 2, 1, 2, 4, 2, 1, 2, 1},
};
// clang-format on

// Sums of weighted samples, clamped.
struct WeightedKernels {
    LineKernel laplace[LAPLACE_KERNELS];
    LineKernel gradient[GRADIENT_FAMILIES][GRADIENT_DIRECTIONS];
    LineKernel enhance[ENHANCE_KERNELS];
};

struct SmoothingKernels {
    LineKernel uniform;
    LineKernel gauss;
};

// The compiled levels. All give the same bytes.
namespace sse2
{
extern const WeightedKernels WEIGHTED_KERNELS;
extern const SmoothingKernels SMOOTHING_KERNELS;
}  // namespace sse2
namespace avx2
{
extern const WeightedKernels WEIGHTED_KERNELS;
extern const SmoothingKernels SMOOTHING_KERNELS;
}  // namespace avx2

// Chosen at attach (library/kernels); read-only afterwards.
extern const WeightedKernels *g_pWeightedKernels;
extern const SmoothingKernels *g_pSmoothingKernels;

#endif
