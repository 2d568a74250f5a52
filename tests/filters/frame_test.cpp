#include "vexalib/neighbourhood.h"

#include <algorithm>

#include "core/error.h"
#include "tests/filters/filter_settings.h"
#include "vexalib/block.h"
#include "vexalib/smoothing.h"

namespace
{

using namespace vexa::test;

// One call of a row callback.
struct Call {
    int32_t x0, y, width, height, count;
    std::vector<std::vector<int32_t>> rows;
    bool operator==(const Call&) const = default;
};

// Notes what it is handed and gives the middle row back.
int32_t note(int32_t x0, int32_t y, int32_t width, int32_t height, void** rows, void* out, void*,
             int32_t count, void* user)
{
    Call call = {x0, y, width, height, count, {}};
    for (int32_t k = 0; k < height; ++k) {
        const auto* row = static_cast<const uint8_t*>(rows[k]);
        call.rows.emplace_back(row, row + count + width - 1);
    }
    for (int32_t i = 0; i < count; ++i)
        static_cast<uint8_t*>(out)[i] = static_cast<const uint8_t*>(rows[height / 2])[i + (width - 1) / 2];
    static_cast<std::vector<Call>*>(user)->push_back(call);
    return 0;
}

class LiteralFrame : public NeighbourhoodFilters
{
protected:
    std::vector<Call> calls;
    int32_t src = byteImage({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    int32_t dest = byteImage({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
};

using Rows = std::vector<std::vector<int32_t>>;

TEST_F(LiteralFrame, ReplicatesTheEdgeAtFirst)
{
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 3, &calls, note));
    const Rows rows = {{1, 1, 2, 3, 3}, {1, 1, 2, 3, 3}, {4, 4, 5, 6, 6}, {7, 7, 8, 9, 9}, {7, 7, 8, 9, 9}};
    ASSERT_EQ(3U, calls.size());
    for (int32_t y = 0; y < 3; ++y)
        EXPECT_EQ((Call{0, y, 3, 3, 3, {rows.begin() + y, rows.begin() + y + 3}}),
                  calls[static_cast<size_t>(y)]);
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
}

TEST_F(LiteralFrame, FillsWithTheConstant)
{
    I_SetBorderMode(128, nullptr, 0);
    EXPECT_EQ(1, I_MxNOperator(src, dest, 2, 2, &calls, note));
    ASSERT_EQ(3U, calls.size());
    EXPECT_EQ((Call{0, 0, 2, 2, 3, {{128, 128, 128, 128}, {1, 2, 3, 128}}}), calls[0]);
    EXPECT_EQ((Call{0, 2, 2, 2, 3, {{4, 5, 6, 128}, {7, 8, 9, 128}}}), calls[2]);
}

// The rows loaded ahead are padded with their edge, the others by reflection, which repeats the last column.
TEST_F(LiteralFrame, Reflects)
{
    I_SetBorderMode(-2, nullptr, 0);
    EXPECT_EQ(1, I_MxNOperator(src, dest, 5, 5, &calls, note));
    ASSERT_EQ(3U, calls.size());
    const std::vector<int32_t> row0 = {1, 1, 1, 2, 3, 3, 3};
    EXPECT_EQ((Rows{{7, 7, 7, 8, 9, 9, 9},
                    {4, 4, 4, 5, 6, 6, 6},
                    row0,
                    {4, 4, 4, 5, 6, 6, 6},
                    {9, 8, 7, 8, 9, 9, 8}}),
              calls[0].rows);
    EXPECT_EQ((std::vector<int32_t>{6, 5, 4, 5, 6, 6, 5}), calls[1].rows[4]);
    EXPECT_EQ((std::vector<int32_t>{3, 2, 1, 2, 3, 3, 2}), calls[2].rows[4]);
}

TEST_F(LiteralFrame, SizesOfNothingBecomeOne)
{
    EXPECT_EQ(1, I_MxNOperator(src, dest, 0, -4, &calls, note));
    EXPECT_EQ(27, I_GetError(nullptr, 0));
    EXPECT_EQ("MxNOperator: Kernel size less than 1: 0x-4. Continuing.", errorText());
    ASSERT_EQ(3U, calls.size());
    EXPECT_EQ((Call{0, 0, 1, 1, 3, {{1, 2, 3}}}), calls[0]);
    EXPECT_EQ(bytesOf(src), bytesOf(dest));
}

TEST_F(LiteralFrame, BorderModes)
{
    EXPECT_EQ(-1, I_SetBorderMode(128, nullptr, 0));
    const float value = 7.6F;
    EXPECT_EQ(128, I_SetBorderMode(5, &value, PIX_FLOAT));
    EXPECT_EQ(5, I_SetBorderMode(-3, &value, PIX_BYTE));
    EXPECT_EQ(-3, I_SetBorderMode(-1, nullptr, 0));
    EXPECT_EQ(-1, I_SetBorderMode(0, nullptr, PIX_BYTE));
    I_MxNOperator(src, dest, 2, 1, &calls, note);
    EXPECT_EQ((Rows{{1, 2, 3, 0}}), calls[0].rows);
    I_SetBorderMode(5, &value, PIX_FLOAT);
    calls.clear();
    I_MxNOperator(src, dest, 2, 1, &calls, note);
    EXPECT_EQ((Rows{{1, 2, 3, 8}}), calls[0].rows);
    I_SetBorderMode(-2, &value, PIX_BYTE); // leaves the constant as it was
    I_SetBorderMode(300, nullptr, 0);
    calls.clear();
    I_MxNOperator(src, dest, 2, 1, &calls, note);
    EXPECT_EQ((Rows{{1, 2, 3, 44}}), calls[0].rows); // the low byte
}

TEST_F(LiteralFrame, RowsMoveUpByOneWhereTheRegionSkipsLines)
{
    const int32_t tall = byteImage(2, 8, [](int32_t, int32_t y) { return 10 + y; });
    const VexaPoint runs[] = {{0, -2}, {1, -2}, {0, 1}, {1, 1}, {0, 4}, {0, 4},
                              {1, 4},  {1, 4},  {0, 6}, {1, 6}, {0, 9}, {1, 9}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 12));
    EXPECT_EQ(1, I_MxNOperator(tall, tall, 1, 3, &calls, note));
    // The box begins at row 0: rows -1 and 0 are loaded ahead, then one row for each line.
    ASSERT_EQ(4U, calls.size());
    EXPECT_EQ((Rows{{10, 10}, {10, 10}, {12, 12}}), calls[0].rows);
    EXPECT_EQ((Rows{{10, 10}, {12, 12}, {15, 15}}), calls[1].rows);
    EXPECT_EQ(calls[1].rows, calls[2].rows);
    EXPECT_EQ((Rows{{12, 12}, {15, 15}, {17, 17}}), calls[3].rows);
    EXPECT_EQ(0, calls[1].x0);
    EXPECT_EQ(1, calls[2].x0);
    EXPECT_EQ(2, calls[2].count);
}

TEST_F(LiteralFrame, AWindowWhoseBoxIsNarrowerThanItsRunsStoresWhatWasNotComputed)
{
    // With a right edge of 0 the box is (0, 0) to (2, 2) and the runs reach from (2, 2) to the far corner.
    const int32_t big = byteImage(6, 6, [](int32_t x, int32_t y) { return 10 * y + x + 1; });
    const int32_t out = byteImage(6, 6, [](int32_t, int32_t) { return 99; });
    I_SetWindowROI(2, 2, 0, 0);
    EXPECT_EQ(1, I_MxNOperator(big, out, 1, 1, &calls, note));
    EXPECT_THAT(rowOf(out, 1), testing::Each(99.0));
    EXPECT_THAT(rowOf(out, 2), testing::ElementsAre(99, 99, 23, 0, 0, 0));
    EXPECT_THAT(rowOf(out, 5), testing::ElementsAre(99, 99, 53, 0, 0, 0));
}

// What a callback saw of its output rows.
struct OutputRows {
    std::vector<void*> out;
    std::vector<void*> prevOut;
    std::vector<int32_t> behind; // prevOut[2]
    std::vector<int32_t> first;  // prevOut[0]
};

int32_t noteOutput(int32_t, int32_t y, int32_t, int32_t, void**, void* out, void* prevOut, int32_t count,
                   void* user)
{
    auto& seen = *static_cast<OutputRows*>(user);
    seen.out.push_back(out);
    seen.prevOut.push_back(prevOut);
    seen.first.push_back(static_cast<const uint8_t*>(prevOut)[0]);
    seen.behind.push_back(static_cast<const uint8_t*>(prevOut)[2]);
    std::fill_n(static_cast<uint8_t*>(out), count, static_cast<uint8_t>(100 + y));
    return 0;
}

TEST_F(LiteralFrame, OutputRowsChangePlacesAfterEveryCall)
{
    const VexaPoint runs[] = {{0, 0}, {1, 0}, {0, 1}, {0, 1}, {1, 1}, {1, 1}, {0, 2}, {1, 2}};
    ASSERT_EQ(1, I_SetScanlistROI(runs, 8));
    OutputRows seen;
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 3, &seen, noteOutput));
    ASSERT_EQ(4U, seen.out.size());
    EXPECT_EQ(static_cast<uint8_t*>(seen.out[0]) + 3, seen.prevOut[0]);
    EXPECT_EQ(seen.out[0], seen.prevOut[1]);
    EXPECT_EQ(seen.prevOut[0], seen.out[1]);
    EXPECT_EQ(seen.out[0], seen.out[2]);
    EXPECT_THAT(seen.first, testing::ElementsAre(0, 100, 101, 101));
    // The byte behind a run is that of the middle row, which starts one pixel left of the box: its index 2 is column 1.
    EXPECT_THAT(seen.behind, testing::ElementsAre(0, 2, 0, 5));
    EXPECT_THAT(rowOf(dest, 1), testing::ElementsAre(101, 101, 0));
}

