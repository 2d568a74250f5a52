/// What the operating system gives the library, and how an application puts its own in place.
///
/// Replacing        vexaSetPlatform, VexaPlatform
/// Movable memory   vexaGlobalAlloc, vexaGlobalLock, vexaGlobalUnlock, vexaGlobalSize, vexaGlobalFree
///
///     static void beepOnPanel(int32_t hertz, int32_t milliseconds);
///
///     VexaPlatform mine = {sizeof mine};
///     mine.beep = beepOnPanel; // all else stays the system's
///     vexaSetPlatform(&mine);
#ifndef VEXALIB_PLATFORM_H
#define VEXALIB_PLATFORM_H

#include "vexalib/types.h"

/// The buttons of a message box.
enum {
    VEXA_BOX_OK = 0,           ///< a message with one button
    VEXA_BOX_YES_NO = 1,       ///< a question
    VEXA_BOX_YES_NO_CANCEL = 2 ///< a question that can be called off
};

/// The answers of a message box.
enum { VEXA_ANSWER_OK = 1, VEXA_ANSWER_YES = 2, VEXA_ANSWER_NO = 3, VEXA_ANSWER_CANCEL = 4 };

/// What a clipboard holds. The numbers are the published ones of the desktop system that bitmaps come from.
enum {
    VEXA_CLIPBOARD_TEXT = 1, ///< the bytes of a text with its terminating zero
    VEXA_CLIPBOARD_DIB = 8   ///< a device-independent bitmap: header, palette, rows
};

/// One drawing of a bitmap, or a part of it, onto a rectangle of a display target. Positions and sizes are in
/// pixels; source and target sizes that differ stretch the picture.
typedef struct VexaStretch {
    int32_t targetX, targetY, targetWidth, targetHeight;
    int32_t sourceX, sourceY, sourceWidth, sourceHeight;
    const void *header;     ///< the bitmap's 40-byte header with its palette, if any, behind it
    const void *pixels;     ///< the bitmap's rows, each padded to 4 bytes
    const uint8_t *palette; ///< for a target of palette indexes: 256 entries of red, green, blue, 0
} VexaStretch;

