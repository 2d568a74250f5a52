// Files that appear all together or not at all.
#ifndef VEXA_APPS_OUTPUT_FILES_H
#define VEXA_APPS_OUTPUT_FILES_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace app
{

// Each file is written under a temporary name beside its own; commit gives all of them their names. Without it, what
// was written goes again, and so do the folders that were made.
class OutputFiles
{
public:
    // Makes the folder where it is missing; ends the command where that is not possible.
    explicit OutputFiles(const std::filesystem::path& folder);
    ~OutputFiles();
    OutputFiles(const OutputFiles&) = delete;
    OutputFiles& operator=(const OutputFiles&) = delete;

    using Writer = std::function<void(const std::string& path)>;
    void add(const std::string& name, const Writer& write);
    void add(const std::string& name, std::span<const uint8_t> bytes);
    void add(const std::string& name, const std::string& text);
    void commit();

private:
    struct Written {
        std::filesystem::path temporary;
        std::filesystem::path final;
    };

    void discard();

    std::filesystem::path folder_;
    std::vector<std::filesystem::path> madeFolders_; // innermost first
    std::vector<Written> files_;
};

// To the standard output; ends the command where that is not possible.
void printText(const std::string& text);
void storeBytes(std::span<const uint8_t> bytes, const std::string& path);

} // namespace app

#endif
