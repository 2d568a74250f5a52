// Memory blocks that claim to be DIBs.
#include <cstring>

#include "tests/fuzz/support/fuzz.h"
#include "vexalib/dib.h"
#include "vexalib/dib_contrast.h"
#include "vexalib/platform.h"

using namespace vexa::fuzz;

namespace
{

void* blockOf(const uint8_t* bytes, size_t count)
{
    void* const handle = vexaGlobalAlloc(count);
    if (handle && count > 0)
        std::memcpy(vexaGlobalLock(handle), bytes, count);
    return handle;
}

void changeLooks(void* dib, Numbers& numbers)
{
    int16_t tables[3][256];
    GetDIBPalette(dib, tables[0], tables[1], tables[2]);
    SetDIBPalette(dib, tables[1], tables[2], tables[0]);
    I_SetWindowROI(numbers.coordinate(), numbers.coordinate(), numbers.coordinate(), numbers.coordinate());
    I_GammaCorrectDIB(dib, numbers.byte() / 16.0);
    SetDIBContrast(dib, numbers.coordinate(), numbers.coordinate());
    I_SetDIBFalseColor(dib, numbers.coordinate(), numbers.coordinate());
    I_NormalizeDIBLimited(dib, static_cast<float>(numbers.coordinate()) / 8.0F);
    EqualizeDIBContrast(dib, numbers.coordinate());
    InterlaceDIB(dib, numbers.coordinate(), numbers.coordinate());
    DeflickerDIB(dib, numbers.byte() & 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static const bool quiet = (quieten(), true);
    (void)quiet;
    Numbers numbers(bytes, count);
    void* dib = blockOf(bytes, count);
    changeLooks(dib, numbers);
    const int32_t target = I_ImOpen(20, 10, PIX_BGR24);
    SetWindowBitmap(numbers.byte(), numbers.byte(), target, dib);
    I_ImClose(CreateDIBImage(dib));
    dib = I_MapDIBPalette(dib);
    vexaGlobalFree(dib);

    void* const consumed = blockOf(bytes, count);
    const int32_t im = I_CopyDIBtoImageShrink(consumed, numbers.byte(), "fuzz");
    if (im == 0)
        vexaGlobalFree(consumed);
    I_ImCloseAll();
    I_SetROIType(0);
    return 0;
}
