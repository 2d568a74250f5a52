#include "optics/kernel_table.h"
#include "platform/platform.h"
#include "tests/support/recording_display.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace
{

using namespace vexa::test;

constexpr int32_t kFftSize = 16;

class KernelReport : public testing::Test
{
protected:
    KernelReport() { FreeKernels(); }
    ~KernelReport() override
    {
        FreeKernels();
        vexa::setCurrentKernel(nullptr);
        I_SetROIType(0);
        I_ImCloseAll();
        clearError();
    }

    static float* transfer(float first, float step)
    {
        auto* row = static_cast<float*>(std::calloc(kFftSize, sizeof(float)));
        for (int32_t i = 0; i < kFftSize / 2; ++i)
            row[kFftSize / 2 + i] = first - step * static_cast<float>(i);
        return row;
    }

    // A kernel of 5 by 3 and the lens that it belongs to.
    static Kernel* lensKernel()
    {
        Kernel* kernel = vexa::newTableKernel();
        kernel->R0 = 2.5F;
        kernel->sigma = 0.6F;
        kernel->isigma = 0.25F;
        kernel->focus = 1.5F;
        kernel->srcR0 = 4.0F;
        kernel->srcSigma = 0.5F;
        kernel->srcIsigma = 0.125F;
        kernel->type = 2.0F;
        kernel->LensDiaPix = 12.5F;
        kernel->ErrFrac = 0.0625F;
        kernel->fftSize = kFftSize;
        const float real[15] = {0, 0, 0, 0, 0, 0, 20, 40, 20, 0, 0, 0, 0, 0, 0};
        const VexaPointF complex[15] = {};
        I_MakeComplexKernel(kernel, 5, 3, real, complex);
        kernel->imLens = floatImage(kFftSize, kFftSize, [](int32_t x, int32_t y) { return x + y; });
        kernel->imIllum = byteImage(20, 10, [](int32_t x, int32_t y) { return 10 * x + y; });
        return kernel;
    }

    static std::string clipboard()
    {
        char text[4096] = {};
        vexa::platform::fetchClipboard(VEXA_CLIPBOARD_TEXT, text, sizeof text);
        return text;
    }

    const RecordingDisplay display_;
};
class LiteralKernelReport : public KernelReport
{
};
class FailuresKernelReport : public KernelReport
{
};

TEST_F(LiteralKernelReport, TextGoesToTheClipboard)
{
    Kernel* kernel = lensKernel();
    EXPECT_EQ(kernel->imLens, I_DisplayKernel());
    EXPECT_EQ(2.0F, kernel->fwhm) << "half of the peak is one sample away";
    const std::string head = "Kernel: 5 x 3 fwhm=2.00\n"
                             "R0=2.5 sigma = 0.60 0.25 type=2 FocusR=1.5\n"
                             "SrcR0=4.0 SrcSigma = 0.50 0.12 \n"
                             "LensDiaPix=12.5 ksize/R0=2.0 ErrFrac=0.062\n"
                             "0.0\t 500.0\t 1000.0\t 500.0\t 0.0\n"
                             "Effective Lens OTF. Center to right:\n";
    EXPECT_EQ(head, clipboard());
    kernel->srcOTF = transfer(2.0F, 0.5F);
    kernel->projOTF = transfer(1.0F, 0.125F);
    kernel->ratioOTF = transfer(0.0F, 1.0F);
    I_DisplayKernel();
    EXPECT_EQ(head + "Source Lens\t1000.0\t 750.0\t 500.0\t 250.0\n"
                     "Proj Lens\t1000.0\t 875.0\t 750.0\t 625.0\n"
                     "Proj / Src\t0.0\t -1000.0\t -2000.0\t -3000.0\n",
              clipboard());
}

TEST_F(LiteralKernelReport, LensAndIlluminationAreShownAt256Pixels)
{
    const Kernel* kernel = lensKernel();
    const std::vector<uint8_t> before = bytesOf(kernel->imLens);
    const int32_t count = I_ImCount();
    I_SetWindowROI(1, 1, 2, 2);
    I_DisplayKernel();
    EXPECT_EQ(1, I_GetROIType());
    EXPECT_EQ(count, I_ImCount());
    EXPECT_EQ(before, bytesOf(kernel->imLens));
    ASSERT_EQ(2U, display_.drawings.size());
    const Drawing& lens = display_.drawings[0];
    EXPECT_EQ(kFftSize, lens.cols);
    EXPECT_EQ(256, lens.stretch.targetWidth);
    EXPECT_EQ(256, lens.stretch.targetHeight);
    EXPECT_EQ(0, lens.at(0, 0));
    EXPECT_GE(lens.at(15, 15), 250) << "normalised over the whole lens";
    const Drawing& illumination = display_.drawings[1];
    EXPECT_EQ(257, illumination.stretch.targetX);
    EXPECT_EQ(320, illumination.stretch.targetWidth);
    EXPECT_EQ(bytesOf(kernel->imIllum), illumination.bytes);
}

TEST_F(FailuresKernelReport, NoKernelAndNoLens)
{
    EXPECT_EQ(0, I_DisplayKernel());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    vexa::newTableKernel();
    EXPECT_EQ(0, I_DisplayKernel()) << "a kernel without anything in it";
    EXPECT_EQ(0U, clipboard().find("Kernel: 0 x 0 fwhm=0.00\n"));
    EXPECT_TRUE(display_.drawings.empty());
}

TEST_F(FailuresKernelReport, WithoutMemory)
{
    Kernel* kernel = lensKernel();
    kernel->srcOTF = transfer(2.0F, 0.5F);
    const int32_t count = I_ImCount();
    const Messages messages;
    forEachFailingAllocation([] { return I_DisplayKernel(); },
                             [&](int64_t result) { EXPECT_EQ(kernel->imLens, result); });
    EXPECT_EQ(count, I_ImCount());
    EXPECT_EQ(0, display_.openTargets);
}

} // namespace
