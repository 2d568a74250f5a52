#include <cstring>

#include "support/buffer.h"
#include "support/guard.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/listing.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Places that are left to fill. It grows as long as there is memory.
class Seeds
{
public:
    bool push(VexaPoint seed)
    {
        if (count_ == seeds_.size() && !grow())
            return false;
        seeds_[count_++] = seed;
        return true;
    }
    bool pop(VexaPoint& seed)
    {
        if (count_ == 0)
            return false;
        seed = seeds_[--count_];
        return true;
    }

private:
    bool grow()
    {
        constexpr int64_t kFirst = 1024;
        Buffer<VexaPoint> larger(count_ == 0 ? kFirst : 2 * count_);
        if (malloctest(larger.data(), "I_FloodFillArray"))
            return false;
        if (count_ > 0)
            std::memcpy(larger.data(), seeds_.data(), static_cast<std::size_t>(count_) * sizeof(VexaPoint));
        seeds_ = std::move(larger);
        return true;
    }

    Buffer<VexaPoint> seeds_;
    int64_t count_ = 0;
};

// Rows of bytes, in which an old value gives way to a new one.
class Area
{
public:
    Area(void** table, int32_t cols, int32_t rows, VexaPoint start, uint8_t value)
        : table_(table), cols_(cols), rows_(rows), old_(row(start.y)[start.x]), value_(value)
    {
    }

    bool changes() const { return old_ != value_; }
    // False without memory: the fill is unfinished.
    bool fillFrom(VexaPoint start)
    {
        if (!seeds_.push(start))
            return false;
        for (VexaPoint seed = {}; seeds_.pop(seed);) {
            uint8_t* const pixels = row(seed.y);
            if (pixels[seed.x] != old_)
                continue; // reached from elsewhere in the meantime
            int32_t left = seed.x;
            int32_t right = seed.x;
            while (left > 0 && pixels[left - 1] == old_)
                --left;
            while (right < cols_ - 1 && pixels[right + 1] == old_)
                ++right;
            std::memset(pixels + left, value_, static_cast<std::size_t>(right - left + 1));
            if (!seedRow(seed.y - 1, left, right) || !seedRow(seed.y + 1, left, right))
                return false;
        }
        return true;
    }

private:
    uint8_t* row(int32_t y) const { return static_cast<uint8_t*>(table_[y]); }

    // A seed for each run of the old value.
    bool seedRow(int32_t y, int32_t left, int32_t right)
    {
        if (y < 0 || y >= rows_)
            return true;
        const uint8_t* const pixels = row(y);
        for (int32_t x = left; x <= right; ++x) {
            const bool starts = pixels[x] == old_ && (x == left || pixels[x - 1] != old_);
            if (starts && !seeds_.push({x, y}))
                return false;
        }
        return true;
    }

    void** table_;
    int32_t cols_;
    int32_t rows_;
    uint8_t old_;
    uint8_t value_;
    Seeds seeds_;
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_FloodFillArray(int32_t x, int32_t y, int32_t value, void** table, int32_t cols, int32_t rows)
{
    if (!table || cols < 1 || rows < 1 || x < 0 || y < 0 || x >= cols || y >= rows)
        return 0;
    Area area(table, cols, rows, {x, y}, static_cast<uint8_t>(value));
    return !area.changes() || area.fillFrom({x, y});
}

int32_t I_FloodFill(int32_t x, int32_t y, int32_t value, int32_t im)
{
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
    if (im == 0 || !I_ROIBoundingBox(&left, &top, &right, &bottom, im))
        return 0;
    const int32_t cols = right - left + 1;
    const int32_t rows = bottom - top + 1;
    void** const direct = left == 0 ? I_ImGet2DPtr(nullptr, nullptr, im, PIX_BYTE) : nullptr;
    if (direct)
        return I_FloodFillArray(x, y, value, direct + top, cols, rows);
    void** const block = I_Dup2DBlockType(left, top, cols, rows, im, PIX_BYTE);
    if (!block)
        return 0;
    const Guard release([block] { Free2DArray(block); });
    const int32_t filled = I_FloodFillArray(x, y, value, block, cols, rows);
    if (filled)
        I_PutBlockType(left, top, cols, rows, block[0], im, PIX_BYTE);
    return filled;
}
