// Registered kinds and images in files, sentence by sentence: which calls a kind gets, what a file holds.
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "support/buffer.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_files.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

using Bytes = std::vector<uint8_t>;
using Calls = std::vector<std::string>;

// A kind that writes down what it is asked.
struct Kind {
    Calls calls;
    int32_t cols = 5, rows = 4, stride = 8, type = PIX_BYTE;
    int32_t instances = 1;
    intptr_t opened = 0x1234;
    Bytes pixels = Bytes(4096);
    bool opensAnother = false;
} kind;

template <typename... Numbers>
std::string call(const char* name, Numbers... numbers)
{
    std::string text = name;
    ((text += " " + std::to_string(numbers)), ...);
    return text;
}

template <typename... Numbers>
int32_t noted(const char* name, Numbers... numbers)
{
    kind.calls.push_back(call(name, numbers...));
    return 7; // nobody looks at this
}

int32_t kindHook0(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c)
{
    return noted("hook0", x, y, a, b, c);
}

int32_t kindGetBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer)
{
    std::memset(buffer, 0x5A, static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    noted("get", x, y, width, height);
    return 0;
}

int32_t kindPutBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer)
{
    noted("put", x, y, width, height, *static_cast<uint8_t*>(buffer));
    return 0;
}

void* kindGetPtr(int32_t x, int32_t y, int32_t* left, int32_t* stride)
{
    noted("ptr", x, y);
    if (y >= kind.rows)
        return nullptr;
    const int32_t at = y * kind.stride + x * I_ImTypeBytes(kind.type);
    if (left)
        *left = kind.rows * kind.stride - at;
    if (stride)
        *stride = kind.stride;
    return &kind.pixels[static_cast<std::size_t>(at)];
}

int32_t kindSelect(intptr_t instance)
{
    return noted("select", instance);
}

intptr_t kindOpen(int32_t instance)
{
    noted("open", instance);
    if (kind.opensAnother) {
        kind.opensAnother = false;
        I_ImOpen(1, 1, PIX_BYTE);
    }
    return kind.opened + instance;
}

int32_t kindClose(intptr_t data)
{
    return noted("close", data);
}

int32_t kindGetSize(int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type)
{
    *cols = kind.cols;
    *rows = kind.rows;
    *stride = kind.stride;
    *type = kind.type;
    return noted("size");
}

int32_t kindCount()
{
    noted("count");
    return kind.instances;
}

std::vector<std::string> boxes;

int32_t collectBox(const char* text, const char*, int32_t, int32_t)
{
    boxes.emplace_back(text);
    return VEXA_ANSWER_OK;
}

int64_t available = 0;

int64_t availableBytes()
{
    return available;
}

// A temporary directory of its own, named by the environment.
class Directory
{
public:
    Directory() : name_(testing::TempDir() + "kinds" + std::to_string(getpid()))
    {
        std::filesystem::create_directories(name_);
        unsetenv("TMP");
        unsetenv("TEMP");
        setenv("I_TMP", name_.c_str(), 1);
    }
    ~Directory() { std::filesystem::remove_all(name_); }
    std::string file(int32_t i) const { return name_ + "/VEXA" + std::to_string(i) + ".TMP"; }
    const std::string& name() const { return name_; }

private:
    std::string name_;
};

class KindsIndependent : public testing::Test
{
protected:
    void SetUp() override
    {
        kind = Kind{};
        boxes.clear();
        clearError();
    }
    void TearDown() override
    {
        I_ImSetMemType(0);
        I_ImCloseAll();
        vexaSetPlatform(nullptr);
    }
    // Opens an image of a kind, whatever the setting is.
    static int32_t open(int32_t code, int32_t type = PIX_BYTE)
    {
        const int32_t before = I_ImSetMemType(code);
        const int32_t im = I_ImOpen(1, 1, type);
        I_ImSetMemType(before);
        return im;
    }
};

// 1 to 32 as the file's bytes.
Bytes counting(int32_t n)
{
    Bytes bytes(static_cast<std::size_t>(n));
    for (int32_t i = 0; i < n; ++i)
        bytes[static_cast<std::size_t>(i)] = static_cast<uint8_t>(i + 1);
    return bytes;
}

} // namespace