TEST_F(LiteralFrame, LatticeOfNinePoints)
{
    uint8_t bytes[5][7] = {};
    void* rows[] = {bytes[0], bytes[1], bytes[2], bytes[3], bytes[4]};
    uint8_t* p[9] = {};
    set3x3pointers(rows, 7, 5, &p[0], &p[1], &p[2], &p[3], &p[4], &p[5], &p[6], &p[7], &p[8]);
    EXPECT_THAT(p, testing::ElementsAre(&bytes[0][0], &bytes[0][3], &bytes[0][6], &bytes[2][0], &bytes[2][3],
                                        &bytes[2][6], &bytes[4][0], &bytes[4][3], &bytes[4][6]));
    set3x3pointers(rows, 4, 2, &p[0], nullptr, &p[2], &p[3], &p[4], &p[5], &p[6], &p[7], &p[8]);
    EXPECT_EQ(&bytes[1][2], p[4]); // even sizes: half of them
    EXPECT_EQ(&bytes[1][3], p[8]);
    int16_t words[3][3] = {};
    void* wordRows[] = {words[0], words[1], words[2]};
    int16_t* w[9] = {};
    w_set3x3pointers(wordRows, 3, 3, &w[0], &w[1], &w[2], &w[3], &w[4], &w[5], &w[6], &w[7], &w[8]);
    float floats[3][3] = {};
    void* floatRows[] = {floats[0], floats[1], floats[2]};
    float* f[9] = {};
    f_set3x3pointers(floatRows, 3, 3, &f[0], &f[1], &f[2], &f[3], &f[4], &f[5], &f[6], &f[7], &f[8]);
    for (int32_t i = 0; i < 9; ++i) {
        EXPECT_EQ(&words[i / 3][i % 3], w[i]);
        EXPECT_EQ(&floats[i / 3][i % 3], f[i]);
    }
}

