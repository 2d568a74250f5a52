#include "operators/row_frames.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <utility>

#include "core/pixel_types.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/neighbourhood.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct State {
    FramePosition position;
    bool resultPassesCache = false;
};
State state;

// The widest pixel of an image: what a raw block may hold per pixel.
constexpr int32_t kMostPixelBytes = 16;

struct Extent {
    int32_t cols = 0;
    int32_t rows = 0;

    bool empty() const { return cols < 1 || rows < 1; }
};

struct Block {
    int64_t x = 0;
    int64_t y = 0;
    int64_t width = 0;
    int64_t height = 0;

    bool empty() const { return width < 1 || height < 1; }
    Block movedBy(int64_t dx, int64_t dy) const { return {x + dx, y + dy, width, height}; }
    // Cuts away the first columns and rows.
    void cutFront(int64_t cols, int64_t rows)
    {
        x += cols;
        width -= cols;
        y += rows;
        height -= rows;
    }
    void limitTo(Extent extent)
    {
        width = std::min(width, extent.cols - x);
        height = std::min(height, extent.rows - y);
    }
};

// The type in which rows are handed over.
struct Processing {
    int32_t type;
    int32_t bytes;            // of a pixel
    int32_t elementsPerPixel; // in units of the type that the operator asked for
};

// On several bands at once bytes are processed as packed colour, each colour byte an element.
Processing chooseProcessing(int32_t type, int32_t bands, int32_t imDest)
{
    int32_t processing = type;
    if (bands >= 2 && type == PIX_BYTE) {
        const int32_t dest = I_ImGetType(imDest);
        processing = dest >= PIX_BGR24 && dest <= PIX_RGB32 ? dest : PIX_BGR24;
    }
    const int32_t bytes = I_ImTypeBytes(processing);
    return {processing, bytes, bytes / I_ImTypeBytes(type)};
}

// The rows of one operand in a block.
struct Rows {
    uint8_t* first;
    int64_t step;
};

// One image of a run: addressed in place where it can be, moved through a section of the buffer where it cannot.
struct Operand {
    int32_t im = 0;
    uint8_t* pixels = nullptr; // pixel (0, 0)
    int32_t stride = 0;

    Operand(int32_t image, const Processing& processing) : im(image)
    {
        if (im != 0)
            pixels = static_cast<uint8_t*>(I_ImGetPtrEx(0, 0, &stride, im, processing.type));
    }

    bool direct() const { return pixels != nullptr; }
    bool stored() const { return im != 0 && !direct(); }

    // No image has one row for all: zeros as a source, scratch as a destination.
    Rows locate(const Block& block, const Processing& processing, uint8_t* section) const
    {
        if (direct())
            return {pixels + block.y * stride + block.x * processing.bytes, stride};
        return {section, im != 0 ? block.width * processing.bytes : 0};
    }
    Rows fetch(const Block& block, const Processing& processing, uint8_t* section) const
    {
        if (stored())
            I_GetBlockType(static_cast<int32_t>(block.x), static_cast<int32_t>(block.y),
                           static_cast<int32_t>(block.width), static_cast<int32_t>(block.height), section, im,
                           processing.type);
        return locate(block, processing, section);
    }
};

// The sections of a run, one per operand. They grow and are never given back before the run ends.
template <std::size_t Count>
class RowBuffer
{
public:
    RowBuffer(const Processing& processing, const char* tag)
        : pixelBytes_(processing.type == kTypeRaw ? kMostPixelBytes : processing.bytes), tag_(tag)
    {
    }

    [[nodiscard]] bool hold(int64_t pixels, int32_t cols)
    {
        if (pixels <= capacity_)
            return true;
        capacity_ = std::max<int64_t>(pixels, cols);
        int64_t bytes = 0;
        if (__builtin_mul_overflow(capacity_, int64_t{pixelBytes_}, &bytes) || bytes > INT64_MAX / 4)
            bytes = -1;
        sections_ = Sections<Count>();
        sections_ = Sections<Count>(bytes);
        const int32_t total = saturateToInt32(bytes * static_cast<int64_t>(Count));
        return !malloctest(sections_ ? sections_[0] : nullptr, tag_, total);
    }
    uint8_t* operator[](std::size_t section) const { return sections_[section]; }

private:
    Sections<Count> sections_;
    int64_t capacity_ = 0;
    int32_t pixelBytes_;
    const char* tag_;
};

// Takes the next block that lies in the image, if only in part; false at the end of the region.
class BlockWalk
{
public:
    BlockWalk(int32_t im, Extent extent) : im_(im), extent_(extent) {}

    bool next(Block& block)
    {
        int32_t x = 0;
        int32_t y = 0;
        int32_t width = 0;
        int32_t height = 0;
        while (I_GetNextLines(&x, &y, &width, &height, im_, &first_, 0)) {
            block = {x, y, width, height};
            // A scan list may begin in front of the image.
            block.cutFront(std::max<int64_t>(-block.x, 0), 0);
            block.limitTo(extent_);
            if (block.y >= 0 && !block.empty())
                return true;
        }
        return false;
    }

private:
    int32_t im_;
    Extent extent_;
    int32_t first_ = 1;
};

