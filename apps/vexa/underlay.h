// The reference brought under the defect picture, and the difference of the two.
#ifndef VEXA_APPS_UNDERLAY_H
#define VEXA_APPS_UNDERLAY_H

#include "image.h"
#include "inspect.h"

namespace app
{

struct Underlaid {
    Image reference;     // moved; what has no source shows the defect picture itself
    Image difference;    // defect minus reference, around 128
    VexaBox window = {}; // where the reference has a source, within the region
};

// Moves the reference by one shift, or by a shift for each tile where that fits clearly better.
Underlaid layUnder(const Image& reference, const Image& defect, const Alignment& alignment,
                   const InspectSettings& settings);

// Restricts the library's operators to a window while it lives.
class WindowRegion
{
public:
    explicit WindowRegion(const VexaBox& box);
    ~WindowRegion();
    WindowRegion(const WindowRegion&) = delete;
    WindowRegion& operator=(const WindowRegion&) = delete;
};

} // namespace app

#endif
