// Histograms to look at: records beside plain counts, and charts pixel by pixel beside a plain
// canvas, in memory and in windows.

#include "VexaFilter.h"

#include "host.h"

#include <gtest/gtest.h>

#include <limits.h>
#include <math.h>
#include <string.h>

#include <algorithm>
#include <array>

// ---- counts -------------------------------------------------------------------------------------

typedef std::array<std::vector<unsigned>, 3> Counts;

static size_t BitsOffset(const Bytes &dib)
{
    const BITMAPINFOHEADER header = HeaderOf(dib);
    const size_t full = header.biBitCount <= 8 ? size_t(1) << header.biBitCount : 0;
    return 40 + 4 * (header.biClrUsed != 0 ? header.biClrUsed : full);
}

// bSigned: 128 to 255 count as 255 where bytes count.
static Counts CountPlainly(const Bytes &dib, bool bSigned)
{
    const BITMAPINFOHEADER header = HeaderOf(dib);
    const int bits = header.biBitCount & 255;
    const size_t stride = (size_t(header.biWidth) * unsigned(bits) + 31) / 32 * 4;
    Counts counts;
    counts.fill(std::vector<unsigned>(256));
    for (size_t y = 0; y < size_t(header.biHeight); y++) {
        const BYTE *row = &dib[BitsOffset(dib) + y * stride];
        for (size_t i = 0; i < stride; i++) {
            const int level = bSigned && row[i] >= 128 ? 255 : row[i];
            if (bits == 24) {
                counts[i % 3][size_t(level)] += i < stride / 3 * 3;
            } else if (bits == 1) {
                for (int bit = 0; bit < 8; bit++) {
                    counts[0][row[i] >> bit & 1]++;
                }
            } else if (bits == 4) {
                counts[0][row[i] & 15]++;
                counts[0][row[i] >> 4]++;
            } else {
                counts[0][size_t(level)]++;
            }
        }
    }
    return counts;
}

static int LevelCount(int bits)
{
    return bits == 24 ? 256 : 1 << bits;
}

static HistogramRecord RecordOf(const Bytes &dib)
{
    const int bits = HeaderOf(dib).biBitCount;
    const Counts counts = CountPlainly(dib, false);
    HistogramRecord record = {};
    record.nChannels = bits == 24 ? 3 : 1;
    record.nLevels = UINT(LevelCount(bits));
    for (size_t c = 0; c < record.nChannels; c++) {
        record.minCount[c] =
            *std::min_element(counts[c].begin(), counts[c].begin() + record.nLevels);
        record.maxCount[c] = *std::max_element(counts[c].begin(), counts[c].end());
        std::copy(counts[c].begin(), counts[c].end(), record.counts[c]);
    }
    return record;
}

TEST(Display, RecordsAreThePlainCounts)
{
    for (int bits : {1, 4, 8, 24}) {
        for (int width : {1, 3, 5, 31, 100}) {
            SCOPED_TRACE(testing::Message() << width << " x 9, " << bits);
            const Bytes dib = MakeDib({width, 9, bits, SHUFFLED, 0, unsigned(width), 3});
            const HGLOBAL hDib = NewBlock(dib);
            const HistogramRecord want = RecordOf(dib);
            HistogramRecord record;
            const int locks = LocksHeld();
            memset(&record, 0xA5, sizeof record);
            EXPECT_EQ(1, HistDIBCreate(hDib, &record));
            EXPECT_EQ(0, memcmp(&want, &record, sizeof record));
            EXPECT_EQ(locks, LocksHeld());
            FreeBlock(hDib);
        }
    }
}

