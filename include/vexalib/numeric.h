/// Rounding, peaks, sums, two-dimensional arrays, byte searches, run-length and Base64 coding.
#ifndef VEXALIB_NUMERIC_H
#define VEXALIB_NUMERIC_H

#include "vexalib/types.h"

VEXA_API int32_t Rnd(float value);
VEXA_API void leastsquares(double n, double sumX, double sumXX, double sumXY, double sumY, double sumYY,
                           double *intercept, double *slope, double *sigma);
VEXA_API void meanstdv(double n, double sum, double sumOfSquares, double *mean, double *deviation);
VEXA_API double vexa_erf(double x);
VEXA_API double vexa_erfc(double x);
VEXA_API int32_t I_ParabolicPeak(double left, double center, double right, double *position, double *height);
VEXA_API float I_FindPeak(float left, float center, float right, float *height, int32_t method);
VEXA_API double fdist(const VexaPoint *a, const VexaPoint *b);
VEXA_API int32_t rotatevect(const VexaPoint *in, VexaPoint *out, double angle);
VEXA_API double MajorityVote(const double *values, int32_t n, int32_t keep);
VEXA_API int32_t ilog2(int32_t value);
VEXA_API int32_t llog2(int32_t value);
VEXA_API int32_t vexa_min(int32_t a, int32_t b);
VEXA_API int32_t vexa_max(int32_t a, int32_t b);
VEXA_API int32_t minabs(int32_t a, int32_t b);
VEXA_API int32_t maxabs(int32_t a, int32_t b);
VEXA_API double fminabs(double a, double b);
VEXA_API double fmaxabs(double a, double b);
VEXA_API int32_t vexa_clip(int32_t value, int32_t low, int32_t high);
VEXA_API void swapchar(void *a, void *b);
VEXA_API void swapshort(int16_t *a, int16_t *b);
VEXA_API void swapint(int32_t *a, int32_t *b);
VEXA_API void swapfloat(float *a, float *b);
VEXA_API void swapdouble(double *a, double *b);
VEXA_API void swapcoord(VexaPoint *a, VexaPoint *b);
VEXA_API void swaplong(int32_t *a, int32_t *b);
VEXA_API void swapptr(void *a, void *b);
VEXA_API void **Create2DArray(int32_t cols, int32_t rows, int32_t bytes);
VEXA_API void Free2DArray(void *array);
VEXA_API void *memsetStruct(void *dest, const void *element, int32_t count, int32_t bytes);
VEXA_API void *hmemset2(void *dest, int32_t value, int32_t count);
VEXA_API int32_t ReverseStruct(void *array, int32_t count, int32_t bytes);
VEXA_API int32_t ReverseStruct2(const void *source, void *dest, int32_t count, int32_t bytes);
VEXA_API int32_t I_instr(const void *haystack, int32_t start, int32_t length, const void *needle,
                         int32_t needleLength);
VEXA_API int32_t I_instr4(const void *haystack, int32_t start, int32_t end, const void *value);
VEXA_API int32_t I_instr2(const void *haystack, int32_t start, int32_t end, const void *value);
VEXA_API int32_t I_instr4Rev(const void *haystack, int32_t lowest, int32_t highest, const void *value);
VEXA_API int32_t I_instr2Rev(const void *haystack, int32_t lowest, int32_t highest, const void *value);
VEXA_API int32_t I_SwapLong(const void *bytes);
VEXA_API int32_t I_UndoCrLf(char *text, int32_t length);
VEXA_API int32_t I_ReadFile(const char *name, void *buffer, int32_t count);
VEXA_API int32_t I_WriteFile(const char *name, const void *buffer, int32_t count);
VEXA_API int32_t I_AppendFile(const char *name, const void *buffer, int32_t count);
VEXA_API int32_t I_RunLengthEncode(const void *source, int32_t length, void *dest, int32_t capacity);
VEXA_API uint8_t *I_RunLengthEncode1(const void *source, int32_t length, int32_t *encodedLength);
VEXA_API int32_t I_RunLengthDecode(const void *source, int32_t length, void *dest, int32_t capacity);
VEXA_API char *I_ConvertBase64(const void *source, int32_t length, int32_t *outLength, int32_t encode);
VEXA_API int32_t I_ConvertBase64a(const char *text, char *dest, int32_t encode);
VEXA_API int32_t I_ConvertToBase64(const void *source, int32_t length, char *dest, int32_t capacity);
VEXA_API int32_t I_ConvertFromBase64(const char *source, int32_t length, void *dest, int32_t capacity);
VEXA_API VexaPoint *I_SpiralOutList(int32_t cols, int32_t rows, int32_t x, int32_t y, int32_t radius, int32_t *count);
VEXA_API int32_t isqrt(int32_t value);
VEXA_API float bessj1(float x);

#endif
