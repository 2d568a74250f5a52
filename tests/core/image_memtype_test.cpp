#include "tests/support/test_images.h"

#include "core/image_kinds.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

int32_t lastError()
{
    return I_GetError(nullptr, 0);
}

class ImageMemType : public testing::Test
{
protected:
    void SetUp() override
    {
        I_ImCloseAll();
        clearError();
    }
    void TearDown() override { I_ImCloseAll(); }
};

} // namespace

namespace
{

int64_t fakeAvailable = 0;

class AvailableMemory
{
public:
    explicit AvailableMemory(int64_t bytes)
    {
        fakeAvailable = bytes;
        VexaPlatform platform = {};
        platform.size = sizeof platform;
        platform.availableMemory = [] { return fakeAvailable; };
        vexaSetPlatform(&platform);
    }
    ~AvailableMemory() { vexaSetPlatform(nullptr); }
};

class MemType
{
public:
    explicit MemType(int32_t type) : old_(I_ImSetMemType(type)) {}
    ~MemType() { I_ImSetMemType(old_); }

private:
    int32_t old_;
};

// Provides kinds for the time of a test.
class KindHooks
{
public:
    KindHooks() { vexa::imageKindHooks() = {}; }
    ~KindHooks() { vexa::imageKindHooks() = before_; }

private:
    vexa::ImageKindHooks before_ = vexa::imageKindHooks();
};

FILE* openedFile = nullptr;
int32_t closedRecords = 0;

} // namespace

TEST_F(ImageMemType, LiteralMaskGrantsMemoryIfItFits)
{
    EXPECT_EQ(0, I_ImSetMemType(1));
    EXPECT_EQ(1, I_ImSetMemType(0));
    const MemType memory(1);
    {
        const AvailableMemory available(100 * 80 + 65536 + 1);
        const int32_t im = I_ImOpen(80, 100, PIX_BYTE);
        EXPECT_EQ(80, I_ImGetStride(im));
        int32_t kind = 0;
        EXPECT_EQ(1, I_ImGetParam(&kind, 0, 0, im));
        EXPECT_EQ(1, kind);
    }
    const AvailableMemory available(100 * 80 + 65536);
    Messages messages;
    clearError();
    EXPECT_EQ(0, I_ImOpen(80, 100, PIX_BYTE)); // quietly
    EXPECT_EQ(0, lastError());
    EXPECT_TRUE(messages.all().empty());
    EXPECT_EQ(1, I_ImCount());
    uint8_t pixels[80];
    EXPECT_NE(0, I_ImOpenPtr(80, 1, 0, PIX_BYTE, pixels)); // memory that is there needs none
    EXPECT_EQ(1, I_ImSetMemType(0));
    EXPECT_NE(0, I_ImOpen(80, 100, PIX_BYTE)); // without a mask nothing is tested
}

TEST_F(ImageMemType, LiteralMaskWithNeitherBitFailsQuietly)
{
    const MemType other(2);
    EXPECT_EQ(0, I_ImOpen(8, 8, PIX_BYTE));
    EXPECT_EQ(0, lastError());
    EXPECT_EQ(0, I_ImCount());
}

TEST_F(ImageMemType, LiteralFilesTakeUnalignedStrides)
{
    const KindHooks hooks;
    vexa::imageKindHooks().openFile = [](ImageRecord& record, FILE* file) {
        openedFile = file;
        record.fileStart = 0;
        record.closeHook = [](ImageRecord*) { ++closedRecords; };
        return true;
    };
    FILE* const stream = std::tmpfile();
    const int32_t im = I_ImOpenFile(3, 2, 0, PIX_BYTE, stream);
    EXPECT_EQ(stream, openedFile);
    EXPECT_EQ(3, I_ImGetStride(im));
    EXPECT_EQ(5, I_ImGetStride(I_ImOpenFile(3, 2, 5, PIX_BYTE, stream)));
    int32_t kind = 0;
    I_ImGetParam(&kind, 0, 0, im);
    EXPECT_EQ(8, kind);
    EXPECT_EQ(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, im));
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, 0));
    {
        const MemType file(8);
        EXPECT_EQ(3, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE)));
        EXPECT_EQ(nullptr, openedFile); // a temporary one
    }
    const MemType both(9);
    const AvailableMemory none(0);
    EXPECT_EQ(3, I_ImGetStride(I_ImOpen(3, 2, PIX_BYTE)));
    const AvailableMemory enough(1 << 20);
    const int32_t inMemory = I_ImOpen(3, 2, PIX_BYTE);
    EXPECT_EQ(3, I_ImGetStride(inMemory)); // alignment is for memory types 0 and 1 alone
    EXPECT_NE(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, inMemory));
    closedRecords = 0;
    I_ImCloseAll();
    EXPECT_EQ(4, closedRecords);
    std::fclose(stream);
}

