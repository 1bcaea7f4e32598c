// The pictures that the tests hand in: packed DIBs made from a short description, and the
// comparison of two blocks that says in words where they first differ.
#ifndef TESTS_PICTURE_H
#define TESTS_PICTURE_H

#include <windows.h>

#include <string>
#include <vector>

typedef std::vector<BYTE> Bytes;

// Colour tables. At 1 bit only the first entry counts: dark for RAMP, light for REVERSED.
enum Palette {
    RAMP,      // entry i is gray i
    REVERSED,  // entry i is gray 255 - i
    SHUFFLED,  // all gray levels in random order
    EVEN,      // gray, only the even levels
    FEW,       // gray, eight levels, each many times
    COLOURED,  // random colours
    ONE_RED    // all black but entry 7
};

struct TestPicture {
    int width, height, bits;
    Palette palette;
    DWORD nColors;  // biClrUsed as stored
    unsigned nSeed;
    int nSpare;  // bytes behind the last row
};

// Pixels, paddings, spare bytes and the fields that filters only copy are random. A third of the
// pictures keeps near 0, a third near 255; all have flat areas.
Bytes MakeDib(const TestPicture &picture);

// With resolutions that are not negative, as a canvas needs them.
Bytes WithResolutions(Bytes dib);

// One picture of each kind that the filters tell apart, for a size and a seed.
std::vector<TestPicture> EveryKind(int width, int height, unsigned nSeed);

// A plain 8-bit gray or 24-bit picture with the given samples, top row first; at 24 bits the number
// goes to all channels.
Bytes MakeLevels(int width, int height, int bits, const std::vector<int> &levels);

std::string Describe(const TestPicture &picture);

// "" if equal, else the first difference: which part of the block, x and y, channel, want, got.
std::string FirstDifference(const Bytes &want, const Bytes &got);

// The header is in order, and the block holds all that it announces.
bool HoldsItsImage(const Bytes &dib);

BITMAPINFOHEADER HeaderOf(const Bytes &dib);
void SetHeader(Bytes *pDib, const BITMAPINFOHEADER &header);

// Bytes to a new block and back.
HGLOBAL MakeBlock(const Bytes &bytes, UINT flags = GMEM_MOVEABLE);
Bytes ReadBlock(HGLOBAL hBlock);

// What every random picture of this run starts from; VEXA_TEST_SEED in the environment sets it.
unsigned BaseSeed(void);

#endif
