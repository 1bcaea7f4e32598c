// Picture files: what is written is read back the same, the kinds of BMP file that other programs
// write come in right, and damaged files give a sentence instead of a crash.
#include "hosts/imagefile/codecs.h"
#include "hosts/imagefile/imagefile.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

typedef std::vector<BYTE> Bytes;

struct Pixel {
    int red, green, blue;
};

static bool operator==(const Pixel &a, const Pixel &b)
{
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

static std::ostream &operator<<(std::ostream &stream, const Pixel &p)
{
    return stream << "(" << p.red << " " << p.green << " " << p.blue << ")";
}

// A DIB taken apart the plain way: every pixel's colour, from the top left.
struct Picture {
    int width, height, bitCount, perMeterX, perMeterY;
    std::vector<Pixel> pixels;
};

static Picture TakeApart(HGLOBAL hDib)
{
    const BITMAPINFOHEADER *header = static_cast<BITMAPINFOHEADER *>(GlobalLock(hDib));
    Picture picture = {header->biWidth,         header->biHeight,        header->biBitCount,
                       header->biXPelsPerMeter, header->biYPelsPerMeter, {}};
    int bits = header->biBitCount;
    unsigned colours = header->biClrUsed ? header->biClrUsed : bits == 24 ? 0 : 1u << bits;
    const RGBQUAD *table = reinterpret_cast<const RGBQUAD *>(header + 1);
    const BYTE *rows = reinterpret_cast<const BYTE *>(table + colours);
    int stride = (header->biWidth * bits + 31) / 32 * 4;
    EXPECT_GE(GlobalSize(hDib), 40 + colours * 4 + size_t(stride * picture.height));
    EXPECT_EQ(header->biSize, 40u);
    EXPECT_EQ(header->biCompression, 0u);
    for (int y = picture.height - 1; y >= 0; y--) {
        for (int x = 0; x < picture.width; x++) {
            const BYTE *at = rows + y * stride + x * bits / 8;
            unsigned index = unsigned(*at >> ((32 - bits - x * bits) & 7)) & ((1u << bits) - 1);
            RGBQUAD c = bits == 24        ? RGBQUAD{at[0], at[1], at[2], 0}
                        : index < colours ? table[index]
                                          : RGBQUAD{0, 0, 0, 0};
            picture.pixels.push_back({c.rgbRed, c.rgbGreen, c.rgbBlue});
        }
    }
    GlobalUnlock(hDib);
    return picture;
}

static unsigned Random(unsigned *seed)
{
    *seed = *seed * 1664525u + 1013904223u;
    return *seed >> 16;
}

enum TableKind { TABLE_RAMP, TABLE_COLOURS, TABLE_SHORT };

// A DIB of random bytes. A short table leaves indexes without a colour.
static HGLOBAL RandomDib(int width, int height, int bits, TableKind kind, unsigned seed)
{
    unsigned full = bits == 24 ? 0 : 1u << bits;
    unsigned colours = kind == TABLE_SHORT ? full / 2 : full;
    size_t size = 40 + colours * 4 + size_t((width * bits + 31) / 32 * 4 * height);
    HGLOBAL hDib = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    BYTE *block = static_cast<BYTE *>(GlobalLock(hDib));
    for (size_t i = 40; i < size; i++) {
        block[i] = BYTE(Random(&seed));
    }
    BITMAPINFOHEADER header = {40, width, height, 1, WORD(bits), 0, 0, 11811, 5906, 0, 0};
    header.biClrUsed = colours == full ? 0 : colours;
    memcpy(block, &header, 40);
    for (unsigned i = 0; kind == TABLE_RAMP && i < colours; i++) {
        memset(block + 40 + i * 4, int(i * 255 / (full - 1)), 3);
    }
    GlobalUnlock(hDib);
    return hDib;
}

static Bytes Encode(HGLOBAL hDib, ImageFormat format, int quality = 90,
                    const ImageExtras *extras = nullptr)
{
    ImageMessages messages;
    FileBytes file;
    EXPECT_TRUE(EncodeImage(hDib, format, quality, &file, &messages, extras)) << messages.szError;
    Bytes bytes(file.pData, file.pData + file.nLength);
    free(file.pData);
    return bytes;
}

// From a block of just that length, so that a sanitizer sees a read past it.
static HGLOBAL Decode(const Bytes &bytes, size_t length, ImageMessages *messages)
{
    BYTE *block = static_cast<BYTE *>(malloc(length ? length : 1));
    for (size_t i = 0; i < length; i++) {
        block[i] = bytes[i];
    }
    HGLOBAL hDib = DecodeImage(block, length, messages);
    free(block);
    return hDib;
}

static void ExpectSentence(const ImageMessages *messages, const std::string &what)
{
    std::string sentence = messages->szError;
    EXPECT_GT(sentence.size(), 10u) << what;
    EXPECT_EQ(sentence.find('\n'), std::string::npos) << what;
    EXPECT_LT(sentence.size(), sizeof messages->szError - 1) << what;
}

// ---- round trips -------------------------------------------------------------------------------

static void ExpectRoundTrip(HGLOBAL hDib, ImageFormat format)
{
    ImageMessages messages;
    Picture before = TakeApart(hDib);
    Bytes bytes = Encode(hDib, format);
    HGLOBAL hBack = Decode(bytes, bytes.size(), &messages);
    ASSERT_TRUE(hBack) << messages.szError;
    Picture after = TakeApart(hBack);
    EXPECT_EQ(after.width, before.width);
    EXPECT_EQ(after.height, before.height);
    EXPECT_EQ(after.perMeterX, 11811);
    EXPECT_EQ(after.perMeterY, 5906);
    EXPECT_STREQ(messages.szNotice, "");
    EXPECT_EQ(after.pixels, before.pixels);
    bool bGrayOf4 = before.bitCount == 4 && after.bitCount == 8;  // as PNG files of it come back
    EXPECT_TRUE(after.bitCount == before.bitCount || bGrayOf4) << after.bitCount;
    GlobalFree(hBack);
}

TEST(ImageFile, EveryDepthAndTableSurvivesBmpAndPng)
{
    static const int SIZES[][2] = {{1, 1}, {2, 3}, {7, 5}, {8, 1}, {1, 9}, {33, 17}};
    for (int bits : {1, 4, 8, 24}) {
        for (TableKind kind : {TABLE_RAMP, TABLE_COLOURS, TABLE_SHORT}) {
            for (const int *size : SIZES) {
                for (ImageFormat format : {IMAGE_BMP, IMAGE_PNG}) {
                    SCOPED_TRACE(testing::Message()
                                 << bits << " bits, table " << kind << ", " << size[0] << " x "
                                 << size[1] << ", " << ImageFormatTitle(format));
                    HGLOBAL hDib = RandomDib(size[0], size[1], bits, kind, 1);
                    ExpectRoundTrip(hDib, format);
                    GlobalFree(hDib);
                }
            }
        }
    }
}

TEST(ImageFile, JpegStaysNearAndKeepsGray)
{
    for (int bits : {8, 24}) {
        HGLOBAL hDib = RandomDib(64, 48, bits, TABLE_RAMP, 1);
        BYTE *block = static_cast<BYTE *>(GlobalLock(hDib));
        int step = bits / 8, stride = 64 * step;
        BYTE *rows = block + 40 + (bits == 8 ? 1024 : 0);
        for (int y = 0; y < 48; y++) {
            for (int x = 0; x < stride; x++) {
                rows[y * stride + x] = BYTE(x % step * 40 + x / step * 2 + y);
            }
        }
        GlobalUnlock(hDib);
        Picture before = TakeApart(hDib);
        Bytes bytes = Encode(hDib, IMAGE_JPEG, 95);
        ImageMessages messages;
        HGLOBAL hBack = Decode(bytes, bytes.size(), &messages);
        ASSERT_TRUE(hBack) << messages.szError;
        Picture after = TakeApart(hBack);
        EXPECT_EQ(after.bitCount, bits);
        EXPECT_EQ(after.perMeterX, 11811);
        ASSERT_EQ(after.pixels.size(), before.pixels.size());
        int farthest = 0;
        for (size_t i = 0; i < after.pixels.size(); i++) {
            farthest = std::max({farthest, abs(after.pixels[i].red - before.pixels[i].red),
                                 abs(after.pixels[i].green - before.pixels[i].green),
                                 abs(after.pixels[i].blue - before.pixels[i].blue)});
        }
        EXPECT_LE(farthest, 12) << bits;
#ifndef _WIN32  // Wine's encoder has one quality only
        EXPECT_LT(Encode(hDib, IMAGE_JPEG, 20).size(), bytes.size());
#endif
        GlobalFree(hBack);
        GlobalFree(hDib);
    }
}

// A gray picture of four blocks, 1 2 over 3 4, with a camera's orientation tag.
TEST(ImageFile, OrientationTagsTurnThePictureUpright)
{
    static const int UPRIGHT[9][4] = {{},           {1, 2, 3, 4}, {2, 1, 4, 3},
                                      {4, 3, 2, 1}, {3, 4, 1, 2}, {1, 3, 2, 4},
                                      {3, 1, 4, 2}, {4, 2, 3, 1}, {2, 4, 1, 3}};
    HGLOBAL hDib = RandomDib(48, 32, 8, TABLE_RAMP, 1);
    BYTE *rows = static_cast<BYTE *>(GlobalLock(hDib)) + 40 + 1024;
    for (int y = 0; y < 32; y++) {
        for (int x = 0; x < 48; x++) {
            rows[(31 - y) * 48 + x] = BYTE(50 * (1 + x / 24 + y / 16 * 2));
        }
    }
    GlobalUnlock(hDib);
    Bytes plain = Encode(hDib, IMAGE_JPEG);
    GlobalFree(hDib);
    for (BYTE tag = 1; tag <= 8; tag++) {
        Bytes exif = {0xFF, 0xE1, 0,    34, 'E', 'x', 'i', 'f', 0, 0, 'I', 'I', 42, 0, 8, 0, 0, 0,
                      1,    0,    0x12, 1,  3,   0,   1,   0,   0, 0, tag, 0,   0,  0, 0, 0, 0, 0};
        Bytes bytes = plain;
        bytes.insert(bytes.begin() + 2, exif.begin(), exif.end());
        ImageMessages messages;
        HGLOBAL hBack = Decode(bytes, bytes.size(), &messages);
        ASSERT_TRUE(hBack) << messages.szError;
        Picture picture = TakeApart(hBack);
        GlobalFree(hBack);
        EXPECT_EQ(picture.width, tag < 5 ? 48 : 32);
        EXPECT_EQ(picture.perMeterX, tag < 5 ? 11811 : 5906);
        for (int i = 0; i < 4; i++) {
            int x = picture.width / 4 + i % 2 * picture.width / 2;
            int y = picture.height / 4 + i / 2 * picture.height / 2;
            EXPECT_NEAR(picture.pixels[size_t(y * picture.width + x)].red, 50 * UPRIGHT[tag][i], 5)
                << int(tag) << ", block " << i;
        }
    }
}

TEST(ImageFile, FourBitsWidenToGrayOrToTheSameTable)
{
    for (TableKind kind : {TABLE_RAMP, TABLE_COLOURS, TABLE_SHORT}) {
        HGLOBAL hDib = RandomDib(7, 3, 4, kind, 1), hWide = WidenDib4To8(hDib);
        ASSERT_TRUE(hWide);
        EXPECT_EQ(TakeApart(hWide).bitCount, 8);
        EXPECT_EQ(TakeApart(hWide).pixels, TakeApart(hDib).pixels) << kind;
        GlobalFree(hWide);
        GlobalFree(hDib);
    }
}

// ---- BMP files of other makers -----------------------------------------------------------------

static void Put(Bytes *bytes, unsigned value, int count)
{
    for (int i = 0; i < count; i++) {
        bytes->push_back(BYTE(value >> 8 * i));
    }
}

struct BmpKind {
    const char *pName;
    unsigned headerBytes;
    int bits;
    unsigned compression;
    bool bTopDown;
    unsigned masks[4];  // red, green, blue, alpha
    unsigned gap;       // between table and pixels
};

static const BmpKind BMP_KINDS[] = {
    {"os2 24", 12, 24, 0, false, {}, 0},
    {"os2 8", 12, 8, 0, false, {}, 0},
    {"os2 version 2", 64, 8, 0, false, {}, 0},
    {"plain 4", 40, 4, 0, false, {}, 0},
    {"plain 2", 40, 2, 0, false, {}, 0},
    {"top-down 1", 40, 1, 0, true, {}, 0},
    {"top-down 24", 40, 24, 0, true, {}, 0},
    {"v5 8 with a gap", 124, 8, 0, false, {}, 10},
    {"32", 40, 32, 0, true, {0xFF0000, 0xFF00, 0xFF, 0}, 0},
    {"16", 40, 16, 0, false, {0x7C00, 0x3E0, 0x1F, 0}, 0},
    {"masks 565", 40, 16, 3, false, {0xF800, 0x7E0, 0x1F, 0}, 0},
    {"v4 masks rgba", 108, 32, 3, false, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}, 0},
    {"v5 masks of ten bits", 124, 32, 3, true, {0x3FF, 0xFFC00, 0x3FF00000, 0}, 0},
};

