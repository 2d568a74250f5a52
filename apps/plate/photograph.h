// Photographs of a plate, each with a camera of its own.
#ifndef VEXA_APPS_PLATE_PHOTOGRAPH_H
#define VEXA_APPS_PLATE_PHOTOGRAPH_H

#include <cstdint>
#include <vector>

#include "plate/shape.h"

namespace plate
{

// How a photograph is taken. The pixel whose centre is at p sees the place
//
//     c + R (p - c) + shift + distortion * (b(v), b(u))
//
// of the plate, where c is the middle of the picture, R turns by the rotation from x towards y, u and v run from -1 to 1
// over the picture's columns and rows, and b(t) = 1.5 * sqrt(3) * t * (1 - t * t), which lies between -1 and 1 and is 0
// in the middle and at the ends. With shift s the picture at x thus shows what another one without shift has at x + s;
// what enters at its border is the plate beyond it. Its light is, with f running from 0 at the top left to 1 at the
// bottom right corner,
//
//     gain * (1 - gradient / clear * f) * (transmission, from opaque to clear) + offset
//
// and the variance of its noise is noise^2 + shotNoise^2 * light / clear.
struct Camera {
    double shiftX = 0.0; // pixels, rounded to 1/kUnit: the truth is what snapped() gives
    double shiftY = 0.0;
    double rotation = 0.0;   // degrees, -1 to 1
    double distortion = 0.0; // pixels
    double focus =
        1.4; // deviation of the Gaussian blur in pixels, 0.3 or more; a pixel's own width comes on top
    double clear = 196.0; // grey levels
    double opaque = 48.0;
    double gradient = 0.0; // grey levels by which clear glass is darker at the bottom right
    double gain = 1.0;
    double offset = 0.0;
    double noise = 0.0;     // deviation in grey levels
    double shotNoise = 0.0; // deviation in grey levels on clear glass
    uint64_t noiseSeed = 0;
};

struct Place {
    double x, y;
};
// Which place of the plate a place in a square picture shows, and the other way round; pixels, 0.5 a first pixel's centre.
Place seen(Place inPicture, int32_t size, const Camera& camera);
Place shown(Place onPlate, int32_t size, const Camera& camera);

// A square grey picture, row by row.
struct Picture {
    int32_t size = 0;
    std::vector<uint8_t> bytes;
};
// The shapes are painted in order on a clear plate.
Picture photograph(const std::vector<Shape>& shapes, int32_t size, const Camera& camera);
// The same before noise and rounding, in grey levels.
std::vector<float> light(const std::vector<Shape>& shapes, int32_t size, const Camera& camera);

} // namespace plate

#endif
