// Images in files.
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <gmock/gmock.h>

#include "core/image_table.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"
#include "vexalib/kinds.h"

using namespace vexa::test;

namespace
{

namespace fs = std::filesystem;

// The directory of temporary files for the time of a test: a new folder, reached as the current one too.
class TemporaryFolder
{
public:
    TemporaryFolder() : before_(fs::current_path())
    {
        const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
        folder_ = fs::path(testing::TempDir()) / (std::string("file_kind.") + test->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
        fs::current_path(folder_);
        for (const char* name : kNames) {
            const char* const value = std::getenv(name);
            values_.push_back(value ? std::optional<std::string>(value) : std::nullopt);
            unsetenv(name);
        }
        setenv("I_TMP", folder_.c_str(), 1);
    }
    ~TemporaryFolder()
    {
        I_ImCloseAll();
        fs::current_path(before_);
        fs::remove_all(folder_);
        for (std::size_t i = 0; i < values_.size(); ++i)
            if (values_[i])
                setenv(kNames[i], values_[i]->c_str(), 1);
            else
                unsetenv(kNames[i]);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    fs::path operator/(const std::string& name) const { return folder_ / name; }
    std::string path() const { return folder_.string(); }
    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const auto& entry : fs::directory_iterator(folder_))
            all.push_back(entry.path().filename().string());
        std::sort(all.begin(), all.end());
        return all;
    }

private:
    static constexpr const char* kNames[] = {"I_TMP", "TMP", "TEMP"};
    fs::path before_;
    fs::path folder_;
    std::vector<std::optional<std::string>> values_;
};

int32_t openInFile(int32_t cols, int32_t rows, int32_t type)
{
    const int32_t before = I_ImSetMemType(8);
    const int32_t im = I_ImOpen(cols, rows, type);
    I_ImSetMemType(before);
    return im;
}

std::string temporaryName(int32_t im)
{
    const char* const name = vexa::imageRecordOrNull(im)->tempName;
    return name ? name : "";
}

class FileKind : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }

    TemporaryFolder folder;
};

FILE* fileOf(const std::vector<uint8_t>& bytes, const fs::path& name, const char* mode)
{
    std::ofstream(name, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return std::fopen(name.c_str(), mode);
}

std::vector<uint8_t> ramp(int32_t count)
{
    std::vector<uint8_t> bytes(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i);
    return bytes;
}

using testing::Each;
using testing::ElementsAre;

} // namespace

TEST_F(FileKind, LiteralTemporaryFilesAreNumberedAndGo)
{
    const int32_t first = openInFile(3, 2, PIX_BYTE);
    const int32_t second = openInFile(3, 2, PIX_BYTE);
    EXPECT_EQ(folder.path() + "/VEXA0.TMP", temporaryName(first));
    EXPECT_THAT(folder.names(), ElementsAre("VEXA0.TMP", "VEXA1.TMP"));
    int32_t kind = 0;
    EXPECT_EQ(1, I_ImGetParam(&kind, sizeof kind, 0, first));
    EXPECT_EQ(8, kind);
    EXPECT_EQ(3, I_ImGetStride(first)) << "rows are contiguous";
    EXPECT_EQ(0U, fs::file_size(folder / "VEXA0.TMP")) << "nothing is stored until it is written";
    EXPECT_EQ(1, I_ImClose(first));
    EXPECT_THAT(folder.names(), ElementsAre("VEXA1.TMP"));
    const int32_t again = I_ImOpenFile(3, 2, 0, PIX_BYTE, nullptr);
    EXPECT_EQ(folder.path() + "/VEXA0.TMP", temporaryName(again));
    EXPECT_EQ(1, I_ImClose(second));
    EXPECT_EQ(1, I_ImClose(again));
    EXPECT_THAT(folder.names(), testing::IsEmpty());
}

