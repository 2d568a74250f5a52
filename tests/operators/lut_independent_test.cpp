// Table builders, table maps and the display palette against loops written from their description.
#include "tests/support/plain_frames.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

using Table = std::vector<int32_t>;

class IndependentLut : public testing::TestWithParam<int32_t> // the highest pixel value
{
protected:
    void SetUp() override { I_SetColorMode(GetParam() == 251 ? 1 : 0); }
    const int32_t top = GetParam();

    void expect(const Table& wanted, const std::vector<uint8_t>& table, const std::string& what) const
    {
        for (std::size_t i = 0; i < 256; ++i)
            ASSERT_EQ(wanted[i], table[i]) << what << " entry " << i;
    }
};
INSTANTIATE_TEST_SUITE_P(Top, IndependentLut, testing::Values(251, 255));

const int32_t kEnds[] = {-300, -20, -1,  0,   1,   2,   17,  93,  94,  100,
                         127,  128, 200, 250, 251, 252, 254, 255, 256, 400};

TEST_P(IndependentLut, Stretches)
{
    for (int32_t low : kEnds) {
        for (const int32_t high : kEnds) {
            const int32_t given = low;
            const int32_t l = low == high ? low - 1 : low;
            const int32_t m = (top << 8) / (high - l);
            Table wanted(256), wide(256);
            const double slope = double{1.0} * top / (high - l);
            for (int32_t i = 0; i < 256; ++i) {
                int32_t v, w;
                if (l < high) {
                    v = i <= l ? 0 : i < high ? ((i - l) * m + 128) >> 8 : top;
                    w = i <= std::min(l, top) ? 0
                        : i < high            ? static_cast<int32_t>((i - l) * slope + 0.5)
                                              : top;
                } else {
                    v = i < high ? top : i < l ? (((i - high) * m + 128) >> 8) + top : 0;
                    w = i < high ? top : i < l ? static_cast<int32_t>((i - high) * slope + 0.5 + top) : 0;
                }
                wanted[static_cast<std::size_t>(i)] = std::min(v, top);
                wide[static_cast<std::size_t>(i)] = std::clamp(w, 0, top);
            }
            std::vector<uint8_t> table(256, 77);
            I_StretchLUT(given, high, table.data());
            const std::string ends = std::to_string(given) + " " + std::to_string(high);
            expect(wanted, table, "I_StretchLUT " + ends);
            EXPECT_EQ(256, I_StretchLUT1(given, high, table.data()));
            expect(wide, table, "I_StretchLUT1 " + ends);
        }
    }
}

TEST_P(IndependentLut, LogarithmsAndThresholds)
{
    for (const int32_t a : kEnds) {
        for (const int32_t b : kEnds) {
            std::vector<uint8_t> table(256, 77);
            Table wanted(256);
            const int32_t low = std::max(std::min(a, b), 0), high = std::max(std::max(a, b), low + 1);
            const double logLow = low < 1 ? 0.0 : std::log(double(low));
            const double scale = top / (std::log(double(high)) - logLow);
            for (int32_t i = 0; i < 256; ++i)
                wanted[static_cast<std::size_t>(i)] =
                    i <= low    ? 0
                    : i >= high ? top
                                : std::max(0, static_cast<int32_t>(std::log(double(i)) * scale) -
                                                  static_cast<int32_t>(logLow * scale + 0.5));
            LogLUT(a, b, table.data());
            expect(wanted, table, "LogLUT " + std::to_string(a) + " " + std::to_string(b));

            const int32_t l = std::clamp(a, 0, 255), h = std::clamp(b, 0, 255);
            for (int32_t i = 0; i < 256; ++i)
                wanted[static_cast<std::size_t>(i)] =
                    l <= h ? (i >= l && i <= h ? 255 : 0) : (i > h && i < l ? 0 : 255);
            I_DualThreshLUT(a, b, table.data());
            expect(wanted, table, "I_DualThreshLUT " + std::to_string(a) + " " + std::to_string(b));

            for (int32_t i = 0; i < 256; ++i)
                wanted[static_cast<std::size_t>(i)] = i < a ? 0 : i < b ? i : 255;
            I_DualLinThreshLUT(a, b, table.data());
            expect(wanted, table, "I_DualLinThreshLUT " + std::to_string(a) + " " + std::to_string(b));
        }
        std::vector<uint8_t> table(256, 77);
        I_ThreshLUT(a, table.data());
        for (int32_t i = 0; i < 256; ++i)
            ASSERT_EQ(i < std::min(a, 255) ? 0 : 255, table[static_cast<std::size_t>(i)]) << a << " " << i;
    }
}

