// See fields.h.
#include "fields.h"

#include "dialog.h"
#include "grid.h"

#include <commctrl.h>
#include <math.h>
#include <stdio.h>
#include <wctype.h>

static const int SLIDER_STEPS = 1000;
static const double WIDE_RANGE = 1000;  // from here on a slider spans the useful part only

// ---- texts -------------------------------------------------------------------------------------

std::wstring Widen(const std::string &text)
{
    return std::wstring(text.begin(), text.end());
}

std::wstring PrettyName(const char *name)
{
    std::wstring pretty = Widen(name);
    for (wchar_t &letter : pretty) {
        letter = letter == L'-' ? L' ' : letter;
    }
    pretty[0] = wchar_t(towupper(pretty[0]));
    return pretty;
}

std::wstring AddMnemonic(const std::wstring &label, std::wstring *used)
{
    for (size_t i = 0; i < label.size(); i++) {
        const wchar_t letter = wchar_t(towupper(label[i]));
        if (letter != L' ' && used->find(letter) == used->npos) {
            *used += letter;
            return label.substr(0, i) + L"&" + label.substr(i);
        }
    }
    return label;
}

static std::wstring NumberText(const FilterParameter *parameter, double value)
{
    wchar_t text[40];
    _snwprintf(text, 40, parameter->nType == PARAMETER_REAL ? L"%.6g" : L"%.0f", value);
    return text;
}

static std::string ControlText(HWND hDialog, int id)
{
    wchar_t wide[2000] = L"";
    std::string text;
    GetDlgItemTextW(hDialog, id, wide, 2000);
    for (const wchar_t *letter = wide; *letter; letter++) {
        text += *letter < 128 ? char(*letter) : '?';
    }
    return text;
}

std::wstring HintOf(const Field *field)
{
    char accepted[1000];
    DescribeAccepted(field->pParameter, accepted, sizeof accepted);
    const ParameterType type = field->pParameter->nType;
    const bool bNumber = type == PARAMETER_INTEGER || type == PARAMETER_REAL;
    std::string hint = field->pParameter->pMeaning;
    if (type == PARAMETER_MASK) {
        hint = "Arrow keys choose a number, digits and the space bar change it, O puts it over the "
               "pixel.";
    }
    return Widen(bNumber ? hint + " Takes " + accepted + "." : hint);
}

// ---- controls ----------------------------------------------------------------------------------

static void MeasureText(const FieldLayout *layout, const std::wstring &text, UINT format, RECT *box)
{
    const HDC hdc = GetDC(layout->hDialog);
    const HGDIOBJ hOld = SelectObject(hdc, layout->hFont);
    DrawTextW(hdc, text.c_str(), -1, box, DT_CALCRECT | format);
    SelectObject(hdc, hOld);
    ReleaseDC(layout->hDialog, hdc);
}

int TextWidth(const FieldLayout *layout, const std::wstring &text)
{
    RECT box = {};
    MeasureText(layout, text, DT_SINGLELINE, &box);
    return box.right;
}

int TextHeight(const FieldLayout *layout, const std::wstring &text, int width)
{
    RECT box = {0, 0, width, 0};
    MeasureText(layout, text, DT_WORDBREAK | DT_NOPREFIX, &box);
    return box.bottom;
}

HWND AddControl(const FieldLayout *layout, const wchar_t *type, const std::wstring &text,
                DWORD style, int id, RECT place, void *parameter)
{
    const DWORD edge = wcscmp(type, L"EDIT") == 0 ? WS_EX_CLIENTEDGE : 0;
    const HWND hWnd = CreateWindowExW(
        edge, type, text.c_str(), WS_CHILD | WS_VISIBLE | style, place.left, place.top,
        place.right - place.left, place.bottom - place.top, layout->hDialog,
        reinterpret_cast<HMENU>(INT_PTR(id)),
        reinterpret_cast<HINSTANCE>(GetWindowLongPtrW(layout->hDialog, GWLP_HINSTANCE)), parameter);
    SendMessageW(hWnd, WM_SETFONT, WPARAM(layout->hFont), FALSE);
    return hWnd;
}

