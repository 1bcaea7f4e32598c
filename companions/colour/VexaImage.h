/*
 * VexaImage - conversion between red, green, blue and hue, saturation, intensity: the colour
 * library that VexaFilter loads to find red eyes.
 *
 * A record is three bytes: red, green, blue, or hue, saturation, intensity. A hue of 0 and 255 is
 * red, 85 green, 170 blue; a saturation of 255 a pure colour, 0 gray; intensity is the mean of the
 * components. Both functions write into the buffer of their first argument, which may be the record
 * of the second, and return it. Colours with components past 255 are cut.
 *
 * To bytes and back a colour comes within a few levels, the nearer the more saturated and bright; a
 * gray comes back as it was.
 */
#ifndef VEXAIMAGE_H
#define VEXAIMAGE_H

#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#define VEXAIMAGE_API __stdcall

BYTE *VEXAIMAGE_API RGBtoHSI(BYTE *pHsi, const BYTE *pRgb);
BYTE *VEXAIMAGE_API HSItoRGB(BYTE *pRgb, const BYTE *pHsi);

#ifdef __cplusplus
}
#endif

#endif
