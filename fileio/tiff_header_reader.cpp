// The header of a TIFF as it is read: any order of bytes, any set of tags.
#include <algorithm>
#include <bit>

#include "fileio/stream.h"
#include "fileio/tiff_parts.h"
#include "vexalib/calibration.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr uint32_t kShort = 3;
constexpr int64_t kTableEntries = 256;

struct Entry {
    uint32_t tag;
    uint32_t type;
    uint32_t count;
    uint32_t value; // or where it lies
};

// What the tags of a directory said.
struct Facts {
    int32_t width = 0;
    int32_t height = 0;
    int32_t bits = 8;
    int32_t samples = 1;
    uint32_t commentBytes = 0;
    int64_t commentStart = -1; // no comment
    int64_t pixelStart = 0;
    uint32_t pixelBytes = 0;
};

class HeaderReader
{
public:
    HeaderReader(std::FILE* file, const char* name, VexaTiffPalette* palette)
        : file_(file), name_(name), palette_(palette && palette->red ? palette : nullptr),
          bytes_(bytesLeft(file))
    {
    }

    // False with the error set.
    [[nodiscard]] bool read();
    const Facts& facts() const { return facts_; }
    // Reads at most room bytes of the comment; gives how many arrived.
    int32_t readComment(char* buffer, int32_t room);
    [[nodiscard]] bool seekPixels();

private:
    uint32_t word(const uint8_t* bytes) const
    {
        return static_cast<uint32_t>(bigEndian_ ? bytes[0] << 8 | bytes[1] : bytes[1] << 8 | bytes[0]);
    }
    uint32_t longWord(const uint8_t* bytes) const
    {
        return bigEndian_ ? word(bytes) << 16 | word(bytes + 2) : littleEndian32(bytes);
    }
    bool seek(int64_t position) { return position <= bytes_ && seekTo(file_, position); }
    bool readAt(int64_t position, void* bytes, std::size_t count)
    {
        return seek(position) && readExactly(file_, bytes, count);
    }
    bool unsupported(const char* text) { return I_SetError(37, "%s", text); }
    bool behindTheEnd() { return I_SetError(18, "(%s).", name_); }

    [[nodiscard]] bool readOrder();
    Entry entryOf(const uint8_t* bytes) const;
    int64_t firstValue(const Entry& entry);
    [[nodiscard]] bool apply(const Entry& entry);
    [[nodiscard]] bool applyBits(const Entry& entry);
    [[nodiscard]] bool readPalette(int64_t position);
    [[nodiscard]] bool readCalibration(int64_t position);
    [[nodiscard]] bool findWidth();

    std::FILE* file_;
    const char* name_;
    VexaTiffPalette* palette_; // null: none is asked for
    int64_t bytes_;            // of the file
    bool bigEndian_ = false;
    int64_t directory_ = 0;
    Facts facts_;
};

bool HeaderReader::readOrder()
{
    uint8_t bytes[8];
    if (!readAt(0, bytes, sizeof bytes))
        return unsupported("Empty file");
    const bool intel = bytes[0] == 'I' && bytes[1] == 'I';
    bigEndian_ = bytes[0] == 'M' && bytes[1] == 'M';
    if (!intel && !bigEndian_)
        return unsupported("Not a TIFF file");
    if (word(bytes + 2) != 42)
        return unsupported("Multiple offsets aren't supported");
    directory_ = longWord(bytes + 4);
    return true;
}

// Words that fit stand in the entry itself, the first of them in front.
Entry HeaderReader::entryOf(const uint8_t* bytes) const
{
    const uint32_t type = word(bytes + 2);
    const uint32_t count = longWord(bytes + 4);
    const bool wordInside = type == kShort && count <= 2;
    return {word(bytes), type, count, wordInside ? word(bytes + 8) : longWord(bytes + 8)};
}

// The first of the values of an entry, two bytes of type 3, four of all others; -1 where the file ends before it.
int64_t HeaderReader::firstValue(const Entry& entry)
{
    const int64_t size = entry.type == kShort ? 2 : 4;
    uint8_t bytes[4] = {};
    // Values that fit stand in the entry itself.
    if (entry.count <= 1 || size * entry.count <= 4)
        return entry.value;
    if (!readAt(entry.value, bytes, static_cast<std::size_t>(size)))
        return -1;
    return size == 2 ? word(bytes) : longWord(bytes);
}

bool HeaderReader::applyBits(const Entry& entry)
{
    facts_.bits = static_cast<int32_t>(std::max<int64_t>(firstValue(entry), 0));
    return facts_.bits == 8 || I_SetError(37, "%d bits per pixel not supported", facts_.bits);
}

bool HeaderReader::readPalette(int64_t position)
{
    uint8_t words[3 * 2 * kTableEntries];
    if (!readAt(position, words, sizeof words))
        return behindTheEnd();
    uint8_t* const tables[] = {palette_->red, palette_->green, palette_->blue};
    for (int64_t table = 0; table < 3; ++table)
        for (int64_t i = 0; tables[table] && i < kTableEntries; ++i)
            tables[table][i] = static_cast<uint8_t>(word(words + 2 * (table * kTableEntries + i)) >> 8);
    tiffState().hasPalette = 1;
    return true;
}

