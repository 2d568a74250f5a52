// Box windows of floats. Part of box_smooth_rows.h.
//
// Floats are summed in doubles, and no sum is ever taken back that is not exact: a pixel outside a window leaves no trace
// in it.

namespace vexa::VEXA_TARGET
{
namespace
{

// Doubles of one vector register, and the floats they are made of and become.
inline constexpr int32_t kLanes = VEXA_LEVEL == 3 ? 8 : VEXA_LEVEL == 2 ? 4 : 2;
typedef double DoubleLanes __attribute__((vector_size(kLanes * 8)));
typedef float FloatLanes __attribute__((vector_size(kLanes * 4)));

// Lanes K and on of a register, and as many of the one behind it as there is room for.
template <int32_t K, int32_t... I>
DoubleLanes behind(DoubleLanes lanes, DoubleLanes next, std::integer_sequence<int32_t, I...>)
{
    return __builtin_shufflevector(lanes, next, (I + K)...);
}
template <int32_t K>
DoubleLanes behind(DoubleLanes lanes, DoubleLanes next)
{
    return behind<K>(lanes, next, std::make_integer_sequence<int32_t, kLanes>{});
}

// One number or a register of them, as doubles.
template <typename Number>
Number loadAs(const double* from)
{
    Number numbers;
    std::memcpy(&numbers, from, sizeof numbers);
    return numbers;
}
template <typename Number>
Number loadAs(const float* from)
{
    if constexpr (std::is_same_v<Number, double>) {
        return double{*from};
    } else {
#if VEXA_LEVEL >= 3
        return _mm512_cvtps_pd(_mm256_loadu_ps(from)); // which a conversion of vectors does not always become
#elif VEXA_LEVEL == 2
        return _mm256_cvtps_pd(_mm_loadu_ps(from));
#else
        FloatLanes floats;
        std::memcpy(&floats, from, sizeof floats);
        return __builtin_convertvector(floats, DoubleLanes);
#endif
    }
}

inline void storeAs(float* to, double number)
{
    *to = static_cast<float>(number);
}
inline void storeAs(float* to, DoubleLanes numbers)
{
    const FloatLanes floats = __builtin_convertvector(numbers, FloatLanes);
    std::memcpy(to, &floats, sizeof floats);
}
template <typename Number>
void storeAs(double* to, Number numbers)
{
    std::memcpy(to, &numbers, sizeof numbers);
}

// body(i, a number of the kind to load) for all i below n, in whole registers as far as they go.
template <typename Body>
[[gnu::always_inline]] inline void forLanes(int32_t n, Body body)
{
    int32_t i = 0;
    for (; i + kLanes <= n; i += kLanes)
        body(i, DoubleLanes{});
    for (; i < n; ++i)
        body(i, double{});
}

inline void addRow(double* sums, const double* others, const float* row, int32_t n)
{
    forLanes(n, [=](int32_t i, auto kind) {
        using Number = decltype(kind);
        storeAs(sums + i, loadAs<Number>(others + i) + loadAs<Number>(row + i));
    });
}

// (sum + the weighted ends) / area for n outputs of a line from start on, of which sumAt(i) has the sum of the i-th.
template <typename SumAt>
[[gnu::always_inline]] inline void finishFloats(const FrameLine& line, const BoxParameter& box, int32_t start,
                                                int32_t n, SumAt sumAt)
{
    constexpr int32_t kPiece = 64;
    const auto* const low = static_cast<const float*>(line.rows[0]) + start;
    const auto* const high = static_cast<const float*>(line.rows[line.height - 1]) + line.width - 1 + start;
    auto* const out = static_cast<float*>(line.out) + start;
    const double inverse = box.inverse;
    const double edge = box.edge;
    alignas(64) float passing[kPiece];
    for (int32_t piece = 0; piece < n; piece += kPiece) {
        const int32_t length = std::min(kPiece, n - piece);
        float* const to = box.pastCache ? passing : out + piece;
        fetchAhead(line, box, start + piece, length);
        if (edge == 0.0)
            forLanes(length, [=, &sumAt](int32_t i, auto kind) {
                storeAs(to + i, sumAt(piece + i, kind) * inverse);
            });
        else
            forLanes(length, [=, &sumAt](int32_t i, auto kind) {
                using Number = decltype(kind);
                const Number ends = loadAs<Number>(low + piece + i) + loadAs<Number>(high + piece + i);
                storeAs(to + i, (sumAt(piece + i, kind) + ends * edge) * inverse);
            });
        if (box.pastCache)
            storePastCache(out + piece, passing, int64_t{length} * static_cast<int64_t>(sizeof(float)));
    }
}

// A low window, its rows summed in registers.
template <int32_t Rows>
void boxColumnFloatsLow(const FrameLine& line, const BoxParameter& box)
{
    const int32_t first = box.edge != 0.0;
    const float* rows[Rows];
    for (int32_t k = 0; k < Rows; ++k)
        rows[k] = static_cast<const float*>(line.rows[first + k]);
    finishFloats(line, box, 0, line.count, [=](int32_t i, auto kind) {
        auto sum = loadAs<decltype(kind)>(rows[0] + i);
        for (int32_t k = 1; k < Rows; ++k)
            sum += loadAs<decltype(kind)>(rows[k] + i);
        return sum;
    });
}

inline void boxColumnFloatsAnew(const FrameLine& line, const BoxParameter& box)
{
    constexpr int32_t kPiece = 512;
    const int32_t first = box.edge != 0.0;
    const int32_t last = line.height - 1;
    alignas(64) double sums[kPiece];
    for (int32_t start = 0; start < line.count; start += kPiece) {
        const int32_t n = std::min(kPiece, line.count - start);
        const auto row = [&](int32_t k) { return static_cast<const float*>(line.rows[k]) + start; };
        std::fill_n(sums, n, 0.0);
        for (int32_t k = first; k <= last - first; ++k)
            addRow(sums, sums, row(k), n);
        finishFloats(line, box, start, n,
                     [&sums](int32_t i, auto kind) { return loadAs<decltype(kind)>(sums + i); });
    }
}

inline void extendSpread(Spread& spread, const float* row, int32_t n)
{
    uint32_t highest = spread.highest;
    uint32_t lowest = spread.lowest;
    for (int32_t i = 0; i < n; ++i) {
        uint32_t bits = 0;
        std::memcpy(&bits, row + i, sizeof bits);
        bits <<= 1; // without the sign
        highest = std::max(highest, bits);
        lowest = std::min(lowest, bits - 1); // 0 becomes the largest of all
    }
    spread = {highest, lowest};
}

// The rows that a column window counts in full.
struct WindowRows {
    const FrameLine& line;
    int32_t first;
    int32_t count;

