// Row functions of the convolutions: those of whole numbers here, the others behind them. Compiled once per
// instruction set, hence no include guard.

#include "operators/clip_slots.h"
#include "operators/row_loops.h"

#include "filters/convolution_set.h"

namespace vexa::VEXA_TARGET
{
namespace
{

// Sums are formed a tile at a time, then divided, clipped and stored.
template <typename Sum>
struct alignas(64) SumTile {
    Sum at[kConvolveTile];
};

template <typename Pixel>
const Pixel* rowFrom(const FrameLine& line, int32_t row, int32_t start)
{
    return static_cast<const Pixel*>(line.rows[row]) + start;
}

// The described sum, a weight at a time.
template <typename Pixel>
[[gnu::noinline]] void sumPlain(const IntegerKernel& kernel, const FrameLine& line, int32_t start, int32_t n,
                                int32_t* sums)
{
    auto* wrapped = reinterpret_cast<uint32_t*>(sums);
    std::fill_n(wrapped, n, 0U);
    const int32_t* weight = kernel.weights;
    for (int32_t row = 0; row < kernel.height; ++row) {
        const Pixel* pixels = rowFrom<Pixel>(line, row, start);
        for (int32_t column = 0; column < kernel.width; ++column) {
            const auto k = static_cast<uint32_t>(*weight++);
            if (k == 0)
                continue;
            VEXA_INDEPENDENT
            for (int32_t i = 0; i < n; ++i)
                wrapped[i] += k * pixels[column + i];
        }
    }
}

template <int32_t Mode, typename Pixel, typename Int>
Pixel clipPixel(Int x, ClipLimits limits)
{
    // The same low byte as clipRange.
    if constexpr (Mode == 1 && sizeof(Pixel) == 1)
        return static_cast<Pixel>(std::clamp<Int>(x, 0, limits.highestPixel));
    else
        return static_cast<Pixel>(both<Mode>(Pixel{}, x, limits));
}

#if VEXA_LEVEL >= 2

// The pixels of a line that the narrow form's pairs start from.
struct NarrowLine {
    const uint8_t* first[kMostNarrowPairs];
    const uint8_t* second[kMostNarrowPairs];

    NarrowLine(const IntegerKernel& kernel, const FrameLine& line)
    {
        for (int32_t p = 0; p < kernel.narrowPairs; ++p) {
            const NarrowPair& pair = kernel.narrow[static_cast<std::size_t>(p)];
            first[p] = rowFrom<uint8_t>(line, pair.row[0], pair.column[0]);
            second[p] = rowFrom<uint8_t>(line, pair.row[1], pair.column[1]);
        }
    }
};

// Sums of a block including half: of pixels 0 to 7 of each 16, and of 8 to 15.
struct NarrowSums {
    Set::Vector low;
    Set::Vector high;
};

[[gnu::always_inline]] inline NarrowSums narrowSums(const IntegerKernel& kernel, const NarrowLine& line,
                                                    int32_t i)
{
    const Set::Vector half = Set::spreadWord(static_cast<int16_t>(kernel.quotient.half));
    NarrowSums sums = {half, half};
    for (int32_t p = 0; p < kernel.narrowPairs; ++p) {
        const Set::Vector a = Set::load(line.first[p] + i);
        const Set::Vector b = Set::load(line.second[p] + i);
        const Set::Vector weights = Set::spread(kernel.narrow[static_cast<std::size_t>(p)].weights);
        sums.low = Set::add16(sums.low, Set::byteProducts(Set::joinLow8(a, b), weights));
        sums.high = Set::add16(sums.high, Set::byteProducts(Set::joinHigh8(a, b), weights));
    }
    return sums;
}

// A quotient in registers.
class NarrowQuotient
{
public:
    explicit NarrowQuotient(const Quotient& quotient)
        : factor_(Set::spreadWord(static_cast<int16_t>(quotient.factor))),
          sign_(Set::spreadWord(static_cast<int16_t>(quotient.sign))),
          shift_(_mm_cvtsi32_si128(quotient.shift))
    {
    }

