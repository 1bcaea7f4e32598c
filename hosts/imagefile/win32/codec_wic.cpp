// PNG and JPEG files through the system's imaging component.
//
// The component hands out rows in one of many layouts. Those that a DIB has too are copied into it;
// the others are listed in LAYOUTS and taken apart here, so that samples of 16 bits round, and
// transparency goes, as on every system.
#include "../codecs.h"

#include <wincodec.h>

#include <stdlib.h>
#include <string.h>

struct WicPass {
    IWICImagingFactory *pFactory;
    IWICStream *pInput;
    IWICBitmapDecoder *pDecoder;
    IWICBitmapFrameDecode *pSource;
    IWICPalette *pPalette;
    IStream *pOutput;
    IWICBitmapEncoder *pEncoder;
    IWICBitmapFrameEncode *pTarget;
    IPropertyBag2 *pProperties;
    BYTE *pRows;
    DibView view;
    ImageMessages *pMessages;
};

enum LayoutKind { KIND_SAME, KIND_GRAY, KIND_INDEX, KIND_SAMPLES, KIND_INKS };

// nBits per pixel; nRed, nGreen, nBlue: the samples' byte offsets; nSampleBytes 2: low byte first.
struct PixelLayout {
    const GUID *pFormat;
    LayoutKind nKind;
    int nBits, nResultBits;
    int nRed, nGreen, nBlue, nSampleBytes;
};

static const PixelLayout LAYOUTS[] = {
    {&GUID_WICPixelFormatBlackWhite, KIND_SAME, 1, 1, 0, 0, 0, 1},
    {&GUID_WICPixelFormat1bppIndexed, KIND_SAME, 1, 1, 0, 0, 0, 1},
    {&GUID_WICPixelFormat4bppIndexed, KIND_SAME, 4, 4, 0, 0, 0, 1},
    {&GUID_WICPixelFormat8bppIndexed, KIND_SAME, 8, 8, 0, 0, 0, 1},
    {&GUID_WICPixelFormat8bppGray, KIND_SAME, 8, 8, 0, 0, 0, 1},
    {&GUID_WICPixelFormat24bppBGR, KIND_SAME, 24, 24, 2, 1, 0, 1},
    {&GUID_WICPixelFormat2bppIndexed, KIND_INDEX, 2, 8, 0, 0, 0, 1},
    {&GUID_WICPixelFormat2bppGray, KIND_GRAY, 2, 8, 0, 0, 0, 1},
    {&GUID_WICPixelFormat4bppGray, KIND_GRAY, 4, 8, 0, 0, 0, 1},
    {&GUID_WICPixelFormat16bppGray, KIND_SAMPLES, 16, 8, 0, 0, 0, 2},
    {&GUID_WICPixelFormat24bppRGB, KIND_SAMPLES, 24, 24, 0, 1, 2, 1},
    {&GUID_WICPixelFormat32bppBGR, KIND_SAMPLES, 32, 24, 2, 1, 0, 1},
    {&GUID_WICPixelFormat32bppBGRA, KIND_SAMPLES, 32, 24, 2, 1, 0, 1},
    {&GUID_WICPixelFormat32bppRGBA, KIND_SAMPLES, 32, 24, 0, 1, 2, 1},
    {&GUID_WICPixelFormat48bppRGB, KIND_SAMPLES, 48, 24, 0, 2, 4, 2},
    {&GUID_WICPixelFormat48bppBGR, KIND_SAMPLES, 48, 24, 4, 2, 0, 2},
    {&GUID_WICPixelFormat64bppRGBA, KIND_SAMPLES, 64, 24, 0, 2, 4, 2},
    {&GUID_WICPixelFormat64bppBGRA, KIND_SAMPLES, 64, 24, 4, 2, 0, 2},
    {&GUID_WICPixelFormat32bppCMYK, KIND_INKS, 32, 24, 0, 0, 0, 1},
};

static const int JPEG_SIDE_MOST = 65500;

static bool Done(HRESULT result, WicPass *pass)
{
    if (SUCCEEDED(result)) {
        return true;
    }
    if (result == E_OUTOFMEMORY || result == WINCODEC_ERR_INSUFFICIENTBUFFER) {
        return FailImage(pass->pMessages, "not enough memory");
    }
    return FailImage(pass->pMessages, "the picture data cannot be used (code %08lX)",
                     static_cast<unsigned long>(result));
}

