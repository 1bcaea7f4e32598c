// See viewer.h: the picture, its steps, its file and the clipboard.
#include "viewer.h"

#include <commdlg.h>
#include <string.h>

static const wchar_t PICTURES[] = L"Pictures (*.bmp;*.png;*.jpg)\0*.bmp;*.dib;*.png;*.jpg;*.jpeg\0"
                                  L"All files\0*.*\0";
static const wchar_t SAVED[] = L"PNG\0*.png\0BMP\0*.bmp\0JPEG\0*.jpg\0";

// Old steps go when all together take more than this: a 32-bit program has 2 GB.
static const SIZE_T STEP_BYTES_MOST = SIZE_T(512) << 20;

static void FreeSteps(size_t first)
{
    std::vector<HGLOBAL> *steps = &g_viewer.document.steps;
    while (steps->size() > first) {
        GlobalFree(steps->back());
        steps->pop_back();
    }
}

static void ForgetOldSteps()
{
    std::vector<HGLOBAL> *steps = &g_viewer.document.steps;
    SIZE_T bytes = 0;
    for (const HGLOBAL hDib : *steps) {
        bytes += GlobalSize(hDib);
    }
    while (bytes > STEP_BYTES_MOST && steps->size() > 2) {
        bytes -= GlobalSize(steps->front());
        GlobalFree(steps->front());
        steps->erase(steps->begin());
    }
}

void AddStep(HGLOBAL hDib)
{
    Document *document = &g_viewer.document;
    FreeSteps(document->steps.empty() ? 0 : document->nStep + 1);
    document->steps.push_back(hDib);
    ForgetOldSteps();
    document->nStep = document->steps.size() - 1;
}

bool CanMoveStep(int by)
{
    const Document *document = &g_viewer.document;
    return !document->steps.empty() &&
           (by < 0 ? document->nStep > 0 : document->nStep + 1 < document->steps.size());
}

void MoveStep(int by)
{
    if (CanMoveStep(by)) {
        g_viewer.document.nStep += size_t(by);
        g_viewer.did = by < 0 ? L"undone" : L"done again";
        UpdateViewer();
    }
}

// A new picture: what was before is gone.
static void Replace(HGLOBAL hDib, const std::wstring &name, const ImageExtras &extras)
{
    FreeSteps(0);
    g_viewer.document.name = name;
    g_viewer.document.extras = extras;
    g_viewer.scroll = {0, 0};
    AddStep(hDib);
}

// ---- files -------------------------------------------------------------------------------------

bool OpenPath(const std::wstring &path)
{
    ImageMessages messages;
    ImageExtras extras = {};
    const HGLOBAL hDib = ReadImageFile(Narrow(path).c_str(), nullptr, &messages, &extras);
    const size_t slash = path.find_last_of(L"\\/");
    const std::wstring name = slash == path.npos ? path : path.substr(slash + 1);
    if (!hDib) {
        SayWrong(name + L": " + Wide(messages.szError) + L".");
        return false;
    }
    Replace(hDib, name, extras);
    g_viewer.did = *messages.szNotice ? Wide(messages.szNotice) : L"opened";
    UpdateViewer();
    return true;
}

bool AskForPath(bool bSave, std::wstring *path)
{
    wchar_t name[32768] = L"";
    OPENFILENAMEW ask = {};
    ask.lStructSize = sizeof ask;
    ask.hwndOwner = g_viewer.hWindow;
    ask.lpstrFilter = bSave ? SAVED : PICTURES;
    ask.lpstrFile = name;
    ask.nMaxFile = DWORD(sizeof name / sizeof *name);
    ask.lpstrDefExt = L"png";
    ask.Flags = OFN_EXPLORER | OFN_NOCHANGEDIR | OFN_HIDEREADONLY |
                (bSave ? OFN_OVERWRITEPROMPT | OFN_PATHMUSTEXIST : OFN_FILEMUSTEXIST);
    const BOOL bChosen = bSave ? GetSaveFileNameW(&ask) : GetOpenFileNameW(&ask);
    *path = name;
    return bChosen != FALSE;
}

