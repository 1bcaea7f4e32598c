// The entries of VexaDlgs.dll, which the filters call by name: stdcall, with as many arguments as
// the caller pushes. 0: the user cancelled.
#include "dialog.h"

// The library is let go after every call; what the user chose last, and an edited mask that the
// export reads while it works, must outlive that.
static void StayLoaded(void)
{
    HMODULE hModule;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&BINDINGS), &hModule);
}

static int Ask(const char *entry, const UINT_PTR *arguments, int count)
{
    const DialogBinding *binding = FindBinding(entry, arguments, count);
    StayLoaded();
    return !binding || AskParameters(binding, arguments);
}

typedef UINT_PTR A;
#define ENTRY(name, declared, ...)                                                                 \
    extern "C" int WINAPI name declared;                                                           \
    extern "C" int WINAPI name declared                                                            \
    {                                                                                              \
        const A all[] = {__VA_ARGS__};                                                             \
        return Ask(#name, all, int(sizeof all / sizeof *all));                                     \
    }
#define ENTRY1(name) ENTRY(name, (A a), a)
#define ENTRY2(name) ENTRY(name, (A a, A b), a, b)
#define ENTRY3(name) ENTRY(name, (A a, A b, A c), a, b, c)
#define ENTRY4(name) ENTRY(name, (A a, A b, A c, A d), a, b, c, d)
#define ENTRY5(name) ENTRY(name, (A a, A b, A c, A d, A e), a, b, c, d, e)
#define ENTRY6(name) ENTRY(name, (A a, A b, A c, A d, A e, A f), a, b, c, d, e, f)
#define ENTRY7(name) ENTRY(name, (A a, A b, A c, A d, A e, A f, A g), a, b, c, d, e, f, g)

ENTRY1(EnhanceUI)
ENTRY1(UniformUI)
ENTRY1(GaussUI)
ENTRY1(AUTOCONTRASTUI)
ENTRY1(POLARUI)
ENTRY2(LaplaceUI)
ENTRY2(GradientUI)
ENTRY2(MinimumFilterUI)
ENTRY2(MaximumFilterUI)
ENTRY2(MedianFilterUI)
ENTRY2(MidpointFilterUI)
ENTRY2(RangeFilterUI)
ENTRY2(AlphaFilterUI)
ENTRY2(WMedianFilterUI)
ENTRY2(GeometricFilterUI)
ENTRY2(HarmonicFilterUI)
ENTRY2(WMeanFilterUI)
ENTRY2(ThinningUI)
ENTRY2(ThickeningUI)
ENTRY2(GDilationUI)
ENTRY2(GErosionUI)
ENTRY2(GOpeningUI)
ENTRY2(GClosingUI)
ENTRY2(GTophatUI)
ENTRY2(PARABOLAUI)
ENTRY2(SOLARIZINGUI)
ENTRY2(POSTERIZINGUI)
ENTRY2(AUTOLEVELSUI)
ENTRY2(DIFFERENCEUI)
ENTRY2(ThresholdUI)
ENTRY2(HistTransformUI)
ENTRY3(ARITHUI)
ENTRY3(ARITHCONSTUI)
ENTRY3(ContraFilterUI)
ENTRY3(YpFilterUI)
ENTRY3(AMMSEUI)
ENTRY3(BDilationUI)
ENTRY3(BErosionUI)
ENTRY3(BOpeningUI)
ENTRY3(BClosingUI)
ENTRY3(SkeletonUI)
ENTRY3(FILTERGROUPUI)
ENTRY3(CYLINDERUI)
ENTRY4(ADWMTMUI)
ENTRY4(BHitmissUI)
ENTRY4(OutliningUI)
ENTRY4(MOTIONBLURUI)
ENTRY4(RedEyeUI)
ENTRY4(FFTENHANCEUI)
ENTRY4(HistSlideUI)
ENTRY4(HistStretchUI)
ENTRY5(FFTPASSUI)
ENTRY6(FFTHOMOMORPHICUI)
ENTRY7(LEVELSUI)
