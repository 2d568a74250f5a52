// Sums, fits, peaks, the robust mean.
#include <limits>

#include "tests/support/test_failures.h"
#include "vexalib/vexalib.h"

namespace
{

TEST(LiteralPeaks, MeanstdvFromSums)
{
    double mean = -1.0;
    double deviation = -1.0;
    meanstdv(4, 2 + 4 + 4 + 6, 4 + 16 + 16 + 36, &mean, &deviation);
    EXPECT_DOUBLE_EQ(4.0, mean);
    EXPECT_DOUBLE_EQ(std::sqrt(8.0 / 3.0), deviation);
    meanstdv(1, 7, 49, &mean, &deviation);
    EXPECT_EQ(7.0, mean);
    EXPECT_EQ(0.0, deviation);
    meanstdv(0.5, 7, 49, &mean, &deviation);
    EXPECT_EQ(0.0, mean);
    meanstdv(1.5, 3, 6.5, nullptr, &deviation);
    EXPECT_DOUBLE_EQ(1.0, deviation);
    meanstdv(2, 10, 49, &mean, &deviation);
    EXPECT_EQ(0.0, deviation) << "a negative radicand counts as 0";
    meanstdv(2, 10, 49, nullptr, nullptr);
}

TEST(LiteralPeaks, LeastsquaresSubtractsTheTwoBehindTheDivision)
{
    const double x[] = {0, 1, 2, 3};
    const double y[] = {1, 23, -17, 9};
    double sx = 0, sxx = 0, sxy = 0, sy = 0, syy = 0;
    for (int32_t i = 0; i < 4; ++i) {
        sx += x[i];
        sxx += x[i] * x[i];
        sxy += x[i] * y[i];
        sy += y[i];
        syy += y[i] * y[i];
    }
    double intercept = 0.0;
    double slope = 0.0;
    double sigma = 0.0;
    leastsquares(4, sx, sxx, sxy, sy, syy, &intercept, &slope, &sigma);
    EXPECT_DOUBLE_EQ(-1.6, slope);
    EXPECT_DOUBLE_EQ(6.4, intercept);
    double squares = 0.0;
    for (int32_t i = 0; i < 4; ++i)
        squares += std::pow(y[i] - intercept - slope * x[i], 2);
    EXPECT_NEAR(std::sqrt(squares / 4 - 2.0), sigma, 1e-9);
    leastsquares(4, sx, sxx, sxy, sy, syy, nullptr, nullptr, nullptr);
    leastsquares(2, 1, 1, 3, 4, 10, &intercept, &slope, &sigma);
    EXPECT_EQ(1.0, intercept);
    EXPECT_EQ(2.0, slope);
    EXPECT_TRUE(std::isnan(sigma));
}

TEST(LiteralPeaks, ParabolaThroughThreeSamples)
{
    double position = 0.0;
    double height = 0.0;
    EXPECT_EQ(1, I_ParabolicPeak(10.0, 14.0, 12.0, &position, &height));
    EXPECT_DOUBLE_EQ(7.0 / 6.0, position);
    EXPECT_DOUBLE_EQ(10.0 + 49.0 / 12.0, height);
    EXPECT_EQ(0, I_ParabolicPeak(1, 2, 3, &position, &height));
    EXPECT_EQ(1.0, position);
    EXPECT_EQ(1.0, height);
    EXPECT_EQ(0, I_ParabolicPeak(1, 2, 3, nullptr, nullptr));
    EXPECT_EQ(1, I_ParabolicPeak(1, 5, 3, nullptr, nullptr));
}

// The samples of y = top - bend * (x - at)^2 give its vertex back.
TEST(AgainstReferencePeaks, ParabolaGivesItsVertexBack)
{
    for (double at = 0.5; at <= 1.5; at += 0.125)
        for (const double bend : {0.5, 3.0, -2.0}) {
            const auto y = [&](double x) { return 100.0 - bend * (x - at) * (x - at); };
            double position = 0.0;
            double height = 0.0;
            EXPECT_EQ(1, I_ParabolicPeak(y(0), y(1), y(2), &position, &height));
            EXPECT_NEAR(at, position, 1e-9);
            EXPECT_NEAR(100.0, height, 1e-9);
        }
}

TEST(LiteralPeaks, FindPeakByParabola)
{
    float height = 0.0F;
    EXPECT_FLOAT_EQ(1.0F / 6.0F, I_FindPeak(10, 14, 12, &height, 0));
    EXPECT_FLOAT_EQ(10.0F + 49.0F / 12.0F, height);
    EXPECT_EQ(0.0F, I_FindPeak(1, 2, 3, &height, 0));
    EXPECT_EQ(1.0F, height);
}

struct TriangleCase {
    float left, center, right, position, height;
};

TEST(LiteralPeaks, FindPeakByTriangle)
{
    const TriangleCase cases[] = {
        {10, 14, 12, 0.25F, 15.0F},   // slopes 4 and 2
        {12, 14, 10, -0.25F, 15.0F},  // slopes 2 and 4
        {10, 14, 10, 0.0F, 14.0F},    // level
        {14, 14, 10, -0.5F, 16.0F},   // slope 0 and 4
        {15, 14, 10, -0.625F, 16.5F}, // slopes -1 and 4: the ratio -0.25 stays
        {17, 14, 10, -0.5F, 16.0F},   // slopes -3 and 4: the ratio -0.75 makes the lower one 0
        {10, 14, 17, 0.5F, 16.0F},    // the same from the other side
        {14, 14, 14, 0.0F, 14.0F},    // both 0
        {20, 14, 18, 0.25F, 15.0F},   // a valley: slopes -6 and -4
    };
    for (const TriangleCase& c : cases) {
        float height = 0.0F;
        const float position = I_FindPeak(c.left, c.center, c.right, &height, 1);
        SCOPED_TRACE(testing::Message() << c.left << ' ' << c.center << ' ' << c.right);
        EXPECT_FLOAT_EQ(c.position, position);
        EXPECT_FLOAT_EQ(c.height, height);
        EXPECT_EQ(position, I_FindPeak(c.left, c.center, c.right, nullptr, 7));
    }
}

TEST(BoundsPeaks, FindPeakStaysWithinOneSample)
{
    for (const float left : {-100.0F, -1.0F, 0.0F, 0.5F, 40.0F, std::numeric_limits<float>::infinity()})
        for (const float right : {-100.0F, -1.0F, 0.0F, 0.5F, 40.0F}) {
            const float position = I_FindPeak(left, 1.0F, right, nullptr, 1);
            EXPECT_FALSE(std::fabs(position) > 1.0F) << left << ' ' << right;
        }
}

TEST(LiteralPeaks, MajorityVoteDropsTheFarthest)
{
    const double values[] = {1, 2, 3, 100};
    EXPECT_EQ(2.0, MajorityVote(values, 4, 3));
    EXPECT_EQ(2.5, MajorityVote(values, 4, 2)) << "of 1 and 3, equally far from 2, the first one goes";
}

TEST(BoundsPeaks, MajorityVoteKeepsAtLeastTwo)
{
    const double values[] = {10, 20, 40};
    EXPECT_EQ(15.0, MajorityVote(values, 3, 2));
    for (const int32_t keep : {0, 1, -5})
        EXPECT_EQ(15.0, MajorityVote(values, 3, keep)) << keep;
    EXPECT_EQ(0.0, MajorityVote(values, 3, 3));
    EXPECT_EQ(0.0, MajorityVote(values, 3, 9));
    EXPECT_EQ(0.0, MajorityVote(values, 2, 1)) << "keep counts as 2, which is all";
    EXPECT_EQ(0.0, MajorityVote(values, 0, 0));
    EXPECT_EQ(0.0, MajorityVote(nullptr, 3, 2));
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double odd[] = {nan, nan, 3.0, 4.0};
    EXPECT_EQ(3.5, MajorityVote(odd, 4, 2)) << "without any distance the first goes";
}

TEST(FailuresPeaks, MajorityVoteWithoutMemory)
{
    const double values[] = {1, 2, 3, 100};
    double result = -1.0;
    vexa::test::forEachFailingAllocation(
        [&] {
            result = MajorityVote(values, 4, 3);
            return int64_t{0};
        },
        [&](int64_t) {
            EXPECT_EQ(0.0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

} // namespace
