// The neighbourhood frame against its description followed step by step: every call of the row function, every argument,
// every pixel it sees.
#include <chrono>

#include "core/error.h"
#include "tests/filters/plain_neighbourhood.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

// All that a row function can see, and an output that depends on the whole neighbourhood whatever the type.
struct Recorder {
    std::vector<std::string> calls;
    int32_t bytes = 1;

    void operator()(const Call& c)
    {
        std::string told = std::to_string(c.x0) + " " + std::to_string(c.y) + " " + std::to_string(c.M) +
                           " " + std::to_string(c.N) + " " + std::to_string(c.count) + ":";
        const auto append = [&](const uint8_t* row, int32_t n) {
            told.append(reinterpret_cast<const char*>(row),
                        static_cast<std::size_t>(n) * static_cast<std::size_t>(bytes));
        };
        for (int32_t k = 0; k < c.N; ++k)
            append(c.rows[k], c.count + c.M - 1);
        append(c.prevOut, c.count);
        calls.push_back(told);
        const auto size = static_cast<std::size_t>(bytes);
        for (int32_t i = 0; i < c.count; ++i)
            std::memcpy(c.out + static_cast<std::size_t>(i) * size,
                        c.rows[(i * 7 + c.y) % c.N] + static_cast<std::size_t>(i + i * 3 % c.M) * size, size);
    }
};

int32_t record(int32_t x0, int32_t y, int32_t width, int32_t height, void** rows, void* out, void* prevOut,
               int32_t count, void* user)
{
    std::vector<uint8_t*> table;
    for (int32_t k = 0; k < height; ++k)
        table.push_back(static_cast<uint8_t*>(rows[k]));
    (*static_cast<Recorder*>(user))({x0, y, width, height, table.data(), static_cast<uint8_t*>(out),
                                     static_cast<uint8_t*>(prevOut), count});
    return 0;
}

int32_t runRecorded(int32_t src, int32_t dst, int32_t M, int32_t N, int32_t type, Recorder& seen)
{
    seen.bytes = I_ImTypeBytes(type);
    return I_MxNOperatorType(src, dst, M, N, &seen, record, type);
}

TEST(IndependentFrame, ShowsItsRowFunctionWhatIsDescribed)
{
    Options options;
    options.tries = 700;
    Recorder seen, told;
    compare(options, [&](Random& random, std::string& name) {
        const int32_t M = between(random, 1, 9), N = between(random, 1, 9);
        const int32_t type =
            std::vector<int32_t>{PIX_BYTE,    PIX_FLOAT, PIX_WORD,   PIX_DWORD,
                                 PIX_COMPLEX, PIX_BGR24, PIX_DFLOAT, PIX_PALETTE}[random() % 8];
        name = std::to_string(M) + "x" + std::to_string(N) + " as " + std::to_string(type);
        seen = told = {};
        return std::pair<Operation, Operation>(
            [&, M, N, type](int32_t src, int32_t dst) { return runRecorded(src, dst, M, N, type, seen); },
            [&, M, N, type](int32_t src, int32_t dst) {
                told.bytes = I_ImTypeBytes(type);
                const int32_t result = frame(src, dst, M, N, type, std::ref(told));
                EXPECT_EQ(seen.calls.size(), told.calls.size());
                EXPECT_TRUE(seen.calls == told.calls) << name;
                return result;
            });
    });
}

int32_t sumOfPlaces(int32_t, int32_t y, int32_t, int32_t, void** rows, void* out, void*, int32_t count, void*)
{
    for (int32_t i = 0; i < count; ++i)
        static_cast<uint8_t*>(out)[i] =
            static_cast<uint8_t>(static_cast<uint8_t**>(static_cast<void*>(rows))[0][i] + y);
    return 1;
}

