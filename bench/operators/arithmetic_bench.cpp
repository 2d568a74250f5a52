#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

const bool kAdd = add({.name = "add saturating",
                       .bytesMoved = 3,
                       .target = 1.0,
                       .peerName = "opencv add",
                       .ours = [](Scene& s) { I_Add(s.a, s.b, s.dest); },
                       .peer = [](Scene& s) { cv::add(s.peerA, s.peerB, s.peerDest); }});

} // namespace
} // namespace vexa::bench