TEST_F(FileKind, LiteralDirectoriesAndWhatIsPutBehindThem)
{
    fs::create_directory(folder / "sub");
    const auto nameFor = [&](const char* i, const char* tmp, const char* temp) {
        for (const auto& [name, value] : {std::pair{"I_TMP", i}, {"TMP", tmp}, {"TEMP", temp}})
            value ? setenv(name, value, 1) : unsetenv(name);
        const int32_t im = openInFile(1, 1, PIX_BYTE);
        EXPECT_LT(im, 0);
        const std::string name = im < 0 ? temporaryName(im) : "";
        I_ImClose(im);
        return name;
    };
    EXPECT_EQ("VEXA0.TMP", nameFor(nullptr, nullptr, nullptr));
    EXPECT_EQ("VEXA0.TMP", nameFor("", nullptr, nullptr));
    EXPECT_EQ("sub/VEXA0.TMP", nameFor("sub", "x", "y"));
    EXPECT_EQ("sub/VEXA0.TMP", nameFor(nullptr, "sub", "y"));
    EXPECT_EQ("sub/VEXA0.TMP", nameFor(nullptr, nullptr, "sub"));
    EXPECT_EQ("sub/VEXA0.TMP", nameFor("sub/", nullptr, nullptr));
    // Names of another system are plain names of files here.
    EXPECT_EQ("C:\\T\\VEXA0.TMP", nameFor("C:\\T", nullptr, nullptr));
    EXPECT_EQ("C:\\T\\VEXA0.TMP", nameFor("C:\\T\\", nullptr, nullptr));
    EXPECT_EQ("C:VEXA0.TMP", nameFor("C:", nullptr, nullptr));
    std::ofstream("C:\\T\\VEXA0.TMP") << "taken";
    EXPECT_EQ("C:\\T\\VEXA1.TMP", nameFor("C:\\T", nullptr, nullptr));
}

TEST_F(FileKind, FailuresOfTemporaryFiles)
{
    setenv("I_TMP", (folder / "missing").c_str(), 1);
    EXPECT_EQ(0, openInFile(4, 4, PIX_BYTE));
    EXPECT_EQ(11, I_GetError(nullptr, 0));
    EXPECT_EQ("COULD_NOT_OPEN_TEMP_FILE", errorText());
    unsetenv("I_TMP");
    for (int32_t i = 0; i < 99; ++i)
        std::ofstream("VEXA" + std::to_string(i) + ".TMP") << "taken";
    EXPECT_EQ(0, openInFile(4, 4, PIX_BYTE));
    EXPECT_EQ(11, I_GetError(nullptr, 0));
    EXPECT_EQ("COULD_NOT_OPEN_TEMP_FILE: fileopen", errorText());
    EXPECT_EQ(0, I_ImCount());
    fs::remove(folder / "VEXA98.TMP");
    EXPECT_EQ("VEXA98.TMP", temporaryName(openInFile(4, 4, PIX_BYTE)));
    EXPECT_EQ(5U, fs::file_size(folder / "VEXA97.TMP")) << "files of others are not touched";
}

TEST_F(FileKind, LiteralPixelsNeverWrittenAreZeros)
{
    const int32_t im = openInFile(6, 4, PIX_BYTE);
    std::vector<uint8_t> block(24, 77);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 6, 4, block.data(), im, PIX_BYTE));
    EXPECT_THAT(block, Each(0));
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("filegetblock1(0 0 6 4)", errorText());
    block.assign(24, 77);
    EXPECT_EQ(1, I_GetBlockType(1, 1, 3, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ("filegetblock2(1 1 3 2)", errorText());
    EXPECT_THAT(std::vector<uint8_t>(block.begin(), block.begin() + 6), Each(0));
    EXPECT_EQ(77, block[6]);
    // What was written is read, and what lies behind it is zero.
    const uint8_t bytes[2] = {5, 6};
    EXPECT_EQ(2, I_PutBlockType(2, 1, 2, 1, bytes, im, PIX_BYTE));
    clearError();
    EXPECT_EQ(1, I_GetBlockType(0, 1, 4, 1, block.data(), im, PIX_BYTE));
    EXPECT_EQ(0, I_GetError(nullptr, 0)) << "the file ends with these pixels";
    EXPECT_THAT(std::vector<uint8_t>(block.begin(), block.begin() + 4), ElementsAre(0, 0, 5, 6));
    block.assign(24, 77);
    I_GetBlockType(0, 0, 6, 4, block.data(), im, PIX_BYTE);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ(6, block[9]);
    EXPECT_EQ(0, block[10]);
}

TEST_F(FileKind, LiteralOperationsTellTheirResults)
{
    const int32_t im = openInFile(6, 4, PIX_BYTE);
    ImageRecord& record = *vexa::imageRecordOrNull(im);
    uint8_t block[24] = {};
    EXPECT_EQ(0, record.getBlock(0, 0, 6, 4, block, &record));
    EXPECT_EQ(1, record.putBlock(0, 0, 6, 4, block, &record));
    EXPECT_EQ(1, record.getBlock(0, 0, 6, 4, block, &record));
    EXPECT_EQ(nullptr, record.getPtr);
    EXPECT_EQ(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, im));
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_BYTE));
}

