// TIFF files made by hand, byte for byte.
#ifndef VEXA_TESTS_FILEIO_TIFF_BYTES_H
#define VEXA_TESTS_FILEIO_TIFF_BYTES_H

#include <cstdint>
#include <string>
#include <vector>

namespace vexa::test
{

using Bytes = std::vector<uint8_t>;

// Numbers appended in either order of bytes.
struct ByteWriter {
    bool bigEndian = false;
    Bytes bytes;

    void put8(uint32_t value) { bytes.push_back(static_cast<uint8_t>(value)); }
    void put16(uint32_t value)
    {
        put8(bigEndian ? value >> 8 : value);
        put8(bigEndian ? value : value >> 8);
    }
    void put32(uint32_t value)
    {
        put16(bigEndian ? value >> 16 : value);
        put16(bigEndian ? value : value >> 16);
    }
    void append(const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }
    void padTo(std::size_t size) { bytes.resize(size); }
};

struct TiffEntry {
    uint32_t tag, type, count, value;
};

// A header of 8 bytes, the directory, and behind it, at tiffBase(entries), whatever its values point to.
inline uint32_t tiffBase(std::size_t entries)
{
    return static_cast<uint32_t>(8 + 2 + 12 * entries + 4);
}

inline Bytes tiffBytes(const std::vector<TiffEntry>& entries, const Bytes& values, bool bigEndian = false)
{
    ByteWriter out{bigEndian, {}};
    out.put16(bigEndian ? 0x4D4D : 0x4949);
    out.put16(42);
    out.put32(8);
    out.put16(static_cast<uint32_t>(entries.size()));
    for (const TiffEntry& entry : entries) {
        out.put16(entry.tag);
        out.put16(entry.type);
        out.put32(entry.count);
        if (entry.type == 3 && entry.count == 1) {
            out.put16(entry.value);
            out.put16(0);
        } else {
            out.put32(entry.value);
        }
    }
    out.put32(0);
    out.append(values);
    return out.bytes;
}

} // namespace vexa::test

#endif
