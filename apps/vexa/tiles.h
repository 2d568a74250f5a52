// Alignment tile by tile, where the shift is not the same everywhere.
#ifndef VEXA_APPS_TILES_H
#define VEXA_APPS_TILES_H

#include "underlay.h"

namespace app
{

// Moves the tiles of the underlaid reference that differ from the defect picture to where they fit, and subtracts them
// anew. With AlignMode::automatic only where that makes a tile clearly more alike.
void alignTiles(Underlaid& under, const Image& defect, const InspectSettings& settings);

} // namespace app

#endif
