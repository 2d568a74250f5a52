#include "output_files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "failure.h"

namespace app
{
namespace
{

namespace fs = std::filesystem;

// The folders that will have to be made for one, innermost first.
std::vector<fs::path> missingFolders(fs::path folder)
{
    std::vector<fs::path> missing;
    std::error_code ignored;
    while (!folder.empty() && !fs::exists(folder, ignored)) {
        missing.push_back(folder);
        folder = folder.parent_path();
    }
    return missing;
}

} // namespace

OutputFiles::OutputFiles(const fs::path& folder) : folder_(folder.empty() ? fs::path(".") : folder)
{
    const std::vector<fs::path> missing = missingFolders(fs::absolute(folder_).lexically_normal());
    std::error_code error;
    fs::create_directories(folder_, error);
    if (error)
        throw Failure("cannot make the folder " + folder_.string() + ": " + error.message());
    madeFolders_ = missing;
}

OutputFiles::~OutputFiles()
{
    discard();
}

void OutputFiles::add(const std::string& name, const Writer& write)
{
    files_.push_back({folder_ / (name + ".partial"), folder_ / name});
    try {
        write(files_.back().temporary.string());
    } catch (const Failure& failure) {
        throw Failure("cannot write " + files_.back().final.string() + ": " + failure.what());
    }
}

void OutputFiles::add(const std::string& name, std::span<const uint8_t> bytes)
{
    add(name, [bytes](const std::string& path) { storeBytes(bytes, path); });
}

void OutputFiles::add(const std::string& name, const std::string& text)
{
    add(name, std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

void OutputFiles::commit()
{
    // A folder in the place of a file is the one thing that would stop the renaming half way.
    for (const Written& file : files_)
        if (std::error_code ignored; fs::is_directory(file.final, ignored))
            throw Failure("cannot write " + file.final.string() + ": it is a folder");
    for (const Written& file : files_) {
        std::error_code error;
        fs::rename(file.temporary, file.final, error);
        if (error)
            throw Failure("cannot write " + file.final.string() + ": " + error.message());
    }
    files_.clear();
    madeFolders_.clear();
}

void OutputFiles::discard()
{
    std::error_code ignored;
    for (const Written& file : files_)
        fs::remove(file.temporary, ignored);
    for (const fs::path& folder : madeFolders_)
        fs::remove(folder, ignored); // only where it is empty
}

void printText(const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw Failure("cannot write to the standard output");
}

void storeBytes(std::span<const uint8_t> bytes, const std::string& path)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        throw Failure(std::strerror(errno));
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    const int reason = errno;
    const bool closed = std::fclose(file) == 0;
    if (!written || !closed)
        throw Failure(std::strerror(written ? errno : reason));
}

} // namespace app
