// TIFF files against libtiff: each side reads what the other wrote, and the sample files are read right or refused.
#include <memory>

#include <tiffio.h>

#include "tests/fileio/peers/written_tiff_files.h"
#include "vexalib/raw_file.h"

namespace vexa::test
{
namespace
{

using Peer = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

Peer openPeer(const std::string& name, const char* mode)
{
    TIFFSetWarningHandler(nullptr);
    return {TIFFOpen(name.c_str(), mode), TIFFClose};
}

uint32_t number(TIFF* tiff, uint32_t tag)
{
    uint32_t wide = 0;
    uint16_t narrow = 0;
    const bool isWide =
        tag == TIFFTAG_IMAGEWIDTH || tag == TIFFTAG_IMAGELENGTH || tag == TIFFTAG_ROWSPERSTRIP;
    if (isWide)
        TIFFGetFieldDefaulted(tiff, tag, &wide);
    else
        TIFFGetFieldDefaulted(tiff, tag, &narrow);
    return isWide ? wide : narrow;
}

// All samples as libtiff decodes them.
Bytes peerSamples(TIFF* tiff)
{
    Bytes all;
    Bytes line(static_cast<std::size_t>(TIFFScanlineSize(tiff)));
    for (uint32_t y = 0; y < number(tiff, TIFFTAG_IMAGELENGTH); ++y) {
        EXPECT_EQ(1, TIFFReadScanline(tiff, line.data(), y, 0));
        all.insert(all.end(), line.begin(), line.end());
    }
    return all;
}

struct PeerPicture {
    uint16_t samples = 1;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    const char* mode = "wl"; // little-endian, "wb" big-endian
    bool palette = false;
    uint32_t rowsPerStrip = 40;
};

// 30 x 40 pixels, uncompressed.
Bytes writeByPeer(const char* name, const PeerPicture& picture)
{
    constexpr uint32_t cols = 30, rows = 40;
    const Bytes pixels = samples(std::size_t{cols} * rows * picture.samples);
    const Peer tiff = openPeer(name, picture.mode);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, cols);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, rows);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, picture.samples);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, picture.photometric);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, picture.rowsPerStrip);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, "by another hand");
    if (picture.palette) {
        uint16_t red[256], green[256], blue[256];
        for (uint32_t i = 0; i < 256; ++i) {
            red[i] = static_cast<uint16_t>(257 * (255 - i));
            green[i] = static_cast<uint16_t>(257 * (i * 3 % 256));
            blue[i] = static_cast<uint16_t>(257 * (i * 7 % 256));
        }
        TIFFSetField(tiff.get(), TIFFTAG_COLORMAP, red, green, blue);
    }
    for (uint32_t y = 0; y < rows; ++y)
        TIFFWriteScanline(tiff.get(), const_cast<uint8_t*>(&pixels[std::size_t{y} * cols * picture.samples]),
                          y, 0);
    return pixels;
}

using TiffPeer = WrittenTiffFiles;

TEST_F(TiffPeer, AgainstReferenceGreyWrittenHere)
{
    const int32_t im = noiseImage(123, 45, 1);
    ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
    const Peer tiff = openPeer(file.name(), "r");
    ASSERT_NE(nullptr, tiff);
    EXPECT_EQ(123U, number(tiff.get(), TIFFTAG_IMAGEWIDTH));
    EXPECT_EQ(45U, number(tiff.get(), TIFFTAG_IMAGELENGTH));
    EXPECT_EQ(8U, number(tiff.get(), TIFFTAG_BITSPERSAMPLE));
    EXPECT_EQ(1U, number(tiff.get(), TIFFTAG_SAMPLESPERPIXEL));
    EXPECT_EQ(uint32_t{PHOTOMETRIC_MINISBLACK}, number(tiff.get(), TIFFTAG_PHOTOMETRIC));
    EXPECT_EQ(uint32_t{COMPRESSION_NONE}, number(tiff.get(), TIFFTAG_COMPRESSION));
    EXPECT_EQ(uint32_t{RESUNIT_INCH}, number(tiff.get(), TIFFTAG_RESOLUTIONUNIT));
    float x = 0, y = 0;
    EXPECT_EQ(1, TIFFGetField(tiff.get(), TIFFTAG_XRESOLUTION, &x));
    EXPECT_EQ(1, TIFFGetField(tiff.get(), TIFFTAG_YRESOLUTION, &y));
    EXPECT_FLOAT_EQ(123.0F / 1500.0F, x);
    EXPECT_FLOAT_EQ(45.0F / 1500.0F, y);
    EXPECT_EQ(1U, TIFFNumberOfStrips(tiff.get()));
    EXPECT_EQ(bytesOf(im), peerSamples(tiff.get()));
    I_ImClose(im);
}

