// Pyramids of the boxes that are searched for and in.
#ifndef VEXA_ALIGN_PATTERN_PYRAMID_H
#define VEXA_ALIGN_PATTERN_PYRAMID_H

#include <cstdint>

#include "support/buffer.h"
#include "vexalib/correlation.h"

namespace vexa
{

inline constexpr int32_t kPyramidLevels = 8;
inline constexpr int32_t kPyramidRecordSize = 184; // the mark of a complete record, whatever its size is here

// A kept pyramid and its pixels.
class PyramidSlot
{
public:
    // The pyramid of a box, the kept one if it still fits, or null with the error. Fills the zeros in the box.
    PatternPyramid* reuseOrLearn(VexaBox& box, int32_t image, bool isPattern);
    void clear() { block_ = {}; }

private:
    bool stillFits(const VexaBox& box, int32_t image);
    PatternPyramid* record() { return reinterpret_cast<PatternPyramid*>(block_.data()); }

    Buffer<uint8_t> block_;
};

// Whether a pattern can be told from its surroundings on a level, and a search has room for it there.
bool isUsableLevel(const PatternPyramid& pattern, const PatternPyramid& search, int32_t level);

} // namespace vexa

#endif
