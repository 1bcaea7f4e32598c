// The fields of a parameter dialog: controls for each type of parameter, filled from a value and
// read into one.
#ifndef DIALOGS_FIELDS_H
#define DIALOGS_FIELDS_H

#include "bindings.h"

#include <string>

struct Field {
    const FilterParameter *pParameter;
    int nId;  // of its first control
    std::wstring label;
    double dLow, dHigh;  // what the slider spans
    MaskValue mask;      // what the grid edits
};

// Where the next control goes, in pixels.
struct FieldLayout {
    HWND hDialog;
    HFONT hFont;
    int nEm, nGap;                 // the height of a line, the space between controls
    int nLabelWidth, nFieldWidth;  // columns
    int x, y;
};

std::wstring Widen(const std::string &text);

// "in-low" as "In low".
std::wstring PrettyName(const char *name);

// Puts & before the first letter that no label has yet; used: those letters, in capitals.
std::wstring AddMnemonic(const std::wstring &label, std::wstring *used);

int TextWidth(const FieldLayout *layout, const std::wstring &text);
int TextHeight(const FieldLayout *layout, const std::wstring &text, int width);  // in lines
// A picture or a mask is what it is, whichever way people read.
void KeepUnmirrored(HWND hWnd);

HWND AddControl(const FieldLayout *layout, const wchar_t *type, const std::wstring &text,
                DWORD style, int id, RECT place, void *parameter = nullptr);

void PrepareField(const FilterParameter *parameter, int id, const ParameterValue *value,
                  Field *field);

// Adds the field's controls and moves the layout below them.
void AddField(Field *field, FieldLayout *layout);

void FillField(HWND hDialog, Field *field, const ParameterValue *value);

// False: what stands there is no value of the parameter.
bool ReadField(HWND hDialog, const Field *field, ParameterValue *value);

// What the parameter means and accepts.
std::wstring HintOf(const Field *field);

// A spin button was pressed, a slider moved, rows or columns were typed, a form was chosen.
void SpinField(HWND hDialog, Field *field, int spin, int delta);
void SlideField(HWND hDialog, Field *field);
void CommandField(HWND hDialog, Field *field, int id, int code);

#endif
