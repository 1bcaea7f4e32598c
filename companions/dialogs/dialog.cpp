// See dialog.h.
//
// Fields are laid out in pixels once the dialog has its font: every column is as wide as its widest
// text in the user's own message font, whatever its size and the screen's.
#include "dialog.h"

#include "fields.h"
#include "grid.h"
#include "preview.h"

#include <commctrl.h>
#include <string.h>

static const UINT_PTR PREVIEW_TIMER = 1;
static const UINT PREVIEW_DELAY = 120;  // milliseconds after the last change

struct ParameterDialog {
    const DialogBinding *pBinding;
    const CatalogueFilter *pFilter;
    const UINT_PTR *pArguments;
    ParameterValue callers[FILTER_PARAMETERS_MOST];
    ParameterValue values[FILTER_PARAMETERS_MOST];
    Field fields[MOST_SLOTS];
    Preview preview;
    HFONT hFont;
    bool bFilling;
};

// ---- what was chosen last ----------------------------------------------------------------------

// For a caller that passes the same values as before: then the user's last ones are there again.
struct Remembered {
    bool bKnown;
    ParameterValue callers[MOST_SLOTS], values[MOST_SLOTS];
};
static const size_t MOST_BINDINGS = 100;
static Remembered g_remembered[MOST_BINDINGS];
static volatile LONG g_bRemembering;  // a lock; held for a copy only

static void LockRemembered()
{
    while (InterlockedExchange(&g_bRemembering, 1)) {
        Sleep(0);
    }
}

static void UnlockRemembered()
{
    InterlockedExchange(&g_bRemembering, 0);
}

static bool IsSameMask(const MaskValue *a, const MaskValue *b)
{
    return a->elements == b->elements && a->rows == b->rows && a->columns == b->columns &&
           a->originRow == b->originRow && a->originColumn == b->originColumn;
}

static bool IsSameValue(const FilterParameter *parameter, const ParameterValue *a,
                        const ParameterValue *b)
{
    switch (parameter->nType) {
    case PARAMETER_REAL:
        return !(a->dValue < b->dValue || a->dValue > b->dValue);
    case PARAMETER_MASK:
        return IsSameMask(&a->mask, &b->mask);
    case PARAMETER_RECT:
        return memcmp(&a->rect, &b->rect, sizeof a->rect) == 0;
    default:
        return a->nValue == b->nValue;
    }
}

static void Recall(ParameterDialog *dialog)
{
    LockRemembered();
    const Remembered *row = &g_remembered[dialog->pBinding - BINDINGS];
    bool bSame = row->bKnown;
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        bSame = bSame && IsSameValue(&dialog->pFilter->pParameters[i], &row->callers[i],
                                     &dialog->callers[i]);
    }
    for (int i = 0; bSame && i < dialog->pBinding->nSlots; i++) {
        dialog->values[i] = row->values[i];
    }
    UnlockRemembered();
}

static void Remember(const ParameterDialog *dialog)
{
    LockRemembered();
    Remembered *row = &g_remembered[dialog->pBinding - BINDINGS];
    row->bKnown = true;
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        row->callers[i] = dialog->callers[i];
        row->values[i] = dialog->values[i];
    }
    UnlockRemembered();
}

// ---- layout ------------------------------------------------------------------------------------

// The user's metrics, on newer systems those for the screen that the window is on.
static void ReadMetrics(HWND hWnd, NONCLIENTMETRICSW *metrics)
{
    typedef UINT(WINAPI * DpiOfWindow)(HWND);
    typedef BOOL(WINAPI * ParametersForDpi)(UINT, UINT, void *, UINT, UINT);
    typedef void (*AnyEntry)();
    const HMODULE hUser = GetModuleHandleW(L"user32.dll");
    const DpiOfWindow Dpi = DpiOfWindow(AnyEntry(GetProcAddress(hUser, "GetDpiForWindow")));
    const ParametersForDpi Parameters =
        ParametersForDpi(AnyEntry(GetProcAddress(hUser, "SystemParametersInfoForDpi")));
    metrics->cbSize = CCSIZEOF_STRUCT(NONCLIENTMETRICSW, lfMessageFont);
    if (!Dpi || !Parameters ||
        !Parameters(SPI_GETNONCLIENTMETRICS, metrics->cbSize, metrics, 0, Dpi(hWnd))) {
        SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, metrics->cbSize, metrics, 0);
    }
}

