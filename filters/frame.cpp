#include "filters/frame.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/image_memory.h"
#include "core/image_table.h"
#include "core/pixel_types.h"
#include "core/roi_state.h"
#include "support/buffer.h"
#include "support/trace.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kReplicate = -1;
constexpr int32_t kWidestPixel = BorderRule::kWidestPixel;

struct State {
    int32_t borderMode = kReplicate;
    alignas(kWidestPixel) uint8_t borderConstant[kWidestPixel] = {};
    int32_t borderConstantType = PIX_BYTE;
};
State state;

void fillPixels(uint8_t* at, const uint8_t* pixel, int32_t count, int32_t pixelBytes)
{
    memsetStruct(at, pixel, count, pixelBytes);
}

// Required: the left reflection leaves the edge pixel out, the right one repeats it once.
void reflectRow(uint8_t* first, int32_t pixels, int32_t left, int32_t right, int32_t pixelBytes)
{
    const auto bytes = static_cast<std::size_t>(pixelBytes);
    const auto pixel = [=](int64_t i) { return first + i * pixelBytes; };
    for (int64_t i = 1; i <= left; ++i)
        std::memcpy(pixel(-i), pixel(std::min<int64_t>(i, pixels - 1)), bytes);
    for (int64_t i = 1; i <= right; ++i)
        std::memcpy(pixel(pixels - 1 + i), pixel(pixels - std::min<int64_t>(i, pixels)), bytes);
}

void repeatEdges(uint8_t* first, int32_t pixels, int32_t left, int32_t right, int32_t pixelBytes)
{
    uint8_t* const end = first + int64_t{pixels} * pixelBytes;
    fillPixels(first - int64_t{left} * pixelBytes, first, left, pixelBytes);
    fillPixels(end, end - pixelBytes, right, pixelBytes);
}

// Which columns are fetched, and what is missing beside them.
struct ColumnPlan {
    int32_t padded; // pixels of a row with its pads
    int32_t leftPad;
    int32_t first; // column of the image that is fetched first
    int32_t fetched;
    int32_t rightPad;
};

ColumnPlan planColumns(const VexaBox& box, int32_t cols, int32_t width)
{
    const int64_t firstWanted = int64_t{box.left} - (width - 1) / 2;
    const int64_t padded = int64_t{box.right} - box.left + width;
    const int64_t leftPad = std::max<int64_t>(0, -firstWanted);
    const int64_t first = firstWanted + leftPad;
    const int64_t fetched = std::min<int64_t>(cols, int64_t{box.right} + width / 2 + 1) - first;
    const int64_t rightPad = std::max<int64_t>(0, padded - fetched - leftPad);
    return {static_cast<int32_t>(padded), static_cast<int32_t>(leftPad), static_cast<int32_t>(first),
            static_cast<int32_t>(fetched), static_cast<int32_t>(rightPad)};
}

// The four stores of a run.
struct Stores {
    Buffer<uint8_t> rows;   // two guard rows, the ring, two guard rows, slack
    Buffer<uint8_t> output; // two output rows
    Buffer<void*> ring;
    Buffer<void*> neighbourhood;

    explicit operator bool() const { return rows && output && ring && neighbourhood; }
};

// What a block call moves per pixel where it does not convert: images may be wider in storage than their type.
int32_t storedBytes(int32_t im, int32_t type)
{
    const ImageRecord* const record = imageRecordOrNull(im);
    return record && (type == record->type || type == kTypeRaw) ? record->bytes : 1;
}

constexpr int64_t kGuardRows = 2;
// Neighbourhoods that take more than this are as good as without memory: they would be filled for minutes.
constexpr int64_t kMostRowStoreBytes = INT32_MAX;

struct FrameRequest {
    int32_t imSrc;
    int32_t imDest;
    int32_t width;
    int32_t height;
    void* user;
    FrameFilter filter;
    int32_t type;
    FrameOutput output;
};

// The room of a pixel in the rows, in whole elements of the type.
int32_t roomOfPixel(const FrameRequest& request)
{
    const int32_t own = I_ImTypeBytes(request.type);
    const int32_t stored =
        std::max(storedBytes(request.imSrc, request.type), storedBytes(request.imDest, request.type));
    return (std::max(own, stored) + own - 1) / own * own;
}

