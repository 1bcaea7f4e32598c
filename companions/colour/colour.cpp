// See VexaImage.h. Gonzalez and Woods, Digital Image Processing, section "Color models": hue is an
// angle from red over green to blue, saturation the distance from gray, intensity the mean. Angles
// are scaled so that 255 is a full turn; hues next to it are red, like those next to 0.

#include "VexaImage.h"

#include <math.h>

static const double PI = 3.14159265358979323846;
static const double THIRD = 2 * 3.14159265358979323846 / 3;
static const double TURN_BYTES = 255;

static BYTE RoundToByte(double value)
{
    return (BYTE)(value < 0 ? 0 : value > 255 ? 255 : (int)(value + 0.5));
}

// The arctangent of Cartesian chromaticities: the arccosine of the book without its loss of digits
// near 0 and half a turn.
static double HueOf(int red, int green, int blue)
{
    const double x = 2 * red - green - blue;
    const double y = sqrt(3.0) * (green - blue);
    const double angle = atan2(y, x);
    return angle < 0 ? angle + 2 * PI : angle;
}

BYTE *VEXAIMAGE_API RGBtoHSI(BYTE *pHsi, const BYTE *pRgb)
{
    const int red = pRgb[0], green = pRgb[1], blue = pRgb[2];
    const int sum = red + green + blue;
    const int lesser = red < green ? red : green;
    const int least = lesser < blue ? lesser : blue;
    const int bGray = red == green && green == blue;
    // A gray has no hue; black has no saturation.
    pHsi[0] = bGray ? 0 : RoundToByte(HueOf(red, green, blue) / (2 * PI) * TURN_BYTES);
    pHsi[1] = bGray ? 0 : RoundToByte(255 - 255.0 * 3 * least / sum);
    pHsi[2] = (BYTE)((2 * sum + 3) / 6);
    return pHsi;
}

BYTE *VEXAIMAGE_API HSItoRGB(BYTE *pRgb, const BYTE *pHsi)
{
    const double saturation = pHsi[1] / 255.0;
    const double intensity = pHsi[2];
    const double angle = pHsi[0] / TURN_BYTES * 2 * PI;
    // Within a third of a turn one component is least, one leads, and one makes up the sum.
    const int sector = angle < THIRD ? 0 : angle < 2 * THIRD ? 1 : 2;
    const double rest = angle - sector * THIRD;
    const double least = intensity * (1 - saturation);
    const double first = intensity * (1 + saturation * cos(rest) / cos(PI / 3 - rest));
    pRgb[sector] = RoundToByte(first);
    pRgb[(sector + 1) % 3] = RoundToByte(3 * intensity - first - least);
    pRgb[(sector + 2) % 3] = RoundToByte(least);
    return pRgb;
}
