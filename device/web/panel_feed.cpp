#include "device/web/panel_feed.h"

#include <cstdio>

namespace varn::web {
namespace {

using namespace std::chrono_literals;

constexpr auto step = 100ms;
constexpr unsigned steps_between_lists = 5;
constexpr unsigned steps_between_expiries = 20;

} // namespace

PanelFeed::PanelFeed(Device &device, PanelJobs &jobs, PanelMaintenance &maintenance,
                     std::vector<std::string> addresses)
    : jobs_(jobs), state_(device, jobs, maintenance, std::move(addresses)),
      watch_(&PanelFeed::watch, this) {}

PanelFeed::~PanelFeed() {
    stop();
    watch_.join();
}

void PanelFeed::stop() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
    wanted_.notify_all();
}

std::string PanelFeed::now() {
    const std::lock_guard lock(state_mutex_);
    return state_.text(true);
}

void PanelFeed::hurry() {
    const std::lock_guard lock(mutex_);
    hurry_ = true;
    wanted_.notify_all();
}

bool PanelFeed::take_place() {
    const std::lock_guard lock(mutex_);
    if (listeners_ == max_listeners || ended_)
        return false;
    ++listeners_;
    hurry_ = true;
    published_.text = nullptr; // of an earlier time, perhaps
    wanted_.notify_all();
    return true;
}

PanelFeed::Listener::Listener(PanelFeed &feed) : feed_(feed), granted_(feed.take_place()) {}

PanelFeed::Listener::~Listener() {
    if (!granted_)
        return;
    const std::lock_guard lock(feed_.mutex_);
    --feed_.listeners_;
}

PanelFeed::State PanelFeed::Listener::wait(std::uint64_t after, std::chrono::milliseconds limit) {
    std::unique_lock lock(feed_.mutex_);
    feed_.changed_.wait_for(lock, limit, [&] {
        return feed_.ended_ || (feed_.published_.text && feed_.published_.number != after);
    });
    return feed_.published_.text ? feed_.published_ : State{after, nullptr};
}

bool PanelFeed::Listener::ended() const {
    const std::lock_guard lock(feed_.mutex_);
    return feed_.ended_;
}

void PanelFeed::watch() {
    unsigned steps = 0;
    bool lists = true;
    std::unique_lock lock(mutex_);
    while (!ended_) {
        const bool listened = listeners_ > 0;
        lists = lists || std::exchange(hurry_, false) || steps % steps_between_lists == 0;
        lock.unlock();
        std::string text;
        try {
            jobs_.report();
            if (steps % steps_between_expiries == 0)
                jobs_.expire();
            if (listened) {
                const std::lock_guard gathering(state_mutex_);
                text = state_.text(lists);
                lists = false;
            }
        } catch (const std::exception &error) {
            std::fprintf(stderr, "varnd: panel: %s\n", error.what());
        }
        ++steps;
        lock.lock();
        if (!text.empty() && (!published_.text || *published_.text != text)) {
            published_ = {published_.number + 1, std::make_shared<const std::string>(text)};
            changed_.notify_all();
        }
        // Also after an action the page gets at most ten states a second.
        wanted_.wait_for(lock, step, [this] { return ended_; });
    }
}

} // namespace varn::web
