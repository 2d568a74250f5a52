// Settings files: keys are read, written and removed; what is written is read back, and no other key changes.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <strings.h>
#include <unistd.h>

#include "tests/fuzz/support/fuzz.h"
#include "vexalib/parameters.h"

using namespace vexa::fuzz;

namespace
{

// A settings file that is written is replaced: it needs a folder. The one in memory, where there is one.
class SettingsFile
{
public:
    SettingsFile()
    {
        for (const char* base : {"/dev/shm", "/tmp"}) {
            folder_ = std::string(base) + "/vexa_fuzz_XXXXXX";
            if (mkdtemp(folder_.data())) {
                name_ = folder_ + "/settings.ini";
                return;
            }
        }
        std::abort();
    }
    ~SettingsFile()
    {
        std::remove(name_.c_str());
        rmdir(folder_.c_str());
    }
    SettingsFile(const SettingsFile&) = delete;
    SettingsFile& operator=(const SettingsFile&) = delete;

    const char* name() const { return name_.c_str(); }
    void set(const uint8_t* bytes, size_t count) const
    {
        std::FILE* const file = std::fopen(name_.c_str(), "wb");
        require(file && std::fwrite(bytes, 1, count, file) == count && std::fclose(file) == 0);
    }

private:
    std::string folder_;
    std::string name_;
};

constexpr const char* kKeys[] = {"k", "K", "Gain", "a b", "x", "", "=", ";c", "[s]"};
constexpr const char* kSections[] = {"S", "s", "Camera", "a b", "]"};

std::string textOf(const char* key)
{
    char text[4000] = "missing";
    ReadStrParam(text, sizeof text, key);
    return text;
}

template <std::size_t N>
const char* pick(const char* const (&names)[N], Numbers& numbers)
{
    return names[static_cast<std::size_t>(numbers.byte()) % N];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count)
{
    static SettingsFile file;
    static const bool quiet = (quieten(), true);
    (void)quiet;
    file.set(bytes, count);
    Numbers numbers(bytes, count);
    SetParamFile(file.name());
    SetParamAppName(pick(kSections, numbers));
    SetWriteDefaultParam(0);
    const char* const key = pick(kKeys, numbers);
    const char* const other = pick(kKeys, numbers);

    ReadLongParam(5, key);
    ReadDblParam(5.0, key);
    int32_t whole[4] = {};
    require(ReadIArrayParam(whole, 4, key) <= 4);
    double real[300] = {};
    require(ReadDArrayParam(real, 300, key) <= 300);

    const std::string before = textOf(other);
    const bool same = strcasecmp(key, other) == 0;
    if (WriteLongParam(-77, key)) {
        require(ReadLongParam(5, key) == -77);
        require(same || textOf(other) == before);
        require(WriteStrParam(nullptr, key) == 1);
        require(same || textOf(other) == before);
    }
    SetWriteDefaultParam(1);
    ReadIArrayParam(whole, 4, other);
    textOf(key);
    return 0;
}
