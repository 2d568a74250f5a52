#include "align/corr_peaks.h"

#include <algorithm>

#include "vexalib/numeric.h"

namespace vexa
{
namespace
{

constexpr float kNoPeak = -2.0F;
constexpr int32_t kTriangle = 1;

// Cells of one height that follow each other: their middle stands for the peak.
struct Plateau {
    int32_t count = 0;
    int64_t sumX = 0, sumY = 0;
    int32_t left = 0, right = 0, top = 0, bottom = 0;

    static Plateau at(int32_t x, int32_t y) { return {0, 0, 0, x, x, y, y}; }
    void add(int32_t x, int32_t y)
    {
        ++count;
        sumX += x;
        sumY += y;
        left = std::min(left, x);
        right = std::max(right, x);
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
};

struct Vertex {
    float x, y, value;
};

// The peak between cells: a triangle in each of three rows, one through their tops, leaning with the rows.
Vertex interpolate(const float* cell, int32_t cols, int32_t x, int32_t y)
{
    const auto across = [](const float* center, float& peak) {
        return I_FindPeak(center[-1], center[0], center[1], &peak, kTriangle);
    };
    float above = 0.0F, middle = 0.0F, below = 0.0F, value = 0.0F;
    const float dxMiddle = across(cell, middle);
    const float dxAbove = across(cell - cols, above);
    const float dxBelow = across(cell + cols, below);
    const float dy = I_FindPeak(above, middle, below, &value, kTriangle);
    const float lean = dy >= 0.0F ? dxBelow - dxMiddle : dxMiddle - dxAbove;
    return {static_cast<float>(x) + dxMiddle + lean * dy, static_cast<float>(y) + dy, value};
}

class PeakSearch
{
public:
    PeakSearch(const float* surface, int32_t cols, int32_t rows, CorrPeak* list, int32_t capacity)
        : surface_(surface), cols_(cols), rows_(rows), list_(list), capacity_(capacity)
    {
    }

    void run()
    {
        list_[0].value = kNoPeak;
        for (int32_t y = 0; y < rows_; ++y) {
            const bool isInnerRow = y >= 1 && y < rows_ - 1;
            for (int32_t x = 0; x < cols_; ++x) {
                const bool isInnerColumn = x >= 1 && x < cols_ - 1;
                if (isInnerRow && isInnerColumn)
                    visitInner(x, y);
                else if (isInnerRow)
                    visitEdge(x, y, cols_, x == 0 ? 1 : -1);
                else if (isInnerColumn)
                    visitEdge(x, y, 1, y == 0 ? cols_ : -cols_);
            }
        }
        if (plateau_.count < 2)
            return;
        if (plateau_.left != plateau_.right)
            list_[0].levelX = static_cast<float>(plateau_.sumX) / static_cast<float>(plateau_.count);
        if (plateau_.top != plateau_.bottom)
            list_[0].levelY = static_cast<float>(plateau_.sumY) / static_cast<float>(plateau_.count);
    }

private:
    const float* cellAt(int32_t x, int32_t y) const { return surface_ + int64_t{y} * cols_ + x; }

    void visitInner(int32_t x, int32_t y)
    {
        const float* cell = cellAt(x, y);
        const float c = *cell;
        const float* up = cell - cols_;
        const float* down = cell + cols_;
        if (cell[-1] > c || cell[1] > c || up[0] > c || down[0] > c || up[-1] > c || up[1] > c ||
            down[-1] > c || down[1] > c)
            return;
        const Vertex vertex = interpolate(cell, cols_, x, y);
        const float leastTied = std::max(list_[0].value * 0.5F, 0.0F);
        const bool isTied = !(c < leastTied) && (cell[-1] == c || up[0] == c);
        if (!isTied || !(list_[0].value >= vertex.value)) {
            const int32_t index = insertCorrPeak(list_, capacity_, vertex.value, vertex.x, vertex.y);
            if (index != 0 || !isTied)
                plateau_ = Plateau::at(x, y);
        }
        plateau_.add(x, y);
    }

    // The cell is higher than its neighbours along the border, at distance along, and the one inward.
    void visitEdge(int32_t x, int32_t y, int32_t along, int32_t inward)
    {
        const float* cell = cellAt(x, y);
        if (cell[-along] < *cell && cell[along] < *cell && cell[inward] < *cell)
            insertCorrPeak(list_, capacity_, *cell, static_cast<float>(x), static_cast<float>(y));
    }

    const float* surface_;
    int32_t cols_;
    int32_t rows_;
    CorrPeak* list_;
    int32_t capacity_;
    Plateau plateau_;
};

} // namespace

int32_t insertCorrPeak(CorrPeak* list, int32_t capacity, float value, float x, float y)
{
    CorrPeak* end = list + capacity;
    CorrPeak* place = std::find_if(list, end, [value](const CorrPeak& peak) { return peak.value < value; });
    if (place == end)
        return 0;
    std::move_backward(place, end - 1, end);
    place->value = value;
    place->levelX = x;
    place->levelY = y;
    return static_cast<int32_t>(place - list);
}

void findCorrPeaks(const float* surface, int32_t cols, int32_t rows, CorrPeak* list, int32_t capacity)
{
    PeakSearch(surface, cols, rows, list, capacity).run();
}

} // namespace vexa
