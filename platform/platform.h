// What the operating system gives, in the library's own words. Each function is the one that the application
// put in place with vexaSetPlatform, or else the system's own.
#ifndef VEXA_PLATFORM_PLATFORM_H
#define VEXA_PLATFORM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "vexalib/platform.h"

namespace vexa::platform
{

// Shows a text until one of the buttons (VEXA_BOX_...) is chosen; gives the answer (VEXA_ANSWER_...).
int32_t messageBox(const char* text, const char* caption, int32_t buttons, int32_t defaultAnswer);

// Replaces what the clipboard holds by a copy of the data; 0 if the clipboard cannot be had.
int32_t storeClipboard(int32_t format, const void* data, std::size_t bytes);
// Copies at most capacity bytes of what the clipboard holds in a format; gives all the bytes it holds, 0 for
// none.
std::size_t fetchClipboard(int32_t format, void* buffer, std::size_t capacity);

// The record whose five functions for movable memory serve; null where the library's own blocks do.
const VexaPlatform* movableMemory();

// A drawing target on a window, or on the screen for null; null where there is no display.
void* openDisplay(void* window);
void closeDisplay(void* window, void* target);
// Rows drawn; 0 where there is no display or nothing was drawn.
int32_t stretchBitmap(void* target, const VexaStretch& stretch);

// Calls tick on a thread of its own every so many milliseconds; gives the timer's number, or 0.
int32_t startTimer(int32_t milliseconds, void (*tick)(void*), void* argument);
// Returns when no tick runs any more, at once if called from the tick itself; 0 if there is no such timer.
int32_t stopTimer(int32_t timer);
// Runs body on a new thread that nobody waits for; 0 if there is none to be had.
int32_t startThread(void (*body)(void*), void* argument);
// Sounds for the time given and returns after it; 0 hertz is silence.
void beep(int32_t hertz, int32_t milliseconds);

// A counter that only grows, and its ticks per second.
int64_t counter();
int64_t counterFrequency();
// Bytes of physical memory that a program could get now.
int64_t availableMemory();

// Reads at most count bytes from the start of a file; gives the bytes read, 0 where there is no such file.
int64_t readFile(const char* name, void* buffer, int64_t count);
// Sets and tells a stream's position from the start of its file, in files of any size; false and -1 where
// there is none.
bool seekFile(std::FILE* file, int64_t position);
int64_t filePosition(std::FILE* file);

// The code of this thread's last failed system call, and the system's text for it.
int32_t lastError(char* text, std::size_t size);

// What stands between the names of a path.
char directorySeparator();

// Raises the processor's division fault; returns only if a handler steps over it.
void raiseDivisionFault();

} // namespace vexa::platform

#endif
