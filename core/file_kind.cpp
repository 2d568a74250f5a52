// Images whose pixels lie in a file.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/image_kinds.h"
#include "platform/platform.h"
#include "support/buffer.h"
#include "support/numbers.h"
#include "vexalib/status.h"

namespace vexa
{
namespace
{

constexpr int32_t kTemporaryFiles = 99;

// The directory of temporary files; empty for the current one.
const char* temporaryDirectory()
{
    for (const char* variable : {"I_TMP", "TMP", "TEMP"})
        if (const char* const value = std::getenv(variable); value && *value)
            return value;
    return "";
}

// What stands between a directory and a name in it.
const char* joint(const char* directory)
{
    const std::size_t length = std::strlen(directory);
    if (length == 0 || std::strchr(":\\/", directory[length - 1]))
        return "";
    return std::strchr(directory, '\\') || platform::directorySeparator() == '\\' ? "\\" : "/";
}

bool exists(const char* name)
{
    std::FILE* const file = std::fopen(name, "rb");
    if (file)
        std::fclose(file);
    return file != nullptr;
}

// Makes the first temporary file that nobody has; null with an error set where that fails.
std::FILE* makeTemporaryFile(ImageRecord& record)
{
    const char* const directory = temporaryDirectory();
    constexpr int64_t kNameRoom = 32;
    Buffer<char> name(static_cast<int64_t>(std::strlen(directory)) + kNameRoom);
    if (malloctest(name.data(), "fileopen"))
        return nullptr;
    for (int32_t i = 0; i < kTemporaryFiles; ++i) {
        std::snprintf(name.data(), static_cast<std::size_t>(name.size()), "%s%sVEXA%d.TMP", directory,
                      joint(directory), i);
        if (exists(name.data()))
            continue;
        // Made only if it still is not there: another process may look for a name at the same moment.
        if (std::FILE* const file = std::fopen(name.data(), "w+bx")) {
            record.tempName = name.release();
            return file;
        }
        if (errno == EEXIST)
            continue;
        I_SetError(11, "%s", "");
        return nullptr;
    }
    I_SetError(11, "fileopen");
    return nullptr;
}

// A rectangle of a file image, and the bytes of its rows.
struct FileBlock {
    int32_t x;
    int32_t y;
    int32_t width;
    int32_t height;
    int64_t rowBytes;
    const ImageRecord& record;

    bool empty() const { return rowBytes < 1 || height < 1; }
    // One read or write does.
    bool contiguous() const { return rowBytes == record.stride; }
    bool seek(int64_t row) const
    {
        const int64_t position =
            record.fileStart + (int64_t{y} + row) * record.stride + int64_t{x} * record.bytes;
        return platform::seekFile(record.file, position < 0 ? 0 : position);
    }
    std::size_t pieceBytes() const
    {
        return static_cast<std::size_t>(contiguous() ? rowBytes * height : rowBytes);
    }
    int32_t pieces() const { return contiguous() ? 1 : height; }
};

int32_t getFileBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* record)
{
    const FileBlock block = {x, y, width, height, int64_t{width} * record->bytes, *record};
    if (block.empty())
        return 1;
    const std::size_t pieceBytes = block.pieceBytes();
    auto* target = static_cast<uint8_t*>(buffer);
    bool complete = true;
    for (int32_t piece = 0; piece < block.pieces(); ++piece, target += pieceBytes) {
        if (!block.seek(piece)) {
            I_SetError(17, "filegetblock");
            return 0;
        }
        const std::size_t got = std::fread(target, 1, pieceBytes, record->file);
        if (got < pieceBytes) {
            std::memset(target + got, 0, pieceBytes - got);
            complete = false;
        }
    }
    if (!complete)
        I_SetError(18, "filegetblock%d(%d %d %d %d)", block.contiguous() ? 1 : 2, x, y, width, height);
    return complete;
}

int32_t putFileBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* record)
{
    const FileBlock block = {x, y, width, height, int64_t{width} * record->bytes, *record};
    if (block.empty())
        return 1;
    const std::size_t pieceBytes = block.pieceBytes();
    const auto* source = static_cast<const uint8_t*>(buffer);
    for (int32_t piece = 0; piece < block.pieces(); ++piece, source += pieceBytes) {
        if (!block.seek(piece)) {
            I_SetError(17, "fileputrow");
            return 0;
        }
        if (std::fwrite(source, 1, pieceBytes, record->file) != pieceBytes) {
            I_SetError(19, "Disk full? Read Only? Opened for read?");
            return 0;
        }
    }
    return 1;
}

// The stream is closed also where the application gave it.
void closeFile(ImageRecord* record)
{
    std::fclose(record->file);
    record->file = nullptr;
    if (record->tempName && *record->tempName)
        std::remove(record->tempName);
}

} // namespace

bool openFileKind(ImageRecord& record, std::FILE* file)
{
    const int64_t start = file ? platform::filePosition(file) : 0;
    const int32_t heldStart = saturateToInt32(start < 0 ? 0 : start);
    if (heldStart < start) {
        I_SetError(17, "fileopen");
        return false;
    }
    record.file = file ? file : makeTemporaryFile(record);
    if (!record.file)
        return false;
    record.fileStart = heldStart;
    record.getBlock = getFileBlock;
    record.putBlock = putFileBlock;
    record.closeHook = closeFile;
    return true;
}

} // namespace vexa
