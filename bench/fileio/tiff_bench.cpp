#include <cstdio>
#include <string>

#include <opencv2/imgcodecs.hpp>

#include "bench/support/bench.h"
#include "vexalib/tiff.h"

namespace vexa::bench
{
namespace
{

const std::string& fileName()
{
    static const std::string name = std::string(P_tmpdir) + "/vexa_bench.tif";
    return name;
}

// The peer's files without compression, as this library writes them.
const std::vector<int> kPlain = {cv::IMWRITE_TIFF_COMPRESSION, 1};

const bool kWrite = add({.name = "write TIFF, plain",
                         .bytesMoved = 2,
                         .target = 0.75,
                         .peerName = "opencv imwrite tif",
                         .ours = [](Scene& s) { I_WriteTiffFile(fileName().c_str(), 0, 0, 0, 0, s.a); },
                         .peer = [](Scene& s) { cv::imwrite(fileName(), s.peerA, kPlain); }});

const bool kRead =
    add({.name = "read TIFF, plain",
         .bytesMoved = 2,
         .target = 0.15,
         .peerName = "opencv imread tif",
         .ours = [](Scene& s) { I_ReadTiffFile(fileName().c_str(), 0, 0, nullptr, nullptr, s.dest); },
         .peer = [](Scene& s) { s.peerDest = cv::imread(fileName(), cv::IMREAD_GRAYSCALE); },
         .setUp =
             [](Scene& s) {
                 std::remove(fileName().c_str());
                 cv::imwrite(fileName(), s.peerA, kPlain);
             }});

} // namespace
} // namespace vexa::bench
