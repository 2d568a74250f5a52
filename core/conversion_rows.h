// Rows of pixels from one numeric type to another. Compiled once per instruction set, hence no include guard.

#include "core/convert_row.h"

namespace vexa::VEXA_TARGET
{

// The double-precision hypotenuse of two floats neither overflows nor loses a bit that a float would hold.
inline double magnitude(ComplexFloat z)
{
    return std::sqrt(double{z.real} * z.real + double{z.imaginary} * z.imaginary);
}
inline double power(ComplexFloat z)
{
    return double{z.real} * z.real + double{z.imaginary} * z.imaginary;
}

// Rounded by the half already added, 0 below 0 and for no number, 255 above.
inline uint8_t clampToByte(double x)
{
    x = x > 0.0 ? x : 0.0;
    x = x < 255.0 ? x : 255.0;
    return static_cast<uint8_t>(static_cast<int32_t>(x));
}

// To bytes, straight.

inline void wordToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const int32_t low = scale.low;
    if (shift <= 8) { // the byte that is kept comes from the low 16 bits of the difference
        const auto low16 = static_cast<uint16_t>(low);
        convertRow<uint16_t, uint8_t>(source, dest, n,
                                      [=](uint16_t x) { return static_cast<uint16_t>(x - low16) >> shift; });
    } else {
        convertRow<int16_t, uint8_t>(source, dest, n,
                                     [=](int16_t x) { return wrapSubtract(x, low) >> shift; });
    }
}

inline void dwordToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const int32_t low = scale.low;
    convertRow<int32_t, uint8_t>(source, dest, n, [=](int32_t x) { return wrapSubtract(x, low) >> shift; });
}

inline void floatToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    if (gain == 1.0 && offset == 0.0)
        convertRow<float, uint8_t>(source, dest, n, [](float x) { return clampToByte(double{x} + 0.5); });
    else
        convertRow<float, uint8_t>(source, dest, n,
                                   [=](float x) { return clampToByte((x - offset) * gain + 0.5); });
}

inline void doubleToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    // Required: the low byte, not the nearest one.
    convertRow<double, uint8_t>(source, dest, n,
                                [=](double x) { return truncToInt32((x - offset) * gain + 0.5); });
}

inline void magnitudeToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<ComplexFloat, uint8_t>(
        source, dest, n, [=](ComplexFloat z) { return clampToByte((magnitude(z) - offset) * gain + 0.5); });
}

inline void powerToByte(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<ComplexFloat, uint8_t>(
        source, dest, n, [=](ComplexFloat z) { return clampToByte((power(z) - offset) * gain + 0.5); });
}

// The other straight pairs.

inline void byteToWord(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const int32_t shift = scale.shift & 31;
    const auto low = static_cast<uint32_t>(scale.low);
    convertRow<uint8_t, uint16_t>(source, dest, n, [=](uint8_t x) { return (uint32_t{x} << shift) + low; });
}

inline void floatToDouble(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, double>(source, dest, n, [](float x) { return double{x}; });
}

inline void doubleToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<double, float>(source, dest, n, [](double x) { return static_cast<float>(x); });
}

// Any type to floats, floats to any type.

template <typename From>
inline void numberToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<From, float>(source, dest, n, [](From x) { return static_cast<float>(x); });
}

template <int32_t ComplexMode>
inline void complexToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<ComplexFloat, float>(source, dest, n, [](ComplexFloat z) {
        if constexpr (ComplexMode == 1)
            return z.real;
        else if constexpr (ComplexMode == 2)
            return z.imaginary;
        else if constexpr (ComplexMode == 3)
            return static_cast<float>(power(z));
        else
            return static_cast<float>(magnitude(z));
    });
}

inline void doubleComplexToFloat(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<ComplexDouble, float>(
        source, dest, n, [](ComplexDouble z) { return static_cast<float>(std::hypot(z.real, z.imaginary)); });
}

inline void scaleFloat(const void* source, void* dest, int32_t n, const ScaleRecord& scale)
{
    const double offset = scale.offset;
    const double gain = scale.gain;
    convertRow<float, float>(source, dest, n, [=](float x) { return (x - offset) * gain; });
}

template <typename To>
inline void floatToInteger(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, To>(source, dest, n, [](float x) { return truncToInt32(x); });
}

inline void floatToReal(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexFloat>(source, dest, n, [](float x) { return ComplexFloat{x, 0.0F}; });
}

inline void floatToImaginary(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexFloat>(source, dest, n, [](float x) { return ComplexFloat{0.0F, x}; });
}

inline void floatToDoubleReal(const void* source, void* dest, int32_t n, const ScaleRecord&)
{
    convertRow<float, ComplexDouble>(source, dest, n, [](float x) { return ComplexDouble{x, 0.0}; });
}

inline constexpr ConversionRows kConversionRows = {
    .wordToByte = wordToByte,
    .dwordToByte = dwordToByte,
    .floatToByte = floatToByte,
    .doubleToByte = doubleToByte,
    .magnitudeToByte = magnitudeToByte,
    .powerToByte = powerToByte,
    .byteToWord = byteToWord,
    .floatToDouble = floatToDouble,
    .doubleToFloat = doubleToFloat,
    .byteToFloat = numberToFloat<uint8_t>,
    .signedByteToFloat = numberToFloat<int8_t>,
    .wordToFloat = numberToFloat<int16_t>,
    .dwordToFloat = numberToFloat<int32_t>,
    .complexToFloat = {complexToFloat<0>, complexToFloat<1>, complexToFloat<2>, complexToFloat<3>},
    .doubleComplexToFloat = doubleComplexToFloat,
    .scaleFloat = scaleFloat,
    .floatToByteLow = floatToInteger<uint8_t>,
    .floatToWord = floatToInteger<uint16_t>,
    .floatToDword = floatToInteger<int32_t>,
    .floatToReal = floatToReal,
    .floatToImaginary = floatToImaginary,
    .floatToDoubleReal = floatToDoubleReal,
};

} // namespace vexa::VEXA_TARGET
