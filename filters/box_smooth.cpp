// The separable moving average with windows of fractional size.
#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <numeric>
#include <utility>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "filters/frame.h"
#include "operators/row_frames.h"
#include "operators/working_type.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "support/trace.h"
#include "vexalib/arithmetic.h"
#include "vexalib/block.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/roi_store.h"
#include "vexalib/smoothing.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// Up to this height or width of a window its sums fit into 16 bits.
constexpr int32_t kMostShortWindow = 257;
// Up to this scale, that of an area of 2, they are scaled in 16 bits.
constexpr int32_t kMostShortScale = 511;
// Between rows of sums of floats, so that they do not share cache sets where the width is a power of two.
constexpr int32_t kFloatSumsGap = 72;
// Pixels of a row that are summed as one where a window is summed by blocks.
constexpr int32_t kFloatGroup = 8;
// Narrower windows of floats are summed pixel by pixel where sums do not run.
constexpr int32_t kNarrowestBlock = 16;

// The exponents of floats that were met: twice the bits of the largest, and of the smallest that is not 0, less 1.
struct Spread {
    uint32_t highest = 0;
    uint32_t lowest = UINT32_MAX;

    // True if sums of so many of these floats, in any order, are exact in doubles; a number that is none spoils that.
    bool sumsExactly(int32_t count) const
    {
        if (lowest == UINT32_MAX)
            return true;
        const auto high = static_cast<int32_t>(highest >> 24);
        const auto low = std::max(static_cast<int32_t>((lowest + 1) >> 24), 1);
        const auto carries = static_cast<int32_t>(std::bit_width(static_cast<uint32_t>(count)));
        return high < 255 && high - low + 24 + carries <= 53;
    }
};

// What a smoothing pass hands to its row functions.
struct BoxParameter {
    int32_t scale;  // 1024 over the area of the window
    int32_t weight; // of the end rows or columns, in units of 1/1024
    double inverse; // 1 over the area
    double edge;    // the weight for floats
    void* sums;     // of each column, kept from line to line, or of the blocks of a row; null without memory
    bool pastCache; // floats of the result are written past the cache
    int32_t aheadBytes; // of the source's next row, to be fetched with each pixel of this pass
    // Of a column window of floats:
    bool running; // its sums move on by the row that enters and the one that leaves
    Spread spread;
    int32_t phase; // within its block, where they do not
};

// Of the source's row that comes next, the share that belongs to n pixels of a pass: it comes nearer while they are
// computed.
inline void fetchAhead(const FrameLine& line, const BoxParameter& box, int32_t start, int32_t n)
{
    if (!line.ahead)
        return;
    const int64_t end = (int64_t{start} + n) * box.aheadBytes;
    for (int64_t at = int64_t{start} * box.aheadBytes; at < end; at += 64)
        __builtin_prefetch(line.ahead + at, 0, 2);
}

struct BoxFilters {
    FrameFilter columnBytes;
    FrameFilter columnBytesTall;
    FrameFilter columnBytesAnew;
    FrameFilter columnFloats;
    FrameFilter rowBytes;
    FrameFilter rowBytesWide;
    FrameFilter rowFloats;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "filters/box_smooth_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

// One axis of a window: an odd number of samples, of which the two at the ends may count in part.
struct Window {
    int32_t samples;
    float edge;

    explicit Window(float size) : samples(truncToInt32(std::ceil(size)) | 1), edge(0.0F)
    {
        if (static_cast<float>(samples) != size)
            edge = (size - static_cast<float>(int64_t{samples} - 2)) * 0.5F;
    }
};

void fillZeros(const FrameLine& line, void*)
{
    std::memset(line.out, 0, static_cast<std::size_t>(line.count));
}

bool fitsShort(int32_t samples, int32_t scale)
{
    return samples <= kMostShortWindow && scale <= kMostShortScale;
}

// Room for the sums of a window, or nothing without memory: a line is then summed anew.
Buffer<uint8_t> roomForSums(int64_t cols, const Window& x, const Window& y, int32_t type,
                            const BoxParameter& box)
{
    constexpr int64_t kMostBytes = int64_t{1} << 30;
    int64_t bytes = 0;
    if (type == PIX_BYTE && x.samples <= 1 && box.scale != 0)
        bytes = (cols + 1) * (fitsShort(y.samples, box.scale) ? 2 : 4);
    if (type == PIX_FLOAT && x.samples >= kNarrowestBlock)
        bytes = (cols + 3 * (int64_t{x.samples} + kFloatGroup)) * static_cast<int64_t>(sizeof(double));
    if (type == PIX_FLOAT && x.samples <= 1)
        bytes = (int64_t{y.samples} + 1) * (cols + kFloatSumsGap) * static_cast<int64_t>(sizeof(double));
    return bytes > 0 && bytes <= kMostBytes ? Buffer<uint8_t>(bytes) : Buffer<uint8_t>();
}

FrameFilter chooseByteFilter(int32_t width, int32_t height, const BoxParameter& box)
{
    // A window of more than 2048 pixels; its weights may be beyond all bounds.
    if (box.scale == 0)
        return fillZeros;
    const BoxFilters& filters = VEXA_ROWS(kBoxFilters);
    if (width > 1)
        return fitsShort(width, box.scale) ? filters.rowBytes : filters.rowBytesWide;
    if (!box.sums)
        return filters.columnBytesAnew;
    return fitsShort(height, box.scale) ? filters.columnBytes : filters.columnBytesTall;
}

// One pass, ready to run; one of width and height is 1.
struct Pass {
    int32_t type;
    Window x;
    Window y;
    BoxParameter box;
    Buffer<uint8_t> sums;
    FrameFilter filter;