TEST_F(FileKind, LiteralGivenStreamsStartWhereTheyStand)
{
    FILE* const file = fileOf(ramp(100), folder / "given", "r+b");
    std::fseek(file, 10, SEEK_SET);
    const int32_t im = I_ImOpenFile(4, 3, 20, PIX_BYTE, file);
    ASSERT_LT(im, 0);
    EXPECT_EQ(20, I_ImGetStride(im));
    uint8_t block[12] = {};
    EXPECT_EQ(1, I_GetBlockType(0, 0, 4, 3, block, im, PIX_BYTE));
    EXPECT_THAT(block, ElementsAre(10, 11, 12, 13, 30, 31, 32, 33, 50, 51, 52, 53));
    EXPECT_EQ(31.0F, I_GetPix(1, 1, im));
    EXPECT_EQ(1, I_PutPix(1, 1, 200.0F, im));
    // A width of the whole stride is one piece, and the kind knows no edge.
    uint8_t wide[40] = {};
    EXPECT_EQ(1, I_GetBlockType(0, 0, 20, 2, wide, im, PIX_BYTE));
    EXPECT_EQ(29, wide[19]);
    EXPECT_EQ(200, wide[21]);
    // Positions before the file are its start.
    EXPECT_EQ(1, I_GetBlockType(0, -5, 4, 2, block, im, PIX_BYTE));
    EXPECT_EQ(0, block[0]);
    EXPECT_EQ(1, I_ImClose(im));
    EXPECT_EQ(200, bytesOfFile(folder / "given")[31]) << "the stream is closed, the file is kept";
}

TEST_F(FileKind, LiteralWindowsShareTheFile)
{
    const int32_t im = I_ImOpenFile(10, 10, 0, PIX_BYTE, fileOf(ramp(100), folder / "given", "r+b"));
    const int32_t window = I_ImOpenSubimage(3, 2, 4, 4, im);
    const int32_t inner = I_ImOpenSubimage(1, 1, 2, 2, window);
    EXPECT_EQ(23.0F, I_GetPix(0, 0, window));
    EXPECT_EQ(34.0F, I_GetPix(0, 0, inner));
    EXPECT_EQ(1, I_ImClear(inner, 7.0));
    EXPECT_EQ(7.0F, I_GetPix(5, 4, im));
    EXPECT_EQ(46.0F, I_GetPix(6, 4, im));
    I_ImClose(inner);
    I_ImClose(window);
    EXPECT_EQ(7.0F, I_GetPix(4, 3, im));
}

TEST_F(FileKind, FailuresOfStreams)
{
    const int32_t readOnly = I_ImOpenFile(10, 10, 0, PIX_BYTE, fileOf(ramp(100), folder / "given", "rb"));
    const uint8_t byte = 5;
    I_PutBlockType(0, 0, 1, 1, &byte, readOnly, PIX_BYTE);
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("Disk full? Read Only? Opened for read?", errorText());
    clearError();
    EXPECT_EQ(99.0F, I_GetPix(9, 9, readOnly));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    ImageRecord& record = *vexa::imageRecordOrNull(readOnly);
    uint8_t pixels[4] = {1, 2, 3, 4};
    EXPECT_EQ(0, record.putBlock(0, 0, 2, 2, pixels, &record));
    // What cannot be positioned: the standard streams of a pipeline.
    std::FILE* const pipe = popen("true", "r");
    const int32_t piped = I_ImOpenFile(4, 4, 0, PIX_BYTE, pipe);
    ASSERT_LT(piped, 0);
    ImageRecord& pipeRecord = *vexa::imageRecordOrNull(piped);
    clearError();
    EXPECT_EQ(0, pipeRecord.getBlock(0, 0, 1, 1, pixels, &pipeRecord));
    EXPECT_EQ(17, I_GetError(nullptr, 0));
    EXPECT_EQ("filegetblock", errorText());
    EXPECT_EQ(0, pipeRecord.putBlock(0, 0, 1, 1, pixels, &pipeRecord));
    EXPECT_EQ("fileputrow", errorText());
    I_ImClose(piped);
    // Behind what a record can tell.
    FILE* const far = fileOf(ramp(10), folder / "far", "r+b");
    if (sizeof(long) > 4 && std::fseek(far, 1L << 31, SEEK_SET) == 0) {
        EXPECT_EQ(0, I_ImOpenFile(4, 4, 0, PIX_BYTE, far));
        EXPECT_EQ("fileopen", errorText().substr(errorText().size() - 8));
        EXPECT_EQ(17, I_GetError(nullptr, 0));
    }
    std::fclose(far); // a failed open leaves it the caller's
}