void KeepUnmirrored(HWND hWnd)
{
    const LONG_PTR style = GetWindowLongPtrW(hWnd, GWL_EXSTYLE);
    SetWindowLongPtrW(hWnd, GWL_EXSTYLE, style & ~LONG_PTR(WS_EX_LAYOUTRTL));
}

static int ControlHeight(const FieldLayout *layout)
{
    return layout->nEm + layout->nEm / 2 + 2;
}

static void AddLabel(const FieldLayout *layout, const std::wstring &text, int x, int width)
{
    const LONG top = layout->y + layout->nEm / 4 + 1;
    AddControl(layout, L"STATIC", text, SS_LEFT, -1, {x, top, x + width, top + layout->nEm + 2});
}

// An edit field with a spin button beside it. Screen readers take the label before it for its name.
static void AddNumber(const FieldLayout *layout, int id, int spin, int x, int width)
{
    const LONG bottom = layout->y + ControlHeight(layout), middle = x + width - layout->nEm;
    AddControl(layout, L"EDIT", L"", WS_TABSTOP | ES_AUTOHSCROLL, id,
               {x, layout->y, middle, bottom});
    AddControl(layout, UPDOWN_CLASSW, L"", UDS_ARROWKEYS, spin,
               {middle, layout->y, x + width, bottom});
    const HWND hSpin = GetDlgItem(layout->hDialog, spin);
    SendMessageW(hSpin, UDM_SETBUDDY, WPARAM(GetDlgItem(layout->hDialog, id)), 0);
    SendMessageW(hSpin, UDM_SETRANGE32, WPARAM(-SLIDER_STEPS), SLIDER_STEPS);
}

static int NumberWidth(const FieldLayout *layout)
{
    return TextWidth(layout, L"-2147483647") + 2 * layout->nEm;
}

static void AddNumberField(const Field *field, FieldLayout *layout)
{
    const int x = layout->x + layout->nLabelWidth, width = NumberWidth(layout);
    AddLabel(layout, field->label, layout->x, layout->nLabelWidth - layout->nGap);
    AddNumber(layout, field->nId, field->nId + FIELD_SPIN, x, width);
    // The slider's own name, for screen readers.
    const HWND hSlider = AddControl(layout, TRACKBAR_CLASSW, PrettyName(field->pParameter->pName),
                                    WS_TABSTOP | TBS_NOTICKS, field->nId + FIELD_SLIDER,
                                    {x + width + layout->nGap, layout->y, x + layout->nFieldWidth,
                                     layout->y + ControlHeight(layout)});
    SendMessageW(hSlider, TBM_SETRANGEMIN, FALSE, 0);
    SendMessageW(hSlider, TBM_SETRANGEMAX, FALSE, SLIDER_STEPS);
    layout->y += ControlHeight(layout) + layout->nGap;
}

static void AddChoiceField(const Field *field, FieldLayout *layout)
{
    const int x = layout->x + layout->nLabelWidth;
    AddLabel(layout, field->label, layout->x, layout->nLabelWidth - layout->nGap);
    const HWND hList =
        AddControl(layout, L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST, field->nId,
                   {x, layout->y, x + layout->nFieldWidth, layout->y + 12 * ControlHeight(layout)});
    for (size_t i = 0; i < field->pParameter->nChoices; i++) {
        const NamedValue *choice = &field->pParameter->pChoices[i];
        for (int j = 0; choice->pName && j < choice->nCount; j++) {
            std::wstring text = PrettyName(choice->pName);
            text += choice->nCount > 1 ? L" " + std::to_wstring(j) : L"";
            const LRESULT index = SendMessageW(hList, CB_ADDSTRING, 0, LPARAM(text.c_str()));
            SendMessageW(hList, CB_SETITEMDATA, WPARAM(index), choice->nValue + j);
        }
    }
    layout->y += ControlHeight(layout) + layout->nGap;
}

static void AddFlagField(const Field *field, FieldLayout *layout)
{
    AddControl(layout, L"BUTTON", field->label, WS_TABSTOP | BS_AUTOCHECKBOX, field->nId,
               {layout->x, layout->y, layout->x + layout->nLabelWidth + layout->nFieldWidth,
                layout->y + ControlHeight(layout)});
    layout->y += ControlHeight(layout) + layout->nGap;
}

