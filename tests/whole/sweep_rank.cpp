#include "tests/whole/sweep.h"
#include "vexalib/edges.h"
#include "vexalib/neighbourhood.h"
#include "vexalib/rank.h"

namespace vexa::test
{
namespace
{

using namespace gen;

int32_t extent(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 3, 4, 7, 50, 1000, kHighest});
}

template <typename Call>
SweptFunction inSetting(const char* name, Call call)
{
    return {name, [=](Stage& s) {
                chooseRegionAndBorder(s);
                call(s);
                clearRegionAndBorder();
            }};
}

} // namespace

std::vector<SweptFunction> sweptRankAndEdges()
{
    const auto histogram = [](Stage& s) { return static_cast<uint32_t*>(OUT(s)); };
    const auto count = [](Stage& s) { return static_cast<int32_t*>(OUT(s)); };
    const auto real = [](Stage& s) { return static_cast<float>(REAL(s)); };
    return {
        inSetting("I_MxN9ptFilt",
                  [=](Stage& s) {
                      const float param[] = {real(s), real(s)};
                      I_MxN9ptFilt(IM(s), IM(s), extent(s), extent(s),
                                   s.pick({-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, kHighest}),
                                   s.random() % 3 ? param : nullptr);
                  }),
        inSetting("I_Median", [](Stage& s) { I_Median(IM(s), IM(s)); }),
        inSetting("I_Erode", [=](Stage& s) { I_Erode(IM(s), IM(s), real(s)); }),
        inSetting("I_Dilate", [=](Stage& s) { I_Dilate(IM(s), IM(s), real(s)); }),
        inSetting("I_MinPeak", [](Stage& s) { I_MinPeak(IM(s), IM(s), extent(s), extent(s), MODE(s)); }),
        inSetting("I_BinaryDilate", [](Stage& s) { I_BinaryDilate(IM(s), IM(s), MODE(s)); }),
        inSetting("I_Skeleton", [](Stage& s) { I_Skeleton(IM(s), IM(s)); }),
        inSetting("I_Deflicker", [](Stage& s) { I_Deflicker(IM(s), IM(s), MODE(s)); }),
        inSetting("I_Edge", [](Stage& s) { I_Edge(IM(s), IM(s), extent(s), extent(s)); }),
        inSetting("I_Sobel", [](Stage& s) { I_Sobel(IM(s), IM(s)); }),
        inSetting("I_Contour", [](Stage& s) { I_Contour(IM(s), IM(s), MODE(s), MODE(s)); }),
        inSetting("I_Gradient",
                  [=](Stage& s) { I_Gradient(IM(s), IM(s), extent(s), real(s), histogram(s), count(s)); }),
        // A number of directions below 1 ends the process.
        inSetting("I_Gradient2",
                  [=](Stage& s) {
                      I_Gradient2(IM(s), IM(s), extent(s), real(s), histogram(s), count(s), histogram(s),
                                  s.pick({1, 2, 3, 90, 256, kBufferElements}));
                  }),
        inSetting(
            "I_PeakGradient",
            [=](Stage& s) { I_PeakGradient(IM(s), IM(s), extent(s), real(s), histogram(s), count(s)); }),
    };
}

} // namespace vexa::test
