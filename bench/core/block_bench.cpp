#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

const bool kCopy = add({.name = "copy",
                        .target = 1.05,
                        .peerName = "opencv copyTo",
                        .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
                        .peer = [](Scene& s) { s.peerA.copyTo(s.peerDest); }});

const bool kRange = add({.name = "minimum and maximum",
                         .bytesMoved = 1,
                         .target = 0.35,
                         .peerName = "opencv minMaxLoc",
                         .ours =
                             [](Scene& s) {
                                 double low = 0;
                                 double high = 0;
                                 I_ImGetRange(&low, &high, s.a);
                             },
                         .peer =
                             [](Scene& s) {
                                 double low = 0;
                                 double high = 0;
                                 cv::minMaxLoc(s.peerA, &low, &high);
                             }});

// The hottest road of the library: a row of the image's own type. The copy column moves the same 512 bytes.
const bool kRow = add({.name = "read one row of 512 bytes, 512 times",
                       .size = 512,
                       .bytesMoved = 2,
                       .peerName = "opencv row copyTo",
                       .ours =
                           [](Scene& s) {
                               static uint8_t row[512];
                               for (int32_t y = 0; y < 512; ++y)
                                   I_GetBlockType(0, y, 512, 1, row, s.a, PIX_BYTE);
                           },
                       .peer =
                           [](Scene& s) {
                               static cv::Mat row(1, 512, CV_8UC1);
                               for (int32_t y = 0; y < 512; ++y)
                                   s.peerA.row(y).copyTo(row);
                           }});

} // namespace
} // namespace vexa::bench
