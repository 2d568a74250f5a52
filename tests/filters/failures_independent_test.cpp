// What neighbourhood operators leave behind without memory: the described tag, the result, images and settings.
#include <limits>
#include <set>

#include "tests/filters/plain_neighbourhood.h"
#include "vexalib/convolution.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Weights = std::vector<int32_t>;

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
    const float real[6] = {1};
    const VexaPointF pairs[6] = {{1, 0}};
    EXPECT_THAT(tagsOf([&] { return I_FreeKernel(I_MakeComplexKernel(nullptr, 3, 2, real, pairs)); }, 0),
                testing::Contains("I_MakeComplexKernel: 6"));
    const double profile[3] = {1, 1, 1};
    EXPECT_THAT(tagsOf([&] { return I_CustomSmooth(bytes, out, 3, 3, profile, profile); }, 0),
                testing::Contains("I_CustomBlurKernel"));
    // A line without memory does not end a median.
    EXPECT_THAT(tagsOf([&] { return I_Median(bytes, out) * 0; }, 0), testing::Contains("I_Median: 36"));
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

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr int32_t kMost = INT32_MAX, kLeast = INT32_MIN;

// Every filter of images, with arguments that make no sense.
void runAll(int32_t src, int32_t dst)
{
    const int32_t sizes[] = {kLeast, -1, 0, 1, kMost};
    const float floats[] = {std::nanf(""), kInfinity, -kInfinity, 1e30f, -1e30f, 2.5f};
    I_Smooth(src, dst);
    I_Median(src, dst);
    I_Sobel(src, dst);
    I_Skeleton(src, dst);
    Weights weights(15, 1);
    I_MxNConvolve(3, 3, weights.data(), 3, src, dst);
    I_MxNConvolve(3, 5, weights.data(), -3, src, dst);
    for (const int32_t a : sizes) {
        I_Sharpen(src, dst, a, 1, 0);
        I_Sharpen(src, dst, 3, a, 1);
        I_Contour(src, dst, a, kLeast);
        I_Contour(src, dst, 3, a);
        I_BinaryDilate(src, dst, a);
        I_Deflicker(src, dst, a);
        I_MxNConvolve(3, 3, weights.data(), a, src, dst);
        I_Gradient(src, dst, a, 3, nullptr, nullptr);
        I_PeakGradient(src, dst, a, 3, nullptr, nullptr);
        for (const int32_t b : sizes) {
            I_Edge(src, dst, a, b);
            I_MinPeak(src, dst, a, b, 1);
            I_MxN9ptFilt(src, dst, a, b, 7, nullptr);
        }
    }
    for (const float a : floats) {
        const auto d = static_cast<double>(a);
        uint32_t histogram[256];
        I_Erode(src, dst, a);
        I_Dilate(src, dst, a);
        I_Gradient(src, dst, 1, a, histogram, nullptr);
        I_PeakGradient(src, dst, 1, a, histogram, nullptr);
        I_CircleSmooth(src, dst, d);
        I_GaussianSmooth2(src, dst, a == kInfinity || a == 1e30f ? 1.5 : d, d);
        I_MxN9ptFilt(src, dst, 3, 3, 0, &a);
        const float pair[] = {a, a};
        I_MxN9ptFilt(src, dst, 3, 3, 4, pair);
        for (const float b : floats) {
            I_MxNSmooth(src, dst, a, b);
            I_ShiftSharpen(src, dst, a, b, 1);
            I_ShiftSharpen(src, dst, 0.25f, a, b);
            I_FillCircle(dst, a, 3, b, 2);
            I_FillCircle(dst, 3, a, 7, b);
        }
    }
}

