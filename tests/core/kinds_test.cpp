// Images of kinds that are registered at run time.
#include "vexalib/kinds.h"

#include <array>
#include <map>

#include <gmock/gmock.h>

#include "core/image_table.h"
#include "support/buffer.h"
#include "tests/core/platform_in_place.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;

namespace
{

constexpr int32_t kCols = 9;
constexpr int32_t kRows = 5;

// Two stores of bytes, of which one is the current one, and what was asked of them.
struct Store {
    std::array<std::array<uint8_t, kCols * kRows>, 2> pixels;
    std::size_t current = 0;
    std::vector<std::string> calls;
};
Store store;

void note(const std::string& call)
{
    store.calls.push_back(call);
}

std::string text(std::initializer_list<int64_t> numbers)
{
    std::string all;
    for (const int64_t number : numbers)
        all += " " + std::to_string(number);
    return all;
}

int32_t storeHook0(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c)
{
    note("hook0" + text({x, y, a, b, c}));
    return 55;
}

int32_t storeHook1(int32_t x, int32_t y, int32_t a, int32_t b, int32_t c)
{
    note("hook1" + text({x, y, a, b, c}));
    return 66;
}

void moveStored(int32_t x, int32_t y, int32_t width, int32_t height, uint8_t* buffer, bool get)
{
    for (int32_t row = 0; row < height; ++row)
        for (int32_t col = 0; col < width; ++col) {
            uint8_t& moved = buffer[row * width + col];
            if (x + col < 0 || x + col >= kCols || y + row < 0 || y + row >= kRows)
                continue;
            uint8_t& stored =
                store.pixels[store.current][static_cast<std::size_t>((y + row) * kCols + x + col)];
            (get ? moved : stored) = get ? stored : moved;
        }
}

int32_t storeGet(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer)
{
    note("get" + text({x, y, width, height}));
    moveStored(x, y, width, height, static_cast<uint8_t*>(buffer), true);
    return 0; // not looked at
}

int32_t storePut(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer)
{
    note("put" + text({x, y, width, height}));
    moveStored(x, y, width, height, static_cast<uint8_t*>(buffer), false);
    return 0;
}

void* storePtr(int32_t x, int32_t y, int32_t* left, int32_t* stride)
{
    note("ptr" + text({x, y}));
    const int32_t at = y * kCols + x;
    if (at < 0 || at >= kCols * kRows)
        return nullptr;
    *left = kCols * kRows - at;
    *stride = kCols;
    return store.pixels[store.current].data() + at;
}

// The value of an instance is 100 more than it; both are understood.
int32_t storeSelect(intptr_t value)
{
    note("select" + text({value}));
    store.current = static_cast<std::size_t>(value % 100);
    return 1;
}

intptr_t storeOpen(int32_t instance)
{
    note("open" + text({instance}));
    return instance + 100;
}

int32_t storeClose(intptr_t value)
{
    note("close" + text({value}));
    return 1;
}

int32_t storeSize(int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type)
{
    note("size");
    *cols = kCols;
    *rows = kRows;
    *stride = kCols;
    *type = PIX_BYTE;
    return 1;
}

int32_t stores = 2;

ImageKindOps everyOperation()
{
    ImageKindOps ops = {};
    ops.hook0 = storeHook0;
    ops.hook1 = storeHook1;
    ops.getBlock = storeGet;
    ops.putBlock = storePut;
    ops.getPtr = storePtr;
    ops.select = storeSelect;
    ops.open = storeOpen;
    ops.close = storeClose;
    ops.getSize = storeSize;
    ops.countFn = [] { return stores; };
    return ops;
}

ImageKindOps requiredOnly()
{
    ImageKindOps ops = {};
    ops.getSize = storeSize;
    return ops;
}

int32_t openOfKind(int32_t kind, int32_t type = PIX_BYTE)
{
    const int32_t before = I_ImSetMemType(kind);
    const int32_t im = I_ImOpen(1, 1, type);
    I_ImSetMemType(before);
    return im;
}

std::vector<std::string> takeCalls()
{
    return std::exchange(store.calls, {});
}

class Kinds : public testing::Test
{
protected:
    void SetUp() override
    {
        store = {};
        stores = 2;
        for (std::size_t i = 0; i < store.pixels[0].size(); ++i) {
            store.pixels[0][i] = static_cast<uint8_t>(i);
            store.pixels[1][i] = static_cast<uint8_t>(200 - i);
        }
        clearError();
    }
    void TearDown() override
    {
        vexa::failAllocation(0, false);
        I_ImCloseAll();
    }
};

using testing::ElementsAre;
using testing::IsEmpty;

} // namespace