TEST_F(TiffPeer, AgainstReferenceColourWrittenHere)
{
    const Bytes pixels = samples(37 * 21 * 3);
    writeColour(37, 21, pixels);
    const Peer tiff = openPeer(file.name(), "r");
    ASSERT_NE(nullptr, tiff);
    EXPECT_EQ(3U, number(tiff.get(), TIFFTAG_SAMPLESPERPIXEL));
    EXPECT_EQ(8U, number(tiff.get(), TIFFTAG_BITSPERSAMPLE));
    EXPECT_EQ(uint32_t{PHOTOMETRIC_RGB}, number(tiff.get(), TIFFTAG_PHOTOMETRIC));
    EXPECT_EQ(uint32_t{PLANARCONFIG_CONTIG}, number(tiff.get(), TIFFTAG_PLANARCONFIG));
    EXPECT_EQ(pixels, peerSamples(tiff.get()));
}

TEST_F(TiffPeer, AgainstReferencePaletteWrittenHere)
{
    const Bytes tables = samples(768);
    const Bytes indices = writePalette(37, 21, tables);
    const Peer tiff = openPeer(file.name(), "r");
    ASSERT_NE(nullptr, tiff);
    EXPECT_EQ(uint32_t{PHOTOMETRIC_PALETTE}, number(tiff.get(), TIFFTAG_PHOTOMETRIC));
    EXPECT_EQ(indices, peerSamples(tiff.get()));
    uint16_t* maps[3] = {};
    ASSERT_EQ(1, TIFFGetField(tiff.get(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]));
    for (std::size_t i = 0; i < 768; ++i)
        EXPECT_EQ(tables[i] << 8, maps[i / 256][i % 256]);
}

TEST_F(TiffPeer, AgainstReferenceCommentWrittenHere)
{
    const std::string comment = "gate oxide, lot 7";
    writeTwelve(comment);
    const Peer tiff = openPeer(file.name(), "r");
    ASSERT_NE(nullptr, tiff);
    const char* text = nullptr;
    ASSERT_EQ(1, TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &text));
    EXPECT_EQ(comment, text);
    EXPECT_EQ((Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}), peerSamples(tiff.get()));
}

TEST_F(TiffPeer, AgainstReferenceFilesOfTheOther)
{
    for (const char* mode : {"wl", "wb"}) {
        for (const PeerPicture& picture : {PeerPicture{1, PHOTOMETRIC_MINISBLACK, mode, false, 40},
                                           PeerPicture{1, PHOTOMETRIC_MINISWHITE, mode, false, 40},
                                           PeerPicture{3, PHOTOMETRIC_RGB, mode, false, 40},
                                           PeerPicture{2, PHOTOMETRIC_MINISBLACK, mode, false, 40},
                                           PeerPicture{1, PHOTOMETRIC_PALETTE, mode, true, 40},
                                           // Strips that follow one another read as one.
                                           PeerPicture{1, PHOTOMETRIC_MINISBLACK, mode, false, 7},
                                           PeerPicture{3, PHOTOMETRIC_RGB, mode, false, 1}}) {
            SCOPED_TRACE(std::string(mode) + ", samples " + std::to_string(picture.samples) +
                         ", photometric " + std::to_string(picture.photometric) + ", rows " +
                         std::to_string(picture.rowsPerStrip));
            const Bytes pixels = writeByPeer(file.name(), picture);
            const int32_t im = I_ReadImageFile(file.name());
            ASSERT_NE(0, im) << errorText();
            EXPECT_EQ(picture.palette        ? PIX_PALETTE
                      : picture.samples == 3 ? PIX_RGB24
                      : picture.samples == 2 ? PIX_WORD
                                             : PIX_BYTE,
                      I_ImGetType(im));
            EXPECT_EQ(pixels, bytesOf(im));
            char comment[80];
            int32_t length = 80, cols = 0, rows = 0, inverted = 0, count = 0;
            FILE* in =
                I_ReadStdTiffHeader(file.name(), &cols, &rows, comment, &length, nullptr, &count, &inverted);
            ASSERT_NE(nullptr, in);
            std::fclose(in);
            EXPECT_EQ(30, cols);
            EXPECT_EQ(40, rows);
            EXPECT_EQ(picture.samples, count);
            EXPECT_STREQ("by another hand", comment);
            EXPECT_EQ(picture.photometric == PHOTOMETRIC_MINISWHITE, inverted == 1);
            if (picture.palette) {
                uint8_t entries[1024];
                I_ImGetParam(entries, sizeof entries, 13, im);
                for (uint32_t i = 0; i < 256; ++i) {
                    EXPECT_EQ(255 - i, entries[4 * i + 2]);
                    EXPECT_EQ(i * 3 % 256, entries[4 * i + 1]);
                    EXPECT_EQ(i * 7 % 256, entries[4 * i]);
                }
            }
            const int32_t other = I_ImOpen(30, 40, picture.samples == 3 ? PIX_RGB24 : PIX_BYTE);
            EXPECT_EQ(1, I_ReadTiffFile(file.name(), 0, 0, nullptr, nullptr, other)) << errorText();
            if (picture.samples != 2) {
                EXPECT_EQ(pixels, bytesOf(other));
            }
            closeImages({im, other});
        }
    }
}

