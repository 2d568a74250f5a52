// The geometry of a made plate, in quarters of a pixel.
#ifndef VEXA_APPS_SYNTH_PATTERN_H
#define VEXA_APPS_SYNTH_PATTERN_H

#include <cstdint>
#include <string>
#include <vector>

namespace app
{

// Pixels times kFine are the units of all coordinates here.
inline constexpr int32_t kFine = 4;

// A generator of which every bit is described, so that all machines draw the same.
class Random
{
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t next();
    // A number from low to high, both included.
    int32_t between(int32_t low, int32_t high);

private:
    uint64_t state_;
};

// A rectangle or an ellipse in it, half open, that is painted opaque or clear.
struct Shape {
    int32_t left, top, right, bottom;
    bool opaque;
    bool round = false;
};

// A place where a defect of a kind can be planted: what to paint over the pattern.
struct Site {
    std::string kind;
    std::vector<Shape> paint;
    double size;
};

struct Pattern {
    std::vector<Shape> shapes; // painted in order on a clear plate
    std::vector<Site> sites;
};

// A square plate of so many pixels a side, filled with fields of lines, contacts, elbows and line ends.
Pattern makePattern(Random& random, int32_t size);

} // namespace app

#endif
