// How far the library is, on a terminal.
#ifndef VEXA_APPS_PROGRESS_H
#define VEXA_APPS_PROGRESS_H

namespace app
{

// Shows the library's progress on the standard error stream while it lives, if that is a terminal.
class Progress
{
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
};

} // namespace app

#endif
