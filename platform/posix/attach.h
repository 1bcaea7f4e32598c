/*
 * Between attach.cpp, which is compiled into each library that has a DllMain, and modules.cpp.
 */
#ifndef VEXA_POSIX_ATTACH_H
#define VEXA_POSIX_ATTACH_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef BOOL(WINAPI *ModuleEntry)(HINSTANCE hInstance, DWORD nReason, LPVOID pReserved);

/*
 * Registers the module that holds pAddress and calls its entry with DLL_PROCESS_ATTACH. pName is
 * its name on Windows, null to make one from the file name: libName.so is Name.dll. Returns null
 * when there are too many modules; the entry is not called then.
 */
VEXAPOSIX_API HINSTANCE AttachModule(const char *pName, const void *pAddress, ModuleEntry pEntry);

/* Calls the entry with DLL_PROCESS_DETACH and forgets the module. Null is allowed. */
VEXAPOSIX_API void DetachModule(HINSTANCE hInstance);

#ifdef __cplusplus
}
#endif

#endif
