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
bool addBox(int32_t window, double target, int32_t type)
{
    const std::string size = std::to_string(window);
    const char* const suffix = type == PIX_FLOAT ? ", float" : type == PIX_WORD ? ", word" : "";
    return add({.name = "box " + size + "x" + size + suffix,
                .sourceType = type,
                .destType = type,
                .bytesMoved = 2.0 * I_ImTypeBytes(type),
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

bool addBoxes()
{
    for (const int32_t window : {3, 5, 7, 9, 15, 21, 31, 51, 101}) {
        const double target = window == 5 ? 0.45 : window == 15 ? 0.7 : window == 31 ? 0.75 : 0.0;
        addBox(window, target, PIX_BYTE);
        addBox(window, 0, PIX_WORD);
        addBox(window, window == 15 ? 0.6 : 0.0, PIX_FLOAT);
    }
    return true;
}
const bool kBoxes = addBoxes();

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
