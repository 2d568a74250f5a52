#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// Opens with drawn sizes and closes at once.
template <typename Open>
SweptFunction opened(const char* name, Open open)
{
    return {name, [=](Stage& s) { I_ImClose(open(s)); }};
}

// Hands out a block that the caller frees.
template <typename Make>
SweptFunction handedOut(const char* name, Make make)
{
    return {name, [=](Stage& s) { vexaFree(make(s)); }};
}

void ignoreError(const char*, int32_t) {}
void ignoreProgress(float, const char*) {}

int32_t smallSize(Stage& s)
{
    return s.pick({0, -1, 1, 5, 300, kHighest, kLowest});
}

// Pitches that stay inside a buffer, for rows of up to 16 pixels of 16 bytes.
int32_t pitch(Stage& s)
{
    return s.pick({0, -1, 256, 300, kLowest});
}

int32_t small(Stage& s)
{
    return s.pick({0, -1, 1, 2, 3, 16, kLowest});
}

} // namespace

std::vector<SweptFunction> sweptCore()
{
    return {
        // Status. Codes of short messages stay inside the table of names by themselves.
        {"I_SetError", [](Stage& s) { I_SetError(MODE(s), "%s", s.text()); }},
        swept("I_SetError1", I_SetError1, MODE, TEXT0),
        swept("I_GetError", I_GetError, OUT, COUNT),
        swept("I_GetErrorStr", I_GetErrorStr),
        {"I_ShowError", [](Stage& s) { I_SetError(MODE(s), "%s", s.text()), I_ShowError("%s", s.text()); }},
        {"I_ShowError1", [](Stage& s) { I_SetError(MODE(s), "%s", s.text()), I_ShowError1(s.text()); }},
        {"I_PostMessage", [](Stage& s) { I_PostMessage("%s", s.text()); }},
        swept("I_GetErrorHandlerMsg", I_GetErrorHandlerMsg, OUT, COUNT),
        {"I_SetErrorHandlerCallback",
         [](Stage& s) {
             I_SetErrorHandlerCallback(s.random() % 2 ? nullptr : ignoreError);
             I_PostMessage("%s", s.text());
         }},
        {"dprintf", [](Stage& s) { vexa_dprintf("%s", s.text()); }},
        {"errorprintf", [](Stage& s) { errorprintf("%s", s.text()); }},
        {"yesno", [](Stage& s) { yesno(MODE(s), "%s", s.text()); }},
        {"yesnocancel", [](Stage& s) { yesnocancel(MODE(s), "%s", s.text()); }},
        {"I_SetProgressCallback",
         [](Stage& s) {
             I_SetProgressCallback(s.random() % 2 ? nullptr : ignoreProgress, MODE(s));
             I_TellProgress(1, 1, s.text());
         }},
        swept("I_TellProgress", I_TellProgress, REAL, REAL, TEXT0),
        {"I_TellProgressEx",
         [](Stage& s) {
             I_TellProgressEx(static_cast<float>(REAL(s)), static_cast<float>(REAL(s)), "%s", s.text());
         }},
        swept("I_GetProgress", I_GetProgress, OUT, COUNT),
        swept("I_ShowProgress", I_ShowProgress, REAL, TEXT0),
        swept("I_UserBreak", I_UserBreak, MODE),
        swept("I_MemAvailable", I_MemAvailable),
        swept("coreleft", coreleft),
        {"I_MallocOK", [](Stage& s) { I_MallocOK(OUT(s), "%s", s.text()); }},
        {"malloctest", [](Stage& s) { malloctest(OUT(s), "%s", s.text()); }},
        swept("I_PerfStart", I_PerfStart, OUT),
        swept("I_PerfMilliSec", I_PerfMilliSec, OUT),
        swept("I_PerfMicroSec", I_PerfMicroSec, OUT),
        swept("I_PerfNanoSec", I_PerfNanoSec, OUT),
        swept("I_PerfCycles", I_PerfCycles, OUT),
        swept("I_SetDebug", I_SetDebug, MODE),
        swept("I_GetDebug", I_GetDebug),
        {"sound",
         [](Stage& s) {
             sound(s.pick({kLowest, -1, 0, 9, 10, 440, kHighest})), nosound();
         }},
        swept("nosound", nosound),
        swept("MemTest", MemTest, OUT),
        // A first argument of 0 is described to raise the processor's fault.
        {"OverflowTest",
         [](Stage& s) {
             OverflowTest(s.pick({1, -1, 3, kHighest, kLowest}), MODE(s), nullptr);
         }},
        {"I_FormatArrayEx",
         [](Stage& s) {
             std::string out(200000, '\0');
             I_FormatArrayEx(out.data(), OUT(s), small(s), small(s), small(s), s.text(), " ", s.text());
         }},
        {"FormatArray",
         [](Stage& s) {
             std::string out(200000, '\0');
             FormatArray(out.data(), OUT(s), small(s), small(s), small(s), s.text());
         }},
        {"FormatArray2",
         [](Stage& s) {
             std::string out(200000, '\0');
             FormatArray2(out.data(), OUT(s), small(s), small(s), small(s), s.text(), "%s", s.text());
         }},

        // Image table.
        opened("I_ImOpen", [](Stage& s) { return I_ImOpen(smallSize(s), smallSize(s), TYPE(s)); }),
        opened("I_ImOpenEx",
               [](Stage& s) { return I_ImOpenEx(smallSize(s), smallSize(s), TYPE(s), TEXT0(s)); }),
        opened("I_ImOpenSpecial",
               [](Stage& s) {
                   return I_ImOpenSpecial(smallSize(s), smallSize(s), MODE(s), TYPE(s), MODE(s), MODE(s));
               }),
        opened("I_ImOpenStride",
               [](Stage& s) { return I_ImOpenStride(smallSize(s), smallSize(s), SIZE(s), TYPE(s)); }),
        opened("I_ImOpenPtr",
               [](Stage& s) { return I_ImOpenPtr(small(s), small(s), pitch(s), TYPE(s), OUT(s)); }),
        opened("I_ImOpenFile",
               [](Stage& s) { return I_ImOpenFile(smallSize(s), smallSize(s), SIZE(s), TYPE(s), nullptr); }),
        opened("I_ImOpenSubimage",
               [](Stage& s) { return I_ImOpenSubimage(XY(s), XY(s), SIZE(s), SIZE(s), IM(s)); }),
        {"I_ImResize", [](Stage& s) { I_ImResize(smallSize(s), smallSize(s), TYPE(s), IM(s)); }},
        {"I_ImClose",
         [](Stage& s) {
             I_ImClose(s.pick({0, 5, -250, -298, -299, -300, -400, kHighest, kLowest}));
         }},
        {"I_ImClose3", [](Stage&) { I_ImClose3(0, kHighest, kLowest), I_ImClose3(-299, -300, -301); }},
        {"I_ImCloseAll", [](Stage&) { I_ImCloseAll(); }},
        swept("I_ImValid", I_ImValid, IM),
        swept("I_ImFind", I_ImFind, TEXT0),
        swept("I_ImCount", I_ImCount),
        swept("I_ImageCount", I_ImageCount),
        swept("I_ImGetSize", I_ImGetSize, OUT, OUT, OUT, IM),
        swept("I_ImGetType", I_ImGetType, IM),
        swept("I_ImGetStride", I_ImGetStride, IM),
        swept("I_ImIsFloat", I_ImIsFloat, IM, OUT),
        swept("I_ImGetNBands", I_ImGetNBands, IM),
        swept("I_ImTypeBytes", I_ImTypeBytes, TYPE),
        swept("I_ImGetParam", I_ImGetParam, OUT, COUNT, MODE, IM),
        // The stride and the owned handle (6 and 10) are addresses in disguise: nobody can test them.
        {"I_ImSetParam",
         [](Stage& s) {
             int32_t value[256] = {s.pick({0, 1, 2, 4, 8, 64})};
             I_ImSetParam(s.random() % 4 ? value : nullptr, MODE(s),
                          s.pick({-1, 0,  1,  2,  3,  4,  5,  8,  9,        11,     12,
                                  13, 14, 15, 16, 17, 18, 19, 20, kHighest, kLowest}),
                          IM(s));
         }},
        swept("I_ImSetComment", I_ImSetComment, TEXT0, IM),
        swept("I_ImGetComment", I_ImGetComment, OUT, COUNT, IM),
        {"I_ImSetMemType",
         [](Stage& s) {
             I_ImSetMemType(MODE(s));
             I_ImClose(I_ImOpen(5, 5, PIX_BYTE));
             I_ImSetMemType(0);
         }},
        {"I_SetImAutoClear",
         [](Stage& s) {
             I_SetImAutoClear(MODE(s));
             I_ImClose(I_ImOpen(5, 5, PIX_BYTE));
             I_SetImAutoClear(0);
         }},
        swept("I_ImGetPtr", I_ImGetPtr, XY, XY, OUT, OUT, IM),
        swept("I_ImGetPtrEx", I_ImGetPtrEx, XY, XY, OUT, IM, TYPE),
        swept("I_ImGet2DPtr", I_ImGet2DPtr, OUT, OUT, IM, TYPE),
        swept("I_TotalBytesUsed", I_TotalBytesUsed),
        swept("I_SetComplexMode", I_SetComplexMode, MODE),
        swept("I_ImCopyParams", I_ImCopyParams, IM, IM),
        swept("I_SetPixValueRange", I_SetPixValueRange, REAL, REAL, IM),
        swept("I_GetPixValueRange", I_GetPixValueRange, OUT, OUT, IM),
        swept("I_PaletteIsGrayscale", I_PaletteIsGrayscale, OUT),
        swept("I_ImConvertType", I_ImConvertType, IM, TYPE),

        // Blocks of up to 16 by 16 pixels fit a buffer.
        swept("I_GetBlockType", I_GetBlockType, XY, XY, small, small, OUT, IM, TYPE),
        swept("I_GetBlockTypeEx", I_GetBlockTypeEx, XY, XY, small, small, OUT, IM, TYPE, pitch),
        swept("I_PutBlockType", I_PutBlockType, XY, XY, small, small, OUT, IM, TYPE),
        swept("I_PutBlockTypeEx", I_PutBlockTypeEx, XY, XY, small, small, OUT, IM, TYPE, pitch),
        swept("I_ImageCopy", I_ImageCopy, IM, IM),
        opened("I_CloneImage", [](Stage& s) { return I_CloneImage(IM(s), TYPE(s), MODE(s)); }),
        opened("I_CloneImageEx", [](Stage& s) { return I_CloneImageEx(IM(s), TYPE(s), MODE(s), TEXT0(s)); }),
        handedOut("I_DupBlockType",
                  [](Stage& s) { return I_DupBlockType(XY(s), XY(s), SIZE(s), SIZE(s), IM(s), TYPE(s)); }),
        handedOut("I_Dup2DBlockType",
                  [](Stage& s) { return I_Dup2DBlockType(XY(s), XY(s), SIZE(s), small(s), IM(s), TYPE(s)); }),
        {"I_Put2DBlockType",
         [](Stage& s) {
             void** array = s.random() % 3 ? Create2DArray(16, 16, 16) : nullptr;
             I_Put2DBlockType(XY(s), XY(s), small(s), small(s), array, IM(s), TYPE(s));
             Free2DArray(array);
         }},
        swept("I_ImCopyBlock", I_ImCopyBlock, SIZE, SIZE, XY, XY, IM, XY, XY, IM),
        swept("I_RectCopy", I_RectCopy, XY, XY, XY, XY, SIZE, SIZE, IM, IM),
        {"I_CopyBlockType",
         [](Stage& s) {
             I_CopyBlockType(s.buffer(), pitch(s), 16, 16, TYPE(s), XY(s), XY(s), SIZE(s), SIZE(s),
                             s.buffer(), pitch(s), 16, 16, TYPE(s), XY(s), XY(s), SIZE(s), SIZE(s), nullptr);
         }},
        {"I_CopyBlock",
         [](Stage& s) {
             I_CopyBlock(s.buffer(), 256, 16, XY(s), XY(s), SIZE(s), SIZE(s), s.buffer(), 256, 16, XY(s),
                         XY(s), SIZE(s), SIZE(s), s.pick({-1, 0, 1, 2, 4, 16}));
         }},
        {"CopyBlock1", [](Stage& s) { CopyBlock1(small(s), small(s), s.buffer(), 256, s.buffer(), 300); }},
        {"CopyBlockRev",
         [](Stage& s) { CopyBlockRev(small(s), small(s), s.buffer(), 256, s.buffer(), 300); }},
        {"I_CopySubArray",
         [](Stage& s) { I_CopySubArray(s.buffer(), 256, MODE(s), s.buffer(), small(s), small(s), 7, 3); }},
        swept("I_ImClear", I_ImClear, IM, REAL),
        swept("I_ImClearType", I_ImClearType, IM, OUT, TYPE),
        swept("I_ImClearBlockType", I_ImClearBlockType, XY, XY, SIZE, SIZE, OUT, IM, TYPE),
        swept("I_ClearRect", I_ClearRect, XY, XY, XY, XY, MODE, IM),
        swept("I_ImInvertRows", I_ImInvertRows, IM),
        swept("I_ImGetRange", I_ImGetRange, OUT, OUT, IM),
        swept("I_ComputePixelRange", I_ComputePixelRange, MODE, IM),
        swept("I_GetPix", I_GetPix, XY, XY, IM),
        swept("I_PutPix", I_PutPix, XY, XY, REAL, IM),
        swept("I_GetPixByte", I_GetPixByte, XY, XY, IM),
        swept("I_PutPixByte", I_PutPixByte, XY, XY, MODE, IM),
        swept("I_GetPixBGR", I_GetPixBGR, XY, XY, IM),
        opened("I_RectDup", [](Stage& s) { return I_RectDup(XY(s), XY(s), SIZE(s), SIZE(s), IM(s)); }),
        opened("I_CloneRect",
               [](Stage& s) {
                   return I_CloneRect(IM(s), TYPE(s), small(s), small(s), s.pick({-1, 0, 39, 100, kLowest}),
                                      s.pick({-1, 0, 29, 100, kLowest}));
               }),

        // Conversion and colour.
        {"SetupScale",
         [](Stage& s) {
             ImageRecord record = {};
             record.type = TYPE(s);
             record.minValue = REAL(s);
             record.maxValue = REAL(s);
             ScaleRecord scale;
             SetupScale(&record, TYPE(s), &scale, nullptr, nullptr, MODE(s), MODE(s), MODE(s));
             ConvertPixelType(s.buffer(), record.type, s.buffer(), TYPE(s), 16, &scale);
         }},
        swept("ConvertPixelType", ConvertPixelType, BUF, TYPE, BUF, TYPE, COUNT,
              [](Stage&) -> void* { return nullptr; }),
        {"I_ArrayConvert",
         [](Stage& s) { I_ArrayConvert(s.buffer(), TYPE(s), s.buffer(), TYPE(s), COUNT(s)); }},
        handedOut("I_DupArrayType",
                  [](Stage& s) { return I_DupArrayType(s.buffer(), TYPE(s), TYPE(s), COUNT(s)); }),
        swept("I_SetColorProcMode", I_SetColorProcMode, MODE),
        swept("I_GetColorProcMode", I_GetColorProcMode),
        swept("I_ResetColorProcMode", I_ResetColorProcMode),
        swept("I_SetStatsProcMode", I_SetStatsProcMode, MODE),
        swept("I_SetColorBand", I_SetColorBand, MODE),
        swept("I_GetColorBand", I_GetColorBand),
        swept("ConvertColorType", ConvertColorType, BUF, TYPE, OUT, BUF, TYPE, OUT, COUNT),
        swept("PlanarToPacked", PlanarToPacked, BUF, TYPE, OUT, BUF, BUF, BUF, COUNT),
        swept("ConvertSpace", ConvertSpace, BUF, BUF, BUF, MODE, BUF, BUF, BUF, MODE, COUNT),
        swept("ClosestRGB", ClosestRGB, MODE, MODE, MODE, OUT, OUT, OUT),
        swept("make332colorluts", make332colorluts),
        swept("I_ApplyPalette", I_ApplyPalette, BUF, BUF, BUF, IM),
        swept("I_SetBgrndColor", I_SetBgrndColor, MODE),
        swept("I_GetBgrndColor", I_GetBgrndColor),
        swept("GetRawColor", GetRawColor, MODE, IM),
        swept("GetRawColorRGB", GetRawColorRGB, MODE, IM),
        {"InvertRawLine",
         [](Stage& s) {
             InvertRawLine(OUT(s), COUNT(s), s.pick({-1, 0, 1, 2, 3, 4, 8, 99}), IM(s));
         }},
    };
}

} // namespace vexa::test
