// The few things that opening and replacing files needs from the system. Paths are UTF-8.
#ifndef IMAGEFILE_FILESYSTEM_H
#define IMAGEFILE_FILESYSTEM_H

#include <stdio.h>

#include <string>

enum PathKind { PATH_MISSING, PATH_FILE, PATH_DIRECTORY, PATH_DEVICE };

// Follows links. A pipe or a terminal is a device.
PathKind KindOfPath(const char *path);

// fopen for UTF-8 paths.
FILE *OpenPath(const char *path, const char *mode);

// The file that a link leads to, or the path itself.
std::string TargetOfPath(const char *path);

// Makes a new empty file in the target's folder, with the target's permissions if it exists, and
// opens it for writing. Null on failure, with errno set.
FILE *CreateTemporary(const char *target, std::string *temporary);

// Gives a finished file its name. bKeepExisting: fails with EEXIST when the name is taken.
bool MoveIntoPlace(const char *temporary, const char *target, bool bKeepExisting);

void RemovePath(const char *path);

// True also when it stands already.
bool MakeFolder(const char *path);

// True where the character parts folders in a path.
bool IsPathSeparator(char c);

// The standard streams, switched to bytes as they are.
FILE *BinaryStandardInput();
FILE *BinaryStandardOutput();

#endif
