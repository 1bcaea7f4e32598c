// Sixteen 16-bit numbers at once: the base level. sixteen_avx2.h is the same with wider registers.
//
// Intrinsics because the compiler's own widening of bytes takes five instructions where one or two
// do, and because its plain loops find the first of sixteen only one by one: the sliding median
// takes twice as long with either (bench: Median, sizes from 11 up).
#ifndef STATISTICS_SIXTEEN_SSE2_H
#define STATISTICS_SIXTEEN_SSE2_H

#include <windows.h>

#include <emmintrin.h>

namespace KERNEL_LEVEL
{

struct SixteenWords {
    __m128i low;
    __m128i high;
};

static inline void LoadSixteen(SixteenWords *a, const WORD *p)
{
    a->low = _mm_loadu_si128((const __m128i *)(const void *)p);
    a->high = _mm_loadu_si128((const __m128i *)(const void *)(p + 8));
}

static inline void LoadSixteen(SixteenWords *a, const BYTE *p)
{
    const __m128i bytes = _mm_loadu_si128((const __m128i *)(const void *)p);
    const __m128i zero = _mm_setzero_si128();
    a->low = _mm_unpacklo_epi8(bytes, zero);
    a->high = _mm_unpackhi_epi8(bytes, zero);
}

static inline void StoreSixteen(WORD *p, const SixteenWords &a)
{
    _mm_storeu_si128((__m128i *)(void *)p, a.low);
    _mm_storeu_si128((__m128i *)(void *)(p + 8), a.high);
}

static inline SixteenWords Add(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm_add_epi16(a.low, b.low), _mm_add_epi16(a.high, b.high)};
}

static inline SixteenWords Subtract(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm_sub_epi16(a.low, b.low), _mm_sub_epi16(a.high, b.high)};
}

static inline SixteenWords And(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm_and_si128(a.low, b.low), _mm_and_si128(a.high, b.high)};
}

// How far each is below the limit; 0 for those that reach it.
static inline SixteenWords Shortfalls(const SixteenWords &a, DWORD limit)
{
    const __m128i limits = _mm_set1_epi16((short)limit);
    return {_mm_subs_epu16(limits, a.low), _mm_subs_epu16(limits, a.high)};
}

// The index of the first that reaches the limit. One does, unless the host changes the picture
// meanwhile; then the last is taken for it.
static inline unsigned FirstToReach(const SixteenWords &a, DWORD limit)
{
    const SixteenWords shortfalls = Shortfalls(a, limit);
    const __m128i zero = _mm_setzero_si128();
    const __m128i reached = _mm_packs_epi16(_mm_cmpeq_epi16(shortfalls.low, zero),
                                            _mm_cmpeq_epi16(shortfalls.high, zero));
    return (unsigned)__builtin_ctz((unsigned)_mm_movemask_epi8(reached) | 1u << 15);
}

static inline DWORD SumOf(const SixteenWords &a)
{
    const __m128i mask = _mm_set1_epi16(255);
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_packus_epi16(_mm_and_si128(a.low, mask), _mm_and_si128(a.high, mask));
    const __m128i high = _mm_packus_epi16(_mm_srli_epi16(a.low, 8), _mm_srli_epi16(a.high, 8));
    const __m128i halves =
        _mm_add_epi32(_mm_sad_epu8(low, zero), _mm_slli_epi32(_mm_sad_epu8(high, zero), 8));
    return (DWORD)_mm_cvtsi128_si32(_mm_add_epi32(halves, _mm_srli_si128(halves, 8)));
}

}  // namespace KERNEL_LEVEL

#endif
