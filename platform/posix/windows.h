/*
 * <windows.h> for 64-bit Linux: the few dozen Win32 calls that this project uses, under their own
 * names, types and meanings, so that the library is written once. What stands behind them is
 * libvexaposix.so, one per process, so that all modules share one heap of global memory.
 *
 * Promised: names, argument types, return values and last-error codes as on Windows, for the
 * argument values that this project passes. Left out: everything else, and the variants for wide
 * characters. Every HGLOBAL, HWND and HMODULE is checked: one that is null, foreign or no longer
 * alive makes the call fail, it never crashes.
 *
 * Compiles as C and as C++. Handles are as wide as pointers; DWORD and LONG are 32 bits.
 */
#ifndef VEXA_POSIX_WINDOWS_H
#define VEXA_POSIX_WINDOWS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VEXAPOSIX_API __attribute__((visibility("default")))

/* There is one calling convention here. */
#define WINAPI
#define CALLBACK
#define APIENTRY
#ifndef __stdcall
#define __stdcall
#endif
#ifndef __cdecl
#define __cdecl
#endif

/* ---- types --------------------------------------------------------------------------------- */

typedef char CHAR;
typedef int16_t SHORT;
typedef int INT;
typedef int BOOL;
typedef int32_t LONG;
typedef int64_t LONGLONG;
typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint16_t USHORT;
typedef unsigned int UINT;
typedef uint32_t DWORD;
typedef uint32_t ULONG;
typedef uint64_t ULONGLONG;
typedef intptr_t INT_PTR;
typedef uintptr_t UINT_PTR;
typedef intptr_t LONG_PTR;
typedef uintptr_t ULONG_PTR;
typedef uintptr_t DWORD_PTR;
typedef size_t SIZE_T;

typedef void *LPVOID;
typedef const void *LPCVOID;
typedef char *LPSTR;
typedef const char *LPCSTR;
typedef BYTE *LPBYTE;

typedef UINT_PTR WPARAM;
typedef LONG_PTR LPARAM;
typedef LONG_PTR LRESULT;
typedef WORD ATOM;
typedef DWORD COLORREF;

typedef void *HANDLE;
typedef void *HGLOBAL;
typedef void *HGDIOBJ;
typedef struct HWND__ *HWND;
typedef struct HINSTANCE__ *HINSTANCE;
typedef HINSTANCE HMODULE;
typedef struct HICON__ *HICON;
typedef HICON HCURSOR;
typedef struct HDC__ *HDC;
typedef struct HBITMAP__ *HBITMAP;

typedef INT_PTR(WINAPI *FARPROC)();
typedef INT_PTR(CALLBACK *DLGPROC)(HWND, UINT, WPARAM, LPARAM);

typedef struct tagPOINT {
    LONG x;
    LONG y;
} POINT;

typedef struct tagRECT {
    LONG left;
    LONG top;
    LONG right;
    LONG bottom;
} RECT, *LPRECT;

typedef struct tagMSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    DWORD time;
    POINT pt;
} MSG, *LPMSG;

typedef struct tagPAINTSTRUCT {
    HDC hdc;
    BOOL fErase;
    RECT rcPaint;
    BOOL fRestore;
    BOOL fIncUpdate;
    BYTE rgbReserved[32];
} PAINTSTRUCT, *LPPAINTSTRUCT;

/* ---- bitmaps ------------------------------------------------------------------------------- */

/* The layouts below are those of files and of packed DIBs, to the byte. */

#pragma pack(push, 2)

typedef struct tagBITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1;
    WORD bfReserved2;
    DWORD bfOffBits;
} BITMAPFILEHEADER;

#pragma pack(pop)

typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth;
    LONG biHeight;
    WORD biPlanes;
    WORD biBitCount;
    DWORD biCompression;
    DWORD biSizeImage;
    LONG biXPelsPerMeter;
    LONG biYPelsPerMeter;
    DWORD biClrUsed;
    DWORD biClrImportant;
} BITMAPINFOHEADER, *LPBITMAPINFOHEADER;

typedef struct tagBITMAPCOREHEADER {
    DWORD bcSize;
    WORD bcWidth;
    WORD bcHeight;
    WORD bcPlanes;
    WORD bcBitCount;
} BITMAPCOREHEADER, *LPBITMAPCOREHEADER;

typedef struct tagRGBQUAD {
    BYTE rgbBlue;
    BYTE rgbGreen;
    BYTE rgbRed;
    BYTE rgbReserved;
} RGBQUAD;

typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO;

typedef struct tagRGBTRIPLE {
    BYTE rgbtBlue;
    BYTE rgbtGreen;
    BYTE rgbtRed;
} RGBTRIPLE;

