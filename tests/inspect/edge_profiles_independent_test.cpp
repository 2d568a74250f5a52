// Edges around a position on a profile against their descriptions followed step by step.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

float cross(const float* data, int32_t n, int32_t start, int32_t step, float level)
{
    return I_FindEdgeType(data, n, start, step, level, PIX_FLOAT);
}
int32_t leftOf(float e)
{
    return static_cast<int32_t>(std::floor(double{e} - 0.01));
}
int32_t rightOf(float e)
{
    return static_cast<int32_t>(std::ceil(double{e} + 0.01));
}

float fiveEdges(const float* data, int32_t n, int32_t start, float level, float* out)
{
    std::fill(out, out + 5, -1.0F);
    if (start <= 0)
        return static_cast<float>(n);
    int32_t first = start, last = start;
    for (int32_t i = start - 1; i >= 0; --i)
        first = data[i] != 0.0F ? i : first;
    for (int32_t i = start + 1; i < n; ++i)
        last = data[i] != 0.0F ? i : last;
    const float* part = data + first;
    const int32_t m = last - first + 1;
    out[2] = cross(part, m, start - first, 1, level);
    out[1] = cross(part, m, out[2] > 0 ? leftOf(out[2]) : start, -1, level);
    if (out[1] > 0)
        out[0] = cross(part, m, leftOf(out[1]), -1, level);
    if (out[2] > 0)
        out[3] = cross(part, m, rightOf(out[2]), 1, level);
    if (out[3] > 0)
        out[4] = cross(part, m, rightOf(out[3]), 1, level);
    for (int32_t i = 0; i < 5; ++i) {
        if (out[i] > static_cast<float>(m - 1))
            out[i] = -1.0F;
        if (out[i] > 0)
            out[i] += static_cast<float>(first);
    }
    return out[1] >= 0   ? std::fabs(out[1] - static_cast<float>(start))
           : out[2] >= 0 ? std::fabs(out[2] - static_cast<float>(start))
                         : static_cast<float>(n);
}

int32_t adjusted(const float* a, const float* b, int32_t n, int32_t start, float level, int32_t range)
{
    if (start >= n)
        return 0;
    bool crosses = false;
    for (int32_t i = std::max(start - range + 1, 1); i < std::min(n - 3, start + range - 1); ++i)
        crosses = crosses || (double{a[i - 1]} - level) * (double{a[i + 1]} - level) < 0;
    if (!crosses || range < 1)
        return start;
    for (int32_t k = 0; k < range; ++k) {
        const double there = double{a[std::clamp(start + k, 0, n - 1)]} - level,
                     here = double{a[start]} - level;
        const int32_t t = there * here < 0 ? -k : k;
        for (const int32_t candidate : {start - t, start + t}) {
            const int32_t c = std::clamp(candidate, 0, n - 1);
            if (double{a[c] - level} * double{b[c] - level} > 0)
                return c;
        }
    }
    return start;
}

std::vector<std::string> boxes; // of the platform, caught

} // namespace

