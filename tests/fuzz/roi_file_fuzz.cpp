// Files of regions: read, recalled, walked over an image.
#include "tests/fuzz/support/fuzz.h"

using namespace vexa::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static InputFile* const file = (quieten(), new InputFile);
    file->set(bytes, count);
    readroifile(file->name());
    const int32_t im = I_ImOpen(40, 30, PIX_BYTE);
    for (int32_t slot = 0; slot < 8; ++slot) {
        I_RecallROI(slot);
        int32_t points = 0;
        I_ROIScanlist(&points, im);
        require(points >= 0);
        I_ClearROI(255, im);
    }
    I_SetROIType(0);
    I_ImCloseAll();
    return 0;
}
