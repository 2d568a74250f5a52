// Images for tests: made from literals or a function, read back pixel by pixel, closed at the end of the test.
#ifndef VEXA_TESTS_SUPPORT_TEST_IMAGES_H
#define VEXA_TESTS_SUPPORT_TEST_IMAGES_H

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <random>
#include <vector>

#include "vexalib/vexalib.h"

namespace vexa::test
{

using PixelFunction = std::function<double(int32_t x, int32_t y)>;

// An image of a type, each pixel from the function (all zero without one).
int32_t image(int32_t cols, int32_t rows, int32_t type, const PixelFunction& pixel = {});
int32_t byteImage(std::initializer_list<std::initializer_list<int32_t>> rows);
int32_t byteImage(int32_t cols, int32_t rows, const PixelFunction& pixel = {});
int32_t wordImage(int32_t cols, int32_t rows, const PixelFunction& pixel = {});
int32_t floatImage(int32_t cols, int32_t rows, const PixelFunction& pixel = {});
// A byte image of noise that is the same for the same seed.
int32_t noiseImage(int32_t cols, int32_t rows, uint32_t seed);

// One pixel of an image of a numeric type, as it is stored (words signed), without the library's conversions.
double pixel(int32_t im, int32_t x, int32_t y);
// One row of an image, by storage row.
std::vector<double> rowOf(int32_t im, int32_t y);
// All bytes of the pixels of an image, row by row, without what pads the rows.
std::vector<uint8_t> bytesOf(int32_t im);
void closeImages(std::initializer_list<int32_t> images);

} // namespace vexa::test

#endif
