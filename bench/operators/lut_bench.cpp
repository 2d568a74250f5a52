#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

// A curve without steps or flat parts, so that every entry counts.
const uint8_t* curve()
{
    static uint8_t table[256];
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(i * 37 + i * i / 7);
    return table;
}

const bool kLut = add({.name = "look-up table",
                       .bytesMoved = 2,
                       .target = 0.35,
                       .peerName = "opencv LUT",
                       .ours = [](Scene& s) { I_LUTMapROI(s.a, s.dest, curve()); },
                       .peer =
                           [](Scene& s) {
                               const cv::Mat table(1, 256, CV_8UC1, const_cast<uint8_t*>(curve()));
                               cv::LUT(s.peerA, table, s.peerDest);
                           }});

const bool kScale = add({.name = "scale and offset",
                         .bytesMoved = 2,
                         .target = 0.5,
                         .peerName = "opencv convertTo",
                         .ours = [](Scene& s) { I_ScaleIntensityROI(s.a, s.dest, -20.0, 1.3); },
                         .peer = [](Scene& s) { s.peerA.convertTo(s.peerDest, CV_8U, 1.3, -20.0); }});

} // namespace
} // namespace vexa::bench