TEST_F(FileKind, BoundsEmptyBlocks)
{
    const int32_t im = openInFile(4, 4, PIX_BYTE);
    ImageRecord& record = *vexa::imageRecordOrNull(im);
    uint8_t byte = 77;
    for (const auto& [width, height] : {std::pair{0, 1}, {1, 0}, {-5, 3}, {3, INT32_MIN}}) {
        EXPECT_EQ(1, record.getBlock(0, 0, width, height, &byte, &record));
        EXPECT_EQ(1, record.putBlock(0, 0, width, height, &byte, &record));
    }
    EXPECT_EQ(77, byte);
    EXPECT_EQ(0U, fs::file_size(temporaryName(im)));
}

TEST_F(FileKind, LiteralMaskFallsBackToAFile)
{
    static int64_t available = 0;
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.availableMemory = [] { return available; };
    vexaSetPlatform(&platform);
    const int32_t before = I_ImSetMemType(9);
    for (const auto& [bytes, kind] : {std::pair{40 * 30 + 65537, 1}, {40 * 30 + 65536, 8}}) {
        available = bytes;
        const int32_t im = I_ImOpen(40, 30, PIX_BYTE);
        int32_t got = 0;
        EXPECT_EQ(1, I_ImGetParam(&got, sizeof got, 0, im));
        EXPECT_EQ(kind, got);
    }
    I_ImSetMemType(before);
    vexaSetPlatform(nullptr);
}

TEST_F(FileKind, FailuresOfMemoryLeaveNoFile)
{
    forEachFailingAllocation(
        [] {
            const int32_t im = openInFile(8, 8, PIX_BYTE);
            const int32_t result = im;
            I_ImClose(im);
            return result;
        },
        [&](int64_t im) {
            EXPECT_EQ(0, im);
            EXPECT_EQ(2, I_GetError(nullptr, 0));
            EXPECT_THAT(folder.names(), testing::IsEmpty());
        });
}

namespace
{

// What four operators make of two images in one kind of store.
struct Results {
    std::vector<uint8_t> difference;
    std::vector<uint8_t> mapped;
    std::vector<uint32_t> histogram = std::vector<uint32_t>(256);
    std::vector<uint16_t> labels;
    int32_t blobs = 0;

    bool operator==(const Results&) const = default;
};

std::vector<uint8_t> invertingTable()
{
    std::vector<uint8_t> table(256);
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<uint8_t>(255 - i);
    return table;
}

Results resultsIn(int32_t memType, int32_t cols, int32_t rows)
{
    const int32_t before = I_ImSetMemType(memType);
    const int32_t a = I_ImOpen(cols, rows, PIX_BYTE);
    const int32_t b = I_ImOpen(cols, rows, PIX_BYTE);
    const int32_t dest = I_ImOpen(cols, rows, PIX_BYTE);
    const int32_t labels = I_ImOpen(cols, rows, PIX_WORD);
    I_ImSetMemType(before);
    for (const int32_t im : {dest, labels})
        I_ImClear(im, 9.0);
    std::vector<uint8_t> row(static_cast<std::size_t>(cols));
    for (int32_t y = 0; y < rows; ++y)
        for (const int32_t im : {a, b}) {
            for (int32_t x = 0; x < cols; ++x)
                row[static_cast<std::size_t>(x)] =
                    static_cast<uint8_t>((x * 7 + y * 13 + x * y / 5) % (im == a ? 251 : 127));
            I_PutBlockType(0, y, cols, 1, row.data(), im, PIX_BYTE);
        }
    Results results;
    const auto bytes = [&](int32_t im) {
        std::vector<uint8_t> all(static_cast<std::size_t>(cols) * static_cast<std::size_t>(rows));
        EXPECT_NE(0, I_GetBlockType(0, 0, cols, rows, all.data(), im, PIX_BYTE));
        return all;
    };
    EXPECT_EQ(1, I_Subtract(a, b, dest, 2, -1));
    results.difference = bytes(dest);
    EXPECT_EQ(1, I_LUTMapROI(dest, dest, invertingTable().data()));
    results.mapped = bytes(dest);
    EXPECT_NE(0, I_CalcHist(results.histogram.data(), dest));
    EXPECT_NE(0, I_FindBlobs2(100, 180, dest, labels));
    results.blobs = I_GetBlobCount();
    results.labels.resize(results.difference.size());
    I_GetBlockType(0, 0, cols, rows, results.labels.data(), labels, PIX_WORD);
    I_ImCloseAll();
    return results;
}

} // namespace