void SaveAs()
{
    ImageMessages messages;
    std::wstring path;
    const HGLOBAL hDib = ShownPicture();
    if (!hDib || !AskForPath(true, &path)) {
        return;
    }
    const std::string narrow = Narrow(path);
    const ImageFormat format = ImageFormatOfName(narrow.c_str());
    if (format == IMAGE_UNKNOWN) {
        SayWrong(L"The name must end in .png, .bmp or .jpg.");
    } else if (!WriteImageFile(hDib, narrow.c_str(), format, JPEG_QUALITY_KEPT, false, &messages,
                               &g_viewer.document.extras)) {
        SayWrong(path + L": " + Wide(messages.szError) + L".");
    } else {
        g_viewer.did = *messages.szNotice ? Wide(messages.szNotice) : L"saved";
        UpdateViewer();
    }
}

// ---- clipboard ---------------------------------------------------------------------------------

static HGLOBAL CopyBlock(HGLOBAL hBlock)
{
    const SIZE_T size = GlobalSize(hBlock);
    const HGLOBAL hCopy = GlobalAlloc(GMEM_MOVEABLE, size);
    void *to = hCopy ? GlobalLock(hCopy) : nullptr;
    const void *from = GlobalLock(hBlock);
    if (to && from) {
        memcpy(to, from, size);
    }
    GlobalUnlock(hBlock);
    if (to) {
        GlobalUnlock(hCopy);
    }
    return hCopy;
}

void CopyPicture()
{
    const HGLOBAL hDib = ShownPicture();
    if (!hDib || !OpenClipboard(g_viewer.hWindow)) {
        return;
    }
    EmptyClipboard();
    const HGLOBAL hCopy = CopyBlock(hDib);
    if (hCopy && !SetClipboardData(CF_DIB, hCopy)) {  // it is the clipboard's now
        GlobalFree(hCopy);
    }
    CloseClipboard();
    g_viewer.did = L"copied";
    UpdateViewer();
}

// Other programs' DIBs are of many kinds. With a file's header in front they are BMP files, which
// the reader turns into what the filters take.
static HGLOBAL ReadClipboardDib(HGLOBAL hClipboard, ImageMessages *messages)
{
    const SIZE_T size = GlobalSize(hClipboard);
    const void *block = size >= sizeof(BITMAPINFOHEADER) ? GlobalLock(hClipboard) : nullptr;
    BITMAPFILEHEADER head = {};
    if (!block) {
        return nullptr;
    }
    const BITMAPINFOHEADER *header = static_cast<const BITMAPINFOHEADER *>(block);
    const DWORD full = header->biBitCount <= 8 ? 1u << header->biBitCount : 0;
    const DWORD colours = header->biClrUsed && header->biClrUsed <= 256 ? header->biClrUsed : full;
    const DWORD masks =
        header->biCompression == BI_BITFIELDS && header->biSize == sizeof *header ? 12 : 0;
    head.bfType = 0x4D42;
    head.bfOffBits = DWORD(sizeof head) + header->biSize + masks + colours * 4;
    head.bfSize = DWORD(sizeof head + size);
    std::vector<BYTE> file(sizeof head + size);
    memcpy(file.data(), &head, sizeof head);
    memcpy(file.data() + sizeof head, block, size);
    GlobalUnlock(hClipboard);
    return DecodeImage(file.data(), file.size(), messages);
}

void PastePicture()
{
    ImageMessages messages = {};
    if (!OpenClipboard(g_viewer.hWindow)) {
        return;
    }
    const HGLOBAL hClipboard = GetClipboardData(CF_DIB);
    const HGLOBAL hDib = hClipboard ? ReadClipboardDib(hClipboard, &messages) : nullptr;
    CloseClipboard();
    if (!hDib) {
        SayWrong(hClipboard ? L"The picture on the clipboard cannot be used."
                            : L"There is no picture on the clipboard.");
        return;
    }
    Replace(hDib, L"clipboard", {});
    g_viewer.did = L"pasted";
    UpdateViewer();
}
