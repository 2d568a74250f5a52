/* Two pictures of one scene; the second has a spot of 100 grey levels, 5 by 4 pixels at (20, 10). */
#include <vexalib/vexalib.h>

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const int32_t im = I_ImOpen(64, 48, PIX_BYTE);
    I_ImClear(im, 60.0);
    if (!I_WriteBMP(argv[1], im))
        return 1;
    I_ClearRect(20, 10, 24, 13, 160, im);
    return I_WriteBMP(argv[2], im) ? 0 : 1;
}
