#include "optics/kernel_table.h"

#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"
#include "vexalib/listing.h"

namespace
{

using namespace vexa::test;

class KernelTable : public testing::Test
{
protected:
    void SetUp() override { FreeKernels(); }
    void TearDown() override
    {
        FreeKernels();
        vexa::setCurrentKernel(nullptr);
        I_SetKernelPrecision(0.02F, 128);
        I_ImCloseAll();
        clearError();
    }

    // A kernel in the table as the lens model leaves it.
    static Kernel* made(float R0, float type = 0.0F)
    {
        Kernel* kernel = vexa::newTableKernel();
        kernel->R0 = R0;
        kernel->sigma = 0.5F;
        kernel->type = type;
        kernel->fftSize = 1 << 7;
        kernel->precision = vexa::kernelPrecision();
        std::snprintf(kernel->illumFile, sizeof kernel->illumFile, "%s", vexa::illumFileName());
        return kernel;
    }
    static vexa::LensParameters lens(float R0, float type = 0.0F)
    {
        return {R0, 0.5F, 0.0F, type, 0.0F, 0.0F, 0.0F, 0.0F};
    }
    // A kernel whose centre row falls from 1000 by 300 a sample, twice as fast in the rows beside it.
    static Kernel* tent(int32_t cols, int32_t rows)
    {
        Kernel* kernel = made(3.0F);
        std::vector<float> real;
        std::vector<VexaPointF> complex;
        for (int32_t y = 0; y < rows; ++y) {
            for (int32_t x = 0; x < cols; ++x) {
                const int32_t steps = std::abs(x - cols / 2) + (cols == 1 ? 1 : 2) * std::abs(y - rows / 2);
                real.push_back(static_cast<float>(std::max(1000 - 300 * steps, 0)));
                complex.push_back({1.0F, 0.0F});
            }
        }
        return I_MakeComplexKernel(kernel, cols, rows, real.data(), complex.data());
    }
};
class LiteralKernelTable : public KernelTable
{
};
class FailuresKernelTable : public KernelTable
{
};

TEST_F(LiteralKernelTable, ASixthKernelFreesTheOldest)
{
    const int32_t im = byteImage(3, 3);
    made(1.0F)->imLens = im;
    for (int32_t i = 2; i <= 5; ++i)
        made(static_cast<float>(i));
    EXPECT_TRUE(vexa::findKernel(lens(1.0F)));
    EXPECT_EQ(1, I_ImValid(im));
    Kernel* sixth = made(6.0F);
    EXPECT_EQ(sixth, vexa::currentKernel());
    EXPECT_EQ(0, I_ImValid(im));
    EXPECT_FALSE(vexa::findKernel(lens(1.0F)));
    EXPECT_EQ(sixth, vexa::currentKernel()) << "nothing found changes nothing";
    for (int32_t i = 2; i <= 6; ++i) {
        EXPECT_TRUE(vexa::findKernel(lens(static_cast<float>(i)))) << i;
        EXPECT_EQ(static_cast<float>(i), vexa::currentKernel()->R0);
    }
    EXPECT_EQ(5, FreeKernels());
    EXPECT_EQ(0, FreeKernels());
}

TEST_F(LiteralKernelTable, EveryParameterMustBeTheSame)
{
    made(4.0F);
    const auto missed = [](auto change) {
        vexa::LensParameters other = lens(4.0F);
        change(other);
        return !vexa::findKernel(other);
    };
    EXPECT_TRUE(vexa::findKernel(lens(4.0F)));
    EXPECT_TRUE(missed([](auto& l) { l.R0 = 4.0001F; }));
    EXPECT_TRUE(missed([](auto& l) { l.sigma = 0.6F; }));
    EXPECT_TRUE(missed([](auto& l) { l.isigma = 0.1F; }));
    EXPECT_TRUE(missed([](auto& l) { l.type = 1.0F; }));
    EXPECT_TRUE(missed([](auto& l) { l.focus = 1.0F; }));
    EXPECT_TRUE(missed([](auto& l) { l.srcR0 = 1.0F; }));
    EXPECT_TRUE(missed([](auto& l) { l.srcSigma = 1.0F; }));
    EXPECT_TRUE(missed([](auto& l) { l.srcIsigma = 1.0F; }));
}

TEST_F(LiteralKernelTable, PrecisionAndTransformSizeArePartOfTheSearch)
{
    made(4.0F);
    EXPECT_EQ(0.02F, I_SetKernelPrecision(0.01F, 0));
    EXPECT_FALSE(vexa::findKernel(lens(4.0F)));
    EXPECT_EQ(0.01F, I_SetKernelPrecision(0.02F, 1));
    EXPECT_EQ(128, vexa::kernelFftSize());
    EXPECT_TRUE(vexa::findKernel(lens(4.0F)));
    I_SetKernelPrecision(0.02F, 255); // the next lower power of 2 counts
    EXPECT_EQ(255, vexa::kernelFftSize());
    EXPECT_TRUE(vexa::findKernel(lens(4.0F)));
    I_SetKernelPrecision(0.02F, 256);
    EXPECT_FALSE(vexa::findKernel(lens(4.0F)));
}

TEST_F(LiteralKernelTable, FileAperturesAreFoundByTheirName)
{
    const int32_t im = byteImage(3, 3);
    EXPECT_EQ(5, I_SetIllumApertureImage(im, "a.src"));
    EXPECT_STREQ("a.src", vexa::illumFileName());
    const int32_t copy = vexa::apertureImage();
    EXPECT_NE(0, copy);
    EXPECT_NE(im, copy);
    made(4.0F, 99.0F);
    made(5.0F, 1.0F);
    EXPECT_TRUE(vexa::findKernel(lens(4.0F, 99.0F)));
    EXPECT_EQ(5, I_SetIllumApertureImage(im, "b.src"));
    EXPECT_EQ(0, I_ImValid(copy) && copy != vexa::apertureImage());
    EXPECT_FALSE(vexa::findKernel(lens(4.0F, 99.0F)));
    EXPECT_TRUE(vexa::findKernel(lens(5.0F, 1.0F)));
    EXPECT_EQ(300, I_SetIllumApertureImage(im, std::string(300, 'x').c_str()));
    EXPECT_EQ(255U, std::strlen(vexa::illumFileName()));
    EXPECT_EQ(0, I_SetIllumApertureImage(im, ""));
}

TEST_F(LiteralKernelTable, TheListGoesToTheTrace)
{
    made(2.0F)->cols = 21;
    made(3.25F, 1.0F);
    vexa::findKernel(lens(2.0F));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, ListKernels());
    const std::string listed = testing::internal::GetCapturedStderr();
    EXPECT_EQ("Kernels. Most recent = 1\n"
              "0 R0=3.25, sigma=0.50 isigma=0.00 type=1.00 kcols=0 prec=0.0200 Illum=\n"
              "1 R0=2.00, sigma=0.50 isigma=0.00 type=0.00 kcols=21 prec=0.0200 Illum=\n\n",
              listed);
}

