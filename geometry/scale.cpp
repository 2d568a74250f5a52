#include "vexalib/scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

#include "core/image_table.h"
#include "core/pixel_types.h"
#include "geometry/direct_pixels.h"
#include "support/buffer.h"
#include "support/guard.h"
#include "support/numbers.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/roi.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

struct ScaleRows {
    void (*halve)(const uint8_t* upper, const uint8_t* lower, uint8_t* dest, int32_t n);
    void (*startCell)(const float* line, const float* carry, float* sum, int64_t n);
    void (*addLine)(const float* line, float times, float* sum, int64_t n);
    void (*endCell)(const float* line, double f, double weight, float* carry, float* sum, int64_t n);
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "geometry/scale_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

constexpr int32_t kMostBands = 3;
constexpr int32_t kProgressRows = 128;

// One call, worked out: what is read, how it is scaled, where it goes.
struct Scaling {
    int32_t imSrc;
    int32_t imDest;
    double xoff;
    double yoff;
    double sx;
    double sy;
    bool interpolate;
    int32_t sourceCols;
    int32_t sourceRows;
    int32_t left; // of the destination's block
    int32_t top;
    int32_t width;
    int32_t height;
    int32_t column; // the first one read
    int32_t n;      // pixels read of each row
    int32_t type;
    int32_t bands;
    int64_t room;        // bytes that a pixel takes in a block
    uint8_t* directDest; // where rows of bytes are resampled to without a buffer; null: through one
    int64_t directStride;

    double fraction() const { return xoff - std::floor(xoff); }
    // What the row functions are told: several bands are planes.
    int32_t rowType() const { return bands > 1 ? kTypeRaw : type; }
    int64_t pixelBytes() const { return I_ImTypeBytes(type); }
};

bool isWhole(double x)
{
    return x == std::floor(x);
}

// A row of pixels, or of one byte plane per band.
class Row
{
public:
    Row(const Scaling& s, int32_t pixels, const char* tag)
        : bandBytes_(pixels * (s.bands > 1 ? 1 : s.room)), bytes_(bandBytes_ * s.bands), bands_(s.bands)
    {
        failed_ = malloctest(bytes_.data(), "%s", tag) != 0;
        for (int32_t band = 0; band < bands_ && !failed_; ++band)
            planes_[static_cast<std::size_t>(band)] = this->band(band);
    }

