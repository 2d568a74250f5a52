#include "vexalib/dib_contrast.h"

#include <algorithm>
#include <cstring>

#include "core/display_state.h"
#include "core/image_table.h"
#include "core/roi.h"
#include "fileio/dib_parts.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/dib.h"
#include "vexalib/image.h"
#include "vexalib/lut.h"
#include "vexalib/statistics.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kEntries = 256;

// Three tables of 256 words, as palettes are handed over.
struct WordTables {
    int16_t red[kEntries];
    int16_t green[kEntries];
    int16_t blue[kEntries];
};

struct ByteTables {
    uint8_t red[kEntries];
    uint8_t green[kEntries];
    uint8_t blue[kEntries];
};

void* setTables(void* dib, const WordTables& tables)
{
    return SetDIBPalette(dib, tables.red, tables.green, tables.blue);
}

void* setIdentity(void* dib)
{
    return SetDIBPalette(dib, nullptr, nullptr, nullptr);
}

WordTables asWords(const ByteTables& bytes)
{
    WordTables words;
    std::copy_n(bytes.red, kEntries, words.red);
    std::copy_n(bytes.green, kEntries, words.green);
    std::copy_n(bytes.blue, kEntries, words.blue);
    return words;
}

// The low bytes of the words; null in place of any stands for the identity in all.
ByteTables asBytes(const int16_t* red, const int16_t* green, const int16_t* blue)
{
    ByteTables bytes;
    const bool given = red && green && blue;
    for (int32_t i = 0; i < kEntries; ++i) {
        bytes.red[i] = static_cast<uint8_t>(given ? red[i] : i);
        bytes.green[i] = static_cast<uint8_t>(given ? green[i] : i);
        bytes.blue[i] = static_cast<uint8_t>(given ? blue[i] : i);
    }
    return bytes;
}

// The current window as the rows of a bottom-up view count.
void turnWindow(int32_t view)
{
    if (I_GetROIType() != kRoiWindow)
        return;
    int32_t rows = 0;
    VexaBox window = {};
    I_ImGetSize(nullptr, &rows, nullptr, view);
    I_GetWindowROI(&window.left, &window.top, &window.right, &window.bottom);
    I_SetWindowROI(window.left, wrapSubtract(wrapSubtract(rows, window.bottom), 1), window.right,
                   wrapSubtract(wrapSubtract(rows, window.top), 1));
}

// The pixels of a DIB without a palette, inside the region.
void mapColors(void* dib, const ByteTables& tables)
{
    const ImageGuard view(CreateDIBImage(dib));
    if (view.get() == 0)
        return;
    const RoiGuard region;
    turnWindow(view.get());
    I_RGBLUTMap(view.get(), view.get(), tables.red, tables.green, tables.blue);
}

// True if the DIB is good and has a palette, which is then set.
bool setEntries(const LockedDib& dib, const ByteTables& tables)
{
    if (!dib.palette())
        return false;
    for (int32_t i = 0; i < dib.colors(); ++i) {
        PaletteEntry& entry = dib.palette()[i];
        entry = {tables.blue[i], tables.green[i], tables.red[i], entry.reserved};
    }
    return true;
}

// One colour's ramp from low to high.
void makeRamp(int32_t low, int32_t high, int16_t* table)
{
    constexpr int64_t kTop = 65280; // 255 in 8.8
    const int64_t step = kTop / (low == high ? 1 : int64_t{high} - low);
    for (int64_t i = 0; i < kEntries; ++i) {
        const int64_t level = (i - low) * step >> 8;
        table[i] = static_cast<int16_t>(level < 0 ? 0 : level >= kEntries ? 253 : level);
    }
    // Overlay colours at the top of the palette stay.
    table[254] = 254;
    table[255] = 255;
}