    Set::Vector negateIf(Set::Vector x, Set::Vector sign) const
    {
        return Set::subtract16(Set::exclusiveOr(x, sign), sign);
    }
    Set::Vector ofPositive(Set::Vector sum) const
    {
        return Set::shiftRight16(Set::highProduct16(Set::add16(sum, sum), factor_), shift_);
    }
    Set::Vector operator()(Set::Vector sum) const
    {
        const Set::Vector sign = Set::signs16(sum);
        return negateIf(ofPositive(negateIf(sum, sign)), Set::exclusiveOr(sign, sign_));
    }
    // What is below 0 becomes 0.
    Set::Vector saturated(Set::Vector sum) const
    {
        return ofPositive(Set::most16(negateIf(sum, sign_), Set::zero()));
    }

private:
    Set::Vector factor_;
    Set::Vector sign_;
    __m128i shift_;
};

// The whole line in the narrow form, a block at a time; the last one reads behind the row and goes through a copy.
template <int32_t Mode>
[[gnu::noinline]] void convolveNarrow(const IntegerKernel& kernel, const FrameLine& frameLine,
                                      ClipLimits limits)
{
    const NarrowLine line(kernel, frameLine);
    const NarrowQuotient quotient(kernel.quotient);
    auto* out = static_cast<uint8_t*>(frameLine.out);
    for (int32_t i = 0; i < frameLine.count; i += kBlock) {
        const NarrowSums sums = narrowSums(kernel, line, i);
        alignas(64) uint8_t pixels[kBlock];
        if constexpr (Mode == 1) {
            const Set::Vector highest = spreadByte(limits.highestPixel);
            const Set::Vector packed =
                Set::pack16(quotient.saturated(sums.low), quotient.saturated(sums.high));
            Set::store(pixels, Set::least8(packed, highest));
        } else {
            alignas(64) int16_t quotients[kBlock];
            Set::storeWords(quotients, quotient(sums.low), quotient(sums.high));
            for (int32_t k = 0; k < kBlock; ++k)
                pixels[k] = clipPixel<Mode, uint8_t>(quotients[k], limits);
        }
        storePixels(out + i, pixels, frameLine.count - i);
    }
}

#endif

// Divides by `quotient(sum)`, clips and stores.
template <int32_t Mode, typename Pixel, typename Divide>
[[gnu::always_inline]] inline void storeQuotients(const int32_t* sums, int32_t n, Placed<Pixel>* out,
                                                  ClipLimits limits, Divide divide)
{
    VEXA_INDEPENDENT
    for (int32_t i = 0; i < n; ++i)
        out[i].value = clipPixel<Mode, Pixel>(divide(sums[i]), limits);
}

template <int32_t Mode, typename Pixel>
void storeWide(const Quotient& quotient, const int32_t* sums, int32_t n, Placed<Pixel>* out,
               ClipLimits limits)
{
    const int32_t half = quotient.half;
    const float single = quotient.single;
    const double whole = quotient.whole;
    if (quotient.form == QuotientForm::single)
        storeQuotients<Mode>(sums, n, out, limits, [=](int32_t sum) {
            return static_cast<int32_t>(static_cast<float>(sum + half) * single);
        });
    else if (quotient.form == QuotientForm::negated)
        storeQuotients<Mode>(sums, n, out, limits, [](int32_t sum) { return wrapSubtract(0, sum); });
    else
        storeQuotients<Mode>(sums, n, out, limits, [=](int32_t sum) {
            return static_cast<int32_t>(static_cast<double>(wrapAdd(sum, half)) * whole);
        });
}

#if VEXA_HAS_X86_SETS

// Four vectors of pixels of a block, side by side as a lane of weights is.
struct Strip {
    Set::Vector at[4];
};

#if VEXA_LEVEL >= 3
inline Strip stripOfBytes(const uint8_t* pixels)
{
    const Set::Vector a = Set::load(pixels);
    const Set::Vector b = Set::load(pixels + 1);
    const Set::Vector c = Set::load(pixels + 2);
    const Set::Vector d = Set::load(pixels + 3);
    const Set::Vector abLow = Set::joinLow8(a, b);
    const Set::Vector abHigh = Set::joinHigh8(a, b);
    const Set::Vector cdLow = Set::joinLow8(c, d);
    const Set::Vector cdHigh = Set::joinHigh8(c, d);
    return {{Set::joinLow16(abLow, cdLow), Set::joinHigh16(abLow, cdLow), Set::joinLow16(abHigh, cdHigh),
             Set::joinHigh16(abHigh, cdHigh)}};
}
#endif

// 16-bit pixels 0 to 7 of each 16, and 8 to 15: of a column, or of the sum of two.
struct WordPixels {
    Set::Vector low;
    Set::Vector high;
};

inline WordPixels widened(const uint8_t* pixels)
{
    const Set::Vector a = Set::load(pixels);
    return {Set::joinLow8(a, Set::zero()), Set::joinHigh8(a, Set::zero())};
}

// Column `column` of a row, with the one that mirrors it where the columns are folded.
inline WordPixels wordColumn(const IntegerKernel& kernel, const uint8_t* pixels, int32_t column)
{
    if (column >= kernel.width)
        return {Set::zero(), Set::zero()};
    const WordPixels a = widened(pixels + column);
    if (!kernel.foldedColumns || column >= kernel.width / 2)
        return a;
    const WordPixels b = widened(pixels + kernel.width - 1 - column);
    return {Set::add16(a.low, b.low), Set::add16(a.high, b.high)};
}

inline Strip stripOfWords(const IntegerKernel& kernel, const uint8_t* pixels, int32_t group)
{
    const WordPixels a = wordColumn(kernel, pixels, 2 * group);
    const WordPixels b = wordColumn(kernel, pixels, 2 * group + 1);
    return {{Set::joinLow16(a.low, b.low), Set::joinHigh16(a.low, b.low), Set::joinLow16(a.high, b.high),
             Set::joinHigh16(a.high, b.high)}};
}

template <SumForm Form>
Set::Vector addProducts(Set::Vector sum, Set::Vector pixels, Set::Vector weights)
{
#if VEXA_LEVEL >= 3
    if constexpr (Form == SumForm::bytes)
        return Set::addBytes(sum, pixels, weights);
#endif
    return Set::addWords(sum, pixels, weights);
}

inline Strip loadSums(const int32_t* sums)
{
    return {{Set::load(sums), Set::load(sums + kBlockLanes), Set::load(sums + 2 * kBlockLanes),
             Set::load(sums + 3 * kBlockLanes)}};
}
inline void storeSums(int32_t* sums, const Strip& strip)
{
    for (int32_t v = 0; v < 4; ++v)
        Set::store(sums + v * kBlockLanes, strip.at[v]);
}

// sums + the products of the strips with the weights of a row of the kernel.
template <SumForm Form>
[[gnu::always_inline]] inline Strip addRow(const Strip* strips, const int32_t* lanes, int32_t groups,
                                           Strip sums)
{
    for (int32_t group = 0; group < groups; ++group) {
        const Set::Vector weights = Set::spread(lanes[group]);
        for (int32_t v = 0; v < 4; ++v)
            sums.at[v] = addProducts<Form>(sums.at[v], strips[group].at[v], weights);
    }
    return sums;
}

inline Strip added(const Strip& a, const Strip& b)
{
    return {{Set::add32(a.at[0], b.at[0]), Set::add32(a.at[1], b.at[1]), Set::add32(a.at[2], b.at[2]),
             Set::add32(a.at[3], b.at[3])}};
}

template <SumForm Form>
[[gnu::always_inline]] inline Strip stripOf(const IntegerKernel& kernel, const uint8_t* pixels, int32_t group)
{
#if VEXA_LEVEL >= 3
    if constexpr (Form == SumForm::bytes)
        return stripOfBytes(pixels + 4 * group);
#endif
    return stripOfWords(kernel, pixels, group);
}

// Rows of the image that enter together, the newest one first.
struct Entering {
    const uint8_t* rows[2];
    int32_t count;
};

// The products of the blocks of up to two rows of the image with each row of the kernel.
struct BlockProducts {
    Strip* at;
    int32_t distinct; // rows of the kernel
    int32_t last;     // row of the kernel