    bool failed() const { return failed_; }
    uint8_t* band(int32_t band) { return bytes_.data() + band * bandBytes_; }
    // As an argument of the row functions.
    void* data() { return bands_ > 1 ? static_cast<void*>(planes_.data()) : bytes_.data(); }
    void swap(Row& other)
    {
        std::swap(bytes_, other.bytes_);
        std::swap(planes_, other.planes_);
    }

private:
    int64_t bandBytes_;
    Buffer<uint8_t> bytes_;
    std::array<void*, kMostBands> planes_ = {};
    int32_t bands_;
    bool failed_ = false;
};

// The destination's box, and the offsets from which it is read. False: the box is empty, or a number is none.
bool placeBox(Scaling& s, const int32_t* origin, const int32_t* size)
{
    const auto place = [](double& offset, double scale, int32_t first, int32_t count, int32_t limit,
                          int32_t& start, int32_t& length) {
        double from = 0.0;
        if (offset < 0.0) {
            const double skipped = std::ceil(-(offset * scale));
            from = skipped;
            offset += skipped / scale;
        }
        from = std::max(from, static_cast<double>(std::max(first, 0)));
        const double end =
            count > 0 ? std::min<double>(limit, static_cast<double>(std::max(first, 0)) + count) : limit;
        start = truncToInt32(from);
        length = truncToInt32(end - from);
        return std::isfinite(offset) && std::isfinite(from) && length >= 1;
    };
    if (!std::isfinite(s.xoff) || !std::isfinite(s.yoff) || !std::isfinite(s.sx) || !std::isfinite(s.sy))
        return false;
    const VexaPoint first = origin ? VexaPoint{origin[0], origin[1]} : VexaPoint{0, 0};
    const VexaPoint count = size ? VexaPoint{size[0], size[1]} : VexaPoint{0, 0};
    const bool inX = place(s.xoff, s.sx, first.x, count.x, s.width, s.left, s.width);
    const bool inY = place(s.yoff, s.sy, first.y, count.y, s.height, s.top, s.height);
    return inX && inY;
}

// Limits the box to what the source reaches, and finds what is read of its rows.
bool limitToSource(Scaling& s)
{
    const auto limited = [](int32_t length, int32_t sourceLength, double offset, double scale) {
        return truncToInt32(std::min<double>(length, std::ceil((sourceLength - offset) * scale)));
    };
    s.width = limited(s.width, s.sourceCols, s.xoff, s.sx);
    s.height = limited(s.height, s.sourceRows, s.yoff, s.sy);
    if (s.width < 1 || s.height < 1)
        return false;
    const double column = std::floor(s.xoff);
    s.column = truncToInt32(column);
    s.n = truncToInt32(std::min(s.sourceCols - column, std::ceil(s.width / s.sx) + column + 1.0));
    return true;
}

void chooseType(Scaling& s)
{
    const int32_t sourceType = I_ImGetType(s.imSrc);
    const int32_t destType = I_ImGetType(s.imDest);
    s.bands = std::min(I_ImGetNBands(s.imSrc), I_ImGetNBands(s.imDest));
    s.type = sourceType == destType ? sourceType : PIX_BYTE;
    if (destType == PIX_PALETTE) {
        s.type = PIX_BYTE;
        s.bands = 1;
    }
    s.room = std::max(roomOfPixel(s.imSrc, s.type), roomOfPixel(s.imDest, s.type));
}

int32_t clampedRow(const Scaling& s, int32_t row)
{
    return std::clamp(row, 0, s.sourceRows - 1);
}

void readRow(const Scaling& s, int32_t sourceRow, Row& row)
{
    const int32_t y = clampedRow(s, sourceRow);
    if (s.bands == 1) {
        I_GetBlockType(s.column, y, s.n, 1, row.data(), s.imSrc, s.type);
        return;
    }
    for (int32_t band = 0; band < s.bands; ++band) {
        I_SetColorBand(band);
        I_GetBlockType(s.column, y, s.n, 1, row.band(band), s.imSrc, PIX_BYTE);
    }
}

void storeRow(const Scaling& s, int32_t destRow, Row& row)
{
    if (s.bands == 1) {
        I_PutBlockType(s.left, s.top + destRow, s.width, 1, row.data(), s.imDest, s.type);
        return;
    }
    for (int32_t band = 0; band < s.bands; ++band) {
        I_SetColorBand(band);
        I_PutBlockType(s.left, s.top + destRow, s.width, 1, row.band(band), s.imDest, PIX_BYTE);
    }
}

void resampleRow(const Scaling& s, Row& source, Row& dest)
{
    I_ResampleArrayType(source.data(), s.n, dest.data(), s.width, s.fraction(), s.sx, s.interpolate,
                        s.rowType());
}

// Resamples a row into the destination.
void emitRow(const Scaling& s, Row& source, Row& dest, int32_t destRow)
{
    if (s.directDest) {
        I_ResampleArrayByte(static_cast<const uint8_t*>(source.data()), s.n,
                            s.directDest + destRow * s.directStride, s.width, s.fraction(), s.sx,
                            s.interpolate);
        return;
    }
    resampleRow(s, source, dest);
    storeRow(s, destRow, dest);
}

// Rows of bytes are written whole, so that nothing of the row before shows in them.
void findDirectDest(Scaling& s)
{
    DirectPixels direct;
    if (s.type != PIX_BYTE || s.width < 2 || !findDirectPixels(s.imSrc, s.imDest, PIX_BYTE, direct))
        return;
    s.directDest = direct.dest + s.top * direct.destStride + s.left;
    s.directStride = direct.destStride;
}

void tellRow(const Scaling& s, int32_t row)
{
    if (row % kProgressRows == 0)
        I_TellProgress(static_cast<float>(row), static_cast<float>(s.height - 1), nullptr);
}

struct ScaleBuffers {
    Row first;
    Row second;
    Row blend;
    Row dest;

