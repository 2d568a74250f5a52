// Block access against a plain reading of its description: positions, clipping, turned rows, conversions, results.
#include "tests/support/random_images.h"
#include "tests/support/test_failures.h"
#include "tests/support/test_images.h"

using namespace vexa::test;
using namespace vexa::test::plain;

namespace
{

struct Array {
    uint8_t* data;
    int32_t pitch, cols, rows, type, x, y, w, h;

    uint8_t* pixelAt(int32_t px, int32_t py) const
    {
        return data + int64_t{py} * pitch + int64_t{px} * I_ImTypeBytes(type);
    }
};

// The general copy. No flips where they would leave the arrays.
int32_t plainCopy(Array s, Array d, const ScaleRecord* scale)
{
    for (Array* a : {&s, &d}) {
        if (a->pitch <= 0)
            a->pitch = a->cols * I_ImTypeBytes(a->type);
        if (a->w < 0)
            a->w = a->cols - a->x;
        if (a->h < 0)
            a->h = a->rows - a->y;
    }
    int32_t w = std::min(s.w, d.w), h = std::min(s.h, d.h);
    const auto cut = [](int32_t& own, int32_t& other, int32_t& size) {
        if (own < 0) {
            other -= own;
            size += own;
            own = 0;
        }
    };
    cut(s.x, d.x, w);
    cut(d.x, s.x, w);
    cut(s.y, d.y, h);
    cut(d.y, s.y, h);
    w = std::min({w, s.cols - s.x, d.cols - d.x});
    h = std::min({h, s.rows - s.y, d.rows - d.y});
    if (w < 1 || h < 1)
        return 0;
    const bool sf = scale && scale->sourceFlip, df = scale && scale->destFlip;
    if (sf)
        s.y = s.h - h - s.y;
    if (df)
        d.y = d.h - h - d.y;
    const auto n = static_cast<std::size_t>(w) * static_cast<std::size_t>(I_ImTypeBytes(s.type));
    std::vector<std::vector<uint8_t>> rows; // as if the source had been copied first
    for (int32_t r = 0; r < h; ++r)
        rows.emplace_back(s.pixelAt(s.x, s.y + r), s.pixelAt(s.x, s.y + r) + n);
    for (int32_t r = 0; r < h; ++r) {
        const auto& row = rows[static_cast<std::size_t>(sf != df ? h - 1 - r : r)];
        ConvertPixelType(row.data(), s.type, d.pixelAt(d.x, d.y + r), d.type, w, scale);
        if (s.type == d.type)
            std::memcpy(d.pixelAt(d.x, d.y + r), row.data(), n);
    }
    return s.type == d.type || s.data == d.data ? w * h : 1;
}

ScaleRecord scaleOf(int32_t im, int32_t other, const uint8_t* palette, bool flipSource, bool flipDest,
                    bool read)
{
    ImageRecord record{};
    record.type = I_ImGetType(im);
    I_GetPixValueRange(&record.minValue, &record.maxValue, im);
    ScaleRecord scale{};
    SetupScale(&record, other, &scale, palette, palette, flipSource, flipDest, read);
    return scale;
}

Array wholeImage(int32_t im)
{
    Array a{};
    a.data = static_cast<uint8_t*>(I_ImGetPtr(0, 0, nullptr, &a.pitch, im));
    I_ImGetSize(&a.cols, &a.rows, nullptr, im);
    a.type = I_ImGetType(im);
    a.w = a.h = -1;
    return a;
}

int32_t plainBlock(bool put, bool row, int32_t x, int32_t y, int32_t w, int32_t h, uint8_t* buffer,
                   int32_t im, int32_t type, int32_t pitch)
{
    Array image = wholeImage(im);
    uint8_t palette[1024];
    const bool hasPalette = I_ImGetParam(palette, 1024, 13, im) != 0;
    int32_t inverted = 0;
    I_ImGetParam(&inverted, 4, 19, im);
    if (row && h == 1 && x >= 0 && y >= 0) {
        w = std::min(w, image.cols - x);
        if (w < 1 || y >= image.rows)
            return 0;
        if (type == image.type) {
            const auto n = static_cast<std::size_t>(w * I_ImTypeBytes(type));
            if (put)
                std::memcpy(image.pixelAt(x, y), buffer, n);
            else
                std::memcpy(buffer, image.pixelAt(x, y), n);
            return w;
        }
        pitch = 0;
    }
    if (w < 1 || h < 1)
        return 0;
    image.x = x;
    image.y = y;
    if (pitch <= 0)
        pitch = w * I_ImTypeBytes(type);
    const Array block{buffer, pitch, w, h, type, 0, 0, w, h};
    const ScaleRecord scale =
        scaleOf(im, type, hasPalette ? palette : nullptr, put && inverted, !put && inverted, !put);
    return put ? plainCopy(block, image, &scale) : plainCopy(image, block, &scale);
}

const int32_t kTypes[] = {PIX_BYTE,  PIX_BYTE,  PIX_WORD,  PIX_DWORD, PIX_FLOAT,   PIX_DFLOAT, PIX_COMPLEX,
                          PIX_BGR24, PIX_RGB24, PIX_BGR32, PIX_RGB32, PIX_PALETTE, PIX_BGR15,  PIX_BGR16};

TEST(IndependentBlock, ReadingAndWritingRectangles)
{
    Random random(12);
    for (int32_t round = 0; round < 1500; ++round) {
        Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        shape.inFile = false;
        int32_t type = between(random, 0, 2) == 0 ? shape.type : kTypes[random() % std::size(kTypes)];
        const bool put = between(random, 0, 1), ex = between(random, 0, 1);
        if (put && (shape.type == PIX_PALETTE || type == PIX_PALETTE))
            type = shape.type; // the nearest entry depends on what was asked before
        const int32_t x = between(random, -5, shape.cols + 2), y = between(random, -3, shape.rows + 1),
                      w = between(random, -1, shape.cols + 6),
                      h = between(random, 0, 2) ? between(random, -1, shape.rows + 4) : 1;
        const int32_t bytes = I_ImTypeBytes(type);
        const int32_t pitch =
            ex && between(random, 0, 1) ? std::max(w, 1) * bytes + between(random, 0, 9) : 0;
        I_SetColorProcMode(between(random, 0, 3) ? 3 : between(random, 0, 2));
        I_SetColorBand(between(random, -1, 2));
        SCOPED_TRACE((put ? "put " : "get ") + tell(shape) + " as " + std::to_string(type) + " at " +
                     std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(w) + "x" +
                     std::to_string(h) + " pitch " + std::to_string(pitch) + " band " +
                     std::to_string(I_GetColorBand()));
        const auto size = static_cast<std::size_t>(std::max(pitch, std::max(w, 1) * bytes)) *
                          static_cast<std::size_t>(std::max(h, 1));
        std::vector<uint8_t> buffer(size + 8), after[2], buffers[2];
        Random filler(shape.seed + 1);
        for (uint8_t& b : buffer)
            b = static_cast<uint8_t>(filler() % 64);
        int32_t results[2];
        for (const int32_t side : {0, 1}) {
            const Picture p = shape.open();
            std::vector<uint8_t> own = buffer;
            if (side == 1)
                results[side] = plainBlock(put, !ex, x, y, w, h, own.data(), p.im, type, pitch);
            else if (put)
                results[side] = ex ? I_PutBlockTypeEx(x, y, w, h, own.data(), p.im, type, pitch)
                                   : I_PutBlockType(x, y, w, h, own.data(), p.im, type);
            else
                results[side] = ex ? I_GetBlockTypeEx(x, y, w, h, own.data(), p.im, type, pitch)
                                   : I_GetBlockType(x, y, w, h, own.data(), p.im, type);
            after[side] = p.bytes();
            buffers[side] = own;
            p.close();
        }
        ASSERT_EQ(results[1], results[0]);
        ASSERT_TRUE(after[0] == after[1]) << "image";
        ASSERT_TRUE(buffers[0] == buffers[1]) << "buffer";
    }
    I_SetColorProcMode(3);
    I_SetColorBand(-1);
}

TEST(IndependentBlock, CopiesBetweenArrays)
{
    Random random(13);
    static const int32_t kNumeric[] = {PIX_BYTE, PIX_WORD, PIX_DWORD, PIX_FLOAT, PIX_BGR24};
    for (int32_t round = 0; round < 1500; ++round) {
        std::vector<uint8_t> memory[2];
        const bool same = between(random, 0, 3) == 0;
        const auto array = [&](int32_t type) {
            Array a{};
            a.type = type;
            a.cols = between(random, 1, 40);
            a.rows = between(random, 1, 8);
            a.pitch = between(random, 0, 1) ? 0 : a.cols * I_ImTypeBytes(type) + between(random, 0, 5);
            a.x = between(random, -4, a.cols);
            a.y = between(random, -3, a.rows);
            a.w = between(random, 0, 3) ? between(random, 0, a.cols + 3) : -1;
            a.h = between(random, 0, 3) ? between(random, 0, a.rows + 3) : -1;
            return a;
        };
        Array s = array(kNumeric[random() % 5]),
              d = array(between(random, 0, 1) ? s.type : kNumeric[random() % 5]);
        if (same) {
            d.type = s.type;
            d.pitch = s.pitch;
            d.cols = s.cols;
            d.rows = s.rows;
        }
        ScaleRecord scale{};
        scale.gain = 1.0;
        const bool scaled = between(random, 0, 1);
        scale.sourceFlip = between(random, 0, 1);
        scale.destFlip = between(random, 0, 1);
        if (scaled) { // whole heights from the first row on, which a flip maps onto themselves
            s.y = d.y = 0;
            s.h = s.rows;
            d.h = d.rows;
            if (s.rows != d.rows)
                scale.sourceFlip = scale.destFlip = 0;
        }
        SCOPED_TRACE(std::to_string(s.type) + " to " + std::to_string(d.type) + (same ? " same" : "") +
                     " round " + std::to_string(round) + " flips " +
                     std::to_string(scaled * scale.sourceFlip) + std::to_string(scaled * scale.destFlip));
        int32_t results[2];
        for (const int32_t side : {0, 1}) {
            std::vector<uint8_t>& m = memory[side];
            m.resize(12000);
            Random filler(static_cast<uint32_t>(round));
            for (uint8_t& b : m)
                b = static_cast<uint8_t>(filler() % 64);
            s.data = m.data();
            d.data = same ? m.data() : m.data() + 6000;
            const ScaleRecord* record = scaled ? &scale : nullptr;
            results[side] = side == 1 ? plainCopy(s, d, record)
                                      : I_CopyBlockType(s.data, s.pitch, s.cols, s.rows, s.type, s.x, s.y,
                                                        s.w, s.h, d.data, d.pitch, d.cols, d.rows, d.type,
                                                        d.x, d.y, d.w, d.h, record);
        }
        ASSERT_EQ(results[1], results[0]);
        ASSERT_TRUE(memory[0] == memory[1]);
    }
}

TEST(IndependentBlock, CopiesBetweenImages)
{
    Random random(14);
    for (int32_t round = 0; round < 800; ++round) {
        Shape ss = randomShape(random, kTypes[random() % std::size(kTypes)]),
              sd =
                  randomShape(random, between(random, 0, 1) ? ss.type : kTypes[random() % std::size(kTypes)]);
        if (sd.type == PIX_PALETTE)
            sd.type = ss.type == PIX_PALETTE ? PIX_PALETTE : PIX_BYTE;
        ss.inverted = sd.inverted = ss.inFile = sd.inFile = false;
        const bool same = between(random, 0, 4) == 0;
        const int32_t sx = between(random, -2, ss.cols), sy = between(random, -2, ss.rows),
                      w = between(random, -1, ss.cols + 2), h = between(random, -1, ss.rows + 2),
                      dx = between(random, -2, sd.cols), dy = between(random, -2, sd.rows);
        SCOPED_TRACE(tell(ss) + " to " + (same ? "itself" : tell(sd)) + " " + std::to_string(w) + "x" +
                     std::to_string(h) + " from " + std::to_string(sx) + "," + std::to_string(sy) + " to " +
                     std::to_string(dx) + "," + std::to_string(dy));
        int32_t results[2];
        std::vector<uint8_t> after[2];
        for (const int32_t side : {0, 1}) {
            const Picture ps = ss.open(), pd = sd.open();
            const int32_t dest = same ? ps.im : pd.im;
            if (side == 0) {
                results[side] = between(random, 0, 1) ? I_ImCopyBlock(w, h, sx, sy, ps.im, dx, dy, dest)
                                                      : I_RectCopy(sx, sy, dx, dy, w, h, ps.im, dest);
            } else {
                Array s = wholeImage(ps.im), d = wholeImage(dest);
                s.x = sx, s.y = sy, d.x = dx, d.y = dy;
                s.w = d.w = std::min({w < 0 ? d.cols - dx : w, s.cols - sx, d.cols - dx});
                s.h = d.h = std::min({h < 0 ? d.rows - dy : h, s.rows - sy, d.rows - dy});
                uint8_t palettes[2][1024];
                ScaleRecord scale =
                    scaleOf(ps.im, d.type, nullptr, false, false, d.type == PIX_BYTE || d.type >= 12);
                scale.sourcePalette = I_ImGetParam(palettes[0], 1024, 13, ps.im) ? palettes[0] : nullptr;
                scale.destPalette = I_ImGetParam(palettes[1], 1024, 13, dest) ? palettes[1] : nullptr;
                results[side] = s.w < 1 || s.h < 1 ? 0 : plainCopy(s, d, &scale);
            }
            after[side] = (same ? ps : pd).bytes();
            ps.close();
            pd.close();
        }
        ASSERT_EQ(results[1], results[0]);
        ASSERT_TRUE(after[0] == after[1]);
    }
    // whole images of one size, one of them or both bottom-up
    for (const int32_t flags : {0, 1, 2, 3}) {
        Shape ss{5, 4, PIX_WORD, false, (flags & 1) != 0, false, 3},
            sd{5, 4, PIX_WORD, false, (flags & 2) != 0, false, 4};
        const Picture ps = ss.open(), pd = sd.open();
        EXPECT_EQ(20, I_ImCopyBlock(-1, -1, 0, 0, ps.im, 0, 0, pd.im));
        for (int32_t y = 0; y < 4; ++y)
            EXPECT_EQ(rowOf(ps.im, y), rowOf(pd.im, flags == 1 || flags == 2 ? 3 - y : y));
        ps.close();
        pd.close();
    }
}

TEST(IndependentBlock, ClearsFillWhatIsLeftOfTheRectangle)
{
    Random random(15);
    for (int32_t round = 0; round < 1500; ++round) {
        Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        if (shape.type == PIX_PALETTE)
            shape.type = PIX_BYTE;
        shape.inFile = false;
        const int32_t x = between(random, -3, shape.cols), y = between(random, -3, shape.rows),
                      w = between(random, -3, shape.cols + 2), h = between(random, -3, shape.rows + 2);
        const double value = between(random, 0, 200);
        const int32_t kind = between(random, 0, 3);
        SCOPED_TRACE(tell(shape) + " at " + std::to_string(x) + "," + std::to_string(y) + " " +
                     std::to_string(w) + "x" + std::to_string(h) + " kind " + std::to_string(kind));
        std::vector<uint8_t> after[2];
        int32_t results[2];
        for (const int32_t side : {0, 1}) {
            const Picture p = shape.open();
            const float asFloat = static_cast<float>(value);
            if (side == 0) {
                results[0] = kind == 0   ? I_ImClear(p.im, value)
                             : kind == 1 ? I_ImClearType(p.im, &asFloat, PIX_FLOAT)
                             : kind == 2 ? I_ImClearBlockType(x, y, w, h, &asFloat, p.im, PIX_FLOAT)
                                         : I_ImClearBlockType(x, y, w, h, nullptr, p.im, 0);
            } else {
                Array a = wholeImage(p.im);
                int32_t left = kind < 2 ? 0 : x, top = kind < 2 ? 0 : y, cols = kind < 2 ? 0 : w,
                        rows = kind < 2 ? 0 : h;
                cols += cols < 1 ? a.cols - left : 0;
                rows += rows < 1 ? a.rows - top : 0;
                cols += std::min(left, 0);
                rows += std::min(top, 0);
                left = std::max(left, 0);
                top = std::max(top, 0);
                cols = std::min(cols, a.cols - left);
                rows = std::min(rows, a.rows - top);
                results[1] = cols > 0 && rows > 0;
                uint8_t raw[16] = {};
                if (kind == 0)
                    I_ArrayConvert(&value, PIX_DFLOAT, raw, a.type, 1);
                else if (kind < 3)
                    I_ArrayConvert(&asFloat, PIX_FLOAT, raw, a.type, 1);
                for (int32_t r = 0; r < rows; ++r)
                    for (int32_t c = 0; c < cols; ++c)
                        std::memcpy(a.pixelAt(left + c, top + r), raw,
                                    static_cast<std::size_t>(I_ImTypeBytes(a.type)));
            }
            after[side] = p.bytes();
            p.close();
        }
        ASSERT_EQ(results[1], results[0]);
        ASSERT_TRUE(after[0] == after[1]);
    }
}

TEST(IndependentBlock, RangesOfAllPixels)
{
    Random random(16);
    for (int32_t round = 0; round < 600; ++round) {
        Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        shape.inFile = false;
        SCOPED_TRACE(tell(shape));
        const Picture p = shape.open();
        const Array a = wholeImage(p.im);
        std::vector<double> values;
        std::vector<float> asFloats(static_cast<std::size_t>(a.cols * a.rows));
        I_GetBlockTypeEx(0, 0, a.cols, a.rows, asFloats.data(), p.im, PIX_FLOAT, 0);
        const int32_t bytes = I_ImTypeBytes(a.type);
        for (int32_t y = 0; y < a.rows; ++y) {
            for (int32_t x = 0; x < a.cols * (bytes == 3 ? 3 : 1); ++x) {
                const uint8_t* row = a.pixelAt(0, y);
                values.push_back(a.type == PIX_WORD    ? at<uint16_t>(row, x)
                                 : a.type == PIX_DWORD ? at<uint32_t>(row, x)
                                 : a.type == PIX_BYTE || bytes == 3
                                     ? row[x]
                                     : double{asFloats[static_cast<std::size_t>(y * a.cols + x)]});
            }
        }
        double low = -1, high = -1, kept[2];
        EXPECT_EQ(a.cols * a.rows, I_ImGetRange(&low, &high, p.im));
        EXPECT_EQ(*std::min_element(values.begin(), values.end()), low);
        EXPECT_EQ(*std::max_element(values.begin(), values.end()), high);
        I_GetPixValueRange(&kept[0], &kept[1], p.im);
        EXPECT_EQ(low, kept[0]);
        EXPECT_EQ(high, kept[1]);
        p.close();
    }
    EXPECT_EQ(0, I_ImGetRange(nullptr, nullptr, 0));
}

// Pixels in a file go through the kind's own way: mirrored positions, packed delivery.
TEST(IndependentBlock, ReadingAndWritingFiles)
{
    Random random(17);
    for (int32_t round = 0; round < 800; ++round) {
        Shape shape = randomShape(random, kTypes[random() % std::size(kTypes)]);
        shape.window = false;
        shape.inFile = true;
        if (shape.type == PIX_PALETTE)
            shape.type = PIX_BYTE;
        if (shape.type == PIX_BGR32 || shape.type == PIX_RGB32) // whose spare byte is nobody's
            shape.type = PIX_BGR24;
        const int32_t type = between(random, 0, 1) ? shape.type : kTypes[random() % 9];
        const int32_t x = between(random, 0, shape.cols - 1), y = between(random, 0, shape.rows - 1),
                      w = between(random, 1, shape.cols - x), h = between(random, 1, shape.rows - y);
        const int32_t bytes = I_ImTypeBytes(type), own = I_ImTypeBytes(shape.type);
        const bool put = between(random, 0, 1) && !shape.inverted;
        const int32_t pitch = between(random, 0, 1) && !put ? w * bytes + between(random, 0, 9) : 0;
        I_SetColorBand(put ? between(random, -1, 2) : -1);
        SCOPED_TRACE((put ? "put " : "get ") + tell(shape) + " as " + std::to_string(type) + " at " +
                     std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(w) + "x" +
                     std::to_string(h) + " pitch " + std::to_string(pitch));
        Shape twin = shape;
        twin.inFile = twin.inverted = false;
        const Picture file = shape.open(), memory = twin.open();
        const Array a = wholeImage(memory.im);
        const ScaleRecord scale = scaleOf(file.im, type, nullptr, false, false, !put);
        std::vector<uint8_t> buffer(static_cast<std::size_t>((w * bytes + 9) * h), 77), wanted = buffer;
        if (put) {
            for (uint8_t& b : buffer)
                b = static_cast<uint8_t>(random() % 60);
            EXPECT_EQ(w * h, I_PutBlockTypeEx(x, y, w, h, buffer.data(), file.im, type, 0));
            for (int32_t r = 0; r < h; ++r)
                ConvertPixelType(&buffer[static_cast<std::size_t>(r * w * bytes)], type, a.pixelAt(x, y + r),
                                 a.type, w, &scale);
            std::vector<uint8_t> got = file.bytes(), expected;
            for (int32_t r = 0; r < a.rows; ++r)
                expected.insert(expected.end(), a.pixelAt(0, r), a.pixelAt(0, r) + a.cols * own);
            EXPECT_TRUE(expected == got);
        } else {
            EXPECT_EQ(1, I_GetBlockTypeEx(x, y, w, h, buffer.data(), file.im, type, pitch));
            const int32_t step = shape.inverted && pitch > 0 ? pitch : w * bytes;
            const int32_t first = shape.inverted ? a.rows - y - h : y;
            for (int32_t r = 0; r < h; ++r)
                ConvertPixelType(a.pixelAt(x, first + (shape.inverted ? h - 1 - r : r)), a.type,
                                 &wanted[static_cast<std::size_t>(r * step)], type, w, &scale);
            EXPECT_TRUE(wanted == buffer);
        }
        file.close();
        memory.close();
        if (HasFailure())
            return;
    }
    I_SetColorBand(-1);
    // nothing was ever written: zeros and an error
    const int32_t empty = I_ImOpenFile(4, 3, 0, PIX_BYTE, std::tmpfile());
    uint8_t nine[12];
    std::fill(std::begin(nine), std::end(nine), uint8_t{9});
    clearError();
    I_GetBlockType(0, 0, 4, 3, nine, empty, PIX_BYTE);
    EXPECT_EQ(18, I_GetError(nullptr, 0));
    EXPECT_EQ("filegetblock1(0 0 4 3)", errorText());
    EXPECT_THAT(nine, testing::Each(0));
    I_GetBlockTypeEx(1, 0, 2, 2, nine, empty, PIX_BYTE, 0);
    EXPECT_EQ("filegetblock2(1 0 2 2)", errorText());
    I_ImClose(empty);
}

TEST(IndependentBlock, NumbersOfTheDescription)
{
    const int32_t im = byteImage({{1, 2, 3}, {4, 5, 6}});
    uint8_t buffer[10];
    std::fill(std::begin(buffer), std::end(buffer), uint8_t{99});
    EXPECT_NE(0, I_GetBlockType(-1, 0, 10, 1, buffer, im, PIX_BYTE));
    EXPECT_THAT(buffer, testing::ElementsAre(99, 1, 2, 3, 99, 99, 99, 99, 99, 99));
    EXPECT_EQ(0, I_GetBlockType(3, 0, 1, 1, buffer, im, PIX_BYTE));
    EXPECT_EQ(0.0F, I_GetPix(3, 0, im));
    EXPECT_EQ(5.0F, I_GetPix(1, 1, im));
    EXPECT_EQ(0, I_GetPixByte(-1, 0, im));
    EXPECT_EQ(6, I_GetPixByte(2, 1, im));
    EXPECT_EQ(0x040404, I_GetPixBGR(0, 1, im) & 0xFFFFFF);
    EXPECT_EQ(0, I_GetPixBGR(0, 2, im));
    // raw copies go through the kind's own way: packed, and the picture's rows from the top
    const int32_t words = wordImage(2, 3, [](int32_t x, int32_t y) { return 256 * y + x; });
    uint16_t raw[4] = {};
    EXPECT_NE(0, I_GetBlockTypeEx(0, 1, 2, 2, raw, words, 25, 0));
    EXPECT_THAT(raw, testing::ElementsAre(256, 257, 512, 513));

    EXPECT_NE(0, I_ImInvertRows(im));
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(4, 5, 6));
    int32_t inverted = 0;
    I_ImGetParam(&inverted, 4, 19, im);
    EXPECT_NE(0, inverted);
    I_ImInvertRows(im);
    I_ImGetParam(&inverted, 4, 19, im);
    EXPECT_EQ(0, inverted);
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(1, 2, 3));

    I_ClearRect(2, 1, 1, 0, 7, im);
    EXPECT_THAT(rowOf(im, 0), testing::ElementsAre(1, 7, 7));
    EXPECT_THAT(rowOf(im, 1), testing::ElementsAre(4, 7, 7));
    I_PutPixByte(0, 0, -1, im);
    EXPECT_EQ(129, pixel(im, 0, 0));
    I_PutPixByte(0, 0, 50, im);
    EXPECT_EQ(50, pixel(im, 0, 0));
    I_PutPix(0, 0, 41.6F, im);
    EXPECT_EQ(42, pixel(im, 0, 0));

    const int32_t part = I_RectDup(-2, 1, 0, 5, im);
    int32_t cols = 0, rows = 0;
    I_ImGetSize(&cols, &rows, nullptr, part);
    EXPECT_EQ(3, cols);
    EXPECT_EQ(1, rows);
    EXPECT_THAT(rowOf(part, 0), testing::ElementsAre(4, 7, 7));
    EXPECT_EQ(0, I_RectDup(3, 0, 2, 2, im));
    const int32_t clone = I_CloneRect(im, PIX_WORD, 1, 0, 2, 1);
    EXPECT_EQ(PIX_WORD, I_ImGetType(clone));
    EXPECT_THAT(rowOf(clone, 1), testing::ElementsAre(7, 7));
    EXPECT_THAT(rowOf(I_CloneImage(im, 0, 0), 0), testing::ElementsAre(0, 0, 0));

    auto** table = I_Dup2DBlockType(1, 0, 2, 2, im, PIX_FLOAT);
    ASSERT_NE(nullptr, table);
    EXPECT_EQ(7.0F, static_cast<float*>(table[1])[0]);
    static_cast<float*>(table[3])[1] = 5; // the spare half
    static_cast<float*>(table[0])[1] = 33;
    EXPECT_NE(0, I_Put2DBlockType(1, 0, 2, 2, table, im, PIX_FLOAT));
    EXPECT_EQ(33, pixel(im, 2, 0));
    EXPECT_EQ(0, I_Put2DBlockType(1, 0, 2, 2, nullptr, im, PIX_FLOAT));
    Free2DArray(table);

    const uint8_t rowsOf3[] = {1, 2, 3, 4, 5, 6};
    uint8_t out[6] = {};
    EXPECT_EQ(6, CopyBlockRev(3, 2, rowsOf3, 3, out, 3));
    EXPECT_THAT(out, testing::ElementsAre(4, 5, 6, 1, 2, 3));
    EXPECT_EQ(0, CopyBlock1(0, 2, rowsOf3, 3, out, 3));
    EXPECT_EQ(1, I_CopySubArray(rowsOf3, 3, 0, out, 2, 1, 1, 1));
    EXPECT_THAT(out, testing::ElementsAre(5, 6, 6, 1, 2, 3));

    forEachFailingAllocation(
        [&] { return I_ImClear(im, 3.0); },
        [](int64_t result) {
            EXPECT_EQ(0, result);
            EXPECT_THAT(errorText(),
                        testing::MatchesRegex("Memory allocation failed: I_ImClearBlockType\\(im=-?[0-9]+, "
                                              "cols=.*bufrows=.* buflen=.*"));
        });
    forEachFailingAllocation([&] { return I_ImCopyBlock(2, 2, 0, 0, im, 1, 0, im); },
                             [](int64_t result) {
                                 EXPECT_EQ(0, result);
                                 EXPECT_THAT(errorText(),
                                             testing::StartsWith("Memory allocation failed: I_CopyBlockType "
                                                                 "tsptr (2 x 2):"));
                             });
}

} // namespace
