// Sixteen 16-bit numbers at once, in one register. See sixteen_sse2.h.
#ifndef STATISTICS_SIXTEEN_AVX2_H
#define STATISTICS_SIXTEEN_AVX2_H

#include <windows.h>

#include <immintrin.h>

namespace KERNEL_LEVEL
{

struct SixteenWords {
    __m256i all;
};

static inline void LoadSixteen(SixteenWords *a, const WORD *p)
{
    a->all = _mm256_loadu_si256((const __m256i *)(const void *)p);
}

static inline void LoadSixteen(SixteenWords *a, const BYTE *p)
{
    a->all = _mm256_cvtepu8_epi16(_mm_loadu_si128((const __m128i *)(const void *)p));
}

static inline void StoreSixteen(WORD *p, const SixteenWords &a)
{
    _mm256_storeu_si256((__m256i *)(void *)p, a.all);
}

static inline SixteenWords Add(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm256_add_epi16(a.all, b.all)};
}

static inline SixteenWords Subtract(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm256_sub_epi16(a.all, b.all)};
}

static inline SixteenWords And(const SixteenWords &a, const SixteenWords &b)
{
    return {_mm256_and_si256(a.all, b.all)};
}

static inline SixteenWords Shortfalls(const SixteenWords &a, DWORD limit)
{
    return {_mm256_subs_epu16(_mm256_set1_epi16((short)limit), a.all)};
}

static inline unsigned FirstToReach(const SixteenWords &a, DWORD limit)
{
    const __m256i reached = _mm256_cmpeq_epi16(Shortfalls(a, limit).all, _mm256_setzero_si256());
    return (unsigned)__builtin_ctz((unsigned)_mm256_movemask_epi8(reached) | 1u << 31) / 2;
}

static inline DWORD SumOf(const SixteenWords &a)
{
    const __m256i mask = _mm256_set1_epi16(255);
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low = _mm256_sad_epu8(_mm256_and_si256(a.all, mask), zero);
    const __m256i high = _mm256_sad_epu8(_mm256_srli_epi16(a.all, 8), zero);
    const __m256i quarters = _mm256_add_epi32(low, _mm256_slli_epi32(high, 8));
    const __m128i halves =
        _mm_add_epi32(_mm256_castsi256_si128(quarters), _mm256_extracti128_si256(quarters, 1));
    return (DWORD)_mm_cvtsi128_si32(_mm_add_epi32(halves, _mm_srli_si128(halves, 8)));
}

}  // namespace KERNEL_LEVEL

#endif
