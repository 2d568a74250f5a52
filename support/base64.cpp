// Base64 of RFC 4648. The decoder also takes the characters * and - for 62 and 63, and skips what is no digit.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr uint8_t kNoDigit = 255;

constexpr std::array<uint8_t, 256> makeDigits()
{
    std::array<uint8_t, 256> digits{};
    for (uint8_t& digit : digits)
        digit = kNoDigit;
    for (uint8_t i = 0; i < 64; ++i)
        digits[static_cast<uint8_t>(kAlphabet[i])] = i;
    digits['*'] = 62;
    digits['-'] = 63;
    return digits;
}
constexpr std::array<uint8_t, 256> kDigits = makeDigits();

int64_t encodedLength(int64_t bytes)
{
    return 4 * ((bytes + 2) / 3);
}

// One to three bytes as four characters.
void encodeGroup(const uint8_t* bytes, int64_t count, char* out)
{
    const uint32_t word = static_cast<uint32_t>(bytes[0]) << 16 |
                          static_cast<uint32_t>(count > 1 ? bytes[1] : 0) << 8 |
                          static_cast<uint32_t>(count > 2 ? bytes[2] : 0);
    out[0] = kAlphabet[word >> 18];
    out[1] = kAlphabet[word >> 12 & 63];
    out[2] = count > 1 ? kAlphabet[word >> 6 & 63] : '=';
    out[3] = count > 2 ? kAlphabet[word & 63] : '=';
}

char* encodeText(const uint8_t* bytes, int64_t length, int32_t* outLength)
{
    const int64_t characters = encodedLength(length);
    auto* text = static_cast<char*>(vexa::allocateForCaller(characters + 1));
    if (malloctest(text, "I_ConvertBase64"))
        return nullptr;
    for (int64_t in = 0, out = 0; in < length; in += 3, out += 4)
        encodeGroup(bytes + in, length - in, text + out);
    if (outLength)
        *outLength = vexa::saturateToInt32(characters);
    return text;
}

// A group that ends early counts as filled up with "=", each of which takes a byte away, up to two.
char* decodeText(const uint8_t* text, int64_t length, int32_t* outLength)
{
    auto* bytes = static_cast<char*>(vexa::allocateForCaller((length + 3) / 4 * 3 + 1));
    if (malloctest(bytes, "I_ConvertBase64"))
        return nullptr;
    int64_t digits = 0;
    int64_t out = 0;
    uint32_t word = 0;
    for (int64_t i = 0; i < length; ++i) {
        const uint8_t digit = kDigits[text[i]];
        if (digit == kNoDigit)
            continue;
        word = word << 6 | digit;
        if (++digits % 4 != 0)
            continue;
        bytes[out++] = static_cast<char>(word >> 16);
        bytes[out++] = static_cast<char>(word >> 8);
        bytes[out++] = static_cast<char>(word);
    }
    const auto left = static_cast<uint32_t>(digits % 4);
    if (left > 0) {
        word <<= 6 * (4 - left);
        bytes[out++] = static_cast<char>(word >> 16);
        if (left == 3)
            bytes[out++] = static_cast<char>(word >> 8);
    }
    if (outLength)
        *outLength = static_cast<int32_t>(out);
    return bytes;
}

} // namespace

char* I_ConvertBase64(const void* source, int32_t length, int32_t* outLength, int32_t encode)
{
    if (outLength)
        *outLength = 0;
    if (!source || length < 0)
        return nullptr;
    const int64_t bytes =
        length > 0 ? int64_t{length} : static_cast<int64_t>(std::strlen(static_cast<const char*>(source)));
    if (bytes == 0)
        return nullptr;
    const auto* data = static_cast<const uint8_t*>(source);
    return encode ? encodeText(data, bytes, outLength) : decodeText(data, bytes, outLength);
}

int32_t I_ConvertBase64a(const char* text, char* dest, int32_t encode)
{
    int32_t length = 0;
    char* result = dest ? I_ConvertBase64(text, 0, &length, encode) : nullptr;
    if (result)
        std::memcpy(dest, result, static_cast<std::size_t>(length) + 1);
    vexaFree(result);
    return length;
}

int32_t I_ConvertToBase64(const void* source, int32_t length, char* dest, int32_t capacity)
{
    if (!source || !dest || length < 1)
        return 0;
    int64_t taken = length;
    if (capacity < encodedLength(length)) {
        I_SetError(1, "I_ConvertToBase64: dlen must be >= slen*4/3");
        taken = std::min<int64_t>(taken, int64_t{capacity} * 3 / 4);
    }
    if (taken < 1)
        return 0;
    int32_t characters = 0;
    char* text = I_ConvertBase64(source, static_cast<int32_t>(taken), &characters, 1);
    if (!text)
        return 0;
    const int32_t copied = std::min(characters, capacity);
    std::memcpy(dest, text, static_cast<std::size_t>(copied));
    if (copied < capacity)
        dest[copied] = '\0';
    vexaFree(text);
    return copied;
}

int32_t I_ConvertFromBase64(const char* source, int32_t length, void* dest, int32_t capacity)
{
    if (!source || !dest || length < 1)
        return 0;
    int64_t taken = length;
    if (capacity < int64_t{length} * 3 / 4) {
        I_SetError(1, "I_ConvertFromBase64: dlen must be >= slen*3/4");
        taken = std::min<int64_t>(taken, int64_t{capacity} * 4 / 3);
    }
    if (taken < 1)
        return 0;
    int32_t bytes = 0;
    char* decoded = I_ConvertBase64(source, static_cast<int32_t>(taken), &bytes, 0);
    if (!decoded)
        return 0;
    const int32_t copied = std::min(bytes, capacity);
    std::memcpy(dest, decoded, static_cast<std::size_t>(copied));
    vexaFree(decoded);
    return copied;
}
