#include "tests/support/test_images.h"

#include <array>

#include "core/image_table.h"
#include "support/buffer.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;

namespace
{

// Pixels that only the operations of a kind reach: one flat store, read and written by storage rows.
std::vector<uint8_t> store;
std::vector<std::array<int32_t, 4>> reads;
std::vector<std::array<int32_t, 4>> writes;

void move(int32_t x, int32_t y, int32_t width, int32_t height, uint8_t* buffer, ImageRecord* record, bool get)
{
    const int64_t rowBytes = int64_t{width} * record->bytes;
    for (int64_t row = 0; row < height; ++row) {
        const int64_t at = (y + row) * record->stride + int64_t{x} * record->bytes;
        for (int64_t i = 0; i < rowBytes; ++i) {
            if (at + i < 0 || at + i >= static_cast<int64_t>(store.size()))
                continue;
            uint8_t& stored = store[static_cast<std::size_t>(at + i)];
            uint8_t& moved = buffer[row * rowBytes + i];
            (get ? moved : stored) = get ? stored : moved;
        }
    }
}

int32_t getBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* record)
{
    reads.push_back({x, y, width, height});
    move(x, y, width, height, static_cast<uint8_t*>(buffer), record, true);
    return 1;
}

int32_t putBlock(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer, ImageRecord* record)
{
    writes.push_back({x, y, width, height});
    move(x, y, width, height, static_cast<uint8_t*>(buffer), record, false);
    return 1;
}

// An image of that kind; its pixels rise by one from the first stored one on.
int32_t kindImage(int32_t cols, int32_t rows, int32_t type, int32_t inverted = 0)
{
    const int32_t im = I_ImOpen(cols, rows, type);
    ImageRecord* const record = vexa::findImageRecord(im, "test");
    record->data = nullptr;
    record->getPtr = nullptr;
    record->getBlock = getBlock;
    record->putBlock = putBlock;
    record->inverted = inverted;
    store.resize(static_cast<std::size_t>(record->stride) * static_cast<std::size_t>(rows));
    for (std::size_t i = 0; i < store.size(); ++i)
        store[i] = static_cast<uint8_t>(i);
    return im;
}

class BlockKind : public testing::Test
{
protected:
    void SetUp() override
    {
        clearError();
        reads.clear();
        writes.clear();
    }
    void TearDown() override
    {
        I_SetColorBand(-2);
        I_ImCloseAll();
    }
};
using BlockSegments = BlockKind;

using Rect = std::array<int32_t, 4>;

} // namespace