TEST_F(KindsIndependent, RegistersKindsUpTo31)
{
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    EXPECT_EQ(0, addimagetype(32, &ops));
    EXPECT_EQ(22, I_GetError(nullptr, 0));
    EXPECT_EQ("addimagetype", errorText());
    EXPECT_EQ(1, addimagetype(31, &ops));
    EXPECT_EQ(1, addimagetype(16, &ops));
    EXPECT_NE(0, open(31));
    clearError();
    EXPECT_EQ(0, open(17));
    EXPECT_EQ(25, I_GetError(nullptr, 0));
    EXPECT_EQ("I_ImOpen (17)", errorText());
    for (int64_t n = 1; n <= 2; ++n) { // by hand: the earlier copy is given up on purpose
        clearError();
        vexa::failAllocation(n, false);
        EXPECT_EQ(0, addimagetype(16, &ops));
        vexa::failAllocation(0, false);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_EQ(0u, errorText().find("Memory allocation failed: addimagetype: "));
    }
}

TEST_F(KindsIndependent, OpensInTheOrderTold)
{
    ImageKindOps ops{};
    ops.select = kindSelect;
    ops.open = kindOpen;
    ops.close = kindClose;
    ops.getSize = kindGetSize;
    ops.countFn = kindCount;
    ops.getPtr = kindGetPtr;
    kind.instances = 2;
    ASSERT_EQ(1, addimagetype(24, &ops));
    EXPECT_EQ(Calls{"count"}, kind.calls);
    kind.calls.clear();
    const int32_t a = open(24), b = open(24);
    EXPECT_EQ((Calls{"count", "select 0", "size", "open 0", "count", "select 1", "size", "open 1"}),
              kind.calls);
    void* data = nullptr;
    EXPECT_EQ(1, I_ImGetParam(&data, 8, 9, b));
    EXPECT_EQ(0x1235, reinterpret_cast<intptr_t>(data));
    EXPECT_EQ(0, open(24));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageTypeOpen: image 2 not available (max=2)", errorText());
    EXPECT_EQ(2, I_ImCount());
    kind.calls.clear();
    int32_t cols = 0, rows = 0, bytes = 0;
    kind.cols = 11;
    kind.rows = 3;
    kind.type = PIX_FLOAT;
    EXPECT_EQ(1, I_ImGetSize(&cols, &rows, &bytes, b));
    EXPECT_EQ((Calls{"select 4661", "size"}), kind.calls);
    EXPECT_EQ((std::vector<int32_t>{11, 3, 4}), (std::vector<int32_t>{cols, rows, bytes}));
    EXPECT_EQ(PIX_FLOAT, I_ImGetType(b));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(a)); // asked nothing yet
    kind.calls.clear();
    EXPECT_EQ(1, I_ImClose(a));
    EXPECT_EQ(Calls{"close 4660"}, kind.calls);
    kind.calls.clear();
    EXPECT_EQ(a, open(24)); // instance 0 is free again
    EXPECT_EQ("open 0", kind.calls.back());
}

TEST_F(KindsIndependent, NeedsASizeAndNothingElse)
{
    ImageKindOps ops{};
    ops.count = 0; // counts as 1
    ops.open = kindOpen;
    ops.select = kindSelect;
    ASSERT_EQ(1, addimagetype(25, &ops));
    EXPECT_EQ(0, open(25));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageTypeOpen: image size undefined", errorText());
    EXPECT_TRUE(kind.calls.empty());
    EXPECT_EQ(0, I_ImCount());
    ops = ImageKindOps{};
    ops.getSize = kindGetSize;
    ASSERT_EQ(1, addimagetype(25, &ops));
    const int32_t im = open(25, PIX_WORD);
    EXPECT_EQ(-1, im); // the slot of the failure is free again
    EXPECT_EQ(Calls{"size"}, kind.calls);
    EXPECT_EQ(PIX_WORD, I_ImGetType(im)); // the type of the open stands ...
    EXPECT_EQ(1, I_ImGetSize(nullptr, nullptr, nullptr, im));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(im)); // ... until the size is asked for
    EXPECT_EQ(8, I_ImGetStride(im));
    int32_t got = -1;
    EXPECT_EQ(1, I_ImGetParam(&got, 4, 0, im));
    EXPECT_EQ(25, got);
    void* data = &got;
    EXPECT_EQ(1, I_ImGetParam(&data, 8, 9, im));
    EXPECT_EQ(nullptr, data); // instance 0
    uint8_t pixel = 9;
    EXPECT_EQ(0, I_GetBlockType(0, 0, 1, 1, &pixel, im, PIX_BYTE));
    EXPECT_EQ(0, I_PutBlockType(0, 0, 1, 1, &pixel, im, PIX_BYTE));
    EXPECT_EQ(9, pixel);
    clearError();
    EXPECT_EQ(0, open(25));
    EXPECT_EQ("ImageTypeOpen: image 1 not available (max=1)", errorText());
    I_ImClose(im);
    EXPECT_EQ(-1, open(25)); // freed without a close operation
}

