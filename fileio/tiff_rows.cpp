#include "fileio/tiff_rows.h"

#include <algorithm>
#include <cstring>

#include "core/display_state.h"
#include "core/image_memory.h"
#include "core/pixel_types.h"
#include "fileio/tiff_parts.h"
#include "vexalib/block.h"
#include "vexalib/color.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/status.h"
#include "vexalib/tiff.h"

namespace vexa
{
namespace
{

constexpr int32_t kNoBand = 255;

// The row to ask a block call for so that it moves row y of the picture: single rows are counted by storage where
// pixels have an address. -1 for none.
int32_t blockRow(const ImageRecord& image, int64_t y)
{
    if (y < 0 || y >= image.rows)
        return -1;
    const bool fromBottom = image.inverted && directPixels(image);
    return static_cast<int32_t>(fromBottom ? image.rows - 1 - y : y);
}

// Colours of whole bytes move in one piece while no band is selected, with the same result as band by band.
bool movesWhole(const ImageRecord& image)
{
    const bool wholeBytes = image.type >= PIX_BGR24 && image.type <= PIX_RGB32;
    return wholeBytes && I_GetColorProcMode() >= 3 && I_GetColorBand() < 0;
}

int32_t columnsInImage(const ImageRecord& image, int32_t x, int32_t cols)
{
    return static_cast<int32_t>(std::clamp<int64_t>(int64_t{image.cols} - x, 0, std::max(cols, 0)));
}

} // namespace

TiffState& tiffState()
{
    static constinit TiffState state;
    return state;
}

TiffRowSource::TiffRowSource(const ImageRecord& image, int32_t im, int32_t x, int32_t y, int32_t cols)
    : image_(image), im_(im), x_(x), y_(y), cols_(cols), rgb_(tiffState().writeRGB != 0),
      bands_(I_ImGetNBands(im) > 1)
{
    if (!rgb_ || (bands_ && movesWhole(image)))
        return;
    line_ = Buffer<uint8_t>(std::max(cols, 1));
    valid_ = malloctest(line_.data(), "I_WriteTiffWindow %d cols", cols) == 0;
    if (!bands_)
        I_GetGraphicsPalette(tables_[0], tables_[1], tables_[2]);
}

TiffRowSource::~TiffRowSource()
{
    if (rgb_)
        I_SetColorBand(kNoBand);
}

void TiffRowSource::fetchBands(int32_t y, uint8_t* samples)
{
    for (int32_t band = 0; band < 3; ++band) {
        I_SetColorBand(band);
        I_GetBlockType(x_, y, cols_, 1, line_.data(), im_, PIX_BYTE);
        for (int32_t i = 0; i < cols_; ++i)
            samples[3 * int64_t{i} + band] = line_[i];
    }
}

void TiffRowSource::fetchMapped(int32_t y, uint8_t* samples)
{
    I_GetBlockType(x_, y, cols_, 1, line_.data(), im_, PIX_BYTE);
    for (int32_t i = 0; i < cols_; ++i)
        for (int32_t band = 0; band < 3; ++band)
            *samples++ = tables_[band][line_[i]];
}

void TiffRowSource::fetch(int32_t row, uint8_t* samples)
{
    const int32_t y = blockRow(image_, int64_t{y_} + row);
    const auto bytes = static_cast<std::size_t>(int64_t{cols_} * this->samples());
    if (y < 0 || x_ < 0 || columnsInImage(image_, x_, cols_) < cols_)
        std::memset(samples, 0, bytes);
    if (y < 0)
        return;
    if (!rgb_) // a palette's indices go as they are
        I_GetBlockType(x_, y, cols_, 1, samples, im_, image_.type == PIX_PALETTE ? PIX_PALETTE : PIX_BYTE);
    else if (!line_)
        I_GetBlockType(x_, y, cols_, 1, samples, im_, PIX_RGB24);
    else if (bands_)
        fetchBands(y, samples);
    else
        fetchMapped(y, samples);
}

TiffRowSink::TiffRowSink(const ImageRecord& image, int32_t im, int32_t x, int32_t y, int32_t cols)
    : image_(image), im_(im), x_(x), y_(y), cols_(columnsInImage(image, x, cols))
{
    const bool manyBands = I_ImGetNBands(im) > 1;
    bands_ = manyBands && tiffState().readRGB ? 3 : 1;
    toDisplayColors_ = manyBands && !tiffState().readRGB && tiffState().hasPalette;
    if (!tiffState().readRGB || (bands_ == 3 && movesWhole(image)))
        return;
    line_ = Buffer<uint8_t>(std::max(cols_, 1));
    valid_ = malloctest(line_.data(), "I_ReadTiffWindow %d cols", cols_) == 0;
}

TiffRowSink::~TiffRowSink()
{
    if (bands_ == 3)
        I_SetColorBand(kNoBand);
}

int32_t TiffRowSink::samples()
{
    return tiffState().readRGB ? 3 : 1;
}

void TiffRowSink::putSamples(int32_t y, const uint8_t* samples)
{
    if (!line_) {
        I_PutBlockType(x_, y, cols_, 1, samples, im_, PIX_RGB24);
        return;
    }
    for (int32_t band = 0; band < bands_; ++band) {
        if (bands_ == 3)
            I_SetColorBand(band);
        convTIFFrow(3, bands_, band, samples, line_.data(), cols_);
        I_PutBlockType(x_, y, cols_, 1, line_.data(), im_, PIX_BYTE);
    }
}

void TiffRowSink::put(int64_t row, const uint8_t* samples)
{
    const int32_t y = blockRow(image_, y_ + row);
    if (y < 0 || cols_ < 1)
        return;
    if (tiffState().readRGB)
        putSamples(y, samples);
    else if (toDisplayColors_)
        PutRowToRGB(x_, y, samples, cols_, im_);
    else
        I_PutBlockType(x_, y, cols_, 1, samples, im_, PIX_BYTE);
}

} // namespace vexa