TEST_P(IndependentLut, GammaStepsAndInversion)
{
    for (const double gamma : {0.05, 0.1, 0.5, 1.0, 2.2, 10.0, 10.5}) {
        std::vector<uint8_t> table(256, 77);
        I_MakeGammaLUT(table.data(), gamma);
        const double g = gamma < 0.1 || gamma > 10.0 ? 1.0 : 1.0 / gamma;
        for (int32_t i = 0; i < 256; ++i)
            ASSERT_EQ(static_cast<int32_t>(255 * std::pow(i / 255.0, g)), table[static_cast<std::size_t>(i)])
                << gamma;
        for (int32_t i = 0; i < 256 && gamma < 0.1; ++i)
            ASSERT_EQ(i, table[static_cast<std::size_t>(i)]);
    }
    for (const double start : {0.0, 10.0, 20.6, 240.0, 300.0}) {
        for (const double step : {1.0, 2.5, 10.0, 70.0}) {
            Table wanted(256, 0);
            double level = start;
            for (int32_t i = static_cast<int32_t>(start); i < top; level += step)
                for (; i <= static_cast<int32_t>(level + step) && i < 256; ++i)
                    wanted[static_cast<std::size_t>(i)] = static_cast<int32_t>(level);
            wanted[0] = 0;
            std::vector<uint8_t> table(256, 77);
            I_SteppedLUT(start, step, table.data());
            expect(wanted, table, "I_SteppedLUT " + std::to_string(start) + " " + std::to_string(step));
        }
    }
    std::vector<uint8_t> table(256, 77);
    EXPECT_EQ(top + 1, I_InvertLUT(table.data()));
    for (int32_t i = 0; i < 256; ++i)
        ASSERT_EQ(i <= top ? top - i : 77, table[static_cast<std::size_t>(i)]);
}

TEST_P(IndependentLut, EqualisationAndNormalisation)
{
    Random random(3);
    for (int32_t round = 0; round < 100; ++round) {
        std::vector<uint32_t> histogram(256);
        const int32_t used = between(random, 1, 256);
        for (int32_t k = 0; k < used; ++k)
            histogram[random() % 256] += random() % 1000 * (random() % 20 == 0 ? 50 : 1);
        histogram[100] += 1;
        const int32_t limit = between(random, -2, 30);
        std::vector<uint32_t> cut = histogram;
        uint32_t total = 0, sum = 0;
        for (std::size_t i = 0; i < 256; ++i)
            total += cut[i] = static_cast<int32_t>(i) > top ? 0 : cut[i];
        const uint32_t level = total * static_cast<uint32_t>(std::max(limit, 1)) / 100 + 2;
        uint32_t newTotal = 0;
        for (uint32_t& bin : cut)
            newTotal += bin = std::min(bin, level);
        Table wanted(256);
        std::size_t lowest = 0;
        while (cut[lowest] == 0)
            ++lowest;
        for (std::size_t i = 0; i < 256; ++i) {
            sum += cut[i];
            wanted[i] =
                static_cast<int32_t>(i) > top
                    ? static_cast<int32_t>(i)
                    : static_cast<int32_t>((static_cast<uint32_t>(top) * sum + newTotal / 2) / newTotal);
        }
        wanted[lowest] = 0;
        std::vector<uint8_t> table(256, 77);
        HistEqualizeLUT(limit, histogram.data(), table.data());
        expect(wanted, table, "HistEqualizeLUT " + std::to_string(limit));
    }
    const int32_t im = byteImage(100, 10, [](int32_t x, int32_t y) { return x + y; });
    I_SetROIType(0);
    uint32_t histogram[256];
    I_CalcHist(histogram, im);
    int32_t low, high;
    I_NormHist(histogram, 50, 100, 1, &low, &high);
    std::vector<uint8_t> table(256, 77), stretched(256, 78);
    I_NormLUT(5, 10, 0, table.data(), im);
    I_StretchLUT(low, high, stretched.data());
    EXPECT_EQ(stretched, table);
}

