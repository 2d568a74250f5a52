// Files for tests: temporary ones, and the sample files that a checkout may have beside it.
#ifndef VEXA_TESTS_SUPPORT_TEST_FILES_H
#define VEXA_TESTS_SUPPORT_TEST_FILES_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace vexa::test
{

// A file of the running test, deleted at its end.
class TempFile
{
public:
    explicit TempFile(const std::string& suffix = "") : name_(uniqueName() + suffix) {}
    ~TempFile() { std::remove(name_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    const char* name() const { return name_.c_str(); }
    void write(const std::vector<uint8_t>& bytes) const
    {
        std::ofstream(name_, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

private:
    static std::string uniqueName()
    {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string(test->test_suite_name()) + "." + test->name();
        for (char& c : name)
            if (c == '/')
                c = '_';
        return testing::TempDir() + name;
    }
    std::string name_;
};

inline std::vector<uint8_t> bytesOfFile(const std::filesystem::path& name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The sample files in a folder and its subfolders, in the order of their names: below VEXA_TEST_DATA, or else below the
// first shared/data that is found beside the working directory or one of the folders around it. Empty where there are
// none.
inline std::vector<std::filesystem::path> sampleFiles(const std::string& folder, const std::string& extension)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> bases;
    if (const char* given = std::getenv("VEXA_TEST_DATA"))
        bases.emplace_back(given);
    for (fs::path around = fs::current_path(); around != around.root_path(); around = around.parent_path())
        bases.push_back(around / "shared/data");
    std::vector<fs::path> files;
    for (auto base = bases.begin(); files.empty() && base != bases.end(); ++base) {
        std::error_code failure;
        for (const auto& entry : fs::recursive_directory_iterator(*base / folder, failure))
            if (entry.path().extension() == extension)
                files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace vexa::test

#endif