TEST(IndependentFrame, RefusesAndForgives)
{
    const int32_t im = noiseImage(9, 7, 1), out = byteImage(9, 7), line = noiseImage(9, 1, 2);
    Recorder seen;
    I_SetROIType(0);
    clearError();
    EXPECT_EQ(I_MxNOperator(line, out, 3, 3, &seen, record), 0); // one row
    I_SetWindowROI(3, 1, 3, 6);
    EXPECT_EQ(I_MxNOperator(im, out, 3, 3, &seen, record), 0); // one column
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    EXPECT_TRUE(seen.calls.empty());
    I_SetScanlistROI(nullptr, 0);
    if (I_GetROIType() == 3) {
        EXPECT_EQ(I_MxNOperator(im, out, 3, 3, &seen, record), 1); // no runs
    }
    const VexaPoint far[] = {{1, 30}, {5, 30}};
    ASSERT_EQ(I_SetScanlistROI(far, 2), 1);
    EXPECT_EQ(I_MxNOperator(im, out, 3, 3, &seen, record), 0);
    I_SetROIType(0);
    EXPECT_EQ(I_MxNOperator(im, out, 0, -4, &seen, record), 1);
    EXPECT_EQ(I_GetError(nullptr, 0), 27);
    EXPECT_EQ(errorText(), "MxNOperator: Kernel size less than 1: 0x-4. Continuing.");
    EXPECT_EQ(bytesOf(im), bytesOf(out));
    clearError();
    EXPECT_EQ(I_MxNOperator(im, -200, 3, 3, &seen, record), 0);
    EXPECT_NE(I_GetError(nullptr, 0), 0);
    closeImages({im, out, line});
}

TEST(IndependentFrame, MayChangeItsOwnSource)
{
    // Shift up in place: rows live in the ring, so that each line gets what stood above it, plus its number.
    const int32_t im = noiseImage(20, 9, 3), kept = I_CloneImage(im, 0, 1);
    I_SetROIType(0);
    setBorder(-1);
    ASSERT_EQ(I_MxNOperator(im, im, 1, 3, nullptr, sumOfPlaces), 1);
    for (int32_t y = 0; y < 9; ++y)
        for (int32_t x = 0; x < 20; ++x)
            ASSERT_EQ(I_GetPixByte(x, y, im),
                      static_cast<uint8_t>(I_GetPixByte(x, std::max(0, y - 1), kept) + y));
    closeImages({im, kept});
}

int32_t breaksAt, polls;
TEST(IndependentFrame, AsksForABreakAtEvery64thRun)
{
    const int32_t im = noiseImage(6, 200, 4), out = byteImage(6, 200), color = image(6, 70, PIX_BGR24);
    vexa::setUserBreakHook([](int32_t) { return ++polls == breaksAt ? 1 : 0; });
    Recorder seen;
    I_SetROIType(0);
    polls = 0, breaksAt = 100;
    EXPECT_EQ(I_MxNOperator(im, out, 3, 3, &seen, record), 1);
    EXPECT_EQ(polls, 4);
    seen = {};
    polls = 0, breaksAt = 3;
    clearError();
    EXPECT_EQ(I_MxNOperator(im, out, 1, 1, &seen, record), 0);
    EXPECT_EQ(seen.calls.size(), 128u);
    EXPECT_EQ(I_GetError(nullptr, 0), 6);
    EXPECT_EQ(errorText(), "USER_BREAK");
    EXPECT_EQ(rowOf(out, 127), rowOf(im, 127));
    seen = {};
    polls = 0, breaksAt = 2; // within the first band: the other two are walked
    EXPECT_EQ(I_MxNOperator(color, color, 1, 1, &seen, record), 0);
    EXPECT_EQ(seen.calls.size(), 64u + 70u + 70u);
    vexa::setUserBreakHook(nullptr);
    closeImages({im, out, color});
}

std::vector<float> fractions;
TEST(IndependentFrame, TellsEvery128thLine)
{
    const int32_t im = noiseImage(6, 300, 4);
    I_SetROIType(0);
    I_SetProgressCallback([](float done, const char*) { fractions.push_back(done); }, 1);
    const auto slow = [](int32_t, int32_t y, int32_t, int32_t, void**, void*, void*, int32_t,
                         void*) -> int32_t {
        const auto until =
            std::chrono::steady_clock::now() + std::chrono::milliseconds(y % 128 == 127 ? 3 : 0);
        while (std::chrono::steady_clock::now() < until) {
        }
        return 0;
    };
    I_MxNOperator(im, im, 1, 1, nullptr, slow);
    EXPECT_THAT(fractions, testing::ElementsAre(127.0f / 300, 255.0f / 300, 1.0f));
    fractions.clear();
    I_SetWindowROI(2, 2, 2, 100);
    I_MxNOperator(im, im, 1, 1, nullptr, slow);
    EXPECT_TRUE(fractions.empty()); // refused without a word
    I_SetProgressCallback(nullptr, 0);
    I_SetROIType(0);
    I_ImClose(im);
}

