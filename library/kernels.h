// The compiled kernels: every family's tables of function pointers at every instruction set, and
// the choice of the ones that run.
#ifndef LIBRARY_KERNELS_H
#define LIBRARY_KERNELS_H

// Instruction sets, weakest first.
enum KernelLevel { LEVEL_SSE2, LEVEL_AVX2, KERNEL_LEVELS };

// What a level needs of the processor (platform/cpu.h).
struct LevelNeed {
    const char *pName;
    unsigned nFeatures;
};
extern const LevelNeed LEVEL_NEEDS[KERNEL_LEVELS];

struct KernelTable {
    const char *pName;
    void *pChosen;                      // where the pointer to the record in use is kept
    const void *levels[KERNEL_LEVELS];  // the record of each level; null: as the level below
};

enum { KERNEL_TABLES = 16 };
extern const KernelTable KERNEL_TABLE[KERNEL_TABLES];

// Chooses the strongest level of every table. cpuFeatures: DetectCpuFeatures(), or 0 for the base
// level. Called once at attach; afterwards the tables are read-only.
void ChooseKernels(unsigned cpuFeatures);

#endif