/// The functions that stand between the library and the system. A null entry leaves the system's own, which
/// is told in each entry as "Built in".
///
/// Entries whose functions share handles or units belong together: clipboard, movable memory, display, timer,
/// counter. Where one of such a group is null, the built-in ones of the group stay. The functions are called
/// on the thread that uses the library, but beep on the beeper's thread too, and a timer's tick on the
/// timer's.
///
/// This version calls all of them but the timer, which is for the functions on line scans and not called
/// before those.
typedef struct VexaPlatform {
    size_t size; ///< sizeof(VexaPlatform), by which a library knows an older program's record

    /// Shows a text until a button is chosen.
    /// @param buttons       VEXA_BOX_OK, VEXA_BOX_YES_NO or VEXA_BOX_YES_NO_CANCEL
    /// @param defaultAnswer the answer of the default button, VEXA_ANSWER_OK, _YES or _NO
    /// @return VEXA_ANSWER_...
    /// Built in: one line "CAPTION: TEXT" on the standard error stream, for a question with its buttons and
    /// the answer behind it; the answer is that of the default button.
    int32_t (*messageBox)(const char *text, const char *caption, int32_t buttons, int32_t defaultAnswer);

    /// Replaces what the clipboard holds by a copy of the data; null data empties it.
    /// @param format VEXA_CLIPBOARD_...
    /// @return 1, or 0 if the clipboard cannot be had
    /// Built in: a clipboard within the process.
    int32_t (*storeClipboard)(int32_t format, const void *data, size_t bytes);
    /// Copies what the clipboard holds.
    /// @param buffer receives at most capacity bytes; may be null
    /// @return all bytes that the clipboard holds in this format, 0 for none
    size_t (*fetchClipboard)(int32_t format, void *buffer, size_t capacity);

    /// Movable memory, as vexaGlobalAlloc and its sisters describe it. Built in: the library's own blocks.
    void *(*globalAlloc)(size_t bytes);
    void *(*globalLock)(void *handle);
    int32_t (*globalUnlock)(void *handle);
    size_t (*globalSize)(void *handle);
    void *(*globalFree)(void *handle);

    /// Opens a drawing target on a window, or on the whole screen for null.
    /// @return the target, or null if there is none
    /// Built in: there is no display, and every target is null.
    void *(*openDisplay)(void *window);
    /// Closes a target of openDisplay.
    void (*closeDisplay)(void *window, void *target);
    /// Draws a bitmap onto a target.
    /// @return the rows drawn, 0 for none
    int32_t (*stretchBitmap)(void *target, const VexaStretch *stretch);

    /// Calls a function again and again, on a thread of the timer's, with a resolution of 10 milliseconds or
    /// better. Ticks that come due while one runs may be dropped.
    /// @return the timer's number, above 0; or 0 if there is none to be had, for milliseconds below 1, or a
    ///         null tick
    /// Built in: a thread per timer.
    int32_t (*startTimer)(int32_t milliseconds, void (*tick)(void *argument), void *argument);
    /// Ends a timer: no tick runs any more on return, and none will. A tick may end its own timer.
    /// @return 1, or 0 if there is no such timer
    int32_t (*stopTimer)(int32_t timer);
    /// Runs a function on a new thread that nobody waits for.
    /// @return 1, or 0 if there is none to be had
    int32_t (*startThread)(void (*body)(void *argument), void *argument);
    /// Sounds and returns when the time is over. 0 hertz for 0 milliseconds ends a sound.
    /// Built in: the bell of the terminal, if the standard error stream is one; it has one pitch.
    void (*beep)(int32_t hertz, int32_t milliseconds);

    /// A counter that never goes back, and its ticks per second. Built in: nanoseconds since the system
    /// started.
    int64_t (*counter)(void);
    int64_t (*counterFrequency)(void);
    /// Bytes of physical memory that a program could get now. Built in: the system's estimate.
    int64_t (*availableMemory)(void);

    /// Reads at most count bytes from the start of a file.
    /// @return the bytes read, 0 where there is no such file
    int64_t (*readFile)(const char *name, void *buffer, int64_t count);
    /// Reads the text of a key from a section of a settings file.
    /// @param fallback what is read where there is no such file, section or key; may lie in the buffer; null
    ///                 is empty
    /// @param buffer   receives at most size - 1 characters and a terminating zero
    /// @return the length of the text in the buffer
    /// Built in: text files of "[section]" and "key=text" lines. Case does not count in names, blanks around
    /// names and text and one pair of quotes around the text do not belong to it, lines that begin with ";"
    /// are comments.
    size_t (*readProfile)(const char *file, const char *section, const char *key, const char *fallback,
                          char *buffer, size_t size);
    /// Writes or replaces the text of a key, and adds file and section where they are missing. The text
    /// ends at its first line end; a null text removes the key. All other lines stay as they are.
    /// @return 1, or 0 if the file cannot be written
    int32_t (*writeProfile)(const char *file, const char *section, const char *key, const char *text);

    /// The code of the last failed system call of this thread.
    /// @param text receives the system's text for it; may be null
    int32_t (*lastError)(char *text, size_t size);
} VexaPlatform;

/// Puts an application's functions in the place of the system's. Every call replaces the whole record.
/// @param platform copied; null entries, and a null record, give the system's own back
/// @return 1; or 0, with nothing changed, if the record's size is below that of its first field or larger
///         than this library's record
/// Handles that functions of the earlier record gave out must not be in use any more.
VEXA_API int32_t vexaSetPlatform(const VexaPlatform *platform);

/// Allocates a movable block, zeroed: what a DIB's handle is.
/// @return an opaque handle, not an address; null if there is no memory, which is then the last system error
/// The block lies in memory at least until vexaGlobalFree. A handle that was freed or never given out is
/// refused by all these functions, never followed.
VEXA_API void *vexaGlobalAlloc(size_t bytes);

/// Locks a block once more. Its address stays the same until it is freed.
/// @return the block's address; null for a wrong handle
VEXA_API void *vexaGlobalLock(void *handle);

/// Takes one lock off a block.
/// @return the locks that are left; 0 for a wrong handle and for a block that is not locked
VEXA_API int32_t vexaGlobalUnlock(void *handle);

/// The bytes of a block, as they were asked for; 0 for a wrong handle.
VEXA_API size_t vexaGlobalSize(void *handle);

/// Frees a block, whether it is locked or not.
/// @return null; or the handle itself, if it is a wrong one. Null is freed to null.
VEXA_API void *vexaGlobalFree(void *handle);

#endif
