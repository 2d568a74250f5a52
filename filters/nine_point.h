// The nine-point row functions: what I_MxN9ptFilt chooses among, wherever their families define them.
#ifndef VEXA_FILTERS_NINE_POINT_H
#define VEXA_FILTERS_NINE_POINT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "filters/frame.h"

namespace vexa
{

// Of a row that is worked on together, through the first-level cache.
inline constexpr int32_t kPieceBytes = 2048;

// The nine samples of output pixel i stand at [i]: the corners, edge midpoints and centre of the
// neighbourhood.
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

// Calls function(start, n) for the pixels of a line piece by piece, while the row of the next line comes
// nearer: a filter that computes for long would otherwise keep the memory idle.
template <typename Pixel, typename Function>
[[gnu::always_inline]] inline void forPieces(const FrameLine& line, Function function)
{
    constexpr int32_t kPiece = kPieceBytes / sizeof(Pixel);
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        if (line.ahead)
            for (std::size_t byte = 0; byte < static_cast<std::size_t>(n) * sizeof(Pixel); byte += 64)
                __builtin_prefetch(line.ahead + static_cast<std::size_t>(start) * sizeof(Pixel) + byte, 0, 2);
        function(start, n);
    }
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

// Of the smoothing family. The mean takes no user data, sharpening takes SharpenParams and the clip mode in
// force.
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
