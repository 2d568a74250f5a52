#include <cstdio>

#include "tests/whole/sweep.h"
#include "vexalib/dib_contrast.h"
#include "vexalib/raw_file.h"
#include "vexalib/tiff.h"

namespace vexa::test
{
namespace
{

using namespace gen;

// Files that cannot be written, and one that swallows everything.
const char* anyName(Stage& s)
{
    return s.pick({static_cast<const char*>(nullptr), "", "/", "/nowhere/x.tif", "/dev/null", "/dev/full"});
}

// Windows that are written in no time.
int32_t smallSize(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 5, 40, 300});
}

// An open file of noise, or none.
std::FILE* openFile(Stage& s)
{
    if (s.random() % 5 == 0)
        return nullptr;
    std::FILE* const file = std::tmpfile();
    if (file) {
        std::fwrite(s.buffer(), 1, s.pick({0, 1, 100, 20000}), file);
        std::rewind(file);
    }
    return file;
}

void close(std::FILE* file)
{
    if (file)
        std::fclose(file);
}

// Calls with an open file, which is closed afterwards.
void withFile(Stage& s, const std::function<void(std::FILE*)>& call)
{
    std::FILE* const file = openFile(s);
    call(file);
    close(file);
}

int32_t room(Stage& s)
{
    return s.pick({kLowest, -1, 0, 1, 80, kBufferElements});
}

VexaTiffPalette palette(Stage& s)
{
    const auto table = [&s] { return static_cast<uint8_t*>(OUT(s)); };
    return {table(), table(), table()};
}

int32_t* numberOut(Stage& s)
{
    return static_cast<int32_t*>(OUT(s));
}

} // namespace

std::vector<SweptFunction> sweptPictures()
{
    return {
        {"writerawheader",
         [](Stage& s) {
             close(writerawheader(anyName(s), SIZE(s), SIZE(s), SIZE(s), MODE(s), TYPE(s), TEXT0(s)));
         }},
        {"readrawheader",
         [](Stage& s) {
             close(readrawheader(anyName(s), numberOut(s), numberOut(s), numberOut(s), numberOut(s),
                                 numberOut(s), static_cast<char*>(OUT(s))));
         }},
        swept("I_WriteRawFile", I_WriteRawFile, anyName, IM),
        {"I_ReadImageFile", [](Stage& s) { I_ImClose(I_ReadImageFile(anyName(s))); }},
        {"fwritewindow",
         [](Stage& s) {
             fwritewindow(openFile(s), TYPE(s), XY(s), XY(s), smallSize(s), smallSize(s), IM(s));
         }},
        {"freadwindow",
         [](Stage& s) { freadwindow(openFile(s), TYPE(s), XY(s), XY(s), SIZE(s), SIZE(s), IM(s)); }},
        {"I_MakeRowBuffer",
         [](Stage& s) {
             vexaFree(I_MakeRowBuffer(s.pick({kLowest, -1, 0, 1, 1000, 100000}), SIZE(s), numberOut(s)));
         }},
        swept("I_DisableIPL", I_DisableIPL, MODE),

        swept("I_SetTiffColorModes", I_SetTiffColorModes, MODE, MODE, MODE),
        {"I_WriteTiffHeader",
         [](Stage& s) {
             const VexaTiffPalette tables = palette(s);
             close(I_WriteTiffHeader(anyName(s), SIZE(s), SIZE(s), static_cast<const char*>(OUT(s)), room(s),
                                     s.random() % 2 ? &tables : nullptr));
         }},
        {"I_ReadTiffHeader",
         [](Stage& s) {
             VexaTiffPalette tables = palette(s);
             int32_t length = room(s);
             close(I_ReadTiffHeader(anyName(s), numberOut(s), numberOut(s), numberOut(s),
                                    static_cast<char*>(OUT(s)), s.random() % 3 ? &length : nullptr,
                                    s.random() % 2 ? &tables : nullptr, numberOut(s)));
         }},
        {"I_ReadStdTiffHeader",
         [](Stage& s) {
             int32_t length = room(s);
             close(I_ReadStdTiffHeader(anyName(s), numberOut(s), numberOut(s), static_cast<char*>(OUT(s)),
                                       s.random() % 3 ? &length : nullptr, nullptr, numberOut(s),
                                       numberOut(s)));
         }},
        {"I_WriteTiffWindow",
         [](Stage& s) {
             I_SetTiffColorModes(s.random() % 2, 0, 0);
             withFile(s, [&s](std::FILE* file) {
                 I_WriteTiffWindow(file, XY(s), XY(s), smallSize(s), smallSize(s), IM(s));
             });
         }},
        {"I_ReadTiffWindow",
         [](Stage& s) {
             I_SetTiffColorModes(0, s.random() % 2, s.random() % 2);
             withFile(
                 s, [&s](std::FILE* file) { I_ReadTiffWindow(file, XY(s), XY(s), SIZE(s), SIZE(s), IM(s)); });
         }},
        {"I_ReadTiffWindowScaled",
         [](Stage& s) {
             I_SetTiffColorModes(0, s.random() % 2, s.random() % 2);
             withFile(s, [&s](std::FILE* file) {
                 I_ReadTiffWindowScaled(file, SIZE(s), SIZE(s), XY(s), XY(s), XY(s), XY(s), XY(s), XY(s),
                                        XY(s), XY(s), IM(s));
             });
         }},
        swept("I_WriteTiffFile", I_WriteTiffFile, anyName, XY, XY, SIZE, SIZE, IM),
        swept("I_ReadTiffFile", I_ReadTiffFile, anyName, XY, XY, OUT, OUT, IM),
        swept("convTIFFrow", convTIFFrow, MODE, MODE, MODE, BUF, OUT, COUNT),
        {"PutRowToRGB",
         [](Stage& s) { PutRowToRGB(XY(s), XY(s), static_cast<const uint8_t*>(OUT(s)), COUNT(s), IM(s)); }},

        swept("GetDIBPalette", GetDIBPalette, DIB, OUT, OUT, OUT),
        swept("SetDIBPalette", SetDIBPalette, DIB, OUT, OUT, OUT),
        swept("ModifyDIBPalette", ModifyDIBPalette, DIB, OUT),
        swept("I_GammaCorrectDIB", I_GammaCorrectDIB, DIB, REAL),
        swept("SetDIBContrast", SetDIBContrast, DIB, MODE, XY),
        swept("I_SetDIBFalseColor", I_SetDIBFalseColor, DIB, MODE, XY),
        swept("I_NormalizeDIBLimited", I_NormalizeDIBLimited, DIB, REAL),
        swept("NormalizeDIBContrast", NormalizeDIBContrast, DIB),
        swept("EqualizeDIBContrast", EqualizeDIBContrast, DIB, MODE),
        swept("InterlaceDIB", InterlaceDIB, DIB, XY, XY),
    };
}

} // namespace vexa::test
