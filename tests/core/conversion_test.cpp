#include <limits>
#include <random>

#include "support/buffer.h"
#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{
namespace
{

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

ScaleRecord scaleRecord(int32_t mode, int32_t shift, int32_t low, double gain, double offset)
{
    return {mode, shift, 0, 0, 0, low, gain, offset, nullptr, nullptr};
}

template <typename To, typename From>
std::vector<To> converted(const std::vector<From>& source, int32_t sourceType, int32_t destType,
                          const ScaleRecord* scale = nullptr)
{
    const auto n = static_cast<int32_t>(source.size() * sizeof(From)) / I_ImTypeBytes(sourceType);
    std::vector<To> dest(static_cast<std::size_t>(n) * static_cast<std::size_t>(I_ImTypeBytes(destType)) /
                         sizeof(To));
    ConvertPixelType(source.data(), sourceType, dest.data(), destType, n, scale);
    return dest;
}

class ConvertPixels : public testing::TestWithParam<InstructionSet>
{
protected:
    void SetUp() override
    {
        limitInstructionSet(GetParam());
        I_SetComplexMode(0);
        I_SetColorProcMode(3);
        I_SetColorBand(-2);
        clearError();
    }
    void TearDown() override { I_SetComplexMode(0); }
};
INSTANTIATE_TEST_SUITE_P(EverySet, ConvertPixels, testing::ValuesIn(availableInstructionSets()));

// The description once more, pixel by pixel, in numbers that hold everything.

template <typename T>
T get(const uint8_t* pixels, int64_t i)
{
    T value;
    std::memcpy(&value, pixels + i * static_cast<int64_t>(sizeof value), sizeof value);
    return value;
}

template <typename T>
void put(uint8_t* pixels, int64_t i, T value)
{
    std::memcpy(pixels + i * static_cast<int64_t>(sizeof value), &value, sizeof value);
}

int64_t truncated(double x)
{
    return x > -2147483649.0 && x < 2147483648.0 ? static_cast<int64_t>(x) : -2147483648LL;
}

float referenceFloat(const uint8_t* source, int32_t type, int64_t i, int32_t complexMode)
{
    switch (type) {
    case PIX_WORD:
        return get<int16_t>(source, i);
    case PIX_DWORD:
        return static_cast<float>(get<int32_t>(source, i));
    case PIX_FLOAT:
        return get<float>(source, i);
    case PIX_DFLOAT:
        return static_cast<float>(get<double>(source, i));
    case PIX_COMPLEX: {
        const double re = get<float>(source, 2 * i);
        const double im = get<float>(source, 2 * i + 1);
        const double byMode[] = {std::sqrt(re * re + im * im), re, im, re * re + im * im};
        return static_cast<float>(byMode[complexMode]);
    }
    case PIX_DCOMPLEX:
        return static_cast<float>(std::hypot(get<double>(source, 2 * i), get<double>(source, 2 * i + 1)));
    case 8:
        return get<int8_t>(source, i);
    default:
        return get<uint8_t>(source, i);
    }
}

uint8_t roundedByte(double x)
{
    if (x >= 254.5)
        return 255;
    return x > 0 ? static_cast<uint8_t>(x + 0.5) : 0;
}

void referencePixel(const uint8_t* source, int32_t from, uint8_t* dest, int32_t to, int64_t i,
                    const ScaleRecord& s, int32_t complexMode)
{
    if (to == PIX_BYTE && (from == PIX_WORD || from == PIX_DWORD)) {
        const int64_t value = from == PIX_WORD ? get<int16_t>(source, i) : get<int32_t>(source, i);
        put(dest, i,
            static_cast<uint8_t>(static_cast<int32_t>(static_cast<uint32_t>(value - s.low)) >> s.shift));
    } else if (to == PIX_BYTE && from == PIX_FLOAT) {
        put(dest, i, roundedByte((get<float>(source, i) - s.offset) * s.gain));
    } else if (to == PIX_BYTE && from == PIX_DFLOAT) {
        put(dest, i, static_cast<uint8_t>(truncated((get<double>(source, i) - s.offset) * s.gain + 0.5)));
    } else if (to == PIX_BYTE && from == PIX_COMPLEX) {
        const double re = get<float>(source, 2 * i);
        const double im = get<float>(source, 2 * i + 1);
        const double power = re * re + im * im;
        put(dest, i, roundedByte(((complexMode == 3 ? power : std::sqrt(power)) - s.offset) * s.gain));
    } else if (from == PIX_FLOAT && to == PIX_DFLOAT) {
        put(dest, i, double{get<float>(source, i)});
    } else if (from == PIX_DFLOAT && to == PIX_FLOAT) {
        put(dest, i, static_cast<float>(get<double>(source, i)));
    } else if (from == PIX_BYTE && to == PIX_WORD) {
        put(dest, i,
            static_cast<uint16_t>((uint64_t{get<uint8_t>(source, i)} << s.shift) +
                                  static_cast<uint64_t>(s.low)));
    } else {
        float x = referenceFloat(source, from, i, complexMode);
        if (s.mode != 0)
            x = static_cast<float>((x - s.offset) * s.gain);
        switch (to) {
        case PIX_WORD:
            return put(dest, i, static_cast<uint16_t>(truncated(x)));
        case PIX_DWORD:
            return put(dest, i, static_cast<int32_t>(truncated(x)));
        case PIX_FLOAT:
            return put(dest, i, x);
        case PIX_DFLOAT:
            return put(dest, i, double{x});
        case PIX_COMPLEX:
            put(dest, 2 * i, complexMode == 2 ? 0.0F : x);
            return put(dest, 2 * i + 1, complexMode == 2 ? x : 0.0F);
        case PIX_DCOMPLEX:
            put(dest, 2 * i, double{x});
            return put(dest, 2 * i + 1, 0.0);
        default:
            return put(dest, i, static_cast<uint8_t>(truncated(x)));
        }
    }
}

// Numbers of a type on purpose: its ends, halves, what is no number, and noise around the bytes.
std::vector<uint8_t> pixelsOnPurpose(int32_t type, int32_t n)
{
    std::mt19937 random(static_cast<uint32_t>(17 * type + n));
    const std::vector<double> special = {0.0,     -0.0,    0.49999997, 0.5,       254.4,      254.5,  255.0,
                                         255.5,   256.0,   -0.1,       -0.5,      -1.0,       -300.0, 300.0,
                                         32767.0, 32768.0, 65535.0,    4095.0,    1e9,        -1e9,   3e9,
                                         1e30,    -1e30,   kNaN,       kInfinity, -kInfinity, 1e-40};
    const auto real = [&](int32_t i) {
        if (i % 3 == 0)
            return special[random() % special.size()];
        if (i % 3 == 1)
            return static_cast<double>(random() % 1024) / 2.0 - 100.0;
        return static_cast<double>(random()) / 4294967296.0 * 5000.0 - 500.0;
    };
    const int32_t bytes = I_ImTypeBytes(type);
    std::vector<uint8_t> pixels(static_cast<std::size_t>(n) * static_cast<std::size_t>(bytes));
    const bool isComplex = type == PIX_COMPLEX || type == PIX_DCOMPLEX;
    for (int32_t i = 0; i < (isComplex ? 2 * n : n); ++i) {
        if (type == PIX_FLOAT || type == PIX_COMPLEX)
            put(pixels.data(), i, static_cast<float>(real(i)));
        else if (type == PIX_DFLOAT || type == PIX_DCOMPLEX)
            put(pixels.data(), i, real(i));
        else if (type == PIX_DWORD)
            put(pixels.data(), i, static_cast<uint32_t>(i % 2 ? random() : random() % 5000));
        else if (type == PIX_WORD)
            put(pixels.data(), i, static_cast<uint16_t>(random()));
        else
            put(pixels.data(), i, static_cast<uint8_t>(random()));
    }
    return pixels;
}

// NaNs may carry any payload; all other bits count.
bool samePixels(const uint8_t* a, const uint8_t* b, int32_t type, int32_t n)
{
    if (std::memcmp(a, b, static_cast<std::size_t>(n) * static_cast<std::size_t>(I_ImTypeBytes(type))) == 0)
        return true;
    const bool singles = type == PIX_FLOAT || type == PIX_COMPLEX;
    if (type < PIX_FLOAT || type > PIX_DCOMPLEX)
        return false;
    const int32_t parts = type >= PIX_COMPLEX ? 2 * n : n;
    for (int32_t i = 0; i < parts; ++i) {
        const double x = singles ? double{get<float>(a, i)} : get<double>(a, i);
        const double y = singles ? double{get<float>(b, i)} : get<double>(b, i);
        if (!(x == y || (std::isnan(x) && std::isnan(y))))
            return false;
    }
    return true;
}

void expectAsDescribed(int32_t from, int32_t to, int32_t n, const ScaleRecord* scale, int32_t complexMode)
{
    constexpr std::size_t kCanary = 64;
    const std::vector<uint8_t> source = pixelsOnPurpose(from, n);
    const auto destBytes = static_cast<std::size_t>(n) * static_cast<std::size_t>(I_ImTypeBytes(to));
    std::vector<uint8_t> dest(destBytes + kCanary, 0xA5);
    std::vector<uint8_t> expected(destBytes + kCanary, 0xA5);
    const ScaleRecord& record = scale ? *scale : scaleRecord(0, 0, 0, 1.0, 0.0);
    for (int64_t i = 0; i < n; ++i)
        referencePixel(source.data(), from, expected.data(), to, i, record, complexMode);
    ConvertPixelType(source.data(), from, dest.data(), to, n, scale);
    EXPECT_TRUE(samePixels(expected.data(), dest.data(), to, n))
        << from << " to " << to << ", " << n << " pixels";
    EXPECT_EQ(kCanary, static_cast<std::size_t>(std::count(dest.end() - kCanary, dest.end(), 0xA5)));
}

constexpr int32_t kNumericTypes[] = {PIX_BYTE,    PIX_WORD,     PIX_DWORD, PIX_FLOAT, PIX_DFLOAT,
                                     PIX_COMPLEX, PIX_DCOMPLEX, 8,         9};

TEST_P(ConvertPixels, AgainstReferenceEveryPairOfNumericTypes)
{
    for (const int32_t from : kNumericTypes)
        for (const int32_t to : kNumericTypes)
            for (const int32_t n :
                 {1, 2, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 129, 2047, 2048, 2049, 5000})
                if (from != to)
                    expectAsDescribed(from, to, n, nullptr, 0);
}

TEST_P(ConvertPixels, AgainstReferenceEveryPairWithAScale)
{
    const ScaleRecord scales[] = {
        scaleRecord(2, 4, 0, 255.0 / 4095, 0.0), scaleRecord(1, 4, 0, 4095 / 255.0, 0.0),
        scaleRecord(4, 0, 0, 0.37, -12.5),       scaleRecord(2, 8, -77, 3.0, 0.0),
        scaleRecord(2, 9, 1000, 1.0, 5.0),       scaleRecord(2, 31, 5, 1.0, 0.0),
        scaleRecord(0, 3, 40000, 1.0, 0.25),     scaleRecord(0, 0, INT32_MIN, 0.0, 0.0),
    };
    for (const int32_t from : kNumericTypes)
        for (const int32_t to : kNumericTypes)
            for (const ScaleRecord& scale : scales)
                for (const int32_t n : {65, 2100})
                    if (from != to)
                        expectAsDescribed(from, to, n, &scale, 0);
}

TEST_P(ConvertPixels, AgainstReferenceEveryComplexMode)
{
    const ScaleRecord scale = scaleRecord(4, 0, 0, 0.5, 3.0);
    for (int32_t mode = 0; mode < 4; ++mode) {
        I_SetComplexMode(mode);
        for (const int32_t other : kNumericTypes)
            for (const ScaleRecord* record : {static_cast<const ScaleRecord*>(nullptr), &scale})
                if (other != PIX_COMPLEX) {
                    expectAsDescribed(PIX_COMPLEX, other, 100, record, mode);
                    expectAsDescribed(other, PIX_COMPLEX, 100, record, mode);
                }
        EXPECT_EQ(mode, I_SetComplexMode(mode)) << "a conversion changed the mode";
    }
}

TEST_P(ConvertPixels, AgainstReferenceEveryWordToByteByShift)
{
    std::vector<uint16_t> words(65536);
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = static_cast<uint16_t>(i);
    for (int32_t shift = 0; shift < 32; ++shift) {
        const ScaleRecord scale = scaleRecord(2, shift, 123, 1.0, 0.0);
        const auto bytes = converted<uint8_t>(words, PIX_WORD, PIX_BYTE, &scale);
        for (int32_t i = 0; i < 65536; ++i)
            ASSERT_EQ(static_cast<uint8_t>((static_cast<int16_t>(i) - 123) >> shift),
                      bytes[static_cast<std::size_t>(i)])
                << i << " shifted by " << shift;
    }
}

TEST_P(ConvertPixels, LiteralFloatToByteRoundsAndClamps)
{
    const std::vector<float> floats = {254.4F, 254.5F, -0.1F, 0.0F,      0.49999997F, 0.5F,
                                       1e30F,  -1e30F, kNaN,  kInfinity, -kInfinity,  1.5F};
    EXPECT_THAT(converted<uint8_t>(floats, PIX_FLOAT, PIX_BYTE),
                testing::ElementsAre(254, 255, 0, 0, 0, 1, 255, 0, 0, 255, 0, 2));
}

TEST_P(ConvertPixels, LiteralDoubleToByteKeepsTheLowByte)
{
    EXPECT_THAT(converted<uint8_t>(std::vector<double>{300.0, -1.0, 254.5, 1e10}, PIX_DFLOAT, PIX_BYTE),
                testing::ElementsAre(44, 0, 255, 0));
}

TEST_P(ConvertPixels, LiteralWordsAreSigned)
{
    EXPECT_THAT(converted<float>(std::vector<uint16_t>{65535, 32767, 32768}, PIX_WORD, PIX_FLOAT),
                testing::ElementsAre(-1.0F, 32767.0F, -32768.0F));
}

TEST_P(ConvertPixels, LiteralComplexByMode)
{
    const std::vector<float> complex = {3.0F, 4.0F};
    const float expected[] = {5.0F, 3.0F, 4.0F, 25.0F};
    const uint8_t expectedByte[] = {5, 5, 5, 25};
    for (int32_t mode = 0; mode < 4; ++mode) {
        I_SetComplexMode(mode);
        EXPECT_THAT(converted<float>(complex, PIX_COMPLEX, PIX_FLOAT), testing::ElementsAre(expected[mode]));
        EXPECT_THAT(converted<uint8_t>(complex, PIX_COMPLEX, PIX_BYTE),
                    testing::ElementsAre(expectedByte[mode]));
        EXPECT_THAT(converted<float>(std::vector<double>{3.0, 4.0}, PIX_DCOMPLEX, PIX_FLOAT),
                    testing::ElementsAre(5.0F));
    }
}

TEST_P(ConvertPixels, LiteralRealIntoComplexByMode)
{
    const std::vector<float> real = {7.0F};
    I_SetComplexMode(2);
    EXPECT_THAT(converted<float>(real, PIX_FLOAT, PIX_COMPLEX), testing::ElementsAre(0.0F, 7.0F));
    EXPECT_THAT(converted<double>(real, PIX_FLOAT, PIX_DCOMPLEX), testing::ElementsAre(7.0, 0.0));
    I_SetComplexMode(1);
    EXPECT_THAT(converted<float>(real, PIX_FLOAT, PIX_COMPLEX), testing::ElementsAre(7.0F, 0.0F));
}

TEST_P(ConvertPixels, LiteralLargeIntegersGoThroughFloats)
{
    EXPECT_THAT(converted<double>(std::vector<int32_t>{16777217}, PIX_DWORD, PIX_DFLOAT),
                testing::ElementsAre(16777216.0));
}

TEST_P(ConvertPixels, LiteralFloatsTruncateIntoIntegers)
{
    const std::vector<float> floats = {2.9F, -2.9F, 40000.0F, 3e9F, kNaN};
    EXPECT_THAT(converted<int16_t>(floats, PIX_FLOAT, PIX_WORD), testing::ElementsAre(2, -2, -25536, 0, 0));
    EXPECT_THAT(converted<int32_t>(floats, PIX_FLOAT, PIX_DWORD),
                testing::ElementsAre(2, -2, 40000, INT32_MIN, INT32_MIN));
}

TEST_P(ConvertPixels, LiteralColorByWayOfBytes)
{
    const std::vector<uint8_t> bgr = {10, 20, 33};
    EXPECT_THAT(converted<float>(bgr, PIX_BGR24, PIX_FLOAT), testing::ElementsAre(21.0F));
    EXPECT_THAT(converted<uint8_t>(std::vector<float>{99.6F}, PIX_FLOAT, PIX_BGR24),
                testing::ElementsAre(100, 100, 100));
    const ScaleRecord scale = scaleRecord(4, 0, 0, 2.0, 0.0);
    EXPECT_THAT(converted<float>(bgr, PIX_BGR24, PIX_FLOAT, &scale), testing::ElementsAre(42.0F));
    EXPECT_THAT(converted<uint8_t>(std::vector<float>{30.0F}, PIX_FLOAT, PIX_BGR24, &scale),
                testing::ElementsAre(60, 60, 60));
}

TEST_P(ConvertPixels, LiteralPalettesOfTheScaleRecordServeColors)
{
    std::vector<uint8_t> palette(1024);
    palette[4 * 9] = 1;
    palette[4 * 9 + 1] = 2;
    palette[4 * 9 + 2] = 9;
    ScaleRecord scale = scaleRecord(0, 0, 0, 1.0, 0.0);
    scale.sourcePalette = palette.data();
    EXPECT_THAT(converted<uint8_t>(std::vector<uint8_t>{9}, PIX_PALETTE, PIX_BGR24, &scale),
                testing::ElementsAre(1, 2, 9));
    EXPECT_THAT(converted<float>(std::vector<uint8_t>{9}, PIX_PALETTE, PIX_FLOAT, &scale),
                testing::ElementsAre(4.0F));
    scale.destPalette = palette.data();
    EXPECT_THAT(converted<uint8_t>(std::vector<uint8_t>{1, 2, 9}, PIX_BGR24, PIX_PALETTE, &scale),
                testing::ElementsAre(9));
}

TEST_P(ConvertPixels, BoundsNothingForNoPixelsOrNoType)
{
    uint8_t dest = 77;
    const uint8_t source = 5;
    ConvertPixelType(nullptr, PIX_BYTE, nullptr, PIX_FLOAT, 0, nullptr);
    ConvertPixelType(&source, PIX_BYTE, &dest, PIX_BYTE, -1, nullptr);
    ConvertPixelType(&source, 0, &dest, PIX_BYTE, 1, nullptr);
    ConvertPixelType(&source, PIX_BYTE, &dest, -3, 1, nullptr);
    ConvertPixelType(nullptr, PIX_BYTE, &dest, PIX_BYTE, 1, nullptr);
    ConvertPixelType(&source, PIX_BYTE, nullptr, PIX_WORD, 1, nullptr);
    EXPECT_EQ(77, dest);
}

TEST_P(ConvertPixels, BoundsPixelsMayLieAtAnyAddress)
{
    for (const int32_t from : kNumericTypes) {
        for (const int32_t to : kNumericTypes) {
            if (from == to)
                continue;
            const std::vector<uint8_t> source = pixelsOnPurpose(from, 200);
            std::vector<uint8_t> shifted(source.size() + 1);
            std::copy(source.begin(), source.end(), shifted.begin() + 1);
            std::vector<uint8_t> even(200 * 16);
            std::vector<uint8_t> odd(200 * 16 + 1);
            ConvertPixelType(source.data(), from, even.data(), to, 200, nullptr);
            ConvertPixelType(shifted.data() + 1, from, odd.data() + 1, to, 200, nullptr);
            EXPECT_TRUE(samePixels(even.data(), odd.data() + 1, to, 200)) << from << " to " << to;
        }
    }
}

TEST_P(ConvertPixels, BoundsInPlaceAsIfTheSourceWereTakenFirst)
{
    constexpr int32_t n = 5000;
    for (const int32_t from : {PIX_WORD, PIX_FLOAT, PIX_DFLOAT, PIX_DCOMPLEX, PIX_BGR24, PIX_BGR32}) {
        for (const int32_t to :
             {PIX_BYTE, PIX_DWORD, PIX_FLOAT, PIX_COMPLEX, PIX_DCOMPLEX, PIX_BGR24, PIX_RGB24}) {
            if (from == to || (from == PIX_FLOAT && to == PIX_DFLOAT))
                continue;
            std::vector<uint8_t> pixels = pixelsOnPurpose(from, n);
            std::vector<uint8_t> expected(n * 16);
            ConvertPixelType(pixels.data(), from, expected.data(), to, n, nullptr);
            pixels.resize(n * 16);
            ConvertPixelType(pixels.data(), from, pixels.data(), to, n, nullptr);
            EXPECT_TRUE(samePixels(expected.data(), pixels.data(), to, n)) << from << " to " << to;
        }
    }
}

TEST(ConvertPixelType, FailuresOfTheFloatArrayLeaveTheDestination)
{
    std::vector<uint8_t> pixels(4 * 100, 3);
    const std::vector<uint8_t> before = pixels;
    // Words that grow in place need a copy of themselves.
    forEachFailingAllocation(
        [&] {
            pixels = before;
            ConvertPixelType(pixels.data(), PIX_WORD, pixels.data(), PIX_DWORD, 100, nullptr);
            return 0;
        },
        [&](int64_t) {
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(),
                        testing::StartsWith("Memory allocation failed: ConvertPixelType Npix=100: "));
            EXPECT_EQ(before, pixels);
        });
}

