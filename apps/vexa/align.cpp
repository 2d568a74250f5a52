#include "align.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "align_boxes.h"
#include "align_fine.h"
#include "align_surface.h"
#include "failure.h"
#include "list_output.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr double kPoorQuality = 0.5; // below it the user is warned
constexpr double kFlat = 0.01;       // contrast of profiles that tell nothing about their quality
constexpr double kWhole = 0.02;      // from a whole pixel, as which it counts
constexpr int32_t kFrame = 4;        // pixels at the border that the interpolation needs
constexpr int32_t kLeastSide = 16;   // of what is compared at all shifts

struct Candidate {
    std::string method;
    FineShift shift;
};

bool areNear(const FineShift& a, double x, double y)
{
    constexpr double kNear = 1.5;
    return std::fabs(a.x - x) < kNear && std::fabs(a.y - y) < kNear;
}

// Of length pixels, those that lie in the other picture at every shift from low to high, with a frame.
struct Stretch {
    int32_t first, last;
    Stretch(int32_t length, int32_t low, int32_t high)
        : first(std::max(0, -low) + kFrame), last(length - 1 - std::max(0, high) - kFrame)
    {
    }
};

VexaBox overlap(const Image& picture, const ShiftRange& range)
{
    const Stretch x(picture.cols(), range.left, range.right), y(picture.rows(), range.top, range.bottom);
    return {x.first, y.first, x.last, y.last};
}

// Whole shifts around a start, a pixel further than the user asks for so that a peak at the limit is one; fewer in small
// pictures.
ShiftRange reachable(const Image& picture, const AlignSettings& settings)
{
    const auto reach = [&](int32_t length, int32_t start) {
        const int64_t room = int64_t{length} - std::abs(int64_t{start}) - 2 * kFrame - kLeastSide;
        return static_cast<int32_t>(std::clamp<int64_t>(room / 2, 0, int64_t{settings.maxShift} + 1));
    };
    const VexaPoint start = settings.start;
    const int32_t x = reach(picture.cols(), start.x), y = reach(picture.rows(), start.y);
    return {start.x - x, start.y - y, start.x + x, start.y + y};
}

FineShift smartShift(const Image& reference, const Image& defect, const AlignSettings& settings)
{
    auto dx = static_cast<float>(settings.start.x), dy = static_cast<float>(settings.start.y);
    float qualX = 0.0F, qualY = 0.0F;
    I_SmartAlign(defect.number(), reference.number(), nullptr, nullptr, settings.maxShift, &dx, &dy, &qualX,
                 &qualY);
    I_SetError(0, "");
    FineShift shift;
    shift.x = std::clamp(double{dx}, settings.start.x - settings.maxShift - 0.5,
                         settings.start.x + settings.maxShift + 0.5);
    shift.y = std::clamp(double{dy}, settings.start.y - settings.maxShift - 0.5,
                         settings.start.y + settings.maxShift + 0.5);
    return shift;
}

// A part of the reference, moved by a fraction of a pixel under a part of the defect picture.
Image moved(const Image& reference, const Image& defect, double dx, double dy)
{
    constexpr float kSharp = 1.0F;
    Image result = defect.converted(PIX_BYTE);
    require(I_ShiftSharpen(reference.number(), result.number(), static_cast<float>(dx),
                           static_cast<float>(dy), kSharp) != 0,
            "cannot move the reference");
    return result;
}

// What the library's profiles tell about a box: moved under it, the reference differs by a fraction of a pixel at most.
void describeBox(const Image& defect, const Image& under, const VexaBox& box, Alignment& alignment)
{
    constexpr int32_t kRange = 2;
    float dx = 0.0F, dy = 0.0F, qualX = 0.0F, qualY = 0.0F;
    const bool isMeasured =
        I_ImageAlign1D(defect.number(), under.number(), box.left, box.top, box.right - box.left + 1,
                       box.bottom - box.top + 1, kRange, kRange, &dx, &dy, &qualX, &qualY) != 0;
    I_SetError(0, "");
    if (!isMeasured)
        return;
    float repeatX = 0.0F, repeatY = 0.0F, contrastX = 0.0F, contrastY = 0.0F;
    I_GetAlign1DParams(&repeatX, &repeatY, nullptr, nullptr, &contrastX, &contrastY, nullptr, nullptr);
    const auto take = [](AxisShift& axis, float quality, float contrast, float repeat) {
        if (double{contrast} > axis.contrast)
            axis = {axis.shift, double{quality}, double{contrast}, double{repeat}};
    };
    take(alignment.x, qualX, contrastX, repeatX);
    take(alignment.y, qualY, contrastY, repeatY);
}

