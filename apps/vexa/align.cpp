#include "align.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "failure.h"
#include "list_output.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr float kGoodQuality = 0.85F; // of a shift that needs no search
constexpr double kPoorQuality = 0.5;  // below it the user is warned
constexpr double kFlat = 0.01;        // contrast of an axis that has nothing to align on
constexpr float kSharpRepeat = 0.9F;
constexpr float kFoundQuality = 0.2F;
constexpr double kSettled = 0.003; // pixels
constexpr double kWhole = 0.02;    // from a whole pixel, as which it counts

struct Shift {
    float dx, dy;
    float qualX = 0.0F, qualY = 0.0F;

    float quality() const { return std::min(qualX, qualY); }
};

Shift smartShift(const Image& reference, const Image& defect, const AlignSettings& settings)
{
    Shift shift = {static_cast<float>(settings.start.x), static_cast<float>(settings.start.y)};
    I_SmartAlign(defect.number(), reference.number(), nullptr, nullptr, settings.maxShift, &shift.dx,
                 &shift.dy, &shift.qualX, &shift.qualY);
    return shift;
}

// The middle of the defect picture, looked for in the reference.
Shift searchedShift(const Image& reference, const Image& defect, const AlignSettings& settings)
{
    constexpr int32_t kLeastSide = 16, kMostSide = 512;
    const auto centred = [&](int32_t size) {
        return std::clamp(size / 2, std::min(kLeastSide, size), kMostSide);
    };
    const int32_t width = centred(defect.cols()), height = centred(defect.rows());
    const int32_t left = (defect.cols() - width) / 2, top = (defect.rows() - height) / 2;
    VexaBox pattern = {left, top, left + width - 1, top + height - 1};
    const int32_t reach = settings.maxShift + 4;
    VexaBox area = {std::max(left + settings.start.x - reach, 0), std::max(top + settings.start.y - reach, 0),
                    std::min(pattern.right + settings.start.x + reach, reference.cols() - 1),
                    std::min(pattern.bottom + settings.start.y + reach, reference.rows() - 1)};
    const int32_t levels =
        std::clamp(static_cast<int32_t>(std::log2(std::min(width, height) / 16.0)) + 1, 1, 4);
    Shift shift = {static_cast<float>(settings.start.x), static_cast<float>(settings.start.y)};
    float x = 0.0F, y = 0.0F, quality = 0.0F;
    if (I_WindowSearch(&pattern, defect.number(), &area, reference.number(), levels, &x, &y, &quality, 1) &&
        quality > kFoundQuality)
        shift = {x, y, quality, quality};
    I_SetError(0, "");
    return shift;
}

// The reference resampled under the defect picture; what has no source shows the defect picture itself.
Image shifted(const Image& reference, const Image& defect, double dx, double dy)
{
    constexpr float kSharp = 1.0F;
    const auto snapped = [](double d) {
        return static_cast<float>(std::fabs(d - std::round(d)) < kWhole ? std::round(d) : d);
    };
    Image result = defect.converted(PIX_BYTE);
    require(I_ShiftSharpen(reference.number(), result.number(), snapped(dx), snapped(dy), kSharp) != 0,
            "cannot move the reference");
    return result;
}

float limited(float shift, int32_t start, const AlignSettings& settings)
{
    const auto reach = static_cast<float>(settings.maxShift), from = static_cast<float>(start);
    return std::clamp(shift, from - reach, from + reach);
}

// Near the right place the estimate has no bias: move the reference there and measure what is left, until nothing is.
void refine(const Image& reference, const Image& defect, const AlignSettings& settings, Shift& shift)
{
    constexpr int32_t kRounds = 5, kRange = 2, kMargin = 4;
    for (int32_t round = 0; round < kRounds; ++round) {
        const int32_t marginX = static_cast<int32_t>(std::ceil(std::fabs(shift.dx))) + kMargin;
        const int32_t marginY = static_cast<int32_t>(std::ceil(std::fabs(shift.dy))) + kMargin;
        const int32_t cols = defect.cols() - 2 * marginX, rows = defect.rows() - 2 * marginY;
        if (cols < 3 * kMargin || rows < 3 * kMargin)
            return;
        const Image under = shifted(reference, defect, double{shift.dx}, double{shift.dy});
        Shift rest = {0.0F, 0.0F};
        if (!I_ImageAlign1D(defect.number(), under.number(), marginX, marginY, cols, rows, kRange, kRange,
                            &rest.dx, &rest.dy, &rest.qualX, &rest.qualY)) {
            I_SetError(0, "");
            return;
        }
        shift = {limited(shift.dx + rest.dx, settings.start.x, settings),
                 limited(shift.dy + rest.dy, settings.start.y, settings), rest.qualX, rest.qualY};
        if (std::fabs(rest.dx) < kSettled && std::fabs(rest.dy) < kSettled)
            return;
    }
}

struct Candidate {
    std::string method;
    Shift shift;
    double difference; // mean of what is left after the subtraction
};

