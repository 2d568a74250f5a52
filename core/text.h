// Texts of a fixed limit, formatted on the stack, and texts that are kept for later readers.
#ifndef VEXA_CORE_TEXT_H
#define VEXA_CORE_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "support/buffer.h"

namespace vexa
{

// Formats at most limit characters and a terminating zero; gives the length that stands there. A null format
// is empty.
inline std::size_t formatBounded(char* text, std::size_t limit, const char* format, va_list arguments)
{
    text[0] = '\0';
    if (!format || std::vsnprintf(text, limit + 1, format, arguments) < 0)
        text[0] = '\0';
    return std::strlen(text);
}

// Copies a finished text as a formatter without arguments would: "%%" becomes "%", every other conversion
// stands as it is. So a text from outside never reaches a formatter.
inline void readAsFormat(char* text, std::size_t limit, const char* format)
{
    std::size_t length = 0;
    for (const char* c = format; c && *c && length < limit; ++c) {
        text[length++] = *c;
        if (c[0] == '%' && c[1] == '%')
            ++c;
    }
    text[length] = '\0';
}

// At most Limit characters.
template <std::size_t Limit>
class FixedText
{
public:
    const char* get() const { return text_; }
    std::size_t length() const { return std::strlen(text_); }
    bool empty() const { return text_[0] == '\0'; }

    void format(const char* format, va_list arguments) { formatBounded(text_, Limit, format, arguments); }
    __attribute__((format(printf, 2, 3))) void print(const char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        formatBounded(text_, Limit, format, arguments);
        va_end(arguments);
    }
    // What a formatter without arguments would make of the text.
    void readAsFormat(const char* format) { vexa::readAsFormat(text_, Limit, format); }
    void set(const char* text) { print("%s", text); }
    void replace(char from, char to)
    {
        for (char* c = text_; *c; ++c)
            if (*c == from)
                *c = to;
    }

private:
    char text_[Limit + 1] = {};
};

// A text kept for later readers. Its block only grows, so that telling texts of the usual length never
// allocates after the first. It is kept for the life of the process.
class KeptText
{
public:
    // Takes a copy; without memory for it there is no text any more.
    void keep(const char* text)
    {
        const auto bytes = static_cast<int64_t>(std::strlen(text)) + 1;
        present_ = bytes <= capacity_ || grow(bytes);
        if (present_)
            std::memmove(block_, text, static_cast<std::size_t>(bytes));
    }
    // Null if there is none.
    const char* get() const { return present_ ? block_ : nullptr; }

private:
    bool grow(int64_t bytes)
    {
        constexpr int64_t step = 256;
        const int64_t capacity = (bytes + step - 1) / step * step;
        auto* block = static_cast<char*>(allocateBlock(capacity));
        if (!block)
            return false;
        releaseBlock(block_);
        block_ = block;
        capacity_ = capacity;
        return true;
    }

    char* block_ = nullptr;
    int64_t capacity_ = 0;
    bool present_ = false;
};

} // namespace vexa

#endif
