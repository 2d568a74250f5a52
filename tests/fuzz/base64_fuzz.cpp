// Base64: texts of any kind decode, and what was encoded decodes to itself.
#include <cstring>
#include <memory>

#include "tests/fuzz/support/fuzz.h"
#include "vexalib/numeric.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static const bool quiet = (quieten(), true);
    // A length of 0 says that the bytes are a text with a zero at its end, which an input is not.
    if (!quiet || count == 0)
        return 0;
    const auto length = static_cast<int32_t>(count);
    int32_t decodedLength = 0;
    vexaFree(I_ConvertBase64(bytes, length, &decodedLength, 0));
    require(decodedLength >= 0 && decodedLength <= length);

    const int32_t capacity = bytes[0];
    const std::unique_ptr<char[]> dest(new char[static_cast<size_t>(capacity) + 1]);
    const auto* const text = reinterpret_cast<const char*>(bytes);
    const int32_t decoded = I_ConvertFromBase64(text, length, dest.get(), capacity);
    require(decoded >= 0 && decoded <= capacity);
    const int32_t encoded = I_ConvertToBase64(bytes, length, dest.get(), capacity);
    require(encoded >= 0 && encoded <= capacity);

    int32_t characters = 0;
    char* const whole = I_ConvertBase64(bytes, length, &characters, 1);
    if (whole) {
        char* const back = I_ConvertBase64(whole, characters, &decodedLength, 0);
        require(back && decodedLength == length && std::memcmp(back, bytes, count) == 0);
        vexaFree(back);
        vexaFree(whole);
    }
    return 0;
}
