#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/search.h"

namespace vexa::bench
{
namespace
{

constexpr int32_t kSide = 64;
constexpr int32_t kAt = 200;

void smooth(Scene& s)
{
    cv::GaussianBlur(s.peerA, s.peerA, {9, 9}, 2.0);
    cv::normalize(s.peerA, s.peerA, 0, 255, cv::NORM_MINMAX);
    for (int32_t y = 0; y < s.peerA.rows; ++y)
        I_PutBlockType(0, y, s.peerA.cols, 1, s.peerA.ptr(y), s.a, PIX_BYTE);
}

void searchWindow(Scene& s, int32_t levels)
{
    VexaBox pattern = {kAt, kAt, kAt + kSide - 1, kAt + kSide - 1};
    float x, y, quality;
    I_WindowSearch(&pattern, s.a, nullptr, s.a, levels, &x, &y, &quality, 1);
}

const bool kExhaustive = add({.name = "match 64x64, exhaustive",
                              .size = 512,
                              .bytesMoved = 1,
                              .target = 0.85,
                              .peerName = "opencv matchTemplate SQDIFF",
                              .ours = [](Scene& s) { searchWindow(s, 1); },
                              .peer =
                                  [](Scene& s) {
                                      cv::matchTemplate(s.peerA, s.peerA(cv::Rect(kAt, kAt, kSide, kSide)),
                                                        s.peerDest, cv::TM_SQDIFF);
                                      cv::minMaxLoc(s.peerDest, nullptr, nullptr, nullptr, nullptr);
                                  },
                              .setUp = smooth});

// The peer finds the pattern on the coarsest level and follows it down in windows of five by five positions.
void searchPyramid(Scene& s)
{
    cv::Mat area[4] = {s.peerA}, pattern[4] = {s.peerA(cv::Rect(kAt, kAt, kSide, kSide))};
    for (int32_t k = 1; k < 4; ++k) {
        cv::resize(area[k - 1], area[k], {}, 0.5, 0.5, cv::INTER_AREA);
        cv::resize(pattern[k - 1], pattern[k], {}, 0.5, 0.5, cv::INTER_AREA);
    }
    cv::Point best;
    for (int32_t k = 3; k >= 0; --k) {
        cv::Rect where(0, 0, area[k].cols, area[k].rows);
        if (k < 3)
            where &= cv::Rect(2 * best.x - 2, 2 * best.y - 2, pattern[k].cols + 4, pattern[k].rows + 4);
        cv::matchTemplate(area[k](where), pattern[k], s.peerDest, cv::TM_SQDIFF);
        cv::minMaxLoc(s.peerDest, nullptr, nullptr, &best, nullptr);
        best += where.tl();
    }
}

const bool kPyramid = add({.name = "match 64x64, pyramid of 4",
                           .size = 512,
                           .bytesMoved = 1,
                           .target = 0.40,
                           .peerName = "opencv resize AREA, matchTemplate",
                           .ours = [](Scene& s) { searchWindow(s, 4); },
                           .peer = searchPyramid,
                           .setUp = smooth});

} // namespace
} // namespace vexa::bench