TEST_F(LiteralKernelTable, TheCentreRowAsText)
{
    Kernel* kernel = tent(5, 3);
    ASSERT_NE(nullptr, kernel);
    EXPECT_EQ(1, I_GetKernel(nullptr, 7, 0));
    EXPECT_NEAR(2.0 * 5.0 / 3.0, kernel->fwhm, 1e-5); // 1000, 700, 400: 500 lies at 1.667
    char text[400] = {};
    EXPECT_EQ(1, I_GetKernel(text, 0, 0));
    EXPECT_EQ("1000.0\t 700.0\t 400.0", std::string(text).substr(0, 20));
    char whole[400] = {};
    EXPECT_EQ(1, I_GetKernel(whole, 0, 1));
    EXPECT_EQ(2, std::count(whole, whole + std::strlen(whole), '\n'));
    EXPECT_NE(nullptr, std::strstr(whole, "400.0\t 700.0\t 1000.0\t 700.0\t 400.0"));
}

TEST_F(LiteralKernelTable, DiametersAtAFraction)
{
    EXPECT_EQ(0.0, I_KernelDiameter(0.5F));
    tent(5, 3);
    EXPECT_NEAR(10.0 / 3.0, I_KernelDiameter(0.5F), 1e-5);
    EXPECT_NEAR(2.0, I_KernelDiameter(0.7F), 1e-5);
    EXPECT_EQ(5.0, I_KernelDiameter(0.999F));
    EXPECT_EQ(5.0, I_KernelDiameter(0.0009F));
    EXPECT_EQ(5.0, I_KernelDiameter(0.2F)); // not crossed
    EXPECT_EQ(5.0, I_KernelDiameter(0.9F)); // closer than half a sample
    tent(1, 7);
    EXPECT_NEAR(10.0 / 3.0, I_KernelDiameter(0.5F), 1e-5);
    EXPECT_EQ(7.0, I_KernelDiameter(0.01F)); // not crossed
    EXPECT_EQ(1.0, I_KernelDiameter(1.0F));
}

TEST_F(LiteralKernelTable, TheImagesOfTheCurrentKernel)
{
    int32_t imLens = -7;
    float ratio = -7.0F;
    float dia = -7.0F;
    EXPECT_EQ(0, I_GetImIllumination(&imLens, &ratio, &dia));
    EXPECT_EQ(-7, imLens);
    Kernel* kernel = made(2.0F);
    kernel->imLens = byteImage(2, 2);
    kernel->imIllum = byteImage(2, 2);
    kernel->LensDiaPix = 16.0F;
    EXPECT_EQ(kernel->imIllum, I_GetImIllumination(&imLens, &ratio, &dia));
    EXPECT_EQ(kernel->imLens, imLens);
    EXPECT_EQ(8.0F, ratio); // sigma below 1 counts as 1
    EXPECT_EQ(16.0F, dia);
    kernel->sigma = 2.0F;
    EXPECT_EQ(kernel->imIllum, I_GetImIllumination(nullptr, &ratio, nullptr));
    EXPECT_EQ(4.0F, ratio);
    kernel->LensDiaPix = 0.0F;
    I_GetImIllumination(nullptr, &ratio, nullptr);
    EXPECT_NEAR(128.0 / 3.0, ratio, 1e-4);
}

TEST_F(FailuresKernelTable, WithoutAKernel)
{
    char text[40] = "x";
    EXPECT_EQ(0, I_GetKernel(text, 0, 1));
    EXPECT_EQ("Kernel not defined", errorText());
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_STREQ("x", text);
    // What was freed is read no more.
    clearError();
    tent(5, 3);
    EXPECT_EQ(1, FreeKernels());
    EXPECT_EQ(0, I_GetKernel(text, 0, 1));
    EXPECT_EQ(0.0, I_KernelDiameter(0.5F));
    EXPECT_EQ(0, I_GetImIllumination(nullptr, nullptr, nullptr));
}

TEST_F(FailuresKernelTable, WithoutMemory)
{
    const int32_t im = byteImage(3, 3);
    forEachFailingAllocation([&] { return int64_t{I_SetIllumApertureImage(im, "name")}; },
                             [](int64_t result) {
                                 EXPECT_EQ(4, result);
                                 EXPECT_STREQ("name", vexa::illumFileName());
                             });
    forEachFailingAllocation([] { return int64_t{vexa::newTableKernel() != nullptr}; },
                             [](int64_t result) { EXPECT_EQ(0, result); });
}

} // namespace
