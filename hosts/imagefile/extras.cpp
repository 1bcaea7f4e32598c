// See imagefile.h: what files say beside their pixels, carried from one to the next. Blocks are
// moved whole, between the formats with another wrapping; nothing in them is looked at but the
// orientation, which the reader has applied to the pixels.
#include "codecs.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <string>

static const size_t PNG_HEAD = 8 + 25;  // signature, IHDR
static const size_t SEGMENT_MOST = 65533;
static const char EXIF_NAME[] = "Exif\0";  // six bytes with the closing zero
static const size_t EXIF_NAME_BYTES = 6;
static const char PROFILE_NAME[] = "ICC_PROFILE";
static const size_t PROFILE_HEAD = sizeof PROFILE_NAME + 2;  // number and count of the segments
static const char XMP_NAME[] = "http://ns.adobe.com/xap/1.0/";
static const char XMP_KEYWORD[] = "iTXtXML:com.adobe.xmp\0\0\0\0";  // not compressed, no language

static const BYTE COMMENT = 0xFE, APP_EXIF = 0xE1, APP_PROFILE = 0xE2;

static void PutBig32(uint32_t value, std::vector<BYTE> *out)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        out->push_back(BYTE(value >> shift));
    }
}

static void Put(const void *data, size_t size, std::vector<BYTE> *out)
{
    const BYTE *bytes = static_cast<const BYTE *>(data);
    out->insert(out->end(), bytes, bytes + size);
}

static bool StartsWith(const std::vector<BYTE> &block, const void *start, size_t size)
{
    return block.size() >= size && memcmp(block.data(), start, size) == 0;
}

// ---- reading ---------------------------------------------------------------------------------

static bool KindOfChunk(const BYTE *name, ExtraKind *kind)
{
    static const struct {
        const char *pName;
        ExtraKind nKind;
    } CHUNKS[] = {{"iCCP", EXTRA_PROFILE}, {"sRGB", EXTRA_PROFILE}, {"gAMA", EXTRA_PROFILE},
                  {"cHRM", EXTRA_PROFILE}, {"eXIf", EXTRA_EXIF},    {"tEXt", EXTRA_TEXT},
                  {"zTXt", EXTRA_TEXT},    {"iTXt", EXTRA_TEXT}};
    for (const auto &chunk : CHUNKS) {
        if (memcmp(name, chunk.pName, 4) == 0) {
            *kind = chunk.nKind;
            return true;
        }
    }
    return false;
}

static void ReadChunks(const BYTE *bytes, size_t length, ImageExtras *extras)
{
    FilePart part;
    for (size_t at = PNG_PARTS; NextPngPart(bytes, length, &at, &part);) {
        ExtraKind kind;
        if (memcmp(part.pName, "IHDR", 4) == 0 && part.nSize == 13) {
            extras->nChannels = part.pData[9] == 0 || part.pData[9] == 4 ? 1 : 3;
        }
        if (KindOfChunk(part.pName, &kind)) {
            extras->list.push_back({kind, std::vector<BYTE>(part.pName, part.pData + part.nSize)});
        }
    }
}

static bool KindOfSegment(BYTE marker, const BYTE *data, size_t size, ExtraKind *kind)
{
    if (marker == APP_EXIF && size > EXIF_NAME_BYTES &&
        memcmp(data, EXIF_NAME, EXIF_NAME_BYTES) == 0) {
        *kind = EXTRA_EXIF;
        return true;
    }
    if (marker == APP_PROFILE && size > PROFILE_HEAD &&
        memcmp(data, PROFILE_NAME, sizeof PROFILE_NAME) == 0) {
        *kind = EXTRA_PROFILE;
        return true;
    }
    *kind = EXTRA_TEXT;
    return marker == COMMENT || (marker == APP_EXIF && size > sizeof XMP_NAME &&
                                 memcmp(data, XMP_NAME, sizeof XMP_NAME) == 0);
}