// What becomes of a sample file: read right, refused with a text, or, where the pixels do not lie in one plain run, read
// as the bytes that stand at its first strip.
struct Sample {
    const char* name;
    const char* text; // null: read right; "": read as bytes
};
constexpr const char* kBytes = "";
constexpr const char* kPlanar = "Planar configuration 2 not supported";

constexpr Sample kSamples[] = {
    {"cramps.tif", kBytes},
    {"fax2d.tif", "1 bits per pixel not supported"},
    {"flower-minisblack-02.tif", "2 bits per pixel not supported"},
    {"flower-minisblack-04.tif", "4 bits per pixel not supported"},
    {"flower-minisblack-06.tif", "6 bits per pixel not supported"},
    {"flower-minisblack-08.tif", nullptr},
    {"flower-minisblack-10.tif", "10 bits per pixel not supported"},
    {"flower-minisblack-12.tif", "12 bits per pixel not supported"},
    {"flower-minisblack-14.tif", "14 bits per pixel not supported"},
    {"flower-minisblack-16.tif", "16 bits per pixel not supported"},
    {"flower-minisblack-24.tif", "24 bits per pixel not supported"},
    {"flower-minisblack-32.tif", "32 bits per pixel not supported"},
    {"flower-palette-02.tif", "2 bits per pixel not supported"},
    {"flower-palette-04.tif", "4 bits per pixel not supported"},
    {"flower-palette-08.tif", nullptr},
    {"flower-palette-16.tif", "16 bits per pixel not supported"},
    {"flower-rgb-contig-02.tif", "2 bits per pixel not supported"},
    {"flower-rgb-contig-04.tif", "4 bits per pixel not supported"},
    {"flower-rgb-contig-08.tif", nullptr},
    {"flower-rgb-contig-10.tif", "10 bits per pixel not supported"},
    {"flower-rgb-contig-12.tif", "12 bits per pixel not supported"},
    {"flower-rgb-contig-14.tif", "14 bits per pixel not supported"},
    {"flower-rgb-contig-16.tif", "16 bits per pixel not supported"},
    {"flower-rgb-contig-24.tif", "24 bits per pixel not supported"},
    {"flower-rgb-contig-32.tif", "32 bits per pixel not supported"},
    {"flower-rgb-planar-02.tif", "2 bits per pixel not supported"},
    {"flower-rgb-planar-04.tif", "4 bits per pixel not supported"},
    {"flower-rgb-planar-08.tif", kPlanar},
    {"flower-rgb-planar-10.tif", "10 bits per pixel not supported"},
    {"flower-rgb-planar-12.tif", "12 bits per pixel not supported"},
    {"flower-rgb-planar-14.tif", "14 bits per pixel not supported"},
    {"flower-rgb-planar-16.tif", "16 bits per pixel not supported"},
    {"flower-rgb-planar-24.tif", "24 bits per pixel not supported"},
    {"flower-rgb-planar-32.tif", "32 bits per pixel not supported"},
    {"flower-separated-contig-08.tif", kBytes},
    {"flower-separated-contig-16.tif", "16 bits per pixel not supported"},
    {"flower-separated-planar-08.tif", kPlanar},
    {"flower-separated-planar-16.tif", "16 bits per pixel not supported"},
    {"jello.tif", kBytes},
    {"off_l16.tif", "16 bits per pixel not supported"},
    {"oxford.tif", kPlanar},
    {"quad-lzw.tif", kBytes},
    {"quad-tile.tif", kBytes},
    {"smallliz.tif", kBytes},
    {"strike.tif", kBytes},
    {"text.tif", "4 bits per pixel not supported"},
    {"ycbcr-cat.tif", kBytes},
};

