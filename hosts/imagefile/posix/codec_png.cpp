// PNG files through libpng. Rows go straight between the file and the DIB: gray of 1 bit, palettes
// of 1, 4 and 8 bits, gray of 8 bits and colour stay what they are; gray of 2 and 4 bits and
// palettes of 2 bits become 8 bits, 16-bit samples are rounded to 8, transparency is read apart.
//
// libpng leaves a failed call by longjmp, so each pass is one function without cleanup of its own,
// and the caller releases what the record holds.
#include "../codecs.h"

#include <png.h>
#include <zlib.h>

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

// A third of the time of zlib's usual 6, for files 3 to 4 % larger (photographs and their edges).
static const int COMPRESSION_LEVEL = 4;

struct PngPass {
    png_structp pPng;
    png_infop pInfo;
    DibView view;
    const BYTE *pAlpha;  // writing: of the pixels, or null
    BYTE *pLine;         // writing: a row with it
    const BYTE *pNext;   // reading: what is left of the file
    size_t nLeft;
    FileBytes *pBytes;  // writing: what was made so far
    size_t nRoom;
    ImageMessages *pMessages;
};

static void PngFailed(png_structp png, png_const_charp text)
{
    PngPass *pass = static_cast<PngPass *>(png_get_error_ptr(png));
    if (pass->pMessages->szError[0] == 0) {
        FailImage(pass->pMessages, "the PNG data cannot be used (%s)", text);
    }
    png_longjmp(png, 1);
}

static void PngWarned(png_structp, png_const_charp)
{
}

static void PngRead(png_structp png, png_bytep data, size_t count)
{
    PngPass *pass = static_cast<PngPass *>(png_get_io_ptr(png));
    if (count > pass->nLeft) {
        FailImage(pass->pMessages, "the PNG file ends too early");
        png_error(png, "end of file");
    }
    memcpy(data, pass->pNext, count);
    pass->pNext += count;
    pass->nLeft -= count;
}

static void PngWrite(png_structp png, png_bytep data, size_t count)
{
    PngPass *pass = static_cast<PngPass *>(png_get_io_ptr(png));
    FileBytes *bytes = pass->pBytes;
    if (count > pass->nRoom - bytes->nLength) {
        size_t room = (bytes->nLength + count) / 2 * 3 + 65536;
        BYTE *grown = static_cast<BYTE *>(realloc(bytes->pData, room));
        if (!grown) {
            png_error(png, "not enough memory");
        }
        bytes->pData = grown;
        pass->nRoom = room;
    }
    memcpy(bytes->pData + bytes->nLength, data, count);
    bytes->nLength += count;
}

static void PngFlush(png_structp)
{
}

static void PngRowDone(png_structp png, png_uint_32, int)
{
    PngPass *pass = static_cast<PngPass *>(png_get_error_ptr(png));
    if (ImageStopped(pass->pMessages)) {
        png_error(png, "interrupted");
    }
}

static void ReadPalette(PngPass *pass)
{
    png_colorp colours = nullptr;
    int count = 0;
    png_get_PLTE(pass->pPng, pass->pInfo, &colours, &count);
    for (int i = 0; i < count && unsigned(i) < pass->view.nColours; i++) {
        pass->view.pColours[i] = {colours[i].blue, colours[i].green, colours[i].red, 0};
    }
}

static unsigned PaletteLength(PngPass *pass, int bitCount)
{
    png_colorp colours = nullptr;
    int count = 0;
    png_get_PLTE(pass->pPng, pass->pInfo, &colours, &count);
    int most = 1 << bitCount;
    return unsigned(count < 1 ? 1 : count > most ? most : count);
}

