#include <bit>
#include <string_view>
#include <utility>

#include "core/message_box.h"
#include "core/text.h"
#include "vexalib/status.h"

using namespace vexa;

namespace
{

constexpr std::size_t kElementLimit = 400;

// The width of an integer argument, by the conversion's length letters.
enum class Width { byte, half, word, wide };

// A caller's number format taken apart: text, one conversion of a number, text. Whatever else it may hold is
// text, so that no format reads an argument that is not there.
class NumberFormat
{
public:
    explicit NumberFormat(const char* format)
    {
        const std::string_view all = format ? format : "";
        hasLetterF_ = all.find('f') != std::string_view::npos;
        before_ = all;
        for (std::size_t i = 0; i < all.size(); ++i) {
            if (all[i] != '%')
                continue;
            const std::size_t length = parse(all.substr(i));
            if (length > 0) {
                before_ = all.substr(0, i);
                after_ = all.substr(i + length);
                return;
            }
            if (i + 1 < all.size() && all[i + 1] == '%')
                ++i;
        }
    }

    bool hasLetterF() const { return hasLetterF_; }

    // The word as integer or double, as the conversion asks; gives the text's length.
    std::size_t print(char* text, uint64_t word) const
    {
        std::size_t length = addLiteral(text, 0, before_);
        if (letter_ != '\0') {
            char number[kElementLimit + 1] = {};
            convert(number, sizeof number, word);
            length = add(text, length, number);
        }
        length = addLiteral(text, length, after_);
        text[length] = '\0';
        return length;
    }

private:
    // The length of a conversion of a number at the start of the text, which becomes this format's; 0 if it
    // is none.
    std::size_t parse(std::string_view text)
    {
        std::size_t i = text.find_first_not_of("-+ #0", 1);
        if (i == std::string_view::npos)
            return 0;
        const std::string_view flags = text.substr(1, i - 1);
        const int32_t width = parseNumber(text, i);
        int32_t precision = -1;
        if (i < text.size() && text[i] == '.') {
            ++i;
            precision = parseNumber(text, i);
        }
        const std::string_view rest = text.substr(i);
        const std::size_t modifiers = lengthModifiers(rest);
        const char letter = modifiers < rest.size() ? rest[modifiers] : '\0';
        if (letter == '\0' || !std::strchr("diouxXceEfFgGaA", letter))
            return 0;
        build(flags, width, precision, letter);
        return i + modifiers + 1;
    }

    // The figures at position i, held to what can show in an element's text.
    static int32_t parseNumber(std::string_view text, std::size_t& i)
    {
        constexpr int32_t largest = 4 * kElementLimit;
        int32_t value = 0;
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
            value = value >= largest ? largest : value * 10 + (text[i] - '0');
        return value < largest ? value : largest;
    }

    // Counts "hh", "h", "l", "ll", "I64" and the like, and notes the width that they stand for.
    std::size_t lengthModifiers(std::string_view rest)
    {
        struct Modifier {
            std::string_view letters;
            Width width;
        };
        // "l" is 32 bits wide here, as the arrays' elements are.
        static constexpr Modifier modifiers[] = {
            {"hh", Width::byte},  {"h", Width::half},   {"ll", Width::wide}, {"l", Width::word},
            {"I64", Width::wide}, {"I32", Width::word}, {"j", Width::wide},  {"z", Width::wide},
            {"t", Width::wide},   {"L", Width::wide},
        };
        width_ = Width::word;
        for (const Modifier& modifier : modifiers) {
            if (rest.substr(0, modifier.letters.size()) == modifier.letters) {
                width_ = modifier.width;
                return modifier.letters.size();
            }
        }
        return 0;
    }

    void build(std::string_view flags, int32_t width, int32_t precision, char letter)
    {
        letter_ = letter;
        char* out = conversion_;
        *out++ = '%';
        for (const char flag : std::string_view("-+ #0"))
            if (flags.find(flag) != std::string_view::npos)
                *out++ = flag;
        if (width > 0)
            out += std::snprintf(out, 8, "%d", width);
        if (precision >= 0)
            out += std::snprintf(out, 8, ".%d", precision);
        if (std::strchr("diouxX", letter)) {
            *out++ = 'l';
            *out++ = 'l';
        }
        *out++ = letter;
        *out = '\0';
    }

