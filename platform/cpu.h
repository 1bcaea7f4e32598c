// What the processor offers beyond the base level (SSE2), and its floating-point controls.
#ifndef PLATFORM_CPU_H
#define PLATFORM_CPU_H

enum { CPU_AVX2 = 1 };

// The features that both the processor and the system support (the system must save the wide
// registers on a task switch).
unsigned DetectCpuFeatures(void);

struct FloatControls {
    unsigned short x87;
    unsigned mxcsr;
};

// Saves the thread's floating-point controls and sets the defaults: all traps masked, extended
// precision, round to nearest. Hosts with traps unmasked (Delphi, some compilers' run-time
// libraries) are common. Clears the direction flag as well.
FloatControls SetDefaultFloatControls(void);

// Puts the saved controls back. Exceptions raised meanwhile are dropped first: with its traps
// unmasked the host would otherwise fault on its next instruction.
void RestoreFloatControls(FloatControls saved);

#endif