static bool Start(WicPass *pass, ImageMessages *messages)
{
    memset(pass, 0, sizeof *pass);
    pass->pMessages = messages;
    // Never taken back: the component would be unloaded, and loading it costs more than a picture.
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    HRESULT result =
        CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                         IID_IWICImagingFactory, reinterpret_cast<void **>(&pass->pFactory));
    return SUCCEEDED(result) ||
           FailImage(messages, "this system has no imaging component for PNG and JPEG files");
}

static void Release(IUnknown *object)
{
    if (object) {
        object->Release();
    }
}

static void Finish(WicPass *pass)
{
    free(pass->pRows);
    Release(pass->pProperties);
    Release(pass->pTarget);
    Release(pass->pEncoder);
    Release(pass->pOutput);
    Release(pass->pPalette);
    Release(pass->pSource);
    Release(pass->pDecoder);
    Release(pass->pInput);
    Release(pass->pFactory);
}

// ---- reading -----------------------------------------------------------------------------------

static bool ReadPalette(WicPass *pass, int bitCount, RGBQUAD *colours, unsigned *count)
{
    WICColor entries[256];
    UINT entryCount = 0;
    if (!Done(pass->pFactory->CreatePalette(&pass->pPalette), pass) ||
        !Done(pass->pSource->CopyPalette(pass->pPalette), pass) ||
        !Done(pass->pPalette->GetColors(256, entries, &entryCount), pass)) {
        return false;
    }
    UINT most = 1u << bitCount;
    *count = entryCount < 1 ? 1 : entryCount > most ? most : entryCount;
    for (unsigned i = 0; i < entryCount && i < most; i++) {
        colours[i] = {BYTE(entries[i]), BYTE(entries[i] >> 8), BYTE(entries[i] >> 16), 0};
    }
    return true;
}

static BYTE TakeSample(const BYTE *sample, int bytes)
{
    if (bytes == 1) {
        return *sample;
    }
    unsigned value = sample[0] | unsigned(sample[1]) << 8;
    return BYTE((value * 255 + 32895) >> 16);
}

static void ConvertRow(const PixelLayout *layout, const BYTE *in, const DibView *view, BYTE *out)
{
    if (layout->nKind == KIND_INKS) {
        InksToColours(in, view->nWidth, false, out);
        return;
    }
    int bits = layout->nBits;
    for (int x = 0; x < view->nWidth; x++) {
        if (layout->nKind == KIND_SAMPLES) {
            const BYTE *pixel = in + size_t(x) * unsigned(bits / 8);
            if (view->nBitCount == 24) {
                *out++ = TakeSample(pixel + layout->nBlue, layout->nSampleBytes);
            }
            *out++ = TakeSample(pixel + layout->nGreen, layout->nSampleBytes);
            if (view->nBitCount == 24) {
                *out++ = TakeSample(pixel + layout->nRed, layout->nSampleBytes);
            }
            continue;
        }
        unsigned most = (1u << bits) - 1;
        unsigned index = in[size_t(x) * unsigned(bits) / 8] >> (8 - bits - x * bits % 8) & most;
        *out++ = BYTE(layout->nKind == KIND_GRAY ? index * 255 / most : index);
    }
}

// bGray: transparent gray comes as colour; its samples are all the same.
static bool ReadRows(WicPass *pass, const PixelLayout *layout, UINT width, UINT height, bool bGray)
{
    RGBQUAD table[256] = {};
    bool bIndexed = IsEqualGUID(*layout->pFormat, GUID_WICPixelFormat1bppIndexed) ||
                    IsEqualGUID(*layout->pFormat, GUID_WICPixelFormat4bppIndexed) ||
                    IsEqualGUID(*layout->pFormat, GUID_WICPixelFormat8bppIndexed) ||
                    layout->nKind == KIND_INDEX;
    int bitCount = bGray && layout->nResultBits == 24 ? 8 : layout->nResultBits;
    unsigned colours = bitCount == 24 ? 0 : 1u << bitCount;
    if (bIndexed && !ReadPalette(pass, layout->nBits, table, &colours)) {
        return false;
    }
    DibView *view = &pass->view;
    if (!CreateDib(int(width), int(height), bitCount, colours, view, pass->pMessages)) {
        return false;
    }
    if (bIndexed) {
        memcpy(view->pColours, table, colours * sizeof(RGBQUAD));
    } else {
        SetGrayRamp(view);
    }
    if (layout->nKind == KIND_SAME && layout->nResultBits == bitCount) {
        UINT size = UINT(view->nStride * height);
        if (!Done(pass->pSource->CopyPixels(nullptr, UINT(view->nStride), size, view->pBits),
                  pass)) {
            return false;
        }
        FlipDib(view);
        return true;
    }
    ULONGLONG stride = (ULONGLONG(width) * unsigned(layout->nBits) + 31) / 32 * 4;
    ULONGLONG size = stride * height;
    pass->pRows = size < 0x7FFFFFFF ? static_cast<BYTE *>(malloc(size_t(size))) : nullptr;
    if (!pass->pRows) {
        return Done(E_OUTOFMEMORY, pass);
    }
    if (!Done(pass->pSource->CopyPixels(nullptr, UINT(stride), UINT(size), pass->pRows), pass)) {
        return false;
    }
    for (UINT y = 0; y < height; y++) {
        ConvertRow(layout, pass->pRows + size_t(stride) * y, view, DibRow(view, int(y)));
    }
    return true;
}