    const float* operator[](int32_t k) const { return static_cast<const float*>(line.rows[first + k]); }
};

// True while the sums can be carried from line to line. The floats of all rows met so far have a say in that.
inline bool staysExact(const WindowRows& rows, BoxParameter& box)
{
    const FrameLine& line = rows.line;
    if (line.bandStart) {
        box.spread = {};
        box.running = true;
        for (int32_t k = 0; k < rows.count; ++k)
            extendSpread(box.spread, rows[k], line.count);
    } else if (line.newLine && box.running) {
        extendSpread(box.spread, rows[rows.count - 1], line.count);
    }
    return box.running && box.spread.sumsExactly(rows.count + 1);
}

// The sums of all rows but the first are kept from line to line.
inline void boxColumnFloatsRunning(const WindowRows& rows, double* kept, const BoxParameter& box)
{
    const FrameLine& line = rows.line;
    const float* const top = rows[0];
    if (line.bandStart) {
        std::fill_n(kept, line.count, 0.0);
        for (int32_t k = 1; k < rows.count; ++k)
            addRow(kept, kept, rows[k], line.count);
    } else if (line.newLine) {
        const float* const entering = rows[rows.count - 1];
        finishFloats(line, box, 0, line.count, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            const Number sum = loadAs<Number>(kept + i) + loadAs<Number>(entering + i);
            storeAs(kept + i, sum - loadAs<Number>(top + i));
            return sum;
        });
        return;
    }
    finishFloats(line, box, 0, line.count, [=](int32_t i, auto kind) {
        return loadAs<decltype(kind)>(kept + i) + loadAs<decltype(kind)>(top + i);
    });
}

// A column window over blocks of as many rows as it has: its rows are the last ones of a block and the first ones of the
// next. When it covers a block, the sums from each row of the block to its last one are made; from then on the sum of
// the next block's rows grows line by line. So a line costs the same for any height of the window, and nothing is taken
// back (van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and octagonal kernels", 1992,
// has it for minima).
inline void boxColumnFloatsByBlocks(const WindowRows& rows, double* grown, BoxParameter& box, bool start)
{
    const FrameLine& line = rows.line;
    const int32_t n = line.count;
    const auto fromRow = [=](int32_t k) { return grown + int64_t{k + 1} * (n + kFloatSumsGap); };
    if (start || line.newLine)
        box.phase = start || box.phase + 1 == rows.count ? 0 : box.phase + 1;
    if (box.phase == 0 && (start || line.newLine)) {
        std::copy_n(rows[rows.count - 1], n, fromRow(rows.count - 1));
        for (int32_t k = rows.count - 2; k >= 0; --k)
            addRow(fromRow(k), fromRow(k + 1), rows[k], n);
        std::fill_n(grown, n, 0.0);
    }
    const double* const rest = fromRow(box.phase);
    if (line.newLine && box.phase != 0)
        addRow(grown, grown, rows[rows.count - 1], n);
    finishFloats(line, box, 0, line.count, [=](int32_t i, auto kind) {
        return loadAs<decltype(kind)>(rest + i) + loadAs<decltype(kind)>(grown + i);
    });
}

// A line costs the same for any height of the window.
inline void boxColumnFloats(const FrameLine& line, void* user)
{
    auto& box = *static_cast<BoxParameter*>(user);
    const int32_t first = box.edge != 0.0;
    const WindowRows rows = {line, first, line.height - 2 * first};
    if (rows.count == 1)
        return boxColumnFloatsLow<1>(line, box);
    if (rows.count == 3)
        return boxColumnFloatsLow<3>(line, box);
    if (rows.count == 5)
        return boxColumnFloatsLow<5>(line, box);
    if (!box.sums)
        return boxColumnFloatsAnew(line, box);
    auto* const sums = static_cast<double*>(box.sums);
    if (staysExact(rows, box))
        return boxColumnFloatsRunning(rows, sums, box);
    const bool start = line.bandStart || box.running;
    box.running = false;
    boxColumnFloatsByBlocks(rows, sums, box, start);
}

// The windows of a line along its row.
struct WindowColumns {
    const FrameLine& line;
    const float* row; // the pixels that the first window counts in full
    int32_t width;
};

// A window of up to five pixels.
template <int32_t Width>
void boxRowFloatsNarrow(const WindowColumns& columns, const BoxParameter& box)
{
    finishFloats(columns.line, box, 0, columns.line.count, [row = columns.row](int32_t i, auto kind) {
        using Number = decltype(kind);
        const auto pair = [=](int32_t k) {
            return loadAs<Number>(row + i + k) + loadAs<Number>(row + i + k + 1);
        };
        const Number first = loadAs<Number>(row + i);
        if constexpr (Width == 1)
            return first;
        else if constexpr (Width == 3)
            return first + pair(1);
        else
            return first + (pair(1) + pair(3));
    });
}

inline void boxRowFloatsAnew(const WindowColumns& columns, const BoxParameter& box)
{
    finishFloats(columns.line, box, 0, columns.line.count, [=](int32_t i, auto kind) {
        auto sum = loadAs<decltype(kind)>(columns.row + i);
        for (int32_t k = 1; k < columns.width; ++k)
            sum += loadAs<decltype(kind)>(columns.row + i + k);
        return sum;
    });
}

// The sum of n pixels, where it is exact.
inline double sumOf(const float* row, int32_t n)
{
    DoubleLanes lanes = {};
    double sum = 0.0;
    forLanes(n, [&, row](int32_t i, auto kind) {
        if constexpr (std::is_same_v<decltype(kind), double>)
            sum += double{row[i]};
        else
            lanes += loadAs<DoubleLanes>(row + i);
    });
    for (int32_t i = 0; i < kLanes; ++i)
        sum += lanes[i];
    return sum;
}

// Sums of windows that run, a register of them at a time.
class RunningFloats
{
public:
    RunningFloats(const float* row, int32_t width) : leaving_(row), entering_(row + width)
    {
        double sums[kLanes] = {sumOf(row, width)};
        for (int32_t i = 0; i + 1 < kLanes; ++i)
            sums[i + 1] = sums[i] + (double{entering_[i]} - double{leaving_[i]});
        sums_ = loadAs<DoubleLanes>(sums);
        for (int32_t k = 1; k < kLanes; k *= 2)
            movesBy<1>(nextMoves());
    }

