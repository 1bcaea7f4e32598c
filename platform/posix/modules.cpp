// Modules: Windows module names over dlopen.
//
// Promised: "\dir\Name.dll" is /dir/libName.so (or the same in small letters), a bare "Name.dll" is
// looked for beside this library, then by the loader's own search; GetModuleFileNameA gives a path
// with backslashes that LoadLibraryA takes back; names compare without regard to case; a library
// whose DllMain refuses to attach cannot be loaded; kernel32, user32, gdi32 and comctl32 are this
// library itself. Left out: drives, paths with a backslash of their own, ordinals, libraries that
// are named in another way, and counting of links: FreeLibrary undoes LoadLibraryA only.
//
// loaderLock guards the table and is held while a DllMain runs, as on Windows; it is not held over
// dlopen and dlclose, which have a lock of their own and run constructors that come back here.

#include "attach.h"
#include "internal.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

static const int MAX_MODULES = 64;

// An HMODULE points to its entry. Without a path the entry is free.
struct HINSTANCE__ {
    char *pPath;           // with backslashes
    const link_map *pMap;  // what the loader knows the library by; null for the three below
    void *pLibrary;        // the handle from dlopen; null when LoadLibraryA has not loaded it
    int nLoads;            // LoadLibraryA less FreeLibrary
    ModuleEntry pEntry;    // DllMain, while attached
    bool bRefused;         // DllMain did not want to attach
};

static HINSTANCE__ modules[MAX_MODULES];

// The first three entries: the program, the system's own libraries, the library of the test bench.
static HINSTANCE__ *const PROGRAM = &modules[0];
static HINSTANCE__ *const SYSTEM = &modules[1];
static HINSTANCE__ *const BENCH = &modules[2];
static const int FIRST_FREE = 3;

static const char *const SYSTEM_NAMES[] = {"kernel32.dll", "user32.dll", "gdi32.dll",
                                           "comctl32.dll"};
static const char DIALOG_LIBRARY[] = "VexaDlgs.dll";

static pthread_mutex_t loaderLock = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;
static pthread_once_t fixedOnce = PTHREAD_ONCE_INIT;

// ---- names ---------------------------------------------------------------------------------

static void Translate(char *path, char from, char to)
{
    for (; *path != '\0'; path++) {
        if (*path == from) {
            *path = to;
        }
    }
}

// The file name in a path with either kind of slash.
static const char *BaseName(const char *path)
{
    const char *base = path;
    for (; *path != '\0'; path++) {
        if (*path == '\\' || *path == '/') {
            base = path + 1;
        }
    }
    return base;
}

// Copies a module name; one without a dot in its file name ends in ".dll".
static bool CopyModuleName(char *out, size_t size, const char *name)
{
    const char *extension = strchr(BaseName(name), '.') != nullptr ? "" : ".dll";
    int length = snprintf(out, size, "%s%s", name, extension);
    return length > 0 && static_cast<size_t>(length) < size;
}

// Writes the Windows path of a library in the folder of file. Without a name libName.so.1 is
// Name.dll, and any other file keeps its name.
static char *MakeWindowsPath(const char *file, const char *name)
{
    const char *base = BaseName(file);
    int folder = static_cast<int>(base - file);
    char *path = nullptr;
    int length;
    const char *suffix = strstr(base, ".so");
    if (name != nullptr) {
        length = asprintf(&path, "%.*s%s", folder, file, name);
    } else if (strncmp(base, "lib", 3) == 0 && suffix != nullptr) {
        length = asprintf(&path, "%.*s%.*s.dll", folder, file, static_cast<int>(suffix - base) - 3,
                          base + 3);
    } else {
        length = asprintf(&path, "%s", file);
    }
    if (length < 0) {
        return nullptr;
    }
    Translate(path, '/', '\\');
    return path;
}

// The full path of a file that the loader names; the program itself may be named by any text.
static char *ResolveFile(const char *file)
{
    char *resolved = strchr(file, '/') != nullptr ? realpath(file, nullptr) : nullptr;
    return resolved != nullptr ? resolved : realpath("/proc/self/exe", nullptr);
}

