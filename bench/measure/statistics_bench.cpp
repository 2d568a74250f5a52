#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

void peerHistogram(Scene& s)
{
    const int bins = 256;
    const float range[] = {0, 256};
    const float* ranges = range;
    const int channel = 0;
    cv::Mat histogram;
    cv::calcHist(&s.peerA, 1, &channel, cv::Mat(), histogram, 1, &bins, &ranges);
}

void peerStats(Scene& s)
{
    cv::Scalar mean;
    cv::Scalar deviation;
    double low = 0;
    double high = 0;
    cv::meanStdDev(s.peerA, mean, deviation);
    cv::minMaxLoc(s.peerA, &low, &high);
}

void histogram(Scene& s)
{
    uint32_t bins[256];
    I_CalcHist(bins, s.a);
}

void pixelStats(Scene& s)
{
    float low = 0;
    float high = 0;
    float mean = 0;
    float deviation = 0;
    I_PixelStats(s.a, &low, &high, &mean, &deviation);
}

const bool kHistogram = add({.name = "histogram",
                             .bytesMoved = 1,
                             .target = 0.9,
                             .peerName = "opencv calcHist",
                             .ours = histogram,
                             .peer = peerHistogram});

const bool kFlatHistogram = add({.name = "histogram, constant image",
                                 .bytesMoved = 1,
                                 .target = 0.25,
                                 .peerName = "opencv calcHist",
                                 .ours = histogram,
                                 .peer = peerHistogram,
                                 .setUp = [](Scene& s) { s.peerA.setTo(128); }});

const bool kPixelStats = add({.name = "min, max, mean, deviation",
                              .bytesMoved = 1,
                              .target = 0.35,
                              .peerName = "opencv meanStdDev, minMaxLoc",
                              .ours = pixelStats,
                              .peer = peerStats});

const bool kFloatStats = add({.name = "min, max, mean, deviation, float",
                              .sourceType = PIX_FLOAT,
                              .bytesMoved = 4,
                              .target = 0.6,
                              .peerName = "opencv meanStdDev, minMaxLoc 32F",
                              .ours = pixelStats,
                              .peer = peerStats});

const bool kArrayStats = add({.name = "mean, deviation",
                              .bytesMoved = 1,
                              .target = 0.75,
                              .peerName = "opencv meanStdDev",
                              .ours =
                                  [](Scene& s) {
                                      double mean = 0;
                                      double deviation = 0;
                                      I_ArrayStatsType(s.peerA.data, static_cast<int32_t>(s.peerA.total()),
                                                       PIX_BYTE, &mean, &deviation, nullptr, nullptr);
                                  },
                              .peer =
                                  [](Scene& s) {
                                      cv::Scalar mean;
                                      cv::Scalar deviation;
                                      cv::meanStdDev(s.peerA, mean, deviation);
                                  }});

const bool kDiffStats = add({.name = "difference statistics",
                             .bytesMoved = 2,
                             .target = 0.1,
                             .peerName = "opencv norm INF, norm L1",
                             .ours =
                                 [](Scene& s) {
                                     float largest = 0;
                                     float sum = 0;
                                     I_DiffStats(s.a, s.b, &largest, &sum);
                                 },
                             .peer =
                                 [](Scene& s) {
                                     cv::norm(s.peerA, s.peerB, cv::NORM_INF);
                                     cv::norm(s.peerA, s.peerB, cv::NORM_L1);
                                 }});

} // namespace
} // namespace vexa::bench
