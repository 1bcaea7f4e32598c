// UTF-8 to the system's wide text and back.
#ifndef IMAGEFILE_WIDE_H
#define IMAGEFILE_WIDE_H

#include <string>

std::wstring WideText(const char *text);
std::string NarrowText(const wchar_t *text);

// A path for the system's calls; a long one in the form that has no limit of 260 letters.
std::wstring WidePath(const char *path);

#endif
