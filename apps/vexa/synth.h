// A made plate: a reference picture, a defect picture, and what was planted where.
#ifndef VEXA_APPS_SYNTH_H
#define VEXA_APPS_SYNTH_H

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"

namespace app
{

struct Planted {
    std::string kind; // "pin dot"
    VexaBox box = {};
    double size = 0.0; // pixels; what it measures depends on the kind
};

struct Plate {
    Pixels reference;
    Pixels defect;
    std::vector<Planted> planted;
    double shiftX = 0.0; // of the defect picture against the reference, in pixels
    double shiftY = 0.0;
};

// The same numbers give the same bytes on every machine: no floating-point arithmetic goes into a pixel.
Plate makePlate(uint64_t seed, int32_t size, int32_t defects);
std::string truthJson(const Plate& plate, uint64_t seed);

} // namespace app

#endif