TEST_F(KindsIndependent, ReadsAndWritesThroughItsBlocks)
{
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    ops.getBlock = kindGetBlock;
    ops.putBlock = kindPutBlock;
    ops.hook0 = kindHook0;
    ASSERT_EQ(1, addimagetype(26, &ops));
    const int32_t im = open(26);
    kind.calls.clear();
    uint8_t block[6] = {};
    EXPECT_EQ(1, I_GetBlockType(1, 2, 3, 2, block, im, PIX_BYTE)); // whatever the operation gave
    EXPECT_EQ(0x5A, block[5]);
    EXPECT_EQ(6, I_PutBlockType(2, 1, 3, 2, block, im, PIX_BYTE));
    EXPECT_EQ((Calls{"get 1 2 3 2", "put 2 1 3 2 90"}), kind.calls);
    kind.calls.clear();
    EXPECT_EQ(1, I_ImClear(im, 3.0)); // about 4096 bytes at a time: all four rows
    ASSERT_EQ(1u, kind.calls.size());
    EXPECT_EQ("put 0 0 5 4 3", kind.calls[0]);
    kind.calls.clear();
    EXPECT_EQ(0x5A, I_GetPixByte(4, 3, im));
    EXPECT_EQ(Calls{"get 4 3 1 1"}, kind.calls);
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, 0));
}

TEST_F(KindsIndependent, RefreshesBeforeEachAddress)
{
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    ops.select = kindSelect;
    ops.getPtr = kindGetPtr;
    ASSERT_EQ(1, addimagetype(27, &ops));
    const int32_t im = open(27);
    for (std::size_t i = 0; i < kind.pixels.size(); ++i)
        kind.pixels[i] = static_cast<uint8_t>(i);
    kind.calls.clear();
    int32_t left = 0, stride = 0;
    EXPECT_EQ(&kind.pixels[17], I_ImGetPtr(1, 2, &left, &stride, im));
    EXPECT_EQ(32 - 17, left);
    EXPECT_EQ(8, stride);
    ASSERT_EQ("ptr 1 2", kind.calls.back());
    EXPECT_EQ((Calls{"select 0", "size"}), Calls(kind.calls.end() - 3, kind.calls.end() - 1));
    uint8_t block[6] = {};
    EXPECT_EQ(1, I_GetBlockType(2, 1, 3, 2, block, im, PIX_BYTE));
    EXPECT_EQ((Bytes{10, 11, 12, 18, 19, 20}), Bytes(block, block + 6));
    const uint8_t row[2] = {200, 201};
    EXPECT_EQ(2, I_PutBlockType(0, 3, 2, 1, row, im, PIX_BYTE));
    EXPECT_EQ(201, kind.pixels[25]);
    kind.stride = 16; // the picture moves
    EXPECT_EQ(&kind.pixels[33], I_ImGetPtr(1, 2, nullptr, &stride, im));
    EXPECT_EQ(16, stride);
}

TEST_F(KindsIndependent, TellsOfAKindThatOpensAnotherImage)
{
    VexaPlatform mine{};
    mine.size = sizeof mine;
    mine.messageBox = collectBox;
    vexaSetPlatform(&mine);
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    ops.open = kindOpen;
    ops.close = kindClose;
    ops.count = 2;
    ASSERT_EQ(1, addimagetype(28, &ops));
    kind.opensAnother = true;
    EXPECT_EQ(0, open(28));
    ASSERT_EQ(1u, boxes.size());
    EXPECT_EQ(0u, boxes[0].find("Problem in ImageTypeOpen(): incorrect fcn type? inum="));
    EXPECT_NE(std::string::npos, boxes[0].find(", type=28"));
    EXPECT_EQ(1, I_ImCount());
}