class FrameRun
{
    using Mode = BorderRule::Mode;

public:
    FrameRun(const FrameRequest& request, const BorderRule& rule, int32_t cols, int32_t rows)
        : request_(request), rule_(rule), cols_(cols), rows_(rows), pixelBytes_(roomOfPixel(request))
    {
    }

    [[nodiscard]] bool allocate(const VexaBox& box);
    // The region's runs through one band; 0 after a break.
    int32_t walkBand(int32_t points);
    void checkGuards() const;

private:
    int64_t ringSize() const { return request_.height; }
    void fetch(int64_t y, uint8_t* row) const;
    void fetchOrFill(int64_t y, uint8_t* row) const;
    int64_t preloadedRow(int64_t y) const;
    int64_t enteringRow(int64_t y) const;
    void preload();
    void advance(int32_t y);
    void runLine(VexaPoint start, VexaPoint end);
    uint8_t* straightRow(int32_t y) const;
    const uint8_t* rowAhead(int32_t y) const;
    void continueOutput(int64_t column);

    FrameRequest request_;
    BorderRule rule_;
    int32_t cols_; // the size that both images have
    int32_t rows_;
    int32_t pixelBytes_;
    ColumnPlan plan_ = {};
    VexaBox box_ = {};
    int64_t rowBytes_ = 0;
    Stores stores_;
    uint8_t* out_ = nullptr;
    uint8_t* prevOut_ = nullptr;
    int64_t ringPosition_ = 0;
    int32_t line_ = 0;
    bool bandStart_ = true;
    bool newLine_ = false;
};

bool FrameRun::allocate(const VexaBox& box)
{
    box_ = box;
    const int64_t padded = int64_t{box.right} - box.left + request_.width;
    const int64_t rows = ringSize() + 2 * kGuardRows;
    const int64_t bytes = padded * pixelBytes_ <= kMostRowStoreBytes
                              ? rows * (padded * pixelBytes_ + static_cast<int64_t>(sizeof(void*)))
                              : kMostRowStoreBytes + 1;
    if (bytes <= kMostRowStoreBytes) {
        plan_ = planColumns(box, cols_, request_.width);
        rowBytes_ = padded * pixelBytes_;
        stores_.rows = Buffer<uint8_t>(rows * rowBytes_ + kFrameSlack);
        stores_.output = Buffer<uint8_t>(2 * (int64_t{cols_} + request_.width) * pixelBytes_);
        stores_.ring = Buffer<void*>(ringSize());
        stores_.neighbourhood = Buffer<void*>(ringSize());
    }
    if (malloctest(stores_ ? stores_.rows.data() : nullptr, "mxnoperator"))
        return false;
    for (int64_t i = 0; i < ringSize(); ++i)
        stores_.ring[i] = stores_.neighbourhood[i] = stores_.rows.data() + (kGuardRows + i) * rowBytes_;
    out_ = stores_.output.data();
    prevOut_ = out_ + int64_t{cols_} * pixelBytes_;
    return true;
}

void FrameRun::fetch(int64_t y, uint8_t* row) const
{
    I_GetBlockType(plan_.first, static_cast<int32_t>(y), plan_.fetched, 1,
                   row + int64_t{plan_.leftPad} * pixelBytes_, request_.imSrc, request_.type);
}

// Every pixel of a row outside the image is the constant.
void FrameRun::fetchOrFill(int64_t y, uint8_t* row) const
{
    if (rule_.mode == Mode::constant && (y < 0 || y >= rows_))
        fillPixels(row, rule_.pixel, plan_.padded, pixelBytes_);
    else
        fetch(y, row);
}

// Required: there is no reflection at the bottom for rows loaded ahead.
int64_t FrameRun::preloadedRow(int64_t y) const
{
    if (rule_.mode == Mode::constant)
        return y;
    const int64_t above = rule_.mode == Mode::reflect && y < 0 ? -y : y;
    return std::clamp<int64_t>(above, 0, rows_ - 1);
}

int64_t FrameRun::enteringRow(int64_t y) const
{
    if (y < rows_ || rule_.mode == Mode::constant)
        return y;
    return rule_.mode == Mode::replicate ? rows_ - 1 : std::max<int64_t>(0, 2 * int64_t{rows_} - y - 2);
}

