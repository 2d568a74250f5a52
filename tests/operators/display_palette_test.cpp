#include "tests/operators/display_test.h"

#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

class DisplayPalette : public DisplayTest
{
};

TEST_F(DisplayPalette, LiteralTablesStartAsIdentityAndLowerTheHighestPixelValue)
{
    Table scratch{};
    EXPECT_EQ(1, I_GetColorMode());
    EXPECT_EQ(2.2, I_GetGammaCRT());
    EXPECT_EQ(256, I_InvertLUT(scratch.data())) << "nothing has needed the tables so far";
    Table red{};
    Table green{};
    Table blue{};
    EXPECT_EQ(1, I_GetGraphicsPalette(red.data(), green.data(), blue.data()));
    EXPECT_EQ(identity(), red);
    EXPECT_EQ(identity(), green);
    EXPECT_EQ(identity(), blue);
    EXPECT_EQ(252, I_InvertLUT(scratch.data()));
}

TEST_F(DisplayPalette, LiteralGetTakesNullForEach)
{
    Table one{};
    EXPECT_EQ(1, I_GetGraphicsPalette(nullptr, nullptr, nullptr));
    EXPECT_EQ(1, I_GetGraphicsPalette(nullptr, one.data(), nullptr));
    EXPECT_EQ(identity(), one);
}

TEST_F(DisplayPalette, LiteralSetDisplayLutsReservesFourEntriesInTheCallersTables)
{
    Table red = tableOf([](int32_t) { return 10; });
    Table green = tableOf([](int32_t) { return 20; });
    Table blue = tableOf([](int32_t) { return 30; });
    EXPECT_EQ(1, I_SetDisplayLUTs(red.data(), green.data(), blue.data()));
    EXPECT_EQ((std::vector<uint8_t>{10, 255, 0, 0, 255}),
              (std::vector<uint8_t>(red.begin() + 251, red.end())));
    EXPECT_EQ((std::vector<uint8_t>{20, 0, 255, 255, 255}),
              (std::vector<uint8_t>(green.begin() + 251, green.end())));
    EXPECT_EQ((std::vector<uint8_t>{30, 0, 0, 255, 255}),
              (std::vector<uint8_t>(blue.begin() + 251, blue.end())));
    Table kept{};
    I_GetGraphicsPalette(nullptr, kept.data(), nullptr);
    EXPECT_EQ(green, kept);
    EXPECT_EQ(251, vexa::displayState().highestPixel);
}

TEST_F(DisplayPalette, LiteralSetDisplayLutsWithoutColorModeKeepsAllEntries)
{
    I_SetColorMode(0);
    Table ramp = tableOf([](int32_t i) { return 255 - i; });
    const Table before = ramp;
    EXPECT_EQ(1, I_SetDisplayLUTs(ramp.data(), ramp.data(), ramp.data()));
    EXPECT_EQ(before, ramp);
    EXPECT_EQ(255, vexa::displayState().highestPixel);
}

TEST_F(DisplayPalette, LiteralSendLutPutsOneTableIntoAllThreePlaces)
{
    Table table = tableOf([](int32_t i) { return 255 - i; });
    EXPECT_EQ(1, I_SendLUT(table.data()));
    EXPECT_EQ((std::vector<uint8_t>{4, 0, 0, 255, 255}),
              (std::vector<uint8_t>(table.begin() + 251, table.end())))
        << "blue is written last";
    Table red{};
    Table green{};
    Table blue{};
    I_GetGraphicsPalette(red.data(), green.data(), blue.data());
    EXPECT_EQ(table, red);
    EXPECT_EQ(table, green);
    EXPECT_EQ(table, blue);
}

TEST_F(DisplayPalette, LiteralSetGraphicsPaletteReservesNothing)
{
    const Table ramp = tableOf([](int32_t i) { return 255 - i; });
    EXPECT_EQ(1, I_SetGraphicsPalette(ramp.data(), ramp.data(), ramp.data()));
    Table kept{};
    I_GetGraphicsPalette(kept.data(), nullptr, nullptr);
    EXPECT_EQ(ramp, kept);
}

TEST_F(DisplayPalette, LiteralColorModeOffLevelsTheReservedEntries)
{
    EXPECT_EQ(1, I_SetColorMode(1));
    const Table ramp = tableOf([](int32_t i) { return i / 2; });
    I_SetGraphicsPalette(ramp.data(), ramp.data(), ramp.data());
    EXPECT_EQ(1, I_SetColorMode(0));
    EXPECT_EQ(0, I_GetColorMode());
    Table red{};
    I_GetGraphicsPalette(red.data(), nullptr, nullptr);
    EXPECT_EQ(tableOf([](int32_t i) { return std::min(i, 251) / 2; }), red);
    EXPECT_EQ(255, vexa::displayState().highestPixel);
}

