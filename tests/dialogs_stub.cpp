// The parameter-dialog library of the tests, for Windows: each entry hands its arguments to the
// test program. The names of the entries are in dialogs_stub.def.

#include <windows.h>

typedef int (*Answer)(UINT_PTR first, UINT_PTR second);

extern "C" int WINAPI PlainEntry(UINT_PTR first);
extern "C" int WINAPI KernelEntry(UINT_PTR first, UINT_PTR second);

static int AskTests(UINT_PTR first, UINT_PTR second)
{
    const FARPROC answer = GetProcAddress(GetModuleHandleA(NULL), "AnswerStub");
    return ((Answer)(void (*)(void))answer)(first, second);
}

int WINAPI PlainEntry(UINT_PTR first)
{
    return AskTests(first, 0);
}

int WINAPI KernelEntry(UINT_PTR first, UINT_PTR second)
{
    return AskTests(first, second);
}
