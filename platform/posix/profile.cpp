// Settings files of sections and keys: "[section]" lines, each followed by its "key=text" lines; case does
// not count.
#include <fcntl.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
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
        return text.substr(0, 0);
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool sameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && (a.empty() || strncasecmp(a.data(), b.data(), a.size()) == 0);
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

// Keeps other writers out as long as it lives. The folder is what is locked, since the file itself is
// replaced. Where a file system knows no locks, the write goes ahead without.
class WritersLock
{
public:
    explicit WritersLock(const std::string& file)
    {
        const std::size_t slash = file.rfind('/');
        const std::string folder = slash == std::string::npos ? "." : file.substr(0, slash + 1);
        folder_ = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        while (folder_ >= 0 && flock(folder_, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~WritersLock()
    {
        if (folder_ >= 0)
            close(folder_);
    }
    WritersLock(const WritersLock&) = delete;
    WritersLock& operator=(const WritersLock&) = delete;

private:
    int folder_;
};

// The file behind symbolic links, so that these stay; the name as it is for a file that is not there.
std::string resolved(const char* name)
{
    const std::unique_ptr<char, decltype(&std::free)> path(realpath(name, nullptr), std::free);
    return path ? path.get() : name;
}

bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

// A settings file is never left half written: the new text takes the old one's place when all of it is on the
// disk.
bool save(const std::string& name, const std::string& text)
{
    const std::string fresh = name + ".new";
    std::remove(fresh.c_str()); // what a crash left
    struct stat before = {};
    const mode_t mode = stat(name.c_str(), &before) == 0 ? before.st_mode & 07777 : 0666;
    const int file = open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (file < 0)
        return false;
    const bool complete = writeAll(file, text) && fsync(file) == 0;
    if (close(file) == 0 && complete && std::rename(fresh.c_str(), name.c_str()) == 0)
        return true;
    std::remove(fresh.c_str());
    return false;
}

// Names that a file of lines cannot hold.
bool isName(std::string_view name, const char* forbidden)
{
    return !name.empty() && name.find_first_of(forbidden) == std::string_view::npos;
}

bool canBeWritten(std::string_view section, std::string_view key)
{
    return isName(section, "]\r\n") && isName(key, "=\r\n") && key.front() != ';' && key.front() != '[';
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
    if (!file || !section || !key || !canBeWritten(trimmed(section), trimmed(key)))
        return 0;
    try {
        const std::string name = resolved(file);
        const WritersLock lock(name);
        std::string all;
        if (!load(name.c_str(), all))
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
        return save(name, all) ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

} // namespace vexa::platform::posix
