#include "settings.h"

#include <strings.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

#include "failure.h"
#include "vexalib/parameters.h"

namespace app
{
namespace
{

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool sameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && (a.empty() || strncasecmp(a.data(), b.data(), a.size()) == 0);
}

// The text of a key in the section that was set, as the library reads it; none where there is no such key.
std::optional<std::string> textOf(const std::string& key)
{
    // What no settings file holds.
    const std::string missing = "\x01";
    std::vector<char> text(1 << 20);
    missing.copy(text.data(), missing.size());
    ReadStrParam(text.data(), static_cast<int32_t>(text.size()), key.c_str());
    return text.data() == missing ? std::nullopt : std::optional<std::string>(text.data());
}

// The keys of a section in the order of the file; none where there is no such section.
std::optional<std::vector<std::string>> keysOf(std::istream& file, std::string_view section)
{
    std::optional<std::vector<std::string>> keys;
    bool inside = false;
    for (std::string all; std::getline(file, all);) {
        const std::string_view line = trimmed(all);
        if (line.empty() || line.front() == ';')
            continue;
        if (line.front() == '[') {
            if (inside)
                break; // the first section of a name is the one that is read
            inside = sameName(trimmed(line.substr(1, line.find(']') - 1)), section);
            if (inside)
                keys.emplace();
            continue;
        }
        const std::size_t equals = line.find('=');
        if (inside && equals != std::string_view::npos)
            keys->emplace_back(trimmed(line.substr(0, equals)));
    }
    return keys;
}

void print(const std::string& line)
{
    if (std::fputs((line + "\n").c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        throw Failure("cannot write to the standard output");
}

std::ifstream openFile(const std::string& name)
{
    std::ifstream file(name);
    if (!file || std::filesystem::is_directory(name))
        throw Failure(name + ": cannot read this file");
    return file;
}

void write(const SettingsCommand& command, std::size_t equals)
{
    const std::string key(trimmed(std::string_view(command.setting).substr(0, equals)));
    const std::string text = command.setting.substr(equals + 1);
    if (key.empty() || key.front() == ';' || key.front() == '[')
        throw Failure("a key is not empty and begins neither with \";\" nor with \"[\"");
    if (!WriteStrParam(text.c_str(), key.c_str()))
        throw Failure(command.file + ": cannot write " + key + " to [" + command.section + "]");
}

void printOne(const SettingsCommand& command)
{
    openFile(command.file);
    const std::optional<std::string> text = textOf(command.setting);
    if (!text)
        throw Failure(command.file + ": no key " + command.setting + " in [" + command.section + "]");
    print(*text);
}

void printAll(const SettingsCommand& command)
{
    std::ifstream file = openFile(command.file);
    const auto keys = keysOf(file, trimmed(command.section));
    if (!keys)
        throw Failure(command.file + ": no section [" + command.section + "]");
    for (const std::string& key : *keys)
        print(key + "=" + textOf(key).value_or(""));
}

} // namespace

int runSettings(const SettingsCommand& command)
{
    SetParamFile(command.file.c_str());
    SetParamAppName(command.section.c_str());
    SetWriteDefaultParam(0);
    if (*GetParamFile() == '\0' || trimmed(command.section).empty())
        throw Failure("a settings file and a section are needed");
    const std::size_t equals = command.setting.find('=');
    if (equals != std::string::npos)
        write(command, equals);
    else
        command.setting.empty() ? printAll(command) : printOne(command);
    return 0;
}

} // namespace app
