// Tables of 256 bytes and the display state, as tests need them.
#ifndef VEXA_TESTS_OPERATORS_DISPLAY_TEST_H
#define VEXA_TESTS_OPERATORS_DISPLAY_TEST_H

#include <array>
#include <cstdint>

#include "core/display_state.h"
#include "support/buffer.h"

namespace vexa::test
{

using Table = std::array<uint8_t, 256>;
using Rgb = std::array<int32_t, 3>;

// A table from a function of the index.
template <typename Function>
Table tableOf(Function entry)
{
    Table table{};
    for (int32_t i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] = static_cast<uint8_t>(entry(i));
    return table;
}

inline Table identity()
{
    return tableOf([](int32_t i) { return i; });
}

// The display state as a program finds it, and leaves it to the next test.
class DisplayTest : public testing::Test
{
protected:
    DisplayTest() { reset(); }
    ~DisplayTest() override { reset(); }
    static void reset()
    {
        releaseBlock(displayState().tables);
        displayState() = {};
    }
};

} // namespace vexa::test

#endif