class ShiftFinder
{
public:
    ShiftFinder(const Image& reference, const Image& defect, const AlignSettings& settings)
        : reference_(reference), defect_(defect), settings_(settings), referenceRows_(reference),
          defectRows_(defect)
    {
    }

    Alignment find()
    {
        collect();
        Candidate best = choose();
        const FineShift compared = best.shift;
        best.shift = remeasured(compared);
        Alignment alignment;
        alignment.method = best.method;
        alignment.x.shift = best.shift.x;
        alignment.y.shift = best.shift.y;
        describe(best.shift, alignment);
        warn(alignment, best.shift, compared);
        return alignment;
    }

private:
    static constexpr int64_t kCompared = 60000, kMeasured = 90000; // pixels

    // By the structure of the reference, where no defect is: about where the defect picture shows the same.
    void chooseWithin(const ShiftRange& range)
    {
        VexaBox region = overlap(defect_, range);
        const int32_t x = (range.left + range.right) / 2, y = (range.top + range.bottom) / 2;
        region = {region.left + x, region.top + y, region.right + x, region.bottom + y};
        chosen_ = chooseBoxes(referenceRows_, region, kMeasured);
        for (VexaBox& box : chosen_.boxes)
            box = {box.left - x, box.top - y, box.right - x, box.bottom - y};
    }

    // Shifts worth measuring: what the smart alignment tells, and the peaks of the exhaustive comparison.
    void collect()
    {
        range_ = reachable(defect_, settings_);
        chooseWithin(range_);
        for (const VexaBox& box : chosen_.boxes)
            if (pixelsOf(compared_) < kCompared)
                compared_.push_back(box);
        // Where nothing tells a shift, there is nothing to compare.
        wasFlatX_ = chosen_.isFlatX;
        wasFlatY_ = chosen_.isFlatY;
        if (wasFlatX_)
            range_.left = range_.right = settings_.start.x;
        if (wasFlatY_)
            range_.top = range_.bottom = settings_.start.y;
        if (settings_.mode != AlignMode::search && !(chosen_.isFlatX && chosen_.isFlatY))
            offer("smart", smartShift(reference_, defect_, settings_));
        constexpr double kWorthwhile = 0.6; // of the best score
        constexpr std::size_t kMost = 8;
        const std::vector<SurfacePeak> peaks = findPeaks(referenceRows_, defectRows_, compared_, range_);
        for (std::size_t i = 0; i < std::min(peaks.size(), kMost); ++i) {
            FineShift shift;
            shift.x = peaks[i].dx;
            shift.y = peaks[i].dy;
            if (peaks[i].score >= kWorthwhile * peaks[0].score)
                offer("search", shift);
        }
    }

    void offer(const char* method, FineShift start)
    {
        start.x = std::clamp<double>(start.x, range_.left, range_.right);
        start.y = std::clamp<double>(start.y, range_.top, range_.bottom);
        if (isKnown(start))
            return;
        constexpr double kCoarse = 0.1;
        const FineShift shift = refineShift(referenceRows_, defectRows_, compared_, start, kCoarse, false);
        if (!isKnown(shift))
            candidates_.push_back({method, shift});
    }

    bool isKnown(const FineShift& shift) const
    {
        return std::any_of(candidates_.begin(), candidates_.end(),
                           [&](const Candidate& known) { return areNear(known.shift, shift.x, shift.y); });
    }

