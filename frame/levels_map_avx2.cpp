// Bytes through tables, 32 at a time with AVX2: two fifths of a cycle a byte against two for the
// plain loop (bench: Table).
//
// A byte's low four bits choose within one of sixteen rows of the table, which is one instruction
// for 32 bytes; its high four bits choose the row. All rows are looked up and a tree keeps the
// right one. The lowest level of the tree costs no choice: of each pair the second row holds its
// difference (exclusive or) to the first, and a set top bit in the index makes the look-up give 0,
// so the difference is added only where bit 4 is set.
//
// Tables of two pieces, each of which copies, inverts or replaces its levels (threshold,
// complement, solarizing), take a comparison in place of the look-ups and a sixth of their time.
//
// With a table per channel the bytes stay where they are: among three vectors in a row, each byte
// position holds each channel once. Three blends gather a channel, three put it back.
//
// A run is closed by a block that overlaps the one before. It is looked up before the first store,
// so that a run may be mapped in place.

#include "levels_kernels.h"

#include <immintrin.h>
#include <string.h>

namespace KERNEL_LEVEL
{

enum {
    LANES = 32,
    ROWS = 16,
    BLOCK = LANES * COLOR_CHANNELS,
    PIECES_PAY = 1024  // looking for pieces in a table costs as much as 200 bytes
};

struct RowTable {
    __m256i rows[ROWS];  // each twice; odd ones as the difference to the row before
};

static inline void SplitTable(const BYTE *table, RowTable *pTable)
{
    for (int h = 0; h < ROWS; h++) {
        const __m128i row = _mm_loadu_si128((const __m128i *)(const void *)(table + ROWS * h));
        pTable->rows[h] = _mm256_broadcastsi128_si256(row);
    }
    for (int h = 1; h < ROWS; h += 2) {
        pTable->rows[h] = _mm256_xor_si256(pTable->rows[h], pTable->rows[h - 1]);
    }
}

static inline __m256i Load(const BYTE *bytes)
{
    return _mm256_loadu_si256((const __m256i *)(const void *)bytes);
}

static inline void Store(BYTE *bytes, __m256i value)
{
    _mm256_storeu_si256((__m256i *)(void *)bytes, value);
}

// A byte's position in its row, plain and with the top bit set where bit 4 is clear; and its three
// highest bits, each as the top bit of a byte.
struct Index {
    __m256i plain, gated, bit5, bit6, bit7;
};

static inline Index IndexOf(__m256i bytes)
{
    const __m256i top = _mm256_set1_epi8((char)0x80);
    Index index;
    index.plain = _mm256_and_si256(bytes, _mm256_set1_epi8(ROWS - 1));
    index.gated =
        _mm256_or_si256(index.plain, _mm256_andnot_si256(_mm256_slli_epi16(bytes, 3), top));
    index.bit5 = _mm256_slli_epi16(bytes, 2);
    index.bit6 = _mm256_add_epi8(bytes, bytes);
    index.bit7 = bytes;
    return index;
}

static inline __m256i Among2(const __m256i *rows, const Index *p)
{
    return _mm256_xor_si256(_mm256_shuffle_epi8(rows[0], p->plain),
                            _mm256_shuffle_epi8(rows[1], p->gated));
}

static inline __m256i Among4(const __m256i *rows, const Index *p)
{
    return _mm256_blendv_epi8(Among2(rows, p), Among2(rows + 2, p), p->bit5);
}

static inline __m256i Among8(const __m256i *rows, const Index *p)
{
    return _mm256_blendv_epi8(Among4(rows, p), Among4(rows + 4, p), p->bit6);
}

static inline __m256i MapVector(const RowTable *pTable, __m256i bytes)
{
    const Index index = IndexOf(bytes);
    return _mm256_blendv_epi8(Among8(pTable->rows, &index), Among8(pTable->rows + 8, &index),
                              index.bit7);
}

static void MapByRows(const BYTE *table, const BYTE *src, BYTE *dst, size_t count)
{
    RowTable split;
    SplitTable(table, &split);
    const __m256i last = MapVector(&split, Load(src + count - LANES));
    for (size_t i = 0; i + LANES <= count; i += LANES) {
        Store(dst + i, MapVector(&split, Load(src + i)));
    }
    Store(dst + count - LANES, last);
}

// ---- two pieces ---------------------------------------------------------------------------------

// Levels from first on become (level & keep) ^ flip.
struct Piece {
    int first;
    __m256i keep, flip;
};

// A piece that is right for its first two levels, if there is one.
static inline Piece PieceFrom(const BYTE *table, int first)
{
    const int bFlat = first == GRAY_LEVELS - 1 || table[first] == table[first + 1];
    const int keep = bFlat ? 0 : 255;
    return {first, _mm256_set1_epi8((char)keep),
            _mm256_set1_epi8((char)(table[first] ^ (first & keep)))};
}

static inline __m256i MapPiece(const Piece *p, __m256i bytes)
{
    return _mm256_xor_si256(_mm256_and_si256(bytes, p->keep), p->flip);
}

// The first level from the piece's own on for which it is wrong; 256: none.
static inline int PieceEnd(const BYTE *table, const Piece *p)
{
    BYTE ramp[LANES];
    for (int i = 0; i < LANES; i++) {
        ramp[i] = (BYTE)i;
    }
    for (int start = p->first & -LANES; start < GRAY_LEVELS; start += LANES) {
        const __m256i levels = _mm256_add_epi8(Load(ramp), _mm256_set1_epi8((char)start));
        const __m256i equal = _mm256_cmpeq_epi8(Load(table + start), MapPiece(p, levels));
        const int nSkipped = p->first > start ? p->first - start : 0;
        const unsigned wrong = ~(unsigned)_mm256_movemask_epi8(equal) & ~0u << nSkipped;
        if (wrong != 0) {
            return start + __builtin_ctz(wrong);
        }
    }
    return GRAY_LEVELS;
}

static inline __m256i MapPieces(const Piece *pLow, const Piece *pHigh, __m256i first, __m256i bytes)
{
    const __m256i bHigh = _mm256_cmpeq_epi8(_mm256_max_epu8(bytes, first), bytes);
    return _mm256_blendv_epi8(MapPiece(pLow, bytes), MapPiece(pHigh, bytes), bHigh);
}

// 0, nothing done, for a table that has no two pieces.
static int MapByPieces(const BYTE *table, const BYTE *src, BYTE *dst, size_t count)
{
    const Piece low = PieceFrom(table, 0);
    const int end = PieceEnd(table, &low);
    const Piece high = end < GRAY_LEVELS ? PieceFrom(table, end) : low;
    if (PieceEnd(table, &high) != GRAY_LEVELS) {
        return 0;
    }
    const __m256i first = _mm256_set1_epi8((char)high.first);
    const __m256i last = MapPieces(&low, &high, first, Load(src + count - LANES));
    for (size_t i = 0; i + LANES <= count; i += LANES) {
        Store(dst + i, MapPieces(&low, &high, first, Load(src + i)));
    }
    Store(dst + count - LANES, last);
    return 1;
}

// ---- one table ----------------------------------------------------------------------------------

static void MapRun(const BYTE *table, const BYTE *src, BYTE *dst, size_t count)
{
    if (count < LANES) {
        for (size_t i = 0; i < count; i++) {
            dst[i] = table[src[i]];
        }
    } else if (count < PIECES_PAY || !MapByPieces(table, src, dst, count)) {
        MapByRows(table, src, dst, count);
    }
}

// ---- three tables -------------------------------------------------------------------------------

// Vector v of a block holds at position p a byte of channel (2 v + p) mod 3. The masks are those of
// vector 0.
struct ChannelMasks {
    __m256i of[COLOR_CHANNELS];
};

static inline ChannelMasks MakeChannelMasks(void)
{
    BYTE bytes[COLOR_CHANNELS][LANES];
    ChannelMasks masks;
    for (int channel = 0; channel < COLOR_CHANNELS; channel++) {
        for (int p = 0; p < LANES; p++) {
            bytes[channel][p] = p % COLOR_CHANNELS == channel ? 0xff : 0;
        }
        masks.of[channel] = Load(bytes[channel]);
    }
    return masks;
}

// From each of three vectors the positions of one of the masks: 0 from a, 1 from b, 2 from c.
static inline __m256i Pick(const ChannelMasks *p, __m256i a, __m256i b, __m256i c)
{
    return _mm256_blendv_epi8(_mm256_blendv_epi8(a, b, p->of[1]), c, p->of[2]);
}

static inline void MapBlock(const RowTable *tables, const ChannelMasks *p, const BYTE *src,
                            BYTE *dst)
{
    const __m256i x = Load(src);
    const __m256i y = Load(src + LANES);
    const __m256i z = Load(src + 2 * LANES);
    const __m256i blue = MapVector(&tables[0], Pick(p, x, y, z));
    const __m256i green = MapVector(&tables[1], Pick(p, z, x, y));
    const __m256i red = MapVector(&tables[2], Pick(p, y, z, x));
    Store(dst, Pick(p, blue, green, red));
    Store(dst + LANES, Pick(p, red, blue, green));
    Store(dst + 2 * LANES, Pick(p, green, red, blue));
}

static void MapColorRun(const BYTE (*tables)[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count)
{
    RowTable split[COLOR_CHANNELS];
    BYTE rest[BLOCK];
    const ChannelMasks masks = MakeChannelMasks();
    for (int channel = 0; channel < COLOR_CHANNELS; channel++) {
        SplitTable(tables[channel], &split[channel]);
    }
    size_t i = 0;
    for (; i + BLOCK <= count; i += BLOCK) {
        MapBlock(split, &masks, src + i, dst + i);
    }
    if (i < count) {
        memset(rest, 0, sizeof rest);
        memcpy(rest, src + i, count - i);
        MapBlock(split, &masks, rest, rest);
        memcpy(dst + i, rest, count - i);
    }
}

const MapKernels MAP_KERNELS = {MapRun, MapColorRun};

}  // namespace KERNEL_LEVEL
