// Counting bytes and floats into bins. Compiled once per instruction set, hence no include guard.

namespace vexa::VEXA_TARGET
{

// Eight tables in turn: equal neighbours then do not wait for each other's count.
inline void countBytes(const void* row, int32_t n, void* parameter)
{
    auto& tally = *static_cast<ByteTally*>(parameter);
    const auto* bytes = static_cast<const uint8_t*>(row);
    tally.count += n;
    int32_t i = 0;
    for (; i <= n - 8; i += 8) {
        uint64_t eight;
        std::memcpy(&eight, bytes + i, sizeof eight);
        for (uint32_t k = 0; k < 8; ++k)
            ++tally.bins[k][(eight >> (8 * k)) & 255];
    }
    for (; i < n; ++i)
        ++tally.bins[0][bytes[i]];
}

inline constexpr StatsRowFilter kCountBytes = countBytes;

} // namespace vexa::VEXA_TARGET