TEST(ConvertPixelType, FailuresOfTheByteBufferLeaveTheDestination)
{
    const std::vector<float> floats(50, 9.0F);
    std::vector<uint8_t> dest(150, 7);
    forEachFailingAllocation(
        [&] {
            std::fill(dest.begin(), dest.end(), uint8_t{7});
            ConvertPixelType(floats.data(), PIX_FLOAT, dest.data(), PIX_BGR24, 50, nullptr);
            return 0;
        },
        [&](int64_t) {
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(dest, testing::Each(7));
        });
}

TEST(ConvertPixelType, FailuresOfAColorTypeLeaveTheDestination)
{
    const Messages messages;
    const std::vector<uint8_t> source(60, 5);
    std::vector<float> dest(10, 7.0F);
    ConvertPixelType(source.data(), 22, dest.data(), PIX_FLOAT, 10, nullptr);
    EXPECT_THAT(dest, testing::Each(7.0F));
}

TEST(ArrayConvert, LiteralNullDestinationIsAllocated)
{
    const uint8_t bytes[] = {1, 2, 255};
    auto* floats = static_cast<float*>(I_ArrayConvert(bytes, PIX_BYTE, nullptr, PIX_FLOAT, 3));
    ASSERT_NE(nullptr, floats);
    EXPECT_EQ(255.0F, floats[2]);
    free(floats);
    auto* words = static_cast<int16_t*>(I_DupArrayType(bytes, PIX_BYTE, PIX_WORD, 3));
    ASSERT_NE(nullptr, words);
    EXPECT_EQ(255, words[2]);
    vexaFree(words);
    float dest[3] = {};
    EXPECT_EQ(dest, I_ArrayConvert(bytes, PIX_BYTE, dest, PIX_FLOAT, 3));
    EXPECT_EQ(2.0F, dest[1]);
}

