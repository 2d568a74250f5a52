#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/rotate.h"

namespace vexa::bench
{
namespace
{

constexpr double kDegrees = 10.0;

const bool kRotate = add({.name = "rotate 10 degrees, bilinear",
                          .target = 0.4,
                          .peerName = "opencv warpAffine",
                          .ours =
                              [](Scene& s) {
                                  const int32_t middle = s.peerA.cols / 2;
                                  I_RotateShift(middle, middle, kDegrees, 0, 0, 1, 1, s.a, s.dest);
                              },
                          .peer =
                              [](Scene& s) {
                                  const auto middle = static_cast<float>(s.peerA.cols / 2);
                                  const cv::Mat m = cv::getRotationMatrix2D({middle, middle}, kDegrees, 1.0);
                                  cv::warpAffine(s.peerA, s.peerDest, m, s.peerDest.size(), cv::INTER_LINEAR);
                              }});

const bool kTranspose = add({.name = "transpose",
                             .target = 0.3,
                             .peerName = "opencv transpose",
                             .ours = [](Scene& s) { I_Rotate90(s.a, s.dest, 7); },
                             .peer = [](Scene& s) { cv::transpose(s.peerA, s.peerDest); }});

const bool kQuarter =
    add({.name = "rotate 90",
         .target = 0.3,
         .peerName = "opencv rotate",
         .ours = [](Scene& s) { I_Rotate90(s.a, s.dest, 90); },
         .peer = [](Scene& s) { cv::rotate(s.peerA, s.peerDest, cv::ROTATE_90_COUNTERCLOCKWISE); }});

const bool kMirror = add({.name = "mirror left-right",
                          .target = 0.15,
                          .peerName = "opencv flip 1",
                          .ours = [](Scene& s) { I_HorizMirror(s.a, s.dest); },
                          .peer = [](Scene& s) { cv::flip(s.peerA, s.peerDest, 1); }});

const bool kVertical = add({.name = "mirror top-bottom",
                            .target = 1.0,
                            .peerName = "opencv flip 0",
                            .ours = [](Scene& s) { I_VertMirror(s.a, s.dest); },
                            .peer = [](Scene& s) { cv::flip(s.peerA, s.peerDest, 0); }});

} // namespace
} // namespace vexa::bench
