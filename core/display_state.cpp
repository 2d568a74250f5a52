#include "core/display_state.h"

#include <initializer_list>

#include "support/buffer.h"
#include "vexalib/status.h"

namespace vexa
{

DisplayState& displayState()
{
    static constinit DisplayState state;
    return state;
}

bool ensureDisplayTables()
{
    DisplayState& state = displayState();
    if (state.tables)
        return true;
    auto* tables = static_cast<DisplayTables*>(allocateBlock(1, sizeof(DisplayTables)));
    if (malloctest(tables, "initluts()"))
        return false;
    for (uint8_t* table : {tables->red, tables->green, tables->blue, tables->inverse, tables->gamma})
        makeIdentity(table);
    state.tables = tables;
    if (state.colorMode != 0)
        state.highestPixel = kHighestUnderColors;
    return true;
}

void writeGraphicsColors(uint8_t* red, uint8_t* green, uint8_t* blue)
{
    static constexpr uint8_t kColors[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 255, 255}, {255, 255, 255}};
    for (int32_t i = 0; i < 4; ++i) {
        red[252 + i] = kColors[i][0];
        green[252 + i] = kColors[i][1];
        blue[252 + i] = kColors[i][2];
    }
}

void makeIdentity(uint8_t* table)
{
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(i);
}

} // namespace vexa
