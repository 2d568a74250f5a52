#include "tests/support/test_images.h"

#include <cstring>

namespace vexa::test
{
namespace
{

uint8_t* address(int32_t im, int32_t x, int32_t y)
{
    int32_t stride = 0;
    auto* base = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, &stride, im));
    return base + int64_t{y} * stride + int64_t{x} * I_ImTypeBytes(I_ImGetType(im));
}

template <typename Pixel>
void store(uint8_t* to, double value)
{
    const auto p = static_cast<Pixel>(value);
    std::memcpy(to, &p, sizeof p);
}

template <typename Pixel>
double load(const uint8_t* from)
{
    Pixel p{};
    std::memcpy(&p, from, sizeof p);
    return static_cast<double>(p);
}

} // namespace

int32_t image(int32_t cols, int32_t rows, int32_t type, const PixelFunction& function)
{
    const int32_t im = I_ImOpen(cols, rows, type);
    if (!function)
        return im;
    for (int32_t y = 0; y < rows; ++y) {
        for (int32_t x = 0; x < cols; ++x) {
            uint8_t* to = address(im, x, y);
            const double value = function(x, y);
            switch (type) {
            case PIX_WORD:
                store<int16_t>(to, static_cast<int16_t>(static_cast<int64_t>(value)));
                break;
            case PIX_DWORD:
                store<int32_t>(to, value);
                break;
            case PIX_FLOAT:
            case PIX_COMPLEX:
                store<float>(to, value);
                break;
            case PIX_DFLOAT:
            case PIX_DCOMPLEX:
                store<double>(to, value);
                break;
            default: // every byte of a colour pixel gets the value
                std::memset(to, static_cast<uint8_t>(static_cast<int64_t>(value)),
                            static_cast<std::size_t>(I_ImTypeBytes(type)));
            }
        }
    }
    return im;
}

int32_t byteImage(std::initializer_list<std::initializer_list<int32_t>> rows)
{
    const std::vector<std::vector<int32_t>> lines(rows.begin(), rows.end());
    return image(static_cast<int32_t>(lines.front().size()), static_cast<int32_t>(lines.size()), PIX_BYTE,
                 [&](int32_t x, int32_t y) {
                     return lines[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
                 });
}

int32_t byteImage(int32_t cols, int32_t rows, const PixelFunction& function)
{
    return image(cols, rows, PIX_BYTE, function);
}

int32_t wordImage(int32_t cols, int32_t rows, const PixelFunction& function)
{
    return image(cols, rows, PIX_WORD, function);
}

int32_t floatImage(int32_t cols, int32_t rows, const PixelFunction& function)
{
    return image(cols, rows, PIX_FLOAT, function);
}

int32_t noiseImage(int32_t cols, int32_t rows, uint32_t seed)
{
    std::mt19937 random(seed);
    return byteImage(cols, rows, [&](int32_t, int32_t) { return random() & 255; });
}

double pixel(int32_t im, int32_t x, int32_t y)
{
    const uint8_t* from = address(im, x, y);
    switch (I_ImGetType(im)) {
    case PIX_WORD:
        return load<int16_t>(from);
    case PIX_DWORD:
        return load<int32_t>(from);
    case PIX_FLOAT:
    case PIX_COMPLEX:
        return load<float>(from);
    case PIX_DFLOAT:
    case PIX_DCOMPLEX:
        return load<double>(from);
    default:
        return load<uint8_t>(from);
    }
}

std::vector<double> rowOf(int32_t im, int32_t y)
{
    int32_t cols = 0;
    I_ImGetSize(&cols, nullptr, nullptr, im);
    std::vector<double> row;
    for (int32_t x = 0; x < cols; ++x)
        row.push_back(pixel(im, x, y));
    return row;
}

std::vector<uint8_t> bytesOf(int32_t im)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    I_ImGetSize(&cols, &rows, &bytes, im);
    std::vector<uint8_t> all;
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* row = address(im, 0, y);
        all.insert(all.end(), row, row + int64_t{cols} * bytes);
    }
    return all;
}

void closeImages(std::initializer_list<int32_t> images)
{
    for (const int32_t im : images)
        I_ImClose(im);
}

} // namespace vexa::test
