#include "inspect.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "neighbourhood.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int32_t kZero = 128;        // grey level of no difference
constexpr int32_t kClipPositive = 1;  // negative results become 0
constexpr int32_t kClipAround128 = 3; // 128 is added
constexpr int32_t kMostBlobs = 20000;

// Restricts the library's operators to a window while it lives.
class WindowRegion
{
public:
    explicit WindowRegion(const VexaBox& box)
    {
        require(I_PushROI() != 0, "cannot keep the region of interest");
        I_SetWindowROI(box.left, box.top, box.right, box.bottom);
    }
    ~WindowRegion() { I_PopROI(); }
    WindowRegion(const WindowRegion&) = delete;
    WindowRegion& operator=(const WindowRegion&) = delete;
};

VexaBox intersection(const VexaBox& a, const VexaBox& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

// Where the reference lies under the defect picture, within the region.
VexaBox inspectedWindow(const VexaBox& underlaid, const InspectSettings& settings)
{
    const VexaBox window = settings.region ? intersection(underlaid, *settings.region) : underlaid;
    if (window.left > window.right || window.top > window.bottom)
        throw Failure("the region holds no pixel that the two pictures share");
    return window;
}

Image likeWithZero(const Image& model)
{
    Image image(model.cols(), model.rows(), PIX_BYTE);
    require(I_ImClear(image.number(), kZero) != 0, "cannot clear an image");
    return image;
}

void subtractInto(const Image& a, const Image& b, const Image& dest, VexaPoint offset, int32_t clipMode)
{
    require(I_SubtractEx(a.number(), b.number(), dest.number(), offset.x, offset.y, clipMode) != 0,
            "cannot subtract the pictures");
}

// What is left of one minus other, around 128, where a pixel of one is brighter than every pixel nearby of the other, or
// darker than every one: an edge that is off by up to the tolerance is no defect.
Image excess(const Image& one, const Image& other, int32_t tolerance)
{
    const Pixels pixels = other.read();
    const Image brighter(one.cols(), one.rows(), PIX_BYTE);
    const Image darker(one.cols(), one.rows(), PIX_BYTE);
    subtractInto(one, Image(localExtreme(pixels, tolerance, Extreme::largest)), brighter, {0, 0},
                 kClipPositive);
    subtractInto(Image(localExtreme(pixels, tolerance, Extreme::smallest)), one, darker, {0, 0},
                 kClipPositive);
    Image difference = likeWithZero(one);
    subtractInto(brighter, darker, difference, {0, 0}, kClipAround128);
    return difference;
}

// Adds to a result what of a difference reaches the threshold and fills a square of the smallest width; mirrored, the
// difference is turned about 128.
void sieve(const Pixels& difference, bool mirrored, const InspectSettings& settings, Pixels& result)
{
    for (const int32_t sign : {1, -1}) {
        const Pixels kept = opened(passing(difference, sign, settings.threshold), settings.minWidth);
        for (std::size_t i = 0; i < kept.bytes.size(); ++i)
            if (kept.bytes[i])
                result.bytes[i] = mirrored
                                      ? static_cast<uint8_t>(std::min(2 * kZero - difference.bytes[i], 255))
                                      : difference.bytes[i];
    }
}

// What the list is made from: what the defect picture has and the reference has not, and the other way round.
Pixels residueOf(const Image& underlaid, const Image& defect, const Pixels& difference,
                 const InspectSettings& settings)
{
    Pixels result(difference.cols, difference.rows, 1);
    std::fill(result.bytes.begin(), result.bytes.end(), uint8_t{kZero});
    if (settings.tolerance == 0) {
        sieve(difference, false, settings, result);
        return result;
    }
    sieve(excess(underlaid, defect, settings.tolerance).read(), true, settings, result);
    sieve(excess(defect, underlaid, settings.tolerance).read(), false, settings, result);
    return result;
}

struct Listing {
    std::vector<VexaPoint> positions;
    std::vector<double> values;
    bool incomplete = false;
};

Listing list(const Image& residue, const InspectSettings& settings)
{
    constexpr int32_t kByArea = 0;
    constexpr int32_t kByIntensity = 2;
    Listing listing;
    listing.positions.resize(kMostBlobs * 2);
    listing.values.resize(listing.positions.size());
    I_SetBlobTableSize(kMostBlobs);
    const int32_t mode = I_GetClipMode();
    I_SetClipMode(kClipAround128);
    const int32_t count =
        I_ListDefects(residue.number(), listing.positions.data(), listing.values.data(),
                      static_cast<int32_t>(listing.positions.size()), settings.minDistance,
                      settings.threshold, settings.sort == SortBy::area ? kByArea : kByIntensity);
    I_SetClipMode(mode);
    listing.incomplete = I_GetBlobCount() >= kMostBlobs;
    listing.positions.resize(static_cast<std::size_t>(count));
    listing.values.resize(listing.positions.size());
    return listing;
}

// Blobs of the residue by the number that each pixel carries.
class Blobs
{
public:
    Blobs(const Image& residue, int32_t threshold) : labels_(residue.cols(), residue.rows(), PIX_WORD)
    {
        I_SetError(0, "");
        require(I_FindBlobs1(kZero + threshold, kZero - threshold, residue.number(), labels_.number()) != 0,
                "cannot label the defects");
        for (int32_t blob = 0; blob < I_GetBlobCount(); ++blob) {
            VexaPoint first = {};
            int32_t sum = 0;
            const int32_t count = I_GetBlobFirstPixel(blob, &first);
            I_GetBlobMoments1(blob, nullptr, &sum, nullptr, nullptr);
            blobs_.push_back({first, std::abs(int64_t{sum} - int64_t{count} * kZero)});
        }
    }

    // The strongest blob that begins at a listed position.
    int32_t at(VexaPoint position) const
    {
        int32_t best = -1;
        for (std::size_t i = 0; i < blobs_.size(); ++i)
            if (blobs_[i].first.x == position.x && blobs_[i].first.y == position.y &&
                (best < 0 || blobs_[i].strength > blobs_[static_cast<std::size_t>(best)].strength))
                best = static_cast<int32_t>(i);
        return best;
    }

    VexaBox box(int32_t blob) const
    {
        VexaBox box = {};
        I_GetBlobBoundingBox(blob, &box.left, &box.top, &box.right, &box.bottom);
        return box;
    }

    // 1 on the pixels of a blob, within a window of the picture.
    Pixels mask(int32_t blob, const VexaBox& window) const
    {
        Pixels mask(window.right - window.left + 1, window.bottom - window.top + 1, 1);
        std::vector<int32_t> labels(mask.bytes.size());
        require(I_GetBlockType(window.left, window.top, mask.cols, mask.rows, labels.data(), labels_.number(),
                               PIX_DWORD) != 0,
                "cannot read the labels");
        std::transform(labels.begin(), labels.end(), mask.bytes.begin(),
                       [blob](int32_t label) { return uint8_t{label == blob + 1}; });
        return mask;
    }

private:
    struct Blob {
        VexaPoint first;
        int64_t strength;
    };
    Image labels_;
    std::vector<Blob> blobs_;
};

Pixels cut(const Pixels& pixels, const VexaBox& window)
{
    Pixels part(window.right - window.left + 1, window.bottom - window.top + 1, 1);
    for (int32_t y = 0; y < part.rows; ++y)
        std::copy_n(pixels.row(window.top + y) + window.left, part.cols, part.row(y));
    return part;
}

// The sums over a grown blob.
void measure(Defect& defect, const Pixels& mask, const Pixels& difference, const VexaBox& window)
{
    int64_t sum = 0;
    int64_t sumX = 0;
    int64_t sumY = 0;
    defect.box = {window.right, window.bottom, window.left, window.top};
    for (int32_t y = 0; y < mask.rows; ++y)
        for (int32_t x = 0; x < mask.cols; ++x) {
            if (!mask.row(y)[x])
                continue;
            ++defect.area;
            sum += difference.row(y)[x] - kZero;
            sumX += window.left + x;
            sumY += window.top + y;
            defect.box.left = std::min(defect.box.left, window.left + x);
            defect.box.right = std::max(defect.box.right, window.left + x);
            defect.box.top = std::min(defect.box.top, window.top + y);
            defect.box.bottom = std::max(defect.box.bottom, window.top + y);
        }
    defect.contrast = static_cast<double>(sum) / defect.area;
    defect.centroid = {static_cast<float>(static_cast<double>(sumX) / defect.area),
                       static_cast<float>(static_cast<double>(sumY) / defect.area)};
}

// The tolerance and the square have taken the rim of the defect away. It grows back, but not along an edge that is off.
Defect measured(const Blobs& blobs, int32_t blob, const Pixels& difference, const VexaBox& picture,
                const InspectSettings& settings)
{
    const int32_t reach = settings.tolerance + 1;
    VexaBox window = blobs.box(blob);
    window = intersection(
        {window.left - reach, window.top - reach, window.right + reach, window.bottom + reach}, picture);
    const Pixels around = cut(difference, window);
    const Pixels seed = blobs.mask(blob, window);
    int64_t sum = 0;
    for (std::size_t i = 0; i < seed.bytes.size(); ++i)
        sum += seed.bytes[i] ? around.bytes[i] - kZero : 0;
    Defect defect;
    measure(defect, grown(seed, passing(around, sum < 0 ? -1 : 1, settings.threshold), reach), around,
            window);
    return defect;
}

} // namespace

