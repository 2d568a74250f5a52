// What alignment shows of its work while the debug word is set.
#ifndef VEXA_ALIGN_DEBUG_PICTURES_H
#define VEXA_ALIGN_DEBUG_PICTURES_H

#include <cstdint>

#include "vexalib/correlation.h"
#include "vexalib/types.h"

namespace vexa
{

// Both images of a search with their boxes and what was found; from two levels on also the level of both on which the
// search began.
// x and y are shifts between the images, `found` of each, or null.
void showSearch(const PatternPyramid& pattern, const PatternPyramid& search, int32_t levels, int32_t found,
                const float* x, const float* y);

// imDef minus imRef at an offset, and the boxes to align on.
void showMisregistration(int32_t imDef, int32_t imRef, const VexaPointF& offset, const VexaBox& xBox,
                         const VexaBox& yBox, const VexaBox& both);

} // namespace vexa

#endif
