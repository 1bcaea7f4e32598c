/*
 * VexaFilter - image filters on packed device-independent bitmaps.
 *
 * Every image crosses this interface as an HGLOBAL that holds a packed DIB: a 40-byte
 * BITMAPINFOHEADER (biCompression 0, positive height: rows bottom-up), the colour table, then the
 * rows, each padded to a multiple of four bytes. Functions are __stdcall and exported under their
 * plain names.
 *
 * Ownership: an input is never changed and never freed; a result is a new movable block that the
 * caller frees with GlobalFree. Failure is a null result. The library keeps one small record per
 * thread, so any number of threads may call at once.
 *
 * The header compiles alone as C and as C++. On Linux it needs the <windows.h> of
 * platform/posix on the include path.
 */
#ifndef VEXAFILTER_H
#define VEXAFILTER_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VEXAFILTER_API __stdcall

/*
 * The mode argument of the filters. It is compared by value: 1 and 3 show the progress dialog, 2
 * and 3 ask for the parameters first; any other value runs silently.
 */
#define MODE_PROGRESS 1u
#define MODE_DIALOG 2u

/*
 * The arguments that most filters share:
 *
 *   hDib     the image, 1, 8 or 24 bits per pixel unless said otherwise. A 1-bit image gives an
 *            8-bit gray result; an 8-bit image whose colour table is not gray gives a 24-bit one.
 *   mode     MODE_PROGRESS, MODE_DIALOG, both or neither.
 *   hParent  the window that the progress dialog belongs to and that is disabled while it shows;
 *            may be null. Pass a top-level window.
 *
 * They return a new image or null: the handle is null or cannot be locked, the block is not a DIB
 * of an accepted depth or shorter than its header says, a parameter is out of range, the user
 * cancelled, or memory ran out.
 */

/*
 * A mask: one byte for each of its positions. The operators on 1-bit images use the positions whose
 * byte is 1; the weighted filters take each byte as a weight.
 *
 * elements    columns pointers, left to right, each to rows bytes, top to bottom. They stay the
 *             caller's and are only read.
 *
 * The mask position over the computed pixel is column originColumn, row originRow for the operators
 * on 1-bit and gray images. The weighted filters read the two fields the other way round: there
 * originColumn holds the row and originRow the column.
 */
typedef struct FilterMask {
    BYTE **elements;
    int rows;
    int columns;
    int originColumn;
    int originRow;
} FilterMask;

/*
 * How often each level occurs, filled in by HistDIBCreate. Of the arrays the first nChannels rows
 * are in use, and of counts the first nLevels columns. At 24 bits channel 0 is blue, 1 green, 2
 * red.
 */
typedef struct HistogramRecord {
    UINT nChannels;
    UINT nLevels;
    UINT minCount[3];
    UINT maxCount[3];
    UINT counts[3][256];
} HistogramRecord;

/* ---- state --------------------------------------------------------------------------------- */

/*
 * The error code of the calling thread's latest filter call: 1 no error, -1 the parameter dialog
 * was asked for but VexaDlgs.dll or its entry was not found (the call went on without it), 0 no
 * filter has run on this thread yet. It does not say why a result was null.
 */
int VEXAFILTER_API GetLastFilterError(void);

/*
 * Writes the version text "Version 10.75". length 0 or less: nothing is written; 1 to 13: that
 * many characters and no terminator; above 13: the whole text with its terminator (14 bytes).
 */
void VEXAFILTER_API GetVexaFilterVersion(char *buffer, int length);

/* ---- format conversions ---------------------------------------------------------------------- */

/*
 * A 1-bit image as 8-bit gray with a full gray colour table. method 0: black and white; 1: smoothed
 * with a 3 x 3 kernel; 2: with a 5 x 5 kernel (low images fall back: below 6 rows to 1, below 4
 * rows to 0). A bit counts as white when it is set, or when it is clear if colour-table entry 0 is
 * light (all three components 128 or more). Null: not an uncompressed 1-bit DIB, zero width or
 * height, another method, no memory.
 */
HGLOBAL VEXAFILTER_API ConvertMonoDibToGrayScale(HGLOBAL hDib, UINT method);

/*
 * An 8-bit palette image as 24-bit colour. Null: not an uncompressed 8-bit DIB, zero width or
 * height, no memory.
 */
HGLOBAL VEXAFILTER_API Convert8bitto24(HGLOBAL hDib);

/* ---- point operations: docs/point.md ------------------------------------------------------- */