// Required: rows loaded ahead are padded with their edge pixels in the reflecting mode, too.
void FrameRun::preload()
{
    for (int64_t i = 0; i + 1 < ringSize(); ++i) {
        auto* const row = static_cast<uint8_t*>(stores_.neighbourhood[i]);
        uint8_t* const first = row + int64_t{plan_.leftPad} * pixelBytes_;
        fetchOrFill(preloadedRow(int64_t{box_.top} - ringSize() / 2 + i), row);
        if (rule_.mode == Mode::reflect)
            repeatEdges(first, plan_.fetched, plan_.leftPad, plan_.rightPad, pixelBytes_);
        else
            rule_.padRow(first, plan_.fetched, plan_.leftPad, plan_.rightPad, pixelBytes_);
    }
}

// Required: one row enters, however many lines the region skips.
void FrameRun::advance(int32_t y)
{
    const int64_t size = ringSize();
    const int64_t wrapped = size - ringPosition_;
    for (int64_t i = 0; i < size; ++i)
        stores_.neighbourhood[i] = stores_.ring[i < wrapped ? i + ringPosition_ : i - wrapped];
    ringPosition_ = ringPosition_ + 1 == size ? 0 : ringPosition_ + 1;
    line_ = y;
    newLine_ = true;
    auto* const row = static_cast<uint8_t*>(stores_.neighbourhood[size - 1]);
    fetchOrFill(enteringRow(int64_t{y} - size / 2 + size - 1), row);
    rule_.padRow(row + int64_t{plan_.leftPad} * pixelBytes_, plan_.fetched, plan_.leftPad, plan_.rightPad,
                 pixelBytes_);
}

// The destination's pixels under the box; null where rows go through the output pair.
uint8_t* FrameRun::straightRow(int32_t y) const
{
    if (request_.output != FrameOutput::straight)
        return nullptr;
    const ImageRecord* const record = imageRecordOrNull(request_.imDest);
    if (!record || record->type != request_.type || record->bytes != I_ImTypeBytes(request_.type) ||
        y >= record->rows || box_.right >= record->cols)
        return nullptr;
    uint8_t* const pixels = directPixels(*record);
    if (!pixels)
        return nullptr;
    uint8_t* const row = pixels + int64_t{y} * record->stride + int64_t{box_.left} * record->bytes;
    // An application's own pixels stand anywhere; row functions want whole numbers where the processor does.
    const auto alignment = static_cast<uintptr_t>(std::min(pixelBytes_ & -pixelBytes_, 8));
    return reinterpret_cast<uintptr_t>(row) % alignment == 0 ? row : nullptr;
}

const uint8_t* FrameRun::rowAhead(int32_t y) const
{
    const ImageRecord* const record = imageRecordOrNull(request_.imSrc);
    const int64_t ahead = int64_t{y} - ringSize() / 2 + ringSize();
    if (!record || record->type != request_.type || ahead < 0 || ahead >= record->rows)
        return nullptr;
    const uint8_t* const pixels = directPixels(*record);
    return pixels ? pixels + ahead * record->stride + int64_t{box_.left} * record->bytes : nullptr;
}

// The byte behind the run is that of the middle row, for filters that look back at their output.
void FrameRun::continueOutput(int64_t column)
{
    if (pixelBytes_ != 1 || column < 0 || column >= cols_)
        return;
    const auto* const middle = static_cast<const uint8_t*>(stores_.neighbourhood[ringSize() / 2]);
    // A window whose box is narrower than its runs asks for columns that no row holds.
    if (middle - stores_.rows.data() + column < stores_.rows.size())
        out_[column] = middle[column];
}

void FrameRun::runLine(VexaPoint start, VexaPoint end)
{
    const int32_t y = start.y;
    const int64_t runEnd = std::min<int64_t>(int64_t{end.x} + 1, cols_);
    const int32_t count = plan_.padded - request_.width + 1;
    uint8_t* const straight =
        start.x == box_.left && runEnd == int64_t{box_.right} + 1 ? straightRow(y) : nullptr;
    const FrameLine line = {start.x,
                            y,
                            request_.width,
                            request_.height,
                            stores_.neighbourhood.data(),
                            straight ? straight : out_,
                            straight ? nullptr : prevOut_,
                            count,
                            std::exchange(bandStart_, false),
                            std::exchange(newLine_, false),
                            rowAhead(y)};
    request_.filter(line, request_.user);
    if (straight)
        return;
    continueOutput(runEnd - box_.left);
    const int64_t x = std::max<int64_t>(start.x, box_.left);
    if (runEnd > x)
        I_PutBlockType(static_cast<int32_t>(x), y, static_cast<int32_t>(runEnd - x), 1,
                       out_ + (x - box_.left) * pixelBytes_, request_.imDest, request_.type);
    std::swap(out_, prevOut_);
}

