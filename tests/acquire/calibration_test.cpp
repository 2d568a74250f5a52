#include "vexalib/calibration.h"

#include <clocale>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>

#include <gmock/gmock.h>

#include "acquire/calibration.h"
#include "tests/support/test_files.h"

using namespace vexa::test;

namespace
{

namespace fs = std::filesystem;

// A current directory of the test's own, with or without a calibration file. What was calibrated before is
// forgotten.
class CalibrationFolder
{
public:
    CalibrationFolder() : before_(fs::current_path())
    {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::path(testing::TempDir()) / (std::string("calibration.") + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        fs::current_path(folder_);
        vexa::reloadCalibration();
    }
    explicit CalibrationFolder(const std::string& text) : CalibrationFolder() { rewrite(text); }
    ~CalibrationFolder()
    {
        fs::current_path(before_);
        fs::remove_all(folder_);
    }
    CalibrationFolder(const CalibrationFolder&) = delete;
    CalibrationFolder& operator=(const CalibrationFolder&) = delete;

    void rewrite(const std::string& text)
    {
        std::ofstream("ICALIB.DAT", std::ios::binary) << text;
        vexa::reloadCalibration();
    }

private:
    fs::path before_;
    fs::path folder_;
};

std::vector<float> table()
{
    const float* const entries = geticaltable();
    return {entries, entries + 257};
}

std::vector<float> identity()
{
    std::vector<float> all(257);
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = static_cast<float>(i);
    return all;
}

// The table as the four steps are told, entry by entry: each entry takes the first rule that reaches it.
std::vector<float> reference(const std::vector<int32_t>& x, const std::vector<float>& y)
{
    const std::size_t n = x.size();
    const auto slope = [&](std::size_t k) {
        return x[k] == x[k - 1] ? 0.0 : (double{y[k]} - y[k - 1]) / (static_cast<double>(x[k]) - x[k - 1]);
    };
    std::vector<float> all(257);
    for (int32_t i = 0; i <= 256; ++i) {
        double value = (static_cast<double>(i) - x[n - 1]) * slope(n - 1) + y[n - 1];
        for (std::size_t k = n - 1; k >= 1; --k)
            if (i < x[k])
                value = (static_cast<double>(i) - x[k]) * slope(k) + y[k];
        if (i < x[0])
            value = i * slope(1) + (y[0] - x[0] * slope(1));
        for (std::size_t k = 0; k < n; ++k)
            if (i == x[k])
                value = y[k];
        all[static_cast<std::size_t>(i)] = static_cast<float>(value);
    }
    return all;
}

} // namespace

TEST(LiteralCalibration, WithoutAFileEachGreyValueIsItself)
{
    const CalibrationFolder folder;
    EXPECT_EQ(identity(), table());
    EXPECT_STREQ("", vexa::calibrationUnit());
    EXPECT_EQ(100.5, intensitycal(100.5));
    EXPECT_EQ(256.0, intensitycal(256.0));
    EXPECT_EQ(-3.25, intensitycal(-3.25));
    EXPECT_EQ(1000.0, intensitycal(1000.0));
    EXPECT_EQ(17.5, intensityuncal(17.5));
    EXPECT_EQ(-4.0, intensityuncal(-4.0));
    EXPECT_EQ(300.0, intensityuncal(300.0));
}

TEST(LiteralCalibration, OnePointIsTooFew)
{
    const CalibrationFolder folder("10 20\n");
    EXPECT_EQ(identity(), table());
}

TEST(LiteralCalibration, FilesHaveCommentsAUnitAndPoints)
{
    const CalibrationFolder folder("; plate camera\n"
                                   "  lux and more\n"
                                   "\n"
                                   "nits per second\r\n"
                                   " 10.9 0.0\r\n"
                                   ";20 77\n"
                                   "late unit\n"
                                   "64\t0.31 with a remark\n"
                                   "12\n"
                                   "200 1.5");
    EXPECT_STREQ("nits", vexa::calibrationUnit());
    EXPECT_EQ(reference({10, 64, 200}, {0.0F, 0.31F, 1.5F}), table());
    EXPECT_EQ(0.31F, table()[64]);
    EXPECT_EQ(double{0.31F}, intensitycal(64.0));
}

TEST(LiteralCalibration, UnitsAreWordsThatAreNoPoints)
{
    CalibrationFolder folder("nanowatt\n0 1\n255 2\n");
    EXPECT_STREQ("nanowatt", vexa::calibrationUnit());
    folder.rewrite("10\n0 1\n255 2\n"); // one number is no point
    EXPECT_STREQ("10", vexa::calibrationUnit());
    folder.rewrite("0 1\n255 2\nlate\n");
    EXPECT_STREQ("", vexa::calibrationUnit());
}

TEST(LiteralCalibration, NumbersHaveAPointUnderEveryLocale)
{
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8"})
        if (std::setlocale(LC_NUMERIC, name))
            break;
    const CalibrationFolder folder("0 0.5\n+2 1.5e0\n");
    EXPECT_EQ(0.5F, table()[0]);
    EXPECT_EQ(1.0F, table()[1]);
    std::setlocale(LC_NUMERIC, "C");
}

TEST(BoundsCalibration, LinesEndAt79Characters)
{
    const std::string pad(75, ' ');
    CalibrationFolder folder("0 0\n" + pad + "100 7\n255 255\n"); // "100 " and then "7" on its own
    EXPECT_EQ(identity(), table());
    folder.rewrite("0 0\n" + pad.substr(5) + "100 7777\n255 255\n");
    EXPECT_EQ(7777.0F, table()[100]);
    folder.rewrite(std::string(200, 'u') + "\n0 0\n255 255\n");
    EXPECT_EQ(std::string(200 - 2 * 79, 'u'), vexa::calibrationUnit());
    folder.rewrite(std::string(79, 'u') + "\n0 0\n255 255\n");
    EXPECT_EQ(std::string(79, 'u'), vexa::calibrationUnit());
}

TEST(BoundsCalibration, PointsBehindThe256thDoNotCount)
{
    std::string text;
    for (int32_t i = 0; i < 255; ++i)
        text += std::to_string(i / 2) + " " + std::to_string(i / 2) + "\n";
    CalibrationFolder folder(text + "200 400\n");
    EXPECT_EQ(400.0F, table()[200]);
    folder.rewrite(text + "128 128\n200 400\n");
    EXPECT_EQ(200.0F, table()[200]);
}

TEST(BoundsCalibration, StrangeFiles)
{
    CalibrationFolder folder("1e30 5\n1e40 1e40\n-1e30 nan\n");
    EXPECT_EQ(257U, table().size());
    folder.rewrite(std::string("\0\0\n3 4\n5 6\n", 12));
    EXPECT_EQ(4.0F, table()[3]);
    EXPECT_EQ(6.0F, table()[5]);
    folder.rewrite("5 1e-60\n6 0.0\n");
    EXPECT_EQ(0.0F, table()[5]);
}

TEST(LiteralCalibration, FillContinuesTheOuterLines)
{
    const CalibrationFolder folder;
    const int32_t x[] = {100, 110, 130};
    const float y[] = {50.0F, 70.0F, 80.0F};
    EXPECT_EQ(geticaltable(), fillicaltable(x, y, 3));
    const std::vector<float> all = table();
    EXPECT_EQ(-150.0F, all[0]);
    EXPECT_EQ(48.0F, all[99]);
    EXPECT_EQ(50.0F, all[100]);
    EXPECT_EQ(68.0F, all[109]);
    EXPECT_EQ(70.0F, all[110]);
    EXPECT_EQ(75.0F, all[120]);
    EXPECT_EQ(80.0F, all[130]);
    EXPECT_EQ(143.0F, all[256]);
}

TEST(LiteralCalibration, FillWithTooFewPointsLeavesTheTable)
{
    const CalibrationFolder folder;
    const int32_t x[] = {0, 10};
    const float y[] = {5.0F, 6.0F};
    for (const int32_t count : {1, 0, -1, std::numeric_limits<int32_t>::min()})
        EXPECT_EQ(geticaltable(), fillicaltable(x, y, count));
    EXPECT_EQ(geticaltable(), fillicaltable(nullptr, y, 2));
    EXPECT_EQ(geticaltable(), fillicaltable(x, nullptr, 2));
    EXPECT_EQ(identity(), table());
}

TEST(LiteralCalibration, EqualGreyValuesHaveNoSlope)
{
    const CalibrationFolder folder;
    const int32_t x[] = {50, 50, 60};
    const float y[] = {1.0F, 3.0F, 13.0F};
    fillicaltable(x, y, 3);
    EXPECT_EQ(1.0F, table()[0]);
    EXPECT_EQ(1.0F, table()[49]);
    EXPECT_EQ(3.0F, table()[50]); // the last point there
    EXPECT_EQ(4.0F, table()[51]);
    fillicaltable(x, y, 2);
    EXPECT_EQ(3.0F, table()[256]);
}

TEST(LiteralCalibration, PointsOutsideTheTableGiveSlopes)
{
    const CalibrationFolder folder;
    const int32_t x[] = {-10, 10, 300};
    const float y[] = {0.0F, 20.0F, 310.0F};
    fillicaltable(x, y, 3);
    EXPECT_EQ(10.0F, table()[0]);
    EXPECT_EQ(19.0F, table()[9]);
    EXPECT_EQ(20.0F, table()[10]);
    EXPECT_EQ(266.0F, table()[256]);
    const int32_t extreme[] = {std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()};
    fillicaltable(extreme, y, 2);
    EXPECT_NEAR(10.0F, table()[128], 1e-4);
    const int32_t above[] = {1000, 2000};
    fillicaltable(above, y, 2);
    EXPECT_NEAR(-20.0F, table()[0], 1e-5);
    EXPECT_NEAR(-20.0F + 256 * 0.02F, table()[256], 1e-5);
    const int32_t below[] = {-2000, -1000};
    fillicaltable(below, y, 2);
    EXPECT_NEAR(40.0F, table()[0], 1e-5);
}

TEST(AgainstReferenceCalibration, RandomRisingPoints)
{
    const CalibrationFolder folder;
    std::mt19937 random(7);
    for (int32_t round = 0; round < 200; ++round) {
        std::vector<int32_t> x;
        std::vector<float> y;
        int32_t at = static_cast<int32_t>(random() % 80) - 20;
        for (std::size_t n = 2 + random() % 12; x.size() < n; at += 1 + static_cast<int32_t>(random() % 60)) {
            x.push_back(at);
            y.push_back(static_cast<float>(random() % 4000) / 8.0F - 100.0F);
        }
        fillicaltable(x.data(), y.data(), static_cast<int32_t>(x.size()));
        ASSERT_EQ(reference(x, y), table()) << "round " << round;
    }
}

TEST(LiteralCalibration, ValuesLieOnLinesBetweenEntries)
{
    const CalibrationFolder folder("0 10\n1 12\n2 13\n254 100\n255 104\n256 1000\n");
    EXPECT_EQ(11.0, intensitycal(0.5));
    EXPECT_EQ(12.25, intensitycal(1.25));
    EXPECT_EQ(8.0, intensitycal(-1.0));
    EXPECT_EQ(9.0, intensitycal(-0.5));
    EXPECT_EQ(102.0, intensitycal(254.5));
    EXPECT_EQ(104.0, intensitycal(255.0));
    EXPECT_EQ(108.0, intensitycal(256.0)); // on the line below entry 256
    EXPECT_EQ(4e10 - 1016.0 + 100.0, intensitycal(1e10));
    EXPECT_EQ(10.0 - 2e10, intensitycal(-1e10));
    EXPECT_TRUE(std::isnan(intensitycal(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(std::numeric_limits<double>::infinity(), intensitycal(std::numeric_limits<double>::infinity()));
}

TEST(LiteralCalibration, GreyValuesAreThoseOfTheFirstInterval)
{
    CalibrationFolder folder("0 10\n100 210\n200 110\n256 100\n"); // up to 100, and down again
    EXPECT_EQ(0.0, intensityuncal(10.0));
    EXPECT_EQ(50.5, intensityuncal(111.0));
    EXPECT_EQ(-1.0, intensityuncal(8.0)) << "below the first entry: its line continues";
    EXPECT_EQ(100.0, intensityuncal(210.0));
    EXPECT_EQ(100.0 - 1.0, intensityuncal(208.0));
    folder.rewrite("0 200\n256 72\n"); // falling by halves
    EXPECT_EQ(10.0, intensityuncal(195.0));
    EXPECT_EQ(-4.0, intensityuncal(202.0));
    EXPECT_EQ(300.0, intensityuncal(50.0)) << "beyond the last interval";
    EXPECT_TRUE(std::isnan(intensityuncal(std::numeric_limits<double>::quiet_NaN())));
}

TEST(LiteralCalibration, FlatIntervalsGiveTheirStart)
{
    const CalibrationFolder folder("0 0\n10 10\n20 10\n30 20\n");
    EXPECT_EQ(10.0, intensityuncal(10.0));
    EXPECT_EQ(9.5, intensityuncal(9.5));
    EXPECT_EQ(10.0, intensityuncal(12.0)) << "a flat interval holds any value";
}

TEST(LiteralCalibration, RowsOfBytesAndFloats)
{
    const CalibrationFolder folder("0 10\n127 264\n256 265\n");
    const uint8_t bytes[] = {0, 1, 127, 255, 128};
    double out[6] = {0, 0, 0, 0, 0, 77};
    intensitycalrow(bytes, out, 5);
    EXPECT_THAT(out, testing::ElementsAre(10.0, 12.0, 264.0, 8.0, 10.0 - 256.0, 77.0)); // 255 stands for -1
    const float in[] = {0.0F, 0.5F, -2.0F, 127.0F};
    intensitycalfrow(in, out, 4);
    EXPECT_THAT(out, testing::ElementsAre(10.0, 11.0, 6.0, 264.0, 10.0 - 256.0, 77.0));
}

TEST(FailuresCalibration, RowsOfNothing)
{
    const CalibrationFolder folder;
    const uint8_t bytes[] = {1};
    const float floats[] = {1.0F};
    double out = 77.0;
    for (const int32_t count : {0, -1, std::numeric_limits<int32_t>::min()}) {
        intensitycalrow(bytes, &out, count);
        intensitycalfrow(floats, &out, count);
    }
    intensitycalrow(nullptr, &out, 1);
    intensitycalfrow(nullptr, &out, 1);
    intensitycalrow(bytes, nullptr, 1);
    intensitycalfrow(floats, nullptr, 1);
    EXPECT_EQ(77.0, out);
}

TEST(LiteralCalibration, InterpolateContinuesBothEnds)
{
    const double a[] = {1.0, 3.0, 4.0};
    EXPECT_EQ(1.0, Interpolate(a, 3, 0.0));
    EXPECT_EQ(2.0, Interpolate(a, 3, 0.5));
    EXPECT_EQ(3.5, Interpolate(a, 3, 1.5));
    EXPECT_EQ(4.0, Interpolate(a, 3, 2.0));
    EXPECT_EQ(6.0, Interpolate(a, 3, 4.0));
    EXPECT_EQ(-1.0, Interpolate(a, 3, -1.0));
    EXPECT_EQ(5.0, Interpolate(a, 2, 2.0));
    EXPECT_EQ(1e10 + 2.0, Interpolate(a, 3, 1e10));
    EXPECT_EQ(1.0, Interpolate(a, 1, 7.0));
    EXPECT_EQ(0.0, Interpolate(a, 0, 1.0));
    EXPECT_EQ(0.0, Interpolate(a, -5, 1.0));
    EXPECT_EQ(0.0, Interpolate(nullptr, 3, 1.0));
    EXPECT_TRUE(std::isnan(Interpolate(a, 3, std::numeric_limits<double>::quiet_NaN())));
}
