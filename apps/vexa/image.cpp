#include "image.h"

#include <utility>

#include "failure.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

int32_t typeOf(const Pixels& pixels)
{
    return pixels.channels == 3 ? PIX_BGR24 : PIX_BYTE;
}

} // namespace

Pixels::Pixels(int32_t width, int32_t height, int32_t bands)
    : cols(width), rows(height), channels(bands),
      bytes(std::size_t(width) * std::size_t(height) * std::size_t(bands))
{
}

Image::Image(int32_t number, const char* doing) : number_(number)
{
    require(number < 0, doing);
}

Image::Image(int32_t cols, int32_t rows, int32_t type)
    : Image(I_ImOpen(cols, rows, type), "cannot open an image")
{
    require(I_ImClear(number_, 0.0) != 0, "cannot clear an image");
}

Image::Image(Pixels pixels) : memory_(std::move(pixels))
{
    number_ = I_ImOpenPtr(memory_.cols, memory_.rows, memory_.cols * memory_.channels, typeOf(memory_),
                          memory_.bytes.data());
    require(number_ < 0, "cannot open an image");
}

Image::~Image()
{
    if (number_ != 0)
        I_ImClose(number_);
}

Image::Image(Image&& other) noexcept
    : number_(std::exchange(other.number_, 0)), memory_(std::move(other.memory_))
{
}

Image& Image::operator=(Image&& other) noexcept
{
    std::swap(number_, other.number_);
    std::swap(memory_, other.memory_);
    return *this;
}

int32_t Image::cols() const
{
    int32_t width = 0;
    I_ImGetSize(&width, nullptr, nullptr, number_);
    return width;
}

int32_t Image::rows() const
{
    int32_t height = 0;
    I_ImGetSize(nullptr, &height, nullptr, number_);
    return height;
}

Image Image::converted(int32_t type) const
{
    return Image(I_CloneImage(number_, type, 1), "cannot convert an image");
}

Pixels Image::read(int32_t bands) const
{
    Pixels pixels(cols(), rows(), bands);
    require(I_GetBlockType(0, 0, pixels.cols, pixels.rows, pixels.bytes.data(), number_, typeOf(pixels)) != 0,
            "cannot read an image");
    return pixels;
}

void Image::write(const Pixels& pixels)
{
    require(I_PutBlockType(0, 0, pixels.cols, pixels.rows, pixels.bytes.data(), number_, typeOf(pixels)) != 0,
            "cannot write an image");
}

} // namespace app
