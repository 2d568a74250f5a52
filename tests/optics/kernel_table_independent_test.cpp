// The table of kernels and its read-outs against their descriptions.
#include "optics/kernel_table.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/edge_location.h"
#include "vexalib/kernels.h"

using namespace vexa;
using namespace vexa::test;

namespace
{

// A record in the table whose display values fall by a slope from 1000 at the centre, along its columns or rows.
Kernel* falling(int32_t cols, int32_t rows, float slope)
{
    std::vector<float> real;
    std::vector<VexaPointF> pairs(static_cast<std::size_t>(cols * rows), VexaPointF{1, 0});
    for (int32_t j = 0; j < rows; ++j)
        for (int32_t i = 0; i < cols; ++i)
            real.push_back(
                100 - slope * static_cast<float>(std::max(std::abs(i - cols / 2), std::abs(j - rows / 2))));
    return I_MakeComplexKernel(newTableKernel(), cols, rows, real.data(), pairs.data());
}

TEST(IndependentKernelTable, HasNothingToReadAtFirst)
{
    FreeKernels();
    int32_t lens = -5;
    float ratio = -5, dia = -5;
    clearError();
    EXPECT_EQ(I_KernelDiameter(0.5f), 0.0);
    EXPECT_EQ(I_GetImIllumination(&lens, &ratio, &dia), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    char text[10] = "";
    EXPECT_EQ(I_GetKernel(text, 0, 1), 0);
    EXPECT_EQ(I_GetError(nullptr, 0), 1);
    EXPECT_EQ(errorText(), "Kernel not defined");
    EXPECT_EQ(FreeKernels(), 0);
    clearError();
}

TEST(IndependentKernelTable, KeepsTheFiveNewest)
{
    FreeKernels();
    const int32_t images = I_ImCount();
    for (int32_t k = 0; k < 7; ++k) {
        Kernel* kernel = newTableKernel();
        ASSERT_NE(kernel, nullptr);
        EXPECT_EQ(currentKernel(), kernel);
        EXPECT_EQ(kernel->cols, 0);
        EXPECT_EQ(kernel->R0, 0.0f);
        kernel->R0 = static_cast<float>(k);
        kernel->fftSize = 128;
        kernel->precision = 0.02f;
        kernel->imLens = byteImage(2, 2);
    }
    EXPECT_EQ(I_ImCount(), images + 5); // the oldest two are freed
    I_SetKernelPrecision(0.02f, 128);
    for (int32_t k = 0; k < 7; ++k) {
        Kernel* before = currentKernel();
        EXPECT_EQ(findKernel({static_cast<float>(k), 0, 0, 0, 0, 0, 0, 0}), k >= 2);
        if (k >= 2)
            EXPECT_EQ(currentKernel()->R0, static_cast<float>(k));
        else
            EXPECT_EQ(currentKernel(), before);
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(ListKernels(), 0);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("Kernels. Most recent = 0\n0 R0=6.00, sigma=0.00 isigma=0.00 type=0.00 kcols=0 "
                        "prec=0.0200 Illum=\n"
                        "1 R0=5.00, sigma"),
              std::string::npos)
        << told;
    EXPECT_TRUE(findKernel({3, 0, 0, 0, 0, 0, 0, 0}));
    newTableKernel(); // does not change what was found last
    testing::internal::CaptureStderr();
    ListKernels();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("Kernels. Most recent = 3\n0 R0=0.00"),
              std::string::npos);
    EXPECT_EQ(FreeKernels(), 5);
    EXPECT_EQ(FreeKernels(), 0);
    EXPECT_EQ(I_ImCount(), images);
}

TEST(IndependentKernelTable, FindsByTheWholeSet)
{
    FreeKernels();
    const int32_t aperture = byteImage(3, 3, [](int32_t x, int32_t) { return x; });
    EXPECT_EQ(I_SetIllumApertureImage(aperture, "ring.src"), 8);
    const auto make = [] {
        Kernel* kernel = newTableKernel();
        kernel->R0 = 1, kernel->sigma = 2, kernel->isigma = 3, kernel->type = 4, kernel->focus = 5;
        kernel->srcR0 = 6, kernel->srcSigma = 7, kernel->srcIsigma = 8, kernel->fftSize = 64,
        kernel->precision = 0.25f;
        return kernel;
    };
    Kernel* kernel = make();
    I_SetKernelPrecision(0.25f, 127); // 64 is the power of two below
    const LensParameters lens = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(findKernel(lens));
    for (float LensParameters::*field :
         {&LensParameters::R0, &LensParameters::sigma, &LensParameters::isigma, &LensParameters::type,
          &LensParameters::focus, &LensParameters::srcR0, &LensParameters::srcSigma,
          &LensParameters::srcIsigma}) {
        LensParameters other = lens;
        other.*field = std::nextafter(other.*field, 100.0f);
        EXPECT_FALSE(findKernel(other));
    }
    EXPECT_EQ(I_SetKernelPrecision(0.24f, 0), 0.25f); // the size stays
    EXPECT_FALSE(findKernel(lens));
    EXPECT_EQ(I_SetKernelPrecision(0.25f, 1), 0.24f);
    EXPECT_TRUE(findKernel(lens));
    I_SetKernelPrecision(0.25f, 128);
    EXPECT_FALSE(findKernel(lens));
    I_SetKernelPrecision(0.25f, 64);
    EXPECT_TRUE(findKernel(lens)); // the file counts with type 99 only
    kernel->type = 99;
    const LensParameters file = {1, 2, 3, 99, 5, 6, 7, 8};
    EXPECT_FALSE(findKernel(file));
    std::strcpy(kernel->illumFile, "ring.src");
    EXPECT_TRUE(findKernel(file));
    EXPECT_NE(apertureImage(), aperture);
    EXPECT_EQ(bytesOf(apertureImage()), bytesOf(aperture));
    char comment[100] = "";
    EXPECT_GT(I_ImGetComment(comment, sizeof comment, apertureImage()), 0);
    EXPECT_STREQ(comment, "imAperture (global copy)");
    const int32_t kept = apertureImage();
    const std::string name(300, 'x');
    EXPECT_EQ(I_SetIllumApertureImage(aperture, name.c_str()), 300);
    EXPECT_EQ(std::string(illumFileName()), name.substr(0, 255));
    EXPECT_TRUE(apertureImage() != kept || I_ImValid(kept));
    I_SetKernelPrecision(0.02f, 128);
    FreeKernels();
    I_ImClose(aperture);
}

TEST(IndependentKernelTable, ReadsOut)
{
    FreeKernels();
    Kernel* kernel = falling(11, 9, 16); // 1000 840 680 520 360: 500 is crossed at 3.125
    char text[2000] = "";
    EXPECT_EQ(I_GetKernel(nullptr, 0, 0), 1);
    EXPECT_FLOAT_EQ(kernel->fwhm, 6.25f);
    EXPECT_EQ(I_GetKernel(text, 0, 0), 1);
    EXPECT_STREQ(text, "1000.0\t 840.0\t 680.0\t 520.0\t 360.0\t 200.0");
    text[0] = 0;
    EXPECT_EQ(I_GetKernel(text, 0, 1), 1);
    const std::string whole = text;
    EXPECT_EQ(std::count(whole.begin(), whole.end(), '\n'), 8);
    EXPECT_EQ(whole.rfind("200.0\t 360.0\t 360.0\t 360.0", 0), 0u);
    EXPECT_FLOAT_EQ(static_cast<float>(I_KernelDiameter(0.5f)), 6.25f);
    EXPECT_FLOAT_EQ(static_cast<float>(I_KernelDiameter(0.84f)), 2.0f);
    EXPECT_EQ(I_KernelDiameter(0.999f), 11.0);
    EXPECT_EQ(I_KernelDiameter(0.0009f), 11.0);
    EXPECT_EQ(I_KernelDiameter(0.95f), 11.0); // nearer than half a pixel
    EXPECT_EQ(I_KernelDiameter(0.1f), 11.0);  // not crossed
    kernel = falling(1, 11, 16);              // along its rows
    EXPECT_FLOAT_EQ(static_cast<float>(I_KernelDiameter(0.5f)), 6.25f);
    EXPECT_EQ(I_KernelDiameter(0.95f), 11.0);
    EXPECT_EQ(I_KernelDiameter(1.0f), 1.0); // the columns
    text[0] = 0;
    EXPECT_EQ(I_GetKernel(text, 7, 0), 1);
    EXPECT_STREQ(text, "1000.0\t 840.0\t 680.0\t 520.0\t 360.0\t 200.0");
    kernel->fftSize = 128, kernel->LensDiaPix = 20, kernel->sigma = 1.6f;
    kernel->imLens = byteImage(2, 2), kernel->imIllum = byteImage(2, 2);
    int32_t lens = 0;
    float ratio = 0, dia = 0;
    EXPECT_EQ(I_GetImIllumination(&lens, &ratio, &dia), kernel->imIllum);
    EXPECT_EQ(lens, kernel->imLens);
    EXPECT_FLOAT_EQ(ratio, 4.0f);
    EXPECT_EQ(dia, 20.0f);
    kernel->sigma = 0.5f;
    I_GetImIllumination(nullptr, &ratio, nullptr);
    EXPECT_FLOAT_EQ(ratio, 6.4f);
    kernel->LensDiaPix = 2;
    I_GetImIllumination(nullptr, &ratio, nullptr);
    EXPECT_FLOAT_EQ(ratio, 128.0f / 3);
    FreeKernels();
}

} // namespace
