// The colour model against a pixel-by-pixel reading of its description.
#include <random>

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

using Random = std::mt19937;

struct Rgb {
    int32_t r, g, b;
};

const int32_t kColors[] = {PIX_BGR15, 14, PIX_BGR16, PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32};

int32_t bytesOfType(int32_t type)
{
    return type == 14 ? 2 : I_ImTypeBytes(type);
}

Rgb unpack(const uint8_t* p, int32_t type, const uint8_t* palette)
{
    const int32_t w = bytesOfType(type) == 2 ? p[0] + 256 * p[1] : 0;
    switch (type) {
    case PIX_PALETTE:
        return {palette[4 * p[0] + 2], palette[4 * p[0] + 1], palette[4 * p[0]]};
    case PIX_BGR15:
        return {(w >> 10 & 31) << 3, (w >> 5 & 31) << 3, (w & 31) << 3};
    case 14:
        return {(w >> 1 & 31) << 3, (w >> 6 & 31) << 3, (w >> 11 & 31) << 3};
    case PIX_BGR16:
        return {(w >> 11 & 31) << 3, (w >> 5 & 63) << 2, (w & 31) << 3};
    case PIX_RGB24:
        return {p[0], p[1], p[2]};
    case PIX_RGB32:
        return {p[1], p[2], p[3]};
    case PIX_BYTE:
        return {p[0], p[0], p[0]};
    default:
        return {p[2], p[1], p[0]};
    }
}

// The colours that a pixel of the type can hold.
Rgb quantized(Rgb c, int32_t type)
{
    if (bytesOfType(type) > 2)
        return c;
    return {c.r & 248, type == PIX_BGR16 ? c.g & 252 : c.g & 248, c.b & 248};
}

int32_t gray(Rgb c, int32_t mode)
{
    return mode == 0    ? c.r
           : mode == 1  ? c.g
           : mode == 2  ? c.b
           : mode == -3 ? (35 * c.r + 50 * c.g + 15 * c.b) / 100
                        : (c.r + c.g + c.b) / 3;
}

std::vector<uint8_t> noise(Random& random, std::size_t n)
{
    std::vector<uint8_t> bytes(n);
    for (uint8_t& b : bytes)
        b = static_cast<uint8_t>(random());
    return bytes;
}

TEST(IndependentColor, PackedTypesAmongEachOtherAndToGrey)
{
    Random random(1);
    for (const int32_t n : {1, 2, 3, 15, 16, 17, 31, 33, 64, 65, 200}) {
        for (const int32_t st : kColors) {
            const auto src = noise(random, static_cast<std::size_t>(n) * 4);
            for (const int32_t dt : kColors) {
                if (st == dt)
                    continue;
                std::vector<uint8_t> dst(static_cast<std::size_t>(n) * 4 + 4, 99);
                I_SetColorProcMode(3);
                I_SetColorBand(-1);
                EXPECT_EQ(1, ConvertColorType(src.data(), st, nullptr, dst.data(), dt, nullptr, n));
                for (int32_t i = 0; i < n; ++i) {
                    const Rgb wanted = quantized(
                        unpack(&src[static_cast<std::size_t>(i * bytesOfType(st))], st, nullptr), dt);
                    const Rgb got = unpack(&dst[static_cast<std::size_t>(i * bytesOfType(dt))], dt, nullptr);
                    ASSERT_TRUE(wanted.r == got.r && wanted.g == got.g && wanted.b == got.b)
                        << st << " to " << dt << " pixel " << i << ": " << got.r << " " << got.g << " "
                        << got.b;
                }
                for (std::size_t i = static_cast<std::size_t>(n * bytesOfType(dt)); i < dst.size(); ++i)
                    ASSERT_EQ(99, dst[i]) << "behind the end, " << dt;
            }
            for (const int32_t mode : {-3, -2, 0, 1, 2, 3}) {
                for (const int32_t band : {-2, 0, 1, 2}) {
                    I_SetColorProcMode(mode);
                    I_SetColorBand(band);
                    std::vector<uint8_t> dst(static_cast<std::size_t>(n) + 1, 99);
                    EXPECT_EQ(1, ConvertColorType(src.data(), st, nullptr, dst.data(), PIX_BYTE, nullptr, n));
                    for (int32_t i = 0; i < n; ++i)
                        ASSERT_EQ(
                            gray(unpack(&src[static_cast<std::size_t>(i * bytesOfType(st))], st, nullptr),
                                 mode < 3 ? mode : band),
                            dst[static_cast<std::size_t>(i)])
                            << st << " mode " << mode << " band " << band << " pixel " << i << " of " << n;
                    ASSERT_EQ(99, dst[static_cast<std::size_t>(n)]);
                }
            }
        }
    }
    I_SetColorProcMode(3);
}