TEST(ArrayConvert, LiteralSameTypeIsACopy)
{
    const float floats[] = {1.5F, -2.5F};
    auto* copy = static_cast<float*>(I_DupArrayType(floats, PIX_FLOAT, PIX_FLOAT, 2));
    ASSERT_NE(nullptr, copy);
    EXPECT_EQ(-2.5F, copy[1]);
    free(copy);
}

TEST(ArrayConvert, BoundsOfCountsBelowOne)
{
    for (const int32_t n : {0, -1, INT32_MIN})
        free(I_ArrayConvert(nullptr, PIX_BYTE, nullptr, PIX_FLOAT, n));
}

TEST(ArrayConvert, FailuresLeaveTheDescribedError)
{
    const uint8_t bytes[16] = {};
    forEachFailingAllocation(
        [&] {
            void* floats = I_ArrayConvert(bytes, PIX_BYTE, nullptr, PIX_FLOAT, 16);
            free(floats);
            return floats != nullptr;
        },
        [&](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
        });
}

// SetupScale

ImageRecord record(int32_t type, double low, double high)
{
    ImageRecord r = {};
    r.type = type;
    r.minValue = low;
    r.maxValue = high;
    return r;
}

TEST(SetupScale, LiteralTwelveBitWords)
{
    const ImageRecord words = record(PIX_WORD, 0.0, 4095.0);
    ScaleRecord scale;
    EXPECT_EQ(1, SetupScale(&words, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1));
    EXPECT_EQ(2, scale.mode);
    EXPECT_EQ(4, scale.shift);
    EXPECT_EQ(0, scale.low);
    EXPECT_EQ(0.0, scale.offset);
    EXPECT_DOUBLE_EQ(255.0 / 4095.0, scale.gain);
    EXPECT_EQ(1, SetupScale(&words, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 0));
    EXPECT_EQ(1, scale.mode);
    EXPECT_EQ(4, scale.shift);
    EXPECT_DOUBLE_EQ(4095.0 / 255.0, scale.gain);
}

