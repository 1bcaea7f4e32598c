// Reading and writing picture files: the formats by name and by content, and the way from a file
// to a DIB and back.
#include "imagefile.h"
#include "codecs.h"
#include "filesystem.h"

#include <errno.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

static bool (*g_Stop)();

void SetImageStop(bool (*Stop)())
{
    g_Stop = Stop;
}

bool ImageStopped(ImageMessages *messages)
{
    if (!g_Stop || !g_Stop()) {
        return false;
    }
    FailImage(messages, "interrupted");
    return true;
}

struct FormatName {
    const char *pEnding;  // without its dot, in small letters
    ImageFormat nFormat;
};

// The first name of each format is its usual ending.
static const FormatName FORMAT_NAMES[] = {
    {"bmp", IMAGE_BMP},  {"dib", IMAGE_BMP},   {"rle", IMAGE_BMP},  {"png", IMAGE_PNG},
    {"jpg", IMAGE_JPEG}, {"jpeg", IMAGE_JPEG}, {"jpe", IMAGE_JPEG}, {"jfif", IMAGE_JPEG},
};

ImageFormat ImageFormatOfName(const char *name)
{
    const char *dot = strrchr(name, '.');
    for (const FormatName &format : FORMAT_NAMES) {
        if (dot && strcasecmp(dot + 1, format.pEnding) == 0) {
            return format.nFormat;
        }
    }
    return IMAGE_UNKNOWN;
}

ImageFormat ImageFormatOfBytes(const BYTE *bytes, size_t length)
{
    if (length >= 2 && memcmp(bytes, "BM", 2) == 0) {
        return IMAGE_BMP;
    }
    if (length >= 8 && memcmp(bytes, "\x89PNG\r\n\x1A\n", 8) == 0) {
        return IMAGE_PNG;
    }
    if (length >= 3 && memcmp(bytes, "\xFF\xD8\xFF", 3) == 0) {
        return IMAGE_JPEG;
    }
    return IMAGE_UNKNOWN;
}

const char *ImageFormatTitle(ImageFormat format)
{
    return format == IMAGE_BMP ? "BMP" : format == IMAGE_PNG ? "PNG" : "JPEG";
}

const char *ImageFormatEnding(ImageFormat format)
{
    return format == IMAGE_BMP ? ".bmp" : format == IMAGE_PNG ? ".png" : ".jpg";
}

// Codecs make room for what a header claims before they look at the data. Deflated data grow by no
// more than MOST_INFLATION, so a picture that its file cannot hold is known without them.
static bool CanHoldPng(const ImageMetadata *metadata, size_t length)
{
    static const double MOST_INFLATION = 1032;
    double least = double(metadata->nWidth) * metadata->nHeight * metadata->nPixelBits / 8;
    return least <= MOST_INFLATION * double(length);
}

// A PNG or JPEG file, by the codec of the system. What the pixels do not tell is read beside it.
static HGLOBAL DecodeCompressed(ImageFormat format, const BYTE *bytes, size_t length,
                                ImageMessages *messages, ImageExtras *extras)
{
    ImageMetadata metadata = {};
    if (format == IMAGE_PNG) {
        ReadPngMetadata(bytes, length, &metadata);
    } else {
        ReadJpegMetadata(bytes, length, &metadata);
    }
    if (!metadata.bComplete) {
        FailImage(messages, "the %s file ends too early", ImageFormatTitle(format));
        return nullptr;
    }
    if (format == IMAGE_PNG && !CanHoldPng(&metadata, length)) {
        FailImage(messages, "the PNG file is too short for %u x %u pixels", metadata.nWidth,
                  metadata.nHeight);
        return nullptr;
    }
    HGLOBAL hDib = format == IMAGE_PNG ? DecodePng(bytes, length, metadata.bGray, messages)
                                       : DecodeJpeg(bytes, length, messages);
    if (!hDib) {
        return nullptr;
    }
    if (metadata.bTransparent && extras && DecodePngAlpha(bytes, length, &extras->alpha)) {
        extras->nAlphaWidth = int(metadata.nWidth);
        extras->nAlphaHeight = int(metadata.nHeight);
    } else if (metadata.bTransparent) {
        NoteImage(messages, "the transparency was dropped");
    }
    if (metadata.nSampleBits == 16) {
        NoteImage(messages, "16 bits a channel became 8");
    }
    if (metadata.nInks == 4) {
        NoteImage(messages, "four inks became three colours");
    }
    BITMAPINFOHEADER *header = static_cast<BITMAPINFOHEADER *>(GlobalLock(hDib));
    header->biXPelsPerMeter = metadata.nXPelsPerMeter;
    header->biYPelsPerMeter = metadata.nYPelsPerMeter;
    GlobalUnlock(hDib);
    return OrientDib(hDib, metadata.nOrientation, messages);
}

