// BMP files, as images and as DIBs.
#include "tests/fuzz/support/fuzz.h"
#include "vexalib/dib.h"
#include "vexalib/platform.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static InputFile* const file = (quieten(), new InputFile);
    file->set(bytes, count);
    const int32_t im = I_ReadBMP(file->name());
    if (im != 0) {
        int32_t cols = 0;
        int32_t rows = 0;
        require(I_ImGetSize(&cols, &rows, nullptr, im) == 1);
        require(int64_t{cols} * rows <= static_cast<int64_t>(count));
    }
    vexaGlobalFree(I_MapDIBPalette(I_ReadBMPtoDIB(file->name())));
    I_ImClose(I_CopyDIBtoImageShrink(I_ReadBMPtoDIB(file->name()), 2, "fuzz"));
    I_ImCloseAll();
    return 0;
}