static char *ResolveWindowsPath(const char *file, const char *name)
{
    char *resolved = ResolveFile(file);
    char *path = resolved != nullptr ? MakeWindowsPath(resolved, name) : nullptr;
    free(resolved);
    return path;
}

// ---- the table -----------------------------------------------------------------------------

static void FillFixedEntries(void)
{
    PROGRAM->pPath = ResolveWindowsPath("", nullptr);
    SYSTEM->pPath = strdup("\\kernel32.dll");
    BENCH->pPath = strdup("\\VexaDlgs.dll");
}

static void LockModules(void)
{
    pthread_once(&fixedOnce, FillFixedEntries);
    pthread_mutex_lock(&loaderLock);
}

static void UnlockModules(void)
{
    pthread_mutex_unlock(&loaderLock);
}

// The functions from here to the next heading are called with the table locked.

static HINSTANCE__ *FindModule(HMODULE hModule)
{
    for (int n = 0; n < MAX_MODULES; n++) {
        if (hModule == &modules[n] && modules[n].pPath != nullptr) {
            return &modules[n];
        }
    }
    return nullptr;
}

static HINSTANCE__ *FindMap(const link_map *map)
{
    for (int n = FIRST_FREE; n < MAX_MODULES; n++) {
        if (modules[n].pPath != nullptr && modules[n].pMap == map) {
            return &modules[n];
        }
    }
    return nullptr;
}

// Finds a module by path, or by file name when name has no folder.
static HINSTANCE__ *FindName(const char *name)
{
    bool bBare = BaseName(name) == name;
    for (int n = FIRST_FREE; n < MAX_MODULES; n++) {
        const char *path = modules[n].pPath;
        if (path != nullptr && strcasecmp(bBare ? BaseName(path) : path, name) == 0) {
            return &modules[n];
        }
    }
    return nullptr;
}

// Takes over path; null when the table is full or there is no path.
static HINSTANCE__ *AddModule(char *path, const link_map *map)
{
    for (int n = FIRST_FREE; n < MAX_MODULES && path != nullptr; n++) {
        if (modules[n].pPath == nullptr) {
            modules[n] = {path, map, nullptr, 0, nullptr, false};
            return &modules[n];
        }
    }
    free(path);
    return nullptr;
}

static void RemoveModule(HINSTANCE__ *module)
{
    free(module->pPath);
    *module = {nullptr, nullptr, nullptr, 0, nullptr, false};
}

static HMODULE CountLoad(HINSTANCE__ *module)
{
    module->nLoads++;
    testBench.nLibraries++;
    return module;
}

// ---- attaching -----------------------------------------------------------------------------

HINSTANCE AttachModule(const char *pName, const void *pAddress, ModuleEntry pEntry)
{
    Dl_info info;
    void *map = nullptr;
    if (dladdr1(pAddress, &info, &map, RTLD_DL_LINKMAP) == 0) {
        return nullptr;
    }
    char *path = ResolveWindowsPath(info.dli_fname, pName);
    LockModules();
    HINSTANCE__ *module = AddModule(path, static_cast<const link_map *>(map));
    if (module != nullptr) {
        module->pEntry = pEntry;
        module->bRefused = !pEntry(module, DLL_PROCESS_ATTACH, nullptr);
    }
    UnlockModules();
    return module;
}

void DetachModule(HINSTANCE hInstance)
{
    LockModules();
    HINSTANCE__ *module = FindModule(hInstance);
    if (module != nullptr) {
        module->pEntry(module, DLL_PROCESS_DETACH, nullptr);
        RemoveModule(module);
    }
    UnlockModules();
}

void DetachThreadFromModules(void)
{
    LockModules();
    for (int n = MAX_MODULES - 1; n >= FIRST_FREE; n--) {
        if (modules[n].pEntry != nullptr) {
            modules[n].pEntry(&modules[n], DLL_THREAD_DETACH, nullptr);
        }
    }
    UnlockModules();
}

bool IsModule(HMODULE hModule)
{
    LockModules();
    bool bAlive = FindModule(hModule) != nullptr;
    UnlockModules();
    return bAlive;
}

BOOL TestAttachRefused(HMODULE hModule)
{
    LockModules();
    HINSTANCE__ *module = FindModule(hModule);
    BOOL bRefused = module != nullptr && module->bRefused;
    UnlockModules();
    return bRefused;
}

