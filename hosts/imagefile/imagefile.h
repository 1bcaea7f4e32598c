// Picture files: reading a BMP, PNG or JPEG file into a packed DIB and writing one back.
//
// A packed DIB is what the filters take: an HGLOBAL with a 40-byte header, the colour table and the
// rows bottom-up, 1, 4, 8 or 24 bits per pixel. Reading keeps 1-bit, palette and gray pictures as
// they are; what a DIB cannot hold (more bits, transparency, an orientation tag) is converted, and
// a notice says what was lost. The resolution is kept both ways.
//
// All texts and paths are UTF-8. A function that fails says why in one plain sentence without the
// file's name, which the caller puts in front.
#ifndef IMAGEFILE_H
#define IMAGEFILE_H

#include <windows.h>

#include <stddef.h>
#include <stdint.h>

#include <vector>

enum ImageFormat { IMAGE_UNKNOWN, IMAGE_BMP, IMAGE_PNG, IMAGE_JPEG };

// As the JPEG file was that the extras are from; without one, the default.
static const int JPEG_QUALITY_KEPT = 0;
static const int JPEG_QUALITY_DEFAULT = 90;

struct ImageMessages {
    char szError[400];
    char szNotice[200];  // empty when nothing was lost
};

// A file's content in memory. pData is released with free().
struct FileBytes {
    BYTE *pData;
    size_t nLength;
};

// How a JPEG file holds its components: the steps that each one's coefficients are rounded to, in
// the order of the file, and the components' sampling. nComponents 0: unknown.
struct JpegCoding {
    int nComponents;
    struct {
        int nAcross, nDown, nTable;
    } components[3];
    uint16_t tables[4][64];
};

// What a PNG or JPEG file says beside its pixels, to be handed from the reading to the writing: the
// colour profile, EXIF, texts, transparency, and how a JPEG file was coded.
enum ExtraKind { EXTRA_PROFILE, EXTRA_EXIF, EXTRA_TEXT, EXTRA_KINDS };
struct ImageExtra {
    ExtraKind nKind;
    std::vector<BYTE> block;  // a PNG chunk from its name on, a JPEG segment from its marker on
};
struct ImageExtras {
    ImageFormat nFormat;
    int nChannels;  // of the pixels that a profile is for: 1 gray, 3 colour, 4 inks
    std::vector<ImageExtra> list;
    JpegCoding jpeg;
    int nAlphaWidth, nAlphaHeight;
    std::vector<BYTE> alpha;  // of every pixel, 255 opaque, from the top row on; empty: none
};

// The format that a path's ending names, in small or capital letters: "a.png", ".JPG".
ImageFormat ImageFormatOfName(const char *name);

// The format that the first bytes of a file tell.
ImageFormat ImageFormatOfBytes(const BYTE *bytes, size_t length);

// "BMP", "PNG" or "JPEG".
const char *ImageFormatTitle(ImageFormat format);

// The usual ending with its dot: ".png".
const char *ImageFormatEnding(ImageFormat format);

// A new DIB that the caller frees with GlobalFree, or null. extras, if not null, receive what the
// file says beside; without them transparency is dropped, with a notice.
HGLOBAL DecodeImage(const BYTE *bytes, size_t length, ImageMessages *messages,
                    ImageExtras *extras = nullptr);

// The file's bytes, or false. quality, 1 to 100 or JPEG_QUALITY_KEPT, counts for JPEG only. Of
// extras, a notice says what the format cannot hold, or what does not fit the picture any more.
bool EncodeImage(HGLOBAL hDib, ImageFormat format, int quality, FileBytes *bytes,
                 ImageMessages *messages, const ImageExtras *extras = nullptr);

// Reads a file, or standard input when path is "-". format and extras, if not null, receive what it
// was and what it says beside.
HGLOBAL ReadImageFile(const char *path, ImageFormat *format, ImageMessages *messages,
                      ImageExtras *extras = nullptr);

// Writes a file, or standard output when path is "-". The file appears under its name only when it
// is complete, and an older one stays until then; bKeepExisting refuses to replace it.
bool WriteImageFile(HGLOBAL hDib, const char *path, ImageFormat format, int quality,
                    bool bKeepExisting, ImageMessages *messages,
                    const ImageExtras *extras = nullptr);

// Asked between rows while a PNG or JPEG file is read or written; true makes the call fail. Null,
// as at the beginning: never asked. For the whole process.
void SetImageStop(bool (*Stop)());

// A 4-bit DIB as an 8-bit one with the same colours: a full gray ramp when all of them are gray,
// else the same table. Null: not a 4-bit DIB, or no memory.
HGLOBAL WidenDib4To8(HGLOBAL hDib);

// What the stored values of a DIB are: levels, from black to white; one bit the other way round; or
// numbers of a colour table, all of whose colours are gray, or not.
enum DibValues { VALUES_ARE_LEVELS, VALUES_ARE_REVERSED, VALUES_NAME_GRAYS, VALUES_NAME_COLOURS };
DibValues ValuesOfDib(HGLOBAL hDib);

// The same picture as a new DIB: of 8 bits, whose values are levels and where colours become their
// luminance, or of 24. Null: not a DIB, or no memory.
HGLOBAL ConvertDib(HGLOBAL hDib, int bits);

#endif