TEST(SetupScale, LiteralShiftByRange)
{
    struct {
        double low, high;
        int32_t shift, lowWord;
    } const cases[] = {{0, 50, 0, 0},        {0, 256, 0, 0},           {0, 257, 1, 0},
                       {0, 512, 1, 0},       {0, 513, 2, 0},           {0, 1023, 2, 0},
                       {0, 4095, 4, 0},      {0, 4097, 5, 0},          {-100, 923, 2, -100},
                       {10.9, 65535, 8, 10}, {0, 4294967295.0, 24, 0}, {100, 0, 0, 100}};
    for (const auto& c : cases) {
        const ImageRecord image = record(PIX_DWORD, c.low, c.high);
        ScaleRecord scale;
        const bool near = 255.0 / (c.high - c.low) > 0.996 && 255.0 / (c.high - c.low) < 2.0;
        EXPECT_EQ(near ? 0 : 1, SetupScale(&image, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1));
        EXPECT_EQ(c.shift, scale.shift) << c.low << " to " << c.high;
        EXPECT_EQ(near ? 0 : c.lowWord, scale.low);
    }
}

TEST(SetupScale, LiteralRangesThatNeedNoScaling)
{
    ScaleRecord scale;
    struct {
        int32_t type;
        double low, high;
    } const cases[] = {{PIX_WORD, 0, 0},   {PIX_WORD, 7, 7},   {PIX_FLOAT, 0, 255}, {PIX_WORD, 0, 255},
                       {PIX_WORD, 0, 200}, {PIX_BYTE, 0, 100}, {PIX_BGR24, 0, 100}, {PIX_FLOAT, 3, 3}};
    for (const auto& c : cases) {
        const ImageRecord image = record(c.type, c.low, c.high);
        EXPECT_EQ(0, SetupScale(&image, c.type == PIX_BYTE ? PIX_FLOAT : PIX_BYTE, &scale, &scale, &image, 3,
                                4, 1));
        EXPECT_EQ(0, scale.mode);
        EXPECT_EQ(1.0, scale.gain);
        EXPECT_EQ(0.0, scale.offset);
        EXPECT_EQ(&scale, scale.sourcePalette);
        EXPECT_EQ(&image, scale.destPalette);
        EXPECT_EQ(3, scale.sourceFlip);
        EXPECT_EQ(4, scale.destFlip);
    }
}

