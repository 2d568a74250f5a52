// Pixel conversion against a pixel-by-pixel reading of its description, and the scale record against its steps.
#include <limits>
#include <random>

#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

using Random = std::mt19937;

// What the processor's conversion gives for what does not fit.
int32_t trunc32(double v)
{
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<int32_t>(v)
                                                 : std::numeric_limits<int32_t>::min();
}

template <typename T>
T load(const void* p, int64_t i)
{
    T v;
    std::memcpy(&v, static_cast<const uint8_t*>(p) + i * static_cast<int64_t>(sizeof(T)), sizeof v);
    return v;
}

template <typename T>
void store(void* p, int64_t i, T v)
{
    std::memcpy(static_cast<uint8_t*>(p) + i * static_cast<int64_t>(sizeof(T)), &v, sizeof v);
}

float toFloat(const void* src, int32_t type, int32_t i, int32_t mode)
{
    switch (type) {
    case PIX_WORD:
        return load<int16_t>(src, i);
    case PIX_DWORD:
        return static_cast<float>(load<int32_t>(src, i));
    case PIX_FLOAT:
        return load<float>(src, i);
    case PIX_DFLOAT:
        return static_cast<float>(load<double>(src, i));
    case PIX_COMPLEX: {
        const float re = load<float>(src, 2 * i), im = load<float>(src, 2 * i + 1);
        return mode == 1   ? re
               : mode == 2 ? im
               : mode == 3 ? static_cast<float>(double{re} * re + double{im} * im)
                           : static_cast<float>(std::hypot(double{re}, double{im}));
    }
    case PIX_DCOMPLEX:
        return static_cast<float>(std::hypot(load<double>(src, 2 * i), load<double>(src, 2 * i + 1)));
    case 8:
        return load<int8_t>(src, i);
    default:
        return load<uint8_t>(src, i);
    }
}

void plain(const void* src, int32_t st, void* dst, int32_t dt, int32_t n, const ScaleRecord* given,
           int32_t mode)
{
    ScaleRecord s{};
    s.gain = 1.0;
    if (given)
        s = *given;
    for (int32_t i = 0; i < n; ++i) {
        if (st == dt) {
            const int32_t bytes = I_ImTypeBytes(st);
            std::memcpy(static_cast<uint8_t*>(dst) + i * bytes, static_cast<const uint8_t*>(src) + i * bytes,
                        static_cast<std::size_t>(bytes));
        } else if (dt == PIX_BYTE && (st == PIX_WORD || st == PIX_DWORD)) {
            const int32_t v = st == PIX_WORD ? load<int16_t>(src, i) : load<int32_t>(src, i);
            store(dst, i,
                  static_cast<uint8_t>(
                      static_cast<int32_t>(static_cast<uint32_t>(v) - static_cast<uint32_t>(s.low)) >>
                      s.shift));
        } else if (dt == PIX_BYTE && st == PIX_FLOAT) {
            double x = load<float>(src, i);
            if (s.gain != 1.0 || s.offset != 0.0)
                x = (x - s.offset) * s.gain;
            store(dst, i, static_cast<uint8_t>(x <= 0 ? 0 : x >= 254.5 ? 255 : trunc32(x + 0.5)));
        } else if (dt == PIX_BYTE && st == PIX_DFLOAT) {
            store(dst, i, static_cast<uint8_t>(trunc32((load<double>(src, i) - s.offset) * s.gain + 0.5)));
        } else if (dt == PIX_BYTE && st == PIX_COMPLEX) {
            const double v = toFloat(src, st, i, mode == 3 ? 3 : 0);
            const double x = (v - s.offset) * s.gain + 0.5;
            store(dst, i, static_cast<uint8_t>(x <= 0 ? 0 : x >= 255.0 ? 255 : trunc32(x)));
        } else if (st == PIX_FLOAT && dt == PIX_DFLOAT) {
            store(dst, i, double{load<float>(src, i)});
        } else if (st == PIX_DFLOAT && dt == PIX_FLOAT) {
            store(dst, i, static_cast<float>(load<double>(src, i)));
        } else if (st == PIX_BYTE && dt == PIX_WORD) {
            store(dst, i,
                  static_cast<int16_t>((static_cast<uint32_t>(load<uint8_t>(src, i)) << s.shift) +
                                       static_cast<uint32_t>(s.low)));
        } else {
            float x = toFloat(src, st, i, mode);
            if (s.mode != 0)
                x = static_cast<float>((x - s.offset) * s.gain);
            switch (dt) {
            case PIX_WORD:
                store(dst, i, static_cast<int16_t>(trunc32(x)));
                break;
            case PIX_DWORD:
                store(dst, i, trunc32(x));
                break;
            case PIX_FLOAT:
                store(dst, i, x);
                break;
            case PIX_DFLOAT:
                store(dst, i, double{x});
                break;
            case PIX_COMPLEX:
                store(dst, 2 * i, mode == 2 ? 0.0F : x);
                store(dst, 2 * i + 1, mode == 2 ? x : 0.0F);
                break;
            case PIX_DCOMPLEX:
                store(dst, 2 * i, double{x});
                store(dst, 2 * i + 1, 0.0);
                break;
            default:
                store(dst, i, static_cast<uint8_t>(trunc32(x)));
            }
        }
    }
}

