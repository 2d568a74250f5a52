#include <algorithm>

#include "tests/whole/sweep.h"
#include "vexalib/smoothing.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// Touches everything that a row callback may touch.
int32_t touchAll(int32_t, int32_t, int32_t width, int32_t height, void** rows, void* out, void*,
                 int32_t count, void*)
{
    uint8_t sum = 0;
    for (int32_t k = 0; k < height; ++k)
        for (int64_t i = 0; i < int64_t{count} + width - 1; ++i)
            sum = static_cast<uint8_t>(sum + static_cast<const uint8_t*>(rows[k])[i]);
    std::fill_n(static_cast<uint8_t*>(out), count, sum);
    return 0;
}

int32_t kernelSize(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 5, 8, 50, kHighest - 1, kHighest});
}

float window(Stage& s)
{
    const double sizes[] = {1.0, 1.5, 2.0, 3.0, 4.25, 7.0, 300.0, REAL(s)};
    return static_cast<float>(s.pick(sizes));
}

float offset(Stage& s)
{
    const double offsets[] = {0.3, -0.6, 2.0, -7.5, 0.001, REAL(s)};
    return static_cast<float>(s.pick(offsets));
}

template <typename Element>
SweptFunction sweptArray(const char* name, int32_t (*smooth)(Element*, int32_t, int32_t))
{
    return {name, [=](Stage& s) { smooth(static_cast<Element*>(OUT(s)), COUNT(s), MODE(s)); }};
}

} // namespace

void chooseRegionAndBorder(Stage& s)
{
    const VexaPoint triangle[] = {{2, 2}, {30, 5}, {9, 25}};
    const VexaPoint runs[] = {{-5, -1}, {9, -1}, {-9, 2},       {-4, 2}, {-3, 2},
                              {8, 2},   {12, 2}, {kHighest, 2}, {3, 9},  {8, 9}};
    switch (s.random() % 4) {
    case 0:
        I_SetPolygonROI(triangle, 3);
        break;
    case 1:
        I_SetScanlistROI(runs, 10);
        break;
    case 2:
        I_SetWindowROI(XY(s), XY(s), XY(s), XY(s));
        break;
    default:
        I_SetROIType(0);
    }
    I_SetBorderMode(s.pick({-1, -2, 0, 77, kLowest, kHighest}), OUT(s), TYPE(s));
}

void clearRegionAndBorder()
{
    I_SetROIType(0);
    I_SetBorderMode(-1, nullptr, 0);
}

std::vector<SweptFunction> sweptSmoothing()
{
    return {
        {"I_MxNOperatorType",
         [](Stage& s) {
             chooseRegionAndBorder(s);
             I_MxNOperatorType(IM(s), IM(s), kernelSize(s), kernelSize(s), nullptr,
                               s.random() % 9 ? touchAll : nullptr, TYPE(s));
         }},
        {"I_MxNOperator",
         [](Stage& s) {
             chooseRegionAndBorder(s);
             I_MxNOperator(IM(s), IM(s), kernelSize(s), kernelSize(s), nullptr,
                           s.random() % 9 ? touchAll : nullptr);
         }},
        swept("I_SetBorderMode", I_SetBorderMode, MODE, OUT, TYPE),
        {"set3x3pointers",
         [](Stage& s) {
             void* rows[] = {BUF(s), BUF(s), BUF(s)};
             uint8_t* p[9];
             set3x3pointers(s.random() % 5 ? rows : nullptr, kernelSize(s), s.pick({kLowest, 0, 1, 2, 3}), p,
                            p + 1, p + 2, p + 3, nullptr, p + 5, p + 6, p + 7, p + 8);
         }},
        {"w_set3x3pointers",
         [](Stage& s) {
             void* rows[] = {BUF(s), BUF(s), BUF(s)};
             int16_t* p[9];
             w_set3x3pointers(rows, s.pick({-1, 0, 1, 9}), s.pick({kLowest, 0, 1, 2, 3}), p, p + 1, p + 2,
                              p + 3, nullptr, p + 5, p + 6, p + 7, p + 8);
         }},
        {"f_set3x3pointers",
         [](Stage& s) {
             void* rows[] = {BUF(s), BUF(s), BUF(s)};
             float* p[9];
             f_set3x3pointers(rows, s.pick({-1, 0, 1, 9}), s.pick({kLowest, 0, 1, 2, 3}), p, p + 1, p + 2,
                              p + 3, nullptr, p + 5, p + 6, p + 7, p + 8);
         }},
        {"I_Smooth", [](Stage& s) { chooseRegionAndBorder(s), I_Smooth(IM(s), IM(s)); }},
        {"I_MxNSmooth",
         [](Stage& s) { chooseRegionAndBorder(s), I_MxNSmooth(IM(s), IM(s), window(s), window(s)); }},
        {"I_Sharpen",
         [](Stage& s) {
             chooseRegionAndBorder(s), I_Sharpen(IM(s), IM(s), MODE(s), kernelSize(s), MODE(s));
         }},
        {"I_UnsharpMask",
         [](Stage& s) {
             chooseRegionAndBorder(s), I_UnsharpMask(IM(s), IM(s), window(s), window(s), REAL(s));
         }},
        sweptArray("I_SmoothArrayFloat", I_SmoothArrayFloat),
        sweptArray("I_SmoothArrayLong", I_SmoothArrayLong),
        sweptArray("I_SmoothArrayShort", I_SmoothArrayShort),
        sweptArray("I_SmoothArrayByte", I_SmoothArrayByte),
        {"I_ShiftSharpen",
         [](Stage& s) {
             chooseRegionAndBorder(s), I_ShiftSharpen(IM(s), IM(s), offset(s), offset(s), REAL(s));
         }},
        {"I_ShiftSharpenArray",
         [](Stage& s) {
             // Sizes that the blocks hold in any type.
             const int32_t width = s.pick({kLowest, -1, 0, 1, 2, 3, 40});
             const int32_t height = s.pick({kLowest, -1, 0, 1, 2, 3, 40});
             I_ShiftSharpenArray(OUT(s), OUT(s), width, height, offset(s), offset(s), REAL(s), TYPE(s));
         }},
    };
}

} // namespace vexa::test
