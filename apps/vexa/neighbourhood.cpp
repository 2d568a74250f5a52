#include "neighbourhood.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace app
{
namespace
{

constexpr int32_t kZero = 128;

// dest[i] becomes the better of itself and source[i].
template <typename Better>
void takeBetter(uint8_t* dest, const uint8_t* source, int32_t n, Better better)
{
    for (int32_t i = 0; i < n; ++i)
        dest[i] = better(source[i], dest[i]) ? source[i] : dest[i];
}

// Whether a row of zeros and ones holds a one.
bool holdsOne(const uint8_t* row, int32_t n)
{
    return n > 0 && std::memchr(row, 1, static_cast<std::size_t>(n)) != nullptr;
}

// The extreme over the rectangle from before to after in both directions: along the rows, then over the rows.
template <typename Better>
Pixels extremeOfSquare(const Pixels& pixels, int32_t before, int32_t after, Better better)
{
    const int32_t cols = pixels.cols;
    Pixels along = pixels;
    for (int32_t y = 0; y < pixels.rows; ++y)
        for (int32_t shift = -before; shift <= after; ++shift) {
            const int32_t left = std::max(0, -shift);
            const int32_t count = cols - std::abs(shift);
            takeBetter(along.row(y) + left, pixels.row(y) + left + shift, count, better);
        }
    Pixels result = along;
    for (int32_t y = 0; y < pixels.rows; ++y)
        for (int32_t k = std::max(0, y - before); k <= std::min(pixels.rows - 1, y + after); ++k)
            takeBetter(result.row(y), along.row(k), cols, better);
    return result;
}

// A mask with a frame of zeros, so that squares do not reach over the border.
Pixels framed(const Pixels& mask, int32_t frame)
{
    Pixels result(mask.cols + 2 * frame, mask.rows + 2 * frame, 1);
    for (int32_t y = 0; y < mask.rows; ++y)
        std::copy_n(mask.row(y), mask.cols, result.row(y + frame) + frame);
    return result;
}

Pixels unframed(const Pixels& mask, int32_t frame)
{
    Pixels result(mask.cols - 2 * frame, mask.rows - 2 * frame, 1);
    for (int32_t y = 0; y < result.rows; ++y)
        std::copy_n(mask.row(y + frame) + frame, result.cols, result.row(y));
    return result;
}

} // namespace

Pixels localExtreme(const Pixels& pixels, int32_t radius, Extreme extreme)
{
    return extreme == Extreme::largest ? extremeOfSquare(pixels, radius, radius, std::greater<>())
                                       : extremeOfSquare(pixels, radius, radius, std::less<>());
}

Pixels passing(const Pixels& difference, int32_t sign, int32_t threshold)
{
    Pixels mask(difference.cols, difference.rows, 1);
    for (std::size_t i = 0; i < mask.bytes.size(); ++i)
        mask.bytes[i] = (difference.bytes[i] - kZero) * sign >= threshold;
    return mask;
}

bool holdsSquare(const Pixels& mask, int32_t side)
{
    const int32_t cols = mask.cols - side + 1, rows = mask.rows - side + 1;
    if (cols < 1 || rows < 1)
        return false;
    Pixels along = mask;
    for (int32_t y = 0; y < mask.rows; ++y)
        for (int32_t k = 1; k < side; ++k)
            takeBetter(along.row(y), mask.row(y) + k, cols, std::less<>());
    std::vector<uint8_t> square(static_cast<std::size_t>(cols));
    for (int32_t y = 0; y < rows; ++y) {
        std::copy_n(along.row(y), cols, square.data());
        for (int32_t k = 1; k < side; ++k)
            takeBetter(square.data(), along.row(y + k), cols, std::less<>());
        if (holdsOne(square.data(), cols))
            return true;
    }
    return false;
}

Pixels opened(const Pixels& mask, int32_t side)
{
    if (side < 2)
        return mask;
    const Pixels corners = extremeOfSquare(framed(mask, side), 0, side - 1, std::less<>());
    return unframed(extremeOfSquare(corners, side - 1, 0, std::greater<>()), side);
}

Pixels grown(const Pixels& seed, const Pixels& within, int32_t steps)
{
    Pixels mask = seed;
    for (int32_t step = 0; step < steps; ++step) {
        const Pixels wider = localExtreme(mask, 1, Extreme::largest);
        for (std::size_t i = 0; i < mask.bytes.size(); ++i)
            mask.bytes[i] = mask.bytes[i] || (wider.bytes[i] && within.bytes[i]);
    }
    return mask;
}

} // namespace app
