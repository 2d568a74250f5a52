// The commands of the program. Each returns the exit code, or throws a Failure.
#ifndef VEXA_APPS_COMMANDS_H
#define VEXA_APPS_COMMANDS_H

#include <cstdint>
#include <string>
#include <vector>

#include "inspect.h"
#include "synth.h"

namespace app
{

// 0: no defect; 1: defects found; 2: bad usage or unreadable input.
inline constexpr int kNoDefect = 0;
inline constexpr int kDefects = 1;
inline constexpr int kFailure = 2;

enum class Format { table, csv, json };

struct InspectCommand {
    std::string reference;
    std::string defect;
    InspectSettings settings;
    std::string folder; // empty: only the list is printed
    Format format = Format::table;
};

struct AlignCommand {
    std::string a;
    std::string b;
    AlignSettings settings;
    bool asJson = false;
};

struct SynthCommand {
    SynthSettings settings;
    std::string folder;
};

struct DiffCommand {
    std::string a;
    std::string b;
    std::string out;
    VexaPoint offset = {0, 0};
    int32_t clipMode = 3;
};

struct ConvertCommand {
    std::string in;
    std::string out;
};

int runInspect(const InspectCommand& command);
int runAlign(const AlignCommand& command);
int runSynth(const SynthCommand& command);
int runInfo(const std::vector<std::string>& names);
int runDiff(const DiffCommand& command);
int runConvert(const ConvertCommand& command);

} // namespace app

#endif
