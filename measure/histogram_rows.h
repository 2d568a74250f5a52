// Counting bytes. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

// Eight tables in turn: equal neighbours then do not wait for each other's count, and a flat stretch counts
// at once.
inline void countBytes(const void* row, int32_t n, void* parameter)
{
    auto& tally = *static_cast<ByteTally*>(parameter);
    const auto* bytes = static_cast<const uint8_t*>(row);
    tally.count += n;
    int32_t i = 0;
    for (; i <= n - 8; i += 8) {
        uint64_t eight;
        std::memcpy(&eight, bytes + i, sizeof eight);
        if (eight == ((eight << 8) | (eight >> 56))) {
            tally.bins[0][eight & 255] += 8;
            continue;
        }
        for (uint32_t k = 0; k < 8; ++k)
            ++tally.bins[k][(eight >> (8 * k)) & 255];
    }
    for (; i < n; ++i)
        ++tally.bins[0][bytes[i]];
}

inline int64_t finishTables(const void* state, uint32_t* histogram)
{
    const auto& tally = *static_cast<const ByteTally*>(state);
    for (const auto& bins : tally.bins)
        for (int32_t i = 0; i < 256; ++i)
            histogram[i] += bins[i];
    return tally.count;
}

inline constexpr CountingRows kCountFew = {countBytes, finishTables, sizeof(ByteTally)};

#if VEXA_LEVEL == 3

// Tables store once per byte, and that is their limit. Here bytes are first parted by their two top bits; 64
// bytes of one quarter then become eight vectors of one bit per byte, which stands for the byte's value among
// eight neighbours. Carry-save adders sum such vectors bit by bit: what leaves the last adder has the weight
// of a whole chunk.
inline constexpr int32_t kAdderLevels = 5;
inline constexpr int32_t kChunkBytes = 64 << kAdderLevels;
inline constexpr int32_t kStepBytes = 2048; // parted before the quarters are looked at again

struct EightValues {
    __m512i sums[kAdderLevels]; // weights 1, 2, 4, ...
    __m512i chunks[8];          // of each value, in eight parts
};
struct Quarter {
    EightValues groups[8];
    uint8_t bytes[kChunkBytes + kStepBytes + 64]; // not yet counted; the last 64 take whole-vector stores
    int32_t waiting;
};
struct QuarterTally {
    Quarter quarters[4];
    int64_t count;
};

// For each group of eight values: the bit of each value of the quarter that lies in it.
struct ValueBits {
    alignas(64) uint8_t tables[8][64];
};
constexpr ValueBits makeValueBits()
{
    ValueBits bits{};
    for (int32_t value = 0; value < 64; ++value)
        bits.tables[value / 8][value] = static_cast<uint8_t>(1 << value % 8);
    return bits;
}
inline constexpr ValueBits kValueBits = makeValueBits();

// Adds 2 to the Level vectors of bytes; the result is what is carried over.
template <int32_t Level>
[[gnu::always_inline]] inline __m512i addAndCarry(__m512i* sums, const uint8_t* bytes, __m512i table)
{
    if constexpr (Level == 0) {
        // The masked form with all bits set: the plain one is taken for a use of an undefined vector by g++
        // 12.
        return _mm512_maskz_permutexvar_epi8(~uint64_t{0}, _mm512_loadu_si512(bytes), table);
    } else {
        const __m512i a = addAndCarry<Level - 1>(sums, bytes, table);
        const __m512i b = addAndCarry<Level - 1>(sums, bytes + (32 << Level), table);
        const __m512i before = sums[Level - 1];
        sums[Level - 1] = _mm512_ternarylogic_epi64(before, a, b, 0x96); // the sum's low bit
        return _mm512_ternarylogic_epi64(before, a, b, 0xE8);            // its high bit
    }
}

