/*
 * What a host on Linux can do with the windows that nobody sees: follow the progress bars, press
 * Cancel from a signal handler, and own a parent window. Win32 programs have no need of this: they
 * have real windows. And the blocks of memory that a call has left behind, which no Win32 program
 * could find.
 */
#ifndef VEXA_POSIX_HEADLESS_H
#define VEXA_POSIX_HEADLESS_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Called each time a progress bar gets its range (position 0) and each time it moves. nRange is
 * the number of positions, nPosition counts from 0 to nRange. Runs on the thread that owns the
 * dialog, inside the call that steps the bar; it may post messages but must not start a filter.
 */
typedef void (*ProgressObserver)(HWND hDialog, int nRange, int nPosition, void *pContext);

/*
 * One observer for the process; null takes it away. Set it while no filter runs: a call that has
 * started may still reach the observer before.
 */
VEXAPOSIX_API void SetProgressObserver(ProgressObserver pObserver, void *pContext);

/*
 * Asks for Cancel. The next PeekMessageA of any thread with an open progress dialog delivers the
 * Cancel command to that dialog, once; when no dialog is open the request waits for one. Safe in
 * a signal handler and on any thread.
 */
VEXAPOSIX_API void RequestCancel(void);

/* Takes back a request that no dialog has answered yet. */
VEXAPOSIX_API void ClearCancelRequest(void);

/*
 * Makes an enabled top-level window of the calling thread, a host's main window. It is destroyed
 * by DestroyWindow or with its thread. Null when there are too many windows.
 */
VEXAPOSIX_API HWND CreatePlainWindow(void);

/*
 * What a plain window does with the messages that are sent or dispatched to it. Runs on the
 * window's thread; may call anything, filters included.
 */
typedef void (*PlainWindowProc)(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam,
                                void *pContext);

/* FALSE when hWnd is not a plain window. */
VEXAPOSIX_API BOOL SetPlainWindowProc(HWND hWnd, PlainWindowProc pProc, void *pContext);

/*
 * Gives a plain window the size of a bitmap of CreateDIBSection, which then holds what is drawn
 * into the window; null: size 0 again. The bitmap stays the caller's. FALSE when one of them is
 * none.
 */
VEXAPOSIX_API BOOL SetPlainWindowBitmap(HWND hWnd, HBITMAP hBitmap);

/* The movable block that was made last, by any thread; it need not live any more. */
VEXAPOSIX_API HGLOBAL LatestGlobalBlock(void);

/* The oldest movable block alive that was made after hBlock; null: there is none. */
VEXAPOSIX_API HGLOBAL NextGlobalBlock(HGLOBAL hBlock);

/*
 * For calls of this thread: the effects that draw random numbers seed them with nSeconds in place
 * of the time, until ClearSeedClock. The same seed gives the same picture.
 */
VEXAPOSIX_API void SetSeedClock(unsigned int nSeconds);
VEXAPOSIX_API void ClearSeedClock(void);

#ifdef __cplusplus
}
#endif

#endif
