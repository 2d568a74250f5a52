// Streams of the C runtime as the file formats use them: owned, with positions in 64 bits, and numbers in bytes.
#ifndef VEXA_FILEIO_STREAM_H
#define VEXA_FILEIO_STREAM_H

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>

namespace vexa
{

struct StreamCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Stream = std::unique_ptr<std::FILE, StreamCloser>;

// Null for a null name.
inline Stream openStream(const char* name, const char* mode)
{
    return Stream(name ? std::fopen(name, mode) : nullptr);
}

// False for what is no position, or none that this machine's streams can take.
[[nodiscard]] inline bool seekTo(std::FILE* file, int64_t position)
{
    return position >= 0 && position <= std::numeric_limits<long>::max() &&
           std::fseek(file, static_cast<long>(position), SEEK_SET) == 0;
}

[[nodiscard]] inline bool readExactly(std::FILE* file, void* buffer, std::size_t bytes)
{
    return std::fread(buffer, 1, bytes, file) == bytes;
}

// Bytes in the file from where the stream stands; 0 behind the end, and for what has no length.
inline int64_t bytesLeft(std::FILE* file)
{
    const long here = std::ftell(file);
    if (here < 0 || std::fseek(file, 0, SEEK_END) != 0)
        return 0;
    const long end = std::ftell(file);
    return seekTo(file, here) && end > here ? int64_t{end} - here : 0;
}

inline uint32_t littleEndian32(const uint8_t* bytes)
{
    return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | uint32_t{bytes[3]} << 24;
}

inline void putLittleEndian16(uint8_t* bytes, uint32_t value)
{
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}

inline void putLittleEndian32(uint8_t* bytes, uint32_t value)
{
    putLittleEndian16(bytes, value);
    putLittleEndian16(bytes + 2, value >> 16);
}

} // namespace vexa

#endif
