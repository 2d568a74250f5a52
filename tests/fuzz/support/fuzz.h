// What the fuzz targets share: an input as a file, numbers drawn from its end, images made small.
#ifndef VEXA_TESTS_FUZZ_SUPPORT_FUZZ_H
#define VEXA_TESTS_FUZZ_SUPPORT_FUZZ_H

#include <cstddef>
#include <cstdint>

#include "vexalib/vexalib.h"

namespace vexa::fuzz
{

// Keeps what the library would show in boxes from the console. Call it before anything else.
void quieten();

// The bytes of an input as a file that any reader can open by its name. It lies in memory.
class InputFile
{
public:
    InputFile();
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    void set(const uint8_t* bytes, std::size_t count);
    const char* name() const { return name_; }

private:
    int descriptor_;
    char name_[64];
};

// Takes numbers from the end of an input, so that the front stays a file. Used up, it gives zeros.
class Numbers
{
public:
    Numbers(const uint8_t* bytes, std::size_t count) : bytes_(bytes), left_(count) {}
    int32_t byte() { return left_ == 0 ? 0 : bytes_[--left_]; }
    // Mostly small, at times as large as they come.
    int32_t coordinate()
    {
        const int32_t value = byte();
        return value < 250 ? value - 100 : static_cast<int32_t>(0x7FFFFF00U * static_cast<uint32_t>(value));
    }

private:
    const uint8_t* bytes_;
    std::size_t left_;
};

// Ends the program, for the fuzzer to keep the input.
void require(bool condition);

} // namespace vexa::fuzz

#endif