    [[gnu::always_inline]] inline DoubleLanes next()
    {
        const DoubleLanes sums = sums_;
        sums_ += movesBy<1>(nextMoves());
        return sums;
    }

private:
    DoubleLanes nextMoves()
    {
        const DoubleLanes moves = loadAs<DoubleLanes>(entering_) - loadAs<DoubleLanes>(leaving_);
        entering_ += kLanes;
        leaving_ += kLanes;
        return moves;
    }

    // From moves by K windows to those by a whole register; each doubling waits for the moves behind it.
    template <int32_t K>
    [[gnu::always_inline]] inline DoubleLanes movesBy(DoubleLanes moves)
    {
        if constexpr (K == kLanes) {
            return moves;
        } else {
            constexpr auto kLevel = std::countr_zero(static_cast<uint32_t>(K));
            const DoubleLanes doubled = held_[kLevel] + behind<K>(held_[kLevel], moves);
            held_[kLevel] = moves;
            return movesBy<2 * K>(doubled);
        }
    }

    const float* leaving_;
    const float* entering_;
    DoubleLanes sums_ = {};
    DoubleLanes held_[3] = {};
};

inline void boxRowFloatsRunning(const WindowColumns& columns, const BoxParameter& box)
{
    const int32_t count = columns.line.count;
    const int32_t whole = count / kLanes * kLanes;
    RunningFloats running(columns.row, columns.width);
    finishFloats(columns.line, box, 0, whole, [&running](int32_t, auto kind) {
        if constexpr (std::is_same_v<decltype(kind), double>)
            return kind;
        else
            return running.next();
    });
    double last[kLanes];
    storeAs(last, running.next());
    finishFloats(columns.line, box, whole, count - whole,
                 [&last](int32_t i, auto kind) { return loadAs<decltype(kind)>(last + i); });
}

// groups[i] becomes the sum of the kFloatGroup pixels from i on, for i below n.
inline void sumGroups(double* groups, const float* row, int32_t n)
{
    forLanes(n + kFloatGroup,
             [=](int32_t i, auto kind) { storeAs(groups + i, loadAs<decltype(kind)>(row + i)); });
    for (int32_t k = 1; k < kFloatGroup; k *= 2)
        forLanes(n + kFloatGroup - 2 * k, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            storeAs(groups + i, loadAs<Number>(groups + i) + loadAs<Number>(groups + i + k));
        });
}

