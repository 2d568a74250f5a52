#include "optics/kernel_table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/buffer.h"
#include "support/trace.h"
#include "vexalib/block.h"
#include "vexalib/edge_location.h"
#include "vexalib/image.h"
#include "vexalib/listing.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr std::size_t kTableKernels = 5;
constexpr std::size_t kFileNameSize = sizeof(Kernel::illumFile);

struct State {
    std::array<Kernel*, kTableKernels> table = {}; // slot 0 is the newest
    Kernel* current = nullptr;
    int32_t mostRecent = 0; // slot of the last kernel found
    float precision = 0.02F;
    int32_t fftSize = 128;
    char illumFile[kFileNameSize] = {};
    int32_t imAperture = 0;
};
State state;

bool matches(const Kernel& kernel, const LensParameters& lens)
{
    const bool sameLens = kernel.R0 == lens.R0 && kernel.sigma == lens.sigma &&
                          kernel.isigma == lens.isigma && kernel.type == lens.type &&
                          kernel.focus == lens.focus && kernel.srcR0 == lens.srcR0 &&
                          kernel.srcSigma == lens.srcSigma && kernel.srcIsigma == lens.srcIsigma;
    const int32_t fftSize = 1 << std::clamp(ilog2(state.fftSize), 0, 30);
    const bool sameFile =
        lens.type != kFileAperture || std::strncmp(kernel.illumFile, state.illumFile, kFileNameSize) == 0;
    return sameLens && kernel.fftSize == fftSize && kernel.precision == state.precision && sameFile;
}

void copyName(char (&to)[kFileNameSize], const char* from)
{
    std::snprintf(to, sizeof to, "%s", from);
}

} // namespace

CentreRow::CentreRow(const Kernel& kernel)
    : row(kernel.displayData), width(kernel.cols == 1 ? kernel.rows : kernel.cols)
{
    if (row && kernel.cols != 1)
        row += int64_t{kernel.rows / 2} * kernel.cols;
}

float CentreRow::edge(float level) const
{
    return I_FindEdgeType(centre(), fromCentre(), 0, 1, level, PIX_FLOAT);
}

bool hasElements(const Kernel* kernel)
{
    return kernel && kernel->cols >= 1 && kernel->rows >= 1;
}

Kernel* newTableKernel()
{
    auto* kernel = static_cast<Kernel*>(allocateForCaller(1, sizeof(Kernel)));
    if (!kernel)
        return nullptr;
    I_FreeKernel(state.table.back());
    std::move_backward(state.table.begin(), state.table.end() - 1, state.table.end());
    state.table.front() = kernel;
    state.current = kernel;
    return kernel;
}

bool findKernel(const LensParameters& lens)
{
    for (std::size_t slot = 0; slot < kTableKernels; ++slot) {
        Kernel* const kernel = state.table[slot];
        if (!kernel || !matches(*kernel, lens))
            continue;
        state.current = kernel;
        state.mostRecent = static_cast<int32_t>(slot);
        return true;
    }
    return false;
}

Kernel* currentKernel()
{
    return state.current;
}

void setCurrentKernel(Kernel* kernel)
{
    state.current = kernel;
}

float kernelPrecision()
{
    return state.precision;
}

int32_t kernelFftSize()
{
    return state.fftSize;
}

const char* illumFileName()
{
    return state.illumFile;
}

int32_t apertureImage()
{
    return state.imAperture;
}

} // namespace vexa

int32_t FreeKernels()
{
    using namespace vexa;
    int32_t freed = 0;
    for (Kernel*& kernel : state.table) {
        // A kernel that is gone can be read no more: without it the read-outs find none.
        if (kernel == state.current)
            state.current = nullptr;
        freed += I_FreeKernel(kernel);
        kernel = nullptr;
    }
    return freed;
}

int32_t ListKernels()
{
    using namespace vexa;
    char text[4096];
    int32_t length = std::snprintf(text, sizeof text, "Kernels. Most recent = %d\n", state.mostRecent);
    for (std::size_t slot = 0; slot < kTableKernels; ++slot) {
        const Kernel* const k = state.table[slot];
        if (!k || length >= static_cast<int32_t>(sizeof text))
            continue;
        length += std::snprintf(
            text + length, sizeof text - static_cast<std::size_t>(length),
            "%d R0=%.2f, sigma=%.2f isigma=%.2f type=%.2f kcols=%d prec=%.4f Illum=%.255s\n",
            static_cast<int32_t>(slot), static_cast<double>(k->R0), static_cast<double>(k->sigma),
            static_cast<double>(k->isigma), static_cast<double>(k->type), k->cols,
            static_cast<double>(k->precision), k->illumFile);
    }
    I_SetClipboardText(text);
    debugTrace("%s", text);
    return 0;
}

int32_t I_GetKernel(char* text, int32_t, int32_t whole)
{
    using namespace vexa;
    Kernel* const kernel = state.current;
    if (!kernel) {
        I_SetError(1, "Kernel not defined");
        return 0;
    }
    if (!hasElements(kernel))
        return 1;
    const CentreRow centre(*kernel);
    kernel->fwhm = 2.0F * centre.edge(500.0F);
    if (!text)
        return 1;
    if (whole != 0) {
        const int64_t count = int64_t{kernel->cols} * kernel->rows;
        FormatArray(text, kernel->displayData, sizeof(float), centre.width,
                    static_cast<int32_t>(count / centre.width), "%.1f\t");
    } else {
        FormatArray(text, centre.centre(), sizeof(float), centre.fromCentre(), 1, "%.1f\t");
    }
    return 1;
}

double I_KernelDiameter(float fraction)
{
    using namespace vexa;
    const Kernel* const kernel = state.current;
    if (!hasElements(kernel))
        return 0.0;
    if (fraction >= 0.999F || fraction < 0.001F)
        return kernel->cols;
    const CentreRow centre(*kernel);
    const auto edge = static_cast<double>(centre.edge(fraction * 1000.0F));
    return edge >= 0.5 ? 2.0 * edge : centre.width;
}

int32_t I_GetImIllumination(int32_t* imLens, float* ratio, float* lensDia)
{
    using namespace vexa;
    const Kernel* const kernel = state.current;
    if (!kernel)
        return 0;
    if (imLens)
        *imLens = kernel->imLens;
    if (lensDia)
        *lensDia = kernel->LensDiaPix;
    const float disc = std::max(1.0F, kernel->sigma) * kernel->LensDiaPix;
    if (ratio)
        *ratio = static_cast<float>(kernel->fftSize) / std::max(3.0F, disc);
    return kernel->imIllum;
}

float I_SetKernelPrecision(float precision, int32_t fftSize)
{
    using namespace vexa;
    const float previous = state.precision;
    state.precision = precision;
    if (fftSize > 1)
        state.fftSize = fftSize;
    return previous;
}

int32_t I_SetIllumApertureImage(int32_t image, const char* name)
{
    using namespace vexa;
    const char* const given = name ? name : "";
    copyName(state.illumFile, given);
    if (state.imAperture != 0)
        I_ImClose(state.imAperture);
    state.imAperture = I_CloneImageEx(image, 0, 1, "imAperture (global copy)");
    return static_cast<int32_t>(std::strlen(given));
}
