// The neighbourhood frame told plainly: one buffer per row of the ring, filled pixel by pixel, no thought of speed; and
// what compares a filter with its description in settings drawn from a seed.
#ifndef VEXA_TESTS_FILTERS_PLAIN_NEIGHBOURHOOD_H
#define VEXA_TESTS_FILTERS_PLAIN_NEIGHBOURHOOD_H

#include <array>

#include "core/display_state.h"
#include "support/instruction_set.h"
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

namespace vexa::test::plain
{

// What a row function gets.
struct Call {
    int32_t x0, y, M, N;
    uint8_t* const* rows;
    uint8_t* out;
    uint8_t* prevOut;
    int32_t count;

    template <typename T>
    T pixel(int32_t row, int32_t i) const
    {
        return at<T>(rows[row], i);
    }
};
using Filter = std::function<void(const Call&)>;

// The border as the tests have set it.
struct Border {
    int32_t mode = -1;
    int32_t type = PIX_BYTE;
    uint8_t constant[16] = {};
};
inline Border border;

inline int32_t setBorder(int32_t mode, double value = 0, int32_t type = PIX_DFLOAT)
{
    border.mode = mode;
    if (mode >= 0) {
        border.type = type;
        I_ArrayConvert(&value, PIX_DFLOAT, border.constant, type, 1);
    }
    return I_SetBorderMode(mode, border.constant, border.type);
}

class Frame
{
public:
    int32_t run(int32_t src, int32_t dst, int32_t M, int32_t N, int32_t type, const Filter& filter)
    {
        src_ = src, dst_ = dst, M_ = std::max(M, 1), N_ = std::max(N, 1), type_ = type;
        bytes_ = I_ImTypeBytes(type);
        const int32_t bands = std::min(I_ImGetNBands(src), I_ImGetNBands(dst));
        if (!I_GetMinSize2(&W_, &H_, nullptr, nullptr, src, dst))
            return 0;
        if (border.mode >= 0)
            I_ArrayConvert(border.constant, border.type, constant_, type, 1);
        int32_t points = 0;
        const VexaPoint* shared = I_ROIScanlist(&points, src);
        if (points < 2)
            return 1;
        list_.assign(shared, shared + points);
        I_ROIBoundingBox2(&left_, &top_, &right_, &bottom_, src, dst);
        if (left_ >= right_ || top_ >= bottom_)
            return 0;
        plan();
        for (int32_t band = 0; band < bands; ++band) {
            if (bands > 1)
                I_SetColorBand(band);
            preload();
            walk(filter);
        }
        if (bands > 1)
            I_SetColorBand(-1);
        return 1;
    }

private:
    void plan()
    {
        const int32_t c0 = left_ - (M_ - 1) / 2;
        padded_ = right_ - left_ + M_;
        L_ = std::max(0, -c0);
        f_ = c0 + L_;
        Fc_ = std::min(W_, right_ + M_ / 2 + 1) - f_;
        R_ = std::max(0, padded_ - Fc_ - L_);
        const std::ptrdiff_t rowBytes = std::ptrdiff_t{padded_} * bytes_, slack = (W_ + 16) * bytes_;
        store_.assign(static_cast<std::size_t>((N_ + 4) * rowBytes + slack), 0);
        pair_.assign(static_cast<std::size_t>(2 * (W_ + M_) * bytes_ + 2 * slack), 0);
        out_ = pair_.data() + slack;
        prevOut_ = out_ + std::ptrdiff_t{W_} * bytes_;
        ring_.clear();
        for (int32_t k = 0; k < N_; ++k)
            ring_.push_back(store_.data() + (k + 2) * rowBytes);
        table_ = ring_;
    }
    uint8_t* place(uint8_t* row, int32_t i) const { return row + std::ptrdiff_t{i} * bytes_; }
    void copy(uint8_t* row, int32_t to, const uint8_t* from) const
    {
        std::memcpy(place(row, to), from, static_cast<std::size_t>(bytes_));
    }
    void fill(uint8_t* row, int32_t from, int32_t n, const uint8_t* value) const
    {
        std::vector<uint8_t> kept(value, value + bytes_);
        for (int32_t i = 0; i < n; ++i)
            copy(row, from + i, kept.data());
    }
    void fetch(uint8_t* row, int32_t r) const { I_GetBlockType(f_, r, Fc_, 1, place(row, L_), src_, type_); }
    void pad(uint8_t* row, bool reflects) const
    {
        uint8_t* first = place(row, L_);
        if (border.mode >= 0) {
            fill(row, 0, L_, constant_);
            fill(first, Fc_, R_, constant_);
        } else if (!reflects) {
            fill(row, 0, L_, first);
            fill(first, Fc_, R_, place(first, Fc_ - 1));
        } else {
            for (int32_t i = 1; i <= L_; ++i)
                copy(first, -i, place(first, std::min(i, Fc_ - 1)));
            for (int32_t i = 1; i <= R_; ++i)
                copy(first, Fc_ - 1 + i, place(first, Fc_ - std::min(i, Fc_)));
        }
    }
    void preload()
    {
        for (int32_t k = 0; k < N_ - 1; ++k) {
            uint8_t* row = table_[static_cast<std::size_t>(k)];
            int32_t r = top_ - N_ / 2 + k;
            if (border.mode >= 0 && (r < 0 || r >= H_)) {
                fill(row, 0, padded_, constant_);
                continue;
            }
            if (border.mode < -1 && r < 0)
                r = -r;
            fetch(row, std::clamp(r, 0, H_ - 1));
            pad(row, false);
        }
    }
    void advance(int32_t y)
    {
        for (std::size_t k = 0; k < table_.size(); ++k)
            table_[k] = ring_[(k + position_) % ring_.size()];
        position_ = (position_ + 1) % ring_.size();
        uint8_t* row = table_.back();
        const int32_t n = y - N_ / 2 + N_ - 1;
        if (n >= H_ && border.mode >= 0) {
            fill(row, 0, padded_, constant_);
            return;
        }
        fetch(row, n < H_ ? n : border.mode == -1 ? H_ - 1 : std::max(0, 2 * H_ - n - 2));
        pad(row, border.mode < -1);
    }
    void walk(const Filter& filter)
    {
        int32_t line = top_ - 1;
        position_ = 0;
        for (std::size_t k = 0; k + 1 < list_.size() && line < H_; k += 2) {
            const int32_t xa = list_[k].x, xb = list_[k + 1].x, y = list_[k].y;
            if (y < 0 || y >= H_)
                continue;
            if (y != line)
                advance(line = y);
            const int32_t xrel = xa - left_, n = std::min(xb - xa + 1, W_ - xa);
            filter({xa, y, M_, N_, table_.data(), out_, prevOut_, R_ + Fc_ + L_ - M_ + 1});
            if (bytes_ == 1 && xrel + n < W_ && xrel + n >= 0)
                out_[xrel + n] = table_[static_cast<std::size_t>(N_ / 2)][xrel + n];
            const int32_t from = std::max(xa, 0); // a polygon's run may begin left of the image
            if (xa + n > from)
                I_PutBlockType(from, y, xa + n - from, 1, place(out_, from - left_), dst_, type_);
            std::swap(out_, prevOut_);
        }
    }

