// Outlines of regions in whole pixels.
#include <algorithm>
#include <array>
#include <utility>

#include "core/image_kinds.h"
#include "core/image_table.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/blob_table.h"
#include "vexalib/block.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/status.h"
#include "vexalib/trace.h"

namespace vexa
{
namespace
{

// Clockwise from the upper left.
constexpr std::array<VexaPoint, 8> kRing = {
    {{-1, -1}, {0, -1}, {1, -1}, {1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}}};

// The neighbour to go to, from the one that the walk came from and the set of inside neighbours, bit by bit.
using NextTable = std::array<std::array<uint8_t, 256>, 8>;
constexpr NextTable makeNextTable()
{
    constexpr int32_t kEven[] = {3, 2, 5, 4, 7, 6};
    constexpr int32_t kOdd[] = {2, 4, 3, 6, 5, 0};
    NextTable table{};
    for (int32_t from = 0; from < 8; ++from)
        for (int32_t set = 0; set < 256; ++set) {
            int32_t next = from;
            for (int32_t i = 5; i >= 0; --i) {
                const int32_t candidate = (from + (from % 2 == 0 ? kEven[i] : kOdd[i])) % 8;
                if ((set >> candidate & 1) != 0)
                    next = candidate;
            }
            table[static_cast<std::size_t>(from)][static_cast<std::size_t>(set)] = static_cast<uint8_t>(next);
        }
    return table;
}
constexpr NextTable kNext = makeNextTable();

// The values for which I_DualThreshLUT has an entry other than 0: a band, around the end of the scale where
// low is above high.
class InsideBand
{
public:
    InsideBand(int32_t low, int32_t high)
        : first_(static_cast<uint8_t>(std::clamp(low, 0, 255))),
          span_(static_cast<uint8_t>(std::clamp(high, 0, 255) - first_))
    {
    }

    bool holds(uint8_t value) const { return static_cast<uint8_t>(value - first_) <= span_; }

    // The first value of n that the band holds; n without one.
    int32_t firstIn(const uint8_t* values, int32_t n) const
    {
        constexpr int32_t kPiece = 64;
        int32_t i = 0;
        while (i + kPiece <= n && !holdsAny(values + i, kPiece))
            i += kPiece;
        while (i < n && !holds(values[i]))
            ++i;
        return i;
    }

private:
    bool holdsAny(const uint8_t* values, int32_t n) const
    {
        uint8_t any = 0;
        for (int32_t i = 0; i < n; ++i)
            any = static_cast<uint8_t>(any | (holds(values[i]) ? 1 : 0));
        return any != 0;
    }

    uint8_t first_;
    uint8_t span_;
};

// The surroundings of pixels.
class Surroundings
{
public:
    Surroundings(int32_t im, const ImageRecord& record, InsideBand band)
        : im_(im), record_(record), band_(band),
          direct_(record.kind == kMemoryKind && record.data && record.type == PIX_BYTE && !record.inverted)
    {
    }

    // The inside ones of the eight neighbours, bit by bit.
    uint32_t inside(VexaPoint p) const
    {
        if (direct_ && p.x > 0 && p.y > 0 && p.x < record_.cols - 1 && p.y < record_.rows - 1)
            return ringBits(static_cast<const uint8_t*>(record_.data) + int64_t{p.y - 1} * record_.stride +
                                p.x - 1,
                            record_.stride);
        uint8_t block[9] = {};
        I_GetBlockType(p.x - 1, p.y - 1, 3, 3, block, im_, PIX_BYTE);
        return ringBits(block, 3);
    }

private:
    uint32_t ringBits(const uint8_t* above, int64_t stride) const
    {
        const uint8_t* const middle = above + stride;
        const uint8_t* const below = middle + stride;
        const uint8_t ring[8] = {above[0], above[1], above[2], middle[2],
                                 below[2], below[1], below[0], middle[0]};
        uint32_t bits = 0;
        for (uint32_t i = 0; i < 8; ++i)
            bits |= static_cast<uint32_t>(band_.holds(ring[i])) << i;
        return bits;
    }

    int32_t im_;
    const ImageRecord& record_;
    InsideBand band_;
    bool direct_;
};

// The steps that a walk has made: for each pixel the set of neighbours it was reached from, in a table that
// is searched from a place that the pixel's coordinates give.
class StepsMade
{
public:
    enum class Answer { isNew, known, noMemory };

