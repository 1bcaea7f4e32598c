// The one shape of a kernel.
#ifndef FRAME_LINE_KERNEL_H
#define FRAME_LINE_KERNEL_H

#include <windows.h>

#include <stddef.h>

// Computes a run of output bytes from the lines of a window, top line first. lines[k][i + j * step]
// is the sample in line k and column j (from the left) of the window that gives out[i]. step is the
// distance in bytes to the next pixel of the same channel: 1 for gray; 3 for colour, whose three
// channels are then simply a run three times as long. out does not overlap the lines.
typedef void (*LineKernel)(const BYTE *const *lines, ptrdiff_t step, BYTE *out, size_t count,
                           const void *pParameters);

#endif