    void convert(char* number, std::size_t size, uint64_t word) const
    {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        // The conversion was built above from what it may hold.
        if (letter_ == 'c')
            std::snprintf(number, size, conversion_, static_cast<int>(word & 255));
        else if (letter_ == 'd' || letter_ == 'i')
            std::snprintf(number, size, conversion_, static_cast<long long>(signedValue(word)));
        else if (std::strchr("ouxX", letter_))
            std::snprintf(number, size, conversion_, static_cast<unsigned long long>(unsignedValue(word)));
        else
            std::snprintf(number, size, conversion_, std::bit_cast<double>(word));
#pragma GCC diagnostic pop
    }

    int64_t signedValue(uint64_t word) const
    {
        switch (width_) {
        case Width::byte:
            return static_cast<int8_t>(word);
        case Width::half:
            return static_cast<int16_t>(word);
        case Width::word:
            return static_cast<int32_t>(word);
        default:
            return static_cast<int64_t>(word);
        }
    }

    uint64_t unsignedValue(uint64_t word) const
    {
        switch (width_) {
        case Width::byte:
            return static_cast<uint8_t>(word);
        case Width::half:
            return static_cast<uint16_t>(word);
        case Width::word:
            return static_cast<uint32_t>(word);
        default:
            return word;
        }
    }

    static std::size_t add(char* text, std::size_t length, const char* more)
    {
        for (; *more && length < kElementLimit; ++more)
            text[length++] = *more;
        return length;
    }

    // "%%" is a percent sign.
    static std::size_t addLiteral(char* text, std::size_t length, std::string_view literal)
    {
        for (std::size_t i = 0; i < literal.size() && length < kElementLimit; ++i) {
            text[length++] = literal[i];
            if (literal.substr(i, 2) == "%%")
                ++i;
        }
        return length;
    }

    std::string_view before_;
    std::string_view after_;
    char conversion_[32] = {};
    char letter_ = '\0';
    Width width_ = Width::word;
    bool hasLetterF_ = false;
};

// Appends to a caller's buffer, which is as large as it needs to be, or to one of its own, which grows.
class TextWriter
{
public:
    explicit TextWriter(char* callers) : text_(callers), length_(static_cast<int64_t>(std::strlen(callers)))
    {
    }
    explicit TextWriter(Buffer<char> own) : own_(std::move(own)), text_(own_.data()) {}

    void add(std::string_view more)
    {
        const auto wanted = static_cast<int64_t>(more.size());
        const int64_t limit = roomFor(length_ + wanted);
        const int64_t count = wanted < limit - length_ ? wanted : limit - length_;
        std::memcpy(text_ + length_, more.data(), static_cast<std::size_t>(count));
        length_ += count;
        text_[length_] = '\0';
    }
    void dropTab()
    {
        if (length_ > 0 && text_[length_ - 1] == '\t')
            text_[--length_] = '\0';
    }
    const char* get() const { return text_; }
    int32_t length() const { return static_cast<int32_t>(length_); }

private:
    // The length that the text may have: what is wanted, or less where memory ends.
    int64_t roomFor(int64_t length)
    {
        constexpr int64_t longest = INT32_MAX;
        if (!own_)
            return longest;
        if (length >= own_.size()) {
            Buffer<char> grown(2 * length);
            if (grown) {
                std::memcpy(grown.data(), text_, static_cast<std::size_t>(length_));
                own_ = std::move(grown);
                text_ = own_.data();
            }
        }
        return own_.size() - 1 < longest ? own_.size() - 1 : longest;
    }

