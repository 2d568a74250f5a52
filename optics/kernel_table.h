// The table of lens kernels as the lens model uses it: five records, the newest first, and what they are made with.
#ifndef VEXA_OPTICS_KERNEL_TABLE_H
#define VEXA_OPTICS_KERNEL_TABLE_H

#include <cstdint>

#include "vexalib/kernels.h"

namespace vexa
{

// What a kernel is found by, beside the transform size, the precision and the file of a file aperture.
struct LensParameters {
    float R0;
    float sigma;
    float isigma;
    float type;
    float focus;
    float srcR0;
    float srcSigma;
    float srcIsigma;
};

// The illumination type whose aperture comes from a file.
inline constexpr float kFileAperture = 99.0F;

// A zeroed record at the front of the table, which becomes the current kernel; the oldest one is freed. Null without
// memory, the table as it was.
Kernel* newTableKernel();
// The newest record with exactly these parameters becomes the current kernel. A record holds 0 for a source lens that
// was dropped, and is found only with 0.
bool findKernel(const LensParameters& lens);

Kernel* currentKernel();
void setCurrentKernel(Kernel* kernel);

// The row through the centre of a kernel, or its column where it has no other.
struct CentreRow {
    const float* row;
    int32_t width;

    explicit CentreRow(const Kernel& kernel);
    const float* centre() const { return row ? row + width / 2 : nullptr; }
    int32_t fromCentre() const { return width - width / 2; }
    // Samples from the centre outward to a level; negative where it is not crossed.
    float edge(float level) const;
};

bool hasElements(const Kernel* kernel);

// What kernels are made with.
float kernelPrecision();
int32_t kernelFftSize();
const char* illumFileName();
int32_t apertureImage();

} // namespace vexa

#endif