TEST_F(BlockKind, LiteralOwnTypeIsReadStraight)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    std::vector<uint8_t> block(7, 77);
    vexa::failAllocation(0, false);
    EXPECT_EQ(1, I_GetBlockType(2, 1, 3, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ(0, vexa::allocationState().attempts);
    EXPECT_THAT(block, testing::ElementsAre(10, 11, 12, 18, 19, 20, 77));
    EXPECT_THAT(reads, testing::ElementsAre(Rect{2, 1, 3, 2}));
    // The pitch is not used: packed rows.
    EXPECT_EQ(1, I_GetBlockTypeEx(2, 1, 3, 2, block.data(), im, PIX_BYTE, 100));
    EXPECT_EQ(18, block[3]);
    EXPECT_EQ(2, I_PutBlockType(0, 0, 1, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ(10, store[0]);
    EXPECT_EQ(11, store[8]);
}

TEST_F(BlockKind, LiteralRowPathClipsBeforeTheKindIsAsked)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    std::vector<uint8_t> block(20, 77);
    EXPECT_EQ(1, I_GetBlockType(6, 1, 10, 1, block.data(), im, PIX_BYTE));
    EXPECT_THAT(reads, testing::ElementsAre(Rect{6, 1, 2, 1}));
    EXPECT_EQ(77, block[2]);
    EXPECT_EQ(0, I_GetBlockType(8, 1, 10, 1, block.data(), im, PIX_BYTE));
    EXPECT_EQ(0.0F, I_GetPix(-1, 2, im));
    EXPECT_EQ(1U, reads.size());
    // Elsewhere coordinates outside the image are the kind's business.
    EXPECT_EQ(1, I_GetBlockType(-1, 1, 2, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ((Rect{-1, 1, 2, 2}), reads.back());
}

TEST_F(BlockKind, LiteralOtherTypesAreConverted)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    std::vector<float> block(6, -1.0F);
    EXPECT_EQ(1, I_GetBlockType(2, 1, 3, 2, block.data(), im, PIX_FLOAT));
    EXPECT_THAT(block, testing::ElementsAre(10, 11, 12, 18, 19, 20));
    for (float& value : block)
        value += 100.0F;
    EXPECT_EQ(6, I_PutBlockType(2, 1, 3, 2, block.data(), im, PIX_FLOAT));
    EXPECT_EQ(110, store[10]);
    EXPECT_EQ(120, store[20]);
    EXPECT_EQ(13, store[13]);
    EXPECT_THAT(writes, testing::ElementsAre(Rect{2, 1, 3, 2}));
    // A palette index is moved as a byte.
    std::vector<uint8_t> indices(2);
    EXPECT_EQ(1, I_GetBlockType(2, 1, 2, 1, indices.data(), im, PIX_PALETTE));
    EXPECT_EQ(110, indices[0]);
    EXPECT_EQ(2, I_PutBlockType(0, 0, 2, 1, indices.data(), im, PIX_PALETTE));
    EXPECT_EQ(110, store[0]);
}

TEST_F(BlockKind, LiteralValueRangeScalesOnTheWay)
{
    const int32_t im = kindImage(2, 1, PIX_FLOAT);
    const float values[] = {0.0F, 100.0F};
    std::memcpy(store.data(), values, sizeof values);
    I_SetPixValueRange(0.0, 100.0, im);
    uint8_t bytes[2] = {};
    EXPECT_EQ(1, I_GetBlockType(0, 0, 2, 1, bytes, im, PIX_BYTE));
    EXPECT_EQ(0, bytes[0]);
    EXPECT_EQ(255, bytes[1]);
    const uint8_t written[] = {255, 0};
    EXPECT_EQ(2, I_PutBlockType(0, 0, 2, 1, written, im, PIX_BYTE));
    EXPECT_FLOAT_EQ(100.0F, I_GetPix(0, 0, im));
}

TEST_F(BlockKind, LiteralInvertedImagesMirrorTheRow)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE, 1);
    std::vector<uint8_t> block(4, 77);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 2, 2, block.data(), im, PIX_BYTE));
    EXPECT_THAT(reads, testing::ElementsAre(Rect{0, 2, 2, 2}));
    EXPECT_THAT(block, testing::ElementsAre(24, 25, 16, 17)); // top first
    std::vector<uint8_t> spread(10, 0);
    EXPECT_EQ(1, I_GetBlockTypeEx(0, 0, 2, 2, spread.data(), im, PIX_BYTE, 5)); // here the pitch holds
    EXPECT_THAT(spread, testing::ElementsAre(24, 25, 0, 0, 0, 16, 17, 0, 0, 0));
    std::vector<uint16_t> words(4);
    EXPECT_EQ(1, I_GetBlockType(0, 0, 2, 2, words.data(), im, PIX_WORD));
    EXPECT_THAT(words, testing::ElementsAre(24, 25, 16, 17));
    // A single row is mirrored as well, other than on the addressable path.
    EXPECT_EQ(1, I_GetBlockType(0, 0, 2, 1, block.data(), im, PIX_BYTE));
    EXPECT_EQ(24, block[0]);

    const std::vector<uint8_t> before = store;
    EXPECT_EQ(1, I_GetBlockType(1, 1, 2, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ(4, I_PutBlockType(1, 1, 2, 2, block.data(), im, PIX_BYTE));
    EXPECT_EQ(before, store);
    EXPECT_EQ(1, I_GetBlockType(1, 1, 2, 2, words.data(), im, PIX_WORD));
    EXPECT_EQ(4, I_PutBlockType(1, 1, 2, 2, words.data(), im, PIX_WORD));
    EXPECT_EQ(before, store);
    EXPECT_EQ((Rect{1, 1, 2, 2}), writes.back());
}

TEST_F(BlockKind, LiteralABandKeepsTheOthers)
{
    const int32_t im = kindImage(2, 2, PIX_RGB24); // stride 8
    std::fill(store.begin(), store.end(), uint8_t{7});
    const std::vector<uint8_t> red(4, 99);
    I_SetColorBand(0);
    EXPECT_EQ(4, I_PutBlockType(0, 0, 2, 2, red.data(), im, PIX_BYTE));
    I_SetColorBand(-2);
    EXPECT_THAT(store, testing::ElementsAre(99, 7, 7, 99, 7, 7, 7, 7, 99, 7, 7, 99, 7, 7, 7, 7));
    EXPECT_EQ(4, I_PutBlockType(0, 0, 2, 2, red.data(), im, PIX_BYTE));
    EXPECT_EQ(99, store[1]);
}

TEST_F(BlockKind, LiteralCopiesGoThroughABufferOfTheHigherType)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    const int32_t to = floatImage(3, 3);
    EXPECT_EQ(9, I_ImCopyBlock(-1, -1, 2, 1, im, 0, 0, to));
    EXPECT_THAT(rowOf(to, 2), testing::ElementsAre(26, 27, 28));
    EXPECT_EQ(4, I_ImCopyBlock(2, 2, 0, 0, to, 5, 1, im));
    EXPECT_EQ(10, store[13]);
    EXPECT_EQ(19, store[22]);
    const int32_t clone = I_CloneImage(im, 0, 1);
    EXPECT_EQ(10.0, pixel(clone, 5, 1));
    EXPECT_EQ(31.0, pixel(clone, 7, 3));
}

