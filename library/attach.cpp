// The library's entry point: a record for each thread (frame/thread_state), the kernels for this
// processor. Nothing else may be done while a library attaches.

#include "frame/thread_state.h"
#include "kernels.h"
#include "platform/cpu.h"

// NOLINTNEXTLINE(readability-redundant-declaration): not every <windows.h> declares it
extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD reason, LPVOID pReserved);

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD reason, LPVOID pReserved)
{
    (void)pReserved;
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        if (!AttachProcess(hInstance)) {
            return FALSE;
        }
        ChooseKernels(DetectCpuFeatures());
        return TRUE;
    case DLL_THREAD_ATTACH:
        AttachThread();
        return TRUE;
    case DLL_THREAD_DETACH:
        DetachThread();
        return TRUE;
    case DLL_PROCESS_DETACH:
        return DetachProcess();
    default:
        return FALSE;
    }
}