// Four colours that every depth can hold: 0 or 255 in each channel. 5 x 3 pixels, pixel i has
// colour i % 4 (at one bit i % 2).
static const Pixel COLOURS[] = {{0, 0, 0}, {255, 255, 255}, {255, 0, 0}, {0, 255, 255}};

static unsigned MaskedPixel(const BmpKind *kind, const Pixel &colour)
{
    return (colour.red ? kind->masks[0] : 0) | (colour.green ? kind->masks[1] : 0) |
           (colour.blue ? kind->masks[2] : 0) | (kind->masks[3] & 0x7F000000);
}

static void PutRow(Bytes *bytes, const BmpKind *kind, int y)
{
    size_t start = bytes->size();
    unsigned packed = 0, filled = 0;
    for (int x = 0; x < 5; x++) {
        unsigned index = unsigned(y * 5 + x) % (kind->bits == 1 ? 2 : 4);
        const Pixel &colour = COLOURS[index];
        if (kind->bits == 24) {
            Put(bytes, unsigned(colour.blue | colour.green << 8 | colour.red << 16), 3);
        } else if (kind->bits > 8) {
            Put(bytes, MaskedPixel(kind, colour), kind->bits / 8);
        } else {
            packed |= index << (8 - kind->bits - int(filled)), filled += unsigned(kind->bits);
        }
        if (filled == 8 || (filled > 0 && x == 4)) {
            Put(bytes, packed, 1);
            packed = filled = 0;
        }
    }
    while ((bytes->size() - start) % 4) {
        bytes->push_back(0);
    }
}

