// How a JPEG file was coded, so that a picture that comes out of one can be written the same way:
// with the steps and the sampling that its maker chose, not coarser and not in vain finer.
#include "codecs.h"

#include <stdlib.h>
#include <string.h>

static const int BLOCKS_MOST = 10;  // of a unit of interleaved components

// Several tables may share a segment: a byte with precision and number, then 64 steps.
static bool ReadTables(const FilePart *part, JpegCoding *coding, bool *known)
{
    for (size_t at = 0; at < part->nSize;) {
        const unsigned number = part->pData[at] & 15u, bytes = part->pData[at] >> 4 ? 2 : 1;
        at++;
        if (number > 3 || part->nSize - at < size_t(64) * bytes) {
            return false;
        }
        for (uint16_t &step : coding->tables[number]) {
            step = uint16_t(bytes == 2 ? BigEndian16(part->pData + at) : part->pData[at]);
            at += bytes;
            if (step == 0) {
                return false;
            }
        }
        known[number] = true;
    }
    return true;
}

// The samplings that every reader knows: the differences as dense as the luminance, or half.
static bool ReadFrame(const FilePart *part, JpegCoding *coding)
{
    const BYTE *data = part->pData;
    const int count = part->nSize >= 6 ? data[5] : 0;
    int blocks = 0;
    if ((count != 1 && count != 3) || part->nSize < 6 + 3 * size_t(count) || data[0] != 8) {
        return false;
    }
    for (int i = 0; i < count; i++, data += 3) {
        auto &component = coding->components[i];
        component = {data[7] >> 4, data[7] & 15, data[8]};
        const auto &first = coding->components[0];
        const bool bSound = component.nAcross >= 1 && component.nAcross <= 2 &&
                            component.nDown >= 1 && component.nDown <= 2 &&
                            component.nAcross <= first.nAcross && component.nDown <= first.nDown &&
                            component.nTable <= 3;
        if (!bSound) {
            return false;
        }
        blocks += component.nAcross * component.nDown;
    }
    coding->nComponents = count;
    return blocks <= BLOCKS_MOST;
}

// Three components may be plain red, green and blue: a marker says so, or their names.
static bool IsPlainColour(const FilePart *part)
{
    if (part->nMarker == 0xEE) {
        return part->nSize >= 12 && memcmp(part->pData, "Adobe", 5) == 0 && part->pData[11] == 0;
    }
    return IsFrameMarker(part->nMarker) && part->nSize >= 15 && part->pData[6] == 'R' &&
           part->pData[9] == 'G' && part->pData[12] == 'B';
}

void ReadJpegCoding(const BYTE *bytes, size_t length, JpegCoding *coding)
{
    FilePart part;
    bool known[4] = {}, bSound = true;
    *coding = {};
    for (size_t at = JPEG_PARTS; bSound && NextJpegPart(bytes, length, &at, &part);) {
        bSound = !IsPlainColour(&part) &&
                 (part.nMarker != 0xDB || ReadTables(&part, coding, known)) &&
                 (!IsFrameMarker(part.nMarker) || ReadFrame(&part, coding));
    }
    for (int i = 0; i < coding->nComponents; i++) {
        bSound = bSound && known[coding->components[i].nTable];
    }
    if (!bSound) {
        *coding = {};
    }
}

int NearestJpegQuality(const JpegCoding *coding)
{
    // The luminance steps of quality 50, from the standard's annex K, in the order of files.
    static const int HALF[64] = {16,  11, 12, 14,  12,  10,  16,  14,  13, 14,  18,  17,  16,
                                 19,  24, 40, 26,  24,  22,  22,  24,  49, 35,  37,  29,  40,
                                 58,  51, 61, 60,  57,  51,  56,  55,  64, 72,  92,  78,  64,
                                 68,  87, 69, 55,  56,  80,  109, 81,  87, 95,  98,  103, 104,
                                 103, 62, 77, 113, 121, 112, 100, 120, 92, 101, 103, 99};
    int nearest = JPEG_QUALITY_DEFAULT, least = 0;
    for (int quality = 1; quality <= 100; quality++) {
        const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
        int distance = 0;
        for (int i = 0; i < 64; i++) {
            const int scaled = (HALF[i] * percent + 50) / 100;
            const int step = scaled < 1 ? 1 : scaled > 255 ? 255 : scaled;
            distance += abs(step - coding->tables[coding->components[0].nTable][i]);
        }
        if (quality == 1 || distance < least) {
            least = distance;
            nearest = quality;
        }
    }
    return nearest;
}
