// Chooses, once at attach, the kernels that this processor runs best.
#ifndef FRAME_DISPATCH_H
#define FRAME_DISPATCH_H

void ChooseKernels(void);

#endif