/*
 * Brightness and contrast. These three take no mode and show no dialog. Codes of nOperation: create
 * a block, compute it, free it; any other value does nothing and returns null. *pError becomes 0 or
 * 1 (out of memory), 8 (a missing or invalid argument) or 17 (a block could not be locked), and the
 * result is then null. pError may be null.
 */
#define LUT_CREATE 30
#define LUT_COMPUTE 31
#define LUT_FREE 32

/*
 * The counts of the bytes in a viewport of 256 x 256 pixels (less in a smaller image), as a block
 * of 256 unsigned 16-bit numbers, which wrap. LUT_CREATE: a new block of zeros; the other
 * arguments are not used. LUT_COMPUTE: brings hHistogram to the viewport whose upper left corner
 * is column pOrigin[0] and row pOrigin[1] from the top, moved into the image if necessary, and
 * returns it; a move of at most 128 pixels counts only what has changed. The position that a move
 * starts from belongs to the calling thread: create the histogram on the thread that computes it,
 * and create a new one for another image. LUT_FREE: frees hHistogram and returns null.
 */
HGLOBAL VEXAFILTER_API ComputeHistogram(HGLOBAL hDib, int nOperation, HGLOBAL hHistogram,
                                        int *pOrigin, int *pError);

/*
 * A table of 256 bytes that maps level i to i + (i - mean) x contrast / 255 + brightness, clamped,
 * where the mean is that of hHistogram (128 without one). LUT_CREATE: a new table, the identity.
 * LUT_COMPUTE: computes hTable and returns it. LUT_FREE: frees hTable and returns the handle, which
 * is no longer valid.
 */
HGLOBAL VEXAFILTER_API ComputeLUT(HGLOBAL hHistogram, int nOperation, HGLOBAL hTable, int contrast,
                                  int brightness, int *pError);

/*
 * Takes an 8-bit image through a table: the brightness of each pixel's colour is looked up, and
 * the image becomes a gray one. bMakeCopy: in a new image; 0: in hDib itself, which is returned
 * and must have at least 256 colours.
 */
HGLOBAL VEXAFILTER_API ApplyLUT(HGLOBAL hDib, HGLOBAL hTable, int bMakeCopy, int *pError);

/* Operations of the two exports below. */
#define ARITH_ADD 0
#define ARITH_SUB 1
#define ARITH_MUL 2
#define ARITH_DIV 3
#define ARITH_AND 4
#define ARITH_NAND 5
#define ARITH_OR 6
#define ARITH_NOR 7
#define ARITH_XOR 8
#define ARITH_MIN 9
#define ARITH_MAX 10
#define ARITH_EXP 11 /* with a constant only, which is ignored */
#define ARITH_LOG 12

/*
 * Combines the stored values of two images of the same width, height and depth (1, 4, 8 or 24
 * bits), not their colours. The result has the first one's header and colour table. Which bytes
 * count as signed differs by operation and depth. Null: an unknown operation, ARITH_EXP or
 * ARITH_LOG, images that differ in shape, more than 65535 rows or bytes in a row, and whatever
 * makes a filter fail. GetLastFilterError does not tell of these two exports, but for -1.
 */
HGLOBAL VEXAFILTER_API ArithmeticDIB(int nOperation, HGLOBAL hFirst, HGLOBAL hSecond, UINT mode,
                                     HWND hParent);

/*
 * Combines the stored values of an image with a constant, of which the low 16 bits count (all of
 * them as a divisor). Null as ArithmeticDIB.
 */
HGLOBAL VEXAFILTER_API ArithmeticDIBConst(int nOperation, HGLOBAL hImage, int nConstant, UINT mode,
                                          HWND hParent);

/* ---- convolution: 3 x 3 kernels; docs/convolution.md --------------------------------------- */

/*
 * Second differences. nKernel: 0 four neighbours, 10 eight neighbours, 1 or 11 vertical, 2 or 12
 * horizontal, 13 and 14 the two diagonals; any other value returns null. Negative responses are
 * black. Border pixels repeat the nearest computed pixel, the four corners keep their value. An
 * image narrower or lower than 3 pixels comes back as a copy.
 */
HGLOBAL VEXAFILTER_API FilterLaplace(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent);

/*
 * First differences and compass masks. nKernel is 10 x family + direction (0 to 7): family 0
 * isotropic, 1 Kirsch, 2 and 6 difference to one neighbour, 3 Prewitt, 4 central difference,
 * 5 Sobel; any other value returns null. Negative responses are black; fractions are dropped.
 * Borders and small images as FilterLaplace.
 */
HGLOBAL VEXAFILTER_API FilterGradient(HGLOBAL hDib, int nKernel, UINT mode, HWND hParent);

