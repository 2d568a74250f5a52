#include "vexalib/calibration.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "acquire/calibration.h"
#include "support/numbers.h"
#include "support/read_number.h"

namespace vexa
{
namespace
{

constexpr int32_t kEntries = 257;
constexpr int32_t kMostPoints = 256;
constexpr int32_t kLineBytes = 80;
// The last interval that values are read from. Entry 256 is filled, and not read.
constexpr int32_t kLastInterval = 254;

struct Points {
    std::array<int32_t, kMostPoints> greyValues;
    std::array<float, kMostPoints> intensities;
    int32_t count = 0;
};

struct State {
    std::array<float, kEntries> table = {};
    std::array<char, kLineBytes> unit = {};
    bool loaded = false;
};
constinit State state;

// "%f %f": two numbers, whatever follows them.
bool readPoint(const char* line, float& greyValue, float& intensity)
{
    const char* const behind = readNumber(line, greyValue);
    return behind && readNumber(behind, intensity);
}

// The first word of a line; a line without one leaves the unit as it is.
void readUnit(const char* line)
{
    constexpr const char* kBlanks = " \t\r\n\v\f";
    line += std::strspn(line, kBlanks);
    const std::size_t length = std::strcspn(line, kBlanks);
    if (length == 0)
        return;
    std::memcpy(state.unit.data(), line, length); // a line is no longer than the unit may be
    state.unit[length] = '\0';
}

Points readPoints(std::FILE* file)
{
    Points points;
    char line[kLineBytes];
    while (std::fgets(line, kLineBytes, file)) {
        if (line[0] == ';')
            continue;
        float greyValue = 0.0F;
        float intensity = 0.0F;
        if (!readPoint(line, greyValue, intensity)) {
            if (points.count == 0)
                readUnit(line);
            continue;
        }
        if (points.count == kMostPoints)
            break;
        const auto at = static_cast<std::size_t>(points.count++);
        points.greyValues[at] = truncToInt32(greyValue);
        points.intensities[at] = intensity;
    }
    return points;
}

double slope(const int32_t* x, const float* y, int32_t k)
{
    const double width = static_cast<double>(x[k]) - x[k - 1];
    return width == 0.0 ? 0.0 : (double{y[k]} - y[k - 1]) / width;
}

void fill(const int32_t* x, const float* y, int32_t count)
{
    std::array<float, kEntries>& table = state.table;
    int32_t next = 0;
    const double first = slope(x, y, 1);
    for (; next < std::min(x[0], kEntries); ++next)
        table[static_cast<std::size_t>(next)] = static_cast<float>(next * first + (y[0] - x[0] * first));
    for (int32_t k = 1; k < count; ++k) {
        const double s = slope(x, y, k);
        const int32_t end = k + 1 < count ? std::min(x[k], kEntries) : kEntries;
        for (; next < end; ++next)
            table[static_cast<std::size_t>(next)] =
                static_cast<float>((static_cast<double>(next) - x[k]) * s + y[k]);
    }
    for (int32_t k = 0; k < count; ++k)
        if (x[k] >= 0 && x[k] < kEntries)
            table[static_cast<std::size_t>(x[k])] = y[k];
}

std::array<float, kEntries>& loadedTable()
{
    if (!state.loaded)
        reloadCalibration();
    return state.table;
}

// The line through entries i and i + 1 of a table.
template <typename Value>
double onLine(const Value* table, int32_t i, double x)
{
    const double start = table[i];
    return start + (x - i) * (table[i + 1] - start);
}

double calibrated(const float* table, double greyValue)
{
    // In this order, so that no number at all is no index.
    if (greyValue >= kLastInterval + 1)
        return onLine(table, kLastInterval, greyValue);
    return onLine(table, greyValue >= 0.0 ? static_cast<int32_t>(greyValue) : 0, greyValue);
}

} // namespace

const char* calibrationUnit()
{
    loadedTable();
    return state.unit.data();
}

void reloadCalibration(const char* fileName)
{
    state.loaded = true;
    state.unit[0] = '\0';
    for (int32_t i = 0; i < kEntries; ++i)
        state.table[static_cast<std::size_t>(i)] = static_cast<float>(i);
    std::FILE* const file = std::fopen(fileName, "r");
    if (!file)
        return;
    const Points points = readPoints(file);
    std::fclose(file);
    if (points.count >= 2)
        fill(points.greyValues.data(), points.intensities.data(), points.count);
}

} // namespace vexa

using namespace vexa;

float* geticaltable(void)
{
    return loadedTable().data();
}

float* fillicaltable(const int32_t* greyValues, const float* intensities, int32_t count)
{
    float* const table = geticaltable();
    if (greyValues && intensities && count >= 2)
        fill(greyValues, intensities, count);
    return table;
}

double intensitycal(double greyValue)
{
    return calibrated(geticaltable(), greyValue);
}

double intensityuncal(double intensity)
{
    const float* const table = geticaltable();
    for (int32_t i = 0; i <= kLastInterval; ++i) {
        const double step = double{table[i + 1]} - table[i];
        const double rise = intensity - table[i];
        if (rise * step <= 0.0 || std::abs(rise) <= std::abs(step))
            return step == 0.0 ? i : rise / step + i;
    }
    const double lastStep = double{table[kLastInterval + 1]} - table[kLastInterval];
    return (intensity - table[kLastInterval]) / lastStep + kLastInterval;
}

void intensitycalrow(const uint8_t* bytes, double* out, int32_t count)
{
    const float* const table = geticaltable();
    if (!bytes || !out)
        return;
    for (int32_t i = 0; i < count; ++i) {
        // Required: the byte has a sign. Below the table's first entry its line continues.
        const auto greyValue = static_cast<int8_t>(bytes[i]);
        out[i] = greyValue >= 0 ? table[greyValue] : calibrated(table, greyValue);
    }
}

void intensitycalfrow(const float* in, double* out, int32_t count)
{
    const float* const table = geticaltable();
    if (!in || !out)
        return;
    for (int32_t i = 0; i < count; ++i)
        out[i] = calibrated(table, double{in[i]});
}

double Interpolate(const double* a, int32_t n, double x)
{
    if (!a || n < 1)
        return 0.0;
    if (n == 1)
        return a[0];
    const int32_t last = n - 2;
    if (x >= last)
        return onLine(a, last, x);
    return onLine(a, x >= 0.0 ? static_cast<int32_t>(x) : 0, x);
}
