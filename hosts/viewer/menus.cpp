// See viewer.h: the menus and the keys.
#include "viewer.h"

#include <ctype.h>

static HMENU AddMenu(HMENU hMenus, const wchar_t *title)
{
    const HMENU hMenu = CreatePopupMenu();
    AppendMenuW(hMenus, MF_POPUP, UINT_PTR(hMenu), title);
    return hMenu;
}

struct Item {
    int nCommand;  // 0: a line
    const wchar_t *pText;
};

static void AddItems(HMENU hMenu, const Item *items, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        AppendMenuW(hMenu, items[i].nCommand ? MF_STRING : MF_SEPARATOR,
                    UINT_PTR(items[i].nCommand), items[i].pText);
    }
}

static const Item FILE_ITEMS[] = {{COMMAND_OPEN, L"&Open...\tCtrl+O"},
                                  {COMMAND_SAVE_AS, L"&Save as...\tCtrl+S"},
                                  {0, nullptr},
                                  {COMMAND_EXIT, L"E&xit\tAlt+F4"}};
static const Item EDIT_ITEMS[] = {{COMMAND_UNDO, L"&Undo\tCtrl+Z"},
                                  {COMMAND_REDO, L"&Redo\tCtrl+Y"},
                                  {0, nullptr},
                                  {COMMAND_COPY, L"&Copy\tCtrl+C"},
                                  {COMMAND_PASTE, L"&Paste\tCtrl+V"}};
static const Item VIEW_ITEMS[] = {{COMMAND_FIT, L"&Fit to window\tCtrl+0"},
                                  {COMMAND_FULL_SIZE, L"Full &size\tCtrl+1"},
                                  {0, nullptr},
                                  {COMMAND_HISTOGRAM, L"&Histogram\tCtrl+H"},
                                  {COMMAND_BEFORE, L"&Before (hold the space bar)"}};
static const Item HELP_ITEMS[] = {{COMMAND_ABOUT, L"&About VexaView"}};

// "in-low" as "In low"; with dots, as every filter asks before it starts.
static std::wstring TitleOf(const CatalogueFilter *filter)
{
    std::wstring title = Wide(filter->pName);
    for (wchar_t &letter : title) {
        letter = letter == L'-' ? L' ' : letter;
    }
    title[0] = wchar_t(toupper(title[0]));
    return filter->pDialogEntry ? title + L"..." : title;
}

HMENU MakeMenus()
{
    const HMENU hMenus = CreateMenu();
    AddItems(AddMenu(hMenus, L"&File"), FILE_ITEMS, sizeof FILE_ITEMS / sizeof *FILE_ITEMS);
    AddItems(AddMenu(hMenus, L"&Edit"), EDIT_ITEMS, sizeof EDIT_ITEMS / sizeof *EDIT_ITEMS);
    AddItems(AddMenu(hMenus, L"&View"), VIEW_ITEMS, sizeof VIEW_ITEMS / sizeof *VIEW_ITEMS);
    const HMENU hFilters = AddMenu(hMenus, L"Fi&lter");
    size_t count = 0;
    int command = COMMAND_FILTER;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    for (size_t i = 0; i < count; i++) {
        const HMENU hFamily = AddMenu(hFilters, Wide(families[i]->pTitle).c_str());
        for (size_t j = 0; j < families[i]->nFilters; j++) {
            AppendMenuW(hFamily, MF_STRING, UINT_PTR(command++),
                        TitleOf(&families[i]->pFilters[j]).c_str());
        }
    }
    AddItems(AddMenu(hMenus, L"&Help"), HELP_ITEMS, sizeof HELP_ITEMS / sizeof *HELP_ITEMS);
    return hMenus;
}

const CatalogueFilter *FilterOfCommand(int command)
{
    size_t count = 0;
    const CatalogueFamily *const *families = CatalogueFamilies(&count);
    size_t index = size_t(command - COMMAND_FILTER);
    for (size_t i = 0; command >= COMMAND_FILTER && i < count; i++) {
        if (index < families[i]->nFilters) {
            return &families[i]->pFilters[index];
        }
        index -= families[i]->nFilters;
    }
    return nullptr;
}

static void Enable(HMENU hMenus, int command, bool bEnabled)
{
    EnableMenuItem(hMenus, UINT(command), bEnabled ? MF_ENABLED : MF_GRAYED);
}

static void Check(HMENU hMenus, int command, bool bChecked)
{
    CheckMenuItem(hMenus, UINT(command), bChecked ? MF_CHECKED : MF_UNCHECKED);
}

void UpdateMenus(HMENU hMenus)
{
    const bool bPicture = ShownPicture() != nullptr && !g_viewer.bBusy;
    Enable(hMenus, COMMAND_OPEN, !g_viewer.bBusy);
    Enable(hMenus, COMMAND_PASTE, !g_viewer.bBusy);
    for (int command : {int(COMMAND_SAVE_AS), int(COMMAND_COPY)}) {
        Enable(hMenus, command, bPicture);
    }
    Enable(hMenus, COMMAND_UNDO, bPicture && CanMoveStep(-1));
    Enable(hMenus, COMMAND_REDO, bPicture && CanMoveStep(1));
    Enable(hMenus, COMMAND_BEFORE, bPicture && CanMoveStep(-1));
    for (int command = COMMAND_FILTER; FilterOfCommand(command); command++) {
        Enable(hMenus, command, bPicture);
    }
    Check(hMenus, COMMAND_FIT, !g_viewer.bFullSize);
    Check(hMenus, COMMAND_FULL_SIZE, g_viewer.bFullSize);
    Check(hMenus, COMMAND_HISTOGRAM, g_viewer.hHistogram != nullptr);
}

HACCEL MakeKeys()
{
    ACCEL keys[] = {
        {FVIRTKEY | FCONTROL, 'O', COMMAND_OPEN},     {FVIRTKEY | FCONTROL, 'S', COMMAND_SAVE_AS},
        {FVIRTKEY | FCONTROL, 'Z', COMMAND_UNDO},     {FVIRTKEY | FCONTROL, 'Y', COMMAND_REDO},
        {FVIRTKEY | FCONTROL, 'C', COMMAND_COPY},     {FVIRTKEY | FCONTROL, 'V', COMMAND_PASTE},
        {FVIRTKEY | FCONTROL, '0', COMMAND_FIT},      {FVIRTKEY | FCONTROL, '1', COMMAND_FULL_SIZE},
        {FVIRTKEY | FCONTROL, 'H', COMMAND_HISTOGRAM}};
    return CreateAcceleratorTableW(keys, int(sizeof keys / sizeof *keys));
}
