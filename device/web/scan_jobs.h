/// The scan jobs that hosts started: one that runs, and the last ones that have ended.
#pragma once

#include "device/web/document_format.h"
#include "device/web/engine_socket.h"
#include "device/web/http.h"
#include "device/web/ring_view.h"
#include "device/wire/records.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace varn::web {

struct ScanJob {
    enum class State {
        starting,  ///< no receive thread yet
        running,   ///< the receive thread may be there
        completed, ///< every image went out
        broken_off ///< cancelled or aborted
    };

    /// Who asked for it: a host with a POST, or the operator at the panel.
    enum class Origin { host, stored, preview };

    std::string uuid;
    Origin origin = Origin::host;
    bool only_stored = false;   ///< nothing is scanned for it
    std::atomic<int> pages = 0; ///< delivered to their last byte
    DocumentFormat format = DocumentFormat::jpeg;
    unsigned resolution = 0; ///< dots per inch
    std::atomic<State> state = State::starting;
    std::atomic<bool> cancelled =
        false;               ///< a cancel was asked for; it is repeated until the thread is gone
    bool delivering = false; ///< a client is taking an image
    std::chrono::steady_clock::time_point cancelled_at;
    /// Called when the thread has ended and before another job gets the device.
    std::function<void(State)> at_end;

    // Lent to the receive thread, which reads the descriptor from the word after the start has
    // returned: both stay until the thread is gone.
    EngineSocket action;
    EngineSocket image;
    std::int32_t image_word = -1;
    RingView ring;

    bool has_ended() const { return state == State::completed || state == State::broken_off; }
};
using ScanJobPtr = std::shared_ptr<ScanJob>;

/// One published block.
struct TakenBlock {
    wire::BlockStatus status;
    std::uint32_t ring_index = 0;
};

class ScanJobs {
public:
    /// root      device tree; link_fd engine link
    ScanJobs(std::string root, int link_fd);
    ~ScanJobs();
    ScanJobs(const ScanJobs &) = delete;
    ScanJobs &operator=(const ScanJobs &) = delete;

    struct Started {
        int status; ///< of the POST
        std::string uuid;
    };
    struct Claim {
        bool granted;
        ScanJobPtr job;
    };
    /// Takes the device for a new job. Waits for a job that is over but still has its thread: a
    /// start beside that thread would set the engine going and then be refused. A job that still
    /// runs keeps the device, except that USB takes precedence, and that a job which is only to
    /// be stored needs no thread. Every claim that is granted must be followed by start().
    Claim claim(Interface interface, bool only_stored);
    /// Starts the scan of a claim. Not to overlap with a capabilities request or another start.
    /// xml       settings; the library wants it writable
    Started start(const ScanJobPtr &job, std::string &xml, Interface interface);

    /// The same for the job of the panel that `job` describes: its identifier and format are set.
    /// begin     starts it with the action socket and the word of the image socket; 201, or why not
    Started start_stored(const ScanJobPtr &job,
                         const std::function<std::int32_t(int action, void *image)> &begin);

    /// Those that are known, the oldest first.
    std::vector<ScanJobPtr> known() const;
    /// The job that has the device; null when it is free.
    ScanJobPtr current() const;
    /// A job by its identifier, in either case; null when it is not known (any more).
    ScanJobPtr find(const std::string &uuid) const;
    /// Whether the library's image list still is that of this job.
    bool is_latest(const ScanJobPtr &job) const;

    /// Asks for the end of a job; nothing happens to one that has ended.
    void cancel(const ScanJobPtr &job);
    /// The engine is gone: its scan cannot go on, and the receive thread would take the closed
    /// socket for an endless row of blocks.
    void engine_lost();
    /// No new jobs; the running one is cancelled and waited for.
    void shut_down();
    /// Waits for the end of a job, and for its sockets to be free. False when time runs out.
    bool wait_for_end(const ScanJobPtr &job, std::chrono::milliseconds limit);

    /// Makes the caller the one who takes an image. False when another client does.
    bool begin_delivery(const ScanJobPtr &job);
    void end_delivery(const ScanJobPtr &job);

    enum class Take { block, none, over };
    /// The block that waits for delivery. `over`: there is none to come.
    Take take_block(const ScanJobPtr &job, TakenBlock &block);
    /// The block has gone out, or nobody wants it.
    void block_done(const ScanJobPtr &job);

private:
    bool open_sockets(ScanJob &job) const;
    Started started(const ScanJobPtr &job, std::int32_t result);
    void watch();
    void mark_cancelled(ScanJob &job);
    void press_cancel(ScanJob &job);
    void finish(const ScanJobPtr &job, std::unique_lock<std::mutex> &lock);
    void remember(const ScanJobPtr &job);

    const std::string root_;
    const int link_fd_;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    ScanJobPtr current_;           ///< the job that has, or gets, the receive thread
    std::deque<ScanJobPtr> known_; ///< newest first
    bool closing_ = false;
    bool stopping_ = false;
    std::thread watcher_;
};

} // namespace varn::web