TEST_F(Kinds, LiteralAKindWithEveryOperation)
{
    const ImageKindOps ops = everyOperation();
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t im = openOfKind(16);
    EXPECT_EQ(-1, im);
    EXPECT_THAT(takeCalls(), ElementsAre("select 0", "size", "open 0"));
    const ImageRecord& record = *vexa::imageRecordOrNull(im);
    EXPECT_EQ(16, record.kind);
    EXPECT_EQ(0, record.instance);
    EXPECT_EQ(1, record.bytes);
    EXPECT_EQ(kCols, record.stride);
    void* data = nullptr;
    EXPECT_EQ(1, I_ImGetParam(&data, sizeof data, 9, im));
    EXPECT_EQ(100, reinterpret_cast<intptr_t>(data));

    // Size: asked for anew, with the value of open.
    int32_t cols = 0;
    int32_t rows = 0;
    EXPECT_EQ(1, I_ImGetSize(&cols, &rows, nullptr, im));
    EXPECT_EQ(kCols, cols);
    EXPECT_EQ(kRows, rows);
    EXPECT_THAT(takeCalls(), ElementsAre("select 100", "size"));

    // Blocks: by the kind's operations, since what open gave is no address.
    uint8_t block[6] = {};
    EXPECT_EQ(1, I_GetBlockType(2, 1, 3, 2, block, im, PIX_BYTE));
    EXPECT_THAT(block, ElementsAre(11, 12, 13, 20, 21, 22));
    const uint8_t fresh[2] = {250, 251};
    EXPECT_EQ(2, I_PutBlockType(4, 2, 2, 1, fresh, im, PIX_BYTE));
    EXPECT_THAT(takeCalls(), ElementsAre("get 2 1 3 2", "put 4 2 2 1"));
    EXPECT_EQ(250, store.pixels[0][2 * kCols + 4]);
    float converted = 0;
    EXPECT_EQ(1, I_GetBlockType(5, 2, 1, 1, &converted, im, PIX_FLOAT));
    EXPECT_EQ(251.0F, converted);
    takeCalls();

    // Addresses: the kind is made current and measured first. There is no table of rows.
    int32_t left = 0;
    int32_t stride = 0;
    EXPECT_EQ(store.pixels[0].data() + kCols + 3, I_ImGetPtr(3, 1, &left, &stride, im));
    EXPECT_EQ(kCols * kRows - kCols - 3, left);
    EXPECT_EQ(kCols, stride);
    EXPECT_THAT(takeCalls(), ElementsAre("select 100", "size", "ptr 3 1"));
    EXPECT_EQ(nullptr, I_ImGet2DPtr(nullptr, nullptr, im, PIX_BYTE));

    // The two free operations, through the record.
    EXPECT_EQ(55, record.hook0(1, 2, 3, 4, 5, vexa::imageRecordOrNull(im)));
    EXPECT_EQ(66, record.hook1(1, 2, 3, 4, 5, vexa::imageRecordOrNull(im)));
    EXPECT_THAT(takeCalls(), ElementsAre("hook0 1 2 3 4 5", "hook1 1 2 3 4 5"));

    EXPECT_EQ(1, I_ImClose(im));
    EXPECT_THAT(takeCalls(), ElementsAre("close 100"));
}