TEST_F(DisplayPalette, LiteralColorModeOffAtOnceLeavesTheIdentity)
{
    I_SetColorMode(0);
    Table red{};
    I_GetGraphicsPalette(red.data(), nullptr, nullptr);
    EXPECT_EQ(identity(), red);
}

TEST_F(DisplayPalette, LiteralColorModeOnWritesTheGraphicsColors)
{
    I_SetColorMode(0);
    EXPECT_EQ(0, I_SetColorMode(2));
    EXPECT_EQ(2, I_GetColorMode());
    Table red{};
    Table green{};
    Table blue{};
    I_GetGraphicsPalette(red.data(), green.data(), blue.data());
    EXPECT_EQ((Rgb{255, 0, 0}), (Rgb{red[252], green[252], blue[252]}));
    EXPECT_EQ((Rgb{0, 255, 0}), (Rgb{red[253], green[253], blue[253]}));
    EXPECT_EQ((Rgb{0, 255, 255}), (Rgb{red[254], green[254], blue[254]}));
    EXPECT_EQ((Rgb{255, 255, 255}), (Rgb{red[255], green[255], blue[255]}));
    EXPECT_EQ(251, red[251]);
}

TEST_F(DisplayPalette, LiteralNegativeColorModeOnlyAsks)
{
    I_SetColorMode(7);
    EXPECT_EQ(7, I_SetColorMode(-1));
    EXPECT_EQ(7, I_GetColorMode());
}

TEST_F(DisplayPalette, LiteralGammaRebuildsItsTableAndTheInverse)
{
    ASSERT_EQ(1, I_GetGraphicsPalette(nullptr, nullptr, nullptr));
    vexa::displayState().tables->inverse[9] = 1;
    EXPECT_EQ(2.2, I_SetGammaCRT(2.0));
    EXPECT_EQ(2.0, I_GetGammaCRT());
    Table expected{};
    I_MakeGammaLUT(expected.data(), 2.0);
    const vexa::DisplayTables& tables = *vexa::displayState().tables;
    EXPECT_EQ(expected, tableOf([&](int32_t i) { return tables.gamma[i]; }));
    EXPECT_EQ(identity(), tableOf([&](int32_t i) { return tables.inverse[i]; }));
    EXPECT_EQ(255, tables.red[252]) << "the display tables are set anew, with their reserved entries";
}

TEST_F(DisplayPalette, LiteralSearchPathHolds64Characters)
{
    EXPECT_EQ(1, setsearchpath("data/"));
    EXPECT_STREQ("data/", getsearchpath());
    setsearchpath(std::string(64, 'a').c_str());
    EXPECT_EQ(std::string(64, 'a'), getsearchpath());
    setsearchpath(std::string(65, 'b').c_str());
    EXPECT_EQ(std::string(64, 'b'), getsearchpath());
    EXPECT_EQ(0, setsearchpath(nullptr));
    EXPECT_EQ(std::string(64, 'b'), getsearchpath());
    setsearchpath(getsearchpath());
    EXPECT_EQ(std::string(64, 'b'), getsearchpath());
    setsearchpath("");
    EXPECT_STREQ("", getsearchpath());
}

TEST_F(DisplayPalette, FailuresOfNullTables)
{
    Table table{};
    EXPECT_EQ(0, I_SendLUT(nullptr));
    EXPECT_EQ(0, I_SetDisplayLUTs(table.data(), nullptr, table.data()));
    EXPECT_EQ(0, I_SetGraphicsPalette(nullptr, table.data(), table.data()));
    EXPECT_EQ(Table{}, table);
}

// Calls work with the first allocation failing, in a state that has no tables yet.
template <typename Work>
auto withoutMemory(Work work)
{
    clearError();
    vexa::failAllocation(1, true);
    const auto result = work();
    vexa::failAllocation(0, false);
    EXPECT_EQ(2, I_GetError(nullptr, 0));
    EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: initluts(): "));
    return result;
}

TEST_F(DisplayPalette, FailuresOfMemoryForTheTables)
{
    const Table ramp = identity();
    Table out = tableOf([](int32_t) { return 9; });
    EXPECT_EQ(0, withoutMemory([&] { return I_SetGraphicsPalette(ramp.data(), ramp.data(), ramp.data()); }));
    EXPECT_EQ(1, withoutMemory([&] { return I_GetGraphicsPalette(out.data(), nullptr, nullptr); }));
    EXPECT_EQ(ramp, out) << "what the tables start as";
    EXPECT_EQ(1, withoutMemory([] { return I_SetColorMode(0); }));
    EXPECT_EQ(0, I_GetColorMode());
    EXPECT_EQ(2.2, withoutMemory([] { return I_SetGammaCRT(1.5); }));
    EXPECT_EQ(nullptr, vexa::displayState().tables);
    EXPECT_EQ(1, I_SetGraphicsPalette(ramp.data(), ramp.data(), ramp.data())) << "and later there is memory";
}

} // namespace
