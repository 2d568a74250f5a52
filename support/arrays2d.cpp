// Two-dimensional arrays, fills and reversals of arrays of any element size.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "support/buffer.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

// Repeats the first filled bytes until total are there. The pieces grow up to what the nearest cache holds.
void repeatPrefix(uint8_t* dest, int64_t filled, int64_t total)
{
    constexpr int64_t kPiece = 8192;
    int64_t piece = filled;
    while (filled < total) {
        const int64_t bytes = std::min(piece, total - filled);
        std::memcpy(dest + filled, dest, static_cast<std::size_t>(bytes));
        filled += bytes;
        if (piece < kPiece)
            piece = filled;
    }
}

void swapElements(uint8_t* a, uint8_t* b, int32_t bytes)
{
    std::swap_ranges(a, a + bytes, b);
}

} // namespace

void** Create2DArray(int32_t cols, int32_t rows, int32_t bytes)
{
    if (cols < 1 || rows < 1 || bytes < 1) {
        I_SetError(1, "Create2DArray ncols=%d nrows=%d", cols, rows);
        return nullptr;
    }
    const int64_t rowBytes = int64_t{cols} * bytes;
    auto** table = static_cast<void**>(vexa::allocateForCaller(rows, rowBytes + int64_t{sizeof(void*)}));
    if (malloctest(table, "Create2DArray"))
        return nullptr;
    auto* data = reinterpret_cast<uint8_t*>(table + rows);
    for (int32_t y = 0; y < rows; ++y)
        table[y] = data + y * rowBytes;
    return table;
}

void Free2DArray(void* array)
{
    std::free(array);
}

void* memsetStruct(void* dest, const void* element, int32_t count, int32_t bytes)
{
    if (!dest || !element || count < 1 || bytes < 1)
        return dest;
    std::memmove(dest, element, static_cast<std::size_t>(bytes));
    repeatPrefix(static_cast<uint8_t*>(dest), bytes, int64_t{count} * bytes);
    return dest;
}

void* hmemset2(void* dest, int32_t value, int32_t count)
{
    return dest && count > 0 ? std::memset(dest, value, static_cast<std::size_t>(count)) : dest;
}

int32_t ReverseStruct(void* array, int32_t count, int32_t bytes)
{
    if (!array || bytes < 1)
        return 0;
    auto* first = static_cast<uint8_t*>(array);
    auto* last = first + (int64_t{count} - 1) * bytes;
    for (int32_t i = 0; i < count / 2; ++i, first += bytes, last -= bytes)
        swapElements(first, last, bytes);
    return 1;
}

int32_t ReverseStruct2(const void* source, void* dest, int32_t count, int32_t bytes)
{
    if (!source || !dest || bytes < 1)
        return 0;
    if (source == dest)
        return ReverseStruct(dest, count, bytes);
    const auto* from = static_cast<const uint8_t*>(source);
    auto* to = static_cast<uint8_t*>(dest);
    for (int64_t i = 0; i < count; ++i)
        std::memmove(to + i * bytes, from + (count - 1 - i) * bytes, static_cast<std::size_t>(bytes));
    return 1;
}
