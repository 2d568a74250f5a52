// How alike two pictures are at every whole shift within reach, and the shifts at which they are most alike.
#ifndef VEXA_APPS_ALIGN_SURFACE_H
#define VEXA_APPS_ALIGN_SURFACE_H

#include <cstdint>
#include <vector>

#include "align_boxes.h"

namespace app
{

struct ShiftRange {
    int32_t left = 0, top = 0, right = 0, bottom = 0; // whole shifts, both ends included
    int32_t cols() const { return right - left + 1; }
    int32_t rows() const { return bottom - top + 1; }
};

struct SurfacePeak {
    int32_t dx = 0, dy = 0;
    double score = 0.0; // interpolated; 1 for a perfect match, about 0 for none
};

// The peaks of the surface, best first. The boxes lie in the defect picture, and moved by every shift of the range in the
// reference. The brightness of the reference is brought to that of the defect picture first.
std::vector<SurfacePeak> findPeaks(const GreyRows& reference, const GreyRows& defect,
                                   const std::vector<VexaBox>& boxes, const ShiftRange& range);

} // namespace app

#endif
