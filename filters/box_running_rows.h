// Sums of integers along a row that run: each is the one before it plus what enters and less what leaves, so that a
// window costs the same at any width. Part of box_smooth_rows.h.

namespace vexa::VEXA_TARGET
{
namespace
{

inline constexpr int32_t kVectorBytes = VEXA_LEVEL == 3 ? 64 : VEXA_LEVEL == 2 ? 32 : 16;

// A register of numbers.
template <typename Number>
struct Register {
    static constexpr int32_t kCount = kVectorBytes / static_cast<int32_t>(sizeof(Number));
    typedef Number Numbers __attribute__((vector_size(kVectorBytes)));
    Numbers numbers;

    static Register load(const Number* from)
    {
        Register loaded;
        std::memcpy(&loaded.numbers, from, kVectorBytes);
        return loaded;
    }
    void store(Number* to) const { std::memcpy(to, &numbers, kVectorBytes); }
    Register operator+(const Register& other) const { return {numbers + other.numbers}; }
};

// So many of them take whole registers.
template <typename Number>
int32_t inRegisters(int32_t n)
{
    constexpr int32_t kCount = Register<Number>::kCount;
    return (n + kCount - 1) / kCount * kCount;
}

// The windows of one piece of a row, in the first-level cache.
template <typename Sum>
class RunningSums
{
    static constexpr int32_t kLanes = Register<Sum>::kCount;

public:
    static constexpr int32_t kPiece = 1024;

    // The sum of the first window; each piece ends with that of the next one.
    explicit RunningSums(Sum first) : first_(first) {}

    // Where n windows need their moves, from each sum to the next: so many are to be written.
    Sum* moves() { return sums_; }
    static int32_t moveCount(int32_t n) { return inRegisters<Sum>(n) + kLanes; }
    // Sums in place of the moves.
    const Sum* run(int32_t n)
    {
        const int32_t whole = inRegisters<Sum>(n);
        Sum start[kLanes] = {first_};
        std::fill_n(sums_ + whole + kLanes, kLanes, Sum{0});
        // A move of one window becomes one of 2, 4, ... and at last of a whole register of windows.
        for (int32_t k = 1; k < kLanes; k *= 2) {
            for (int32_t i = 0; i < k; ++i)
                start[k + i] = static_cast<Sum>(start[i] + sums_[i]);
            for (int32_t i = 0; i < whole + kLanes; i += kLanes)
                (Register<Sum>::load(sums_ + i) + Register<Sum>::load(sums_ + i + k)).store(sums_ + i);
        }
        auto sums = Register<Sum>::load(start);
        for (int32_t i = 0; i < whole; i += kLanes) {
            const auto next = sums + Register<Sum>::load(sums_ + i);
            sums.store(sums_ + i);
            sums = next;
        }
        first_ = sums.numbers[0];
        return sums_;
    }

private:
    Sum first_;
    alignas(64) Sum sums_[kPiece + 2 * kLanes];
};

} // namespace
} // namespace vexa::VEXA_TARGET
