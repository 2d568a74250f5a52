#include "support/buffer.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "support/uncleared.h"
#include "vexalib/types.h"

namespace vexa
{
namespace
{

constexpr std::size_t kAlignment = 64;

// Stands right in front of each block.
struct Header {
    void* allocation;
    int64_t bytes;
};

struct State {
    AllocationState counts;
    int64_t failAt = 0;
    bool persistent = false;
};
State state;

bool refused()
{
    ++state.counts.attempts;
    const bool refuse = state.failAt > 0 && (state.persistent ? state.counts.attempts >= state.failAt
                                                              : state.counts.attempts == state.failAt);
    state.counts.failed += refuse;
    return refuse;
}

// The bytes of count elements, or -1 where that is no size.
int64_t totalBytes(int64_t count, int64_t size)
{
    int64_t bytes = 0;
    if (count < 0 || size < 0 || __builtin_mul_overflow(count, size, &bytes))
        return -1;
    constexpr auto largest =
        static_cast<uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) - 2 * kAlignment;
    return static_cast<uint64_t>(bytes) > largest ? -1 : bytes;
}

Header* headerOf(void* block)
{
    return reinterpret_cast<Header*>(static_cast<uint8_t*>(block) - sizeof(Header));
}

const Header* headerOf(const void* block)
{
    return reinterpret_cast<const Header*>(static_cast<const uint8_t*>(block) - sizeof(Header));
}

// A block that the function gives room for.
void* allocate(int64_t count, int64_t size, void* (*room)(std::size_t bytes))
{
    const int64_t bytes = totalBytes(count, size);
    if (bytes < 0 || refused())
        return nullptr;
    void* allocation = room(static_cast<std::size_t>(bytes) + 2 * kAlignment);
    if (!allocation)
        return nullptr;
    const auto address = reinterpret_cast<uintptr_t>(allocation);
    const std::size_t shift = kAlignment - address % kAlignment;
    // The header needs room in front of the block; where there is too little, the block is the next one.
    void* block = static_cast<uint8_t*>(allocation) + shift + (shift < sizeof(Header) ? kAlignment : 0);
    *headerOf(block) = Header{allocation, bytes};
    ++state.counts.liveBlocks;
    state.counts.liveBytes += bytes;
    return block;
}

} // namespace

void* allocateBlock(int64_t count, int64_t size)
{
    return allocate(count, size, [](std::size_t bytes) { return std::calloc(bytes, 1); });
}

void* allocateUncleared(int64_t count, int64_t size)
{
    return allocate(count, size, [](std::size_t bytes) { return std::malloc(bytes); });
}

void releaseBlock(void* block)
{
    if (!block)
        return;
    const Header header = *headerOf(block);
    --state.counts.liveBlocks;
    state.counts.liveBytes -= header.bytes;
    std::free(header.allocation);
}

int64_t blockBytes(const void* block)
{
    return headerOf(block)->bytes;
}

char* duplicateText(const char* text)
{
    if (!text)
        return nullptr;
    const std::size_t length = std::strlen(text);
    auto* copy = static_cast<char*>(allocateBlock(static_cast<int64_t>(length) + 1));
    if (copy)
        std::memcpy(copy, text, length);
    return copy;
}

void* allocateForCaller(int64_t count, int64_t size)
{
    const int64_t bytes = totalBytes(count, size);
    if (bytes < 0 || refused())
        return nullptr;
    return std::calloc(static_cast<std::size_t>(bytes == 0 ? 1 : bytes), 1);
}

AllocationState allocationState()
{
    return state.counts;
}

void failAllocation(int64_t n, bool persistent)
{
    state.failAt = n;
    state.persistent = persistent;
    state.counts.attempts = 0;
    state.counts.failed = 0;
}

} // namespace vexa

void vexaFree(void* block)
{
    std::free(block);
}

const char* vexaVersion()
{
    return "1.0.0";
}
