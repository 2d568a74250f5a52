#include <cmath>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/trace.h"

namespace vexa::bench
{
namespace
{

// One bright region with a wavy outline that fills most of the image.
void flowerScene(Scene& s)
{
    const double middle = s.peerA.cols / 2.0;
    for (int32_t y = 0; y < s.peerA.rows; ++y)
        for (int32_t x = 0; x < s.peerA.cols; ++x) {
            const double angle = std::atan2(y - middle, x - middle);
            const double radius = middle * (0.75 + 0.15 * std::sin(23 * angle));
            const bool inside = std::hypot(x - middle, y - middle) < radius;
            s.peerA.at<uint8_t>(y, x) = inside ? 255 : 0;
        }
}

void outline(Scene& s)
{
    static std::vector<VexaPoint> points(100000);
    I_GetPerimeterPts(points.data(), static_cast<int32_t>(points.size()), 128, 255, s.a);
}

void contour(Scene& s)
{
    VexaPoint start = {s.peerA.cols / 2, s.peerA.rows / 2};
    while (I_GetPixByte(start.x - 1, start.y, s.a) != 0)
        --start.x;
    int32_t count = 0;
    vexaFree(I_TraceEdge(s.a, 128.0F, &start, nullptr, &count, 1));
}

void peerOutline(Scene& s)
{
    static std::vector<std::vector<cv::Point>> contours;
    cv::findContours(s.peerA, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
}

const bool kOutline = add({.name = "trace one outline",
                           .bytesMoved = 1,
                           .target = 1.0,
                           .peerName = "opencv findContours, one outline",
                           .ours = outline,
                           .peer = peerOutline,
                           .setUp = flowerScene});
const bool kContour = add({.name = "trace one contour, sub-pixel",
                           .bytesMoved = 1,
                           .peerName = "opencv findContours, one outline",
                           .ours = contour,
                           .peer = peerOutline,
                           .setUp = flowerScene});

} // namespace
} // namespace vexa::bench