    // On all that the two pictures share, where there may be more.
    FineShift remeasured(const FineShift& shift)
    {
        constexpr double kFine = 0.003;
        if (pixelsOf(chosen_.boxes) < kMeasured) {
            const ShiftRange around = {
                static_cast<int32_t>(std::floor(shift.x)), static_cast<int32_t>(std::floor(shift.y)),
                static_cast<int32_t>(std::ceil(shift.x)), static_cast<int32_t>(std::ceil(shift.y))};
            chooseWithin(around);
        }
        const auto refined = [&](const FineShift& from) {
            return refineShift(referenceRows_, defectRows_, chosen_.boxes, from, kFine, true);
        };
        FineShift measured = refined(shift);
        // Where the border tells what the middle did not, it may be a long way.
        for (int32_t leg = 0;
             (wasFlatX_ || wasFlatY_) && leg < settings_.maxShift / 2 && !measured.hasSettled; ++leg)
            measured = refined(measured);
        return measured;
    }

    // The candidate that leaves least; of equals the one nearest to the start.
    Candidate choose() const
    {
        if (candidates_.empty())
            return {"start", unmoved()};
        if (settings_.mode == AlignMode::smart && isLikely(candidates_.front().shift))
            return labelled(candidates_.front());
        constexpr double kEqual = 1.02;
        const auto least = std::min_element(
            candidates_.begin(), candidates_.end(),
            [](const Candidate& a, const Candidate& b) { return a.shift.left < b.shift.left; });
        const double most = least->shift.left * kEqual;
        const auto way = [&](const Candidate& candidate) {
            return std::hypot(candidate.shift.x - settings_.start.x, candidate.shift.y - settings_.start.y);
        };
        Candidate best = *least;
        for (const Candidate& candidate : candidates_)
            if (candidate.shift.left <= most && way(candidate) < way(best))
                best = candidate;
        return labelled(best);
    }

    Candidate labelled(Candidate found) const
    {
        if (std::fabs(found.shift.x - settings_.start.x) < kWhole &&
            std::fabs(found.shift.y - settings_.start.y) < kWhole)
            found.method = "start";
        return found;
    }

    FineShift unmoved() const
    {
        FineShift shift;
        shift.x = settings_.start.x;
        shift.y = settings_.start.y;
        return shift;
    }

    void describe(const FineShift& shift, Alignment& alignment)
    {
        const auto wholeX = static_cast<int32_t>(std::lround(shift.x)),
                   wholeY = static_cast<int32_t>(std::lround(shift.y));
        for (VexaBox box : chosen_.boxes) {
            const Image part(cut(defectRows_, box));
            box = {box.left + wholeX, box.top + wholeY, box.right + wholeX, box.bottom + wholeY};
            const bool isInside = box.left >= 0 && box.top >= 0 && box.right < reference_.cols() &&
                                  box.bottom < reference_.rows();
            if (!isInside)
                continue;
            const Image under =
                moved(Image(cut(referenceRows_, box)), part, shift.x - wholeX, shift.y - wholeY);
            describeBox(part, under, {1, 1, part.cols() - 2, part.rows() - 2}, alignment);
        }
    }

    // The shift as it was compared with others tells its rivals, as it was measured at last all else.
    void warn(Alignment& alignment, const FineShift& shift, const FineShift& compared) const
    {
        const auto add = [&](const char* words) { alignment.warnings.push_back(words); };
        warnOfAxis(alignment, "x", alignment.x, chosen_.isFlatX, settings_.start.x);
        warnOfAxis(alignment, "y", alignment.y, chosen_.isFlatY, settings_.start.y);
        if (chosen_.isFlatX && chosen_.isFlatY)
            return;
        if (wasFlatX_ && !chosen_.isFlatX)
            add("only edges near the border tell the shift in x");
        if (wasFlatY_ && !chosen_.isFlatY)
            add("only edges near the border tell the shift in y");
        if (shift.isOneWay)
            add("all edges run one way: the shift along them is not defined");
        else if (isLikely(shift))
            warnOfRivals(alignment, compared);
        if (!shift.hasSettled)
            add("the shift is not to be trusted: it does not settle, or is not the same everywhere");
        if (!isLikely(shift))
            add("the shift is not to be trusted: the pictures have little in common there");
    }

