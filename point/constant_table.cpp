// The operations between an image and a constant, one unit (bit, half byte or byte) at a time.
//
// An operation yields 16 bits. They are stored in the unit in one of two ways: clamped, which is a
// comparison with the unit's maximum as unsigned numbers, or cut to the unit's low bits. In a 1-bit
// image any result but 0 sets the bit, and the two negated operations turn that bit round.
//
// Kept: whether a byte counts as signed differs by operation and depth, so that adding to levels of
// 128 and more wraps or gives white, and OR and XOR make them white. Only the low 16 bits of the
// constant count, except as a divisor.

#include "constant_table.h"

#include "VexaFilter.h"

#include <math.h>

static const long double LOG2_OF_E = 1.4426950408889634073599246810018921L;
static const long double LN_OF_2 = 0.6931471805599453094172321214581766L;
static const int LARGEST = 65535;

// ---- operations ---------------------------------------------------------------------------------

static WORD AddConstant(int value, int nConstant)
{
    return (WORD)((unsigned)value + (unsigned)nConstant);
}

static WORD SubtractConstant(int value, int nConstant)
{
    const SHORT difference = (SHORT)((unsigned)value - (unsigned)nConstant);
    return (WORD)(difference < 0 ? 0 : difference);
}

static WORD MultiplyByConstant(int value, int nConstant)
{
    return (WORD)((unsigned)value * (unsigned)nConstant);
}

static WORD DivideByConstant(int value, int nConstant)
{
    if (nConstant == 0) {
        return (WORD)(value > 0 ? LARGEST : 0);
    }
    return (WORD)(value / nConstant);
}

static WORD AndConstant(int value, int nConstant)
{
    return (WORD)(value & nConstant);
}

static WORD OrConstant(int value, int nConstant)
{
    return (WORD)(value | nConstant);
}

static WORD XorConstant(int value, int nConstant)
{
    return (WORD)(value ^ nConstant);
}

// Kept: a signed byte against the constant's low 16 bits as an unsigned number, so that levels of
// 128 and more are smaller than any constant.
static WORD SmallerThanConstant(int value, int nConstant)
{
    const int limit = (WORD)nConstant;
    return (WORD)(value < limit ? value : limit);
}

static WORD LargerThanConstant(int value, int nConstant)
{
    const int limit = (WORD)nConstant;
    return (WORD)(value > limit ? value : limit);
}

static WORD ExponentialOf(int value, int nConstant)
{
    (void)nConstant;
    const long double power = exp2l((long double)value * LOG2_OF_E);
    return (WORD)(power > LARGEST ? LARGEST : power);
}

static WORD LogarithmOf(int value, int nConstant)
{
    (void)nConstant;
    return (WORD)(value > 0 ? LN_OF_2 * log2l((long double)value) : 0);
}

struct ConstantRule {
    WORD (*Apply)(int value, int nConstant);
    int bClamped;  // else cut
    int bNegated;
    int bSigned8;  // how a byte is read at 8 and at 24 bits
    int bSigned24;
};

static const ConstantRule RULES[CONSTANT_OPERATIONS] = {
    {AddConstant, 1, 0, 1, 1},          // ARITH_ADD
    {SubtractConstant, 1, 0, 0, 1},     // ARITH_SUB
    {MultiplyByConstant, 1, 0, 1, 1},   // ARITH_MUL
    {DivideByConstant, 1, 0, 1, 1},     // ARITH_DIV
    {AndConstant, 0, 0, 0, 0},          // ARITH_AND
    {AndConstant, 0, 1, 0, 0},          // ARITH_NAND
    {OrConstant, 1, 0, 1, 1},           // ARITH_OR
    {OrConstant, 0, 1, 0, 0},           // ARITH_NOR
    {XorConstant, 1, 0, 1, 1},          // ARITH_XOR
    {SmallerThanConstant, 0, 0, 1, 1},  // ARITH_MIN
    {LargerThanConstant, 0, 0, 1, 1},   // ARITH_MAX
    {ExponentialOf, 1, 0, 1, 1},        // ARITH_EXP
    {LogarithmOf, 1, 0, 1, 1},          // ARITH_LOG
};

// ---- units --------------------------------------------------------------------------------------

static unsigned ResultingUnit(const ConstantRule *pRule, int value, int nConstant, unsigned maximum)
{
    const unsigned result = pRule->Apply(value, nConstant);
    const int bClamped = pRule->bClamped || maximum == 1;
    const unsigned unit = !bClamped ? result & maximum : result > maximum ? maximum : result;
    return pRule->bNegated ? unit ^ maximum : unit;
}

void FillConstantTable(int nOperation, int nConstant, int bitCount, BYTE table[256])
{
    const ConstantRule *pRule = &RULES[nOperation];
    const unsigned bitsPerUnit = bitCount < 8 ? (unsigned)bitCount : 8;
    const unsigned maximum = (1u << bitsPerUnit) - 1;
    const int bSigned = (bitCount == 8 && pRule->bSigned8) || (bitCount == 24 && pRule->bSigned24);
    // Kept: the exponential and the logarithm leave the bits of a 1-bit image as they are.
    const int bCopy = bitCount == 1 && (nOperation == ARITH_EXP || nOperation == ARITH_LOG);
    for (unsigned byte = 0; byte < 256; byte++) {
        unsigned result = bCopy ? byte : 0;
        for (unsigned shift = 0; !bCopy && shift < 8; shift += bitsPerUnit) {
            const unsigned unit = byte >> shift & maximum;
            const int value = bSigned ? (signed char)unit : (int)unit;
            result |= ResultingUnit(pRule, value, nConstant, maximum) << shift;
        }
        table[byte] = (BYTE)result;
    }
}
