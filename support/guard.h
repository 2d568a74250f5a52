// Guards: what a function changes for its own work is put back on every way out.
#ifndef VEXA_SUPPORT_GUARD_H
#define VEXA_SUPPORT_GUARD_H

#include <utility>

namespace vexa
{

// Runs a function when it goes out of scope, unless it was released.
template <typename Undo>
class [[nodiscard]] Guard
{
public:
    explicit Guard(Undo undo) : undo_(std::move(undo)) {}
    ~Guard()
    {
        if (armed_)
            undo_();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    // The change stands.
    void release() { armed_ = false; }

private:
    Undo undo_;
    bool armed_ = true;
};

} // namespace vexa

#endif
