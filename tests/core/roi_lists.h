// What the tests of the region share: points that compare and print, lists and walks as vectors.
#ifndef VEXA_TESTS_CORE_ROI_LISTS_H
#define VEXA_TESTS_CORE_ROI_LISTS_H

#include <cstdint>
#include <ostream>
#include <vector>

#include <gtest/gtest.h>

#include "core/roi_state.h"
#include "support/buffer.h"
#include "vexalib/vexalib.h"

inline bool operator==(const VexaPoint& a, const VexaPoint& b)
{
    return a.x == b.x && a.y == b.y;
}
inline std::ostream& operator<<(std::ostream& out, const VexaPoint& p)
{
    return out << p.x << "," << p.y;
}

namespace vexa::test
{

using Points = std::vector<VexaPoint>;

struct Segment {
    int32_t x, y, width;
    bool operator==(const Segment&) const = default;
};
inline std::ostream& operator<<(std::ostream& out, const Segment& segment)
{
    return out << "(" << segment.x << ", " << segment.y << ": " << segment.width << ")";
}

inline Points scanlist(int32_t im)
{
    int32_t n = -1;
    const VexaPoint* list = I_ROIScanlist(&n, im);
    return Points(list, list + n);
}

inline std::vector<Segment> lines(int32_t im)
{
    std::vector<Segment> segments;
    Segment segment{};
    for (int32_t first = 1; I_GetNextLine(&segment.x, &segment.y, &segment.width, im, &first) != 0;)
        segments.push_back(segment);
    return segments;
}

inline std::vector<int32_t> window()
{
    std::vector<int32_t> sides(4);
    I_GetWindowROI(&sides[0], &sides[1], &sides[2], &sides[3]);
    return sides;
}

inline void setPolygon(const Points& points)
{
    ASSERT_EQ(1, I_SetPolygonROI(points.data(), static_cast<int32_t>(points.size())));
}

// The list as the process starts with it.
inline void dropList()
{
    releaseBlock(roiState().list.points);
    roiState().list = {};
}

} // namespace vexa::test

#endif
