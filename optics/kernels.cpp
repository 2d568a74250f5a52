#include "vexalib/kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/convolution.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace
{

// Releases an array of a record.
template <typename T>
void drop(T*& array)
{
    std::free(array);
    array = nullptr;
}

void dropForms(Kernel& kernel)
{
    drop(kernel.kernelData);
    drop(kernel.displayData);
    drop(kernel.spareArray);
    drop(kernel.complexData);
}

template <typename T>
T* newArray(int64_t count)
{
    return static_cast<T*>(vexa::allocateForCaller(count, sizeof(T)));
}

bool makeForms(Kernel& kernel, int64_t count)
{
    kernel.kernelData = newArray<float>(count);
    kernel.displayData = newArray<float>(count);
    kernel.spareArray = newArray<VexaPointF>(count);
    kernel.complexData = newArray<VexaPointF>(count);
    const bool room = kernel.kernelData && kernel.displayData && kernel.spareArray && kernel.complexData;
    if (!malloctest(room ? kernel.complexData : nullptr, "I_MakeComplexKernel: %d",
                    vexa::saturateToInt32(count)))
        return true;
    dropForms(kernel);
    return false;
}

struct Sums {
    double most = 0.0; // largest magnitude
    double sum = 0.0;
    double squares = 0.0;
};

Sums sumsOf(const float* real, int64_t count)
{
    Sums sums;
    for (int64_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(real[i]);
        sums.most = std::max(sums.most, std::fabs(value));
        sums.sum += value;
        sums.squares += value * value;
    }
    return sums;
}

double scaleOf(const Sums& sums, float isigma)
{
    const double scale = 1.0 / std::max(std::fabs(sums.sum), 0.0001);
    const double t = sums.sum / std::sqrt(sums.squares) / 1.5;
    return isigma > 0.9F && t <= 1.0 ? scale * t : scale;
}

void normaliseComplex(VexaPointF* to, const VexaPointF* from, int64_t count, double scale)
{
    double re = 0.0;
    double im = 0.0;
    for (int64_t i = 0; i < count; ++i) {
        to[i] = {static_cast<float>(static_cast<double>(from[i].x) * scale),
                 static_cast<float>(static_cast<double>(from[i].y) * scale)};
        re += static_cast<double>(to[i].x);
        im += static_cast<double>(to[i].y);
    }
    const double gain = 1.0 / std::max(std::hypot(re, im), 0.001);
    for (int64_t i = 0; i < count; ++i)
        to[i] = {static_cast<float>(static_cast<double>(to[i].x) * gain),
                 static_cast<float>(static_cast<double>(to[i].y) * gain)};
}

// A profile and its centre.
struct Profile {
    const double* values;
    int32_t length;
    int32_t centre;

    // The value at a distance from the centre, on the side where position lies.
    double at(int32_t position, double distance) const
    {
        const double place = position < centre ? centre - distance : centre + distance;
        const int32_t index = vexa::truncToInt32(place);
        return values && index >= 0 && index < length ? values[index] : 0.0;
    }
};

int32_t blurElement(const Profile& x, const Profile& y, int32_t i, int32_t j)
{
    const double dx = std::abs(i - x.centre);
    const double dy = std::abs(j - y.centre);
    const double distance = std::hypot(dx, dy);
    const double w = distance == 0.0 ? 0.5 : dx / (dx + dy);
    return vexa::truncToInt32(((1.0 - w) * y.at(j, distance) + w * x.at(i, distance)) * 1000.0);
}

} // namespace

Kernel* I_MakeComplexKernel(Kernel* kernel, int32_t cols, int32_t rows, const float* real,
                            const VexaPointF* complex)
{
    if (!real || !complex)
        return nullptr;
    Kernel* record = kernel ? kernel : newArray<Kernel>(1);
    const int64_t count = std::max<int64_t>(cols, 0) * std::max<int64_t>(rows, 0);
    if (malloctest(record, "I_MakeComplexKernel: %d", vexa::saturateToInt32(count)))
        return nullptr;
    record->cols = cols;
    record->rows = rows;
    dropForms(*record);
    if (!makeForms(*record, count)) {
        if (!kernel)
            std::free(record);
        return nullptr;
    }
    const Sums sums = sumsOf(real, count);
    const double scale = scaleOf(sums, record->isigma);
    for (int64_t i = 0; i < count; ++i) {
        const double value = static_cast<double>(real[i]);
        record->displayData[i] = static_cast<float>(value * 1000.0 / sums.most);
        record->kernelData[i] = static_cast<float>(value * scale);
    }
    normaliseComplex(record->complexData, complex, count, scale);
    return record;
}

int32_t I_FreeKernel(Kernel* kernel)
{
    if (!kernel)
        return 0;
    for (const int32_t im :
         {kernel->imLens, kernel->imSpread, kernel->imIllum, kernel->imFurther[0], kernel->imFurther[1]})
        if (im != 0)
            I_ImClose(im);
    dropForms(*kernel);
    drop(kernel->furtherArray);
    drop(kernel->projOTF);
    drop(kernel->srcOTF);
    drop(kernel->ratioOTF);
    std::free(kernel);
    return 1;
}

void I_CustomBlurKernel(int32_t M, int32_t N, const double* xProfile, const double* yProfile,
                        int32_t** kernel, int32_t* sum)
{
    if (sum)
        *sum = 0;
    if (!kernel)
        return;
    std::free(*kernel);
    const int32_t cols = std::max(M, 1);
    const int32_t rows = std::max(N, 1);
    *kernel = newArray<int32_t>(int64_t{cols} * rows);
    if (malloctest(*kernel, "I_CustomBlurKernel"))
        return;
    const Profile x = {xProfile, cols, cols / 2};
    const Profile y = {yProfile, rows, rows / 2};
    int32_t total = 0;
    int32_t* element = *kernel;
    for (int32_t j = 0; j < rows; ++j) {
        for (int32_t i = 0; i < cols; ++i) {
            *element = blurElement(x, y, i, j);
            total = vexa::wrapAdd(total, *element++);
        }
    }
    if (sum)
        *sum = total;
}

int32_t I_CustomSmooth(int32_t imSrc, int32_t imDest, int32_t M, int32_t N, const double* xProfile,
                       const double* yProfile)
{
    int32_t* kernel = nullptr;
    int32_t sum = 0;
    I_CustomBlurKernel(M, N, xProfile, yProfile, &kernel, &sum);
    const int32_t status = I_MxNConvolve(M, N, kernel, sum, imSrc, imDest);
    std::free(kernel);
    return status;
}