/* Sharpening: five times the pixel minus its four neighbours. */
HGLOBAL VEXAFILTER_API FilterEnhance(HGLOBAL hDib, UINT mode, HWND hParent);

/* The mean of 3 x 3 pixels, rounded down; the picture is mirrored about its edge pixels. */
HGLOBAL VEXAFILTER_API FilterUniform(HGLOBAL hDib, UINT mode, HWND hParent);

/* Binomial blur (1 2 1; 2 4 2; 1 2 1) / 16, rounded down; mirrored borders. */
HGLOBAL VEXAFILTER_API FilterGauss(HGLOBAL hDib, UINT mode, HWND hParent);

/* ---- rank filters; docs/statistics.md ------------------------------------------------------ */

/*
 * Each makes a pixel an order statistic of the nSize x nSize pixels around it (1 or more): nSize /
 * 2 rows above and columns left of it, so an even window reaches one further up and left. Pixels
 * whose window leaves the picture are copied; so is a picture smaller than the window. nSize below
 * 1 returns null. Time hardly depends on nSize.
 */

/* The darkest sample of the window. */
HGLOBAL VEXAFILTER_API FilterMinimum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/* The brightest. */
HGLOBAL VEXAFILTER_API FilterMaximum(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/*
 * The median, of all samples but the window's top left one: of a window of count samples, the
 * count / 2-th smallest of the others (for 3 x 3 the fourth of eight).
 */
HGLOBAL VEXAFILTER_API FilterMedian(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/* The mean of the darkest and the brightest sample, rounded down. */
HGLOBAL VEXAFILTER_API FilterMidpoint(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/* The brightest sample less the darkest: edges are bright, flat areas black. */
HGLOBAL VEXAFILTER_API FilterRange(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/*
 * The alpha-trimmed mean (Bednar and Watt 1984): the mean, rounded, of what is left of the
 * window's sorted samples when the nTrim darkest and the nTrim brightest are left out. Null unless
 * 0 <= nTrim < nSize x nSize / 2.
 */
HGLOBAL VEXAFILTER_API FilterAlphaTrimmedMean(HGLOBAL hDib, int nSize, int nTrim, UINT mode,
                                              HWND hParent);

/*
 * The weighted median (Brownrigg 1984), where each sample counts as often as its weight in a mask
 * says; the first one, column by column, is left out once. Null stands for 3 x 3 pixels whose
 * middle column counts three times. Mind the order of the mask's origin fields (FilterMask). A
 * pixel is computed when the whole mask and one row below it and one column right of it lie inside
 * the picture. The dialog edits the default mask: what it changes counts only if pMask is null. A
 * mask that has no positions, more than 16777216, a null column or only weights of 0 returns null.
 */
HGLOBAL VEXAFILTER_API FilterWeightedMedian(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                            HWND hParent);

/* ---- means and adaptive filters; docs/statistics.md ---------------------------------------- */

/*
 * Each computes a pixel from the nSize x nSize pixels around it (1 or more): nSize / 2 rows above
 * and columns left of it, so an even window reaches one further up and left. Pixels whose window
 * leaves the picture are copied; so is a picture smaller than the window. nSize below 1 returns
 * null. Levels are truncated unless said otherwise.
 */

/* The geometric mean; 0 if a sample is 0. Flat areas may come out one level darker. */
HGLOBAL VEXAFILTER_API FilterGeometricMean(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/* The harmonic mean, rounded; 0 if a sample is 0. */
HGLOBAL VEXAFILTER_API FilterHarmonicMean(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/*
 * The contra-harmonic mean (Pitas and Venetsanopoulos 1986): the sum of the samples' powers nOrder
 * + 1 by that of the powers nOrder. A positive order removes dark specks, a negative one bright
 * ones, and then a sample of 0 makes the pixel 0. Order 0 is the arithmetic mean, -1 the harmonic
 * one.
 */
HGLOBAL VEXAFILTER_API FilterContraHarmonicMean(HGLOBAL hDib, int nSize, int nOrder, UINT mode,
                                                HWND hParent);

/*
 * The Yp mean (Kundu, Mitra, Vaidyanathan 1984), of order nOrder: the root of that order of the
 * mean of the samples' powers. With a negative order a sample of 0 makes the pixel 0. Order 0
 * returns null.
 */
HGLOBAL VEXAFILTER_API FilterYpMean(HGLOBAL hDib, int nSize, int nOrder, UINT mode, HWND hParent);

/*
 * The mean weighted by a mask; null stands for nine equal weights. Mind the order of the mask's
 * origin fields (FilterMask). The dialog edits the default mask: what it changes counts only if
 * pMask is null. A mask that has no positions, a null column or only weights of 0 returns null.
 */
HGLOBAL VEXAFILTER_API FilterWeightedMean(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                          HWND hParent);

/*
 * The double-window modified trimmed mean (Lee and Kassam 1985): of the nLargeSize x nLargeSize
 * pixels around a pixel, the mean of those that differ by at most nTrimLevel from the median of
 * the inner nSmallSize x nSmallSize. Null unless 1 <= nSmallSize <= nLargeSize. A negative
 * nTrimLevel leaves nothing to average: every pixel with a whole window becomes 0.
 */
HGLOBAL VEXAFILTER_API FilterAdaptiveDWMTM(HGLOBAL hDib, int nSmallSize, int nLargeSize,
                                           int nTrimLevel, UINT mode, HWND hParent);

/*
 * Minimum mean square error (Lee 1980): pulls a pixel towards the mean of its window by
 * nNoiseVariance over the window's variance, rounded. The ratio is not limited: where it exceeds 1
 * the pixel overshoots the mean. A negative variance sharpens.
 */
HGLOBAL VEXAFILTER_API FilterAdaptiveMMSE(HGLOBAL hDib, int nSize, int nNoiseVariance, UINT mode,
                                          HWND hParent);

/* ---- binary morphology; docs/morphology.md ------------------------------------------------- */

/*
 * These take 1-bit images only and return one of the same layout. Black is the colour of clear bits
 * if colour-table entry 0 is pure black, else that of set bits; the object is what is black, or,
 * with bWhiteObject, what is white. Padding bits are kept.
 *
 * An element is a FilterMask whose positions with byte 1 count; any other byte leaves its position
 * out. Null stands for 3 x 3 ones around the pixel, unless said otherwise. rows or columns below 1
 * are an element without positions. The origin may lie outside the element. Positions outside the
 * picture are left out. A null column, null elements or over 16777216 positions return null. The
 * dialog edits a copy of the descriptor.
 *
 * The image is read before any dialog: what a host changes in it later does not show.
 */

/*
 * Every object pixel spreads to the element's shape around it (Serra 1982). The pixel itself always
 * stays, whether or not the element has its origin.
 */
HGLOBAL VEXAFILTER_API BinaryDilation(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                      UINT mode, HWND hParent);

/*
 * Object pixels stay where the element's shape, laid on them, meets no background (Serra 1982). The
 * picture's edge is no background.
 */
HGLOBAL VEXAFILTER_API BinaryErosion(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent);

/* Erosion, then dilation, with the same element: removes what it does not fit into. */
HGLOBAL VEXAFILTER_API BinaryOpening(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent);

/* Dilation, then erosion, with the same element: fills gaps that it does not fit into. */
HGLOBAL VEXAFILTER_API BinaryClosing(HGLOBAL hDib, const FilterMask *pMask, int bWhiteObject,
                                     UINT mode, HWND hParent);

/*
 * Hit-or-miss (Serra 1982): object pixels that meet no background under the hit element, and some
 * under the miss element, become the object; all others background. Mind that one background pixel
 * under the miss element is enough. Null stands for the pixel and its right neighbour as the hit
 * element, the left neighbour as the miss element: the left ends of horizontal runs of two or more.
 */
HGLOBAL VEXAFILTER_API BinaryHitMiss(HGLOBAL hDib, const FilterMask *pHitMask,
                                     const FilterMask *pMissMask, int bWhiteObject, UINT mode,
                                     HWND hParent);

/*
 * nOutline 0: what erosion takes from the objects; any other: what dilation adds to them. The rest
 * becomes background.
 */
HGLOBAL VEXAFILTER_API BinaryOutlining(HGLOBAL hDib, const FilterMask *pMask, int nOutline,
                                       int bWhiteObject, UINT mode, HWND hParent);

/*
 * One sweep of thinning: object pixels on an edge or a corner, that is, with five neighbours in a
 * row around them that are no background and with background among the other three, become
 * background. All are decided by the image as it was before.
 */
HGLOBAL VEXAFILTER_API BinaryThinning(HGLOBAL hDib, int bWhiteObject, UINT mode, HWND hParent);

/* One sweep of thinning of the background, so that the objects grow. */
HGLOBAL VEXAFILTER_API BinaryThickening(HGLOBAL hDib, int bWhiteObject, UINT mode, HWND hParent);

/*
 * Sweeps of thinning until one changes nothing, or nMaxSweeps of them; 0 or less: no limit. The
 * progress bar is announced one sweep.
 */
HGLOBAL VEXAFILTER_API BinarySkeleton(HGLOBAL hDib, int nMaxSweeps, int bWhiteObject, UINT mode,
                                      HWND hParent);

/* ---- gray-scale morphology; docs/morphology.md --------------------------------------------- */

/*
 * These take 8-bit images with a gray palette only (all 256 entries; missing ones are black). The
 * element is a FilterMask of heights, 0 to 255, all of which count; null stands for 3 x 3 zeros
 * around the pixel. Positions outside the picture are left out. What is said above of the
 * descriptor holds here too.
 */

/* The largest sum of level and height under the element (Sternberg 1986), 0 to 255. */
HGLOBAL VEXAFILTER_API GrayScaleDilation(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                         HWND hParent);

/* The smallest difference of level and height under the element (Sternberg 1986), 0 to 255. */
HGLOBAL VEXAFILTER_API GrayScaleErosion(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent);

/* Erosion, then dilation: removes bright detail that the element does not fit into. */
HGLOBAL VEXAFILTER_API GrayScaleOpening(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent);

/* Dilation, then erosion: removes dark detail that the element does not fit into. */
HGLOBAL VEXAFILTER_API GrayScaleClosing(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                        HWND hParent);

/*
 * The white top-hat (Meyer 1979): the image less its opening, 0 at least. The image is read once
 * more for it, after the dialogs.
 */
HGLOBAL VEXAFILTER_API GrayScaleTopHat(HGLOBAL hDib, const FilterMask *pMask, UINT mode,
                                       HWND hParent);

/* ---- tonal adjustments: docs/tonal.md ------------------------------------------------------ */

/*
 * These accept 8 and 24 bits, FilterDifference 1 bit as well. A colour picture is adjusted channel
 * by channel. A parameter out of range returns null before any dialog.
 */

/*
 * Stretches the range of levels that occur to 0..255. A gray picture of a single level stays as it
 * is; a colour channel of a single level comes out black.
 */
HGLOBAL VEXAFILTER_API FilterAutoContrast(HGLOBAL hDib, UINT mode, HWND hParent);

/* A parabola: mid-gray becomes black, both ends bright. bInvert not 0: the other way round. */
HGLOBAL VEXAFILTER_API FilterParabolaTransformation(HGLOBAL hDib, UINT bInvert, UINT mode,
                                                    HWND hParent);

/*
 * Inverts what is above nThreshold (0 to 255). The rest of a gray picture stays as it is; in a
 * colour picture the channels at or below the threshold come out black.
 */
HGLOBAL VEXAFILTER_API FilterSolarizing(HGLOBAL hDib, int nThreshold, UINT mode, HWND hParent);

/* Rounds to nLevels (2 to 255) levels, multiples of 255 / (nLevels - 1), fractions dropped. */
HGLOBAL VEXAFILTER_API FilterPosterizing(HGLOBAL hDib, int nLevels, UINT mode, HWND hParent);

/*
 * Remaps nInLow..nInMid..nInHigh to nOutLow..nOutHigh, spreading the levels that the picture has
 * evenly, by their rank. All five are 0 to 255, each range in order, nInMid inside the first.
 * nChannel: 0 all channels, each by its own levels, 1 blue, 2 green, 3 red; of no meaning for a
 * gray picture. The dialog gets the image and a pointer to each of the six parameters.
 */
HGLOBAL VEXAFILTER_API FilterLevels(HGLOBAL hDib, int nInLow, int nInHigh, int nInMid, int nOutLow,
                                    int nOutHigh, int nChannel, UINT mode, HWND hParent);

/*
 * The same with black and white chosen from the picture: nClipPercent (0 to 99) of the levels that
 * it has are clipped, half of them at either end, and the rest is spread over 0..255.
 */
HGLOBAL VEXAFILTER_API FilterAutoLevels(HGLOBAL hDib, int nClipPercent, UINT mode, HWND hParent);

/*
 * The absolute difference to a neighbour. nDirection, of which the low byte counts: 0 left, 1
 * above, 2 above left, 3 above right. Pixels without that neighbour come out 0.
 */
HGLOBAL VEXAFILTER_API FilterDifference(HGLOBAL hDib, UINT nDirection, UINT mode, HWND hParent);

/* ---- histogram transforms: docs/histogram.md ----------------------------------------------- */

/*
 * These map the stored values, not the colours: palette indices at 4 and 8 bits, the three channels
 * at 24 bits. They keep depth and colour table, and they accept every depth but 1 bit (which only
 * HistDIBComplement takes); any other than 4, 8 and 24 is mapped byte by byte. Null for more than
 * 65535 rows or bytes in a row, and for biPlanes other than 1. When a dialog is cancelled, or the
 * progress dialog cannot be opened, they leave the source locked and a block of the result's size
 * allocated.
 */

/*
 * Adds shift to the values from low to high (their low 8 bits count); what leaves 0..255 on either
 * side becomes 255. At 8 and 24 bits the values 128 to 255 are never changed. At 4 bits the top is
 * 15. The dialog gets the image and a pointer to each of the three parameters.
 */
HGLOBAL VEXAFILTER_API HistDIBSlide(HGLOBAL hDib, UINT low, UINT high, int shift, UINT mode,
                                    HWND hParent);

/* Multiplies by factor, rounded to nearest. Otherwise as HistDIBSlide. */
HGLOBAL VEXAFILTER_API HistDIBStretch(HGLOBAL hDib, UINT low, UINT high, float factor, UINT mode,
                                      HWND hParent);

/* 0 below the threshold (its low 16 bits count), the top level from there on. */
HGLOBAL VEXAFILTER_API HistDIBThreshold(HGLOBAL hDib, UINT threshold, UINT mode, HWND hParent);

/* Inverts every bit. */
HGLOBAL VEXAFILTER_API HistDIBComplement(HGLOBAL hDib, UINT mode, HWND hParent);

/* Spreads the levels by their share of the picture, logarithmically: most of it becomes dark. */
HGLOBAL VEXAFILTER_API HistDIBModify(HGLOBAL hDib, UINT mode, HWND hParent);

/* Spreads the levels by their share of the picture, evenly. */
HGLOBAL VEXAFILTER_API HistDIBEqualization(HGLOBAL hDib, UINT mode, HWND hParent);

/* ---- histograms to look at: docs/histogram.md ------------------------------------------------ */

/*
 * Counts the stored values of an image of 1, 4, 8 or 24 bits (palette indices, whatever their
 * colours) into a record of the caller's: 1 channel of 2, 16 or 256 levels, or 3 of 256. Every byte
 * of a row counts, its padding, too. 1, or 0: no record, the image is null or cannot be locked (the
 * record is not touched), or it is of another depth or not what its header says (nChannels is 1 and
 * all counts are 0 then).
 */
int VEXAFILTER_API HistDIBCreate(HGLOBAL hDib, HistogramRecord *pRecord);

/*
 * Draws a record as white bars over a base line with ticks, on whatever is there. pRect: its sides
 * only, the chart begins at (10, 20). channel: 1 blue, 2 green, 3 red, any other number their sum;
 * of no account where there is one channel. 1 when the chart was drawn; 0: something is null, the
 * rectangle is not wider than the number of levels by 20 pixels, or a record has no levels or more
 * than 256.
 */
int VEXAFILTER_API HistDispToDC(HDC hdc, const HistogramRecord *pRecord, const RECT *pRect,
                                int channel);

/*
 * The same into a window's client area, to be called on WM_PAINT, which it answers (BeginPaint,
 * EndPaint). Always 0.
 */
int VEXAFILTER_API HistDispWmPain(HWND hWnd, const HistogramRecord *pRecord, int channel);

/*
 * Counts an image and draws a white line for each level straight into a window; the result is a
 * copy of the image. Levels of 128 and more are lumped at 255. channel: at 24 bits 1 blue, 2 green,
 * 3 red; any other number draws nothing. A window that is null or not wider than the top level by
 * 20 pixels is not drawn into. Null: the image cannot be locked or is not what its header says, or
 * memory ran out.
 */
HGLOBAL VEXAFILTER_API HistDIBGen(HGLOBAL hDib, HWND hWnd, int channel);

/* ---- effects: docs/effects.md -------------------------------------------------------------- */

/*
 * These take images of 8 and 24 bits; a 1-bit image gives null but for FilterAverage. The result
 * has the size of the source, but for FilterPuzzle's.
 *
 * FilterAddNoise, FilterImpressionist and FilterPuzzle seed their random numbers with the time in
 * seconds: x = x * 214013 + 2531011, of which bits 16 to 30 are the draw. Calls within a second
 * give the same picture. The host's own rand() is neither used nor changed.
 */

/*
 * The mean of nLength samples (0 or more) in steps of one pixel along the line through each pixel
 * at nAngle degrees, against the clock from the right. Samples outside the picture count as black.
 * nLength 0: black. The dialog gets the image, pointers to both parameters, and 1.
 */
HGLOBAL VEXAFILTER_API FilterMotionBlur(HGLOBAL hDib, int nAngle, int nLength, UINT mode,
                                        HWND hParent);

/*
 * The same along the line from the centre: samples lie 1 / nSpread of the pixel's distance from it
 * apart. Kept: the centre is half the width from the left and as much from the top. nSpread 0:
 * black. The dialog gets the image, pointers to both parameters, and 0.
 */
HGLOBAL VEXAFILTER_API FilterCenterMotionBlur(HGLOBAL hDib, int nSpread, int nLength, UINT mode,
                                              HWND hParent);

/*
 * The dialog of the following six gets the image, a pointer to the parameters, and a number that
 * tells which of them asks: 0 FilterMozaic, 1 FilterAddNoise, 2 FilterAverage, 3
 * FilterImpressionist, 4 FilterMultiply, 5 FilterPuzzle.
 */

/*
 * Squares of nBlockSize pixels become their mean. 0 is only accepted for a dialog to change it.
 */
HGLOBAL VEXAFILTER_API FilterMozaic(HGLOBAL hDib, int nBlockSize, UINT mode, HWND hParent);

/* Every level times nPercentTenths / 10 (0 or more; 10 changes nothing), cut to 255. */
HGLOBAL VEXAFILTER_API FilterMultiply(HGLOBAL hDib, int nPercentTenths, UINT mode, HWND hParent);

/*
 * Adds to each level of each channel a random number from -(nAmount / 2) to nAmount - 1 -
 * nAmount / 2. nAmount: 0 or more; 0 and 1 change nothing; above 32768 only the lower half grows.
 */
HGLOBAL VEXAFILTER_API FilterAddNoise(HGLOBAL hDib, int nAmount, UINT mode, HWND hParent);

/*
 * The mean of the box that reaches nSize / 2 pixels to the left and up and nSize / 2 - 1 to the
 * right and down, as far as it lies inside the picture. nSize: 1 or more; an odd one is the next
 * lower even one, and 1 gives black. Also takes 1 bit.
 */
HGLOBAL VEXAFILTER_API FilterAverage(HGLOBAL hDib, int nSize, UINT mode, HWND hParent);

/*
 * Shuffles the pixels of each block of nBlockWidth x nBlockHeight (1 or more), the last column and
 * row of the picture left out. Palette indices are moved as they are.
 */
HGLOBAL VEXAFILTER_API FilterImpressionist(HGLOBAL hDib, int nBlockWidth, int nBlockHeight,
                                           UINT mode, HWND hParent);

/*
 * Wraps the picture around its centre, columns as angles against the clock from the right, rows as
 * radii, the top row inmost. Outside the disc it is black. The dialog gets the image alone.
 */
HGLOBAL VEXAFILTER_API FilterPolar(HGLOBAL hDib, UINT mode, HWND hParent);

/*
 * The picture through a glass cylinder (refraction 1.4) of nRadius pixels (0 or more; 0: a copy)
 * across its middle, upright if nOrientation is 0, else level. Palette indices are moved as they
 * are. The dialog gets the image and pointers to both parameters.
 */
HGLOBAL VEXAFILTER_API FilterCylinder(HGLOBAL hDib, int nRadius, int nOrientation, UINT mode,
                                      HWND hParent);

/*
 * Cuts the picture into nTilesAcross x nTilesDown tiles (1 or more) and lays them out at random, on
 * a canvas of whole tiles: sides that cannot be divided grow by less than a tile count. At 8 bits
 * the result's colour table is white for index 0 and black for all others. The progress bar stays
 * where it is, and there is nothing to cancel.
 */
HGLOBAL VEXAFILTER_API FilterPuzzle(HGLOBAL hDib, int nTilesAcross, int nTilesDown, UINT mode,
                                    HWND hParent);

/* ---- red eyes: docs/redeye.md -------------------------------------------------------------- */

/*
 * Turns red pixels of a rectangle of a 24-bit image gray, of the same intensity. A pixel is red
 * when its saturation is above the limit and its hue below the lower or above the upper one, as
 * VexaImage.dll counts them (255: a full turn; 0 and 255 are red).
 *
 * pRect    both sides included, y from the top row; clipped to the image. No field may be negative,
 *          nor may opposite sides be equal.
 * pLimits  two bytes, the hue's and the saturation's limit; the upper limit of the hue is 255 less
 *          the lower. Null: 31 and 76, and 223 for the upper limit.
 *
 * The dialog gets the image, pRect itself, and a pointer to each of the two limits; the upper limit
 * of the hue does not follow. The thread's error code tells more than usual: -2 if VexaImage.dll or
 * an entry of it was not found (then nothing else is looked at), 87 for a bad rectangle, a null
 * handle or another depth, -4 if the result cannot be made.
 */
HGLOBAL VEXAFILTER_API RedEyeRemover(HGLOBAL hDib, RECT *pRect, UINT mode, HWND hParent,
                                     const BYTE *pLimits);

/* ---- frequency domain; docs/frequency.md --------------------------------------------------- */

/*
 * These work on the two-dimensional Fourier transform of an image, in a square of double numbers
 * whose side N is the least power of 2 that is not below the image's sides, 2 or more; larger
 * images than 8192 on a side return null. Each channel of a 24-bit image is taken on its own; of a
 * 4- or 8-bit image the palette indices are, whatever their colours. Bytes are read as signed
 * numbers. Images of 1 bit return null, of other depths a black image. Null also for biPlanes other
 * than 1.
 *
 * nTransformKind: 0 a transform whose twiddles are multiplied up, forward scaled by 1 / (N x N);
 * any other value one whose twiddles come from a table (with 6.283 for 2 pi) and whose inverse is
 * scaled instead. Results differ by a level here and there.
 *
 * MEMORY: each call leaves its planes allocated when it succeeds, two blocks of N x N x 8 + 50
 * bytes (four for the restorations), and the library does not use them again. A host that calls
 * often runs out of address space.
 */

/*
 * The spectrum: the logarithm of the magnitude, from 0 (black) to the top level, with frequency
 * (0, 0) in the middle, as an image of N x N samples with the source's depth and colour table. The
 * thread's error code is left as it is.
 */
HGLOBAL VEXAFILTER_API FreqDIBFFT(HGLOBAL hDib, int nTransformKind);

/*
 * Low-pass and high-pass. nCutoff (its low 16 bits): the radius in samples of the spectrum.
 * nFilterType 2: a Butterworth filter of the first order (Butterworth 1930), whose factor is a half
 * at the radius; any other value an ideal one, 1 or 0. What leaves 0..255 wraps around: nearly all
 * of a high-pass's result does, which has a mean of 0. The dialog, if bShowDialog is not 0, gets
 * the image, a pointer to each of the three parameters, and 1 for the low-pass or 0. If it is
 * cancelled, the image stays locked.
 */
HGLOBAL VEXAFILTER_API FreqDIBLowpass(HGLOBAL hDib, int nCutoff, int nFilterType,
                                      int nTransformKind, int bShowDialog);
HGLOBAL VEXAFILTER_API FreqDIBHighpass(HGLOBAL hDib, int nCutoff, int nFilterType,
                                       int nTransformKind, int bShowDialog);

/*
 * High-frequency emphasis: the Butterworth high-pass and gain - 1 besides, 1 at most. The mean
 * becomes 0. gain: below 1 returns null, above 2 counts as 2. The dialog gets the image and a
 * pointer to each of the three parameters.
 */
HGLOBAL VEXAFILTER_API FreqDIBEnhance(HGLOBAL hDib, int nCutoff, float gain, int nTransformKind,
                                      int bShowDialog);

/*
 * The homomorphic filter (Oppenheim, Schafer and Stockham 1968): evens out the light by weakening
 * the low frequencies of the logarithm. Samples of 2 to 127 count by their logarithm, others as 0.
 * Frequencies nearer than nCutoff - nBandWidth / 2 are multiplied by gammaLow, those further than
 * nCutoff + nBandWidth / 2 by gammaHigh, between them on a ramp; all are divided by the larger of
 * the two. The result is spread over all levels. The dialog gets the image and a pointer to each of
 * the five parameters.
 */
HGLOBAL VEXAFILTER_API FreqDIBHomomorphic(HGLOBAL hDib, int nCutoff, int nBandWidth,
                                          float gammaHigh, float gammaLow, int nTransformKind,
                                          int bShowDialog);

/*
 * The inverse filter: divides the spectrum of hDegraded by that of hPsf, an image of the same
 * depth, of any size, of what the blur makes of a point in its bottom left corner. Frequencies that
 * the blur has taken away altogether are left as they are. nScale multiplies what is restored; what
 * leaves 0..255 wraps around. The result has the size of hDegraded. If hPsf cannot be locked,
 * hDegraded stays locked.
 */
HGLOBAL VEXAFILTER_API FreqDIBInverse(HGLOBAL hDegraded, HGLOBAL hPsf, int nTransformKind,
                                      int nScale);

/*
 * The Wiener filter (Helstrom 1967): the same, but the squared magnitude of the blur's spectrum,
 * by which is divided, is made larger by noiseK, so that noise is not raised where the blur left
 * little.
 */
HGLOBAL VEXAFILTER_API FreqDIBWiener(HGLOBAL hDegraded, HGLOBAL hPsf, double noiseK,
                                     int nTransformKind, int nScale);

#ifdef __cplusplus
}
#endif

#endif
