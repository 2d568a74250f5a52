// The points of a rectangle in square rings around a centre.
#include <algorithm>
#include <cstdint>

#include "support/buffer.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

class RingWalk
{
public:
    RingWalk(int32_t cols, int32_t rows, VexaPoint center, VexaPoint* list)
        : cols_(cols), rows_(rows), x_(center.x), y_(center.y), list_(list)
    {
        list_[count_++] = center;
    }

    int64_t count() const { return count_; }

    // Each side leaves out its last corner, which begins the next one.
    void ring(int64_t r)
    {
        row(y_ - r, x_ - r, x_ + r - 1, false);
        column(x_ + r, y_ - r, y_ + r - 1, false);
        row(y_ + r, x_ - r + 1, x_ + r, true);
        column(x_ - r, y_ - r + 1, y_ + r, true);
    }

private:
    void row(int64_t y, int64_t left, int64_t right, bool backward)
    {
        if (y < 0 || y >= rows_)
            return;
        left = std::max<int64_t>(left, 0);
        right = std::min(right, cols_ - 1);
        for (int64_t i = 0; i <= right - left; ++i)
            add(backward ? right - i : left + i, y);
    }

    void column(int64_t x, int64_t top, int64_t bottom, bool backward)
    {
        if (x < 0 || x >= cols_)
            return;
        top = std::max<int64_t>(top, 0);
        bottom = std::min(bottom, rows_ - 1);
        for (int64_t i = 0; i <= bottom - top; ++i)
            add(x, backward ? bottom - i : top + i);
    }

    void add(int64_t x, int64_t y) { list_[count_++] = {static_cast<int32_t>(x), static_cast<int32_t>(y)}; }

    int64_t cols_, rows_, x_, y_;
    VexaPoint* list_;
    int64_t count_ = 0;
};

} // namespace

VexaPoint* I_SpiralOutList(int32_t cols, int32_t rows, int32_t x, int32_t y, int32_t radius, int32_t* count)
{
    if (count)
        *count = 0;
    if (cols < 1 || rows < 1)
        return nullptr;
    const int64_t points = int64_t{cols} * rows;
    auto* list = static_cast<VexaPoint*>(vexa::allocateForCaller(points + 2, sizeof(VexaPoint)));
    if (malloctest(list, "I_SpiralOutList"))
        return nullptr;
    const VexaPoint center = {std::clamp(x, 0, cols - 1), std::clamp(y, 0, rows - 1)};
    const int32_t rings = radius < 1 ? std::max(cols, rows) - 1 : radius;
    RingWalk walk(cols, rows, center, list);
    for (int64_t r = 1; r <= rings && walk.count() < points; ++r)
        walk.ring(r);
    list[walk.count()] = {-1, -1};
    if (count)
        *count = static_cast<int32_t>(walk.count());
    return list;
}
