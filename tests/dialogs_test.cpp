// The parameter dialogs as a person uses them: for every filter that has one, the dialog that opens
// is its own, what is typed arrives, and wrong values are refused. With VEXA_SHOTS=FOLDER each
// dialog is written there as a picture.
#include "companions/dialogs/dialog.h"
#include "companions/dialogs/fields.h"
#include "hosts/imagefile/codecs.h"
#include "shots.h"

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <functional>
#include <random>

typedef std::vector<BYTE> Bytes;

// ---- the person at the screen ------------------------------------------------------------------

// What is done to the dialog of a running call, once, and what was seen.
static struct {
    std::function<void(HWND hDialog)> Use;
    std::wstring title;
    int nDialogs;
    std::wstring warning;  // of a message box, which is closed
} g_person;

static BOOL CALLBACK AddWindow(HWND hWnd, LPARAM list)
{
    wchar_t name[20];
    GetClassNameW(hWnd, name, 20);
    if (wcscmp(name, L"#32770") == 0 && IsWindowVisible(hWnd)) {
        reinterpret_cast<std::vector<HWND> *>(list)->push_back(hWnd);
    }
    return TRUE;
}

static std::wstring TextOf(HWND hWnd)
{
    wchar_t text[2000] = L"";
    GetWindowTextW(hWnd, text, 2000);
    return text;
}

static void CALLBACK LookAtScreen(HWND, UINT, UINT_PTR, DWORD)
{
    std::vector<HWND> windows;
    EnumThreadWindows(GetCurrentThreadId(), AddWindow, LPARAM(&windows));
    for (const HWND hWnd : windows) {
        if (!GetDlgItem(hWnd, ID_PREVIEW)) {
            g_person.warning = TextOf(GetDlgItem(hWnd, 0xFFFF));
            PostMessageW(hWnd, WM_COMMAND, IDOK, 0);
            return;
        }
    }
    if (windows.size() == 1 && g_person.Use) {
        const std::function<void(HWND)> Use = g_person.Use;
        g_person.Use = nullptr;
        g_person.title = TextOf(windows[0]);
        g_person.nDialogs++;
        Use(windows[0]);
    }
}

static void Press(HWND hDialog, int id)
{
    PostMessageW(hDialog, WM_COMMAND, WPARAM(id), 0);
}

struct Dialogs : testing::TestWithParam<size_t> {
    UINT_PTR nTimer = 0;
    void SetUp() override
    {
        g_person = {};
        nTimer = SetTimer(nullptr, 0, 30, LookAtScreen);
    }
    void TearDown() override
    {
        KillTimer(nullptr, nTimer);
    }
};

// ---- pictures and values -----------------------------------------------------------------------

static HGLOBAL NewPicture(unsigned depths, unsigned seed)
{
    const int bits = depths & DEPTH_24 ? 24 : depths & DEPTH_8 ? 8 : 1;
    ImageMessages messages;
    DibView view;
    EXPECT_TRUE(CreateDib(61, 47, bits, bits == 24 ? 0 : 1u << bits, &view, &messages));
    SetGrayRamp(&view);
    std::mt19937 random(seed);
    for (int y = 0; y < view.nHeight; y++) {
        for (size_t x = 0; x < view.nStride; x++) {
            DibRow(&view, y)[x] = BYTE(random() % 60 + x * 2 + unsigned(y));
        }
    }
    CloseDib(&view);
    return view.hDib;
}

static Bytes Take(HGLOBAL hDib)
{
    Bytes bytes;
    if (hDib) {
        const BYTE *block = static_cast<const BYTE *>(GlobalLock(hDib));
        bytes.assign(block, block + GlobalSize(hDib));
        GlobalUnlock(hDib);
        GlobalFree(hDib);
    }
    return bytes;
}

