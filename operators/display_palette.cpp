// The display state as callers see it: palette, colour mode, gamma, search path.
#include <cstring>
#include <initializer_list>

#include "core/display_state.h"
#include "vexalib/lut.h"

using vexa::displayState;
using vexa::DisplayState;
using vexa::DisplayTables;

namespace vexa
{
namespace
{

constexpr std::size_t kTableBytes = 256;
constexpr std::size_t kLongestPath = 64;

struct State {
    char searchPath[kLongestPath + 1] = "";
};
State state;

int32_t highestOfMode(int32_t colorMode)
{
    return colorMode != 0 ? kHighestUnderColors : kHighestOfAll;
}

// Without reserved colours their entries continue the table at its level.
void levelFrom(uint8_t* table, int32_t first)
{
    std::memset(table + first, table[first], kTableBytes - static_cast<std::size_t>(first));
}

// Brings tables and highest pixel value in line with the colour mode and the gamma in force.
void rebuildDisplay()
{
    DisplayState& display = displayState();
    if (!ensureDisplayTables()) {
        display.highestPixel = highestOfMode(display.colorMode);
        return;
    }
    DisplayTables& tables = *display.tables;
    if (display.colorMode == 0)
        for (uint8_t* table : {tables.red, tables.green, tables.blue})
            levelFrom(table, display.highestPixel);
    display.highestPixel = highestOfMode(display.colorMode);
    makeIdentity(tables.inverse);
    I_MakeGammaLUT(tables.gamma, display.gammaCRT);
    I_SetDisplayLUTs(tables.red, tables.green, tables.blue);
}

} // namespace
} // namespace vexa

int32_t I_SendLUT(uint8_t* table)
{
    return I_SetDisplayLUTs(table, table, table);
}

int32_t I_SetDisplayLUTs(uint8_t* red, uint8_t* green, uint8_t* blue)
{
    if (!red || !green || !blue)
        return 0;
    DisplayState& display = displayState();
    if (display.colorMode != 0)
        vexa::writeGraphicsColors(red, green, blue);
    display.highestPixel = vexa::highestOfMode(display.colorMode);
    return I_SetGraphicsPalette(red, green, blue);
}

int32_t I_SetGraphicsPalette(const uint8_t* red, const uint8_t* green, const uint8_t* blue)
{
    if (!red || !green || !blue || !vexa::ensureDisplayTables())
        return 0;
    DisplayTables& tables = *displayState().tables;
    std::memmove(tables.red, red, vexa::kTableBytes);
    std::memmove(tables.green, green, vexa::kTableBytes);
    std::memmove(tables.blue, blue, vexa::kTableBytes);
    return 1;
}

int32_t I_GetGraphicsPalette(uint8_t* red, uint8_t* green, uint8_t* blue)
{
    const bool made = vexa::ensureDisplayTables();
    const DisplayTables* tables = displayState().tables;
    const uint8_t* sources[] = {made ? tables->red : nullptr, made ? tables->green : nullptr,
                                made ? tables->blue : nullptr};
    uint8_t* outputs[] = {red, green, blue};
    for (int32_t i = 0; i < 3; ++i) {
        if (!outputs[i])
            continue;
        if (sources[i])
            std::memmove(outputs[i], sources[i], vexa::kTableBytes);
        else
            vexa::makeIdentity(outputs[i]); // what the tables would start as
    }
    return 1;
}

int32_t I_GetColorMode(void)
{
    return displayState().colorMode;
}

int32_t I_SetColorMode(int32_t mode)
{
    const int32_t previous = displayState().colorMode;
    if (mode < 0)
        return previous;
    displayState().colorMode = mode;
    vexa::rebuildDisplay();
    return previous;
}

double I_GetGammaCRT(void)
{
    return displayState().gammaCRT;
}

double I_SetGammaCRT(double gamma)
{
    const double previous = displayState().gammaCRT;
    displayState().gammaCRT = gamma;
    vexa::rebuildDisplay();
    return previous;
}

int32_t setsearchpath(const char* path)
{
    if (!path)
        return 0;
    char* kept = vexa::state.searchPath;
    const std::size_t length = strnlen(path, vexa::kLongestPath);
    std::memmove(kept, path, length);
    kept[length] = 0;
    return 1;
}

const char* getsearchpath(void)
{
    return vexa::state.searchPath;
}