TEST(SetupScale, LiteralFloatsBothWays)
{
    for (const int32_t type : {PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX, PIX_DCOMPLEX}) {
        const ImageRecord image = record(type, -10.0, 41.0);
        ScaleRecord scale;
        EXPECT_EQ(1, SetupScale(&image, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1));
        EXPECT_EQ(4, scale.mode);
        EXPECT_EQ(5.0, scale.gain);
        EXPECT_EQ(-10.0, scale.offset);
        EXPECT_EQ(1, SetupScale(&image, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 0));
        EXPECT_EQ(0.2, scale.gain);
        EXPECT_EQ(50.0, scale.offset);
        EXPECT_EQ(0, scale.shift);
    }
}

TEST(SetupScale, LiteralColorsCountAsBytes)
{
    const ImageRecord words = record(PIX_WORD, 0.0, 4095.0);
    ScaleRecord scale;
    EXPECT_EQ(1, SetupScale(&words, PIX_BGR24, &scale, nullptr, nullptr, 0, 0, 1));
    EXPECT_EQ(0, SetupScale(&words, PIX_PALETTE, &scale, nullptr, nullptr, 0, 0, 1));
    EXPECT_EQ(0, SetupScale(&words, PIX_FLOAT, &scale, nullptr, nullptr, 0, 0, 1));
}