TEST_F(KindsIndependent, NamesTemporaryFiles)
{
    const Directory directory;
    const int32_t a = I_ImOpenFile(4, 3, 0, PIX_BYTE, nullptr);
    EXPECT_TRUE(std::filesystem::exists(directory.file(0)));
    EXPECT_EQ(0u, std::filesystem::file_size(directory.file(0)));
    const int32_t b = I_ImOpenFile(4, 3, 0, PIX_BYTE, nullptr);
    EXPECT_TRUE(std::filesystem::exists(directory.file(1)));
    EXPECT_EQ(1, I_ImClose(a));
    EXPECT_FALSE(std::filesystem::exists(directory.file(0)));
    EXPECT_TRUE(std::filesystem::exists(directory.file(1)));
    I_ImClose(b);
    for (int32_t i = 0; i < 98; ++i)
        std::ofstream(directory.file(i)).put('x');
    const int32_t last = I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr); // 98 is the last number
    EXPECT_NE(0, last);
    EXPECT_TRUE(std::filesystem::exists(directory.file(98)));
    EXPECT_EQ(0, I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr));
    EXPECT_EQ(11, I_GetError(nullptr, 0));
    EXPECT_EQ("COULD_NOT_OPEN_TEMP_FILE: fileopen", errorText());
    EXPECT_EQ(1, I_ImCount());
    setenv("I_TMP", (directory.name() + "/missing").c_str(), 1);
    EXPECT_EQ(0, I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr));
    EXPECT_EQ(11, I_GetError(nullptr, 0));
    EXPECT_EQ("COULD_NOT_OPEN_TEMP_FILE", errorText());
    setenv("TMP", "/nowhere", 1); // I_TMP comes first
    setenv("TEMP", (directory.name() + "/").c_str(), 1);
    EXPECT_EQ(0, I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr));
    unsetenv("I_TMP");
    EXPECT_EQ(0, I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr));
    unsetenv("TMP");
    I_ImCloseAll();
    const int32_t im = I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr);
    EXPECT_NE(0, im);
    EXPECT_TRUE(std::filesystem::exists(directory.file(98)));
    I_ImClose(im);
}

TEST_F(KindsIndependent, JoinsWithABackslashWhereTheDirectoryHoldsOne)
{
    const Directory directory;
    const std::string here = directory.name() + "/";
    const std::pair<std::string, std::string> cases[] = {
        {here + "C:\\T", here + "C:\\T\\VEXA0.TMP"},
        {here + "C:\\T\\", here + "C:\\T\\VEXA0.TMP"},
        {here + "C:", here + "C:VEXA0.TMP"},
        {here, here + "VEXA0.TMP"},
    };
    for (const auto& [value, name] : cases) {
        setenv("I_TMP", value.c_str(), 1);
        const int32_t im = I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr);
        EXPECT_TRUE(std::filesystem::exists(name)) << name;
        I_ImClose(im);
        EXPECT_FALSE(std::filesystem::exists(name)) << name;
    }
    std::ofstream(here + "C:\\T\\VEXA0.TMP").put('x');
    setenv("I_TMP", (here + "C:\\T").c_str(), 1);
    const int32_t im = I_ImOpenFile(1, 1, 0, PIX_BYTE, nullptr);
    EXPECT_TRUE(std::filesystem::exists(here + "C:\\T\\VEXA1.TMP"));
    I_ImClose(im);
}

