// Row functions of an image and a constant. Compiled once per instruction set, hence no include guard.

#include "operators/row_loops.h"

namespace vexa::VEXA_TARGET
{
namespace
{

inline void addConstantRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const float value = static_cast<const ScaleParameter*>(parameter)->offset;
    mapRow<float>(source, dest, n, [=](float x) { return x + value; });
}

inline void distanceRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const float value = static_cast<const ScaleParameter*>(parameter)->offset;
    mapRow<float>(source, dest, n, [=](float x) { return std::fabs(x - value); });
}

inline void multiplyConstantRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const float value = static_cast<const ScaleParameter*>(parameter)->scale;
    mapRow<float>(source, dest, n, [=](float x) { return x * value; });
}

inline void multiplyComplexRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const float value = static_cast<const ScaleParameter*>(parameter)->scale;
    mapRow<ComplexPixel>(source, dest, n, [=](ComplexPixel x) {
        return ComplexPixel{x.re * value, x.im * value};
    });
}

inline void scaleRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const ScaleParameter by = *static_cast<const ScaleParameter*>(parameter);
    mapRow<float>(source, dest, n, [=](float x) { return (x + by.offset) * by.scale; });
}

inline void scaleAbsoluteRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const ScaleParameter by = *static_cast<const ScaleParameter*>(parameter);
    mapRow<float>(source, dest, n, [=](float x) { return std::fabs((x + by.offset) * by.scale); });
}

inline void scaleComplexRow(const void* source, void* dest, int32_t n, void* parameter)
{
    const ScaleParameter by = *static_cast<const ScaleParameter*>(parameter);
    mapRow<ComplexPixel>(source, dest, n, [=](ComplexPixel x) {
        return ComplexPixel{(x.re + by.offset) * by.scale, (x.im + by.offset) * by.scale};
    });
}

inline void squareRootRow(const void* source, void* dest, int32_t n, void*)
{
    mapRow<float>(source, dest, n, [](float x) { return std::sqrt(x); });
}

} // namespace
} // namespace vexa::VEXA_TARGET
