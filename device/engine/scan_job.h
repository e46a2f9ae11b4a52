/// One scan, from the accepted start to the last image: a thread that moves sheets past the
/// sensor and codes them into the ring.
#pragma once

#include "device/engine/block_queue.h"
#include "device/engine/page_process.h"
#include "device/engine/paper_path.h"
#include "device/engine/tally.h"
#include "device/wire/records.h"

#include <atomic>
#include <mutex>
#include <thread>

namespace varn::engine {

/// Whether the engine can scan with these settings: known source and colour mode, a resolution of
/// 50 to 1200 dpi, and a window of at least one pixel that a picture can hold.
bool is_possible(const wire::ScanParam &param);

class ScanJob {
public:
    ScanJob(const wire::ScanParam &param, const HostSettings &settings, DocumentFormat format,
            PaperPath &paper, Tally &tally, Ring &ring);
    ~ScanJob();

    BlockQueue &queue() { return queue_; }

    /// Something happened on the paper path: the scan ends at the lines that it is at, and the
    /// client is told why once it has taken what was scanned before.
    void interrupt(std::uint32_t why) { interruption_ = why; }
    /// The scan ends now; why is the next thing that the client is told.
    void cancel(std::uint32_t why);
    /// The image client is disconnected instead of being told anything more.
    void drop();
    bool uses_feeder() const { return param_.dwADF != 0; }

    /// Ends the scan, whatever it is doing, and waits for its thread. May be called again.
    void end();

    struct Progress {
        unsigned sheets = 0; ///< begun
        unsigned images = 0; ///< coded
    };
    Progress progress() const { return {sheets_, images_}; }

private:
    enum class Outcome { done, over };

    void run();
    Outcome scan_sheet(unsigned number);
    /// One side of a sheet on its way.
    struct Side {
        OpenSide open;
        std::uint8_t kind = 0; ///< 0 front, 1 back
        bool ends_sheet = true;
        const FaultKind *fault = nullptr; ///< strikes half-way
        bool multipick = false;           ///< found, and to be told in the image's record
    };
    Outcome scan_image(const Side &side);
    Outcome code(const Side &side, const PagePlan &plan, PageCoder &coder);
    QueueItem error_item(std::uint32_t error) const;
    Outcome fail(std::uint32_t error);
    Outcome strike(const FaultKind &fault, bool in_sheet_record = false);
    Outcome fail_in_sheet_record(std::uint32_t error);
    bool more_to_come(unsigned number) const;
    void count_error(std::uint32_t error);
    void count_image();
    unsigned sides() const;
    bool find_overlap(const Sheet &sheet, std::optional<Fault> &fault);
    bool detects_overlap(const Sheet &sheet) const;
    PageForm form(const PagePlan &plan) const;
    wire::BlockStatus image_record(const Side &side, const PagePlan &plan) const;

    const wire::ScanParam param_;
    const HostSettings settings_;
    const DocumentFormat format_;
    PaperPath &paper_;
    Tally &tally_;
    BlockQueue queue_;
    BlockWriter writer_;
    std::atomic<std::uint32_t> interruption_ = wire::err_none;
    std::atomic<unsigned> sheets_ = 0;
    std::atomic<unsigned> images_ = 0;
    std::mutex end_mutex_;
    std::thread thread_;
};

} // namespace varn::engine
