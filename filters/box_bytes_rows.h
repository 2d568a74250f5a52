// Box windows of bytes. Part of box_smooth_rows.h.

namespace vexa::VEXA_TARGET
{
namespace
{

// (sum * scale + 512) >> 10, of which the low byte is stored. In 16 bits: the high half of sum * (scale * 128) is
// sum * scale / 512, for scales up to kMostShortScale.
inline uint16_t scaleFactor(uint16_t, int32_t scale)
{
    return static_cast<uint16_t>(scale * 128);
}
inline uint16_t scaleSum(uint16_t sum, uint16_t factor)
{
    const auto doubled = static_cast<uint16_t>((uint32_t{sum} * factor) >> 16);
    return (static_cast<uint16_t>(doubled + 1) >> 1) & 255;
}
inline uint32_t scaleFactor(uint32_t, int32_t scale)
{
    return static_cast<uint32_t>(scale);
}
inline uint16_t scaleSum(uint32_t sum, uint32_t scale)
{
    return ((sum * scale + 512U) >> 10) & 255;
}

// ((a + b) * weight) >> 10 for bytes and a weight below 1024.
inline uint16_t weighEnds(uint32_t a, uint32_t b, uint16_t weight)
{
    return static_cast<uint16_t>((uint32_t{static_cast<uint16_t>((a + b) << 6)} * weight) >> 16);
}

// Bytes are worked on by twos. As halves of 16 bits they become wide and narrow again without moving.
using BytePair = Placed<uint16_t>;

inline const BytePair* pairsAt(const void* bytes)
{
    return static_cast<const BytePair*>(bytes);
}

// A number for each pixel of a pair.
template <typename Sum>
struct PairOf {
    Sum left;
    Sum right;

    explicit PairOf(BytePair bytes) : left(bytes.value & 255), right(bytes.value >> 8) {}
    PairOf(Sum l, Sum r) : left(l), right(r) {}
    PairOf operator+(PairOf b) const
    {
        return {static_cast<Sum>(left + b.left), static_cast<Sum>(right + b.right)};
    }
    PairOf operator-(PairOf b) const
    {
        return {static_cast<Sum>(left - b.left), static_cast<Sum>(right - b.right)};
    }
};

// The n pixels of a line, from the sums of pair i.
template <typename Sum, typename SumsOf>
[[gnu::always_inline]] inline void scalePairs(uint8_t* out, int32_t n, int32_t scale, SumsOf sumsOf)
{
    const Sum factor = scaleFactor(Sum{}, scale);
    auto* const pairs = reinterpret_cast<BytePair*>(out);
    const int32_t count = n / 2;
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < count; ++i) {
        const PairOf<Sum> sums = sumsOf(i);
        pairs[i].value =
            static_cast<uint16_t>(scaleSum(sums.left, factor) | scaleSum(sums.right, factor) << 8);
    }
    if (n % 2 != 0)
        out[n - 1] = static_cast<uint8_t>(scaleSum(sumsOf(count).left, factor));
}

// The same for windows whose ends, low and high, were counted in full and have a weight of their own, unless it is 0.
template <typename Sum, typename SumsOf>
[[gnu::always_inline]] inline void scaleWindows(uint8_t* out, int32_t n, const BoxParameter& box,
                                                const BytePair* low, const BytePair* high, SumsOf sumsOf)
{
    if (box.weight == 0)
        return scalePairs<Sum>(out, n, box.scale, sumsOf);
    const auto weight = static_cast<uint16_t>(box.weight);
    scalePairs<Sum>(out, n, box.scale, [=](int32_t i) {
        const PairOf<Sum> a(low[i]);
        const PairOf<Sum> b(high[i]);
        const PairOf<Sum> ends = {weighEnds(a.left, b.left, weight), weighEnds(a.right, b.right, weight)};
        return sumsOf(i) - a - b + ends;
    });
}

// The sums of each column, those of the left pixels of all pairs before those of the right ones.
template <typename Sum>
struct ColumnSums {
    Sum* left;
    Sum* right;

    PairOf<Sum> operator[](int32_t i) const { return {left[i], right[i]}; }
    void set(int32_t i, PairOf<Sum> sums) const
    {
        left[i] = sums.left;
        right[i] = sums.right;
    }
    void add(const BytePair* row, int32_t pairs) const
    {
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < pairs; ++i)
            set(i, (*this)[i] + PairOf<Sum>(row[i]));
    }
};