static HFONT MakeMessageFont(HWND hDialog, int *em)
{
    NONCLIENTMETRICSW metrics = {};
    ReadMetrics(hDialog, &metrics);
    const HFONT hFont = CreateFontIndirectW(&metrics.lfMessageFont);
    TEXTMETRICW text = {};
    const HDC hdc = GetDC(nullptr);
    const HGDIOBJ hOld = SelectObject(hdc, hFont);
    GetTextMetricsW(hdc, &text);
    SelectObject(hdc, hOld);
    ReleaseDC(nullptr, hdc);
    *em = text.tmHeight;
    return hFont;
}

static void AddButtons(const FieldLayout *layout, int right, int y, std::wstring *used)
{
    static const struct {
        int nId;
        const wchar_t *pText;
    } BUTTONS[] = {{IDOK, L"OK"}, {IDCANCEL, L"Cancel"}, {ID_RESET, L"Reset"}};
    int width = 0;
    for (const auto &button : BUTTONS) {
        const int text = TextWidth(layout, button.pText) + 3 * layout->nEm;
        width = text > width ? text : width;
    }
    int x = right - 3 * width - 2 * layout->nGap;
    for (const auto &button : BUTTONS) {
        const bool bReset = button.nId == ID_RESET;
        AddControl(layout, L"BUTTON", bReset ? AddMnemonic(button.pText, used) : button.pText,
                   WS_TABSTOP | (button.nId == IDOK ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON), button.nId,
                   {x, y, x + width, y + layout->nEm * 9 / 5});
        x += width + layout->nGap;
    }
}

// Over the owner, or in the middle of the screen, and never beyond it.
static void Place(HWND hDialog, int width, int height)
{
    RECT frame = {0, 0, width, height}, over, screen;
    AdjustWindowRectEx(&frame, DWORD(GetWindowLongPtrW(hDialog, GWL_STYLE)), FALSE,
                       DWORD(GetWindowLongPtrW(hDialog, GWL_EXSTYLE)));
    const int w = frame.right - frame.left, h = frame.bottom - frame.top;
    SystemParametersInfoW(SPI_GETWORKAREA, 0, &screen, 0);
    const HWND hOwner = GetWindow(hDialog, GW_OWNER);
    MONITORINFO monitor = {};
    monitor.cbSize = sizeof monitor;
    if (hOwner && GetMonitorInfoW(MonitorFromWindow(hOwner, MONITOR_DEFAULTTONEAREST), &monitor)) {
        screen = monitor.rcWork;
    }
    if (!hOwner || !GetWindowRect(hOwner, &over)) {
        over = screen;
    }
    int x = (over.left + over.right - w) / 2, y = (over.top + over.bottom - h) / 2;
    x = x + w > screen.right ? screen.right - w : x;
    y = y + h > screen.bottom ? screen.bottom - h : y;
    x = x < screen.left ? screen.left : x;
    y = y < screen.top ? screen.top : y;
    SetWindowPos(hDialog, nullptr, x, y, w, h, SWP_NOZORDER | SWP_NOACTIVATE);
}