    explicit ScaleBuffers(const Scaling& s)
        : first(s, s.n, "I_ScaleImage sbuf1"), second(s, s.n, "I_ScaleImage sbuf2"),
          blend(s, s.n, "I_ScaleImage sblend"), dest(s, s.width, "I_ScaleImage dbuf")
    {
    }
    bool failed() const { return first.failed() || second.failed() || blend.failed() || dest.failed(); }
};

int32_t rowOf(double p)
{
    return truncToInt32(std::floor(p));
}

void scaleNearest(const Scaling& s, ScaleBuffers& buffers)
{
    double p = s.yoff + 0.5;
    int32_t row = -1;
    for (int32_t y = 0; y < s.height; ++y, p += 1.0 / s.sy) {
        tellRow(s, y);
        if (y == 0 || rowOf(p) != row) {
            row = rowOf(p);
            readRow(s, row, buffers.first);
            resampleRow(s, buffers.first, buffers.dest);
        }
        storeRow(s, y, buffers.dest);
    }
}

void scaleBlended(const Scaling& s, ScaleBuffers& buffers)
{
    double p = s.yoff + 1.0;
    int32_t row = truncToInt32(p) - 1;
    readRow(s, row, buffers.second);
    for (int32_t y = 0; y < s.height; ++y, p += 1.0 / s.sy) {
        tellRow(s, y);
        if (rowOf(p) != row) {
            row = rowOf(p);
            buffers.first.swap(buffers.second);
            readRow(s, row, buffers.second);
        }
        I_BlendRowsType(buffers.second.data(), buffers.first.data(), buffers.blend.data(), s.n, p - row,
                        s.rowType());
        emitRow(s, buffers.blend, buffers.dest, y);
    }
}

// Rows added up with the fractions that lie in each cell, as floats, one line for all bands.
class AreaLines
{
public:
    AreaLines(const Scaling& s, ScaleBuffers& buffers)
        : s_(s), buffers_(buffers), rows_(VEXA_ROWS(kScaleRows)), n_(int64_t{s.width} * s.bands),
          sum_(n_ * std::max<int64_t>(1, s.room / 4)), carry_(n_), line_(n_)
    {
    }
    bool failed() const
    {
        return malloctest(sum_ && carry_ ? line_.data() : nullptr, "I_ScaleImage sum") != 0;
    }

    void startCell(int32_t row)
    {
        read(row);
        rows_.startCell(line_.data(), carry_.data(), sum_.data(), n_);
    }
    // The whole rows behind the first one of a cell, up to but not including the last one.
    void addRows(int64_t begin, int64_t end)
    {
        while (begin < end) {
            // Rows outside the source are its first or its last one, and there may be any number of them.
            int64_t times = 1;
            if (begin < -kSingleRows)
                times = std::min(end, -kSingleRows) - begin;
            else if (begin >= int64_t{s_.sourceRows} + kSingleRows)
                times = end - begin;
            read(saturateToInt32(begin));
            rows_.addLine(line_.data(), static_cast<float>(times), sum_.data(), n_);
            begin += times;
        }
    }
    void endCell(int32_t row, double f, double weight)
    {
        read(row);
        rows_.endCell(line_.data(), f, weight, carry_.data(), sum_.data(), n_);
    }
    void store(int32_t y)
    {
        if (s_.bands == 1) {
            I_PutBlockType(s_.left, s_.top + y, s_.width, 1, sum_.data(), s_.imDest, PIX_FLOAT);
            return;
        }
        I_ArrayConvert(sum_.data(), PIX_FLOAT, buffers_.dest.band(0), PIX_BYTE, saturateToInt32(n_));
        storeRow(s_, y, buffers_.dest);
    }

private:
    static constexpr int64_t kSingleRows = 65536;

