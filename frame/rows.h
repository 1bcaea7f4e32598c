// Operations on the stored rows of an image, byte by byte, whatever its pixels mean: their result
// blocks and their passes over the rows.
#ifndef FRAME_ROWS_H
#define FRAME_ROWS_H

#include "call.h"

// A block for a result with the source's header, colour table and rows, and four spare bytes (kept)
// at its end. Null without memory.
HGLOBAL AllocRowsResult(const DibView *pSource);

// Locks it, writes header and colour table. The rows begin at the pointer returned, in the order
// and with the stride of the source's; null: it cannot be locked.
BYTE *LockRowsResult(HGLOBAL hResult, const DibView *pSource);

// The rows nFirst to nFirst + nRows - 1 in memory order.
typedef void (*RowsFunction)(void *pContext, unsigned nFirst, unsigned nRows);

// A pass over all rows of the source. The user can only cancel at a step of the bar, so the rows up
// to the next one, or all of them where there is no bar, are one run. 0, and bStopped is set, once
// he has.
int PassOverRows(FilterCall *pCall, RowsFunction function, void *pContext);

// The step total of one pass.
int OnePassOverRows(int width, int height, int bGray, const void *pArguments);

#endif