TEST_F(Kinds, LiteralOriginsMoveEveryCoordinate)
{
    const ImageKindOps ops = everyOperation();
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t im = openOfKind(16);
    ImageRecord& record = *vexa::imageRecordOrNull(im);
    record.originX = 2;
    record.originY = 1;
    takeCalls();
    uint8_t pixel = 0;
    int32_t number = 0;
    EXPECT_EQ(1, record.getBlock(1, 1, 1, 1, &pixel, &record));
    EXPECT_EQ(1, record.putBlock(1, 2, 1, 1, &pixel, &record));
    EXPECT_EQ(store.pixels[0].data() + 2 * kCols + 4, record.getPtr(2, 1, &number, &number, &record));
    EXPECT_EQ(55, record.hook0(0, 0, 7, 8, 9, &record));
    EXPECT_EQ(66, record.hook1(INT32_MAX, 0, 7, 8, 9, &record));
    EXPECT_THAT(takeCalls(), ElementsAre("get 3 2 1 1", "put 3 3 1 1", "select 100", "size", "ptr 4 2",
                                         "hook0 2 1 7 8 9", "hook1 -2147483647 1 7 8 9"));
    EXPECT_EQ(2 * kCols + 3, pixel);
}

TEST_F(Kinds, LiteralAKindWithTheRequiredOperationOnly)
{
    const ImageKindOps ops = requiredOnly();
    ASSERT_EQ(1, addimagetype(17, &ops));
    const int32_t im = openOfKind(17);
    ASSERT_LT(im, 0);
    void* data = &store;
    EXPECT_EQ(1, I_ImGetParam(&data, sizeof data, 9, im));
    EXPECT_EQ(nullptr, data) << "the instance's number";
    int32_t cols = 0;
    EXPECT_EQ(1, I_ImGetSize(&cols, nullptr, nullptr, im));
    EXPECT_EQ(kCols, cols);
    // There is no way to its pixels, and nobody minds.
    uint8_t block[4] = {7, 7, 7, 7};
    EXPECT_EQ(0, I_GetBlockType(0, 0, 2, 2, block, im, PIX_BYTE));
    EXPECT_EQ(0, I_PutBlockType(0, 0, 2, 2, block, im, PIX_BYTE));
    EXPECT_THAT(block, testing::Each(7));
    EXPECT_EQ(nullptr, I_ImGetPtr(0, 0, nullptr, nullptr, im));
    EXPECT_EQ(0, I_ImClear(im, 5.0));
    const int32_t dest = byteImage(kCols, kRows);
    I_Subtract(im, im, dest, 0, 0);
    I_Subtract(dest, dest, im, 0, 0);
    uint32_t histogram[256];
    I_CalcHist(histogram, im);
    EXPECT_EQ(1, I_ImClose(im)) << "without an operation to close it";
    EXPECT_LT(openOfKind(17), 0) << "the instance is free again";
    EXPECT_EQ(0, openOfKind(17)) << "a count of 0 is one instance";
}

TEST_F(Kinds, LiteralInstancesAreTakenInOrder)
{
    ImageKindOps ops = everyOperation();
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t first = openOfKind(16);
    const int32_t second = openOfKind(16);
    ASSERT_LT(second, 0);
    EXPECT_EQ(1, vexa::imageRecordOrNull(second)->instance);
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageTypeOpen: image 2 not available (max=2)", errorText());
    EXPECT_EQ(2, I_ImCount());
    takeCalls();
    EXPECT_EQ(1, I_ImClose(first));
    EXPECT_THAT(takeCalls(), ElementsAre("close 100"));
    const int32_t again = openOfKind(16);
    EXPECT_EQ(0, vexa::imageRecordOrNull(again)->instance);
    // Two images of one kind in one operation: their pixels come by their addresses.
    I_ImCloseAll();
    ops.getBlock = nullptr;
    ops.putBlock = nullptr;
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t a = openOfKind(16);
    const int32_t b = openOfKind(16);
    const int32_t dest = byteImage(kCols, kRows);
    EXPECT_EQ(1, I_Subtract(b, a, dest, 0, 0));
    EXPECT_EQ(200.0, pixel(dest, 0, 0));
    EXPECT_EQ(180.0, pixel(dest, 1, 1));
}

