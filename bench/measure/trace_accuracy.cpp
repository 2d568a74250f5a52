// Prints how near traced contours come to the truth: the tables of docs/accuracy.md.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

#include "vexalib/trace.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr double kPi = 3.14159265358979323846;
constexpr int32_t kSize = 96;
constexpr double kMiddle = 48.0;
constexpr int32_t kPhases = 8;

// How bright a point at a signed distance in front of the edge is, from 0 outside to 1 inside.
using Edge = std::function<double(double distance)>;

// An edge as sharp as pixels can show it, as the share of a pixel's width.
double sharp(double distance)
{
    return std::clamp(0.5 + distance, 0.0, 1.0);
}
double blurred(double distance)
{
    return std::clamp(0.5 + distance / 3.0, 0.0, 1.0);
}
double gaussian(double distance)
{
    return 0.5 * std::erfc(-distance / 1.5);
}

// The contour at half height of a picture from 20 to 220, from a start near an edge.
std::vector<VexaPointF> contour(const std::function<double(double x, double y)>& brightness, VexaPoint start)
{
    std::vector<uint8_t> pixels;
    for (int32_t y = 0; y < kSize; ++y)
        for (int32_t x = 0; x < kSize; ++x)
            pixels.push_back(static_cast<uint8_t>(std::lround(20 + 200 * brightness(x, y))));
    const int32_t im = I_ImOpenPtr(kSize, kSize, kSize, PIX_BYTE, pixels.data());
    int32_t count = 0;
    VexaPointF* const points = I_TraceEdge(im, 120.0F, &start, nullptr, &count, 1);
    const std::vector<VexaPointF> result(points, points + count);
    vexaFree(points);
    I_ImClose(im);
    return result;
}

double area(const std::vector<VexaPointF>& points)
{
    double twice = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const VexaPointF a = points[i];
        const VexaPointF b = points[(i + 1) % points.size()];
        twice += static_cast<double>(a.x) * static_cast<double>(b.y) -
                 static_cast<double>(b.x) * static_cast<double>(a.y);
    }
    return std::fabs(twice) / 2.0;
}

// The error of a disc's area in per cent, the smallest and the largest over positions of its centre.
void printArea(double radius, const Edge& edge)
{
    double low = 100.0;
    double high = -100.0;
    for (int32_t i = 0; i < kPhases * kPhases; ++i) {
        const double x0 = kMiddle + static_cast<double>(i % kPhases) / kPhases;
        const double y0 = kMiddle + static_cast<double>(i / kPhases) / kPhases;
        const auto brightness = [&](double x, double y) { return edge(radius - std::hypot(x - x0, y - y0)); };
        const VexaPoint start = {static_cast<int32_t>(std::ceil(x0 - radius)),
                                 static_cast<int32_t>(std::lround(y0))};
        const double error = 100.0 * (area(contour(brightness, start)) / (kPi * radius * radius) - 1.0);
        low = std::min(low, error);
        high = std::max(high, error);
    }
    std::printf(" %+.2f to %+.2f |", low, high);
}

// The largest distance of a contour's points from a straight edge, over directions, at one sub-pixel
// position.
void printDistance(double phase, const Edge& edge)
{
    double worst = 0.0;
    for (int32_t degrees = 0; degrees < 90; degrees += 3) {
        const double nx = std::cos(degrees * kPi / 180.0);
        const double ny = std::sin(degrees * kPi / 180.0);
        const auto distance = [&](double x, double y) {
            return (x - kMiddle) * nx + (y - kMiddle) * ny - phase;
        };
        const VexaPoint start = {static_cast<int32_t>(kMiddle + nx + 0.5),
                                 static_cast<int32_t>(kMiddle + ny + 0.5)};
        for (const VexaPointF p : contour([&](double x, double y) { return edge(distance(x, y)); }, start))
            worst = std::max(worst, std::fabs(distance(static_cast<double>(p.x), static_cast<double>(p.y))));
    }
    std::printf(" %.3f |", worst);
}

void printHeader(const char* first)
{
    std::printf("| %s | sharp | 3 pixels | Gaussian |\n|---|---|---|---|\n", first);
}

} // namespace

int main()
{
    printHeader("radius");
    for (const double radius : {8.0, 10.0, 12.0, 16.0, 20.0, 24.0, 32.0}) {
        std::printf("| %.0f |", radius);
        for (const Edge& edge : {Edge(sharp), Edge(blurred), Edge(gaussian)})
            printArea(radius, edge);
        std::printf("\n");
    }
    std::printf("\n");
    printHeader("position");
    for (int32_t i = 0; i < kPhases; ++i) {
        const double phase = static_cast<double>(i) / kPhases;
        std::printf("| %.3f |", phase);
        for (const Edge& edge : {Edge(sharp), Edge(blurred), Edge(gaussian)})
            printDistance(phase, edge);
        std::printf("\n");
    }
    return 0;
}