// 256 floats in place of the table's first 256; all of them or none.
bool HeaderReader::readCalibration(int64_t position)
{
    uint8_t words[4 * kTableEntries];
    if (!readAt(position, words, sizeof words))
        return behindTheEnd();
    float* const table = geticaltable();
    for (int64_t i = 0; table && i < kTableEntries; ++i)
        table[i] = std::bit_cast<float>(longWord(words + 4 * i));
    return true;
}

bool HeaderReader::apply(const Entry& entry)
{
    switch (entry.tag) {
    case 256:
        facts_.width = static_cast<int16_t>(entry.value);
        return true;
    case 257:
        facts_.height = static_cast<int16_t>(entry.value);
        return true;
    case 258:
        return applyBits(entry);
    case 262:
        tiffState().inverted = entry.value == 0;
        tiffState().readRGB = entry.value == 2;
        return true;
    case 270:
        facts_.commentBytes = entry.count;
        facts_.commentStart = entry.value;
        return true;
    case 273:
        facts_.pixelStart = firstValue(entry);
        return true;
    case 277:
        facts_.samples = static_cast<int16_t>(entry.value);
        return true;
    case 278:
        if (facts_.height == 0)
            facts_.height = static_cast<int32_t>(entry.value);
        return true;
    case 279:
        facts_.pixelBytes = static_cast<uint32_t>(std::max<int64_t>(firstValue(entry), 0));
        return true;
    case 284:
        return entry.value == 1 ||
               I_SetError(37, "Planar configuration %d not supported", static_cast<int32_t>(entry.value));
    case 320:
        return !palette_ || readPalette(entry.value);
    case 36000:
        return readCalibration(entry.value);
    default:
        return true;
    }
}

bool HeaderReader::findWidth()
{
    if (facts_.width != 0)
        return true;
    if (facts_.height == 0 || facts_.pixelBytes == 0)
        return unsupported("Bad header -- unknown image width");
    facts_.width = static_cast<int32_t>(int64_t{facts_.pixelBytes} / facts_.height);
    return true;
}

bool HeaderReader::read()
{
    tiffState().hasPalette = 0;
    if (!readOrder())
        return false;
    uint8_t bytes[12];
    // A directory that ends too early counts as far as it goes.
    const uint32_t count = readAt(directory_, bytes, 2) ? word(bytes) : 0;
    for (uint32_t i = 0; i < count && readAt(directory_ + 2 + int64_t{12} * i, bytes, sizeof bytes); ++i)
        if (!apply(entryOf(bytes)))
            return false;
    return findWidth();
}

int32_t HeaderReader::readComment(char* buffer, int32_t room)
{
    if (facts_.commentStart < 0 || room < 1 || !seek(facts_.commentStart))
        return 0;
    const auto wanted = std::min<std::size_t>(facts_.commentBytes, static_cast<std::size_t>(room));
    return static_cast<int32_t>(std::fread(buffer, 1, wanted, file_));
}

bool HeaderReader::seekPixels()
{
    return (facts_.pixelStart >= 0 && seek(facts_.pixelStart)) || behindTheEnd();
}

void store(int32_t* out, int32_t value)
{
    if (out)
        *out = value;
}

// The comment and its zero; the empty text where there is none.
void deliverComment(HeaderReader& reader, char* comment, int32_t* length)
{
    if (!comment)
        return;
    const int32_t got = length && *length > 0 ? reader.readComment(comment, *length - 1) : 0;
    comment[got] = '\0';
    store(length, got);
}

} // namespace
} // namespace vexa

using namespace vexa;

FILE* I_ReadTiffHeader(const char* name, int32_t* width, int32_t* height, int32_t* bits, char* comment,
                       int32_t* commentLength, VexaTiffPalette* palette, int32_t* samples)
{
    Stream file = openStream(name, "rb");
    if (!file) {
        I_SetError(16, "(%s).", name ? name : "");
        return nullptr;
    }
    HeaderReader reader(file.get(), name, palette);
    if (!reader.read())
        return nullptr;
    if (palette && !tiffState().hasPalette)
        palette->red = nullptr;
    deliverComment(reader, comment, commentLength);
    if (!reader.seekPixels())
        return nullptr;
    store(width, reader.facts().width);
    store(height, reader.facts().height);
    store(bits, reader.facts().bits);
    store(samples, reader.facts().samples);
    return file.release();
}

FILE* I_ReadStdTiffHeader(const char* name, int32_t* width, int32_t* height, char* comment,
                          int32_t* commentLength, VexaTiffPalette* palette, int32_t* samples,
                          int32_t* inverted)
{
    int32_t bits = 8;
    FILE* const file = I_ReadTiffHeader(name, width, height, &bits, comment, commentLength, palette, samples);
    if (file)
        store(inverted, tiffState().inverted);
    return file;
}
