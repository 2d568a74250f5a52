// What a plate is painted with.
//
// Pixels come out alike on every machine: beside integers there is only floating-point addition, subtraction,
// multiplication, division and square root, which IEEE 754 rounds in one way, in an order that stands in the source and
// with nothing fused.
#ifndef VEXA_APPS_PLATE_SHAPE_H
#define VEXA_APPS_PLATE_SHAPE_H

#include <cstdint>
#include <vector>

namespace plate
{

// Coordinates on the plate are whole numbers of this part of a pixel; pixel 0 of a picture reaches from 0 to kUnit.
inline constexpr int32_t kUnit = 1024;
constexpr int32_t units(int32_t pixels)
{
    return pixels * kUnit;
}
// The nearest place that can be told: pixels rounded to units.
double snapped(double pixels);

// A rectangle or the ellipse in it, half open, that is painted opaque or clear.
struct Shape {
    int32_t left, top, right, bottom;
    bool opaque;
    bool round = false;
};

// Vigna's splitmix64: a generator of which every bit is described.
class Random
{
public:
    explicit Random(uint64_t seed) : state_(seed) {}
    uint64_t next()
    {
        uint64_t z = state_ += 0x9E3779B97F4A7C15ULL;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    // A number from low to high, both included.
    int32_t between(int32_t low, int32_t high);
    // Mean 0, deviation 1, bell-shaped, never beyond 8.1.
    double bell();

private:
    uint64_t state_;
};

// Opaque stretches of a line across the plate, sorted and apart.
struct Stretch {
    int32_t left, right;
};
void paint(std::vector<Stretch>& line, Stretch stretch, bool opaque);

} // namespace plate

#endif
