// See gray_kernels.h: plain loops, compiled once per instruction set into the namespace
// KERNEL_LEVEL.

#include "gray_kernels.h"

#include "frame/intops.h"

namespace KERNEL_LEVEL
{

static void Raise(const BYTE *line, BYTE nHeight, BYTE *__restrict out, size_t count)
{
    const BYTE room = (BYTE)(255 - nHeight);
    for (size_t i = 0; i < count; i++) {
        out[i] = GreaterByte(out[i], (BYTE)(LesserByte(line[i], room) + nHeight));
    }
}

static void Lower(const BYTE *line, BYTE nHeight, BYTE *__restrict out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = LesserByte(out[i], (BYTE)(GreaterByte(line[i], nHeight) - nHeight));
    }
}

static void Subtract(const BYTE *levels, const BYTE *less, BYTE *out, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        out[i] = (BYTE)(GreaterByte(levels[i], less[i]) - less[i]);
    }
}

const GrayKernels GRAY_KERNELS = {Raise, Lower, Subtract};

}  // namespace KERNEL_LEVEL
