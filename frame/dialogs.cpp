// Loading the dialog library and calling its entries. Loaded for each call and let go after it.

#include "dialogs.h"

#include "call.h"

#include <string.h>

static const char DIALOG_LIBRARY[] = "VexaDlgs.dll";

// Beside this library first, then wherever the system looks.
static HMODULE LoadDialogLibrary(void)
{
    char path[260];
    const DWORD length = GetModuleFileNameA(GetModuleHandleA("VexaFilter.dll"), path, sizeof path);
    if (length > 0 && length < sizeof path) {
        char *pName = strrchr(path, '\\');
        if (pName != NULL && (size_t)(pName + 1 - path) + sizeof DIALOG_LIBRARY <= sizeof path) {
            lstrcpyA(pName + 1, DIALOG_LIBRARY);
            const HMODULE hLibrary = LoadLibraryA(path);
            if (hLibrary != NULL) {
                return hLibrary;
            }
        }
    }
    return LoadLibraryA(DIALOG_LIBRARY);
}

static int CallEntry(FARPROC entry, const UINT_PTR *p, int nArguments)
{
    typedef UINT_PTR A;
    typedef void (*AnyEntry)(void);
    const AnyEntry any = (AnyEntry)entry;
    switch (nArguments) {
    case 1:
        return ((int(WINAPI *)(A))any)(p[0]);
    case 2:
        return ((int(WINAPI *)(A, A))any)(p[0], p[1]);
    case 3:
        return ((int(WINAPI *)(A, A, A))any)(p[0], p[1], p[2]);
    case 4:
        return ((int(WINAPI *)(A, A, A, A))any)(p[0], p[1], p[2], p[3]);
    case 5:
        return ((int(WINAPI *)(A, A, A, A, A))any)(p[0], p[1], p[2], p[3], p[4]);
    case 6:
        return ((int(WINAPI *)(A, A, A, A, A, A))any)(p[0], p[1], p[2], p[3], p[4], p[5]);
    case 7:
        return ((int(WINAPI *)(A, A, A, A, A, A, A))any)(p[0], p[1], p[2], p[3], p[4], p[5], p[6]);
    default:
        __builtin_trap();  // a record that is wrong; to go on would look like the user's Cancel
    }
}

int RunParameterDialog(const char *pEntry, const UINT_PTR *pArguments, int nArguments)
{
    int result = 1;
    int bMissing = 0;
    LetHostRun();
    const HMODULE hLibrary = LoadDialogLibrary();
    const FARPROC entry = hLibrary != NULL ? GetProcAddress(hLibrary, pEntry) : NULL;
    if (entry == NULL) {
        bMissing = 1;
    } else {
        result = CallEntry(entry, pArguments, nArguments) != 0;
    }
    if (hLibrary != NULL) {
        FreeLibrary(hLibrary);
    }
    ResumeCall();
    if (bMissing) {
        GetFilterThreadState()->nCurrentError = ERROR_DIALOG_MISSING;
    }
    return result;
}