    Pass(int32_t imSrc, int32_t imDest, float width, float height)
        : type(NarrowestPixelType(orNoImage(imSrc), orNoImage(imDest), kNoImage, 1) == PIX_BYTE ? PIX_BYTE
                                                                                                : PIX_FLOAT),
          x(width), y(height)
    {
        const float area = width * height;
        const bool rows = x.samples > 1;
        const float edge = rows ? x.edge : y.edge;
        box = {Rnd(static_cast<float>(1024.0 / double{area})),
               truncToInt32(edge * 1024.0F),
               1.0 / double{area},
               double{edge},
               nullptr,
               false,
               I_ImTypeBytes(type),
               false,
               {},
               0};
        int32_t cols = 0;
        if (I_ImGetSize(&cols, nullptr, nullptr, imDest))
            sums = roomForSums(cols, x, y, type, box);
        box.sums = sums.data();
        const BoxFilters& filters = VEXA_ROWS(kBoxFilters);
        filter = type == PIX_BYTE ? chooseByteFilter(x.samples, y.samples, box)
                 : rows           ? filters.rowFloats
                                  : filters.columnFloats;
    }
};

void smoothingPass(int32_t imSrc, int32_t imDest, float width, float height)
{
    Pass pass(imSrc, imDest, width, height);
    runFrame(imSrc, imDest, pass.x.samples, pass.y.samples, &pass.box, pass.filter, pass.type,
             FrameOutput::straight);
}

// Both passes line by line: a smoothed line need not go through the image.
struct PassPair {
    Pass& columns;
    Pass& rows;
    BorderRule border;
    int32_t pixelBytes;
    uint8_t* line; // the first pixel between its pads
};

void runPair(const FrameLine& line, void* user)
{
    const auto& pair = *static_cast<const PassPair*>(user);
    FrameLine down = line;
    down.out = pair.line;
    pair.columns.filter(down, &pair.columns.box);
    const int32_t samples = pair.rows.x.samples;
    const int32_t reach = samples / 2;
    pair.border.padRow(pair.line, line.count, reach, reach, pair.pixelBytes);
    void* padded = pair.line - int64_t{reach} * pair.pixelBytes;
    const uint8_t* const restAhead =
        line.ahead ? line.ahead + int64_t{line.count} * pair.columns.box.aheadBytes : nullptr;
    const FrameLine across = {line.x0, line.y,     samples, 1,    &padded,  line.out,
                              nullptr, line.count, false,   true, restAhead};
    pair.rows.filter(across, &pair.rows.box);
}

bool disjoint(const ImageRecord& a, const ImageRecord& b)
{
    const std::less_equal<const void*> notBehind;
    return notBehind(directPixels(a) + pixelSpan(a), directPixels(b)) ||
           notBehind(directPixels(b) + pixelSpan(b), directPixels(a));
}

// True where running the passes line by line gives what one after the other gives: whole rows of images alike, no pixel
// of which is read again after a line was stored.
bool pairable(int32_t imSrc, int32_t imDest, const VexaBox& box)
{
    const ImageRecord* const src = imageRecordOrNull(imSrc);
    const ImageRecord* const dest = imageRecordOrNull(imDest);
    if (!src || !dest || !directPixels(*src) || !directPixels(*dest))
        return false;
    if (src->type != dest->type || src->cols != dest->cols || src->rows != dest->rows)
        return false;
    if ((dest->type != PIX_BYTE && dest->type != PIX_FLOAT) || box.left != 0 || box.right != dest->cols - 1)
        return false;
    int32_t right = 1;
    int32_t bottom = 1;
    if (I_GetROIType() == 1)
        I_GetWindowROI(nullptr, nullptr, &right, &bottom);
    if (I_GetROIType() > 1 || right < 1 || bottom < 1)
        return false;
    return imSrc == imDest ? BorderRule(dest->type).mode != BorderRule::Mode::reflect : disjoint(*src, *dest);
}

// False: nothing was done.
bool smoothLineByLine(int32_t imSrc, int32_t imDest, float width, float height, const VexaBox& box)
{
    constexpr int32_t kWidest = 4096;
    constexpr int32_t kTallest = 1 << 20;
    if (!(width > 1.0F && width < kWidest && height < kTallest) || !pairable(imSrc, imDest, box))
        return false;
    Pass columns(imSrc, imDest, 1.0F, height);
    Pass rows(imDest, imDest, width, 1.0F);
    const int32_t pixelBytes = I_ImTypeBytes(rows.type);
    const int64_t resultBytes = (int64_t{box.right} + 1) * (int64_t{box.bottom} - box.top + 1) * pixelBytes;
    rows.box.pastCache = resultBytes >= kBytesPastCache;
    rows.box.aheadBytes = pixelBytes / 2;
    columns.box.aheadBytes -= rows.box.aheadBytes;
    const int64_t pads = rows.x.samples;
    Buffer<uint8_t> line((int64_t{box.right} + 1 + pads) * pixelBytes + kFrameSlack);
    if (!line)
        return false;
    PassPair pair = {columns, rows, BorderRule(rows.type), pixelBytes, line.data() + pads / 2 * pixelBytes};
    runFrame(imSrc, imDest, 1, columns.y.samples, &pair, runPair, rows.type, FrameOutput::straight);
    if (rows.box.pastCache)
        std::atomic_thread_fence(
            std::memory_order_seq_cst); // stores past the cache keep no order of themselves
    return true;
}

// Pixels of an image beside a region, put back when they have served their turn.
class [[nodiscard]] SavedStrip
{
public:
    SavedStrip(int32_t im, int32_t x, int32_t y, int32_t width, int32_t height)
        : im_(im), x_(x), y_(y), width_(width), height_(height), type_(I_ImGetType(im)),
          pixels_(width > 0 ? I_DupBlockType(x, y, width, height, im, type_) : nullptr)
    {
    }
    ~SavedStrip()
    {
        if (!pixels_)
            return;
        I_PutBlockType(x_, y_, width_, height_, pixels_, im_, type_);
        vexaFree(pixels_);
    }
    SavedStrip(const SavedStrip&) = delete;
    SavedStrip& operator=(const SavedStrip&) = delete;

private:
    int32_t im_;
    int32_t x_;
    int32_t y_;
    int32_t width_;
    int32_t height_;
    int32_t type_;
    void* pixels_;
};

// The columns of the first pass: the region's, and those beside it that the second pass reads.
struct WidenedBox {
    VexaBox box = {};
    int32_t left = 0;
    int32_t right = 0;

