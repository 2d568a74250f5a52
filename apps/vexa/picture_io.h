// Picture files: BMP and raw through the library; PNG, JPEG and TIFF through their own libraries.
#ifndef VEXA_APPS_PICTURE_IO_H
#define VEXA_APPS_PICTURE_IO_H

#include <cstdint>
#include <string>
#include <vector>

#include "image.h"

namespace app
{

// What a file held, beside its pixels.
struct FileFacts {
    std::string format;    // "PNG"
    int32_t bits = 8;      // of a sample
    int32_t samples = 1;   // of a pixel, with an alpha channel
    bool color = false;    // not all samples are one grey value
    bool floating = false; // samples are floating-point numbers
    bool foreign = false;  // pixels of an application's own, whose meaning is not known
};

struct Picture {
    std::string name;
    FileFacts facts;
    std::vector<std::string> headers; // what the file's headers say, a fact a line
    Image image;                      // PIX_BYTE, or PIX_BGR24 where the file has colour; as read if foreign
};

// Reads a picture of any of the five formats; ends the command with a sentence where that is not possible. Only examining
// lets foreign pixels pass.
Picture examinePicture(const std::string& name);
Picture readPicture(const std::string& name);
// The same as grey bytes. What is dropped on the way is said in one line.
Picture readGreyPicture(const std::string& name);

// Whether a name's ending tells a format that is written: .png, .bmp, .tif or .tiff.
bool isWritableName(const std::string& name);
// Writes a picture to a path, in the format that the ending of another name tells.
void storePicture(const Pixels& pixels, const std::string& path, const std::string& name);
std::vector<uint8_t> encodePng(const Pixels& pixels);
// Reads IN and writes OUT in the format that its ending tells: those of isWritableName, or .raw.
void convertPicture(const std::string& in, const std::string& out);

} // namespace app

#endif
