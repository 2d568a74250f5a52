// Files written here, for other readers.
#ifndef VEXA_TESTS_FILEIO_PEERS_WRITTEN_TIFF_FILES_H
#define VEXA_TESTS_FILEIO_PEERS_WRITTEN_TIFF_FILES_H

#include "tests/fileio/tiff_files.h"

namespace vexa::test
{

inline Bytes samples(std::size_t count)
{
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(i * 13 + i / 256);
    return bytes;
}

class WrittenTiffFiles : public TiffFiles
{
protected:
    void writeColour(int32_t cols, int32_t rows, const Bytes& pixels)
    {
        const int32_t im = I_ImOpen(cols, rows, PIX_RGB24);
        ASSERT_NE(0, I_PutBlockType(0, 0, cols, rows, pixels.data(), im, PIX_RGB24));
        ASSERT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im));
        I_ImClose(im);
    }
    // The result is the indices; red, green and blue stand behind each other in the tables.
    Bytes writePalette(int32_t cols, int32_t rows, const Bytes& tables)
    {
        I_SetColorProcMode(0);
        const int32_t im = noiseImage(cols, rows, 2);
        const Bytes indices = bytesOf(im);
        EXPECT_EQ(1, I_ApplyPalette(&tables[0], &tables[256], &tables[512], im));
        EXPECT_EQ(1, I_WriteTiffFile(file.name(), 0, 0, 0, 0, im)) << errorText();
        I_SetColorProcMode(3);
        I_ImClose(im);
        return indices;
    }
    // Four by three pixels, 1 to 12.
    void writeTwelve(const std::string& comment)
    {
        FILE* out = I_WriteTiffHeader(file.name(), 4, 3, comment.c_str(),
                                      static_cast<int32_t>(comment.size()) + 1, nullptr);
        ASSERT_NE(nullptr, out);
        const int32_t im = byteImage({{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}});
        ASSERT_EQ(1, I_WriteTiffWindow(out, 0, 0, 4, 3, im));
        std::fclose(out);
        I_ImClose(im);
    }
};

} // namespace vexa::test

#endif