TEST(IndependentFilterFailures, SurviveNonsense)
{
    I_SetErrorHandlerCallback([](const char*, int32_t) {});
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_BGR24}) {
        const int32_t im = image(9, 7, type), out = image(9, 7, type == PIX_FLOAT ? PIX_BYTE : type);
        if (type == PIX_FLOAT) {
            const float odd[] = {std::nanf(""), kInfinity, -kInfinity, 3e38f, -3e38f, 1e10f};
            for (int32_t i = 0; i < 6; ++i)
                I_PutPix(i + 1, i, odd[i], im);
        }
        runAll(im, out);
        runAll(im, im);
        closeImages({im, out});
    }
    runAll(0, 0);
    runAll(-250, 5);
    for (const int32_t width : {kLeast, -1, 0, 1, 2, 3, kMost}) {
        for (const int32_t count : {kLeast, -1, 0, 1, 2, 3, 9}) {
            int32_t longs[] = {kMost, kLeast, kMost, kMost, kMost, kMost, kLeast, 0, 1};
            float floats[] = {kInfinity, 1, std::nanf(""), 3e38f, 3e38f, -kInfinity, 0, 1, 2};
            int16_t shorts[9] = {32767, -32768};
            uint8_t bytes[9] = {255, 255};
            I_SmoothArrayLong(longs, count, width);
            I_SmoothArrayFloat(floats, count, width);
            I_SmoothArrayShort(shorts, count, width);
            I_SmoothArrayByte(bytes, count, width);
            EXPECT_EQ(longs[8], count == 9 ? longs[8] : 1); // nothing beyond the count
        }
    }
    I_SetErrorHandlerCallback(nullptr);
    clearError();
}

// An application's pixels lie where it wants them, at odd addresses and odd distances too.
TEST(IndependentFilterFailures, NeedNoAlignment)
{
    static int32_t cross[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 8, 7, 6, 5, 4};
    const std::vector<Operation> operations = {
        I_Smooth,
        I_Median,
        I_Sobel,
        [](int32_t a, int32_t b) { return I_Erode(a, b, 1.5f); },
        [](int32_t a, int32_t b) { return I_Sharpen(a, b, 20, 2, 0); },
        [](int32_t a, int32_t b) { return I_MxNSmooth(a, b, 4.5f, 3); },
        [](int32_t a, int32_t b) { return I_UnsharpMask(a, b, 5, 5, 1); },
        [](int32_t a, int32_t b) { return I_MxNConvolve(3, 3, cross, 0, a, b); },
        [](int32_t a, int32_t b) { return I_MxNConvolve(3, 5, cross, 0, a, b); },
        [](int32_t a, int32_t b) { return I_GaussianSmooth(a, b, 1.5); },
        [](int32_t a, int32_t b) { return I_ShiftSharpen(a, b, 0.25f, -1.5f, 1); },
        [](int32_t a, int32_t b) { return I_Deflicker(a, b, -1); },
        [](int32_t a, int32_t b) {
            return static_cast<int32_t>(I_Gradient(a, b, 1, 30, nullptr, nullptr) * 1000);
        },
        [](int32_t a, int32_t b) { return I_ROICopy(a, b, 0, 0) && I_FillCircle(b, 12.5f, 7, 99, 11.5f); }};
    I_SetROIType(0);
    I_SetBorderMode(-2, nullptr, 0);
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_BGR24}) {
        const int32_t cols = 37, rows = 15, bytes = I_ImTypeBytes(type), stride = cols * bytes + 3;
        Random random(51);
        const int32_t src = I_ImOpen(cols, rows, type), dst = I_ImOpen(cols, rows, type);
        fillRandomly(src, random);
        std::vector<uint8_t> in(static_cast<std::size_t>(stride * rows + 1), 0xA5), out = in;
        const int32_t oddSrc = I_ImOpenPtr(cols, rows, stride, type, &in[1]);
        const int32_t oddDst = I_ImOpenPtr(cols, rows, stride, type, &out[1]);
        I_ImageCopy(src, oddSrc);
        for (std::size_t k = 0; k < operations.size(); ++k) {
            I_ImClear(dst, 1);
            I_ImClear(oddDst, 1);
            EXPECT_EQ(operations[k](oddSrc, oddDst), operations[k](src, dst));
            EXPECT_EQ(bytesOf(oddDst), bytesOf(dst)) << "type " << type << " operation " << k;
        }
        for (int32_t y = 0; y < rows; ++y) // what pads the rows
            EXPECT_EQ(out[static_cast<std::size_t>(y * stride + cols * bytes + 2)], 0xA5);
        closeImages({src, dst, oddSrc, oddDst});
    }
    I_SetBorderMode(-1, nullptr, 0);
}

} // namespace
