// Arithmetic and logic between the rows of two images: one rule on two bytes per operation and
// depth, each in a plain loop, compiled once per instruction set into the namespace KERNEL_LEVEL.
//
// Kept: whether a byte counts as signed differs by operation and depth, and a sum below zero is
// white: 16-bit results are compared with the maximum as unsigned numbers.
//
// 1 bit: a unit is 0 or 1 and any result but 0 sets it, so every operation is a logical one on
// whole bytes. 4 bits: the rule of bytes on each half, with 15 for 255.

#include "arithmetic_kernels.h"

#include "frame/intops.h"

namespace KERNEL_LEVEL
{

static inline int Signed(BYTE value)
{
    return (signed char)value;
}

// A 16-bit result that may have gone below zero or above the maximum.
template <int MAXIMUM> static inline BYTE Clamped(int value)
{
    return (BYTE)((unsigned short)value > MAXIMUM ? MAXIMUM : value);
}

// ---- rules --------------------------------------------------------------------------------------

static inline BYTE And(BYTE a, BYTE b)
{
    return a & b;
}

static inline BYTE AndNot(BYTE a, BYTE b)
{
    return (BYTE)(a & ~b);
}

static inline BYTE Nand(BYTE a, BYTE b)
{
    return (BYTE) ~(a & b);
}

static inline BYTE Or(BYTE a, BYTE b)
{
    return a | b;
}

static inline BYTE Nor(BYTE a, BYTE b)
{
    return (BYTE) ~(a | b);
}

static inline BYTE Xor(BYTE a, BYTE b)
{
    return a ^ b;
}

static inline BYTE First(BYTE a, BYTE b)
{
    (void)b;
    return a;
}

template <int MAXIMUM> static inline BYTE Add(BYTE a, BYTE b)
{
    return Clamped<MAXIMUM>(a + b);
}

// Below zero the sum is white. Its sign is that of the low byte, turned round where that byte has
// overflowed. (Bytes only: with wider sums the loop takes twice as long.)
static inline BYTE AddSigned(BYTE a, BYTE b)
{
    const BYTE sum = (BYTE)(a + b);
    const BYTE overflow = (BYTE)((a ^ sum) & (b ^ sum));
    return (BYTE)(Signed(sum ^ overflow) < 0 ? 255 : sum);
}

static inline BYTE Subtract(BYTE a, BYTE b)
{
    return (BYTE)(GreaterByte(a, b) - b);
}

template <int MAXIMUM> static inline BYTE Multiply(BYTE a, BYTE b)
{
    return Clamped<MAXIMUM>(a * b);
}

static inline BYTE MultiplySigned(BYTE a, BYTE b)
{
    return Clamped<255>(Signed(a) * Signed(b));
}

// A float's quotient of two bytes truncates to the right one: it is either whole or at least 1/255
// away from the next whole number. A zero divisor gives the maximum, 0 for 0; the loop divides by 1
// in its place. (Masks, since the compiler leaves a choice between quotients alone.)
template <int MAXIMUM> static inline BYTE Divide(BYTE a, BYTE b)
{
    const BYTE byZero = b == 0;
    const int quotient = (int)((float)a / (float)(b | byZero));
    return (BYTE)(quotient | (-(byZero & (a != 0)) & MAXIMUM));
}

// Kept: a negative quotient is white. What is below zero and divided by zero gives 0.
static inline BYTE DivideSigned(BYTE a, BYTE b)
{
    const BYTE byZero = b == 0;
    const short quotient = (short)((float)Signed(a) / (float)Signed(b | byZero));
    const BYTE level = (BYTE)((BYTE)quotient | -(quotient < 0));
    return (BYTE)((level & (byZero - 1)) | -(byZero & (Signed(a) > 0)));
}

template <BYTE (*RULE)(BYTE, BYTE)> static inline BYTE OnHalves(BYTE a, BYTE b)
{
    return (BYTE)(RULE((BYTE)(a >> 4), (BYTE)(b >> 4)) << 4 | RULE(a & 15, b & 15));
}

static inline BYTE SmallerSigned(BYTE a, BYTE b)
{
    return Signed(a) < Signed(b) ? a : b;
}

static inline BYTE LargerSigned(BYTE a, BYTE b)
{
    return Signed(a) > Signed(b) ? a : b;
}

// ---- rows ---------------------------------------------------------------------------------------

template <BYTE (*RULE)(BYTE, BYTE)>
static void Row(const BYTE *a, const BYTE *b, BYTE *__restrict dst, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        dst[i] = RULE(a[i], b[i]);
    }
}

// By operation; 1, 4, 8 and 24 bits.
const ArithmeticKernels ARITHMETIC_KERNELS = {{
    {Row<Or>, Row<OnHalves<Add<15>>>, Row<AddSigned>, Row<AddSigned>},
    {Row<AndNot>, Row<OnHalves<Subtract>>, Row<Subtract>, Row<Subtract>},
    {Row<And>, Row<OnHalves<Multiply<15>>>, Row<Multiply<255>>, Row<MultiplySigned>},
    {Row<First>, Row<OnHalves<Divide<15>>>, Row<Divide<255>>, Row<DivideSigned>},
    {Row<And>, Row<And>, Row<And>, Row<And>},
    {Row<Nand>, Row<Nand>, Row<Nand>, Row<Nand>},
    {Row<Or>, Row<Or>, Row<Or>, Row<Or>},
    {Row<Nor>, Row<Nor>, Row<Nor>, Row<Nor>},
    {Row<Xor>, Row<Xor>, Row<Xor>, Row<Xor>},
    {Row<And>, Row<OnHalves<LesserByte>>, Row<SmallerSigned>, Row<SmallerSigned>},
    {Row<Or>, Row<OnHalves<GreaterByte>>, Row<LargerSigned>, Row<LargerSigned>},
}};

}  // namespace KERNEL_LEVEL