TEST_P(IndependentLut, FalseColours)
{
    static const int32_t kColors[6][3] = {{0, 0, 255},   {0, 255, 255}, {0, 255, 0},
                                          {255, 255, 0}, {255, 0, 0},   {255, 0, 255}};
    for (const int32_t givenLow : {-10, 0, 1, 100, 252, 254, 300}) {
        for (const int32_t high : {0, 3, 101, 105, 200, 254, 255, 256, 301, 1000}) {
            for (const int32_t flags : {0, 1, 2, 3}) {
                const int32_t wrap = flags & 1, smooth = flags >> 1;
                std::vector<uint8_t> t[3] = {std::vector<uint8_t>(256, 7), std::vector<uint8_t>(256, 7),
                                             std::vector<uint8_t>(256, 7)};
                clearError();
                const int32_t result =
                    I_FalseColorLUT(givenLow, high, t[0].data(), t[1].data(), t[2].data(), wrap, smooth);
                if (givenLow >= high) {
                    EXPECT_EQ(0, result);
                    EXPECT_EQ(12, I_GetError(nullptr, 0));
                    EXPECT_EQ("falsecolor", errorText());
                    continue;
                }
                ASSERT_EQ(5, result);
                const int32_t low = std::min(givenLow, 254);
                const int32_t range = high - low < 6 ? 5 : high - low, b = range / 4;
                for (int32_t i = 0; i < 256; ++i) {
                    for (int32_t c = 0; c < 3; ++c) {
                        int32_t v = 0;
                        if (i >= low && wrap == 0 && i > high) {
                            v = kColors[4][c];
                        } else if (i >= low && smooth) {
                            const int32_t s = (i - low) / b % 6, next = (s + 1) % 6;
                            const int32_t f = ((i - low - b * s) % b) * 128 / b;
                            v = ((kColors[next][c] * f + kColors[s][c] * (128 - f)) * 255 >> 7) / 255;
                        } else if (i >= low) {
                            v = kColors[(i - low) * 5 / range % 5][c];
                        }
                        if (top == 251 && i >= 252)
                            v = (i == 255 || i - 252 == c) ? 255 : 0;
                        ASSERT_EQ(v, t[c][static_cast<std::size_t>(i)])
                            << givenLow << " " << high << " wrap " << wrap << " smooth " << smooth
                            << " entry " << i;
                    }
                }
            }
        }
    }
}

TEST_P(IndependentLut, MapsRunAsTheFrameDoes)
{
    Random random(9);
    uint8_t t[3][256];
    for (auto& table : t)
        for (uint8_t& entry : table)
            entry = static_cast<uint8_t>(random());
    static const int32_t kTypes[] = {PIX_BYTE,  PIX_WORD,  PIX_DWORD, PIX_FLOAT,
                                     PIX_BGR24, PIX_RGB24, PIX_RGB32, PIX_BGR32};
    for (int32_t round = 0; round < 200; ++round) {
        const Shape ss = randomShape(random, kTypes[random() % 8]),
                    sd = randomShape(random, kTypes[random() % 8]);
        randomRegion(random, sd.cols, sd.rows);
        I_SetColorProcMode(between(random, 0, 1) ? 3 : 1);
        SCOPED_TRACE(tell(ss) + " to " + tell(sd));
        std::vector<uint8_t> after[2];
        for (const int32_t side : {0, 1}) {
            const Picture ps = ss.open(), pd = sd.open();
            if (side == 0) {
                I_RGBLUTMap(ps.im, pd.im, t[0], t[1], t[2]);
            } else if (sd.type < 12 && ss.type < 13) {
                unary(ps.im, pd.im, PIX_BYTE, elements<uint8_t>([&](uint8_t v, uint8_t) { return t[1][v]; }));
            } else {
                const int32_t type = sd.type == PIX_RGB32 ? PIX_RGB32 : PIX_BGR24;
                unary(ps.im, pd.im, type, [&](const uint8_t* in, const uint8_t*, uint8_t* out, int32_t n) {
                    for (int32_t i = 0; i < n; ++i) {
                        if (type == PIX_RGB32) {
                            out[4 * i] = in[4 * i];
                            for (int32_t c = 0; c < 3; ++c)
                                out[4 * i + 1 + c] = t[c][in[4 * i + 1 + c]];
                        } else {
                            for (int32_t c = 0; c < 3; ++c)
                                out[3 * i + c] = t[2 - c][in[3 * i + c]];
                        }
                    }
                });
            }
            after[side] = pd.bytes();
            ps.close();
            pd.close();
        }
        ASSERT_TRUE(after[0] == after[1]);

        // tables of any length; a destination of the source's type
        const int32_t length = between(random, 1, 3000);
        std::vector<int32_t> table(static_cast<std::size_t>(std::max(length, 65536)), 0);
        for (int32_t i = 0; i < length; ++i)
            table[static_cast<std::size_t>(i)] = between(random, 0, 20000);
        Shape same = sd;
        same.type = ss.type;
        for (const int32_t side : {0, 1}) {
            const Picture ps = ss.open(), pd = same.open();
            if (side == 0) {
                I_MapLUTType(ps.im, pd.im, table.data(), PIX_DWORD, length);
            } else {
                int32_t power = 1;
                while (power * 2 <= length)
                    power *= 2;
                if (ss.type == PIX_WORD) {
                    const int32_t mask = power == 1 ? 65535 : power - 1;
                    unary(ps.im, pd.im, PIX_WORD, elements<uint16_t>([&](uint16_t v, uint16_t) {
                              return static_cast<uint16_t>(table[static_cast<std::size_t>(v & mask)]);
                          }));
                } else if (ss.type == PIX_DWORD) {
                    unary(ps.im, pd.im, PIX_DWORD, elements<int32_t>([&](int32_t v, int32_t) {
                              return table[static_cast<std::size_t>(v & (power - 1))];
                          }));
                } else {
                    unary(ps.im, pd.im, PIX_BYTE, elements<uint8_t>([&](uint8_t v, uint8_t) {
                              return static_cast<uint8_t>(table[v]);
                          }));
                }
            }
            after[side] = pd.bytes();
            ps.close();
            pd.close();
        }
        ASSERT_TRUE(after[0] == after[1]) << "table of " << length;
    }
    I_SetColorProcMode(3);
}

