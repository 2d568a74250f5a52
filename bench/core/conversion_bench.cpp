#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

constexpr int32_t kPixels = 2048 * 2048;

void* pixelsOf(int32_t im)
{
    return I_ImGetPtr(0, 0, nullptr, nullptr, im);
}

void fullRange(Scene& s)
{
    I_SetPixValueRange(0.0, 4095.0, s.a);
}

const bool kCopy = add({.name = "copy",
                        .bytesMoved = 2,
                        .target = 1.05,
                        .peerName = "opencv copyTo",
                        .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
                        .peer = [](Scene& s) { s.peerA.copyTo(s.peerDest); }});

const bool kByteToFloat = add(
    {.name = "byte to float",
     .destType = PIX_FLOAT,
     .bytesMoved = 5,
     .target = 0.95,
     .peerName = "opencv convertTo 8U-32F",
     .ours = [](Scene& s) { I_ArrayConvert(pixelsOf(s.a), PIX_BYTE, pixelsOf(s.dest), PIX_FLOAT, kPixels); },
     .peer = [](Scene& s) { s.peerA.convertTo(s.peerDest, CV_32F); }});

const bool kByteToFloatBlock = add({.name = "byte to float, block",
                                    .destType = PIX_FLOAT,
                                    .bytesMoved = 5,
                                    .target = 0.95,
                                    .peerName = "opencv convertTo 8U-32F",
                                    .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
                                    .peer = [](Scene& s) { s.peerA.convertTo(s.peerDest, CV_32F); }});

const bool kFloatToByte = add({.name = "float to byte, scaled",
                               .sourceType = PIX_FLOAT,
                               .bytesMoved = 5,
                               .target = 1.0,
                               .peerName = "opencv convertTo 32F-8U(scale)",
                               .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
                               .peer = [](Scene& s) { s.peerA.convertTo(s.peerDest, CV_8U, 255.0 / 4095.0); },
                               .setUp = fullRange});

const bool kWordToByte = add({.name = "16 bit to 8 bit, scaled",
                              .sourceType = PIX_WORD,
                              .bytesMoved = 3,
                              .target = 0.75,
                              .peerName = "opencv convertTo 16S-8U(1/16)",
                              .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
                              .peer = [](Scene& s) { s.peerA.convertTo(s.peerDest, CV_8U, 1.0 / 16); },
                              .setUp = fullRange});

const bool kColorToGrey =
    add({.name = "colour to grey",
         .sourceType = PIX_BGR24,
         .bytesMoved = 4,
         .target = 0.6,
         .peerName = "opencv cvtColor BGR2GRAY",
         .ours = [](Scene& s) { I_ImageCopy(s.a, s.dest); },
         .peer = [](Scene& s) { cv::cvtColor(s.peerA, s.peerDest, cv::COLOR_BGR2GRAY); }});

} // namespace
} // namespace vexa::bench
