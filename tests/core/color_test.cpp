#include <array>
#include <random>

#include "core/color_convert.h"
#include "core/display_state.h"
#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

using testing::ElementsAre;
using Bytes = std::vector<uint8_t>;

void resetColorModel()
{
    I_SetStatsProcMode(-2);
    I_SetColorProcMode(3);
    I_SetColorBand(-2);
    I_SetBgrndColor(0);
    clearError();
}

class ColorModel : public testing::Test
{
protected:
    void SetUp() override { resetColorModel(); }
    void TearDown() override { resetColorModel(); }
};

TEST_F(ColorModel, LiteralBandSelection)
{
    const std::pair<int32_t, int32_t> cases[] = {
        {0, 0},    {1, 1},    {2, 2},    {252, 0},        {253, 1},       {254, 2},
        {3, -2},   {5, -2},   {251, -2}, {255, -2},       {-1, -2},       {-2, -2},
        {256, -2}, {500, -2}, {-4, -2},  {INT32_MAX, -2}, {INT32_MIN, -2}};
    for (const auto& [band, expected] : cases) {
        I_SetColorBand(1);
        I_SetColorBand(band);
        EXPECT_EQ(expected, I_GetColorBand()) << band;
    }
}

TEST_F(ColorModel, LiteralModeBelowThreeIsTheBand)
{
    I_SetColorBand(2);
    for (const int32_t mode : {0, 1, 2, -2, -3}) {
        I_SetColorProcMode(mode);
        EXPECT_EQ(mode, I_GetColorBand());
        EXPECT_EQ(mode, I_GetColorProcMode());
    }
    I_SetColorProcMode(7);
    EXPECT_EQ(2, I_GetColorBand());
}

TEST_F(ColorModel, LiteralStatsModeSavesAndRestores)
{
    const std::pair<int32_t, int32_t> cases[] = {{-3, -3}, {-2, -2}, {0, 0},  {2, 2}, {1, 1},
                                                 {-1, 1},  {3, 1},   {-4, 1}, {9, 1}};
    for (const auto& [mode, expected] : cases) {
        I_SetColorProcMode(5);
        I_SetStatsProcMode(mode);
        EXPECT_EQ(expected, I_GetColorProcMode()) << mode;
        EXPECT_EQ(mode, statsProcMode());
        I_ResetColorProcMode();
        EXPECT_EQ(5, I_GetColorProcMode());
    }
}

TEST_F(ColorModel, LiteralBackgroundColor)
{
    EXPECT_EQ(0, I_SetBgrndColor(0x123456));
    EXPECT_EQ(0x123456, I_SetBgrndColor(-2));
    EXPECT_EQ(0x123456, I_GetBgrndColor());
    EXPECT_EQ(0x123456, I_SetBgrndColor(INT32_MIN));
    EXPECT_EQ(0x123456, I_SetBgrndColor(-1));
    EXPECT_EQ(-1, I_GetBgrndColor());
}

TEST_F(ColorModel, LiteralOneBandIsWrittenWhereTheSourceHasOne)
{
    EXPECT_FALSE(writesOneBand(PIX_BYTE, PIX_BGR24));
    I_SetColorBand(0);
    EXPECT_TRUE(writesOneBand(PIX_BYTE, PIX_BGR24));
    EXPECT_TRUE(writesOneBand(PIX_FLOAT, PIX_PALETTE));
    EXPECT_FALSE(writesOneBand(PIX_PALETTE, PIX_BGR24));
    EXPECT_FALSE(writesOneBand(PIX_BYTE, PIX_FLOAT));
    I_SetColorProcMode(-2);
    EXPECT_FALSE(writesOneBand(PIX_BYTE, PIX_BGR24));
}

// Conversion. The reference holds a pixel as three numbers.

struct Rgb {
    int32_t red, green, blue;
};

Rgb unpacked(int32_t type, const uint8_t* p, const uint8_t* palette)
{
    const int32_t word = p[0] | (type == PIX_BGR15 || type == 14 || type == PIX_BGR16 ? p[1] << 8 : 0);
    switch (type) {
    case PIX_PALETTE:
        return {palette[4 * p[0] + 2], palette[4 * p[0] + 1], palette[4 * p[0]]};
    case PIX_BGR15:
        return {(word / 1024 % 32) * 8, (word / 32 % 32) * 8, (word % 32) * 8};
    case 14:
        return {(word / 2 % 32) * 8, (word / 64 % 32) * 8, (word / 2048 % 32) * 8};
    case PIX_BGR16:
        return {(word / 2048 % 32) * 8, (word / 32 % 64) * 4, (word % 32) * 8};
    case PIX_RGB24:
        return {p[0], p[1], p[2]};
    case PIX_RGB32:
        return {p[1], p[2], p[3]};
    default:
        return {p[2], p[1], p[0]};
    }
}

