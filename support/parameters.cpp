#include "vexalib/parameters.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "support/numbers.h"
#include "support/platform_files.h"
#include "support/read_number.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr std::size_t kNameBytes = 4096;
constexpr std::size_t kTextLimit = 800;
// "%f" of the largest double has 316 characters.
constexpr std::size_t kNumberBytes = 400;
// What stands for a missing key; no setting is a control character.
constexpr const char* kMissing = "\x01";
constexpr std::string_view kSeparators = " ,;\t";

struct State {
    char file[kNameBytes] = {};
    char section[kNameBytes] = {};
    int32_t writeDefault = 1;
};
constinit State state;

// A name that does not fit is none, so that no other file is taken for it.
void setName(char (&name)[kNameBytes], const char* given)
{
    const std::size_t length = given ? std::strlen(given) : 0;
    if (length == 0 || length >= kNameBytes)
        name[0] = '\0';
    else
        std::memmove(name, given, length + 1);
}

// False, with a box, while nobody said where the settings are.
bool ready(const char* key)
{
    if (state.file[0] && state.section[0])
        return true;
    errorprintf("Call to read or write param (%s) with out ParamFile(%s) or AppName(%s) set", key, state.file,
                state.section);
    return false;
}

const char* notNull(const char* key)
{
    return key ? key : "";
}

std::size_t fetch(const char* key, const char* fallback, char* text, std::size_t size)
{
    return platform::readProfile(state.file, state.section, key, fallback, text, size);
}

bool store(const char* key, const char* text)
{
    return platform::writeProfile(state.file, state.section, key, text) != 0;
}

enum class Held { missing, empty, text };

// What a key holds. Asked without the caller's buffer, in which any text may be empty for want of room.
Held heldBy(const char* key)
{
    char text[4];
    if (fetch(key, kMissing, text, sizeof text) == 0)
        return Held::empty;
    return std::strcmp(text, kMissing) == 0 ? Held::missing : Held::text;
}

// The number that a text begins with, 0 if there is none.
double numberIn(const char* text)
{
    double number = 0.0;
    readNumber(text, number);
    return number;
}

char* print(char* at, char* end, int32_t value)
{
    return std::to_chars(at, end, value).ptr;
}

// "%f"
char* printFixed(char* at, char* end, double value)
{
    return std::to_chars(at, end, value, std::chars_format::fixed, 6).ptr;
}

// "%.5g"
char* print(char* at, char* end, double value)
{
    return std::to_chars(at, end, value, std::chars_format::general, 5).ptr;
}

int32_t storeLong(int32_t value, const char* key)
{
    char text[kNumberBytes];
    *print(text, text + kNumberBytes - 1, value) = '\0';
    if (store(key, text))
        return 1;
    errorprintf("WPPS(%s %s %s %s) failed in WriteLongParam", state.section, key, text, state.file);
    return 0;
}

int32_t storeDouble(double value, const char* key)
{
    char text[kNumberBytes];
    *printFixed(text, text + kNumberBytes - 1, value) = '\0';
    if (store(key, text))
        return 1;
    errorprintf("WPPS failed in WriteDblParam");
    return 0;
}

int32_t storeText(const char* text, const char* key)
{
    if (store(key, text))
        return 1;
    errorprintf("WPPS failed in WriteStrParam");
    return 0;
}

void showFailedArray(const char* key, const char* text, const int32_t*, int32_t)
{
    errorprintf("WPPS(%s %s %s %s) failed in WriteIArrayParam", state.section, key, text, state.file);
}

void showFailedArray(const char* key, const char* text, const double*, int32_t count)
{
    errorprintf("WPPS(%s %s %s %s) failed in WriteDArrayParam. nvalues=%d", state.section, key, text,
                state.file, count);
}

// The values with ";" between; false, with those that fit, where they are too many.
template <typename Value>
bool joinValues(const Value* values, int32_t count, char (&text)[kTextLimit + 1])
{
    char* at = text;
    for (int32_t i = 0; i < count; ++i) {
        char value[32];
        const char* const end = print(value, value + sizeof value, values[i]);
        const auto room = static_cast<std::size_t>(text + kTextLimit - at);
        const auto length = static_cast<std::size_t>(end - value);
        if (length + (i > 0) > room) {
            *at = '\0';
            return false;
        }
        if (i > 0)
            *at++ = ';';
        std::memcpy(at, value, length);
        at += length;
    }
    *at = '\0';
    return true;
}

template <typename Value>
int32_t storeArray(const Value* values, int32_t count, const char* key)
{
    char text[kTextLimit + 1];
    if (joinValues(values, count, text) && store(key, text))
        return 1;
    showFailedArray(key, text, values, count);
    return 0;
}

int32_t valueOf(double number, const int32_t*)
{
    return truncToInt32(number);
}

double valueOf(double number, const double*)
{
    return number;
}

