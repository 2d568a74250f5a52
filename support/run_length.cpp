// Run-length coding. A packet is a count byte and what follows it: with the top bit set that many literal bytes,
// otherwise one byte to repeat that many times.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace
{

constexpr int32_t kLongest = 127;
constexpr uint8_t kLiteral = 0x80;

// The packets written so far. A packet that does not fit is not begun.
class PacketWriter
{
public:
    PacketWriter(void* dest, int32_t capacity) : dest_(static_cast<uint8_t*>(dest)), capacity_(capacity) {}

    int32_t position() const { return position_; }
    bool fits(int32_t bytes) const { return int64_t{position_} + bytes <= capacity_; }

    bool literal(const uint8_t* bytes, int32_t count)
    {
        if (count == 0)
            return true;
        if (!fits(count + 1))
            return false;
        dest_[position_] = static_cast<uint8_t>(kLiteral | count);
        std::memcpy(dest_ + position_ + 1, bytes, static_cast<std::size_t>(count));
        position_ += count + 1;
        return true;
    }

    bool repeat(uint8_t value, int32_t count)
    {
        if (!fits(2))
            return false;
        dest_[position_++] = static_cast<uint8_t>(count);
        dest_[position_++] = value;
        return true;
    }

private:
    uint8_t* dest_;
    int32_t capacity_;
    int32_t position_ = 0;
};

int32_t overflow(const PacketWriter& out, int32_t capacity)
{
    vexa_dprintf("RunLengthEncode: Overflow dLen=%d", capacity);
    return out.position();
}

int32_t runLength(const uint8_t* at, const uint8_t* end)
{
    const uint8_t* limit = end - at > kLongest ? at + kLongest : end;
    return static_cast<int32_t>(std::find_if(at, limit, [at](uint8_t byte) { return byte != *at; }) - at);
}

bool runBegins(const uint8_t* at)
{
    return at[0] == at[1] && at[0] == at[2];
}

} // namespace

int32_t I_RunLengthEncode(const void* source, int32_t length, void* dest, int32_t capacity)
{
    if (!source || !dest || length < 1)
        return 0;
    const auto* bytes = static_cast<const uint8_t*>(source);
    PacketWriter out(dest, capacity);
    int32_t pending = 0; // bytes of the literal that ends in front of i
    int32_t i = 0;
    while (i < length - 2) {
        const bool run = runBegins(bytes + i);
        if (!run) {
            ++i;
            if (++pending < kLongest)
                continue;
        }
        // Required: a byte of room beyond the literal is asked for here, though not for the last packets.
        if (out.fits(pending + 2) == false)
            return overflow(out, capacity);
        out.literal(bytes + i - pending, pending);
        pending = 0;
        if (run) {
            const int32_t count = runLength(bytes + i, bytes + length);
            if (!out.repeat(bytes[i], count))
                return overflow(out, capacity);
            i += count;
        }
    }
    const int32_t rest = length - i;
    const int32_t joined = pending + rest <= kLongest ? rest : 0;
    const bool complete =
        out.literal(bytes + i - pending, pending + joined) && out.literal(bytes + i + joined, rest - joined);
    return complete ? out.position() : overflow(out, capacity);
}

uint8_t* I_RunLengthEncode1(const void* source, int32_t length, int32_t* encodedLength)
{
    if (encodedLength)
        *encodedLength = 0;
    if (!source || length < 0)
        return nullptr;
    const auto capacity = static_cast<int64_t>(length * 1.1 + 1.0);
    auto* dest = static_cast<uint8_t*>(vexa::allocateForCaller(capacity));
    if (malloctest(dest, "I_RunLengthEncode1"))
        return nullptr;
    const int32_t encoded = I_RunLengthEncode(source, length, dest, vexa::saturateToInt32(capacity));
    if (encodedLength)
        *encodedLength = encoded;
    return dest;
}

int32_t I_RunLengthDecode(const void* source, int32_t length, void* dest, int32_t capacity)
{
    if (!source || !dest || length < 2)
        return 0;
    const auto* bytes = static_cast<const uint8_t*>(source);
    auto* out = static_cast<uint8_t*>(dest);
    int64_t in = 0;
    int32_t done = 0;
    while (in < length && done < capacity) {
        const int32_t count = bytes[in] & kLongest;
        const bool literal = (bytes[in] & kLiteral) != 0;
        if (count > capacity - done) {
            I_SetError(1,
                       "RunLengthDecode() Result longer than DestBuf: diDone=%d RunLen=%d dLen=%d sLen=%d "
                       "siDone=%d RunVal=%d %d",
                       done, count, capacity, length, static_cast<int32_t>(in), bytes[in],
                       in + 1 < length ? bytes[in + 1] : 0);
            return done;
        }
        // A packet that the input cuts short gives what is there of it.
        const auto present = static_cast<int32_t>(std::min<int64_t>(literal ? count : 1, length - in - 1));
        const int32_t written = literal || present == 0 ? present : count;
        if (literal)
            std::memcpy(out + done, bytes + in + 1, static_cast<std::size_t>(written));
        else if (written > 0)
            std::memset(out + done, bytes[in + 1], static_cast<std::size_t>(written));
        done += written;
        in += literal ? 1 + count : 2;
    }
    if (in != length && done != capacity)
        I_SetError(1, "RunLengthDecode: sLen=%d, siDone=%d, dLen=%d done=%d", length,
                   static_cast<int32_t>(in), capacity, done);
    return done;
}