// Another value than the one there, into the field and into typed.
static void Type(HWND hDialog, const FilterParameter *parameter, int id, ParameterValue *typed)
{
    const bool bBinary = parameter->dGreatest <= 1;
    const char *mask = bBinary ? "1,1,0;0,1,1@1,2" : "1,2;3,4;0,7@2,1";
    const double number = parameter->nType == PARAMETER_REAL           ? parameter->dDefault * 1.25
                          : parameter->dLeast == -1                    ? 100
                          : parameter->dDefault < parameter->dGreatest ? parameter->dDefault + 1
                                                                       : parameter->dDefault - 1;
    char text[40];
    switch (parameter->nType) {
    case PARAMETER_INTEGER:
    case PARAMETER_REAL:
        snprintf(text, sizeof text, "%g", number);
        SetDlgItemTextA(hDialog, id, text);
        typed->nValue = int(number);
        typed->dValue = number;
        break;
    case PARAMETER_CHOICE: {
        const LRESULT index = SendDlgItemMessageW(hDialog, id, CB_GETCURSEL, 0, 0);
        const LRESULT count = SendDlgItemMessageW(hDialog, id, CB_GETCOUNT, 0, 0);
        const WPARAM next = WPARAM((index + 1) % count);
        SendDlgItemMessageW(hDialog, id, CB_SETCURSEL, next, 0);
        typed->nValue = int(SendDlgItemMessageW(hDialog, id, CB_GETITEMDATA, next, 0));
        break;
    }
    case PARAMETER_FLAG:
        SendDlgItemMessageW(hDialog, id, BM_CLICK, 0, 0);
        typed->nValue = !typed->nValue;
        break;
    case PARAMETER_MASK:
        EXPECT_TRUE(SetWindowTextW(GetDlgItem(hDialog, id), Widen(mask).c_str()));
        ParseMask(parameter, mask, &typed->mask);
        break;
    case PARAMETER_RECT:
        typed->rect = {3, 5, 40, 30};
        for (int side = 0; side < 4; side++) {
            SetDlgItemInt(hDialog, id + side, UINT((&typed->rect.left)[side]), TRUE);
        }
        break;
    }
}

// ---- texts -------------------------------------------------------------------------------------

static BOOL CALLBACK CheckText(HWND hChild, LPARAM)
{
    wchar_t type[40];
    RECT client, needed = {};
    GetClassNameW(hChild, type, 40);
    const bool bStatic = wcscmp(type, L"Static") == 0;
    const std::wstring text = TextOf(hChild);
    if ((!bStatic && wcscmp(type, L"Button") != 0) || GetDlgCtrlID(hChild) == ID_PREVIEW) {
        return TRUE;
    }
    GetClientRect(hChild, &client);
    needed.right = client.right;
    const HDC hdc = GetDC(hChild);
    const HGDIOBJ hOld =
        SelectObject(hdc, reinterpret_cast<HFONT>(SendMessageW(hChild, WM_GETFONT, 0, 0)));
    DrawTextW(hdc, text.c_str(), -1, &needed, DT_CALCRECT | (bStatic ? DT_WORDBREAK : 0));
    SelectObject(hdc, hOld);
    ReleaseDC(hChild, hdc);
    EXPECT_LE(needed.right, client.right) << testing::PrintToString(text);
    EXPECT_LE(needed.bottom, client.bottom) << testing::PrintToString(text);
    return TRUE;
}

// Every label, button and hint has room for its text, and no control lies beyond the dialog.
static void CheckTexts(HWND hDialog, int slots)
{
    RECT client;
    GetClientRect(hDialog, &client);
    for (int i = 0; i < slots; i++) {
        SetFocus(GetDlgItem(hDialog, FIELD_FIRST + i * FIELD_STEP));  // its hint shows
        EnumChildWindows(hDialog, CheckText, 0);
    }
    EnumChildWindows(hDialog, CheckText, 0);
    for (HWND hChild = GetWindow(hDialog, GW_CHILD); hChild;
         hChild = GetWindow(hChild, GW_HWNDNEXT)) {
        RECT place;
        GetWindowRect(hChild, &place);
        MapWindowPoints(nullptr, hDialog, reinterpret_cast<POINT *>(&place), 2);
        EXPECT_TRUE(place.left >= 0 && place.top >= 0 && place.right <= client.right)
            << GetDlgCtrlID(hChild);
    }
}