TEST(IndependentColor, BytesGoToAllBandsOrToTheSelectedOne)
{
    Random random(2);
    for (const int32_t n : {1, 16, 17, 33, 100}) {
        const auto src = noise(random, static_cast<std::size_t>(n));
        for (const int32_t dt : {PIX_BGR24, PIX_RGB24}) {
            for (const int32_t band : {-2, 0, 1, 2}) {
                I_SetColorProcMode(3);
                I_SetColorBand(band);
                auto dst = noise(random, static_cast<std::size_t>(n) * 3);
                const auto before = dst;
                EXPECT_EQ(1, ConvertColorType(src.data(), PIX_BYTE, nullptr, dst.data(), dt, nullptr, n));
                for (int32_t i = 0; i < 3 * n; ++i) {
                    const int32_t component = dt == PIX_BGR24 ? 2 - i % 3 : i % 3;
                    const auto at = static_cast<std::size_t>(i);
                    ASSERT_EQ(band < 0 || band == component ? src[at / 3] : before[at], dst[at])
                        << dt << " band " << band << " byte " << i;
                }
            }
        }
        for (const int32_t dt :
             std::initializer_list<int32_t>{PIX_BGR15, 14, PIX_BGR16, PIX_BGR32, PIX_RGB32}) {
            I_SetColorBand(-2);
            std::vector<uint8_t> dst(static_cast<std::size_t>(n) * 4);
            EXPECT_EQ(1, ConvertColorType(src.data(), PIX_BYTE, nullptr, dst.data(), dt, nullptr, n));
            for (int32_t i = 0; i < n; ++i) {
                const int32_t v = src[static_cast<std::size_t>(i)];
                const Rgb wanted = quantized({v, v, v}, dt);
                const Rgb got = unpack(&dst[static_cast<std::size_t>(i * bytesOfType(dt))], dt, nullptr);
                ASSERT_TRUE(wanted.r == got.r && wanted.g == got.g && wanted.b == got.b) << dt;
            }
        }
    }
}

TEST(IndependentColor, PalettesBothWays)
{
    Random random(3);
    auto palette = noise(random, 1024);
    std::vector<uint8_t> indices(256), gray8(256);
    for (std::size_t i = 0; i < 256; ++i)
        indices[i] = static_cast<uint8_t>(i);
    std::vector<float> floats(256);
    I_SetColorBand(-2);
    EXPECT_EQ(1, ConvertColorType(indices.data(), PIX_PALETTE, palette.data(), gray8.data(), PIX_BYTE,
                                  nullptr, 256));
    ConvertColorType(indices.data(), PIX_PALETTE, palette.data(), floats.data(), PIX_FLOAT, nullptr, 256);
    for (std::size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(gray(unpack(&indices[i], PIX_PALETTE, palette.data()), -2), gray8[i]);
        EXPECT_EQ(gray8[i], floats[i]);
    }
    // bytes are indices; a grey palette is no palette
    EXPECT_EQ(1, ConvertColorType(gray8.data(), PIX_BYTE, nullptr, floats.data(), PIX_PALETTE, palette.data(),
                                  256));
    EXPECT_EQ(0, std::memcmp(gray8.data(), floats.data(), 256));
    std::vector<uint8_t> ramp(1024);
    for (std::size_t i = 0; i < 1024; ++i)
        ramp[i] = static_cast<uint8_t>(i % 4 == 3 ? 0 : i / 4);
    EXPECT_EQ(1, I_PaletteIsGrayscale(ramp.data()));
    EXPECT_EQ(0, I_PaletteIsGrayscale(palette.data()));
    EXPECT_EQ(1, I_PaletteIsGrayscale(nullptr));
    EXPECT_EQ(
        1, ConvertColorType(indices.data(), PIX_PALETTE, ramp.data(), gray8.data(), PIX_BYTE, nullptr, 256));
    EXPECT_EQ(indices, gray8);

    // The nearest entry, with the table that remembers.
    const std::size_t n = 3000;
    auto colors = noise(random, 3 * n);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            if (i % 3 == 0)
                colors[3 * i + c] = palette[4 * (i % 256) + c];
    std::vector<uint8_t> got(n);
    EXPECT_EQ(1, ConvertColorType(colors.data(), PIX_BGR24, nullptr, got.data(), PIX_PALETTE, palette.data(),
                                  static_cast<int32_t>(n)));
    std::vector<int32_t> table(1 << 18, 1);
    const auto cell = [](const uint8_t* c) {
        return static_cast<std::size_t>(c[0] >> 2 << 12 | c[1] >> 2 << 6 | c[2] >> 2);
    };
    for (int32_t v = 0; v < 256; ++v)
        table[cell(&palette[static_cast<std::size_t>(4 * v)])] = v;
    const std::size_t remembered = cell(&palette[4]);
    for (std::size_t i = 0; i < n; ++i) {
        int32_t& entry = table[cell(&colors[3 * i])];
        if (entry == 1 && cell(&colors[3 * i]) != remembered) {
            int32_t best = 1000;
            for (int32_t v = 0; v < 256 && best >= 4; ++v) {
                int32_t sum = 0;
                for (std::size_t c = 0; c < 3; ++c)
                    sum += std::abs(palette[static_cast<std::size_t>(4 * v) + c] - colors[3 * i + c]);
                if (sum < best) {
                    best = sum;
                    entry = v;
                }
            }
        }
        ASSERT_EQ(entry, got[i]) << "color " << i;
    }
}

