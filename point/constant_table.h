// Arithmetic with a constant is a table: what becomes of each byte.
#ifndef POINT_CONSTANT_TABLE_H
#define POINT_CONSTANT_TABLE_H

#include <windows.h>

enum { CONSTANT_OPERATIONS = 13 };  // ARITH_ADD to ARITH_LOG

// nOperation below CONSTANT_OPERATIONS; bitCount 1, 4, 8 or 24.
void FillConstantTable(int nOperation, int nConstant, int bitCount, BYTE table[256]);

#endif
