// Clipping of a line to a box, for lines of any precision.
#ifndef VEXA_GRAPHICS_CLIP_LINE_H
#define VEXA_GRAPHICS_CLIP_LINE_H

#include "graphics/line_walker.h"

namespace vexa
{

// I_ClipLine on doubles.
bool clipLine(VexaPoint lo, VexaPoint hi, LineEnd* p1, LineEnd* p2);

} // namespace vexa

#endif