TEST_F(KindsIndependent, ReadsWhatNoFileHoldsAsZeros)
{
    const Directory directory;
    const int32_t im = I_ImOpenFile(4, 3, 0, PIX_BYTE, nullptr);
    EXPECT_EQ(4, I_ImGetStride(im));
    int32_t got = 0;
    EXPECT_EQ(1, I_ImGetParam(&got, 4, 0, im));
    EXPECT_EQ(8, got);
    Bytes block(12, 7);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 4, 3, block.data(), im, PIX_BYTE)); // the error alone tells
    EXPECT_EQ(Bytes(12), block);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("filegetblock1(0 0 4 3)", errorText());
    block.assign(12, 7);
    I_GetBlockType(1, 1, 2, 2, block.data(), im, PIX_BYTE);
    EXPECT_EQ((Bytes{0, 0, 0, 0, 7}), Bytes(block.begin(), block.begin() + 5));
    EXPECT_EQ("filegetblock2(1 1 2 2)", errorText());
    const uint8_t some[2] = {8, 9};
    EXPECT_EQ(2, I_PutBlockType(2, 1, 2, 1, some, im, PIX_BYTE));
    clearError();
    block.assign(12, 7);
    I_GetBlockType(0, 0, 4, 3, block.data(), im, PIX_BYTE); // 8 of 12 bytes are there
    EXPECT_EQ((Bytes{0, 0, 0, 0, 0, 0, 8, 9, 0, 0, 0, 0}), block);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    clearError();
    I_GetBlockType(0, 0, 4, 2, block.data(), im, PIX_BYTE);
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(KindsIndependent, KeepsToTheFileThatItIsGiven)
{
    const TempFile file;
    file.write(counting(40));
    FILE* stream = std::fopen(file.name(), "r+b");
    std::fseek(stream, 6, SEEK_SET); // here is pixel (0, 0)
    int32_t im = I_ImOpenFile(3, 3, 10, PIX_BYTE, stream);
    EXPECT_EQ(10, I_ImGetStride(im));
    Bytes block(9);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 3, 3, block.data(), im, PIX_BYTE));
    EXPECT_EQ((Bytes{7, 8, 9, 17, 18, 19, 27, 28, 29}), block);
    uint8_t pixels[4] = {101, 102, 103, 104};
    EXPECT_EQ(4, I_PutBlockType(1, 1, 2, 2, pixels, im, PIX_BYTE));
    I_ImClose(im);
    Bytes expected = counting(40);
    expected[17] = 101, expected[18] = 102, expected[27] = 103, expected[28] = 104;
    EXPECT_EQ(expected, bytesOfFile(file.name())); // closed, not removed, not cleared
    im = I_ImOpenFile(2, 2, 0, PIX_WORD, std::fopen(file.name(), "rb"));
    EXPECT_EQ(4, I_PutBlockType(0, 0, 2, 2, pixels, im, PIX_BYTE)); // the error alone tells
    EXPECT_EQ(19, I_GetError(nullptr, 0));
    EXPECT_EQ("Disk full? Read Only? Opened for read?", errorText());
    I_ImClose(im);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
}

TEST_F(KindsIndependent, ChoosesMemoryOrFileByWhatIsAvailable)
{
    const Directory directory;
    VexaPlatform mine{};
    mine.size = sizeof mine;
    mine.availableMemory = availableBytes;
    vexaSetPlatform(&mine);
    struct Case {
        int32_t mask;
        int64_t bytes;
        int32_t kind; // 0: no image
    };
    const int64_t enough = 64 * 64 + 65536;
    for (const Case& c :
         {Case{9, enough, 8}, Case{9, enough + 1024, 1}, Case{1, enough, 0}, Case{1, enough + 1024, 1},
          Case{8, enough * 2, 8}, Case{0, 0, 1}, Case{2, enough * 2, 0}, Case{11, 0, 8}, Case{13, 0, 8},
          Case{15, enough + 1024, 1}}) {
        available = c.bytes;
        EXPECT_EQ(0, I_ImSetMemType(c.mask));
        clearError();
        const int32_t im = I_ImOpen(64, 64, PIX_BYTE);
        int32_t got = 0;
        if (im)
            I_ImGetParam(&got, 4, 0, im);
        EXPECT_EQ(c.kind, got) << c.mask << ' ' << c.bytes;
        EXPECT_EQ(0, I_GetError(nullptr, 0));
        EXPECT_EQ(c.mask, I_ImSetMemType(0));
        I_ImClose(im);
    }
    uint8_t own[9] = {};
    available = 0;
    I_ImSetMemType(8);
    const int32_t view = I_ImOpenPtr(3, 3, 0, PIX_BYTE, own); // memory, whatever the setting is
    EXPECT_EQ(own, I_ImGetPtr(0, 0, nullptr, nullptr, view));
    EXPECT_EQ(8, I_ImSetMemType(0));
}

