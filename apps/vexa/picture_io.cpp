#include "picture_io.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <utility>

#include "failure.h"
#include "header_facts.h"
#include "output_files.h"
#include "picture_formats.h"
#include "vexalib/raw_file.h"
#include "vexalib/tiff.h"
#include "vexalib/vexalib.h"

namespace app
{
namespace
{

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

std::vector<uint8_t> readFile(const std::string& name)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(name, ignored))
        throw Failure(name + " is a folder, not a picture");
    const File file(std::fopen(name.c_str(), "rb"), std::fclose);
    if (!file)
        throw Failure("cannot open " + name + ": " + std::strerror(errno));
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> piece(1 << 20);
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file.get()))
        bytes.insert(bytes.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    if (std::ferror(file.get()))
        throw Failure("cannot read " + name + ": " + std::strerror(errno));
    if (bytes.empty())
        throw Failure(name + " is empty");
    return bytes;
}

bool beginsWith(const std::vector<uint8_t>& file, std::initializer_list<uint8_t> magic)
{
    return file.size() >= magic.size() && std::equal(magic.begin(), magic.end(), file.begin());
}

uint32_t littleEndian(const std::vector<uint8_t>& file, std::size_t at, std::size_t bytes)
{
    uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        value |= uint32_t{file[at + i]} << (8 * i);
    return value;
}

// The library reads the rows that the header promises; a file that holds fewer is told apart here.
void checkBitmapLength(const std::vector<uint8_t>& file)
{
    constexpr std::size_t kHeaders = 54;
    if (file.size() < kHeaders)
        throw Failure("damaged BMP: the file ends within its header");
    const int64_t cols = static_cast<int32_t>(littleEndian(file, 18, 4));
    const int64_t rows = std::abs(int64_t{static_cast<int32_t>(littleEndian(file, 22, 4))});
    const int64_t bits = littleEndian(file, 28, 2);
    checkSize(cols, rows);
    const int64_t stride = ((bits * cols + 31) / 32) * 4;
    if (littleEndian(file, 10, 4) + stride * rows > static_cast<int64_t>(file.size()))
        throw Failure("damaged BMP: the file ends too early");
}

Image fromBitmap(void* bitmap)
{
    void* mapped = I_MapDIBPalette(bitmap);
    require(mapped != nullptr, "cannot convert a BMP");
    return Image(I_CopyDIBtoImage(mapped), "cannot read a BMP");
}

Picture readBitmap(const std::string& name, const std::vector<uint8_t>& file)
{
    checkBitmapLength(file);
    const auto bits = static_cast<int32_t>(littleEndian(file, 28, 2));
    I_SetError(0, "");
    void* bitmap = I_ReadBMPtoDIB(name.c_str());
    if (!bitmap)
        failWithLibrarySentence("not a BMP that the library reads");
    Image image = fromBitmap(bitmap);
    const int32_t type = I_ImGetType(image.number());
    FileFacts facts{"BMP", bits > 8 ? 8 : bits, bits > 8 ? bits / 8 : 1, type != PIX_BYTE, false};
    return {name, facts, headerLines(file),
            type == PIX_BYTE || type == PIX_BGR24 ? std::move(image) : image.converted(PIX_BGR24)};
}

bool isForeign(int32_t type)
{
    constexpr int32_t kKnown[] = {PIX_BYTE,    PIX_WORD,     PIX_DWORD,   PIX_FLOAT, PIX_DFLOAT,
                                  PIX_COMPLEX, PIX_DCOMPLEX, PIX_PALETTE, PIX_BGR15, PIX_BGR16,
                                  PIX_BGR24,   PIX_RGB24,    PIX_BGR32,   PIX_RGB32, PIX_PLANAR};
    return std::find(std::begin(kKnown), std::end(kKnown), type) == std::end(kKnown);
}

FileFacts factsOfType(int32_t type)
{
    if (isForeign(type))
        return {"raw", 8 * I_ImTypeBytes(type), 1, false, false, true};
    if (type >= PIX_PALETTE)
        return {"raw", 8, type == PIX_PALETTE ? 1 : 3, true, false};
    const bool complex = type == PIX_COMPLEX || type == PIX_DCOMPLEX;
    const int32_t samples = complex ? 2 : 1;
    const bool floating = type >= PIX_FLOAT && type <= PIX_DCOMPLEX;
    return {"raw", 8 * I_ImTypeBytes(type) / samples, samples, false, floating};
}

// Numbers that are no bytes are stretched from their smallest to their largest value.
Image asBytes(Image image)
{
    const int32_t type = I_ImGetType(image.number());
    if (type == PIX_BYTE || type == PIX_BGR24)
        return image;
    if (type < PIX_PALETTE)
        I_ImGetRange(nullptr, nullptr, image.number());
    return image.converted(type < PIX_PALETTE ? PIX_BYTE : PIX_BGR24);
}

// A file without any of the marks of the other formats: the library's own, if its header holds.
Picture readRaw(const std::string& name, const std::vector<uint8_t>& file)
{
    I_SetError(0, "");
    const int32_t number = I_ReadImageFile(name.c_str());
    if (number == 0)
        throw Failure("not a picture that vexa reads: BMP, PNG, JPEG, TIFF or raw");
    Image image(number, "cannot read a raw file");
    if (I_GetError(nullptr, 0) != 0)
        throw Failure("damaged raw file: the file ends too early");
    const FileFacts facts = factsOfType(I_ImGetType(number));
    return {name, facts, headerLines(file), facts.foreign ? std::move(image) : asBytes(std::move(image))};
}