TEST_F(BlockKind, LiteralClearsFillInChunksOf4KiB)
{
    const int32_t im = kindImage(2000, 5, PIX_BYTE);
    EXPECT_EQ(1, I_ImClear(im, 3.0));
    EXPECT_THAT(writes, testing::ElementsAre(Rect{0, 0, 2000, 2}, Rect{0, 2, 2000, 2}, Rect{0, 4, 2000, 1}));
    EXPECT_EQ(3, store[0]);
    EXPECT_EQ(3, store[2000 * 5 - 1]);
    writes.clear();
    const int32_t wide = kindImage(5000, 2, PIX_BYTE);
    EXPECT_EQ(1, I_ImClear(wide, 3.0));
    EXPECT_THAT(writes, testing::ElementsAre(Rect{0, 0, 5000, 1}, Rect{0, 1, 5000, 1}));
    writes.clear();
    const int32_t one = kindImage(1, 1, PIX_DFLOAT);
    EXPECT_EQ(1, I_ImClear(one, 0.0));
    EXPECT_THAT(writes, testing::ElementsAre(Rect{0, 0, 1, 1}));
}

TEST_F(BlockKind, LiteralRangeIsThatOfTheFloats)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    store[9] = 200;
    store[0] = 50;
    double low = 0.0;
    double high = 0.0;
    EXPECT_EQ(32, I_ImGetRange(&low, &high, im));
    EXPECT_EQ(1.0, low);
    EXPECT_EQ(200.0, high);
}

TEST_F(BlockKind, FailuresWithoutOperations)
{
    const int32_t im = kindImage(8, 4, PIX_BYTE);
    ImageRecord* const record = vexa::findImageRecord(im, "test");
    record->getBlock = nullptr;
    record->putBlock = nullptr;
    uint8_t block[32] = {};
    EXPECT_EQ(0, I_GetBlockType(0, 0, 8, 4, block, im, PIX_BYTE));
    EXPECT_EQ(0, I_PutBlockType(0, 0, 8, 4, block, im, PIX_BYTE));
    EXPECT_EQ(0, I_GetBlockType(0, 0, 8, 4, block, im, 25));
    EXPECT_EQ(0, I_ImClear(im, 1.0));
    EXPECT_EQ(nullptr, I_DupBlockType(0, 0, 2, 2, im, PIX_BYTE));
    EXPECT_EQ(nullptr, I_Dup2DBlockType(0, 0, 2, 2, im, PIX_BYTE));
    EXPECT_EQ(0, I_ImGetRange(nullptr, nullptr, im));
    EXPECT_EQ(0, I_CloneImage(im, 0, 1));
    EXPECT_EQ(0, I_RectDup(0, 0, 2, 2, im));
    EXPECT_EQ(0, I_CloneRect(im, 0, 0, 0, 1, 1));
    EXPECT_EQ(0, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_ImInvertRows(im));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ(0U, errorText().find("I_ImInvertRows Failed: imSrc=" + std::to_string(im) + " buf = "));
    EXPECT_EQ(1, I_ImCount());
}

TEST_F(BlockKind, FailuresOfMemoryNameTheBlock)
{
    const int32_t plain = kindImage(8, 4, PIX_BYTE);
    const int32_t inverted = kindImage(8, 4, PIX_BYTE, 1);
    std::vector<float> block(32);
    const std::vector<std::pair<std::string, std::function<int32_t()>>> calls = {
        {"I_GetBlockType-3", [&] { return I_GetBlockType(0, 0, 8, 4, block.data(), inverted, PIX_BYTE); }},
        {"I_GetBlockType-4", [&] { return I_GetBlockType(0, 0, 8, 4, block.data(), plain, PIX_FLOAT); }},
        {"I_PutBlockType-3", [&] { return I_PutBlockType(0, 0, 8, 4, block.data(), inverted, PIX_BYTE); }},
        {"I_PutBlockType-4", [&] { return I_PutBlockType(0, 0, 8, 4, block.data(), plain, PIX_FLOAT); }},
        {"CopyBlock (8 x 4)", [&] { return I_ImCopyBlock(-1, -1, 0, 0, plain, 0, 0, plain); }},
        {"I_ImClearBlockType(im=" + std::to_string(plain), [&] { return I_ImClear(plain, 1.0); }},
    };
    for (const auto& [tag, call] : calls) {
        clearError();
        vexa::failAllocation(1, false);
        EXPECT_EQ(0, call()) << tag;
        vexa::failAllocation(0, false);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_EQ(0U, errorText().find("Memory allocation failed: " + tag)) << errorText();
        forEachFailingAllocation(call, [](int64_t) { EXPECT_EQ(2, I_GetError(nullptr, 0)); });
    }
}