// A column window: the sums of all its rows but the first are kept from line to line. A line costs the same for any
// height of the window.
template <typename Sum>
void boxColumnBytes(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    auto* const out = static_cast<uint8_t*>(line.out);
    const int32_t pairs = (line.count + 1) / 2;
    auto* const store = static_cast<Sum*>(box.sums);
    const ColumnSums<Sum> kept = {store, store + pairs};
    const BytePair* const top = pairsAt(line.rows[0]);
    const BytePair* const bottom = pairsAt(line.rows[line.height - 1]);
    fetchAhead(line, box, 0, line.count);
    if (line.bandStart) {
        std::fill_n(store, 2 * pairs, Sum{0});
        for (int32_t k = 1; k < line.height; ++k)
            kept.add(pairsAt(line.rows[k]), pairs);
    } else if (line.newLine) {
        scaleWindows<Sum>(out, line.count, box, top, bottom, [=](int32_t i) {
            const PairOf<Sum> sums = kept[i] + PairOf<Sum>(bottom[i]);
            kept.set(i, sums - PairOf<Sum>(top[i]));
            return sums;
        });
        return;
    }
    scaleWindows<Sum>(out, line.count, box, top, bottom,
                      [=](int32_t i) { return kept[i] + PairOf<Sum>(top[i]); });
}

// Without memory for the sums: each line anew.
inline void boxColumnBytesAnew(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    constexpr int32_t kPairs = 512;
    uint32_t left[kPairs];
    uint32_t right[kPairs];
    const ColumnSums<uint32_t> sums = {left, right};
    for (int32_t start = 0; start < line.count; start += 2 * kPairs) {
        const int32_t n = std::min(2 * kPairs, line.count - start);
        const auto row = [&](int32_t k) {
            return pairsAt(static_cast<const uint8_t*>(line.rows[k]) + start);
        };
        std::fill_n(left, kPairs, 0U);
        std::fill_n(right, kPairs, 0U);
        for (int32_t k = 0; k < line.height; ++k)
            sums.add(row(k), (n + 1) / 2);
        scaleWindows<uint32_t>(static_cast<uint8_t*>(line.out) + start, n, box, row(0), row(line.height - 1),
                               [=](int32_t i) { return sums[i]; });
    }
}

// A narrow window of 2 * Half + 1 pixels. The window of a pair's left pixel is Half pairs and one pixel more.
template <typename Sum, int32_t Half>
void boxRowBytesNarrow(const FrameLine& line, const BoxParameter& box)
{
    const BytePair* const row = pairsAt(line.rows[0]);
    scaleWindows<Sum>(static_cast<uint8_t*>(line.out), line.count, box, row, row + Half, [=](int32_t i) {
        const PairOf<Sum> first(row[i]);
        const PairOf<Sum> last(row[i + Half]);
        auto sum = static_cast<Sum>(first.right + last.left);
        for (int32_t k = 1; k < Half; ++k) {
            const PairOf<Sum> inner(row[i + k]);
            sum = static_cast<Sum>(sum + inner.left + inner.right);
        }
        return PairOf<Sum>(static_cast<Sum>(sum + first.left), static_cast<Sum>(sum + last.right));
    });
}

// From the window at a pair's left pixel to that at its right one, and on to the next pair.
template <typename Sum>
void boxRowBytesRunning(const FrameLine& line, const BoxParameter& box)
{
    const auto* const row = static_cast<const uint8_t*>(line.rows[0]);
    RunningSums<Sum> running(std::accumulate(row, row + line.width, Sum{0}));
    for (int32_t start = 0; start < line.count; start += 2 * running.kPiece) {
        const int32_t n = std::min(2 * running.kPiece, line.count - start);
        const int32_t pairs = (n + 1) / 2;
        const BytePair* const leaving = pairsAt(row + start);
        const BytePair* const entering = pairsAt(row + start + line.width);
        Sum* const moves = running.moves();
        const int32_t moveCount = running.moveCount(pairs);
        VEXA_INDEPENDENT
        for (int32_t i = 0; i < moveCount; ++i) {
            const PairOf<Sum> move = PairOf<Sum>(entering[i]) - PairOf<Sum>(leaving[i]);
            moves[i] = static_cast<Sum>(move.left + move.right);
        }
        const Sum* const sums = running.run(pairs);
        scaleWindows<Sum>(static_cast<uint8_t*>(line.out) + start, n, box, leaving, leaving + line.width / 2,
                          [=](int32_t i) {
                              const PairOf<Sum> move = PairOf<Sum>(entering[i]) - PairOf<Sum>(leaving[i]);
                              return PairOf<Sum>(sums[i], static_cast<Sum>(sums[i] + move.left));
                          });
    }
}

template <typename Sum>
void boxRowBytes(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    if (line.width == 3)
        return boxRowBytesNarrow<Sum, 1>(line, box);
    if (line.width == 5)
        return boxRowBytesNarrow<Sum, 2>(line, box);
    if (line.width == 7)
        return boxRowBytesNarrow<Sum, 3>(line, box);
    boxRowBytesRunning<Sum>(line, box);
}

} // namespace
} // namespace vexa::VEXA_TARGET
