// Runs a library's DllMain as Windows would: compiled into each library that has one, it attaches
// the library when it is loaded and detaches it when it is unloaded or the process ends.
//
// Promised: DLL_PROCESS_ATTACH before any caller can reach an export, DLL_PROCESS_DETACH last, and
// DLL_THREAD_DETACH (from threads.cpp) on each ending thread that stored something in TLS. Left
// out: DLL_THREAD_ATTACH; a thread attaches on first use. When DllMain refuses to attach, a library
// that was linked stays callable (LoadLibraryA, as on Windows, fails).
//
// Define VEXA_MODULE_NAME as the library's name on Windows, "VexaFilter.dll".

#include "attach.h"

#ifndef VEXA_MODULE_NAME
#define VEXA_MODULE_NAME nullptr
#endif

static HINSTANCE hModule;

__attribute__((constructor)) static void Attach(void)
{
    hModule = AttachModule(VEXA_MODULE_NAME, &hModule, DllMain);
}

__attribute__((destructor)) static void Detach(void)
{
    DetachModule(hModule);
}
