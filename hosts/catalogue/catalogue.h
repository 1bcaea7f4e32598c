// What a host knows of the filters: one row each, by family. The command line's help and parsing,
// parameter dialogs, menus, declarations for other languages and reference tables are made from it.
//
// To add a filter, add a row to its family's table; to add a family, add its table to
// catalogue.cpp.
#ifndef CATALOGUE_H
#define CATALOGUE_H

#include <VexaFilter.h>

#include <stddef.h>

#include <vector>

enum ParameterType {
    PARAMETER_INTEGER,  // a whole number, dLeast to dGreatest
    PARAMETER_REAL,     // a number, dLeast to dGreatest
    PARAMETER_FLAG,     // yes (1) or no (0)
    PARAMETER_CHOICE,   // one of pChoices
    PARAMETER_MASK,     // a mask of whole numbers, dLeast to dGreatest
    PARAMETER_RECT,     // a rectangle inside the picture
};

// nCount consecutive values from nValue on. One value goes by its name; of several, the first goes
// by the name and each by the name with its number: "sobel" and "sobel-0" are 50, "sobel-2" is 52.
// A row without a name is a second number for what another row says.
struct NamedValue {
    const char *pName;
    int nValue;
    int nCount;
    const char *pMeaning;
};

// A mask by name, as a user would write it. A table of them ends with a row without a name.
struct NamedMask {
    const char *pName;
    const char *pMask;
};

struct FilterParameter {
    const char *pName;  // as in "--kernel"
    ParameterType nType;
    double dLeast, dGreatest;  // of numbers
    double dDefault;
    const char *pMeaning;  // may be several sentences
    const NamedValue *pChoices;
    size_t nChoices;
    const char *pDefaultMask = nullptr;  // as a user would write it
    const NamedMask *pMasks = nullptr;
    bool bMayBeZero = false;  // a mask of zeros says something
};

// Rows of whole numbers, and which of them lies over the pixel; it may lie outside the mask.
struct MaskValue {
    std::vector<BYTE> elements;  // column by column, each from top to bottom
    int rows, columns;
    int originRow, originColumn;
};

// dValue for a real parameter, mask for a mask, rect for a rectangle (both corners belong to it),
// nValue for all others.
struct ParameterValue {
    int nValue;
    double dValue;
    MaskValue mask;
    RECT rect;
};

static const size_t FILTER_PARAMETERS_MOST = 8;
static const int FILTER_IMAGES_MOST = 2;

// Bits of nDepths.
static const unsigned DEPTH_1 = 1, DEPTH_4 = 2, DEPTH_8 = 4, DEPTH_24 = 8;

// pImages and pValues are in the order of the row. The result is what the export returns.
struct CatalogueCall {
    const HGLOBAL *pImages;
    const ParameterValue *pValues;
    UINT mode;
    HWND hParent;
};

// What an export asks of the pictures' sizes. 0: nothing.
struct PictureLimits {
    int nMostWidth, nMostHeight;
    int nMostRowBytes;            // as stored
    bool bSameDepth, bSameSides;  // of two pictures
};

struct CatalogueFilter {
    const char *pName;         // what a user calls it: "gauss"
    const char *pExport;       // "FilterGauss"
    const char *pArguments;    // the export's arguments, as in C
    const char *pDialogEntry;  // of the parameter dialog; null when it has none
    const char *pSummary;      // one line: "blurs with ..."
    const char *pDetails;      // what else a user should know, in whole sentences
    int nImages;
    unsigned nDepths;  // what the export accepts
    const FilterParameter *pParameters;
    size_t nParameters;
    HGLOBAL (*Run)(const CatalogueCall *call);
    // Values that are in range each by itself may not go together: false after it has written why.
    bool (*Accepts)(const ParameterValue *values, char *why, size_t size) = nullptr;
    PictureLimits limits = {0, 0, 0, false, false};
    bool bStoredValues = false;  // works on the values as they are stored, whatever their colours
    const char *pAliases = nullptr;  // words that people try, with blanks between
    bool bMovesPixels = false;       // what lay over a pixel does not lie over the result's
};

// The rows are counted in 16 bits, and the bytes of a row.
static const PictureLimits SIXTEEN_BIT_LIMITS = {0, 65535, 65535, false, false};

struct CatalogueFamily {
    const char *pName;   // "convolution"
    const char *pTitle;  // a heading
    const CatalogueFilter *pFilters;
    size_t nFilters;
};

const CatalogueFamily *const *CatalogueFamilies(size_t *count);

// By plain name or by the export's name, small and capital letters alike; or null.
const CatalogueFilter *FindCatalogueFilter(const char *name);

// By name; or null.
const FilterParameter *FindFilterParameter(const CatalogueFilter *filter, const char *name);

unsigned DepthBit(int bitCount);

// "1-, 8- and 24-bit".
void DescribeDepths(unsigned depths, char *text, size_t size);

// What the parameter accepts: "a whole number from 1 to 99", "one of four, eight, ...".
void DescribeAccepted(const FilterParameter *parameter, char *text, size_t size);

// The names of a choice's row: "four", or "sobel-0 to sobel-7". False when the row has none.
bool DescribeChoice(const NamedValue *choice, char *text, size_t size);

// A value as a user would write it: a choice by its name.
void DescribeValue(const FilterParameter *parameter, const ParameterValue *value, char *text,
                   size_t size);

void DefaultParameterValue(const FilterParameter *parameter, ParameterValue *value);

// The whole text must be a value that the parameter accepts.
bool ParseParameterValue(const FilterParameter *parameter, const char *text, ParameterValue *value);

// Reads a mask: rows from the top, separated by semicolons or line ends, their numbers by commas or
// blanks; behind them perhaps "@row,column" of the number over the pixel, counted from 0 (else the
// middle one is), comments from # on. Or a name that the parameter knows. False unless all rows are
// equally long, the numbers in range and, unless they may be, not all 0.
bool ParseMask(const FilterParameter *parameter, const char *text, MaskValue *mask);

// The text of the mask that the parameter knows by that name; or null.
const char *FindNamedMask(const FilterParameter *parameter, const char *name);

// True if a text can only be meant as a mask, not as the name of a file that holds one.
bool LooksLikeMask(const char *text);

void DescribeMask(const MaskValue *mask, char *text, size_t size);

// The mask as the exports take it. It points into the value and into columns. bCrossed: for the
// weighted filters, which read the origin's fields the other way round.
FilterMask MakeFilterMask(const MaskValue *value, bool bCrossed, std::vector<BYTE *> *columns);

// The table's families. Private to this folder.
extern const CatalogueFamily CONVOLUTION_FAMILY;
extern const CatalogueFamily POINT_FAMILY;
extern const CatalogueFamily TONAL_FAMILY;
extern const CatalogueFamily HISTOGRAM_FAMILY;
extern const CatalogueFamily MEAN_FAMILY;
extern const CatalogueFamily RANK_FAMILY;
extern const CatalogueFamily MORPHOLOGY_FAMILY;
extern const CatalogueFamily FREQUENCY_FAMILY;
extern const CatalogueFamily CONVERSION_FAMILY;
extern const CatalogueFamily EFFECTS_FAMILY;
extern const CatalogueFamily REDEYE_FAMILY;

#endif
