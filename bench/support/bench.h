// A benchmark case: one operator of this library, the nearest operation of a peer, and a memory copy that moves the same
// bytes. bench/compare runs all cases and prints the ratios.
#ifndef VEXA_BENCH_SUPPORT_BENCH_H
#define VEXA_BENCH_SUPPORT_BENCH_H

#include <cstdint>
#include <functional>
#include <string>

#include <opencv2/core.hpp>

#include "vexalib/vexalib.h"

namespace vexa::bench
{

// Two sources and a result, here as images and for the peer as matrices with the same contents.
struct Scene {
    int32_t a = 0;
    int32_t b = 0;
    int32_t dest = 0;
    cv::Mat peerA;
    cv::Mat peerB;
    cv::Mat peerDest;
};

struct Case {
    std::string name;    // "add saturating"
    int32_t size = 2048; // images are size by size pixels
    int32_t sourceType = PIX_BYTE;
    int32_t destType = PIX_BYTE;
    double bytesMoved = 2; // per pixel: every operand read once, every result written once
    double target = 0;     // our time at most this multiple of the peer's; 0: no target
    std::string peerName;  // "opencv add"
    std::function<void(Scene&)> ours;
    std::function<void(Scene&)> peer;       // empty: no peer
    std::function<void(Scene&)> setUp = {}; // changes the random sources before the first run
};

// Registers a case; the result only serves to call this from a definition at namespace scope.
bool add(Case benchCase);

} // namespace vexa::bench

#endif
