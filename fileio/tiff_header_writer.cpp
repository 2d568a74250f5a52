// The header of a TIFF as it is written: one fixed layout.
#include <algorithm>
#include <cstring>

#include "core/display_state.h"
#include "fileio/stream.h"
#include "fileio/tiff_parts.h"
#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kBlockBytes = 182;
constexpr int32_t kMostEntries = 14;
constexpr int32_t kPlainEntries = 13; // without a comment, colour samples or a palette
constexpr int32_t kResolutionBytes = 16;
constexpr int32_t kPaletteFileBytes = 3 * 512;
constexpr int32_t kFreeBytes = 1536; // between a palette and the pixels

enum FieldType : uint32_t { kAscii = 2, kShort = 3, kLong = 4, kRational = 5 };

struct HeaderRequest {
    int32_t width;
    int32_t height;
    const char* comment; // null for none
    int32_t commentLength;
    const VexaTiffPalette* palette; // null for none
    bool rgb;
};

// The header block, entry by entry.
class HeaderBlock
{
public:
    explicit HeaderBlock(int32_t entries)
    {
        bytes_[0] = bytes_[1] = 'I';
        bytes_[2] = 42;
        bytes_[4] = 8;
        putLittleEndian16(bytes_ + 8, static_cast<uint32_t>(entries));
    }
    void add(uint32_t tag, FieldType type, int64_t count, int64_t value)
    {
        putLittleEndian16(at_, tag);
        putLittleEndian16(at_ + 2, type);
        putLittleEndian32(at_ + 4, static_cast<uint32_t>(count));
        putLittleEndian32(at_ + 8, static_cast<uint32_t>(value));
        at_ += 12;
    }
    const uint8_t* bytes() const { return bytes_; }

private:
    uint8_t bytes_[kBlockBytes] = {};
    uint8_t* at_ = bytes_ + 10;
};

// Where the values behind the block lie.
struct Places {
    int32_t bits = kBlockBytes;
    int64_t comment;
    int64_t resolution;
    int64_t palette;
    int64_t pixels;

    explicit Places(const HeaderRequest& request)
    {
        comment = kBlockBytes + (request.rgb ? 6 : 0);
        resolution = comment + (request.comment ? (int64_t{request.commentLength} + 1) / 2 * 2 : 0);
        palette = resolution + kResolutionBytes;
        pixels = palette + (request.palette ? kPaletteFileBytes + kFreeBytes : 0);
    }
};

int32_t entryCount(const HeaderRequest& request)
{
    return kPlainEntries + (request.comment ? 1 : 0) + (request.rgb ? 1 : 0) + (request.palette ? 1 : 0);
}

HeaderBlock headerBlock(const HeaderRequest& request, const Places& places)
{
    const int64_t samples = request.rgb ? 3 : 1;
    HeaderBlock block(entryCount(request));
    block.add(254, kLong, 1, 1);
    block.add(256, kShort, 1, request.width);
    block.add(257, kShort, 1, request.height);
    block.add(258, kShort, samples, request.rgb ? places.bits : 8);
    block.add(259, kShort, 1, 1);
    block.add(262, kShort, 1, request.rgb ? 2 : request.palette ? 3 : 1);
    if (request.comment)
        block.add(270, kAscii, request.commentLength, places.comment);
    block.add(273, kLong, 1, places.pixels);
    block.add(277, kShort, 1, samples);
    block.add(278, kShort, 1, request.height);
    block.add(279, kLong, 1,
              wrapMultiply(static_cast<int32_t>(samples), wrapMultiply(request.width, request.height)));
    block.add(282, kRational, 1, places.resolution);
    block.add(283, kRational, 1, places.resolution + 8);
    if (request.rgb)
        block.add(284, kShort, 1, 1);
    block.add(296, kShort, 1, 2);
    if (request.palette)
        block.add(320, kShort, 768, places.palette);
    return block;
}

// Writes to a place in the file; zeros fill what the file is short of it.
bool writeAt(std::FILE* file, int64_t offset, const void* bytes, int64_t count)
{
    constexpr uint8_t zeros[1024] = {};
    if (std::fseek(file, 0, SEEK_END) != 0)
        return false;
    for (int64_t end = std::ftell(file); end >= 0 && end < offset;) {
        const int64_t step = std::min<int64_t>(offset - end, sizeof zeros);
        if (std::fwrite(zeros, 1, static_cast<std::size_t>(step), file) != static_cast<std::size_t>(step))
            return false;
        end += step;
    }
    return seekTo(file, offset) &&
           std::fwrite(bytes, 1, static_cast<std::size_t>(count), file) == static_cast<std::size_t>(count);
}

bool writeResolution(std::FILE* file, const HeaderRequest& request, const Places& places)
{
    uint8_t bytes[kResolutionBytes];
    putLittleEndian32(bytes, static_cast<uint32_t>(request.width));
    putLittleEndian32(bytes + 4, static_cast<uint32_t>(truncToInt32(displayState().pixelAspect * 1500.0)));
    putLittleEndian32(bytes + 8, static_cast<uint32_t>(request.height));
    putLittleEndian32(bytes + 12, 1500);
    return writeAt(file, places.resolution, bytes, sizeof bytes);
}

bool writePalette(std::FILE* file, const VexaTiffPalette& palette, const Places& places)
{
    uint8_t words[kPaletteFileBytes] = {};
    const uint8_t* const tables[] = {palette.red, palette.green, palette.blue};
    for (int32_t table = 0; table < 3; ++table)
        for (int32_t i = 0; tables[table] && i < 256; ++i)
            words[512 * table + 2 * i + 1] = tables[table][i];
    return writeAt(file, places.palette, words, sizeof words);
}

bool writeHeader(std::FILE* file, const HeaderRequest& request)
{
    const Places places(request);
    const HeaderBlock block = headerBlock(request, places);
    constexpr uint8_t kBits[] = {8, 0, 8, 0, 8, 0};
    return writeAt(file, 0, block.bytes(), kBlockBytes) &&
           (!request.rgb || writeAt(file, places.bits, kBits, sizeof kBits)) &&
           (!request.comment || writeAt(file, places.comment, request.comment, request.commentLength)) &&
           writeResolution(file, request, places) &&
           (!request.palette || writePalette(file, *request.palette, places)) && std::fflush(file) == 0 &&
           seekTo(file, places.pixels);
}

} // namespace
} // namespace vexa

using namespace vexa;

FILE* I_WriteTiffHeader(const char* name, int32_t width, int32_t height, const char* comment,
                        int32_t commentLength, const VexaTiffPalette* palette)
{
    const bool hasComment = comment && commentLength > 0;
    const HeaderRequest request = {width,
                                   height,
                                   hasComment ? comment : nullptr,
                                   hasComment ? commentLength : 0,
                                   palette && palette->red ? palette : nullptr,
                                   tiffState().writeRGB != 0};
    if (entryCount(request) > kMostEntries) {
        I_SetError(36, "");
        return nullptr;
    }
    // A file that is there is written into and not cut.
    Stream file = openStream(name, "r+b");
    if (!file)
        file = openStream(name, "w+b");
    if (!file) {
        I_SetError(16, "(%s)", name ? name : "");
        return nullptr;
    }
    if (!writeHeader(file.get(), request)) {
        I_SetError(19, "(%s).", name);
        return nullptr;
    }
    return file.release();
}
