// The catalogue's families in their order, and what can be said of a row without knowing its
// filter: finding it, and its parameters' values as text and back.
#include "catalogue.h"

#include <errno.h>
#include <iterator>
#include <math.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>

static const CatalogueFamily *const FAMILIES[] = {
    &CONVOLUTION_FAMILY, &POINT_FAMILY,  &TONAL_FAMILY,      &HISTOGRAM_FAMILY,
    &RANK_FAMILY,        &MEAN_FAMILY,   &MORPHOLOGY_FAMILY, &FREQUENCY_FAMILY,
    &EFFECTS_FAMILY,     &REDEYE_FAMILY, &CONVERSION_FAMILY,
};

const CatalogueFamily *const *CatalogueFamilies(size_t *count)
{
    *count = std::size(FAMILIES);
    return FAMILIES;
}

static bool IsAlias(const CatalogueFilter *filter, const char *name)
{
    const size_t length = strlen(name);
    for (const char *word = filter->pAliases; word && *word;) {
        const size_t end = strcspn(word, " ");
        if (end == length && strncasecmp(word, name, end) == 0) {
            return true;
        }
        word += end + strspn(word + end, " ");
    }
    return false;
}

const CatalogueFilter *FindCatalogueFilter(const char *name)
{
    for (const CatalogueFamily *family : FAMILIES) {
        for (size_t i = 0; i < family->nFilters; i++) {
            const CatalogueFilter *filter = &family->pFilters[i];
            if (strcasecmp(name, filter->pName) == 0 || strcasecmp(name, filter->pExport) == 0 ||
                IsAlias(filter, name)) {
                return filter;
            }
        }
    }
    return nullptr;
}

const FilterParameter *FindFilterParameter(const CatalogueFilter *filter, const char *name)
{
    for (size_t i = 0; i < filter->nParameters; i++) {
        if (strcmp(filter->pParameters[i].pName, name) == 0) {
            return &filter->pParameters[i];
        }
    }
    return nullptr;
}

unsigned DepthBit(int bitCount)
{
    return bitCount == 1    ? DEPTH_1
           : bitCount == 4  ? DEPTH_4
           : bitCount == 8  ? DEPTH_8
           : bitCount == 24 ? DEPTH_24
                            : 0;
}

static const RECT WHOLE_PICTURE = {0, 0, 2147483647, 2147483647};

// ---- texts -----------------------------------------------------------------------------------

__attribute__((format(printf, 3, 4))) static void Append(char *text, size_t size,
                                                         const char *format, ...)
{
    size_t length = strlen(text);
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyzer does not know va_start here
    vsnprintf(text + length, size - length, format, arguments);
    va_end(arguments);
}

// What stands between the items of a list: "1-, 8- and 24-bit".
static const char *Joint(size_t index, size_t count, const char *last)
{
    return index == 0 ? "" : index + 1 == count ? last : ", ";
}

void DescribeDepths(unsigned depths, char *text, size_t size)
{
    int accepted[4];
    size_t count = 0;
    for (int bits : {1, 4, 8, 24}) {
        if (depths & DepthBit(bits)) {
            accepted[count++] = bits;
        }
    }
    *text = 0;
    for (size_t i = 0; i < count; i++) {
        Append(text, size, "%s%d-%s", Joint(i, count, " and "), accepted[i],
               i + 1 == count ? "bit" : "");
    }
}

bool DescribeChoice(const NamedValue *choice, char *text, size_t size)
{
    if (!choice->pName) {
        return false;
    }
    if (choice->nCount == 1) {
        snprintf(text, size, "%s", choice->pName);
    } else {
        snprintf(text, size, "%s-0 to %s-%d", choice->pName, choice->pName, choice->nCount - 1);
    }
    return true;
}

// The names, then the numbers: a user may type either.
static void DescribeChoices(const FilterParameter *parameter, char *text, size_t size)
{
    size_t named = 0;
    for (size_t i = 0; i < parameter->nChoices; i++) {
        named += parameter->pChoices[i].pName ? 1 : 0;
    }
    size_t written = 0;
    for (size_t i = 0; i < parameter->nChoices; i++) {
        char name[80];
        if (DescribeChoice(&parameter->pChoices[i], name, sizeof name)) {
            Append(text, size, "%s%s", Joint(written++, named, " or "), name);
        }
    }
    Append(text, size, ", or their numbers ");
    for (size_t i = 0; i < parameter->nChoices; i++) {
        const NamedValue *choice = &parameter->pChoices[i];
        Append(text, size, "%s%d", Joint(i, parameter->nChoices, " and "), choice->nValue);
        if (choice->nCount > 1) {
            Append(text, size, " to %d", choice->nValue + choice->nCount - 1);
        }
    }
}

void DescribeAccepted(const FilterParameter *parameter, char *text, size_t size)
{
    *text = 0;
    switch (parameter->nType) {
    case PARAMETER_INTEGER:
        Append(text, size, "a whole number from %.0f to %.0f", parameter->dLeast,
               parameter->dGreatest);
        break;
    case PARAMETER_REAL:
        Append(text, size, "a number from %g to %g", parameter->dLeast, parameter->dGreatest);
        break;
    case PARAMETER_FLAG:
        Append(text, size, "yes or no");
        break;
    case PARAMETER_CHOICE:
        DescribeChoices(parameter, text, size);
        break;
    case PARAMETER_MASK:
        Append(text, size, "rows of whole numbers from %.0f to %.0f%s, as in %s, ",
               parameter->dLeast, parameter->dGreatest, parameter->bMayBeZero ? "" : ", not all 0",
               parameter->pDefaultMask);
        for (const NamedMask *p = parameter->pMasks; p && p->pName; p++) {
            Append(text, size, "%s, ", p->pName);
        }
        Append(text, size, "or a file that holds them");
        break;
    case PARAMETER_RECT:
        Append(text, size, "four numbers as in 10,20,50,40, or all");
        break;
    }
}