namespace
{

int64_t segmentBytes = 0;
int32_t pointersAsked = 0;

// The store in pieces of memory that end every so many bytes.
void* segmentPointer(int32_t x, int32_t y, int32_t* left, int32_t* stride, ImageRecord* record)
{
    ++pointersAsked;
    const int64_t at = int64_t{y} * record->stride + int64_t{x} * record->bytes;
    if (at < 0 || at >= static_cast<int64_t>(store.size()))
        return nullptr;
    const int64_t end = std::min((at / segmentBytes + 1) * segmentBytes, static_cast<int64_t>(store.size()));
    *left = static_cast<int32_t>(end - at);
    *stride = record->stride;
    return store.data() + at;
}

int32_t segmentedImage(int32_t cols, int32_t rows, int32_t type)
{
    const int32_t im = kindImage(cols, rows, type);
    const int32_t model = I_ImOpen(1, 1, PIX_BYTE);
    ImageRecord* const record = vexa::findImageRecord(im, "test");
    record->getPtr = segmentPointer;
    record->getBlock = vexa::findImageRecord(model, "test")->getBlock;
    record->putBlock = vexa::findImageRecord(model, "test")->putBlock;
    I_ImClose(model);
    return im;
}

} // namespace

TEST_F(BlockSegments, BoundsEveryPieceSizeGivesTheSamePixels)
{
    for (const int32_t type : {PIX_BYTE, PIX_WORD}) {
        const int32_t bytes = I_ImTypeBytes(type);
        // A row may be split once, so pieces are not shorter than what a row has.
        for (segmentBytes = 16 * bytes; segmentBytes < 100; segmentBytes += bytes) {
            const int32_t im = segmentedImage(16, 5, type);
            for (const auto& [x, y, width, height] :
                 std::vector<Rect>{{0, 0, 16, 5}, {3, 1, 7, 4}, {15, 4, 1, 1}}) {
                std::vector<uint8_t> block(static_cast<std::size_t>(width * height * bytes), 0);
                ASSERT_EQ(1, I_GetBlockTypeEx(x, y, width, height, block.data(), im, type, 0));
                std::size_t i = 0;
                for (int32_t row = 0; row < height; ++row)
                    for (int32_t byte = 0; byte < width * bytes; ++byte)
                        ASSERT_EQ(static_cast<uint8_t>(16 * bytes * (y + row) + x * bytes + byte), block[i++])
                            << segmentBytes;
                const std::vector<uint8_t> before = store;
                for (uint8_t& value : block)
                    value = static_cast<uint8_t>(~value);
                ASSERT_EQ(width * height, I_PutBlockTypeEx(x, y, width, height, block.data(), im, type, 0));
                for (std::size_t at = 0; at < store.size(); ++at) {
                    const auto row = static_cast<int32_t>(at) / (16 * bytes);
                    const auto col = static_cast<int32_t>(at) % (16 * bytes) / bytes;
                    const bool inside = col >= x && col < x + width && row >= y && row < y + height;
                    ASSERT_EQ(inside ? static_cast<uint8_t>(~before[at]) : before[at], store[at]);
                }
                store = before;
            }
            I_ImClose(im);
        }
    }
}

TEST_F(BlockSegments, LiteralWholeRowsOfASegmentMoveTogether)
{
    segmentBytes = 48;
    const int32_t im = segmentedImage(16, 6, PIX_BYTE);
    std::vector<uint8_t> block(96);
    pointersAsked = 0;
    EXPECT_EQ(1, I_GetBlockType(0, 0, 16, 6, block.data(), im, PIX_BYTE));
    EXPECT_EQ(2, pointersAsked);
    segmentBytes = 24; // rows 1 and 4 are split
    pointersAsked = 0;
    EXPECT_EQ(1, I_GetBlockType(0, 0, 16, 6, block.data(), im, PIX_BYTE));
    EXPECT_EQ(8, pointersAsked);
    EXPECT_EQ(store, block);
}

TEST_F(BlockSegments, FailuresOfTheAddressEndTheCall)
{
    segmentBytes = 32;
    const int32_t im = segmentedImage(16, 4, PIX_BYTE);
    ImageRecord* const record = vexa::findImageRecord(im, "test");
    std::vector<uint8_t> block(100, 77);
    EXPECT_EQ(0, record->getBlock(0, 3, 16, 2, block.data(), record));
    EXPECT_EQ(48, block[0]);
    EXPECT_EQ(77, block[16]);
    record->getPtr = nullptr;
    EXPECT_EQ(0, record->getBlock(0, 0, 1, 1, block.data(), record));
    EXPECT_EQ(0, record->putBlock(0, 0, 1, 1, block.data(), record));
}
