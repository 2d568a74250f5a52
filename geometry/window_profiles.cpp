// Sums of a window's columns and rows.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "support/buffer.h"
#include "support/guard.h"
#include "support/instruction_set.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/profile.h"
#include "vexalib/status.h"

namespace vexa
{

// Columns whose 16-bit sums stay in the first-level cache, and rows that such a sum can hold.
constexpr int32_t kStripCols = 2048;
constexpr int32_t kBandRows = 256;

// Of the even columns, and of the odd ones.
struct ColumnSums {
    uint16_t even[kStripCols / 2];
    uint16_t odd[kStripCols / 2];

    uint16_t& at(int32_t column) { return (column & 1) == 0 ? even[column >> 1] : odd[column >> 1]; }
};

// Adds one or four rows of n bytes to the sums of their columns, and each row's sum to its own.
struct WindowSumRows {
    using Add = void (*)(const uint8_t* const* rows, int32_t n, ColumnSums& columns, uint32_t* rowSums);
    Add one;
    Add four;
};

} // namespace vexa

#define VEXA_ROWS_FILE "geometry/window_sums_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

struct Sums {
    uint32_t* columns;
    uint32_t* rows;
};

void addStrip(const uint8_t* const* rows, int32_t cols, int32_t rowCount, Sums sums)
{
    const WindowSumRows& add = VEXA_ROWS(kWindowSums);
    ColumnSums columns = {};
    uint32_t rowSums[kBandRows] = {};
    int32_t y = 0;
    for (; y + 4 <= rowCount; y += 4)
        add.four(rows + y, cols, columns, rowSums + y);
    for (; y < rowCount; ++y)
        add.one(rows + y, cols, columns, rowSums + y);
    for (int32_t x = 0; sums.columns && x < cols; ++x)
        sums.columns[x] += columns.at(x);
    for (y = 0; sums.rows && y < rowCount; ++y)
        sums.rows[y] += rowSums[y];
}

// Adds a block, given by its rows and the first column in them.
void addBlock(const void* const* rows, int32_t left, int32_t cols, int32_t rowCount, Sums sums)
{
    const uint8_t* band[kBandRows];
    for (int32_t y = 0; y < rowCount; y += kBandRows) {
        const int32_t bandRows = std::min(kBandRows, rowCount - y);
        for (int32_t x = 0; x < cols; x += kStripCols) {
            for (int32_t i = 0; i < bandRows; ++i)
                band[i] = static_cast<const uint8_t*>(rows[y + i]) + left + x;
            addStrip(band, std::min(kStripCols, cols - x), bandRows,
                     {sums.columns ? sums.columns + x : nullptr, sums.rows ? sums.rows + y : nullptr});
        }
    }
}

void clearSums(uint32_t* sums, int32_t n)
{
    if (sums)
        std::fill_n(sums, n, 0U);
}

// The part of a stretch from a position on that lies in 0 to size - 1.
struct Part {
    int32_t from;
    int32_t skipped; // of the stretch in front of it
    int32_t length;

    Part(int32_t position, int32_t stretch, int32_t size)
        : from(std::max(position, 0)), skipped(position < 0 ? -std::max(position, -stretch) : 0),
          length(
              static_cast<int32_t>(std::clamp<int64_t>(int64_t{size} - from, 0, int64_t{stretch} - skipped)))
    {
    }
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetWindowProfiles(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im, uint32_t* columnSums,
                            uint32_t* rowSums)
{
    if (w < 1 || h < 1)
        return 0;
    clearSums(columnSums, w);
    clearSums(rowSums, h);
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im) || x >= cols || y >= rows)
        return 0;
    const Part across(x, w, cols);
    const Part down(y, h, rows);
    if (across.length < 1 || down.length < 1)
        return 1; // all of it lies in front of the image
    const Sums sums{columnSums ? columnSums + across.skipped : nullptr,
                    rowSums ? rowSums + down.skipped : nullptr};
    if (void** const table = I_ImGet2DPtr(nullptr, nullptr, im, PIX_BYTE)) {
        addBlock(table + down.from, across.from, across.length, down.length, sums);
        return 1;
    }
    void** const copy = I_Dup2DBlockType(across.from, down.from, across.length, down.length, im, PIX_BYTE);
    if (malloctest(copy, "I_GetWindowProfiles %d x %d", across.length, down.length))
        return 0;
    addBlock(copy, 0, across.length, down.length, sums);
    Free2DArray(copy);
    return 1;
}

int32_t xI_GetWindowProfiles(int32_t x, int32_t y, int32_t w, int32_t h, int32_t im, uint32_t* columnSums,
                             uint32_t* rowSums)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, im) || w < 1 || h < 1 || x < 0 || y < 0 ||
        int64_t{x} + w > cols || int64_t{y} + h > rows)
        return 0;
    Buffer<uint8_t> row(w);
    if (malloctest(row.data(), "I_GetWindowProfiles"))
        return 0;
    clearSums(columnSums, w);
    clearSums(rowSums, h);
    for (int32_t i = 0; i < h; ++i) {
        I_GetBlockType(x, y + i, w, 1, row.data(), im, PIX_BYTE);
        const void* const one[] = {row.data()};
        addBlock(one, 0, w, 1, {columnSums, rowSums ? rowSums + i : nullptr});
    }
    return 1;
}
