#include "defect_list.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "neighbourhood.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kMostSpots = 20000;
constexpr int32_t kAlignRange = 3; // pixels by which a spot is aligned anew
constexpr int32_t kAlignedRim = 2; // around a spot's box the library subtracts anew
constexpr int32_t kClipAround128 = 3;
constexpr double kEnergyScale = 180.0;

VexaBox widened(const VexaBox& box, int32_t by, const Image& image)
{
    return {std::max(box.left - by, 0), std::max(box.top - by, 0), std::min(box.right + by, image.cols() - 1),
            std::min(box.bottom + by, image.rows() - 1)};
}

// Boxes of the spots that stay different when both pictures are aligned around them, near ones as one.
std::vector<VexaBox> spots(const Image& underlaid, const Image& defect, const Image& residue,
                           const InspectSettings& settings, bool& incomplete)
{
    constexpr int32_t kEverySize = 0, kUnsorted = 0;
    std::vector<VexaPoint> positions(kMostSpots);
    std::vector<VexaBox> boxes(kMostSpots);
    std::vector<double> values(kMostSpots);
    const int32_t mode = I_GetClipMode();
    I_SetClipMode(kClipAround128);
    const int32_t count =
        I_ListDefects3(defect.number(), underlaid.number(), residue.number(), positions.data(), boxes.data(),
                       values.data(), kMostSpots, 0, static_cast<float>(settings.threshold), kEverySize,
                       kUnsorted, settings.align.mode == AlignMode::none ? 0 : kAlignRange, settings.merge);
    I_SetClipMode(mode);
    incomplete = I_GetBlobCount() >= kMostSpots;
    boxes.resize(static_cast<std::size_t>(count));
    return boxes;
}

// The difference around a spot: as it was subtracted anew where it was, as it is elsewhere.
Pixels differenceAround(const VexaBox& box, const VexaBox& window, const Image& difference,
                        const Image& subtractedAnew)
{
    Pixels around = difference.cut(window);
    const VexaBox rim = widened(box, kAlignedRim, difference);
    for (int32_t y = std::max(rim.top, window.top); y <= std::min(rim.bottom, window.bottom); ++y) {
        const int32_t left = std::max(rim.left, window.left), right = std::min(rim.right, window.right);
        std::copy_n(subtractedAnew.row(y) + left, right - left + 1,
                    around.row(y - window.top) + left - window.left);
    }
    return around;
}

// The tolerance and the square have taken the rim of the defect away. It grows back, but not along an edge that is off.
Pixels defectMask(const Pixels& residue, const Pixels& around, const InspectSettings& settings)
{
    const int32_t reach = settings.edgeTolerance + 1;
    Pixels mask(around.cols, around.rows, 1);
    for (const int32_t sign : {1, -1}) {
        const Pixels within = passing(around, sign, settings.threshold);
        Pixels seed = passing(residue, sign, settings.threshold);
        for (std::size_t i = 0; i < seed.bytes.size(); ++i)
            seed.bytes[i] = seed.bytes[i] && within.bytes[i];
        const Pixels part = grown(seed, within, reach);
        for (std::size_t i = 0; i < mask.bytes.size(); ++i)
            mask.bytes[i] = mask.bytes[i] || part.bytes[i];
    }
    return mask;
}

// The sums over the pixels of a defect.
Defect measured(const Pixels& mask, const Pixels& around, const VexaBox& window)
{
    Defect defect;
    int64_t sum = 0, absolute = 0, sumX = 0, sumY = 0;
    defect.box = {window.right, window.bottom, window.left, window.top};
    for (int32_t y = 0; y < mask.rows; ++y)
        for (int32_t x = 0; x < mask.cols; ++x) {
            if (!mask.row(y)[x])
                continue;
            const VexaPoint at = {window.left + x, window.top + y};
            const int32_t d = around.row(y)[x] - kZero;
            if (defect.area++ == 0)
                defect.position = at;
            sum += d;
            absolute += std::abs(d);
            sumX += at.x;
            sumY += at.y;
            defect.box = {std::min(defect.box.left, at.x), std::min(defect.box.top, at.y),
                          std::max(defect.box.right, at.x), std::max(defect.box.bottom, at.y)};
        }
    const double area = std::max(defect.area, 1);
    defect.contrast = static_cast<double>(sum) / area;
    defect.energy = std::sqrt(static_cast<double>(absolute) / kEnergyScale);
    defect.centroid = {static_cast<float>(static_cast<double>(sumX) / area),
                       static_cast<float>(static_cast<double>(sumY) / area)};
    return defect;
}

// The largest first; what is equal in that goes by contrast, then from the top.
void sort(std::vector<Defect>& defects, SortBy by)
{
    const auto key = [by](const Defect& d) {
        const double contrast = std::fabs(d.contrast);
        const double first = by == SortBy::area ? d.area : by == SortBy::energy ? d.energy : contrast;
        return std::tuple(-first, -contrast, d.position.y, d.position.x);
    };
    std::stable_sort(defects.begin(), defects.end(),
                     [&](const Defect& a, const Defect& b) { return key(a) < key(b); });
}

} // namespace

DefectList listDefects(const Underlaid& under, const Image& defect, const Residue& residue,
                       Image& residueImage, const InspectSettings& settings)
{
    DefectList list;
    if (residue.empty())
        return list;
    for (const VexaBox& box : spots(under.reference, defect, residueImage, settings, list.incomplete)) {
        const VexaBox window = widened(box, settings.edgeTolerance + 1, defect);
        const Pixels around = differenceAround(box, window, under.difference, residueImage);
        Pixels seed(around.cols, around.rows, 1);
        std::fill(seed.bytes.begin(), seed.bytes.end(), uint8_t{kZero});
        const Pixels inside = residue.cut(box);
        for (int32_t y = 0; y < inside.rows; ++y)
            std::copy_n(inside.row(y), inside.cols,
                        seed.row(y + box.top - window.top) + box.left - window.left);
        const Defect entry = measured(defectMask(seed, around, settings), around, window);
        if (entry.area > 0)
            list.defects.push_back(entry);
    }
    residue.writeTo(residueImage);
    list.found = static_cast<int32_t>(list.defects.size());
    sort(list.defects, settings.sort);
    list.defects.resize(static_cast<std::size_t>(std::min(list.found, settings.most)));
    for (std::size_t i = 0; i < list.defects.size(); ++i)
        list.defects[i].number = static_cast<int32_t>(i) + 1;
    return list;
}

} // namespace app
