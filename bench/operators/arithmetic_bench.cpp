#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

Case addCase(int32_t size, double target)
{
    return {.name = "add saturating",
            .size = size,
            .bytesMoved = 3,
            .target = target,
            .peerName = "opencv add",
            .ours = [](Scene& s) { I_Add(s.a, s.b, s.dest); },
            .peer = [](Scene& s) { cv::add(s.peerA, s.peerB, s.peerDest); }};
}

const bool kAdd = add(addCase(2048, 1.0));
const bool kAddSmall = add(addCase(512, 1.1));
const bool kAddLarge = add(addCase(8192, 0.85));

const bool kDifference = add({.name = "absolute difference",
                              .bytesMoved = 3,
                              .target = 1.0,
                              .peerName = "opencv absdiff",
                              .ours = [](Scene& s) { I_SubtractEx(s.a, s.b, s.dest, 0, 0, 2); },
                              .peer = [](Scene& s) { cv::absdiff(s.peerA, s.peerB, s.peerDest); }});

const bool kMultiply =
    add({.name = "multiply, divisor 255",
         .bytesMoved = 3,
         .target = 0.7,
         .peerName = "opencv multiply(1/255)",
         .ours = [](Scene& s) { I_Multiply(s.a, s.b, s.dest, 255.0); },
         .peer = [](Scene& s) { cv::multiply(s.peerA, s.peerB, s.peerDest, 1.0 / 255.0); }});

const bool kDivide = add({.name = "divide, gain 128",
                          .bytesMoved = 3,
                          .target = 1.0,
                          .peerName = "opencv divide(128)",
                          .ours = [](Scene& s) { I_Divide(s.a, s.b, s.dest, 128.0); },
                          .peer = [](Scene& s) { cv::divide(s.peerA, s.peerB, s.peerDest, 128.0); }});

const bool kBlend =
    add({.name = "blend 0.3",
         .bytesMoved = 3,
         .target = 0.5,
         .peerName = "opencv addWeighted",
         .ours = [](Scene& s) { I_Blend(s.a, s.b, s.dest, 0.3F); },
         .peer = [](Scene& s) { cv::addWeighted(s.peerA, 0.3, s.peerB, 0.7, 0.0, s.peerDest); }});

const bool kAddFloat = add({.name = "add, float",
                            .sourceType = PIX_FLOAT,
                            .destType = PIX_FLOAT,
                            .bytesMoved = 12,
                            .target = 1.0,
                            .peerName = "opencv add 32F",
                            .ours = [](Scene& s) { I_Add(s.a, s.b, s.dest); },
                            .peer = [](Scene& s) { cv::add(s.peerA, s.peerB, s.peerDest); }});

const bool kMultiplyFloat = add({.name = "multiply, float",
                                 .sourceType = PIX_FLOAT,
                                 .destType = PIX_FLOAT,
                                 .bytesMoved = 12,
                                 .target = 1.0,
                                 .peerName = "opencv multiply 32F(0.01)",
                                 .ours = [](Scene& s) { I_Multiply(s.a, s.b, s.dest, 100.0); },
                                 .peer = [](Scene& s) { cv::multiply(s.peerA, s.peerB, s.peerDest, 0.01); }});

} // namespace
} // namespace vexa::bench