TEST_F(KindsIndependent, FileImagesActLikeThoseInMemory)
{
    const Directory directory;
    std::mt19937 random(5);
    for (const int32_t type : {PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_DFLOAT, PIX_RGB24, PIX_BGR32}) {
        for (int32_t round = 0; round < 12; ++round) {
            const int32_t cols = 1 + static_cast<int32_t>(random() % 37),
                          rows = 1 + static_cast<int32_t>(random() % 23);
            const int32_t memory = I_ImOpen(cols, rows, type);
            const int32_t bytes = I_ImTypeBytes(type);
            const int32_t stride = round % 2 ? 0 : cols * bytes + static_cast<int32_t>(random() % 5);
            const int32_t file = I_ImOpenFile(cols, rows, stride, type, nullptr);
            I_ImClear(memory, 1.0);
            I_ImClear(file, 1.0);
            for (int32_t i = 0; i < 20; ++i) {
                const int32_t x = static_cast<int32_t>(random() % static_cast<uint32_t>(cols));
                const int32_t y = static_cast<int32_t>(random() % static_cast<uint32_t>(rows));
                const int32_t w = 1 + static_cast<int32_t>(random() % static_cast<uint32_t>(cols - x));
                const int32_t h = 1 + static_cast<int32_t>(random() % static_cast<uint32_t>(rows - y));
                Bytes block(static_cast<std::size_t>(w * h));
                for (uint8_t& b : block)
                    b = static_cast<uint8_t>(random());
                EXPECT_NE(0, I_PutBlockType(x, y, w, h, block.data(), memory, PIX_BYTE));
                EXPECT_NE(0, I_PutBlockType(x, y, w, h, block.data(), file, PIX_BYTE));
            }
            const auto all = static_cast<std::size_t>(cols * rows * bytes);
            Bytes a(all), b(all);
            I_GetBlockType(0, 0, cols, rows, a.data(), memory, type);
            I_GetBlockType(0, 0, cols, rows, b.data(), file, type);
            ASSERT_EQ(a, b) << type << ' ' << cols << ' ' << rows << ' ' << stride;
            closeImages({memory, file});
        }
    }
}

TEST_F(KindsIndependent, RefusesKindsOutsideTheTable)
{
    for (const int32_t code : {32, 33, 1000}) {
        clearError();
        EXPECT_EQ(0, open(code));
        EXPECT_EQ(25, I_GetError(nullptr, 0));
        EXPECT_EQ("I_ImOpen (" + std::to_string(code) + ")", errorText());
    }
    EXPECT_EQ(0, I_ImCount());
}

TEST_F(KindsIndependent, MirrorsRowsOfInvertedFiles)
{
    const TempFile file;
    file.write(counting(12));
    const int32_t im = I_ImOpenFile(3, 4, 0, PIX_BYTE, std::fopen(file.name(), "r+b"));
    int32_t inverted = 1;
    I_ImSetParam(&inverted, 4, 19, im);
    Bytes block(6);
    EXPECT_EQ(1, I_GetBlockType(0, 1, 3, 2, block.data(), im, PIX_BYTE)); // rows 1 and 2 from below, turned
    EXPECT_EQ((Bytes{7, 8, 9, 4, 5, 6}), block);
    const uint8_t rows[6] = {101, 102, 103, 104, 105, 106};
    EXPECT_EQ(6, I_PutBlockType(0, 2, 3, 2, rows, im, PIX_BYTE));
    Bytes expected = counting(12);
    std::copy_n(rows + 3, 3, expected.begin());
    std::copy_n(rows, 3, expected.begin() + 3);
    I_ImClose(im);
    EXPECT_EQ(expected, bytesOfFile(file.name()));
}

TEST_F(KindsIndependent, SurvivesWindowsWithoutAddresses)
{
    const Directory directory;
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    ops.getBlock = kindGetBlock;
    ops.putBlock = kindPutBlock;
    ops.open = kindOpen;
    ASSERT_EQ(1, addimagetype(29, &ops));
    for (const int32_t im : {I_ImOpenFile(6, 6, 0, PIX_BYTE, nullptr), open(29)}) {
        const int32_t window = I_ImOpenSubimage(1, 1, 3, 2, im);
        uint8_t block[16] = {};
        I_GetBlockType(0, 0, 2, 2, block, window, PIX_BYTE);
        I_PutBlockType(0, 0, 2, 2, block, window, PIX_BYTE);
        I_GetBlockType(0, 0, 2, 1, block, window, PIX_BYTE);
        I_ImClear(window, 7.0);
        I_ImGet2DPtr(nullptr, nullptr, window, 0);
        I_ImGetPtr(0, 0, nullptr, nullptr, window);
        I_ImGetRange(nullptr, nullptr, window);
        I_ImInvertRows(window);
        I_ImConvertType(window, PIX_WORD);
        I_FloodFill(0, 0, 3, window);
        I_ImClose(window);
        EXPECT_EQ(1, I_ImClose(im));
    }
}

