// Bytes through tables, and bytes counted: the two loops behind every operation that looks at one
// sample at a time (tonal filters, look-up tables, histograms and their transforms).
#ifndef FRAME_LEVELS_H
#define FRAME_LEVELS_H

#include "dib.h"

enum { COLOR_CHANNELS = 3 };

// dst[i] = table[src[i]]. dst may be src; otherwise they do not overlap.
void MapBytes(const BYTE table[GRAY_LEVELS], const BYTE *src, BYTE *dst, size_t count);

// The same with a table per channel: byte i goes through tables[i % 3]. count is in bytes.
void MapPixels(const BYTE tables[COLOR_CHANNELS][GRAY_LEVELS], const BYTE *src, BYTE *dst,
               size_t count);

// Adds the bytes of a run to the counters. Long runs are the fast ones: hand over several rows at
// once where they lie together.
void CountBytes(const BYTE *src, size_t count, DWORD counts[GRAY_LEVELS]);

// The same with counters per channel: byte i adds to counts[i % 3]. count is in bytes.
void CountPixels(const BYTE *src, size_t count, DWORD counts[COLOR_CHANNELS][GRAY_LEVELS]);

#endif