static void AddRectField(const Field *field, FieldLayout *layout)
{
    static const wchar_t *const SIDES[] = {L"Left", L"Top", L"Right", L"Bottom"};
    const int x = layout->x + layout->nLabelWidth, width = NumberWidth(layout);
    for (int side = 0; side < 4; side++) {
        AddLabel(layout, SIDES[side], layout->x, layout->nLabelWidth - layout->nGap);
        AddNumber(layout, field->nId + side, field->nId + FIELD_SPIN + side, x, width);
        layout->y += ControlHeight(layout) + layout->nGap;
    }
}

static void AddMaskField(Field *field, FieldLayout *layout)
{
    const int x = layout->x + layout->nLabelWidth, side = layout->nFieldWidth * 2 / 3;
    const int top = layout->y, width = TextWidth(layout, L"000") + 2 * layout->nEm;
    GridContent content = {field->pParameter, &field->mask};
    AddLabel(layout, field->label, layout->x, layout->nLabelWidth - layout->nGap);
    KeepUnmirrored(AddControl(layout, GRID_CLASS, L"", WS_TABSTOP, field->nId,
                              {x, top, x + side, top + side}, &content));
    static const wchar_t *const NAMES[] = {L"Rows", L"Columns"};
    for (int i = 0; i < 2; i++) {
        AddLabel(layout, NAMES[i], x + side + layout->nGap, layout->nFieldWidth - side);
        layout->y += layout->nEm + layout->nGap;
        AddNumber(layout, field->nId + FIELD_ROWS + i, field->nId + FIELD_SPIN + FIELD_ROWS + i,
                  x + side + layout->nGap, width);
        layout->y += ControlHeight(layout) + layout->nGap;
    }
    layout->y = layout->y > top + side ? layout->y : top + side + layout->nGap;
    if (field->pParameter->pMasks) {
        AddLabel(layout, L"Form", layout->x, layout->nLabelWidth - layout->nGap);
        const HWND hList = AddControl(
            layout, L"COMBOBOX", L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST,
            field->nId + FIELD_FORMS,
            {x, layout->y, x + layout->nFieldWidth, layout->y + 12 * ControlHeight(layout)});
        for (const NamedMask *mask = field->pParameter->pMasks; mask->pName; mask++) {
            SendMessageW(hList, CB_ADDSTRING, 0, LPARAM(PrettyName(mask->pName).c_str()));
        }
        layout->y += ControlHeight(layout) + layout->nGap;
    }
}

void PrepareField(const FilterParameter *parameter, int id, const ParameterValue *value,
                  Field *field)
{
    const double standard = fabs(parameter->dDefault) * 4;
    const bool bWide = parameter->dGreatest - parameter->dLeast > WIDE_RANGE;
    field->pParameter = parameter;
    field->nId = id;
    field->mask = value->mask;
    field->dLow = parameter->dLeast < -WIDE_RANGE ? -180 : parameter->dLeast;
    field->dHigh = bWide ? field->dLow + (standard > 31 ? standard : 31) : parameter->dGreatest;
    if (field->dLow < 0 && bWide) {
        field->dHigh = -field->dLow;
    }
}

void AddField(Field *field, FieldLayout *layout)
{
    switch (field->pParameter->nType) {
    case PARAMETER_INTEGER:
    case PARAMETER_REAL:
        AddNumberField(field, layout);
        break;
    case PARAMETER_CHOICE:
        AddChoiceField(field, layout);
        break;
    case PARAMETER_FLAG:
        AddFlagField(field, layout);
        break;
    case PARAMETER_MASK:
        AddMaskField(field, layout);
        break;
    case PARAMETER_RECT:
        AddRectField(field, layout);
        break;
    }
}

// ---- values ------------------------------------------------------------------------------------

static double NumberOf(const FilterParameter *parameter, const ParameterValue *value)
{
    return parameter->nType == PARAMETER_REAL ? value->dValue : value->nValue;
}

