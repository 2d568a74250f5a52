// The report on a kernel for an engineer: numbers as text, the lens and its illumination as pictures.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "core/image_table.h"
#include "core/roi.h"
#include "optics/kernel_table.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/display.h"
#include "vexalib/listing.h"
#include "vexalib/status.h"
#include "vexalib/threshold.h"

namespace vexa
{
namespace
{

constexpr int64_t kHeadCharacters = 2000;
constexpr int64_t kNumberCharacters = 48; // of the largest float and a tab

void writeHead(const Kernel& k, char* text)
{
    const auto d = [](float value) { return static_cast<double>(value); };
    const int32_t width = k.cols == 1 ? k.rows : k.cols;
    std::snprintf(text, kHeadCharacters,
                  "Kernel: %d x %d fwhm=%.2f\nR0=%.1f sigma = %.2f %.2f type=%d FocusR=%.1f\n"
                  "SrcR0=%.1f SrcSigma = %.2f %.2f \nLensDiaPix=%.1f ksize/R0=%.1f ErrFrac=%.3f\n",
                  k.cols, k.rows, d(k.fwhm), d(k.R0), d(k.sigma), d(k.isigma), truncToInt32(d(k.type)),
                  d(k.focus), d(k.srcR0), d(k.srcSigma), d(k.srcIsigma), d(k.LensDiaPix),
                  width / std::max(d(k.R0), 0.1), d(k.ErrFrac));
}

// A quarter of a transfer function from its centre on, 1000 at the centre.
void appendTransfer(char* text, const char* name, const float* row, int32_t fftSize)
{
    const int32_t count = fftSize / 4;
    if (!row || count < 1)
        return;
    const float* const centre = row + fftSize / 2;
    Buffer<float> scaled(count);
    if (malloctest(scaled.data(), "I_DisplayKernel"))
        return;
    for (int32_t i = 0; i < count; ++i)
        scaled[i] = static_cast<float>(1000.0 * static_cast<double>(centre[i]) /
                                       static_cast<double>(centre[0] != 0.0F ? centre[0] : 1.0F));
    std::strcat(text, name);
    FormatArray(text, scaled.data(), sizeof(float), count, 1, "%.1f\t");
    std::strcat(text, "\n");
}

void writeReport(const Kernel& k, char* text)
{
    writeHead(k, text);
    if (hasElements(&k)) {
        const CentreRow centre(k);
        FormatArray(text, centre.row, sizeof(float), centre.width, 1, "%.1f\t");
    }
    std::strcat(text, "\nEffective Lens OTF. Center to right:\n");
    appendTransfer(text, "Source Lens\t", k.srcOTF, k.fftSize);
    appendTransfer(text, "Proj Lens\t", k.projOTF, k.fftSize);
    appendTransfer(text, "Proj / Src\t", k.ratioOTF, k.fftSize);
}

void copyReport(const Kernel& k)
{
    const bool hasTransfer = k.srcOTF || k.projOTF || k.ratioOTF;
    const int64_t transfers = hasTransfer ? 3 * std::max<int64_t>(k.fftSize / 4, 0) : 0;
    const int64_t numbers = std::max<int64_t>(std::max(k.cols, k.rows), 0) + transfers;
    Buffer<char> text(kHeadCharacters + numbers * kNumberCharacters);
    if (malloctest(text.data(), "I_DisplayKernel"))
        return;
    writeReport(k, text.data());
    I_SetClipboardText(text.data());
}

// The effective lens and its illumination.
void showLens(const Kernel& k)
{
    if (k.imLens == 0)
        return;
    const ImageGuard lens(I_CloneImageEx(k.imLens, PIX_BYTE, 0, "_DisplayKernel"));
    {
        const RoiTypeGuard whole(kRoiFullFrame);
        I_NormalizeROI(k.imLens, lens.get());
    }
    DisplayImages(k.fftSize > 0 ? 256.0F / static_cast<float>(k.fftSize) : 0.0F, lens.get(), k.imIllum, 0);
}

} // namespace
} // namespace vexa

int32_t I_DisplayKernel()
{
    using namespace vexa;
    const Kernel* const kernel = currentKernel();
    if (!kernel)
        return 0;
    I_GetKernel(nullptr, 0, 0);
    showLens(*kernel);
    copyReport(*kernel);
    return kernel->imLens;
}
