// The library's own movable memory, where neither the application nor the system gives any.
#include <bit>
#include <cerrno>

#include "platform/platform.h"
#include "support/buffer.h"

using namespace vexa;

namespace
{

struct Block {
    void* data = nullptr; // null for a free slot
    std::size_t bytes = 0;
    int32_t locks = 0;
    uintptr_t serial = 0; // what the handle of the slot's block must carry
};

// A handle is a slot's number and a serial number, never an address: one that is wrong or was freed is found
// out without being followed.
struct State {
    Block* slots = nullptr;
    int64_t count = 0;
    int64_t used = 0;
    uintptr_t lastSerial = 0;
};
constinit State state;

constexpr int32_t kSlotBits = sizeof(uintptr_t) == 8 ? 32 : 16;
constexpr int64_t kMostSlots = (int64_t{1} << kSlotBits) - 1;

void* handleOf(int64_t slot)
{
    return std::bit_cast<void*>((state.slots[slot].serial << kSlotBits) | static_cast<uintptr_t>(slot + 1));
}

// Null if it is no handle of a live block.
Block* find(void* handle)
{
    const auto value = std::bit_cast<uintptr_t>(handle);
    const auto slot = static_cast<int64_t>(value & static_cast<uintptr_t>(kMostSlots)) - 1;
    if (slot < 0 || slot >= state.count)
        return nullptr;
    Block& block = state.slots[slot];
    return block.data && block.serial == value >> kSlotBits ? &block : nullptr;
}

// A free slot, or -1.
int64_t takeSlot()
{
    if (state.used < state.count)
        for (int64_t slot = 0; slot < state.count; ++slot)
            if (!state.slots[slot].data)
                return slot;
    constexpr int64_t first = 32;
    const int64_t wanted = state.count == 0 ? first : state.count * 2;
    const int64_t count = wanted < kMostSlots ? wanted : kMostSlots;
    if (count == state.count)
        return -1;
    Buffer<Block> grown(count);
    if (!grown)
        return -1;
    for (int64_t slot = 0; slot < state.count; ++slot)
        grown[slot] = state.slots[slot];
    releaseBlock(state.slots);
    const int64_t slot = state.count;
    state.slots = grown.release();
    state.count = count;
    return slot;
}

// The table goes with the last block.
void releaseTableIfEmpty()
{
    if (state.used > 0)
        return;
    releaseBlock(state.slots);
    state.slots = nullptr;
    state.count = 0;
}

void* allocate(std::size_t bytes)
{
    const bool possible = bytes <= static_cast<std::size_t>(PTRDIFF_MAX);
    void* data = possible ? allocateBlock(static_cast<int64_t>(bytes)) : nullptr;
    const int64_t slot = data ? takeSlot() : -1;
    if (slot < 0) {
        releaseBlock(data);
        errno = ENOMEM; // what callers tell by the system's last error
        return nullptr;
    }
    state.lastSerial = (state.lastSerial + 1) & (~uintptr_t{0} >> kSlotBits);
    state.slots[slot] = {data, bytes, 0, state.lastSerial};
    ++state.used;
    return handleOf(slot);
}

} // namespace

void* vexaGlobalAlloc(size_t bytes)
{
    const VexaPlatform* given = platform::movableMemory();
    return given ? given->globalAlloc(bytes) : allocate(bytes);
}

void* vexaGlobalLock(void* handle)
{
    if (const VexaPlatform* given = platform::movableMemory())
        return given->globalLock(handle);
    Block* block = find(handle);
    if (!block || block->locks == INT32_MAX)
        return nullptr;
    ++block->locks;
    return block->data;
}

int32_t vexaGlobalUnlock(void* handle)
{
    if (const VexaPlatform* given = platform::movableMemory())
        return given->globalUnlock(handle);
    Block* block = find(handle);
    if (!block || block->locks == 0)
        return 0;
    return --block->locks;
}

size_t vexaGlobalSize(void* handle)
{
    if (const VexaPlatform* given = platform::movableMemory())
        return given->globalSize(handle);
    const Block* block = find(handle);
    return block ? block->bytes : 0;
}

void* vexaGlobalFree(void* handle)
{
    if (const VexaPlatform* given = platform::movableMemory())
        return given->globalFree(handle);
    Block* block = find(handle);
    if (!block)
        return handle;
    releaseBlock(block->data);
    *block = {};
    --state.used;
    releaseTableIfEmpty();
    return nullptr;
}
