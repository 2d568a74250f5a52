// TIFF files: the header, whole files into grey and colour, windows plain and scaled.
#include <cstdio>

#include "tests/fuzz/support/fuzz.h"
#include "vexalib/raw_file.h"
#include "vexalib/tiff.h"

using namespace vexa::fuzz;

namespace
{

void readWindows(const char* name, Numbers& numbers, int32_t im)
{
    uint8_t tables[3][256];
    VexaTiffPalette palette = {tables[0], tables[1], tables[2]};
    int32_t cols = 0;
    int32_t rows = 0;
    int32_t bits = 0;
    int32_t samples = 0;
    char comment[20];
    int32_t length = numbers.byte() % 21;
    FILE* const file = I_ReadTiffHeader(name, &cols, &rows, &bits, comment, &length, &palette, &samples);
    if (!file)
        return;
    require(bits == 8 && length >= 0 && length < 20 && comment[length] == '\0');
    const long start = std::ftell(file);
    I_ReadTiffWindow(file, numbers.coordinate(), numbers.coordinate(), cols, rows, im);
    std::fseek(file, start, SEEK_SET);
    const int32_t x = numbers.coordinate();
    const int32_t y = numbers.coordinate();
    const int32_t left = numbers.coordinate();
    const int32_t top = numbers.coordinate();
    I_ReadTiffWindowScaled(file, cols, rows, x, y, x / 2 + numbers.byte(), y / 2 + numbers.byte(), left, top,
                           left / 2 + numbers.byte(), top / 2 + numbers.byte(), im);
    std::fclose(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static InputFile* const file = (quieten(), new InputFile);
    file->set(bytes, count);
    Numbers numbers(bytes, count);
    constexpr int32_t kTypes[] = {PIX_BYTE, PIX_BGR24, PIX_FLOAT, PIX_PALETTE};
    for (const int32_t type : kTypes) {
        const int32_t im = I_ImOpen(40, 30, type);
        int32_t cols = 0;
        int32_t rows = 0;
        I_ReadTiffFile(file->name(), numbers.coordinate(), numbers.coordinate(), &cols, &rows, im);
        I_SetTiffColorModes(0, numbers.byte() & 1, numbers.byte() & 1);
        readWindows(file->name(), numbers, im);
        I_ImClose(im);
    }
    I_ImClose(I_ReadImageFile(file->name()));
    I_ImCloseAll();
    return 0;
}
