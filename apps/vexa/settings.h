// The command that reads and writes a settings file.
#ifndef VEXA_APPS_SETTINGS_H
#define VEXA_APPS_SETTINGS_H

#include <string>

namespace app
{

struct SettingsCommand {
    std::string file;
    std::string section;
    std::string setting; // "key", "key=text", or empty: all keys of the section
};

int runSettings(const SettingsCommand& command);

} // namespace app

#endif