#ifdef __cplusplus
static_assert(sizeof(BITMAPFILEHEADER) == 14, "as in a file");
static_assert(sizeof(BITMAPINFOHEADER) == 40, "as in a packed DIB");
static_assert(sizeof(BITMAPCOREHEADER) == 12, "as in a packed DIB");
static_assert(sizeof(RGBQUAD) == 4 && sizeof(RGBTRIPLE) == 3, "as in a packed DIB");
#else
_Static_assert(sizeof(BITMAPFILEHEADER) == 14, "as in a file");
_Static_assert(sizeof(BITMAPINFOHEADER) == 40, "as in a packed DIB");
_Static_assert(sizeof(BITMAPCOREHEADER) == 12, "as in a packed DIB");
_Static_assert(sizeof(RGBQUAD) == 4 && sizeof(RGBTRIPLE) == 3, "as in a packed DIB");
#endif

#define BI_RGB 0
#define BI_RLE8 1
#define BI_RLE4 2
#define BI_BITFIELDS 3
#define DIB_RGB_COLORS 0

#define WHITE_BRUSH 0
#define BLACK_BRUSH 4
#define WHITE_PEN 6
#define BLACK_PEN 7

/* ---- constants ----------------------------------------------------------------------------- */

#ifndef FALSE
#define FALSE 0
#endif
#ifndef TRUE
#define TRUE 1
#endif

#define MAX_PATH 260

#define LOWORD(l) ((WORD)(((DWORD_PTR)(l)) & 0xffff))
#define HIWORD(l) ((WORD)((((DWORD_PTR)(l)) >> 16) & 0xffff))
#define MAKELONG(a, b) ((LONG)((DWORD)(WORD)(a) | ((DWORD)(WORD)(b) << 16)))
#define MAKEWPARAM(l, h) ((WPARAM)(DWORD)MAKELONG(l, h))
#define MAKELPARAM(l, h) ((LPARAM)(DWORD)MAKELONG(l, h))
#define MAKEINTRESOURCEA(i) ((LPSTR)((ULONG_PTR)((WORD)(i))))

#define ERROR_SUCCESS 0
#define NO_ERROR 0
#define ERROR_ACCESS_DENIED 5
#define ERROR_INVALID_HANDLE 6
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_INVALID_PARAMETER 87
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_MOD_NOT_FOUND 126
#define ERROR_PROC_NOT_FOUND 127
#define ERROR_DISCARDED 157
#define ERROR_NOT_LOCKED 158
#define ERROR_DLL_INIT_FAILED 1114
#define ERROR_INVALID_WINDOW_HANDLE 1400
#define ERROR_CANNOT_FIND_WND_CLASS 1407
#define ERROR_RESOURCE_NAME_NOT_FOUND 1814
#define ERROR_NOT_ENOUGH_QUOTA 1816

#define GMEM_FIXED 0x0000
#define GMEM_MOVEABLE 0x0002
#define GMEM_ZEROINIT 0x0040
#define GMEM_DISCARDED 0x4000
#define GMEM_INVALID_HANDLE 0x8000
#define GMEM_LOCKCOUNT 0x00ff
#define GHND (GMEM_MOVEABLE | GMEM_ZEROINIT)
#define GPTR (GMEM_FIXED | GMEM_ZEROINIT)

#define TLS_OUT_OF_INDEXES ((DWORD)0xFFFFFFFF)

#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3

#define WM_NULL 0x0000
#define WM_DESTROY 0x0002
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define WM_APP 0x8000
#define BM_CLICK 0x00F5
#define BN_CLICKED 0

#define IDOK 1
#define IDCANCEL 2
#define SW_HIDE 0
#define SW_SHOW 5
#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define IDC_ARROW MAKEINTRESOURCEA(32512)
#define IDC_WAIT MAKEINTRESOURCEA(32514)

/* ---- global memory (memory.cpp) ------------------------------------------------------------ */

VEXAPOSIX_API HGLOBAL WINAPI GlobalAlloc(UINT uFlags, SIZE_T dwBytes);
VEXAPOSIX_API LPVOID WINAPI GlobalLock(HGLOBAL hMem);
VEXAPOSIX_API BOOL WINAPI GlobalUnlock(HGLOBAL hMem);
VEXAPOSIX_API HGLOBAL WINAPI GlobalFree(HGLOBAL hMem);
VEXAPOSIX_API SIZE_T WINAPI GlobalSize(HGLOBAL hMem);
VEXAPOSIX_API UINT WINAPI GlobalFlags(HGLOBAL hMem);
VEXAPOSIX_API SIZE_T WINAPI GlobalCompact(DWORD dwMinFree);

/* ---- threads, errors, strings (threads.cpp), clock (clock.cpp) ----------------------------- */

VEXAPOSIX_API DWORD WINAPI TlsAlloc(void);
VEXAPOSIX_API LPVOID WINAPI TlsGetValue(DWORD dwTlsIndex);
VEXAPOSIX_API BOOL WINAPI TlsSetValue(DWORD dwTlsIndex, LPVOID lpTlsValue);
VEXAPOSIX_API BOOL WINAPI TlsFree(DWORD dwTlsIndex);
VEXAPOSIX_API void WINAPI ExitThread(DWORD dwExitCode) __attribute__((noreturn));
VEXAPOSIX_API DWORD WINAPI GetCurrentThreadId(void);
VEXAPOSIX_API DWORD WINAPI GetVersion(void);
VEXAPOSIX_API DWORD WINAPI GetLastError(void);
VEXAPOSIX_API void WINAPI SetLastError(DWORD dwErrCode);
VEXAPOSIX_API LPSTR WINAPI lstrcpyA(LPSTR lpString1, LPCSTR lpString2);
VEXAPOSIX_API int WINAPI lstrlenA(LPCSTR lpString);
VEXAPOSIX_API DWORD WINAPI GetTickCount(void);

