#include "plot.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "glyphs.h"
#include "list_output.h"

namespace app
{
namespace
{

struct Color {
    uint8_t blue, green, red;
};
constexpr Color kPaper = {255, 255, 255};
constexpr Color kInk = {40, 40, 40};
constexpr Color kGrid = {225, 225, 225};
constexpr Color kCurve = {170, 60, 10};

constexpr int32_t kCols = 800;
constexpr int32_t kRows = 450;
constexpr VexaBox kFrame = {70, 20, kCols - 25, kRows - 45}; // left, top, right, bottom of the axes
constexpr int32_t kMostTicks = 8;
constexpr int32_t kTickLength = 5;

class Canvas
{
public:
    Canvas() : pixels_(kCols, kRows, 3)
    {
        for (int32_t y = 0; y < kRows; ++y)
            for (int32_t x = 0; x < kCols; ++x)
                put(x, y, kPaper);
    }

    void put(int32_t x, int32_t y, Color color)
    {
        if (x < 0 || y < 0 || x >= kCols || y >= kRows)
            return;
        uint8_t* const pixel = pixels_.row(y) + 3 * x;
        pixel[0] = color.blue;
        pixel[1] = color.green;
        pixel[2] = color.red;
    }

    void line(double x0, double y0, double x1, double y1, Color color, int32_t thickness)
    {
        const double steps = std::max({std::ceil(std::abs(x1 - x0)), std::ceil(std::abs(y1 - y0)), 1.0});
        for (double k = 0; k <= steps; ++k)
            for (int32_t side = 0; side < thickness * thickness; ++side)
                put(static_cast<int32_t>(std::lround(x0 + (x1 - x0) * k / steps)) + side % thickness,
                    static_cast<int32_t>(std::lround(y0 + (y1 - y0) * k / steps)) + side / thickness, color);
    }

    // The text's top left corner.
    void text(int32_t x, int32_t y, const std::string& text)
    {
        for (std::size_t i = 0; i < text.size(); ++i)
            for (int32_t row = 0; row < kGlyphRows; ++row)
                for (int32_t col = 0; col < kGlyphCols; ++col)
                    if (isInk(text[i], col, row))
                        put(x + static_cast<int32_t>(i) * (kGlyphCols + 1) + col, y + row, kInk);
    }

    Pixels take() { return std::move(pixels_); }

private:
    Pixels pixels_;
};

int32_t textCols(const std::string& text)
{
    return static_cast<int32_t>(text.size()) * (kGlyphCols + 1) - 1;
}

// A range of numbers along an axis from one pixel to another, with ticks at 1, 2 or 5 times a power of ten.
class Axis
{
public:
    Axis(double low, double high, int32_t from, int32_t to) : low_(low), high_(high), from_(from), to_(to)
    {
        if (!(high_ > low_)) {
            low_ -= 1.0;
            high_ += 1.0;
        }
        const double least = (high_ - low_) / kMostTicks;
        const double power = std::pow(10.0, std::floor(std::log10(least)));
        step_ = power * (least <= power ? 1 : least <= 2 * power ? 2 : least <= 5 * power ? 5 : 10);
    }

    // The range ends on ticks.
    void widenToTicks()
    {
        low_ = std::floor(low_ / step_) * step_;
        high_ = std::ceil(high_ / step_) * step_;
    }

    double at(double value) const { return from_ + (value - low_) / (high_ - low_) * (to_ - from_); }

    std::vector<double> ticks() const
    {
        std::vector<double> values;
        const double slack = step_ * 1e-6;
        for (double k = std::ceil((low_ - slack) / step_); k * step_ <= high_ + slack; ++k)
            values.push_back(k * step_);
        return values;
    }

    std::string label(double tick) const
    {
        const int32_t decimals =
            step_ >= 1.0 ? 0 : static_cast<int32_t>(std::ceil(-std::log10(step_) - 1e-9));
        return fixed(tick == 0.0 ? 0.0 : tick, decimals); // no minus in front of zero
    }

private:
    double low_, high_;
    double from_, to_;
    double step_;
};

void drawAxes(Canvas& canvas, const Axis& across, const Axis& up)
{
    for (const double tick : across.ticks()) {
        const auto x = static_cast<int32_t>(std::lround(across.at(tick)));
        canvas.line(x, kFrame.top, x, kFrame.bottom, kGrid, 1);
        canvas.line(x, kFrame.bottom, x, kFrame.bottom + kTickLength, kInk, 1);
        const std::string label = across.label(tick);
        canvas.text(x - textCols(label) / 2, kFrame.bottom + 2 * kTickLength, label);
    }
    for (const double tick : up.ticks()) {
        const auto y = static_cast<int32_t>(std::lround(up.at(tick)));
        canvas.line(kFrame.left, y, kFrame.right, y, kGrid, 1);
        canvas.line(kFrame.left - kTickLength, y, kFrame.left, y, kInk, 1);
        const std::string label = up.label(tick);
        canvas.text(kFrame.left - 2 * kTickLength - textCols(label), y - kGlyphRows / 2, label);
    }
    canvas.line(kFrame.left, kFrame.top, kFrame.left, kFrame.bottom, kInk, 1);
    canvas.line(kFrame.left, kFrame.bottom, kFrame.right, kFrame.bottom, kInk, 1);
}

} // namespace

Pixels plotCurve(const std::vector<CurvePoint>& curve)
{
    const auto [lowest, highest] = std::minmax_element(
        curve.begin(), curve.end(), [](const CurvePoint& a, const CurvePoint& b) { return a.y < b.y; });
    const Axis across(curve.front().x, curve.back().x, kFrame.left, kFrame.right);
    Axis up(lowest->y, highest->y, kFrame.bottom, kFrame.top);
    up.widenToTicks();
    Canvas canvas;
    drawAxes(canvas, across, up);
    for (std::size_t i = 0; i < curve.size(); ++i) {
        const CurvePoint from = curve[i == 0 ? 0 : i - 1];
        const CurvePoint to = curve[i];
        canvas.line(across.at(from.x), up.at(from.y), across.at(to.x), up.at(to.y), kCurve, 2);
    }
    return canvas.take();
}

} // namespace app
