// The row frames: which rows a row function sees, in which order, with which position, and what is left behind.
#include "tests/support/plain_frames.h"
#include "tests/support/test_failures.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Seen {
    int32_t x, y, n;
    std::vector<uint8_t> a, b;
    bool operator==(const Seen& o) const { return x == o.x && y == o.y && n == o.n && a == o.a && b == o.b; }
};

struct Log {
    std::size_t elementBytes;
    std::vector<Seen> rows;

    void add(const void* a, const void* b, int32_t n)
    {
        Seen seen{};
        GetImageXY(0, &seen.x, &seen.y);
        seen.n = n;
        const std::size_t size = static_cast<std::size_t>(n) * elementBytes;
        seen.a.assign(static_cast<const uint8_t*>(a), static_cast<const uint8_t*>(a) + size);
        if (b != nullptr)
            seen.b.assign(static_cast<const uint8_t*>(b), static_cast<const uint8_t*>(b) + size);
        rows.push_back(seen);
    }
};

void binaryRow(const void* a, const void* b, void* dest, int32_t n, void* log)
{
    auto& l = *static_cast<Log*>(log);
    l.add(a, b, n);
    std::memmove(dest, b, static_cast<std::size_t>(n) * l.elementBytes);
}

void unaryRow(const void* a, void* dest, int32_t n, void* log)
{
    auto& l = *static_cast<Log*>(log);
    l.add(a, nullptr, n);
    std::memmove(dest, a, static_cast<std::size_t>(n) * l.elementBytes);
}

void statsRow(const void* a, int32_t n, void* log)
{
    static_cast<Log*>(log)->add(a, nullptr, n);
}

class IndependentFrames : public testing::TestWithParam<int32_t>
{
};
INSTANTIATE_TEST_SUITE_P(Seeds, IndependentFrames, testing::Range(0, 4));

TEST_P(IndependentFrames, RowsAreThoseOfThePlainWalk)
{
    Random random(static_cast<uint32_t>(GetParam()) + 5U);
    static const int32_t kTypes[] = {PIX_BYTE,  PIX_BYTE,  PIX_WORD, PIX_DWORD,
                                     PIX_FLOAT, PIX_BGR24, PIX_RGB32};
    for (int32_t round = 0; round < 150; ++round) {
        const auto type = [&] { return kTypes[random() % std::size(kTypes)]; };
        Shape sa = randomShape(random, type()), sb = randomShape(random, type()),
              sd = randomShape(random, type());
        if (round == 0) // several bands
            for (Shape* shape : {&sa, &sb, &sd})
                shape->cols = 600 + between(random, 0, 9), shape->rows = 500 + between(random, 0, 9);
        const int32_t asked = type() == PIX_FLOAT ? PIX_FLOAT : between(random, 0, 1) ? PIX_BYTE : sa.type;
        const int32_t absent = between(random, 0, 5);
        const int32_t dx = between(random, -3, 3), dy = between(random, -2, 2);
        const int32_t procMode = between(random, 0, 3), band = between(random, -1, 2);
        float chunk = between(random, 0, 2) == 0 ? 0.5F : 2.0F;
        I_SetCachingChunkMB(&chunk);
        randomRegion(random, sd.cols, sd.rows);
        SCOPED_TRACE(tell(sa) + ", " + tell(sb) + ", " + tell(sd) + " asked " + std::to_string(asked) +
                     " absent " + std::to_string(absent) + " region " + std::to_string(I_GetROIType()) +
                     " by " + std::to_string(dx) + "," + std::to_string(dy));
        for (const bool two : {true, false}) {
            Log logs[2] = {{static_cast<std::size_t>(I_ImTypeBytes(asked)), {}},
                           {static_cast<std::size_t>(I_ImTypeBytes(asked)), {}}};
            int32_t results[2];
            std::vector<uint8_t> after[2];
            for (const int32_t side : {0, 1}) {
                const Picture pa = sa.open(), pb = sb.open(), pd = sd.open();
                const int32_t a = two && absent == 0 ? 0 : pa.im, b = absent == 1 ? 0 : pb.im,
                              d = absent == 2 ? 0 : pd.im;
                I_SetColorProcMode(procMode);
                I_SetColorBand(band);
                Log& log = logs[side];
                const Row row = [&](const uint8_t* p, const uint8_t* q, uint8_t* out, int32_t n) {
                    const auto size = static_cast<std::size_t>(n) * log.elementBytes;
                    log.rows.push_back({position.x, position.y, n, {p, p + size}, {}});
                    if (two)
                        log.rows.back().b.assign(q, q + size);
                    std::memmove(out, two ? q : p, size);
                };
                if (two)
                    results[side] = side == 0 ? I_BinaryOperatorType(a, b, d, dx, dy, &log, binaryRow, asked)
                                              : binary(a, b, d, dx, dy, asked, row);
                else
                    results[side] =
                        side == 0 ? I_UnaryOpType(a, d, &log, unaryRow, asked) : unary(a, d, asked, row);
                after[side] = pd.bytes();
                if (side == 0) {
                    I_SetColorProcMode(3);
                    EXPECT_EQ(results[0] == 1 ? -2 : band == -1 ? -2 : band, I_GetColorBand());
                }
                pa.close();
                pb.close();
                pd.close();
            }
            ASSERT_EQ(results[0], results[1]);
            ASSERT_TRUE(after[0] == after[1]);
            ASSERT_EQ(logs[0].rows.size(), logs[1].rows.size());
            for (std::size_t i = 0; i < logs[0].rows.size(); ++i) {
                const Seen &got = logs[0].rows[i], &want = logs[1].rows[i];
                if (two) {
                    EXPECT_EQ(want.x, got.x);
                    EXPECT_EQ(want.y, got.y);
                }
                EXPECT_EQ(want.n, got.n);
                ASSERT_TRUE(want.a == got.a && want.b == got.b) << (two ? "binary" : "unary") << " row " << i;
            }
        }
    }
}

