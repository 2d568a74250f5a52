// Pixels of an image at positions of 1/32 pixel: shared by rotation, profiles and pixel lists.
#ifndef VEXA_GEOMETRY_SAMPLER_H
#define VEXA_GEOMETRY_SAMPLER_H

#include <cstdint>

#include "support/buffer.h"

namespace vexa
{

// Positions have 5 fractional bits.
inline constexpr int32_t kStepBits = 5;
inline constexpr int32_t kSteps = 1 << kStepBits;

enum class Sampling { nearest, linearBytes, linearFloat };

// How an image is sampled. Valid until the image's pixels move or its row table is asked for again.
struct SamplerContext {
    uint8_t* out = nullptr;  // where the next pixel goes
    uint8_t* data = nullptr; // the first row
    void** rows = nullptr; // the image's own rows or a private copy; entries -1 and rowCount are rows as well
    Buffer<uint8_t> ownCopy; // empty where the image's own rows are used
    int32_t rowBytes = 0;    // distance between rows
    int32_t pixelBytes = 0;
    int32_t pixelType = 0;   // may differ from the one asked for
    bool isByteLike = false; // pixels are made of bytes
    int32_t cols = 0;
    int32_t rowCount = 0;
    Sampling sampling = Sampling::nearest;

    // The highest positions that may be sampled.
    int64_t maxX() const { return (int64_t{cols} - 1) * kSteps; }
    int64_t maxY() const { return (int64_t{rowCount} - 1) * kSteps; }
};

// Writes the pixel at a position from 0 to maxX, maxY to context.out, which it does not move.
using Sampler = void (*)(const SamplerContext& context, int32_t x32, int32_t y32);

// Fills the context and returns the sampler; null, with an error left, without an image or without memory for
// the private copy ("Malloc failed: RotatePrep %.1f MBytes").
[[nodiscard]] Sampler rotatePrep(int32_t im, int32_t pixelType, int32_t smooth, SamplerContext& context);

} // namespace vexa

#endif