    // line_ becomes a source row, scaled; the one it holds already is not read again.
    void read(int32_t row)
    {
        const int32_t y = clampedRow(s_, row);
        if (y == row_)
            return;
        row_ = y;
        readRow(s_, y, buffers_.first);
        resampleRow(s_, buffers_.first, buffers_.dest);
        I_ArrayConvert(buffers_.dest.band(0), s_.bands == 1 ? s_.type : PIX_BYTE, line_.data(), PIX_FLOAT,
                       saturateToInt32(n_));
    }

    const Scaling& s_;
    ScaleBuffers& buffers_;
    const ScaleRows& rows_;
    int64_t n_;
    Buffer<float> sum_;
    Buffer<float> carry_;
    Buffer<float> line_;
    int32_t row_ = -1; // that line_ holds
};

bool scaleArea(const Scaling& s, ScaleBuffers& buffers)
{
    AreaLines lines(s, buffers);
    if (lines.failed())
        return false;
    const double step = 1.0 / s.sy;
    double p = s.yoff - step * 0.5 + 0.5;
    int32_t end = rowOf(p);
    for (int32_t y = 0; y < s.height; ++y) {
        tellRow(s, y);
        const int32_t start = end;
        p += step;
        end = rowOf(p);
        lines.startCell(start);
        lines.addRows(int64_t{start} + 1, end);
        // The first cell may start later than a full step.
        lines.endCell(end, p - end, y == 0 ? 1.0 / (p - start) : s.sy);
        lines.store(y);
    }
    return true;
}

int32_t halve(const Scaling& s)
{
    const auto row = truncToInt32(s.yoff);
    const int32_t rows = s.sourceRows - row;
    const int32_t width = std::min(s.width, s.n / 2);
    const int32_t height = std::min(s.height, rows / 2);
    if (width < 1 || height < 1)
        return 1;
    const auto halveRow = VEXA_ROWS(kScaleRows).halve;
    DirectPixels direct;
    if (findDirectPixels(s.imSrc, s.imDest, PIX_BYTE, direct)) {
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* upper = direct.source + (row + int64_t{2} * y) * direct.sourceStride + s.column;
            halveRow(upper, upper + direct.sourceStride,
                     direct.dest + (s.top + int64_t{y}) * direct.destStride + s.left, width);
        }
        return 1;
    }
    Buffer<uint8_t> block(s.room * s.n * rows);
    if (malloctest(block.data(), "I_ScaleImage sbuf1"))
        return 0;
    I_GetBlockType(s.column, row, s.n, rows, block.data(), s.imSrc, PIX_BYTE);
    // Each row of the result ends where the rows it is made of begin, or before.
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* upper = block.data() + int64_t{2} * y * s.n;
        halveRow(upper, upper + s.n, block.data() + int64_t{y} * width, width);
    }
    I_PutBlockType(s.left, s.top, width, height, block.data(), s.imDest, PIX_BYTE);
    return 1;
}