TEST(Display, WhatCannotBeCountedGivesNoCounts)
{
    static const struct {
        const char *pName;
        void (*Spoil)(BITMAPINFOHEADER *header);
        bool bCounted, bCopied;
    } CASES[] = {
        {"two bits", [](BITMAPINFOHEADER *h) { h->biBitCount = 2; }, false, true},
        {"32 bits", [](BITMAPINFOHEADER *h) { h->biBitCount = 32, h->biWidth = 1; }, false, true},
        {"only the low byte counts", [](BITMAPINFOHEADER *h) { h->biBitCount = 0x0108; }, true,
         true},
        {"two planes", [](BITMAPINFOHEADER *h) { h->biPlanes = 2; }, false, false},
        {"too wide for the block", [](BITMAPINFOHEADER *h) { h->biWidth = 30; }, false, false},
        {"top-down", [](BITMAPINFOHEADER *h) { h->biHeight = -9; }, false, false},
        {"compressed", [](BITMAPINFOHEADER *h) { h->biCompression = 1; }, false, false},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.pName);
        Bytes dib = MakeDib({13, 9, 8, RAMP, 0, 5, 0});
        BITMAPINFOHEADER header = HeaderOf(dib);
        row.Spoil(&header);
        SetHeader(&dib, header);
        const HGLOBAL hDib = NewBlock(dib);
        HistogramRecord record, cleared = {};
        memset(&record, 0xA5, sizeof record);
        cleared.nChannels = 1;
        cleared.nLevels = record.nLevels;  // not touched
        EXPECT_EQ(row.bCounted, HistDIBCreate(hDib, &record) == 1);
        EXPECT_EQ(!row.bCounted, memcmp(&cleared, &record, sizeof record) == 0);
        const HGLOBAL hCopy = HistDIBGen(hDib, NULL, 0);
        EXPECT_EQ(row.bCopied, hCopy != NULL);
        FreeBlock(hCopy);
        FreeBlock(hDib);
    }
    HistogramRecord record, before;
    memset(&record, 0xA5, sizeof record);
    before = record;
    EXPECT_EQ(0, HistDIBCreate(NULL, &record));
    EXPECT_EQ(0, memcmp(&before, &record, sizeof record));
    EXPECT_EQ(0, HistDIBCreate(NULL, NULL));
    EXPECT_EQ(NULL, HistDIBGen(NULL, NULL, 1));
}

// ---- canvases -----------------------------------------------------------------------------------

struct Canvas {
    int width, height;
    std::vector<bool> white;

    void Fill(long long left, long long top, long long right, long long bottom)
    {
        for (long long y = std::max(top, 0LL); y < std::min<long long>(bottom, height); y++) {
            for (long long x = std::max(left, 0LL); x < std::min<long long>(right, width); x++) {
                white[size_t(y * width + x)] = true;
            }
        }
    }
};

static Canvas NewCanvas(int width, int height)
{
    return {width, height, std::vector<bool>(size_t(width * height))};
}

// What Draw paints, and whether it left the context as it was.
static Canvas PaintInMemory(int width, int height, const std::function<void(HDC)> &Draw)
{
    BITMAPINFO info = {};
    void *bits = NULL;
    info.bmiHeader = {40, width, -height, 1, 24, 0, 0, 0, 0, 0, 0};
    const HDC hdc = CreateCompatibleDC(NULL);
    const HBITMAP hBitmap = CreateDIBSection(hdc, &info, DIB_RGB_COLORS, &bits, NULL, 0);
    const HGDIOBJ hOld = SelectObject(hdc, hBitmap);
    const HGDIOBJ hPen = SelectObject(hdc, GetStockObject(BLACK_PEN));
    const HGDIOBJ hBrush = SelectObject(hdc, GetStockObject(BLACK_BRUSH));
    Draw(hdc);
    GdiFlush();
    EXPECT_EQ(GetStockObject(BLACK_PEN), SelectObject(hdc, hPen));
    EXPECT_EQ(GetStockObject(BLACK_BRUSH), SelectObject(hdc, hBrush));
    Canvas canvas = NewCanvas(width, height);
    const size_t stride = (size_t(width) * 3 + 3) / 4 * 4;
    for (size_t i = 0; i < canvas.white.size(); i++) {
        const BYTE *pixel =
            static_cast<BYTE *>(bits) + i / size_t(width) * stride + i % size_t(width) * 3;
        canvas.white[i] = pixel[0] == 255 && pixel[1] == 255 && pixel[2] == 255;
    }
    SelectObject(hdc, hOld);
    DeleteDC(hdc);
    DeleteObject(hBitmap);
    return canvas;
}

static std::string Difference(const Canvas &want, const Canvas &got)
{
    for (size_t i = 0; i < want.white.size(); i++) {
        if (want.white[i] != got.white[i]) {
            return "x " + std::to_string(i % size_t(want.width)) + ", y " +
                   std::to_string(i / size_t(want.width)) +
                   (want.white[i] ? " is black" : " is white");
        }
    }
    return "";
}

// ---- charts -------------------------------------------------------------------------------------

// A quotient, without its fraction, within 32 bits.
static long long Quotient(unsigned difference, unsigned range, int height)
{
    const double value = double(difference) / (double(range) / height);
    return range == 0 ? 0
                      : (long long)std::max(-2147483648.0, std::min(2147483647.0, trunc(value)));
}

