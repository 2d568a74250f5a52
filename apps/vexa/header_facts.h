// What the headers of a picture file say, line by line. The bytes are not trusted: what does not fit the file is left out.
#ifndef VEXA_APPS_HEADER_FACTS_H
#define VEXA_APPS_HEADER_FACTS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace app
{

using Lines = std::vector<std::string>;

// For a file of any format that the program reads; nothing for others.
Lines headerLines(std::span<const uint8_t> file);
Lines tiffHeaderLines(std::span<const uint8_t> file);

// Numbers of a file, 0 behind its end.
class FileBytes
{
public:
    FileBytes(std::span<const uint8_t> file, bool bigEndian) : file_(file), bigEndian_(bigEndian) {}

    bool holds(uint64_t at, uint64_t count) const { return at <= file_.size() && count <= file_.size() - at; }
    uint32_t number(uint64_t at, uint32_t bytes) const
    {
        uint32_t value = 0;
        for (uint32_t i = 0; i < bytes && holds(at, bytes); ++i)
            value = value << 8 | file_[at + (bigEndian_ ? i : bytes - 1 - i)];
        return value;
    }
    int32_t signed32(uint64_t at) const { return static_cast<int32_t>(number(at, 4)); }
    std::size_t size() const { return file_.size(); }
    // At most 200 characters, up to the first zero; what cannot be printed is shown as "?".
    std::string text(uint64_t at, uint64_t count) const;

private:
    std::span<const uint8_t> file_;
    bool bigEndian_;
};

} // namespace app

#endif
