#include "device/engine/scan_job.h"

#include "device/engine/files.h"
#include "device/engine/strip_feed.h"

#include <algorithm>
#include <array>
#include <chrono>

namespace varn::engine {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array<std::uint32_t, 5> sources = {0, 4, 6, 7, 12};
constexpr std::uint32_t longest_side = 65500; // what a JPEG can hold
constexpr std::uint32_t widest_window = 16384;

constexpr std::uint8_t detect_multipick = 4;            // byMiscOptions
constexpr std::uint32_t multipick_continues = 0x400000; // dwImageProcess2
constexpr std::uint32_t black_is_zero = 0x2000000;

constexpr unsigned slow_pick_ms = 800;

bool has_two_sides(std::uint32_t source) { return source == 4 || source == 7 || source == 12; }

bool is_possible_resolution(std::uint16_t dpi) { return dpi >= 50 && dpi <= 1200; }

} // namespace

bool is_possible(const wire::ScanParam &param) {
    const wire::ScanWindow &window = param.window;
    const std::uint64_t overscan = param.byMiscOptions & 8 ? 2 * param.byOverScanLines : 0;
    const std::uint64_t right = std::uint64_t{window.xPos} + window.xExtent;
    const std::uint64_t bottom = std::uint64_t{window.yPos} + window.yExtent + overscan;
    return std::ranges::find(sources, std::uint32_t{param.dwADF}) != sources.end() &&
           param.byOutDataType >= 1 && param.byOutDataType <= 3 &&
           is_possible_resolution(param.wXresolution) &&
           is_possible_resolution(param.wYresolution) && window.xExtent > 0 && window.yExtent > 0 &&
           right <= widest_window && bottom <= longest_side;
}

ScanJob::ScanJob(const wire::ScanParam &param, const HostSettings &settings, DocumentFormat format,
                 PaperPath &paper, Tally &tally, Ring &ring)
    : param_(param), settings_(settings), format_(format), paper_(paper), tally_(tally),
      queue_(ring), writer_(queue_) {
    thread_ = std::thread([this] {
        try {
            run();
        } catch (const std::exception &error) {
            log_line(std::string("scan broken off: ") + error.what());
            fail(wire::err_abort_scan);
        }
    });
}

ScanJob::~ScanJob() { end(); }

void ScanJob::end() {
    const std::lock_guard lock(end_mutex_);
    queue_.close();
    if (thread_.joinable())
        thread_.join();
}

void ScanJob::run() {
    unsigned number = 1;
    while (queue_.wait_for_turn(number)) {
        sheets_ = number;
        if (scan_sheet(number) == Outcome::over)
            return;
        ++number;
    }
}

ScanJob::Outcome ScanJob::scan_sheet(unsigned number) {
    std::optional<Fault> fault = paper_.take_fault(number, !uses_feeder());
    if (fault && fault->kind->effect == FaultEffect::slow) {
        queue_.pause(slow_pick_ms);
        tally_.slow_pick();
        fault.reset();
    }
    const auto fault_at = [&](FaultPlace place) {
        return fault && fault->place == place ? fault->kind : nullptr;
    };
    if (uses_feeder() && paper_.feeder_obstacle() != wire::err_none)
        return fail(paper_.feeder_obstacle());
    if (fault_at(FaultPlace::start) && fault->kind->effect != FaultEffect::overlap)
        return strike(*fault->kind);

    std::unique_ptr<MovingSheet> moving;
    if (uses_feeder() && !(moving = paper_.pick()))
        return fail(paper_.feeder_obstacle());
    if (moving)
        tally_.sheet();
    const Sheet sheet = moving ? moving->sheet() : paper_.on_glass();
    const bool multipick = moving && find_overlap(sheet, fault);
    for (unsigned i = 0; i < sides(); ++i) {
        Side side;
        side.open = [&](const ScanArea &area) {
            return scan_side(sheet, i == 1, paper_.sheet_dir(), area);
        };
        side.kind = static_cast<std::uint8_t>(i);
        side.ends_sheet = i + 1 == sides();
        side.fault = i == 0 ? fault_at(FaultPlace::middle) : nullptr;
        side.multipick = multipick;
        if (scan_image(side) == Outcome::over)
            return Outcome::over;
    }
    if (fault_at(FaultPlace::end))
        return strike(*fault->kind, true);

    QueueItem record{QueueItem::Kind::sheet, {}, false};
    record.status.byFlowStatus = more_to_come(number) ? flow_more : flow_finished;
    queue_.push(record);
    return record.status.byFlowStatus == flow_more ? Outcome::done : Outcome::over;
}

/// Whether the host is to know that two sheets go through at once. `fault` comes out as what ends
/// the scan for it, if anything does.
bool ScanJob::find_overlap(const Sheet &sheet, std::optional<Fault> &fault) {
    const bool provoked = fault && fault->kind->effect == FaultEffect::overlap;
    Fault found = {find_named(fault_kinds, "multipick"), 1, FaultPlace::middle};
    if (provoked && fault->place == FaultPlace::end)
        found.place = FaultPlace::end;
    if (provoked)
        fault.reset();
    if (!(sheet.is_double || provoked) || !detects_overlap(sheet))
        return false;
    if (param_.dwImageProcess2 & multipick_continues)
        count_error(wire::err_multipick);
    else
        fault = found;
    return true;
}