    void warnOfAxis(Alignment& alignment, const char* name, const AxisShift& axis, bool isFlat,
                    int32_t start) const
    {
        const std::string in = std::string(" in ") + name;
        if (isFlat) {
            alignment.warnings.push_back("there is nothing to align on" + in);
            return;
        }
        if (axis.quality < kPoorQuality && axis.contrast >= kFlat)
            alignment.warnings.push_back("the shift" + in + " is not to be trusted: quality " +
                                         fixed(axis.quality, 2));
        if (std::fabs(axis.shift - start) > settings_.maxShift - 0.5)
            alignment.warnings.push_back("the shift" + in + " lies at the limit of the search");
    }

    // Most of the picture is explained, and the edges of the reference are those of both.
    bool isLikely(const FineShift& shift) const
    {
        constexpr double kAlike = 0.5;
        return shift.left < kAlike * shift.spread && (!shift.isFlatX || chosen_.isFlatX) &&
               (!shift.isFlatY || chosen_.isFlatY);
    }

    void warnOfRivals(Alignment& alignment, const FineShift& best) const
    {
        constexpr double kRival = 1.5, kSlack = 0.5;
        const FineShift* nearest = nullptr;
        const auto way = [&](const FineShift& shift) {
            return std::hypot(shift.x - best.x, shift.y - best.y);
        };
        for (const Candidate& candidate : candidates_)
            if (!areNear(candidate.shift, best.x, best.y) &&
                candidate.shift.left < kRival * best.left + kSlack &&
                (!nearest || way(candidate.shift) < way(*nearest)))
                nearest = &candidate.shift;
        if (nearest)
            warnOfRival(alignment, nearest->x - best.x, nearest->y - best.y);
    }

    static void warnOfRival(Alignment& alignment, double x, double y)
    {
        const auto every = [&](double distance, const char* name) {
            alignment.warnings.push_back("the pattern repeats every " + fixed(std::fabs(distance), 1) +
                                         " pixels in " + name +
                                         ": a shift by so much more or less fits as well");
        };
        if (std::fabs(y) < 1.5)
            every(x, "x");
        else if (std::fabs(x) < 1.5)
            every(y, "y");
        else
            alignment.warnings.push_back("the pattern repeats: a shift by " + fixed(x, 1) + ", " +
                                         fixed(y, 1) + " pixels more fits as well");
    }

    const Image& reference_;
    const Image& defect_;
    const AlignSettings& settings_;
    GreyRows referenceRows_, defectRows_;
    ShiftRange range_;
    bool wasFlatX_ = true, wasFlatY_ = true; // where all shifts within reach can be compared
    MeasuringBoxes chosen_;
    std::vector<VexaBox> compared_; // of them, the first ones
    std::vector<Candidate> candidates_;
};

} // namespace

const char* alignName(AlignMode mode)
{
    switch (mode) {
    case AlignMode::smart:
        return "smart";
    case AlignMode::search:
        return "search";
    case AlignMode::tiles:
        return "tiles";
    case AlignMode::none:
        return "none";
    default:
        return "auto";
    }
}

Alignment findShift(const Image& reference, const Image& defect, const AlignSettings& settings)
{
    if (std::abs(int64_t{settings.start.x}) >= defect.cols() ||
        std::abs(int64_t{settings.start.y}) >= defect.rows())
        throw Failure("with this offset the two pictures share no pixel");
    Alignment given;
    given.x.shift = settings.start.x;
    given.y.shift = settings.start.y;
    if (settings.mode == AlignMode::none)
        return given;
    Alignment alignment = ShiftFinder(reference, defect, settings).find();
    if (settings.mode == AlignMode::tiles)
        alignment.method += " + tiles";
    return alignment;
}

std::string shiftSentence(const Alignment& alignment)
{
    const auto pair = [&](double AxisShift::*value, int32_t decimals) {
        return fixed(alignment.x.*value, decimals) + ", " + fixed(alignment.y.*value, decimals);
    };
    return "shift " + pair(&AxisShift::shift, 2) + " (" + alignment.method + "), quality " +
           pair(&AxisShift::quality, 2) + ", contrast " + pair(&AxisShift::contrast, 2) +
           ", repeat distance " + pair(&AxisShift::repeat, 1);
}

} // namespace app
