/// Lines, rectangles and cursors drawn into images; clipping of lines to a box.
#ifndef VEXALIB_DRAWING_H
#define VEXALIB_DRAWING_H

#include "vexalib/types.h"

VEXA_API int32_t I_SetGraphicsFrame(int32_t im);
VEXA_API int32_t I_GetGraphicsFrame(void);
VEXA_API int32_t vexaSetDrawColor(int32_t color);
VEXA_API int32_t graphputpix(int32_t x, int32_t y, int32_t value);
VEXA_API int32_t graphgetpix(int32_t x, int32_t y);
VEXA_API void hline(int32_t x1, int32_t y, int32_t x2, int32_t im);
VEXA_API void vline(int32_t x, int32_t y1, int32_t y2, int32_t im);
VEXA_API int32_t I_DrawLine(int32_t im, int32_t x1, int32_t y1, int32_t x2, int32_t y2, int32_t color);
VEXA_API int32_t fdrawline(const VexaPointF *end, const VexaPointF *start, int32_t color);
VEXA_API int32_t I_GetLineCoords(int32_t im, const VexaPoint *a, const VexaPoint *b, VexaPoint *out);
VEXA_API int32_t I_DrawRect(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color);
VEXA_API int32_t I_DrawRect1(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t color, int32_t im);
VEXA_API int32_t I_DrawCursor(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color);
VEXA_API void *I_CursorUp(int32_t x, int32_t y, int32_t width, int32_t height, int32_t color);
VEXA_API void I_CursorDown(void *block);
VEXA_API int32_t I_ClipLine(const VexaPoint *lo, const VexaPoint *hi, VexaPointF *p1, VexaPointF *p2);
VEXA_API int32_t I_ClipLineInt(const VexaPoint *lo, const VexaPoint *hi, VexaPoint *p1, VexaPoint *p2);
VEXA_API int32_t limitbox(int32_t center, int32_t length, int32_t size, int32_t *start, int32_t *kept);
VEXA_API void drawgammacal(int32_t left, int32_t top, int32_t right, int32_t bottom);
VEXA_API void drawgrayramp(int32_t left, int32_t top, int32_t right, int32_t bottom, double low, double high,
                           int32_t steps, int32_t textColor, int32_t fieldWidth, int32_t decimals, const char *unit);

#endif