static void MoveSlider(HWND hDialog, const Field *field, double value)
{
    const double part = (value - field->dLow) / (field->dHigh - field->dLow);
    const double step = part < 0 ? 0 : part > 1 ? SLIDER_STEPS : part * SLIDER_STEPS;
    SendDlgItemMessageW(hDialog, field->nId + FIELD_SLIDER, TBM_SETPOS, TRUE, LPARAM(step + 0.5));
}

// A number that no name stands for gets a row of its own.
static void ChooseItem(HWND hList, int value)
{
    const LRESULT count = SendMessageW(hList, CB_GETCOUNT, 0, 0);
    for (LRESULT i = 0; i < count; i++) {
        if (SendMessageW(hList, CB_GETITEMDATA, WPARAM(i), 0) == value) {
            SendMessageW(hList, CB_SETCURSEL, WPARAM(i), 0);
            return;
        }
    }
    const LRESULT index =
        SendMessageW(hList, CB_ADDSTRING, 0, LPARAM(std::to_wstring(value).c_str()));
    SendMessageW(hList, CB_SETITEMDATA, WPARAM(index), value);
    SendMessageW(hList, CB_SETCURSEL, WPARAM(index), 0);
}

static void ShowSides(HWND hDialog, const Field *field)
{
    SetDlgItemInt(hDialog, field->nId + FIELD_ROWS, UINT(field->mask.rows), FALSE);
    SetDlgItemInt(hDialog, field->nId + FIELD_COLUMNS, UINT(field->mask.columns), FALSE);
    InvalidateRect(GetDlgItem(hDialog, field->nId), nullptr, TRUE);
}

void FillField(HWND hDialog, Field *field, const ParameterValue *value)
{
    const FilterParameter *parameter = field->pParameter;
    const LONG sides[] = {value->rect.left, value->rect.top, value->rect.right, value->rect.bottom};
    switch (parameter->nType) {
    case PARAMETER_INTEGER:
    case PARAMETER_REAL:
        SetDlgItemTextW(hDialog, field->nId,
                        NumberText(parameter, NumberOf(parameter, value)).c_str());
        MoveSlider(hDialog, field, NumberOf(parameter, value));
        break;
    case PARAMETER_CHOICE:
        ChooseItem(GetDlgItem(hDialog, field->nId), value->nValue);
        break;
    case PARAMETER_FLAG:
        CheckDlgButton(hDialog, field->nId, value->nValue ? BST_CHECKED : BST_UNCHECKED);
        break;
    case PARAMETER_MASK:
        field->mask = value->mask;
        ShowSides(hDialog, field);
        break;
    case PARAMETER_RECT:
        for (int side = 0; side < 4; side++) {
            SetDlgItemInt(hDialog, field->nId + side, UINT(sides[side]), TRUE);
        }
        break;
    }
}

static bool ReadRect(HWND hDialog, const Field *field, RECT *rect)
{
    LONG sides[4];
    for (int side = 0; side < 4; side++) {
        BOOL bRead = FALSE;
        sides[side] = LONG(GetDlgItemInt(hDialog, field->nId + side, &bRead, TRUE));
        if (!bRead || sides[side] < 0) {
            return false;
        }
    }
    *rect = {sides[0], sides[1], sides[2], sides[3]};
    return sides[0] <= sides[2] && sides[1] <= sides[3];
}

static bool HoldsNumber(const MaskValue *mask)
{
    for (BYTE element : mask->elements) {
        if (element != 0) {
            return true;
        }
    }
    return false;
}

