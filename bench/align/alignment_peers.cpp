#include "bench/align/alignment_peers.h"

#include <cmath>

#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>

namespace vexa::bench
{
namespace
{

double parabolaTip(double before, double here, double after)
{
    const double curvature = before - 2.0 * here + after;
    return curvature < 0.0 ? (before - after) / (2.0 * curvature) : 0.0;
}

} // namespace

cv::Point2d matchedShift(const cv::Mat& reference, const cv::Mat& defect, int reach)
{
    const cv::Rect middle(reach, reach, defect.cols - 2 * reach, defect.rows - 2 * reach);
    cv::Mat scores;
    cv::matchTemplate(reference, defect(middle), scores, cv::TM_CCOEFF_NORMED);
    cv::Point best;
    cv::minMaxLoc(scores, nullptr, nullptr, nullptr, &best);
    const auto at = [&](int x, int y) {
        return static_cast<double>(
            scores.at<float>(std::clamp(y, 0, scores.rows - 1), std::clamp(x, 0, scores.cols - 1)));
    };
    const double here = at(best.x, best.y);
    return {best.x - reach + parabolaTip(at(best.x - 1, best.y), here, at(best.x + 1, best.y)),
            best.y - reach + parabolaTip(at(best.x, best.y - 1), here, at(best.x, best.y + 1))};
}

cv::Point2d eccShift(const cv::Mat& reference, const cv::Mat& defect, cv::Point2d start)
{
    cv::Mat map = (cv::Mat_<float>(2, 3) << 1, 0, std::round(start.x), 0, 1, std::round(start.y));
    const cv::TermCriteria until(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 50, 1e-6);
    try {
        cv::findTransformECC(defect, reference, map, cv::MOTION_TRANSLATION, until, cv::noArray(), 5);
    } catch (const cv::Exception&) {
        return {NAN, NAN}; // it did not converge
    }
    return {static_cast<double>(map.at<float>(0, 2)), static_cast<double>(map.at<float>(1, 2))};
}

cv::Point2d phaseShift(const cv::Mat& reference, const cv::Mat& defect)
{
    cv::Mat a, b, window;
    defect.convertTo(a, CV_64F);
    reference.convertTo(b, CV_64F);
    cv::createHanningWindow(window, a.size(), CV_64F);
    return cv::phaseCorrelate(a, b, window);
}

} // namespace vexa::bench
