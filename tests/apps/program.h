// Running the program in a folder of its own, and pictures to run it on.
#ifndef VEXA_TESTS_APPS_PROGRAM_H
#define VEXA_TESTS_APPS_PROGRAM_H

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/apps/score.h"

namespace vexa::test
{

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

// A folder that goes with its owner.
class Scratch
{
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    std::string operator/(const std::string& name) const { return (folder_ / name).string(); }
    const std::filesystem::path& folder() const { return folder_; }

private:
    std::filesystem::path folder_;
};

Outcome run(const std::vector<std::string>& arguments);
// Exit code 2, one sentence on one line, nothing on the output, nothing new in the folder.
void expectFailure(const Scratch& scratch, const std::vector<std::string>& arguments,
                   const std::string& sentence);
std::string readText(const std::string& name);
void writeText(const std::string& name, const std::string& bytes);
// The first part of a file, as another file.
void truncated(const std::string& name, const std::string& as, double part);
// Names of all files and folders below a folder, sorted.
std::vector<std::string> tree(const std::filesystem::path& folder);

// A grey, 16-bit or colour PNG, a grey JPEG, each from a function of the pixel.
using Grey = std::function<int32_t(int32_t x, int32_t y)>;
void writeGreyPng(const std::string& name, int32_t cols, int32_t rows, const Grey& grey);
void writeWordPng(const std::string& name, int32_t cols, int32_t rows, const Grey& grey);
void writeColorPng(const std::string& name, int32_t cols, int32_t rows, const Grey& red, const Grey& green,
                   const Grey& blue);
void writeJpeg(const std::string& name, int32_t cols, int32_t rows, const Grey& grey);

struct GreyPicture {
    int32_t cols = 0;
    int32_t rows = 0;
    std::vector<uint8_t> bytes;
    int32_t at(int32_t x, int32_t y) const
    {
        return bytes[static_cast<std::size_t>(y) * static_cast<std::size_t>(cols) +
                     static_cast<std::size_t>(x)];
    }
};
// Decodes a PNG to grey; without pixels where it is none.
GreyPicture readPng(const std::string& name);

Box boxOf(const nlohmann::json& box);

// The boxes that the program lists for a pair of pictures with its defaults.
std::vector<Box> inspectedBoxes(const std::string& reference, const std::string& defect);

} // namespace vexa::test

#endif