/* ---- modules (modules.cpp) ----------------------------------------------------------------- */

VEXAPOSIX_API HMODULE WINAPI GetModuleHandleA(LPCSTR lpModuleName);
VEXAPOSIX_API DWORD WINAPI GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize);
VEXAPOSIX_API HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName);
VEXAPOSIX_API FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName);
VEXAPOSIX_API BOOL WINAPI FreeLibrary(HMODULE hLibModule);

/* Each library that has one is compiled with attach.cpp, which calls it. */
BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD nReason, LPVOID pReserved);

/* ---- dialogs and messages (windows.cpp) ---------------------------------------------------- */

VEXAPOSIX_API HWND WINAPI CreateDialogParamA(HINSTANCE hInstance, LPCSTR lpTemplateName,
                                             HWND hWndParent, DLGPROC lpDialogFunc,
                                             LPARAM dwInitParam);
VEXAPOSIX_API BOOL WINAPI DestroyWindow(HWND hWnd);
VEXAPOSIX_API BOOL WINAPI ShowWindow(HWND hWnd, int nCmdShow);
VEXAPOSIX_API BOOL WINAPI UpdateWindow(HWND hWnd);
VEXAPOSIX_API BOOL WINAPI EnableWindow(HWND hWnd, BOOL bEnable);
VEXAPOSIX_API BOOL WINAPI IsWindowEnabled(HWND hWnd);
VEXAPOSIX_API BOOL WINAPI IsWindow(HWND hWnd);
VEXAPOSIX_API HWND WINAPI GetDlgItem(HWND hDlg, int nIDDlgItem);
VEXAPOSIX_API LRESULT WINAPI SendMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
VEXAPOSIX_API LRESULT WINAPI SendDlgItemMessageA(HWND hDlg, int nIDDlgItem, UINT Msg, WPARAM wParam,
                                                 LPARAM lParam);
VEXAPOSIX_API BOOL WINAPI PostMessageA(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam);
VEXAPOSIX_API void WINAPI PostQuitMessage(int nExitCode);
VEXAPOSIX_API BOOL WINAPI PeekMessageA(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin,
                                       UINT wMsgFilterMax, UINT wRemoveMsg);
VEXAPOSIX_API BOOL WINAPI IsDialogMessageA(HWND hDlg, LPMSG lpMsg);
VEXAPOSIX_API BOOL WINAPI TranslateMessage(const MSG *lpMsg);
VEXAPOSIX_API LRESULT WINAPI DispatchMessageA(const MSG *lpMsg);
VEXAPOSIX_API HCURSOR WINAPI SetCursor(HCURSOR hCursor);
VEXAPOSIX_API HCURSOR WINAPI GetCursor(void);
VEXAPOSIX_API HCURSOR WINAPI LoadCursorA(HINSTANCE hInstance, LPCSTR lpCursorName);
VEXAPOSIX_API BOOL WINAPI GetWindowRect(HWND hWnd, LPRECT lpRect);
VEXAPOSIX_API BOOL WINAPI GetClientRect(HWND hWnd, LPRECT lpRect);

/* ---- drawing (gdi.cpp) --------------------------------------------------------------------- */

VEXAPOSIX_API HDC WINAPI GetDC(HWND hWnd);
VEXAPOSIX_API int WINAPI ReleaseDC(HWND hWnd, HDC hDC);
VEXAPOSIX_API HDC WINAPI BeginPaint(HWND hWnd, LPPAINTSTRUCT lpPaint);
VEXAPOSIX_API BOOL WINAPI EndPaint(HWND hWnd, const PAINTSTRUCT *lpPaint);
VEXAPOSIX_API HDC WINAPI CreateCompatibleDC(HDC hdc);
VEXAPOSIX_API BOOL WINAPI DeleteDC(HDC hdc);
VEXAPOSIX_API HBITMAP WINAPI CreateDIBSection(HDC hdc, const BITMAPINFO *pbmi, UINT usage,
                                              void **ppvBits, HANDLE hSection, DWORD offset);
VEXAPOSIX_API BOOL WINAPI DeleteObject(HGDIOBJ ho);
VEXAPOSIX_API HGDIOBJ WINAPI GetStockObject(int i);
VEXAPOSIX_API HGDIOBJ WINAPI SelectObject(HDC hdc, HGDIOBJ h);
VEXAPOSIX_API BOOL WINAPI MoveToEx(HDC hdc, int x, int y, POINT *lppt);
VEXAPOSIX_API BOOL WINAPI LineTo(HDC hdc, int x, int y);
VEXAPOSIX_API BOOL WINAPI Rectangle(HDC hdc, int left, int top, int right, int bottom);
VEXAPOSIX_API BOOL WINAPI GdiFlush(void);

#ifdef __cplusplus
}
#endif

#endif
