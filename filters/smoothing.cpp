#include "vexalib/smoothing.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

#include "core/image_table.h"
#include "filters/nine_point.h"
#include "operators/row_choice.h"
#include "operators/working_type.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

#define VEXA_ROWS_FILE "filters/smoothing_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{

NinePointFilter meanFilter()
{
    return VEXA_ROWS(kMean);
}

NinePointFilter sharpenFilter()
{
    const auto& rows = VEXA_ROWS(kSharpenRows);
    return {rows.choose(PIX_BYTE).function, rows.choose(PIX_FLOAT).function};
}

namespace
{

// Bytes, or floats for all other types.
int32_t runNinePoints(const NinePointFilter& filter, int32_t imSrc, int32_t imDest, int32_t size, void* user,
                      bool bytes)
{
    return runFrame(imSrc, imDest, size, size, user, bytes ? filter.bytes : filter.floats,
                    bytes ? PIX_BYTE : PIX_FLOAT, FrameOutput::straight);
}

} // namespace
} // namespace vexa

int32_t I_Smooth(int32_t imSrc, int32_t imDest)
{
    using namespace vexa;
    I_TellProgress(0.0F, 0.0F, "Smooth");
    const bool bytes = NarrowestPixelType(orNoImage(imSrc), orNoImage(imDest), kNoImage, 1) < PIX_WORD;
    return runNinePoints(meanFilter(), imSrc, imDest, 3, nullptr, bytes);
}

int32_t I_Sharpen(int32_t imSrc, int32_t imDest, int32_t strength, int32_t width, int32_t noCentre)
{
    using namespace vexa;
    const bool bytes = widestType(imSrc, imDest) == PIX_BYTE;
    if (width < 1)
        return I_SetError(1, "I_Sharpen: width=%d", width);
    const int32_t size = saturateToInt32(2 * int64_t{width} + 1);
    SharpenParams params = {strength, noCentre};
    return runNinePoints(sharpenFilter(), imSrc, imDest, size, &params, bytes);
}

int32_t I_UnsharpMask(int32_t imSrc, int32_t imDest, float width, float height, float gain)
{
    using namespace vexa;
    const ImageGuard low(I_CloneImageEx(imSrc, PIX_FLOAT, 0, "ImLow"));
    if (low.get() == 0)
        return 0;
    {
        const BorderModeGuard border(-2);
        I_MxNSmooth(imSrc, low.get(), width, height);
    }
    float mean = 0.0F;
    I_PixelStats(low.get(), nullptr, nullptr, &mean, nullptr);
    I_Subtract(imSrc, low.get(), low.get(), 0, 0);
    const double factor = gain <= 0.1F ? 1.0 : double{gain};
    I_ScaleIntensityROI(low.get(), imDest, double{mean} / factor, factor);
    return 1;
}