inline void countChunk(Quarter& quarter)
{
    for (int32_t g = 0; g < 8; ++g) {
        EightValues& group = quarter.groups[g];
        __m512i sums[kAdderLevels];
        for (int32_t i = 0; i < kAdderLevels; ++i)
            sums[i] = group.sums[i];
        const __m512i table = _mm512_load_si512(kValueBits.tables[g]);
        const __m512i carry = addAndCarry<kAdderLevels>(sums, quarter.bytes, table);
        for (int32_t i = 0; i < kAdderLevels; ++i)
            group.sums[i] = sums[i];
        for (int32_t value = 0; value < 8; ++value) {
            const __m512i bits = _mm512_and_si512(carry, _mm512_set1_epi8(static_cast<char>(1 << value)));
            group.chunks[value] = _mm512_add_epi64(group.chunks[value], _mm512_popcnt_epi64(bits));
        }
    }
    quarter.waiting -= kChunkBytes;
    for (int32_t i = 0; i < quarter.waiting; i += 64)
        _mm512_storeu_si512(quarter.bytes + i, _mm512_loadu_si512(quarter.bytes + kChunkBytes + i));
}

inline void appendBytes(Quarter& quarter, __mmask64 chosen, __m512i bytes)
{
    _mm512_storeu_si512(quarter.bytes + quarter.waiting, _mm512_maskz_compress_epi8(chosen, bytes));
    quarter.waiting += static_cast<int32_t>(__builtin_popcountll(chosen));
}

inline void partBytes(const void* row, int32_t n, void* parameter)
{
    auto& tally = *static_cast<QuarterTally*>(parameter);
    const auto* bytes = static_cast<const uint8_t*>(row);
    tally.count += n;
    for (int64_t done = 0; done < n;) {
        const int64_t end = n - done > kStepBytes ? done + kStepBytes : n;
        for (; done < end; done += 64) {
            const __mmask64 valid = end - done >= 64 ? ~uint64_t{0} : (uint64_t{1} << (end - done)) - 1;
            const __m512i v = _mm512_maskz_loadu_epi8(valid, bytes + done);
            const __mmask64 top = _mm512_movepi8_mask(v);
            const __mmask64 next = _mm512_movepi8_mask(_mm512_add_epi8(v, v));
            appendBytes(tally.quarters[0], _kandn_mask64(_kor_mask64(top, next), valid), v);
            appendBytes(tally.quarters[1], _kandn_mask64(top, next), v);
            appendBytes(tally.quarters[2], _kandn_mask64(next, top), v);
            appendBytes(tally.quarters[3], _kand_mask64(top, next), v);
        }
        done = end;
        for (Quarter& quarter : tally.quarters)
            if (quarter.waiting >= kChunkBytes)
                countChunk(quarter);
    }
}

inline int64_t finishQuarters(const void* state, uint32_t* histogram)
{
    const auto& tally = *static_cast<const QuarterTally*>(state);
    for (int32_t q = 0; q < 4; ++q) {
        const Quarter& quarter = tally.quarters[q];
        for (int32_t i = 0; i < quarter.waiting; ++i)
            ++histogram[quarter.bytes[i]];
        for (int32_t v = 0; v < 64; ++v) {
            const EightValues& group = quarter.groups[v / 8];
            const __m512i bit = _mm512_set1_epi8(static_cast<char>(1 << v % 8));
            int64_t parts[8];
            _mm512_storeu_si512(parts, group.chunks[v % 8]);
            int64_t n = 0;
            for (const int64_t part : parts)
                n += part << kAdderLevels;
            for (int32_t level = 0; level < kAdderLevels; ++level)
                n += __builtin_popcountll(_mm512_test_epi8_mask(group.sums[level], bit)) << level;
            histogram[64 * q + v] += static_cast<uint32_t>(n);
        }
    }
    return tally.count;
}

inline constexpr CountingRows kCountMany = {partBytes, finishQuarters, sizeof(QuarterTally)};

#else

inline constexpr CountingRows kCountMany = kCountFew;

#endif

} // namespace vexa::VEXA_TARGET
