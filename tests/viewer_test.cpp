// The viewer as a person uses it, from another program: a picture is opened, filtered through the
// dialogs, a filter cancelled at work, a step undone, the picture saved. What is saved is what the
// command line makes.
#include "companions/dialogs/dialog.h"
#include "hosts/imagefile/imagefile.h"
#include "hosts/viewer/viewer.h"
#include "shots.h"

#include <gtest/gtest.h>

#include <functional>

static const int MOST_WAITED = 30000;  // milliseconds
static const int PROGRESS_BAR = 1000, FILE_NAME = 0x480, FILE_NAME_LIST = 0x47C;

static DWORD g_process;

// ---- windows -----------------------------------------------------------------------------------

struct Search {
    std::function<bool(HWND)> IsIt;
    HWND hFound;
};

static BOOL CALLBACK LookAt(HWND hWnd, LPARAM parameter)
{
    Search *search = reinterpret_cast<Search *>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(hWnd, &process);
    if (process == g_process && IsWindowVisible(hWnd) && search->IsIt(hWnd)) {
        search->hFound = hWnd;
    }
    return !search->hFound;
}

static HWND Find(const std::function<bool(HWND)> &IsIt)
{
    Search search = {IsIt, nullptr};
    EnumWindows(LookAt, LPARAM(&search));
    return search.hFound;
}

static bool WaitUntil(const std::function<bool()> &Done)
{
    for (int waited = 0; waited < MOST_WAITED; waited += 20) {
        if (Done()) {
            return true;
        }
        Sleep(20);
    }
    return false;
}

static HWND WaitFor(const std::function<bool(HWND)> &IsIt)
{
    HWND hFound = nullptr;
    WaitUntil([&] { return (hFound = Find(IsIt)) != nullptr; });
    EXPECT_TRUE(hFound);
    return hFound;
}

static bool HasControl(HWND hWnd, int id)
{
    return GetDlgItem(hWnd, id) != nullptr;
}

static std::wstring TextOf(HWND hWnd)
{
    wchar_t text[500] = L"";
    SendMessageW(hWnd, WM_GETTEXT, 500, LPARAM(text));
    return text;
}

static bool Contains(const std::wstring &text, const wchar_t *part)
{
    return text.find(part) != text.npos;
}

static void SetText(HWND hWnd, int id, const wchar_t *text)
{
    SendMessageW(GetDlgItem(hWnd, id), WM_SETTEXT, 0, LPARAM(text));
}

// A filter's place in the catalogue is its command. (Wine shows a menu to its own process only.)
static int CommandOf(const char *filter)
{
    size_t count = 0;
    int command = COMMAND_FILTER;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        for (size_t j = 0; j < families[i]->nFilters; j++, command++) {
            if (&families[i]->pFilters[j] == FindCatalogueFilter(filter)) {
                return command;
            }
        }
    }
    return 0;
}

// ---- the viewer --------------------------------------------------------------------------------

struct ViewerTest : testing::Test {
    PROCESS_INFORMATION process = {};
    HWND hViewer = nullptr, hStatus = nullptr;

    void SetUp() override
    {
        STARTUPINFOA startup = {};
        char line[] = "VexaView.exe \"" VEXA_SCENE "\"";
        startup.cb = sizeof startup;
        ASSERT_TRUE(CreateProcessA(nullptr, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                   &startup, &process));
        g_process = process.dwProcessId;
        hViewer =
            WaitFor([](HWND hWnd) { return Contains(TextOf(hWnd), L"scene.png - VexaView"); });
        hStatus = FindWindowExW(hViewer, nullptr, L"msctls_statusbar32", nullptr);
    }