int32_t scaleRows(Scaling& s)
{
    const ImageGuard clone(s.imSrc == s.imDest ? I_CloneImage(s.imSrc, 0, 1) : 0);
    if (s.imSrc == s.imDest && clone.get() == 0)
        return 0;
    if (clone.get() != 0)
        s.imSrc = clone.get();
    findDirectDest(s);
    int32_t done = 0;
    ScaleBuffers buffers(s);
    I_TellProgress(0.1F, 1.0F, "ScaleImage");
    if (!buffers.failed()) {
        done = 1;
        if (!s.interpolate)
            scaleNearest(s, buffers);
        else if (s.sy < 1.0)
            done = scaleArea(s, buffers);
        else
            scaleBlended(s, buffers);
        if (s.bands > 1)
            I_SetColorBand(-1);
    }
    I_TellProgress(1.0F, 1.0F, "");
    return done;
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t I_ScaleImage(int32_t imSrc, int32_t imDest, const int32_t* origin, const int32_t* size, double xoff,
                     double yoff, double sx, double sy, int32_t interp)
{
    Scaling s = {};
    s.imSrc = imSrc;
    s.imDest = imDest;
    s.xoff = xoff;
    s.yoff = yoff;
    s.sx = sx;
    s.sy = sy;
    s.interpolate = interp != 0;
    if (!I_ImGetSize(&s.sourceCols, &s.sourceRows, nullptr, imSrc) ||
        !I_ImGetSize(&s.width, &s.height, nullptr, imDest) || !placeBox(s, origin, size))
        return 0;
    const bool wholeOffsets = isWhole(s.xoff) && isWhole(s.yoff);
    if (sx == 1.0 && sy == 1.0 && (!s.interpolate || wholeOffsets))
        return I_ImCopyBlock(s.width, s.height, Rnd(static_cast<float>(s.xoff)),
                             Rnd(static_cast<float>(s.yoff)), imSrc, s.left, s.top, imDest);
    if (!limitToSource(s))
        return 0;
    chooseType(s);
    if (s.type == PIX_BYTE && sx == 0.5 && sy == 0.5 && s.interpolate && wholeOffsets)
        return halve(s);
    if (s.n < 1 || s.sourceRows < 1) {
        I_SetError(1, "I_ScaleImage: Bad image size: sCols=%d dCols=%d pixbytes=%d nbands=%d", s.n, s.width,
                   static_cast<int32_t>(s.pixelBytes()), s.bands);
        return 0;
    }
    return scaleRows(s);
}

int32_t I_ScaleImage1(int32_t imSrc, double xoff, double yoff, double sx, double sy, int32_t interp)
{
    int32_t cols = 0;
    int32_t rows = 0;
    if (!I_ImGetSize(&cols, &rows, nullptr, imSrc))
        return 0;
    const bool same = sx == 1.0 && sy == 1.0 && xoff == 0.0 && yoff == 0.0;
    const double b = same ? 0.0 : interp ? 1.0 : 0.5;
    const int32_t width = std::max(1, Rnd(static_cast<float>((cols - b) * sx)));
    const int32_t height = std::max(1, Rnd(static_cast<float>((rows - b) * sy)));
    const int32_t result = I_ImOpen(width, height, I_ImGetType(imSrc));
    if (result == 0)
        return 0;
    I_ScaleImage(imSrc, result, nullptr, nullptr, xoff, yoff, sx, sy, interp);
    I_ImCopyParams(imSrc, result);
    return result;
}

int32_t I_ScaleImage1Ex(int32_t imSrc, double xoff, double yoff, double sx, double sy, int32_t interp,
                        const char* comment)
{
    const int32_t result = I_ScaleImage1(imSrc, xoff, yoff, sx, sy, interp);
    if (result != 0)
        I_ImSetComment(comment, result);
    return result;
}

int32_t I_ScaleImageROI(int32_t imSrc, int32_t imDest, double xoff, double yoff, double sx, double sy,
                        int32_t interp)
{
    VexaBox box = {0, 0, 0, 0};
    if (!I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, imDest))
        return 0;
    if (box.left < -xoff)
        box.left = truncToInt32(-xoff);
    if (box.top < -yoff)
        box.top = truncToInt32(-yoff);
    const int32_t origin[] = {box.left, box.top};
    const int32_t size[] = {wrapAdd(wrapSubtract(box.right, box.left), 1),
                            wrapAdd(wrapSubtract(box.bottom, box.top), 1)};
    // Required: the offset moves by the box's corner as if the scale were 1.
    return I_ScaleImage(imSrc, imDest, origin, size, xoff + box.left, yoff + box.top, sx, sy, interp);
}