void enterBlock(const Block& block, int32_t type)
{
    state.position = {type, static_cast<int32_t>(block.x), static_cast<int32_t>(block.width),
                      static_cast<int32_t>(block.y)};
}

// True where the rows lie one behind the other, and a result is never a source of a later row.
template <std::size_t Count>
bool joinable(const Block& block, const std::array<Rows, Count>& rows, const Processing& processing)
{
    const int64_t rowBytes = block.width * processing.bytes;
    const auto addressOf = [](const Rows& operand) {
        return static_cast<int64_t>(reinterpret_cast<uintptr_t>(operand.first));
    };
    return std::all_of(rows.begin(), rows.end(), [&](const Rows& operand) {
        const int64_t distance = addressOf(operand) - addressOf(rows.back());
        return operand.step == rowBytes && (distance == 0 || std::abs(distance) >= rowBytes * block.height);
    });
}

// Calls the row function down the block, once where the rows may be joined.
template <std::size_t Count, typename Call>
void callRows(const Block& block, const std::array<Rows, Count>& rows, const Processing& processing,
              RowCalls calls, Call call)
{
    const int64_t elements = block.width * processing.elementsPerPixel;
    const bool joined = calls == RowCalls::joined && elements * block.height <= INT32_MAX / 2 &&
                        joinable(block, rows, processing);
    std::array<uint8_t*, Count> at;
    for (int64_t y = 0; y < (joined ? 1 : block.height); ++y) {
        for (std::size_t i = 0; i < Count; ++i)
            at[i] = rows[i].first + y * rows[i].step;
        state.position.y = static_cast<int32_t>(block.y + y);
        call(at, static_cast<int32_t>(joined ? elements * block.height : elements));
    }
}

Extent commonSize(int32_t im1, int32_t im2)
{
    Extent extent;
    I_GetMinSize2(&extent.cols, &extent.rows, nullptr, nullptr, im1, im2);
    return extent;
}

// The second source's size; one that is absent or not open limits nothing.
Extent secondSize(int32_t im, Extent common, int32_t dx, int32_t dy)
{
    Extent extent;
    if (im == 0 || !I_ImGetSize(&extent.cols, &extent.rows, nullptr, im))
        extent = {saturateToInt32(std::abs(int64_t{dx}) + common.cols),
                  saturateToInt32(std::abs(int64_t{dy}) + common.rows)};
    return extent;
}

// Rows of a rectangle are long enough to be written past the cache; runs of a polygon are not.
bool passesCache(const Operand& dest, const Processing& processing)
{
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = -1;
    int32_t bottom = -1;
    if (!dest.direct() || I_GetROIType() > 1 || !I_ROIBoundingBox(&left, &top, &right, &bottom, dest.im))
        return false;
    return (int64_t{right} - left + 1) * (int64_t{bottom} - top + 1) * processing.bytes >= kBytesPastCache;
}

auto passCacheGuard(bool passes)
{
    const bool before = std::exchange(state.resultPassesCache, passes);
    return Guard([=] {
        state.resultPassesCache = before;
        // Stores past the cache keep no order of themselves: another thread that is told of the result must see it.
        if (passes)
            std::atomic_thread_fence(std::memory_order_seq_cst);
    });
}

auto positionGuard()
{
    return Guard([before = state.position] { state.position = before; });
}

void storeBlock(const Block& block, const void* rows, const Operand& dest, const Processing& processing)
{
    I_PutBlockTypeEx(static_cast<int32_t>(block.x), static_cast<int32_t>(block.y),
                     static_cast<int32_t>(block.width), static_cast<int32_t>(block.height), rows, dest.im,
                     processing.type, saturateToInt32(block.width * processing.bytes));
}

} // namespace

const FramePosition& framePosition()
{
    return state.position;
}

bool resultPassesCache()
{
    return state.resultPassesCache;
}

int32_t runUnaryFrame(int32_t imSrc, int32_t imDest, void* parameter, UnaryRowFilter function, int32_t type,
                      RowCalls calls)
{
    if (!function || !I_ImGetSize(nullptr, nullptr, nullptr, imSrc))
        return 0;
    const int32_t bands = std::max(I_ImGetNBands(imSrc), I_ImGetNBands(imDest));
    const Extent extent = commonSize(imSrc, imDest);
    if (extent.empty())
        return 0;
    const Processing processing = chooseProcessing(type, bands, imDest);
    const Operand source(imSrc, processing);
    const Operand dest(imDest, processing);
    const Guard cache = passCacheGuard(passesCache(dest, processing));

    RowBuffer<2> buffer(processing, "I_UnaryOp %d bytes");
    BlockWalk walk(imDest, extent);
    for (Block block; walk.next(block);) {
        if (!(source.direct() && dest.direct()) && !buffer.hold(block.width * block.height, extent.cols))
            return 0;
        const Guard position = positionGuard();
        enterBlock(block, processing.type);
        const std::array rows = {source.fetch(block, processing, buffer[0]),
                                 dest.locate(block, processing, buffer[1])};
        callRows(block, rows, processing, calls,
                 [=](const auto& at, int32_t n) { function(at[0], at[1], n, parameter); });
        if (dest.stored())
            I_PutBlockType(static_cast<int32_t>(block.x), static_cast<int32_t>(block.y),
                           static_cast<int32_t>(block.width), static_cast<int32_t>(block.height),
                           rows[1].first, imDest, processing.type);
    }
    I_SetColorBand(-1);
    return 1;
}