// The frame once more: rows of single pixels, one after the other, through block access.
class PlainFrame
{
public:
    using Row = std::vector<uint8_t>;

    PlainFrame(int32_t src, int32_t dst, int32_t width, int32_t height, int32_t type, int32_t mode,
               Row constant)
        : src_(src), dst_(dst), M_(std::max(width, 1)), N_(std::max(height, 1)), type_(type), mode_(mode),
          constant_(std::move(constant)), bytes_(I_ImTypeBytes(type))
    {
    }

    int32_t run(MxNRowFilter filter, void* user)
    {
        const int32_t bands = std::min(I_ImGetNBands(src_), I_ImGetNBands(dst_));
        I_GetMinSize2(&W_, &H_, nullptr, nullptr, src_, dst_);
        int32_t points = 0;
        const VexaPoint* list = I_ROIScanlist(&points, src_);
        const std::vector<VexaPoint> runs(list, list + points);
        if (points < 2)
            return 1;
        I_ROIBoundingBox2(&box_.left, &box_.top, &box_.right, &box_.bottom, src_, dst_);
        if (box_.left >= box_.right || box_.top >= box_.bottom)
            return 0;
        padded_ = box_.right - box_.left + M_;
        ring_.assign(static_cast<std::size_t>(N_), Row(static_cast<std::size_t>(padded_ * bytes_)));
        for (std::size_t k = 0; k < ring_.size(); ++k)
            table_.push_back(k);
        outputs_.assign(2, Row(static_cast<std::size_t>((2 * (W_ + M_)) * bytes_)));
        for (int32_t b = 0; b < std::max(bands, 1); ++b) {
            if (bands > 1)
                I_SetColorBand(b);
            walk(runs, filter, user);
        }
        if (bands > 1)
            I_SetColorBand(-1);
        return 1;
    }

private:
    // A row of the image with its pads. Outside the image: whole rows of the constant.
    void load(int32_t y, bool outside, bool reflect, Row& row) const
    {
        const int32_t first = std::max(0, box_.left - (M_ - 1) / 2);
        const int32_t end = std::min(W_, box_.right + M_ / 2 + 1);
        for (int32_t i = 0; i < padded_; ++i) {
            const int32_t x = box_.left - (M_ - 1) / 2 + i;
            int32_t from = std::clamp(x, first, end - 1);
            if (reflect && x < first)
                from = first + std::min(first - x, end - first - 1);
            if (reflect && x >= end)
                from = end - std::min(x - end + 1, end - first);
            uint8_t* const pixel = row.data() + i * bytes_;
            if (outside || (mode_ >= 0 && (x < first || x >= end)))
                std::copy(constant_.begin(), constant_.begin() + bytes_, pixel);
            else
                I_GetBlockType(from, y, 1, 1, pixel, src_, type_);
        }
    }