Image subtract(const Image& reference, const Image& defect, VexaPoint offset, int32_t clipMode)
{
    Image difference = likeWithZero(defect);
    subtractInto(defect, reference, difference, offset, clipMode);
    return difference;
}

Inspection inspect(const Image& reference, const Image& defect, const InspectSettings& settings)
{
    Inspection result;
    result.alignment = findShift(reference, defect, settings.align);
    const Underlay under = underlay(reference, defect, result.alignment, settings.align);
    result.window = inspectedWindow(under.window, settings);
    const WindowRegion region(result.window);
    const VexaBox picture = {0, 0, defect.cols() - 1, defect.rows() - 1};

    const Image difference = subtract(under.image, defect, {0, 0}, kClipAround128);
    result.difference = difference.read();
    result.residue = residueOf(under.image, defect, result.difference, settings);

    const Image residue{Pixels(result.residue)};
    const Listing listing = list(residue, settings);
    result.incomplete = listing.incomplete;
    result.found = static_cast<int32_t>(listing.positions.size());
    const Blobs blobs(residue, settings.threshold);
    for (int32_t i = 0; i < std::min(result.found, settings.most); ++i) {
        const VexaPoint position = listing.positions[static_cast<std::size_t>(i)];
        const int32_t blob = blobs.at(position);
        if (blob < 0)
            throw Failure("the list and the blobs do not agree");
        Defect entry = measured(blobs, blob, result.difference, picture, settings);
        entry.number = i + 1;
        entry.position = position;
        entry.value = listing.values[static_cast<std::size_t>(i)];
        result.defects.push_back(entry);
    }
    return result;
}

} // namespace app
