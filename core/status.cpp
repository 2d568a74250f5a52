#include "vexalib/status.h"

#include <iterator>

#include "core/error.h"
#include "core/message_box.h"
#include "core/text.h"
#include "platform/platform.h"
#include "support/numbers.h"
#include "vexalib/image.h"

using namespace vexa;

namespace
{

constexpr const char* kErrorNames[] = {
    "",
    "Error",
    "MEM ALLOC",
    "BADPTR",
    "BUF_LEN_TOO_LONG",
    "NEG_OFFSET",
    "USER_BREAK",
    "NOT_ENOUGH_DOS_MEMORY",
    "NO_EXTMEM_HANDLES",
    "NO_AVAIL_EXTMEM",
    "EMS_MAP_ERROR",
    "COULD_NOT_OPEN_TEMP_FILE",
    "ILLEGAL_PARAMETER",
    "ILLEGAL_COORDINATES",
    "ILLEGAL_ROISIZE",
    "MATH_ERROR",
    "FILE_DID_NOT_OPEN",
    "FILE_SEEK_FAILED",
    "FILE_READ_FAILED",
    "FILE_WRITE_FAILED",
    "IMAGE_NOT_OPEN",
    "NO_AVAIL_IMAGE_HANDLES",
    "UNAVAIL_IMAGE_TYPE",
    "NO_PIXEL_CONVERSION",
    "ILLEGAL_IMAGE_NUM",
    "ILLEGAL_IMAGE_TYPE",
    "ILLEGAL_ROW_NUM",
    "ILLEGAL_KERNEL_SIZE",
    "ILLEGAL_KERNEL_NUM",
    "ILLEGAL_FILE_NAME",
    "BAD_FONTFILE",
    "GRAPHICS_OUTSIDE_WINDOW",
    "ILLEGAL_PIX_BYTES",
    "ILLEGAL_ROI",
    "MIXED_PIX_TYPES",
    "BLOBTABLE_FULL",
    "TIFF_TOO_MANY_IFDS",
    "TIFF_FEATURE_NOT_SUPPORTED",
    "INVALID_SCANLIST",
    "COMPRESS_DID_NOT_RUN",
    "COMPRESS_FAILED",
    "DIGITIZER_DOES NOT_RESPOND", // Required: the blank.
    "DIGITIZER_TIMEOUT",
    "REQUIRED_HW_UNAVAILABLE",
    "BOARD_SPECIFIC",
    "HARDWARE_ERROR",
    "MALLOC_ZERO_SIZE",
    "TEMP_DISK_FULL",
};
static_assert(std::size(kErrorNames) == 48);

constexpr std::size_t kMessageLimit = 500;
constexpr std::size_t kShortMessage = 10; // shorter ones are tags
constexpr std::size_t kPostLimit = 1000;
constexpr std::size_t kShowLimit = 2000;

using ErrorMessage = FixedText<kMessageLimit>;
using PostText = FixedText<kPostLimit>;
using ShowText = FixedText<kShowLimit>;

void showPosted(const char* text, int32_t)
{
    showMessageFormat(text);
}

struct State {
    int32_t code = 0;
    ErrorMessage message;
    VexaErrorCallback callback = showPosted;
    KeptText posted;
    int32_t debug = 0;
    int32_t (*userBreak)(int32_t) = nullptr;
};
constinit State state;

const char* nameOf(int32_t code)
{
    return code >= 0 && code < static_cast<int32_t>(std::size(kErrorNames)) ? kErrorNames[code] : "";
}

// A short message is a mere tag: the name of the code goes in front.
void completeShortMessage()
{
    if (state.message.length() >= kShortMessage)
        return;
    const char* name = nameOf(state.code);
    if (state.message.empty() || state.code == 0) {
        state.message.set(name);
        return;
    }
    ErrorMessage text;
    text.print("%s: %s", name, state.message.get());
    state.message = text;
}

int32_t setError(int32_t code, const char* format, va_list arguments)
{
    state.code = code;
    if (format) {
        ErrorMessage text; // an argument may be the message itself
        text.format(format, arguments);
        state.message = text;
    }
    completeShortMessage();
    return 0;
}

int32_t showPending(int32_t code, const ShowText& callersText)
{
    FixedText<64> name;
    name.set(nameOf(code));
    name.replace('_', ' ');
    FixedText<kShowLimit + kMessageLimit + 100> text;
    if (name.empty())
        text.print("%s %s", callersText.get(), state.message.get());
    else
        text.print("%s <%s> %s", callersText.get(), name.get(), state.message.get());
    state.posted.keep(text.get());
    if (state.callback) {
        state.callback(text.get(), static_cast<int32_t>(text.length()) + 1);
    } else {
        PostText posted;
        posted.readAsFormat(text.get());
        state.posted.keep(posted.get());
        showMessageFormat(posted.get());
    }
    setErrorCode(0);
    return code;
}

struct MemoryFigures {
    double usedMB;
    int32_t availableMB;
};

MemoryFigures memoryFigures()
{
    // Counting the images may itself run out of memory, and then reports it here.
    static constinit bool counting = false;
    double used = 0;
    if (!counting) {
        counting = true;
        used = I_TotalBytesUsed();
        counting = false;
    }
    return {used / 1000000.0, I_MemAvailable() / 1024};
}

} // namespace