// The part of a text that counts, which ends with a whole number.
std::string_view countedText(const char* text, std::size_t length)
{
    const std::string_view all(text, std::min(length, kTextLimit));
    const bool cut = length > kTextLimit && kSeparators.find(text[kTextLimit]) == std::string_view::npos;
    if (!cut)
        return all;
    const std::size_t last = all.find_last_of(kSeparators);
    return all.substr(0, last == std::string_view::npos ? 0 : last);
}

template <typename Value>
int32_t splitValues(std::string_view text, Value* values, int32_t count)
{
    int32_t stored = 0;
    while (stored < count) {
        const std::size_t start = text.find_first_not_of(kSeparators);
        if (start == std::string_view::npos)
            break;
        text.remove_prefix(start);
        // What counts ends at a separator or at the text's own end, so a number cannot run on.
        values[stored] = valueOf(numberIn(text.data()), values);
        ++stored;
        text.remove_prefix(std::min(text.find_first_of(kSeparators), text.size()));
    }
    return stored;
}

template <typename Value>
int32_t readArray(Value* values, int32_t count, const char* key)
{
    if (!ready(key) || !values)
        return 0;
    char text[kTextLimit + 2];
    const std::size_t length = fetch(key, kMissing, text, sizeof text);
    if (std::strcmp(text, kMissing) != 0)
        return splitValues(countedText(text, length), values, count);
    if (state.writeDefault)
        storeArray(values, count, key);
    return 0;
}

template <typename Value>
int32_t writeArray(const Value* values, int32_t count, const char* key)
{
    return ready(key) && values ? storeArray(values, count, key) : 0;
}

// Copies at most size - 1 characters and a zero.
int32_t copyText(char* text, std::size_t size, std::string_view from)
{
    const std::size_t length = std::min(from.size(), size - 1);
    std::memmove(text, from.data(), length);
    text[length] = '\0';
    return static_cast<int32_t>(length);
}

// The first characters of a text that may lack its terminating zero.
std::string_view textIn(const char* buffer, std::size_t size)
{
    const void* const zero = std::memchr(buffer, '\0', size);
    return {buffer, zero ? static_cast<std::size_t>(static_cast<const char*>(zero) - buffer) : size - 1};
}

} // namespace
} // namespace vexa

using namespace vexa;

void SetParamFile(const char* name)
{
    setName(state.file, name);
}

const char* GetParamFile(void)
{
    return state.file;
}

void SetParamAppName(const char* name)
{
    setName(state.section, name);
}

const char* GetParamAppName(void)
{
    return state.section;
}

int32_t SetWriteDefaultParam(int32_t flag)
{
    state.writeDefault = flag;
    return flag;
}

int32_t ReadLongParam(int32_t defaultValue, const char* key)
{
    key = notNull(key);
    if (!ready(key))
        return 0;
    char text[kNumberBytes];
    if (fetch(key, "", text, sizeof text) > 0)
        return truncToInt32(numberIn(text));
    if (state.writeDefault)
        storeLong(defaultValue, key);
    return defaultValue;
}

int32_t ReadIntParam(int32_t defaultValue, const char* key)
{
    return ReadLongParam(defaultValue, key);
}

double ReadDblParam(double defaultValue, const char* key)
{
    key = notNull(key);
    if (!ready(key))
        return 0.0;
    char text[kNumberBytes];
    if (fetch(key, "", text, sizeof text) > 0)
        return numberIn(text);
    if (state.writeDefault)
        storeDouble(defaultValue, key);
    return defaultValue;
}

int32_t ReadStrParam(char* text, int32_t size, const char* key)
{
    key = notNull(key);
    if (!ready(key) || !text || size < 1)
        return 0;
    const auto bytes = static_cast<std::size_t>(size);
    const std::string_view given = textIn(text, bytes);
    char fallback[kTextLimit + 1];
    copyText(fallback, sizeof fallback, given);
    const Held held = heldBy(key);
    if (held == Held::text)
        return static_cast<int32_t>(fetch(key, "", text, bytes));
    if (!state.writeDefault)
        return copyText(text, bytes, held == Held::missing ? given : "");
    storeText(fallback, key);
    return copyText(text, bytes, fallback);
}

int32_t WriteLongParam(int32_t value, const char* key)
{
    key = notNull(key);
    return ready(key) ? storeLong(value, key) : 0;
}

int32_t WriteIntParam(int32_t value, const char* key)
{
    return WriteLongParam(value, key);
}

int32_t WriteDblParam(double value, const char* key)
{
    key = notNull(key);
    return ready(key) ? storeDouble(value, key) : 0;
}

int32_t WriteStrParam(const char* text, const char* key)
{
    key = notNull(key);
    return ready(key) ? storeText(text, key) : 0;
}

int32_t WriteIArrayParam(const int32_t* values, int32_t count, const char* key)
{
    return writeArray(values, count, notNull(key));
}

int32_t WriteDArrayParam(const double* values, int32_t count, const char* key)
{
    return writeArray(values, count, notNull(key));
}

int32_t ReadIArrayParam(int32_t* values, int32_t count, const char* key)
{
    return readArray(values, count, notNull(key));
}

int32_t ReadDArrayParam(double* values, int32_t count, const char* key)
{
    return readArray(values, count, notNull(key));
}
