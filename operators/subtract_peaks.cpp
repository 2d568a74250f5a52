#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <optional>
#include <utility>

#include "core/image_table.h"
#include "core/pixel_types.h"
#include "core/roi.h"
#include "operators/clip_table.h"
#include "operators/row_frames.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/frames.h"
#include "vexalib/image.h"
#include "vexalib/roi.h"
#include "vexalib/smoothing.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct Peak {
    int32_t value = 0;
    VexaPoint at = {0, 0};
};

VexaPoint positionOf(int32_t element)
{
    // Required: colour elements count three to a pixel, in types of four bytes as well.
    VexaPoint at;
    GetImageXY(framePosition().type >= PIX_BGR24 ? element / 3 : element, &at.x, &at.y);
    return at;
}

// The first of the largest distances.
class MaximumFinder
{
public:
    int32_t bound() const { return peak_.value; }
    void take(int32_t distance, int32_t element) { peak_ = {distance, positionOf(element)}; }
    const Peak& peak() const { return peak_; }

private:
    Peak peak_;
};

// The largest distances that lie apart, in falling order.
class PeakFinder
{
public:
    PeakFinder(Peak* peaks, int32_t count, int32_t separation, int32_t threshold)
        : peaks_(peaks), count_(count), separation_(separation), threshold_(threshold), bound_(threshold)
    {
    }

    int32_t bound() const { return bound_; }

    void take(int32_t distance, int32_t element)
    {
        const Peak peak = {distance, positionOf(element)};
        Peak* const end = peaks_ + count_;
        Peak* const place = std::find_if(peaks_, end, [&](const Peak& p) { return distance > p.value; });
        const auto beside = [&](const Peak& p) { return near(p.at, peak.at); };
        // The shoulder of a stronger one.
        if (place == end || std::any_of(peaks_, place, beside))
            return;
        std::move_backward(place, end - 1, end);
        *place = peak;
        bound_ = std::max(threshold_, end[-1].value);
        dropWeaker(place + 1, beside);
    }

private:
    bool near(VexaPoint a, VexaPoint b) const
    {
        return std::abs(int64_t{a.x} - b.x) <= separation_ && std::abs(int64_t{a.y} - b.y) <= separation_;
    }
    // Required: the last entry is not looked at.
    template <typename Beside>
    void dropWeaker(Peak* first, Beside beside)
    {
        Peak* const end = peaks_ + count_;
        for (Peak* p = first; p < end - 1;) {
            if (!beside(*p)) {
                ++p;
                continue;
            }
            std::move(p + 1, end, p);
            end[-1] = {};
            if (p->value == 0)
                return;
        }
    }

    Peak* peaks_;
    int32_t count_;
    int32_t separation_;
    int32_t threshold_;
    int32_t bound_;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/subtract_peaks_rows.h"
#include "support/for_each_instruction_set.h"

namespace
{

BinaryRowFilter rowInForce(const std::array<BinaryRowFilter, vexa::kClipRows>& rows)
{
    return rows[static_cast<std::size_t>(vexa::clipState().row)];
}

bool isWhole(float offset)
{
    return std::trunc(offset) == offset;
}

} // namespace

int32_t I_SubtractEx(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, int32_t clipMode)
{
    const vexa::ClipModeGuard mode(clipMode);
    return I_Subtract(imA, imB, imDest, dx, dy);
}

int32_t I_Subtract1Ex(int32_t imA, int32_t imB, int32_t imDest, float dx, float dy, int32_t clipMode,
                      float sharpness, uint32_t* histogram)
{
    std::optional<vexa::ClipModeGuard> mode(std::in_place, clipMode);
    const vexa::ImageGuard own(imDest == 0 ? I_CloneImage(imB, 0, 0) : 0);
    const int32_t dest = imDest != 0 ? imDest : own.get();
    if (dest == 0)
        return 0;
    I_ShowError("S1E-3");
    const bool whole = isWhole(dx) && isWhole(dy);
    // Nothing outside the region is read: of a large image only a window of it is copied.
    VexaBox box{};
    const bool isWindow = I_GetROIType() == vexa::kRoiWindow &&
                          I_ROIBoundingBox2(&box.left, &box.top, &box.right, &box.bottom, imB, dest) != 0;
    const vexa::ImageGuard moved(whole ? 0 : I_CloneImage(imB, 0, !isWindow));
    if (!whole && moved.get() == 0)
        return 0;
    if (!whole && isWindow)
        I_ROICopy(imB, moved.get(), 0, 0);
    if (!whole)
        I_ShiftSharpen(imB, moved.get(), dx, dy, sharpness);
    I_ShowError("S1E-4  Images: %d %d %d", imA, whole ? imB : moved.get(), dest);
    const int32_t result = whole ? I_Subtract(imA, imB, dest, vexa::truncToInt32(dx), vexa::truncToInt32(dy))
                                 : I_Subtract(imA, moved.get(), dest, 0, 0);
    mode.reset();
    I_ShowError("S1E-5");
    if (histogram)
        I_CalcHist(histogram, dest);
    I_ShowError("S1E-6");
    return result;
}

double I_SubtractMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, VexaPoint* point)
{
    vexa::MaximumFinder finder;
    I_TellProgress(0.0F, 0.0F, "SubtractMax");
    I_BinaryOperatorType(imA, imB, imDest, dx, dy, &finder, rowInForce(VEXA_ROWS(kMaximumRows)), PIX_BYTE);
    if (point)
        *point = finder.peak().at;
    return finder.peak().value;
}

int32_t I_SubtractNMax(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, VexaPoint* points,
                       double* values, int32_t n, int32_t separation, double threshold)
{
    if (imA == 0 || imB == 0 || imDest == 0 || n < 1)
        return 0;
    if (points)
        std::fill_n(points, n, VexaPoint{0, 0});
    vexa::Buffer<vexa::Peak> peaks(int64_t{n} + 2);
    if (malloctest(peaks.data(), "I_SubtractNMax: %d", n))
        return 0;
    vexa::PeakFinder finder(peaks.data(), n, separation, vexa::truncToInt32(threshold));
    I_TellProgress(0.0F, 0.0F, "SubtractNMax");
    I_BinaryOperatorType(imA, imB, imDest, dx, dy, &finder, rowInForce(VEXA_ROWS(kPeakRows)), PIX_BYTE);

    int32_t found = 0;
    for (int32_t i = 0; i < n; ++i) {
        const vexa::Peak& peak = peaks[i];
        if (points)
            points[i] = peak.at;
        if (values)
            values[i] = peak.value;
        // Required: a peak in the row or the column of the one before it does not count.
        if (peak.value > 0 && (i == 0 || (peak.at.x != peaks[i - 1].at.x && peak.at.y != peaks[i - 1].at.y)))
            found = i + 1;
    }
    return found;
}