static void LayOut(HWND hDialog, ParameterDialog *dialog)
{
    FieldLayout layout = {};
    std::wstring used;
    layout.hDialog = hDialog;
    dialog->hFont = layout.hFont = MakeMessageFont(hDialog, &layout.nEm);
    layout.nGap = layout.nEm / 2;
    const int margin = layout.nEm, side = 13 * layout.nEm;
    const int least = TextWidth(&layout, L"Columns");
    layout.nLabelWidth = least;
    layout.nFieldWidth = 20 * layout.nEm;
    AddMnemonic(L"Reset", &used);
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        const FilterParameter *parameter = &dialog->pFilter->pParameters[i];
        Field *field = &dialog->fields[i];
        PrepareField(parameter, FIELD_FIRST + i * FIELD_STEP, &dialog->values[i], field);
        field->label = AddMnemonic(PrettyName(parameter->pName), &used);
        const int width = TextWidth(&layout, field->label);
        layout.nLabelWidth = width > layout.nLabelWidth ? width : layout.nLabelWidth;
    }
    layout.nLabelWidth += 2 * layout.nGap;
    const int right = margin + layout.nLabelWidth + layout.nFieldWidth;
    const int edge = right + margin + side;
    const std::wstring summary = PrettyName(dialog->pFilter->pSummary) + L".";
    const LONG head = TextHeight(&layout, summary, right - margin);
    LONG hintHeight = layout.nEm;
    AddControl(&layout, L"STATIC", summary, SS_NOPREFIX, -1,
               {margin, margin, right, margin + head});
    layout.x = margin;
    layout.y = margin + head + 2 * layout.nGap;
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        AddField(&dialog->fields[i], &layout);
        const LONG height = TextHeight(&layout, HintOf(&dialog->fields[i]), edge - margin);
        hintHeight = height > hintHeight ? height : hintHeight;
    }
    const LONG lowest = layout.y > margin + side ? layout.y : margin + side;
    const LONG hint = lowest + layout.nGap, buttons = hint + hintHeight + 2 * layout.nGap;
    AddControl(&layout, L"STATIC", L"", SS_NOPREFIX, ID_HINT,
               {margin, hint, edge, hint + hintHeight});
    KeepUnmirrored(AddControl(&layout, L"STATIC", L"Preview", SS_OWNERDRAW, ID_PREVIEW,
                              {right + margin, margin, edge, margin + side}));
    used.clear();
    AddButtons(&layout, edge, buttons, &used);
    OpenPreview(dialog->pBinding, dialog->pArguments, side, &dialog->preview);
    Place(hDialog, edge + margin, buttons + layout.nEm * 9 / 5 + margin);
}

// ---- values ------------------------------------------------------------------------------------

static void FillFields(HWND hDialog, ParameterDialog *dialog)
{
    dialog->bFilling = true;
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        FillField(hDialog, &dialog->fields[i], &dialog->values[i]);
    }
    dialog->bFilling = false;
}

// The number of the field that holds no value, or -1.
static int ReadFields(HWND hDialog, ParameterDialog *dialog)
{
    for (int i = 0; i < dialog->pBinding->nSlots; i++) {
        ParameterValue value = dialog->values[i];
        if (!ReadField(hDialog, &dialog->fields[i], &value)) {
            return i;
        }
        dialog->values[i] = value;
    }
    return -1;
}

static void Warn(HWND hDialog, const std::wstring &sentence, int id)
{
    wchar_t title[100];
    GetWindowTextW(hDialog, title, 100);
    MessageBoxW(hDialog, sentence.c_str(), title, MB_OK | MB_ICONWARNING);
    const HWND hField = GetDlgItem(hDialog, id);
    SendMessageW(hDialog, WM_NEXTDLGCTL, WPARAM(hField), TRUE);
    SendMessageW(hField, EM_SETSEL, 0, -1);
}

static bool Accept(HWND hDialog, ParameterDialog *dialog)
{
    const CatalogueFilter *filter = dialog->pFilter;
    const int wrong = ReadFields(hDialog, dialog);
    char why[200] = "";
    if (wrong >= 0) {
        char accepted[1000];
        DescribeAccepted(&filter->pParameters[wrong], accepted, sizeof accepted);
        Warn(hDialog,
             PrettyName(filter->pParameters[wrong].pName) + L" takes " + Widen(accepted) + L".",
             dialog->fields[wrong].nId);
        return false;
    }
    if (filter->Accepts && !filter->Accepts(dialog->values, why, sizeof why)) {
        Warn(hDialog, Widen(why) + L".", FIELD_FIRST);
        return false;
    }
    WriteArguments(dialog->pBinding, dialog->pArguments, dialog->values);
    Remember(dialog);
    return true;
}

