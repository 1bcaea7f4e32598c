// The parameter-dialog library of the tests, for Windows: each entry hands its arguments to the
// test program. The names of the entries are in dialogs_stub.def.

#include <windows.h>

typedef UINT_PTR A;
typedef int (*Answer)(const A *pArguments, int nArguments);

extern "C" int WINAPI Entry1(A a);
extern "C" int WINAPI Entry2(A a, A b);
extern "C" int WINAPI Entry3(A a, A b, A c);
extern "C" int WINAPI Entry4(A a, A b, A c, A d);
extern "C" int WINAPI Entry5(A a, A b, A c, A d, A e);
extern "C" int WINAPI Entry6(A a, A b, A c, A d, A e, A f);
extern "C" int WINAPI Entry7(A a, A b, A c, A d, A e, A f, A g);

static int AskTests(const A *pArguments, int nArguments)
{
    const FARPROC answer = GetProcAddress(GetModuleHandleA(NULL), "AnswerStub");
    return ((Answer)(void (*)(void))answer)(pArguments, nArguments);
}

int WINAPI Entry1(A a)
{
    const A all[] = {a};
    return AskTests(all, 1);
}

int WINAPI Entry2(A a, A b)
{
    const A all[] = {a, b};
    return AskTests(all, 2);
}

int WINAPI Entry3(A a, A b, A c)
{
    const A all[] = {a, b, c};
    return AskTests(all, 3);
}

int WINAPI Entry4(A a, A b, A c, A d)
{
    const A all[] = {a, b, c, d};
    return AskTests(all, 4);
}

int WINAPI Entry5(A a, A b, A c, A d, A e)
{
    const A all[] = {a, b, c, d, e};
    return AskTests(all, 5);
}

int WINAPI Entry6(A a, A b, A c, A d, A e, A f)
{
    const A all[] = {a, b, c, d, e, f};
    return AskTests(all, 6);
}

int WINAPI Entry7(A a, A b, A c, A d, A e, A f, A g)
{
    const A all[] = {a, b, c, d, e, f, g};
    return AskTests(all, 7);
}
