#include "vexalib/align1d.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "align/image_size.h"
#include "measure/store_output.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/numeric.h"
#include "vexalib/profile.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr float kLargestStart = 100000.0F;
constexpr float kLeastQuality = 0.2F;
constexpr float kRefinedQuality = 0.25F;
constexpr float kLeastShift = 0.51F; // that is worth a second pass
constexpr float kRangeMargin = 0.1F;
constexpr double kSlack = 0.5; // by which a result may pass its range
constexpr int32_t kWhite = 255;
constexpr int32_t kLeastLag = 15;
constexpr int32_t kLongestWithoutRepeat = 5;

struct AxisProperties {
    float repeat = 0.0F;
    float repeatQuality = 0.0F;
    float contrast = 0.0F;
    float step = 0.0F;
};

struct State {
    AxisProperties x;
    AxisProperties y;
};
State state;

struct AlignBox {
    int64_t x, y, cols, rows;
    bool operator==(const AlignBox&) const = default;
};

// Start and length of a box on one axis, such that it lies in an image of defSize and, moved by the offset, in one of
// refSize.
void cropAxis(int64_t& start, int64_t& length, int64_t offset, int32_t defSize, int32_t refSize)
{
    if (length <= 0)
        length += std::min<int64_t>(defSize, refSize - offset) - start;
    const int64_t below = std::max({-start, -(start + offset), int64_t{0}});
    start += below;
    length -= below;
    length = std::min({length, defSize - start, refSize - offset - start});
}

bool adjustBox(AlignBox& box, int32_t ox, int32_t oy, int32_t imDef, int32_t imRef)
{
    constexpr int32_t kLeastOverlap = 5;
    constexpr int64_t kLeastSide = 3;
    const ImageSize def = sizeOf(imDef), ref = sizeOf(imRef);
    if (std::abs(int64_t{ox}) >= ref.cols - kLeastOverlap ||
        std::abs(int64_t{oy}) >= ref.rows - kLeastOverlap)
        return false;
    cropAxis(box.x, box.cols, ox, def.cols, ref.cols);
    cropAxis(box.y, box.rows, oy, def.rows, ref.rows);
    if (box.cols < 1 || box.rows < 1)
        return false;
    if (box.cols < kLeastSide && box.rows < kLeastSide) {
        I_SetError(1, "ImageAlign1D: box too small after cropping=%d x %d. xy=%d,%d; imSize=%d,%d",
                   static_cast<int32_t>(box.cols), static_cast<int32_t>(box.rows),
                   static_cast<int32_t>(box.x), static_cast<int32_t>(box.y), def.cols, def.rows);
        return false;
    }
    return true;
}

// Column sums and row sums of a box in both images.
class Profiles
{
public:
    [[nodiscard]] bool makeRoom(const AlignBox& box)
    {
        cols_ = static_cast<int32_t>(box.cols);
        rows_ = static_cast<int32_t>(box.rows);
        const int64_t needed = 2 * (box.cols + box.rows);
        if (needed > block_.size())
            block_ = Buffer<int32_t>(needed);
        return !malloctest(block_.data(), "ImageAlign1D cols=%d rows=%d", cols_, rows_);
    }
    void loadDef(int32_t im, const AlignBox& box) { load(im, box.x, box.y, defColumns(), defRows()); }
    void loadRef(int32_t im, const AlignBox& box, int32_t ox, int32_t oy)
    {
        load(im, box.x + ox, box.y + oy, refColumns(), refRows());
    }

    int32_t cols() const { return cols_; }
    int32_t rows() const { return rows_; }
    int32_t* defColumns() { return block_.data(); }
    int32_t* refColumns() { return defColumns() + cols_; }
    int32_t* defRows() { return refColumns() + cols_; }
    int32_t* refRows() { return defRows() + rows_; }

private:
    void load(int32_t im, int64_t x, int64_t y, int32_t* columns, int32_t* rows)
    {
        I_GetWindowProfiles(static_cast<int32_t>(x), static_cast<int32_t>(y), cols_, rows_, im,
                            reinterpret_cast<uint32_t*>(columns), reinterpret_cast<uint32_t*>(rows));
    }

    Buffer<int32_t> block_;
    int32_t cols_ = 0;
    int32_t rows_ = 0;
};

AxisProperties describe(const int32_t* profile, int32_t length, int32_t lines, int32_t maxLag)
{
    const auto divisor = static_cast<int32_t>(static_cast<uint32_t>(lines) * kWhite);
    int32_t low = divisor, high = 0;
    int64_t step = 0;
    // Required: the last element counts only as a neighbour.
    for (int32_t i = 0; i + 1 < length; ++i) {
        low = std::min(low, profile[i]);
        high = std::max(high, profile[i]);
        step = std::max(step, std::abs(int64_t{profile[i + 1]} - profile[i]));
    }
    AxisProperties found;
    found.contrast = static_cast<float>((static_cast<double>(high) - low) / divisor);
    found.step = static_cast<float>(static_cast<double>(step) / divisor);
    if (length > kLongestWithoutRepeat)
        found.repeat =
            I_AutoCorrelate1DType(profile, length, PIX_DWORD, nullptr, maxLag, &found.repeatQuality);
    return found;
}

// One alignment of a box: what is found so far, and the profiles that tell it.
class BoxAlignment
{
public:
    BoxAlignment(int32_t imDef, int32_t imRef, const AlignBox& box, float dx, float dy)
        : imDef_(imDef), imRef_(imRef), given_(box), dx_(dx), dy_(dy)
    {
    }

