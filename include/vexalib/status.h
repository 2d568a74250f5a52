/// Errors, messages, progress, timers and the debug word.
#ifndef VEXALIB_STATUS_H
#define VEXALIB_STATUS_H

#include "vexalib/types.h"

VEXA_API int32_t I_SetError(int32_t code, const char *format, ...) VEXA_PRINTF(2, 3);
VEXA_API int32_t I_SetError1(int32_t code, const char *text);
VEXA_API int32_t I_GetError(char *buffer, int32_t size);
VEXA_API const char *I_GetErrorStr(void);
VEXA_API int32_t I_ShowError(const char *format, ...) VEXA_PRINTF(1, 2);
VEXA_API int32_t I_ShowError1(const char *text);
VEXA_API int32_t I_PostMessage(const char *format, ...) VEXA_PRINTF(1, 2);
VEXA_API int32_t I_GetErrorHandlerMsg(char *buffer, int32_t size);
VEXA_API VexaErrorCallback I_SetErrorHandlerCallback(VexaErrorCallback callback);
VEXA_API int32_t vexa_dprintf(const char *format, ...) VEXA_PRINTF(1, 2);
VEXA_API int32_t errorprintf(const char *format, ...) VEXA_PRINTF(1, 2);
VEXA_API int32_t yesno(int32_t defaultYes, const char *format, ...) VEXA_PRINTF(2, 3);
VEXA_API int32_t yesnocancel(int32_t defaultYes, const char *format, ...) VEXA_PRINTF(2, 3);
VEXA_API int32_t I_SetProgressCallback(VexaProgressCallback callback, int32_t intervalMs);
VEXA_API void I_TellProgress(float done, float total, const char *text);
VEXA_API void I_TellProgressEx(float done, float total, const char *format, ...) VEXA_PRINTF(3, 4);
VEXA_API float I_GetProgress(char *buffer, int32_t size);
VEXA_API void I_ShowProgress(float fraction, const char *text);
VEXA_API int32_t I_UserBreak(int32_t ignored);
VEXA_API int32_t I_MemAvailable(void);
VEXA_API uint32_t coreleft(void);
VEXA_API int32_t I_MallocOK(const void *pointer, const char *format, ...) VEXA_PRINTF(2, 3);
VEXA_API int32_t malloctest(const void *pointer, const char *format, ...) VEXA_PRINTF(2, 3);
VEXA_API int32_t I_PerfStart(int32_t *stamp);
VEXA_API int32_t I_PerfMilliSec(const int32_t *stamp);
VEXA_API int32_t I_PerfMicroSec(const int32_t *stamp);
VEXA_API uint32_t I_PerfNanoSec(const int32_t *stamp);
VEXA_API int32_t I_PerfCycles(const int32_t *stamp);
VEXA_API int32_t I_SetDebug(int32_t value);
VEXA_API int32_t I_GetDebug(void);
VEXA_API int32_t sound(int32_t frequency);
VEXA_API int32_t nosound(void);
VEXA_API int32_t MemTest(int32_t *drift);
VEXA_API int32_t OverflowTest(int32_t a, int32_t b, int32_t *words);
VEXA_API int32_t I_FormatArrayEx(char *out, const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                                 const char *numberFormat, const char *separator, const char *title);
VEXA_API int32_t FormatArray(char *out, const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                             const char *numberFormat);
VEXA_API int32_t FormatArray2(char *out, const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                              const char *numberFormat, const char *titleFormat, ...) VEXA_PRINTF(7, 8);

#endif
