#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/scale.h"

namespace vexa::bench
{
namespace
{

// The destination gets the size that the scale makes of the source.
void resizeDest(Scene& s, double scale)
{
    const int side = cv::saturate_cast<int>(s.peerA.cols * scale);
    s.dest = I_ImResize(side, side, PIX_BYTE, s.dest);
    s.peerDest = cv::Mat::zeros(side, side, CV_8UC1);
}

Case scaleCase(const std::string& name, double scale, double target, int interpolation,
               const std::string& peer)
{
    return {.name = name,
            .bytesMoved = 1 + scale * scale,
            .target = target,
            .peerName = peer,
            .ours = [scale](Scene& s) { I_ScaleImage(s.a, s.dest, nullptr, nullptr, 0, 0, scale, scale, 1); },
            .peer =
                [interpolation](Scene& s) {
                    cv::resize(s.peerA, s.peerDest, s.peerDest.size(), 0, 0, interpolation);
                },
            .setUp = [scale](Scene& s) { resizeDest(s, scale); }};
}

const bool kHalf = add(scaleCase("resize 0.5, area", 0.5, 1.0, cv::INTER_AREA, "opencv resize INTER_AREA"));
const bool kThird = add(scaleCase("resize 0.3, area", 0.3, 0.5, cv::INTER_AREA, "opencv resize INTER_AREA"));
const bool kLarger =
    add(scaleCase("resize 1.5, bilinear", 1.5, 0.55, cv::INTER_LINEAR, "opencv resize INTER_LINEAR"));

} // namespace
} // namespace vexa::bench