    void walk(const std::vector<VexaPoint>& runs, MxNRowFilter filter, void* user)
    {
        const auto N = static_cast<std::size_t>(N_);
        for (std::size_t k = 0; k + 1 < N; ++k) {
            const int32_t r = box_.top - N_ / 2 + static_cast<int32_t>(k);
            const int32_t above = mode_ <= -2 && r < 0 ? -r : r;
            load(std::clamp(above, 0, H_ - 1), mode_ >= 0 && (r < 0 || r >= H_), false, ring_[table_[k]]);
        }
        int32_t line = box_.top - 1;
        std::size_t position = 0;
        for (std::size_t i = 0; i + 1 < runs.size(); i += 2) {
            const int32_t xa = runs[i].x;
            const int32_t y = runs[i].y;
            if (y < 0 || y >= H_)
                continue;
            if (y != line) {
                for (std::size_t k = 0; k < N; ++k)
                    table_[k] = (k + position) % N;
                position = (position + 1) % N;
                line = y;
                const int32_t n = y - N_ / 2 + N_ - 1;
                const int32_t below = mode_ == -1 ? H_ - 1 : std::max(0, 2 * H_ - n - 2);
                load(n < H_ ? n : below, mode_ >= 0 && n >= H_, mode_ <= -2, ring_[table_[N - 1]]);
            }
            std::vector<void*> rows;
            for (const std::size_t k : table_)
                rows.push_back(ring_[k].data());
            const int32_t count = box_.right - box_.left + 1;
            filter(xa, y, M_, N_, rows.data(), outputs_[0].data(), outputs_[1].data(), count, user);
            const int32_t xrel = xa - box_.left;
            const int32_t n = std::min(runs[i + 1].x - xa + 1, W_ - xa);
            if (bytes_ == 1 && xrel + n < W_ && xrel + n < padded_)
                outputs_[0][static_cast<std::size_t>(xrel + n)] =
                    ring_[table_[N / 2]][static_cast<std::size_t>(xrel + n)];
            for (int32_t x = xa; x < xa + n; ++x)
                I_PutBlockType(x, y, 1, 1, outputs_[0].data() + (x - box_.left) * bytes_, dst_, type_);
            std::swap(outputs_[0], outputs_[1]);
        }
    }

