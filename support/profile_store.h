// Where settings lie. The two functions are the platform's: the platform folder, which stands beside this one, defines
// them.
#ifndef VEXA_SUPPORT_PROFILE_STORE_H
#define VEXA_SUPPORT_PROFILE_STORE_H

#include <cstddef>
#include <cstdint>

namespace vexa::platform
{

// The text of a key, or the fallback, into a buffer of size bytes; the result is its length.
std::size_t readProfile(const char* file, const char* section, const char* key, const char* fallback,
                        char* buffer, std::size_t size);
// Writes or replaces the key; 0 if the file cannot be written.
int32_t writeProfile(const char* file, const char* section, const char* key, const char* text);

} // namespace vexa::platform

#endif
