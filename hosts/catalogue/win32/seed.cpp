// See seed.h. The library asks the C library for the time: its import of that function is led to
// one of ours, once and for all.
#include "hosts/catalogue/seed.h"

#include <windows.h>

#include <string.h>
#include <time.h>

static thread_local bool g_bHeld;
static thread_local unsigned int g_seconds;

static __time32_t HeldTime(__time32_t *out)
{
    __time32_t now = g_bHeld ? __time32_t(g_seconds) : _time32(nullptr);
    if (out) {
        *out = now;
    }
    return now;
}

// The place of an import in the library's table, whatever library it comes from; or null.
static void **FindImport(BYTE *module, const char *name)
{
    const auto *dos = reinterpret_cast<const IMAGE_DOS_HEADER *>(module);
    const auto *headers = reinterpret_cast<const IMAGE_NT_HEADERS *>(module + dos->e_lfanew);
    const DWORD table =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    const auto *import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR *>(module + table);
    for (; import->Name; import++) {
        const DWORD *names = reinterpret_cast<const DWORD *>(module + import->OriginalFirstThunk);
        void **functions = reinterpret_cast<void **>(module + import->FirstThunk);
        for (; *names; names++, functions++) {
            const bool bOrdinal = (*names & IMAGE_ORDINAL_FLAG) != 0;
            if (!bOrdinal && strcmp(reinterpret_cast<char *>(module + *names + 2), name) == 0) {
                return functions;
            }
        }
    }
    return nullptr;
}

static bool LeadTimeHere()
{
    BYTE *module = reinterpret_cast<BYTE *>(GetModuleHandleA("VexaFilter.dll"));
    void **place = module ? FindImport(module, "time") : nullptr;
    DWORD protection = 0;
    if (!place || !VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection)) {
        return false;
    }
    *place = reinterpret_cast<void *>(HeldTime);
    VirtualProtect(place, sizeof *place, protection, &protection);
    return true;
}

void HoldSeedClock(unsigned int seconds)
{
    static const bool bLed = LeadTimeHere();
    g_bHeld = bLed;
    g_seconds = seconds;
}

void ReleaseSeedClock()
{
    g_bHeld = false;
}
