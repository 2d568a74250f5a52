#include "tests/whole/sweep.h"
#include "vexalib/display.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// What a display reads of a bitmap.
int32_t readBitmap(void*, const VexaStretch* stretch)
{
    const auto* header = static_cast<const uint8_t*>(stretch->header);
    const auto* pixels = static_cast<const uint8_t*>(stretch->pixels);
    return header[0] + pixels[0] + stretch->palette[1023];
}

// With a display or without one.
void chooseDisplay(Stage& s)
{
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = [](const char*, const char*, int32_t, int32_t answer) { return answer; };
    platform.openDisplay = [](void* window) { return window; };
    platform.closeDisplay = [](void*, void*) {};
    if (s.random() % 4 != 0)
        platform.stretchBitmap = readBitmap;
    vexaSetPlatform(&platform);
}

// Calls with a DIB, which is freed afterwards where it was not consumed.
void withDib(Stage& s, const std::function<void(void*)>& call)
{
    chooseDisplay(s);
    void* dib = s.random() % 5 == 0 ? nullptr : CreateDIB2(9, 7, s.pick({1, 4, 8, 24, 32}), nullptr, nullptr);
    call(dib);
    vexaGlobalFree(dib);
}

template <typename Result, typename... Argument, typename... Generator>
SweptFunction shown(const char* name, Result (*function)(Argument...), Generator... generator)
{
    const SweptFunction plain = swept(name, function, generator...);
    return {name, [call = plain.call](Stage& s) {
                chooseDisplay(s);
                call(s);
            }};
}

} // namespace

std::vector<SweptFunction> sweptDisplay()
{
    return {
        {"I_SetOverflowColor", [](Stage& s) { I_SetOverflowColor(s.random() % 2); }},
        swept("I_SetDisplayGamma", I_SetDisplayGamma, REAL),
        {"DisplayDIBStretch",
         [](Stage& s) {
             withDib(s, [&s](void* dib) {
                 DisplayDIBStretch(OUT(s), dib, XY(s), XY(s), SIZE(s), SIZE(s), XY(s), XY(s), SIZE(s),
                                   SIZE(s));
             });
         }},
        {"DisplayDIB", [](Stage& s) { withDib(s, [&s](void* dib) { DisplayDIB(OUT(s), dib); }); }},
        {"DisplayDIBWnd", [](Stage& s) { withDib(s, [&s](void* dib) { DisplayDIBWnd(OUT(s), dib); }); }},
        shown("DisplayImageStretch", DisplayImageStretch, OUT, IM, XY, XY, SIZE, SIZE, XY, XY, SIZE, SIZE),
        shown("DisplayImage", DisplayImage, OUT, IM),
        shown("DisplayImageWnd", DisplayImageWnd, OUT, IM),
        shown("DisplayImageWndZoom", DisplayImageWndZoom, OUT, IM, REAL),
        shown("DisplayImage2", DisplayImage2, OUT, IM, IM, REAL),
        shown("DisplayImage1", DisplayImage1, IM, IM, REAL),
        shown("DisplayImageNorm", DisplayImageNorm, IM, IM, REAL, REAL),
        {"DisplayProfiles1", [](Stage& s) { I_ImClose(DisplayProfiles1(IM(s), IM(s))); }},
        shown("DisplayProfiles", DisplayProfiles, IM, IM, REAL),
        shown("Display2x5", Display2x5, OUT, MODE, MODE, REAL, IM, IM, IM, IM, IM, IM, IM, IM, IM, IM),
        shown("DisplayImage2x3", DisplayImage2x3, OUT, REAL, IM, IM, IM, IM, IM, IM),
        shown("DisplayImage2x5", DisplayImage2x5, OUT, REAL, IM, IM, IM, IM, IM, IM, IM, IM, IM, IM),
        {"I_DisplayKernel",
         [](Stage& s) {
             chooseDisplay(s);
             I_DisplayKernel();
         }},
        {"DisplayImages",
         [](Stage& s) {
             chooseDisplay(s);
             const auto number = [&s] { return s.random() % 3 ? s.openImage() : MODE(s); };
             DisplayImages(static_cast<float>(REAL(s)), number(), number(), number(), number(), number(),
                           number(), number(), number(), number(), number(), number(), number());
         }},
    };
}

} // namespace vexa::test
