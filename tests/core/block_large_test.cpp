#include "tests/support/test_images.h"

#if defined(__unix__)
#include <sys/mman.h>
#endif

using namespace vexa::test;

#if defined(__unix__) && defined(__LP64__)

namespace
{

// Memory of 4.9 GB of which only the pages that are touched exist.
class LargeMemory
{
public:
    LargeMemory()
        : pages_(mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE,
                      -1, 0))
    {
    }
    ~LargeMemory()
    {
        if (given())
            munmap(pages_, kBytes);
    }
    bool given() const { return pages_ != MAP_FAILED; }
    uint8_t* pixels() const { return static_cast<uint8_t*>(pages_); }

    static constexpr int32_t kSide = 70000;
    static constexpr std::size_t kBytes = std::size_t{kSide} * kSide;

private:
    void* pages_;
};

constexpr int32_t kLast = LargeMemory::kSide - 1;

} // namespace

TEST(BlockLarge, BoundsPixelsBehindTwoGigabytes)
{
    const LargeMemory memory;
    if (!memory.given())
        GTEST_SKIP() << "the system gives no such address range";
    const int32_t im = I_ImOpenPtr(LargeMemory::kSide, LargeMemory::kSide, 0, PIX_BYTE, memory.pixels());
    uint8_t* const last = memory.pixels() + LargeMemory::kBytes - 1;

    EXPECT_EQ(1, I_PutPixByte(kLast, kLast, 200, im));
    EXPECT_EQ(200, *last);
    int32_t left = 0;
    EXPECT_EQ(last, I_ImGetPtr(kLast, kLast, &left, nullptr, im));
    EXPECT_EQ(1, left);
    EXPECT_EQ(memory.pixels(), I_ImGetPtr(0, 0, &left, nullptr, im));
    EXPECT_EQ(INT32_MAX, left);
    EXPECT_EQ(4.9e9, I_TotalBytesUsed());

    const int32_t corner = I_ImOpenSubimage(kLast - 3, kLast - 3, 100, 100, im);
    EXPECT_EQ(200, I_GetPixByte(3, 3, corner));
    const int32_t copy = byteImage(4, 4);
    EXPECT_EQ(16, I_ImageCopy(corner, copy));
    EXPECT_EQ(200.0, pixel(copy, 3, 3));
    uint8_t block[4] = {};
    EXPECT_EQ(4, I_GetBlockType(kLast - 1, kLast - 1, 2, 2, block, im, PIX_BYTE));
    EXPECT_EQ(200, block[3]);
    EXPECT_EQ(1, I_GetBlockType(kLast - 1, kLast - 1, 2, 2, block, im, 25));
    EXPECT_EQ(200, block[3]);
    EXPECT_EQ(1, I_ClearRect(kLast - 1, kLast - 1, kLast, kLast, 7, im));
    EXPECT_EQ(7, *last);
    EXPECT_EQ(7, I_GetPixByte(2, 2, corner));
    void** const table = I_ImGet2DPtr(nullptr, nullptr, im, 0);
    EXPECT_EQ(last - kLast, table[kLast]);
    I_ImCloseAll();
}

#endif
