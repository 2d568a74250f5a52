#include "align_fine.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace app
{
namespace
{

constexpr int32_t kTaps = 6;
constexpr int32_t kRounds = 12;
constexpr double kMostStep = 1.0;        // of one round, in pixels
constexpr double kMostWay = 2.0;         // of all rounds
constexpr double kNear = 0.1;            // pixels, from where on what differs is noise or a defect
constexpr double kBeyondNoise = 8.0;     // standard deviations that make an edge
constexpr double kLeastStructure = 0.05; // mean square of the slope, in grey levels a pixel
constexpr double kOneWay = 0.002;        // the weaker slant, as a part of the stronger
constexpr double kOutlier = 4.0;         // times the usual square of a difference
constexpr double kMostTurn = 0.01;       // radians
constexpr int32_t kBlock = 8;            // side of the squares that count more or less
constexpr int32_t kMostCols = 2 * kLeastBoxSide;

using Taps = std::array<float, kTaps>;

// Lagrange's polynomial through the samples at -2 to 3.
Taps tapsAt(double fraction)
{
    Taps taps;
    for (int32_t k = 0; k < kTaps; ++k) {
        double weight = 1.0;
        for (int32_t other = 0; other < kTaps; ++other)
            if (other != k)
                weight *= (fraction - (other - 2)) / (k - other);
        taps[static_cast<std::size_t>(k)] = static_cast<float>(weight);
    }
    return taps;
}

// By so much the interpolation lessens the variance of noise.
double noiseGain(double place)
{
    double gain = 0.0;
    for (const float weight : tapsAt(place - std::floor(place)))
        gain += static_cast<double>(weight * weight);
    return gain;
}

struct Plane {
    int32_t cols = 0, rows = 0;
    std::vector<float> values;

    void resize(int32_t width, int32_t height)
    {
        cols = width;
        rows = height;
        values.resize(std::size_t(width) * std::size_t(height));
    }
    float* row(int32_t y) { return values.data() + std::size_t(y) * std::size_t(cols); }
};

// A box of a picture with a frame around it, as floats. Beyond the picture its border repeats.
void load(const GreyRows& picture, const VexaBox& box, int32_t before, int32_t after, Plane& plane)
{
    plane.resize(box.right - box.left + 1 + before + after, box.bottom - box.top + 1 + before + after);
    const int32_t left = box.left - before;
    const int32_t from = std::clamp(-left, 0, plane.cols),
                  to = std::clamp(picture.cols() - left, 0, plane.cols);
    for (int32_t y = 0; y < plane.rows; ++y) {
        const uint8_t* source = picture[std::clamp(box.top - before + y, 0, picture.rows() - 1)];
        float* values = plane.row(y);
        for (int32_t x = from; x < to; ++x)
            values[x] = static_cast<float>(source[left + x]);
        std::fill_n(values, from, static_cast<float>(source[0]));
        std::fill(values + to, values + plane.cols, static_cast<float>(source[picture.cols() - 1]));
    }
}

void weighAcross(const float* in, const Taps& taps, float* out, int32_t n)
{
    for (int32_t x = 0; x < n; ++x)
        out[x] = taps[0] * in[x] + taps[1] * in[x + 1] + taps[2] * in[x + 2] + taps[3] * in[x + 3] +
                 taps[4] * in[x + 4] + taps[5] * in[x + 5];
}

// Rows lie stride apart.
void weighDown(const float* in, int32_t stride, const Taps& taps, float* out, int32_t n)
{
    for (int32_t x = 0; x < n; ++x)
        out[x] = taps[0] * in[x] + taps[1] * in[x + stride] + taps[2] * in[x + 2 * stride] +
                 taps[3] * in[x + 3 * stride] + taps[4] * in[x + 4 * stride] + taps[5] * in[x + 5 * stride];
}

// Sums per column of a few rows: additions side by side, none of which waits for another.
struct ColumnSums {
    static constexpr int32_t kSums = 6;
    float sums[kSums][kMostCols];

    void clear() { std::fill_n(&sums[0][0], kSums * kMostCols, 0.0F); }
    double over(int32_t sum, int32_t from, int32_t to) const
    {
        float total = 0.0F;
        for (int32_t x = from; x < to; ++x)
            total += sums[sum][x];
        return static_cast<double>(total);
    }
};

// What a square of pixels tells about the next step. Products of a gradient of one picture and one of the other know no noise.
struct Sums {
    double xx = 0.0, xy = 0.0, yy = 0.0;
    double xe = 0.0, ye = 0.0; // mean gradient of both by difference
    double ee = 0.0;
    double count = 0.0;

    void add(const Sums& other, double weight)
    {
        xx += weight * other.xx;
        xy += weight * other.xy;
        yy += weight * other.yy;
        xe += weight * other.xe;
        ye += weight * other.ye;
        ee += weight * other.ee;
        count += weight * other.count;
    }
    double meanSquare() const { return ee / std::max(count, 1.0); }
};

// Of the reference, there, and the defect picture, here, around a middle grey.
struct Moments {
    static constexpr float kMiddle = 128.0F;
    double there = 0.0, here = 0.0, thereThere = 0.0, thereHere = 0.0, hereHere = 0.0, count = 0.0;

    void add(const Moments& other, double weight)
    {
        there += weight * other.there;
        here += weight * other.here;
        thereThere += weight * other.thereThere;
        thereHere += weight * other.thereHere;
        hereHere += weight * other.hereHere;
        count += weight * other.count;
    }
    double gain() const
    {
        constexpr double kLeast = 0.3, kMost = 3.0;
        const double variance = thereThere - there * there / count;
        return variance > count ? std::clamp((thereHere - there * here / count) / variance, kLeast, kMost)
                                : 1.0;
    }
    double offset(double gain) const
    {
        return (here - gain * there) / count + static_cast<double>(kMiddle) * (1.0 - gain);
    }
    double spread() const { return std::max(hereHere - here * here / count, 0.0); }
};

// One pass over all boxes at a shift.
class Pass
{
public:
    Pass(const GreyRows& reference, const GreyRows& defect) : reference_(reference), defect_(defect) {}

    void begin()
    {
        spread_ = 0.0;
        blocks_.clear();
        ends_.clear();
    }

    void add(const VexaBox& box, double x, double y)
    {
        const auto wholeX = static_cast<int32_t>(std::floor(x)), wholeY = static_cast<int32_t>(std::floor(y));
        load(defect_, box, 1, 1, here_);
        load(reference_, {box.left + wholeX, box.top + wholeY, box.right + wholeX, box.bottom + wholeY}, 3, 4,
             source_);
        interpolate(tapsAt(x - wholeX), tapsAt(y - wholeY));
        matchBrightness();
        for (int32_t top = 1; top + 1 < here_.rows; top += kBlock)
            addBand(top, std::min(top + kBlock, here_.rows - 1));
        ends_.push_back(blocks_.size());
    }

    // Of each box.
    std::vector<Sums> plain() const
    {
        return perBox([](std::size_t) { return 1.0; });
    }

    // Squares that differ more than is usual at edges count less: there may be a defect.
    std::vector<Sums> weighed()
    {
        const double usual = kOutlier * usualSquare() + 0.25;
        weights_.clear();
        for (const Sums& block : blocks_) {
            const double part = block.meanSquare() / usual;
            weights_.push_back(1.0 / (1.0 + part * part));
        }
        return perBox([this](std::size_t block) { return weights_[block]; });
    }

    double spread() const { return spread_; } // of the defect picture around the means of its boxes

private:
    template <typename Weight>
    std::vector<Sums> perBox(const Weight& weight) const
    {
        std::vector<Sums> boxes;
        std::size_t block = 0;
        for (const std::size_t end : ends_) {
            Sums sums;
            for (; block < end; ++block)
                sums.add(blocks_[block], weight(block));
            boxes.push_back(sums);
        }
        return boxes;
    }

    // Half of all structure lies where the pictures differ by no more.
    double usualSquare() const
    {
        std::vector<std::pair<double, double>> squares; // and structure
        double half = 0.0;
        for (const Sums& block : blocks_) {
            squares.emplace_back(block.meanSquare(), std::max(block.xx + block.yy, 0.0));
            half += squares.back().second / 2.0;
        }
        std::sort(squares.begin(), squares.end());
        std::size_t i = 0;
        for (; i + 1 < squares.size() && half > squares[i].second; ++i)
            half -= squares[i].second;
        return squares.empty() ? 0.0 : squares[i].first;
    }

    void interpolate(const Taps& across, const Taps& down)
    {
        const int32_t cols = here_.cols;
        half_.resize(cols, source_.rows);
        for (int32_t y = 0; y < half_.rows; ++y)
            weighAcross(source_.row(y), across, half_.row(y), cols);
        there_.resize(cols, here_.rows);
        for (int32_t y = 0; y < there_.rows; ++y)
            weighDown(half_.row(y), cols, down, there_.row(y), cols);
    }

    // Gain and offset that bring the reference nearest to the defect picture within the box. Squares count as they did
    // in the pass before.
    void matchBrightness()
    {
        Moments moments;
        std::size_t block = blocks_.size();
        for (int32_t y = 1; y + 1 < here_.rows; y += kBlock)
            addMoments(y, std::min(y + kBlock, here_.rows - 1), block, moments);
        const double gain = moments.gain();
        const auto slope = static_cast<float>(gain), offset = static_cast<float>(moments.offset(gain));
        for (float& value : there_.values)
            value = value * slope + offset;
        spread_ += moments.spread();
    }

    void addMoments(int32_t top, int32_t bottom, std::size_t& block, Moments& moments)
    {
        const int32_t n = here_.cols - 2;
        columns_.clear();
        auto& sums = columns_.sums;
        for (int32_t y = top; y < bottom; ++y) {
            const float* there = there_.row(y) + 1;
            const float* here = here_.row(y) + 1;
            for (int32_t x = 0; x < n; ++x) {
                const float p = there[x] - Moments::kMiddle, q = here[x] - Moments::kMiddle;
                sums[0][x] += p;
                sums[1][x] += q;
                sums[2][x] += p * p;
                sums[3][x] += p * q;
                sums[4][x] += q * q;
            }
        }
        for (int32_t x = 0; x < n; x += kBlock, ++block) {
            const int32_t end = std::min(x + kBlock, n);
            const auto sum = [&](int32_t which) { return columns_.over(which, x, end); };
            moments.add(
                {sum(0), sum(1), sum(2), sum(3), sum(4), static_cast<double>((end - x) * (bottom - top))},
                block < weights_.size() ? weights_[block] : 1.0);
        }
    }

    void addRow(int32_t y)
    {
        const int32_t n = here_.cols - 2, stride = here_.cols;
        const float* h = here_.row(y) + 1;
        const float* t = there_.row(y) + 1;
        auto& sums = columns_.sums;
        for (int32_t x = 0; x < n; ++x) {
            const float hereX = h[x + 1] - h[x - 1], hereY = h[x + stride] - h[x - stride];
            const float thereX = t[x + 1] - t[x - 1], thereY = t[x + stride] - t[x - stride];
            const float e = h[x] - t[x];
            sums[0][x] += hereX * thereX;
            sums[1][x] += hereX * thereY + hereY * thereX;
            sums[2][x] += hereY * thereY;
            sums[3][x] += (hereX + thereX) * e;
            sums[4][x] += (hereY + thereY) * e;
            sums[5][x] += e * e;
        }
    }

    void addBand(int32_t top, int32_t bottom)
    {
        columns_.clear();
        for (int32_t y = top; y < bottom; ++y)
            addRow(y);
        const int32_t n = here_.cols - 2;
        for (int32_t x = 0; x < n; x += kBlock) {
            const int32_t end = std::min(x + kBlock, n);
            const auto sum = [&](int32_t which) { return columns_.over(which, x, end); };
            // Differences over two pixels are twice the gradient.
            blocks_.push_back({sum(0) / 4.0, sum(1) / 8.0, sum(2) / 4.0, sum(3) / 4.0, sum(4) / 4.0, sum(5),
                               static_cast<double>((end - x) * (bottom - top))});
        }
    }

    const GreyRows& reference_;
    const GreyRows& defect_;
    Plane here_, there_, source_, half_;
    ColumnSums columns_;
    std::vector<Sums> blocks_;
    std::vector<std::size_t> ends_; // of the boxes among them
    std::vector<double> weights_;   // of the blocks, once there are any
    double spread_ = 0.0;
};

struct Step {
    double x = 0.0, y = 0.0, turn = 0.0;
};

Sums totalOf(const std::vector<Sums>& boxes)
{
    Sums total;
    for (const Sums& box : boxes)
        total.add(box, 1.0);
    return total;
}

bool isFlat(double structure, const Sums& sums)
{
    const double noise = sums.meanSquare() / 4.0;
    return structure < kBeyondNoise * std::sqrt(sums.count) * noise ||
           structure < kLeastStructure * sums.count;
}

void judge(const Sums& sums, FineShift& shift)
{
    shift.isFlatX = isFlat(sums.xx, sums);
    shift.isFlatY = isFlat(sums.yy, sums);
    const double middle = (sums.xx + sums.yy) / 2.0;
    const double half = std::hypot((sums.xx - sums.yy) / 2.0, sums.xy);
    shift.isOneWay = !shift.isFlatX && !shift.isFlatY &&
                     (middle - half < kOneWay * (middle + half) || isFlat(middle - half, sums));
}

double limited(double step)
{
    return std::clamp(step, -kMostStep, kMostStep);
}

// Along edges of one slant nothing is told: the step goes across them.
Step stepAcross(const Sums& sums)
{
    const double angle = std::atan2(2.0 * sums.xy, sums.xx - sums.yy) / 2.0;
    const double c = std::cos(angle), s = std::sin(angle);
    const double length =
        limited((c * sums.xe + s * sums.ye) / (c * c * sums.xx + 2.0 * c * s * sums.xy + s * s * sums.yy));
    return {c * length, s * length};
}

// Where one shift is wanted for all boxes.
Step shiftStep(const Sums& sums, const FineShift& shift)
{
    if (shift.isOneWay)
        return stepAcross(sums);
    if (shift.isFlatX || shift.isFlatY)
        return {shift.isFlatX ? 0.0 : limited(sums.xe / sums.xx),
                shift.isFlatY ? 0.0 : limited(sums.ye / sums.yy)};
    const double determinant = sums.xx * sums.yy - sums.xy * sums.xy;
    return {limited((sums.xe * sums.yy - sums.ye * sums.xy) / determinant),
            limited((sums.ye * sums.xx - sums.xe * sums.xy) / determinant)};
}

// Places of the boxes, from the middle of the picture.
class Places
{
public:
    Places(const GreyRows& picture, const std::vector<VexaBox>& boxes)
    {
        for (const VexaBox& box : boxes)
            places_.push_back({(box.left + box.right + 1 - picture.cols()) / 2.0,
                               (box.top + box.bottom + 1 - picture.rows()) / 2.0});
    }

    Step shiftAt(std::size_t box, const FineShift& shift) const
    {
        return {shift.x - shift.turn * places_[box].y, shift.y + shift.turn * places_[box].x};
    }

    // By the turn that leaves least, the shift is another one.
    Step turnStep(const std::vector<Sums>& boxes, const FineShift& shift) const
    {
        const Sums sums = totalOf(boxes);
        const Step plain = shiftStep(sums, shift);
        double shiftX = 0.0, shiftY = 0.0, turnTurn = 0.0,
               turnRest = 0.0; // turn by x, by y, by itself, by the rest
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            const double u = -places_[i].y, v = places_[i].x;
            shiftX += u * boxes[i].xx + v * boxes[i].xy;
            shiftY += u * boxes[i].xy + v * boxes[i].yy;
            turnTurn += u * u * boxes[i].xx + 2.0 * u * v * boxes[i].xy + v * v * boxes[i].yy;
            turnRest += u * boxes[i].xe + v * boxes[i].ye;
        }
        // The shift is eliminated: by it a turn of one is answered, and what is left of the turn is its own.
        const double determinant = sums.xx * sums.yy - sums.xy * sums.xy;
        const double answerX = (shiftX * sums.yy - shiftY * sums.xy) / determinant;
        const double answerY = (shiftY * sums.xx - shiftX * sums.xy) / determinant;
        const double own = turnTurn - answerX * shiftX - answerY * shiftY;
        constexpr double kTold = 0.01; // of the turn's structure must not be a shift's
        if (!(own > kTold * turnTurn))
            return plain;
        const double turn = std::clamp((turnRest - answerX * sums.xe - answerY * sums.ye) / own,
                                       -kMostTurn - shift.turn, kMostTurn - shift.turn);
        return {limited(plain.x - answerX * turn), limited(plain.y - answerY * turn), turn};
    }

private:
    struct Place {
        double x, y;
    };
    std::vector<Place> places_;
};

} // namespace

