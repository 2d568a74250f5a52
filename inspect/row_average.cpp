// Takes a row's offset, seen in a dark band at the left, off the row.
#include <algorithm>
#include <cstdint>
#include <numeric>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/edge_location.h"
#include "vexalib/image.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kFirstRow = 4;   // the rows above keep their offset
constexpr int32_t kBandRow = 8;    // where the band's width is looked at
constexpr int32_t kSmoothing = 23; // rows
constexpr float kBrightestBand = 30.0F;

template <typename Pixel>
struct Picture {
    Pixel* pixels;
    int32_t cols;
    int32_t rows;

    Pixel* row(int64_t y) const { return pixels + y * cols; }
};

// Two columns in front of the first clear rise on row 8, at most as many as given.
template <typename Pixel>
int32_t bandWidth(const Picture<Pixel>& picture, int32_t columns)
{
    if (picture.rows <= kBandRow)
        return columns;
    const Pixel* const row = picture.row(kBandRow);
    // The two columns ahead run on into the next row; there is none behind the last.
    const int64_t there = int64_t{picture.rows - kBandRow} * picture.cols;
    for (int32_t i = 1; i < columns && i + 2 < there; ++i)
        if (row[i + 2] - row[0] > 2)
            return i;
    return columns;
}

template <typename Pixel>
void subtractOffset(Pixel* row, int32_t cols, int32_t y, float mean)
{
    const int32_t whole = truncToInt32(static_cast<double>(mean) + 0.125);
    const int32_t quarters = truncToInt32((static_cast<double>(mean) - whole) * 4.0);
    int32_t subtrahend[2] = {wrapSubtract(whole, 2) & 255, wrapSubtract(whole, 2) & 255};
    // Required: an OR of the quarters and the row.
    if (quarters != 0 && ((quarters | y) & 1) != 0)
        ++subtrahend[y & 1];
    if (quarters > 1)
        ++subtrahend[1 - (y >> 1 & 1)];
    for (int32_t x = 0; x < cols; ++x)
        row[x] = static_cast<Pixel>(row[x] - (subtrahend[x & 1] & 255));
}

// Whether the picture has a dark band and was changed.
template <typename Pixel>
bool subtractOffsets(const Picture<Pixel>& picture, int32_t columns)
{
    columns = bandWidth(picture, std::min(columns, picture.cols));
    if (columns < 2)
        return false;
    Buffer<float> means(picture.rows);
    if (malloctest(means.data(), "I_SubtractRowAverage"))
        return false;
    for (int32_t y = 0; y < picture.rows; ++y) {
        const Pixel* const row = picture.row(y);
        const auto sum = std::accumulate(row, row + columns, int64_t{0});
        means[y] = static_cast<float>(sum) / static_cast<float>(columns);
        if (means[y] > kBrightestBand)
            return false;
    }
    if (!I_SmoothArrayFloat(means.data() + kFirstRow, picture.rows - kFirstRow, kSmoothing))
        return false;
    for (int32_t y = kFirstRow; y < picture.rows; ++y)
        subtractOffset(picture.row(y), picture.cols, y, means[y]);
    return true;
}

template <typename Pixel>
void subtractRowAverage(int32_t im, int32_t cols, int32_t rows, int32_t columns, int32_t type)
{
    Buffer<Pixel> pixels(int64_t{cols} * rows);
    if (malloctest(pixels.data(), "I_SubtractRowAverage"))
        return;
    I_GetBlockType(0, 0, cols, rows, pixels.data(), im, type);
    // Required: the bytes of a buffer of words are written as if they were byte pixels.
    if (subtractOffsets(Picture<Pixel>{pixels.data(), cols, rows}, columns))
        I_PutBlockType(0, 0, cols, rows, pixels.data(), im, PIX_BYTE);
}

} // namespace
} // namespace vexa

void I_SubtractRowAverage(int32_t im, int32_t columns)
{
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bytes = 0;
    if (!I_ImGetSize(&cols, &rows, &bytes, im) || rows <= vexa::kFirstRow)
        return;
    if (bytes > 1)
        vexa::subtractRowAverage<uint16_t>(im, cols, rows, columns, PIX_WORD);
    else
        vexa::subtractRowAverage<uint8_t>(im, cols, rows, columns, PIX_BYTE);
}