void packed(int32_t type, Rgb c, uint8_t* p)
{
    const auto word = [&](int32_t w) {
        p[0] = static_cast<uint8_t>(w % 256);
        p[1] = static_cast<uint8_t>(w / 256);
    };
    const auto bytes = [&](int32_t at, int32_t a, int32_t b, int32_t d) {
        p[at] = static_cast<uint8_t>(a);
        p[at + 1] = static_cast<uint8_t>(b);
        p[at + 2] = static_cast<uint8_t>(d);
    };
    switch (type) {
    case PIX_BGR15:
        return word(c.red / 8 * 1024 + c.green / 8 * 32 + c.blue / 8);
    case 14:
        return word(c.red / 8 * 2 + c.green / 8 * 64 + c.blue / 8 * 2048);
    case PIX_BGR16:
        return word(c.red / 8 * 2048 + c.green / 4 * 32 + c.blue / 8);
    case PIX_RGB24:
        return bytes(0, c.red, c.green, c.blue);
    case PIX_RGB32:
        return bytes(1, c.red, c.green, c.blue);
    default:
        return bytes(0, c.blue, c.green, c.red);
    }
}

int32_t pixelBytes(int32_t type)
{
    return type == 14 ? 2 : I_ImTypeBytes(type);
}

int32_t grey(Rgb c, int32_t band)
{
    switch (band) {
    case 0:
        return c.red;
    case 1:
        return c.green;
    case 2:
        return c.blue;
    case -3:
        return (35 * c.red + 50 * c.green + 15 * c.blue) / 100;
    default:
        return (c.red + c.green + c.blue) / 3;
    }
}

