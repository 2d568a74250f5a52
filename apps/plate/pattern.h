// The pattern of a made plate, and where on it defects can be planted.
#ifndef VEXA_APPS_PLATE_PATTERN_H
#define VEXA_APPS_PLATE_PATTERN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "plate/shape.h"

namespace plate
{

// So many pixels beyond the picture, each way, the pattern goes on.
inline constexpr int32_t kBeyond = 96;

enum class PatternKind {
    fields, // fields of lines, contacts, elbows and line ends; a small picture shows the meeting of four of them
    contacts, // clear squares on opaque ground, at one pitch both ways
    lines     // opaque lines
};

struct PatternSettings {
    PatternKind kind = PatternKind::fields;
    int32_t size = 1024;  // pixels a side of the picture that is to be taken, 64 or more
    double pitch = 48.0;  // pixels, of contacts and lines
    double duty = 0.5;    // share of the pitch that a contact is wide, or that is opaque
    bool upright = false; // the lines run along y
    // Size of each defect in pixels, drawn from this range; none: what suits its kind.
    struct Range {
        double low, high;
    };
    std::optional<Range> defectSize;
};

// A place where a defect of a kind can be planted: what to paint over the pattern.
struct Site {
    std::string kind; // "pin dot"
    std::vector<Shape> paint;
    double size; // pixels; what it measures depends on the kind
};

struct Pattern {
    std::vector<Shape> shapes; // painted in order on a clear plate
    std::vector<Site> sites;
};

Pattern makePattern(Random& random, const PatternSettings& settings);

} // namespace plate

#endif