// ---- tests -------------------------------------------------------------------------------------

TEST_P(Dialogs, WhatIsTypedArrives)
{
    const DialogBinding *binding = &BINDINGS[GetParam()];
    const CatalogueFilter *filter = FindCatalogueFilter(binding->pExport);
    ASSERT_TRUE(filter);
    const HGLOBAL images[] = {NewPicture(filter->nDepths, 1), NewPicture(filter->nDepths, 2)};
    ParameterValue given[FILTER_PARAMETERS_MOST], typed[FILTER_PARAMETERS_MOST];
    for (size_t i = 0; i < filter->nParameters; i++) {
        DefaultParameterValue(&filter->pParameters[i], &given[i]);
        if (strcmp(filter->pParameters[i].pName, "seed") == 0) {
            given[i].nValue = 7;
        }
        if (filter->pParameters[i].nType == PARAMETER_RECT) {
            given[i].rect = {1, 1, 20, 20};
        }
        typed[i] = given[i];
    }
    g_person.Use = [&](HWND hDialog) {
        for (int i = 0; i < binding->nSlots; i++) {
            Type(hDialog, &filter->pParameters[i], FIELD_FIRST + i * FIELD_STEP, &typed[i]);
        }
        CheckTexts(hDialog, binding->nSlots);
        SendMessageW(hDialog, WM_TIMER, 1, 0);
        ShootWindow(hDialog, binding->pExport);
        Press(hDialog, IDOK);
    };
    const CatalogueCall asked = {images, given, MODE_DIALOG, nullptr};
    const Bytes got = Take(filter->Run(&asked));
    EXPECT_EQ(1, g_person.nDialogs);
    EXPECT_EQ(PrettyName(filter->pName), g_person.title);
    EXPECT_EQ(L"", g_person.warning);
    // The weighted filters take the dialog's mask only where the caller passes none.
    const CatalogueCall silent = {images, binding->bCrossed ? given : typed, 0, nullptr};
    const Bytes want = Take(filter->Run(&silent));
    EXPECT_FALSE(want.empty());
    EXPECT_TRUE(want == got);
    for (const HGLOBAL hImage : images) {
        GlobalFree(hImage);
    }
}

INSTANTIATE_TEST_SUITE_P(All, Dialogs, testing::Range(size_t(0), BINDING_COUNT),
                         [](const testing::TestParamInfo<size_t> &row) {
                             return std::string(BINDINGS[row.param].pExport);
                         });

TEST_F(Dialogs, AWeightedFilterWithoutAMaskTakesTheDialogs)
{
    BYTE left[] = {1, 3, 0}, right[] = {2, 4, 7};
    BYTE *columns[] = {left, right};
    const FilterMask mask = {columns, 3, 2, 2, 1};
    const HGLOBAL hDib = NewPicture(DEPTH_8, 3);
    g_person.Use = [](HWND hDialog) {
        SetDlgItemTextW(hDialog, FIELD_FIRST, L"1,2;3,4;0,7@2,1");
        Press(hDialog, IDOK);
    };
    const Bytes got = Take(FilterWeightedMedian(hDib, nullptr, MODE_DIALOG, nullptr));
    EXPECT_TRUE(got == Take(FilterWeightedMedian(hDib, &mask, 0, nullptr)));
    EXPECT_FALSE(got.empty());
    GlobalFree(hDib);
}

