// Where files and settings lie. The functions are the platform's: the platform folder, which stands beside this one,
// defines them.
#ifndef VEXA_SUPPORT_PLATFORM_FILES_H
#define VEXA_SUPPORT_PLATFORM_FILES_H

#include <cstddef>
#include <cstdint>

namespace vexa::platform
{

// The first bytes of a file, at most count; how many there were, 0 if there is no such file.
int64_t readFile(const char* name, void* buffer, int64_t count);
// The text of a key, or the fallback, into a buffer of size bytes; the result is its length.
std::size_t readProfile(const char* file, const char* section, const char* key, const char* fallback,
                        char* buffer, std::size_t size);
// Writes or replaces the key; 0 if the file cannot be written.
int32_t writeProfile(const char* file, const char* section, const char* key, const char* text);

} // namespace vexa::platform

#endif
