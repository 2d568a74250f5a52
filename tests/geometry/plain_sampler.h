// Pixels between pixels, told plainly, for references of rotations and profiles.
#ifndef VEXA_TESTS_GEOMETRY_PLAIN_SAMPLER_H
#define VEXA_TESTS_GEOMETRY_PLAIN_SAMPLER_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "tests/support/random_images.h"

namespace vexa::test::plain
{

inline std::size_t index(int64_t i)
{
    return static_cast<std::size_t>(i);
}

inline int32_t rounded(double value)
{
    const double whole = std::floor(value + 0.5);
    return std::fabs(whole) < 2147483648.0 ? static_cast<int32_t>(whole) : INT32_MIN;
}

// A whole image as a block of one type, and what the samplers make of it.
struct Pixels {
    int32_t cols = 0, rows = 0, type, bytes;
    std::vector<uint8_t> data;

    // A source whose pixels are as wide as those of the type is taken as it stands, whatever its type.
    Pixels(int32_t im, int32_t blockType, bool direct) : type(blockType), bytes(I_ImTypeBytes(blockType))
    {
        I_ImGetSize(&cols, &rows, nullptr, im);
        data.resize(index(int64_t{cols} * rows * bytes));
        I_GetBlockTypeEx(0, 0, cols, rows, data.data(), im, type, 0);
        auto** table =
            direct ? reinterpret_cast<uint8_t**>(I_ImGet2DPtr(nullptr, nullptr, im, type)) : nullptr;
        for (int32_t y = 0; table != nullptr && y < rows; ++y)
            std::copy_n(table[y], cols * bytes, &data[index(int64_t{y} * cols * bytes)]);
    }
    // Behind the last row and column only weights of 0 fall.
    const uint8_t* pixel(int32_t x, int32_t y) const
    {
        return &data[index((int64_t{std::min(y, rows - 1)} * cols + std::min(x, cols - 1)) * bytes)];
    }
    void sample(int32_t x32, int32_t y32, uint8_t* out, bool smooth) const
    {
        const int32_t i = x32 >> 5, j = y32 >> 5, fx = x32 & 31, fy = y32 & 31;
        const uint8_t *p = pixel(i, j), *q = pixel(i + 1, j), *r = pixel(i, j + 1), *s = pixel(i + 1, j + 1);
        if (smooth && type == PIX_FLOAT) {
            const float u = static_cast<float>(fx) * 0.03125F, v = static_cast<float>(fy) * 0.03125F;
            put<float>(out, 0,
                       (at<float>(p, 0) * (1 - u) + at<float>(q, 0) * u) * (1 - v) +
                           v * ((1 - u) * at<float>(r, 0) + u * at<float>(s, 0)));
        } else if (smooth && (type == PIX_BYTE || (type > 12 && bytes >= 3))) {
            for (int32_t c = 0; c < bytes; ++c)
                out[c] = static_cast<uint8_t>(
                    ((p[c] * (32 - fx) + q[c] * fx) * (32 - fy) + (r[c] * (32 - fx) + s[c] * fx) * fy) >> 10);
        } else {
            std::copy_n(pixel((x32 + 16) >> 5, (y32 + 16) >> 5), bytes, out);
        }
    }
};

inline int32_t samplingType(int32_t type, bool smooth)
{
    return smooth && type > 12 && I_ImTypeBytes(type) < 3 ? PIX_BGR24 : type;
}

} // namespace vexa::test::plain

#endif
