// Which depth a picture must have so that a filter works on what people see.
#ifndef CATALOGUE_DEPTH_H
#define CATALOGUE_DEPTH_H

#include "catalogue.h"

int BitsOfDib(HGLOBAL hDib);

// The depth to convert it to before; 0: it stays as it is. 24 bits are never reduced.
int DepthForFilter(const CatalogueFilter *filter, HGLOBAL hDib);

#endif
