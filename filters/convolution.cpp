#include "vexalib/convolution.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/pixel_types.h"
#include "filters/frame.h"
#include "filters/integer_kernel.h"
#include "operators/row_choice.h"
#include "operators/working_type.h"
#include "support/numbers.h"
#include "support/trace.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Kernels of the float and complex row functions, row by row.
struct FloatKernel {
    const float* weights;
};
struct ComplexKernel {
    const ComplexPixel* weights;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "filters/convolution_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

using vexa::Buffer;
using vexa::ComplexPixel;
using vexa::FrameOutput;

constexpr int32_t kMostRows = 1024;

// A kernel as it was handed over, of at least one row and column.
struct GivenKernel {
    int32_t* weights;
    int32_t width;
    int32_t height;
    int32_t divisor;

    int64_t count() const { return int64_t{width} * height; }
};

// The images and the sizes as they were handed over, which the frame reports where they are below 1.
struct Run {
    int32_t imSrc;
    int32_t imDest;
    int32_t width;
    int32_t height;

    int32_t operator()(vexa::FrameFilter filter, int32_t type, void* kernel) const
    {
        I_TellProgress(0.0F, 0.0F, "Convolve");
        return vexa::runFrame(imSrc, imDest, width, height, kernel, filter, type, FrameOutput::straight);
    }
};

bool noMemory(const void* block, int64_t bytes)
{
    return malloctest(block, "I_MxNConvolve: %d", vexa::saturateToInt32(bytes)) != 0;
}

int32_t divisorFromSum(const int32_t* weights, int64_t count)
{
    int32_t sum = 0;
    for (int64_t i = 0; i < count; ++i)
        sum = vexa::wrapAdd(sum, weights[i]);
    return sum < 0 ? vexa::wrapSubtract(0, sum) : sum;
}

// A kernel without elements passes the image through: the frame runs with sizes of 1, and there is nothing to read.
bool passThrough(GivenKernel& kernel, Buffer<int32_t>& weights)
{
    constexpr int64_t kMostElements = int64_t{1} << 24;
    kernel.width = std::max(kernel.width, 1);
    kernel.height = std::max(kernel.height, 1);
    kernel.divisor = 1;
    const int64_t count = kernel.count();
    weights = Buffer<int32_t>(count <= kMostElements ? count : -1);
    if (noMemory(weights.data(), count * 4))
        return false;
    weights[count / 2] = 1;
    kernel.weights = weights.data();
    return true;
}

int32_t convolveIntegers(const Run& run, const GivenKernel& kernel, int32_t type)
{
    const int32_t highest = type == PIX_BYTE ? 255 : 65535;
    const auto row = VEXA_ROWS(kIntegerRows).choose(type);
    int32_t columns = 0;
    I_GetMinSize2(&columns, nullptr, nullptr, nullptr, run.imSrc, run.imDest);
    vexa::IntegerKernel prepared = {};
    if (!vexa::prepareKernel(prepared, kernel.weights, kernel.width, kernel.height, kernel.divisor, highest,
                             columns, VEXA_ROWS(kSumForms)))
        return 0;
    return run(row.function, type, &prepared);
}

int32_t convolveFloats(const Run& run, const GivenKernel& kernel)
{
    if (kernel.width == 3 && kernel.height == 3) {
        vexa::IntegerKernel whole = {};
        whole.weights = kernel.weights;
        whole.quotient = vexa::quotientFor(kernel.divisor, INT32_MAX, false);
        return run(VEXA_ROWS(kWholeFloatRows).choose(PIX_FLOAT).function, PIX_FLOAT, &whole);
    }
    Buffer<float> weights(kernel.count());
    if (noMemory(weights.data(), kernel.count() * 4))
        return 0;
    for (int64_t i = 0; i < kernel.count(); ++i)
        weights[i] = static_cast<float>(kernel.weights[i]) / static_cast<float>(kernel.divisor);
    vexa::FloatKernel normalised = {weights.data()};
    return run(VEXA_ROWS(kFloatRows).choose(PIX_FLOAT).function, PIX_FLOAT, &normalised);
}

auto complexClip()
{
    return static_cast<std::size_t>(vexa::clipState().complex);
}

// Required: the complex filter takes the whole weights for pairs of floats, row by row; it finds zeros behind the last.
int32_t convolveComplex(const Run& run, const GivenKernel& kernel)
{
    const int32_t mode = I_SetComplexMode(1);
    I_SetError(-1, "I_MxNConvolve does not support complex images yet");
    I_SetComplexMode(mode);
    Buffer<ComplexPixel> weights(kernel.count());
    if (noMemory(weights.data(), kernel.count() * static_cast<int64_t>(sizeof(ComplexPixel))))
        return 0;
    for (int32_t row = 0; row < kernel.height; ++row) {
        const int64_t start = int64_t{row} * kernel.width;
        const int64_t present = std::min<int64_t>(2 * int64_t{kernel.width}, kernel.count() - start);
        std::memcpy(&weights[start], kernel.weights + start, static_cast<std::size_t>(present) * 4);
    }
    vexa::ComplexKernel bits = {weights.data()};
    return run(VEXA_ROWS(kComplexRows)[complexClip()], PIX_COMPLEX, &bits);
}

bool isReal(const ComplexPixel* weights, int64_t count)
{
    return std::none_of(weights, weights + count, [](ComplexPixel k) {
        return std::fabs(static_cast<double>(k.re)) < 20.0 * std::fabs(static_cast<double>(k.im));
    });
}

} // namespace

