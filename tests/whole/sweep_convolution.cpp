#include "tests/whole/sweep.h"

#include <cstdlib>

#include "optics/kernel_table.h"
#include "vexalib/convolution.h"
#include "vexalib/kernels.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// Sizes whose kernel fits into a buffer, and sizes without a kernel.
int32_t side(Stage& s)
{
    return s.pick({kLowest, -3, 0, 1, 2, 3, 4, 7, 15});
}
int32_t madeSide(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 2, 9, 40, 121});
}
double blur(Stage& s)
{
    return s.random() % 2 ? REAL(s) : s.pick({0.1, 0.9, 2.0, 4.5});
}
double diameter(Stage& s)
{
    return s.random() % 2 ? REAL(s) : s.pick({0.1, 2.0, 7.5, -1.9, 300.0});
}

// A kernel of the buffers' contents, sometimes without its arrays.
Kernel kernelRecord(Stage& s)
{
    Kernel kernel = {};
    kernel.cols = side(s);
    kernel.rows = side(s);
    kernel.kernelData = static_cast<float*>(OUT(s));
    kernel.complexData = static_cast<VexaPointF*>(OUT(s));
    return kernel;
}

double fraction(Stage& s)
{
    return s.random() % 2 ? REAL(s) : s.pick({0.1, 0.5, 0.9});
}

// Leaves a current kernel of any size behind, or none.
void tableKernel(Stage& s)
{
    if (s.random() % 3 == 0) {
        FreeKernels();
        return;
    }
    Kernel* kernel = newTableKernel();
    if (!kernel || s.random() % 4 == 0)
        return;
    kernel->LensDiaPix = static_cast<float>(REAL(s));
    I_MakeComplexKernel(kernel, side(s), side(s), static_cast<float*>(BUF(s)),
                        static_cast<VexaPointF*>(BUF(s)));
}

} // namespace

std::vector<SweptFunction> sweptConvolution()
{
    return {
        {"I_MxNConvolve",
         [](Stage& s) {
             auto* kernel = static_cast<int32_t*>(OUT(s));
             const bool column = s.random() % 8 == 0;
             I_MxNConvolve(column ? 1 : side(s), column ? 1025 : side(s), kernel,
                           s.pick({0, 1, -1, 16, -300, 32768, kHighest, kLowest}), IM(s), IM(s));
         }},
        {"I_Convolve",
         [](Stage& s) {
             const Kernel kernel = kernelRecord(s);
             I_Convolve(IM(s), IM(s), s.random() % 8 ? &kernel : nullptr, TYPE(s));
         }},
        {"I_MakeGaussianKernel",
         [](Stage& s) {
             int32_t* kernel = nullptr;
             int32_t sum = 0;
             I_MakeGaussianKernel(madeSide(s), madeSide(s), blur(s), REAL(s),
                                  s.random() % 8 ? &kernel : nullptr, s.random() % 3 ? &sum : nullptr);
             std::free(kernel);
         }},
        swept("I_GaussianSmooth2", I_GaussianSmooth2, IM, IM, blur, REAL),
        swept("I_GaussianSmooth", I_GaussianSmooth, IM, IM, blur),
        {"I_SetGaussianKernelSize",
         [](Stage& s) {
             const float before = I_SetGaussianKernelSize(static_cast<float>(REAL(s)));
             I_GaussianSmooth(IM(s), IM(s), blur(s));
             I_SetGaussianKernelSize(before);
         }},
        swept("I_CircleSmooth", I_CircleSmooth, IM, IM, diameter),
        {"I_FillCircle",
         [](Stage& s) {
             I_FillCircle(IM(s), static_cast<float>(s.random() % 2 ? XY(s) : REAL(s)),
                          static_cast<float>(XY(s)), static_cast<float>(REAL(s)),
                          static_cast<float>(diameter(s)));
         }},
        {"I_MakeComplexKernel",
         [](Stage& s) {
             I_FreeKernel(I_MakeComplexKernel(nullptr, side(s), side(s), static_cast<float*>(OUT(s)),
                                              static_cast<VexaPointF*>(OUT(s))));
         }},
        {"I_FreeKernel",
         [](Stage& s) {
             auto* kernel = static_cast<Kernel*>(std::calloc(1, sizeof(Kernel)));
             kernel->imLens = IM(s);
             kernel->imFurther[1] = IM(s);
             I_FreeKernel(s.random() % 2 ? kernel : (std::free(kernel), nullptr));
         }},
        {"I_CustomBlurKernel",
         [](Stage& s) {
             int32_t* kernel = nullptr;
             int32_t sum = 0;
             I_CustomBlurKernel(madeSide(s), madeSide(s), static_cast<double*>(OUT(s)),
                                static_cast<double*>(OUT(s)), s.random() % 8 ? &kernel : nullptr,
                                s.random() % 3 ? &sum : nullptr);
             std::free(kernel);
         }},
        swept("I_CustomSmooth", I_CustomSmooth, IM, IM, side, side, OUT, OUT),
        {"FreeKernels", [](Stage& s) { tableKernel(s), FreeKernels(); }},
        {"ListKernels", [](Stage& s) { tableKernel(s), ListKernels(); }},
        {"I_GetKernel",
         [](Stage& s) {
             char text[20000] = {};
             tableKernel(s);
             I_GetKernel(s.random() % 3 ? text : nullptr, MODE(s), MODE(s));
         }},
        {"I_KernelDiameter",
         [](Stage& s) { tableKernel(s), I_KernelDiameter(static_cast<float>(fraction(s))); }},
        {"I_GetImIllumination",
         [](Stage& s) {
             tableKernel(s);
             I_GetImIllumination(static_cast<int32_t*>(OUT(s)), static_cast<float*>(OUT(s)),
                                 static_cast<float*>(OUT(s)));
         }},
        swept("I_SetKernelPrecision", I_SetKernelPrecision, REAL, MODE),
        swept("I_SetIllumApertureImage", I_SetIllumApertureImage, IM, TEXT0),
    };
}

} // namespace vexa::test
