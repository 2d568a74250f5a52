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

Image moved(const Image& reference, const Image& defect, double dx, double dy)
{
    Image result = defect.converted(PIX_BYTE);
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
    result.window = inspectedWindow(sourced(defect, dx, dy), settings);
    result.reference = moved(reference, defect, dx, dy);
    {
        const WindowRegion region(result.window);
        result.difference = subtract(result.reference, defect, {0, 0}, kClipAround128);
    }
    const AlignMode mode = settings.align.mode;
    if (mode == AlignMode::automatic || mode == AlignMode::tiles)
        alignTiles(result, defect, settings);
    return result;
}

} // namespace app
