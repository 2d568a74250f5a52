// Raw files against a plain read and write of the same bytes by the C runtime.
#include <cstdio>
#include <string>

#include "bench/support/bench.h"
#include "vexalib/raw_file.h"

namespace vexa::bench
{
namespace
{

constexpr std::size_t kBytes = 2048 * 2048;

std::string fileName(const char* ending)
{
    return std::string(P_tmpdir) + "/vexa_bench" + ending;
}

void plainWrite(const cv::Mat& pixels)
{
    std::FILE* const file = std::fopen(fileName(".plain").c_str(), "wb");
    if (!file)
        return;
    std::fwrite(pixels.data, 1, kBytes, file);
    std::fclose(file);
}

const bool kWrite = add({.name = "write raw file",
                         .bytesMoved = 2,
                         .target = 1.20,
                         .peerName = "fwrite",
                         .ours = [](Scene& s) { I_WriteRawFile(fileName(".raw").c_str(), s.a); },
                         .peer = [](Scene& s) { plainWrite(s.peerA); }});

// Both sides take the memory that they read into anew.
const bool kRead = add({.name = "read raw file",
                        .bytesMoved = 2,
                        .target = 1.20,
                        .peerName = "fread",
                        .ours = [](Scene&) { I_ImClose(I_ReadImageFile(fileName(".raw").c_str())); },
                        .peer =
                            [](Scene& s) {
                                s.peerDest.release();
                                s.peerDest.create(2048, 2048, CV_8UC1);
                                std::FILE* const file = std::fopen(fileName(".plain").c_str(), "rb");
                                if (!file)
                                    return;
                                if (std::fread(s.peerDest.data, 1, kBytes, file) != kBytes)
                                    s.peerDest.setTo(0);
                                std::fclose(file);
                            },
                        .setUp =
                            [](Scene& s) {
                                I_WriteRawFile(fileName(".raw").c_str(), s.a);
                                plainWrite(s.peerA);
                            }});

} // namespace
} // namespace vexa::bench
