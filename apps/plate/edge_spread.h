// How the optics and the width of a pixel spread an edge.
#ifndef VEXA_APPS_PLATE_EDGE_SPREAD_H
#define VEXA_APPS_PLATE_EDGE_SPREAD_H

#include <cstdint>
#include <vector>

#include "plate/shape.h"

namespace plate
{

// Places along an axis, in units: first, first + step, ... A step divides kUnit.
struct Places {
    int32_t first, step, count;
};

// What a pixel sees of a straight edge at a distance: the integral of a Gaussian, averaged over the pixel's width.
class EdgeSpread
{
public:
    // Deviation of the Gaussian in pixels, greater than 0.
    EdgeSpread(double sigma, int32_t step);

    // From so far on an edge is not seen any more, in units.
    int32_t reach() const { return reach_; }
    // Adds to each place the share, 0 to 1, of its light that comes from a stretch. Steps must be those of the table.
    void add(const Stretch& stretch, const Places& places, float* shares) const;

private:
    struct Edge {
        int32_t first;       // number of the first place that sees it
        const float* shares; // of that place and those behind it
    };
    Edge edge(int32_t at, const Places& places) const;

    int32_t step_;
    int32_t reach_;
    int32_t length_; // places that see one edge
    std::vector<float> table_;
};

} // namespace plate

#endif
