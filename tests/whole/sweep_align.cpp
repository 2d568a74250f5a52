#include "tests/whole/sweep.h"
#include "vexalib/align1d.h"
#include "vexalib/correlation.h"
#include "vexalib/search.h"
#include "vexalib/smart_align.h"
#include "vexalib/tile_align.h"

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
        swept("I_SetStrict1DConvolve", I_SetStrict1DConvolve,
              [](Stage& s) {
                  return s.pick({0, 1});
              }),
        swept("Setup1DCorrelate", Setup1DCorrelate, MODE, MODE),
        {"I_CrossCorrelateArray",
         [](Stage& s) {
             auto* a = static_cast<int32_t*>(OUT(s));
             auto* b = static_cast<int32_t*>(OUT(s));
             const int32_t lenA = COUNT(s), lenB = COUNT(s);
             I_CrossCorrelateArray(a, lenA, b, lenB, MODE(s), static_cast<float*>(OUT(s)));
         }},
        swept("I_AutoCorrelate1DType", I_AutoCorrelate1DType, OUT, COUNT, TYPE, OUT, MODE, OUT),
        swept("AutoCorrelate1D", AutoCorrelate1D, OUT, OUT, COUNT, MODE),
        {"I_ImageAlign1D",
         [](Stage& s) {
             float shift[4] = {static_cast<float>(REAL(s)), static_cast<float>(s.pick({0.0, 3.5, -2.0, 1e5})),
                               0, 0};
             const bool isGiven = s.random() % 3;
             I_ImageAlign1D(IM(s), IM(s), XY(s), XY(s), SIZE(s), SIZE(s), MODE(s), MODE(s),
                            isGiven ? shift : nullptr, isGiven ? shift + 1 : nullptr,
                            isGiven ? shift + 2 : nullptr, isGiven ? shift + 3 : nullptr);
         }},
        swept("I_GetAlign1DParams", I_GetAlign1DParams, OUT, OUT, OUT, OUT, OUT, OUT, OUT, OUT),
        swept("I_GetAlign1DRepeat", I_GetAlign1DRepeat, OUT, OUT),
        {"I_SmartAlign",
         [](Stage& s) {
             VexaBox a = box(s), b = box(s);
             float shift[4] = {static_cast<float>(REAL(s)), static_cast<float>(s.pick({0.0, 3.5, -2.0, 1e5})),
                               0, 0};
             const bool isGiven = s.random() % 3;
             I_SmartAlign(IM(s), IM(s), s.random() % 3 ? &a : nullptr, s.random() % 3 ? &b : nullptr, MODE(s),
                          isGiven ? shift : nullptr, isGiven ? shift + 1 : nullptr,
                          isGiven ? shift + 2 : nullptr, isGiven ? shift + 3 : nullptr);
         }},
        {"FindClosestEdge",
         [](Stage& s) {
             VexaBox a = box(s);
             FindClosestEdge(IM(s), s.random() % 3 ? &a : nullptr, MODE(s), static_cast<VexaPoint*>(OUT(s)),
                             static_cast<VexaPoint*>(OUT(s)), static_cast<int32_t*>(OUT(s)),
                             static_cast<int32_t*>(OUT(s)));
         }},
        {"I_FindBorder",
         [](Stage& s) {
             VexaBox a = box(s);
             I_FindBorder(IM(s), s.random() % 3 ? &a : nullptr, MODE(s));
         }},
        {"I_AutoAlign",
         [](Stage& s) {
             float shift[2] = {static_cast<float>(REAL(s)),
                               static_cast<float>(s.pick({0.0, 3.5, -2.0, 1e5}))};
             const bool isGiven = s.random() % 3;
             I_AutoAlign(IM(s), IM(s), MODE(s), MODE(s), MODE(s), static_cast<VexaPoint*>(OUT(s)),
                         isGiven ? shift : nullptr, isGiven ? shift + 1 : nullptr);
         }},
        {"I_AlignSubtract1",
         [](Stage& s) {
             VexaPointF shift = {static_cast<float>(REAL(s)),
                                 static_cast<float>(s.pick({0.0, 3.5, -2.0, 1e5}))};
             I_SetClipMode(s.pick({0, 1, 2, 3, 4, 5}));
             I_AlignSubtract1(IM(s), IM(s), IM(s), s.random() % 3 ? &shift : nullptr, MODE(s),
                              s.pick({-1, 0, 0, 77}));
         }},
        swept("I_AlignSubtract", I_AlignSubtract, IM, IM, IM, XY, XY, MODE,
              [](Stage& s) {
                  return s.pick({-1, 0, 9});
              }),
        swept("I_AlignStats", I_AlignStats, OUT, MODE, MODE, OUT),
        swept("AlignStats", AlignStats),
        {"I_GetBigBlockType",
         [](Stage& s) {
             I_GetBigBlockType(XY(s), XY(s), s.pick({kLowest, 0, 1, 9, 20}), s.pick({kLowest, 0, 1, 7, 20}),
                               OUT(s), IM(s), TYPE(s));
         }},
    };
}

} // namespace vexa::test
