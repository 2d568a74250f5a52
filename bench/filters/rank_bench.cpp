#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/rank.h"

namespace vexa::bench
{
namespace
{

// A mask with few pixels, as growing is meant for.
void makeSparse(Scene& s)
{
    cv::threshold(s.peerA, s.peerA, 254, 255, cv::THRESH_BINARY);
    for (int32_t y = 0; y < s.peerA.rows; ++y)
        I_PutBlockType(0, y, s.peerA.cols, 1, s.peerA.ptr(y), s.a, PIX_BYTE);
}

const bool kMedian = add({.name = "median 3x3",
                          .target = 0.60,
                          .peerName = "opencv medianBlur 3",
                          .ours = [](Scene& s) { I_Median(s.a, s.dest); },
                          .peer = [](Scene& s) { cv::medianBlur(s.peerA, s.peerDest, 3); }});

const bool kMedianFloat = add({.name = "median 3x3, float",
                               .sourceType = PIX_FLOAT,
                               .destType = PIX_FLOAT,
                               .bytesMoved = 8,
                               .target = 0.90,
                               .peerName = "opencv medianBlur 3 32F",
                               .ours = [](Scene& s) { I_Median(s.a, s.dest); },
                               .peer = [](Scene& s) { cv::medianBlur(s.peerA, s.peerDest, 3); }});

const bool kErode = add({.name = "erode 3x3",
                         .target = 0.75,
                         .peerName = "opencv erode 3",
                         .ours = [](Scene& s) { I_Erode(s.a, s.dest, 1.0F); },
                         .peer = [](Scene& s) { cv::erode(s.peerA, s.peerDest, cv::Mat()); }});

const bool kDilate = add({.name = "dilate 3x3",
                          .target = 0.75,
                          .peerName = "opencv dilate 3",
                          .ours = [](Scene& s) { I_Dilate(s.a, s.dest, 1.0F); },
                          .peer = [](Scene& s) { cv::dilate(s.peerA, s.peerDest, cv::Mat()); }});

const bool kErodeFloat = add({.name = "erode 3x3, float",
                              .sourceType = PIX_FLOAT,
                              .destType = PIX_FLOAT,
                              .bytesMoved = 8,
                              .peerName = "opencv erode 3 32F",
                              .ours = [](Scene& s) { I_Erode(s.a, s.dest, 1.0F); },
                              .peer = [](Scene& s) { cv::erode(s.peerA, s.peerDest, cv::Mat()); }});

const bool kGrow = add({.name = "grow labels 3x3",
                        .peerName = "opencv dilate 3",
                        .ours = [](Scene& s) { I_BinaryDilate(s.a, s.dest, 1); },
                        .peer = [](Scene& s) { cv::dilate(s.peerA, s.peerDest, cv::Mat()); },
                        .setUp = makeSparse});

} // namespace
} // namespace vexa::bench
