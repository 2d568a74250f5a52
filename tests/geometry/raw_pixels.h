// The bytes of images of any type, as references read and write them.
#ifndef VEXA_TESTS_GEOMETRY_RAW_PIXELS_H
#define VEXA_TESTS_GEOMETRY_RAW_PIXELS_H

#include "tests/support/test_images.h"

#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace vexa::test
{

// The pixels of an image as they are stored.
struct Raw {
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    std::vector<uint8_t> data;

    explicit Raw(int32_t im) : data(bytesOf(im)) { I_ImGetSize(&cols, &rows, &bytes, im); }
    const uint8_t* at(int64_t x, int64_t y) const
    {
        return data.data() + static_cast<std::size_t>((y * cols + x) * bytes);
    }
    uint8_t* at(int64_t x, int64_t y) { return const_cast<uint8_t*>(std::as_const(*this).at(x, y)); }
    float real(int64_t x, int64_t y) const
    {
        float value;
        std::memcpy(&value, at(x, y), sizeof value);
        return value;
    }
};

// Random pixels of any type; floats are finite.
inline int32_t noise(int32_t cols, int32_t rows, int32_t type, uint32_t seed)
{
    std::mt19937 random(seed);
    const int32_t im = image(cols, rows, type);
    for (int32_t y = 0; y < rows; ++y) {
        std::vector<uint8_t> row(static_cast<std::size_t>(cols * I_ImTypeBytes(type)));
        for (uint8_t& byte : row)
            byte = static_cast<uint8_t>(random());
        if (type == PIX_FLOAT)
            for (int32_t x = 0; x < cols; ++x) {
                const float value = static_cast<float>(random() % 100000) / 7.0F - 5000.0F;
                std::memcpy(row.data() + 4 * x, &value, sizeof value);
            }
        std::memcpy(I_ImGetPtr(0, y, nullptr, nullptr, im), row.data(), row.size());
    }
    return im;
}

// A copy of an image whose pixels lie in a file.
inline int32_t inFile(int32_t im)
{
    const int32_t before = I_ImSetMemType(8);
    const int32_t copy = I_CloneImage(im, 0, 1);
    I_ImSetMemType(before);
    return copy;
}

} // namespace vexa::test

#endif