FineShift refineShift(const GreyRows& reference, const GreyRows& defect, const std::vector<VexaBox>& boxes,
                      const FineShift& start, double precision, bool mayTurn)
{
    constexpr std::size_t kLeastBoxes = 4; // that tell a turn
    constexpr double kSteady = 0.05;       // pixels
    FineShift shift = start;
    shift.hasSettled = false;
    const Places places(defect, boxes);
    const double reach = std::hypot(defect.cols(), defect.rows()) / 2.0;
    Pass pass(reference, defect);
    Step step;
    const auto length = [&] { return std::hypot(step.x, step.y) + std::fabs(step.turn) * reach; };
    for (int32_t round = 0; round < kRounds && !shift.hasSettled; ++round) {
        pass.begin();
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            const Step at = places.shiftAt(i, shift);
            pass.add(boxes[i], at.x, at.y);
        }
        const Sums sums = totalOf(pass.plain());
        if (sums.count < 1.0)
            return shift;
        shift.spread = pass.spread() / sums.count;
        judge(sums, shift);
        step = shiftStep(sums, shift);
        // What the step takes away is known before it is done.
        const double after = std::max(sums.ee - step.x * sums.xe - step.y * sums.ye, 0.0) / sums.count;
        shift.left = after * 2.0 / (1.0 + noiseGain(shift.x) * noiseGain(shift.y));
        const bool isPlain = shift.isOneWay || shift.isFlatX || shift.isFlatY;
        if (length() < kNear) {
            const std::vector<Sums> weighed = pass.weighed();
            step = mayTurn && !isPlain && boxes.size() >= kLeastBoxes ? places.turnStep(weighed, shift)
                                                                      : shiftStep(totalOf(weighed), shift);
        }
        shift.x = std::clamp(shift.x + step.x, start.x - kMostWay, start.x + kMostWay);
        shift.y = std::clamp(shift.y + step.y, start.y - kMostWay, start.y + kMostWay);
        shift.turn += step.turn;
        shift.hasSettled = length() < precision;
    }
    shift.hasSettled = length() < std::max(kSteady, precision);
    return shift;
}

} // namespace app
