// The functions of this folder, by the entry of the public record that they fill.
#ifndef VEXA_PLATFORM_POSIX_POSIX_H
#define VEXA_PLATFORM_POSIX_POSIX_H

#include <cstddef>
#include <cstdint>

namespace vexa::platform::posix
{

// boxes.cpp: to the standard error stream, answered with the default button.
int32_t messageBox(const char* text, const char* caption, int32_t buttons, int32_t defaultAnswer);

// clipboard.cpp: kept in the process.
int32_t storeClipboard(int32_t format, const void* data, std::size_t bytes);
std::size_t fetchClipboard(int32_t format, void* buffer, std::size_t capacity);

// threads.cpp
int32_t startTimer(int32_t milliseconds, void (*tick)(void*), void* argument);
int32_t stopTimer(int32_t timer);
int32_t startThread(void (*body)(void*), void* argument);
void beep(int32_t hertz, int32_t milliseconds);

// system.cpp
int64_t counter();
int64_t counterFrequency();
int64_t availableMemory();
int64_t readFile(const char* name, void* buffer, int64_t count);
int32_t lastError(char* text, std::size_t size);

// profile.cpp
std::size_t readProfile(const char* file, const char* section, const char* key, const char* fallback,
                        char* buffer, std::size_t size);
int32_t writeProfile(const char* file, const char* section, const char* key, const char* text);

} // namespace vexa::platform::posix

#endif
