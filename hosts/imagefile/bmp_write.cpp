// Writing a BMP file: a 14-byte file header and the DIB as it is, rows bottom-up, with its colour
// table and resolution. A 24-bit picture loses a table it does not need.
#include "codecs.h"

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

static const size_t FILE_HEADER_BYTES = 14;

bool EncodeBmp(const DibView *view, FileBytes *bytes, ImageMessages *messages)
{
    size_t bits = FILE_HEADER_BYTES + sizeof(BITMAPINFOHEADER) + view->nColours * sizeof(RGBQUAD);
    size_t pixels = view->nStride * unsigned(view->nHeight);
    bytes->nLength = bits + pixels;
    bytes->pData = static_cast<BYTE *>(malloc(bytes->nLength));
    if (!bytes->pData) {
        return FailImage(messages, "not enough memory to write the BMP file");
    }

    uint32_t size = uint32_t(bytes->nLength), offset = uint32_t(bits);
    BYTE *out = bytes->pData;
    memset(out, 0, FILE_HEADER_BYTES);
    out[0] = 'B';
    out[1] = 'M';
    memcpy(out + 2, &size, 4);
    memcpy(out + 10, &offset, 4);
    BITMAPINFOHEADER header = *view->pHeader;
    header.biPlanes = 1;
    header.biSizeImage = DWORD(pixels);
    header.biClrUsed = view->nBitCount == 24 ? 0 : header.biClrUsed;
    if (header.biClrUsed > view->nColours) {
        header.biClrUsed = view->nColours;
    }
    if (header.biClrImportant > view->nColours) {
        header.biClrImportant = 0;
    }
    memcpy(out + FILE_HEADER_BYTES, &header, sizeof header);
    memcpy(out + FILE_HEADER_BYTES + sizeof header, view->pColours,
           view->nColours * sizeof(RGBQUAD));
    memcpy(out + bits, view->pBits, pixels);
    return true;
}
