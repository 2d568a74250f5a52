#include "tests/whole/sweep.h"

namespace vexa::test
{
namespace
{

using namespace gen;

void unaryRow(const void*, void*, int32_t, void*) {}
void binaryRow(const void*, const void*, void*, int32_t, void*) {}
void statsRow(const void*, int32_t, void*) {}

// Images of one type share a size on the stage, so that most draws reach the row functions under some mode.
void anyMode(Stage& s)
{
    I_SetClipMode(s.pick({0, 1, 2, 3, 4, 5, 6, 7}));
    I_SetColorBand(s.pick({-2, 0, 1, 2}));
    if (s.random() % 2)
        I_SetWindowROI(XY(s), XY(s), XY(s), XY(s));
    else
        I_SetROIType(0);
}

template <typename Result, typename... Argument, typename... Generator>
SweptFunction underModes(const char* name, Result (*function)(Argument...), Generator... generator)
{
    const SweptFunction plain = swept(name, function, generator...);
    return {name, [plain](Stage& s) {
                anyMode(s);
                plain.call(s);
            }};
}

int32_t n16(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 3, 16});
}

} // namespace

std::vector<SweptFunction> sweptOperators()
{
    return {
        underModes(
            "I_UnaryOpType", I_UnaryOpType, IM, IM, OUT, [](Stage&) { return unaryRow; }, TYPE),
        underModes(
            "I_BinaryOperatorType", I_BinaryOperatorType, IM, IM, IM, XY, XY, OUT,
            [](Stage&) { return binaryRow; }, TYPE),
        underModes("I_BinaryOperator", I_BinaryOperator, IM, IM, IM, XY, XY, OUT,
                   [](Stage&) { return binaryRow; }),
        underModes(
            "I_DoStatsOpType", I_DoStatsOpType, IM, OUT, [](Stage&) { return statsRow; }, TYPE),
        swept("GetImageXY", GetImageXY, XY, OUT, OUT),
        swept("I_SetClipMode", I_SetClipMode, MODE),
        swept("I_GetClipMode", I_GetClipMode),
        swept("I_GetMinSize2", I_GetMinSize2, OUT, OUT, OUT, OUT, IM, IM),
        swept("I_GetMinSize3", I_GetMinSize3, OUT, OUT, OUT, OUT, OUT, IM, IM, IM),
        swept("NarrowestPixelType", NarrowestPixelType, IM, IM, IM, MODE),
        swept("WidestPixelType", WidestPixelType, IM, IM, IM),

        underModes("I_Add", I_Add, IM, IM, IM),
        underModes("I_Subtract", I_Subtract, IM, IM, IM, XY, XY),
        underModes("I_SubtractEx", I_SubtractEx, IM, IM, IM, XY, XY, MODE),
        underModes("I_Subtract1Ex", I_Subtract1Ex, IM, IM, IM, REAL, REAL, MODE, REAL, OUT),
        underModes("I_SubtractMax", I_SubtractMax, IM, IM, IM, XY, XY, OUT),
        underModes("I_SubtractNMax", I_SubtractNMax, IM, IM, IM, XY, XY, OUT, OUT, n16, XY, REAL),
        underModes("I_And", I_And, IM, IM, IM),
        underModes("I_Or", I_Or, IM, IM, IM),
        underModes("I_Xor", I_Xor, IM, IM, IM),
        underModes("I_Min", I_Min, IM, IM, IM),
        underModes("I_Max", I_Max, IM, IM, IM),
        underModes("I_MaxRGB", I_MaxRGB, IM, IM),
        underModes("I_Multiply", I_Multiply, IM, IM, IM, REAL),
        underModes("I_Sqrt", I_Sqrt, IM, IM),
        underModes("I_Divide", I_Divide, IM, IM, IM, REAL),
        underModes("I_Blend", I_Blend, IM, IM, IM, REAL),
        underModes("I_BlendByPixel", I_BlendByPixel, IM, IM, IM, IM),
        underModes("I_FlatField", I_FlatField, IM, IM, IM, IM, MODE),
        underModes("I_ConstOR", I_ConstOR, IM, IM, MODE),
        underModes("I_ConstXOR", I_ConstXOR, IM, IM, MODE),
        underModes("I_ConstAnd", I_ConstAnd, IM, IM, MODE),
        underModes("I_ConstAdd", I_ConstAdd, IM, IM, REAL),
        underModes("I_ConstSubAbs", I_ConstSubAbs, IM, IM, REAL),
        underModes("I_ConstMult", I_ConstMult, IM, IM, REAL),
        underModes("I_ScaleIntensityROI", I_ScaleIntensityROI, IM, IM, REAL, REAL),
        underModes("I_ScaleIntensityROIAbs", I_ScaleIntensityROIAbs, IM, IM, REAL, REAL),
        underModes("I_CopyROI", I_CopyROI, IM, IM),
        underModes("I_ROICopy", I_ROICopy, IM, IM, XY, XY),
        underModes("I_CopyBand", I_CopyBand, IM, IM, TEXT0, MODE),
        underModes("I_OverlayROI", I_OverlayROI, IM, IM, IM),
        underModes("I_MaskedCopy", I_MaskedCopy, IM, IM, IM, OUT),
        underModes("I_MaskFromColor", I_MaskFromColor, IM, IM, MODE, MODE, MODE),

        underModes("I_LUTMapROI", I_LUTMapROI, IM, IM, OUT),
        underModes("I_RGBLUTMap", I_RGBLUTMap, IM, IM, OUT, OUT, OUT),
        {"I_MapLUTType",
         [](Stage& s) {
             anyMode(s);
             I_MapLUTType(IM(s), IM(s), OUT(s), s.pick({-1, 0, 1, 2, 3, 4, 5, 12, 16, 99}),
                          s.pick({kLowest, -1, 0, 1, 2, 255, 256, 600}));
         }},
        swept("I_SendLUT", I_SendLUT, OUT),
        swept("I_SetDisplayLUTs", I_SetDisplayLUTs, OUT, OUT, OUT),
        swept("I_SetGraphicsPalette", I_SetGraphicsPalette, OUT, OUT, OUT),
        swept("I_GetGraphicsPalette", I_GetGraphicsPalette, OUT, OUT, OUT),
        swept("I_GetColorMode", I_GetColorMode),
        swept("I_SetColorMode", I_SetColorMode, MODE),
        swept("I_GetGammaCRT", I_GetGammaCRT),
        swept("I_SetGammaCRT", I_SetGammaCRT, REAL),
        swept("I_MakeGammaLUT", I_MakeGammaLUT, BUF, REAL),
        swept("LogLUT", LogLUT, XY, XY, BUF),
        swept("I_StretchLUT", I_StretchLUT, XY, XY, BUF),
        swept("I_StretchLUT1", I_StretchLUT1, REAL, REAL, BUF),
        swept("HistEqualizeLUT", HistEqualizeLUT, MODE, BUF, BUF),
        swept("I_EqualizeLUT", I_EqualizeLUT, MODE, BUF),
        swept("I_InvertLUT", I_InvertLUT, BUF),
        swept("I_NormLUT", I_NormLUT, MODE, MODE, MODE, BUF, IM),
        swept("I_SteppedLUT", I_SteppedLUT, REAL, REAL, BUF),
        swept("I_FalseColorLUT", I_FalseColorLUT, XY, XY, OUT, OUT, OUT, MODE, MODE),
        {"I_FalseColorToGray", [](Stage& s) { I_ImClose(I_FalseColorToGray(IM(s))); }},
        swept("I_ThreshLUT", I_ThreshLUT, XY, BUF),
        swept("I_DualThreshLUT", I_DualThreshLUT, XY, XY, BUF),
        swept("I_DualLinThreshLUT", I_DualLinThreshLUT, XY, XY, BUF),
        swept("setsearchpath", setsearchpath, TEXT0),
        swept("getsearchpath", getsearchpath),

        underModes("I_Threshold", I_Threshold, IM, IM, REAL, REAL),
        underModes("I_GammaMap", I_GammaMap, IM, IM, REAL),
        underModes("I_NormalizeRange", I_NormalizeRange, IM, IM, REAL, REAL, REAL, MODE),
        underModes("I_NormalizeROIEx", I_NormalizeROIEx, IM, IM, MODE),
        underModes("I_NormalizeROI", I_NormalizeROI, IM, IM),
        underModes("I_NormalizeLimited", I_NormalizeLimited, IM, IM, REAL),
        swept("I_GetNormalizeRange", I_GetNormalizeRange, OUT, OUT, OUT, OUT),
        {"I_CopyBorder",
         [](Stage& s) {
             I_CopyBorder(OUT(s), s.pick({-1, 0, 1, 2, 3, 4, 8}), s.pick({kLowest, -1, 0, 1, 64}),
                          s.pick({kLowest, -1, 0, 1, 20}), XY(s), XY(s), XY(s), XY(s));
         }},
        swept("I_ImCopyBorder", I_ImCopyBorder, IM, XY, XY, XY, XY),
    };
}

} // namespace vexa::test