    int32_t src_, dst_, M_, N_, type_, mode_;
    Row constant_;
    int32_t bytes_;
    int32_t W_ = 0, H_ = 0, padded_ = 0;
    VexaBox box_ = {};
    std::vector<Row> ring_;
    std::vector<std::size_t> table_;
    std::vector<Row> outputs_;
};

// Depends on each pixel's place, on the call's arguments and on the output row before.
template <typename Pixel>
int32_t weighAll(int32_t x0, int32_t y, int32_t width, int32_t height, void** rows, void* out, void* prevOut,
                 int32_t count, void*)
{
    auto* const to = static_cast<Pixel*>(out);
    const auto* const before = static_cast<const Pixel*>(prevOut);
    for (int32_t i = 0; i < count; ++i) {
        double sum = x0 + 2 * y + 0.25 * static_cast<double>(before[i]);
        for (int32_t k = 0; k < height; ++k)
            for (int32_t j = 0; j < width; ++j)
                sum += (7 * k + 3 * j + 1) * static_cast<double>(static_cast<const Pixel*>(rows[k])[i + j]);
        // Whole numbers that every type holds.
        to[i] = static_cast<Pixel>(static_cast<int64_t>(sum / 8) & 255);
    }
    return 0;
}

struct WorkingType {
    int32_t type;
    MxNRowFilter filter;
};

TEST(AgainstReferenceFrame, EverySettingAndNeighbourhood)
{
    const WorkingType types[] = {{PIX_BYTE, weighAll<uint8_t>},
                                 {PIX_BYTE, weighAll<uint8_t>},
                                 {PIX_WORD, weighAll<int16_t>},
                                 {PIX_FLOAT, weighAll<float>},
                                 {PIX_DFLOAT, weighAll<double>}};
    for (uint32_t seed = 1; seed <= 260; ++seed) {
        std::mt19937 random(seed);
        const auto pick = [&](uint32_t n) { return static_cast<int32_t>(random() % n); };
        const WorkingType working = types[random() % std::size(types)];
        const int32_t width = 1 + pick(9);
        const int32_t height = 1 + pick(9);
        const int32_t mode = std::array{-1, -2, -7, 0, 40, 200}[random() % 6];
        // The constant in its own type, and in that of the rows.
        const int32_t constantType =
            std::array{0, PIX_BYTE + 0, PIX_WORD + 0, PIX_FLOAT + 0, PIX_DFLOAT + 0}[random() % 5];
        const int32_t number = constantType < 1 ? mode : 90;
        uint8_t constant[16] = {};
        I_ArrayConvert(&number, PIX_DWORD, constant, std::max(constantType, PIX_BYTE + 0), 1);
        PlainFrame::Row pixel(16);
        I_ArrayConvert(&number, PIX_DWORD, pixel.data(), working.type, 1);

        std::vector<std::vector<uint8_t>> expected;
        int32_t expectedStatus = 0;
        {
            const FilterScene scene(seed, kAllTypes);
            PlainFrame plain(scene.src, scene.dst, width, height, working.type, mode, pixel);
            expectedStatus = plain.run(working.filter, nullptr);
            expected = scene.contents();
        }
        const FilterScene scene(seed, kAllTypes);
        I_SetBorderMode(mode, constant, constantType);
        ASSERT_EQ(expectedStatus, I_MxNOperatorType(scene.src, scene.dst, width, height, nullptr,
                                                    working.filter, working.type))
            << "seed " << seed << scene.description();
        ASSERT_TRUE(expected == scene.contents())
            << "seed " << seed << ' ' << width << 'x' << height << " mode " << mode << " type "
            << working.type << scene.description();
    }
}

