/// Errors, messages, progress, timers, the debug word, the beeper, and number arrays as text.
///
/// Last error     I_SetError, I_SetError1, I_GetError, I_GetErrorStr, I_ShowError, I_ShowError1
/// Messages       I_PostMessage, I_GetErrorHandlerMsg, I_SetErrorHandlerCallback, dprintf, errorprintf,
///                yesno, yesnocancel
/// Progress       I_SetProgressCallback, I_TellProgress, I_TellProgressEx, I_GetProgress, I_ShowProgress,
///                I_UserBreak
/// Memory         I_MemAvailable, coreleft, I_MallocOK, malloctest
/// Timers         I_PerfStart, I_PerfMilliSec, I_PerfMicroSec, I_PerfNanoSec, I_PerfCycles
/// Debug word     I_SetDebug, I_GetDebug
/// Beeper         sound, nosound
/// Self-tests     MemTest, OverflowTest
/// Array texts    I_FormatArrayEx, FormatArray, FormatArray2
///
///     I_SetProgressCallback(showBar, 100);
///     I_PerfStart(NULL);
///     if (!I_Subtract(imA, imB, imDest, 0, 0))
///         I_ShowError("Compare"); // "Compare <IMAGE NOT OPEN> ..." in a box or through the error callback
///     printf("%d ms\n", I_PerfMilliSec(NULL));
///
/// An operation that fails returns 0 (or a null pointer) and leaves a code and a sentence in the last error.
/// It shows nothing: that is the application's to do, by I_ShowError. A later failure overwrites the earlier
/// one, a success clears nothing. All state here is of the process and is used by one thread at a time.
///
/// Codes and their names:
///
///      0 (empty)                     16 FILE_DID_NOT_OPEN        32 ILLEGAL_PIX_BYTES
///      1 Error                       17 FILE_SEEK_FAILED         33 ILLEGAL_ROI
///      2 MEM ALLOC                   18 FILE_READ_FAILED         34 MIXED_PIX_TYPES
///      3 BADPTR                      19 FILE_WRITE_FAILED        35 BLOBTABLE_FULL
///      4 BUF_LEN_TOO_LONG            20 IMAGE_NOT_OPEN           36 TIFF_TOO_MANY_IFDS
///      5 NEG_OFFSET                  21 NO_AVAIL_IMAGE_HANDLES   37 TIFF_FEATURE_NOT_SUPPORTED
///      6 USER_BREAK                  22 UNAVAIL_IMAGE_TYPE       38 INVALID_SCANLIST
///      7 NOT_ENOUGH_DOS_MEMORY       23 NO_PIXEL_CONVERSION      39 COMPRESS_DID_NOT_RUN
///      8 NO_EXTMEM_HANDLES           24 ILLEGAL_IMAGE_NUM        40 COMPRESS_FAILED
///      9 NO_AVAIL_EXTMEM             25 ILLEGAL_IMAGE_TYPE       41 DIGITIZER_DOES NOT_RESPOND
///     10 EMS_MAP_ERROR               26 ILLEGAL_ROW_NUM          42 DIGITIZER_TIMEOUT
///     11 COULD_NOT_OPEN_TEMP_FILE    27 ILLEGAL_KERNEL_SIZE      43 REQUIRED_HW_UNAVAILABLE
///     12 ILLEGAL_PARAMETER           28 ILLEGAL_KERNEL_NUM       44 BOARD_SPECIFIC
///     13 ILLEGAL_COORDINATES         29 ILLEGAL_FILE_NAME        45 HARDWARE_ERROR
///     14 ILLEGAL_ROISIZE             30 BAD_FONTFILE             46 MALLOC_ZERO_SIZE
///     15 MATH_ERROR                  31 GRAPHICS_OUTSIDE_WINDOW  47 TEMP_DISK_FULL
///
/// Any other code has the empty name. A null format counts as the empty text where nothing else is said.
#ifndef VEXALIB_STATUS_H
#define VEXALIB_STATUS_H

#include "vexalib/types.h"

