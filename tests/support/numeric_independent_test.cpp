// Numeric utilities against formulas, plain searches and hand-made codings.
#include <random>

#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "vexalib/vexalib.h"

using namespace vexa::test;

namespace
{

using Random = std::mt19937;

int32_t between(Random& random, int32_t low, int32_t high)
{
    return low + static_cast<int32_t>(random() % static_cast<uint32_t>(high - low + 1));
}

TEST(IndependentNumeric, Formulas)
{
    EXPECT_EQ(0, Rnd(-0.5F));
    EXPECT_EQ(3, Rnd(2.5F));
    EXPECT_EQ(-3, Rnd(-2.6F));
    const int32_t logs[][2] = {{-5, 0}, {0, 0},   {1, 0},   {2, 1},          {3, 1},
                               {4, 2},  {255, 7}, {256, 8}, {2147483647, 30}};
    for (const auto& l : logs) {
        EXPECT_EQ(l[1], ilog2(l[0]));
        EXPECT_EQ(l[1], llog2(l[0]));
    }
    EXPECT_EQ(5, vexa_clip(1, 5, 9));
    EXPECT_EQ(9, vexa_clip(10, 5, 9));
    EXPECT_EQ(-2, minabs(-2, 3));
    EXPECT_EQ(-4, maxabs(-4, 3));
    EXPECT_EQ(-2.5, fminabs(-2.5, 3));
    EXPECT_EQ(-4.5, fmaxabs(-4.5, 3));
    EXPECT_EQ(12, isqrt(144));
    EXPECT_EQ(12, isqrt(-144));
    for (int32_t v = 0; v <= 65000; ++v) {
        int32_t r = 0;
        while (v > (r + 0.5) * (r + 0.5))
            ++r;
        ASSERT_EQ(r, isqrt(v)) << v;
    }
    for (int32_t v = 65536; v < 20000000; v += 9973)
        ASSERT_NEAR(std::sqrt(v), isqrt(v), 0.06 * std::sqrt(v)) << v;
    for (double x = -4; x <= 4; x += 0.25) {
        const double t = 1 / (1 + 0.5 * std::fabs(x));
        const double c[] = {0.17087277,  -0.82215223, 1.48851587, -1.13520398, 0.27886807,
                            -0.18628806, 0.09678418,  0.37409196, 1.00002368,  0};
        double p = 0;
        for (const double k : c)
            p = p * t + k;
        const double e = 1 - t * std::exp(p - (x * x + 1.26551223));
        EXPECT_NEAR(e, vexa_erf(x), 1e-13);
        EXPECT_NEAR(x < 0 ? 1 + e : 1 - e, vexa_erfc(x), 1e-13);
    }
    for (float x = -30; x <= 30; x += 0.37F) {
        const double a = std::fabs(double{x});
        double wanted;
        if (a < 8) {
            const double y = double{x} * x;
            wanted = x *
                     (72362614232.0 +
                      y * (-7895059235.0 +
                           y * (242396853.1 + y * (-2972611.439 + y * (15704.4826 - 30.16036606 * y))))) /
                     (144725228442.0 +
                      y * (2300535178.0 + y * (18583304.74 + y * (99447.43394 + y * (376.9991397 + y)))));
        } else {
            const double z = static_cast<float>(8 / a), y = z * z, w = a - 2.356194491;
            const double g =
                1.0 + y * (0.00183105 + y * (-3.516396496e-5 + y * (2.457520174e-6 - 2.40337019e-7 * y)));
            const double k =
                0.04687499995 +
                y * (-0.0002002690873 + y * (8.449199096e-6 + y * (-8.8228987e-7 + 1.05787412e-7 * y)));
            wanted = std::sqrt(0.636619772 / a) * (std::cos(w) * g - z * std::sin(w) * k) * (x < 0 ? -1 : 1);
        }
        EXPECT_NEAR(wanted, bessj1(x), 1e-7 * (1 + std::fabs(wanted))) << x;
    }
    double mean = -7, dev = -7;
    meanstdv(4, 10, 30, &mean, &dev);
    EXPECT_EQ(2.5, mean);
    EXPECT_DOUBLE_EQ(std::sqrt(5.0 / 3), dev);
    meanstdv(1, 10, 100, &mean, &dev);
    EXPECT_EQ(10.0, mean);
    EXPECT_EQ(0.0, dev);
    meanstdv(0, 10, 100, &mean, nullptr);
    EXPECT_EQ(0.0, mean);
    double a = 0, b = 0, s = 0;
    const double n = 4, sx = 10, sxx = 30, sxy = 73, sy = 24, syy = 250;
    leastsquares(n, sx, sxx, sxy, sy, syy, &a, &b, &s);
    const double cross = sxy - sx * sy / n, slope = cross / (sxx - sx * sx / n);
    EXPECT_DOUBLE_EQ(slope, b);
    EXPECT_DOUBLE_EQ((sy - sx * slope) / n, a);
    EXPECT_DOUBLE_EQ(std::sqrt((syy - sy * sy / n - cross * slope) / n - 2.0), s);
    const VexaPoint p{3, 4}, zero{0, 0};
    EXPECT_EQ(5.0, fdist(&p, &zero));
    VexaPoint q{};
    EXPECT_EQ(3, rotatevect(&p, &q, std::acos(0.0)));
    EXPECT_EQ(-4, q.x);
}

TEST(IndependentNumeric, PeaksAndVotes)
{
    Random random(1);
    double pos = -7, height = -7;
    EXPECT_EQ(0, I_ParabolicPeak(1, 2, 3, &pos, &height));
    EXPECT_EQ(1.0, pos);
    EXPECT_EQ(1.0, height); // the difference of centre and left
    for (int32_t round = 0; round < 500; ++round) {
        const double a = between(random, -50, 50), b = between(random, -50, 50), c = between(random, -50, 50);
        const double d = c - a, e = b - a, q = 2 * e - d;
        if (q != 0) {
            EXPECT_EQ(1, I_ParabolicPeak(a, b, c, &pos, &height));
            EXPECT_DOUBLE_EQ((4 * e - d) / (2 * q), pos);
            EXPECT_NEAR((4 * e - d) * (4 * e - d) / (8 * q) + a, height, 1e-9);
        }
        float h = -7;
        I_ParabolicPeak(a, b, c, &pos, &height);
        EXPECT_NEAR(pos - 1,
                    I_FindPeak(static_cast<float>(a), static_cast<float>(b), static_cast<float>(c), &h, 0),
                    1e-4);
        EXPECT_NEAR(height, h, 1e-3 * (1 + std::fabs(height)));
        float da = static_cast<float>(b - a), dc = static_cast<float>(b - c);
        if (da * dc < 0 && std::min(da, dc) / std::max(da, dc) < -0.67F)
            (da < 0 ? da : dc) = 0;
        float wanted, top;
        if (da < dc) {
            const float share = dc == 0 ? 0 : std::clamp(0.5F * (1 - da / dc), -1.0F, 1.0F);
            wanted = -share;
            top = static_cast<float>(b) + dc * share;
        } else {
            const float share = da == 0 ? 0 : std::clamp(0.5F * (1 - dc / da), -1.0F, 1.0F);
            wanted = share;
            top = static_cast<float>(b) + da * share;
        }
        EXPECT_NEAR(wanted,
                    I_FindPeak(static_cast<float>(a), static_cast<float>(b), static_cast<float>(c), &h, 1),
                    1e-5)
            << a << " " << b << " " << c;
        EXPECT_NEAR(top, h, 1e-3) << a << " " << b << " " << c;

        std::vector<double> values(static_cast<std::size_t>(between(random, 1, 12)));
        for (double& v : values)
            v = between(random, 0, 30);
        const auto count = static_cast<int32_t>(values.size());
        const int32_t keep = between(random, 0, count + 1);
        std::vector<double> left = values;
        const int32_t kept = keep < 2 ? 2 : keep;
        double vote = 0;
        if (kept < count) {
            const auto meanOf = [](const std::vector<double>& v) {
                double sum = 0;
                for (const double x : v)
                    sum += x;
                return sum / static_cast<double>(v.size());
            };
            while (static_cast<int32_t>(left.size()) > kept) {
                const double m = meanOf(left);
                left.erase(std::max_element(left.begin(), left.end(), [m](double x, double y) {
                    return std::fabs(x - m) < std::fabs(y - m);
                }));
            }
            vote = meanOf(left);
        }
        EXPECT_NEAR(vote, MajorityVote(values.data(), count, keep), 1e-9);
    }
    const double four[] = {1, 2, 3, 100};
    EXPECT_EQ(2.0, MajorityVote(four, 4, 3));
}

TEST(IndependentNumeric, ArraysAndSearches)
{
    clearError();
    EXPECT_EQ(nullptr, Create2DArray(0, 3, 1));
    EXPECT_EQ("Create2DArray ncols=0 nrows=3", errorText());
    auto** rows = reinterpret_cast<uint16_t**>(Create2DArray(5, 3, 2));
    EXPECT_EQ(5, rows[1] - rows[0]);
    EXPECT_EQ(0, rows[2][4]);
    Free2DArray(rows);
    Free2DArray(nullptr);
    for (const int32_t bytes : {1, 2, 3, 4, 5, 8, 16}) {
        uint8_t element[16], filled[170], reversed[160], copy[160];
        for (std::size_t i = 0; i < 16; ++i)
            element[i] = static_cast<uint8_t>(i + 1);
        std::memset(filled, 99, sizeof filled);
        EXPECT_EQ(filled, memsetStruct(filled, element, 10, bytes));
        for (int32_t i = 0; i < 170; ++i)
            ASSERT_EQ(i < 10 * bytes ? i % bytes + 1 : 99, filled[i]);
        for (int32_t n : {0, 1, 2, 5, 10}) {
            for (int32_t i = 0; i < 160; ++i)
                reversed[i] = copy[i] = static_cast<uint8_t>(i);
            EXPECT_EQ(1, ReverseStruct(reversed, n, bytes));
            uint8_t other[160] = {};
            ReverseStruct2(copy, other, n, bytes);
            for (int32_t i = 0; i < n; ++i) {
                ASSERT_EQ(0, std::memcmp(&reversed[i * bytes], &copy[(n - 1 - i) * bytes],
                                         static_cast<std::size_t>(bytes)));
                ASSERT_EQ(0, std::memcmp(&other[i * bytes], &copy[(n - 1 - i) * bytes],
                                         static_cast<std::size_t>(bytes)));
            }
            ASSERT_EQ(static_cast<uint8_t>(n * bytes), n * bytes < 160 ? reversed[n * bytes] : n * bytes);
        }
    }
    Random random(2);
    for (int32_t round = 0; round < 2000; ++round) {
        std::vector<uint8_t> hay(static_cast<std::size_t>(between(random, 1, 60)));
        for (uint8_t& v : hay)
            v = static_cast<uint8_t>(between(random, 0, 2));
        const auto size = static_cast<int32_t>(hay.size());
        uint8_t needle[8];
        for (uint8_t& v : needle)
            v = static_cast<uint8_t>(between(random, 0, 2));
        const int32_t start = between(random, 0, size - 1);
        const auto forward = [&](int32_t n, int32_t end) {
            for (int32_t i = start; i < end - n; ++i)
                if (std::memcmp(&hay[static_cast<std::size_t>(i)], needle, static_cast<std::size_t>(n)) == 0)
                    return i;
            return -1;
        };
        EXPECT_EQ(forward(4, size), I_instr4(hay.data(), start, size, needle));
        EXPECT_EQ(forward(2, size), I_instr2(hay.data(), start, size, needle));
        const int32_t n = between(random, 1, 6);
        if (start == 0) {
            EXPECT_EQ(forward(n, size), I_instr(hay.data(), 0, size, needle, n)) << n;
        }
        const auto backward = [&](int32_t bytes, int32_t highest) {
            for (int32_t i = highest; i >= start; --i)
                if (std::memcmp(&hay[static_cast<std::size_t>(i)], needle, static_cast<std::size_t>(bytes)) ==
                    0)
                    return i;
            return -1;
        };
        if (size >= 4) {
            EXPECT_EQ(backward(4, size - 4), I_instr4Rev(hay.data(), start, size - 4, needle));
            EXPECT_EQ(backward(2, size - 2), I_instr2Rev(hay.data(), start, size - 2, needle));
        }
        if (HasFailure())
            return;
    }
    const uint8_t word[4] = {1, 2, 3, 4};
    EXPECT_EQ(0x01020304, I_SwapLong(word));
    const auto undo = [](std::string s) {
        const int32_t n = I_UndoCrLf(s.data(), static_cast<int32_t>(s.size()));
        return std::make_pair(n, s.substr(0, static_cast<std::size_t>(n < 0 ? -n : n)));
    };
    EXPECT_EQ(std::make_pair(4, std::string("a\nb\n")), undo("a\r\nb\r\n"));
    EXPECT_EQ(std::make_pair(-5, std::string("a\nb\r\n")), undo("a\nb\r\n"));
    EXPECT_EQ(std::make_pair(-3, std::string("abc")), undo("abc"));
}

std::vector<VexaPoint> spiral(int32_t cols, int32_t rows, int32_t x, int32_t y, int32_t radius)
{
    x = std::clamp(x, 0, cols - 1);
    y = std::clamp(y, 0, rows - 1);
    if (radius < 1)
        radius = std::max(cols, rows) - 1;
    std::vector<VexaPoint> points{{x, y}};
    const auto add = [&](int32_t px, int32_t py) {
        if (px >= 0 && py >= 0 && px < cols && py < rows)
            points.push_back({px, py});
    };
    for (int32_t r = 1; r <= radius && static_cast<int32_t>(points.size()) < cols * rows; ++r) {
        for (int32_t k = -r; k < r; ++k)
            add(x + k, y - r);
        for (int32_t k = -r; k < r; ++k)
            add(x + r, y + k);
        for (int32_t k = r; k > -r; --k)
            add(x + k, y + r);
        for (int32_t k = r; k > -r; --k)
            add(x - r, y + k);
    }
    return points;
}

TEST(IndependentNumeric, Spirals)
{
    Random random(3);
    for (int32_t round = 0; round < 300; ++round) {
        const int32_t cols = between(random, 1, 12), rows = between(random, 1, 12),
                      x = between(random, -3, 14), y = between(random, -3, 14),
                      radius = between(random, -1, 9);
        const auto wanted = spiral(cols, rows, x, y, radius);
        int32_t count = 0;
        VexaPoint* got = I_SpiralOutList(cols, rows, x, y, radius, &count);
        ASSERT_EQ(static_cast<int32_t>(wanted.size()), count)
            << cols << "x" << rows << " at " << x << "," << y << " radius " << radius;
        for (std::size_t i = 0; i < wanted.size(); ++i)
            ASSERT_TRUE(wanted[i].x == got[i].x && wanted[i].y == got[i].y) << i;
        EXPECT_EQ(-1, got[count].x);
        vexaFree(got);
    }
    EXPECT_EQ(nullptr, I_SpiralOutList(0, 3, 1, 1, 1, nullptr));
}

std::vector<uint8_t> encoded(const std::vector<uint8_t>& in)
{
    std::vector<uint8_t> out, literal;
    const auto flush = [&] {
        if (!literal.empty()) {
            out.push_back(static_cast<uint8_t>(128 + literal.size()));
            out.insert(out.end(), literal.begin(), literal.end());
            literal.clear();
        }
    };
    std::size_t i = 0;
    while (i + 2 < in.size()) {
        if (in[i] == in[i + 1] && in[i] == in[i + 2]) {
            flush();
            std::size_t n = 3;
            while (n < 127 && i + n < in.size() && in[i + n] == in[i])
                ++n;
            out.push_back(static_cast<uint8_t>(n));
            out.push_back(in[i]);
            i += n;
        } else {
            literal.push_back(in[i++]);
            if (literal.size() == 127)
                flush();
        }
    }
    const std::vector<uint8_t> rest(in.begin() + static_cast<std::ptrdiff_t>(i), in.end());
    if (literal.size() + rest.size() >= 128)
        flush();
    literal.insert(literal.end(), rest.begin(), rest.end());
    flush();
    return out;
}

TEST(IndependentNumeric, RunLengths)
{
    Random random(4);
    for (int32_t round = 0; round < 600; ++round) {
        std::vector<uint8_t> in(static_cast<std::size_t>(between(random, 2, round % 4 ? 40 : 600)));
        const int32_t spread = between(random, 1, 6), stay = between(random, 0, 6);
        uint8_t v = 0;
        for (uint8_t& b : in)
            b = v = between(random, 0, stay) ? v : static_cast<uint8_t>(between(random, 0, spread * 40));
        std::vector<uint8_t> out(2000, 7), back(in.size());
        const int32_t n = I_RunLengthEncode(in.data(), static_cast<int32_t>(in.size()), out.data(), 2000);
        out.resize(static_cast<std::size_t>(n));
        ASSERT_EQ(encoded(in), out) << "length " << in.size();
        clearError();
        ASSERT_EQ(static_cast<int32_t>(in.size()),
                  I_RunLengthDecode(out.data(), n, back.data(), static_cast<int32_t>(back.size())));
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        ASSERT_EQ(in, back);
        int32_t length = 0;
        uint8_t* made = I_RunLengthEncode1(in.data(), static_cast<int32_t>(in.size()), &length);
        EXPECT_EQ(n, length);
        EXPECT_EQ(0, std::memcmp(made, out.data(), out.size()));
        vexaFree(made);
    }
    const std::vector<uint8_t> equal(200, 9);
    EXPECT_THAT(encoded(equal), testing::ElementsAre(127, 9, 73, 9));
    uint8_t dest[10] = {};
    const uint8_t tooLong[] = {5, 1, 7, 2}, zero[] = {0, 5, 2, 3};
    clearError();
    EXPECT_EQ(5, I_RunLengthDecode(tooLong, 4, dest, 9));
    EXPECT_THAT(
        errorText(),
        testing::StartsWith("RunLengthDecode() Result longer than DestBuf: diDone=5 RunLen=7 dLen=9 sLen=4"));
    EXPECT_EQ(2, I_RunLengthDecode(zero, 4, dest, 2));
    EXPECT_EQ(3, dest[1]);
    EXPECT_EQ(0, I_RunLengthDecode(zero, 1, dest, 2));
    clearError();
    EXPECT_EQ(2, I_RunLengthDecode(zero, 4, dest, 5));
    EXPECT_EQ(0, I_GetError(nullptr, 0)); // the input is used up
    EXPECT_EQ(5, I_RunLengthDecode(tooLong, 4, dest, 5));
    EXPECT_EQ(0, I_GetError(nullptr, 0)); // the output is full
}

TEST(IndependentNumeric, Base64)
{
    static const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Random random(5);
    for (int32_t n = 1; n < 60; ++n) {
        std::vector<uint8_t> in(static_cast<std::size_t>(n));
        for (uint8_t& v : in)
            v = static_cast<uint8_t>(random() | 1); // without zeros, so that the text of a decoding is whole
        std::string wanted;
        for (std::size_t i = 0; i < in.size(); i += 3) {
            uint32_t bits = 0;
            for (std::size_t k = 0; k < 3; ++k)
                bits = bits << 8 | (i + k < in.size() ? in[i + k] : 0U);
            for (std::size_t k = 0; k < 4; ++k)
                wanted += i + k <= in.size() ? kAlphabet[bits >> (18 - 6 * k) & 63] : '=';
        }
        int32_t length = -7;
        char* text = I_ConvertBase64(in.data(), n, &length, 1);
        ASSERT_EQ(wanted, text);
        EXPECT_EQ(static_cast<int32_t>(wanted.size()), length);
        char* back = I_ConvertBase64(text, 0, &length, 0);
        ASSERT_EQ(n, length);
        EXPECT_EQ(0, std::memcmp(back, in.data(), in.size()));
        EXPECT_EQ(0, back[n]);
        vexaFree(text);
        vexaFree(back);
    }
    int32_t length = 0;
    char* abc = I_ConvertBase64("QUJD", 0, &length, 0);
    EXPECT_STREQ("ABC", abc);
    EXPECT_EQ(3, length);
    vexaFree(abc);
    char* odd = I_ConvertBase64("QU JD\r\n", 0, &length, 0);
    EXPECT_EQ(0, std::memcmp("ABC", odd, 3));
    vexaFree(odd);
    char *url = I_ConvertBase64("*-*-", 0, &length, 0), *plain = I_ConvertBase64("+/+/", 0, &length, 0);
    EXPECT_STREQ(plain, url);
    vexaFree(url);
    vexaFree(plain);
    EXPECT_EQ(nullptr, I_ConvertBase64("", 0, &length, 1));
    EXPECT_EQ(nullptr, I_ConvertBase64(nullptr, 0, &length, 1));
    char dest[20] = {};
    clearError();
    I_ConvertToBase64("ABCDEF", 6, dest, 7);
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ConvertToBase64: dlen must be >= slen*4/3", errorText());
    I_ConvertFromBase64("QUJDREVG", 8, dest, 5);
    EXPECT_EQ("I_ConvertFromBase64: dlen must be >= slen*3/4", errorText());
    EXPECT_EQ(8, I_ConvertBase64a("ABCDEF", dest, 1));
    EXPECT_STREQ("QUJDREVG", dest);
}

TEST(IndependentNumeric, WholeFiles)
{
    const TempFile file;
    EXPECT_EQ(3, I_WriteFile(file.name(), "abc", 3));
    EXPECT_EQ(2, I_AppendFile(file.name(), "de", 2));
    char buffer[10] = {};
    EXPECT_EQ(5, I_ReadFile(file.name(), buffer, 9));
    EXPECT_STREQ("abcde", buffer);
    EXPECT_EQ(2, I_ReadFile(file.name(), buffer, 2));
    EXPECT_EQ(0, I_ReadFile("/nowhere/at/all", buffer, 2));
    clearError();
    EXPECT_EQ(0, I_WriteFile("/nowhere/at/all", buffer, 2));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), testing::StartsWith("I_WriteFile /nowhere/at/all; buf="));
}

} // namespace