TEST_F(Kinds, BoundsCountsThatChange)
{
    const ImageKindOps ops = everyOperation();
    stores = 0; // counts as 1 at the registration, and as what it is at an open
    ASSERT_EQ(1, addimagetype(16, &ops));
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ("ImageTypeOpen: image 0 not available (max=0)", errorText());
    stores = -3;
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ("ImageTypeOpen: image 0 not available (max=-3)", errorText());
    stores = 40; // more than there were flags for
    for (int32_t instance = 0; instance < 40; ++instance) {
        const int32_t im = openOfKind(16);
        ASSERT_LT(im, 0) << instance;
        EXPECT_EQ(instance, vexa::imageRecordOrNull(im)->instance);
    }
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ("ImageTypeOpen: image 40 not available (max=40)", errorText());
    stores = 2;
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ("ImageTypeOpen: image 2 not available (max=2)", errorText());
}

namespace
{

int32_t shownCols = 6;
int32_t shownType = PIX_BYTE;

int32_t growingSize(int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type)
{
    *cols = shownCols;
    *rows = 4;
    *stride = shownCols * 2;
    *type = shownType;
    return 1;
}

int32_t growingGet(int32_t x, int32_t y, int32_t width, int32_t height, void* buffer)
{
    EXPECT_GE(x, 0);
    EXPECT_GE(y, 0);
    EXPECT_LE(x + width, shownCols);
    EXPECT_LE(y + height, 4);
    const int32_t bytes = shownType == PIX_WORD ? 2 : 1;
    std::fill_n(static_cast<uint8_t*>(buffer), width * height * bytes, uint8_t{3});
    return 1;
}

} // namespace

TEST_F(Kinds, LiteralSizesChangeBetweenCalls)
{
    ImageKindOps ops = {};
    ops.getSize = growingSize;
    ops.getBlock = growingGet;
    ASSERT_EQ(1, addimagetype(18, &ops));
    shownCols = 6;
    shownType = PIX_BYTE;
    const int32_t im = openOfKind(18, PIX_WORD);
    EXPECT_EQ(PIX_WORD, I_ImGetType(im)) << "the type asked for, until the size is";
    for (const int32_t cols : {6, 10, 3, 1000}) {
        shownCols = cols;
        shownType = cols == 10 ? PIX_WORD : PIX_BYTE;
        int32_t shown = 0;
        int32_t bytes = 0;
        EXPECT_EQ(1, I_ImGetSize(&shown, nullptr, &bytes, im));
        EXPECT_EQ(cols, shown);
        EXPECT_EQ(shownType, I_ImGetType(im));
        EXPECT_EQ(shownType == PIX_WORD ? 2 : 1, bytes);
        EXPECT_EQ(cols * 2, I_ImGetStride(im));
        const int32_t dest = byteImage(cols, 4);
        EXPECT_EQ(1, I_Add(im, im, dest));
        EXPECT_EQ(shownType == PIX_BYTE ? 6.0 : 255.0, pixel(dest, cols - 1, 3));
        I_ImClose(dest);
    }
}

namespace
{

// Rows of 7 words each in their own block of memory, one of them split in the middle of a row.
struct Segments {
    std::map<int32_t, std::vector<uint16_t>> rows;
    std::vector<uint16_t> tail; // of row 2, from column 3 on
};
Segments segments;

int32_t segmentSize(int32_t* cols, int32_t* rows, int32_t* stride, int32_t* type)
{
    *cols = 7;
    *rows = 4;
    *stride = 14;
    *type = PIX_WORD;
    return 1;
}

void* segmentPtr(int32_t x, int32_t y, int32_t* left, int32_t* stride)
{
    if (x < 0 || x >= 7 || y < 0 || y >= 4)
        return nullptr;
    *stride = 14;
    const bool behind = y == 2 && x >= 3;
    std::vector<uint16_t>& segment = behind ? segments.tail : segments.rows[y];
    const int32_t at = behind ? x - 3 : x;
    *left = 2 * (static_cast<int32_t>(segment.size()) - at);
    return segment.data() + at;
}

} // namespace

