#include "vexalib/rank.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "filters/nine_point.h"
#include "operators/working_type.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// What the rows of a median keep from call to call.
struct MedianState {
    Buffer<float> samples; // nine of a pixel that is sorted alone, from the first row that finds memory
    std::array<bool, 3> odd =
        {}; // whether a row of the neighbourhood has samples that only sorting alone places
};

struct DeflickerParameter {
    int32_t mode;
    int32_t type;
    int32_t bytes; // per pixel
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "filters/rank_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kSkeletonPasses = 11;
constexpr int32_t kSkeletonRemovals = 4; // a pass that removes fewer is the last one

// Runs a filter on bytes or, where it has a form for them and the type is another one, on floats.
int32_t runFilter(const NinePointFilter& filter, int32_t imSrc, int32_t imDest, int32_t width, int32_t height,
                  void* user, int32_t type)
{
    if (type == PIX_BYTE || !filter.floats)
        return runFrame(imSrc, imDest, width, height, user, filter.bytes, PIX_BYTE, FrameOutput::straight);
    return runFrame(imSrc, imDest, width, height, user, filter.floats, PIX_FLOAT, FrameOutput::straight);
}

int32_t runBytes(FrameFilter filter, int32_t imSrc, int32_t imDest, int32_t width, int32_t height)
{
    return runFrame(imSrc, imDest, width, height, nullptr, filter, PIX_BYTE, FrameOutput::straight);
}

int32_t narrowestWithoutColor(int32_t imSrc, int32_t imDest)
{
    return NarrowestPixelType(orNoImage(imSrc), orNoImage(imDest), kNoImage, 1);
}

// A strength in steps of 1/16 from a parameter that may be absent or 0.
int32_t strengthFrom(const float* parameter, int32_t otherwise)
{
    if (!parameter || parameter[0] == 0.0F)
        return otherwise;
    return truncToInt32(static_cast<double>(parameter[0]) * 16.0 + 0.5);
}

ContourParameter contourFrom(const float* parameter)
{
    if (!parameter || parameter[0] == 0.0F || std::abs(parameter[0]) == 1.0F)
        return {32, 0};
    return {truncToInt32(parameter[0]), truncToInt32(parameter[1])};
}

// Ends passes over an image that no longer change it, however many were asked for. What spreads by a pixel a
// pass has been everywhere after as many passes as there are pixels, even where something goes to and fro.
class Settling
{
public:
    explicit Settling(int32_t im) : im_(im) {}

    // After each pass. Compares what two passes leave from time to time.
    [[nodiscard]] bool settled()
    {
        ++passes_;
        if (passes_ < kFirstLook)
            return false;
        if (std::has_single_bit(passes_)) {
            before_ = contents();
            return im_ == 0;
        }
        if (passes_ > static_cast<uint64_t>(pixels_) + kFirstLook)
            return true;
        if (!before_ || !std::has_single_bit(passes_ - 1))
            return false;
        const Buffer<uint8_t> now = contents();
        return now && std::memcmp(now.data(), before_.data(), static_cast<std::size_t>(now.size())) == 0;
    }

private:
    // Empty without an image; also without memory, where the passes just go on.
    Buffer<uint8_t> contents()
    {
        int32_t cols = 0;
        int32_t rows = 0;
        int32_t bytes = 0;
        if (im_ == 0 || !I_ImGetSize(&cols, &rows, &bytes, im_))
            return {};
        pixels_ = int64_t{cols} * rows;
        Buffer<uint8_t> all(pixels_ * bytes);
        if (all)
            I_GetBlockType(0, 0, cols, rows, all.data(), im_, I_ImGetType(im_));
        return all;
    }

