// Blocks of the one door to memory (support/buffer.h) that are not zeroed.
#ifndef VEXA_SUPPORT_UNCLEARED_H
#define VEXA_SUPPORT_UNCLEARED_H

#include <cstdint>

namespace vexa
{

// allocateBlock with whatever the memory holds, for a block that is filled at once.
[[nodiscard]] void* allocateUncleared(int64_t count, int64_t size = 1);

} // namespace vexa

#endif