TEST_F(Kinds, LiteralRowsInSeparateSegmentsOfMemory)
{
    segments = {};
    const int32_t plain = wordImage(7, 4, [](int32_t x, int32_t y) { return 100 * y + x; });
    for (int32_t y = 0; y < 4; ++y)
        for (int32_t x = 0; x < 7; ++x)
            (y == 2 && x >= 3 ? segments.tail : segments.rows[y])
                .push_back(static_cast<uint16_t>(100 * y + x));
    ImageKindOps ops = {};
    ops.getSize = segmentSize;
    ops.getPtr = segmentPtr;
    ASSERT_EQ(1, addimagetype(19, &ops));
    const int32_t im = openOfKind(19, PIX_WORD);
    for (const auto& [x, y, width, height] :
         {std::array{0, 0, 7, 4}, {2, 1, 3, 2}, {3, 2, 4, 1}, {6, 0, 1, 4}}) {
        std::vector<uint16_t> read(static_cast<std::size_t>(width * height), 7777);
        std::vector<uint16_t> expected(read.size());
        I_GetBlockType(x, y, width, height, read.data(), im, PIX_WORD);
        I_GetBlockType(x, y, width, height, expected.data(), plain, PIX_WORD);
        EXPECT_EQ(expected, read) << x << " " << y;
    }
    // Operators read and write it as any other image.
    const int32_t sum = wordImage(7, 4);
    EXPECT_EQ(1, I_Add(im, plain, sum));
    EXPECT_EQ(2.0 * 206, pixel(sum, 6, 2));
    EXPECT_EQ(1, I_Add(im, plain, im));
    EXPECT_EQ(412, segments.tail[3]);
    EXPECT_EQ(404, segments.rows[2][2]);
    EXPECT_EQ(612, segments.rows[3][6]);
    EXPECT_EQ(1, I_ImClear(im, 9.0));
    EXPECT_THAT(segments.tail, testing::Each(9));
    EXPECT_THAT(segments.rows[0], testing::Each(9));
    double low = 0.0;
    double high = 0.0;
    EXPECT_EQ(28, I_ImGetRange(&low, &high, im));
    EXPECT_EQ(9.0, low);
    EXPECT_EQ(9.0, high);
}

TEST_F(Kinds, LiteralAWindowOnAKindReadsThroughItsHooks)
{
    const ImageKindOps ops = everyOperation();
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t im = openOfKind(16);
    const int32_t window = I_ImOpenSubimage(2, 1, 3, 2, im);
    ASSERT_LT(window, 0);
    takeCalls();
    uint8_t byte = 0;
    EXPECT_EQ(1, I_GetBlockType(0, 0, 1, 1, &byte, window, PIX_BYTE));
    EXPECT_THAT(takeCalls(), ElementsAre("get 0 0 1 1"));
    EXPECT_EQ(0, I_ImClose(im));
    EXPECT_EQ(1, I_ImClose(window));
    EXPECT_THAT(takeCalls(), IsEmpty()) << "the instance is the parent's";
    EXPECT_EQ(1, I_ImClose(im));
}

TEST_F(Kinds, LiteralANewRegistrationLeavesOpenImages)
{
    const ImageKindOps ops = everyOperation();
    const ImageKindOps bare = requiredOnly();
    ASSERT_EQ(1, addimagetype(16, &ops));
    const int32_t im = openOfKind(16);
    ASSERT_EQ(1, addimagetype(16, &bare));
    takeCalls();
    uint8_t byte = 0;
    EXPECT_EQ(1, I_GetBlockType(1, 1, 1, 1, &byte, im, PIX_BYTE));
    EXPECT_EQ(10, byte);
    const int32_t other = openOfKind(16);
    EXPECT_EQ(0, vexa::imageRecordOrNull(other)->instance);
    EXPECT_EQ(0, I_GetBlockType(1, 1, 1, 1, &byte, other, PIX_BYTE));
    EXPECT_EQ(1, I_ImClose(im));
    EXPECT_EQ(1, I_ImClose(other));
    EXPECT_THAT(takeCalls(), testing::Contains("close 100"));
}