TEST_P(IndependentFrames, StatisticsSeeEveryRunInTheAskedType)
{
    Random random(static_cast<uint32_t>(GetParam()) + 50U);
    for (int32_t round = 0; round < 150; ++round) {
        static const int32_t kTypes[] = {PIX_BYTE, PIX_WORD, PIX_FLOAT, PIX_BGR24};
        const Shape shape = randomShape(random, kTypes[random() % 4]);
        const int32_t asked = kTypes[random() % 3];
        const Picture p = shape.open();
        randomRegion(random, shape.cols, shape.rows);
        I_SetColorProcMode(3);
        I_SetColorBand(1);
        Log log{static_cast<std::size_t>(I_ImTypeBytes(asked)), {}};
        int32_t x0 = -1, y0 = -1, x1 = -1, y1 = -1;
        GetImageXY(0, &x0, &y0);
        ASSERT_EQ(1, I_DoStatsOpType(p.im, &log, statsRow, asked));
        GetImageXY(0, &x1, &y1);
        EXPECT_EQ(x0, x1);
        EXPECT_EQ(y0, y1);
        EXPECT_EQ(1, I_GetColorBand());
        std::vector<Seen> expected;
        int32_t x, y, w, h, first = 1;
        while (I_GetNextLines(&x, &y, &w, &h, p.im, &first, 0)) {
            clipLeft(x, w);
            w = std::min(w, shape.cols - x);
            h = std::min(h, shape.rows - y);
            if (w < 1)
                continue;
            Operand block;
            block.prepare(p.im, x, y, w, h, asked, true);
            for (int32_t r = 0; r < h; ++r) {
                const uint8_t* row = block.first + r * block.pitch;
                expected.push_back(
                    {x, y + r, w, {row, row + static_cast<std::size_t>(w) * log.elementBytes}, {}});
            }
        }
        EXPECT_TRUE(expected == log.rows) << tell(shape) << " as " << asked;
        p.close();
    }
}

TEST(IndependentFramesLiteral, PositionsClipModesAndFailures)
{
    I_SetROIType(0);
    EXPECT_EQ(1, I_GetClipMode());
    int32_t x = 0, y = 0;
    GetImageXY(250, &x, &y); // no frame has run: a width of 100
    EXPECT_EQ(50, x);
    EXPECT_EQ(2, y);
    const int32_t im = byteImage(30, 30);
    I_SetWindowROI(10, 20, 14, 20);
    const auto at7 = [](const void*, const void*, void*, int32_t, void* out) {
        auto* p = static_cast<int32_t*>(out);
        p[2] = GetImageXY(7, &p[0], &p[1]);
    };
    int32_t place[3] = {};
    EXPECT_EQ(1, I_BinaryOperator(im, im, im, 0, 0, place, at7));
    EXPECT_THAT(place, testing::ElementsAre(12, 21, 21));

    clearError();
    EXPECT_EQ(1, I_SetClipMode(8));
    EXPECT_EQ(12, I_GetError(nullptr, 0));
    EXPECT_EQ("I_SetClipMode", errorText());
    EXPECT_EQ(8, I_GetClipMode());
    EXPECT_EQ(8, I_SetClipMode(1));

    const auto nothing2 = [](const void*, void*, int32_t, void*) {};
    const auto nothing3 = [](const void*, int32_t, void*) {};
    const int32_t words = wordImage(8, 4), closed = byteImage(2, 2);
    I_ImClose(closed);
    I_SetROIType(0);
    EXPECT_EQ(0, I_UnaryOpType(closed, im, nullptr, nothing2, PIX_BYTE));
    EXPECT_EQ("I_ImGetSize(, im=" + std::to_string(closed) + ")  im. not open", errorText());
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_DoStatsOpType(5, nullptr, nothing3, PIX_BYTE));
    EXPECT_EQ("I_ImGetSize(, im=5) im. not open", errorText());
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    forEachFailingAllocation(
        [&] { return I_DoStatsOpType(words, nullptr, nothing3, PIX_BYTE); },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: I_DoStatsOpType:"));
        });
}

} // namespace
