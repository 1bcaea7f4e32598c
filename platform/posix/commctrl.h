/*
 * <commctrl.h> for 64-bit Linux: the progress bar class and its messages (windows.cpp). As on
 * Windows, the class exists once InitCommonControlsEx has asked for it, and a dialog that holds a
 * progress bar cannot be created before that.
 */
#ifndef VEXA_POSIX_COMMCTRL_H
#define VEXA_POSIX_COMMCTRL_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tagINITCOMMONCONTROLSEX {
    DWORD dwSize;
    DWORD dwICC;
} INITCOMMONCONTROLSEX, *LPINITCOMMONCONTROLSEX;

typedef struct PBRANGE {
    int iLow;
    int iHigh;
} PBRANGE, *PPBRANGE;

#define ICC_PROGRESS_CLASS 0x00000020
#define PROGRESS_CLASSA "msctls_progress32"

#define PBM_SETRANGE (WM_USER + 1)
#define PBM_SETPOS (WM_USER + 2)
#define PBM_SETSTEP (WM_USER + 4)
#define PBM_STEPIT (WM_USER + 5)
#define PBM_SETRANGE32 (WM_USER + 6)
#define PBM_GETRANGE (WM_USER + 7)
#define PBM_GETPOS (WM_USER + 8)

VEXAPOSIX_API BOOL WINAPI InitCommonControlsEx(const INITCOMMONCONTROLSEX *pControls);

#ifdef __cplusplus
}
#endif

#endif
