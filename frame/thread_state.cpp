// What attaching and detaching do, the per-thread record, and the two exports that report state.
//
// A thread gets its record when it attaches or, if it is older than the library, on first use. Two
// TLS slots serve: one holds the record, the other points at the innermost call in progress, which
// lives on that call's stack. The second costs no memory; it tells a call that re-enters from
// inside another's message pump that it is nested.
//
// Kept: a thread whose record cannot be allocated ends at once; no export can work without it.

#include "thread_state.h"

#include "VexaFilter.h"

static const char VERSION_TEXT[] = "Version 10.75";

static DWORD g_nStateSlot = TLS_OUT_OF_INDEXES;
static DWORD g_nCallSlot = TLS_OUT_OF_INDEXES;
static HINSTANCE g_hInstance;
static int g_bAttachDone;
static int g_bDetachDone;

void AttachThread(void)
{
    void *pState = GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT, sizeof(FilterThreadState));
    if (pState == NULL || !TlsSetValue(g_nStateSlot, pState)) {
        ExitThread(0);
    }
}

void DetachThread(void)
{
    void *pState = TlsGetValue(g_nStateSlot);
    if (pState != NULL) {
        GlobalFree((HGLOBAL)pState);
    }
}

// The top bit of the version marks the platforms whose libraries have no data per process.
static int SharesLibraryData(void)
{
    return (GetVersion() & 0x80000000u) != 0;
}

BOOL AttachProcess(HINSTANCE hInstance)
{
    if (SharesLibraryData() && g_bAttachDone) {
        return FALSE;
    }
    g_bAttachDone = 1;
    g_hInstance = hInstance;
    g_nStateSlot = TlsAlloc();
    if (g_nStateSlot == TLS_OUT_OF_INDEXES) {
        return FALSE;
    }
    g_nCallSlot = TlsAlloc();
    if (g_nCallSlot == TLS_OUT_OF_INDEXES) {
        TlsFree(g_nStateSlot);
        return FALSE;
    }
    AttachThread();
    return TRUE;
}

BOOL DetachProcess(void)
{
    if (SharesLibraryData() && g_bDetachDone) {
        return FALSE;
    }
    g_bDetachDone = 1;
    DetachThread();
    TlsFree(g_nStateSlot);
    TlsFree(g_nCallSlot);
    return TRUE;
}

FilterThreadState *GetFilterThreadState(void)
{
    void *pState = TlsGetValue(g_nStateSlot);
    if (pState == NULL) {
        AttachThread();
        pState = TlsGetValue(g_nStateSlot);
    }
    return (FilterThreadState *)pState;
}

HINSTANCE GetFilterInstance(void)
{
    return g_hInstance;
}

RunningCall *GetRunningCall(void)
{
    return (RunningCall *)TlsGetValue(g_nCallSlot);
}

void SetRunningCall(RunningCall *pCall)
{
    TlsSetValue(g_nCallSlot, pCall);
}

int VEXAFILTER_API GetLastFilterError(void)
{
    return GetFilterThreadState()->nCurrentError;
}

void VEXAFILTER_API GetVexaFilterVersion(char *buffer, int length)
{
    const int textLength = (int)sizeof VERSION_TEXT - 1;
    if (buffer == NULL) {
        return;
    }
    if (length > textLength) {
        lstrcpyA(buffer, VERSION_TEXT);
        return;
    }
    // Kept: a length up to that of the text itself leaves the buffer without a terminator.
    for (int i = 0; i < length; i++) {
        buffer[i] = VERSION_TEXT[i];
    }
}
