// vexa_file_images [SIZE]: operators on pictures of SIZE by SIZE bytes (20000) that are kept in temporary files (in
// I_TMP), beside reading and writing the same bytes plainly, and the most memory that the process ever had.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <vector>

#include "vexalib/vexalib.h"

namespace
{

constexpr int32_t kBandRows = 100;

double seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double peakMegabytes()
{
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// A lattice of squares with a few specks.
void fillPlate(int32_t im, int32_t size, int32_t speck)
{
    std::vector<uint8_t> row(static_cast<std::size_t>(size));
    for (int32_t y = 0; y < size; ++y) {
        for (int32_t x = 0; x < size; ++x)
            row[static_cast<std::size_t>(x)] = static_cast<uint8_t>(
                (x % 500 < 60 && y % 700 < 90 ? 120 : 30) + ((x + y) % 1009 == 0 ? speck : 0));
        I_PutBlockType(0, y, size, 1, row.data(), im, PIX_BYTE);
    }
}

// Bytes of so many pictures, read or written in bands from or to files of their own.
class PlainFiles
{
public:
    explicit PlainFiles(int32_t size)
        : bands_(size / kBandRows), band_(static_cast<std::size_t>(size) * kBandRows)
    {
        for (std::FILE*& file : files_) {
            file = std::tmpfile();
            pass(file, true);
        }
    }
    ~PlainFiles()
    {
        for (std::FILE* file : files_)
            std::fclose(file);
    }
    PlainFiles(const PlainFiles&) = delete;
    PlainFiles& operator=(const PlainFiles&) = delete;

    void move(int32_t reads, int32_t writes)
    {
        for (int32_t i = 0; i < reads; ++i)
            pass(files_[i], false);
        for (int32_t i = 0; i < writes; ++i)
            pass(files_[0], true);
    }

private:
    void pass(std::FILE* file, bool write)
    {
        std::rewind(file);
        for (int32_t band = 0; band < bands_; ++band) {
            const std::size_t moved = write ? std::fwrite(band_.data(), 1, band_.size(), file)
                                            : std::fread(band_.data(), 1, band_.size(), file);
            if (moved != band_.size())
                std::exit(2); // no room on the disk
        }
    }

    int32_t bands_;
    std::vector<char> band_;
    std::FILE* files_[2] = {};
};

} // namespace

int main(int argc, char** argv)
{
    const int32_t size = argc > 1 ? std::atoi(argv[1]) : 20000;
    if (size < kBandRows) {
        std::fprintf(stderr, "vexa_file_images: SIZE is at least %d\n", kBandRows);
        return 2;
    }
    I_ImSetMemType(8);
    const int32_t a = I_ImOpen(size, size, PIX_BYTE);
    const int32_t b = I_ImOpen(size, size, PIX_BYTE);
    if (a == 0 || b == 0)
        return 2;
    fillPlate(a, size, 100);
    fillPlate(b, size, 0);
    uint8_t table[256];
    for (int32_t i = 0; i < 256; ++i)
        table[i] = static_cast<uint8_t>(255 - i);
    uint32_t histogram[256];
    PlainFiles plain(size);
    struct Row {
        const char* name;
        int32_t reads;
        int32_t writes;
        std::function<void()> work;
    };
    const Row rows[] = {
        {"I_Subtract", 2, 1, [&] { I_Subtract(a, b, a, 0, 0); }},
        {"I_LUTMapROI", 1, 1, [&] { I_LUTMapROI(a, a, table); }},
        {"I_CalcHist", 1, 0, [&] { I_CalcHist(histogram, a); }},
        {"I_FindBlobs2", 1, 1, [&] { I_FindBlobs2(0, 200, a, b); }},
    };
    std::printf("%d x %d bytes  seconds  plain  ratio\n", size, size);
    for (const Row& row : rows) {
        const double ours = seconds(row.work);
        const double peer = seconds([&] { plain.move(row.reads, row.writes); });
        std::printf("%-20s %8.2f %6.2f %6.2f\n", row.name, ours, peer, ours / peer);
    }
    std::printf("peak memory %.0f MB\n", peakMegabytes());
    I_ImCloseAll();
    return 0;
}