static Canvas ChartPlainly(const HistogramRecord &record, int width, int height, int right,
                           int bottom, int channel)
{
    Canvas canvas = NewCanvas(width, height);
    const int levels = int(record.nLevels), across = right - 20, down = bottom - 40;
    if (levels == 0 || levels > 256 || across < levels) {
        return canvas;
    }
    const int bar = across / levels, chart = levels * bar;
    canvas.Fill(9, down + 21, chart + 11, down + 23);
    for (int level = 0; level < levels; level++) {
        unsigned least = 0, most = 0, count = 0;
        for (int c = 0; c < 3; c++) {
            const bool bSum = record.nChannels == 3 && (channel < 1 || channel > 3);
            if (bSum || c == (record.nChannels == 1 ? 0 : channel - 1)) {
                least += record.minCount[c];
                most += record.maxCount[c];
                count += record.counts[c][level];
            }
        }
        const int x = 10 + level * bar;
        const long long h = down == 0 ? 0 : Quotient(count - least, most - least, down);
        const bool bPixel = bar == 1 && std::min<long long>(h, down) == 1;  // GDI draws none
        if (h > 0 && !bPixel) {
            canvas.Fill(x, std::max(20LL, down + 20 - h), x + bar, down + 20);
        }
        if (bar > 1) {
            canvas.Fill(x, down + 23, x + 1, down + 25);
        }
    }
    if (bar > 1) {
        canvas.Fill(chart + 10, down + 23, chart + 11, down + 25);
    }
    return canvas;
}

static std::vector<HistogramRecord> Records()
{
    std::vector<HistogramRecord> records;
    for (int bits : {1, 4, 8, 24}) {
        records.push_back(RecordOf(MakeDib({37, 29, bits, RAMP, 0, unsigned(bits), 0})));
    }
    records.push_back(records[2]);  // every level as often: no range
    records[4].minCount[0] = records[4].maxCount[0] = 7;
    std::fill_n(records[4].counts[0], 256, 7u);
    records.push_back(records[3]);  // extremes that are none
    records[5].minCount[1] = 40;
    records[5].maxCount[1] = 41;
    records.push_back(records[0]);
    records[6].nLevels = 257;
    records.push_back(records[0]);
    records[7].nLevels = 0;
    return records;
}

TEST(Display, ChartsAreDrawnPixelByPixel)
{
    const std::vector<HistogramRecord> records = Records();
    for (size_t i = 0; i < records.size(); i++) {
        for (int right : {0, 21, 22, 35, 36, 275, 276, 531, 532, 600}) {
            for (int bottom : {0, 30, 40, 41, 90, 200}) {
                for (int channel : {0, 1, 2, 3, 4}) {
                    SCOPED_TRACE(testing::Message() << "record " << i << " in " << right << " x "
                                                    << bottom << ", channel " << channel);
                    const RECT rect = {1000, -2000, right + 1000, bottom - 2000};
                    int bDrawn = -1;
                    const Canvas got = PaintInMemory(620, 220, [&](HDC hdc) {
                        bDrawn = HistDispToDC(hdc, &records[i], &rect, channel);
                    });
                    const UINT levels = records[i].nLevels;
                    EXPECT_EQ(levels > 0 && levels <= 256 && right - 20 >= int(levels),
                              bDrawn == 1);
                    ASSERT_EQ("",
                              Difference(ChartPlainly(records[i], 620, 220, right, bottom, channel),
                                         got));
                }
            }
        }
    }
    const RECT wild = {INT_MIN, INT_MIN, INT_MAX, INT_MAX};
    const RECT most = {0, 0, INT_MAX, INT_MAX};
    PaintInMemory(30, 30, [&](HDC hdc) {
        EXPECT_EQ(0, HistDispToDC(NULL, &records[0], &most, 0));
        EXPECT_EQ(0, HistDispToDC(hdc, NULL, &most, 0));
        EXPECT_EQ(0, HistDispToDC(hdc, &records[0], NULL, 0));
        EXPECT_EQ(0, HistDispToDC(hdc, &records[0], &wild, 0));
        HistDispToDC(hdc, &records[0], &most, 0);
    });
}

