#include <cstdio>
#include <string>

#include <opencv2/imgcodecs.hpp>

#include "bench/support/bench.h"

namespace vexa::bench
{
namespace
{

const std::string& fileName()
{
    static const std::string name = std::string(P_tmpdir) + "/vexa_bench.bmp";
    return name;
}

const bool kWrite = add({.name = "write BMP",
                         .bytesMoved = 2,
                         .target = 0.85,
                         .peerName = "opencv imwrite bmp",
                         .ours = [](Scene& s) { I_WriteBMP(fileName().c_str(), s.a); },
                         .peer = [](Scene& s) { cv::imwrite(fileName(), s.peerA); }});

const bool kRead = add({.name = "read BMP",
                        .bytesMoved = 2,
                        .target = 0.40,
                        .peerName = "opencv imread bmp",
                        .ours = [](Scene&) { I_ImClose(I_ReadBMP(fileName().c_str())); },
                        .peer = [](Scene& s) { s.peerDest = cv::imread(fileName(), cv::IMREAD_GRAYSCALE); },
                        .setUp = [](Scene& s) { cv::imwrite(fileName(), s.peerA); }});

} // namespace
} // namespace vexa::bench
