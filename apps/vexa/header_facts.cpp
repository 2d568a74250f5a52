#include "header_facts.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace app
{
namespace
{

std::string plain(int64_t value)
{
    return std::to_string(value);
}

Lines bitmapLines(std::span<const uint8_t> file)
{
    const FileBytes bytes(file, false);
    const int32_t height = bytes.signed32(22);
    return {"file size in the header " + plain(bytes.number(2, 4)) + ", of the file " +
                plain(int64_t(file.size())),
            "pixels at " + plain(bytes.number(10, 4)),
            "header of " + plain(bytes.number(14, 4)) + " bytes, planes " + plain(bytes.number(26, 2)) +
                ", compression " + plain(bytes.number(30, 4)),
            "width " + plain(bytes.signed32(18)) + ", height " + plain(height) +
                (height < 0 ? " (top row first)" : " (bottom row first)") + ", bits a pixel " +
                plain(bytes.number(28, 2)),
            "bytes of pixels " + plain(bytes.number(34, 4)),
            "pixels a metre " + plain(bytes.signed32(38)) + " x " + plain(bytes.signed32(42)),
            "colours used " + plain(bytes.number(46, 4)) + ", important " + plain(bytes.number(50, 4))};
}

std::string pngHeader(const FileBytes& bytes, uint64_t at)
{
    return "width " + plain(bytes.number(at, 4)) + ", height " + plain(bytes.number(at + 4, 4)) +
           ", bit depth " + plain(bytes.number(at + 8, 1)) + ", colour type " +
           plain(bytes.number(at + 9, 1)) + ", interlace " + plain(bytes.number(at + 12, 1));
}

std::string pngChunk(const FileBytes& bytes, const std::string& type, uint64_t at, uint64_t length)
{
    const std::string start = type + ", " + plain(int64_t(length)) + " bytes";
    if (type == "IHDR")
        return start + ": " + pngHeader(bytes, at);
    if (type == "pHYs")
        return start + ": " + plain(bytes.number(at, 4)) + " x " + plain(bytes.number(at + 4, 4)) +
               (bytes.number(at + 8, 1) == 1 ? " pixels a metre" : " pixels a unit");
    if (type == "gAMA")
        return start + ": " + plain(bytes.number(at, 4)) + " / 100000";
    if (type == "PLTE")
        return start + ": " + plain(int64_t(length / 3)) + " colours";
    if (type == "tEXt") {
        const std::string key = bytes.text(at, length);
        const uint64_t used = std::min<uint64_t>(key.size() + 1, length);
        return start + ": " + key + " = " + bytes.text(at + used, length - used);
    }
    return start;
}

Lines pngLines(std::span<const uint8_t> file)
{
    const FileBytes bytes(file, true);
    Lines lines;
    uint64_t pieces = 0; // of pixels, told in one line
    uint64_t packed = 0;
    for (uint64_t at = 8; bytes.holds(at, 12);) {
        const uint64_t length = bytes.number(at, 4);
        const std::string type = bytes.text(at + 4, 4);
        if (!bytes.holds(at + 12, length))
            break;
        if (type == "IDAT") {
            ++pieces;
            packed += length;
        } else {
            lines.push_back(pngChunk(bytes, type, at + 8, length));
        }
        at += 12 + length;
    }
    lines.push_back("IDAT, " + plain(int64_t(packed)) + " bytes in " + plain(int64_t(pieces)) +
                    (pieces == 1 ? " piece" : " pieces"));
    return lines;
}

bool isFrame(uint32_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

std::string jpegFrame(const FileBytes& bytes, uint32_t marker, uint64_t at)
{
    std::string line = std::string(marker == 0xC0   ? "baseline"
                                   : marker == 0xC2 ? "progressive"
                                                    : "other") +
                       " frame: width " + plain(bytes.number(at + 3, 2)) + ", height " +
                       plain(bytes.number(at + 1, 2)) + ", bits " + plain(bytes.number(at, 1)) + ", sampling";
    const uint32_t components = std::min<uint32_t>(bytes.number(at + 5, 1), 4);
    for (uint32_t i = 0; i < components; ++i) {
        const uint32_t factors = bytes.number(at + 7 + uint64_t{3} * i, 1);
        line += " " + plain(factors >> 4) + "x" + plain(factors & 15);
    }
    return line;
}

std::string jpegSegment(const FileBytes& bytes, uint32_t marker, uint64_t at, uint64_t length)
{
    if (isFrame(marker))
        return jpegFrame(bytes, marker, at);
    if (marker == 0xFE)
        return "comment: " + bytes.text(at, length);
    if (marker == 0xE0 && bytes.text(at, 5) == "JFIF") {
        const char* const units[] = {"no unit", "an inch", "a centimetre"};
        return "JFIF " + plain(bytes.number(at + 5, 1)) + "." + plain(bytes.number(at + 6, 1)) +
               ", density " + plain(bytes.number(at + 8, 2)) + " x " + plain(bytes.number(at + 10, 2)) +
               ", " + units[std::min<uint32_t>(bytes.number(at + 7, 1), 2)];
    }
    if (marker >= 0xE1 && marker <= 0xEF)
        return "application segment " + plain(marker - 0xE0) + ", " + plain(int64_t(length)) + " bytes";
    return marker == 0xDD ? "restart every " + plain(bytes.number(at, 2)) + " blocks" : "";
}

// Up to the first scan.
Lines jpegLines(std::span<const uint8_t> file)
{
    const FileBytes bytes(file, true);
    Lines lines;
    for (uint64_t at = 2; bytes.holds(at, 4) && bytes.number(at, 1) == 0xFF;) {
        const uint32_t marker = bytes.number(at + 1, 1);
        const uint64_t length = bytes.number(at + 2, 2);
        if (marker == 0xDA || length < 2 || !bytes.holds(at + 2, length))
            break;
        const std::string line = jpegSegment(bytes, marker, at + 4, length - 2);
        if (!line.empty())
            lines.push_back(line);
        at += 2 + length;
    }
    return lines;
}

Lines rawLines(std::span<const uint8_t> file)
{
    const FileBytes bytes(file, false);
    Lines lines = {"width " + plain(bytes.signed32(0)) + ", height " + plain(bytes.signed32(4)),
                   "stride " + plain(bytes.signed32(8)) + ", bytes a pixel " + plain(bytes.signed32(12)) +
                       ", pixel type " + plain(bytes.signed32(16))};
    const std::string comment = bytes.text(20, 32);
    if (!comment.empty())
        lines.push_back("comment: " + comment);
    return lines;
}

bool beginsWith(std::span<const uint8_t> file, std::initializer_list<uint8_t> magic)
{
    return file.size() >= magic.size() && std::equal(magic.begin(), magic.end(), file.begin());
}

} // namespace

std::string FileBytes::text(uint64_t at, uint64_t count) const
{
    constexpr uint64_t kMost = 200;
    std::string line;
    for (uint64_t i = 0; i < std::min(count, kMost) && holds(at + i, 1) && file_[at + i] != 0; ++i) {
        const uint8_t c = file_[at + i];
        line += c >= 0x20 && c != 0x7F ? static_cast<char>(c) : '?';
    }
    return line;
}

Lines headerLines(std::span<const uint8_t> file)
{
    if (beginsWith(file, {'B', 'M'}))
        return bitmapLines(file);
    if (beginsWith(file, {0x89, 'P', 'N', 'G'}))
        return pngLines(file);
    if (beginsWith(file, {0xFF, 0xD8, 0xFF}))
        return jpegLines(file);
    if (beginsWith(file, {'I', 'I'}) || beginsWith(file, {'M', 'M'}))
        return tiffHeaderLines(file);
    return file.size() >= 52 ? rawLines(file) : Lines{};
}

} // namespace app