// How much the pictures differ at a shift, away from the borders.
double differenceAt(const Image& reference, const Image& defect, const Shift& shift,
                    const AlignSettings& settings)
{
    const Image under = shifted(reference, defect, double{shift.dx}, double{shift.dy});
    const int32_t marginX = std::min(settings.maxShift + std::abs(settings.start.x) + 4, defect.cols() / 3);
    const int32_t marginY = std::min(settings.maxShift + std::abs(settings.start.y) + 4, defect.rows() / 3);
    require(I_PushROI() != 0, "cannot keep the region of interest");
    I_SetWindowROI(marginX, marginY, defect.cols() - 1 - marginX, defect.rows() - 1 - marginY);
    constexpr int32_t kAbsolute = 2;
    double mean = 0.0;
    I_SubtractEx(defect.number(), under.number(), under.number(), 0, 0, kAbsolute);
    I_ComputePixelStats(1, nullptr, &mean, nullptr, nullptr, nullptr, under.number());
    I_PopROI();
    return mean;
}

void warnOfAxis(Alignment& alignment, const char* name, const AxisShift& axis, float repeatQuality,
                int32_t start, const AlignSettings& settings)
{
    const std::string in = std::string(" in ") + name;
    if (axis.contrast < kFlat) {
        alignment.warnings.push_back("there is nothing to align on" + in);
        return;
    }
    if (axis.quality < kPoorQuality)
        alignment.warnings.push_back("the shift" + in + " is not to be trusted: quality " +
                                     fixed(axis.quality, 2));
    if (repeatQuality > kSharpRepeat && axis.repeat > 0.0 && axis.repeat <= 2.0 * settings.maxShift)
        alignment.warnings.push_back("the pattern repeats every " + fixed(axis.repeat, 1) + " pixels" + in +
                                     ": a shift by so much more or less fits as well");
    if (std::fabs(axis.shift - start) > settings.maxShift - 0.5)
        alignment.warnings.push_back("the shift" + in + " lies at the limit of the search");
}

Alignment described(const Shift& shift, const std::string& method, const AlignSettings& settings)
{
    Alignment alignment;
    alignment.method = method;
    float repeatX = 0.0F, repeatY = 0.0F, sharpX = 0.0F, sharpY = 0.0F, contrastX = 0.0F, contrastY = 0.0F;
    I_GetAlign1DParams(&repeatX, &repeatY, &sharpX, &sharpY, &contrastX, &contrastY, nullptr, nullptr);
    alignment.x = {double{shift.dx}, double{shift.qualX}, double{contrastX}, double{repeatX}};
    alignment.y = {double{shift.dy}, double{shift.qualY}, double{contrastY}, double{repeatY}};
    warnOfAxis(alignment, "x", alignment.x, sharpX, settings.start.x, settings);
    warnOfAxis(alignment, "y", alignment.y, sharpY, settings.start.y, settings);
    return alignment;
}

// Each tile of the underlay moves to where it fits.
void warpTiles(Image& under, const Image& defect, int32_t tile)
{
    constexpr int32_t kKeepRest = -1;
    VexaPointF offset = {0.0F, 0.0F};
    I_AlignSubtract1(defect.number(), under.number(), 0, &offset, tile, kKeepRest);
}

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
    // The start is a candidate too: it wins where no other shift makes the pictures more alike.
    const VexaPoint start = settings.start;
    Candidate best = {"start", {static_cast<float>(start.x), static_cast<float>(start.y)}, 0.0};
    best.difference = differenceAt(reference, defect, best.shift, settings);
    const auto offer = [&](const char* method, Shift shift) {
        refine(reference, defect, settings, shift);
        const double difference = differenceAt(reference, defect, shift, settings);
        if (shift.quality() > 0.0F && difference < best.difference)
            best = {method, shift, difference};
    };
    offer("near the start", best.shift);
    if (settings.mode != AlignMode::search)
        offer("smart", smartShift(reference, defect, settings));
    if (settings.mode == AlignMode::search ||
        (settings.mode != AlignMode::smart && best.shift.quality() < kGoodQuality))
        offer("search", searchedShift(reference, defect, settings));
    if (best.method == "start") {
        Shift measured = best.shift;
        refine(reference, defect, settings, measured);
        best.shift.qualX = measured.qualX;
        best.shift.qualY = measured.qualY;
    }
    return described(best.shift, best.method + (settings.mode == AlignMode::tiles ? " + tiles" : ""),
                     settings);
}

Underlay underlay(const Image& reference, const Image& defect, const Alignment& alignment,
                  const AlignSettings& settings)
{
    const double dx = alignment.x.shift, dy = alignment.y.shift;
    Underlay result;
    const auto low = [](double d) { return std::max(0, static_cast<int32_t>(std::ceil(-d - kWhole))); };
    const auto high = [](double d, int32_t size) {
        return std::min(size, static_cast<int32_t>(std::floor(size - d + kWhole))) - 1;
    };
    result.window = {low(dx), low(dy), high(dx, defect.cols()), high(dy, defect.rows())};
    if (result.window.left > result.window.right || result.window.top > result.window.bottom)
        throw Failure("with this offset the two pictures share no pixel");
    result.image = shifted(reference, defect, dx, dy);
    if (settings.mode == AlignMode::tiles)
        warpTiles(result.image, defect, settings.tile);
    return result;
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
