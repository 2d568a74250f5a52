#include "underlay.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "failure.h"
#include "residue.h"
#include "tiles.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kClipAround128 = 3; // 128 is added
constexpr double kWhole = 0.02;       // so near to a whole pixel a shift is one
constexpr float kSharp = 1.0F;
constexpr int32_t kStripRows = 32; // what the library works on at a time then stays in the processor's caches

float snapped(double d)
{
    return static_cast<float>(std::fabs(d - std::round(d)) < kWhole ? std::round(d) : d);
}

// The pixels of a picture that have a source in another one of its size at a shift.
VexaBox sourced(const Image& picture, double dx, double dy)
{
    const auto low = [](double d) { return std::max(0, static_cast<int32_t>(std::ceil(-d - kWhole))); };
    const auto high = [](double d, int32_t size) {
        return std::min(size, static_cast<int32_t>(std::floor(size - d + kWhole))) - 1;
    };
    const VexaBox box = {low(dx), low(dy), high(dx, picture.cols()), high(dy, picture.rows())};
    if (box.left > box.right || box.top > box.bottom)
        throw Failure("with this offset the two pictures share no pixel");
    return box;
}

VexaBox inspectedWindow(const VexaBox& underlaid, const InspectSettings& settings)
{
    VexaBox window = underlaid;
    if (const auto& region = settings.region)
        window = {std::max(window.left, region->left), std::max(window.top, region->top),
                  std::min(window.right, region->right), std::min(window.bottom, region->bottom)};
    if (window.left > window.right || window.top > window.bottom)
        throw Failure("the region holds no pixel that the two pictures share");
    return window;
}

// Copies what lies outside a box.
void copyFrame(const Image& from, Image& to, const VexaBox& box)
{
    const int32_t cols = from.cols();
    for (int32_t y = 0; y < from.rows(); ++y) {
        const bool isBeside = y >= box.top && y <= box.bottom;
        const int32_t left = isBeside ? std::clamp(box.left, 0, cols) : cols;
        const int32_t right = isBeside ? std::clamp(box.right + 1, left, cols) : cols;
        std::copy_n(from.row(y), left, to.row(y));
        std::copy_n(from.row(y) + right, cols - right, to.row(y) + right);
    }
}

// The reference moved; what has no source shows the defect picture.
Image moved(const Image& reference, const Image& defect, double dx, double dy, const VexaBox& source)
{
    constexpr int32_t kTaps = 4; // reach of the filter
    Image result(defect.cols(), defect.rows(), PIX_BYTE, Image::Fill::none);
    copyFrame(defect, result,
              {source.left + kTaps, source.top + kTaps, source.right - kTaps, source.bottom - kTaps});
    const int32_t rows = result.rows();
    for (int32_t top = 0; top < rows; top += kStripRows) {
        const WindowRegion strip({0, top, result.cols() - 1, std::min(top + kStripRows, rows) - 1});
        require(I_ShiftSharpen(reference.number(), result.number(), snapped(dx), snapped(dy), kSharp) != 0,
                "cannot move the reference");
    }
    return result;
}

} // namespace

WindowRegion::WindowRegion(const VexaBox& box)
{
    require(I_PushROI() != 0, "cannot keep the region of interest");
    I_SetWindowROI(box.left, box.top, box.right, box.bottom);
}

WindowRegion::~WindowRegion()
{
    I_PopROI();
}

Underlaid layUnder(const Image& reference, const Image& defect, const Alignment& alignment,
                   const InspectSettings& settings)
{
    const double dx = alignment.x.shift, dy = alignment.y.shift;
    Underlaid result;
    const VexaBox source = sourced(defect, dx, dy);
    result.window = inspectedWindow(source, settings);
    result.reference = moved(reference, defect, dx, dy, source);
    result.difference = Image(defect.cols(), defect.rows(), PIX_BYTE, Image::Fill::none);
    {
        const WindowRegion region(result.window);
        I_ClearOutsideROI(kZero, result.difference.number());
        require(I_SubtractEx(defect.number(), result.reference.number(), result.difference.number(), 0, 0,
                             kClipAround128) != 0,
                "cannot subtract the pictures");
    }
    const AlignMode mode = settings.align.mode;
    if (mode == AlignMode::automatic || mode == AlignMode::tiles)
        alignTiles(result, defect, settings);
    return result;
}

} // namespace app
