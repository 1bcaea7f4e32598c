// The C library's arguments have passed through the code page; the wide command line has not.
#include "../commandline.h"
#include "../system.h"
#include "hosts/imagefile/win32/wide.h"

#include <windows.h>

#include <shellapi.h>

int main()
{
    int count = 0;
    wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wide) {
        return EXIT_USAGE;
    }
    std::vector<std::string> texts;
    texts.reserve(size_t(count));
    for (int i = 0; i < count; i++) {
        texts.push_back(NarrowText(wide[i]));
    }
    LocalFree(wide);
    std::vector<char *> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string &text : texts) {
        arguments.push_back(&text[0]);
    }
    arguments.push_back(nullptr);
    CatchInterrupts();
    return RunCommandLine(count, arguments.data());
}
