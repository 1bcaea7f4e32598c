// VexaView: a small picture viewer that shows how a Windows program uses VexaFilter.dll. Plain
// Win32; one window, one picture.
//
//   main.cpp       the window: messages, commands, the status line
//   menus.cpp      the menus, with a command for every filter of the catalogue
//   document.cpp   the picture: opening, saving, clipboard, undo and redo
//   filter.cpp     running a filter with its dialogs
//   canvas.cpp     drawing, zoom and scrolling
//   histogram.cpp  the histogram window
#ifndef VIEWER_H
#define VIEWER_H

#include "hosts/catalogue/catalogue.h"
#include "hosts/imagefile/imagefile.h"

#include <string>
#include <vector>

// Commands. A filter's is COMMAND_FILTER and its place in the catalogue.
enum {
    COMMAND_OPEN = 100,
    COMMAND_SAVE_AS,
    COMMAND_EXIT,
    COMMAND_UNDO,
    COMMAND_REDO,
    COMMAND_COPY,
    COMMAND_PASTE,
    COMMAND_FIT,
    COMMAND_FULL_SIZE,
    COMMAND_HISTOGRAM,
    COMMAND_BEFORE,
    COMMAND_ABOUT,
    COMMAND_FILTER = 1000
};

// The picture as it was after each step. Every block is ours, as GlobalAlloc made it.
struct Document {
    std::vector<HGLOBAL> steps;
    size_t nStep;       // the one that shows; of no account while there is none
    std::wstring name;  // of its file, without folders
    ImageExtras extras;
};

struct Viewer {
    HWND hWindow, hStatus, hHistogram;
    Document document;
    bool bFullSize;    // else the whole picture fits the window
    bool bBefore;      // the step before shows while its key is held down
    bool bBusy;        // a filter runs and lets messages through
    double dStarted;   // when its work began, in milliseconds
    bool bAsked;       // its parameter dialog is closed
    POINT scroll;      // of the full size
    std::wstring did;  // what the last command did, for the status line
};

extern Viewer g_viewer;

// The picture that shows, or null.
HGLOBAL ShownPicture();

// After the picture or the way it shows has changed.
void UpdateViewer();

// Says in a box what is wrong.
void SayWrong(const std::wstring &sentence);

std::wstring Wide(const std::string &text);
std::string Narrow(const std::wstring &text);

// ---- menus.cpp
HMENU MakeMenus();
const CatalogueFilter *FilterOfCommand(int command);
void UpdateMenus(HMENU hMenus);
HACCEL MakeKeys();

// ---- document.cpp
bool OpenPath(const std::wstring &path);
bool AskForPath(bool bSave, std::wstring *path);
void SaveAs();
void AddStep(HGLOBAL hDib);  // takes it
void MoveStep(int by);
bool CanMoveStep(int by);
void CopyPicture();
void PastePicture();

// ---- filter.cpp
void ApplyFilter(const CatalogueFilter *filter);
void NoteEnabled();  // the window takes input again

// ---- canvas.cpp
void PaintCanvas(HWND hWnd);
void UpdateScrolling(HWND hWnd);
void Scroll(HWND hWnd, int bar, int code);

// ---- histogram.cpp
bool RegisterHistogram(HINSTANCE hInstance);
void ToggleHistogram();
void UpdateHistogram();

#endif
