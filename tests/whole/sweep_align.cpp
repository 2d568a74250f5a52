#include "tests/whole/sweep.h"
#include "vexalib/correlation.h"
#include "vexalib/search.h"

namespace vexa::test
{
namespace
{

using namespace gen;

VexaBox box(Stage& s)
{
    return {XY(s), XY(s), XY(s), XY(s)};
}

// A record of real pixels, or one with something wrong.
PatternPyramid pyramid(Stage& s)
{
    PatternPyramid record = {};
    record.recordSize = s.pick({184, 184, 184, 0, 12});
    record.data = static_cast<uint8_t*>(OUT(s));
    record.cols = s.pick({-1, 0, 1, 2, 20, 90});
    record.rows = s.pick({-1, 0, 1, 3, 17, 80});
    for (float& deviation : record.levelDeviation)
        deviation = s.pick({0.0F, 0.05F, 3.0F});
    int32_t offset = 0;
    for (int32_t level = 0; level < 8; ++level) {
        record.levelOffset[level] = offset;
        offset += (record.cols < 0 ? 0 : record.cols >> level) * (record.rows < 0 ? 0 : record.rows >> level);
    }
    return record;
}

} // namespace

std::vector<SweptFunction> sweptAlign()
{
    return {
        swept("I_SetLinearCorrelation", I_SetLinearCorrelation,
              [](Stage& s) {
                  return s.pick({0, 1});
              }),
        swept("I_SetCorrelationMode2", I_SetCorrelationMode2, MODE),
        swept("I_SetMultiAlignParams", I_SetMultiAlignParams, REAL, MODE, MODE),
        swept("I_GetAlignPos", I_GetAlignPos, OUT, OUT),
        {"Corr2D",
         [](Stage& s) {
             const int32_t cols = s.pick({-1, 0, 1, 5, 20});
             Corr2D(static_cast<uint8_t*>(OUT(s)), s.pick({cols, 3}), cols, s.pick({kLowest, 0, 1, 7}),
                    static_cast<uint8_t*>(OUT(s)), s.pick({30, 60}), static_cast<float*>(OUT(s)),
                    s.pick({kLowest, 0, 1, 30}), s.pick({kLowest, 0, 1, 30}), TEXT0(s));
         }},
        {"I_Align2D",
         [](Stage& s) {
             PatternPyramid a = pyramid(s), b = pyramid(s);
             I_Align2D(s.random() % 9 ? &a : nullptr, s.random() % 9 ? &b : nullptr, MODE(s),
                       static_cast<float*>(OUT(s)), static_cast<float*>(OUT(s)), static_cast<float*>(OUT(s)),
                       s.pick({kLowest, 0, 1, 3, 600}));
         }},
        {"I_WindowSearch",
         [](Stage& s) {
             VexaBox a = box(s), b = box(s);
             I_WindowSearch(s.random() % 3 ? &a : nullptr, IM(s), s.random() % 3 ? &b : nullptr, IM(s),
                            MODE(s), static_cast<float*>(OUT(s)), static_cast<float*>(OUT(s)),
                            static_cast<float*>(OUT(s)), s.pick({kLowest, 0, 1, 3, 600}));
         }},
        {"WindowSearch",
         [](Stage& s) {
             VexaBox a = box(s), b = box(s);
             WindowSearch(s.random() % 3 ? &a : nullptr, IM(s), s.random() % 3 ? &b : nullptr, IM(s), MODE(s),
                          static_cast<VexaPoint*>(OUT(s)), static_cast<float*>(OUT(s)), COUNT(s));
         }},
    };
}

} // namespace vexa::test