    BlockProducts(IntegerKernel& kernel, int32_t entering)
        : at(reinterpret_cast<Strip*>(kernel.products.data()) + entering * kernel.height),
          distinct(kernel.mirroredRows ? (kernel.height + 1) / 2 : kernel.height), last(kernel.height - 1)
    {
    }

    const Strip& ofRow(int32_t row) const { return at[row < distinct ? row : last - row]; }
};

template <SumForm Form>
[[gnu::always_inline]] inline void multiply(const IntegerKernel& kernel, const Strip* strips, int32_t groups,
                                            const BlockProducts& products)
{
    const Strip none = {{Set::zero(), Set::zero(), Set::zero(), Set::zero()}};
    const int32_t* lanes = kernel.lanes.data();
    for (int32_t row = 0; row < products.distinct; ++row, lanes += groups)
        products.at[row] = addRow<Form>(strips, lanes, groups, none);
}

// Line j from the one that ends takes row last - j of the kernel from the newest row of the image, and the row before
// from the one that entered together with it. The lines whose row 0 enters begin here.
[[gnu::always_inline]] inline void addToLines(IntegerKernel& kernel, const BlockProducts* products,
                                              int32_t count, int32_t i)
{
    const int32_t last = kernel.height - 1;
    int32_t* line = kernel.line(0) + i;
    const int32_t* const end = kernel.lines.data() + kernel.columns * kernel.height;
    for (int32_t j = 0; j <= last; ++j) {
        const bool begins = j + count > last;
        Strip sums =
            begins ? products[0].ofRow(last - j) : added(loadSums(line), products[0].ofRow(last - j));
        if (count == 2 && j < last)
            sums = added(sums, products[1].ofRow(last - 1 - j));
        storeSums(line, sums);
        line += kernel.columns;
        if (line >= end)
            line -= kernel.columns * kernel.height;
    }
}

// A few rows of the kernel need no room for their products.
template <SumForm Form>
[[gnu::always_inline]] inline void multiplyIntoLines(IntegerKernel& kernel, const Strip* strips,
                                                     int32_t groups, int32_t i)
{
    const Strip none = {{Set::zero(), Set::zero(), Set::zero(), Set::zero()}};
    const int32_t last = kernel.height - 1;
    for (int32_t row = 0; row <= last; ++row) {
        const int32_t place = kernel.head + last - row;
        int32_t* const line =
            kernel.lines.data() + (place > last ? place - last - 1 : place) * kernel.columns + i;
        storeSums(line, addRow<Form>(strips, kernel.lanes.data() + int64_t{row} * groups, groups,
                                     row == 0 ? none : loadSums(line)));
    }
}

template <SumForm Form>
[[gnu::always_inline]] inline void fillStrips(const IntegerKernel& kernel, const uint8_t* pixels,
                                              int32_t groups, Strip* strips)
{
    for (int32_t group = 0; group < groups; ++group)
        strips[group] = stripOf<Form>(kernel, pixels, group);
}

// Groups strips of a block in registers, or all in the kernel's room for them.
template <SumForm Form, int32_t Groups>
[[gnu::noinline]] void enterColumns(IntegerKernel& kernel, const Entering& entering, int32_t start, int32_t n)
{
    const int32_t groups = Groups > 0 ? Groups : kernel.groups;
    const BlockProducts products[2] = {{kernel, 0}, {kernel, 1}};
    for (int32_t i = start; i < start + n; i += kBlock) {
        Strip inRegisters[Groups > 0 ? Groups : 1];
        Strip* const strips = Groups > 0 ? inRegisters : reinterpret_cast<Strip*>(kernel.strips.data());
        if (kernel.height < kTallKernel) {
            fillStrips<Form>(kernel, entering.rows[0] + i, groups, strips);
            multiplyIntoLines<Form>(kernel, strips, groups, i);
            continue;
        }
        for (int32_t row = 0; row < entering.count; ++row) {
            fillStrips<Form>(kernel, entering.rows[row] + i, groups, strips);
            multiply<Form>(kernel, strips, groups, products[row]);
        }
        addToLines(kernel, products, entering.count, i);
    }
}

// Sums of the line that ends, with the newest row added to it alone.
template <SumForm Form>
[[gnu::noinline]] void sumPending(IntegerKernel& kernel, const uint8_t* pixels, int32_t start, int32_t n,
                                  int32_t* sums)
{
    auto* strips = reinterpret_cast<Strip*>(kernel.strips.data());
    const int32_t row = kernel.mirroredRows ? 0 : kernel.height - 1;
    for (int32_t i = 0; i < n; i += kBlock) {
        fillStrips<Form>(kernel, pixels + start + i, kernel.groups, strips);
        storeSums(sums + i, addRow<Form>(strips, kernel.lanes.data() + int64_t{row} * kernel.groups,
                                         kernel.groups, loadSums(kernel.line(0) + start + i)));
    }
}

template <SumForm Form>
void enterRows(IntegerKernel& kernel, const Entering& entering, int32_t start, int32_t n)
{
    switch (kernel.groups) {
    case 1:
        return enterColumns<Form, 1>(kernel, entering, start, n);
    case 2:
        return enterColumns<Form, 2>(kernel, entering, start, n);
#if VEXA_LEVEL >= 3
    case 3:
        return enterColumns<Form, 3>(kernel, entering, start, n);
    case 4:
        return enterColumns<Form, 4>(kernel, entering, start, n);
#endif
    default:
        return enterColumns<Form, 0>(kernel, entering, start, n);
    }
}

// The rows that are there before the first line of a band. The lines that none of them begins stay unfinished, and are
// begun anew before they are needed.
template <SumForm Form>
void enterFirstRows(IntegerKernel& kernel, const FrameLine& line)
{
    const auto row = [&](int32_t r) { return static_cast<const uint8_t*>(line.rows[r]); };
    for (int32_t r = 0; r + 1 < kernel.height; ++r) {
        kernel.head = r + 1;
        enterRows<Form>(kernel, {{row(r), nullptr}, 1}, 0, line.count);
    }
    kernel.head = kernel.height - 1;
    kernel.pending = false;
}

// Which rows enter with this line.
inline Entering enteringWith(IntegerKernel& kernel, const FrameLine& line)
{
    const auto row = [&](int32_t r) { return static_cast<const uint8_t*>(line.rows[r]); };
    const int32_t last = kernel.height - 1;
    if (!line.newLine && !line.bandStart)
        return {{}, 0};
    kernel.head = kernel.head == last ? 0 : kernel.head + 1;
    if (last + 1 < kTallKernel || line.bandStart)
        return {{row(last), nullptr}, 1};
    kernel.pending = !kernel.pending;
    return kernel.pending ? Entering{{}, 0} : Entering{{row(last), row(last - 1)}, 2};
}

// Packs the quotients of a block that is saturated to bytes, which brings the pixels into their order.
[[gnu::always_inline]] inline Set::Vector packedBlock(const Quotient& quotient, const int32_t* sums,
                                                      ClipLimits limits)
{
    const Set::Vector half = Set::spread(quotient.half);
    Strip strip = loadSums(sums);
    for (Set::Vector& v : strip.at)
        v = Set::scaled32(Set::add32(v, half), quotient.single);
    const Set::Vector packed =
        Set::pack16(Set::pack32(strip.at[0], strip.at[1]), Set::pack32(strip.at[2], strip.at[3]));
    return Set::least8(packed, spreadByte(limits.highestPixel));
}

// Divides, clips and stores n sums in the order of their blocks.
template <int32_t Mode>
void storeBlocks(const Quotient& quotient, const int32_t* sums, int32_t n, uint8_t* out, ClipLimits limits)
{
    if (Mode == 1 && quotient.form == QuotientForm::single) {
        for (int32_t i = 0; i < n; i += kBlock) {
            alignas(64) uint8_t pixels[kBlock];
            Set::store(pixels, packedBlock(quotient, sums + i, limits));
            storePixels(out + i, pixels, n - i);
        }
        return;
    }
    SumTile<int32_t> ordered;
    for (int32_t i = 0; i < n; i += kBlock)
        Set::storeSums(ordered.at + i, sums + i);
    storeWide<Mode>(quotient, ordered.at, n, reinterpret_cast<Placed<uint8_t>*>(out), limits);
}

template <SumForm Form, int32_t Mode>
void convolveLines(IntegerKernel& kernel, const FrameLine& line, ClipLimits limits)
{
    if (line.bandStart)
        enterFirstRows<Form>(kernel, line);
    const Entering entering = enteringWith(kernel, line);
    auto* out = static_cast<uint8_t*>(line.out);
    for (int32_t start = 0; start < line.count; start += kConvolveTile) {
        const int32_t n = std::min(kConvolveTile, line.count - start);
        SumTile<int32_t> sums;
        if (entering.count > 0)
            enterRows<Form>(kernel, entering, start, n);
        if (kernel.pending)
            sumPending<Form>(kernel, rowFrom<uint8_t>(line, kernel.height - 1, 0), start, n, sums.at);
        storeBlocks<Mode>(kernel.quotient, kernel.pending ? sums.at : kernel.line(0) + start, n, out + start,
                          limits);
    }
}

#endif

template <int32_t Mode, typename Pixel>
void convolvePlain(const IntegerKernel& kernel, const FrameLine& line, ClipLimits limits)
{
    auto* out = static_cast<Placed<Pixel>*>(line.out);
    for (int32_t start = 0; start < line.count; start += kConvolveTile) {
        const int32_t n = std::min(kConvolveTile, line.count - start);
        SumTile<int32_t> sums;
        sumPlain<Pixel>(kernel, line, start, n, sums.at);
        storeWide<Mode>(kernel.quotient, sums.at, n, out + start, limits);
    }
}

// (sum of k * p + divisor / 2) / divisor with the both slot.
template <typename Pixel, int32_t Mode>
struct IntegerRow {
    static void run(const FrameLine& line, void* user)
    {
        convolvePlain<Mode, Pixel>(*static_cast<const IntegerKernel*>(user), line, clipLimits());
    }
};
#if VEXA_HAS_X86_SETS
template <int32_t Mode>
struct IntegerRow<uint8_t, Mode> {
    static void run(const FrameLine& line, void* user)
    {
        auto& kernel = *static_cast<IntegerKernel*>(user);
#if VEXA_LEVEL >= 2
        if (kernel.form == SumForm::narrow)
            return convolveNarrow<Mode>(kernel, line, clipLimits());
#endif
        if (kernel.form == SumForm::plain || line.count > kernel.columns)
            return convolvePlain<Mode, uint8_t>(kernel, line, clipLimits());
#if VEXA_LEVEL >= 3
        if (kernel.form == SumForm::bytes)
            return convolveLines<SumForm::bytes, Mode>(kernel, line, clipLimits());
#endif
        convolveLines<SumForm::words, Mode>(kernel, line, clipLimits());
    }
};
#endif

inline constexpr auto kIntegerRows = rowsByClipMode<IntegerRow, uint8_t, uint16_t>();

} // namespace
} // namespace vexa::VEXA_TARGET

#include "filters/convolution_float_rows.h"
