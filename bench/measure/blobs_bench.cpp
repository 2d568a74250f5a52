#include <opencv2/imgproc.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

// Smoothed noise, cut where the wanted share of pixels is above: blobs of natural shape.
void blobScene(Scene& s, double share)
{
    cv::Mat noise(s.peerA.size(), CV_32FC1);
    cv::RNG random(7);
    random.fill(noise, cv::RNG::NORMAL, 0, 1);
    cv::GaussianBlur(noise, noise, cv::Size(), 3.0);
    cv::Mat sorted = noise.reshape(1, 1).clone();
    cv::sort(sorted, sorted, cv::SORT_EVERY_ROW | cv::SORT_DESCENDING);
    const float cut = sorted.at<float>(0, static_cast<int>(share * (sorted.cols - 1)));
    cv::Mat mask = noise > cut;
    mask.copyTo(s.peerA);
}

void speckleScene(Scene& s)
{
    cv::Mat mask = s.peerA > 127;
    mask.copyTo(s.peerA);
}

void peerLabels(Scene& s)
{
    static cv::Mat stats;
    static cv::Mat centroids;
    cv::connectedComponentsWithStats(s.peerA, s.peerDest, stats, centroids, 8, CV_32S);
}

void label(Scene& s)
{
    I_FindBlobs(nullptr, s.a, s.dest);
}

void tableOnly(Scene& s)
{
    I_FindBlobs(nullptr, s.a, 0);
}

Case labelCase(const char* name, double share, double target, bool labels)
{
    return {.name = name,
            .destType = PIX_DWORD,
            .bytesMoved = labels ? 5.0 : 1.0,
            .target = target,
            .peerName = "opencv connectedComponentsWithStats",
            .ours =
                [labels](Scene& s) {
                    I_SetBlobTableSize(60000);
                    labels ? label(s) : tableOnly(s);
                },
            .peer = peerLabels,
            .setUp = [share](Scene& s) { blobScene(s, share); }};
}

const bool kSparse = add(labelCase("label, 5% blobs", 0.05, 0.20, true));
const bool kQuarter = add(labelCase("label, 25% blobs", 0.25, 0.30, true));
const bool kHalf = add(labelCase("label, 50% blobs", 0.50, 0.33, true));
const bool kQuarterTable = add(labelCase("label, 25% blobs, table only", 0.25, 0.20, false));
const bool kFewTable = add(labelCase("label, 0.1% blobs, table only", 0.001, 0.03, false));
const bool kSpeckle = add({.name = "label, 50% speckle",
                           .size = 512,
                           .destType = PIX_DWORD,
                           .bytesMoved = 5,
                           .target = 0.75,
                           .peerName = "opencv connectedComponentsWithStats",
                           .ours =
                               [](Scene& s) {
                                   I_SetBlobTableSize(60000);
                                   label(s);
                               },
                           .peer = peerLabels,
                           .setUp = speckleScene});

} // namespace
} // namespace vexa::bench