void DescribeValue(const FilterParameter *parameter, const ParameterValue *value, char *text,
                   size_t size)
{
    if (parameter->nType == PARAMETER_REAL) {
        snprintf(text, size, "%g", value->dValue);
        return;
    }
    if (parameter->nType == PARAMETER_FLAG) {
        snprintf(text, size, "%s", value->nValue ? "yes" : "no");
        return;
    }
    if (parameter->nType == PARAMETER_MASK) {
        DescribeMask(&value->mask, text, size);
        return;
    }
    if (parameter->nType == PARAMETER_RECT) {
        const RECT *rect = &value->rect;
        if (memcmp(rect, &WHOLE_PICTURE, sizeof *rect) == 0) {
            snprintf(text, size, "all");
        } else {
            snprintf(text, size, "%d,%d,%d,%d", int(rect->left), int(rect->top), int(rect->right),
                     int(rect->bottom));
        }
        return;
    }
    snprintf(text, size, "%d", value->nValue);
    for (size_t i = 0; i < parameter->nChoices; i++) {
        const NamedValue *choice = &parameter->pChoices[i];
        int step = value->nValue - choice->nValue;
        if (!choice->pName || step < 0 || step >= choice->nCount) {
            continue;
        }
        if (choice->nCount == 1) {
            snprintf(text, size, "%s", choice->pName);
        } else {
            snprintf(text, size, "%s-%d", choice->pName, step);
        }
        return;
    }
}

// ---- values ----------------------------------------------------------------------------------

void DefaultParameterValue(const FilterParameter *parameter, ParameterValue *value)
{
    value->dValue = parameter->dDefault;
    value->nValue = int(parameter->dDefault);
    value->rect = WHOLE_PICTURE;
    if (parameter->nType == PARAMETER_MASK) {
        ParseMask(parameter, parameter->pDefaultMask, &value->mask);
    }
}

static bool ParseInteger(const char *text, int *number)
{
    char *end = nullptr;
    errno = 0;
    long long parsed = strtoll(text, &end, 10);
    bool bBlank = *text == 0 || *text == ' ' || (*text >= '\t' && *text <= '\r');
    if (bBlank || *end != 0 || errno != 0 || parsed != int(parsed)) {
        return false;
    }
    *number = int(parsed);
    return true;
}

// Plain decimal notation only: strtod would also read "nan", "inf" and "0x10".
static bool ParseReal(const char *text, double *number)
{
    char *end = nullptr;
    if (*text == 0 || text[strspn(text, "+-.0123456789eE")] != 0) {
        return false;
    }
    *number = strtod(text, &end);
    return end != text && *end == 0 && isfinite(*number);
}

static bool ParseFlag(const char *text, int *number)
{
    static const char *const WORDS[][2] = {
        {"no", "yes"}, {"0", "1"}, {"off", "on"}, {"false", "true"}};
    for (const char *const *pair : WORDS) {
        for (int i = 0; i < 2; i++) {
            if (strcasecmp(text, pair[i]) == 0) {
                *number = i;
                return true;
            }
        }
    }
    return false;
}

// The value that a row gives to a text, by name or by number.
static bool ParseChoice(const NamedValue *choice, const char *text, int *number)
{
    int step = 0;
    if (ParseInteger(text, number)) {
        return *number >= choice->nValue && *number - choice->nValue < choice->nCount;
    }
    size_t length = choice->pName ? strlen(choice->pName) : 0;
    if (length == 0 || strncasecmp(text, choice->pName, length) != 0) {
        return false;
    }
    const char *rest = text + length;
    if (*rest == '-' && choice->nCount > 1 && ParseInteger(rest + 1, &step) && step >= 0) {
        rest = "";
    }
    *number = choice->nValue + step;
    return *rest == 0 && step < choice->nCount;
}

static bool ParseRect(const char *text, RECT *rect)
{
    LONG *const sides[] = {&rect->left, &rect->top, &rect->right, &rect->bottom};
    *rect = WHOLE_PICTURE;
    if (strcasecmp(text, "all") == 0) {
        return true;
    }
    for (size_t i = 0; i < std::size(sides); i++) {
        char number[20] = "";
        const size_t length = strcspn(text, ",");
        int side = 0;
        if (length >= sizeof number || (text[length] == ',') != (i < 3)) {
            return false;
        }
        memcpy(number, text, length);
        if (!ParseInteger(number, &side) || side < 0) {
            return false;
        }
        *sides[i] = side;
        text += length + 1;
    }
    return rect->left < rect->right && rect->top < rect->bottom;
}

bool ParseParameterValue(const FilterParameter *parameter, const char *text, ParameterValue *value)
{
    switch (parameter->nType) {
    case PARAMETER_INTEGER:
        return ParseInteger(text, &value->nValue) && value->nValue >= parameter->dLeast &&
               value->nValue <= parameter->dGreatest;
    case PARAMETER_REAL:
        return ParseReal(text, &value->dValue) && value->dValue >= parameter->dLeast &&
               value->dValue <= parameter->dGreatest;
    case PARAMETER_FLAG:
        return ParseFlag(text, &value->nValue);
    case PARAMETER_MASK:
        value->nValue = 0;
        return ParseMask(parameter, text, &value->mask);
    case PARAMETER_RECT:
        value->nValue = 0;
        return ParseRect(text, &value->rect);
    case PARAMETER_CHOICE:
        for (size_t i = 0; i < parameter->nChoices; i++) {
            if (ParseChoice(&parameter->pChoices[i], text, &value->nValue)) {
                return true;
            }
        }
        return false;
    }
    return false;
}