TEST_F(ImageMemType, FailuresOfFilesFreeTheSlot)
{
    const KindHooks hooks;
    vexa::imageKindHooks().openFile = [](ImageRecord&, FILE*) {
        I_SetError(11, "fileopen");
        return false;
    };
    EXPECT_EQ(0, I_ImOpenFile(3, 2, 0, PIX_BYTE, nullptr));
    EXPECT_EQ(11, lastError());
    EXPECT_EQ(0, I_ImCount());
}

TEST_F(ImageMemType, FailuresOfUnknownKindsAreNamed)
{
    const KindHooks hooks;
    for (const int32_t kind : {16, 21, 31, 1000}) {
        const MemType registered(kind);
        EXPECT_EQ(0, I_ImOpen(8, 8, PIX_BYTE));
        EXPECT_EQ(25, lastError());
        EXPECT_EQ("I_ImOpen (" + std::to_string(kind) + ")", errorText());
        EXPECT_EQ(0, I_ImCount());
    }
}

namespace
{

int32_t kindCols = 6;
uint8_t kindPixels[64];
const ImageKindOps kOpsWithoutOpen = {};
std::string boxText;

bool openTestKind(ImageRecord& record, int32_t)
{
    record.ops = &kOpsWithoutOpen;
    record.cols = kindCols;
    record.rows = 4;
    record.stride = 8;
    record.bytes = 1;
    record.instance = 3;
    record.data = reinterpret_cast<void*>(static_cast<uintptr_t>(record.instance));
    record.getPtr = [](int32_t x, int32_t y, int32_t* left, int32_t* stride, ImageRecord*) -> void* {
        *stride = 8;
        *left = 32 - (y * 8 + x);
        return kindPixels + y * 8 + x;
    };
    return true;
}

} // namespace

TEST_F(ImageMemType, LiteralRegisteredKindsBringTheirSizeAndKeepTheTypeAskedFor)
{
    const KindHooks hooks;
    vexa::imageKindHooks().isRegistered = [](int32_t kind) { return kind == 20; };
    vexa::imageKindHooks().open = openTestKind;
    vexa::imageKindHooks().refresh = [](ImageRecord& record) { record.cols = kindCols; };
    int32_t im = 0;
    {
        const MemType registered(20);
        im = I_ImOpen(100, 100, PIX_BYTE);
    }
    ASSERT_NE(0, im);
    int32_t cols = 0;
    int32_t rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, im);
    EXPECT_EQ(6, cols);
    EXPECT_EQ(4, rows);
    kindCols = 5;
    I_ImGetSize(&cols, nullptr, nullptr, im);
    EXPECT_EQ(5, cols);
    kindCols = 6;
    // The instance number in data is no address: pixels go through getPtr.
    for (uint8_t i = 0; i < 32; ++i)
        kindPixels[i] = i;
    std::vector<uint8_t> block(6, 0);
    EXPECT_EQ(1, I_GetBlockType(1, 1, 3, 2, block.data(), im, PIX_BYTE));
    EXPECT_THAT(block, testing::ElementsAre(9, 10, 11, 17, 18, 19));
    EXPECT_EQ(kindPixels + 9, I_ImGetPtr(1, 1, nullptr, nullptr, im));
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, 0));
}

TEST_F(ImageMemType, FailuresOfAKindThatOpensItselfAreShown)
{
    const KindHooks hooks;
    vexa::imageKindHooks().isRegistered = [](int32_t) { return true; };
    vexa::imageKindHooks().open = [](ImageRecord& record, int32_t kind) {
        static int32_t depth = 0;
        if (depth == 0) {
            ++depth;
            I_ImOpen(4, 4, PIX_BYTE);
            --depth;
        }
        return openTestKind(record, kind);
    };
    VexaPlatform platform = {};
    platform.size = sizeof platform;
    platform.messageBox = [](const char* text, const char*, int32_t, int32_t answer) {
        boxText = text;
        return answer;
    };
    vexaSetPlatform(&platform);
    const MemType registered(20);
    EXPECT_EQ(0, I_ImOpen(4, 4, PIX_BYTE));
    EXPECT_EQ("Problem in ImageTypeOpen(): incorrect fcn type? inum=1, type=20", boxText);
    EXPECT_EQ(1, I_ImCount()); // the inner one
    vexaSetPlatform(nullptr);
}
