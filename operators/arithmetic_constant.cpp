#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/pixel_types.h"
#include "operators/row_frames.h"
#include "operators/working_type.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct ScaleParameter {
    float offset;
    float scale;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/arithmetic_constant_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

// Maps bytes through a table whose entry i is entry(i).
template <typename Entry>
int32_t mapBytes(int32_t imSrc, int32_t imDest, Entry entry)
{
    std::array<uint8_t, 256> table;
    for (int32_t i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] = static_cast<uint8_t>(entry(i));
    return I_LUTMapROI(imSrc, imDest, table.data());
}

int32_t clampToByte(int32_t x)
{
    return std::clamp(x, 0, 255);
}

int32_t runFloats(UnaryRowFilter function, int32_t imSrc, int32_t imDest, double offset, double scale,
                  int32_t type = PIX_FLOAT)
{
    vexa::ScaleParameter parameter = {static_cast<float>(offset), static_cast<float>(scale)};
    return vexa::runUnaryFrame(imSrc, imDest, &parameter, function, type, vexa::RowCalls::joined);
}

} // namespace

int32_t I_ConstOR(int32_t imSrc, int32_t imDest, int32_t value)
{
    return mapBytes(imSrc, imDest, [=](int32_t i) { return i | value; });
}

int32_t I_ConstXOR(int32_t imSrc, int32_t imDest, int32_t value)
{
    return mapBytes(imSrc, imDest, [=](int32_t i) { return i ^ value; });
}

int32_t I_ConstAnd(int32_t imSrc, int32_t imDest, int32_t value)
{
    return mapBytes(imSrc, imDest, [=](int32_t i) { return i & value; });
}

int32_t I_ConstAdd(int32_t imSrc, int32_t imDest, double value)
{
    if (vexa::widestType(imSrc, imDest) != PIX_BYTE)
        return runFloats(VEXA_ROWS(addConstantRow), imSrc, imDest, value, 1.0);
    const int32_t whole = vexa::truncToInt32(value);
    return mapBytes(imSrc, imDest, [=](int32_t i) { return clampToByte(vexa::wrapAdd(i, whole)); });
}

int32_t I_ConstSubAbs(int32_t imSrc, int32_t imDest, double value)
{
    if (vexa::widestType(imSrc, imDest) != PIX_BYTE)
        return runFloats(VEXA_ROWS(distanceRow), imSrc, imDest, value, 1.0);
    const int32_t whole = vexa::truncToInt32(value);
    return mapBytes(imSrc, imDest, [=](int32_t i) {
        const int32_t difference = vexa::wrapSubtract(i, whole);
        return clampToByte(difference < 0 ? vexa::wrapSubtract(0, difference) : difference);
    });
}

int32_t I_ConstMult(int32_t imSrc, int32_t imDest, double value)
{
    const int32_t type = vexa::widestType(imSrc, imDest);
    if (type == PIX_COMPLEX)
        return runFloats(VEXA_ROWS(multiplyComplexRow), imSrc, imDest, 0.0, value, type);
    if (type != PIX_BYTE)
        return runFloats(VEXA_ROWS(multiplyConstantRow), imSrc, imDest, 0.0, value);
    return mapBytes(imSrc, imDest,
                    [=](int32_t i) { return clampToByte(vexa::truncToInt32(i * value + 0.5)); });
}

int32_t I_ScaleIntensityROI(int32_t imSrc, int32_t imDest, double offset, double scale)
{
    const int32_t type = vexa::widestType(imSrc, imDest);
    if (scale == 1.0)
        return I_ConstAdd(imSrc, imDest, offset);
    if (offset == 0.0)
        return I_ConstMult(imSrc, imDest, scale);
    if (type == PIX_COMPLEX)
        return runFloats(VEXA_ROWS(scaleComplexRow), imSrc, imDest, offset, scale, type);
    if (type != PIX_BYTE)
        return runFloats(VEXA_ROWS(scaleRow), imSrc, imDest, offset, scale);
    return mapBytes(imSrc, imDest, [=](int32_t i) {
        return vexa::truncToInt32(std::clamp((i + offset) * scale + 0.5, 0.0, 255.0));
    });
}

int32_t I_ScaleIntensityROIAbs(int32_t imSrc, int32_t imDest, double offset, double scale)
{
    const int32_t type = vexa::widestType(imSrc, imDest);
    I_TellProgress(0.0F, 0.0F, "ScaleIntensity");
    // Required: complex pixels keep their sign.
    if (type == PIX_COMPLEX)
        return runFloats(VEXA_ROWS(scaleComplexRow), imSrc, imDest, offset, scale, type);
    if (type != PIX_BYTE)
        return runFloats(VEXA_ROWS(scaleAbsoluteRow), imSrc, imDest, offset, scale);
    return mapBytes(imSrc, imDest, [=](int32_t i) {
        return vexa::truncToInt32(std::min(std::fabs((i + offset) * scale + 0.5), 255.0));
    });
}

int32_t I_Sqrt(int32_t imSrc, int32_t imDest)
{
    if (I_ImIsFloat(imSrc, nullptr))
        return vexa::runUnaryFrame(imSrc, imDest, nullptr, VEXA_ROWS(squareRootRow), PIX_FLOAT,
                                   vexa::RowCalls::joined);
    double minimum = 0.0;
    double maximum = 0.0;
    if (!I_GetPixValueRange(&minimum, &maximum, imSrc))
        return 0;
    I_ComputePixelRange(1, imSrc);
    const int32_t result = mapBytes(
        imSrc, imDest, [](int32_t i) { return static_cast<int32_t>(std::sqrt(static_cast<double>(i))); });
    I_SetPixValueRange(minimum, maximum, imSrc);
    return result;
}