const int32_t kTypes[] = {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_DFLOAT, PIX_COMPLEX, PIX_DCOMPLEX, 8};

void fill(std::vector<uint8_t>& buffer, int32_t type, int32_t n, Random& random)
{
    for (int32_t i = 0; i < n * (type == PIX_COMPLEX || type == PIX_DCOMPLEX ? 2 : 1); ++i) {
        const int32_t kind = static_cast<int32_t>(random() % 6);
        double v = kind == 0   ? static_cast<double>(random() % 512) / 2.0
                   : kind == 1 ? -static_cast<double>(random() % 512) / 4.0
                   : kind == 2 ? static_cast<double>(random() % 100000) / 128.0
                   : kind == 3 ? static_cast<double>(random())
                   : kind == 4 ? static_cast<double>(random() % 70000) - 35000
                               : 254.0 + static_cast<double>(random() % 9) / 8.0;
        switch (type) {
        case PIX_WORD:
            store(buffer.data(), i, static_cast<int16_t>(random()));
            break;
        case PIX_DWORD:
            store(buffer.data(), i, static_cast<int32_t>(random() >> random() % 25));
            break;
        case PIX_FLOAT:
        case PIX_COMPLEX:
            store(buffer.data(), i, static_cast<float>(v));
            break;
        case PIX_DFLOAT:
        case PIX_DCOMPLEX:
            store(buffer.data(), i, v);
            break;
        default:
            store(buffer.data(), i, static_cast<uint8_t>(random()));
        }
    }
}

TEST(IndependentConversion, EveryPairOfNumericTypes)
{
    Random random(4);
    for (int32_t round = 0; round < 60; ++round) {
        const int32_t n = round < 20 ? round : static_cast<int32_t>(random() % 200);
        const int32_t mode = static_cast<int32_t>(random() % 4);
        I_SetComplexMode(mode);
        const auto sets = vexa::availableInstructionSets();
        vexa::limitInstructionSet(sets[random() % sets.size()]);
        ScaleRecord scale{};
        scale.gain = 1.0;
        const bool scaled = random() % 2 == 0;
        if (scaled) {
            scale.mode = static_cast<int32_t>(random() % 2) * 4;
            scale.shift = static_cast<int32_t>(random() % 9);
            scale.low = static_cast<int32_t>(random() % 300) - 100;
            scale.gain = random() % 3 == 0 ? 1.0 : static_cast<double>(random() % 1000 + 1) / 333.0;
            scale.offset = random() % 3 == 0 ? 0.0 : static_cast<double>(random() % 1000) / 7.0 - 50;
        }
        for (const int32_t st : kTypes) {
            std::vector<uint8_t> src(static_cast<std::size_t>(n + 2) * 16);
            fill(src, st, n, random);
            for (const int32_t dt : kTypes) {
                std::vector<uint8_t> got(static_cast<std::size_t>(n + 2) * 16, 77), wanted = got;
                ConvertPixelType(src.data(), st, got.data(), dt, n, scaled ? &scale : nullptr);
                plain(src.data(), st, wanted.data(), dt, n, scaled ? &scale : nullptr, mode);
                const auto place = std::mismatch(got.begin(), got.end(), wanted.begin());
                EXPECT_TRUE(got == wanted)
                    << st << " to " << dt << " n " << n << " complex mode " << mode << " scaled " << scaled
                    << " mode " << scale.mode << " gain " << scale.gain << " offset " << scale.offset
                    << " low " << scale.low << " shift " << scale.shift << " byte "
                    << place.first - got.begin();
            }
        }
    }
    I_SetComplexMode(0);
}

int32_t log2Of(int32_t v)
{
    int32_t r = 0;
    while (v > 1)
        ++r, v >>= 1;
    return r;
}

