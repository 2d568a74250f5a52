// Settings files of sections and keys: "[section]" lines, each followed by its "key=text" lines; case does
// not count.
#include <strings.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "platform/posix/posix.h"

namespace vexa::platform::posix
{
namespace
{

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool sameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// A file that is not there has an empty text; false for one that cannot be read.
bool load(const char* name, std::string& text)
{
    std::FILE* file = std::fopen(name, "rb");
    if (!file)
        return errno == ENOENT;
    char chunk[4096];
    while (const std::size_t bytes = std::fread(chunk, 1, sizeof chunk, file))
        text.append(chunk, bytes);
    const bool complete = std::ferror(file) == 0;
    std::fclose(file);
    return complete;
}

// A settings file is never left half written: the new text takes the old one's place when it is complete.
bool save(const char* name, const std::string& text)
{
    const std::string fresh = std::string(name) + ".new";
    std::FILE* file = std::fopen(fresh.c_str(), "wb");
    if (!file)
        return false;
    const bool complete = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (std::fclose(file) == 0 && complete && std::rename(fresh.c_str(), name) == 0)
        return true;
    std::remove(fresh.c_str());
    return false;
}

// Where a key's line stands in the text, or where a new one goes: behind the section's last line.
struct Place {
    bool sectionFound = false;
    bool keyFound = false;
    std::size_t lineStart = 0;
    std::size_t lineEnd = 0; // behind the line's end mark
    std::string_view value;
};

Place find(std::string_view text, std::string_view section, std::string_view key)
{
    Place place;
    place.lineStart = place.lineEnd = text.size();
    for (std::size_t start = 0, end = 0; start < text.size(); start = end) {
        const std::size_t mark = text.find('\n', start);
        end = mark == std::string_view::npos ? text.size() : mark + 1;
        const std::string_view line = trimmed(text.substr(start, end - start));
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            if (place.sectionFound)
                return place;
            place.sectionFound = sameName(trimmed(line.substr(1, line.find(']') - 1)), section);
            if (place.sectionFound)
                place.lineStart = place.lineEnd = end;
            continue;
        }
        if (!place.sectionFound)
            continue;
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos && sameName(trimmed(line.substr(0, equals)), key)) {
            place.keyFound = true;
            place.lineStart = start;
            place.lineEnd = end;
            place.value = trimmed(line.substr(equals + 1));
            return place;
        }
        place.lineStart = place.lineEnd = end;
    }
    return place;
}

std::string_view unquoted(std::string_view value)
{
    const bool quoted =
        value.size() >= 2 && value.front() == value.back() && (value.front() == '"' || value.front() == '\'');
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::size_t copyOut(std::string_view value, char* buffer, std::size_t size)
{
    const std::size_t length = value.size() < size ? value.size() : size - 1;
    if (length > 0)
        std::memmove(buffer, value.data(), length); // the fallback may be the buffer's own text
    buffer[length] = '\0';
    return length;
}

} // namespace

std::size_t readProfile(const char* file, const char* section, const char* key, const char* fallback,
                        char* buffer, std::size_t size)
{
    if (!buffer || size == 0)
        return 0;
    try {
        std::string text;
        if (file && section && key && load(file, text)) {
            const Place place = find(text, trimmed(section), trimmed(key));
            if (place.keyFound)
                return copyOut(unquoted(place.value), buffer, size);
        }
    } catch (const std::bad_alloc&) {
        // no memory reads as no key
    }
    return copyOut(fallback ? fallback : "", buffer, size);
}

int32_t writeProfile(const char* file, const char* section, const char* key, const char* text)
{
    if (!file || !section || !key)
        return 0;
    try {
        std::string all;
        if (!load(file, all))
            return 0;
        const char* mark = all.find("\r\n") != std::string::npos ? "\r\n" : "\n";
        const Place place = find(all, trimmed(section), trimmed(key));
        if (!text && !place.keyFound)
            return 1;
        std::string line;
        if (!place.sectionFound)
            line.append("[").append(trimmed(section)).append("]").append(mark);
        if (text)
            line.append(trimmed(key)).append("=").append(text, std::strcspn(text, "\r\n")).append(mark);
        if (place.lineStart > 0 && all[place.lineStart - 1] != '\n')
            line.insert(0, mark);
        all.replace(place.lineStart, place.lineEnd - place.lineStart, line);
        return save(file, all) ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

} // namespace vexa::platform::posix
