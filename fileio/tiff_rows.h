// Rows of samples on their way between a TIFF and an image.
#ifndef VEXA_FILEIO_TIFF_ROWS_H
#define VEXA_FILEIO_TIFF_ROWS_H

#include <cstdint>

#include "support/buffer.h"
#include "vexalib/types.h"

namespace vexa
{

// A block of I_MakeRowBuffer, freed on every way out.
class CallerBuffer
{
public:
    explicit CallerBuffer(void* block) : block_(block) {}
    ~CallerBuffer() { vexaFree(block_); }
    CallerBuffer(const CallerBuffer&) = delete;
    CallerBuffer& operator=(const CallerBuffer&) = delete;

    explicit operator bool() const { return block_ != nullptr; }
    uint8_t* bytes() const { return static_cast<uint8_t*>(block_); }

private:
    void* block_;
};

// The rows of a window of an image as samples, the picture's from the top. Clears the colour band when it goes.
class [[nodiscard]] TiffRowSource
{
public:
    TiffRowSource(const ImageRecord& image, int32_t im, int32_t x, int32_t y, int32_t cols);
    ~TiffRowSource();
    TiffRowSource(const TiffRowSource&) = delete;
    TiffRowSource& operator=(const TiffRowSource&) = delete;

    // False: no memory, and the error is set.
    explicit operator bool() const { return valid_; }
    int32_t samples() const { return rgb_ ? 3 : 1; }
    // A row of the window; what lies outside the image reads as 0.
    void fetch(int32_t row, uint8_t* samples);

private:
    void fetchBands(int32_t y, uint8_t* samples);
    void fetchMapped(int32_t y, uint8_t* samples);

    const ImageRecord& image_;
    int32_t im_;
    int32_t x_;
    int32_t y_;
    int32_t cols_;
    bool rgb_;
    bool bands_;
    bool valid_ = true;
    Buffer<uint8_t> line_;
    uint8_t tables_[3][256] = {};
};

// Takes rows of samples and puts them into an image. Clears the colour band when it goes.
class [[nodiscard]] TiffRowSink
{
public:
    TiffRowSink(const ImageRecord& image, int32_t im, int32_t x, int32_t y, int32_t cols);
    ~TiffRowSink();
    TiffRowSink(const TiffRowSink&) = delete;
    TiffRowSink& operator=(const TiffRowSink&) = delete;

    explicit operator bool() const { return valid_; }
    // Samples of a pixel, as the mode says.
    static int32_t samples();
    // A row, counted from the sink's y on; what lies outside the image is dropped.
    void put(int64_t row, const uint8_t* samples);

private:
    void putSamples(int32_t y, const uint8_t* samples);

    const ImageRecord& image_;
    int32_t im_;
    int32_t x_;
    int32_t y_;
    int32_t cols_; // limited by the image
    int32_t bands_;
    bool toDisplayColors_;
    bool valid_ = true;
    Buffer<uint8_t> line_;
};

} // namespace vexa

#endif