int32_t FrameRun::walkBand(int32_t points)
{
    preload();
    line_ = box_.top - 1;
    ringPosition_ = 0;
    bandStart_ = true;
    for (int32_t i = 0; i + 1 < points && line_ < rows_; i += 2) {
        if (i % 128 == 0 && I_UserBreak(0) != 0) {
            I_SetError(6, "");
            return 0;
        }
        // A callback may have built another list, in another place, but never in a smaller one.
        const VexaPoint* const run = roiState().list.points + i;
        const VexaPoint start = run[0];
        const VexaPoint end = run[1];
        if (start.y < 0 || start.y >= rows_)
            continue;
        if (start.y != line_)
            advance(start.y);
        runLine(start, end);
        if (start.y % 128 == 127)
            I_TellProgress(static_cast<float>(start.y), static_cast<float>(rows_), nullptr);
    }
    return 1;
}

// The first byte of a guard that somebody wrote to, told by its row and column.
void checkGuard(const uint8_t* guard, int64_t rowBytes, int64_t firstRow, int32_t number)
{
    const uint8_t* const end = guard + kGuardRows * rowBytes;
    const uint8_t* const written = std::find_if(guard, end, [](uint8_t byte) { return byte != 0; });
    if (written == end)
        return;
    debugTrace("FiltOp %d: corrupted buffer y=%d x=%d", number,
               static_cast<int32_t>((written - guard) / rowBytes + firstRow),
               static_cast<int32_t>((written - guard) % rowBytes));
}

void FrameRun::checkGuards() const
{
    const int64_t rear = kGuardRows + ringSize();
    checkGuard(stores_.rows.data(), rowBytes_, 0, 3);
    checkGuard(stores_.rows.data() + rear * rowBytes_, rowBytes_, rear, 4);
}

void limitSizes(FrameRequest& request)
{
    if (request.width >= 1 && request.height >= 1)
        return;
    I_SetError(27, "MxNOperator: Kernel size less than 1: %dx%d. Continuing.", request.width, request.height);
    request.width = std::max(request.width, 1);
    request.height = std::max(request.height, 1);
}

int32_t runRequest(FrameRequest request)
{
    const int32_t bands = std::min(I_ImGetNBands(request.imSrc), I_ImGetNBands(request.imDest));
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_GetMinSize2(&cols, &rows, nullptr, nullptr, request.imSrc, request.imDest))
        return 0;
    const BorderRule border(request.type);
    limitSizes(request);
    FrameRun run(request, border, cols, rows);
    int32_t points = 0;
    I_ROIScanlist(&points, request.imSrc);
    if (points < 2)
        return 1;
    VexaBox box = {};
    I_ROIBoundingBox2(&box.left, &box.top, &box.right, &box.bottom, request.imSrc, request.imDest);
    // Required: a region of one column or of one row is refused without a word.
    if (box.left >= box.right || box.top >= box.bottom || !run.allocate(box))
        return 0;
    I_TellProgress(0.0F, 0.0F, nullptr);
    int32_t status = 1;
    for (int32_t band = 0; band < std::max(bands, 1); ++band) {
        if (bands > 1)
            I_SetColorBand(band);
        status &= run.walkBand(points);
    }
    run.checkGuards();
    I_TellProgress(1.0F, 1.0F, nullptr);
    if (bands > 1)
        I_SetColorBand(-1);
    return status;
}

// A row callback of an application, and what it wants to be handed.
struct Callback {
    MxNRowFilter function;
    void* user;
};

void callBack(const FrameLine& line, void* user)
{
    const auto& callback = *static_cast<const Callback*>(user);
    callback.function(line.x0, line.y, line.width, line.height, line.rows, line.out, line.prevOut, line.count,
                      callback.user);
}

} // namespace