int32_t spoil(int32_t, int32_t, int32_t width, int32_t height, void** rows, void*, void*, int32_t count,
              void* user)
{
    const int32_t where = *static_cast<int32_t*>(user);
    if (where < 0)
        static_cast<uint8_t*>(rows[0])[where] = 9;
    else if (where > 0)
        static_cast<uint8_t*>(rows[height - 1])[count + width - 1 + where - 1] = 9;
    *static_cast<int32_t*>(user) = 0;
    return 1;
}

TEST(IndependentFrame, TracesSpoiledGuards)
{
    const int32_t im = noiseImage(8, 5, 5); // rows of 10 bytes
    I_SetROIType(0);
    clearError();
    const struct {
        int32_t where;
        const char* told;
    } cases[] = {{-1, "FiltOp 3: corrupted buffer y=1 x=9"},
                 {-20, "FiltOp 3: corrupted buffer y=0 x=0"},
                 {1, "FiltOp 4: corrupted buffer y=5 x=0"},
                 {14, "FiltOp 4: corrupted buffer y=6 x=3"},
                 {20, "FiltOp 4: corrupted buffer y=6 x=9"}};
    for (const auto& c : cases) {
        int32_t where = c.where;
        testing::internal::CaptureStderr();
        EXPECT_EQ(I_MxNOperator(im, im, 3, 3, &where, spoil), 1);
        EXPECT_NE(testing::internal::GetCapturedStderr().find(c.told), std::string::npos) << c.told;
    }
    EXPECT_EQ(I_GetError(nullptr, 0), 0);
    closeImages({im});
}

TEST(IndependentFrame, KeepsItsBorderState)
{
    const int32_t im = byteImage(6, 5, [](int32_t, int32_t) { return 7; }), out = byteImage(6, 5);
    I_SetROIType(0);
    const auto corner = [&] {
        I_Erode(im, out, 1);
        const int32_t low = I_GetPixByte(0, 0, out);
        I_Dilate(im, out, 1);
        return std::pair(low, static_cast<int32_t>(I_GetPixByte(0, 0, out)));
    };
    EXPECT_EQ(I_SetBorderMode(128, nullptr, 0), -1);
    EXPECT_EQ(corner(), std::pair(7, 128));
    EXPECT_EQ(I_SetBorderMode(-1, nullptr, 0), 128); // the constant stays
    EXPECT_EQ(corner(), std::pair(7, 7));
    const float three = 3.4f;
    EXPECT_EQ(I_SetBorderMode(5, &three, PIX_FLOAT), -1);
    EXPECT_EQ(corner(), std::pair(3, 7));
    EXPECT_EQ(I_SetBorderMode(-7, &three, PIX_BYTE), 5);
    EXPECT_EQ(I_SetBorderMode(0, nullptr, PIX_FLOAT), -7);
    EXPECT_EQ(corner(), std::pair(0, 7));
    EXPECT_EQ(I_SetBorderMode(300, nullptr, -1), 0); // the low byte of 300
    EXPECT_EQ(corner(), std::pair(7, 44));
    EXPECT_EQ(I_SetBorderMode(-1, nullptr, 4), 300);
    closeImages({im, out});
}

TEST(IndependentFrame, ConvertsItsBorderOnceForAllBands)
{
    const auto corner = [](int32_t im, int32_t out) {
        I_Dilate(im, out, 1);
        uint8_t bytes[3] = {};
        I_GetBlockType(0, 0, 1, 1, bytes, out, I_ImGetType(out));
        return std::vector<int32_t>(bytes, bytes + (I_ImGetType(out) == PIX_BGR24 ? 3 : 1));
    };
    const int32_t grey = byteImage(6, 5), color = image(6, 5, PIX_BGR24), out = image(6, 5, PIX_BGR24);
    const uint8_t bgr[] = {10, 20, 60};
    const float pair[] = {30, 40};
    I_SetROIType(0);
    I_SetBorderMode(1, bgr, PIX_BGR24);
    EXPECT_THAT(corner(grey, grey), testing::ElementsAre(30)); // the mean
    EXPECT_THAT(corner(color, out), testing::ElementsAre(30, 30, 30));
    I_SetColorBand(0);
    EXPECT_THAT(corner(color, out), testing::ElementsAre(30, 30, 60)); // red, into red
    I_SetColorBand(-1);
    I_SetBorderMode(1, pair, PIX_COMPLEX);
    EXPECT_THAT(corner(color, out), testing::ElementsAre(50, 50, 50));
    I_SetBorderMode(-1, nullptr, 0);
    closeImages({grey, color, out});
}

