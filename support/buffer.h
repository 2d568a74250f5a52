// The one door to memory. Every block is zeroed, its size is computed in 64 bits, an overflow is a failure, and a test
// can make the n-th allocation fail.
#ifndef VEXA_SUPPORT_BUFFER_H
#define VEXA_SUPPORT_BUFFER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vexa
{

// count blocks of size bytes each, zeroed and aligned to 64 bytes, for the library's own use; null when there is no
// memory or a factor is negative. Ends in releaseBlock.
[[nodiscard]] void* allocateBlock(int64_t count, int64_t size = 1);
// Takes null.
void releaseBlock(void* block);
// The bytes that an allocateBlock was asked for.
int64_t blockBytes(const void* block);
// A copy of the text through allocateBlock; null for null.
[[nodiscard]] char* duplicateText(const char* text);

// Plain calloc memory that the caller of an exported function will free.
[[nodiscard]] void* allocateForCaller(int64_t count, int64_t size = 1);

// What tests see of the door, and how they shut it.
struct AllocationState {
    int64_t attempts = 0;   // allocations asked for since failAllocation
    int64_t liveBlocks = 0; // blocks not yet released, without those handed to callers
    int64_t liveBytes = 0;
    int64_t failed = 0; // allocations refused since failAllocation
};
AllocationState allocationState();
// The n-th allocation from now on fails (n from 1), and with persistent set all after it; 0 lets all pass again.
void failAllocation(int64_t n, bool persistent);

// An owned block of count elements, all zero bytes. Test it before use: a failed allocation leaves it empty.
template <typename T>
class Buffer
{
public:
    Buffer() = default;
    explicit Buffer(int64_t count)
        : data_(static_cast<T*>(allocateBlock(count, sizeof(T)))), size_(data_ ? count : 0)
    {
    }
    ~Buffer() { releaseBlock(data_); }
    Buffer(Buffer&& other) noexcept
        : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0))
    {
    }
    Buffer& operator=(Buffer&& other) noexcept
    {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        return *this;
    }
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;

    explicit operator bool() const { return data_ != nullptr; }
    T* data() { return data_; }
    const T* data() const { return data_; }
    int64_t size() const { return size_; }
    T& operator[](int64_t i) { return data_[i]; }
    const T& operator[](int64_t i) const { return data_[i]; }
    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    // Hands the block over; it ends in releaseBlock.
    T* release()
    {
        size_ = 0;
        return std::exchange(data_, nullptr);
    }

private:
    T* data_ = nullptr;
    int64_t size_ = 0;
};

// Count sections of a fixed number of bytes each that are one allocation, each starting on a 64-byte boundary. Under
// the address sanitizer each is a block of its own, so that a read across a section is seen.
template <std::size_t Count>
class Sections
{
public:
    Sections() = default;
    explicit Sections(int64_t bytes)
    {
        if (bytes < 0)
            return;
        const int64_t step = (bytes + 63) & ~int64_t{63};
#if defined(__SANITIZE_ADDRESS__)
        for (std::size_t i = 0; i < Count; ++i) {
            blocks_[i] = Buffer<uint8_t>(bytes);
            pointers_[i] = blocks_[i].data();
            if (!pointers_[i])
                return;
        }
        valid_ = true;
        (void)step;
#else
        blocks_[0] = Buffer<uint8_t>(
            step <= INT64_MAX / static_cast<int64_t>(Count) ? step * static_cast<int64_t>(Count) : -1);
        valid_ = static_cast<bool>(blocks_[0]);
        for (std::size_t i = 0; valid_ && i < Count; ++i)
            pointers_[i] = blocks_[0].data() + static_cast<int64_t>(i) * step;
#endif
    }

    explicit operator bool() const
    {
        return valid_;
    }
    uint8_t* operator[](std::size_t section) const
    {
        return pointers_[section];
    }

private:
    std::array<Buffer<uint8_t>, Count> blocks_;
    std::array<uint8_t*, Count> pointers_ = {};
    bool valid_ = false;
};

} // namespace vexa

#endif
