#include "failure.h"

#include <cstdio>

#include "vexalib/status.h"

namespace app
{
namespace
{

Verbosity chosen = Verbosity::normal;

void say(const std::string& sentence)
{
    std::fprintf(stderr, "vexa: %s\n", sentence.c_str());
}

// The library may end a sentence with line ends or blanks.
std::string oneLine(std::string text)
{
    for (char& c : text)
        if (c == '\n' || c == '\r' || c == '\t')
            c = ' ';
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    return text;
}

} // namespace

void failWithLibrarySentence(const std::string& doing)
{
    char text[500] = "";
    const int32_t code = I_GetError(text, sizeof text);
    const std::string sentence = oneLine(text);
    throw Failure(code == 0 || sentence.empty() ? doing : doing + ": " + sentence);
}

void require(bool success, const char* doing)
{
    if (!success)
        failWithLibrarySentence(doing);
}

void note(const std::string& sentence)
{
    if (chosen != Verbosity::quiet)
        say(sentence);
}

void detail(const std::string& sentence)
{
    if (chosen == Verbosity::verbose)
        say(sentence);
}

void setVerbosity(Verbosity verbosity)
{
    chosen = verbosity;
}

Verbosity verbosity()
{
    return chosen;
}

} // namespace app