static void ReadSegments(const BYTE *bytes, size_t length, ImageExtras *extras)
{
    FilePart part;
    for (size_t at = JPEG_PARTS; NextJpegPart(bytes, length, &at, &part);) {
        ExtraKind kind;
        if (IsFrameMarker(part.nMarker) && part.nSize >= 6) {
            extras->nChannels = part.pData[5];
        }
        if (KindOfSegment(part.nMarker, part.pData, part.nSize, &kind)) {
            std::vector<BYTE> block(1, part.nMarker);
            Put(part.pData, part.nSize, &block);
            extras->list.push_back({kind, block});
        }
    }
}

void ReadExtras(ImageFormat format, const BYTE *bytes, size_t length, ImageExtras *extras)
{
    extras->nFormat = format;
    extras->nChannels = 0;
    extras->list.clear();
    extras->jpeg = {};
    if (format == IMAGE_PNG) {
        ReadChunks(bytes, length, extras);
    } else if (format == IMAGE_JPEG) {
        ReadSegments(bytes, length, extras);
        ReadJpegCoding(bytes, length, &extras->jpeg);
    }
}

// ---- contents --------------------------------------------------------------------------------

// The pixels are upright: so is the picture.
static void ResetOrientation(BYTE *tiff, size_t size)
{
    const bool bBig = size > 0 && tiff[0] == 'M';
    const auto Word = [=](size_t at) {
        return bBig ? BigEndian16(tiff + at) : unsigned(tiff[at + 1]) << 8 | tiff[at];
    };
    if (size < 8) {
        return;
    }
    const uint32_t directory =
        bBig ? BigEndian32(tiff + 4) : uint32_t(Word(6)) << 16 | uint32_t(Word(4));
    if (directory > size || size - directory < 2) {
        return;
    }
    const unsigned entries = Word(directory);
    for (unsigned i = 0; i < entries; i++) {
        const size_t at = directory + 2 + size_t(i) * 12;
        if (size < at + 12) {
            return;
        }
        if (Word(at) == 0x0112) {
            tiff[at + 8] = bBig ? 0 : 1;
            tiff[at + 9] = bBig ? 1 : 0;
        }
    }
}

// Segment k of n carries part k; they may lie in any order.
static std::vector<BYTE> JoinProfile(const ImageExtras *extras)
{
    std::vector<BYTE> profile;
    for (unsigned number = 1; number < 256; number++) {
        for (const ImageExtra &extra : extras->list) {
            if (extra.nKind == EXTRA_PROFILE && extra.block[1 + sizeof PROFILE_NAME] == number) {
                Put(extra.block.data() + 1 + PROFILE_HEAD, extra.block.size() - 1 - PROFILE_HEAD,
                    &profile);
            }
        }
    }
    return profile;
}

// A zlib stream of stored blocks.
static void PutStored(const std::vector<BYTE> &data, std::vector<BYTE> *out)
{
    static const size_t BLOCK_MOST = 65535;
    uint32_t low = 1, high = 0;
    out->push_back(0x78);
    out->push_back(0x01);
    for (size_t at = 0; at < data.size();) {
        const size_t size = data.size() - at < BLOCK_MOST ? data.size() - at : BLOCK_MOST;
        out->push_back(at + size == data.size());
        out->push_back(BYTE(size));
        out->push_back(BYTE(size >> 8));
        out->push_back(BYTE(~size));
        out->push_back(BYTE(~size >> 8));
        Put(&data[at], size, out);
        at += size;
    }
    for (BYTE byte : data) {
        low = (low + byte) % 65521;
        high = (high + low) % 65521;
    }
    PutBig32(high << 16 | low, out);
}

// ---- writing ---------------------------------------------------------------------------------

