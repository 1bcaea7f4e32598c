// JPEG files through libjpeg. Gray files become 8-bit gray DIBs, all others 24-bit ones. A DIB
// whose colours are all gray is written as gray, all others in colour with libjpeg's usual
// subsampling, or with the tables of the file that they came from.
//
// Data that end too early are refused; other damage is repaired as libjpeg does and noted. Files
// with an Adobe marker store inks inverted.
// libjpeg leaves a failed call by longjmp, so each pass is one function without cleanup of its
// own, and the caller releases what the record holds.
#include "../codecs.h"

#include <setjmp.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <jerror.h>
#include <jpeglib.h>

static const long WORK_BYTES_MOST = 0x7FFF0000;  // of libjpeg

// errors stands first: libjpeg hands back a pointer to it.
struct JpegPass {
    jpeg_error_mgr errors;
    jmp_buf leave;
    bool bDamaged;
    BYTE *pLine;
    DibView view;
    ImageMessages *pMessages;
};

static JpegPass *PassOf(j_common_ptr jpeg)
{
    return reinterpret_cast<JpegPass *>(jpeg->err);
}

static void JpegFailed(j_common_ptr jpeg)
{
    JpegPass *pass = PassOf(jpeg);
    if (pass->pMessages->szError[0] == 0) {
        char text[JMSG_LENGTH_MAX];
        (*jpeg->err->format_message)(jpeg, text);
        FailImage(pass->pMessages, "the JPEG data cannot be used (%s)", text);
    }
    longjmp(pass->leave, 1);
}

// Level -1 is damaged data; the rest is idle talk.
static void JpegSpoke(j_common_ptr jpeg, int level)
{
    JpegPass *pass = PassOf(jpeg);
    if (level >= 0) {
        return;
    }
    if (jpeg->err->msg_code == JWRN_JPEG_EOF || jpeg->err->msg_code == JWRN_HIT_MARKER) {
        FailImage(pass->pMessages, "the JPEG data end too early");
        longjmp(pass->leave, 1);
    }
    if (!pass->bDamaged) {
        NoteImage(pass->pMessages, "the JPEG data are damaged; what could be read was used");
    }
    pass->bDamaged = true;
}

static jpeg_error_mgr *StartErrors(JpegPass *pass, ImageMessages *messages)
{
    jpeg_std_error(&pass->errors);
    pass->errors.error_exit = JpegFailed;
    pass->errors.emit_message = JpegSpoke;
    pass->pMessages = messages;
    return &pass->errors;
}

static void MakeLine(j_common_ptr jpeg, size_t length)
{
    JpegPass *pass = PassOf(jpeg);
    pass->pLine = static_cast<BYTE *>(malloc(length));
    if (!pass->pLine) {
        FailImage(pass->pMessages, "not enough memory");
        longjmp(pass->leave, 1);
    }
}

static bool ReadJpeg(JpegPass *pass, jpeg_decompress_struct *jpeg, const BYTE *bytes, size_t length)
{
    if (setjmp(pass->leave)) {
        return false;
    }
    jpeg_create_decompress(jpeg);
    jpeg->mem->max_memory_to_use = WORK_BYTES_MOST;
    jpeg_mem_src(jpeg, bytes, static_cast<unsigned long>(length));
    jpeg_read_header(jpeg, TRUE);
    bool bGray = jpeg->jpeg_color_space == JCS_GRAYSCALE;
    bool bInks = jpeg->num_components == 4;
    jpeg->out_color_space = bGray ? JCS_GRAYSCALE : bInks ? JCS_CMYK : JCS_EXT_BGR;
    // Before libjpeg makes room for the whole of a progressive picture.
    jpeg_calc_output_dimensions(jpeg);
    int width = int(jpeg->output_width), height = int(jpeg->output_height);
    if (!CreateDib(width, height, bGray ? 8 : 24, bGray ? 256 : 0, &pass->view, pass->pMessages)) {
        return false;
    }
    jpeg_start_decompress(jpeg);
    SetGrayRamp(&pass->view);
    if (bInks) {
        MakeLine(reinterpret_cast<j_common_ptr>(jpeg), size_t(width) * 4);
    }
    while (jpeg->output_scanline < jpeg->output_height) {
        if (ImageStopped(pass->pMessages)) {
            return false;
        }
        BYTE *row = DibRow(&pass->view, int(jpeg->output_scanline));
        JSAMPROW line = bInks ? pass->pLine : row;
        jpeg_read_scanlines(jpeg, &line, 1);
        if (bInks) {
            InksToColours(pass->pLine, width, jpeg->saw_Adobe_marker, row);
        }
    }
    jpeg_finish_decompress(jpeg);
    return true;
}