static bool ReadPicture(WicPass *pass, const BYTE *bytes, size_t length, bool bGray)
{
    GUID format;
    UINT width = 0, height = 0;
    BYTE *data = const_cast<BYTE *>(bytes);  // only read
    if (!Done(pass->pFactory->CreateStream(&pass->pInput), pass) ||
        !Done(pass->pInput->InitializeFromMemory(data, DWORD(length)), pass) ||
        !Done(pass->pFactory->CreateDecoderFromStream(
                  pass->pInput, nullptr, WICDecodeMetadataCacheOnDemand, &pass->pDecoder),
              pass) ||
        !Done(pass->pDecoder->GetFrame(0, &pass->pSource), pass) ||
        !Done(pass->pSource->GetPixelFormat(&format), pass) ||
        !Done(pass->pSource->GetSize(&width, &height), pass)) {
        return false;
    }
    if (width < 1 || height < 1 || width > 0x7FFFFFFF || height > 0x7FFFFFFF) {
        return FailImage(pass->pMessages, "the file states a size of %u x %u pixels", width,
                         height);
    }
    for (const PixelLayout &layout : LAYOUTS) {
        if (IsEqualGUID(format, *layout.pFormat)) {
            return ReadRows(pass, &layout, width, height, bGray);
        }
    }
    return FailImage(pass->pMessages, "its pixels have a layout that is not supported");
}

static HGLOBAL Decode(const BYTE *bytes, size_t length, bool bGray, ImageMessages *messages)
{
    WicPass pass;
    bool bDone = Start(&pass, messages) && ReadPicture(&pass, bytes, length, bGray);
    HGLOBAL hDib = pass.view.hDib;
    CloseDib(&pass.view);
    Finish(&pass);
    if (!bDone && hDib) {
        GlobalFree(hDib);
    }
    return bDone ? hDib : nullptr;
}

HGLOBAL DecodePng(const BYTE *bytes, size_t length, bool bGray, ImageMessages *messages)
{
    return Decode(bytes, length, bGray, messages);
}

HGLOBAL DecodeJpeg(const BYTE *bytes, size_t length, ImageMessages *messages)
{
    return Decode(bytes, length, false, messages);
}

bool DecodePngAlpha(const BYTE *bytes, size_t length, std::vector<BYTE> *alpha)
{
    WicPass pass;
    ImageMessages messages;
    IWICFormatConverter *pConverter = nullptr;
    UINT width = 0, height = 0;
    BYTE *data = const_cast<BYTE *>(bytes);  // only read
    bool bDone =
        Start(&pass, &messages) && Done(pass.pFactory->CreateStream(&pass.pInput), &pass) &&
        Done(pass.pInput->InitializeFromMemory(data, DWORD(length)), &pass) &&
        Done(pass.pFactory->CreateDecoderFromStream(pass.pInput, nullptr,
                                                    WICDecodeMetadataCacheOnDemand, &pass.pDecoder),
             &pass) &&
        Done(pass.pDecoder->GetFrame(0, &pass.pSource), &pass) &&
        Done(pass.pSource->GetSize(&width, &height), &pass) &&
        Done(pass.pFactory->CreateFormatConverter(&pConverter), &pass) &&
        Done(pConverter->Initialize(pass.pSource, GUID_WICPixelFormat32bppBGRA,
                                    WICBitmapDitherTypeNone, nullptr, 0,
                                    WICBitmapPaletteTypeCustom),
             &pass);
    const ULONGLONG size = ULONGLONG(width) * height * 4;
    pass.pRows = bDone && size < 0x7FFFFFFF ? static_cast<BYTE *>(malloc(size_t(size))) : nullptr;
    bDone = pass.pRows &&
            Done(pConverter->CopyPixels(nullptr, width * 4, UINT(size), pass.pRows), &pass);
    alpha->clear();
    for (size_t i = 0; bDone && i < size; i += 4) {
        alpha->push_back(pass.pRows[i + 3]);
    }
    Release(pConverter);
    Finish(&pass);
    return bDone;
}

