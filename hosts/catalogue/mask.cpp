// Masks as text: "1,3,1;1,3,1;1,3,1" or the same on lines, and behind the rows perhaps which number
// lies over the pixel: "@0,2" is row 0, column 2. From # to the end of a line is a comment.
#include "catalogue.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const size_t MASK_SIDE_MOST = 1000;
static const char BLANKS[] = " \t\r";

static const char *SkipBlanks(const char *text)
{
    text += strspn(text, BLANKS);
    return *text == '#' ? text + strcspn(text, "\n") : text;
}

// A decimal number and the blanks around it.
static bool TakeNumber(const char **text, long *number)
{
    char *end = nullptr;
    const char *start = SkipBlanks(*text);
    if (*start == 0 || !strchr("-0123456789", *start)) {
        return false;
    }
    *number = strtol(start, &end, 10);
    *text = SkipBlanks(end);
    return end != start && *number >= -1000000 && *number <= 1000000;
}

// The numbers up to the end of a row. An empty row has none.
static bool TakeRow(const char **text, const FilterParameter *parameter, std::vector<BYTE> *row)
{
    *text = SkipBlanks(*text);
    while (**text != 0 && !strchr(";\n@", **text)) {
        long number = 0;
        if (!TakeNumber(text, &number) || double(number) < parameter->dLeast ||
            double(number) > parameter->dGreatest || row->size() == MASK_SIDE_MOST) {
            return false;
        }
        row->push_back(BYTE(number));
        if (**text == ',') {
            ++*text;
            if (*SkipBlanks(*text) == 0 || strchr(";\n@,", *SkipBlanks(*text))) {
                return false;
            }
        }
    }
    return true;
}

// "@row,column", and nothing behind it.
static bool TakeOrigin(const char *text, MaskValue *mask)
{
    long row = 0, column = 0;
    text++;
    if (!TakeNumber(&text, &row)) {
        return false;
    }
    text += *text == ',' ? 1 : 0;
    if (!TakeNumber(&text, &column)) {
        return false;
    }
    mask->originRow = int(row);
    mask->originColumn = int(column);
    while (*text == '\n') {
        text = SkipBlanks(text + 1);
    }
    return *text == 0;
}

// Turns rows into columns.
static bool FillMask(const std::vector<std::vector<BYTE>> &rows, bool bMayBeZero, MaskValue *mask)
{
    bool bAnyWeight = false;
    if (rows.empty() || rows.size() > MASK_SIDE_MOST) {
        return false;
    }
    mask->rows = int(rows.size());
    mask->columns = int(rows[0].size());
    mask->elements.clear();
    for (size_t x = 0; x < rows[0].size(); x++) {
        for (const std::vector<BYTE> &row : rows) {
            if (row.size() != rows[0].size()) {
                return false;
            }
            mask->elements.push_back(row[x]);
            bAnyWeight = bAnyWeight || row[x] != 0;
        }
    }
    mask->originRow = mask->rows / 2;
    mask->originColumn = mask->columns / 2;
    return bAnyWeight || bMayBeZero;
}

const char *FindNamedMask(const FilterParameter *parameter, const char *name)
{
    for (const NamedMask *p = parameter->pMasks; p && p->pName; p++) {
        if (strcmp(p->pName, name) == 0) {
            return p->pMask;
        }
    }
    return nullptr;
}

bool ParseMask(const FilterParameter *parameter, const char *text, MaskValue *mask)
{
    std::vector<std::vector<BYTE>> rows;
    const char *named = FindNamedMask(parameter, text);
    if (named) {
        text = named;
    }
    for (;;) {
        std::vector<BYTE> row;
        if (!TakeRow(&text, parameter, &row)) {
            return false;
        }
        if (!row.empty()) {
            rows.push_back(row);
        } else if (*text == ';') {
            return false;
        }
        if (*text == 0 || *text == '@') {
            break;
        }
        text++;
    }
    return FillMask(rows, parameter->bMayBeZero, mask) && (*text == 0 || TakeOrigin(text, mask));
}

bool LooksLikeMask(const char *text)
{
    return *text != 0 && text[strspn(text, "0123456789,; @-\n")] == 0;
}

void DescribeMask(const MaskValue *mask, char *text, size_t size)
{
    size_t length = 0;
    *text = 0;
    for (int y = 0; y < mask->rows; y++) {
        for (int x = 0; x < mask->columns && length < size; x++) {
            length += size_t(snprintf(text + length, size - length, "%s%d",
                                      x > 0   ? ","
                                      : y > 0 ? ";"
                                              : "",
                                      mask->elements[size_t(x) * size_t(mask->rows) + size_t(y)]));
        }
    }
    if ((mask->originRow != mask->rows / 2 || mask->originColumn != mask->columns / 2) &&
        length < size) {
        snprintf(text + length, size - length, "@%d,%d", mask->originRow, mask->originColumn);
    }
}

FilterMask MakeFilterMask(const MaskValue *value, bool bCrossed, std::vector<BYTE *> *columns)
{
    columns->clear();
    for (int x = 0; x < value->columns; x++) {
        // The exports only read.
        columns->push_back(const_cast<BYTE *>(&value->elements[size_t(x) * size_t(value->rows)]));
    }
    return {columns->data(), value->rows, value->columns,
            bCrossed ? value->originRow : value->originColumn,
            bCrossed ? value->originColumn : value->originRow};
}
