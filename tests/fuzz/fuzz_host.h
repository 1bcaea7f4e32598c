// What the fuzz targets share: a host that makes images, honest or hostile, and numbers from the
// input, calls one export with them at every level of the processor, and stops the program if the
// levels differ, a source has changed, or a block, lock, window or wait cursor is left. A target is
// a table of exports.
#ifndef FUZZ_HOST_H
#define FUZZ_HOST_H

#include "VexaFilter.h"

#include <stddef.h>
#include <stdint.h>

// What a call takes its arguments from.
struct Scene {
    HGLOBAL hDib;
    HGLOBAL hOther;  // for operations on two images; often of hDib's shape
    UINT mode;
    HWND hParent;
};
extern Scene g_scene;

int NextNumber(void);             // small, a limit of some kind, or any; the same at every level
uint8_t InputByte(size_t index);  // of what the images are filled from, which goes round
HGLOBAL CopyOf(HGLOBAL hBlock);   // a movable one; null for null and for empty blocks
void Require(bool bTrue, const char *pFault);

// Most exports take an image, numbers, the mode and the parent.
template <auto EXPORT, typename... NUMBERS> HGLOBAL Call(void)
{
    return EXPORT(g_scene.hDib, (NUMBERS)NextNumber()..., g_scene.mode, g_scene.hParent);
}

enum {
    KEPT_LOCKS = 1,    // a cancelled worker leaves its inputs locked and the cursor waiting
    KEPT_RESULT = 2,   // a cancelled dialog, or none, leaves the result and the source's lock
    KEEPS_PLANES = 8,  // blocks stay allocated; a cancelled dialog or no second image leaves a
                       // lock, a lack of memory the wait cursor
    EDITS_A_MASK = 4   // the parameter dialog gets a 3 x 3 FilterMask, else integers
};

struct FuzzExport {
    const char *pName;
    HGLOBAL (*Call)(void);
    const char *pDialogEntry = NULL;
    int nDialogArguments = 0;
    unsigned nTraits = 0;
    int nDialogMasks = 0;  // FilterMasks of any size that the dialog gets before the integers
};

// The target's.
extern const FuzzExport EXPORTS[];
extern const size_t EXPORT_COUNT;

#endif