/// Sets the last error: the code as given, and a message of at most 500 characters.
///
/// A message of 10 characters or more stands as formatted. A shorter one is a tag, and the code's name is put
/// in front:
///
///     I_SetError(17, "fileputrow")   "fileputrow"
///     I_SetError(1, "bad")           "Error: bad"
///     I_SetError(12, "")             "ILLEGAL_PARAMETER"
///     I_SetError(5, NULL)            an earlier message of 10 characters or more; of an empty "NEG_OFFSET",
///                                    of another short one such as "fit" "NEG_OFFSET: fit"
///     I_SetError(0, NULL)            an earlier message of 10 characters or more, otherwise the empty text
///
/// @param code   any number; 0 is no error
/// @param format printf format of the message; null keeps the earlier message
/// @return 0, so that `return I_SetError(...)` ends a failing operation
VEXA_API int32_t I_SetError(int32_t code, const char *format, ...) VEXA_PRINTF(2, 3);

/// Sets the last error with a finished text: at most 500 characters are copied, no name is put in front, and
/// percent signs are plain characters.
/// @param text null keeps the earlier message
/// @return 0
VEXA_API int32_t I_SetError1(int32_t code, const char *text);

/// Reads the last error.
/// @param buffer receives at most size - 1 characters of the message, and a zero at buffer[size - 1]; may be
///               null
/// @param size   bytes in the buffer; below 1 nothing is copied
/// @return the code, also where no text was asked for
VEXA_API int32_t I_GetError(char *buffer, int32_t size);

/// The name of the last error's code, never null; the empty text for 0 and for codes without a name.
VEXA_API const char *I_GetErrorStr(void);

/// Presents the pending error and clears its code. After a success it does nothing, so it may stand
/// unconditionally behind a group of calls.
///
/// The text shown is "TEXT <NAME> MESSAGE": the caller's text of at most 2000 characters, the code's name
/// with blanks for "_", and the message. "Save image", code 16 and the message "c:\x.raw" give
///
///     Save image <FILE DID NOT OPEN> c:\x.raw
///
/// and "TEXT MESSAGE" where the code has no name. The text becomes the last posted message and goes to the
/// error callback with its length plus 1, or to I_PostMessage where there is no callback. Then I_SetError(0,
/// NULL): a message of 10 characters or more stays readable by I_GetError.
///
/// @return the code that was pending; below 1 nothing was shown and nothing changed
VEXA_API int32_t I_ShowError(const char *format, ...) VEXA_PRINTF(1, 2);

/// I_ShowError with the text read as a format without arguments: "%%" becomes "%", every other percent sign
/// stands.
/// @param text null counts as empty
VEXA_API int32_t I_ShowError1(const char *text);

/// Posts a message of at most 1000 characters: it becomes the last posted message and goes to the error
/// callback with its length plus 1, or, where there is no callback, to a box as the built-in callback shows
/// it.
/// @return 1
VEXA_API int32_t I_PostMessage(const char *format, ...) VEXA_PRINTF(1, 2);

/// Copies the last posted message, of I_PostMessage or I_ShowError.
/// @param buffer receives at most size - 1 characters, and a zero at buffer[size - 1]; the empty text if
///               nothing was posted or there was no memory to keep it
/// @param size   bytes in the buffer
/// @return the length of the text in the buffer; 0 for a null buffer or a size below 1
VEXA_API int32_t I_GetErrorHandlerMsg(char *buffer, int32_t size);

/// Puts a function in place that receives every posted message and every shown error.
///
/// The built-in one shows the text in a box, read as a format without arguments: "%%" becomes "%", every
/// other percent sign stands as it is.
///
/// @param callback receives the text, valid during the call, and its length plus 1; null leads messages to
///                 the box
/// @return the callback given
VEXA_API VexaErrorCallback I_SetErrorHandlerCallback(VexaErrorCallback callback);

/// Shows a message in a box with an OK button and the caption "MESSAGE". The library exports it as `dprintf`
/// too, under a version that only its own users ask for.
/// @param format the text may be longer than it by 19999 characters; null shows "Null string" with the
///               caption "Message Error"; without memory the format itself is shown
/// @return the number of characters formatted; 0 for a null format and without memory
VEXA_API int32_t vexa_dprintf(const char *format, ...) VEXA_PRINTF(1, 2);

/// The same for faults of use; a null format shows an empty text.
VEXA_API int32_t errorprintf(const char *format, ...) VEXA_PRINTF(1, 2);

/// Asks a question of at most 2048 characters in a box with Yes and No and the caption "QUESTION".
/// @param defaultYes non-zero makes Yes the default button, 0 No
/// @return 1 for Yes, 0 for No
VEXA_API int32_t yesno(int32_t defaultYes, const char *format, ...) VEXA_PRINTF(2, 3);

