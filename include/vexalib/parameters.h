/// Settings in a text file of sections and keys, which documents itself: reading a key that is missing writes
/// its default.
///
/// Where     SetParamFile GetParamFile SetParamAppName GetParamAppName SetWriteDefaultParam
/// Numbers   ReadLongParam ReadIntParam ReadDblParam WriteLongParam WriteIntParam WriteDblParam
/// Texts     ReadStrParam WriteStrParam
/// Arrays    ReadIArrayParam ReadDArrayParam WriteIArrayParam WriteDArrayParam
///
///     SetParamFile("/etc/gauge.ini");
///     SetParamAppName("Camera");
///     double gain = ReadDblParam(2.5, "Gain");
///     char name[80] = "left";
///     ReadStrParam(name, sizeof name, "Name");
///
/// makes the file, if it is not there,
///
///     [Camera]
///     Gain=2.500000
///     Name=left
///
/// The file is read and written by the platform (vexaSetPlatform: readProfile, writeProfile) at every call.
/// Built in, a write keeps comments, order and all other lines of the file; it replaces the file as a whole,
/// so that a crash leaves the old one; and it keeps out other processes, and other threads, while it works,
/// so that nobody's keys get lost. Keys hold no "=", and begin neither with ";" nor with "["; sections hold
/// no "]"; a name that breaks this cannot be written.
///
/// Numbers are read and written with a decimal point under every locale. Text that begins with no number
/// reads as 0; what follows a number is left out.
///
/// Every read and write shows a box (errorprintf) and gives 0 while file or section are empty:
///
///     "Call to read or write param (%s) with out ParamFile(%s) or AppName(%s) set"        key, file, section
///
/// A write that fails shows one, also where a read writes a default:
///
///     "WPPS(%s %s %s %s) failed in WriteLongParam"                 section, key, text, file
///     "WPPS failed in WriteDblParam"
///     "WPPS failed in WriteStrParam"
///     "WPPS(%s %s %s %s) failed in WriteIArrayParam"               section, key, text, file
///     "WPPS(%s %s %s %s) failed in WriteDArrayParam. nvalues=%d"   and the count
///
/// Nothing here sets an error. File, section and flag are process-wide. A null key counts as an empty one,
/// which cannot be written.
#ifndef VEXALIB_PARAMETERS_H
#define VEXALIB_PARAMETERS_H

#include "vexalib/types.h"

/// @name Where
/// @{

/// Sets the settings file, at first none. @param name copied; null is none, and so are more than 4095
/// characters
VEXA_API void SetParamFile(const char *name);
/// The settings file, never null; good until the next SetParamFile.
VEXA_API const char *GetParamFile(void);
/// Sets the section, at first none. @param name copied; null is none, and so are more than 4095 characters
VEXA_API void SetParamAppName(const char *name);
/// The section, never null; good until the next SetParamAppName.
VEXA_API const char *GetParamAppName(void);
/// Says whether reading a missing key writes its default, at first 1. @return the flag
VEXA_API int32_t SetWriteDefaultParam(int32_t flag);
/// @}

/// @name Numbers
/// @{

/// Reads a whole number, truncated toward zero: "1e3" is 1000, "2.7" is 2. INT32_MIN where it does not fit.
/// @param defaultValue the result where the key is missing or empty; written ("%ld") if the flag is on
VEXA_API int32_t ReadLongParam(int32_t defaultValue, const char *key);
/// ReadLongParam under another name.
VEXA_API int32_t ReadIntParam(int32_t defaultValue, const char *key);
/// Reads a number.
/// @param defaultValue the result where the key is missing or empty; written ("%f") if the flag is on
VEXA_API double ReadDblParam(double defaultValue, const char *key);
/// Writes a whole number, "%ld". @return 1, or 0 if that failed
VEXA_API int32_t WriteLongParam(int32_t value, const char *key);
/// WriteLongParam under another name.
VEXA_API int32_t WriteIntParam(int32_t value, const char *key);
/// Writes a number, "%f": six decimals. @return 1, or 0 if that failed
VEXA_API int32_t WriteDblParam(double value, const char *key);
/// @}

/// @name Texts
/// @{

/// Reads a text.
///
///     in the file    flag   text                                   file
///     a text         any    that text                              -
///     nothing        0      the empty text                         -
///     nothing        1      the default's first 800 characters     gets these
///     no such key    0      the default                            -
///     no such key    1      the default's first 800 characters     gets these
///
/// @param text holds the default, and receives at most size - 1 characters and a zero
/// @return the length of the text; 0 for null and for a size below 1
VEXA_API int32_t ReadStrParam(char *text, int32_t size, const char *key);
/// Writes a text up to its first line end. Blanks around it and one pair of quotes around it are not read
/// back.
/// @param text null removes the key
/// @return 1, or 0 if that failed
VEXA_API int32_t WriteStrParam(const char *text, const char *key);
/// @}

/// @name Arrays
/// @{

/// Reads an array of whole numbers: "1,2;3 4" with a count of 3 gives 1, 2, 3.
///
/// Numbers stand between blanks, commas, semicolons and tabs, each as in ReadLongParam; 800 characters count,
/// and no number that is cut there.
/// @param values holds the default: where the key is missing it stays, and is written if the flag is on.
///               Numbers beyond the count are dropped, missing ones leave what the array holds
/// @return the numbers stored; 0 for null
VEXA_API int32_t ReadIArrayParam(int32_t *values, int32_t count, const char *key);
/// The same for numbers in double precision.
VEXA_API int32_t ReadDArrayParam(double *values, int32_t count, const char *key);
/// Writes an array of whole numbers: "1;2;3".
/// @param count below 1 writes an empty text
/// @return 1; 0 for null, and if it failed: an array whose text is longer than 800 characters is not written
VEXA_API int32_t WriteIArrayParam(const int32_t *values, int32_t count, const char *key);
/// The same for numbers in double precision, with five significant figures ("%.5g").
VEXA_API int32_t WriteDArrayParam(const double *values, int32_t count, const char *key);
/// @}

#endif
