#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/smoothing.h"

namespace vexa::bench
{
namespace
{

const bool kMean = add({.name = "mean 3x3",
                        .bytesMoved = 2,
                        .target = 0.25,
                        .peerName = "opencv blur",
                        .ours = [](Scene& s) { I_Smooth(s.a, s.dest); },
                        .peer =
                            [](Scene& s) {
                                cv::blur(s.peerA, s.peerDest, {3, 3});
                            }});

// The two rounded passes of a box window. The sizes without a target show that the window costs nothing.
bool addBox(int32_t window, double target, int32_t type = PIX_BYTE)
{
    const std::string size = std::to_string(window);
    return add({.name = "box " + size + "x" + size + (type == PIX_FLOAT ? ", float" : ""),
                .sourceType = type,
                .destType = type,
                .bytesMoved = type == PIX_FLOAT ? 8.0 : 2.0,
                .target = target,
                .peerName = "opencv blur",
                .ours =
                    [=](Scene& s) {
                        I_MxNSmooth(s.a, s.dest, static_cast<float>(window), static_cast<float>(window));
                    },
                .peer =
                    [=](Scene& s) {
                        cv::blur(s.peerA, s.peerDest, {window, window});
                    }});
}
const bool kBox3 = addBox(3, 0);
const bool kBox5 = addBox(5, 0.45);
const bool kBox15 = addBox(15, 0.7);
const bool kBox31 = addBox(31, 0.75);
const bool kBox101 = addBox(101, 0);
const bool kBox3Float = addBox(3, 0, PIX_FLOAT);
const bool kBox15Float = addBox(15, 0.6, PIX_FLOAT);
const bool kBox101Float = addBox(101, 0, PIX_FLOAT);

const bool kSharpen = add({.name = "sharpen 3x3",
                           .bytesMoved = 2,
                           .target = 0.25,
                           .peerName = "opencv filter2D",
                           .ours = [](Scene& s) { I_Sharpen(s.a, s.dest, 40, 1, 0); },
                           .peer =
                               [](Scene& s) {
                                   cv::Mat kernel(3, 3, CV_32F, cv::Scalar(-40.0 / 128));
                                   kernel.at<float>(1, 1) = 1.0F + 320.0F / 128;
                                   cv::filter2D(s.peerA, s.peerDest, -1, kernel);
                               }});

bool addShift(const char* name, float sharpness)
{
    return add({.name = name,
                .bytesMoved = 2,
                .target = 0.5,
                .peerName = "opencv warpAffine",
                .ours = [=](Scene& s) { I_ShiftSharpen(s.a, s.dest, 0.3F, 0.6F, sharpness); },
                .peer =
                    [](Scene& s) {
                        const cv::Mat move = (cv::Mat_<double>(2, 3) << 1, 0, 0.3, 0, 1, 0.6);
                        cv::warpAffine(s.peerA, s.peerDest, move, s.peerA.size(),
                                       cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
                    }});
}
const bool kShift = addShift("shift 0.3 0.6, sharpness 0", 0.0F);
const bool kShiftSharp = addShift("shift 0.3 0.6, sharpness 1", 1.0F);

} // namespace
} // namespace vexa::bench