TEST_F(FileKind, AgainstReferenceOperatorsGiveWhatTheyGiveInMemory)
{
    for (const auto& [cols, rows] : {std::pair{1, 1}, {17, 9}, {64, 64}, {333, 500}, {1000, 700}}) {
        for (const bool window : {false, true}) {
            window ? I_SetWindowROI(3, 2, cols / 2, rows - 2) : I_SetROIType(0);
            const Results inMemory = resultsIn(0, cols, rows);
            const Results inFiles = resultsIn(8, cols, rows);
            EXPECT_TRUE(inMemory == inFiles) << cols << " x " << rows << (window ? " window" : "");
            EXPECT_TRUE(cols < 17 || inMemory.blobs > 0);
        }
    }
    I_SetROIType(0);
}

namespace
{

double peakMegabytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// A plate: a lattice of squares with a few specks, the same for each call.
void fillPlate(int32_t im, int32_t size, int32_t shade)
{
    std::vector<uint8_t> row(static_cast<std::size_t>(size));
    for (int32_t y = 0; y < size; ++y) {
        for (int32_t x = 0; x < size; ++x)
            row[static_cast<std::size_t>(x)] = static_cast<uint8_t>(
                (x % 500 < 60 && y % 700 < 90 ? 120 : 30) + ((x ^ y) & 7) + (shade * ((x + y) % 1009 == 0)));
        I_PutBlockType(0, y, size, 1, row.data(), im, PIX_BYTE);
    }
}

struct LargeResults {
    std::vector<uint32_t> histogram = std::vector<uint32_t>(256);
    uint32_t checksum = 0;
    int32_t blobs = 0;
};

LargeResults largeResults(int32_t memType, int32_t size)
{
    const int32_t before = I_ImSetMemType(memType);
    const int32_t a = I_ImOpen(size, size, PIX_BYTE);
    const int32_t b = I_ImOpen(size, size, PIX_BYTE);
    I_ImSetMemType(before);
    LargeResults results;
    fillPlate(a, size, 100);
    fillPlate(b, size, 0);
    EXPECT_EQ(1, I_Subtract(a, b, a, 0, 0));
    EXPECT_EQ(1, I_LUTMapROI(a, a, invertingTable().data()));
    EXPECT_NE(0, I_CalcHist(results.histogram.data(), a));
    EXPECT_NE(0, I_FindBlobs2(0, 200, a, b));
    results.blobs = I_GetBlobCount();
    std::vector<uint8_t> row(static_cast<std::size_t>(size));
    for (int32_t y = 0; y < size; ++y) {
        I_GetBlockType(0, y, size, 1, row.data(), b, PIX_BYTE);
        for (const uint8_t byte : row)
            results.checksum = results.checksum * 31 + byte;
    }
    I_ImCloseAll();
    return results;
}

} // namespace

// Minutes and gigabytes of disk: run by --gtest_also_run_disabled_tests, in a process of its own, with I_TMP
// on a disk.
TEST(FileKindLarge, DISABLED_AgainstReferencePicturesOf400MegabytesInside200)
{
    constexpr int32_t kSize = 20000;
    I_ImCloseAll();
    const LargeResults inFiles = largeResults(8, kSize);
    const double peak = peakMegabytes();
    EXPECT_LT(peak, 200.0);
    const LargeResults inMemory = largeResults(0, kSize);
    EXPECT_EQ(inMemory.histogram, inFiles.histogram);
    EXPECT_EQ(inMemory.blobs, inFiles.blobs);
    EXPECT_EQ(inMemory.checksum, inFiles.checksum);
    EXPECT_GT(inFiles.blobs, 0);
}