static Bytes MakeBmp(const BmpKind *kind)
{
    Bytes header, table, rows;
    bool bCore = kind->headerBytes == 12;
    Put(&header, kind->headerBytes, 4);
    Put(&header, 5, bCore ? 2 : 4);
    Put(&header, unsigned(kind->bTopDown ? -3 : 3), bCore ? 2 : 4);
    Put(&header, 1, 2);
    Put(&header, unsigned(kind->bits), 2);
    if (!bCore) {
        Put(&header, kind->compression, 4);
        header.resize(40);
        for (unsigned mask : kind->masks) {
            Put(&header, mask, 4);
        }
        header.resize(kind->headerBytes);
    }
    for (int i = 0; kind->compression == 3 && kind->headerBytes == 40 && i < 3; i++) {
        Put(&table, kind->masks[i], 4);
    }
    for (int i = 0; kind->bits <= 8 && i < 1 << kind->bits; i++) {
        const Pixel &colour = COLOURS[i % 4];
        Put(&table, unsigned(colour.blue | colour.green << 8 | colour.red << 16), bCore ? 3 : 4);
    }
    table.resize(table.size() + kind->gap);
    for (int i = 0; i < 3; i++) {
        PutRow(&rows, kind, kind->bTopDown ? i : 2 - i);
    }
    Bytes bytes = {'B', 'M'};
    unsigned offset = unsigned(14 + header.size() + table.size());
    Put(&bytes, offset + unsigned(rows.size()), 4);
    Put(&bytes, 0, 4);
    Put(&bytes, offset, 4);
    for (const Bytes *part : {&header, &table, &rows}) {
        bytes.insert(bytes.end(), part->begin(), part->end());
    }
    return bytes;
}

