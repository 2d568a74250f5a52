// Raw files: the header alone, the whole picture, a window of a file.
#include "tests/fuzz/support/fuzz.h"
#include "vexalib/raw_file.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static InputFile* const file = (quieten(), new InputFile);
    file->set(bytes, count);
    const int32_t im = I_ReadImageFile(file->name());
    if (im != 0) {
        int32_t cols = 0;
        int32_t rows = 0;
        int32_t pixBytes = 0;
        require(I_ImGetSize(&cols, &rows, &pixBytes, im) == 1);
        // Many more pixels than the file has bytes would be made up.
        require(int64_t{cols} * rows <= static_cast<int64_t>(count) + (1 << 20));
        I_GetPix(cols - 1, rows - 1, im);
    }
    Numbers numbers(bytes, count);
    int32_t stride = 0;
    int32_t type = 0;
    char comment[32];
    FILE* const open = readrawheader(file->name(), nullptr, nullptr, &stride, nullptr, &type, comment);
    if (open) {
        const int32_t target = I_ImOpen(30, 20, PIX_BYTE + numbers.byte() % 4);
        // Near the target: between the two lies a block of the size that the caller asks for, not the file.
        const int32_t x = numbers.byte() - 100;
        const int32_t y = numbers.byte() - 100;
        const int32_t cols = numbers.coordinate();
        const int32_t rows = numbers.coordinate();
        // The file is closed with the picture that is made of it, and stays open where none can be.
        if (I_ImCount() < 290)
            freadwindow(open, type % 24, x, y, cols, rows, target);
    }
    I_ImCloseAll();
    return 0;
}