TEST(SetupScale, LiteralTheImagesOwnTypeLeavesAllButTheFlipsZero)
{
    const ImageRecord words = record(PIX_WORD, 0.0, 4095.0);
    ScaleRecord scale;
    std::memset(&scale, 0x55, sizeof scale);
    EXPECT_EQ(0, SetupScale(&words, PIX_WORD, &scale, &words, &words, 1, 2, 1));
    EXPECT_EQ(0.0, scale.gain);
    EXPECT_EQ(nullptr, scale.sourcePalette);
    EXPECT_EQ(1, scale.sourceFlip);
    EXPECT_EQ(2, scale.destFlip);
    EXPECT_EQ(0, scale.shift);
}

TEST(SetupScale, FailuresOfNullPointers)
{
    const ImageRecord words = record(PIX_WORD, 0.0, 4095.0);
    ScaleRecord scale;
    EXPECT_EQ(0, SetupScale(&words, PIX_BYTE, nullptr, nullptr, nullptr, 0, 0, 1));
    EXPECT_EQ(0, SetupScale(nullptr, PIX_BYTE, &scale, nullptr, nullptr, 1, 0, 1));
    EXPECT_EQ(1, scale.sourceFlip);
}

TEST(SetupScale, BoundsOfRangesWithoutSense)
{
    ScaleRecord scale;
    const double values[] = {-kInfinity, kInfinity, kNaN, 1e300, -1e300, 0.0};
    for (const double low : values)
        for (const double high : values)
            for (const int32_t type : {PIX_WORD, PIX_DWORD, PIX_FLOAT}) {
                const ImageRecord image = record(type, low, high);
                const int32_t set = SetupScale(&image, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1);
                EXPECT_EQ(set, scale.mode != 0);
                EXPECT_GE(scale.shift, 0);
                EXPECT_LT(scale.shift, 32);
            }
}