bool ReadField(HWND hDialog, const Field *field, ParameterValue *value)
{
    const FilterParameter *parameter = field->pParameter;
    const std::string text = ControlText(hDialog, field->nId);
    LRESULT index;
    switch (parameter->nType) {
    case PARAMETER_INTEGER:
    case PARAMETER_REAL:
        // -1 for what a program chooses by itself is the command line's.
        return ParseParameterValue(parameter, text.c_str(), value) &&
               (parameter->dLeast != -1 || value->nValue >= 0);
    case PARAMETER_CHOICE:
        index = SendDlgItemMessageW(hDialog, field->nId, CB_GETCURSEL, 0, 0);
        value->nValue =
            int(SendDlgItemMessageW(hDialog, field->nId, CB_GETITEMDATA, WPARAM(index), 0));
        return index >= 0;
    case PARAMETER_FLAG:
        value->nValue = IsDlgButtonChecked(hDialog, field->nId) == BST_CHECKED;
        return true;
    case PARAMETER_MASK:
        value->mask = field->mask;
        return parameter->bMayBeZero || HoldsNumber(&field->mask);
    case PARAMETER_RECT:
        return ReadRect(hDialog, field, &value->rect);
    }
    return false;
}

// ---- what the user does ------------------------------------------------------------------------

static void SetNumber(HWND hDialog, const Field *field, double value)
{
    const FilterParameter *parameter = field->pParameter;
    const double least = parameter->dLeast == -1 ? 0 : parameter->dLeast;
    value = value < least ? least : value > parameter->dGreatest ? parameter->dGreatest : value;
    SetDlgItemTextW(hDialog, field->nId, NumberText(parameter, value).c_str());
}

void SpinField(HWND hDialog, Field *field, int spin, int delta)
{
    const int id = spin - FIELD_SPIN;
    ParameterValue value;
    if (id != field->nId || field->pParameter->nType == PARAMETER_RECT) {
        const int number = int(GetDlgItemInt(hDialog, id, nullptr, TRUE)) + delta;
        SetDlgItemInt(hDialog, id, UINT(number < 0 ? 0 : number), TRUE);
    } else if (ReadField(hDialog, field, &value)) {
        const double step = field->pParameter->nType == PARAMETER_REAL ? 0.1 : 1;
        SetNumber(hDialog, field, NumberOf(field->pParameter, &value) + delta * step);
    }
}

void SlideField(HWND hDialog, Field *field)
{
    const LRESULT step = SendDlgItemMessageW(hDialog, field->nId + FIELD_SLIDER, TBM_GETPOS, 0, 0);
    SetNumber(hDialog, field,
              field->dLow + (field->dHigh - field->dLow) * double(step) / SLIDER_STEPS);
}

void CommandField(HWND hDialog, Field *field, int id, int code)
{
    const FilterParameter *parameter = field->pParameter;
    ParameterValue value;
    if (parameter->nType == PARAMETER_MASK && code == EN_CHANGE) {
        const UINT rows = GetDlgItemInt(hDialog, field->nId + FIELD_ROWS, nullptr, FALSE);
        const UINT columns = GetDlgItemInt(hDialog, field->nId + FIELD_COLUMNS, nullptr, FALSE);
        SendDlgItemMessageW(hDialog, field->nId, GRID_RESIZE, 0,
                            MAKELPARAM(rows < 100 ? rows : 100, columns < 100 ? columns : 100));
    } else if (parameter->nType == PARAMETER_MASK && id == field->nId + FIELD_FORMS &&
               code == CBN_SELCHANGE) {
        const LRESULT index = SendDlgItemMessageW(hDialog, id, CB_GETCURSEL, 0, 0);
        if (index >= 0 && ParseMask(parameter, parameter->pMasks[index].pMask, &value.mask) &&
            value.mask.rows <= GRID_SIDE_MOST && value.mask.columns <= GRID_SIDE_MOST) {
            FillField(hDialog, field, &value);
        }
    } else if (parameter->nType == PARAMETER_MASK && id == field->nId && code == GRID_CHANGED) {
        const bool bSides = GetDlgItemInt(hDialog, field->nId + FIELD_ROWS, nullptr, FALSE) !=
                                UINT(field->mask.rows) ||
                            GetDlgItemInt(hDialog, field->nId + FIELD_COLUMNS, nullptr, FALSE) !=
                                UINT(field->mask.columns);
        if (bSides) {
            ShowSides(hDialog, field);
        }
    } else if (code == EN_CHANGE && parameter->nType != PARAMETER_RECT &&
               ReadField(hDialog, field, &value)) {
        MoveSlider(hDialog, field, NumberOf(parameter, &value));
    }
}