    void TearDown() override
    {
        DWORD code = 99;
        PostMessageW(hViewer, WM_CLOSE, 0, 0);
        if (WaitForSingleObject(process.hProcess, DWORD(MOST_WAITED)) != WAIT_OBJECT_0) {
            TerminateProcess(process.hProcess, 98);
        }
        GetExitCodeProcess(process.hProcess, &code);
        EXPECT_EQ(0u, code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }

    void Command(int command)
    {
        PostMessageW(hViewer, WM_COMMAND, WPARAM(command), 0);
    }

    // Chooses the filter and fills in its dialog.
    void AskFor(const char *filter, const std::vector<std::pair<int, const wchar_t *>> &typed)
    {
        Command(CommandOf(filter));
        const HWND hDialog = WaitFor([](HWND hWnd) { return HasControl(hWnd, ID_PREVIEW); });
        for (const auto &field : typed) {
            SetText(hDialog, FIELD_FIRST + field.first * FIELD_STEP, field.second);
        }
        ShootWindow(hDialog, std::string("viewer-") + filter);
        PostMessageW(hDialog, WM_COMMAND, IDOK, 0);
        EXPECT_TRUE(WaitUntil([&] { return !IsWindow(hDialog); }));
    }

    void WaitForStatus(const wchar_t *part)
    {
        EXPECT_TRUE(WaitUntil([&] { return Contains(TextOf(hStatus), part); })) << part;
    }

    // Opens or saves by name, in the system's dialog.
    void ChooseFile(int command, const wchar_t *name)
    {
        Command(command);
        const HWND hDialog = WaitFor([](HWND hWnd) {
            return HasControl(hWnd, FILE_NAME) || HasControl(hWnd, FILE_NAME_LIST);
        });
        SetText(hDialog, HasControl(hDialog, FILE_NAME) ? FILE_NAME : FILE_NAME_LIST, name);
        PostMessageW(hDialog, WM_COMMAND, IDOK, 0);
        EXPECT_TRUE(WaitUntil([&] { return !IsWindow(hDialog); }));
    }

    void Save(const wchar_t *name)
    {
        ChooseFile(COMMAND_SAVE_AS, name);
        WaitForStatus(L"saved");
    }
};

static std::string Content(const char *path)
{
    std::string content;
    FILE *file = fopen(path, "rb");
    for (int c = file ? fgetc(file) : EOF; c != EOF; c = fgetc(file)) {
        content += char(c);
    }
    if (file) {
        fclose(file);
    }
    return content;
}

TEST_F(ViewerTest, APictureIsFilteredUndoneAndSaved)
{
    WaitForStatus(L"opened");
    AskFor("median", {{0, L"5"}});
    WaitForStatus(L"median: ");
    AskFor("levels", {{0, L"20"}, {2, L"100"}});
    WaitForStatus(L"levels: ");
    AskFor("solarize", {{0, L"100"}});
    WaitForStatus(L"solarize: ");
    Sleep(300);
    ShootWindow(hViewer, "viewer");

    // Cancelled at work: nothing changes.
    AskFor("zoom-blur", {{1, L"3000"}});
    const HWND hProgress = WaitFor([](HWND hWnd) { return HasControl(hWnd, PROGRESS_BAR); });
    Sleep(300);
    ShootWindow(hProgress, "viewer-progress");
    EXPECT_FALSE(IsWindowEnabled(hViewer));
    PostMessageW(hViewer, WM_CLOSE, 0, 0);  // refused until the filter is done
    PostMessageW(hProgress, WM_COMMAND, IDCANCEL, 0);
    WaitForStatus(L"zoom-blur gave no result");
    EXPECT_TRUE(IsWindowEnabled(hViewer));

    Command(COMMAND_HISTOGRAM);
    const HWND hChart = WaitFor([](HWND hWnd) { return TextOf(hWnd) == L"Histogram"; });
    Sleep(200);
    ShootWindow(hChart, "viewer-histogram");
    Command(COMMAND_UNDO);
    WaitForStatus(L"undone");

    DeleteFileA("viewer-saved.png");
    Save(L"viewer-saved.png");
    ASSERT_EQ(0, system("vexafilter.exe median --size 5 + levels --in-low 20 --in-mid 100 "
                        "\"" VEXA_SCENE "\" viewer-expected.png"));
    const std::string saved = Content("viewer-saved.png");
    EXPECT_FALSE(saved.empty());
    EXPECT_TRUE(saved == Content("viewer-expected.png"));
    ChooseFile(COMMAND_OPEN, L"viewer-saved.png");
    WaitForStatus(L"opened");
    EXPECT_TRUE(Contains(TextOf(hViewer), L"viewer-saved.png - VexaView"));
    ChooseFile(COMMAND_OPEN, L"vexafilter.exe");
    const HWND hBox = WaitFor([](HWND hWnd) { return TextOf(hWnd) == L"VexaView"; });
    EXPECT_TRUE(Contains(TextOf(GetDlgItem(hBox, 0xFFFF)), L"it is not a BMP, PNG or JPEG file."));
    PostMessageW(hBox, WM_COMMAND, IDOK, 0);
}

TEST_F(ViewerTest, CopiedAndPastedAPictureStaysTheSame)
{
    Command(COMMAND_COPY);
    WaitForStatus(L"copied");
    Command(COMMAND_PASTE);
    WaitForStatus(L"pasted");
    EXPECT_TRUE(Contains(TextOf(hViewer), L"clipboard - VexaView"));
    DeleteFileA("viewer-pasted.bmp");
    Save(L"viewer-pasted.bmp");
    ASSERT_EQ(0, system("vexafilter.exe arithmetic --operation xor viewer-pasted.bmp "
                        "\"" VEXA_SCENE "\" viewer-difference.bmp"));
    ASSERT_EQ(0, system("vexafilter.exe counts viewer-difference.bmp >viewer-counts.csv"));
    const std::string counts = Content("viewer-counts.csv");
    EXPECT_NE(counts.find("\n255,0,0,0"), std::string::npos);
    EXPECT_NE(counts.find("\n1,0,0,0"), std::string::npos);
}

// Wrong files are refused with a sentence; full size and the step before show.
TEST_F(ViewerTest, WhatCannotBeDoneIsSaid)
{
    Command(CommandOf("thin"));
    const HWND hBox = WaitFor([](HWND hWnd) { return TextOf(hWnd) == L"VexaView"; });
    EXPECT_TRUE(Contains(TextOf(GetDlgItem(hBox, 0xFFFF)),
                         L"thin takes 1-bit pictures, and this one has 24 bits a pixel"));
    PostMessageW(hBox, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(WaitUntil([&] { return !IsWindow(hBox); }));
    Command(COMMAND_FULL_SIZE);
    AskFor("enhance", {});
    WaitForStatus(L"enhance: ");
    Command(COMMAND_BEFORE);
    WaitForStatus(L"before");
    Command(COMMAND_BEFORE);
    WaitForStatus(L"enhance: ");
}