static void UpdatePreview(HWND hDialog, ParameterDialog *dialog)
{
    char why[200];
    const CatalogueFilter *filter = dialog->pFilter;
    if (ReadFields(hDialog, dialog) >= 0 ||
        (filter->Accepts && !filter->Accepts(dialog->values, why, sizeof why))) {
        return;
    }
    RunPreview(filter, dialog->values, &dialog->preview);
    InvalidateRect(GetDlgItem(hDialog, ID_PREVIEW), nullptr, FALSE);
}

// ---- messages ----------------------------------------------------------------------------------

static Field *FieldOf(ParameterDialog *dialog, int id)
{
    const int index = (id - FIELD_FIRST) / FIELD_STEP;
    return id >= FIELD_FIRST && index < dialog->pBinding->nSlots ? &dialog->fields[index] : nullptr;
}

static void SetPreviewTimer(HWND hDialog)
{
    SetTimer(hDialog, PREVIEW_TIMER, PREVIEW_DELAY, nullptr);
}

static BOOL OnInit(HWND hDialog, ParameterDialog *dialog)
{
    SetWindowLongPtrW(hDialog, DWLP_USER, LONG_PTR(dialog));
    SetWindowTextW(hDialog, PrettyName(dialog->pFilter->pName).c_str());
    LayOut(hDialog, dialog);
    FillFields(hDialog, dialog);
    UpdatePreview(hDialog, dialog);
    const HWND hFirst = GetDlgItem(hDialog, dialog->pBinding->nSlots > 0 ? FIELD_FIRST : IDOK);
    SendMessageW(hDialog, WM_NEXTDLGCTL, WPARAM(hFirst), TRUE);
    return FALSE;  // the focus is set
}

static void OnFieldCommand(HWND hDialog, ParameterDialog *dialog, int id, int code)
{
    Field *field = FieldOf(dialog, id);
    if (!field || dialog->bFilling) {
        return;
    }
    const bool bFocus =
        code == EN_SETFOCUS || code == CBN_SETFOCUS || code == BN_SETFOCUS ||
        (field->pParameter->nType == PARAMETER_MASK && id == field->nId && code == GRID_FOCUS);
    if (bFocus) {
        SetDlgItemTextW(hDialog, ID_HINT, HintOf(field).c_str());
    }
    dialog->bFilling = true;
    CommandField(hDialog, field, id, code);
    dialog->bFilling = false;
    SetPreviewTimer(hDialog);
}

static void OnCommand(HWND hDialog, ParameterDialog *dialog, int id, int code)
{
    switch (id) {
    case IDOK:
        if (Accept(hDialog, dialog)) {
            EndDialog(hDialog, 1);
        }
        break;
    case IDCANCEL:
        EndDialog(hDialog, 0);
        break;
    case ID_RESET:
        for (int i = 0; i < dialog->pBinding->nSlots; i++) {
            dialog->values[i] = dialog->callers[i];
        }
        FillFields(hDialog, dialog);
        UpdatePreview(hDialog, dialog);
        break;
    default:
        OnFieldCommand(hDialog, dialog, id, code);
    }
}

static void OnSpin(HWND hDialog, ParameterDialog *dialog, const NMUPDOWN *spin)
{
    Field *field = FieldOf(dialog, int(spin->hdr.idFrom));
    if (field && spin->hdr.code == UDN_DELTAPOS) {
        SpinField(hDialog, field, int(spin->hdr.idFrom), spin->iDelta);
    }
}