    static constexpr uint64_t kFirstLook = 64;
    int32_t im_;
    uint64_t passes_ = 0;
    int64_t pixels_ = 0;
    Buffer<uint8_t> before_;
};

// Takes off the border pixels of regions that are neither ends nor joints: user counts them. The ring of
// eight around a pixel is read from what is thinned already, where it is, and from the source elsewhere.
void thinRow(const FrameLine& line, void* user)
{
    const Lattice<uint8_t> at = latticeOf<uint8_t>(line);
    auto* out = static_cast<uint8_t*>(line.out);
    const auto* above = static_cast<const uint8_t*>(line.prevOut);
    int32_t& removed = *static_cast<int32_t*>(user);
    for (int32_t i = 0; i < line.count; ++i) {
        out[i] = at.center[i];
        if (at.center[i] == 0)
            continue;
        const int32_t neighbours = (at.nw[i] != 0) + (at.n[i] != 0) + (at.ne[i] != 0) + (at.e[i] != 0) +
                                   (at.se[i] != 0) + (at.s[i] != 0) + (at.sw[i] != 0) + (at.w[i] != 0);
        if (neighbours > 5)
            continue;
        const uint8_t ring[] = {
            i > 0 ? above[i - 1] : uint8_t{0}, above[i], above[i + 1], at.e[i], at.se[i], at.s[i], at.sw[i],
            i > 0 ? out[i - 1] : uint8_t{0}};
        int32_t falls = ring[7] > ring[0];
        for (int32_t k = 0; k < 7; ++k)
            falls += ring[k] > ring[k + 1];
        const bool corner =
            ring[1] != 0 && ((ring[0] == 0 && ring[7] != 0) || (ring[2] == 0 && ring[3] != 0));
        if ((neighbours >= 3 && falls < 2) || (falls == 2 && neighbours < 5 && corner)) {
            out[i] = 0;
            ++removed;
        }
    }
}

// One field is copied from the other one; with a mode that is neither field every line stays.
void fieldRow(const FrameLine& line, void* user)
{
    const auto& parameter = *static_cast<const DeflickerParameter*>(user);
    const bool replaced = (line.y & 1) == parameter.mode;
    std::memcpy(line.out, line.rows[replaced ? 0 : 1],
                static_cast<std::size_t>(line.count) * static_cast<std::size_t>(parameter.bytes));
}

// Whole passes and a partial one for the rest of a step.
int32_t runSteps(const NinePointFilter& filter, int32_t imSrc, int32_t imDest, float steps)
{
    const int32_t type = narrowestWithoutColor(imSrc, imDest);
    Settling passes(imDest);
    float remaining = steps;
    for (;;) {
        float step = remaining < 1.0F ? remaining : 1.0F;
        if (!runFilter(filter, imSrc, imDest, 3, 3, &step, type))
            return 0;
        remaining -= step;
        if (!(remaining > 0.0F) || passes.settled())
            return 1;
        imSrc = imDest;
    }
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_MxN9ptFilt(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, int32_t op,
                     const float* param)
{
    NinePointFilter filter = {};
    SharpenParams sharpen = {};
    ContourParameter contour = {};
    MedianState median;
    void* user = nullptr;
    switch (op) {
    case 0:
    case 10:
        filter = sharpenFilter();
        sharpen = {strengthFrom(param, op == 0 ? 40 : 16), op == 10};
        user = &sharpen;
        break;
    case 1:
        filter = meanFilter();
        break;
    case 3:
        filter = sobelFilter();
        filter.floats = nullptr; // Required: bytes only, unlike I_Sobel.
        break;
    case 4:
        filter = contourFilter();
        contour = contourFrom(param);
        if (contour.spacing == 0)
            return 0;
        user = &contour;
        break;
    case 5:
        filter = VEXA_ROWS(kErode);
        break;
    case 6:
        filter = VEXA_ROWS(kDilate);
        break;
    case 7:
        filter = VEXA_ROWS(kMedian);
        user = &median;
        break;
    case 8:
        filter = verticalGradientFilter();
        break;
    case 9:
        filter = horizontalGradientFilter();
        break;
    case 11:
        filter = VEXA_ROWS(kBinaryErode);
        break;
    case 12:
        filter = VEXA_ROWS(kBinaryDilate);
        break;
    default:
        return 0;
    }
    return runFilter(filter, imSrc, imDest, width, height, user, widestType(imSrc, imDest));
}

int32_t I_Median(int32_t imSrc, int32_t imDest)
{
    return I_MxN9ptFilt(imSrc, imDest, 3, 3, 7, nullptr);
}

int32_t I_Erode(int32_t imSrc, int32_t imDest, float steps)
{
    return steps < 0.0F ? I_Dilate(imSrc, imDest, -steps) : runSteps(VEXA_ROWS(kErode), imSrc, imDest, steps);
}

int32_t I_Dilate(int32_t imSrc, int32_t imDest, float steps)
{
    return steps < 0.0F ? I_Erode(imSrc, imDest, -steps) : runSteps(VEXA_ROWS(kDilate), imSrc, imDest, steps);
}

int32_t I_MinPeak(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, int32_t peaks)
{
    return runBytes(peaks != 0 ? VEXA_ROWS(peakRow) : VEXA_ROWS(pitRow), imSrc, imDest, width, height);
}

int32_t I_BinaryDilate(int32_t imSrc, int32_t imDest, int32_t steps)
{
    const NinePointFilter& filter = steps < 0 ? VEXA_ROWS(kBinaryErode) : VEXA_ROWS(kBinaryDilate);
    Settling passes(imDest);
    for (int64_t left = std::max<int64_t>(1, std::abs(int64_t{steps})); left > 0; --left) {
        if (!runBytes(filter.bytes, imSrc, imDest, 3, 3))
            return 0;
        if (passes.settled())
            break;
        imSrc = imDest;
    }
    return 1;
}

int32_t I_Skeleton(int32_t imSrc, int32_t imDest)
{
    for (int32_t pass = 0; pass < kSkeletonPasses; ++pass) {
        int32_t removed = 0;
        if (!runFrame(imSrc, imDest, 3, 3, &removed, thinRow, PIX_BYTE, FrameOutput::buffered) ||
            removed < kSkeletonRemovals)
            break;
        imSrc = imDest;
    }
    return 1;
}

int32_t I_Deflicker(int32_t imSrc, int32_t imDest, int32_t mode)
{
    const int32_t narrowest = narrowestWithoutColor(imSrc, imDest);
    const int32_t type = narrowest < 2 ? narrowest : static_cast<int32_t>(PIX_FLOAT);
    DeflickerParameter parameter = {mode, type, I_ImTypeBytes(type)};
    const NinePointFilter& means = VEXA_ROWS(kFieldMean);
    const FrameFilter mean = type == PIX_FLOAT ? means.floats : means.bytes;
    return runFrame(imSrc, imDest, 1, 2, &parameter, mode == -1 ? mean : fieldRow, type,
                    FrameOutput::straight);
}