// ---- handles and paths ---------------------------------------------------------------------

static bool IsSystemName(const char *name)
{
    for (const char *system : SYSTEM_NAMES) {
        if (strcasecmp(name, system) == 0) {
            return true;
        }
    }
    return false;
}

HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName)
{
    char name[PATH_MAX];
    if (lpModuleName != nullptr && !CopyModuleName(name, sizeof name, lpModuleName)) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    LockModules();
    HINSTANCE__ *module = PROGRAM;
    if (lpModuleName != nullptr) {
        Translate(name, '/', '\\');
        module = IsSystemName(name) ? SYSTEM : FindName(name);
    }
    UnlockModules();
    if (module == nullptr) {
        SetLastError(ERROR_MOD_NOT_FOUND);
    }
    return module;
}

DWORD WINAPI GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize)
{
    LockModules();
    HINSTANCE__ *module = FindModule(hModule != nullptr ? hModule : PROGRAM);
    DWORD length = 0;
    if (module == nullptr) {
        SetLastError(ERROR_INVALID_HANDLE);
    } else {
        size_t whole = strlen(module->pPath);
        bool bFits = whole < nSize;
        SetLastError(bFits ? NO_ERROR : ERROR_INSUFFICIENT_BUFFER);
        length = bFits ? static_cast<DWORD>(whole) : nSize;
        if (nSize > 0) {
            size_t copied = bFits ? whole : nSize - 1;
            memcpy(lpFilename, module->pPath, copied);
            lpFilename[copied] = '\0';
        }
    }
    UnlockModules();
    return length;
}

// ---- loading -------------------------------------------------------------------------------

// Opens a file, or the one whose name is the same in small letters.
static void *OpenFile(char *path)
{
    void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    char *slash = strrchr(path, '/');
    for (char *c = slash != nullptr ? slash : path; library == nullptr && *c != '\0'; c++) {
        if (*c >= 'A' && *c <= 'Z') {
            *c = static_cast<char>(*c - 'A' + 'a');
        }
    }
    return library != nullptr ? library : dlopen(path, RTLD_NOW | RTLD_LOCAL);
}

// Opens the library that stands for the Windows name: libName.so, then libname.so. A bare name is
// looked for beside this library first.
static void *OpenLibrary(const char *name)
{
    char path[PATH_MAX], beside[PATH_MAX];
    const char *base = BaseName(name);
    size_t stem = strlen(base);
    if (stem > 4 && strcasecmp(base + stem - 4, ".dll") == 0) {
        stem -= 4;
    }
    int length = snprintf(path, sizeof path, "%.*slib%.*s.so", static_cast<int>(base - name), name,
                          static_cast<int>(stem), base);
    if (length < 0 || static_cast<size_t>(length) >= sizeof path) {
        return nullptr;
    }
    Translate(path, '\\', '/');
    Dl_info info;
    void *library = nullptr;
    if (base == name && dladdr(modules, &info) != 0) {
        char *file = ResolveFile(info.dli_fname);
        length = file == nullptr ? -1
                                 : snprintf(beside, sizeof beside, "%.*s%s",
                                            static_cast<int>(BaseName(file) - file), file, path);
        free(file);
        if (length >= 0 && static_cast<size_t>(length) < sizeof beside) {
            library = OpenFile(beside);
        }
    }
    return library != nullptr ? library : OpenFile(path);
}

// The Windows path of an open library: the folder that it came from, the name that was asked for.
static char *MakeLibraryPath(void *library, const char *name)
{
    char folder[PATH_MAX];
    char *path = nullptr;
    if (dlinfo(library, RTLD_DI_ORIGIN, folder) != 0 ||
        asprintf(&path, "%s/%s", folder, name) < 0) {
        return nullptr;
    }
    Translate(path, '/', '\\');
    return path;
}

// Enters a library that dlopen has opened, or finds the entry that it has already.
static HINSTANCE__ *EnterLibrary(void *library, const char *name)
{
    link_map *map = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) != 0) {
        return nullptr;
    }
    HINSTANCE__ *module = FindMap(map);
    if (module == nullptr) {
        module = AddModule(MakeLibraryPath(library, BaseName(name)), map);
    }
    if (module != nullptr) {
        module->pLibrary = library;
    }
    return module;
}