/// yesno with a third button.
/// @return 1 for Yes, 0 for No, 27 (the escape key's code) for Cancel
VEXA_API int32_t yesnocancel(int32_t defaultYes, const char *format, ...) VEXA_PRINTF(2, 3);

/// Puts a function in place that is told how far a long operation is.
/// @param callback   receives the fraction, above 0 and at most 1, and the text; null turns progress off. At
///                   the start it is I_ShowProgress, which does nothing
/// @param intervalMs least time between two calls, at the start 100; 0 means 80 for I_TellProgress and 250
///                   for I_TellProgressEx
/// @return the interval given
VEXA_API int32_t I_SetProgressCallback(VexaProgressCallback callback, int32_t intervalMs);

/// Tells progress, cheaply enough to do so once per row: fraction = min(|done / total|, 1), or 0 where
/// |total| is at most 0.0001.
///
/// Fraction and text are kept for I_GetProgress. The callback is called if the fraction is above 0 and either
/// is exactly 1 or more milliseconds than the interval have passed since this function last got so far. With
/// no callback set nothing happens and nothing is kept.
///
///     I_TellProgress(5, 0, "x")      keeps "x" and the fraction 0, calls nothing
///     I_TellProgress(10, 5, NULL)    fraction 1: calls at once
///
/// @param done,total in any unit
/// @param text       what runs; null and the empty text keep the earlier one. The callback reads "----"
///                   before the first
VEXA_API void I_TellProgress(float done, float total, const char *text);

/// I_TellProgress with a formatted text of at most 300 characters and a time stamp of its own.
VEXA_API void I_TellProgressEx(float done, float total, const char *format, ...) VEXA_PRINTF(3, 4);

/// Reads the progress that was told last.
/// @param buffer receives min(size, length + 1) characters of the text, so that a text as long as the buffer
///               or longer has no terminating zero; "----" if there is no text; may be null
/// @param size   bytes in the buffer; below 1 nothing is copied
/// @return the last fraction, 0 to 1
VEXA_API float I_GetProgress(char *buffer, int32_t size);

/// The progress callback at the start: does nothing.
VEXA_API void I_ShowProgress(float fraction, const char *text);

/// Where long operations ask whether the user wants them to stop: non-zero would stop them. There is no break
/// here.
/// @return 0
VEXA_API int32_t I_UserBreak(int32_t ignored);

/// Physical memory that is available, in KiB (at most 2147483647).
VEXA_API int32_t I_MemAvailable(void);

/// I_MemAvailable in bytes, modulo 2 to the 32.
VEXA_API uint32_t coreleft(void);

/// Tests an allocation. A null pointer sets error 2 with
///
///     "Memory allocation failed: TAG: %.0f MB used, %d MB avail. "
///
/// used being I_TotalBytesUsed / 1000000 and avail I_MemAvailable / 1024, truncated.
///
/// @param format the tag, at most 1000 characters (of which the message keeps what its 500 leave)
/// @return 1 for a pointer, 0 for null: success is 1
VEXA_API int32_t I_MallocOK(const void *pointer, const char *format, ...) VEXA_PRINTF(2, 3);

/// I_MallocOK with the opposite sense, and with " tot=" and the sum of used and avail ("%.0f") in the
/// message:
///
///     "Memory allocation failed: TAG: %.0f MB used, %d MB avail. tot=%.0f"
///
/// @return 0 for a pointer, 1 for null: failure is 1
VEXA_API int32_t malloctest(const void *pointer, const char *format, ...) VEXA_PRINTF(2, 3);

/// Starts a timing: reads the performance counter into the process's start stamp.
/// @param stamp receives the same value as two words, low word first; may be null
/// @return 1
VEXA_API int32_t I_PerfStart(int32_t *stamp);

/// Milliseconds since a stamp, truncated; INT32_MIN where they do not fit.
/// @param stamp of I_PerfStart; null, or a stamp whose low word is 0, stands for the process's start stamp,
///              which every I_PerfStart sets
VEXA_API int32_t I_PerfMilliSec(const int32_t *stamp);

/// Microseconds since a stamp, truncated; INT32_MIN where they do not fit, after 35 minutes.
VEXA_API int32_t I_PerfMicroSec(const int32_t *stamp);

