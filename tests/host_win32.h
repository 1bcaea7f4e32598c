// What else the tests see on Windows.
#ifndef TESTS_HOST_WIN32_H
#define TESTS_HOST_WIN32_H

#include <string>
#include <vector>

// The paths that the DLL asked LoadLibraryA for since ResetHost, by the main thread.
extern std::vector<std::string> g_loaded;

// The latest progress dialog found its owner disabled when it was destroyed.
extern bool g_bOwnerDisabledAtDestroy;

#endif