// ---- writing -----------------------------------------------------------------------------------

static bool WritePalette(WicPass *pass)
{
    WICColor entries[256];
    unsigned count = DibColoursInUse(&pass->view);
    for (unsigned i = 0; i < count; i++) {
        RGBQUAD colour = DibColour(&pass->view, i);
        entries[i] = 0xFF000000u | unsigned(colour.rgbRed) << 16 | unsigned(colour.rgbGreen) << 8 |
                     colour.rgbBlue;
    }
    return Done(pass->pFactory->CreatePalette(&pass->pPalette), pass) &&
           Done(pass->pPalette->InitializeCustom(entries, count), pass) &&
           Done(pass->pTarget->SetPalette(pass->pPalette), pass);
}

static const GUID *PngFormat(const DibView *view, bool *bIndexed)
{
    bool bRamp = view->nBitCount <= 8 && HasGrayRamp(view);
    *bIndexed = view->nBitCount <= 8 && !bRamp;
    switch (view->nBitCount) {
    case 1:
        return bRamp ? &GUID_WICPixelFormatBlackWhite : &GUID_WICPixelFormat1bppIndexed;
    case 4:
        return bRamp ? &GUID_WICPixelFormat4bppGray : &GUID_WICPixelFormat4bppIndexed;
    case 8:
        return bRamp ? &GUID_WICPixelFormat8bppGray : &GUID_WICPixelFormat8bppIndexed;
    default:
        return &GUID_WICPixelFormat24bppBGR;
    }
}

static bool OpenOutput(WicPass *pass, const GUID *container)
{
    return Done(CreateStreamOnHGlobal(nullptr, TRUE, &pass->pOutput), pass) &&
           Done(pass->pFactory->CreateEncoder(*container, nullptr, &pass->pEncoder), pass) &&
           Done(pass->pEncoder->Initialize(pass->pOutput, WICBitmapEncoderNoCache), pass) &&
           Done(pass->pEncoder->CreateNewFrame(&pass->pTarget, &pass->pProperties), pass);
}

// coding: the component takes no tables of others; the nearest quality and the sampling come close.
static bool SetQuality(WicPass *pass, int quality, const JpegCoding *coding)
{
    static WCHAR QUALITY[] = L"ImageQuality", SAMPLING[] = L"JpegYCrCbSubsampling";
    static const BYTE SAMPLINGS[2][2] = {{WICJpegYCrCbSubsampling444, WICJpegYCrCbSubsampling440},
                                         {WICJpegYCrCbSubsampling422, WICJpegYCrCbSubsampling420}};
    PROPBAG2 option = {};
    VARIANT value;
    VariantInit(&value);
    option.pstrName = QUALITY;
    value.vt = VT_R4;
    value.fltVal = float(coding ? NearestJpegQuality(coding) : quality) / 100.0f;
    if (!Done(pass->pProperties->Write(1, &option, &value), pass)) {
        return false;
    }
    if (coding && coding->nComponents == 3) {
        const auto &luminance = coding->components[0], &difference = coding->components[1];
        option.pstrName = SAMPLING;
        value.vt = VT_UI1;
        value.bVal =
            SAMPLINGS[luminance.nAcross > difference.nAcross][luminance.nDown > difference.nDown];
        pass->pProperties->Write(1, &option, &value);  // what cannot be had is the usual one
    }
    return true;
}

// bWholeDots: the file holds whole dots per inch, and the component would cut off a fraction.
static bool StartTarget(WicPass *pass, const GUID *format, bool bWholeDots)
{
    const DibView *view = &pass->view;
    int perMeterX = view->pHeader->biXPelsPerMeter, perMeterY = view->pHeader->biYPelsPerMeter;
    double dpiX = bWholeDots ? DotsPerInch(perMeterX) : perMeterX * 0.0254;
    double dpiY = bWholeDots ? DotsPerInch(perMeterY) : perMeterY * 0.0254;
    WICPixelFormatGUID chosen = *format;
    if (!Done(pass->pTarget->Initialize(pass->pProperties), pass) ||
        !Done(pass->pTarget->SetSize(UINT(view->nWidth), UINT(view->nHeight)), pass)) {
        return false;
    }
    if (dpiX > 0 && dpiY > 0 && !Done(pass->pTarget->SetResolution(dpiX, dpiY), pass)) {
        return false;
    }
    if (!Done(pass->pTarget->SetPixelFormat(&chosen), pass)) {
        return false;
    }
    return IsEqualGUID(chosen, *format) ||
           FailImage(pass->pMessages, "the system cannot write a picture of %d bits",
                     view->nBitCount);
}