TEST(ImageConversion, LiteralFloatImageWithARangeReadsAsBytes)
{
    const int32_t im = floatImage(3, 1, [](int32_t x, int32_t) { return 100.0 + 50.0 * x; });
    uint8_t bytes[3];
    I_GetBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_THAT(bytes, testing::ElementsAre(100, 150, 200));
    I_SetPixValueRange(100.0, 202.0, im);
    I_GetBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_THAT(bytes, testing::ElementsAre(0, 125, 250));
    I_PutBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_EQ(150.0, pixel(im, 1, 0));
    I_ImClose(im);
}

TEST(ImageConversion, LiteralTwelveBitImageReadsShifted)
{
    const int32_t im = wordImage(3, 1, [](int32_t x, int32_t) { return 2047 * x; });
    uint8_t bytes[3];
    I_GetBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_THAT(bytes, testing::ElementsAre(0, 255, 254));
    I_SetPixValueRange(0.0, 4095.0, im);
    I_GetBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_THAT(bytes, testing::ElementsAre(0, 127, 255));
    I_PutBlockType(0, 0, 3, 1, bytes, im, PIX_BYTE);
    EXPECT_EQ(127 * 16, pixel(im, 1, 0));
    I_ImClose(im);
}

} // namespace
} // namespace vexa::test
