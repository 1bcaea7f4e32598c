// The workers of the convolution filters. Each takes the image, the kernel selector where there is
// one, the image's sides and the progress flag, and returns the new image or null.
#ifndef CONVOLUTION_CONVOLUTION_H
#define CONVOLUTION_CONVOLUTION_H

#include <windows.h>

HGLOBAL LaplaceFilter8(HGLOBAL hDib, int nKernel, int width, int height, int bProgress);
HGLOBAL LaplaceFilter24(HGLOBAL hDib, int nKernel, int width, int height, int bProgress);
HGLOBAL GradientFilter8(HGLOBAL hDib, int nKernel, int width, int height, int bProgress);
HGLOBAL GradientFilter24(HGLOBAL hDib, int nKernel, int width, int height, int bProgress);
HGLOBAL EnhanceFilter8(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL EnhanceFilter24(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL UniformFilter8(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL UniformFilter24(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL GaussFilter8(HGLOBAL hDib, int width, int height, int bProgress);
HGLOBAL GaussFilter24(HGLOBAL hDib, int width, int height, int bProgress);

#endif