TEST_F(Kinds, FailuresOfRegistration)
{
    const ImageKindOps ops = requiredOnly();
    for (const int32_t kind : {32, 33, 1000, -1, INT32_MIN, INT32_MAX}) {
        clearError();
        EXPECT_EQ(0, addimagetype(kind, &ops));
        EXPECT_EQ(22, I_GetError(nullptr, 0));
        EXPECT_EQ("addimagetype", errorText());
    }
    clearError();
    EXPECT_EQ(0, addimagetype(20, nullptr));
    EXPECT_EQ(22, I_GetError(nullptr, 0));
    EXPECT_EQ(1, addimagetype(31, &ops));
    EXPECT_EQ(1, addimagetype(0, &ops));
    for (const int32_t kind : {30, 32, 1000}) {
        clearError();
        EXPECT_EQ(0, openOfKind(kind));
        EXPECT_EQ(25, I_GetError(nullptr, 0));
        EXPECT_EQ("I_ImOpen (" + std::to_string(kind) + ")", errorText());
    }
    EXPECT_EQ(0, I_ImCount());
}

TEST_F(Kinds, FailuresWithoutASize)
{
    ImageKindOps ops = everyOperation();
    ops.getSize = nullptr;
    ASSERT_EQ(1, addimagetype(16, &ops));
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ(1, I_GetError(nullptr, 0));
    EXPECT_EQ("ImageTypeOpen: image size undefined", errorText());
    EXPECT_THAT(takeCalls(), IsEmpty());
    EXPECT_EQ(0, I_ImCount());
}

TEST_F(Kinds, FailuresOfAKindThatOpensImages)
{
    PlatformInPlace platform;
    ImageKindOps ops = everyOperation();
    ops.open = [](int32_t instance) -> intptr_t {
        const int32_t before = I_ImSetMemType(0);
        I_ImOpen(4, 4, PIX_BYTE);
        I_ImSetMemType(before);
        return instance + 100;
    };
    ASSERT_EQ(1, addimagetype(20, &ops));
    EXPECT_LT(openOfKind(20), 0) << "in memory: nothing of the kind was disturbed";
    I_ImCloseAll();
    ops.open = [](int32_t instance) -> intptr_t {
        static bool inside = false;
        if (!inside) {
            inside = true;
            I_ImOpen(4, 4, PIX_BYTE);
            inside = false;
        }
        return instance + 100;
    };
    ASSERT_EQ(1, addimagetype(20, &ops));
    EXPECT_EQ(0, openOfKind(20));
    ASSERT_EQ(1U, platform->boxes.size());
    EXPECT_EQ("Problem in ImageTypeOpen(): incorrect fcn type? inum=1, type=20", platform->boxes[0].text);
    EXPECT_EQ(1, I_ImCount()) << "the inner one";
    EXPECT_THAT(takeCalls(), testing::Contains("close 100")) << "the outer one gave its instance back";
}

TEST_F(Kinds, FailuresOfMemory)
{
    const ImageKindOps ops = everyOperation();
    for (const int64_t n : {1, 2}) {
        vexa::failAllocation(n, false);
        EXPECT_EQ(0, addimagetype(16, &ops));
        vexa::failAllocation(0, false);
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_THAT(errorText(), testing::HasSubstr("addimagetype"));
    }
    // Without its operations there is no such kind; without its flags they are made at the next open.
    EXPECT_LT(openOfKind(16), 0);
    I_ImCloseAll();
    vexa::failAllocation(1, false);
    EXPECT_EQ(0, addimagetype(16, &ops));
    vexa::failAllocation(0, false);
    EXPECT_EQ(0, openOfKind(16));
    EXPECT_EQ(25, I_GetError(nullptr, 0));
    stores = 100;
    ASSERT_EQ(1, addimagetype(16, &ops));
    forEachFailingAllocation(
        [] {
            const int32_t im = openOfKind(16);
            I_ImClose(im);
            return im;
        },
        [](int64_t im) { EXPECT_EQ(0, im); });
}