    Buffer<char> own_;
    char* text_;
    int64_t length_ = 0;
};

struct ArrayShape {
    const uint8_t* elements;
    int64_t elementBytes;
    int64_t cols;
    int64_t rows;
};

// The 8-byte word that the number format reads.
uint64_t wordOf(const uint8_t* element, int64_t bytes, const NumberFormat& format)
{
    if (bytes == 4 && format.hasLetterF()) {
        float value = 0;
        std::memcpy(&value, element, sizeof value);
        return std::bit_cast<uint64_t>(static_cast<double>(value));
    }
    uint64_t word = 0;
    std::memcpy(&word, element, static_cast<std::size_t>(bytes < 8 ? bytes : 8)); // little end first
    return word;
}

void writeRows(TextWriter& text, const ArrayShape& array, const NumberFormat& format,
               std::string_view separator)
{
    char element[kElementLimit + 1];
    const uint8_t* next = array.elements;
    for (int64_t y = 0; y < array.rows; ++y) {
        for (int64_t x = 0; x < array.cols; ++x, next += array.elementBytes) {
            text.add({element, format.print(element, wordOf(next, array.elementBytes, format))});
            if (x + 1 < array.cols)
                text.add(separator);
        }
        text.dropTab();
        if (y + 1 < array.rows)
            text.add("\r\n");
    }
}

TextWriter write(TextWriter text, const ArrayShape& array, const char* numberFormat, const char* separator,
                 const char* title)
{
    if (title) {
        text.add(title);
        text.add("\r\n");
    }
    writeRows(text, array, NumberFormat(numberFormat), separator ? separator : "");
    return text;
}

// The room that a shown text starts with; -1 where that is no size.
int64_t describedSize(const ArrayShape& array, const char* title)
{
    constexpr int64_t bytesPerElement = 100;
    int64_t bytes = 0;
    if (__builtin_mul_overflow(array.cols * array.rows, bytesPerElement, &bytes))
        return -1;
    return bytes + 10 + (title ? static_cast<int64_t>(std::strlen(title)) : 0);
}

} // namespace

int32_t I_FormatArrayEx(char* out, const void* array, int32_t elementBytes, int32_t cols, int32_t rows,
                        const char* numberFormat, const char* separator, const char* title)
{
    rows = rows < 1 ? 1 : rows;
    if (!array || cols < 1 || elementBytes < 1) {
        if (!out)
            errorprintf("FormatArray: zero size array: %d x %d x %d bytes", cols, rows, elementBytes);
        return 0;
    }
    const ArrayShape shape{static_cast<const uint8_t*>(array), elementBytes, cols, rows};
    if (out) {
        if (title)
            *out = '\0';
        return write(TextWriter(out), shape, numberFormat, separator, title).length();
    }
    Buffer<char> own(describedSize(shape, title));
    if (malloctest(own.data(), "FormatArray"))
        return 0;
    const TextWriter text = write(TextWriter(std::move(own)), shape, numberFormat, separator, title);
    showMessage(text.get());
    return text.length();
}

int32_t FormatArray(char* out, const void* array, int32_t elementBytes, int32_t cols, int32_t rows,
                    const char* numberFormat)
{
    return I_FormatArrayEx(out, array, elementBytes, cols, rows, numberFormat, " ", nullptr);
}

int32_t FormatArray2(char* out, const void* array, int32_t elementBytes, int32_t cols, int32_t rows,
                     const char* numberFormat, const char* titleFormat, ...)
{
    constexpr int64_t titleRoom = 20000; // characters that the arguments may add to the title
    if (!titleFormat)
        return I_FormatArrayEx(out, array, elementBytes, cols, rows, numberFormat, " ", nullptr);
    Buffer<char> title(static_cast<int64_t>(std::strlen(titleFormat)) + titleRoom);
    if (title) {
        va_list arguments;
        va_start(arguments, titleFormat);
        formatBounded(title.data(), static_cast<std::size_t>(title.size()) - 1, titleFormat, arguments);
        va_end(arguments);
    }
    return I_FormatArrayEx(out, array, elementBytes, cols, rows, numberFormat, " ",
                           title ? title.data() : titleFormat);
}