TEST_F(Dialogs, WrongValuesAreRefusedWithASentence)
{
    const HGLOBAL hDib = NewPicture(DEPTH_8, 3);
    g_person.Use = [](HWND hDialog) {
        SetDlgItemTextW(hDialog, FIELD_FIRST, L"256");
        g_person.Use = [](HWND hStill) { Press(hStill, IDCANCEL); };
        Press(hDialog, IDOK);
    };
    EXPECT_EQ(nullptr, FilterSolarizing(hDib, 100, MODE_DIALOG, nullptr));
    EXPECT_EQ(L"Threshold takes a whole number from 0 to 255.", g_person.warning);
    EXPECT_EQ(2, g_person.nDialogs);
    g_person.Use = [](HWND hDialog) {
        SetDlgItemTextW(hDialog, FIELD_FIRST, L"200");  // above the others
        g_person.Use = [](HWND hStill) { Press(hStill, IDCANCEL); };
        Press(hDialog, IDOK);
    };
    EXPECT_EQ(nullptr, FilterLevels(hDib, 10, 100, 50, 0, 255, 0, MODE_DIALOG, nullptr));
    EXPECT_NE(g_person.warning.find(L"200 is above"), std::wstring::npos);
    GlobalFree(hDib);
}

// The second call with the same values shows what was chosen at the first; another caller's values,
// and Reset, win.
TEST_F(Dialogs, TheLastValuesAreRemembered)
{
    const HGLOBAL hDib = NewPicture(DEPTH_8, 3);
    static std::wstring shown;
    static const struct {
        int given, button;
        const wchar_t *pShown, *pTyped;
    } TURNS[] = {{41, IDOK, L"41", L"77"},
                 {41, IDCANCEL, L"77", L"88"},
                 {41, ID_RESET, L"77", nullptr},
                 {42, IDOK, L"42", nullptr}};
    for (const auto &turn : TURNS) {
        g_person.Use = [&](HWND hDialog) {
            shown = TextOf(GetDlgItem(hDialog, FIELD_FIRST));
            if (turn.pTyped) {
                SetDlgItemTextW(hDialog, FIELD_FIRST, turn.pTyped);
            }
            Press(hDialog, turn.button);
            if (turn.button == ID_RESET) {
                Press(hDialog, IDOK);
            }
        };
        const Bytes got = Take(FilterSolarizing(hDib, turn.given, MODE_DIALOG, nullptr));
        EXPECT_EQ(turn.pShown, shown);
        const int used = turn.pTyped ? _wtoi(turn.pTyped) : turn.given;
        const Bytes want = Take(FilterSolarizing(hDib, used, 0, nullptr));
        EXPECT_TRUE(got == (turn.button == IDCANCEL ? Bytes() : want));
    }
    GlobalFree(hDib);
}

// What moves a field shows in it; the tab order visits every field; a key goes to its cell.
TEST_F(Dialogs, MouseAndKeysReachEveryField)
{
    const HGLOBAL hDib = NewPicture(DEPTH_1, 3);
    g_person.Use = [](HWND hDialog) {
        const int white = FIELD_FIRST + FIELD_STEP;
        const HWND hGrid = GetDlgItem(hDialog, FIELD_FIRST);
        SetDlgItemTextW(hDialog, FIELD_FIRST, L"1,0;0,1@0,0");
        SetFocus(hGrid);
        for (WPARAM key : {VK_RIGHT, VK_DOWN}) {
            SendMessageW(hGrid, WM_KEYDOWN, key, 0);
        }
        SendMessageW(hGrid, WM_CHAR, L' ', 0);  // off
        SendMessageW(hGrid, WM_KEYDOWN, VK_LEFT, 0);
        SendMessageW(hGrid, WM_CHAR, L'1', 0);
        SendMessageW(hGrid, WM_CHAR, L'o', 0);
        EXPECT_EQ(L"1,0;1,0@1,0", TextOf(hGrid));
        EXPECT_EQ(L"2", TextOf(GetDlgItem(hDialog, FIELD_FIRST + FIELD_ROWS)));
        SetDlgItemTextW(hDialog, FIELD_FIRST + FIELD_COLUMNS, L"3");
        EXPECT_EQ(L"1,0,0;1,0,0@1,0", TextOf(hGrid));
        bool bWhite = false;
        HWND hNext = hGrid;
        for (int i = 0; i < 20; i++) {
            hNext = GetNextDlgTabItem(hDialog, hNext, FALSE);
            bWhite = bWhite || GetDlgCtrlID(hNext) == white;
        }
        EXPECT_TRUE(bWhite);
        Press(hDialog, IDCANCEL);
    };
    EXPECT_EQ(nullptr, BinaryDilation(hDib, nullptr, 0, MODE_DIALOG, nullptr));
    EXPECT_EQ(1, g_person.nDialogs);
    GlobalFree(hDib);
    const HGLOBAL hGray = NewPicture(DEPTH_8, 3);
    g_person.Use = [](HWND hDialog) {
        const HWND hSlider = GetDlgItem(hDialog, FIELD_FIRST + FIELD_SLIDER);
        SendMessageW(hSlider, WM_USER + 5, TRUE, 500);  // TBM_SETPOS
        SendMessageW(hDialog, WM_HSCROLL, 0, LPARAM(hSlider));
        EXPECT_EQ(L"128", TextOf(GetDlgItem(hDialog, FIELD_FIRST)));
        Press(hDialog, IDCANCEL);
    };
    EXPECT_EQ(nullptr, FilterSolarizing(hGray, 3, MODE_DIALOG, nullptr));
    GlobalFree(hGray);
}