TEST(Display, AWindowShowsItsChart)
{
    const std::vector<HistogramRecord> records = Records();
    for (size_t i = 0; i < records.size(); i++) {
        SCOPED_TRACE(i);
        const HWND hWnd = NewCanvasWindow(300, 150);
        EXPECT_EQ(0, HistDispWmPain(hWnd, &records[i], 2));
        const Canvas got = {300, 150, ReadCanvasWindow(hWnd)};
        EXPECT_EQ("", Difference(ChartPlainly(records[i], 300, 150, 300, 150, 2), got));
        DestroyWindow(hWnd);
    }
    const HWND hWnd = NewCanvasWindow(300, 150);
    EXPECT_EQ(0, HistDispWmPain(hWnd, NULL, 2));
    DestroyWindow(hWnd);
    EXPECT_EQ(0, HistDispWmPain(NULL, &records[0], 2));
}

// ---- lines in a window --------------------------------------------------------------------------

static Canvas LinesPlainly(const Bytes &dib, int width, int height, int channel)
{
    Canvas canvas = NewCanvas(width, height);
    const int bits = HeaderOf(dib).biBitCount & 255;
    const int top = bits == 1 ? 1 : bits == 4 ? 15 : bits == 8 || bits == 24 ? 255 : bits;
    const Counts counts = CountPlainly(dib, true);
    if (width < top + 20 || (bits == 24 && (channel < 1 || channel > 3))) {
        return canvas;
    }
    unsigned least = unsigned(top), most = 0;
    for (int level = 0; level <= top; level++) {
        least = std::min(least, counts[0][size_t(level)]);
        most = std::max(most, counts[0][size_t(level)]);
    }
    const int left = (width - top - 1) / 2, base = height - 50;
    canvas.Fill(left, base + 1, left + top + 1, base + 3);
    for (int level = 0; level <= top && base != 0; level++) {
        const std::vector<unsigned> &drawn = counts[bits == 24 ? size_t(channel) - 1 : 0];
        const long long h = Quotient(drawn[size_t(level)] - least, most - least, base);
        const int end = short((unsigned)base - (unsigned)(int)h);
        if (h != 0) {  // the end at the base line stays out
            canvas.Fill(left + level, std::min(end, base + 1), left + level + 1,
                        end < base ? base : end + 1);
        }
    }
    return canvas;
}

TEST(Display, TheOldFormDrawsLinesAndCopies)
{
    for (int bits : {1, 4, 8, 24, 16}) {
        for (int side : {16, 36, 150, 275, 330}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, " << side);
            const int channel = bits == 24 ? side % 5 : 7;
            const int height = side == 275 ? 45 : side == 36 ? 50 : 140;
            Bytes dib = MakeDib({side / 3, 9, bits == 16 ? 24 : bits, RAMP, 0, unsigned(side), 0});
            if (bits == 16) {
                BITMAPINFOHEADER header = HeaderOf(dib);
                header.biBitCount = 16;
                SetHeader(&dib, header);
            }
            const HGLOBAL hDib = NewBlock(dib);
            const HWND hWnd = NewCanvasWindow(side, height);
            const HGLOBAL hCopy = HistDIBGen(hDib, hWnd, channel);
            const Canvas got = {side, height, ReadCanvasWindow(hWnd)};
            EXPECT_EQ("", Difference(LinesPlainly(dib, side, height, channel), got));
            Bytes want = dib;
            const size_t stride = (size_t(side / 3) * unsigned(bits) + 31) / 32 * 4;
            want.resize(BitsOffset(dib) + stride * 9);
            want.resize(want.size() + 4);  // spare bytes
            EXPECT_EQ("", FirstDifference(want, ReadBlock(hCopy)));
            DestroyWindow(hWnd);
            FreeBlock(hCopy);
            FreeBlock(hDib);
        }
    }
}

TEST(Display, WithoutMemoryThereIsNoCopy)
{
    const HGLOBAL hDib = NewBlock(MakeDib({20, 9, 8, RAMP, 0, 1, 0}));
    const int blocks = LiveBlocks(), locks = LocksHeld();
    for (int nth : {1, 2}) {
        FailAllocation(nth);
        const HGLOBAL hCopy = HistDIBGen(hDib, NULL, 0);
        EXPECT_EQ(nth == 2, hCopy != NULL);
        FreeBlock(hCopy);
        FailAllocation(0);
        FailLock(nth);
        EXPECT_EQ(NULL, HistDIBGen(hDib, NULL, 0));
        FailLock(0);
        EXPECT_EQ(locks, LocksHeld());
    }
    EXPECT_EQ(blocks, LiveBlocks());
    FreeBlock(hDib);
}