// The part of a picture that the region's box covers, or all of it.
VexaBox normalizedBox(int32_t view, int32_t cols, int32_t rows)
{
    VexaBox box = {};
    const bool found = I_ROIBoundingBox(&box.left, &box.top, &box.right, &box.bottom, view) != 0;
    const bool inside = box.left >= 0 && box.top >= 0 && box.right >= box.left && box.bottom >= box.top &&
                        box.right < cols - 2 && box.bottom < rows - 2;
    return found && inside ? box : VexaBox{0, 0, cols - 1, rows - 1};
}

// The histogram of a box, whose rows are counted from the end of memory.
void countBox(const LockedDib& dib, const VexaBox& box, uint32_t* histogram)
{
    std::fill_n(histogram, kEntries, 0U);
    for (int32_t row = dib.rows() - box.bottom - 1; row <= dib.rows() - box.top - 1; ++row)
        I_HistBuf(dib.memoryRow(row) + box.left, box.right - box.left + 1, histogram, 0);
}

// Widens a range of levels about its middle so that no gain exceeds the limit.
void limitGain(float limit, int32_t* low, int32_t* high)
{
    if (!(limit > 0.0F))
        return;
    const int32_t least = truncToInt32(255.0F / limit);
    const int64_t range = int64_t{*high} - *low;
    if (range >= least)
        return;
    *low = static_cast<int32_t>(std::max<int64_t>(*low - (least - range) / 2, 0));
    *high = saturateToInt32(int64_t{*low} + least);
}

// The levels between which an 8-bit DIB is shown; false for any other DIB.
bool findLevels(void* dib, int32_t* low, int32_t* high)
{
    const LockedDib locked(dib);
    if (!locked || locked.bits() != 8)
        return false;
    VexaBox box = {};
    {
        const ImageGuard view(CreateDIBImage(dib));
        if (view.get() == 0)
            return false;
        box = normalizedBox(view.get(), locked.cols(), locked.rows());
    }
    uint32_t histogram[kEntries];
    countBox(locked, box, histogram);
    I_NormHist(histogram, 2, 2, 1, low, high);
    if (I_GetDebug())
        vexa_dprintf("histrange=%d %d (%d)", *low, *high, *high - *low);
    return true;
}

void copyRow(const LockedDib& dib, const uint8_t* rows, int64_t from, int64_t to)
{
    if (from >= 0 && from < dib.rows() && to >= 0 && to < dib.rows())
        std::memcpy(dib.memoryRow(to), rows + from * dib.stride(), static_cast<std::size_t>(dib.stride()));
}

// The picture's last rows in memory are drawn out over its whole height, in two shifts.
void interlace(const LockedDib& dib, int32_t first, int32_t second)
{
    const auto bytes = static_cast<std::size_t>(dib.pixelBytes());
    Buffer<uint8_t> rows(dib.pixelBytes());
    if (malloctest(rows.data(), "InterlaceDIB"))
        return;
    std::memcpy(rows.data(), dib.memoryRow(0), bytes);
    std::memset(dib.memoryRow(0), 0, bytes);
    for (int64_t i = 0; i < dib.rows() - 1; i += 2) {
        const int64_t next = dib.rows() - i / 2 - 1;
        copyRow(dib, rows.data(), next - first, dib.rows() - 1 - i);
        copyRow(dib, rows.data(), next - second, dib.rows() - 2 - i);
    }
}

void moveOddRows(const LockedDib& dib)
{
    for (int64_t row = 1; row <= dib.rows() - 3; row += 2)
        std::memcpy(dib.memoryRow(row), dib.memoryRow(row + 2), static_cast<std::size_t>(dib.stride()));
}

} // namespace
} // namespace vexa

using namespace vexa;

int32_t GetDIBPalette(void* dib, int16_t* red, int16_t* green, int16_t* blue)
{
    const LockedDib locked(dib);
    const PaletteEntry* const palette = locked ? locked.palette() : nullptr;
    for (int32_t i = 0; i < (palette ? locked.colors() : kEntries); ++i) {
        const auto grey = static_cast<uint8_t>(255 * i >> 8);
        const PaletteEntry entry = palette ? palette[i] : PaletteEntry{grey, grey, grey, 0};
        if (red)
            red[i] = entry.red;
        if (green)
            green[i] = entry.green;
        if (blue)
            blue[i] = entry.blue;
    }
    return palette != nullptr;
}

