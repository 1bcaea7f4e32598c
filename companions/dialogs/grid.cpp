// See grid.h.
#include "grid.h"

#include <stdio.h>
#include <stdlib.h>

#include <string>

const wchar_t GRID_CLASS[] = L"VexaGrid";

struct Grid {
    GridContent content;
    HFONT hFont;
    int nRow, nColumn;  // the chosen cell
    bool bTyping;       // digits go on behind those that stand there
};

static Grid *GridOf(HWND hWnd)
{
    return reinterpret_cast<Grid *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
}

static BYTE *CellOf(const Grid *grid, int row, int column)
{
    MaskValue *mask = grid->content.pMask;
    return &mask->elements[size_t(column) * size_t(mask->rows) + size_t(row)];
}

static void Tell(HWND hWnd, int code)
{
    SendMessageW(GetParent(hWnd), WM_COMMAND, WPARAM(MAKELONG(GetDlgCtrlID(hWnd), code)),
                 LPARAM(hWnd));
}

static void Changed(HWND hWnd)
{
    InvalidateRect(hWnd, nullptr, TRUE);
    Tell(hWnd, GRID_CHANGED);
}

static RECT CellRect(HWND hWnd, const Grid *grid, int row, int column)
{
    RECT client;
    GetClientRect(hWnd, &client);
    const MaskValue *mask = grid->content.pMask;
    const LONG width = client.right / mask->columns, height = client.bottom / mask->rows;
    const LONG side = width < height ? width : height;
    return {column * side, row * side, column * side + side, row * side + side};
}

