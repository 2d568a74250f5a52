#include "image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

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

constexpr std::size_t kHugePage = std::size_t{1} << 21;

// A block in large pages of memory, where the system has them: handing out small ones takes longer than most operators.
uint8_t* hugeBlock(std::size_t bytes)
{
    const std::size_t whole = (bytes + kHugePage - 1) / kHugePage * kHugePage;
#if defined(__linux__)
    void* block = std::aligned_alloc(kHugePage, whole);
    if (block)
        madvise(block, whole, MADV_HUGEPAGE);
#else
    void* block = std::malloc(whole);
#endif
    if (!block)
        throw std::bad_alloc();
    return static_cast<uint8_t*>(block);
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

Image::Image(int32_t cols, int32_t rows, int32_t type) : Image(cols, rows, type, Fill::zero) {}

Image::Image(int32_t cols, int32_t rows, int32_t type, Fill fill)
{
    const auto bytes = std::size_t(cols) * std::size_t(rows) * std::size_t(I_ImTypeBytes(type));
    if (bytes >= kHugePage) {
        block_.reset(hugeBlock(bytes));
        if (fill == Fill::zero)
            std::memset(block_.get(), 0, bytes);
        number_ = I_ImOpenPtr(cols, rows, 0, type, block_.get());
    } else {
        number_ = I_ImOpen(cols, rows, type);
    }
    require(number_ < 0, "cannot open an image");
}

void Image::Release::operator()(uint8_t* block) const
{
    std::free(block);
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
    : number_(std::exchange(other.number_, 0)), memory_(std::move(other.memory_)),
      block_(std::move(other.block_))
{
}

Image& Image::operator=(Image&& other) noexcept
{
    std::swap(number_, other.number_);
    std::swap(memory_, other.memory_);
    std::swap(block_, other.block_);
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

uint8_t* Image::rowAddress(int32_t y) const
{
    auto* address = static_cast<uint8_t*>(I_ImGetPtr(0, y, nullptr, nullptr, number_));
    require(address != nullptr, "cannot reach the pixels of an image");
    return address;
}

uint8_t* Image::row(int32_t y)
{
    return rowAddress(y);
}

const uint8_t* Image::row(int32_t y) const
{
    return rowAddress(y);
}

Pixels Image::cut(const VexaBox& window) const
{
    Pixels part(window.right - window.left + 1, window.bottom - window.top + 1, 1);
    for (int32_t y = 0; y < part.rows; ++y)
        std::copy_n(row(window.top + y) + window.left, part.cols, part.row(y));
    return part;
}

void Image::write(const Pixels& pixels)
{
    require(I_PutBlockType(0, 0, pixels.cols, pixels.rows, pixels.bytes.data(), number_, typeOf(pixels)) != 0,
            "cannot write an image");
}

} // namespace app