// In the user's own font, of any usual size, and mirrored where the owner is.
TEST_F(Dialogs, LargeFontsAndMirroredOwnersCutNoText)
{
    NONCLIENTMETRICSW metrics = {}, before = {};
    metrics.cbSize = before.cbSize = sizeof metrics;
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof before, &before, 0);
    const HGLOBAL hDib = NewPicture(DEPTH_24, 3), hBinary = NewPicture(DEPTH_1, 3);
    for (int points : {9, 12, 16}) {
        SCOPED_TRACE(points);
        const DWORD mirrored = points == 12 ? WS_EX_LAYOUTRTL : 0;
        metrics = before;
        metrics.lfMessageFont.lfHeight = -MulDiv(points, 96, 72);
        SystemParametersInfoW(SPI_SETNONCLIENTMETRICS, sizeof metrics, &metrics, 0);
        const HWND hOwner =
            CreateWindowExW(mirrored, L"STATIC", L"owner", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                            200, 100, nullptr, nullptr, nullptr, nullptr);
        SetActiveWindow(hOwner);
        for (int turn : {0, 1, 2}) {
            g_person.Use = [&](HWND hDialog) {
                EXPECT_EQ(mirrored,
                          DWORD(GetWindowLongPtrW(hDialog, GWL_EXSTYLE)) & WS_EX_LAYOUTRTL);
                EXPECT_FALSE(IsWindowEnabled(hOwner));
                for (int id : {int(ID_PREVIEW), turn == 2 ? int(FIELD_FIRST) : int(ID_PREVIEW)}) {
                    const HWND hPicture = GetDlgItem(hDialog, id);  // never the wrong way round
                    EXPECT_FALSE(GetWindowLongPtrW(hPicture, GWL_EXSTYLE) & WS_EX_LAYOUTRTL);
                }
                CheckTexts(hDialog, turn == 2 ? 3 : 6 - turn);
                ShootWindow(hDialog, "font-" + std::to_string(points) + "-" + std::to_string(turn));
                Press(hDialog, IDCANCEL);
            };
            if (turn == 0) {
                FilterLevels(hDib, 0, 255, 128, 0, 255, 0, MODE_DIALOG, nullptr);
            } else if (turn == 1) {
                FreqDIBHomomorphic(hDib, 8, 16, 1, 1, 0, 1);
                GlobalUnlock(hDib);  // a cancelled dialog leaves it locked
            } else {
                BinaryHitMiss(hBinary, nullptr, nullptr, 0, MODE_DIALOG, nullptr);
            }
            EXPECT_FALSE(g_person.Use);
        }
        DestroyWindow(hOwner);
    }
    SystemParametersInfoW(SPI_SETNONCLIENTMETRICS, sizeof before, &before, 0);
    GlobalFree(hDib);
    GlobalFree(hBinary);
}