int32_t vexa::setErrorCode(int32_t code)
{
    state.code = code;
    completeShortMessage();
    return 0;
}

void vexa::setUserBreakHook(int32_t (*hook)(int32_t))
{
    state.userBreak = hook;
}

int32_t I_SetError(int32_t code, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    setError(code, format, arguments);
    va_end(arguments);
    return 0;
}

int32_t I_SetError1(int32_t code, const char* text)
{
    state.code = code;
    if (text) {
        ErrorMessage copy;
        copy.set(text);
        state.message = copy;
    }
    return 0;
}

int32_t I_GetError(char* buffer, int32_t size)
{
    if (buffer && size > 0) {
        std::snprintf(buffer, static_cast<std::size_t>(size), "%s", state.message.get());
        buffer[size - 1] = '\0';
    }
    return state.code;
}

const char* I_GetErrorStr()
{
    return nameOf(state.code);
}

int32_t I_ShowError(const char* format, ...)
{
    const int32_t code = state.code;
    if (code < 1)
        return code;
    ShowText text;
    va_list arguments;
    va_start(arguments, format);
    text.format(format, arguments);
    va_end(arguments);
    return showPending(code, text);
}

int32_t I_ShowError1(const char* text)
{
    const int32_t code = state.code;
    if (code < 1)
        return code;
    ShowText shown;
    shown.readAsFormat(text);
    return showPending(code, shown);
}

int32_t I_PostMessage(const char* format, ...)
{
    PostText text;
    va_list arguments;
    va_start(arguments, format);
    text.format(format, arguments);
    va_end(arguments);
    state.posted.keep(text.get());
    if (state.callback)
        state.callback(text.get(), static_cast<int32_t>(text.length()) + 1);
    else
        showMessageFormat(text.get());
    return 1;
}

int32_t I_GetErrorHandlerMsg(char* buffer, int32_t size)
{
    if (!buffer || size < 1)
        return 0;
    const char* text = state.posted.get();
    std::snprintf(buffer, static_cast<std::size_t>(size), "%s", text ? text : "");
    buffer[size - 1] = '\0';
    return static_cast<int32_t>(std::strlen(buffer));
}

VexaErrorCallback I_SetErrorHandlerCallback(VexaErrorCallback callback)
{
    state.callback = callback;
    return callback;
}

int32_t I_UserBreak(int32_t word)
{
    return state.userBreak ? state.userBreak(word) : 0;
}

int32_t I_MemAvailable()
{
    return saturateToInt32(platform::availableMemory() >> 10);
}

uint32_t coreleft()
{
    // Required: the count wraps above 4 GiB.
    return static_cast<uint32_t>(I_MemAvailable()) << 10;
}

int32_t I_MallocOK(const void* pointer, const char* format, ...)
{
    if (pointer)
        return 1;
    PostText tag;
    va_list arguments;
    va_start(arguments, format);
    tag.format(format, arguments);
    va_end(arguments);
    const MemoryFigures memory = memoryFigures();
    I_SetError(2, "Memory allocation failed: %s: %.0f MB used, %d MB avail. ", tag.get(), memory.usedMB,
               memory.availableMB);
    return 0;
}

int32_t malloctest(const void* pointer, const char* format, ...)
{
    if (pointer)
        return 0;
    PostText tag;
    va_list arguments;
    va_start(arguments, format);
    tag.format(format, arguments);
    va_end(arguments);
    const MemoryFigures memory = memoryFigures();
    I_SetError(2, "Memory allocation failed: %s: %.0f MB used, %d MB avail. tot=%.0f", tag.get(),
               memory.usedMB, memory.availableMB, memory.usedMB + memory.availableMB);
    return 1;
}

int32_t I_SetDebug(int32_t value)
{
    const int32_t old = state.debug;
    state.debug = value;
    return old;
}

int32_t I_GetDebug()
{
    return state.debug;
}
