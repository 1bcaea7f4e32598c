// See cpu.h. x86 only, both word sizes.

#include "cpu.h"

unsigned DetectCpuFeatures(void)
{
    unsigned features = 0;
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx2")) {
        features |= CPU_AVX2;
    }
    return features;
}

FloatControls SetDefaultFloatControls(void)
{
    FloatControls saved;
    const unsigned short x87 = 0x037f;
    const unsigned mxcsr = 0x1f80;
    __asm__ volatile("cld\n\tfnstcw %0\n\tstmxcsr %1" : "=m"(saved.x87), "=m"(saved.mxcsr));
    __asm__ volatile("fldcw %0\n\tldmxcsr %1" : : "m"(x87), "m"(mxcsr));
    return saved;
}

void RestoreFloatControls(FloatControls saved)
{
    __asm__ volatile("fnclex\n\tfldcw %0\n\tldmxcsr %1" : : "m"(saved.x87), "m"(saved.mxcsr));
}
