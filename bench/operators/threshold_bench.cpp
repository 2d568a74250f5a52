#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

const bool kThreshold =
    add({.name = "threshold",
         .bytesMoved = 2,
         .target = 1.0,
         .peerName = "opencv threshold",
         .ours = [](Scene& s) { I_Threshold(s.a, s.dest, 128.0F, 255.0F); },
         .peer = [](Scene& s) { cv::threshold(s.peerA, s.peerDest, 127, 255, cv::THRESH_BINARY); }});

} // namespace
} // namespace vexa::bench
