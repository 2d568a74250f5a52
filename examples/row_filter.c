/* A filter of one's own: the local contrast of a picture, the range of grey values in a window around each pixel.
   The frame walks the region, makes the borders and converts the pixels; the row function is a plain loop.
   cc row_filter.c $(pkg-config --cflags --libs vexalib) -o row_filter && ./row_filter plate.bmp contrast.bmp 7 5 */
#include <stdio.h>
#include <stdlib.h>

#include "vexalib/vexalib.h"

static int32_t contrast(int32_t x0, int32_t y, int32_t width, int32_t height, void **rows, void *out,
                        void *prevOut, int32_t count, void *user)
{
    int32_t *most = user;
    (void)x0, (void)y, (void)prevOut;
    for (int32_t i = 0; i < count; ++i) {
        int32_t low = 255, high = 0;
        for (int32_t k = 0; k < height; ++k) {
            const uint8_t *row = (const uint8_t *)rows[k] + i; /* output i has columns i to i + width - 1 */
            for (int32_t j = 0; j < width; ++j) {
                low = row[j] < low ? row[j] : low;
                high = row[j] > high ? row[j] : high;
            }
        }
        ((uint8_t *)out)[i] = (uint8_t)(high - low);
        *most = high - low > *most ? high - low : *most;
    }
    return 1;
}

int main(int argc, char **argv)
{
    if (argc < 3)
        return 2;
    const int32_t width = argc > 3 ? atoi(argv[3]) : 5;
    const int32_t height = argc > 4 ? atoi(argv[4]) : width;
    const int32_t picture = I_ReadBMP(argv[1]);
    const int32_t result = I_CloneImage(picture, PIX_BYTE, 0);
    int32_t most = 0;

    I_SetBorderMode(-1, NULL, 0); /* edges are continued, so that they make no contrast */
    if (I_MxNOperator(picture, result, width, height, &most, contrast) && I_WriteBMP(argv[2], result))
        printf("highest contrast in %d x %d pixels: %d\n", width, height, most);
    if (I_GetError(NULL, 0) != 0)
        return I_ShowError("row_filter");
    return I_ImClose3(picture, result, 0) ? 0 : 1;
}
