// Messages and small text helpers.
#include "commandline.h"
#include "hosts/imagefile/filesystem.h"
#include "system.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>

__attribute__((format(printf, 1, 0))) static std::string TextV(const char *format,
                                                               va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? size_t(length) : 0, '\0');
    vsnprintf(&text[0], text.size() + 1, format, arguments);
    return text;
}

std::string Text(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = TextV(format, arguments);
    va_end(arguments);
    return text;
}

void Say(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = "vexafilter: " + TextV(format, arguments) + "\n";
    va_end(arguments);
    WriteText(stderr, text.c_str());
}

void Print(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = TextV(format, arguments);
    va_end(arguments);
    WriteText(stdout, text.c_str());
}

std::string BaseName(const std::string &path)
{
    size_t start = path.size();
    while (start > 0 && !IsPathSeparator(path[start - 1])) {
        start--;
    }
    return path.substr(start);
}

// How many letters must be added, dropped or changed to make one word of the other.
static size_t EditDistance(const char *a, const char *b)
{
    static const size_t LENGTH_MOST = 40;
    size_t row[LENGTH_MOST + 1];
    size_t width = strlen(b);
    if (width > LENGTH_MOST) {
        return width;
    }
    for (size_t j = 0; j <= width; j++) {
        row[j] = j;
    }
    for (size_t i = 1; a[i - 1]; i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= width; j++) {
            size_t changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            size_t shorter = (row[j] < row[j - 1] ? row[j] : row[j - 1]) + 1;
            diagonal = row[j];
            row[j] = changed < shorter ? changed : shorter;
        }
    }
    return row[width];
}

const char *NearestName(const char *word, const std::vector<const char *> &candidates)
{
    const char *nearest = nullptr;
    size_t least = strlen(word) / 2 + 2;
    for (const char *candidate : candidates) {
        // The beginning of a name is as good as the name with one slip.
        bool bBegins = *word && strncmp(candidate, word, strlen(word)) == 0;
        size_t distance = bBegins ? 1 : EditDistance(word, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}