static bool FinishOutput(WicPass *pass, FileBytes *bytes)
{
    HGLOBAL hMemory = nullptr;
    STATSTG status = {};
    if (!Done(pass->pTarget->Commit(), pass) || !Done(pass->pEncoder->Commit(), pass) ||
        !Done(pass->pOutput->Stat(&status, STATFLAG_NONAME), pass) ||
        !Done(GetHGlobalFromStream(pass->pOutput, &hMemory), pass)) {
        return false;
    }
    bytes->nLength = size_t(status.cbSize.QuadPart);
    bytes->pData = static_cast<BYTE *>(malloc(bytes->nLength));
    const void *data = bytes->pData ? GlobalLock(hMemory) : nullptr;
    if (!data) {
        return Done(E_OUTOFMEMORY, pass);
    }
    memcpy(bytes->pData, data, bytes->nLength);
    GlobalUnlock(hMemory);
    return true;
}

// Blue, green, red, transparency.
static void MixAlpha(const DibView *view, int y, const BYTE *alpha, BYTE *out)
{
    BYTE *plain = out + size_t(view->nWidth);  // moves up, never behind what it becomes
    ExpandRow(view, y, false, plain);
    for (int x = 0; x < view->nWidth; x++, out += 4, plain += 3) {
        out[0] = plain[0];
        out[1] = plain[1];
        out[2] = plain[2];
        out[3] = alpha[size_t(view->nWidth) * unsigned(y) + unsigned(x)];
    }
}

// bExpand: rows are written as gray or 24-bit colour, whatever the DIB holds; with alpha, if not
// null, as 32-bit colour.
static bool WriteRows(WicPass *pass, bool bExpand, bool bGray, const BYTE *alpha)
{
    const DibView *view = &pass->view;
    UINT stride = alpha     ? UINT(view->nWidth) * 4
                  : bExpand ? UINT(DibStride(view->nWidth, bGray ? 8 : 24))
                            : UINT(view->nStride);
    pass->pRows = static_cast<BYTE *>(calloc(1, stride));
    if (!pass->pRows) {
        return Done(E_OUTOFMEMORY, pass);
    }
    for (int y = 0; y < view->nHeight; y++) {
        if (ImageStopped(pass->pMessages)) {
            return false;
        }
        if (alpha) {
            MixAlpha(view, y, alpha, pass->pRows);
        } else if (bExpand) {
            ExpandRow(view, y, bGray, pass->pRows);
        }
        BYTE *row = bExpand || alpha ? pass->pRows : DibRow(view, y);
        if (!Done(pass->pTarget->WritePixels(1, stride, stride, row), pass)) {
            return false;
        }
    }
    return true;
}

bool EncodePng(const DibView *view, const BYTE *alpha, FileBytes *bytes, ImageMessages *messages)
{
    WicPass pass;
    bool bIndexed = false;
    const GUID *format = PngFormat(view, &bIndexed);
    if (alpha) {
        format = &GUID_WICPixelFormat32bppBGRA;
        bIndexed = false;
    }
    bool bDone = Start(&pass, messages);
    pass.view = *view;
    bDone = bDone && OpenOutput(&pass, &GUID_ContainerFormatPng) &&
            StartTarget(&pass, format, false) && (!bIndexed || WritePalette(&pass)) &&
            WriteRows(&pass, false, false, alpha) && FinishOutput(&pass, bytes);
    Finish(&pass);
    return bDone;
}

bool EncodeJpeg(const DibView *view, int quality, const JpegCoding *coding, FileBytes *bytes,
                ImageMessages *messages)
{
    if (view->nWidth > JPEG_SIDE_MOST || view->nHeight > JPEG_SIDE_MOST) {
        return FailImage(messages, "a JPEG file holds at most %d pixels a side", JPEG_SIDE_MOST);
    }
    WicPass pass;
    bool bGray = HasGrayTable(view);
    const GUID *format = bGray ? &GUID_WICPixelFormat8bppGray : &GUID_WICPixelFormat24bppBGR;
    bool bDone = Start(&pass, messages);
    pass.view = *view;
    bDone = bDone && OpenOutput(&pass, &GUID_ContainerFormatJpeg) &&
            SetQuality(&pass, quality, coding) && StartTarget(&pass, format, true) &&
            WriteRows(&pass, true, bGray, nullptr) && FinishOutput(&pass, bytes);
    Finish(&pass);
    return bDone;
}

// The system hands out no inflation of its own.
bool InflateChunkProfile(const std::vector<BYTE> &, std::vector<BYTE> *)
{
    return false;
}