TEST(IndependentColor, SettingsAndBands)
{
    EXPECT_EQ(3, I_GetColorProcMode());
    EXPECT_EQ(-2, I_GetColorBand());
    const int32_t bands[][2] = {{0, 0},   {252, 0}, {1, 1},   {253, 1}, {2, 2},
                                {254, 2}, {5, -2},  {-1, -2}, {3, -2},  {255, -2}};
    for (const auto& b : bands) {
        I_SetColorBand(b[0]);
        EXPECT_EQ(b[1], I_GetColorBand()) << b[0];
    }
    I_SetColorBand(0);
    I_SetColorProcMode(1);
    EXPECT_EQ(1, I_GetColorBand());
    I_SetColorProcMode(-3);
    EXPECT_EQ(-3, I_GetColorBand());
    I_SetColorProcMode(3);
    I_SetColorBand(-1);
    const int32_t stats[][2] = {{-3, -3}, {-2, -2}, {0, 0}, {2, 2}, {1, 1}, {3, 1}, {7, 1}, {-1, 1}};
    for (const auto& s : stats) {
        I_SetStatsProcMode(s[0]);
        EXPECT_EQ(s[1], I_GetColorProcMode()) << s[0];
        I_ResetColorProcMode();
        EXPECT_EQ(3, I_GetColorProcMode());
    }
    const int32_t old = I_SetBgrndColor(0x123456);
    EXPECT_EQ(0x123456, I_GetBgrndColor());
    EXPECT_EQ(0x123456, I_SetBgrndColor(-2));
    EXPECT_EQ(0x123456, I_SetBgrndColor(-1));
    EXPECT_EQ(-1, I_SetBgrndColor(old));
}

TEST(IndependentColor, RawColoursAndInversion)
{
    const int32_t byte = byteImage(2, 2), word = wordImage(2, 2, [](int32_t, int32_t) { return 9; });
    const int32_t bgr = I_ImOpen(2, 2, PIX_BGR24), rgb32 = I_ImOpen(2, 2, PIX_RGB32),
                  bgr16 = I_ImOpen(2, 2, PIX_BGR16);
    EXPECT_EQ(77, GetRawColor(77, byte)[0]);
    const uint8_t* raw = GetRawColorRGB(0x102030, bgr);
    EXPECT_THAT((std::vector<uint8_t>{raw[0], raw[1], raw[2]}), testing::ElementsAre(0x30, 0x20, 0x10));
    raw = GetRawColorRGB(0x102030, rgb32);
    EXPECT_THAT((std::vector<uint8_t>{raw[1], raw[2], raw[3]}), testing::ElementsAre(0x10, 0x20, 0x30));
    raw = GetRawColorRGB(0xF8FCF8, bgr16);
    EXPECT_THAT((std::vector<uint8_t>{raw[0], raw[1]}), testing::ElementsAre(0xFF, 0xFF));
    raw = GetRawColorRGB(0x102030, word); // by way of pixel (0, 0): the mean, 32
    EXPECT_THAT((std::vector<uint8_t>{raw[0], raw[1]}), testing::ElementsAre(32, 0));
    EXPECT_EQ(9, pixel(word, 0, 0));
    I_SetColorMode(1); // builds the display tables: 252 is red
    raw = GetRawColor(252, bgr);
    EXPECT_THAT((std::vector<uint8_t>{raw[0], raw[1], raw[2]}), testing::ElementsAre(0, 0, 255));
    I_SetBgrndColor(0x0A0B0C);
    raw = GetRawColor(-1, bgr);
    EXPECT_THAT((std::vector<uint8_t>{raw[0], raw[1], raw[2]}), testing::ElementsAre(12, 11, 10));

    uint8_t line[8] = {0, 1, 127, 128, 255, 200, 7, 8};
    InvertRawLine(line, 4, 1, byte);
    EXPECT_THAT(line, testing::ElementsAre(128, 129, 255, 0, 255, 200, 7, 8));
    InvertRawLine(line, 2, 3, bgr);
    EXPECT_THAT(line, testing::ElementsAre(0, 1, 127, 128, 127, 72, 7, 8));
    InvertRawLine(line, 1, 8, bgr);
    EXPECT_THAT(line, testing::ElementsAre(0, 1, 127, 128, 127, 72, 7, 8));
    InvertRawLine(line, 2, 0, byte);
    EXPECT_THAT(line, testing::ElementsAre(128, 129, 127, 128, 127, 72, 7, 8));
    InvertRawLine(line, 2, 2, bgr16);
    raw = GetRawColorRGB(0x808080, bgr16);
    EXPECT_THAT(line,
                testing::ElementsAre(128 ^ raw[0], 129 ^ raw[1], 127 ^ raw[0], 128 ^ raw[1], 127, 72, 7, 8));
}

