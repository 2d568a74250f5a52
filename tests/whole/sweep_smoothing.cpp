#include <algorithm>

#include "tests/whole/sweep.h"

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

// A region of any kind, and a border of any kind.
void setting(Stage& s)
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

} // namespace

std::vector<SweptFunction> sweptSmoothing()
{
    return {
        {"I_MxNOperatorType",
         [](Stage& s) {
             setting(s);
             I_MxNOperatorType(IM(s), IM(s), kernelSize(s), kernelSize(s), nullptr,
                               s.random() % 9 ? touchAll : nullptr, TYPE(s));
         }},
        {"I_MxNOperator",
         [](Stage& s) {
             setting(s);
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
    };
}

} // namespace vexa::test