HGLOBAL DecodeJpeg(const BYTE *bytes, size_t length, ImageMessages *messages)
{
    JpegPass pass = {};
    jpeg_decompress_struct jpeg = {};
    jpeg.err = StartErrors(&pass, messages);
    bool bDone = ReadJpeg(&pass, &jpeg, bytes, length);
    jpeg_destroy_decompress(&jpeg);
    free(pass.pLine);
    CloseDib(&pass.view);
    if (!bDone && pass.view.hDib) {
        GlobalFree(pass.view.hDib);
    }
    return bDone ? pass.view.hDib : nullptr;
}

// The stated density is a whole number of dots per inch below 65536.
static void SetDensity(jpeg_compress_struct *jpeg, const BITMAPINFOHEADER *header)
{
    int x = DotsPerInch(header->biXPelsPerMeter), y = DotsPerInch(header->biYPelsPerMeter);
    if (x < 1 || y < 1 || x > 65535 || y > 65535) {
        return;
    }
    jpeg->density_unit = 1;
    jpeg->X_density = UINT16(x);
    jpeg->Y_density = UINT16(y);
}

// The place of each step of a file's table among the rows of its block.
static const int ZIGZAG[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                               12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                               35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                               58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

static void SetCoding(jpeg_compress_struct *jpeg, const JpegCoding *coding)
{
    for (int i = 0; i < jpeg->num_components; i++) {
        const auto &component = coding->components[i];
        unsigned steps[64];
        for (int j = 0; j < 64; j++) {
            steps[ZIGZAG[j]] = coding->tables[component.nTable][j];
        }
        jpeg_add_quant_table(jpeg, component.nTable, steps, 100, FALSE);
        jpeg->comp_info[i].quant_tbl_no = component.nTable;
        jpeg->comp_info[i].h_samp_factor = jpeg->num_components == 1 ? 1 : component.nAcross;
        jpeg->comp_info[i].v_samp_factor = jpeg->num_components == 1 ? 1 : component.nDown;
    }
}

static bool WriteJpeg(JpegPass *pass, jpeg_compress_struct *jpeg, int quality,
                      const JpegCoding *coding, BYTE **out, unsigned long *length)
{
    if (setjmp(pass->leave)) {
        return false;
    }
    const DibView *view = &pass->view;
    bool bGray = HasGrayTable(view);
    jpeg_create_compress(jpeg);
    jpeg_mem_dest(jpeg, out, length);
    jpeg->image_width = unsigned(view->nWidth);
    jpeg->image_height = unsigned(view->nHeight);
    jpeg->input_components = bGray ? 1 : 3;
    jpeg->in_color_space = bGray ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(jpeg);
    if (coding) {
        SetCoding(jpeg, coding);
    } else {
        jpeg_set_quality(jpeg, quality, TRUE);
    }
    SetDensity(jpeg, view->pHeader);
    jpeg_start_compress(jpeg, TRUE);
    MakeLine(reinterpret_cast<j_common_ptr>(jpeg), size_t(view->nWidth) * 3);
    for (int y = 0; y < view->nHeight; y++) {
        if (ImageStopped(pass->pMessages)) {
            return false;
        }
        ExpandRow(view, y, bGray, pass->pLine);
        JSAMPROW line = pass->pLine;
        jpeg_write_scanlines(jpeg, &line, 1);
    }
    jpeg_finish_compress(jpeg);
    return true;
}

bool EncodeJpeg(const DibView *view, int quality, const JpegCoding *coding, FileBytes *bytes,
                ImageMessages *messages)
{
    if (view->nWidth > JPEG_MAX_DIMENSION || view->nHeight > JPEG_MAX_DIMENSION) {
        return FailImage(messages, "a JPEG file holds at most %d pixels a side",
                         int(JPEG_MAX_DIMENSION));
    }
    JpegPass pass = {};
    jpeg_compress_struct jpeg = {};
    unsigned long length = 0;
    pass.view = *view;
    jpeg.err = StartErrors(&pass, messages);
    bool bDone = WriteJpeg(&pass, &jpeg, quality, coding, &bytes->pData, &length);
    jpeg_destroy_compress(&jpeg);
    free(pass.pLine);
    bytes->nLength = length;
    if (!bDone) {
        bytes->pData = nullptr;  // may name a block that libjpeg has outgrown and freed
    }
    return bDone;
}