const Sample* sampleOf(const std::string& name)
{
    const auto* found = std::find_if(std::begin(kSamples), std::end(kSamples),
                                     [&](const Sample& sample) { return name == sample.name; });
    return found == std::end(kSamples) ? nullptr : found;
}

// The picture is what libtiff makes of it.
void expectReadRight(const std::string& name)
{
    const Peer tiff = openPeer(name, "r");
    ASSERT_NE(nullptr, tiff);
    const int32_t im = I_ReadImageFile(name.c_str());
    ASSERT_NE(0, im) << errorText();
    EXPECT_EQ(peerSamples(tiff.get()), bytesOf(im));
    I_ImClose(im);
}

void expectSampleRefused(const std::string& name, const char* text)
{
    const int32_t im = byteImage(20, 20);
    clearError();
    EXPECT_EQ(0, I_ReadTiffFile(name.c_str(), 0, 0, nullptr, nullptr, im));
    EXPECT_EQ(37, I_GetError(nullptr, 0));
    EXPECT_EQ(text, errorText());
    clearError();
    EXPECT_EQ(0, I_ReadImageFile(name.c_str()));
    EXPECT_EQ(32, I_GetError(nullptr, 0)) << "and no raw file either";
    EXPECT_THAT(errorText(), testing::StartsWith("Illegal raw file header in "));
    I_ImClose(im);
}

// No more is promised than that the bytes at the first strip arrive, zeros behind the file's end.
void expectBytes(const std::string& name)
{
    int32_t cols = 0, rows = 0, count = 0;
    uint8_t tables[3][256];
    VexaTiffPalette palette = {tables[0], tables[1], tables[2]};
    FILE* in = I_ReadStdTiffHeader(name.c_str(), &cols, &rows, nullptr, nullptr, &palette, &count, nullptr);
    ASSERT_NE(nullptr, in) << errorText();
    const long start = std::ftell(in);
    std::fclose(in);
    const int32_t samplesRead = count == 3 ? 3 : 1;
    const int32_t im = I_ImOpen(cols, rows, count == 3 ? PIX_RGB24 : PIX_BYTE);
    ASSERT_EQ(1, I_ReadTiffFile(name.c_str(), 0, 0, nullptr, nullptr, im)) << errorText();
    Bytes expected = bytesOfFile(name);
    expected.erase(expected.begin(), expected.begin() + start);
    expected.resize(static_cast<std::size_t>(cols) * static_cast<std::size_t>(rows) *
                    static_cast<std::size_t>(samplesRead));
    EXPECT_TRUE(expected == bytesOf(im));
    I_ImClose(im);
    I_ImClose(I_ReadImageFile(name.c_str()));
}

TEST_F(TiffPeer, AgainstReferenceSampleFiles)
{
    const auto files = sampleFiles("tiff", ".tif");
    if (files.empty())
        GTEST_SKIP() << "no sample files beside this checkout";
    for (const auto& path : files) {
        SCOPED_TRACE(path.filename());
        const Sample* const sample = sampleOf(path.filename());
        ASSERT_NE(nullptr, sample) << "not listed";
        if (!sample->text)
            expectReadRight(path);
        else if (sample->text == kBytes)
            expectBytes(path);
        else
            expectSampleRefused(path, sample->text);
        EXPECT_EQ(0, I_ImCount());
    }
}

} // namespace
} // namespace vexa::test