int32_t runBinaryFrame(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, void* parameter,
                       BinaryRowFilter function, int32_t type, RowCalls calls)
{
    if (!function)
        return 0;
    const int32_t bands = std::max({I_ImGetNBands(imA), I_ImGetNBands(imB), I_ImGetNBands(imDest)});
    const Extent extent = commonSize(imA, imDest);
    const Extent extentB = secondSize(imB, extent, dx, dy);
    if (extent.empty() || extentB.empty())
        return 0;
    const Processing processing = chooseProcessing(type, bands, imDest);
    const Operand a(imA, processing);
    const Operand b(imB, processing);
    const Operand dest(imDest, processing);
    const bool direct = a.direct() && b.direct() && dest.direct();
    const Guard cache = passCacheGuard(passesCache(dest, processing));

    I_TellProgress(0.0F, 0.0F, nullptr);
    RowBuffer<3> buffer(processing, "I_BinaryOperatorType %d bytes");
    BlockWalk walk(imDest, extent);
    for (Block block; walk.next(block);) {
        Block blockB = block.movedBy(dx, dy);
        const int64_t cutCols = std::max<int64_t>(-blockB.x, 0);
        const int64_t cutRows = std::max<int64_t>(-blockB.y, 0);
        block.cutFront(cutCols, cutRows);
        blockB.cutFront(cutCols, cutRows);
        blockB.limitTo(extentB);
        block.width = blockB.width;
        block.height = blockB.height;
        if (block.empty())
            continue;
        enterBlock(block, processing.type);
        if (!direct && !buffer.hold(block.width * block.height, extent.cols))
            return 0;
        const std::array rows = {a.fetch(block, processing, buffer[0]),
                                 b.fetch(blockB, processing, buffer[1]),
                                 dest.locate(block, processing, buffer[2])};
        callRows(block, rows, processing, calls,
                 [=](const auto& at, int32_t n) { function(at[0], at[1], at[2], n, parameter); });
        if (dest.stored())
            storeBlock(block, rows[2].first, dest, processing);
    }
    // A band that the caller selected holds for one operator.
    I_SetColorBand(-1);
    I_TellProgress(1.0F, 1.0F, nullptr);
    return 1;
}

} // namespace vexa

int32_t I_UnaryOpType(int32_t imSrc, int32_t imDest, void* parameter, UnaryRowFilter function, int32_t type)
{
    return vexa::runUnaryFrame(imSrc, imDest, parameter, function, type, vexa::RowCalls::each);
}

int32_t I_BinaryOperatorType(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy,
                             void* parameter, BinaryRowFilter function, int32_t type)
{
    return vexa::runBinaryFrame(imA, imB, imDest, dx, dy, parameter, function, type, vexa::RowCalls::each);
}

int32_t I_BinaryOperator(int32_t imA, int32_t imB, int32_t imDest, int32_t dx, int32_t dy, void* parameter,
                         BinaryRowFilter function)
{
    return I_BinaryOperatorType(imA, imB, imDest, dx, dy, parameter, function, PIX_BYTE);
}

int32_t I_DoStatsOpType(int32_t im, void* parameter, StatsRowFilter function, int32_t type)
{
    using namespace vexa;
    Extent extent;
    if (!function || !I_ImGetSize(&extent.cols, &extent.rows, nullptr, im) || extent.empty())
        return 0;
    // Bands are not told apart here: a colour image gives one element per pixel of the type asked for.
    const Processing processing = {type, I_ImTypeBytes(type), 1};
    const Operand source(im, processing);
    RowBuffer<1> buffer(processing, "I_DoStatsOpType");
    BlockWalk walk(im, extent);
    for (Block block; walk.next(block);) {
        if (!source.direct() && !buffer.hold(block.width * block.height, extent.cols))
            return 0;
        const Guard position = positionGuard();
        enterBlock(block, type);
        const std::array rows = {source.fetch(block, processing, buffer[0])};
        callRows(block, rows, processing, RowCalls::each,
                 [=](const auto& at, int32_t n) { function(at[0], n, parameter); });
    }
    return 1;
}

int32_t GetImageXY(int32_t index, int32_t* x, int32_t* y)
{
    vexa::FramePosition& position = vexa::state.position;
    if (position.width == 0)
        position.width = 100;
    const int32_t row = vexa::wrapAdd(index / position.width, position.y);
    if (x)
        *x = vexa::wrapAdd(index % position.width, position.x);
    if (y)
        *y = row;
    return row;
}
