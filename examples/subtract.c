/* Two pictures of one scene, their difference, and the places where they differ most.
   cc subtract.c $(pkg-config --cflags --libs vexalib) -o subtract && ./subtract reference.bmp defect.bmp */
#include <stdio.h>

#include "vexalib/vexalib.h"

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const int32_t reference = I_ReadBMP(argv[1]);
    const int32_t defect = I_ReadBMP(argv[2]);
    const int32_t difference = I_CloneImage(defect, 0, 0);
    VexaPoint places[20];
    double values[20];

    I_SetClipMode(3); /* differences show around 128 */
    I_Subtract(defect, reference, difference, 0, 0);
    const int32_t n = I_ListDefects(difference, places, values, 20, 10, 40.0, 1);
    for (int32_t i = 0; i < n; ++i)
        printf("(%d, %d) contrast %.0f\n", places[i].x, places[i].y, values[i]);
    if (I_GetError(NULL, 0) != 0)
        return I_ShowError("subtract");
    return I_ImClose3(reference, defect, difference) ? 0 : 1;
}