/// Nanoseconds since a stamp, in integers: D / F * 960, D being the ticks divided by 32 and F the counter's
/// ticks per second divided by 33333333 (30 for a counter of nanoseconds). Modulo 2 to the 32; 0 for a
/// counter slower than F = 1.
VEXA_API uint32_t I_PerfNanoSec(const int32_t *stamp);

/// Ticks of the performance counter since a stamp: the difference of the low words, modulo 2 to the 32.
VEXA_API int32_t I_PerfCycles(const int32_t *stamp);

/// Sets the debug word, at the start 0: non-zero turns on what operators show of their inner work, bit value
/// 2 the dumps of line lists and of the alignment as well. Results do not depend on it but where an operator
/// says so.
/// @return the word before
VEXA_API int32_t I_SetDebug(int32_t value);

/// The debug word.
VEXA_API int32_t I_GetDebug(void);

/// Sounds a tone until the next call, on a thread of its own that beeps for 100 ms at a time.
/// @param frequency in hertz; from 11 on it is heard, below 10 the tone ends, at the latest with the running
///                  beep
/// @return the frequency before, at the start 0
VEXA_API int32_t sound(int32_t frequency);

/// sound(0).
VEXA_API int32_t nosound(void);

/// Takes and releases 2097152 bytes and times an empty timing.
/// @param drift receives the block's address minus that of the first call in the process; may be null
/// @return the ticks between I_PerfStart(NULL) and I_PerfCycles(NULL): the process's start stamp is set
VEXA_API int32_t MemTest(int32_t *drift);

/// 10 / a. With a = 0 it raises the processor's division fault on purpose, so that an application can test
/// how it deals with faults; 0 is the result only if a handler steps over the fault.
/// @param b     shows in the words only
/// @param words receives 32 words: a, b and zeros; may be null
VEXA_API int32_t OverflowTest(int32_t a, int32_t b, int32_t *words);

/// Writes an array of numbers as text: rows of elements with a separator between, "\r\n" between rows.
///
///     int16_t a[] = {1, 2, 3, 4};
///     I_FormatArrayEx(out, a, 2, 2, 2, "%d", ", ", "T")    "T\r\n1, 2\r\n3, 4", result 14
///
/// A number is read from the low end of 8 zero bytes, by the conversion letter of the number format: as an
/// integer of the width that the length letters give (none and "l" 32 bits, "ll" 64, "h" 16, "hh" 8) or as a
/// double. So elements of 1 and 2 bytes read without a sign under "%d" and with one under "%hhd" and "%hd".
/// Elements of 4 bytes are 32-bit floats if the letter f stands anywhere in the number format.
///
/// @param out          receives the text behind what it already holds, or from its start if there is a title:
///                     the caller's, large enough, and holding a text; null shows the text in a box with
///                     caption "MESSAGE"
/// @param array        rows without padding
/// @param elementBytes 1 to 8; of larger elements the first 8 bytes count
/// @param rows         below 1 counts as 1
/// @param numberFormat printf format of one number, at most 400 characters of which show. Letters d i o u x X
///                     c and e E f F g G a A; any other conversion, a width of "*" and a second conversion
///                     stand as text. Null is empty
/// @param separator    between the elements of a row; null is none. A tab at the end of a row is dropped
/// @param title        a line in front; may be null
/// @return the length of the text. 0 for a null array, cols or elementBytes below 1: then a null out shows
///         "FormatArray: zero size array: %d x %d x %d bytes" with cols, rows, elementBytes. 0 with error 2
///         and the tag "FormatArray" if there is no memory for the text to show
VEXA_API int32_t I_FormatArrayEx(char *out, const void *array, int32_t elementBytes, int32_t cols,
                                 int32_t rows, const char *numberFormat, const char *separator,
                                 const char *title);

/// I_FormatArrayEx with a blank between elements and no title.
VEXA_API int32_t FormatArray(char *out, const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                             const char *numberFormat);

/// FormatArray with a formatted title, which may be longer than its format by 19999 characters; null is no
/// title.
VEXA_API int32_t FormatArray2(char *out, const void *array, int32_t elementBytes, int32_t cols, int32_t rows,
                              const char *numberFormat, const char *titleFormat, ...) VEXA_PRINTF(7, 8);

#endif
