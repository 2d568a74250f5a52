#include <cstdio>

#include "tests/whole/sweep.h"
#include "vexalib/calibration.h"
#include "vexalib/kinds.h"
#include "vexalib/listing.h"
#include "vexalib/parameters.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// A store of 24 by 18 bytes, reached by whatever operations it is given.
uint8_t stored[24 * 18];

int32_t storedSize(int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type)
{
    *cols = *stride = 24;
    *rows = 18;
    *type = PIX_BYTE;
    return 1;
}

void* storedPtr(int32_t x, int32_t y, int32_t* left, int32_t* stride)
{
    if (x < 0 || x >= 24 || y < 0 || y >= 18)
        return nullptr;
    *left = 24 * 18 - (y * 24 + x);
    *stride = 24;
    return stored + y * 24 + x;
}

// A kind of random operations, used by random calls on one image of it.
void useKind(Stage& s)
{
    ImageKindOps ops = {};
    ops.getSize = s.random() % 4 ? storedSize : nullptr;
    ops.getPtr = s.random() % 4 ? storedPtr : nullptr;
    ops.count = s.pick({-1, 0, 1, 5, kLowest});
    const int32_t kind = s.pick({-1, 0, 8, 16, 17, 31, 32, kHighest, kLowest});
    addimagetype(kind, s.random() % 8 ? &ops : nullptr);
    I_ImSetMemType(kind);
    const int32_t im = I_ImOpen(5, 5, TYPE(s));
    I_ImSetMemType(0);
    I_PutPix(XY(s), XY(s), 5.0F, im);
    I_GetPix(XY(s), XY(s), im);
    I_Subtract(im, IM(s), IM(s), XY(s), XY(s));
    I_ImClose(im);
}

// A place for settings: none, one that cannot be, a real one.
void place(Stage& s)
{
    SetParamFile(
        s.pick({static_cast<const char*>(nullptr), "", "/nowhere/settings.ini", "sweep_settings.ini"}));
    SetParamAppName(s.pick({static_cast<const char*>(nullptr), "", "]", "Section", "Section"}));
    SetWriteDefaultParam(s.random() % 2);
}

template <typename Function, typename... Generator>
SweptFunction placed(const char* name, Function function, Generator... generator)
{
    const SweptFunction plain = swept(name, function, generator...);
    return {name, [plain](Stage& s) {
                place(s);
                plain.call(s);
                SetParamFile(nullptr);
                SetParamAppName(nullptr);
                std::remove("sweep_settings.ini");
            }};
}

// Pages a text may be read into.
int32_t room(Stage& s)
{
    return s.pick({-1, 0, 1, 2, 80, 5000, kLowest});
}

} // namespace

std::vector<SweptFunction> sweptStores()
{
    return {
        {"addimagetype", useKind},

        // Flood fill, descriptions, clipboard.
        swept("I_FloodFill", I_FloodFill, XY, XY, MODE, IM),
        {"I_FloodFillArray",
         [](Stage& s) {
             void** table = s.random() % 4 ? Create2DArray(30, 20, 1) : nullptr;
             I_FloodFillArray(XY(s), XY(s), MODE(s), table, s.pick({-1, 0, 1, 30, kLowest}),
                              s.pick({-1, 0, 1, 20, kLowest}));
             Free2DArray(table);
         }},
        swept("I_DescribeImage", I_DescribeImage, IM, OUT, room),
        swept("DescribeImage", DescribeImage, IM),
        swept("DescribeImages", DescribeImages, IM, IM, IM),
        swept("ImageListBox1", ImageListBox1),
        swept("ImageListBox2", ImageListBox2, OUT, room),
        swept("ImageListBox", ImageListBox),
        swept("setdestoffset", setdestoffset, XY, XY),
        swept("getdestoffset", getdestoffset, OUT, OUT),
        swept("I_SetClipboardText", I_SetClipboardText, TEXT0),
        swept("I_SetClipboardImage", I_SetClipboardImage, IM),
        {"I_GetClipboardImage",
         [](Stage& s) {
             if (s.random() % 2)
                 I_SetClipboardImage(IM(s));
             I_ImClose(I_GetClipboardImage());
         }},
        {"I_SetClipboardArray",
         [](Stage& s) {
             I_SetClipboardArray(OUT(s), s.pick({-1, 0, 1, 2, 4, 8, 16}), s.pick({-1, 0, 1, 16, kLowest}),
                                 s.pick({-1, 0, 1, 16, kLowest}), TEXT0(s));
         }},

        // Settings.
        swept("SetParamFile", SetParamFile, TEXT0),
        swept("GetParamFile", GetParamFile),
        swept("SetParamAppName", SetParamAppName, TEXT0),
        swept("GetParamAppName", GetParamAppName),
        swept("SetWriteDefaultParam", SetWriteDefaultParam, MODE),
        placed("ReadLongParam", ReadLongParam, MODE, TEXT0),
        placed("ReadIntParam", ReadIntParam, MODE, TEXT0),
        placed("ReadDblParam", ReadDblParam, REAL, TEXT0),
        placed("ReadStrParam", ReadStrParam, OUT, room, TEXT0),
        placed("WriteLongParam", WriteLongParam, MODE, TEXT0),
        placed("WriteIntParam", WriteIntParam, MODE, TEXT0),
        placed("WriteDblParam", WriteDblParam, REAL, TEXT0),
        placed("WriteStrParam", WriteStrParam, TEXT0, TEXT0),
        placed("WriteIArrayParam", WriteIArrayParam, OUT, COUNT, TEXT0),
        placed("WriteDArrayParam", WriteDArrayParam, OUT, COUNT, TEXT0),
        placed("ReadIArrayParam", ReadIArrayParam, OUT, COUNT, TEXT0),
        placed("ReadDArrayParam", ReadDArrayParam, OUT, COUNT, TEXT0),

        // Calibration.
        swept("geticaltable", geticaltable),
        swept("fillicaltable", fillicaltable, OUT, OUT, COUNT),
        swept("intensitycal", intensitycal, REAL),
        swept("intensityuncal", intensityuncal, REAL),
        swept("intensitycalrow", intensitycalrow, OUT, OUT, COUNT),
        swept("intensitycalfrow", intensitycalfrow, OUT, OUT, COUNT),
        swept("Interpolate", Interpolate, OUT, COUNT, REAL),
    };
}

} // namespace vexa::test