// A later band loads its first rows in the order that the ring of the band before was left in.
TEST(AgainstReferenceFrame, SeveralBands)
{
    for (int32_t rows = 5; rows < 9; ++rows) {
        std::vector<uint8_t> results[2];
        for (const bool plain : {true, false}) {
            const int32_t src =
                image(9, rows, PIX_BGR24, [](int32_t x, int32_t y) { return (x * 37 + y * 91) & 255; });
            const int32_t dst = image(9, rows, PIX_BGR24);
            ASSERT_EQ(3, I_ImGetNBands(src));
            if (plain)
                PlainFrame(src, dst, 3, 3, PIX_BYTE, -1, {}).run(weighAll<uint8_t>, nullptr);
            else
                I_MxNOperator(src, dst, 3, 3, nullptr, weighAll<uint8_t>);
            results[plain] = bytesOf(dst);
            I_ImCloseAll();
        }
        EXPECT_EQ(results[0], results[1]) << rows;
    }
}

class FailuresFrame : public LiteralFrame
{
protected:
    void TearDown() override
    {
        vexa::setUserBreakHook(nullptr);
        LiteralFrame::TearDown();
    }
};

int32_t spoilFront(int32_t, int32_t, int32_t, int32_t height, void** rows, void*, void*, int32_t, void*)
{
    static_cast<uint8_t*>(*std::min_element(rows, rows + height))[-1] = 1;
    return 0;
}

int32_t spoilRear(int32_t, int32_t, int32_t width, int32_t height, void** rows, void*, void*, int32_t count,
                  void*)
{
    static_cast<uint8_t*>(*std::max_element(rows, rows + height))[2 * (count + width - 1)] = 1;
    return 0;
}

int32_t leaveAlone(int32_t, int32_t, int32_t, int32_t, void**, void*, void*, int32_t, void*)
{
    return 0;
}

TEST_F(FailuresFrame, GuardsAreTraced)
{
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 2, nullptr, spoilFront));
    EXPECT_EQ("FiltOp 3: corrupted buffer y=1 x=4\n", testing::internal::GetCapturedStderr());
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 2, nullptr, spoilRear));
    EXPECT_EQ("FiltOp 4: corrupted buffer y=5 x=0\n", testing::internal::GetCapturedStderr());
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 2, nullptr, leaveAlone));
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

int32_t breakAsked = 0;
int32_t breakAt = 0;

int32_t breakHook(int32_t)
{
    return ++breakAsked == breakAt;
}

TEST_F(FailuresFrame, BreakIsAskedForAtEvery64thRun)
{
    const int32_t tall = byteImage(4, 200, [](int32_t, int32_t) { return 9; });
    const int32_t out = byteImage(4, 200);
    vexa::setUserBreakHook(breakHook);
    breakAsked = 0;
    breakAt = 0;
    EXPECT_EQ(1, I_MxNOperator(tall, out, 1, 1, &calls, note));
    EXPECT_EQ(4, breakAsked);
    breakAsked = 0;
    breakAt = 2;
    I_ImClear(out, 0.0);
    EXPECT_EQ(0, I_MxNOperator(tall, out, 1, 1, &calls, note));
    EXPECT_EQ(6, I_GetError(nullptr, 0));
    EXPECT_EQ("USER_BREAK", errorText());
    EXPECT_EQ(9.0, pixel(out, 0, 63));
    EXPECT_EQ(0.0, pixel(out, 0, 64));
    // The remaining bands are walked.
    const int32_t color = image(4, 10, PIX_BGR24, [](int32_t, int32_t) { return 9; });
    const int32_t colorOut = image(4, 10, PIX_BGR24);
    breakAsked = 0;
    breakAt = 1;
    calls.clear();
    EXPECT_EQ(0, I_MxNOperator(color, colorOut, 1, 1, &calls, note));
    EXPECT_EQ(3, breakAsked);
    EXPECT_EQ(20U, calls.size());
    EXPECT_EQ(3, I_ImGetNBands(color)); // no band is selected
}

