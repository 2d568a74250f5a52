#include <cstdio>

#include "vexalib/vexalib.h"

int main()
{
    const int32_t im = I_ImOpen(40, 30, PIX_BYTE);
    if (im >= 0 || !I_ImClear(im, 7.0) || I_GetPixByte(39, 29, im) != 7) {
        std::fputs("an image does not hold what was put into it\n", stderr);
        return 1;
    }
    return I_ImClose(im) == 1 ? 0 : 1;
}
