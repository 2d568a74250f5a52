#include <cstdlib>
#include <cstring>

#include "platform/posix/posix.h"

namespace vexa::platform::posix
{
namespace
{

// Where there is a desktop, this memory is the system's and not the library's; hence no block of the
// library's own.
struct Clipboard {
    void* data = nullptr;
    std::size_t bytes = 0;
    int32_t format = 0;
};
constinit Clipboard clipboard;

} // namespace

int32_t storeClipboard(int32_t format, const void* data, std::size_t bytes)
{
    void* copy = data && bytes > 0 ? std::malloc(bytes) : nullptr;
    if (data && bytes > 0 && !copy)
        return 0;
    if (copy)
        std::memcpy(copy, data, bytes);
    std::free(clipboard.data);
    clipboard = {copy, copy ? bytes : 0, format};
    return 1;
}

std::size_t fetchClipboard(int32_t format, void* buffer, std::size_t capacity)
{
    if (!clipboard.data || clipboard.format != format)
        return 0;
    if (buffer)
        std::memcpy(buffer, clipboard.data, capacity < clipboard.bytes ? capacity : clipboard.bytes);
    return clipboard.bytes;
}

} // namespace vexa::platform::posix
