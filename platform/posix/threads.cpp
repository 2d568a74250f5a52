#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

#include "platform/posix/posix.h"

namespace vexa::platform::posix
{
namespace
{

using Clock = std::chrono::steady_clock;

struct Timer {
    int32_t number = 0;
    std::chrono::milliseconds period{};
    void (*tick)(void*) = nullptr;
    void* argument = nullptr;
    Timer* next = nullptr;
    std::thread thread;
    std::mutex mutex;
    std::condition_variable wake;
    bool stopped = false;
    bool ownsItself = false; // stopped from its own tick: nobody waits for the thread
};

// The running timers. A timer belongs to the one who takes it off this list.
struct Timers {
    std::mutex mutex;
    Timer* first = nullptr;
    int32_t lastNumber = 0;
};
constinit Timers timers;

// Waits for a moment; false if the timer was stopped before it.
bool waitUntil(Timer& timer, Clock::time_point moment)
{
    std::unique_lock lock(timer.mutex);
    return !timer.wake.wait_until(lock, moment, [&] { return timer.stopped; });
}

void runTimer(Timer* timer)
{
    Clock::time_point due = Clock::now() + timer->period;
    while (waitUntil(*timer, due)) {
        timer->tick(timer->argument);
        // Ticks that came due while this one ran are dropped.
        const Clock::time_point now = Clock::now();
        due += timer->period;
        if (due < now)
            due = now;
    }
    if (timer->ownsItself)
        delete timer;
}

void add(Timer* timer)
{
    const std::lock_guard lock(timers.mutex);
    timers.lastNumber = timers.lastNumber % INT32_MAX + 1;
    timer->number = timers.lastNumber;
    timer->next = timers.first;
    timers.first = timer;
}

Timer* take(int32_t number)
{
    const std::lock_guard lock(timers.mutex);
    for (Timer** link = &timers.first; *link; link = &(*link)->next) {
        Timer* timer = *link;
        if (timer->number == number) {
            *link = timer->next;
            return timer;
        }
    }
    return nullptr;
}

} // namespace

int32_t startTimer(int32_t milliseconds, void (*tick)(void*), void* argument)
{
    if (milliseconds < 1 || !tick)
        return 0;
    // Not one of the library's counted blocks, since the timer's own thread may release it.
    auto* timer = new (std::nothrow) Timer;
    if (!timer)
        return 0;
    timer->period = std::chrono::milliseconds(milliseconds);
    timer->tick = tick;
    timer->argument = argument;
    add(timer);
    const int32_t number = timer->number;
    // Held until the thread object is in place: the first tick may already want to stop its timer.
    std::unique_lock lock(timer->mutex);
    try {
        timer->thread = std::thread(runTimer, timer);
    } catch (const std::system_error&) {
        lock.unlock();
        delete take(number);
        return 0;
    }
    return number;
}

int32_t stopTimer(int32_t number)
{
    Timer* timer = take(number);
    if (!timer)
        return 0;
    std::unique_lock lock(timer->mutex);
    timer->stopped = true;
    if (timer->thread.get_id() == std::this_thread::get_id()) {
        timer->thread.detach();
        timer->ownsItself = true;
        return 1;
    }
    timer->wake.notify_one();
    lock.unlock();
    timer->thread.join();
    delete timer;
    return 1;
}

int32_t startThread(void (*body)(void*), void* argument)
{
    try {
        std::thread(body, argument).detach();
        return 1;
    } catch (const std::system_error&) {
        return 0;
    }
}

// A terminal has one bell of one pitch.
void beep(int32_t hertz, int32_t milliseconds)
{
    if (hertz > 0 && isatty(STDERR_FILENO)) {
        const ssize_t written = write(STDERR_FILENO, "\a", 1);
        static_cast<void>(written); // a bell that cannot be heard is no failure
    }
    if (milliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace vexa::platform::posix