HGLOBAL DecodeImage(const BYTE *bytes, size_t length, ImageMessages *messages, ImageExtras *extras)
{
    memset(messages, 0, sizeof *messages);
    ImageFormat format = ImageFormatOfBytes(bytes, length);
    if (extras) {
        *extras = {};
        ReadExtras(format, bytes, length, extras);
    }
    if (format == IMAGE_BMP) {
        return DecodeBmp(bytes, length, messages);
    }
    if (format != IMAGE_UNKNOWN) {
        return DecodeCompressed(format, bytes, length, messages, extras);
    }
    FailImage(messages, length > 0 ? "it is not a BMP, PNG or JPEG file" : "the file is empty");
    return nullptr;
}

// The tables of the file that a picture comes from, if they can be those of this one.
static const JpegCoding *CodingFor(const DibView *view, const ImageExtras *extras)
{
    const int components = HasGrayTable(view) ? 1 : 3;
    return extras && extras->jpeg.nComponents >= components ? &extras->jpeg : nullptr;
}

static const BYTE *AlphaFor(const DibView *view, const ImageExtras *extras)
{
    const bool bFits = extras && !extras->alpha.empty() && extras->nAlphaWidth == view->nWidth &&
                       extras->nAlphaHeight == view->nHeight;
    return bFits ? extras->alpha.data() : nullptr;
}

bool EncodeImage(HGLOBAL hDib, ImageFormat format, int quality, FileBytes *bytes,
                 ImageMessages *messages, const ImageExtras *extras)
{
    memset(messages, 0, sizeof *messages);
    memset(bytes, 0, sizeof *bytes);
    DibView view;
    if (!OpenDib(hDib, &view, messages)) {
        return false;
    }
    const JpegCoding *coding = quality == JPEG_QUALITY_KEPT ? CodingFor(&view, extras) : nullptr;
    bool bDone = false;
    switch (format) {
    case IMAGE_BMP:
        bDone = EncodeBmp(&view, bytes, messages);
        break;
    case IMAGE_PNG:
        bDone = EncodePng(&view, AlphaFor(&view, extras), bytes, messages);
        break;
    case IMAGE_JPEG:
        bDone = EncodeJpeg(&view, quality == JPEG_QUALITY_KEPT ? JPEG_QUALITY_DEFAULT : quality,
                           coding, bytes, messages);
        break;
    default:
        FailImage(messages, "no format was chosen");
    }
    CloseDib(&view);
    bDone = bDone && (!extras || AddExtras(extras, format, bytes, messages));
    if (!bDone) {
        free(bytes->pData);
        memset(bytes, 0, sizeof *bytes);
    }
    return bDone;
}

// ---- files -----------------------------------------------------------------------------------

static const size_t FILE_BYTES_MOST = 0x7FFF0000;

// The file's length where it can be told beforehand, so that one block usually suffices.
static size_t LengthHint(FILE *file)
{
    long length = fseek(file, 0, SEEK_END) == 0 ? ftell(file) : 0;
    rewind(file);
    return length > 0 && size_t(length) < FILE_BYTES_MOST ? size_t(length) : 0;
}

static bool MakeRoom(size_t room, FileBytes *bytes, ImageMessages *messages)
{
    BYTE *grown = static_cast<BYTE *>(realloc(bytes->pData, room));
    if (!grown) {
        return FailImage(messages, "not enough memory to read the file");
    }
    bytes->pData = grown;
    return true;
}

