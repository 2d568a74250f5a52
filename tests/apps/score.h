// How well listed boxes meet true ones.
#ifndef VEXA_TESTS_APPS_SCORE_H
#define VEXA_TESTS_APPS_SCORE_H

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vexa::test
{

// In pixels, sides included.
struct Box {
    double left, top, right, bottom;
};

// True boxes are grown by so many pixels each way.
inline constexpr double kBoxPadding = 5.0;

inline bool centreInside(const Box& inner, const Box& outer)
{
    const double x = (inner.left + inner.right) / 2.0;
    const double y = (inner.top + inner.bottom) / 2.0;
    return x >= outer.left - kBoxPadding && x <= outer.right + kBoxPadding && y >= outer.top - kBoxPadding &&
           y <= outer.bottom + kBoxPadding;
}
inline bool meet(const Box& a, const Box& b)
{
    return centreInside(a, b) || centreInside(b, a);
}
inline bool meetsAny(const Box& box, const std::vector<Box>& others)
{
    return std::any_of(others.begin(), others.end(), [&](const Box& other) { return meet(box, other); });
}

// A defect is found when the centre of a listed box lies in its true box, grown, or the other way round; a listed box
// that finds nothing is a false alarm.
struct Score {
    int32_t found = 0;
    int32_t truths = 0;
    int32_t right = 0;
    int32_t listed = 0;

    void add(const std::vector<Box>& boxes, const std::vector<Box>& truth)
    {
        for (const Box& one : truth)
            found += meetsAny(one, boxes);
        for (const Box& box : boxes)
            right += meetsAny(box, truth);
        truths += static_cast<int32_t>(truth.size());
        listed += static_cast<int32_t>(boxes.size());
    }
    double recall() const { return truths == 0 ? 1.0 : static_cast<double>(found) / truths; }
    double precision() const { return listed == 0 ? 1.0 : static_cast<double>(right) / listed; }
    double f() const { return 2.0 * recall() * precision() / (recall() + precision()); }
};

} // namespace vexa::test

#endif
