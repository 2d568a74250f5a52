// An image of the library, closed when its owner goes.
#ifndef VEXA_APPS_IMAGE_H
#define VEXA_APPS_IMAGE_H

#include <cstdint>
#include <memory>
#include <vector>

#include "vexalib/types.h"

namespace app
{

// Bytes of a picture, row by row without padding: one a pixel, or blue, green, red.
struct Pixels {
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t channels = 1;
    std::vector<uint8_t> bytes;

    Pixels() = default;
    Pixels(int32_t width, int32_t height, int32_t bands);
    uint8_t* row(int32_t y)
    {
        return bytes.data() + std::size_t(y) * std::size_t(cols) * std::size_t(channels);
    }
    const uint8_t* row(int32_t y) const
    {
        return bytes.data() + std::size_t(y) * std::size_t(cols) * std::size_t(channels);
    }
};

class Image
{
public:
    Image() = default;
    // Takes over an image number that a call of the library gave; ends the command where it gave none.
    Image(int32_t number, const char* doing);
    // A new image, all zero.
    Image(int32_t cols, int32_t rows, int32_t type);
    // Its pixels are anything, for those who write them all.
    enum class Fill { zero, none };
    Image(int32_t cols, int32_t rows, int32_t type, Fill fill);
    // The library works on the pixels where they lie.
    explicit Image(Pixels pixels);
    ~Image();
    Image(Image&& other) noexcept;
    Image& operator=(Image&& other) noexcept;

    int32_t number() const { return number_; }
    int32_t cols() const;
    int32_t rows() const;
    // A copy of a type; the library converts.
    Image converted(int32_t type) const;
    // The pixels as grey bytes, or as blue, green, red where bands is 3.
    Pixels read(int32_t bands = 1) const;
    // The pixels of a row where they lie.
    uint8_t* row(int32_t y);
    const uint8_t* row(int32_t y) const;
    // A part of a grey image, sides included.
    Pixels cut(const VexaBox& window) const;
    void write(const Pixels& pixels);

private:
    struct Release {
        void operator()(uint8_t* block) const;
    };
    uint8_t* rowAddress(int32_t y) const;

    int32_t number_ = 0;
    Pixels memory_;
    std::unique_ptr<uint8_t, Release> block_;
};

} // namespace app

#endif