TEST(IndependentProfileEdges, ThreeAndFiveEdges)
{
    Random random(1021);
    for (int32_t round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        const int32_t n = between(random, 1, 30), start = between(random, -2, n - 1),
                      late = start + between(random, 0, 1) * between(random, 0, 12);
        const int32_t zerosLeft = between(random, 0, 3) ? 0 : between(random, 0, 8);
        const int32_t zerosRight = between(random, 0, 3) ? 0 : between(random, 0, 8);
        const float level = static_cast<float>(between(random, 2, 14)) / 2,
                    width = static_cast<float>(between(random, 0, 30)) / 4;
        std::vector<float> data(static_cast<std::size_t>(n)), other = data;
        for (int32_t i = 0; i < n; ++i) {
            data[static_cast<std::size_t>(i)] =
                i < zerosLeft || i >= n - zerosRight ? 0.0F : static_cast<float>(between(random, 0, 20)) / 2;
            other[static_cast<std::size_t>(i)] = static_cast<float>(between(random, 0, 20)) / 2;
        }
        float five[5], expectedFive[5];
        const float distance = fiveEdges(data.data(), n, start, level, expectedFive);
        const std::string what =
            std::to_string(round) + ": n " + std::to_string(n) + " start " + std::to_string(start);
        ASSERT_EQ(I_GetEdges5(data.data(), n, start, level, five), distance) << what;
        for (int32_t i = 0; i < 5; ++i)
            ASSERT_EQ(five[i], expectedFive[i]) << what << " edge " << i;
        float e[3] = {-5, -5, -5}, x[3] = {-5, -5, -5};
        float step = 0;
        if (late >= 0) {
            const double w3 = width / 3.0, low = 1.0 + w3;
            const auto from = static_cast<int32_t>(late < low ? low : std::min<double>(late, n - w3 - 2.0));
            x[0] = x[2] = -1;
            x[1] = cross(data.data(), n, from, 1, level);
            if (x[1] < 0)
                x[1] = cross(data.data(), n, from, -1, level);
            if (x[1] >= 0) {
                const int32_t right = std::min(rightOf(x[1]), n - 1); // none lies behind the last
                step = std::fabs(data[static_cast<std::size_t>(std::floor(x[1]))] -
                                 data[static_cast<std::size_t>(right)]);
                x[0] = cross(data.data(), n, leftOf(x[1]), -1, level);
                x[2] = cross(data.data(), n, rightOf(x[1]), 1, level);
            }
        }
        ASSERT_EQ(I_GetEdges(data.data(), n, late, width, level, &e[0], &e[1], &e[2]), step) << what;
        for (int32_t i = 0; i < 3; ++i)
            ASSERT_EQ(e[i], x[i]) << what << " edge " << i;
        const int32_t range = between(random, -1, 9), from = std::max(start, 0);
        ASSERT_EQ(I_AdjustStartEdge(data.data(), other.data(), n, from, level, range),
                  adjusted(data.data(), other.data(), n, from, level, range))
            << what << " range " << range;
    }
}

TEST(IndependentProfileEdges, LiteralNumbers)
{
    const std::vector<float> zeros(10, 0.0F);
    float five[5];
    EXPECT_EQ(I_GetEdges5(zeros.data(), 10, 4, 5, five), 10.0F);
    EXPECT_EQ(five[2], -1.0F);
    EXPECT_EQ(I_AdjustStartEdge(zeros.data(), zeros.data(), 10, 10, 5, 3), 0);
    const std::vector<float> peak = {0, 1, 2, 3, 4, 5, 9, 9, 9, 9, 9, 9};
    float e1 = 0, e2 = 0, e3 = 0; // on sample 5 exactly: from 5 to 6
    EXPECT_EQ(I_GetEdges(peak.data(), 12, 3, 1, 5, &e1, &e2, &e3), 4.0F);
    EXPECT_EQ(e2, 5.0F);
    EXPECT_EQ(e1, -1.0F); // one below 5 all the way, from sample 4 on
    EXPECT_EQ(I_GetEdges5(peak.data(), 12, 0, 5, five), 12.0F);
    e1 = e2 = e3 = 77;
    EXPECT_EQ(I_GetEdges(peak.data(), 12, -1, 1, 5, &e1, &e2, &e3), 0.0F);
    EXPECT_EQ(e2, 77.0F); // left unwritten
    EXPECT_EQ(I_AdjustStartEdge(peak.data(), peak.data(), 12, 5, 5, 0), 5);

    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
        boxes.emplace_back(text);
        return answer;
    };
    vexaSetPlatform(&platform);
    const int32_t debug = I_SetDebug(1);
    I_GetEdges(peak.data(), 12, 3, 1, 5, &e1, &e2, &e3);
    I_GetEdges(peak.data(), 12, 8, 1, 5, &e1, &e2, &e3);
    I_GetEdges(peak.data(), 12, 3, 1, 50, &e1, &e2, &e3);
    I_SetDebug(debug);
    vexaSetPlatform(nullptr);
    ASSERT_EQ(boxes.size(), 4U);
    EXPECT_EQ(boxes[0], "Done: e1=-1.0 e2=5.0 e3=-1.0 ctr2=4 ctr3=6");
    EXPECT_EQ(boxes[1].substr(0, 19), "e2 looking left e2=");
    EXPECT_EQ(boxes[2], boxes[0]);
    EXPECT_EQ(boxes[3].substr(0, 19), "e2 looking left e2=");
}