using namespace vexa;

int32_t convTIFFrow(int32_t fileSamples, int32_t imageBands, int32_t band, const uint8_t* source,
                    uint8_t* target, int32_t pixels)
{
    if (!source || !target || (fileSamples == 3 && imageBands == 3 && (band < 0 || band > 2)))
        return 0;
    if (fileSamples != 3) {
        std::memmove(target, source, static_cast<std::size_t>(std::max(pixels, 0)));
        return 1;
    }
    for (int64_t i = 0; i < pixels; ++i) {
        const uint8_t* const rgb = source + 3 * i;
        if (imageBands == 3)
            target[i] = rgb[band];
        else if (tiffState().closestColor)
            target[i] = static_cast<uint8_t>(ClosestRGB(rgb[0], rgb[1], rgb[2], nullptr, nullptr, nullptr));
        else
            target[i] = static_cast<uint8_t>((rgb[0] + rgb[1] + rgb[2]) / 3);
    }
    return 1;
}

int32_t PutRowToRGB(int32_t x, int32_t y, const uint8_t* row, int32_t cols, int32_t im)
{
    if (!row)
        return 0;
    if (!ensureDisplayTables())
        return I_PutBlockType(x, y, cols, 1, row, im, PIX_BYTE) != 0;
    const DisplayTables& tables = *displayState().tables;
    const uint8_t* const bands[] = {tables.red, tables.green, tables.blue};
    bool put = false;
    uint8_t mapped[1024];
    constexpr int64_t kPiece = sizeof mapped;
    for (int32_t band = 0; band < 3; ++band) {
        I_SetColorBand(band);
        for (int64_t start = 0; start < cols && int64_t{x} + start <= INT32_MAX; start += kPiece) {
            const auto count = static_cast<int32_t>(std::min(kPiece, cols - start));
            for (int32_t i = 0; i < count; ++i)
                mapped[i] = bands[band][row[start + i]];
            put |= I_PutBlockType(static_cast<int32_t>(x + start), y, count, 1, mapped, im, PIX_BYTE) != 0;
        }
    }
    I_SetColorBand(kNoBand);
    return put;
}
