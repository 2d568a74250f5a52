#include <cmath>
#include <cstdlib>

#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// DIBs that a call consumes.
void* freshDIB(Stage& s)
{
    return s.random() % 5 == 0 ? nullptr : CreateDIB2(9, 7, s.pick({1, 4, 8, 24, 32}), nullptr, nullptr);
}

// Coordinates whose lines can be walked in no time.
int32_t nearby(Stage& s)
{
    return s.pick({-200, -1, 0, 1, 7, 39, 40, 500});
}

const char* unwritable(Stage& s)
{
    return s.pick({static_cast<const char*>(nullptr), "", "/", "/nowhere/x.bmp"});
}

VexaPointF point(Stage& s)
{
    return {static_cast<float>(REAL(s)), static_cast<float>(REAL(s))};
}

} // namespace

std::vector<SweptFunction> sweptFilesAndGraphics()
{
    return {
        swept("CheckDIB2", CheckDIB2, DIB, OUT, OUT, OUT, OUT),
        swept("CheckDIB", CheckDIB, DIB, OUT, OUT, OUT),
        {"CreateDIB2",
         [](Stage& s) {
             const int32_t size = s.pick({kLowest, -1, 0, 1, 9, 300});
             vexaGlobalFree(CreateDIB2(size, s.pick({-1, 0, 7, kHighest}), MODE(s),
                                       static_cast<int32_t*>(OUT(s)), static_cast<void**>(OUT(s))));
         }},
        {"CreateDIB",
         [](Stage& s) {
             vexaGlobalFree(CreateDIB(s.pick({kLowest, -1, 0, 1, 9, 300}), s.pick({-1, 0, 7, kHighest}),
                                      MODE(s), static_cast<void**>(OUT(s))));
         }},
        {"CreateDIBImage", [](Stage& s) { I_ImClose(CreateDIBImage(DIB(s))); }},
        {"I_CopyDIBtoImageEx", [](Stage& s) { I_ImClose(I_CopyDIBtoImageEx(freshDIB(s), TEXT0(s))); }},
        {"I_CopyDIBtoImage", [](Stage& s) { I_ImClose(I_CopyDIBtoImage(freshDIB(s))); }},
        {"I_CopyDIBtoImageShrink",
         [](Stage& s) { I_ImClose(I_CopyDIBtoImageShrink(freshDIB(s), MODE(s), TEXT0(s))); }},
        {"ConvertDIBto24", [](Stage& s) { vexaGlobalFree(ConvertDIBto24(freshDIB(s))); }},
        {"I_MapDIBPalette", [](Stage& s) { vexaGlobalFree(I_MapDIBPalette(freshDIB(s))); }},
        swept("DeflickerDIB", DeflickerDIB, DIB, MODE),
        {"CopyDIB",
         [](Stage& s) {
             CopyDIB(DIB(s), OUT(s), XY(s), s.pick({kLowest, -1, 0, 1, 600, kHighest}), MODE(s));
         }},
        {"I_CopyBoxToDIB",
         [](Stage& s) { vexaGlobalFree(I_CopyBoxToDIB(XY(s), XY(s), SIZE(s), SIZE(s), IM(s))); }},
        {"GetWindowBitmap",
         [](Stage& s) { vexaGlobalFree(GetWindowBitmap(XY(s), XY(s), SIZE(s), SIZE(s), IM(s))); }},
        {"I_CopyImageToDIB", [](Stage& s) { vexaGlobalFree(I_CopyImageToDIB(IM(s), 0)); }},
        swept("SetWindowBitmap", SetWindowBitmap, XY, XY, IM, DIB),
        {"I_ReadBMP", [](Stage& s) { I_ImClose(I_ReadBMP(unwritable(s))); }},
        {"I_ReadBMPtoDIB", [](Stage& s) { vexaGlobalFree(I_ReadBMPtoDIB(unwritable(s))); }},
        {"I_WriteDIBtoBMP", [](Stage& s) { I_WriteDIBtoBMP(unwritable(s), freshDIB(s)); }},
        swept("I_WriteBMP", I_WriteBMP, unwritable, IM),
        swept("I_GetBMPPixPerMeter", I_GetBMPPixPerMeter, OUT, OUT),

        swept("I_SetGraphicsFrame", I_SetGraphicsFrame, IM),
        {"I_GetGraphicsFrame", [](Stage& s) { I_SetGraphicsFrame(IM(s)), I_GetGraphicsFrame(); }},
        {"graphputpix", [](Stage& s) { I_SetGraphicsFrame(IM(s)), graphputpix(XY(s), XY(s), MODE(s)); }},
        {"graphgetpix", [](Stage& s) { I_SetGraphicsFrame(IM(s)), graphgetpix(XY(s), XY(s)); }},
        {"hline", [](Stage& s) { vexaSetDrawColor(MODE(s)), hline(XY(s), XY(s), XY(s), IM(s)); }},
        {"vline", [](Stage& s) { vexaSetDrawColor(MODE(s)), vline(XY(s), XY(s), XY(s), IM(s)); }},
        {"I_DrawLine",
         [](Stage& s) {
             const int32_t im = IM(s);
             I_DrawLine(im, nearby(s), nearby(s), nearby(s), nearby(s), MODE(s));
             I_DrawLine(im, XY(s), XY(s), XY(s), XY(s), MODE(s));
         }},
        {"fdrawline",
         [](Stage& s) {
             const VexaPointF end = point(s);
             const VexaPointF start = point(s);
             I_SetGraphicsFrame(IM(s));
             fdrawline(&end, &start, MODE(s));
         }},
        {"I_GetLineCoords",
         [](Stage& s) {
             static VexaPoint out[4096];
             const VexaPoint a = {nearby(s), nearby(s)};
             const VexaPoint b = {nearby(s), nearby(s)};
             I_GetLineCoords(s.pick({0, s.openImage()}), &a, &b, out);
         }},
        {"I_DrawRect",
         [](Stage& s) { I_SetGraphicsFrame(IM(s)), I_DrawRect(XY(s), XY(s), XY(s), XY(s), MODE(s)); }},
        swept("I_DrawRect1", I_DrawRect1, XY, XY, XY, XY, MODE, IM),
        {"I_DrawCursor",
         [](Stage& s) { I_SetGraphicsFrame(IM(s)), I_DrawCursor(XY(s), XY(s), XY(s), XY(s), MODE(s)); }},
        {"I_CursorUp",
         [](Stage& s) {
             I_SetGraphicsFrame(IM(s));
             I_CursorDown(I_CursorUp(XY(s), XY(s), XY(s), XY(s), MODE(s)));
         }},
        {"I_CursorDown", [](Stage&) { I_CursorDown(nullptr); }},
        {"I_ClipLine",
         [](Stage& s) {
             const VexaPoint lo = {XY(s), XY(s)};
             const VexaPoint hi = {XY(s), XY(s)};
             VexaPointF p1 = point(s);
             VexaPointF p2 = point(s);
             I_ClipLine(&lo, &hi, &p1, &p2);
         }},
        {"I_ClipLineInt",
         [](Stage& s) {
             const VexaPoint lo = {XY(s), XY(s)};
             const VexaPoint hi = {XY(s), XY(s)};
             VexaPoint p1 = {XY(s), XY(s)};
             VexaPoint p2 = {XY(s), XY(s)};
             I_ClipLineInt(&lo, &hi, &p1, &p2);
         }},
        {"limitbox",
         [](Stage& s) {
             int32_t out[2];
             limitbox(XY(s), XY(s), XY(s), s.random() % 3 ? out : nullptr,
                      s.random() % 3 ? out + 1 : nullptr);
         }},
        {"drawgammacal",
         [](Stage& s) { I_SetGraphicsFrame(IM(s)), drawgammacal(XY(s), XY(s), XY(s), XY(s)); }},
        {"drawgrayramp",
         [](Stage& s) {
             I_SetGraphicsFrame(IM(s));
             drawgrayramp(XY(s), XY(s), XY(s), XY(s), REAL(s), REAL(s), MODE(s), MODE(s), MODE(s), MODE(s),
                          TEXT0(s));
         }},
    };
}

} // namespace vexa::test
