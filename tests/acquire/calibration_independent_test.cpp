// Intensity calibration against its description; each process loads its table once, so each test runs in one of its own.
#include <unistd.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <random>

#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"

using namespace vexa::test;

namespace
{

// Runs a test body in a process of its own, in a folder that holds this ICALIB.DAT (none for null).
void inFolder(const char* text, const std::function<void()>& body)
{
    const std::string folder = testing::TempDir() + "calibration" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    if (text)
        std::ofstream(folder + "/ICALIB.DAT") << text;
    EXPECT_EXIT(
        {
            if (chdir(folder.c_str()) != 0)
                std::_Exit(2);
            body();
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
    std::filesystem::remove_all(folder);
}

void expectIdentity()
{
    const float* table = geticaltable();
    for (int32_t i = 0; i <= 256; ++i)
        ASSERT_EQ(static_cast<float>(i), table[i]);
}

// Step by step, in double precision.
std::vector<double> plainTable(const std::vector<int32_t>& x, const std::vector<float>& y)
{
    std::vector<double> t(257);
    const auto slope = [&](std::size_t a, std::size_t b) {
        return x[a] == x[b] ? 0.0 : (double{y[b]} - y[a]) / (double(x[b]) - x[a]);
    };
    double s = slope(0, 1);
    int32_t i = 0;
    for (; i < x[0] && i <= 256; ++i)
        t[static_cast<std::size_t>(i)] = i * s + (y[0] - x[0] * s);
    for (std::size_t k = 1; k < x.size(); ++k) {
        s = slope(k - 1, k);
        for (; i < x[k] && i <= 256; ++i)
            t[static_cast<std::size_t>(i)] = (double(i) - x[k]) * s + y[k];
    }
    for (; i <= 256; ++i)
        t[static_cast<std::size_t>(i)] = (double(i) - x.back()) * s + y.back();
    for (std::size_t k = 0; k < x.size(); ++k)
        if (x[k] >= 0 && x[k] <= 256)
            t[static_cast<std::size_t>(x[k])] = y[k];
    return t;
}

double plainCal(const float* t, double g)
{
    const int32_t i = g < 0 ? 0 : g >= 255 ? 254 : static_cast<int32_t>(g);
    return double{t[i]} + (g - i) * (double{t[i + 1]} - t[i]);
}

double plainUncal(const float* t, double v)
{
    double e = 0, d = 1;
    for (int32_t i = 0; i <= 254; ++i) {
        d = double{t[i + 1]} - t[i];
        e = v - t[i];
        if (e * d <= 0 || std::fabs(e) <= std::fabs(d))
            return d == 0 ? i : e / d + i;
    }
    return e / d + 254;
}

} // namespace

TEST(CalibrationIndependent, IsTheIdentityWithoutAFile)
{
    inFolder(nullptr, [] {
        EXPECT_EQ(100.5, intensitycal(100.5));
        EXPECT_EQ(256.0, intensitycal(256.0));
        EXPECT_EQ(-3.25, intensitycal(-3.25));
        EXPECT_EQ(1000.0, intensitycal(1000.0));
        EXPECT_EQ(-7.5, intensityuncal(-7.5));
        EXPECT_EQ(300.0, intensityuncal(300.0));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        expectIdentity();
        EXPECT_EQ(geticaltable(), geticaltable());
    });
    inFolder("", expectIdentity);
    inFolder("10 20\n", expectIdentity);
    inFolder("nits\n;10 20\n11 x\n12\n", expectIdentity);
}

TEST(CalibrationIndependent, ReadsPointsCommentsAndALabel)
{
    inFolder("nits\n; 5 5\n10 1.5\n; 20 99\nnothing\n64.9 3\n\n 200 7.25 and more\n", [] {
        const auto expected = plainTable({10, 64, 200}, {1.5f, 3.0f, 7.25f});
        const float* table = geticaltable();
        for (std::size_t i = 0; i <= 256; ++i)
            ASSERT_NEAR(expected[i], table[i], 1e-5) << i;
        EXPECT_EQ(1.5f, table[10]);
        EXPECT_EQ(3.0f, table[64]);
        EXPECT_EQ(7.25f, table[200]);
    });
    inFolder("0 0\n255 510", [] { EXPECT_EQ(200.0, intensitycal(100.0)); }); // no line end
    inFolder("0 0\r\n255 510\r\n", [] { EXPECT_EQ(200.0, intensitycal(100.0)); });
    inFolder("1e1 2e1\n30 60\n", [] { EXPECT_EQ(40.0f, geticaltable()[20]); });
    std::string many; // the 257th point and all after it do not fit
    for (int32_t i = 0; i < 256; ++i)
        many += std::to_string(i) + " 7\n";
    many += "256 9\n";
    inFolder(many.c_str(), [] {
        EXPECT_EQ(7.0f, geticaltable()[255]);
        EXPECT_EQ(7.0f, geticaltable()[256]);
    });
    // A line goes on behind its 79th character as a line of its own.
    const std::string split = "0 0" + std::string(76, ' ') + "100 50\n200 100\n";
    inFolder(split.c_str(), [] { EXPECT_EQ(25.0f, geticaltable()[50]); });
}

TEST(CalibrationIndependent, FillsByItsSteps)
{
    inFolder(nullptr, [] {
        float* table = geticaltable();
        const int32_t one[] = {10, 20};
        const float two[] = {1, 2};
        EXPECT_EQ(table, fillicaltable(one, two, 1));
        EXPECT_EQ(table, fillicaltable(one, two, 0));
        expectIdentity();
        const int32_t equal[] = {10, 10, 20};
        const float steps[] = {5, 8, 9};
        fillicaltable(equal, steps, 2); // no slope
        EXPECT_EQ(5.0f, table[0]);
        EXPECT_EQ(8.0f, table[10]);
        EXPECT_EQ(8.0f, table[256]);
        std::mt19937 random(11);
        for (int32_t round = 0; round < 400; ++round) {
            const std::size_t n = 2 + random() % 9;
            std::vector<int32_t> x(n);
            std::vector<float> y(n);
            for (std::size_t i = 0; i < n; ++i) {
                x[i] = static_cast<int32_t>(random() % 257) - (round % 4 ? 0 : 40) + (round % 5 ? 0 : 80);
                y[i] = static_cast<float>(random() % 10000) / 64.0f;
            }
            if (round % 7)
                std::sort(x.begin(), x.end());
            const auto expected = plainTable(x, y);
            EXPECT_EQ(table, fillicaltable(x.data(), y.data(), static_cast<int32_t>(n)));
            for (std::size_t i = 0; i <= 256; ++i)
                ASSERT_NEAR(expected[i], table[i], 1e-4 * (1 + std::fabs(expected[i]))) << round << ' ' << i;
            for (std::size_t k = 0; k < n; ++k) {
                const bool inside = x[k] >= 0 && x[k] <= 256;
                const bool last =
                    std::find(x.begin() + static_cast<std::ptrdiff_t>(k) + 1, x.end(), x[k]) == x.end();
                if (inside && last) {
                    ASSERT_EQ(y[k], table[x[k]]);
                }
            }
        }
    });
}

TEST(CalibrationIndependent, GoesForthAndBack)
{
    inFolder(nullptr, [] {
        float* table = geticaltable();
        std::mt19937 random(12);
        const auto real = [&] { return static_cast<double>(random() % 40000) / 64.0 - 150.0; };
        for (int32_t round = 0; round < 60; ++round) {
            for (int32_t i = 0; i <= 256; ++i)
                table[i] = round % 3 == 0   ? static_cast<float>(i) * 0.5f - 3.0f
                           : round % 3 == 1 ? 200.0f - static_cast<float>(i / 2)
                                            : static_cast<float>(random() % 300);
            for (int32_t k = 0; k < 200; ++k) {
                const double v = real();
                ASSERT_DOUBLE_EQ(plainCal(table, v), intensitycal(v)) << v;
                ASSERT_DOUBLE_EQ(plainUncal(table, v), intensityuncal(v)) << v;
            }
            uint8_t bytes[256];
            double out[257];
            float in[256];
            for (int32_t i = 0; i < 256; ++i) {
                bytes[i] = static_cast<uint8_t>(i);
                in[i] = static_cast<float>(real());
            }
            out[128] = 12345;
            intensitycalrow(bytes, out, 128);
            for (int32_t i = 0; i < 128; ++i)
                ASSERT_EQ(double{table[i]}, out[i]);
            EXPECT_EQ(12345, out[128]);
            intensitycalrow(bytes + 128, out, 128); // -128 to -1
            for (int32_t i = 0; i < 128; ++i)
                ASSERT_DOUBLE_EQ(plainCal(table, i - 128), out[i]);
            out[256] = 12345;
            intensitycalfrow(in, out, 256);
            for (int32_t i = 0; i < 256; ++i)
                ASSERT_DOUBLE_EQ(plainCal(table, double{in[i]}), out[i]);
            EXPECT_EQ(12345, out[256]);
        }
        for (int32_t i = 0; i <= 256; ++i)
            table[i] = i < 10 ? 0.0f : i < 20 ? 5.0f : static_cast<float>(i);
        EXPECT_EQ(0.0, intensityuncal(0.0));
        EXPECT_EQ(0.0, intensityuncal(-4.0)); // e * d is 0 at once
        EXPECT_EQ(0.0, intensityuncal(5.0));
        for (const double odd : {std::numeric_limits<double>::infinity(), -1e300, 1e18,
                                 std::numeric_limits<double>::quiet_NaN()}) {
            intensitycal(odd);
            intensityuncal(odd);
        }
        intensitycalrow(nullptr, nullptr, 3);
        intensitycalfrow(nullptr, nullptr, 3);
    });
}

TEST(CalibrationIndependent, InterpolatesArrays)
{
    const double a[] = {1, 3, 7, 4};
    EXPECT_EQ(1.0, Interpolate(a, 4, 0));
    EXPECT_EQ(2.0, Interpolate(a, 4, 0.5));
    EXPECT_EQ(0.0, Interpolate(a, 4, -0.5)); // the first line goes on
    EXPECT_EQ(-1.0, Interpolate(a, 4, -1));
    EXPECT_EQ(6.0, Interpolate(a, 4, 1.75));
    EXPECT_EQ(5.5, Interpolate(a, 4, 2.5));
    EXPECT_EQ(4.0, Interpolate(a, 4, 3));
    EXPECT_EQ(-2.0, Interpolate(a, 4, 5));
    EXPECT_EQ(5.0, Interpolate(a, 2, 2));
    Interpolate(a, 4, std::numeric_limits<double>::quiet_NaN());
    Interpolate(a, 4, 1e300);
    Interpolate(nullptr, 4, 1);
    Interpolate(a, 0, 1);
}
