// How many rows are moved at a time between a file and an image.
#ifndef VEXA_FILEIO_ROW_BUFFER_H
#define VEXA_FILEIO_ROW_BUFFER_H

#include <algorithm>
#include <cstdint>

namespace vexa
{

// Rows that stay in the second cache between the file and the image.
inline int32_t rowsAtOnce(int64_t rowBytes, int64_t rows)
{
    constexpr int64_t kChunkBytes = 256 * 1024;
    return static_cast<int32_t>(std::clamp<int64_t>(kChunkBytes / std::max<int64_t>(rowBytes, 1), 1,
                                                    std::clamp<int64_t>(rows, 1, INT32_MAX)));
}

// Rows that I_MakeRowBuffer has room for.
int64_t rowsInRowBuffer(int64_t rowBytes, int64_t rows);

} // namespace vexa

#endif