TEST(ImageFile, BmpFilesOfEveryKindAreRead)
{
    for (const BmpKind &kind : BMP_KINDS) {
        SCOPED_TRACE(kind.pName);
        Bytes bytes = MakeBmp(&kind);
        ImageMessages messages;
        HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
        ASSERT_TRUE(hDib) << messages.szError;
        Picture picture = TakeApart(hDib);
        GlobalFree(hDib);
        EXPECT_EQ(picture.bitCount, kind.bits > 8 ? 24 : kind.bits == 2 ? 4 : kind.bits);
        ASSERT_EQ(picture.pixels.size(), 15u);
        for (size_t i = 0; i < 15; i++) {
            EXPECT_EQ(picture.pixels[i], COLOURS[i % (kind.bits == 1 ? 2 : 4)]) << i;
        }
        EXPECT_EQ(*messages.szNotice != 0, kind.masks[3] != 0);
    }
}

// A palette BMP whose pixels are the run-length data given.
static Bytes MakeRuns(int bits, const Bytes &data)
{
    BmpKind kind = {"runs", 40, bits, bits == 8 ? 1u : 2u, false, {}, 0};
    Bytes bytes = MakeBmp(&kind);
    bytes.resize(14 + 40 + (size_t(4) << bits));
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

TEST(ImageFile, RunLengthRowsAreDecoded)
{
    // Three of colour 1 and a literal 2 3 9, whose last is past the row's end; two pixels skipped
    // and a run of nine, cut at the row's end; nothing.
    Bytes eight = {3, 1, 0, 3, 2, 3, 9, 0, 0, 0, 0, 2, 2, 0, 9, 3, 0, 1};
    Bytes four = {3, 0x11, 0, 3, 0x23, 0x90, 0, 0, 0, 2, 2, 0, 9, 0x33, 0, 1};
    static const unsigned EXPECTED[15] = {0, 0, 0, 0, 0, 0, 0, 3, 3, 3, 1, 1, 1, 2, 3};
    for (int bits : {8, 4}) {
        Bytes bytes = MakeRuns(bits, bits == 8 ? eight : four);
        ImageMessages messages;
        HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
        ASSERT_TRUE(hDib) << messages.szError;
        Picture picture = TakeApart(hDib);
        GlobalFree(hDib);
        for (size_t i = 0; i < 15; i++) {
            EXPECT_EQ(picture.pixels[i], COLOURS[EXPECTED[i]]) << bits << " bits, pixel " << i;
        }
    }
}

// ---- PNG files of other makers -----------------------------------------------------------------

TEST(ImageFile, PngTransparencyIsDroppedWithANotice)
{
    static const struct {
        const char *pName, *pHex;
        int bitCount;
        std::vector<Pixel> pixels;
    } FILES[] = {
        {"colour with transparency",
         "89504e470d0a1a0a0000000d4948445200000002000000010806000000f4227f8a000000114944415478da63e"
         "0"
         "129163389162d4000006c9021b4d33ef540000000049454e44ae426082",
         24,
         {{10, 20, 30}, {200, 100, 50}}},
        {"gray of 16 bits with transparency",
         "89504e470d0a1a0a0000000d49484452000000020000000110040000000ebb6b42000000114944415478da631"
         "0"
         "326160f8f7ffff7f000bf7044206c1ab5f0000000049454e44ae426082",
         8,
         {{18, 18, 18}, {254, 254, 254}}},
        {"palette of 2 bits with a transparent entry",
         "89504e470d0a1a0a0000000d4948445200000003000000010203000000668efc2700000009504c54450a141ec"
         "8"
         "6432010203b88b9f6d0000000174524e530040e6d8660000000a4944415478da63900000001a001980008ebb0"
         "0"
         "00000049454e44ae426082",
         8,
         {{10, 20, 30}, {200, 100, 50}, {1, 2, 3}}},
    };
    for (const auto &row : FILES) {
        SCOPED_TRACE(row.pName);
        Bytes bytes;
        for (const char *hex = row.pHex; *hex; hex += 2) {
            bytes.push_back(BYTE(strtoul(std::string(hex, 2).c_str(), nullptr, 16)));
        }
        ImageMessages messages;
        HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
        ASSERT_TRUE(hDib) << messages.szError;
        Picture picture = TakeApart(hDib);
        GlobalFree(hDib);
        EXPECT_EQ(picture.bitCount, row.bitCount);
        EXPECT_EQ(picture.pixels, row.pixels);
        const bool bSixteen = strstr(row.pName, "16 bits") != nullptr;
        EXPECT_EQ(std::string(messages.szNotice),
                  std::string("the transparency was dropped") +
                      (bSixteen ? "; 16 bits a channel became 8" : ""));
    }
}

// Eight by eight pixels, each ink in the middle: one block without coefficients for each.
TEST(ImageFile, FourInksBecomeColoursWithANotice)
{
    Bytes bytes = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
    const Bytes table = {0xFF, 0xC4, 0, 20, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    bytes.insert(bytes.end(), 64, 1);
    bytes.insert(bytes.end(), {0xFF, 0xC0, 0, 20,   8, 0, 8,    0, 8, 4,    1,
                               0x11, 0,    2, 0x11, 0, 3, 0x11, 0, 4, 0x11, 0});
    for (BYTE kind : {BYTE(0), BYTE(0x10)}) {
        bytes.insert(bytes.end(), table.begin(), table.end());
        bytes[bytes.size() - 18] = kind;
    }
    bytes.insert(bytes.end(),
                 {0xFF, 0xDA, 0, 14, 4, 1, 0, 2, 0, 3, 0, 4, 0, 0, 63, 0, 0, 0xFF, 0xD9});
    ImageMessages messages;
    HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
    ASSERT_TRUE(hDib) << messages.szError;
    EXPECT_STREQ(messages.szNotice, "four inks became three colours");
    const std::vector<Pixel> pixels = TakeApart(hDib).pixels;
    EXPECT_EQ(pixels, std::vector<Pixel>(64, pixels[0]));
    EXPECT_NEAR(pixels[0].red, 63.5, 0.5);  // without a maker's mark systems turn 128 to 127 or not
    GlobalFree(hDib);
}

// ---- damaged files -----------------------------------------------------------------------------

static std::vector<Bytes> Samples()
{
    std::vector<Bytes> samples;
    for (const BmpKind &kind : BMP_KINDS) {
        samples.push_back(MakeBmp(&kind));
    }
    samples.push_back(MakeRuns(8, {5, 1, 0, 0, 5, 2, 0, 0, 5, 3, 0, 1}));
    samples.push_back(MakeRuns(4, {0, 5, 1, 2, 3, 0, 0, 2, 0, 1, 0, 1}));
    for (int bits : {1, 8, 24}) {
        HGLOBAL hDib = RandomDib(12, 5, bits, TABLE_COLOURS, 3);
        samples.push_back(Encode(hDib, IMAGE_PNG));
        samples.push_back(Encode(hDib, IMAGE_JPEG));
        GlobalFree(hDib);
    }
    return samples;
}

TEST(ImageFile, TruncatedAnywhereGivesASentence)
{
    std::vector<Bytes> samples = Samples();
    for (size_t sample = 0; sample < samples.size(); sample++) {
        const Bytes &bytes = samples[sample];
        // The padding behind a BMP's last row may be missing, and so may the end of run-length
        // data behind the last pixel: that is all that a picture can do without.
        size_t needless = bytes[0] == 'B' ? 4 : 0;
        for (size_t length = 0; length < bytes.size(); length++) {
            ImageMessages messages;
            HGLOBAL hDib = Decode(bytes, length, &messages);
            std::string what = std::to_string(sample) + " cut to " + std::to_string(length);
            if (hDib) {
                EXPECT_GE(length + needless, bytes.size()) << what;
                GlobalFree(hDib);
            } else {
                ExpectSentence(&messages, what);
            }
        }
    }
}

static void PutBigEndian(Bytes *bytes, uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes->push_back(BYTE(value >> shift));
    }
}

static void PutChunk(Bytes *png, const char *name, const Bytes &data)
{
    Bytes named(name, name + 4);
    named.insert(named.end(), data.begin(), data.end());
    PutBigEndian(png, uint32_t(data.size()));
    png->insert(png->end(), named.begin(), named.end());
    uint32_t crc = 0xFFFFFFFF;
    for (BYTE byte : named) {
        crc ^= byte;
        for (int bit = 0; bit < 8; bit++) {
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
        }
    }
    PutBigEndian(png, ~crc);
}

// A few bytes that claim gigabytes; nothing may be made room for.
TEST(ImageFile, PngClaimsThatTheFileCannotHoldAreRefused)
{
    static const struct {
        uint32_t width, height;
        BYTE bits, type, interlaced;
    } CLAIMS[] = {{2130706445, 9, 8, 2, 0}, {1, 500000000, 8, 0, 0},
                  {500000000, 1, 1, 0, 0},  {1, 500000000, 1, 3, 1},
                  {60000, 60000, 16, 6, 1}, {2147483647, 2147483647, 8, 0, 0}};
    for (const auto &claim : CLAIMS) {
        Bytes png = {0x89, 'P', 'N', 'G', 13, 10, 26, 10}, header;
        PutBigEndian(&header, claim.width);
        PutBigEndian(&header, claim.height);
        header.insert(header.end(), {claim.bits, claim.type, 0, 0, claim.interlaced});
        PutChunk(&png, "IHDR", header);
        PutChunk(&png, "PLTE", {1, 2, 3});
        PutChunk(&png, "IDAT", {0x78, 0x9c, 0x63, 0, 0, 0, 1, 0, 1});
        PutChunk(&png, "IEND", {});
        ImageMessages messages;
        EXPECT_TRUE(Decode(png, png.size(), &messages) == NULL);
        EXPECT_TRUE(strstr(messages.szError, "too short for")) << messages.szError;
    }
}

TEST(ImageFile, HostileBmpHeadersAreRefused)
{
    static const struct {
        const char *pName;
        size_t at;
        unsigned value;
        int count;
    } LIES[] = {
        {"width 0", 18, 0, 4},
        {"width negative", 18, 0xFFFFFFFF, 4},
        {"width huge", 18, 0x7FFFFFFF, 4},
        {"width that wraps 32 bits", 18, 0x0AAAAAAB, 4},
        {"height 0", 22, 0, 4},
        {"height lowest", 22, 0x80000000, 4},
        {"height huge", 22, 0x7FFFFFFF, 4},
        {"height one more", 22, 4, 4},
        {"bits 0", 28, 0, 2},
        {"bits 3", 28, 3, 2},
        {"bits 65535", 28, 0xFFFF, 2},
        {"embedded JPEG", 30, 4, 4},
        {"compression huge", 30, 0xFFFFFFFF, 4},
        {"runs at 24 bits", 30, 1, 4},
        {"pixels inside the header", 10, 20, 4},
        {"pixels behind the end", 10, 0xFFFFFFFF, 4},
        {"header of 66 bytes", 14, 66, 4},
        {"header of 2 GiB", 14, 0x80000000, 4},
    };
    for (const auto &lie : LIES) {
        Bytes bytes = MakeBmp(&BMP_KINDS[6]);
        bytes[22] = 3, bytes[23] = bytes[24] = bytes[25] = 0;  // not top-down
        for (int i = 0; i < lie.count; i++) {
            bytes[lie.at + size_t(i)] = BYTE(lie.value >> 8 * i);
        }
        ImageMessages messages;
        HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
        EXPECT_FALSE(hDib) << lie.pName;
        ExpectSentence(&messages, lie.pName);
    }
    for (unsigned mask : {0xF0F0u, 0x80000001u}) {
        Bytes bytes = MakeBmp(&BMP_KINDS[10]);
        memcpy(&bytes[54], &mask, 4);
        ImageMessages messages;
        EXPECT_FALSE(Decode(bytes, bytes.size(), &messages));
        ExpectSentence(&messages, "mask with holes");
    }
}

// Whatever comes out must be a sound DIB (TakeApart looks at all of it) or a sentence.
TEST(ImageFile, RandomDamageNeverHurts)
{
    std::vector<Bytes> samples = Samples();
    unsigned seed = 20261122;
    for (int round = 0; round < 6000; round++) {
        Bytes bytes = samples[size_t(round) % samples.size()];
        for (unsigned changes = 1 + Random(&seed) % 4; changes > 0; changes--) {
            size_t reach = Random(&seed) % 2 ? bytes.size() : std::min<size_t>(bytes.size(), 64);
            size_t at = 2 + Random(&seed) % (reach - 2);
            // A size in the gigabytes is lawful, only slow: of a BMP's sides the low bytes change.
            if (bytes[0] != 'B' || at < 18 || at > 25 || at % 4 == 2) {
                bytes[at] = BYTE(Random(&seed));
            }
        }
        ImageMessages messages;
        HGLOBAL hDib = Decode(bytes, bytes.size(), &messages);
        if (!hDib) {
            ExpectSentence(&messages, "round " + std::to_string(round));
            continue;
        }
        if (GlobalSize(hDib) < 1000000) {
            TakeApart(hDib);
        }
        GlobalFree(hDib);
    }
}

TEST(ImageFile, FormatsAreKnownByNameAndByContent)
{
    EXPECT_EQ(ImageFormatOfName("dir.png/a.JPeG"), IMAGE_JPEG);
    EXPECT_EQ(ImageFormatOfName("a.bmp"), IMAGE_BMP);
    EXPECT_EQ(ImageFormatOfName("dir.png/a"), IMAGE_UNKNOWN);
    EXPECT_EQ(ImageFormatOfName("a.png.gz"), IMAGE_UNKNOWN);
    ImageMessages messages;
    EXPECT_FALSE(Decode({'G', 'I', 'F', '8', '9', 'a'}, 6, &messages));
    ExpectSentence(&messages, "GIF");
    EXPECT_FALSE(Decode({}, 0, &messages));
    ExpectSentence(&messages, "empty");
}

// ---- what stands beside the pixels -----------------------------------------------------------

static Bytes Text(const char *text, size_t length)
{
    return Bytes(text, text + length);
}

// A TIFF structure whose only entry is an orientation.
static Bytes Exif(bool bBig, BYTE orientation)
{
    return bBig ? Bytes{'M',  'M', 0, 42, 0, 0, 0, 8, 0,           1, 1,
                        0x12, 0,   3, 0,  0, 0, 1, 0, orientation, 0, 0}
                : Bytes{'I', 'I', 42, 0, 8, 0, 0, 0,           1, 0, 0x12,
                        1,   3,   0,  1, 0, 0, 0, orientation, 0, 0, 0};
}

static Bytes Join(Bytes first, const Bytes &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// Two segments, the second first.
static ImageExtras JpegExtras(int channels, bool bBig)
{
    const Bytes head = Text("\xE2ICC_PROFILE\0", 13);
    Bytes first = Join(head, {1, 2}), second = Join(head, {2, 2});
    for (unsigned i = 0; i < 60000; i++) {
        first.push_back(BYTE(i * i >> 3));
        second.push_back(BYTE(i >> 2));
    }
    return {IMAGE_JPEG,
            channels,
            {{EXTRA_EXIF, Join(Text("\xE1"
                                    "Exif\0\0",
                                    7),
                               Exif(bBig, 6))},
             {EXTRA_PROFILE, second},
             {EXTRA_PROFILE, first},
             {EXTRA_TEXT, Text("\xFEmade by hand", 13)},
             {EXTRA_TEXT, Text("\xE1http://ns.adobe.com/xap/1.0/\0<x/>", 34)}},
            {},
            0,
            0,
            {}};
}

static std::vector<Bytes> Blocks(const ImageExtras &extras, int kind)
{
    std::vector<Bytes> blocks;
    for (const ImageExtra &extra : extras.list) {
        if (extra.nKind == kind) {
            blocks.push_back(extra.block);
        }
    }
    return blocks;
}

// Writes a picture with extras and reads both again.
static ImageExtras Carry(const ImageExtras &extras, ImageFormat format, int bits,
                         std::string *notice)
{
    const std::string path = testing::TempDir() + "vexafilter-extras" + ImageFormatEnding(format);
    ImageMessages messages;
    ImageExtras found = {};
    HGLOBAL hDib = RandomDib(9, 7, bits, TABLE_RAMP, 5);
    EXPECT_TRUE(
        WriteImageFile(hDib, path.c_str(), format, JPEG_QUALITY_KEPT, false, &messages, &extras))
        << messages.szError;
    *notice = messages.szNotice;
    GlobalFree(hDib);
    HGLOBAL hRead = ReadImageFile(path.c_str(), nullptr, &messages, &found);
    EXPECT_TRUE(hRead) << messages.szError;
    EXPECT_STREQ("", messages.szNotice);
    GlobalFree(hRead);
    return found;
}

TEST(ImageFile, ProfileExifAndTextsGoFromFileToFile)
{
    for (bool bBig : {false, true}) {
        std::string notice;
        const ImageExtras source = JpegExtras(3, bBig);
        const ImageExtras jpeg = Carry(source, IMAGE_JPEG, 24, &notice);
        EXPECT_EQ("", notice);
        EXPECT_EQ(3, jpeg.nChannels);
        EXPECT_EQ(Blocks(source, EXTRA_PROFILE), Blocks(jpeg, EXTRA_PROFILE));
        EXPECT_EQ(Blocks(source, EXTRA_TEXT), Blocks(jpeg, EXTRA_TEXT));
        EXPECT_EQ((std::vector<Bytes>{Join(Text("\xE1"
                                                "Exif\0\0",
                                                7),
                                           Exif(bBig, 1))}),
                  Blocks(jpeg, EXTRA_EXIF));

        const ImageExtras png = Carry(source, IMAGE_PNG, 24, &notice);
        EXPECT_EQ("", notice);
        EXPECT_EQ((std::vector<Bytes>{Join(Text("eXIf", 4), Exif(bBig, 1))}),
                  Blocks(png, EXTRA_EXIF));
        EXPECT_EQ((std::vector<Bytes>{Text("tEXtComment\0made by hand", 24),
                                      Text("iTXtXML:com.adobe.xmp\0\0\0\0\0<x/>", 30)}),
                  Blocks(png, EXTRA_TEXT));
        const ImageExtras again = Carry(png, IMAGE_PNG, 24, &notice);
        EXPECT_EQ(png.list.size(), again.list.size());
        EXPECT_EQ(Blocks(png, EXTRA_PROFILE), Blocks(again, EXTRA_PROFILE));

        const ImageExtras back = Carry(png, IMAGE_JPEG, 24, &notice);
        EXPECT_EQ(Blocks(jpeg, EXTRA_TEXT), Blocks(back, EXTRA_TEXT));
        EXPECT_EQ(Blocks(jpeg, EXTRA_EXIF), Blocks(back, EXTRA_EXIF));
#ifndef _WIN32
        EXPECT_EQ("", notice);
        Bytes whole;
        for (const Bytes &block : Blocks(back, EXTRA_PROFILE)) {
            whole.insert(whole.end(), block.begin() + 15, block.end());
        }
        const std::vector<Bytes> parts = Blocks(source, EXTRA_PROFILE);
        EXPECT_EQ(Join(Bytes(parts[1].begin() + 15, parts[1].end()),
                       Bytes(parts[0].begin() + 15, parts[0].end())),
                  whole);
#else
        EXPECT_EQ("not kept: colour profile", notice);  // the system has no inflation
#endif
    }
}

TEST(ImageFile, WhatDoesNotFitAnyMoreIsDroppedAndSaid)
{
    std::string notice;
    EXPECT_TRUE(Carry(JpegExtras(3, false), IMAGE_BMP, 24, &notice).list.empty());
    EXPECT_EQ("not kept: colour profile, EXIF data, texts", notice);
    // A gray picture has no use for a colour profile, nor has a colour one for inks.
    EXPECT_TRUE(Blocks(Carry(JpegExtras(3, true), IMAGE_PNG, 8, &notice), EXTRA_PROFILE).empty());
    EXPECT_EQ("not kept: colour profile", notice);
    EXPECT_TRUE(Blocks(Carry(JpegExtras(4, true), IMAGE_JPEG, 24, &notice), EXTRA_PROFILE).empty());
    EXPECT_FALSE(Blocks(Carry(JpegExtras(1, true), IMAGE_JPEG, 8, &notice), EXTRA_PROFILE).empty());
    EXPECT_EQ("", notice);
    // A text that only a PNG file can hold, and one too long for a segment.
    const ImageExtras png = {IMAGE_PNG,
                             3,
                             {{EXTRA_TEXT, Text("zTXtA\0\0x", 8)},
                              {EXTRA_TEXT, Join(Text("tEXtA\0", 6), Bytes(70000, 'x'))},
                              {EXTRA_TEXT, Text("tEXtA\0b", 7)}},
                             {},
                             0,
                             0,
                             {}};
    EXPECT_EQ((std::vector<Bytes>{Text("\xFE"
                                       "A:b",
                                       4)}),
              Blocks(Carry(png, IMAGE_JPEG, 24, &notice), EXTRA_TEXT));
    EXPECT_EQ("not kept: texts", notice);
}

// The transparency beside a picture of each kind, through a PNG file and back.
TEST(ImageFile, TransparencyGoesThroughPng)
{
    std::string notice;
    ImageExtras extras = {};
    extras.nAlphaWidth = 9;
    extras.nAlphaHeight = 7;
    for (int i = 0; i < 63; i++) {
        extras.alpha.push_back(BYTE(i * i));
    }
    for (int bits : {1, 4, 8, 24}) {
        SCOPED_TRACE(bits);
        const ImageExtras found = Carry(extras, IMAGE_PNG, bits, &notice);
        EXPECT_EQ("", notice);
        EXPECT_EQ(extras.alpha, found.alpha);
        HGLOBAL hDib = RandomDib(9, 7, bits, TABLE_RAMP, 5);
        const Bytes file = Encode(hDib, IMAGE_PNG, 90, &extras);
        ImageMessages messages;
        HGLOBAL hRead = Decode(file, file.size(), &messages);
        EXPECT_EQ(TakeApart(hDib).pixels, TakeApart(hRead).pixels);
        GlobalFree(hDib);
        GlobalFree(hRead);
    }
    for (ImageFormat format : {IMAGE_BMP, IMAGE_JPEG}) {
        EXPECT_TRUE(Carry(extras, format, 24, &notice).alpha.empty());
        EXPECT_EQ("not kept: transparency", notice);
    }
    extras.nAlphaHeight = 6;  // of another picture
    EXPECT_TRUE(Carry(extras, IMAGE_PNG, 24, &notice).alpha.empty());
}

// A picture out of a JPEG file is written with its steps and its sampling; gray with those of its
// luminance, and colour out of a gray file as usual.
TEST(ImageFile, JpegOutOfJpegKeepsItsCoding)
{
    HGLOBAL hColour = RandomDib(40, 30, 24, TABLE_RAMP, 5);
    HGLOBAL hGray = RandomDib(40, 30, 8, TABLE_RAMP, 5);
    for (int quality : {10, 50, 75, 98}) {
        SCOPED_TRACE(quality);
        ImageExtras extras = {}, again = {}, gray = {};
        Bytes file = Encode(hColour, IMAGE_JPEG, quality);
        ReadExtras(IMAGE_JPEG, file.data(), file.size(), &extras);
        ASSERT_EQ(3, extras.jpeg.nComponents);
        EXPECT_EQ(2, extras.jpeg.components[0].nAcross);
#ifndef _WIN32  // Wine's encoder has one quality and one sampling only
        EXPECT_EQ(quality, NearestJpegQuality(&extras.jpeg));
        EXPECT_EQ(Encode(hColour, IMAGE_JPEG, JPEG_QUALITY_KEPT, &extras), file);
        EXPECT_EQ(Encode(hGray, IMAGE_JPEG, JPEG_QUALITY_KEPT, &extras),
                  Encode(hGray, IMAGE_JPEG, quality));

        // Steps that no quality gives, full sampling, one of all tables.
        extras.jpeg.tables[0][5] = 77;
        extras.jpeg.tables[1][63] = 300;
        extras.jpeg.components[0].nAcross = extras.jpeg.components[0].nDown = 1;
        extras.jpeg.components[2].nTable = 0;
        file = Encode(hColour, IMAGE_JPEG, JPEG_QUALITY_KEPT, &extras);
        ReadExtras(IMAGE_JPEG, file.data(), file.size(), &again);
        EXPECT_EQ(0, memcmp(&extras.jpeg, &again.jpeg, sizeof extras.jpeg));
#endif
        EXPECT_EQ(Encode(hColour, IMAGE_JPEG, 60, &extras), Encode(hColour, IMAGE_JPEG, 60));
        file = Encode(hGray, IMAGE_JPEG, quality);
        ReadExtras(IMAGE_JPEG, file.data(), file.size(), &gray);
        EXPECT_EQ(1, gray.jpeg.nComponents);
        EXPECT_EQ(Encode(hColour, IMAGE_JPEG, JPEG_QUALITY_KEPT, &gray),
                  Encode(hColour, IMAGE_JPEG, JPEG_QUALITY_DEFAULT));
    }
    GlobalFree(hColour);
    GlobalFree(hGray);
}

// A head cut anywhere, with each byte changed: what is taken for known can be written with.
TEST(ImageFile, DamagedCodingDoesNoHarm)
{
    HGLOBAL hDib = RandomDib(20, 20, 24, TABLE_RAMP, 5);
    const Bytes file = Encode(hDib, IMAGE_JPEG, 80);
    for (size_t i = 0; i < file.size() && i < 500; i++) {
        for (BYTE value : {BYTE(0), BYTE(0x10), BYTE(0xFF), BYTE(file[i] + 1)}) {
            Bytes damaged = file;
            ImageExtras extras = {};
            damaged[i] = value;
            ReadExtras(IMAGE_JPEG, damaged.data(), damaged.size(), &extras);
            Encode(hDib, IMAGE_JPEG, JPEG_QUALITY_KEPT, &extras);
            damaged.resize(i);
            damaged.shrink_to_fit();
            ReadExtras(IMAGE_JPEG, damaged.data(), damaged.size(), &extras);
        }
    }
    GlobalFree(hDib);
}

// Cut at every length, and with every byte of the blocks changed: no harm.
TEST(ImageFile, DamagedExtrasDoNoHarm)
{
    std::string notice;
    for (ImageFormat format : {IMAGE_PNG, IMAGE_JPEG}) {
        ImageExtras small = JpegExtras(3, true);
        for (ImageExtra &extra : small.list) {
            extra.block.resize(extra.block.size() < 60 ? extra.block.size() : 60);
        }
        const ImageExtras source = Carry(small, format, 24, &notice);
        for (size_t i = 0; i < source.list.size(); i++) {
            for (size_t j = 0; j < source.list[i].block.size(); j++) {
                ImageExtras damaged = source;
                damaged.list[i].block[j] = BYTE(damaged.list[i].block[j] + 1 + j * 37 % 255);
                for (ImageFormat to : {IMAGE_PNG, IMAGE_JPEG}) {
                    ImageMessages messages;
                    HGLOBAL hDib = RandomDib(2, 2, 24, TABLE_RAMP, 5);
                    const std::string path =
                        testing::TempDir() + "vexafilter-damaged" + ImageFormatEnding(to);
                    EXPECT_TRUE(
                        WriteImageFile(hDib, path.c_str(), to, 90, false, &messages, &damaged));
                    GlobalFree(hDib);
                }
            }
        }
    }
}