TEST(IndependentConversion, ScaleRecordsFollowTheRange)
{
    Random random(8);
    static const int32_t kAll[] = {1, 2, 3, 4, 5, 6, 7, 12, 13, 15, 16, 17, 18, 19};
    static const double kLows[] = {0, 0, 0, 1, 100, -50, 3.7, -1e5},
                        kHighs[] = {0,   200, 254,  255,  256,  257,   300, 511,
                                    512, 513, 1023, 1024, 4095, 65535, 1e6, 3.7};
    for (int32_t round = 0; round < 4000; ++round) {
        ImageRecord record{};
        record.type = kAll[random() % std::size(kAll)];
        record.minValue = kLows[random() % std::size(kLows)];
        record.maxValue = kHighs[random() % std::size(kHighs)];
        const int32_t other = kAll[random() % std::size(kAll)];
        const bool read = random() % 2;
        const int32_t a = 1, b = 2;
        ScaleRecord got;
        std::memset(&got, 0x55, sizeof got);
        const int32_t result = SetupScale(&record, other, &got, &a, &b, 3, 4, read);
        int32_t wanted = 0, mode = 0, shift = 0, low = 0;
        double gain = other == record.type ? 0.0 : 1.0, offset = 0.0;
        const bool byteSide = other == 1 || other >= 13;
        const int32_t imageType = record.type >= 13 ? 1 : record.type;
        const double lo = record.minValue, hi = record.maxValue, g = 255.0 / (hi - lo);
        if (other != record.type && byteSide && imageType != 1 && lo != hi && !(lo == 0 && hi == 255)) {
            if (imageType >= 4 && imageType <= 7) {
                wanted = 1;
                mode = 4;
                gain = read ? g : 1 / g;
                offset = read ? lo : -(lo * g);
            } else if (!(g > 0.996 && g < 2.0)) {
                wanted = 1;
                const int32_t quotient = static_cast<int32_t>((hi - lo - 1) / 256);
                shift = quotient < 1 ? 0 : log2Of(quotient) + 1;
                low = static_cast<int32_t>(lo);
                mode = read ? 2 : 1;
                gain = read ? g : 1 / g;
            }
        }
        SCOPED_TRACE("image " + std::to_string(record.type) + " other " + std::to_string(other) + " range " +
                     std::to_string(lo) + " to " + std::to_string(hi) + (read ? " read" : " write"));
        ASSERT_EQ(wanted, result);
        EXPECT_EQ(mode, got.mode);
        EXPECT_EQ(shift, got.shift);
        EXPECT_EQ(0, got.reserved);
        EXPECT_EQ(3, got.sourceFlip);
        EXPECT_EQ(4, got.destFlip);
        EXPECT_EQ(low, got.low);
        EXPECT_EQ(gain, got.gain);
        EXPECT_EQ(offset, got.offset);
        if (other != record.type) {
            EXPECT_EQ(&a, got.sourcePalette);
            EXPECT_EQ(&b, got.destPalette);
        }
    }
}

TEST(IndependentConversion, NumbersOfTheDescription)
{
    const auto byteOf = [](float v) {
        uint8_t out = 99;
        ConvertPixelType(&v, PIX_FLOAT, &out, PIX_BYTE, 1, nullptr);
        return out;
    };
    EXPECT_EQ(254, byteOf(254.4F));
    EXPECT_EQ(255, byteOf(254.5F));
    EXPECT_EQ(0, byteOf(-0.1F));
    const double d = 300.0;
    uint8_t out = 99;
    ConvertPixelType(&d, PIX_DFLOAT, &out, PIX_BYTE, 1, nullptr);
    EXPECT_EQ(44, out);
    const uint16_t word = 65535;
    float f = 0;
    ConvertPixelType(&word, PIX_WORD, &f, PIX_FLOAT, 1, nullptr);
    EXPECT_EQ(-1.0F, f);
    const float complex[2] = {3, 4}, wanted[4] = {5, 3, 4, 25};
    for (int32_t mode = 0; mode < 4; ++mode) {
        I_SetComplexMode(mode);
        ConvertPixelType(complex, PIX_COMPLEX, &f, PIX_FLOAT, 1, nullptr);
        EXPECT_EQ(wanted[mode], f);
    }
    EXPECT_EQ(3, I_SetComplexMode(-4));
    EXPECT_EQ(0, I_SetComplexMode(9));
    EXPECT_EQ(3, I_SetComplexMode(0));
    ConvertPixelType(nullptr, PIX_WORD, nullptr, PIX_BYTE, 0, nullptr);
    ImageRecord record{};
    record.type = PIX_WORD;
    record.maxValue = 4095;
    ScaleRecord scale;
    EXPECT_EQ(1, SetupScale(&record, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1));
    EXPECT_EQ(4, scale.shift);
    EXPECT_NEAR(0.0623, scale.gain, 0.00005);
    record.maxValue = 200;
    EXPECT_EQ(0, SetupScale(&record, PIX_BYTE, &scale, nullptr, nullptr, 0, 0, 1));

    const uint8_t bytes[3] = {1, 2, 250};
    auto* made = static_cast<double*>(I_DupArrayType(bytes, PIX_BYTE, PIX_DFLOAT, 3));
    EXPECT_THAT(std::vector<double>(made, made + 3), testing::ElementsAre(1, 2, 250));
    std::free(made);
    forEachFailingAllocation(
        [&] {
            int32_t to = 5;
            ConvertPixelType(bytes, PIX_BYTE, &to, PIX_DWORD, 1, nullptr);
            return to;
        },
        [](int64_t to) {
            EXPECT_EQ(5, to);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(errorText(),
                        testing::StartsWith("Memory allocation failed: ConvertPixelType Npix=1:"));
        });
}

} // namespace