// As boxColumnFloatsByBlocks; groups of pixels take the place of the rows, and the window's last few are added to them.
inline void boxRowFloatsByBlocks(const WindowColumns& columns, double* groups, const BoxParameter& box)
{
    const int32_t count = columns.line.count;
    const int32_t rest = columns.width % kFloatGroup;
    const int32_t block = columns.width - rest;
    const int32_t all = (count + kFloatGroup - 1) / kFloatGroup * kFloatGroup + block;
    double* const toEnd = groups + all + kFloatGroup;  // from each group of a block to its last one
    double* const grown = toEnd + block + kFloatGroup; // the groups of the next block before this one
    sumGroups(groups, columns.row, all);
    std::fill_n(toEnd + block, kFloatGroup, 0.0);
    std::fill_n(grown, kFloatGroup, 0.0);
    for (int32_t start = 0; start < count; start += block) {
        const int32_t n = std::min(block, count - start);
        for (int32_t i = block - kLanes; i >= 0; i -= kLanes)
            storeAs(toEnd + i,
                    loadAs<DoubleLanes>(groups + start + i) + loadAs<DoubleLanes>(toEnd + i + kFloatGroup));
        forLanes(n, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            storeAs(grown + i + kFloatGroup,
                    loadAs<Number>(grown + i) + loadAs<Number>(groups + start + block + i));
        });
        const float* const last = columns.row + start + block;
        finishFloats(columns.line, box, start, n, [=](int32_t i, auto kind) {
            using Number = decltype(kind);
            Number sum = loadAs<Number>(toEnd + i) + loadAs<Number>(grown + i);
            for (int32_t k = 0; k < rest; ++k)
                sum += loadAs<Number>(last + i + k);
            return sum;
        });
    }
}

inline void boxRowFloats(const FrameLine& line, void* user)
{
    const auto& box = *static_cast<const BoxParameter*>(user);
    const int32_t first = box.edge != 0.0;
    const WindowColumns columns = {line, static_cast<const float*>(line.rows[0]) + first,
                                   line.width - 2 * first};
    if (columns.width == 1)
        return boxRowFloatsNarrow<1>(columns, box);
    if (columns.width == 3)
        return boxRowFloatsNarrow<3>(columns, box);
    if (columns.width == 5)
        return boxRowFloatsNarrow<5>(columns, box);
    Spread spread;
    extendSpread(spread, columns.row, line.count + columns.width - 1);
    // The moves of the sums are made of pixels of two windows.
    if (spread.sumsExactly(2 * (columns.width + kFloatGroup)))
        return boxRowFloatsRunning(columns, box);
    if (!box.sums)
        return boxRowFloatsAnew(columns, box);
    boxRowFloatsByBlocks(columns, static_cast<double*>(box.sums), box);
}

} // namespace
} // namespace vexa::VEXA_TARGET
