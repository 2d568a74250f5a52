// Run lengths: packets of any kind decode within their room, and what was encoded decodes to itself.
#include <cstring>
#include <memory>

#include "tests/fuzz/support/fuzz.h"
#include "vexalib/numeric.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static const bool quiet = (quieten(), true);
    (void)quiet;
    const auto length = static_cast<int32_t>(count);
    const int32_t capacity = length == 0 ? 0 : 8 * bytes[length - 1];
    const std::unique_ptr<uint8_t[]> dest(new uint8_t[static_cast<size_t>(capacity)]);
    const int32_t decoded = I_RunLengthDecode(bytes, length, dest.get(), capacity);
    require(decoded >= 0 && decoded <= capacity);
    const int32_t encoded = I_RunLengthEncode(bytes, length, dest.get(), capacity);
    require(encoded >= 0 && encoded <= capacity);

    int32_t packed = 0;
    uint8_t* const whole = I_RunLengthEncode1(bytes, length, &packed);
    if (whole && length > 0) {
        const std::unique_ptr<uint8_t[]> back(new uint8_t[count]);
        require(I_RunLengthDecode(whole, packed, back.get(), length) == length);
        require(std::memcmp(back.get(), bytes, count) == 0);
    }
    vexaFree(whole);
    return 0;
}
