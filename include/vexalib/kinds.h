/// Image kinds: where the pixels of an image live that are not in the library's memory.
///
/// Registering   addimagetype
///
///     static int32_t gaugeSize(int32_t *cols, int32_t *rows, int32_t *stride, int32_t *type);
///     static int32_t readGauge(int32_t x, int32_t y, int32_t width, int32_t height, void *buffer);
///     ImageKindOps ops = {.getBlock = readGauge, .getSize = gaugeSize};
///     addimagetype(24, &ops);
///     int32_t before = I_ImSetMemType(24), im = I_ImOpen(1, 1, PIX_BYTE); // the kind gives the size
///
/// Kinds
///
///     code      pixels
///     1         in memory
///     8         in a file: I_ImOpenFile, or I_ImSetMemType with bit value 8
///     16 to 31  behind the operations that an application registers; 21 is the frame grabber's
///
/// All operators work on images of every kind, through blocks of rows (I_GetNextLines gives their height).
/// Pixels that are not in memory have no addresses: I_ImGet2DPtr gives null for them.
///
/// File images
///
/// Pixel (x, y) is at byte start + y * stride + x * bytes of the file; start is where the stream stood when
/// the image was opened (byte 2147483647 at most; error 17 "fileopen" where it stood further). A block whose
/// rows have just the bytes of the stride is one read or write, any other one per row.
///
///     17 "filegetblock", "fileputrow"     the position cannot be reached
///     18 "filegetblock1(%d %d %d %d)"     the file ends within the block (x, y, width, height); what is missing
///        "filegetblock2(%d %d %d %d)"     is read as zeros. 1: a single read, 2: a read per row
///     19 "Disk full? Read Only? Opened for read?"   not everything could be written
///
/// Without a stream the library makes a temporary file, empty at first: pixels never written read as zeros
/// with error 18. Its name is DIRECTORY + "VEXA" + number + ".TMP" with the first number from 0 to 98 whose
/// file does not exist. DIRECTORY is the value of the first of the environment variables I_TMP, TMP, TEMP
/// that is set and not empty; without one the file lies in the current directory. Between directory and name
/// comes a backslash if the directory holds one, or on systems that separate names so, otherwise a slash;
/// none comes behind a ":", "\" or "/" at the directory's end.
///
///     I_TMP            name
///     C:\T             C:\T\VEXA0.TMP, or C:\T\VEXA1.TMP if that exists
///     /var/tmp         /var/tmp/VEXA0.TMP
///
///     11 "COULD_NOT_OPEN_TEMP_FILE"             the file cannot be made
///     11 "COULD_NOT_OPEN_TEMP_FILE: fileopen"   all 99 names are taken
///
/// Closing the image closes the stream, also one that was given, and removes a temporary file. The stream's
/// position is shared by all its operations: one thread at a time, and nobody else may use it.
#ifndef VEXALIB_KINDS_H
#define VEXALIB_KINDS_H

#include "vexalib/types.h"

/// Registers a kind of image, or replaces its operations: images that are open keep the earlier ones.
///
/// The operations are copied. Null entries are left out, but getSize is required. x and y are pixels, width
/// and height sizes of a block, whose rows lie close together in the buffer.
///
///     hook0, hook1          free for the application
///     getBlock, putBlock    read and write a rectangle; their results are not looked at
///     getPtr                the address of pixel (x, y), the bytes that follow there without a gap, and the
///                           distance of rows; null where there is none. A kind without getBlock or putBlock is
///                           read or written by it
///     select                makes an instance the current one: called with the instance at the open, and
///                           with the value of open before getSize and getPtr later
///     open                  gives a value for an instance, handed to select and close; without it that is the
///                           instance
///     close                 when the image is closed
///     getSize               the present columns, rows, stride in bytes, and pixel type
///     countFn, count        how many instances there are; countFn is asked if it is set. 0 counts as 1
///     unused, inUse         not read
///
/// select does not come before getBlock, putBlock and the hooks: a kind of several instances gives its pixels
/// by getPtr. Size and type are asked for anew at each I_ImGetSize and each getPtr, so they may change
/// between calls. The type that was given to I_ImOpen stands until the first of these. Where the type changes
/// in the midst of a block call, the call is made once more, so both may be asked twice.
///
/// Opening an image of the kind (I_ImSetMemType of the code, then I_ImOpen) takes the first free instance,
/// and fails with
///
///     25 "I_ImOpen (%d)"                                      no such kind is registered
///     1 "ImageTypeOpen: image %d not available (max=%d)"      all are in use; both are their number
///     1 "ImageTypeOpen: image size undefined"                 no getSize
///
/// and a box "Problem in ImageTypeOpen(): incorrect fcn type? inum=%d, type=%d" where an operation opened
/// another image.
///
/// @param kind 16 to 31 for kinds that I_ImSetMemType can name; 0 to 15 are kept, and never used
/// @param ops  copied
/// @return 1; or 0 with error 22 "addimagetype" for another kind or null operations, and with error 2
///         "addimagetype" without memory: then the kind has no operations any more
VEXA_API int32_t addimagetype(int32_t kind, const ImageKindOps *ops);

#endif
