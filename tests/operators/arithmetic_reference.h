// The clip table once more, by the names of its functions and in wide arithmetic, and what tests of the arithmetic
// share.
#ifndef VEXA_TESTS_OPERATORS_ARITHMETIC_REFERENCE_H
#define VEXA_TESTS_OPERATORS_ARITHMETIC_REFERENCE_H

#include <cmath>
#include <cstdint>
#include <cstring>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/display_state.h"
#include "support/instruction_set.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test
{

enum class Slot { both, high, low };

inline int64_t wrap32(int64_t x)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(x)));
}

inline int64_t clipRangeOf(int64_t x, int64_t highest)
{
    return x < 0 ? (x & ~int64_t{255}) : x < highest ? x : highest;
}
inline int64_t clipHighOf(int64_t x, int64_t highest)
{
    return x < highest ? x : highest;
}
inline int64_t signedOf(int64_t x)
{
    return x < -128 ? -128 : x >= 128 ? 127 : x;
}
inline int64_t absOf(int64_t x)
{
    return wrap32(x < 0 ? -x : x);
}

inline uint8_t clippedByte(Slot slot, int32_t mode, int64_t result, int64_t highest = 255)
{
    const int64_t x = wrap32(result);
    const auto low = [](int64_t y) { return static_cast<uint8_t>(y); };
    switch (mode) {
    case 0:
        return low(x);
    case 1:
        return low(slot == Slot::both   ? clipRangeOf(x, highest)
                   : slot == Slot::high ? clipHighOf(x, highest)
                                        : (x < 1 ? 0 : x));
    case 2:
        return low(slot == Slot::both   ? clipHighOf(absOf(x), highest)
                   : slot == Slot::high ? clipHighOf(x, highest)
                                        : absOf(x));
    case 3:
        return low(clipRangeOf(wrap32(x + 128), highest));
    case 4:
        return low(x / 2 + 128);
    case 5:
        return low(signedOf(x));
    case 6:
        return low(signedOf(x / 2));
    default:
        return low(clipHighOf(wrap32(x * x), highest));
    }
}

// The low slot of words, the only one in use.
inline uint16_t clippedWord(int32_t mode, int64_t x, int64_t highest = 255)
{
    const auto low = [](int64_t y) { return static_cast<uint16_t>(y); };
    switch (mode) {
    case 1:
        return low(x < 1 ? 0 : x);
    case 2:
        return low(absOf(x));
    case 3:
        return low(clipRangeOf(x + 128, highest));
    case 4:
        return low(x / 2 + 128);
    case 7:
        return low(x * x);
    default:
        return low(x);
    }
}

inline float clippedFloatLow(int32_t mode, float x, float low, float high)
{
    const auto range = [&](float y) {
        if (y < low)
            return low;
        return high != 0.0F && y >= high ? high : y;
    };
    switch (mode) {
    case 1:
        return range(x);
    case 2:
        return std::signbit(x) ? -x : x;
    case 3:
        return range(x + 128.0F);
    case 4: {
        const float half = x * 0.5F;
        return range(half + 128.0F);
    }
    case 7:
        return x * x;
    default:
        return x;
    }
}

// The pixels of a float image, as they are stored.
inline std::vector<float> floatsOf(int32_t im)
{
    const std::vector<uint8_t> bytes = bytesOf(im);
    std::vector<float> floats(bytes.size() / sizeof(float));
    std::memcpy(floats.data(), bytes.data(), floats.size() * sizeof(float));
    return floats;
}
inline std::vector<uint16_t> wordsOf(int32_t im)
{
    const std::vector<uint8_t> bytes = bytesOf(im);
    std::vector<uint16_t> words(bytes.size() / sizeof(uint16_t));
    std::memcpy(words.data(), bytes.data(), words.size() * sizeof(uint16_t));
    return words;
}
// A float image whose pixels are these, column by column and then row by row.
inline int32_t floatsImage(int32_t cols, int32_t rows, const std::vector<float>& floats,
                           int32_t type = PIX_FLOAT)
{
    const int32_t im = I_ImOpen(cols, rows, type);
    const std::size_t rowBytes =
        static_cast<std::size_t>(cols) * static_cast<std::size_t>(I_ImTypeBytes(type));
    for (int32_t y = 0; y < rows; ++y)
        std::memcpy(I_ImGetPtr(0, y, nullptr, nullptr, im),
                    reinterpret_cast<const uint8_t*>(floats.data()) + static_cast<std::size_t>(y) * rowBytes,
                    rowBytes);
    return im;
}

// Bit for bit the same, any number that is none for any other.
MATCHER_P(SameFloats, expected, "")
{
    if (arg.size() != expected.size())
        return false;
    for (std::size_t i = 0; i < arg.size(); ++i) {
        if (std::isnan(arg[i]) && std::isnan(expected[i]))
            continue;
        if (std::memcmp(&arg[i], &expected[i], sizeof(float)) != 0) {
            *result_listener << "element " << i << " is " << arg[i] << ", not " << expected[i];
            return false;
        }
    }
    return true;
}

// Values that are hard for floats, and some that are not.
inline std::vector<float> trickyFloats()
{
    const float inf = std::numeric_limits<float>::infinity();
    return {0.0F,   -0.0F,  1.0F,   -1.0F,    0.5F,     127.0F,      128.0F, -128.0F,
            254.5F, 255.0F, 255.5F, 65535.0F, 70000.0F, 1e-40F,      1e38F,  -3.2e38F,
            inf,    -inf,   NAN,    3.14159F, -2.718F,  16777216.0F, 100.0F, -1e-20F};
}

// One 256 by 256 image holds every pair of bytes: x is its column, y its row.
inline int32_t columns(int32_t cols = 256, int32_t rows = 256)
{
    return byteImage(cols, rows, [](int32_t x, int32_t) { return x; });
}
inline int32_t lines(int32_t cols = 256, int32_t rows = 256)
{
    return byteImage(cols, rows, [](int32_t, int32_t y) { return y; });
}

// Every suite on every instruction set, from the settings of a fresh process.
class ArithmeticSuite : public testing::TestWithParam<vexa::InstructionSet>
{
protected:
    void SetUp() override
    {
        vexa::limitInstructionSet(GetParam());
        reset();
    }
    void TearDown() override
    {
        I_ImCloseAll();
        reset();
    }
    static void reset()
    {
        I_SetROIType(0);
        I_SetColorProcMode(3);
        I_SetColorBand(-1);
        I_SetClipMode(1);
        vexa::displayState().highestPixel = 255;
        clearError();
    }
};

inline auto everySet()
{
    return testing::ValuesIn(vexa::availableInstructionSets());
}
inline std::string setName(const testing::TestParamInfo<vexa::InstructionSet>& info)
{
    const char* const names[] = {"base", "avx2", "avx512"};
    return names[static_cast<int32_t>(info.param)];
}

// The pixels that a function of the column and the row gives.
template <typename Function>
std::vector<uint8_t> expectedBytes(int32_t cols, int32_t rows, Function function)
{
    std::vector<uint8_t> all;
    all.reserve(static_cast<std::size_t>(cols) * static_cast<std::size_t>(rows));
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < cols; ++x)
            all.push_back(static_cast<uint8_t>(function(x, y)));
    return all;
}

} // namespace vexa::test

#endif
