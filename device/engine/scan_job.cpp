#include "device/engine/scan_job.h"

#include "device/engine/files.h"
#include "device/engine/pictures/jpeg_coder.h"
#include "device/engine/pictures/pixels.h"

#include <algorithm>
#include <array>
#include <vector>

namespace varn::engine {
namespace {

enum OutDataType : std::uint8_t { bi_level = 1, grey = 2, colour = 3 };

constexpr std::array<std::uint32_t, 5> sources = {0, 4, 6, 7, 12};
constexpr std::uint32_t longest_side = 65500; // what a JPEG can hold
constexpr std::uint32_t widest_window = 16384;
constexpr unsigned strip_rows = 16; // a row of JPEG blocks

bool has_two_sides(std::uint32_t source) { return source == 4 || source == 7 || source == 12; }

bool is_possible_resolution(std::uint16_t dpi) { return dpi >= 50 && dpi <= 1200; }

/// Makes coded rows out of scanned ones: the place for every step between sensor and coder.
class PageProcess {
public:
    explicit PageProcess(const wire::ScanParam &param)
        : type_(param.byOutDataType), channel_(param.byChannelDropOut),
          threshold_(param.byHalftoneThreshold) {}

    const void *operator()(const std::vector<Pixel> &pixels, std::size_t count) {
        if (type_ == colour)
            return pixels.data();
        grey_.resize(pixels.size());
        to_grey(pixels.data(), count, channel_, grey_.data());
        if (type_ == bi_level)
            to_bi_level(grey_.data(), count, threshold_);
        return grey_.data();
    }

private:
    std::uint8_t type_;
    std::uint8_t channel_;
    std::uint8_t threshold_;
    std::vector<std::uint8_t> grey_;
};

JpegForm jpeg_form(const wire::ScanParam &param) {
    JpegForm form;
    form.width = param.window.xExtent;
    form.height = param.window.yExtent;
    form.colour = param.byOutDataType == colour;
    form.x_dpi = param.wXresolution;
    form.y_dpi = param.wYresolution;
    form.quality = jpeg_quality(param.byCompression);
    return form;
}

} // namespace

bool is_possible(const wire::ScanParam &param) {
    const wire::ScanWindow &window = param.window;
    const std::uint64_t right = std::uint64_t{window.xPos} + window.xExtent;
    const std::uint64_t bottom = std::uint64_t{window.yPos} + window.yExtent;
    return std::ranges::find(sources, std::uint32_t{param.dwADF}) != sources.end() &&
           param.byOutDataType >= bi_level && param.byOutDataType <= colour &&
           is_possible_resolution(param.wXresolution) &&
           is_possible_resolution(param.wYresolution) && window.xExtent > 0 && window.yExtent > 0 &&
           right <= widest_window && bottom <= longest_side;
}

ScanJob::ScanJob(const wire::ScanParam &param, PaperPath &paper, Nvram &nvram, Ring &ring)
    : param_(param), paper_(paper), nvram_(nvram), queue_(ring), writer_(queue_) {
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
    const std::optional<Fault> fault = paper_.take_fault(number, !uses_feeder());
    const auto fault_at = [&](FaultPlace place) -> std::uint32_t {
        return fault && fault->place == place ? fault->kind->error : wire::err_none;
    };
    if (uses_feeder() && paper_.feeder_obstacle() != wire::err_none)
        return fail(paper_.feeder_obstacle());
    if (fault_at(FaultPlace::start) != wire::err_none)
        return fail(fault_at(FaultPlace::start));

    std::unique_ptr<MovingSheet> moving;
    if (uses_feeder() && !(moving = paper_.pick()))
        return fail(paper_.feeder_obstacle());
    for (unsigned side = 0; side < sides(); ++side) {
        const auto rows = moving ? moving->scan(side == 1, area())
                                 : scan_side(paper_.on_glass(), false, paper_.sheet_dir(), area());
        const std::uint32_t middle = side == 0 ? fault_at(FaultPlace::middle) : wire::err_none;
        if (scan_image(*rows, side, side + 1 == sides(), middle) == Outcome::over)
            return Outcome::over;
    }
    if (fault_at(FaultPlace::end) != wire::err_none)
        return fail_in_sheet_record(fault_at(FaultPlace::end));

    QueueItem record{QueueItem::Kind::sheet, {}, false};
    record.status.byFlowStatus = more_to_come(number) ? flow_more : flow_finished;
    queue_.push(record);
    return record.status.byFlowStatus == flow_more ? Outcome::done : Outcome::over;
}

ScanJob::Outcome ScanJob::scan_image(RowSource &rows, std::uint32_t kind, bool ends_sheet,
                                     std::uint32_t fault) {
    const std::uint32_t width = param_.window.xExtent;
    const std::uint32_t height = param_.window.yExtent;
    std::vector<Pixel> strip(std::size_t{width} * strip_rows);
    PageProcess process(param_);
    writer_.set_image(images_);
    JpegCoder coder(jpeg_form(param_), writer_);
    for (std::uint32_t line = 0; line < height; line += strip_rows) {
        if (fault != wire::err_none && line + strip_rows > height / 2)
            return fail(fault);
        if (interruption_ != wire::err_none)
            return fail(interruption_);
        const unsigned count = std::min(strip_rows, height - line);
        rows.read(strip.data(), count);
        if (!coder.write(process(strip, std::size_t{width} * count), count))
            return fail(wire::err_abort_scan);
    }
    if (!coder.finish())
        return fail(wire::err_abort_scan);
    count_image();
    writer_.finish(image_record(kind), ends_sheet);
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
    if (queue_.closed())
        return;
    const auto one_more = [](wire::u16le &count) { count = static_cast<std::uint16_t>(count + 1); };
    if (error == wire::err_jam || error == wire::err_jam_exit)
        nvram_.change([&](wire::NvramTable &table) { one_more(table.jam_events); });
    if (error == wire::err_mispick)
        nvram_.change([&](wire::NvramTable &table) { one_more(table.mispick_events); });
    if (error == wire::err_multipick)
        nvram_.change([&](wire::NvramTable &table) { one_more(table.multipick_events); });
}

void ScanJob::count_image() {
    ++images_;
    nvram_.change([&](wire::NvramTable &table) {
        wire::u32le &count = uses_feeder() ? table.adf_pages : table.flatbed_pages;
        count = count + 1;
    });
}

unsigned ScanJob::sides() const { return has_two_sides(param_.dwADF) ? 2 : 1; }

ScanArea ScanJob::area() const {
    ScanArea area;
    area.x = param_.window.xPos;
    area.y = param_.window.yPos;
    area.width = param_.window.xExtent;
    area.height = param_.window.yExtent;
    area.x_dpi = param_.wXresolution;
    area.y_dpi = param_.wYresolution;
    area.background = param_.byMiscOptions & 1 ? black : white;
    return area;
}

wire::BlockStatus ScanJob::image_record(std::uint32_t kind) const {
    const std::uint8_t type = param_.byOutDataType;
    const std::uint32_t bits = type == colour ? 24 : type == grey ? 8 : 1;
    wire::BlockStatus status;
    status.dwLastErr = wire::err_image_complete;
    status.byImageKind = static_cast<std::uint8_t>(kind);
    status.dwImageHeight = param_.window.yExtent;
    status.dwImageWidth = param_.window.xExtent;
    status.dwBytesPerLine = (param_.window.xExtent * bits + 7) / 8;
    return status;
}

} // namespace varn::engine
