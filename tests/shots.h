// Pictures of windows, for people to look at.
#ifndef TESTS_SHOTS_H
#define TESTS_SHOTS_H

#include <windows.h>

#include <string>

// With VEXA_SHOTS=FOLDER in the environment: the window as it is on the screen, as FOLDER/name.png.
void ShootWindow(HWND hWnd, const std::string &name);

#endif
