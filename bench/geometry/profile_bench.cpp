#include <vector>

#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/profile.h"

namespace vexa::bench
{
namespace
{

void windowSums(Scene& s)
{
    static std::vector<uint32_t> columns(8192);
    static std::vector<uint32_t> rows(8192);
    I_GetWindowProfiles(0, 0, s.peerA.cols, s.peerA.rows, s.a, columns.data(), rows.data());
}

void peerSums(Scene& s)
{
    static cv::Mat columns;
    static cv::Mat rows;
    cv::reduce(s.peerA, columns, 0, cv::REDUCE_SUM, CV_32S);
    cv::reduce(s.peerA, rows, 1, cv::REDUCE_SUM, CV_32S);
}

// 512 slanted lines of 512 samples, as floats.
void slantedLines(Scene& s)
{
    static std::vector<float> line(512);
    for (int32_t i = 0; i < 512; ++i) {
        const auto y = static_cast<float>(i) + 0.3F;
        I_GetProfileType(0.5F, y, 510.5F, 511.0F - y, 1.0F, line.data(), 512, s.a, PIX_FLOAT);
    }
}

void peerLines(Scene& s)
{
    static cv::Mat line;
    static cv::Mat mapX(1, 511, CV_32FC1);
    static cv::Mat mapY(1, 511, CV_32FC1);
    for (int32_t i = 0; i < 512; ++i) {
        const float y0 = static_cast<float>(i) + 0.3F;
        const float y1 = 511.0F - y0;
        for (int32_t k = 0; k < 511; ++k) {
            mapX.at<float>(0, k) = 0.5F + static_cast<float>(k);
            mapY.at<float>(0, k) = y0 + (y1 - y0) * static_cast<float>(k) / 510.0F;
        }
        cv::remap(s.peerA, line, mapX, mapY, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    }
}

Case sumsCase(int32_t size, double target)
{
    return {.name = "column and row sums",
            .size = size,
            .bytesMoved = 1,
            .target = target,
            .peerName = "opencv reduce SUM, both ways",
            .ours = windowSums,
            .peer = peerSums};
}

const bool kSums = add(sumsCase(2048, 0.15));
const bool kSmallSums = add(sumsCase(512, 0));
const bool kLines = add({.name = "profile along 512 slanted lines",
                         .size = 512,
                         .bytesMoved = 1,
                         .peerName = "opencv remap",
                         .ours = slantedLines,
                         .peer = peerLines});

} // namespace
} // namespace vexa::bench
