// Files on Windows: every path goes to the system as wide text.
#include "../filesystem.h"
#include "wide.h"

#include <windows.h>

#include <errno.h>
#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

static const size_t PATH_SHORT = 240;  // room for what the system appends to a folder

std::wstring WideText(const char *text)
{
    int count = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    std::wstring wide(count > 0 ? size_t(count) : 1, L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, &wide[0], count);
    wide.resize(wide.size() - 1);
    return wide;
}

std::string NarrowText(const wchar_t *text)
{
    int count = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(count > 0 ? size_t(count) : 1, '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, &narrow[0], count, nullptr, nullptr);
    narrow.resize(narrow.size() - 1);
    return narrow;
}

std::wstring WidePath(const char *path)
{
    std::wstring wide = WideText(path);
    if (wide.size() < PATH_SHORT || wide.compare(0, 2, L"\\\\") == 0) {
        return wide;
    }
    DWORD count = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    std::wstring full(count > 0 ? count : 1, L'\0');
    count = GetFullPathNameW(wide.c_str(), count, &full[0], nullptr);
    full.resize(count);
    return count > 0 ? L"\\\\?\\" + full : wide;
}

// The C library's number for what the system said last.
static void SetErrno()
{
    DWORD error = GetLastError();
    errno = error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS        ? EEXIST
            : error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND   ? ENOENT
            : error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION ? EACCES
                                                                               : EIO;
}

PathKind KindOfPath(const char *path)
{
    std::wstring wide = WidePath(path);
    DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        return PATH_DIRECTORY;
    }
    HANDLE hFile =
        CreateFileW(wide.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        return attributes == INVALID_FILE_ATTRIBUTES ? PATH_MISSING : PATH_FILE;
    }
    DWORD type = GetFileType(hFile);
    CloseHandle(hFile);
    return type == FILE_TYPE_DISK ? PATH_FILE : PATH_DEVICE;
}

FILE *OpenPath(const char *path, const char *mode)
{
    return _wfopen(WidePath(path).c_str(), WideText(mode).c_str());
}

std::string TargetOfPath(const char *path)
{
    return path;
}

FILE *CreateTemporary(const char *target, std::string *temporary)
{
    std::string folder = target;
    size_t length = folder.size();
    while (length > 0 && !IsPathSeparator(folder[length - 1])) {
        length--;
    }
    folder.resize(length);
    for (int attempt = 0; attempt < 100; attempt++) {
        *temporary = folder + ".vexafilter-" + std::to_string(GetCurrentProcessId()) + "-" +
                     std::to_string(attempt) + ".tmp";
        int descriptor = _wopen(WidePath(temporary->c_str()).c_str(),
                                _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
        if (descriptor >= 0) {
            return _fdopen(descriptor, "wb");
        }
        if (errno != EEXIST) {
            return nullptr;
        }
    }
    return nullptr;
}

bool MoveIntoPlace(const char *temporary, const char *target, bool bKeepExisting)
{
    DWORD flags = bKeepExisting ? 0 : MOVEFILE_REPLACE_EXISTING;
    if (MoveFileExW(WidePath(temporary).c_str(), WidePath(target).c_str(), flags)) {
        return true;
    }
    SetErrno();
    return false;
}

void RemovePath(const char *path)
{
    DeleteFileW(WidePath(path).c_str());
}

bool MakeFolder(const char *path)
{
    if (CreateDirectoryW(WidePath(path).c_str(), nullptr)) {
        return true;
    }
    SetErrno();
    return KindOfPath(path) == PATH_DIRECTORY;
}

bool IsPathSeparator(char c)
{
    return c == '/' || c == '\\' || c == ':';
}

FILE *BinaryStandardInput()
{
    _setmode(_fileno(stdin), _O_BINARY);
    return stdin;
}

FILE *BinaryStandardOutput()
{
    _setmode(_fileno(stdout), _O_BINARY);
    return stdout;
}