static bool ReadPng(PngPass *pass)
{
    if (setjmp(png_jmpbuf(pass->pPng))) {
        return false;
    }
    png_structp png = pass->pPng;
    png_infop info = pass->pInfo;
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_read_fn(png, pass, PngRead);
    png_set_read_status_fn(png, PngRowDone);
    png_read_info(png, info);
    png_uint_32 width = png_get_image_width(png, info), height = png_get_image_height(png, info);
    int bits = png_get_bit_depth(png, info), type = png_get_color_type(png, info);

    png_set_strip_alpha(png);
    if (bits == 16) {
        png_set_scale_16(png);
    }
    int bitCount = bits > 8 ? 8 : bits;
    unsigned colours = 1u << bitCount;
    if (type == PNG_COLOR_TYPE_PALETTE) {
        if (bits == 2) {
            png_set_packing(png);
            bitCount = 8;
        }
        colours = PaletteLength(pass, bits);
    } else if (type & PNG_COLOR_MASK_COLOR) {
        png_set_bgr(png);
        bitCount = 24;
        colours = 0;
    } else if (bits == 2 || bits == 4) {
        png_set_expand_gray_1_2_4_to_8(png);
        bitCount = 8;
        colours = 256;
    }
    // Before libpng makes room for a row of it.
    if (!CreateDib(int(width), int(height), bitCount, colours, &pass->view, pass->pMessages)) {
        png_error(png, "no picture");
    }
    int passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    if (png_get_rowbytes(png, info) > pass->view.nStride) {
        png_error(png, "unexpected row length");
    }
    if (type == PNG_COLOR_TYPE_PALETTE) {
        ReadPalette(pass);
    } else {
        SetGrayRamp(&pass->view);
    }
    for (int i = 0; i < passes; i++) {
        for (int y = 0; y < pass->view.nHeight; y++) {
            png_read_row(png, DibRow(&pass->view, y), nullptr);
        }
    }
    png_read_end(png, nullptr);
    return true;
}

HGLOBAL DecodePng(const BYTE *bytes, size_t length, bool, ImageMessages *messages)
{
    PngPass pass = {};
    pass.pNext = bytes;
    pass.nLeft = length;
    pass.pMessages = messages;
    pass.pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, &pass, PngFailed, PngWarned);
    pass.pInfo = pass.pPng ? png_create_info_struct(pass.pPng) : nullptr;
    bool bDone = pass.pInfo ? ReadPng(&pass) : FailImage(messages, "not enough memory");
    png_destroy_read_struct(&pass.pPng, &pass.pInfo, nullptr);
    CloseDib(&pass.view);
    if (!bDone && pass.view.hDib) {
        GlobalFree(pass.view.hDib);
    }
    return bDone ? pass.view.hDib : nullptr;
}

bool DecodePngAlpha(const BYTE *bytes, size_t length, std::vector<BYTE> *alpha)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes, length)) {
        return false;
    }
    image.format = PNG_FORMAT_RGBA;
    const size_t pixels = size_t(image.width) * image.height;
    BYTE *rows = pixels < (size_t(1) << 29) ? static_cast<BYTE *>(malloc(pixels * 4)) : nullptr;
    const bool bDone = rows && png_image_finish_read(&image, nullptr, rows, 0, nullptr);
    png_image_free(&image);
    alpha->clear();
    for (size_t i = 0; bDone && i < pixels; i++) {
        alpha->push_back(rows[i * 4 + 3]);
    }
    free(rows);
    return bDone;
}

// The table reaches to the highest index that a pixel holds: PNG has no colours past its palette.
static void WritePalette(PngPass *pass)
{
    png_color colours[256];
    unsigned count = DibColoursInUse(&pass->view);
    for (unsigned i = 0; i < count; i++) {
        RGBQUAD colour = DibColour(&pass->view, i);
        colours[i] = {colour.rgbRed, colour.rgbGreen, colour.rgbBlue};
    }
    png_set_PLTE(pass->pPng, pass->pInfo, colours, int(count));
}

// The samples of row y with their transparency behind each pixel's.
static void MixAlpha(const PngPass *pass, int y, bool bGray)
{
    const size_t width = size_t(pass->view.nWidth), samples = bGray ? 1 : 3;
    BYTE *plain = pass->pLine + width * (samples + 1), *out = pass->pLine;
    const BYTE *alpha = pass->pAlpha + width * size_t(y);
    ExpandRow(&pass->view, y, bGray, plain);
    for (size_t x = 0; x < width; x++) {
        for (size_t i = 0; i < samples; i++) {
            *out++ = *plain++;
        }
        *out++ = alpha[x];
    }
}