static void DrawCell(HWND hWnd, HDC hdc, const Grid *grid, int row, int column)
{
    const MaskValue *mask = grid->content.pMask;
    const int value = *CellOf(grid, row, column);
    const bool bChosen = GetFocus() == hWnd && row == grid->nRow && column == grid->nColumn;
    const bool bOrigin = row == mask->originRow && column == mask->originColumn;
    RECT cell = CellRect(hWnd, grid, row, column);
    wchar_t text[8];
    FillRect(hdc, &cell, GetSysColorBrush(bChosen ? COLOR_HIGHLIGHT : COLOR_WINDOW));
    FrameRect(hdc, &cell, GetSysColorBrush(COLOR_BTNSHADOW));
    if (bOrigin) {  // a second frame
        RECT inner = cell;
        InflateRect(&inner, -2, -2);
        FrameRect(hdc, &inner, GetSysColorBrush(bChosen ? COLOR_HIGHLIGHTTEXT : COLOR_WINDOWTEXT));
    }
    SetTextColor(hdc, GetSysColor(bChosen      ? COLOR_HIGHLIGHTTEXT
                                  : value == 0 ? COLOR_GRAYTEXT
                                               : COLOR_WINDOWTEXT));
    _snwprintf(text, 8, L"%d", value);
    DrawTextW(hdc, text, -1, &cell, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    if (bChosen) {
        DrawFocusRect(hdc, &cell);
    }
}

static void Paint(HWND hWnd, const Grid *grid)
{
    PAINTSTRUCT paint;
    const HDC hdc = BeginPaint(hWnd, &paint);
    const HGDIOBJ hOld = SelectObject(hdc, grid->hFont);
    const MaskValue *mask = grid->content.pMask;
    FillRect(hdc, &paint.rcPaint, GetSysColorBrush(COLOR_BTNFACE));
    SetBkMode(hdc, TRANSPARENT);
    for (int row = 0; row < mask->rows; row++) {
        for (int column = 0; column < mask->columns; column++) {
            DrawCell(hWnd, hdc, grid, row, column);
        }
    }
    SelectObject(hdc, hOld);
    EndPaint(hWnd, &paint);
}

// ---- editing -----------------------------------------------------------------------------------

static void Choose(HWND hWnd, Grid *grid, int row, int column)
{
    const MaskValue *mask = grid->content.pMask;
    if (row >= 0 && row < mask->rows && column >= 0 && column < mask->columns) {
        grid->nRow = row;
        grid->nColumn = column;
        grid->bTyping = false;
        InvalidateRect(hWnd, nullptr, TRUE);
    }
}

static void Switch(HWND hWnd, Grid *grid)
{
    BYTE *cell = CellOf(grid, grid->nRow, grid->nColumn);
    *cell = *cell == 0;
    grid->bTyping = false;
    Changed(hWnd);
}

static void SetOrigin(HWND hWnd, Grid *grid)
{
    grid->content.pMask->originRow = grid->nRow;
    grid->content.pMask->originColumn = grid->nColumn;
    Changed(hWnd);
}

static void TypeDigit(HWND hWnd, Grid *grid, int digit)
{
    BYTE *cell = CellOf(grid, grid->nRow, grid->nColumn);
    const int longer = grid->bTyping ? *cell * 10 + digit : digit;
    if (longer <= grid->content.pParameter->dGreatest) {
        *cell = BYTE(longer);
        grid->bTyping = true;
        Changed(hWnd);
    }
}

static void OnClick(HWND hWnd, Grid *grid, LPARAM position, bool bOrigin)
{
    const RECT cell = CellRect(hWnd, grid, 0, 0);
    if (cell.right < 1) {
        return;
    }
    const int column = short(LOWORD(position)) / cell.right;
    const int row = short(HIWORD(position)) / cell.right;
    const bool bAgain = GetFocus() == hWnd && row == grid->nRow && column == grid->nColumn;
    const bool bInside = row < grid->content.pMask->rows && column < grid->content.pMask->columns;
    SetFocus(hWnd);
    Choose(hWnd, grid, row, column);
    if (bInside && bOrigin) {
        SetOrigin(hWnd, grid);
    } else if (bInside && (bAgain || grid->content.pParameter->dGreatest <= 1)) {
        Switch(hWnd, grid);
    }
}

static bool OnKey(HWND hWnd, Grid *grid, WPARAM key)
{
    static const struct {
        WPARAM key;
        int nDown, nRight;
    } MOVES[] = {{VK_UP, -1, 0}, {VK_DOWN, 1, 0}, {VK_LEFT, 0, -1}, {VK_RIGHT, 0, 1}};
    for (const auto &move : MOVES) {
        if (key == move.key) {
            Choose(hWnd, grid, grid->nRow + move.nDown, grid->nColumn + move.nRight);
            return true;
        }
    }
    return false;
}

static void OnCharacter(HWND hWnd, Grid *grid, WPARAM character)
{
    if (character == L' ') {
        Switch(hWnd, grid);
    } else if (character == L'o' || character == L'O') {
        SetOrigin(hWnd, grid);
    } else if (character >= L'0' && character <= L'9') {
        TypeDigit(hWnd, grid, int(character - L'0'));
    }
}

static void Resize(HWND hWnd, Grid *grid, int rows, int columns)
{
    MaskValue *mask = grid->content.pMask;
    if (rows < 1 || columns < 1 || rows > GRID_SIDE_MOST || columns > GRID_SIDE_MOST ||
        (rows == mask->rows && columns == mask->columns)) {
        return;
    }
    const MaskValue old = *mask;
    mask->rows = rows;
    mask->columns = columns;
    mask->elements.assign(size_t(rows) * size_t(columns), 0);
    for (int row = 0; row < rows && row < old.rows; row++) {
        for (int column = 0; column < columns && column < old.columns; column++) {
            *CellOf(grid, row, column) =
                old.elements[size_t(column) * size_t(old.rows) + size_t(row)];
        }
    }
    mask->originRow = mask->originRow < rows ? mask->originRow : rows - 1;
    mask->originColumn = mask->originColumn < columns ? mask->originColumn : columns - 1;
    grid->nRow = grid->nRow < rows ? grid->nRow : rows - 1;
    grid->nColumn = grid->nColumn < columns ? grid->nColumn : columns - 1;
    Changed(hWnd);
}

static LRESULT SetMaskText(HWND hWnd, Grid *grid, const wchar_t *text)
{
    MaskValue mask;
    std::string narrow;
    for (; text && *text; text++) {
        narrow += *text < 128 ? char(*text) : '?';
    }
    if (!ParseMask(grid->content.pParameter, narrow.c_str(), &mask) || mask.rows > GRID_SIDE_MOST ||
        mask.columns > GRID_SIDE_MOST) {
        return FALSE;
    }
    *grid->content.pMask = mask;
    grid->nRow = grid->nColumn = 0;
    Changed(hWnd);
    return TRUE;
}

static std::wstring MaskText(const Grid *grid)
{
    char text[4 * GRID_SIDE_MOST * GRID_SIDE_MOST + 40];
    DescribeMask(grid->content.pMask, text, sizeof text);
    return std::wstring(text, text + strlen(text));
}

static LRESULT GetMaskText(const Grid *grid, WPARAM room, wchar_t *text)
{
    const std::wstring mask = MaskText(grid);
    if (room < 1) {
        return 0;
    }
    const size_t length = mask.size() < room - 1 ? mask.size() : room - 1;
    memcpy(text, mask.data(), length * sizeof *text);
    text[length] = 0;
    return LRESULT(length);
}

// ---- the window --------------------------------------------------------------------------------

static LRESULT CALLBACK GridProc(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    Grid *grid = GridOf(hWnd);
    if (message == WM_NCCREATE) {
        grid = static_cast<Grid *>(calloc(1, sizeof *grid));
        if (!grid) {
            return FALSE;
        }
        grid->content = *static_cast<const GridContent *>(
            reinterpret_cast<const CREATESTRUCTW *>(lParam)->lpCreateParams);
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, LONG_PTR(grid));
        return TRUE;
    }
    if (!grid) {
        return DefWindowProcW(hWnd, message, wParam, lParam);
    }
    switch (message) {
    case WM_NCDESTROY:
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, 0);
        free(grid);
        return 0;
    case WM_PAINT:
        Paint(hWnd, grid);
        return 0;
    case WM_SETFONT:
        grid->hFont = reinterpret_cast<HFONT>(wParam);
        return 0;
    case WM_GETDLGCODE:
        return DLGC_WANTARROWS | DLGC_WANTCHARS;
    case WM_SETFOCUS:
        Tell(hWnd, GRID_FOCUS);
        InvalidateRect(hWnd, nullptr, TRUE);
        return 0;
    case WM_KILLFOCUS:
        InvalidateRect(hWnd, nullptr, TRUE);
        return 0;
    case WM_LBUTTONDOWN:
    case WM_RBUTTONDOWN:
        OnClick(hWnd, grid, lParam, message == WM_RBUTTONDOWN);
        return 0;
    case WM_KEYDOWN:
        if (OnKey(hWnd, grid, wParam)) {
            return 0;
        }
        break;
    case WM_CHAR:
        OnCharacter(hWnd, grid, wParam);
        return 0;
    case WM_SETTEXT:
        return SetMaskText(hWnd, grid, reinterpret_cast<const wchar_t *>(lParam));
    case WM_GETTEXTLENGTH:
        return LRESULT(MaskText(grid).size());
    case WM_GETTEXT:
        return GetMaskText(grid, wParam, reinterpret_cast<wchar_t *>(lParam));
    case GRID_RESIZE:
        Resize(hWnd, grid, LOWORD(lParam), HIWORD(lParam));
        return 0;
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

bool RegisterGrid(HINSTANCE hInstance)
{
    WNDCLASSW gridClass = {};
    gridClass.lpfnWndProc = GridProc;
    gridClass.hInstance = hInstance;
    gridClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    gridClass.lpszClassName = GRID_CLASS;
    return RegisterClassW(&gridClass) != 0 || GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
}