TEST_F(FailuresFrame, RegionsThatAreTooSmall)
{
    I_SetWindowROI(1, 0, 1, 2);
    EXPECT_EQ(0, I_MxNOperator(src, dest, 3, 3, &calls, note));
    I_SetWindowROI(0, 1, 2, 1);
    EXPECT_EQ(0, I_MxNOperator(src, dest, 3, 3, &calls, note));
    const VexaPoint none = {0, 0};
    I_SetScanlistROI(&none, 0);
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 3, &calls, note));
    EXPECT_EQ(0U, calls.size());
    EXPECT_EQ(0, I_GetError(nullptr, 0));
}

TEST_F(FailuresFrame, ArgumentsThatMakeNoSense)
{
    EXPECT_EQ(0, I_MxNOperator(src, dest, 3, 3, nullptr, nullptr));
    EXPECT_EQ(0, I_MxNOperator(-90, dest, 3, 3, &calls, note));
    EXPECT_EQ(20, I_GetError(nullptr, 0));
    EXPECT_EQ(0, I_MxNOperator(src, 7, 3, 3, &calls, note));
    EXPECT_EQ(24, I_GetError(nullptr, 0));
    for (const int32_t size : {INT32_MAX, INT32_MAX - 1}) {
        EXPECT_EQ(0, I_MxNOperator(src, dest, size, 3, &calls, note));
        EXPECT_EQ(2, I_GetError(nullptr, 0));
        EXPECT_EQ(0, I_MxNOperator(src, dest, 3, size, &calls, note));
        EXPECT_THAT(errorText(), testing::StartsWith("Memory allocation failed: mxnoperator: "));
    }
    EXPECT_EQ(0U, calls.size());
}

TEST_F(FailuresFrame, WithoutMemory)
{
    forEachFailingAllocation([&] { return I_MxNOperator(src, dest, 3, 3, nullptr, leaveAlone); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_EQ(2, I_GetError(nullptr, 0));
                                 EXPECT_THAT(errorText(),
                                             testing::StartsWith("Memory allocation failed: mxnoperator: "));
                             });
}

int32_t copyFirst(int32_t, int32_t, int32_t, int32_t, void** rows, void* out, void*, int32_t count, void*)
{
    std::copy_n(static_cast<const uint8_t*>(rows[0]), count, static_cast<uint8_t*>(out));
    return 0;
}

// Images may be wider or narrower in storage than their type says.
TEST_F(FailuresFrame, PixelsOfAnotherWidthThanTheirType)
{
    for (const auto& [bytes, type] :
         {std::pair{16, PIX_BYTE}, {3, PIX_WORD}, {1, PIX_FLOAT}, {2, PIX_DFLOAT}}) {
        const int32_t odd = I_ImOpenSpecial(9, 7, bytes, type, 0, 0);
        const int32_t result = I_ImOpenSpecial(9, 7, bytes, type, 0, 0);
        const int32_t behind = byteImage(64, 64, [](int32_t, int32_t) { return 5; });
        ASSERT_NE(0, odd);
        for (const int32_t working : {type + 0, PIX_BYTE + 0, PIX_FLOAT + 0, 25})
            EXPECT_EQ(1, I_MxNOperatorType(odd, result, 3, 3, nullptr, copyFirst, working));
        EXPECT_EQ(1, I_Smooth(odd, result));
        EXPECT_EQ(1, I_MxNSmooth(odd, result, 3.0F, 3.0F));
        EXPECT_EQ(1, I_MxNSmooth(odd, odd, 15.0F, 15.0F));
        I_ShiftSharpen(odd, result, 0.5F, 0.5F, 1.0F);
        EXPECT_EQ(bytesOf(behind), std::vector<uint8_t>(64 * 64, 5));
        I_ImClose3(odd, result, behind);
    }
}

// A callback that takes the images away, and the region's list with them.
int32_t closeAll(int32_t, int32_t, int32_t, int32_t, void**, void*, void*, int32_t, void*)
{
    I_ImCloseAll();
    I_SetROIType(0);
    const int32_t huge = I_ImOpen(1, 30000, PIX_BYTE);
    int32_t points = 0;
    I_ROIScanlist(&points, huge);
    I_ImClose(huge);
    return 0;
}

TEST_F(FailuresFrame, ImagesClosedByTheCallback)
{
    EXPECT_EQ(1, I_MxNOperator(src, dest, 3, 3, nullptr, closeAll));
}

} // namespace
