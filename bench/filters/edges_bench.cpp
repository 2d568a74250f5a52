#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/edges.h"

namespace vexa::bench
{
namespace
{

void peerSobel(Scene& s)
{
    static cv::Mat dx, dy, absX, absY;
    cv::spatialGradient(s.peerA, dx, dy);
    cv::convertScaleAbs(dx, absX);
    cv::convertScaleAbs(dy, absY);
    cv::add(absX, absY, s.peerDest);
}

const bool kSobel = add({.name = "Sobel magnitude",
                         .target = 0.25,
                         .peerName = "opencv spatialGradient, convertScaleAbs x2, add",
                         .ours = [](Scene& s) { I_Sobel(s.a, s.dest); },
                         .peer = peerSobel});

const bool kEdge = add({.name = "largest difference 3x3",
                        .peerName = "opencv morphologyEx gradient",
                        .ours = [](Scene& s) { I_Edge(s.a, s.dest, 3, 3); },
                        .peer =
                            [](Scene& s) {
                                cv::morphologyEx(s.peerA, s.peerDest, cv::MORPH_GRADIENT,
                                                 cv::getStructuringElement(cv::MORPH_RECT, {3, 3}));
                            }});

const bool kContour = add({.name = "contour lines",
                           .peerName = "",
                           .ours = [](Scene& s) { I_Contour(s.a, s.dest, 32, 0); },
                           .peer = {}});

const bool kGradient = add({.name = "gradient statistics",
                            .bytesMoved = 1,
                            .peerName = "",
                            .ours = [](Scene& s) { I_Gradient(s.a, 0, 1, 20.0F, nullptr, nullptr); },
                            .peer = {}});

const bool kDirections = add({.name = "gradient directions",
                              .bytesMoved = 1,
                              .peerName = "",
                              .ours =
                                  [](Scene& s) {
                                      uint32_t angles[90] = {};
                                      I_Gradient2(s.a, 0, 1, 20.0F, nullptr, nullptr, angles, 90);
                                  },
                              .peer = {}});

} // namespace
} // namespace vexa::bench