/// The sheets lie on each other over their whole length. What is no longer than the host allows
/// passes for a slip of paper that was stuck on.
bool ScanJob::detects_overlap(const Sheet &sheet) const {
    if (!(param_.byMiscOptions & detect_multipick))
        return false;
    ScanArea path;
    path.width = 1;
    path.height = longest_side;
    path.x_dpi = param_.wXresolution;
    path.y_dpi = param_.wYresolution;
    return scan_side(sheet, false, paper_.sheet_dir(), path)->sheet().height >
           settings_.overlap_ignored;
}

ScanJob::Outcome ScanJob::scan_image(const Side &side) {
    const PagePlan plan = plan_page(param_, settings_, side.open);
    writer_.set_image(images_);
    writer_.set_delay(paper_.pace().ms_per_block); // before the coder takes its first block
    const auto coder = make_coder(format_, form(plan), writer_, paper_.sheet_dir());
    if (code(side, plan, *coder) == Outcome::over)
        return Outcome::over;
    if (!coder->finish())
        return fail(wire::err_abort_scan);
    count_image();
    writer_.finish(image_record(side, plan), side.ends_sheet);
    return Outcome::done;
}

ScanJob::Outcome ScanJob::code(const Side &side, const PagePlan &plan, PageCoder &coder) {
    const auto rows = side.open(plan.area);
    StripFeed feed(*rows, plan);
    const unsigned ms_per_strip = paper_.pace().ms_per_strip;
    constexpr unsigned strip_rows = StripFeed::strip_rows;
    const auto begun = Clock::now();
    for (std::uint32_t line = 0; line < plan.area.height; line += strip_rows) {
        if (side.fault && line + strip_rows > plan.area.height / 2)
            return strike(*side.fault);
        if (interruption_ != wire::err_none)
            return fail(interruption_);
        queue_.pause(ms_per_strip);
        const StripFeed::Strip strip = feed.next();
        if (queue_.closed() || !coder.write(strip.rows, strip.count))
            return fail(wire::err_abort_scan);
        const std::uint32_t done = line + strip.count;
        if (writer_.cut_pays((Clock::now() - begun) * (plan.area.height - done) / done))
            coder.cut();
    }
    return Outcome::done;
}

QueueItem ScanJob::error_item(std::uint32_t error) const {
    QueueItem item;
    item.status.dwLastErr = error;
    item.status.dwImageIndex = images_.load();
    item.status.dwBlockCount = ring_block_count;
    item.status.byDataCheck = error == wire::err_multipick ? 1 : 0;
    return item;
}

void ScanJob::cancel(std::uint32_t why) { queue_.close(error_item(why)); }

void ScanJob::drop() { queue_.close(QueueItem{QueueItem::Kind::drop, {}, false}); }

ScanJob::Outcome ScanJob::strike(const FaultKind &fault, bool in_sheet_record) {
    if (fault.effect == FaultEffect::drop) {
        queue_.push({QueueItem::Kind::drop, {}, false});
        return Outcome::over;
    }
    if (fault.effect == FaultEffect::hatch)
        paper_.set_hatch(true);
    if (fault.effect == FaultEffect::tray)
        paper_.set_tray(false);
    return in_sheet_record ? fail_in_sheet_record(fault.error) : fail(fault.error);
}

ScanJob::Outcome ScanJob::fail(std::uint32_t error) {
    count_error(error);
    queue_.push(error_item(error));
    return Outcome::over;
}

ScanJob::Outcome ScanJob::fail_in_sheet_record(std::uint32_t error) {
    count_error(error);
    QueueItem item{QueueItem::Kind::sheet, {}, false};
    item.status.dwLastErr = error;
    queue_.push(item);
    return Outcome::over;
}

bool ScanJob::more_to_come(unsigned number) const {
    const unsigned limit = param_.wPagesToScan;
    return uses_feeder() && (limit == 0 || number * sides() < limit) && (paper_.sensors() & 2);
}

void ScanJob::count_error(std::uint32_t error) {
    if (!queue_.closed())
        tally_.error(error);
}

void ScanJob::count_image() {
    ++images_;
    tally_.image(uses_feeder());
}

unsigned ScanJob::sides() const { return has_two_sides(param_.dwADF) ? 2 : 1; }

PageForm ScanJob::form(const PagePlan &plan) const {
    PageForm form;
    form.width = plan.area.width;
    form.height = plan.area.height;
    form.kind = plan.kind;
    form.x_dpi = param_.wXresolution;
    form.y_dpi = param_.wYresolution;
    form.compression_level = param_.byCompression;
    form.black_is_zero = param_.dwImageProcess2 & black_is_zero;
    return form;
}

wire::BlockStatus ScanJob::image_record(const Side &side, const PagePlan &plan) const {
    wire::BlockStatus status;
    status.dwLastErr = wire::err_image_complete;
    status.byImageKind = side.kind;
    status.dwImageHeight = plan.area.height;
    status.dwImageWidth = plan.area.width;
    status.dwBytesPerLine = bytes_per_line(form(plan));
    status.byColorDetected = plan.colour_found ? 1 : 0;
    status.wCropBlank =
        static_cast<std::uint16_t>((plan.cropped ? 0x001 : 0) | (plan.blank ? 0x100 : 0));
    status.byDataCheck = side.multipick ? 1 : 0;
    return status;
}

} // namespace varn::engine
