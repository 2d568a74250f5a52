#include "core/message_box.h"

#include "core/text.h"
#include "platform/platform.h"
#include "vexalib/status.h"

// What the library exports as `dprintf` calls it too.
extern "C" int32_t vexa_vdprintf(const char* format, va_list arguments);

namespace vexa
{
namespace
{

constexpr int64_t kMessageRoom = 20000; // characters that the arguments of a message may add to its format

using Question = FixedText<2048>;

int32_t showFormatted(const char* format, va_list arguments)
{
    Buffer<char> text(static_cast<int64_t>(std::strlen(format)) + kMessageRoom);
    if (!text) {
        showMessage(format);
        return 0;
    }
    const std::size_t length =
        formatBounded(text.data(), static_cast<std::size_t>(text.size()) - 1, format, arguments);
    showMessage(text.data());
    return static_cast<int32_t>(length);
}

int32_t ask(int32_t buttons, int32_t defaultYes, const char* text)
{
    return platform::messageBox(text, "QUESTION", buttons, defaultYes ? VEXA_ANSWER_YES : VEXA_ANSWER_NO);
}

} // namespace

void showMessage(const char* text)
{
    platform::messageBox(text, "MESSAGE", VEXA_BOX_OK, VEXA_ANSWER_OK);
}

void showMessageFormat(const char* text)
{
    const std::size_t size = std::strlen(text) + 1;
    Buffer<char> shown(static_cast<int64_t>(size));
    if (!shown) {
        showMessage(text);
        return;
    }
    readAsFormat(shown.data(), size - 1, text);
    showMessage(shown.data());
}

} // namespace vexa

using namespace vexa;

int32_t vexa_vdprintf(const char* format, va_list arguments)
{
    if (!format) {
        platform::messageBox("Null string", "Message Error", VEXA_BOX_OK, VEXA_ANSWER_OK);
        return 0;
    }
    return showFormatted(format, arguments);
}

int32_t vexa_dprintf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int32_t length = vexa_vdprintf(format, arguments);
    va_end(arguments);
    return length;
}

int32_t errorprintf(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int32_t length = showFormatted(format ? format : "", arguments);
    va_end(arguments);
    return length;
}

int32_t yesno(int32_t defaultYes, const char* format, ...)
{
    Question text;
    va_list arguments;
    va_start(arguments, format);
    text.format(format, arguments);
    va_end(arguments);
    return ask(VEXA_BOX_YES_NO, defaultYes, text.get()) == VEXA_ANSWER_YES ? 1 : 0;
}

int32_t yesnocancel(int32_t defaultYes, const char* format, ...)
{
    constexpr int32_t escapeKey = 27;
    Question text;
    va_list arguments;
    va_start(arguments, format);
    text.format(format, arguments);
    va_end(arguments);
    switch (ask(VEXA_BOX_YES_NO_CANCEL, defaultYes, text.get())) {
    case VEXA_ANSWER_YES:
        return 1;
    case VEXA_ANSWER_CANCEL:
        return escapeKey;
    default:
        return 0;
    }
}
