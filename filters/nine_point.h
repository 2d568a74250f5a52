// The nine-point row functions: what I_MxN9ptFilt chooses among, wherever their families define them.
#ifndef VEXA_FILTERS_NINE_POINT_H
#define VEXA_FILTERS_NINE_POINT_H

#include <cstdint>

#include "filters/frame.h"

namespace vexa
{

// The nine samples of output pixel i stand at [i]: the corners, edge midpoints and centre of the neighbourhood.
template <typename Pixel>
struct Lattice {
    const Pixel* nw;
    const Pixel* n;
    const Pixel* ne;
    const Pixel* w;
    const Pixel* center;
    const Pixel* e;
    const Pixel* sw;
    const Pixel* s;
    const Pixel* se;
};

template <typename Pixel>
Lattice<Pixel> latticeOf(const FrameLine& line)
{
    const auto* top = static_cast<const Pixel*>(line.rows[0]);
    const auto* middle = static_cast<const Pixel*>(line.rows[line.height / 2]);
    const auto* bottom = static_cast<const Pixel*>(line.rows[line.height - 1]);
    const int32_t center = line.width / 2;
    const int32_t right = line.width - 1;
    return {top,    top + center,    top + right,   middle, middle + center, middle + right,
            bottom, bottom + center, bottom + right};
}

// A row function for bytes and one for floats, null where there is none.
struct NinePointFilter {
    FrameFilter bytes;
    FrameFilter floats;
};

// Of the edge operators. The contour takes a ContourParameter.
NinePointFilter sobelFilter();
NinePointFilter contourFilter();
NinePointFilter verticalGradientFilter();
NinePointFilter horizontalGradientFilter();

// Of the smoothing family. The mean takes no user data, sharpening takes SharpenParams and the clip mode in force.
NinePointFilter meanFilter();
NinePointFilter sharpenFilter();

struct SharpenParams {
    int32_t strength; // in units of 1/128
    int32_t noCentre; // non-zero: the high-pass term alone
};

struct ContourParameter {
    int32_t spacing; // not 0
    int32_t mark;    // negative: the centre with its highest bit turned over
};

} // namespace vexa

#endif
