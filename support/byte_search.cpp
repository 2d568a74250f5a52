// Searches for bytes, and small repairs of byte order and line ends.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "vexalib/numeric.h"

namespace
{

bool matches(const uint8_t* place, const uint8_t* needle, int32_t bytes)
{
    return std::memcmp(place, needle, static_cast<std::size_t>(bytes)) == 0;
}

// The first position from start on and below end at which the needle stands, or -1. Finding the needle's first byte is
// left to memchr, which looks at many bytes at a time.
int32_t findForward(const void* haystack, int64_t start, int64_t end, const void* needle, int32_t bytes)
{
    if (!haystack || !needle || bytes < 1)
        return -1;
    const auto* text = static_cast<const uint8_t*>(haystack);
    const auto* wanted = static_cast<const uint8_t*>(needle);
    for (int64_t at = std::max<int64_t>(start, 0); at < end; ++at) {
        const void* hit = std::memchr(text + at, wanted[0], static_cast<std::size_t>(end - at));
        if (!hit)
            return -1;
        at = static_cast<const uint8_t*>(hit) - text;
        if (matches(text + at, wanted, bytes))
            return static_cast<int32_t>(at);
    }
    return -1;
}

int32_t findBackward(const void* haystack, int32_t lowest, int32_t highest, const void* needle, int32_t bytes)
{
    if (!haystack || !needle)
        return -1;
    const auto* text = static_cast<const uint8_t*>(haystack);
    for (int32_t at = highest; at >= std::max(lowest, 0); --at)
        if (matches(text + at, static_cast<const uint8_t*>(needle), bytes))
            return at;
    return -1;
}

// What the conversion would remove, or -1 if a line feed stands alone.
int32_t countCrLf(const char* text, int32_t length)
{
    int32_t pairs = 0;
    for (int32_t i = 0; i < length; ++i) {
        if (text[i] != '\n')
            continue;
        if (i == 0 || text[i - 1] != '\r')
            return -1;
        ++pairs;
    }
    return pairs;
}

} // namespace

// Required: positions end strictly below the end minus the needle's length, so a needle flush with the end is not found.
int32_t I_instr(const void* haystack, int32_t start, int32_t length, const void* needle, int32_t needleLength)
{
    return findForward(haystack, start, int64_t{length} - needleLength, needle, needleLength);
}

int32_t I_instr4(const void* haystack, int32_t start, int32_t end, const void* value)
{
    return findForward(haystack, start, int64_t{end} - 4, value, 4);
}

int32_t I_instr2(const void* haystack, int32_t start, int32_t end, const void* value)
{
    return findForward(haystack, start, int64_t{end} - 2, value, 2);
}

int32_t I_instr4Rev(const void* haystack, int32_t lowest, int32_t highest, const void* value)
{
    return findBackward(haystack, lowest, highest, value, 4);
}

int32_t I_instr2Rev(const void* haystack, int32_t lowest, int32_t highest, const void* value)
{
    return findBackward(haystack, lowest, highest, value, 2);
}

int32_t I_SwapLong(const void* bytes)
{
    if (!bytes)
        return 0;
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return static_cast<int32_t>(__builtin_bswap32(word));
}

int32_t I_UndoCrLf(char* text, int32_t length)
{
    if (!text || length < 1)
        return 0;
    const int32_t pairs = countCrLf(text, length);
    if (pairs < 1)
        return -length;
    char* out = text;
    for (int32_t i = 0; i < length; ++i)
        if (text[i] != '\r' || i + 1 == length || text[i + 1] != '\n')
            *out++ = text[i];
    return length - pairs;
}
