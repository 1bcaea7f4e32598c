// What the readers and writers of picture files share. Private to this folder.
#ifndef IMAGEFILE_CODECS_H
#define IMAGEFILE_CODECS_H

#include "imagefile.h"

#include <stdint.h>

// A locked packed DIB. Rows are bottom-up in memory.
struct DibView {
    HGLOBAL hDib;
    BITMAPINFOHEADER *pHeader;
    RGBQUAD *pColours;
    unsigned nColours;  // entries that a pixel can name; indexes past them are black
    BYTE *pBits;
    size_t nStride;
    int nWidth, nHeight, nBitCount;
};

// Puts a sentence into messages->szError; always returns false.
bool FailImage(ImageMessages *messages, const char *format, ...)
    __attribute__((format(printf, 2, 3)));

// Adds to messages->szNotice.
void NoteImage(ImageMessages *messages, const char *text);

// The user wants it to stop; the sentence is set.
bool ImageStopped(ImageMessages *messages);

size_t DibStride(int width, int bitCount);

// A zero-filled DIB with that many colour-table entries, locked. False with a sentence when it is
// too large or memory runs out. CloseDib unlocks it.
bool CreateDib(int width, int height, int bitCount, unsigned colours, DibView *view,
               ImageMessages *messages);

// Locks a DIB and checks it against its block.
bool OpenDib(HGLOBAL hDib, DibView *view, ImageMessages *messages);
void CloseDib(DibView *view);

// y counts from the top row of the picture.
BYTE *DibRow(const DibView *view, int y);

RGBQUAD DibColour(const DibView *view, unsigned index);
unsigned DibPixelIndex(const DibView *view, const BYTE *row, int x);

// Fills the colour table with grays from black to white.
void SetGrayRamp(DibView *view);

// All colours gray, and: the table is exactly the ramp of SetGrayRamp.
bool HasGrayTable(const DibView *view);
bool HasGrayRamp(const DibView *view);

// The picture's row y as 8-bit gray (gray tables) or as 24-bit blue, green, red.
void ExpandRow(const DibView *view, int y, bool bGray, BYTE *out);

// Turns a picture's rows over.
void FlipDib(DibView *view);

// A row of four inks, 255 the most, as 24-bit colours; bInverted: 255 is none.
void InksToColours(const BYTE *inks, int width, bool bInverted, BYTE *out);

// One past the highest index that a pixel holds, and at least nColours.
unsigned DibColoursInUse(const DibView *view);

// Turns a picture upright as a camera's orientation tag (1 to 8) says; frees the DIB it was given.
HGLOBAL OrientDib(HGLOBAL hDib, int orientation, ImageMessages *messages);

inline unsigned BigEndian16(const BYTE *p)
{
    return unsigned(p[0]) << 8 | p[1];
}

inline uint32_t BigEndian32(const BYTE *p)
{
    return uint32_t(BigEndian16(p)) << 16 | BigEndian16(p + 2);
}

// A piece of a file: a PNG chunk, named by pName, or a JPEG segment, named by nMarker.
struct FilePart {
    const BYTE *pName;
    BYTE nMarker;
    const BYTE *pData;
    size_t nSize;
};

// From *at, which starts at PNG_PARTS, to the next chunk; false at the end of those that are whole.
static const size_t PNG_PARTS = 8;
bool NextPngPart(const BYTE *bytes, size_t length, size_t *at, FilePart *part);

// From *at, which starts at JPEG_PARTS, to the next segment before the pixels; *at is where they or
// the damage begin when there is none.
static const size_t JPEG_PARTS = 2;
bool NextJpegPart(const BYTE *bytes, size_t length, size_t *at, FilePart *part);

// What a PNG or JPEG file says beside its pixels. 0 is unknown.
struct ImageMetadata {
    int nXPelsPerMeter, nYPelsPerMeter;
    int nOrientation;
    bool bGray, bTransparent;  // of a PNG file
    bool bComplete;            // the file reaches its end mark
    unsigned nWidth, nHeight;  // of a PNG file, as it says
    unsigned nPixelBits, nSampleBits;
    int nInks;  // channels of a JPEG file
};
void ReadPngMetadata(const BYTE *bytes, size_t length, ImageMetadata *metadata);
bool IsFrameMarker(BYTE marker);
void ReadJpegMetadata(const BYTE *bytes, size_t length, ImageMetadata *metadata);

// Dots per inch from dots per metre, rounded to the nearest; 0 when unknown.
int DotsPerInch(int perMeter);

// The codecs. The PNG and JPEG readers leave the resolution to the caller. bGray: of the file's
// metadata, for codecs that hand out gray with transparency as colour.
HGLOBAL DecodeBmp(const BYTE *bytes, size_t length, ImageMessages *messages);
HGLOBAL DecodePng(const BYTE *bytes, size_t length, bool bGray, ImageMessages *messages);
HGLOBAL DecodeJpeg(const BYTE *bytes, size_t length, ImageMessages *messages);
bool EncodeBmp(const DibView *view, FileBytes *bytes, ImageMessages *messages);

// alpha: of every pixel, from the top row on; or null.
bool EncodePng(const DibView *view, const BYTE *alpha, FileBytes *bytes, ImageMessages *messages);

// coding: the tables to write with, instead of a quality; or null.
bool EncodeJpeg(const DibView *view, int quality, const JpegCoding *coding, FileBytes *bytes,
                ImageMessages *messages);

// The transparency of a PNG file that has some: of every pixel, 0 to 255, from the top row on.
// False: the codec cannot tell.
bool DecodePngAlpha(const BYTE *bytes, size_t length, std::vector<BYTE> *alpha);

// Of a colour file in luminance and two colour differences, or of a gray one; all else is unknown.
void ReadJpegCoding(const BYTE *bytes, size_t length, JpegCoding *coding);

// The quality, 1 to 100, whose usual table comes nearest.
int NearestJpegQuality(const JpegCoding *coding);

// What a file holds, and into the bytes of another.
void ReadExtras(ImageFormat format, const BYTE *bytes, size_t length, ImageExtras *extras);
bool AddExtras(const ImageExtras *extras, ImageFormat format, FileBytes *bytes,
               ImageMessages *messages);

// The profile in an iCCP chunk. False: damaged, or this system has no inflation.
bool InflateChunkProfile(const std::vector<BYTE> &chunk, std::vector<BYTE> *profile);

// Decodes run-length rows (4 or 8 bits per pixel) into view, whose row 0 is filled last.
bool DecodeBmpRuns(const BYTE *bytes, size_t length, DibView *view, ImageMessages *messages);

#endif