    Answer add(VexaPoint pixel, int32_t cameFrom)
    {
        if (2 * used_ >= entries_.size() && !grow())
            return Answer::noMemory;
        Entry& entry = find(entries_, pixel);
        used_ += entry.reachedFrom == 0;
        entry.pixel = pixel;
        const uint32_t bit = 1U << cameFrom;
        const bool known = (entry.reachedFrom & bit) != 0;
        entry.reachedFrom |= bit;
        return known ? Answer::known : Answer::isNew;
    }

private:
    struct Entry {
        VexaPoint pixel;
        uint32_t reachedFrom; // 0: free
    };

    static Entry& find(Buffer<Entry>& entries, VexaPoint pixel)
    {
        const auto mask = static_cast<uint64_t>(entries.size()) - 1;
        const uint64_t key =
            uint64_t{static_cast<uint32_t>(pixel.y)} << 32 | uint64_t{static_cast<uint32_t>(pixel.x)};
        uint64_t at = (key * 0x9E3779B97F4A7C15U) >> 32 & mask;
        for (;; at = (at + 1) & mask) {
            Entry& entry = entries[static_cast<int64_t>(at)];
            if (entry.reachedFrom == 0 || (entry.pixel.x == pixel.x && entry.pixel.y == pixel.y))
                return entry;
        }
    }

    [[nodiscard]] bool grow()
    {
        constexpr int64_t kFirstSize = 1024;
        Buffer<Entry> larger(std::max(kFirstSize, 4 * entries_.size()));
        if (malloctest(larger.data(), "GetPerimeterPts"))
            return false;
        for (const Entry& entry : entries_)
            if (entry.reachedFrom != 0)
                find(larger, entry.pixel) = entry;
        entries_ = std::move(larger);
        return true;
    }

    Buffer<Entry> entries_;
    int64_t used_ = 0;
};

bool inBox(const VexaBox& box, VexaPoint p)
{
    return p.x >= std::max(box.left, 1) && p.x <= box.right && p.y >= box.top && p.y <= box.bottom;
}

// The number of points; 0 also without memory.
int32_t walkPerimeter(const Surroundings& surroundings, const VexaBox& box, VexaPoint start,
                      VexaPoint* points, int32_t maxPoints)
{
    StepsMade made;
    VexaPoint position = start;
    int32_t cameFrom = 0;
    for (int32_t count = 0;; ++count) {
        if (count > 0) {
            const StepsMade::Answer answer = made.add(position, cameFrom);
            if (answer == StepsMade::Answer::noMemory)
                return 0;
            if (answer == StepsMade::Answer::known)
                return count - 1;
        }
        if (count >= maxPoints || !inBox(box, position))
            return count;
        points[count] = position;
        const std::size_t next = kNext[static_cast<std::size_t>(cameFrom)][surroundings.inside(position)];
        position = {position.x + kRing[next].x, position.y + kRing[next].y};
        cameFrom = static_cast<int32_t>(next + 4) % 8;
    }
}

// The first inside pixel of the region. False: there is none.
bool findInside(int32_t im, InsideBand band, Buffer<uint8_t>& row, VexaPoint* found)
{
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t first = 1;
    while (I_GetNextLine(&x, &y, &width, im, &first)) {
        const int64_t end = int64_t{x} + width;
        for (int64_t from = std::max(x, 0); from < end; from += row.size()) {
            const auto n = static_cast<int32_t>(std::min(end - from, row.size()));
            I_GetBlockType(static_cast<int32_t>(from), y, n, 1, row.data(), im, PIX_BYTE);
            const int32_t i = band.firstIn(row.data(), n);
            if (i < n) {
                *found = {static_cast<int32_t>(from) + i, y};
                return true;
            }
        }
    }
    return false;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_GetPerimeterPts(VexaPoint* points, int32_t maxPoints, int32_t low, int32_t high, int32_t im)
{
    VexaBox box = {};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im))
        return 0;
    const ImageRecord* const record = imageRecordOrNull(im);
    if (!points || !record)
        return 0;
    Buffer<uint8_t> row(int64_t{box.right} - box.left + 1);
    if (malloctest(row.data(), "GetPerimeterPts"))
        return 0;
    const InsideBand band(low, high);
    VexaPoint start;
    if (!findInside(im, band, row, &start))
        return 0;
    return walkPerimeter(Surroundings(im, *record, band), box, start, points, maxPoints);
}

int32_t I_GetBlobOutline(VexaPoint* points, int32_t maxPoints, int32_t imLabel, int32_t blob)
{
    VexaBox box = {0, 0, 639, 439};
    I_GetBlobBoundingBox(blob, &box.left, &box.top, &box.right, &box.bottom);
    I_SaveROI(0);
    const Guard restore([] { I_RecallROI(0); });
    I_SetWindowROI(box.left, box.top, box.right, box.bottom);
    return I_GetPerimeterPts(points, maxPoints, wrapAdd(blob, 1), wrapAdd(blob, 2), imLabel);
}
