// Whole images against the peer's alignment by phase.
#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"
#include "vexalib/align1d.h"
#include "vexalib/smart_align.h"

namespace vexa::bench
{
namespace
{

constexpr int32_t kRange = 20;
constexpr const char* kPeerName = "opencv phaseCorrelate";

// Two sights of one field of rectangles, behind a lens; the peer gets them, one below the other, in the type
// that it works on.
void photograph(Scene& s)
{
    constexpr double kMoveX = 5.3, kMoveY = -3.7;
    cv::Mat field(s.peerA.size() + cv::Size(64, 64), CV_8UC1, cv::Scalar(40));
    cv::RNG random(11);
    for (int i = 0; i < 400; ++i)
        cv::rectangle(field,
                      cv::Rect(random.uniform(0, field.cols), random.uniform(0, field.rows),
                               random.uniform(8, 40), random.uniform(8, 40)),
                      cv::Scalar(random.uniform(0, 2) ? 40 : 220), cv::FILLED);
    cv::GaussianBlur(field, field, {9, 9}, 1.4);
    const auto sight = [&](double x, double y) {
        const cv::Matx23d map(1, 0, x, 0, 1, y);
        cv::Mat picture;
        cv::warpAffine(field, picture, map, s.peerA.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP);
        return picture;
    };
    s.peerA = sight(32.0, 32.0);
    s.peerB = sight(32.0 + kMoveX, 32.0 + kMoveY);
    cv::vconcat(s.peerA, s.peerB, s.peerDest);
    s.peerDest.convertTo(s.peerDest, CV_32F);
}

void correlatePhase(Scene& s)
{
    const int half = s.peerA.rows;
    cv::phaseCorrelate(s.peerDest.rowRange(0, half), s.peerDest.rowRange(half, 2 * half));
}

const bool kProfiles =
    add({.name = "align by profiles, range 20",
         .size = 512,
         .bytesMoved = 2,
         .target = 0.10,
         .peerName = kPeerName,
         .ours =
             [](Scene& s) {
                 float dx = 0.0F, dy = 0.0F, qualityX, qualityY;
                 I_ImageAlign1D(s.b, s.a, 0, 0, 0, 0, kRange, kRange, &dx, &dy, &qualityX, &qualityY);
             },
         .peer = correlatePhase,
         .setUp = photograph});

const bool kSmart =
    add({.name = "align smartly, range 20",
         .size = 512,
         .bytesMoved = 2,
         .target = 0.10,
         .peerName = kPeerName,
         .ours =
             [](Scene& s) {
                 float dx = 0.0F, dy = 0.0F, qualityX, qualityY;
                 I_SmartAlign(s.b, s.a, nullptr, nullptr, kRange, &dx, &dy, &qualityX, &qualityY);
             },
         .peer = correlatePhase,
         .setUp = photograph});

} // namespace
} // namespace vexa::bench
