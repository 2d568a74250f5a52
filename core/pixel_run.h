// Runs of pixels that may share memory.
#ifndef VEXA_CORE_PIXEL_RUN_H
#define VEXA_CORE_PIXEL_RUN_H

#include <cstdint>
#include <cstring>
#include <functional>

#include "support/buffer.h"

namespace vexa
{

inline const uint8_t* at(const void* pixels, int64_t offset)
{
    return static_cast<const uint8_t*>(pixels) + offset;
}
inline uint8_t* at(void* pixels, int64_t offset)
{
    return static_cast<uint8_t*>(pixels) + offset;
}

// True where a conversion from left to right, piece by piece, would overwrite source pixels still to come. In place,
// pixels that do not grow are safe.
inline bool overwritesSource(const void* source, int64_t sourceBytes, const void* dest, int64_t destBytes)
{
    const bool overlap = std::less<>{}(at(source, 0), at(dest, destBytes)) &&
                         std::less<>{}(at(dest, 0), at(source, sourceBytes));
    return overlap && !(source == dest && destBytes <= sourceBytes);
}

// A copy of a run; empty when there is no memory.
inline Buffer<uint8_t> copyOfRun(const void* source, int64_t bytes)
{
    Buffer<uint8_t> copy(bytes);
    if (copy)
        std::memcpy(copy.data(), source, static_cast<std::size_t>(bytes));
    return copy;
}

} // namespace vexa

#endif