BorderRule::BorderRule(int32_t type)
{
    if (state.borderMode == kReplicate)
        mode = Mode::replicate;
    if (state.borderMode < 0)
        return;
    mode = Mode::constant;
    // One constant serves all types: it is converted anew for each run.
    I_ArrayConvert(state.borderConstant, state.borderConstantType, pixel, type, 1);
}

void BorderRule::padRow(uint8_t* first, int32_t pixels, int32_t left, int32_t right, int32_t pixelBytes) const
{
    if (mode == Mode::reflect)
        return reflectRow(first, pixels, left, right, pixelBytes);
    if (mode == Mode::replicate)
        return repeatEdges(first, pixels, left, right, pixelBytes);
    fillPixels(first - int64_t{left} * pixelBytes, pixel, left, pixelBytes);
    fillPixels(first + int64_t{pixels} * pixelBytes, pixel, right, pixelBytes);
}

int32_t runFrame(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void* user, FrameFilter filter,
                 int32_t type, FrameOutput output)
{
    return runRequest({imSrc, imDest, width, height, user, filter, type, output});
}

} // namespace vexa

int32_t I_MxNOperatorType(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void* user,
                          MxNRowFilter rowFilter, int32_t type)
{
    if (!rowFilter)
        return 0;
    vexa::Callback callback = {rowFilter, user};
    return vexa::runFrame(imSrc, imDest, width, height, &callback, vexa::callBack, type,
                          vexa::FrameOutput::buffered);
}

int32_t I_MxNOperator(int32_t imSrc, int32_t imDest, int32_t width, int32_t height, void* user,
                      MxNRowFilter rowFilter)
{
    return I_MxNOperatorType(imSrc, imDest, width, height, user, rowFilter, PIX_BYTE);
}

int32_t I_SetBorderMode(int32_t mode, const void* value, int32_t type)
{
    vexa::State& state = vexa::state;
    const int32_t previous = std::exchange(state.borderMode, mode);
    if (mode < 0)
        return previous;
    if (type < 1) {
        std::memcpy(state.borderConstant, &mode, sizeof mode);
        state.borderConstantType = PIX_DWORD;
        return previous;
    }
    const auto bytes = static_cast<std::size_t>(I_ImTypeBytes(type));
    if (value)
        std::memcpy(state.borderConstant, value, bytes);
    else
        std::memset(state.borderConstant, 0, bytes);
    state.borderConstantType = type;
    return previous;
}

namespace
{

// The nine pixels at the corners, the edge midpoints and the centre of a neighbourhood, in reading order.
template <typename Pixel>
void latticeOf(void** rows, int32_t width, int32_t height, Pixel** const (&outputs)[9])
{
    if (!rows)
        return;
    const int32_t columns[] = {0, std::max(width, 1) / 2, std::max(width, 1) - 1};
    const int32_t lines[] = {0, std::max(height, 1) / 2, std::max(height, 1) - 1};
    for (int32_t i = 0; i < 9; ++i)
        if (outputs[i])
            *outputs[i] = static_cast<Pixel*>(rows[lines[i / 3]]) + columns[i % 3];
}

} // namespace

void set3x3pointers(void** rows, int32_t width, int32_t height, uint8_t** p00, uint8_t** p01, uint8_t** p02,
                    uint8_t** p10, uint8_t** p11, uint8_t** p12, uint8_t** p20, uint8_t** p21, uint8_t** p22)
{
    latticeOf<uint8_t>(rows, width, height, {p00, p01, p02, p10, p11, p12, p20, p21, p22});
}

void w_set3x3pointers(void** rows, int32_t width, int32_t height, int16_t** p00, int16_t** p01, int16_t** p02,
                      int16_t** p10, int16_t** p11, int16_t** p12, int16_t** p20, int16_t** p21,
                      int16_t** p22)
{
    latticeOf<int16_t>(rows, width, height, {p00, p01, p02, p10, p11, p12, p20, p21, p22});
}

void f_set3x3pointers(void** rows, int32_t width, int32_t height, float** p00, float** p01, float** p02,
                      float** p10, float** p11, float** p12, float** p20, float** p21, float** p22)
{
    latticeOf<float>(rows, width, height, {p00, p01, p02, p10, p11, p12, p20, p21, p22});
}