TEST(IndependentFrame, MeasuresCommonSizes)
{
    const int32_t a = byteImage(6, 9), b = image(8, 4, PIX_FLOAT), c = image(5, 20, PIX_WORD);
    int32_t w = -1, h = -1, p = -1, q = -1, r = -1;
    EXPECT_EQ(I_GetMinSize2(&w, &h, &p, &q, a, b), 1);
    EXPECT_THAT((std::vector{w, h, p, q}), testing::ElementsAre(6, 4, 1, 4));
    EXPECT_EQ(I_GetMinSize2(&w, &h, &p, &q, 0, b), 1);
    EXPECT_THAT((std::vector{w, h, p, q}), testing::ElementsAre(8, 4, 1, 4));
    EXPECT_EQ(I_GetMinSize2(&w, &h, &p, &q, b, 0), 1);
    EXPECT_THAT((std::vector{w, h, p, q}), testing::ElementsAre(8, 4, 4, 1));
    p = q = -5;
    EXPECT_EQ(I_GetMinSize2(&w, &h, nullptr, &q, b, 0), 1); // only one is given: it is not set
    EXPECT_EQ(q, -5);
    EXPECT_EQ(I_GetMinSize2(nullptr, nullptr, nullptr, nullptr, a, b), 1);
    EXPECT_EQ(I_GetMinSize2(&w, &h, nullptr, nullptr, a, -250), 0);
    EXPECT_EQ(I_GetMinSize3(&w, &h, &p, &q, &r, a, b, c), 1);
    EXPECT_THAT((std::vector{w, h, p, q, r}), testing::ElementsAre(5, 4, 1, 4, 2));
    r = -5;
    EXPECT_EQ(I_GetMinSize3(&w, &h, &p, &q, &r, a, 0, c), 1);
    EXPECT_THAT((std::vector{w, h, r}), testing::ElementsAre(6, 9, -5));
    EXPECT_EQ(I_GetMinSize3(&w, &h, &p, &q, &r, 0, b, c), 1);
    EXPECT_THAT((std::vector{w, h}), testing::ElementsAre(5, 4));
    EXPECT_EQ(I_GetMinSize3(&w, &h, nullptr, nullptr, nullptr, a, b, 0), 0); // the test is on the second
    EXPECT_EQ(I_GetMinSize3(&w, &h, nullptr, nullptr, nullptr, a, -250, c), 0);
    closeImages({a, b, c});
}

template <typename T, typename Function>
void expectLattice(Function function)
{
    std::vector<std::vector<T>> rows(9, std::vector<T>(9));
    std::vector<void*> table;
    for (auto& row : rows)
        table.push_back(row.data());
    for (int32_t M = 1; M <= 9; ++M) {
        for (int32_t N = 1; N <= 9; ++N) {
            T* p[9] = {};
            function(table.data(), M, N, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7], &p[8]);
            const int32_t ys[] = {0, N / 2, N - 1}, xs[] = {0, M / 2, M - 1};
            for (std::size_t k = 0; k < 9; ++k)
                ASSERT_EQ(p[k],
                          &rows[static_cast<std::size_t>(ys[k / 3])][static_cast<std::size_t>(xs[k % 3])]);
        }
    }
}

TEST(IndependentFrame, PointsAtTheLattice)
{
    expectLattice<uint8_t>(set3x3pointers);
    expectLattice<int16_t>(w_set3x3pointers);
    expectLattice<float>(f_set3x3pointers);
}

TEST(IndependentFrame, SelectsWorkingTypes)
{
    const std::vector<int32_t> types = {1, 2, 3, 4, 5, 6, 7, 12, 13, 16, 18, 19};
    for (const int32_t a : types) {
        for (const int32_t b : types) {
            const int32_t x = image(2, 2, a), y = image(2, 2, b);
            EXPECT_EQ(NarrowestPixelType(x, y, 4095, 0), std::min(a, b));
            EXPECT_EQ(NarrowestPixelType(x, y, 4095, 1), narrowest(x, y)) << a << " " << b;
            EXPECT_EQ(NarrowestPixelType(4095, x, y, 1), narrowest(x, y));
            EXPECT_EQ(WidestPixelType(x, y, 4095), widest(x, y)) << a << " " << b;
            closeImages({x, y});
        }
    }
}

} // namespace
