// Files on Linux: paths are bytes and go to the system as they are.
#include "../filesystem.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

PathKind KindOfPath(const char *path)
{
    struct stat status;
    if (stat(path, &status) != 0) {
        return PATH_MISSING;
    }
    return S_ISDIR(status.st_mode)   ? PATH_DIRECTORY
           : S_ISREG(status.st_mode) ? PATH_FILE
                                     : PATH_DEVICE;
}

FILE *OpenPath(const char *path, const char *mode)
{
    return fopen(path, mode);
}

std::string TargetOfPath(const char *path)
{
    char *resolved = realpath(path, nullptr);
    std::string target = resolved ? resolved : path;
    free(resolved);
    return target;
}

FILE *CreateTemporary(const char *target, std::string *temporary)
{
    std::string folder = target;
    size_t slash = folder.rfind('/');
    folder.resize(slash == std::string::npos ? 0 : slash + 1);
    int descriptor = -1;
    for (int attempt = 0; attempt < 100 && descriptor < 0; attempt++) {
        *temporary = folder + ".vexafilter-" + std::to_string(getpid()) + "-" +
                     std::to_string(attempt) + ".tmp";
        descriptor = open(temporary->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST) {
            return nullptr;
        }
    }
    if (descriptor < 0) {
        return nullptr;
    }
    struct stat status;
    bool bModeSet = stat(target, &status) != 0 || fchmod(descriptor, status.st_mode & 07777) == 0;
    FILE *file = bModeSet ? fdopen(descriptor, "wb") : nullptr;
    if (!file) {
        close(descriptor);
        unlink(temporary->c_str());
    }
    return file;
}

bool MoveIntoPlace(const char *temporary, const char *target, bool bKeepExisting)
{
    if (!bKeepExisting) {
        return rename(temporary, target) == 0;
    }
    if (renameat2(AT_FDCWD, temporary, AT_FDCWD, target, RENAME_NOREPLACE) == 0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    // A file system without that call: look first.
    if (KindOfPath(target) != PATH_MISSING) {
        errno = EEXIST;
        return false;
    }
    return rename(temporary, target) == 0;
}

void RemovePath(const char *path)
{
    unlink(path);
}

bool MakeFolder(const char *path)
{
    return mkdir(path, 0777) == 0 || KindOfPath(path) == PATH_DIRECTORY;
}

bool IsPathSeparator(char c)
{
    return c == '/';
}

FILE *BinaryStandardInput()
{
    return stdin;
}

FILE *BinaryStandardOutput()
{
    return stdout;
}
