#include <png.h>

#include <csetjmp>
#include <cstring>

#include "failure.h"
#include "picture_formats.h"

namespace app
{
namespace
{

struct Source {
    std::span<const uint8_t> rest;
};

// What goes wrong inside the library is kept here, and the work is left by a jump to the caller's mark.
struct Fault {
    std::jmp_buf mark;
    char text[200] = "";
};

void keepFault(png_structp png, png_const_charp text)
{
    auto* fault = static_cast<Fault*>(png_get_error_ptr(png));
    std::strncpy(fault->text, text, sizeof fault->text - 1);
    std::longjmp(fault->mark, 1);
}

void ignoreWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep out, std::size_t count)
{
    auto* source = static_cast<Source*>(png_get_io_ptr(png));
    if (count > source->rest.size())
        png_error(png, "the file ends too early");
    std::memcpy(out, source->rest.data(), count);
    source->rest = source->rest.subspan(count);
}

struct Reader {
    Source source;
    Fault fault;
    png_structp png = nullptr;
    png_infop info = nullptr;

    explicit Reader(std::span<const uint8_t> file) : source{file}
    {
        png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &fault, keepFault, ignoreWarning);
        info = png ? png_create_info_struct(png) : nullptr;
    }
    ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
};

// No object with a destructor lives in the two functions that the jump may leave.
bool readHeader(Reader& reader)
{
    if (!reader.info || setjmp(reader.fault.mark))
        return false;
    png_set_read_fn(reader.png, &reader.source, readBytes);
    png_read_info(reader.png, reader.info);
    return true;
}

bool readRows(Reader& reader, png_bytep* rows)
{
    if (setjmp(reader.fault.mark))
        return false;
    png_set_expand(reader.png);
    png_set_scale_16(reader.png);
    png_set_strip_alpha(reader.png);
    png_set_bgr(reader.png);
    png_set_interlace_handling(reader.png);
    png_read_update_info(reader.png, reader.info);
    png_read_image(reader.png, rows);
    png_read_end(reader.png, nullptr);
    return true;
}

[[noreturn]] void fail(const Reader& reader)
{
    throw Failure(std::string("damaged PNG: ") + reader.fault.text);
}

} // namespace

Decoded decodePng(std::span<const uint8_t> file)
{
    Reader reader(file);
    if (!readHeader(reader))
        fail(reader);
    const auto cols = png_get_image_width(reader.png, reader.info);
    const auto rows = png_get_image_height(reader.png, reader.info);
    const bool color = (png_get_color_type(reader.png, reader.info) & PNG_COLOR_MASK_COLOR) != 0;
    checkSize(cols, rows);
    Decoded result;
    result.facts = {"PNG", png_get_bit_depth(reader.png, reader.info),
                    png_get_channels(reader.png, reader.info), color, false};
    result.pixels = Pixels(static_cast<int32_t>(cols), static_cast<int32_t>(rows), color ? 3 : 1);
    std::vector<png_bytep> table(rows);
    for (std::size_t y = 0; y < table.size(); ++y)
        table[y] = result.pixels.row(static_cast<int32_t>(y));
    if (!readRows(reader, table.data()))
        fail(reader);
    return result;
}

std::vector<uint8_t> encodePng(const Pixels& pixels)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.cols);
    image.height = static_cast<png_uint_32>(pixels.rows);
    image.format = pixels.channels == 3 ? PNG_FORMAT_BGR : PNG_FORMAT_GRAY;
    std::vector<uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t bytes = file.size();
    if (!png_image_write_to_memory(&image, file.data(), &bytes, 0, pixels.bytes.data(), 0, nullptr))
        throw Failure(std::string("cannot make a PNG: ") + image.message);
    file.resize(bytes);
    return file;
}

} // namespace app
