#include "tests/apps/program.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>
#include <sstream>

#include <gmock/gmock.h>
#include <jpeglib.h>
#include <png.h>
#include <sys/wait.h>

namespace vexa::test
{
namespace
{

namespace fs = std::filesystem;

std::string quoted(const std::string& argument)
{
    std::string result(1, '\'');
    for (const char c : argument) {
        if (c == '\'')
            result.append("'\\''");
        else
            result.push_back(c);
    }
    result.push_back('\'');
    return result;
}

template <typename Sample>
void writePng(const std::string& name, int32_t cols, int32_t rows, uint32_t format,
              const std::vector<Sample>& samples)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(cols);
    image.height = static_cast<png_uint_32>(rows);
    image.format = format;
    ASSERT_TRUE(png_image_write_to_file(&image, name.c_str(), 0, samples.data(), 0, nullptr))
        << image.message;
}

template <typename Sample>
std::vector<Sample> samplesOf(int32_t cols, int32_t rows, const std::vector<Grey>& bands)
{
    std::vector<Sample> samples;
    for (int32_t y = 0; y < rows; ++y)
        for (int32_t x = 0; x < cols; ++x)
            for (const Grey& band : bands)
                samples.push_back(static_cast<Sample>(band(x, y)));
    return samples;
}

} // namespace

Scratch::Scratch()
    : folder_(fs::temp_directory_path() / ("vexa-test-" + std::to_string(std::random_device{}())))
{
    fs::create_directories(folder_);
}

Scratch::~Scratch()
{
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

Outcome run(const std::vector<std::string>& arguments)
{
    const Scratch scratch;
    std::string command = quoted(VEXA_PROGRAM);
    for (const std::string& argument : arguments)
        command.append(" ").append(quoted(argument));
    command.append(" >").append(quoted(scratch / "out")).append(" 2>").append(quoted(scratch / "err"));
    command.append(" </dev/null");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readText(scratch / "out"),
            readText(scratch / "err")};
}

std::string readText(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void expectFailure(const Scratch& scratch, const std::vector<std::string>& arguments,
                   const std::string& sentence)
{
    const auto before = tree(scratch.folder());
    const Outcome outcome = run(arguments);
    SCOPED_TRACE(sentence);
    EXPECT_EQ(2, outcome.code);
    EXPECT_EQ("", outcome.out);
    EXPECT_THAT(outcome.err, testing::StartsWith("vexa: "));
    EXPECT_THAT(outcome.err, testing::HasSubstr(sentence));
    EXPECT_EQ(1, std::count(outcome.err.begin(), outcome.err.end(), '\n')) << outcome.err;
    EXPECT_EQ(before, tree(scratch.folder()));
}

void writeText(const std::string& name, const std::string& bytes)
{
    std::ofstream(name, std::ios::binary) << bytes;
}

void truncated(const std::string& name, const std::string& as, double part)
{
    const std::string bytes = readText(name);
    writeText(as, bytes.substr(0, static_cast<std::size_t>(part * static_cast<double>(bytes.size()))));
}

std::vector<std::string> tree(const fs::path& folder)
{
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        names.push_back(fs::relative(entry.path(), folder).string());
    std::sort(names.begin(), names.end());
    return names;
}

void writeGreyPng(const std::string& name, int32_t cols, int32_t rows, const Grey& grey)
{
    writePng(name, cols, rows, PNG_FORMAT_GRAY, samplesOf<uint8_t>(cols, rows, {grey}));
}

void writeWordPng(const std::string& name, int32_t cols, int32_t rows, const Grey& grey)
{
    writePng(name, cols, rows, PNG_FORMAT_LINEAR_Y, samplesOf<uint16_t>(cols, rows, {grey}));
}

void writeColorPng(const std::string& name, int32_t cols, int32_t rows, const Grey& red, const Grey& green,
                   const Grey& blue)
{
    writePng(name, cols, rows, PNG_FORMAT_RGB, samplesOf<uint8_t>(cols, rows, {red, green, blue}));
}

void writeJpeg(const std::string& name, int32_t cols, int32_t rows, const Grey& grey)
{
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    std::FILE* file = std::fopen(name.c_str(), "wb");
    ASSERT_NE(nullptr, file);
    jpeg_stdio_dest(&jpeg, file);
    jpeg.image_width = static_cast<JDIMENSION>(cols);
    jpeg.image_height = static_cast<JDIMENSION>(rows);
    jpeg.input_components = 1;
    jpeg.in_color_space = JCS_GRAYSCALE;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 100, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    std::vector<uint8_t> samples = samplesOf<uint8_t>(cols, rows, {grey});
    for (int32_t y = 0; y < rows; ++y) {
        JSAMPROW row = samples.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(cols);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    std::fclose(file);
}

GreyPicture readPng(const std::string& name)
{
    GreyPicture picture;
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, name.c_str()))
        return picture;
    image.format = PNG_FORMAT_GRAY;
    picture.bytes.resize(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr))
        return {};
    picture.cols = static_cast<int32_t>(image.width);
    picture.rows = static_cast<int32_t>(image.height);
    return picture;
}

Box boxOf(const nlohmann::json& box)
{
    return {box.at("left"), box.at("top"), box.at("right"), box.at("bottom")};
}

std::vector<Box> inspectedBoxes(const std::string& reference, const std::string& defect)
{
    const Outcome outcome = run({"inspect", reference, defect, "--format", "json"});
    EXPECT_TRUE(outcome.code == 0 || outcome.code == 1) << outcome.err;
    std::vector<Box> boxes;
    const nlohmann::json document = nlohmann::json::parse(outcome.out, nullptr, false);
    EXPECT_TRUE(document.is_object()) << defect;
    if (document.is_object())
        for (const nlohmann::json& entry : document.at("defects"))
            boxes.push_back(boxOf(entry.at("box")));
    return boxes;
}

} // namespace vexa::test