void* SetDIBPalette(void* dib, const int16_t* red, const int16_t* green, const int16_t* blue)
{
    const ByteTables tables = asBytes(red, green, blue);
    {
        const LockedDib locked(dib);
        if (!locked || setEntries(locked, tables))
            return dib;
    }
    mapColors(dib, tables);
    return dib;
}

void* ModifyDIBPalette(void* dib, const uint8_t* table)
{
    if (!table)
        return dib;
    {
        const LockedDib locked(dib);
        if (!locked)
            return dib;
        for (int32_t i = 0; i < locked.colors(); ++i) {
            PaletteEntry& entry = locked.palette()[i];
            entry = {table[entry.blue], table[entry.green], table[entry.red], entry.reserved};
        }
        if (locked.palette())
            return dib;
    }
    const ImageGuard view(CreateDIBImage(dib));
    if (view.get() != 0)
        I_LUTMapROI(view.get(), view.get(), table);
    return dib;
}

void* I_GammaCorrectDIB(void* dib, double gamma)
{
    uint8_t table[kEntries];
    I_MakeGammaLUT(table, gamma);
    return ModifyDIBPalette(dib, table);
}

void* SetDIBContrast(void* dib, int32_t low, int32_t high)
{
    WordTables tables;
    for (int16_t* table : {tables.red, tables.green, tables.blue})
        makeRamp(low, high, table);
    if (displayState().overflowColor) {
        tables.blue[0] = static_cast<int16_t>(tables.blue[0] + 50);
        tables.blue[1] = static_cast<int16_t>(tables.blue[1] + 50);
        tables.blue[254] = tables.blue[255] = 50;
    }
    return setTables(dib, tables);
}

void* I_SetDIBFalseColor(void* dib, int32_t low, int32_t high)
{
    if (low == high)
        return setIdentity(dib);
    if (high < 2) {
        low = 0;
        high = 255;
    }
    ByteTables tables;
    if (!I_FalseColorLUT(low, high, tables.red, tables.green, tables.blue, 1, 1))
        return dib;
    return setTables(dib, asWords(tables));
}

void* I_NormalizeDIBLimited(void* dib, float limit)
{
    int32_t low = 0;
    int32_t high = 0;
    if (!findLevels(dib, &low, &high))
        return dib;
    limitGain(limit, &low, &high);
    return SetDIBContrast(dib, low, high);
}

void* NormalizeDIBContrast(void* dib)
{
    return I_NormalizeDIBLimited(dib, 0.0F);
}

void* EqualizeDIBContrast(void* dib, int32_t levels)
{
    if (levels <= 0)
        return setIdentity(dib);
    ByteTables tables;
    {
        const ImageGuard view(CreateDIBImage(dib));
        int32_t cols = 0;
        int32_t rows = 0;
        if (view.get() == 0 || !I_ImGetSize(&cols, &rows, nullptr, view.get()))
            return dib;
        I_SetWindowROI(cols / 4, rows / 4, saturateToInt32(int64_t{3} * cols / 4),
                       saturateToInt32(int64_t{3} * rows / 4));
        uint32_t histogram[kEntries];
        I_CalcHist(histogram, view.get());
        HistEqualizeLUT(levels, histogram, tables.red);
        // Required: the region stays the whole image.
        I_SetROIType(kRoiFullFrame);
        if (I_ImGetNBands(view.get()) > 1) {
            I_LUTMapROI(view.get(), view.get(), tables.red);
            return dib;
        }
    }
    std::copy_n(tables.red, kEntries, tables.green);
    std::copy_n(tables.red, kEntries, tables.blue);
    return setTables(dib, asWords(tables));
}

void* InterlaceDIB(void* dib, int32_t first, int32_t second)
{
    const LockedDib locked(dib);
    if (!locked)
        return dib;
    if (second < 0)
        moveOddRows(locked);
    else
        interlace(locked, first, second);
    return dib;
}