    bool run(int32_t xRange, int32_t yRange)
    {
        const float startX = dx_, startY = dy_;
        AlignBox box = given_;
        int32_t ox = Rnd(dx_), oy = Rnd(dy_);
        if (!adjustBox(box, ox, oy, imDef_, imRef_) || !profiles_.makeRoom(box))
            return false;
        profiles_.loadDef(imDef_, box);
        profiles_.loadRef(imRef_, box, ox, oy);
        float shiftX = 0.0F, shiftY = 0.0F;
        if (xRange >= 1) {
            shiftX = correlateColumns(xRange);
            dx_ = qualX_ > kLeastQuality ? static_cast<float>(ox) + shiftX : dx_;
        }
        if (yRange >= 1) {
            shiftY = correlateRows(yRange);
            dy_ = qualY_ > kLeastQuality ? static_cast<float>(oy) + shiftY : dy_;
        }
        if (std::min(qualX_, qualY_) > kRefinedQuality &&
            (isWorthMore(shiftX, xRange) || isWorthMore(shiftY, yRange)) && !refine(box))
            return false;
        describeBox();
        if (xRange >= 1)
            dx_ = limit(dx_, startX, xRange);
        if (yRange >= 1)
            dy_ = limit(dy_, startY, yRange);
        return true;
    }

    float dx() const { return dx_; }
    float dy() const { return dy_; }
    float qualX() const { return qualX_; }
    float qualY() const { return qualY_; }

private:
    static bool isWorthMore(float shift, int32_t range)
    {
        return std::fabs(shift) > kLeastShift && std::fabs(shift) < static_cast<float>(range) - kRangeMargin;
    }

    static float limit(float value, float start, int32_t range)
    {
        const double reach = range + kSlack;
        return static_cast<float>(std::clamp<double>(value, start - reach, start + reach));
    }

    float correlateColumns(int32_t range)
    {
        return I_CrossCorrelateArray(profiles_.defColumns(), profiles_.cols(), profiles_.refColumns(),
                                     profiles_.cols(), range, &qualX_);
    }
    float correlateRows(int32_t range)
    {
        return I_CrossCorrelateArray(profiles_.defRows(), profiles_.rows(), profiles_.refRows(),
                                     profiles_.rows(), range, &qualY_);
    }

    // The integer profiles are correlated again at the offset found, a pixel each way.
    bool refine(const AlignBox& first)
    {
        AlignBox box = given_;
        const int32_t ox = Rnd(dx_), oy = Rnd(dy_);
        if (!adjustBox(box, ox, oy, imDef_, imRef_))
            return true; // what the first pass found stands
        if (box != first) {
            if (!profiles_.makeRoom(box))
                return false;
            profiles_.loadDef(imDef_, box);
        }
        profiles_.loadRef(imRef_, box, ox, oy);
        dx_ = static_cast<float>(ox) + correlateColumns(1);
        dy_ = static_cast<float>(oy) + correlateRows(1);
        return true;
    }

    void describeBox()
    {
        const int32_t maxLag = std::max(std::max(profiles_.cols(), profiles_.rows()) / 2, kLeastLag);
        state.x = describe(profiles_.defColumns(), profiles_.cols(), profiles_.rows(), maxLag);
        state.y = describe(profiles_.defRows(), profiles_.rows(), profiles_.cols(), maxLag);
    }

    int32_t imDef_;
    int32_t imRef_;
    AlignBox given_;
    float dx_;
    float dy_;
    float qualX_ = 0.0F;
    float qualY_ = 0.0F;
    Profiles profiles_;
};

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ImageAlign1D(int32_t imDef, int32_t imRef, int32_t x, int32_t y, int32_t cols, int32_t rows,
                       int32_t xRange, int32_t yRange, float* dx, float* dy, float* qualX, float* qualY)
{
    const float startX = dx ? *dx : 0.0F, startY = dy ? *dy : 0.0F;
    if (!(std::fabs(startX) + std::fabs(startY) <= kLargestStart)) {
        I_PostMessage("ImageAlign1D unintialized initial offset: %.1f %.1f", static_cast<double>(startX),
                      static_cast<double>(startY));
        I_SetError(1, "ImageAlign1D unintialized initial offset: %.1f %.1f", static_cast<double>(startX),
                   static_cast<double>(startY));
        return 0;
    }
    storeOutput(qualX, 0.0F);
    storeOutput(qualY, 0.0F);
    BoxAlignment alignment(imDef, imRef, {x, y, cols, rows}, startX, startY);
    if (!alignment.run(xRange, yRange))
        return 0;
    storeOutput(dx, alignment.dx());
    storeOutput(dy, alignment.dy());
    storeOutput(qualX, alignment.qualX());
    storeOutput(qualY, alignment.qualY());
    return 1;
}

float I_GetAlign1DParams(float* repeatX, float* repeatY, float* repeatQualityX, float* repeatQualityY,
                         float* contrastX, float* contrastY, float* stepX, float* stepY)
{
    I_GetAlign1DRepeat(repeatX, repeatY);
    storeOutput(repeatQualityX, state.x.repeatQuality);
    storeOutput(repeatQualityY, state.y.repeatQuality);
    storeOutput(contrastX, state.x.contrast);
    storeOutput(contrastY, state.y.contrast);
    storeOutput(stepX, state.x.step);
    storeOutput(stepY, state.y.step);
    return 1.0F;
}

float I_GetAlign1DRepeat(float* repeatX, float* repeatY)
{
    storeOutput(repeatX, state.x.repeat);
    storeOutput(repeatY, state.y.repeat);
    return 1.0F;
}
