// Chooses, once at attach, the kernels that this processor runs best.
#ifndef FRAME_DISPATCH_H
#define FRAME_DISPATCH_H

// cpuFeatures: DetectCpuFeatures(), or 0 for the base level.
void ChooseKernels(unsigned cpuFeatures);

#endif
