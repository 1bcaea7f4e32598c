// Small helpers that filters and kernels share: the lesser and the greater, clamping, the bits of
// floating-point numbers, row strides, step totals. They stand here once; no file has its own.
// Static inline throughout: a kernel source compiles them for its own instruction set.
#ifndef FRAME_INTOPS_H
#define FRAME_INTOPS_H

#include <windows.h>

#include <stddef.h>
#include <stdint.h>
#include <string.h>

static inline size_t Least(size_t a, size_t b)
{
    return a < b ? a : b;
}

static inline BYTE LesserByte(BYTE a, BYTE b)
{
    return a < b ? a : b;
}

static inline BYTE GreaterByte(BYTE a, BYTE b)
{
    return a > b ? a : b;
}

static inline BYTE ClampToByte(int value)
{
    return (BYTE)(value < 0 ? 0 : value > 255 ? 255 : value);
}

// The same; compilers keep to the lanes of 16 bits in a loop.
static inline BYTE ClampShortToByte(short value)
{
    return (BYTE)(value < 0 ? 0 : value > 255 ? 255 : value);
}

// Drops the fraction. Past 32 bits the nearest 32-bit number, for NaN 0: no conversion is
// undefined.
static inline int TruncateToInt(double value)
{
    return value >= 2147483647.0    ? INT32_MAX
           : value <= -2147483648.0 ? INT32_MIN
           : value != value         ? 0
                                    : (int)value;
}

static inline float FloatOfBits(uint32_t bits)
{
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

static inline uint32_t BitsOfFloat(float value)
{
    uint32_t bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

static inline uint64_t BitsOfDouble(double value)
{
    uint64_t bits;
    memcpy(&bits, &value, sizeof bits);
    return bits;
}

// The bytes that a run of so many takes up in whole vectors of the widest kind.
enum { VECTOR_BYTES = 32 };
static inline size_t WholeVectors(size_t nBytes)
{
    return (nBytes + VECTOR_BYTES - 1) / VECTOR_BYTES * VECTOR_BYTES;
}

// The bytes of one stored row. 64 bits wide, so that no width and depth can overflow it.
static inline uint64_t RowStride(uint64_t width, uint64_t bitCount)
{
    return (width * bitCount + 31) / 32 * 4;
}

static inline uint64_t CeilDivide(uint64_t value, uint64_t divisor)
{
    return (value + divisor - 1) / divisor;
}

// Units of work (rows or columns of a pass) between two steps of the bar.
enum { UNITS_PER_STEP = 5 };

// A progress total: n units of work rounded up to a whole number of bar steps.
static inline int RoundToSteps(int64_t n)
{
    const int64_t total = (n + UNITS_PER_STEP - 1) / UNITS_PER_STEP * UNITS_PER_STEP;
    return total > INT32_MAX ? INT32_MAX / UNITS_PER_STEP * UNITS_PER_STEP : (int)total;
}

#endif
