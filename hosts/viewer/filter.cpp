// See viewer.h: running a filter, as any host would.
#include "viewer.h"

#include "hosts/catalogue/depth.h"

// The picture as the filter wants it: ours, or a new one that the caller frees.
static HGLOBAL PictureFor(const CatalogueFilter *filter, HGLOBAL hDib)
{
    const int depth = DepthForFilter(filter, hDib);
    return depth == 0 ? hDib : ConvertDib(hDib, depth);
}

static std::wstring DepthsOf(const CatalogueFilter *filter)
{
    char accepted[80];
    DescribeDepths(filter->nDepths, accepted, sizeof accepted);
    return Wide(accepted);
}

static HGLOBAL AskForSecond(const CatalogueFilter *filter, HGLOBAL hFirst)
{
    ImageMessages messages;
    std::wstring path;
    if (!AskForPath(false, &path)) {
        return nullptr;
    }
    HGLOBAL hSecond = ReadImageFile(Narrow(path).c_str(), nullptr, &messages);
    if (!hSecond) {
        SayWrong(path + L": " + Wide(messages.szError) + L".");
        return nullptr;
    }
    if (filter->limits.bSameDepth && BitsOfDib(hSecond) != BitsOfDib(hFirst)) {
        const HGLOBAL hConverted = ConvertDib(hSecond, BitsOfDib(hFirst));
        GlobalFree(hSecond);
        hSecond = hConverted;
    }
    return hSecond;
}

static double Milliseconds()
{
    LARGE_INTEGER count, frequency;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&frequency);
    return double(count.QuadPart) * 1000 / double(frequency.QuadPart);
}

// The first time that is when the parameter dialog closes: from then on the filter works.
void NoteEnabled()
{
    if (g_viewer.bBusy && !g_viewer.bAsked) {
        g_viewer.bAsked = true;
        g_viewer.dStarted = Milliseconds();
    }
}

// Mode 3: the filter asks for its parameters first, then shows its progress. While it works it lets
// messages through, so the window stays alive; commands are refused until it is done.
static HGLOBAL RunWithDialogs(const CatalogueFilter *filter, const HGLOBAL *images)
{
    ParameterValue values[FILTER_PARAMETERS_MOST];
    for (size_t i = 0; i < filter->nParameters; i++) {
        DefaultParameterValue(&filter->pParameters[i], &values[i]);
    }
    const CatalogueCall call = {images, values, MODE_PROGRESS | MODE_DIALOG, g_viewer.hWindow};
    g_viewer.bBusy = true;
    g_viewer.bAsked = false;
    g_viewer.dStarted = Milliseconds();
    const HGLOBAL hResult = filter->Run(&call);
    g_viewer.bBusy = false;
    return hResult;
}

void ApplyFilter(const CatalogueFilter *filter)
{
    const HGLOBAL hShown = ShownPicture();
    if (!hShown) {
        return;
    }
    HGLOBAL images[FILTER_IMAGES_MOST] = {PictureFor(filter, hShown), nullptr};
    const std::wstring name = Wide(filter->pName);
    if (images[0] && !(filter->nDepths & DepthBit(BitsOfDib(images[0])))) {
        SayWrong(name + L" takes " + DepthsOf(filter) + L" pictures, and this one has " +
                 std::to_wstring(BitsOfDib(images[0])) + L" bits a pixel.");
    } else if (images[0] &&
               (filter->nImages == 1 || (images[1] = AskForSecond(filter, images[0])) != nullptr)) {
        const HGLOBAL hResult = RunWithDialogs(filter, images);
        const int milliseconds = int(Milliseconds() - g_viewer.dStarted);
        if (hResult) {
            AddStep(hResult);
            g_viewer.document.extras.alpha.clear();
            g_viewer.did = name + L": " + std::to_wstring(milliseconds) + L" ms";
        } else {
            g_viewer.did = name + L" gave no result: cancelled, out of memory, or pictures that do "
                                  L"not go together";
        }
    }
    if (images[0] && images[0] != hShown) {
        GlobalFree(images[0]);
    }
    if (images[1]) {
        GlobalFree(images[1]);
    }
    UpdateViewer();
}
