// A made plate: its pattern, and what was planted where.
#ifndef VEXA_APPS_PLATE_PLATE_H
#define VEXA_APPS_PLATE_PLATE_H

#include <cstdint>
#include <string>
#include <vector>

#include "plate/pattern.h"
#include "plate/photograph.h"
#include "plate/shape.h"

namespace plate
{

// On the plate, in pixels; half open.
struct Box {
    double left, top, right, bottom;
};
// What of a picture shows a box of the plate: the box around its corners.
Box shown(const Box& onPlate, int32_t size, const Camera& camera);

struct Planted {
    std::string kind; // "pin dot"
    Box box = {};
    double size = 0.0; // pixels; what it measures depends on the kind
    std::vector<Shape> paint;
};

struct PlateSettings {
    uint64_t seed = 1;
    PatternSettings pattern;
    int32_t defects = 16; // as many as find room
    double frame = 10.0;  // pixels along the border that stay without defects
};

struct Plate {
    int32_t size = 0;
    std::vector<Shape> shapes; // of the good plate
    std::vector<Planted> planted;

    std::vector<Shape> withDefects() const;
};

// Draws pattern and defects; the same settings give the same plate.
Plate makePlate(const PlateSettings& settings);

} // namespace plate

#endif
