#include "vexalib/arithmetic.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "operators/row_choice.h"
#include "operators/row_frames.h"
#include "operators/working_type.h"
#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// How a product p of two bytes is divided by a whole number: ((p + add) * factor >> 16) >> shift is the truncated
// quotient for each p from 0 to 65534 ("N-bit unsigned division via N-bit multiply-add", 17th IEEE Symposium on
// Computer Arithmetic, 2005).
struct ByteProductDivisor {
    uint16_t factor;
    uint16_t add;
    uint16_t shift;
    bool negative;
};

struct MultiplyParameter {
    ByteProductDivisor byteDivisor;
    float divisor;
    bool isOne;
};

struct BlendParameter {
    int32_t weight; // in 128ths
    float factor;
};

ByteProductDivisor byteProductDivisor(int32_t k)
{
    // No product reaches the largest 16-bit divisor: every larger one gives 0 as well.
    const auto divisor = static_cast<uint32_t>(std::min<int64_t>(std::abs(int64_t{k}), 65535));
    const auto shift = static_cast<uint16_t>(std::bit_width(divisor) - 1);
    if (std::has_single_bit(divisor))
        return {65535, 1, shift, k < 0};
    const uint32_t power = uint32_t{1} << (16 + shift);
    const auto factor = static_cast<uint16_t>(power / divisor);
    const uint32_t excess = divisor - power % divisor; // of the factor rounded up
    if (excess <= uint32_t{1} << shift)
        return {static_cast<uint16_t>(factor + 1), 0, shift, k < 0};
    return {factor, 1, shift, k < 0};
}

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/arithmetic_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

// Adds two images at the same place, or takes their minimum: what needs nothing but its rows.
template <typename Rows>
int32_t runRows(const Rows& rows, int32_t imA, int32_t imB, int32_t imDest, void* parameter = nullptr)
{
    const auto row = rows.choose(vexa::widestType(imA, imB, imDest));
    return vexa::runBinaryFrame(imA, imB, imDest, 0, 0, parameter, row.function, row.type,
                                vexa::RowCalls::joined);
}

int32_t runBytes(BinaryRowFilter function, int32_t imA, int32_t imB, int32_t imDest)
{
    return vexa::runBinaryFrame(imA, imB, imDest, 0, 0, nullptr, function, PIX_BYTE, vexa::RowCalls::joined);
}

} // namespace

int32_t I_Add(int32_t imA, int32_t imB, int32_t imDest)
{
    I_TellProgress(0.0F, 0.0F, "Add");
    return runRows(VEXA_ROWS(kAddRows), imA, imB, imDest);
}

int32_t I_Subtract(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy)
{
    const auto row = VEXA_ROWS(kSubtractRows).choose(vexa::widestType(imA, imB, imDest));
    I_TellProgress(0.0F, 0.0F, "Subtract");
    return vexa::runBinaryFrame(imA, imB, imDest, dx, dy, nullptr, row.function, row.type,
                                vexa::RowCalls::joined);
}

int32_t I_And(int32_t imA, int32_t imB, int32_t imDest)
{
    return runBytes(VEXA_ROWS(andRow), imA, imB, imDest);
}

int32_t I_Or(int32_t imA, int32_t imB, int32_t imDest)
{
    return runBytes(VEXA_ROWS(orRow), imA, imB, imDest);
}

int32_t I_Xor(int32_t imA, int32_t imB, int32_t imDest)
{
    return runBytes(VEXA_ROWS(xorRow), imA, imB, imDest);
}

int32_t I_Min(int32_t imA, int32_t imB, int32_t imDest)
{
    I_TellProgress(0.0F, 0.0F, "Max"); // Required: both tell this text.
    return runRows(VEXA_ROWS(kMinRows), imA, imB, imDest);
}

int32_t I_Max(int32_t imA, int32_t imB, int32_t imDest)
{
    I_TellProgress(0.0F, 0.0F, "Max");
    return runRows(VEXA_ROWS(kMaxRows), imA, imB, imDest);
}

int32_t I_Multiply(int32_t imA, int32_t imB, int32_t imDest, double divisor)
{
    const double by = divisor == 0.0 ? 1.0 : divisor;
    // A divisor that rounds to 0 leaves bytes undivided, as 0 itself does.
    const int32_t whole = vexa::truncToInt32(by + 0.5);
    vexa::MultiplyParameter parameter = {vexa::byteProductDivisor(whole == 0 ? 1 : whole),
                                         static_cast<float>(by), by == 1.0};
    return runRows(VEXA_ROWS(kMultiplyRows), imA, imB, imDest, &parameter);
}

int32_t I_Blend(int32_t imA, int32_t imB, int32_t imDest, float factor)
{
    if (factor > 15.0F) {
        I_PostMessage("I_Blend() change: Factor =%.1f. Should be fraction, not percent",
                      static_cast<double>(factor));
        factor /= 100.0F;
    }
    vexa::BlendParameter parameter = {vexa::truncToInt32(static_cast<double>(factor) * 128.0), factor};
    return runRows(VEXA_ROWS(kBlendRows), imA, imB, imDest, &parameter);
}
