// Rotation beside a well-known library's: both turn the same picture, bilinearly, and away from the border no
// pixel may differ by more than two grey levels. Prints the largest and the mean difference per angle; exits
// with 1 beyond that.
#include <cmath>
#include <cstdio>
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "vexalib/rotate.h"
#include "vexalib/vexalib.h"

namespace
{

constexpr int kSide = 400;
constexpr int kBorder = 2;
constexpr double kMostLevels = 2.0;

// Random blots over the whole range of grey, none sharper than a lens would show them.
cv::Mat blots()
{
    cv::Mat picture(kSide, kSide, CV_8UC1);
    cv::RNG random(7);
    random.fill(picture, cv::RNG::UNIFORM, 0, 256);
    cv::GaussianBlur(picture, picture, {0, 0}, 3.0);
    cv::normalize(picture, picture, 0, 255, cv::NORM_MINMAX);
    return picture;
}

int32_t imageOf(const cv::Mat& picture)
{
    const int32_t im = I_ImOpen(picture.cols, picture.rows, PIX_BYTE);
    for (int32_t y = 0; y < picture.rows; ++y)
        I_PutBlockType(0, y, picture.cols, 1, picture.ptr(y), im, PIX_BYTE);
    return im;
}

struct Difference {
    double most = 0.0;
    double sum = 0.0;
    int pixels = 0;
};

// Pixels whose source lies inside the picture, with a margin.
Difference compare(const cv::Mat& picture, double degrees)
{
    const float middle = kSide / 2;
    const cv::Mat map = cv::getRotationMatrix2D({middle, middle}, degrees, 1.0);
    cv::Mat peer;
    cv::warpAffine(picture, peer, map, picture.size(), cv::INTER_LINEAR);
    cv::Mat inside;
    cv::Mat whole = cv::Mat::zeros(picture.size(), CV_8UC1);
    whole(cv::Rect(kBorder, kBorder, kSide - 2 * kBorder, kSide - 2 * kBorder)).setTo(255);
    cv::warpAffine(whole, inside, map, picture.size(), cv::INTER_LINEAR);
    const int32_t src = imageOf(picture);
    const int32_t dest = I_ImOpen(kSide, kSide, PIX_BYTE);
    I_RotateShift(kSide / 2, kSide / 2, degrees, 0, 0, 1, 1, src, dest);
    Difference difference;
    for (int32_t y = 0; y < kSide; ++y)
        for (int32_t x = 0; x < kSide; ++x)
            if (inside.at<uint8_t>(y, x) == 255) {
                const double levels = std::abs(I_GetPixByte(x, y, dest) - peer.at<uint8_t>(y, x));
                difference.most = std::max(difference.most, levels);
                difference.sum += levels;
                ++difference.pixels;
            }
    I_ImClose(src);
    I_ImClose(dest);
    return difference;
}

} // namespace

int main()
{
    const cv::Mat picture = blots();
    bool good = true;
    std::printf("degrees  largest  mean difference in grey levels\n");
    for (const double degrees : {0.0, 1.0, 10.0, 45.0, 90.0, -33.0, 170.0}) {
        const Difference difference = compare(picture, degrees);
        std::printf("%7.1f  %7.0f  %.3f of %d pixels\n", degrees, difference.most,
                    difference.sum / difference.pixels, difference.pixels);
        good = good && difference.pixels > kSide * kSide / 2 && difference.most <= kMostLevels;
    }
    return good ? 0 : 1;
}
