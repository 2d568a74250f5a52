// The directories of a TIFF, tag by tag.
#include <algorithm>
#include <cstring>
#include <set>

#include "header_facts.h"

namespace app
{
namespace
{

struct TagName {
    uint32_t tag;
    const char* name;
};

constexpr TagName kNames[] = {{254, "kind of picture"},
                              {256, "width"},
                              {257, "height"},
                              {258, "bits a sample"},
                              {259, "compression"},
                              {262, "photometric"},
                              {266, "fill order"},
                              {269, "document"},
                              {270, "comment"},
                              {271, "maker"},
                              {272, "model"},
                              {273, "strips at"},
                              {274, "orientation"},
                              {277, "samples a pixel"},
                              {278, "rows a strip"},
                              {279, "bytes of strips"},
                              {280, "smallest value"},
                              {281, "largest value"},
                              {282, "x resolution"},
                              {283, "y resolution"},
                              {284, "planar configuration"},
                              {296, "unit of resolution"},
                              {297, "page"},
                              {305, "software"},
                              {306, "date"},
                              {315, "artist"},
                              {317, "predictor"},
                              {320, "palette"},
                              {322, "tile width"},
                              {323, "tile height"},
                              {324, "tiles at"},
                              {325, "bytes of tiles"},
                              {338, "extra samples"},
                              {339, "sample format"},
                              {36000, "intensity calibration"}};

enum Type : uint32_t { kAscii = 2, kRational = 5, kSignedRational = 10, kFloat = 11, kDouble = 12 };

// Bytes of a value of each type; 0 where it is not known.
uint32_t typeBytes(uint32_t type)
{
    constexpr uint32_t bytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < std::size(bytes) ? bytes[type] : 0;
}

std::string label(uint32_t tag)
{
    for (const TagName& known : kNames)
        if (known.tag == tag)
            return std::to_string(tag) + " " + known.name;
    return std::to_string(tag);
}

int32_t widened(uint32_t value, uint32_t bytes)
{
    const uint32_t shift = 32 - 8 * bytes;
    return static_cast<int32_t>(value << shift) >> shift;
}

std::string floatText(uint32_t word)
{
    float value = 0;
    std::memcpy(&value, &word, sizeof value);
    char text[40];
    std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return text;
}

std::string valueText(const FileBytes& bytes, uint32_t type, uint64_t at)
{
    const uint32_t size = typeBytes(type);
    if (type == kRational)
        return std::to_string(bytes.number(at, 4)) + "/" + std::to_string(bytes.number(at + 4, 4));
    if (type == kSignedRational)
        return std::to_string(bytes.signed32(at)) + "/" + std::to_string(bytes.signed32(at + 4));
    if (type == kFloat)
        return floatText(bytes.number(at, 4));
    if (type == kDouble)
        return "(64-bit)";
    const bool isSigned = type == 6 || type == 8 || type == 9;
    return isSigned ? std::to_string(widened(bytes.number(at, size), size))
                    : std::to_string(bytes.number(at, size));
}

std::string entryLine(const FileBytes& bytes, uint64_t at)
{
    constexpr uint64_t kMostValues = 8;
    const uint32_t type = bytes.number(at + 2, 2);
    const uint64_t count = bytes.number(at + 4, 4);
    const uint64_t size = typeBytes(type);
    std::string line = label(bytes.number(at, 2)) + ":";
    if (size == 0)
        return line + " type " + std::to_string(type) + ", " + std::to_string(count) + " values";
    const uint64_t place = size * count <= 4 ? at + 8 : bytes.number(at + 8, 4);
    if (!bytes.holds(place, size * count))
        return line + " behind the end of the file";
    if (type == kAscii)
        return line + " " + bytes.text(place, count);
    for (uint64_t i = 0; i < std::min(count, kMostValues); ++i)
        line += " " + valueText(bytes, type, place + i * size);
    return count > kMostValues ? line + " ... (" + std::to_string(count) + " values)" : line;
}

} // namespace

Lines tiffHeaderLines(std::span<const uint8_t> file)
{
    const bool bigEndian = !file.empty() && file[0] == 'M';
    const FileBytes bytes(file, bigEndian);
    Lines lines = {std::string(bigEndian ? "big-endian" : "little-endian") + ", version " +
                   std::to_string(bytes.number(2, 2))};
    if (bytes.number(2, 2) != 42)
        return lines;
    std::set<uint64_t> seen; // directories that point in a circle end where they began
    for (uint64_t directory = bytes.number(4, 4);
         directory != 0 && bytes.holds(directory, 2) && seen.insert(directory).second;) {
        const uint64_t count = bytes.number(directory, 2);
        lines.push_back("directory at " + std::to_string(directory) + ", " + std::to_string(count) +
                        " entries");
        uint64_t entry = directory + 2;
        for (uint64_t i = 0; i < count && bytes.holds(entry, 12); ++i, entry += 12)
            lines.push_back(entryLine(bytes, entry));
        directory = bytes.number(entry, 4);
    }
    return lines;
}

} // namespace app