Picture readAny(const std::string& name)
{
    const std::vector<uint8_t> file = readFile(name);
    if (beginsWith(file, {'B', 'M'}))
        return readBitmap(name, file);
    Decoded decoded;
    if (beginsWith(file, {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}))
        decoded = decodePng(file);
    else if (beginsWith(file, {0xFF, 0xD8, 0xFF}))
        decoded = decodeJpeg(file);
    else if (beginsWith(file, {'I', 'I', 42, 0}) || beginsWith(file, {'M', 'M', 0, 42}) ||
             beginsWith(file, {'I', 'I', 43, 0}) || beginsWith(file, {'M', 'M', 0, 43}))
        decoded = decodeTiff(file);
    else
        return readRaw(name, file);
    return {name, decoded.facts, headerLines(file), Image(std::move(decoded.pixels))};
}

// The colour weights of the library's grey: 35 red, 50 green, 15 blue.
Image weightedGrey(const Image& color)
{
    constexpr int32_t kWeighted = -3;
    const int32_t before = I_GetColorProcMode();
    I_SetColorProcMode(kWeighted);
    Image grey = color.converted(PIX_BYTE);
    I_SetColorProcMode(before);
    return grey;
}

void tellWhatWasDropped(const Picture& picture, bool colorToo)
{
    const FileFacts& facts = picture.facts;
    std::string dropped;
    if (facts.floating)
        dropped = "floating-point samples are stretched to 8 bits";
    else if (facts.bits > 8)
        dropped = std::to_string(facts.bits) + " bits a sample are reduced to 8";
    if (facts.color && colorToo)
        dropped += dropped.empty() ? "colour is reduced to grey" : ", colour to grey";
    if (!dropped.empty())
        note(picture.name + ": " + dropped);
}

std::string ending(const std::string& name)
{
    std::string text = std::filesystem::path(name).extension().string();
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

} // namespace

void checkSize(int64_t cols, int64_t rows)
{
    constexpr int64_t kMost = std::numeric_limits<int32_t>::max();
    if (cols < 1 || rows < 1)
        throw Failure("the picture has no pixels");
    if (cols > kMost / 4 || rows > kMost / 4 || cols * rows > kMost)
        throw Failure("the picture is too large: " + std::to_string(cols) + " x " + std::to_string(rows));
}

Picture examinePicture(const std::string& name)
{
    try {
        return readAny(name);
    } catch (const Failure& failure) {
        const std::string text = failure.what();
        throw Failure(text.find(name) == std::string::npos ? name + ": " + text : text);
    } catch (const std::bad_alloc&) {
        throw Failure(name + ": not enough memory for this picture");
    }
}

Picture readPicture(const std::string& name)
{
    Picture picture = examinePicture(name);
    if (picture.facts.foreign)
        throw Failure(name + ": a raw file with pixels of an application's own");
    return picture;
}

Picture readGreyPicture(const std::string& name)
{
    Picture picture = readPicture(name);
    tellWhatWasDropped(picture, true);
    if (I_ImGetType(picture.image.number()) != PIX_BYTE)
        picture.image = weightedGrey(picture.image);
    return picture;
}

// The library's own writers; PNG through its library.
void storeImage(const Image& image, const std::string& path, const std::string& type)
{
    I_SetError(0, "");
    int32_t written = 0;
    if (type == ".raw")
        written = I_WriteRawFile(path.c_str(), image.number());
    else if (type == ".bmp")
        written = I_WriteBMP(path.c_str(), image.number());
    else if (type == ".png")
        return storeBytes(encodePng(image.read(I_ImGetType(image.number()) == PIX_BYTE ? 1 : 3)), path);
    else
        written = I_WriteTiffFile(path.c_str(), 0, 0, 0, 0, image.number());
    require(written > 0, "cannot write the picture");
}

void convertPicture(const std::string& in, const std::string& out)
{
    const std::string type = ending(out);
    if (type != ".raw" && !isWritableName(out))
        throw Failure(out + ": a picture is written as .png, .bmp, .tif, .tiff or .raw");
    Picture picture = type == ".raw" ? examinePicture(in) : readPicture(in);
    // A raw file keeps its pixels as they are in another one.
    if (type == ".raw" && picture.facts.format == "raw")
        picture.image = Image(I_ReadImageFile(in.c_str()), "cannot read a raw file");
    else
        tellWhatWasDropped(picture, false);
    const std::filesystem::path path = out;
    OutputFiles files(path.parent_path());
    files.add(path.filename().string(),
              [&](const std::string& temporary) { storeImage(picture.image, temporary, type); });
    files.commit();
}

bool isWritableName(const std::string& name)
{
    const std::string type = ending(name);
    return type == ".png" || type == ".bmp" || type == ".tif" || type == ".tiff";
}

void storePicture(const Pixels& pixels, const std::string& path, const std::string& name)
{
    const std::string type = ending(name);
    if (type == ".bmp") {
        const Image image{Pixels(pixels)};
        I_SetError(0, "");
        require(I_WriteBMP(path.c_str(), image.number()) > 0, "cannot write the picture");
        return;
    }
    const bool tiff = type == ".tif" || type == ".tiff";
    storeBytes(tiff ? encodeTiff(pixels) : encodePng(pixels), path);
}

} // namespace app