static bool WritePng(PngPass *pass)
{
    if (setjmp(png_jmpbuf(pass->pPng))) {
        return false;
    }
    png_structp png = pass->pPng;
    const DibView *view = &pass->view;
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_write_fn(png, pass, PngWrite, PngFlush);
    png_set_write_status_fn(png, PngRowDone);
    const bool bGray = HasGrayTable(view);
    int type = pass->pAlpha ? bGray ? PNG_COLOR_TYPE_GRAY_ALPHA : PNG_COLOR_TYPE_RGB_ALPHA
               : view->nBitCount == 24 ? PNG_COLOR_TYPE_RGB
               : HasGrayRamp(view)     ? PNG_COLOR_TYPE_GRAY
                                       : PNG_COLOR_TYPE_PALETTE;
    int bits = view->nBitCount == 24 || pass->pAlpha ? 8 : view->nBitCount;
    png_set_IHDR(png, pass->pInfo, unsigned(view->nWidth), unsigned(view->nHeight), bits, type,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, COMPRESSION_LEVEL);
    if (type == PNG_COLOR_TYPE_PALETTE) {
        WritePalette(pass);
    }
    int perMeterX = view->pHeader->biXPelsPerMeter, perMeterY = view->pHeader->biYPelsPerMeter;
    if (perMeterX > 0 && perMeterY > 0) {
        png_set_pHYs(png, pass->pInfo, unsigned(perMeterX), unsigned(perMeterY),
                     PNG_RESOLUTION_METER);
    }
    png_write_info(png, pass->pInfo);
    png_set_bgr(png);
    for (int y = 0; y < view->nHeight; y++) {
        if (pass->pAlpha) {
            MixAlpha(pass, y, bGray);
        }
        png_write_row(png, pass->pAlpha ? pass->pLine : DibRow(view, y));
    }
    png_write_end(png, nullptr);
    return true;
}

bool EncodePng(const DibView *view, const BYTE *alpha, FileBytes *bytes, ImageMessages *messages)
{
    static const size_t MOST_SAMPLES = 3 + 4;  // plain, and with the transparency
    PngPass pass = {};
    pass.view = *view;
    pass.pAlpha = alpha;
    pass.pLine = alpha ? static_cast<BYTE *>(malloc(size_t(view->nWidth) * MOST_SAMPLES)) : nullptr;
    if (alpha && !pass.pLine) {
        return FailImage(messages, "not enough memory");
    }
    pass.pBytes = bytes;
    pass.pMessages = messages;
    pass.pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, &pass, PngFailed, PngWarned);
    pass.pInfo = pass.pPng ? png_create_info_struct(pass.pPng) : nullptr;
    bool bDone = pass.pInfo ? WritePng(&pass) : FailImage(messages, "not enough memory");
    png_destroy_write_struct(&pass.pPng, &pass.pInfo);
    free(pass.pLine);
    return bDone;
}

// Name, zero, method, stream. Profiles take kilobytes; one that grows past the limit is none.
bool InflateChunkProfile(const std::vector<BYTE> &chunk, std::vector<BYTE> *profile)
{
    static const size_t PROFILE_MOST = 1 << 24;
    size_t at = 4;
    while (at < chunk.size() && chunk[at] != 0) {
        at++;
    }
    if (chunk.size() < at + 2) {
        return false;
    }
    for (size_t room = 1 << 16; room <= PROFILE_MOST; room *= 4) {
        uLongf size = uLongf(room);
        profile->resize(room);
        const int result =
            uncompress(profile->data(), &size, chunk.data() + at + 2, uLong(chunk.size() - at - 2));
        profile->resize(size_t(size));
        if (result != Z_BUF_ERROR) {
            return result == Z_OK;
        }
    }
    return false;
}
