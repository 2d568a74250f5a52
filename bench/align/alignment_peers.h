// A well-known library's ways to find the shift between two pictures.
#ifndef VEXA_BENCH_ALIGN_ALIGNMENT_PEERS_H
#define VEXA_BENCH_ALIGN_ALIGNMENT_PEERS_H

#include <opencv2/core.hpp>

namespace vexa::bench
{

// The defect picture at x shows what the reference shows at x + shift; both are CV_8UC1.
//
// The middle of the defect picture, looked for in the reference by normalised correlation, with a parabola through the best
// score and its neighbours on each axis.
cv::Point2d matchedShift(const cv::Mat& reference, const cv::Mat& defect, int reach);
// Maximisation of the correlation coefficient, from the whole pixel nearest to a start.
cv::Point2d eccShift(const cv::Mat& reference, const cv::Mat& defect, cv::Point2d start);
// Phase correlation behind a Hanning window.
cv::Point2d phaseShift(const cv::Mat& reference, const cv::Mat& defect);

} // namespace vexa::bench

#endif