TEST_F(KindsIndependent, GivesPixelsOfItsPresentType)
{
    ImageKindOps ops{};
    ops.getSize = kindGetSize;
    ops.getPtr = kindGetPtr;
    ASSERT_EQ(1, addimagetype(30, &ops));
    kind.stride = 20;
    kind.type = PIX_DWORD;
    for (std::size_t i = 0; i < 20; ++i)
        kind.pixels[4 * i] = static_cast<uint8_t>(i + 1);
    int32_t im = open(30, PIX_BYTE); // this type stands until the kind is asked
    int32_t block[20] = {};
    EXPECT_EQ(1, I_GetBlockType(0, 1, 5, 2, block, im, PIX_DWORD));
    for (int32_t i = 0; i < 10; ++i)
        EXPECT_EQ(i + 6, block[i]);
    I_ImClose(im);
    im = open(30, PIX_BYTE);
    std::vector<uint8_t> bytes(10); // as many as bytes need: none is written behind them
    EXPECT_EQ(1, I_GetBlockType(0, 1, 5, 2, bytes.data(), im, PIX_BYTE));
    EXPECT_EQ(PIX_DWORD, I_ImGetType(im));
    kind.type = PIX_BYTE; // and the image turns to bytes, and back
    EXPECT_EQ(1, I_GetBlockType(0, 0, 5, 2, block, im, PIX_DWORD));
    EXPECT_EQ(PIX_BYTE, I_ImGetType(im));
    EXPECT_EQ(1, block[0]);
    EXPECT_EQ(6, block[5] + block[6]); // byte 20 is 6
    kind.type = PIX_DWORD;
    const uint8_t five[5] = {50, 51, 52, 53, 54};
    EXPECT_EQ(5, I_PutBlockTypeEx(0, 2, 5, 1, five, im, PIX_BYTE, 0));
    EXPECT_EQ(1, I_GetBlockTypeEx(0, 2, 5, 1, block, im, PIX_DWORD, 0));
    std::vector<uint8_t> back(5);
    EXPECT_EQ(1, I_GetBlockTypeEx(0, 2, 5, 1, back.data(), im, PIX_BYTE, 0));
    EXPECT_EQ(Bytes(five, five + 5), back);
    kind.type = PIX_BYTE;
    EXPECT_EQ(1, I_ImClear(im, 9.0));
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(9, kind.pixels[static_cast<std::size_t>(20 * y + x)]);
}

TEST_F(KindsIndependent, SurvivesKindsThatChangeAtEachCall)
{
    static std::mt19937 random(9);
    ImageKindOps ops{};
    ops.getSize = [](int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type) {
        const int32_t types[] = {PIX_BYTE,     PIX_WORD,    PIX_FLOAT, PIX_DFLOAT,
                                 PIX_DCOMPLEX, PIX_PALETTE, PIX_BGR24};
        kind.type = types[random() % 7];
        kind.cols = 1 + static_cast<int32_t>(random() % 12);
        kind.rows = 1 + static_cast<int32_t>(random() % 12);
        kind.stride = kind.cols * I_ImTypeBytes(kind.type);
        *cols = kind.cols, *rows = kind.rows, *stride = kind.stride, *type = kind.type;
        return 1;
    };
    ops.getPtr = [](int32_t x, int32_t y, int32_t* left, int32_t* stride) -> void* {
        return x < 0 || y < 0 || x >= kind.cols || y >= kind.rows ? nullptr : kindGetPtr(x, y, left, stride);
    };
    ASSERT_EQ(1, addimagetype(23, &ops));
    const int32_t im = open(23), other = byteImage(9, 9);
    for (int32_t round = 0; round < 500; ++round) {
        const int32_t w = 1 + static_cast<int32_t>(random() % 9), h = 1 + static_cast<int32_t>(random() % 9);
        const int32_t types[] = {PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_DFLOAT, PIX_RGB24};
        const int32_t type = types[random() % 5];
        std::vector<uint8_t> block(static_cast<std::size_t>(w * h * I_ImTypeBytes(type)));
        I_GetBlockType(0, 0, w, h, block.data(), im, type);
        I_PutBlockType(0, 0, w, h, block.data(), im, type);
        I_ImClear(im, 5.0);
        I_ImGetRange(nullptr, nullptr, im);
        I_ImageCopy(im, other);
        I_ImageCopy(other, im);
        vexaFree(I_DupBlockType(0, 0, w, h, im, type));
        I_FloodFill(0, 0, round, im);
        uint32_t histogram[256];
        I_CalcHist(histogram, im);
    }
}
