// What ends a command: one sentence for the standard error stream.
#ifndef VEXA_APPS_FAILURE_H
#define VEXA_APPS_FAILURE_H

#include <stdexcept>
#include <string>

namespace app
{

class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// A failure of a library call: what was being done, and the library's own sentence.
[[noreturn]] void failWithLibrarySentence(const std::string& doing);
// Ends the command unless the library call succeeded.
void require(bool success, const char* doing);

// One line on the standard error stream that is no failure, unless the user asked for quiet.
void note(const std::string& sentence);
// A line for those who asked for more.
void detail(const std::string& sentence);
enum class Verbosity { quiet, normal, verbose };
void setVerbosity(Verbosity verbosity);
Verbosity verbosity();

} // namespace app

#endif