// Its head first: input that is no picture may have no end.
static bool ReadStream(FILE *file, size_t hint, FileBytes *bytes, ImageMessages *messages)
{
    static const size_t HEAD_BYTES = 65536;
    size_t room = HEAD_BYTES;
    memset(bytes, 0, sizeof *bytes);
    if (!MakeRoom(room, bytes, messages)) {
        return false;
    }
    for (;;) {
        size_t count = fread(bytes->pData + bytes->nLength, 1, room - bytes->nLength, file);
        bytes->nLength += count;
        if (count == 0 || ferror(file)) {  // an interrupt ends a read halfway
            break;
        }
        if (bytes->nLength < room) {
            continue;
        }
        if (ImageFormatOfBytes(bytes->pData, bytes->nLength) == IMAGE_UNKNOWN) {
            return FailImage(messages, "it is not a BMP, PNG or JPEG file");
        }
        if (room == FILE_BYTES_MOST) {
            return FailImage(messages, "the file is larger than 2 GiB");
        }
        room = room < hint ? hint + HEAD_BYTES : room < FILE_BYTES_MOST / 2 ? room * 2 : 0;
        room = room == 0 || room > FILE_BYTES_MOST ? FILE_BYTES_MOST : room;
        if (!MakeRoom(room, bytes, messages)) {
            return false;
        }
    }
    return !ferror(file) || FailImage(messages, "cannot be read: %s", strerror(errno));
}

HGLOBAL ReadImageFile(const char *path, ImageFormat *format, ImageMessages *messages,
                      ImageExtras *extras)
{
    memset(messages, 0, sizeof *messages);
    bool bStandard = strcmp(path, "-") == 0;
    if (!bStandard && KindOfPath(path) == PATH_DIRECTORY) {
        FailImage(messages, "it is a folder, not a file");
        return nullptr;
    }
    FILE *file = bStandard ? BinaryStandardInput() : OpenPath(path, "rb");
    if (!file) {
        FailImage(messages, "cannot be opened: %s", strerror(errno));
        return nullptr;
    }
    FileBytes bytes;
    HGLOBAL hDib = nullptr;
    if (ReadStream(file, bStandard ? 0 : LengthHint(file), &bytes, messages)) {
        if (format) {
            *format = ImageFormatOfBytes(bytes.pData, bytes.nLength);
        }
        hDib = DecodeImage(bytes.pData, bytes.nLength, messages, extras);
    }
    free(bytes.pData);
    if (!bStandard) {
        fclose(file);
    }
    return hDib;
}

// Closes the file too, unless it is a standard stream.
static bool WriteStream(FILE *file, const FileBytes *bytes, bool bClose, ImageMessages *messages)
{
    errno = 0;
    bool bDone = fwrite(bytes->pData, 1, bytes->nLength, file) == bytes->nLength;
    bDone = fflush(file) == 0 && bDone;
    int error = errno;
    if (bClose && fclose(file) != 0 && bDone) {
        bDone = false;
        error = errno;
    }
    return bDone || FailImage(messages, "cannot be written: %s", strerror(error));
}

static bool WriteBeside(const char *path, const FileBytes *bytes, bool bKeepExisting,
                        ImageMessages *messages)
{
    std::string target = TargetOfPath(path), temporary;
    FILE *file = CreateTemporary(target.c_str(), &temporary);
    if (!file) {
        return FailImage(messages, "cannot be written: %s", strerror(errno));
    }
    bool bDone = WriteStream(file, bytes, true, messages);
    if (bDone && !MoveIntoPlace(temporary.c_str(), target.c_str(), bKeepExisting)) {
        bDone = errno == EEXIST && bKeepExisting
                    ? FailImage(messages, "exists already and is kept")
                    : FailImage(messages, "cannot be written: %s", strerror(errno));
    }
    if (!bDone) {
        RemovePath(temporary.c_str());
    }
    return bDone;
}

bool WriteImageFile(HGLOBAL hDib, const char *path, ImageFormat format, int quality,
                    bool bKeepExisting, ImageMessages *messages, const ImageExtras *extras)
{
    FileBytes bytes;
    if (!EncodeImage(hDib, format, quality, &bytes, messages, extras)) {
        return false;
    }
    bool bDone = false;
    PathKind kind = strcmp(path, "-") == 0 ? PATH_DEVICE : KindOfPath(path);
    if (kind == PATH_DIRECTORY) {
        FailImage(messages, "it is a folder, not a file");
    } else if (kind == PATH_DEVICE) {
        bool bStandard = strcmp(path, "-") == 0;
        FILE *file = bStandard ? BinaryStandardOutput() : OpenPath(path, "wb");
        bDone = file ? WriteStream(file, &bytes, !bStandard, messages)
                     : FailImage(messages, "cannot be written: %s", strerror(errno));
    } else {
        bDone = WriteBeside(path, &bytes, bKeepExisting, messages);
    }
    free(bytes.pData);
    return bDone;
}
