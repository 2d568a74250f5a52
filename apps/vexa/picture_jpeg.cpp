#include <cstdio>
// The library's header needs the standard streams declared in front of it.
#include <jpeglib.h>

#include <jerror.h>

#include <csetjmp>

#include "failure.h"
#include "picture_formats.h"

namespace app
{
namespace
{

struct Fault {
    jpeg_error_mgr manager; // first, so that the library's pointer to it is one to this record
    std::jmp_buf mark;
    char text[JMSG_LENGTH_MAX] = "";
};

void leave(j_common_ptr jpeg)
{
    auto* fault = reinterpret_cast<Fault*>(jpeg->err);
    fault->manager.format_message(jpeg, fault->text);
    std::longjmp(fault->mark, 1);
}

// The library would fill what is missing of a short file with grey, and only warn.
void judgeWarning(j_common_ptr jpeg, int level)
{
    if (level < 0 && jpeg->err->msg_code != JWRN_EXTRANEOUS_DATA && jpeg->err->msg_code != JWRN_ADOBE_XFORM)
        leave(jpeg);
}

struct Reader {
    jpeg_decompress_struct jpeg = {};
    Fault fault;

    Reader()
    {
        jpeg.err = jpeg_std_error(&fault.manager);
        fault.manager.error_exit = leave;
        fault.manager.emit_message = judgeWarning;
    }
    ~Reader() { jpeg_destroy_decompress(&jpeg); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
};

// No object with a destructor lives in the two functions that the jump may leave.
bool start(Reader& reader, const uint8_t* file, std::size_t bytes)
{
    if (setjmp(reader.fault.mark))
        return false;
    jpeg_create_decompress(&reader.jpeg);
    jpeg_mem_src(&reader.jpeg, file, static_cast<unsigned long>(bytes));
    jpeg_read_header(&reader.jpeg, TRUE);
    if (reader.jpeg.num_components == 4)
        reader.jpeg.out_color_space = JCS_CMYK;
    else
        reader.jpeg.out_color_space = reader.jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_start_decompress(&reader.jpeg);
    return true;
}

bool readRows(Reader& reader, uint8_t* out)
{
    if (setjmp(reader.fault.mark))
        return false;
    const std::size_t stride =
        std::size_t(reader.jpeg.output_width) * std::size_t(reader.jpeg.output_components);
    while (reader.jpeg.output_scanline < reader.jpeg.output_height) {
        JSAMPROW row = out + reader.jpeg.output_scanline * stride;
        jpeg_read_scanlines(&reader.jpeg, &row, 1);
    }
    jpeg_finish_decompress(&reader.jpeg);
    return true;
}

// Four inks, stored inverted as nearly all writers do, as blue, green, red.
Pixels fromInks(const Pixels& inks)
{
    Pixels result(inks.cols, inks.rows, 3);
    for (std::size_t i = 0, n = result.bytes.size() / 3; i < n; ++i)
        for (std::size_t c = 0; c < 3; ++c)
            result.bytes[3 * i + c] =
                static_cast<uint8_t>(inks.bytes[4 * i + 2 - c] * inks.bytes[4 * i + 3] / 255);
    return result;
}

} // namespace

Decoded decodeJpeg(std::span<const uint8_t> file)
{
    Reader reader;
    if (!start(reader, file.data(), file.size()))
        throw Failure(std::string("damaged JPEG: ") + reader.fault.text);
    checkSize(reader.jpeg.output_width, reader.jpeg.output_height);
    const int32_t samples = reader.jpeg.output_components;
    Decoded result;
    result.facts = {"JPEG", 8, reader.jpeg.num_components, samples > 1, false};
    result.pixels = Pixels(static_cast<int32_t>(reader.jpeg.output_width),
                           static_cast<int32_t>(reader.jpeg.output_height), samples);
    if (!readRows(reader, result.pixels.bytes.data()))
        throw Failure(std::string("damaged JPEG: ") + reader.fault.text);
    if (samples == 4)
        result.pixels = fromInks(result.pixels);
    return result;
}

} // namespace app