// chunk: its name and data.
static void PutChunk(const std::vector<BYTE> &chunk, std::vector<BYTE> *out)
{
    uint32_t crc = 0xFFFFFFFF;
    for (BYTE byte : chunk) {
        crc ^= byte;
        for (int bit = 0; bit < 8; bit++) {
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
        }
    }
    PutBig32(uint32_t(chunk.size() - 4), out);
    Put(chunk.data(), chunk.size(), out);
    PutBig32(~crc, out);
}

// False if it is too large for a segment.
static bool PutSegment(BYTE marker, const std::vector<BYTE> &data, std::vector<BYTE> *out)
{
    if (data.size() > SEGMENT_MOST) {
        return false;
    }
    const size_t size = data.size() + 2;
    const BYTE head[] = {0xFF, marker, BYTE(size >> 8), BYTE(size)};
    Put(head, sizeof head, out);
    Put(data.data(), data.size(), out);
    return true;
}

static bool PutProfileSegments(const std::vector<BYTE> &profile, std::vector<BYTE> *out)
{
    const size_t most = SEGMENT_MOST - PROFILE_HEAD;
    const size_t count = (profile.size() + most - 1) / most;
    if (count == 0 || count > 255) {
        return false;
    }
    for (size_t i = 0; i < count; i++) {
        const size_t size = profile.size() - i * most < most ? profile.size() - i * most : most;
        std::vector<BYTE> data;
        Put(PROFILE_NAME, sizeof PROFILE_NAME, &data);
        data.push_back(BYTE(i + 1));
        data.push_back(BYTE(count));
        Put(&profile[i * most], size, &data);
        PutSegment(APP_PROFILE, data, out);
    }
    return true;
}

static std::vector<BYTE> Prefixed(const void *prefix, size_t size, const std::vector<BYTE> &block,
                                  size_t skip)
{
    std::vector<BYTE> data;
    Put(prefix, size, &data);
    if (skip < block.size()) {
        Put(block.data() + skip, block.size() - skip, &data);
    }
    return data;
}

// From a JPEG segment; the profile's are joined by the caller.
static bool PutAsChunk(const ImageExtra &extra, std::vector<BYTE> *out)
{
    if (extra.nKind == EXTRA_EXIF) {
        std::vector<BYTE> chunk = Prefixed("eXIf", 4, extra.block, 1 + EXIF_NAME_BYTES);
        ResetOrientation(chunk.data() + 4, chunk.size() - 4);
        PutChunk(chunk, out);
    } else if (extra.block[0] == COMMENT) {
        PutChunk(Prefixed("tEXtComment", 12, extra.block, 1), out);
    } else {
        PutChunk(Prefixed(XMP_KEYWORD, sizeof XMP_KEYWORD, extra.block, 1 + sizeof XMP_NAME), out);
    }
    return true;
}

// From a PNG chunk.
static bool PutAsSegment(const ImageExtra &extra, std::vector<BYTE> *out)
{
    const std::vector<BYTE> &block = extra.block;
    if (extra.nKind == EXTRA_EXIF) {
        return PutSegment(APP_EXIF, Prefixed(EXIF_NAME, EXIF_NAME_BYTES, block, 4), out);
    }
    if (extra.nKind == EXTRA_PROFILE) {
        // Without its name in letters; what the other chunks say is what JPEG readers assume.
        std::vector<BYTE> profile;
        return !StartsWith(block, "iCCP", 4) ||
               (InflateChunkProfile(block, &profile) && PutProfileSegments(profile, out));
    }
    if (StartsWith(block, XMP_KEYWORD, sizeof XMP_KEYWORD)) {
        return PutSegment(APP_EXIF, Prefixed(XMP_NAME, sizeof XMP_NAME, block, sizeof XMP_KEYWORD),
                          out);
    }
    if (!StartsWith(block, "tEXt", 4)) {
        return false;
    }
    const bool bComment = StartsWith(block, "tEXtComment", 12);
    std::vector<BYTE> text = Prefixed("", 0, block, bComment ? 12 : 4);
    for (BYTE &byte : text) {
        byte = byte == 0 ? ':' : byte;
    }
    return PutSegment(COMMENT, text, out);
}