static INT_PTR CALLBACK DialogProc(HWND hDialog, UINT message, WPARAM wParam, LPARAM lParam)
{
    ParameterDialog *dialog =
        message == WM_INITDIALOG
            ? reinterpret_cast<ParameterDialog *>(lParam)
            : reinterpret_cast<ParameterDialog *>(GetWindowLongPtrW(hDialog, DWLP_USER));
    Field *field;
    if (!dialog) {
        return FALSE;
    }
    switch (message) {
    case WM_INITDIALOG:
        return OnInit(hDialog, dialog);
    case WM_COMMAND:
        OnCommand(hDialog, dialog, LOWORD(wParam), HIWORD(wParam));
        return TRUE;
    case WM_HSCROLL:
        field = FieldOf(dialog, lParam ? GetDlgCtrlID(reinterpret_cast<HWND>(lParam)) : 0);
        if (field) {
            SlideField(hDialog, field);
        }
        return TRUE;
    case WM_NOTIFY:
        OnSpin(hDialog, dialog, reinterpret_cast<const NMUPDOWN *>(lParam));
        SetWindowLongPtrW(hDialog, DWLP_MSGRESULT, 1);  // the position stays in the middle
        return TRUE;
    case WM_TIMER:
        KillTimer(hDialog, PREVIEW_TIMER);
        UpdatePreview(hDialog, dialog);
        return TRUE;
    case WM_DRAWITEM: {
        const DRAWITEMSTRUCT *item = reinterpret_cast<const DRAWITEMSTRUCT *>(lParam);
        PaintPreview(&dialog->preview, item->hDC, &item->rcItem);
        return TRUE;
    }
    case WM_DESTROY:
        KillTimer(hDialog, PREVIEW_TIMER);
        return FALSE;
    }
    return FALSE;
}

// ---- the call ----------------------------------------------------------------------------------

static HINSTANCE ThisModule()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT |
                           GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&BINDINGS), &hModule);
    return hModule;
}

// The newer controls, where there are any: as the manifest in this library says.
static HANDLE EnterContext(HINSTANCE hInstance, ULONG_PTR *cookie)
{
    ACTCTXW context = {};
    wchar_t path[MAX_PATH];
    context.cbSize = sizeof context;
    context.dwFlags = ACTCTX_FLAG_RESOURCE_NAME_VALID | ACTCTX_FLAG_HMODULE_VALID;
    context.lpSource = path;
    context.lpResourceName = MAKEINTRESOURCEW(2);
    context.hModule = hInstance;
    GetModuleFileNameW(hInstance, path, MAX_PATH);
    const HANDLE hContext = CreateActCtxW(&context);
    return hContext != INVALID_HANDLE_VALUE && ActivateActCtx(hContext, cookie) ? hContext
                                                                                : nullptr;
}

static int ShowDialog(ParameterDialog *dialog)
{
    // A template without controls, its three texts empty.
    struct {
        DLGTEMPLATE head;
        WORD menu, type, title;
    } plain = {};
    // Whoever the user works with on this thread waits for the dialog.
    const HWND hOwner = GetActiveWindow();
    const HINSTANCE hInstance = ThisModule();
    const LONG_PTR extended = hOwner ? GetWindowLongPtrW(hOwner, GWL_EXSTYLE) : 0;
    plain.head.style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME;
    plain.head.dwExtendedStyle = DWORD(extended & WS_EX_LAYOUTRTL);
    INITCOMMONCONTROLSEX controls = {sizeof controls, ICC_BAR_CLASSES | ICC_UPDOWN_CLASS};
    ULONG_PTR cookie = 0;
    const HANDLE hContext = EnterContext(hInstance, &cookie);
    InitCommonControlsEx(&controls);
    INT_PTR answer = -1;
    if (RegisterGrid(hInstance)) {
        answer =
            DialogBoxIndirectParamW(hInstance, &plain.head, hOwner, DialogProc, LPARAM(dialog));
    }
    if (hContext) {
        DeactivateActCtx(0, cookie);
        ReleaseActCtx(hContext);
    }
    return answer > 0;
}

int AskParameters(const DialogBinding *binding, const UINT_PTR *arguments)
{
    static_assert(FIELD_SPIN + FIELD_FORMS <= FIELD_SLIDER, "numbers of a field's controls");
    ParameterDialog dialog = {};
    dialog.pBinding = binding;
    dialog.pFilter = FindCatalogueFilter(binding->pExport);
    dialog.pArguments = arguments;
    ReadArguments(binding, arguments, dialog.callers);
    ReadArguments(binding, arguments, dialog.values);
    Recall(&dialog);
    const int answer = ShowDialog(&dialog);
    ClosePreview(&dialog.preview);
    if (dialog.hFont) {
        DeleteObject(dialog.hFont);
    }
    return answer;
}
