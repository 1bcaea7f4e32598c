// The parameter dialogs of the companion library, VexaDlgs.dll.
#ifndef FRAME_DIALOGS_H
#define FRAME_DIALOGS_H

#include <windows.h>

// Calls an entry with 1 to 7 arguments, the host's code running meanwhile (call.h). 0: the user
// cancelled; 1: go on (also when the library or the entry is missing: then nCurrentError is set to
// -1).
int RunParameterDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments);

#endif