Bytes noise(std::size_t n, uint32_t seed)
{
    std::mt19937 random(seed);
    Bytes bytes(n);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

constexpr int32_t kPackedTypes[] = {PIX_BGR15, 14, PIX_BGR16, PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32};
constexpr int32_t kCounts[] = {1,  2,  3,  15, 16,  17,  31,   33,   34,   63,  64,
                               65, 69, 70, 71, 127, 134, 1023, 1024, 1025, 2500};

class ColorRowsOfEverySet : public testing::TestWithParam<InstructionSet>
{
protected:
    void SetUp() override
    {
        limitInstructionSet(GetParam());
        resetColorModel();
    }
    void TearDown() override { resetColorModel(); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, ColorRowsOfEverySet, testing::ValuesIn(availableInstructionSets()));

TEST_P(ColorRowsOfEverySet, AgainstReferenceEveryColorToBytesByBand)
{
    const Bytes palette = noise(1024, 1);
    std::vector<int32_t> types(std::begin(kPackedTypes), std::end(kPackedTypes));
    types.push_back(PIX_PALETTE);
    for (const int32_t band : {-2, 0, 1, 2, -3, -1, -7}) {
        I_SetColorProcMode(band);
        for (const int32_t type : types) {
            for (const int32_t n : kCounts) {
                const auto step = static_cast<std::size_t>(pixelBytes(type));
                const auto count = static_cast<std::size_t>(n);
                const Bytes source = noise(count * step, static_cast<uint32_t>(n));
                Bytes dest(count + 1, 77);
                Bytes expected(count + 1, 77);
                for (std::size_t i = 0; i < count; ++i)
                    expected[i] =
                        static_cast<uint8_t>(grey(unpacked(type, &source[i * step], palette.data()), band));
                ASSERT_EQ(1, ConvertColorType(source.data(), type, palette.data(), dest.data(), PIX_BYTE,
                                              nullptr, n));
                ASSERT_EQ(expected, dest) << "type " << type << ", band " << band << ", " << n << " pixels";
            }
        }
    }
}

TEST_P(ColorRowsOfEverySet, AgainstReferenceEveryPairOfColors)
{
    const Bytes palette = noise(1024, 2);
    std::vector<int32_t> sources(std::begin(kPackedTypes), std::end(kPackedTypes));
    sources.push_back(PIX_PALETTE);
    for (const int32_t band : {-2, 1}) { // the band does not matter between colours
        I_SetColorBand(band);
        for (const int32_t from : sources) {
            for (const int32_t to : kPackedTypes) {
                for (const int32_t n : {1, 33, 1030}) {
                    const auto sourceStep = static_cast<std::size_t>(pixelBytes(from));
                    const auto destStep = static_cast<std::size_t>(pixelBytes(to));
                    const auto count = static_cast<std::size_t>(n);
                    const Bytes source = noise(count * sourceStep, static_cast<uint32_t>(n + from));
                    Bytes dest(count * destStep + 4, 0);
                    Bytes expected = dest;
                    if (from == to)
                        continue;
                    for (std::size_t i = 0; i < count; ++i)
                        packed(to, unpacked(from, &source[i * sourceStep], palette.data()),
                               &expected[i * destStep]);
                    ASSERT_EQ(1, ConvertColorType(source.data(), from, palette.data(), dest.data(), to,
                                                  nullptr, n));
                    ASSERT_EQ(expected, dest) << from << " to " << to << ", " << n << " pixels";
                }
            }
        }
    }
}

TEST_P(ColorRowsOfEverySet, AgainstReferenceBytesIntoEveryColorByBand)
{
    for (const int32_t band : {-2, 0, 1, 2}) {
        I_SetColorBand(band);
        for (const int32_t type : kPackedTypes) {
            for (const int32_t n : {1, 17, 100}) {
                const auto step = static_cast<std::size_t>(pixelBytes(type));
                const auto count = static_cast<std::size_t>(n);
                const Bytes source = noise(count, 9);
                Bytes dest = noise(count * step, 10);
                if (step == 2) // bits that are no colour
                    for (std::size_t i = 0; i < count; ++i)
                        packed(type, unpacked(type, &dest[2 * i], nullptr), &dest[2 * i]);
                Bytes expected = dest;
                for (std::size_t i = 0; i < count; ++i) {
                    Rgb color = unpacked(type, &dest[i * step], nullptr);
                    if (band == 0 || band == -2)
                        color.red = source[i];
                    if (band == 1 || band == -2)
                        color.green = source[i];
                    if (band == 2 || band == -2)
                        color.blue = source[i];
                    packed(type, color, &expected[i * step]);
                }
                ASSERT_EQ(1,
                          ConvertColorType(source.data(), PIX_BYTE, nullptr, dest.data(), type, nullptr, n));
                ASSERT_EQ(expected, dest) << "type " << type << ", band " << band;
            }
        }
    }
}

TEST_P(ColorRowsOfEverySet, AgainstReferenceEveryMeanOfThree)
{
    // Each pair of bytes with the third at both ends and in between.
    for (const int32_t third : {0, 1, 127, 254, 255}) {
        Bytes source;
        Bytes expected;
        for (int32_t a = 0; a < 256; ++a)
            for (int32_t b = 0; b < 256; ++b) {
                for (const int32_t byte : {a, third, b})
                    source.push_back(static_cast<uint8_t>(byte));
                expected.push_back(static_cast<uint8_t>((a + b + third) / 3));
            }
        Bytes dest(65536);
        ConvertColorType(source.data(), PIX_RGB24, nullptr, dest.data(), PIX_BYTE, nullptr, 65536);
        ASSERT_EQ(expected, dest) << third;
    }
}

TEST_P(ColorRowsOfEverySet, BoundsInPlace)
{
    for (const int32_t from : {PIX_BGR24, PIX_BGR32, PIX_BGR15}) {
        for (const int32_t to : {PIX_BYTE, PIX_RGB24, PIX_BGR16, PIX_BGR24}) {
            if (from == to)
                continue;
            Bytes pixels = noise(4 * 3000, 4);
            Bytes expected(4 * 3000);
            ASSERT_EQ(1, ConvertColorType(pixels.data(), from, nullptr, expected.data(), to, nullptr, 3000));
            ASSERT_EQ(1, ConvertColorType(pixels.data(), from, nullptr, pixels.data(), to, nullptr, 3000));
            const auto bytes = static_cast<std::size_t>(3000 * pixelBytes(to));
            EXPECT_EQ(0, std::memcmp(expected.data(), pixels.data(), bytes)) << from << " to " << to;
        }
    }
}

class ColorConversion : public ColorModel
{
};

TEST_F(ColorConversion, LiteralMeanIsTruncated)
{
    const uint8_t bgr[] = {10, 20, 32, 255, 255, 254};
    uint8_t dest[2];
    EXPECT_EQ(1, ConvertColorType(bgr, PIX_BGR24, nullptr, dest, PIX_BYTE, nullptr, 2));
    EXPECT_THAT(dest, ElementsAre(20, 254));
}

TEST_F(ColorConversion, LiteralComponentZeroIsRed)
{
    const uint8_t pixel[] = {1, 2, 3};
    uint8_t byte = 0;
    I_SetColorBand(0);
    ConvertColorType(pixel, PIX_BGR24, nullptr, &byte, PIX_BYTE, nullptr, 1);
    EXPECT_EQ(3, byte);
    ConvertColorType(pixel, PIX_RGB24, nullptr, &byte, PIX_BYTE, nullptr, 1);
    EXPECT_EQ(1, byte);
    I_SetColorBand(2);
    ConvertColorType(pixel, PIX_BGR24, nullptr, &byte, PIX_BYTE, nullptr, 1);
    EXPECT_EQ(1, byte);
    uint8_t dest[] = {9, 9, 9};
    I_SetColorBand(0);
    byte = 5;
    ConvertColorType(&byte, PIX_BYTE, nullptr, dest, PIX_RGB24, nullptr, 1);
    EXPECT_THAT(dest, ElementsAre(5, 9, 9));
}

TEST_F(ColorConversion, LiteralGreyPaletteIsCopied)
{
    const uint8_t indices[] = {7, 200};
    uint8_t dest[2];
    EXPECT_EQ(1, ConvertColorType(indices, PIX_PALETTE, nullptr, dest, PIX_BYTE, nullptr, 2));
    EXPECT_THAT(dest, ElementsAre(7, 200));
    Bytes ramp(1024);
    for (std::size_t i = 0; i < 1024; ++i)
        ramp[i] = static_cast<uint8_t>(i / 4);
    I_SetColorBand(1);
    EXPECT_EQ(1, ConvertColorType(indices, PIX_PALETTE, ramp.data(), dest, PIX_BYTE, nullptr, 2));
    EXPECT_THAT(dest, ElementsAre(7, 200));
    EXPECT_EQ(1, ConvertColorType(dest, PIX_BYTE, nullptr, ramp.data(), PIX_PALETTE, nullptr, 2));
    EXPECT_EQ(7, ramp[0]);
    EXPECT_EQ(200, ramp[1]);
}

TEST_F(ColorConversion, LiteralPaletteIntoNumbersIsTheMean)
{
    Bytes palette(1024);
    palette[4 * 3] = 10;
    palette[4 * 3 + 1] = 20;
    palette[4 * 3 + 2] = 33;
    const uint8_t indices[] = {3, 0};
    float floats[2];
    I_SetColorBand(0); // does not matter here
    EXPECT_EQ(1, ConvertColorType(indices, PIX_PALETTE, palette.data(), floats, PIX_FLOAT, nullptr, 2));
    EXPECT_THAT(floats, ElementsAre(21.0F, 0.0F));
    int16_t words[2];
    EXPECT_EQ(1, ConvertColorType(indices, PIX_PALETTE, palette.data(), words, PIX_WORD, nullptr, 2));
    EXPECT_THAT(words, ElementsAre(21, 0));
    EXPECT_EQ(0, ConvertColorType(indices, PIX_PALETTE, nullptr, words, PIX_WORD, nullptr, 2));
    EXPECT_EQ("Null sPalette in ConvertColorType", errorText());
}

TEST_F(ColorConversion, LiteralPlanesOfAPlanarRun)
{
    const uint8_t bgr[] = {1, 2, 3, 4, 5, 6};
    uint8_t planes[6];
    EXPECT_EQ(1, ConvertColorType(bgr, PIX_BGR24, nullptr, planes, PIX_PLANAR, nullptr, 2));
    EXPECT_THAT(planes, ElementsAre(3, 6, 2, 5, 1, 4));
    uint8_t back[6];
    EXPECT_EQ(1, ConvertColorType(planes, PIX_PLANAR, nullptr, back, PIX_BGR24, nullptr, 2));
    EXPECT_THAT(back, ElementsAre(1, 2, 3, 4, 5, 6));
    uint8_t means[2];
    EXPECT_EQ(1, ConvertColorType(planes, PIX_PLANAR, nullptr, means, PIX_BYTE, nullptr, 2));
    EXPECT_THAT(means, ElementsAre(2, 5));
    I_SetColorBand(1);
    const uint8_t bytes[] = {8, 9};
    EXPECT_EQ(1, ConvertColorType(bytes, PIX_BYTE, nullptr, planes, PIX_PLANAR, nullptr, 2));
    EXPECT_THAT(planes, ElementsAre(3, 6, 8, 9, 1, 4));
}

TEST_F(ColorConversion, LiteralSameTypeDoesNothing)
{
    uint8_t dest[] = {9, 9, 9};
    const uint8_t source[] = {1, 2, 3};
    EXPECT_EQ(1, ConvertColorType(source, PIX_BGR24, nullptr, dest, PIX_BGR24, nullptr, 1));
    EXPECT_THAT(dest, ElementsAre(9, 9, 9));
}

TEST_F(ColorConversion, LiteralLargeConversionsTellProgress)
{
    static std::string last;
    static float fraction;
    last.clear();
    I_SetProgressCallback([](float f, const char* text) { fraction = f, last = text; }, 0);
    const Bytes source(1'000'000 * 2);
    Bytes dest(1'000'000 * 3);
    ConvertColorType(source.data(), PIX_BGR15, nullptr, dest.data(), PIX_BGR24, nullptr, 1'000'000);
    I_SetProgressCallback(I_ShowProgress, 100);
    EXPECT_EQ("ConvertColorType,1.000 Mpix. type 13 to 16.", last);
    EXPECT_EQ(1.0F, fraction);
}

TEST_F(ColorConversion, FailuresOfIllegalTypes)
{
    Messages messages;
    uint8_t source[64] = {};
    uint8_t dest[64];
    std::fill(std::begin(dest), std::end(dest), uint8_t{7});
    EXPECT_EQ(0, ConvertColorType(source, PIX_FLOAT, nullptr, dest, PIX_BGR24, nullptr, 4));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ConvertColorType illegal non-byte types: 4 to 16. 4 pixels", errorText());
    EXPECT_EQ(0, ConvertColorType(source, PIX_RGB32, nullptr, dest, PIX_WORD, nullptr, 3));
    EXPECT_EQ("ConvertColorType illegal non-byte types: 19 to 2. 3 pixels", errorText());
    EXPECT_EQ(0, ConvertColorType(source, PIX_WORD, nullptr, dest, PIX_FLOAT, nullptr, 3));
    EXPECT_EQ(0, ConvertColorType(source, 22, nullptr, dest, PIX_BGR24, nullptr, 3));
    EXPECT_EQ(0, ConvertColorType(source, PIX_BGR24, nullptr, dest, 22, nullptr, 3));
    EXPECT_EQ(0, ConvertColorType(nullptr, PIX_BGR24, nullptr, dest, PIX_BYTE, nullptr, 3));
    EXPECT_EQ(0, ConvertColorType(source, PIX_BGR24, nullptr, nullptr, PIX_BYTE, nullptr, 3));
    EXPECT_EQ(1, ConvertColorType(nullptr, PIX_BGR24, nullptr, nullptr, PIX_BYTE, nullptr, 0));
    EXPECT_THAT(dest, testing::Each(7));
}

// The box of the platform, caught.
struct Boxes {
    static std::vector<std::string>& all()
    {
        static std::vector<std::string> texts;
        return texts;
    }
    Boxes()
    {
        all().clear();
        platform.size = sizeof platform;
        platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
            all().emplace_back(text);
            return answer;
        };
        vexaSetPlatform(&platform);
    }
    ~Boxes() { vexaSetPlatform(nullptr); }
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;
    VexaPlatform platform = {};
};

TEST_F(ColorConversion, FailuresShowTheDescribedBox)
{
    const Boxes boxes;
    uint8_t source[64] = {};
    uint8_t dest[64] = {};
    ConvertColorType(source, PIX_WORD, nullptr, dest, PIX_FLOAT, nullptr, 3);
    ConvertColorType(source, 22, nullptr, dest, PIX_BGR24, nullptr, 3);
    ConvertColorType(source, PIX_BGR24, nullptr, dest, 22, nullptr, 3);
    EXPECT_EQ(0, PlanarToPacked(dest, PIX_FLOAT, nullptr, source, source, source, 3));
    EXPECT_EQ(0, PackedToPlanar(source, 21, nullptr, dest, dest, dest, 3));
    EXPECT_THAT(Boxes::all(),
                ElementsAre("ConvertColorType: Illegal types: 2 4", "PackedToPlanar: Illegal stype=22.",
                            "Illegal dtype=22.", "Illegal dtype=4.", "PackedToPlanar: Illegal stype=21."));
}

TEST_F(ColorConversion, FailuresOfOverlappingRunsWithoutMemory)
{
    Bytes pixels(400, 8);
    forEachFailingAllocation(
        [&] {
            return ConvertColorType(pixels.data(), PIX_BGR15, nullptr, pixels.data(), PIX_BGR24, nullptr,
                                    100);
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

TEST_F(ColorConversion, LiteralPlanesThatAreNullAreSkipped)
{
    const uint8_t bgr[] = {1, 2, 3};
    uint8_t green = 0;
    EXPECT_EQ(1, PackedToPlanar(bgr, PIX_BGR24, nullptr, nullptr, &green, nullptr, 1));
    EXPECT_EQ(2, green);
    uint8_t dest[] = {9, 9, 9};
    green = 77;
    EXPECT_EQ(1, PlanarToPacked(dest, PIX_BGR24, nullptr, nullptr, &green, nullptr, 1));
    EXPECT_THAT(dest, ElementsAre(9, 77, 9));
    for (const int32_t type : {int32_t{PIX_BYTE}, int32_t{PIX_PLANAR}, int32_t{25}}) {
        EXPECT_EQ(1, PackedToPlanar(bgr, type, nullptr, nullptr, &green, nullptr, 1));
        EXPECT_EQ(1, PlanarToPacked(dest, type, nullptr, &green, &green, &green, 1));
    }
    EXPECT_EQ(77, green);
    EXPECT_THAT(dest, ElementsAre(9, 77, 9));
}

TEST_F(ColorConversion, LiteralSpaces)
{
    const uint8_t red[] = {1, 2};
    const uint8_t green[] = {3, 4};
    uint8_t blue[] = {5, 6};
    uint8_t out[2][2] = {};
    ConvertSpace(red, green, blue, 1, out[0], out[1], blue, 2, 2);
    EXPECT_EQ(0, out[0][0]);
    ConvertSpace(red, green, blue, 1, out[0], out[1], blue, 1, 2);
    EXPECT_THAT(out[0], ElementsAre(1, 2));
    EXPECT_THAT(out[1], ElementsAre(3, 4));
    ConvertSpace(nullptr, nullptr, nullptr, 1, nullptr, nullptr, nullptr, 1, 2);
    ConvertSpace(red, green, blue, 1, out[0], out[1], blue, 1, -5);
}

// The nearest palette entry.

Bytes paletteOf(const std::vector<Rgb>& colors)
{
    Bytes palette(1024);
    for (std::size_t i = 0; i < 256; ++i) {
        const Rgb c = colors[std::min(i, colors.size() - 1)];
        palette[4 * i] = static_cast<uint8_t>(c.blue);
        palette[4 * i + 1] = static_cast<uint8_t>(c.green);
        palette[4 * i + 2] = static_cast<uint8_t>(c.red);
    }
    return palette;
}

int32_t nearest(const Bytes& palette, Rgb c)
{
    const uint8_t bgr[] = {static_cast<uint8_t>(c.blue), static_cast<uint8_t>(c.green),
                           static_cast<uint8_t>(c.red)};
    uint8_t entry = 0;
    EXPECT_EQ(1, ConvertColorType(bgr, PIX_BGR24, nullptr, &entry, PIX_PALETTE, palette.data(), 1));
    return entry;
}

TEST_F(ColorConversion, LiteralNearestEntry)
{
    // Entries from 5 on are all (200, 200, 200): the last of them stands for its colour.
    const Bytes palette =
        paletteOf({{0, 0, 0}, {100, 100, 100}, {100, 103, 100}, {255, 0, 0}, {0, 255, 0}, {200, 200, 200}});
    EXPECT_EQ(0, nearest(palette, {3, 3, 3}));       // the same six bits as entry 0
    EXPECT_EQ(2, nearest(palette, {100, 100, 100})); // entries 1 and 2 have the same six bits
    EXPECT_EQ(3, nearest(palette, {250, 9, 9}));
    EXPECT_EQ(3, nearest(palette, {248, 10, 10}));
    EXPECT_EQ(255, nearest(palette, {200, 201, 203}));
    EXPECT_EQ(5, nearest(palette, {200, 204, 200})); // a scan meets entry 5 first
    EXPECT_EQ(4, nearest(palette, {10, 200, 10}));
}

TEST_F(ColorConversion, LiteralNearestEntryOneIsAnAnswer)
{
    const Bytes palette = paletteOf({{0, 0, 0}, {80, 80, 80}, {255, 255, 255}});
    EXPECT_EQ(1, nearest(palette, {80, 81, 82}));
    EXPECT_EQ(1, nearest(palette, {90, 90, 90}));
    EXPECT_EQ(1, nearest(palette, {91, 90, 90}));
}

TEST_F(ColorConversion, LiteralScanStopsAtASumBelowFour)
{
    const Bytes palette = paletteOf({{0, 0, 0}, {255, 255, 255}, {50, 50, 47}, {52, 50, 47}, {9, 9, 9}});
    // (52, 50, 48): entry 2 has a sum of 3, entry 3 of 1; other six bits than either.
    EXPECT_EQ(2, nearest(palette, {52, 50, 48}));
}

TEST_F(ColorConversion, LiteralFirstColorDecidesForItsSixBits)
{
    const Bytes palette = paletteOf({{0, 0, 0}, {255, 255, 255}, {40, 40, 40}, {51, 40, 40}, {0, 0, 0}});
    // 44 to 47 have the same six bits; 45 is nearer to 40, 46 to 51.
    EXPECT_EQ(2, nearest(palette, {45, 40, 40}));
    EXPECT_EQ(2, nearest(palette, {46, 40, 40}));
    Bytes other = palette;
    other[4 * 200] = 1; // another palette starts anew
    EXPECT_EQ(3, nearest(other, {46, 40, 40}));
    EXPECT_EQ(3, nearest(other, {45, 40, 40}));
}

TEST_F(ColorConversion, LiteralMissingBandOfAnIndexIsTheOneItShows)
{
    const Bytes palette = paletteOf({{0, 0, 0}, {200, 0, 0}, {200, 100, 0}, {0, 100, 0}, {0, 0, 0}});
    uint8_t index = 1;
    const uint8_t green = 100;
    EXPECT_EQ(1, PlanarToPacked(&index, PIX_PALETTE, palette.data(), nullptr, &green, nullptr, 1));
    EXPECT_EQ(2, index);
}

TEST_F(ColorConversion, FailuresOfAMissingPalette)
{
    const uint8_t source[] = {1, 2, 3};
    uint8_t dest[3] = {7, 7, 7};
    EXPECT_EQ(0, ConvertColorType(source, PIX_BGR24, nullptr, dest, PIX_PALETTE, nullptr, 1));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("Null sPalette in ConvertColorType", errorText());
    clearError();
    EXPECT_EQ(0, ConvertColorType(source, PIX_PALETTE, nullptr, dest, PIX_BGR24, nullptr, 1));
    EXPECT_EQ("Null sPalette in ConvertColorType", errorText());
    EXPECT_THAT(dest, testing::Each(7));
}

// Display palettes.

TEST_F(ColorModel, LiteralPaletteOfThreeThreeTwoBits)
{
    I_SetGammaCRT(1.0);
    I_SetColorMode(1);
    make332colorluts();
    EXPECT_EQ(1, I_GetColorMode());
    std::array<uint8_t, 256> red;
    std::array<uint8_t, 256> green;
    std::array<uint8_t, 256> blue;
    I_GetGraphicsPalette(red.data(), green.data(), blue.data());
    for (int32_t i = 0; i < 256; ++i) {
        const auto at = static_cast<std::size_t>(i);
        ASSERT_EQ(i & 224, red[at]);
        ASSERT_EQ((i & 28) * 8, green[at]);
        ASSERT_EQ((i & 3) * 64, blue[at]);
    }
    I_SetGammaCRT(2.2);
}

TEST_F(ColorModel, LiteralPaletteOfThreeThreeTwoBitsUndoesTheGamma)
{
    I_SetGammaCRT(2.0);
    make332colorluts();
    std::array<uint8_t, 256> red;
    I_GetGraphicsPalette(red.data(), nullptr, nullptr);
    for (std::size_t i = 0; i < 256; ++i) {
        const double level = static_cast<double>(i & 224) / 255.0;
        ASSERT_EQ(static_cast<uint8_t>(255.0 * std::pow(level, 2.0)), red[i]);
    }
    I_SetGammaCRT(2.2);
}

TEST_F(ColorModel, LiteralClosestColor)
{
    I_SetGammaCRT(1.0); // the gamma table is then the identity
    make332colorluts();
    int32_t red = 0;
    int32_t green = 0;
    int32_t blue = 0;
    const int32_t entry = ClosestRGB(100, 200, 130, &red, &green, &blue);
    EXPECT_EQ((200 & 224) + ((100 >> 3) & 28) + (130 >> 6), entry);
    EXPECT_EQ(100 - (entry & 224), red);
    EXPECT_EQ(200 - (entry & 28) * 8, green);
    EXPECT_EQ(130 - (entry & 3) * 64, blue);
    EXPECT_EQ(255, ClosestRGB(999, 255, 255, &red, &green, &blue));
    EXPECT_EQ(247 - 224, red);
    EXPECT_EQ(243 - 192, blue);
    EXPECT_EQ(0, ClosestRGB(-5, INT32_MIN, 0, nullptr, nullptr, nullptr));
    I_SetGammaCRT(2.2);
}

TEST_F(ColorModel, LiteralApplyPalette)
{
    const int32_t im = byteImage({{0, 1}});
    std::array<uint8_t, 256> tables[3];
    for (std::size_t i = 0; i < 256; ++i)
        for (std::size_t t = 0; t < 3; ++t)
            tables[t][i] = static_cast<uint8_t>(i + t);
    EXPECT_EQ(1, I_ApplyPalette(tables[0].data(), tables[1].data(), tables[2].data(), im));
    EXPECT_EQ(PIX_PALETTE, I_ImGetType(im));
    uint8_t palette[1024];
    ASSERT_EQ(1, I_ImGetParam(palette, sizeof palette, 13, im));
    EXPECT_EQ(7, palette[4 * 5]); // blue first
    EXPECT_EQ(6, palette[4 * 5 + 1]);
    EXPECT_EQ(5, palette[4 * 5 + 2]);
    EXPECT_EQ(0, palette[4 * 5 + 3]);
    EXPECT_EQ(1, I_ApplyPalette(tables[2].data(), tables[1].data(), tables[0].data(), im));
    I_ImClose(im);
}

TEST_F(ColorModel, FailuresOfApplyPalette)
{
    uint8_t table[256] = {};
    EXPECT_EQ(0, I_ApplyPalette(table, table, table, 0));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    const int32_t words = wordImage(2, 2);
    EXPECT_EQ(0, I_ApplyPalette(table, table, table, words));
    EXPECT_EQ(0, I_ApplyPalette(table, table, table, 7));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ("ApplyPalette(, im=7) im. not open", errorText());
    const int32_t bytes = byteImage(2, 2);
    EXPECT_EQ(0, I_ApplyPalette(table, nullptr, table, bytes));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(bytes));
    closeImages({words, bytes});
    EXPECT_EQ(0, I_ApplyPalette(table, table, table, bytes));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
}

// Raw colours.

Bytes rawRgb(int32_t rgb, int32_t im)
{
    const uint8_t* raw = GetRawColorRGB(rgb, im);
    return raw ? Bytes(raw, raw + I_ImTypeBytes(I_ImGetType(im))) : Bytes();
}

Bytes raw(int32_t color, int32_t im)
{
    const uint8_t* bytes = GetRawColor(color, im);
    return bytes ? Bytes(bytes, bytes + I_ImTypeBytes(I_ImGetType(im))) : Bytes();
}

TEST_F(ColorModel, LiteralRawBytesByType)
{
    const std::pair<int32_t, Bytes> cases[] = {
        {PIX_BYTE, {0x56}},
        {PIX_BGR24, {0x56, 0x34, 0x12}},
        {PIX_RGB24, {0x12, 0x34, 0x56}},
        {PIX_BGR32, {0x56, 0x34, 0x12, 0}},
        {PIX_RGB32, {0, 0x12, 0x34, 0x56}},
        {PIX_BGR15, {0xCA, 0x08}}, // 2 * 1024 + 6 * 32 + 10
        {PIX_BGR16, {0xAA, 0x11}}, // 2 * 2048 + 13 * 32 + 10
        {PIX_WORD, {0x34, 0}},     // the mean of the three
    };
    for (const auto& [type, expected] : cases) {
        const int32_t im = image(2, 2, type, [](int32_t, int32_t) { return 9; });
        EXPECT_EQ(expected, rawRgb(0x123456, im)) << "type " << type;
        EXPECT_EQ(9, pixel(im, 0, 0)) << "the first pixel is put back";
        I_ImClose(im);
    }
}

TEST_F(ColorModel, LiteralRawBytesOfFloatsAndPalettes)
{
    const int32_t floats = floatImage(2, 2, [](int32_t, int32_t) { return 3.5; });
    float value = 0;
    std::memcpy(&value, rawRgb(0x102030, floats).data(), sizeof value);
    EXPECT_EQ(32.0F, value);
    EXPECT_EQ(3.5, pixel(floats, 0, 0));
    const int32_t indexed = image(2, 2, PIX_PALETTE, [](int32_t, int32_t) { return 4; });
    // A new palette is a grey ramp, of which the last entry with the same six bits is found.
    EXPECT_EQ(Bytes{0x83}, rawRgb(0x808080, indexed));
    EXPECT_EQ(4, pixel(indexed, 0, 0));
    closeImages({floats, indexed});
}

TEST_F(ColorModel, LiteralRawColorByTheDisplayTables)
{
    const int32_t bytes = byteImage(2, 2);
    const int32_t bgr = image(2, 2, PIX_BGR24);
    EXPECT_EQ(Bytes{200}, raw(200, bytes));
    EXPECT_EQ(Bytes{0x2C}, raw(300, bytes));
    uint8_t ramp[3][256];
    for (int32_t i = 0; i < 256; ++i)
        ramp[0][i] = ramp[1][i] = ramp[2][i] = static_cast<uint8_t>(i);
    I_SetColorMode(1);
    I_SetDisplayLUTs(ramp[0], ramp[1], ramp[2]); // puts the graphics colours at their end
    EXPECT_EQ((Bytes{0, 0, 255}), raw(252, bgr));
    EXPECT_EQ((Bytes{0, 255, 0}), raw(253, bgr));
    EXPECT_EQ((Bytes{255, 255, 0}), raw(254, bgr));
    EXPECT_EQ((Bytes{77, 77, 77}), raw(77, bgr));
    closeImages({bytes, bgr});
}

TEST_F(ColorModel, LiteralRawColorWithoutTablesIsGrey)
{
    DisplayTables* tables = displayState().tables;
    displayState().tables = nullptr;
    const int32_t bgr = image(2, 2, PIX_BGR24);
    EXPECT_EQ((Bytes{253, 253, 253}), raw(253, bgr));
    I_ImClose(bgr);
    displayState().tables = tables;
}

TEST_F(ColorModel, LiteralRawColorBelowZeroIsTheBackground)
{
    const int32_t bgr = image(2, 2, PIX_BGR24);
    I_SetBgrndColor(0x010203);
    EXPECT_EQ((Bytes{3, 2, 1}), raw(-1, bgr));
    I_SetBgrndColor(0x040506);
    EXPECT_EQ((Bytes{6, 5, 4}), raw(-9, bgr));
    I_ImClose(bgr);
}

TEST_F(ColorModel, LiteralRawColorKeepsItsBytesBesideOtherCalls)
{
    const int32_t bgr = image(2, 2, PIX_BGR24);
    const Bytes first = raw(60, bgr);
    GetRawColorRGB(0xFFFFFF, bgr);
    EXPECT_EQ(first, raw(60, bgr));
    I_ImClose(bgr);
    const int32_t bytes = byteImage(2, 2); // the same number, another type
    EXPECT_EQ(Bytes{60}, raw(60, bytes));
    I_ImClose(bytes);
}

TEST_F(ColorModel, FailuresOfRawColors)
{
    EXPECT_EQ(nullptr, GetRawColor(5, 7));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    EXPECT_EQ(nullptr, GetRawColorRGB(5, -290));
    EXPECT_EQ(nullptr, GetRawColor(5, 0));
    EXPECT_EQ(nullptr, GetRawColor(-1, 0));
    InvertRawLine(nullptr, 5, 1, 0);
    uint8_t line[2] = {1, 2};
    InvertRawLine(line, 1, 2, 0);
    InvertRawLine(line, 2, 0, 0);
    InvertRawLine(line, -2, 1, 0);
    EXPECT_THAT(line, ElementsAre(1, 2));
}

TEST_F(ColorModel, LiteralInvertedLines)
{
    uint8_t line[] = {0, 128, 255, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    InvertRawLine(line, 3, 1, 0);
    EXPECT_THAT(line, ElementsAre(128, 0, 127, 1, 2, 3, 4, 5, 6, 7, 8, 9));
    InvertRawLine(line, 1, 3, 0);
    EXPECT_THAT(line, ElementsAre(0, 128, 255, 1, 2, 3, 4, 5, 6, 7, 8, 9));
    InvertRawLine(line, 3, 4, 0);
    EXPECT_THAT(line, ElementsAre(128, 0, 127, 129, 130, 131, 132, 133, 134, 135, 136, 137));
    InvertRawLine(line, 1, 8, 0);
    InvertRawLine(line, 1, 16, 0);
    InvertRawLine(line, 1, -3, 0);
    EXPECT_EQ(128, line[0]);
    const int32_t bgr15 = image(2, 2, PIX_BGR15);
    uint8_t pixels[] = {0, 0, 0xFF, 0x7F};
    InvertRawLine(pixels, 2, 0, bgr15); // 0x808080 is 0x4210 there
    EXPECT_THAT(pixels, ElementsAre(0x10, 0x42, 0xEF, 0x3D));
    const int32_t bytes = byteImage(2, 2);
    InvertRawLine(pixels, 2, 0, bytes);
    EXPECT_THAT(pixels, ElementsAre(0x90, 0xC2, 0xEF, 0x3D));
    closeImages({bgr15, bytes});
}

TEST_F(ColorModel, LiteralBandOfAnImage)
{
    const int32_t im = image(3, 1, PIX_BGR24, [](int32_t, int32_t) { return 9; });
    const uint8_t bytes[] = {1, 2, 3};
    I_SetColorBand(253);
    EXPECT_NE(0, I_PutBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE));
    EXPECT_THAT(bytesOf(im), ElementsAre(9, 1, 9, 9, 2, 9, 9, 3, 9));
    uint8_t back[3];
    I_GetBlockType(0, 0, 3, 1, back, im, PIX_BYTE);
    EXPECT_THAT(back, ElementsAre(1, 2, 3));
    I_SetColorBand(-2);
    I_GetBlockType(0, 0, 3, 1, back, im, PIX_BYTE);
    EXPECT_THAT(back, ElementsAre(6, 6, 7));
    I_ImClose(im);
}

} // namespace
} // namespace vexa::test