    WidenedBox(int32_t im, float width)
    {
        int32_t cols = 0;
        I_ImGetSize(&cols, nullptr, nullptr, im);
        I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, im);
        const float half = width * 0.5F;
        left = truncToInt32(std::max(0.0F, static_cast<float>(box.left) - half));
        right = truncToInt32(std::min(static_cast<float>(cols - 1), static_cast<float>(box.right) + half));
    }
    int64_t leftStrip() const { return int64_t{box.left} - left; }
    int64_t rightStrip() const { return int64_t{right} - box.right; }
    bool widened() const { return leftStrip() > 0 || rightStrip() > 0; }
};

void smoothColumns(int32_t imSrc, int32_t imDest, float height, const WidenedBox& columns)
{
    if (columns.widened())
        I_PushWindowROI(columns.left, columns.box.top, columns.right, columns.box.bottom);
    smoothingPass(imSrc, imDest, 1.0F, height);
    if (columns.widened())
        I_PopROI();
}

void smoothRows(int32_t imDest, float width)
{
    if (width > 1.0F)
        smoothingPass(imDest, imDest, width, 1.0F);
}

} // namespace
} // namespace vexa

int32_t I_MxNSmooth(int32_t imSrc, int32_t imDest, float width, float height)
{
    using namespace vexa;
    I_TellProgress(0.0F, 0.0F, "MxNSmooth");
    if (!(height > 1.0F)) {
        I_ROICopy(imSrc, imDest, 0, 0);
        smoothRows(imDest, width);
        return 1;
    }
    const WidenedBox columns(imDest, width);
    const VexaBox& box = columns.box;
    if (smoothLineByLine(imSrc, imDest, width, height, box))
        return 1;
    const int32_t rows = box.bottom - box.top + 1;
    const SavedStrip left(imDest, columns.left, box.top, saturateToInt32(columns.leftStrip()), rows);
    const SavedStrip right(imDest, box.right + 1, box.top, saturateToInt32(columns.rightStrip()), rows);
    smoothColumns(imSrc, imDest, height, columns);
    smoothRows(imDest, width);
    return 1;
}
