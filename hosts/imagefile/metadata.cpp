// What a PNG or JPEG file says beside its pixels: the resolution (PNG: pHYs; JPEG: the JFIF
// density), the orientation tag that cameras write (JPEG: Exif), whether there is transparency, and
// whether the file is whole. Read from the file's bytes, so that every system's codec gives the
// same answer; some hand out half a picture without a word. Whatever is missing stays 0.
#include "codecs.h"

#include <stdint.h>
#include <string.h>

static const uint64_t PER_METER_MOST = 0x7FFFFFFF;

bool NextPngPart(const BYTE *bytes, size_t length, size_t *at, FilePart *part)
{
    if (*at >= length || length - *at < 12) {  // length, name, data, checksum
        return false;
    }
    const BYTE *chunk = bytes + *at;
    const uint32_t size = BigEndian32(chunk);
    if (size > length - *at - 12) {
        return false;
    }
    *part = {chunk + 4, 0, chunk + 8, size};
    *at += 12 + size_t(size);
    return true;
}

bool NextJpegPart(const BYTE *bytes, size_t length, size_t *at, FilePart *part)
{
    while (*at + 1 < length && bytes[*at] == 0xFF && bytes[*at + 1] == 0xFF) {  // fill bytes
        (*at)++;
    }
    if (*at >= length || length - *at < 4 || bytes[*at] != 0xFF) {
        return false;
    }
    const BYTE *segment = bytes + *at;
    const size_t size = BigEndian16(segment + 2);
    if (segment[1] == 0xDA || segment[1] == 0xD9 || size < 2 || size > length - *at - 2) {
        return false;
    }
    *part = {nullptr, segment[1], segment + 4, size - 2};
    *at += 2 + size;
    return true;
}

void ReadPngMetadata(const BYTE *bytes, size_t length, ImageMetadata *metadata)
{
    FilePart part;
    for (size_t at = PNG_PARTS; NextPngPart(bytes, length, &at, &part);) {
        const BYTE *data = part.pData;
        if (memcmp(part.pName, "IEND", 4) == 0) {
            metadata->bComplete = true;
            return;
        }
        if (memcmp(part.pName, "IHDR", 4) == 0 && part.nSize == 13) {
            metadata->bGray = (data[9] & 2) == 0;  // bits: 1 palette, 2 colour, 4 transparency
            metadata->bTransparent = (data[9] & 4) != 0;
            metadata->nSampleBits = data[8];
            metadata->nWidth = BigEndian32(data);
            metadata->nHeight = BigEndian32(data + 4);
            metadata->nPixelBits = data[8] * ((data[9] & 3) == 2 ? 3u : 1u);
        }
        if (memcmp(part.pName, "tRNS", 4) == 0) {
            metadata->bTransparent = true;
        }
        if (memcmp(part.pName, "pHYs", 4) == 0 && part.nSize == 9 && data[8] == 1) {
            uint32_t x = BigEndian32(data), y = BigEndian32(data + 4);
            if (x <= PER_METER_MOST && y <= PER_METER_MOST) {
                metadata->nXPelsPerMeter = int(x);
                metadata->nYPelsPerMeter = int(y);
            }
        }
    }
}

// segment: what follows the segment's length field.
static void ReadJfif(const BYTE *segment, size_t length, ImageMetadata *metadata)
{
    if (length < 12 || memcmp(segment, "JFIF", 5) != 0) {
        return;
    }
    unsigned x = BigEndian16(segment + 8), y = BigEndian16(segment + 10);
    if (segment[7] == 1) {  // dots per inch, rounded to dots per metre
        metadata->nXPelsPerMeter = int((x * 10000 + 127) / 254);
        metadata->nYPelsPerMeter = int((y * 10000 + 127) / 254);
    } else if (segment[7] == 2) {  // dots per centimetre
        metadata->nXPelsPerMeter = int(x * 100);
        metadata->nYPelsPerMeter = int(y * 100);
    }
}

static unsigned Tiff16(const BYTE *p, bool bBig)
{
    return bBig ? BigEndian16(p) : unsigned(p[1]) << 8 | p[0];
}

static uint32_t Tiff32(const BYTE *p, bool bBig)
{
    return bBig ? BigEndian32(p) : uint32_t(Tiff16(p + 2, false)) << 16 | Tiff16(p, false);
}

// The orientation is tag 0x0112 of the first directory of a TIFF structure.
static void ReadExif(const BYTE *segment, size_t length, ImageMetadata *metadata)
{
    if (length < 14 || memcmp(segment, "Exif\0", 6) != 0) {
        return;
    }
    const BYTE *tiff = segment + 6;
    size_t size = length - 6;
    bool bBig = tiff[0] == 'M';
    size_t directory = Tiff32(tiff + 4, bBig);
    if (directory > size || size - directory < 2) {
        return;
    }
    unsigned entries = Tiff16(tiff + directory, bBig);
    for (unsigned i = 0; i < entries; i++) {
        size_t at = directory + 2 + size_t(i) * 12;
        if (size < at + 12) {
            return;
        }
        if (Tiff16(tiff + at, bBig) == 0x0112) {
            metadata->nOrientation = int(Tiff16(tiff + at + 8, bBig));
        }
    }
}

// The header of the picture, of whichever coding: SOF0 to SOF15 but for three other markers.
bool IsFrameMarker(BYTE marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

// Behind the first scan's header an end mark cannot be part of the pixels: those never hold FF
// followed by anything but 00 or a mark.
static bool FindEndMark(const BYTE *bytes, size_t length)
{
    for (size_t at = 0; at + 1 < length; at++) {
        if (bytes[at] == 0xFF && bytes[at + 1] == 0xD9) {
            return true;
        }
    }
    return false;
}

void ReadJpegMetadata(const BYTE *bytes, size_t length, ImageMetadata *metadata)
{
    FilePart part;
    size_t at = JPEG_PARTS;
    while (NextJpegPart(bytes, length, &at, &part)) {
        if (IsFrameMarker(part.nMarker) && part.nSize >= 6) {
            metadata->nInks = part.pData[5];
        }
        if (part.nMarker == 0xE0) {
            ReadJfif(part.pData, part.nSize, metadata);
        }
        if (part.nMarker == 0xE1) {
            ReadExif(part.pData, part.nSize, metadata);
        }
    }
    if (at + 1 < length && bytes[at] == 0xFF && bytes[at + 1] == 0xDA) {
        metadata->bComplete = FindEndMark(bytes + at, length - at);
    }
}
