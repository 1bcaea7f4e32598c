// Threads: TLS slots, the end of a thread, last errors, and the few string and version calls.
//
// Promised: TlsAlloc gives slots that are null on every thread; an ending thread that stored
// something gets its modules detached (DLL_THREAD_DETACH) while its slots still hold their values;
// last errors are per thread; the version is one of the NT family (top bit clear).
// Left out: thread creation, and the exit code of ExitThread reaches nobody but pthread_join.
//
// The slots are an array per thread; a slot's generation tells a value that was stored before the
// slot was freed and given out again. One pthread key serves only to hear of the thread's end:
// values kept in keys of their own would be gone, in an order that nobody chooses, before DllMain
// could free them.

#include "internal.h"

#include <pthread.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

static const DWORD TLS_SLOTS = 128;

// Version 6.2, build 9200.
static const DWORD NT_VERSION = 0x23F00206;

struct TlsSlot {
    unsigned int nGeneration;
    void *pValue;
};

static __thread TlsSlot slots[TLS_SLOTS];
static __thread DWORD nLastError;

static pthread_mutex_t slotLock = PTHREAD_MUTEX_INITIALIZER;
static std::atomic<unsigned int> generations[TLS_SLOTS];  // odd: the slot is in use

static pthread_once_t exitKeyOnce = PTHREAD_ONCE_INIT;
static pthread_key_t exitKey;
static bool bExitKey;

// ---- the end of a thread -------------------------------------------------------------------

static void OnThreadExit(void *)
{
    DestroyThreadWindows();
    DetachThreadFromModules();
    // A destructor that runs later may use the library again: it must find no freed record.
    memset(slots, 0, sizeof slots);
}

static void CreateExitKey(void)
{
    bExitKey = pthread_key_create(&exitKey, OnThreadExit) == 0;
}

bool WatchThreadExit(void)
{
    pthread_once(&exitKeyOnce, CreateExitKey);
    if (!bExitKey) {
        return false;
    }
    return pthread_getspecific(exitKey) != nullptr || pthread_setspecific(exitKey, slots) == 0;
}

// Threads that outlive this library must not call into it.
__attribute__((destructor)) static void ForgetThreads(void)
{
    if (bExitKey) {
        pthread_key_delete(exitKey);
    }
    bExitKey = false;
}

void WINAPI ExitThread(DWORD dwExitCode)
{
    pthread_exit(reinterpret_cast<void *>(static_cast<uintptr_t>(dwExitCode)));
}

// ---- TLS -----------------------------------------------------------------------------------

DWORD WINAPI TlsAlloc(void)
{
    if (!IsDue(&testBench.nFailTlsAlloc)) {
        pthread_mutex_lock(&slotLock);
        for (DWORD slot = 0; slot < TLS_SLOTS; slot++) {
            if (generations[slot] % 2 == 0) {
                generations[slot]++;
                pthread_mutex_unlock(&slotLock);
                return slot;
            }
        }
        pthread_mutex_unlock(&slotLock);
    }
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return TLS_OUT_OF_INDEXES;
}

// The generation of a slot in use, 0 and the last error for any other index.
static unsigned int GenerationOf(DWORD slot)
{
    unsigned int generation = 0;
    if (slot < TLS_SLOTS) {
        generation = generations[slot].load(std::memory_order_acquire);
    }
    if (generation % 2 == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    return generation;
}

LPVOID WINAPI TlsGetValue(DWORD dwTlsIndex)
{
    unsigned int generation = GenerationOf(dwTlsIndex);
    if (generation == 0) {
        return nullptr;
    }
    SetLastError(NO_ERROR);
    const TlsSlot *slot = &slots[dwTlsIndex];
    return slot->nGeneration == generation ? slot->pValue : nullptr;
}

BOOL WINAPI TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue)
{
    unsigned int generation = GenerationOf(dwTlsIndex);
    if (generation == 0) {
        return FALSE;
    }
    if (lpTlsValue != nullptr && !WatchThreadExit()) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    slots[dwTlsIndex].nGeneration = generation;
    slots[dwTlsIndex].pValue = lpTlsValue;
    return TRUE;
}

BOOL WINAPI TlsFree(DWORD dwTlsIndex)
{
    pthread_mutex_lock(&slotLock);
    BOOL bFreed = GenerationOf(dwTlsIndex) != 0;
    if (bFreed) {
        generations[dwTlsIndex]++;
    }
    pthread_mutex_unlock(&slotLock);
    return bFreed;
}

// ---- small calls ---------------------------------------------------------------------------

DWORD WINAPI GetLastError(void)
{
    return nLastError;
}

void WINAPI SetLastError(DWORD dwErrCode)
{
    nLastError = dwErrCode;
}

DWORD WINAPI GetCurrentThreadId(void)
{
    return static_cast<DWORD>(syscall(SYS_gettid));
}

DWORD WINAPI GetVersion(void)
{
    return NT_VERSION;
}

LPSTR WINAPI lstrcpyA(LPSTR lpString1, LPCSTR lpString2)
{
    if (lpString1 == nullptr || lpString2 == nullptr) {
        return nullptr;
    }
    // NOLINTNEXTLINE(clang-analyzer-security.insecureAPI.strcpy): that is what this call is
    return strcpy(lpString1, lpString2);
}

int WINAPI lstrlenA(LPCSTR lpString)
{
    return lpString != nullptr ? static_cast<int>(strlen(lpString)) : 0;
}