    int32_t src_ = 0, dst_ = 0, M_ = 1, N_ = 1, type_ = 1, bytes_ = 1, W_ = 0, H_ = 0;
    int32_t left_ = 0, top_ = 0, right_ = 0, bottom_ = 0, padded_ = 0, L_ = 0, f_ = 0, Fc_ = 0, R_ = 0;
    uint8_t constant_[16] = {};
    std::vector<VexaPoint> list_;
    std::vector<uint8_t> store_, pair_;
    std::vector<uint8_t*> ring_, table_;
    uint8_t *out_ = nullptr, *prevOut_ = nullptr;
    std::size_t position_ = 0;
};

inline int32_t frame(int32_t src, int32_t dst, int32_t M, int32_t N, int32_t type, const Filter& filter)
{
    return Frame().run(src, dst, M, N, type, filter);
}

// One output pixel per index, kept as a T.
template <typename T, typename Pixel>
Filter each(Pixel pixel)
{
    return [pixel](const Call& c) {
        for (int32_t i = 0; i < c.count; ++i)
            put<T>(c.out, i, static_cast<T>(pixel(c, i)));
    };
}

// The nine points of a neighbourhood, in reading order: NW N NE W CTR E SW S SE.
template <typename T>
using Nine = std::array<T, 9>;
template <typename T>
Nine<T> nine(const Call& c, int32_t i)
{
    const uint8_t* const rows[] = {c.rows[0], c.rows[c.N / 2], c.rows[c.N - 1]};
    const int32_t columns[] = {i, i + c.M / 2, i + c.M - 1};
    Nine<T> samples;
    for (std::size_t k = 0; k < 9; ++k)
        samples[k] = at<T>(rows[k / 3], columns[k % 3]);
    return samples;
}
enum { NW, N, NE, W, CTR, E, SW, S, SE };

inline int32_t narrowest(int32_t a, int32_t b)
{
    const auto code = [](int32_t im) { return I_ImGetType(im) >= 12 ? 1 : I_ImGetType(im); };
    return std::min(code(a), code(b));
}
inline int32_t widest(int32_t a, int32_t b)
{
    const auto code = [](int32_t im) { return I_ImGetType(im) >= 12 ? 1 : I_ImGetType(im); };
    const int32_t type = std::max(code(a), code(b));
    return type > 6 ? 5 : type;
}

// The slots for both ends of the clip table in its mode.
inline uint8_t byteBoth(int32_t x)
{
    const int32_t highest = displayState().highestPixel;
    const auto range = [=](int32_t v) { return v < 0 ? 0 : std::min(v, highest); };
    switch (I_GetClipMode()) {
    case 0:
        return static_cast<uint8_t>(x);
    case 2:
        return static_cast<uint8_t>(x == INT32_MIN ? x : std::min(std::abs(x), highest));
    case 3:
        return static_cast<uint8_t>(range(x + 128));
    case 4:
        return static_cast<uint8_t>(x / 2 + 128);
    case 5:
        return static_cast<uint8_t>(x < -128 ? -128 : x >= 128 ? 127 : x);
    case 6:
        return static_cast<uint8_t>(x / 2 < -128 ? -128 : x / 2 >= 128 ? 127 : x / 2);
    case 7:
        return static_cast<uint8_t>(
            std::min(static_cast<int32_t>(static_cast<uint32_t>(x) * static_cast<uint32_t>(x)), highest));
    default:
        return static_cast<uint8_t>(range(x));
    }
}
inline float rangeHigh(int32_t dst)
{
    const int32_t type = I_ImGetType(dst);
    return type == 1 || type >= 12 ? 255.0f : type == 2 ? 65535.0f : type == 3 ? 4294967296.0f : 0.0f;
}
inline float floatBoth(float x, int32_t dst)
{
    const float high = rangeHigh(dst), low = high == 0 ? -3e38f : high > 4e9f ? 1.0f : 0.0f;
    const auto strict = [&](float v) { return v < low ? low : high != 0 && v > high ? high : v; };
    switch (I_GetClipMode()) {
    case 1:
        return x < low ? low : high != 0 && x >= high ? high : x;
    case 2:
        return std::fabs(x);
    case 3:
        return strict(x + 128.0f);
    case 4:
        return strict(x * 0.5f + 128.0f);
    case 7:
        return x * x;
    default:
        return x;
    }
}

// A region around an image of the size: frame, windows of all corners, polygons, scan lists with several runs on a line
// and lines left out.
inline void drawRegion(Random& random, int32_t cols, int32_t rows)
{
    const auto x = [&] { return between(random, -3, cols + 2); };
    const auto y = [&] { return between(random, -3, rows + 2); };
    const int32_t kind = between(random, 0, 7);
    std::vector<VexaPoint> points;
    if (kind < 2) {
        I_SetROIType(0);
    } else if (kind == 2) {
        I_SetWindowROI(x(), y(), between(random, -4, cols), between(random, -4, rows));
    } else if (kind < 5) {
        const int32_t a = x(), b = y();
        I_SetWindowROI(a, b, between(random, a, cols + 2), between(random, b, rows + 2));
    } else if (kind == 5) {
        points.resize(static_cast<std::size_t>(between(random, 3, 7)));
        for (VexaPoint& p : points)
            p = {x(), y()};
        I_SetPolygonROI(points.data(), static_cast<int32_t>(points.size()));
    } else {
        for (int32_t line = between(random, 0, 2); line < rows + 2;
             line += std::max(1, between(random, -3, 3))) {
            for (int32_t from = between(random, 0, cols / 2); from < cols;
                 from += between(random, 2, cols + 2)) {
                const int32_t to = std::min(cols - 1, from + between(random, 0, cols / 3));
                points.push_back({from, line});
                points.push_back({to, line});
                from = to;
            }
        }
        if (points.empty() || !I_SetScanlistROI(points.data(), static_cast<int32_t>(points.size())))
            I_SetROIType(0);
    }
}

struct Options {
    std::vector<int32_t> types = {PIX_BYTE,    PIX_BYTE,  PIX_BYTE,  PIX_FLOAT,  PIX_FLOAT,
                                  PIX_WORD,    PIX_DWORD, PIX_BGR24, PIX_DFLOAT, PIX_COMPLEX,
                                  PIX_PALETTE, PIX_BGR16, PIX_RGB32};
    int32_t tries = 300;
    bool clips = false;   // any clip mode
    double tolerance = 0; // of floats; whole numbers then may differ by 1
};

// Equal, or floats within the tolerance of the largest of them, whole numbers within 1.
inline bool close(const Picture& a, const Picture& b, double tolerance)
{
    const std::vector<uint8_t> x = a.bytes(), y = b.bytes();
    if (tolerance == 0 || x.size() != y.size() || x == y)
        return x == y;
    const int32_t type = I_ImGetType(a.owner), bytes = type >= 12 ? 1 : I_ImTypeBytes(type);
    const auto value = [&](const std::vector<uint8_t>& v, std::size_t i) {
        const uint8_t* p = &v[i];
        return type == PIX_FLOAT || type == PIX_COMPLEX ? static_cast<double>(at<float>(p, 0))
               : bytes == 8                             ? at<double>(p, 0)
               : bytes == 4                             ? at<int32_t>(p, 0)
               : bytes == 2                             ? at<int16_t>(p, 0)
                                                        : *p;
    };
    const std::size_t step = type == PIX_COMPLEX ? 4 : static_cast<std::size_t>(bytes);
    double largest = 1, difference = 0;
    for (std::size_t i = 0; i + step <= x.size(); i += step) {
        largest = std::max(largest, std::fabs(value(x, i)));
        difference = std::max(difference, std::fabs(value(x, i) - value(y, i)));
    }
    return difference <= (type >= PIX_FLOAT && type < 12 ? largest * tolerance : 1.0);
}

using Operation = std::function<int32_t(int32_t src, int32_t dst)>;
// What an operation needs beside the images is drawn by make, once for both sides.
using Maker = std::function<std::pair<Operation, Operation>(Random& random, std::string& told)>;

inline void compare(const Options& options, const Maker& make)
{
    int32_t failures = 0;
    for (int32_t k = 0; k < options.tries && failures < 3; ++k) {
        Random random(static_cast<uint32_t>(k * 7919 + 1));
        const auto type = [&] { return options.types[random() % options.types.size()]; };
        const auto sets = availableInstructionSets();
        limitInstructionSet(sets[random() % sets.size()]);
        const bool small = between(random, 0, 2) != 0, large = between(random, 0, 80) == 0;
        Shape src{between(random, 1, small ? 12 : 70),
                  between(random, small ? 1 : 2, small ? 9 : 50),
                  type(),
                  between(random, 0, 3) == 0,
                  between(random, 0, 5) == 0,
                  between(random, 0, 9) == 0,
                  static_cast<uint32_t>(random())};
        src.cols += large ? 700 : 0;
        src.inFile = !src.window && between(random, 0, 11) == 0;
        Shape dst = src;
        const int32_t relation =
            between(random, 0, 4); // in place, alike, of another type or size, overlapping
        if (relation == 4) {
            src.window = true;
            src.inFile = false;
        } else if (relation > 0) {
            dst.seed = static_cast<uint32_t>(random());
            dst.window = between(random, 0, 3) == 0;
            dst.inFile = false;
            dst.inverted = between(random, 0, 5) == 0;
            dst.type = relation > 1 ? type() : src.type;
        }
        if (relation == 3) {
            dst.cols = std::max(1, src.cols + between(random, -3, 3));
            dst.rows = std::max(1, src.rows + between(random, -3, 3));
        }
        const int32_t overlapX = between(random, 0, 7), overlapY = between(random, 0, 5);
        setBorder(std::min(0, between(random, -3, 1)), between(random, 0, 300) / 2.0,
                  std::vector<int32_t>{PIX_BYTE, PIX_FLOAT, PIX_WORD, PIX_DFLOAT}[random() % 4]);
        const int32_t colorMode = std::vector<int32_t>{3, 3, 3, 3, 0, 1, -3}[random() % 7];
        const int32_t band = between(random, 0, 3) == 0 ? between(random, 0, 2) : -1;
        I_SetClipMode(options.clips ? between(random, 0, 7) : 1);
        displayState().highestPixel = options.clips && between(random, 0, 3) == 0 ? 251 : 255;
        std::string told;
        const auto [tested, expected] = make(random, told);
        const uint32_t regionSeed = static_cast<uint32_t>(random());
        const auto side = [&](const Operation& operation, Picture& a, Picture& b) {
            a = src.open();
            b = relation == 0 ? a
                : relation == 4
                    ? Picture{I_ImOpenSubimage(overlapX, overlapY, src.cols, src.rows, a.owner), a.owner}
                    : dst.open();
            Random forRegion(regionSeed);
            drawRegion(forRegion, src.cols, src.rows);
            I_SetColorProcMode(colorMode);
            I_SetColorBand(band);
            const int32_t result = operation(a.im, b.im), after = I_GetColorBand();
            I_SetColorBand(-1);
            I_SetColorProcMode(3);
            return std::pair(result, after);
        };
        Picture a, b, c, d;
        const auto got = side(tested, a, b), wanted = side(expected, c, d);
        const bool same = got == wanted && close(b, d, options.tolerance) &&
                          a.bytes() == (relation && relation < 4 ? c.bytes() : a.bytes());
        if (!same) {
            ++failures;
            int32_t box[4] = {};
            I_ROIBoundingBox2(&box[0], &box[1], &box[2], &box[3], c.im, d.im);
            ADD_FAILURE() << told << ": " << tell(src) << " -> "
                          << (relation == 0  ? "itself"
                              : relation < 4 ? tell(dst)
                                             : "overlapping")
                          << ", region " << I_GetROIType() << " box " << box[0] << " " << box[1] << " "
                          << box[2] << " " << box[3] << ", border " << border.mode << ", band " << band
                          << ", clip " << I_GetClipMode() << ", try " << k << ", results " << got.first << " "
                          << wanted.first << ", bands left " << got.second << " " << wanted.second;
            int32_t cols = 0, rows = 0, told2 = 0;
            I_ImGetSize(&cols, &rows, nullptr, b.im);
            for (int32_t y = 0; y < rows && told2 < 6; ++y)
                for (int32_t x = 0; x < cols && told2 < 6; ++x)
                    if (I_GetPix(x, y, b.im) != I_GetPix(x, y, d.im) && ++told2)
                        std::printf("  (%d, %d): %g, expected %g\n", x, y,
                                    static_cast<double>(I_GetPix(x, y, b.im)),
                                    static_cast<double>(I_GetPix(x, y, d.im)));
        }
        if (relation == 4) {
            I_ImClose(b.im);
            I_ImClose(d.im);
        } else if (relation != 0) {
            b.close();
            d.close();
        }
        a.close();
        c.close();
    }
    limitInstructionSet(InstructionSet::avx512);
    displayState().highestPixel = 255;
    setBorder(-1);
    I_SetROIType(0);
    I_SetClipMode(1);
}

} // namespace vexa::test::plain

#endif
