// What neighbourhood operators leave behind without memory: the described tag, the result, images and settings.
#include <set>

#include "tests/filters/plain_neighbourhood.h"
#include "vexalib/convolution.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

// The tags behind "Memory allocation failed: " that the call leaves, one allocation failing at a time.
std::set<std::string> tagsOf(const std::function<int64_t()>& call, int64_t result)
{
    std::set<std::string> tags;
    clearError();
    forEachFailingAllocation(call, [&](int64_t got) {
        const std::string prefix = "Memory allocation failed: ", text = errorText();
        if (I_GetError(nullptr, 0) == 2 && text.rfind(prefix, 0) == 0) {
            EXPECT_EQ(got, result) << text;
            const std::size_t end = text.rfind(": ", text.find(" MB used"));
            tags.insert(text.substr(prefix.size(), end - prefix.size()));
        }
        clearError();
    });
    return tags;
}

TEST(IndependentFilterFailures, CarryTheDescribedTags)
{
    const int32_t bytes = noiseImage(12, 9, 1), out = byteImage(12, 9), floats = floatImage(12, 9),
                  floatOut = floatImage(12, 9);
    I_SetROIType(0);
    EXPECT_THAT(tagsOf([&] { return I_Smooth(bytes, out); }, 0), testing::Contains("mxnoperator"));
    EXPECT_THAT(tagsOf([&] { return I_Edge(bytes, out, 3, 3); }, 0), testing::Contains("mxnoperator"));
    std::vector<int32_t> weights(35, 1);
    std::vector<uint32_t> angles(90);
    EXPECT_THAT(tagsOf([&] { return I_MxNConvolve(5, 7, weights.data(), 0, floats, floatOut); }, 0),
                testing::Contains("I_MxNConvolve: 140"));
    EXPECT_THAT(tagsOf([&] { return I_CircleSmooth(bytes, out, 4.0); }, 0),
                testing::Contains("I_CircleSmooth: 100"));
    EXPECT_THAT(tagsOf([&] { return I_FillCircle(bytes, 5, 5, 9, 4.0f); }, 0),
                testing::Contains("I_FillCircle: 100"));
    EXPECT_THAT(tagsOf([&] { return I_ShiftSharpen(bytes, out, 0.25f, 0.5f, 1) * 0; }, 0),
                testing::Contains("I_ShiftSharpen 308 bytes"));
    EXPECT_THAT(tagsOf(
                    [&] {
                        return static_cast<int64_t>(
                            I_Gradient2(bytes, out, 1, 5, nullptr, nullptr, angles.data(), 90) * 8);
                    },
                    0),
                testing::Contains("I_Gradient2"));
    EXPECT_THAT(
        tagsOf([&] { return static_cast<int64_t>(I_Gradient(floats, out, 1, 5, nullptr, nullptr) * 8); }, 0),
        testing::Contains("I_Gradient2"));
    std::vector<float> array(50, 3.0f);
    EXPECT_THAT(tagsOf([&] { return I_SmoothArrayFloat(array.data(), 50, 5); }, 0),
                testing::Contains("arraysmooth"));
    std::vector<int32_t> longs(50, 3);
    EXPECT_THAT(tagsOf([&] { return I_SmoothArrayLong(longs.data(), 50, 5); }, 0),
                testing::Contains("arraysmooth"));
    std::vector<uint8_t> few(50, 3);
    EXPECT_THAT(tagsOf([&] { return I_SmoothArrayByte(few.data(), 50, 5); }, 0), testing::Contains(""));
    // Passes that fail end their functions; thinning and the window means give 1 all the same.
    EXPECT_THAT(tagsOf([&] { return I_Erode(bytes, out, 2.5f); }, 0), testing::Contains("mxnoperator"));
    EXPECT_THAT(tagsOf([&] { return I_BinaryDilate(bytes, out, 2); }, 0), testing::Contains("mxnoperator"));
    EXPECT_THAT(tagsOf([&] { return I_Skeleton(bytes, out); }, 1), testing::Contains("mxnoperator"));
    EXPECT_THAT(tagsOf([&] { return I_MxNSmooth(bytes, out, 3, 3); }, 1), testing::Contains("mxnoperator"));
    closeImages({bytes, out, floats, floatOut});
}

TEST(IndependentFilterFailures, KeepSettings)
{
    const int32_t im = noiseImage(12, 9, 1), out = byteImage(12, 9);
    const VexaPoint polygon[] = {{3, 1}, {9, 2}, {6, 7}};
    I_SetPolygonROI(polygon, 3);
    I_SetBorderMode(-1, nullptr, 0);
    forEachFailingAllocation([&] { return I_MxNSmooth(im, out, 5, 5) + I_UnsharpMask(im, out, 4.5f, 3, 1); },
                             [&](int64_t) {
                                 EXPECT_EQ(I_GetROIType(), 2);
                                 EXPECT_EQ(I_SetBorderMode(-1, nullptr, 0), -1);
                                 clearError();
                             });
    VexaPoint kept[3] = {};
    EXPECT_EQ(I_GetPolygonROI(kept, 3), 3);
    EXPECT_EQ(std::memcmp(kept, polygon, sizeof kept), 0);
    I_SetROIType(0);
    closeImages({im, out});
}

} // namespace