int32_t I_MxNConvolve(int32_t M, int32_t N, int32_t* kernel, int32_t divisor, int32_t imSrc, int32_t imDest)
{
    if (!kernel)
        return 0;
    const Run run = {imSrc, imDest, M, N};
    GivenKernel given = {kernel, M, N, divisor};
    Buffer<int32_t> passing;
    if (M < 1 || N < 1) {
        if (!passThrough(given, passing))
            return 0;
    } else if (divisor == 0) {
        given.divisor = divisorFromSum(kernel, given.count());
        if (given.divisor == 0) {
            // Required: the caller's kernel changes, so that a derivative comes out as the image itself.
            kernel[given.count() / 2] = 1;
            given.divisor = 1;
        }
    }
    if (N > kMostRows) {
        I_SetError(12, "mxnconv ksize=%d,%d", M, N);
        return 0;
    }
    const int32_t type = vexa::widestType(imSrc, imDest);
    if (type == PIX_BYTE || type == PIX_WORD)
        return convolveIntegers(run, given, type);
    if (type == PIX_COMPLEX)
        return convolveComplex(run, given);
    return convolveFloats(run, given);
}

int32_t I_Convolve(int32_t imSrc, int32_t imDest, const Kernel* kernel, int32_t pixelType)
{
    if (!kernel)
        return 0;
    if (kernel->cols < 1 || kernel->rows < 1) {
        I_SetError(27, "I_Convolve Kernel size=%d x %d", kernel->cols, kernel->rows);
        return 0;
    }
    if (pixelType != PIX_FLOAT && pixelType != PIX_COMPLEX) {
        vexa::debugTrace("I_Convolve: illegal type=%d", pixelType);
        return 0;
    }
    const auto run = [&](vexa::FrameFilter filter, void* weights) {
        return vexa::runFrame(imSrc, imDest, kernel->cols, kernel->rows, weights, filter, pixelType,
                              FrameOutput::straight);
    };
    if (pixelType == PIX_FLOAT) {
        vexa::FloatKernel weights = {kernel->kernelData};
        return weights.weights ? run(VEXA_ROWS(kFloatRows).choose(PIX_FLOAT).function, &weights) : 0;
    }
    static_assert(sizeof(VexaPointF) == sizeof(ComplexPixel));
    vexa::ComplexKernel weights = {reinterpret_cast<const ComplexPixel*>(kernel->complexData)};
    if (!weights.weights)
        return 0;
    const bool real = isReal(weights.weights, int64_t{kernel->cols} * kernel->rows);
    return run((real ? VEXA_ROWS(kRealKernelRows) : VEXA_ROWS(kComplexRows))[complexClip()], &weights);
}