TEST(IndependentColor, NearestEntryOfThe332Palette)
{
    uint8_t ramp[256];
    for (int32_t i = 0; i < 256; ++i)
        ramp[i] = static_cast<uint8_t>(i);
    const double gammaBefore = I_SetGammaCRT(1.0); // the gamma table is the identity
    I_SetGraphicsPalette(ramp, ramp, ramp);
    int32_t er = 0, eg = 0, eb = 0;
    EXPECT_EQ((0x95 & 224) + ((250 >> 3) & 28) + (100 >> 6), ClosestRGB(250, 0x95, 100, &er, &eg, &eb));
    const int32_t entry = (0x95 & 224) + ((247 >> 3) & 28) + 1;
    EXPECT_EQ(247 - entry, er);
    EXPECT_EQ(0x95 - entry, eg);
    EXPECT_EQ(100 - entry, eb);
    I_SetGammaCRT(gammaBefore);
}

TEST(IndependentColor, PalettesOfImagesAndThe332Palette)
{
    uint8_t r[256], g[256], b[256], got[1024];
    for (int32_t i = 0; i < 256; ++i) {
        r[i] = static_cast<uint8_t>(i);
        g[i] = static_cast<uint8_t>(255 - i);
        b[i] = static_cast<uint8_t>(i / 2);
    }
    const int32_t byte = byteImage(2, 2), word = wordImage(2, 2);
    EXPECT_EQ(0, I_ApplyPalette(r, g, b, 0));
    EXPECT_EQ(0, I_ApplyPalette(r, g, b, word));
    EXPECT_NE(0, I_ApplyPalette(r, g, b, byte));
    EXPECT_EQ(PIX_PALETTE, I_ImGetType(byte));
    EXPECT_EQ(1, I_ImGetParam(got, sizeof got, 13, byte));
    EXPECT_THAT((std::vector<uint8_t>{got[40], got[41], got[42], got[43]}),
                testing::ElementsAre(5, 245, 10, 0));

    const int32_t mode = I_GetColorMode();
    EXPECT_NE(0, make332colorluts());
    EXPECT_EQ(mode, I_GetColorMode());
    uint8_t gamma[256];
    I_MakeGammaLUT(gamma, 1.0 / I_GetGammaCRT());
    I_GetGraphicsPalette(r, g, b);
    for (int32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(gamma[i & 224], r[i]) << i;
        EXPECT_EQ(gamma[(i & 28) * 8], g[i]) << i;
        EXPECT_EQ(gamma[(i & 3) << 6], b[i]) << i;
    }
}

TEST(IndependentColor, IllegalPairsAndMissingPalettes)
{
    Messages messages;
    uint8_t src[4] = {1, 2, 3, 4};
    double dst[4] = {};
    clearError();
    EXPECT_EQ(0, ConvertColorType(src, PIX_BGR24, nullptr, dst, PIX_DFLOAT, nullptr, 1));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ConvertColorType illegal non-byte types: 16 to 5. 1 pixels", errorText());
    clearError();
    EXPECT_EQ(0, ConvertColorType(src, PIX_PALETTE, nullptr, dst, PIX_BGR24, nullptr, 1));
    EXPECT_EQ("Null sPalette in ConvertColorType", errorText());
}

} // namespace