static bool PutExtra(const ImageExtras *extras, const ImageExtra &extra, ImageFormat format,
                     std::vector<BYTE> *out)
{
    if (extras->nFormat != format) {
        return format == IMAGE_PNG ? PutAsChunk(extra, out) : PutAsSegment(extra, out);
    }
    if (format == IMAGE_PNG) {
        PutChunk(extra.block, out);
        return true;
    }
    std::vector<BYTE> data(extra.block.begin() + 1, extra.block.end());
    if (extra.nKind == EXTRA_EXIF && data.size() > EXIF_NAME_BYTES) {
        ResetOrientation(data.data() + EXIF_NAME_BYTES, data.size() - EXIF_NAME_BYTES);
    }
    return PutSegment(extra.block[0], data, out);
}

static bool PutJoinedProfile(const ImageExtras *extras, std::vector<BYTE> *out)
{
    std::vector<BYTE> chunk;
    const std::vector<BYTE> profile = JoinProfile(extras);
    if (profile.empty()) {
        return false;
    }
    Put("iCCPICC profile\0", 17, &chunk);  // the name, and the way of compression
    PutStored(profile, &chunk);
    PutChunk(chunk, out);
    return true;
}

static void NoteDropped(const bool *dropped, bool bAlpha, ImageMessages *messages)
{
    static const char *const NAMES[] = {"colour profile", "EXIF data", "texts"};
    std::string list = bAlpha ? "transparency" : "";
    for (int kind = 0; kind < EXTRA_KINDS; kind++) {
        if (dropped[kind]) {
            list += (list.empty() ? "" : ", ") + std::string(NAMES[kind]);
        }
    }
    if (!list.empty()) {
        NoteImage(messages, ("not kept: " + list).c_str());
    }
}

bool AddExtras(const ImageExtras *extras, ImageFormat format, FileBytes *bytes,
               ImageMessages *messages)
{
    ImageExtras result = {};
    std::vector<BYTE> insert;
    bool dropped[EXTRA_KINDS] = {};
    bool bJoined = false;
    ReadExtras(format, bytes->pData, bytes->nLength, &result);
    for (const ImageExtra &extra : extras->list) {
        const bool bProfile = extra.nKind == EXTRA_PROFILE;
        const bool bBound =
            bProfile && (extras->nFormat == IMAGE_JPEG || StartsWith(extra.block, "iCCP", 4));
        if (format == IMAGE_BMP || (bBound && extras->nChannels != result.nChannels)) {
            dropped[extra.nKind] = true;
        } else if (bProfile && extras->nFormat == IMAGE_JPEG && format == IMAGE_PNG) {
            dropped[extra.nKind] |= !bJoined && !PutJoinedProfile(extras, &insert);
            bJoined = true;
        } else {
            dropped[extra.nKind] |= !PutExtra(extras, extra, format, &insert);
        }
    }
    NoteDropped(dropped, !extras->alpha.empty() && format != IMAGE_PNG, messages);
    // Behind the header: PNG's, or JPEG's with the density.
    const bool bDensity = format == IMAGE_JPEG && bytes->nLength > 6 && bytes->pData[2] == 0xFF &&
                          bytes->pData[3] == 0xE0;
    const size_t place = format == IMAGE_PNG ? PNG_HEAD
                         : bDensity          ? 4 + size_t(BigEndian16(bytes->pData + 4))
                                             : 2;
    if (insert.empty() || place > bytes->nLength) {
        return true;
    }
    BYTE *grown = static_cast<BYTE *>(realloc(bytes->pData, bytes->nLength + insert.size()));
    if (!grown) {
        return FailImage(messages, "not enough memory for the profile and texts");
    }
    memmove(grown + place + insert.size(), grown + place, bytes->nLength - place);
    memcpy(grown + place, insert.data(), insert.size());
    bytes->pData = grown;
    bytes->nLength += insert.size();
    return true;
}
