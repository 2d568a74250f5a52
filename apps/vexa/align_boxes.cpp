#include "align_boxes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "vexalib/vexalib.h"

namespace app
{
namespace
{

constexpr int64_t kSamples = 1 << 20;   // pixels looked at, about
constexpr double kBeyondNoise = 8.0;    // standard deviations that make an edge
constexpr double kLeastStructure = 0.2; // mean square of steps over two pixels, in grey levels

// Sums over steps across two pixels. Products of two steps side by side know no noise: that of one has nothing to do with
// that of the other.
struct StepSums {
    double alongX = 0.0, alongY = 0.0;     // products of neighbours
    double squaresX = 0.0, squaresY = 0.0; // of single steps
    int64_t count = 0;

    void add(const StepSums& other)
    {
        alongX += other.alongX;
        alongY += other.alongY;
        squaresX += other.squaresX;
        squaresY += other.squaresY;
        count += other.count;
    }
};

// Rows y - 1 to y + 2 over columns from left - 1 to left + n + 1.
StepSums rowSteps(const GreyRows& picture, int32_t left, int32_t y, int32_t n)
{
    const uint8_t* above = picture[y - 1] + left;
    const uint8_t* here = picture[y] + left;
    const uint8_t* below = picture[y + 1] + left;
    constexpr int32_t kPart = 512; // its sums fit 32 bits
    StepSums sums;
    for (int32_t from = 0; from < n; from += kPart) {
        int32_t alongX = 0, alongY = 0, squaresX = 0, squaresY = 0;
        for (int32_t x = from; x < std::min(from + kPart, n); ++x) {
            const auto stepX = static_cast<int16_t>(here[x + 1] - here[x - 1]);
            const auto nextX = static_cast<int16_t>(below[x + 1] - below[x - 1]);
            const auto stepY = static_cast<int16_t>(below[x] - above[x]);
            const auto nextY = static_cast<int16_t>(below[x + 1] - above[x + 1]);
            alongX += stepX * nextX;
            alongY += stepY * nextY;
            squaresX += stepX * stepX;
            squaresY += stepY * stepY;
        }
        sums.add({static_cast<double>(alongX), static_cast<double>(alongY), static_cast<double>(squaresX),
                  static_cast<double>(squaresY), std::min(kPart, n - from)});
    }
    return sums;
}

bool isFlat(double products, double squares, int64_t count)
{
    const auto n = static_cast<double>(count);
    const double noise = std::max(squares - products, 0.0) / n;
    return products < kBeyondNoise * std::sqrt(n) * noise || products < kLeastStructure * n;
}

struct Cell {
    VexaBox box;
    Structure structure;
    int32_t sector; // of the region
    bool isTaken = false;
};

// The region in three by three parts. Boxes come from all of them in turn: where the pictures are turned against each other
// or distorted, the shift is that of the middle.
class Sectors
{
public:
    static int32_t of(int32_t i, int32_t across, int32_t j, int32_t down)
    {
        return j * kSide / down * kSide + i * kSide / across;
    }

    // Of the sectors that gave least boxes so far, the cell that adds most to the direction that has least so far.
    Cell* next(std::vector<Cell>& cells, const Structure& sum)
    {
        const double Structure::*const wanted = sum.x <= sum.y ? &Structure::x : &Structure::y;
        const auto isBetter = [&](const Cell& cell, const Cell& other) {
            const int32_t given = given_[index(cell)], otherGiven = given_[index(other)];
            return given != otherGiven ? given < otherGiven
                                       : cell.structure.*wanted > other.structure.*wanted;
        };
        Cell* best = nullptr;
        for (Cell& cell : cells)
            if (!cell.isTaken && (!best || isBetter(cell, *best)))
                best = &cell;
        if (best)
            ++given_[index(*best)];
        return best;
    }

private:
    static constexpr int32_t kSide = 3;
    static std::size_t index(const Cell& cell) { return static_cast<std::size_t>(cell.sector); }

    std::array<int32_t, kSide* kSide> given_ = {};
};

} // namespace

GreyRows::GreyRows(const Image& image) : cols_(image.cols()), rows_(image.rows())
{
    table_.resize(static_cast<std::size_t>(rows_));
    if (void** const rows = I_ImGet2DPtr(nullptr, nullptr, image.number(), PIX_BYTE)) {
        for (int32_t y = 0; y < rows_; ++y)
            table_[static_cast<std::size_t>(y)] = static_cast<const uint8_t*>(rows[y]);
        return;
    }
    copy_ = image.read();
    for (int32_t y = 0; y < rows_; ++y)
        table_[static_cast<std::size_t>(y)] = copy_.row(y);
}

Pixels cut(const GreyRows& picture, const VexaBox& box)
{
    Pixels part(box.right - box.left + 1, box.bottom - box.top + 1, 1);
    for (int32_t y = 0; y < part.rows; ++y)
        std::copy_n(picture[box.top + y] + box.left, part.cols, part.row(y));
    return part;
}

int64_t pixelsOf(const std::vector<VexaBox>& boxes)
{
    int64_t sum = 0;
    for (const VexaBox& box : boxes)
        sum += int64_t{box.right - box.left + 1} * (box.bottom - box.top + 1);
    return sum;
}

MeasuringBoxes chooseBoxes(const GreyRows& picture, const VexaBox& region, int64_t mostPixels)
{
    const int32_t width = region.right - region.left + 1, height = region.bottom - region.top + 1;
    MeasuringBoxes chosen;
    if (width < 1 || height < 1)
        return chosen;
    const int32_t across = std::max(width / kLeastBoxSide, 1), down = std::max(height / kLeastBoxSide, 1);
    const auto stride = static_cast<int32_t>(std::max<int64_t>(int64_t{width} * height / kSamples, 1));
    std::vector<Cell> cells;
    StepSums all;
    for (int32_t j = 0; j < down; ++j)
        for (int32_t i = 0; i < across; ++i) {
            const VexaBox box = {region.left + i * width / across, region.top + j * height / down,
                                 region.left + (i + 1) * width / across - 1,
                                 region.top + (j + 1) * height / down - 1};
            // Steps reach a pixel beyond each, and two beyond the last.
            const int32_t left = std::max(box.left, 1), right = std::min(box.right, picture.cols() - 3);
            const int32_t top = std::max(box.top, 1), bottom = std::min(box.bottom, picture.rows() - 2);
            StepSums sums;
            for (int32_t y = top; y <= bottom && left <= right; y += stride)
                sums.add(rowSteps(picture, left, y, right - left + 1));
            all.add(sums);
            cells.push_back({box,
                             {std::max(sums.alongX, 0.0), std::max(sums.alongY, 0.0)},
                             Sectors::of(i, across, j, down)});
        }
    if (all.count > 0) {
        chosen.isFlatX = isFlat(all.alongX, all.squaresX, all.count);
        chosen.isFlatY = isFlat(all.alongY, all.squaresY, all.count);
    }
    Structure sum;
    Sectors sectors;
    for (Cell* cell = sectors.next(cells, sum); cell; cell = sectors.next(cells, sum)) {
        cell->isTaken = true;
        chosen.boxes.push_back(cell->box);
        sum.x += cell->structure.x;
        sum.y += cell->structure.y;
        if (pixelsOf(chosen.boxes) >= mostPixels)
            break;
    }
    return chosen;
}

} // namespace app
