#include "vexalib/lut.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/pixel_types.h"
#include "operators/row_frames.h"
#include "support/buffer.h"
#include "vexalib/conversion.h"
#include "vexalib/image.h"
#include "vexalib/numeric.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

// What the row functions of this family get as their parameter.
struct ByteMap {
    alignas(64) uint8_t table[256];
    uint8_t low; // of a table of two values
    uint8_t width;
    uint8_t inside;
    uint8_t outside;
};
struct ElementMap {
    const void* table;
    uint32_t mask;
};
struct ColorMap {
    const uint8_t* red;
    const uint8_t* green;
    const uint8_t* blue;
};

} // namespace
} // namespace vexa

#define VEXA_ROWS_FILE "operators/lut_rows.h"
#include "support/for_each_instruction_set.h"

namespace vexa
{
namespace
{

// Finds out whether the table has one value from some entry to another and a second value in all the rest.
bool describeBand(ByteMap& map)
{
    const uint8_t* const table = map.table;
    const auto changes = [table](int32_t i) { return table[i] != table[i - 1]; };
    int32_t first = 1;
    while (first < 256 && !changes(first))
        ++first;
    int32_t behind = first + 1;
    while (behind < 256 && !changes(behind))
        ++behind;
    for (int32_t i = behind; i < 256; ++i)
        if (table[i] != table[0])
            return false;
    map.low = static_cast<uint8_t>(first & 255);
    map.width = static_cast<uint8_t>(behind - first - 1);
    map.inside = table[first & 255];
    map.outside = table[0];
    return true;
}

int32_t mapWords(int32_t imSrc, int32_t imDest, const void* table, int32_t tableType, int32_t length,
                 int32_t type)
{
    const int32_t bits = ilog2(length);
    uint32_t mask = (1U << bits) - 1;
    if (mask == 0 && type == PIX_WORD)
        mask = 65535;
    // Entries that the mask reaches and the caller did not give are 0.
    Buffer<uint8_t> converted(std::max<int64_t>(length, int64_t{mask} + 1) * I_ImTypeBytes(type));
    if (malloctest(converted.data(), "I_MapLUTType"))
        return 0;
    if (!I_ArrayConvert(table, tableType, converted.data(), type, length))
        return 0;
    ElementMap map{converted.data(), mask};
    return I_UnaryOpType(imSrc, imDest, &map, type == PIX_WORD ? VEXA_ROWS(kMapWords) : VEXA_ROWS(kMapDwords),
                         type);
}

} // namespace
} // namespace vexa

int32_t I_LUTMapROI(int32_t imSrc, int32_t imDest, const uint8_t* table)
{
    using namespace vexa;
    if (!table)
        return 0;
    ByteMap map{};
    std::memcpy(map.table, table, sizeof map.table);
    const UnaryRowFilter row = describeBand(map) ? VEXA_ROWS(kMapBand) : VEXA_ROWS(kMapBytes);
    return runUnaryFrame(imSrc, imDest, &map, row, PIX_BYTE, RowCalls::joined);
}

int32_t I_RGBLUTMap(int32_t imSrc, int32_t imDest, const uint8_t* red, const uint8_t* green,
                    const uint8_t* blue)
{
    using namespace vexa;
    const int32_t destType = I_ImGetType(imDest);
    if (destType < PIX_PALETTE && I_ImGetType(imSrc) < PIX_BGR15)
        return I_LUTMapROI(imSrc, imDest, green);
    if (!red || !green || !blue)
        return 0;
    ColorMap map{red, green, blue};
    if (destType == PIX_RGB32)
        return I_UnaryOpType(imSrc, imDest, &map, VEXA_ROWS(kMapRgb32), PIX_RGB32);
    return I_UnaryOpType(imSrc, imDest, &map, VEXA_ROWS(kMapBgr24), PIX_BGR24);
}

int32_t I_MapLUTType(int32_t imSrc, int32_t imDest, const void* table, int32_t tableType, int32_t length)
{
    using namespace vexa;
    if (!table)
        return 0;
    const int32_t type = I_ImGetType(imSrc);
    if (type == PIX_WORD || type == PIX_DWORD)
        return mapWords(imSrc, imDest, table, tableType, length, type);
    Buffer<uint8_t> bytes(std::max(length, 256));
    if (malloctest(bytes.data(), "I_MapLUTType"))
        return 0;
    if (!I_ArrayConvert(table, tableType, bytes.data(), PIX_BYTE, length))
        return 0;
    return I_LUTMapROI(imSrc, imDest, bytes.data());
}