static HMODULE LoadFile(const char *name)
{
    void *library = OpenLibrary(name);
    LockModules();
    HINSTANCE__ *module = nullptr;
    DWORD error = ERROR_MOD_NOT_FOUND;
    if (library != nullptr) {
        module = EnterLibrary(library, name);
    } else {
        module = FindName(name);  // linked into the program, or in a file of another name
    }
    if (module != nullptr && module->bRefused) {
        error = ERROR_DLL_INIT_FAILED;
        module = nullptr;
    }
    if (module != nullptr) {
        CountLoad(module);
    }
    UnlockModules();
    if (module == nullptr && library != nullptr) {
        dlclose(library);
    }
    if (module == nullptr) {
        SetLastError(error);
    }
    return module;
}

HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName)
{
    char name[PATH_MAX];
    if (lpLibFileName == nullptr || *lpLibFileName == '\0' ||
        !CopyModuleName(name, sizeof name, lpLibFileName)) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    Translate(name, '/', '\\');
    HINSTANCE__ *fixed = nullptr;
    const char *hidden = testBench.pHidden;
    if (hidden != nullptr && strcasecmp(BaseName(name), hidden) == 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    if (IsSystemName(name)) {
        fixed = SYSTEM;
    }
    if (testBench.bDialogLibrary && strcasecmp(BaseName(name), DIALOG_LIBRARY) == 0) {
        if (testBench.pEntries.load() == nullptr) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        fixed = BENCH;
    }
    if (fixed == nullptr) {
        return LoadFile(name);
    }
    LockModules();
    CountLoad(fixed);
    UnlockModules();
    return fixed;
}

BOOL WINAPI FreeLibrary(HMODULE hLibModule)
{
    LockModules();
    HINSTANCE__ *module = FindModule(hLibModule);
    if (module == nullptr || module->nLoads == 0) {
        UnlockModules();
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    module->nLoads--;
    testBench.nLibraries--;
    void *library = module->pLibrary;
    // An attached module stays until its destructor takes it out.
    if (module->nLoads == 0 && module >= &modules[FIRST_FREE] && module->pEntry == nullptr) {
        RemoveModule(module);
    }
    UnlockModules();
    if (library != nullptr) {
        dlclose(library);
    }
    return TRUE;
}

// ---- entries -------------------------------------------------------------------------------

static void *FindBenchEntry(const char *name)
{
    const TestEntry *entries = testBench.pEntries;
    for (int n = 0; n < testBench.nEntries; n++) {
        if (strcmp(entries[n].pName, name) == 0) {
            return reinterpret_cast<void *>(entries[n].pEntry);
        }
    }
    return nullptr;
}

// Looks only in the library itself: dlsym alone would search those that it depends on as well.
static void *FindLibraryEntry(void *library, const link_map *map, const char *name)
{
    void *entry = dlsym(library != nullptr ? library : RTLD_DEFAULT, name);
    Dl_info info;
    void *owner = nullptr;
    if (entry == nullptr || dladdr1(entry, &info, &owner, RTLD_DL_LINKMAP) == 0) {
        return nullptr;
    }
    return owner == map ? entry : nullptr;
}

FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    void *entry = nullptr;
    bool bName = reinterpret_cast<uintptr_t>(lpProcName) > 0xffff;
    LockModules();
    HINSTANCE__ *module = FindModule(hModule);
    HINSTANCE__ found = module != nullptr ? *module : HINSTANCE__();
    UnlockModules();
    if (module == nullptr || !bName) {
        entry = nullptr;
    } else if (module == BENCH) {
        entry = FindBenchEntry(lpProcName);
    } else if (module == SYSTEM || module == PROGRAM) {
        entry = dlsym(RTLD_DEFAULT, lpProcName);
    } else {
        entry = FindLibraryEntry(found.pLibrary, found.pMap, lpProcName);
    }
    if (entry == nullptr) {
        SetLastError(module != nullptr ? ERROR_PROC_NOT_FOUND : ERROR_INVALID_HANDLE);
    }
    return reinterpret_cast<FARPROC>(entry);
}