TEST(IndependentLutLiteral, DisplayPalette)
{
    EXPECT_EQ(1, I_GetColorMode());
    EXPECT_EQ(2.2, I_GetGammaCRT());
    std::vector<uint8_t> r(256), g(256), b(256), q[3] = {r, r, r};
    for (std::size_t i = 0; i < 256; ++i) {
        r[i] = static_cast<uint8_t>(i / 2);
        g[i] = static_cast<uint8_t>(i / 3);
        b[i] = static_cast<uint8_t>(i / 4);
    }
    EXPECT_EQ(1, I_SetDisplayLUTs(r.data(), g.data(), b.data()));
    EXPECT_EQ(1, I_GetGraphicsPalette(q[0].data(), q[1].data(), q[2].data()));
    EXPECT_EQ(r, q[0]); // the caller's tables have got the colours too
    EXPECT_EQ(g, q[1]);
    EXPECT_EQ(b, q[2]);
    const int32_t reserved[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 255, 255}, {255, 255, 255}};
    for (std::size_t i = 252; i < 256; ++i)
        EXPECT_THAT((std::vector<int32_t>{r[i], g[i], b[i]}), testing::ElementsAreArray(reserved[i - 252]));
    EXPECT_EQ(125, r[251]);
    // without reserved colours the top of the ramp goes on level from the old highest value
    EXPECT_EQ(1, I_SetColorMode(0));
    I_GetGraphicsPalette(q[0].data(), q[1].data(), nullptr);
    for (std::size_t i = 251; i < 256; ++i) {
        EXPECT_EQ(125, q[0][i]);
        EXPECT_EQ(83, q[1][i]);
    }
    EXPECT_EQ(0, I_SetColorMode(-1));
    EXPECT_EQ(0, I_GetColorMode());
    EXPECT_EQ(2.2, I_SetGammaCRT(1.8));
    EXPECT_EQ(1.8, I_GetGammaCRT());
    setsearchpath(std::string(80, 'p').c_str());
    EXPECT_EQ(std::string(64, 'p'), getsearchpath());
}

TEST(IndependentLutLiteral, NumbersOfTheDescription)
{
    uint8_t a[256], b[256];
    const int32_t im = byteImage({{200}});
    I_SetColorMode(1);
    I_StretchLUT(100, 100, a);
    I_StretchLUT(99, 100, b);
    EXPECT_EQ(0, std::memcmp(a, b, 256));
    I_StretchLUT(0, 255, a);
    EXPECT_EQ(251, a[255]);
    I_DualThreshLUT(200, 100, a);
    EXPECT_EQ(255, a[100]);
    EXPECT_EQ(255, a[200]);
    EXPECT_EQ(0, a[101]);
    EXPECT_EQ(0, a[199]);
    const int32_t gray = I_FalseColorToGray(im);
    EXPECT_EQ(PIX_BYTE, I_ImGetType(gray));
    EXPECT_EQ(200, pixel(gray, 0, 0));
}

} // namespace
