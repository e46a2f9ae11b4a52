/// Handing the blocks of an image from the engine's ring to a client.
///
/// The library also offers a semaphore that it posts at the end of each image. It is not used
/// here: it tells no more than the records do, each wait tears it down, and a wait that missed a
/// post takes five seconds.

#include "device/web/handlers.h"
#include "device/web/interfaces.h"
#include "device/web/pdf_writer.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

namespace varn::web {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto poll_step = 500us;
/// Clients give up on a request after thirty seconds or more.
constexpr auto first_block_limit = 25s;
/// The library watches its own 300 s for each block; a block that takes longer is not to come.
constexpr auto next_block_limit = 310s;
constexpr auto end_limit = 3s;

/// Nobody else takes an image of the job meanwhile.
class Delivery {
public:
    Delivery(ScanJobs &jobs, const ScanJobPtr &job)
        : jobs_(jobs), job_(job), begun_(jobs.begin_delivery(job)) {}
    ~Delivery() {
        if (begun_)
            jobs_.end_delivery(job_);
    }
    Delivery(const Delivery &) = delete;
    Delivery &operator=(const Delivery &) = delete;

    explicit operator bool() const { return begun_; }

private:
    ScanJobs &jobs_;
    const ScanJobPtr &job_;
    const bool begun_;
};

ScanJobs::Take wait_for_block(ScanJobs &jobs, const ScanJobPtr &job, TakenBlock &block,
                              Clock::duration limit) {
    const auto deadline = Clock::now() + limit;
    for (;;) {
        const ScanJobs::Take take = jobs.take_block(job, block);
        if (take != ScanJobs::Take::none || Clock::now() >= deadline)
            return take;
        std::this_thread::sleep_for(poll_step);
    }
}

bool ends_image(const TakenBlock &block) {
    return block.status.dwLastErr == wire::err_image_complete;
}

/// Bytes of a block. None for an error record, for a record that the library made of a closed
/// socket, which is all zeros, and for one that does not fit the ring.
std::span<const std::byte> bytes_of(const ScanJob &job, const TakenBlock &block) {
    if (block.status.dwLastErr > wire::err_limit)
        return {};
    return job.ring.block(block.ring_index, block.status.dwDataLength);
}

/// The format shows in the first bytes. The library's word for it follows the colour mode, not
/// what was asked for.
std::string_view image_type(const ScanJob &job, std::span<const std::byte> bytes) {
    if (job.format == DocumentFormat::raw)
        return media_type(job.format);
    struct Signature {
        std::string_view magic;
        std::string_view type;
    };
    constexpr Signature signatures[] = {
        {"\xff\xd8\xff", "image/jpeg"},
        {std::string_view("II*\0", 4), "image/tiff"},
        {std::string_view("MM\0*", 4), "image/tiff"},
    };
    for (const Signature &row : signatures)
        if (bytes.size() >= row.magic.size() &&
            std::memcmp(bytes.data(), row.magic.data(), row.magic.size()) == 0)
            return row.type;
    return "application/octet-stream";
}

Response no_image(ScanJobs &jobs, const ScanJobPtr &job) {
    if (!jobs.wait_for_end(job, end_limit))
        return error_response(503, "the job is about to end");
    if (job->state == ScanJob::State::completed)
        return error_response(404, "no more images");
    return error_response(410, "the job was cancelled or aborted");
}

/// From the first block to the last of one image. False when the body broke off.
bool send_image(Device &device, const ScanJobPtr &job, TakenBlock block, ImageSink &sink,
                const std::function<bool()> &is_linked) {
    ScanJobs &jobs = device.jobs();
    PageStore::Page page(device.pages(), job->uuid);
    for (;;) {
        const auto bytes = bytes_of(*job, block);
        if (bytes.empty() || !is_linked() || !sink.write(bytes))
            return false;
        page.write(bytes);
        // The end goes out before the library is told: a failure here still cancels the job.
        const bool last = ends_image(block);
        if (last && !sink.end())
            return false;
        if (last) {
            page.keep();
            job->pages++;
        }
        jobs.block_done(job);
        if (last)
            return true;
        if (wait_for_block(jobs, job, block, next_block_limit) != ScanJobs::Take::block)
            return false;
    }
}

/// All images of a job as one document. An image that breaks off is left out; those before it go
/// out as a document that is whole, and the next request is told of the end of the job.
class PdfDelivery {
public:
    PdfDelivery(ScanJobs &jobs, const ScanJobPtr &job, ImageSink &sink,
                std::function<bool()> is_linked)
        : jobs_(jobs), job_(job), is_linked_(std::move(is_linked)), sink_(sink),
          pdf_(make_pdf_writer(
              [this](std::span<const std::byte> bytes) { return sink_.write(bytes); })) {}

    bool is_possible() const { return pdf_ != nullptr; }

    /// block     the first one of the first image
    void run(TakenBlock block) {
        if (!sink_.begin(media_type(DocumentFormat::pdf)))
            return give_up();
        int pages = 0;
        do {
            std::vector<std::byte> image;
            if (!collect(block, image))
                break;
            if (!pdf_->add_page(std::move(image), job_->resolution))
                return give_up();
            ++pages;
        } while (wait_for_block(jobs_, job_, block, next_block_limit) == ScanJobs::Take::block);
        if (pages == 0 || !is_linked_() || !pdf_->finish() || !sink_.end())
            give_up();
    }
    void give_up() {
        jobs_.cancel(job_);
        jobs_.block_done(job_);
    }

private:
    /// One image. False when it broke off; its last block is done then, too.
    bool collect(TakenBlock &block, std::vector<std::byte> &image) {
        for (;;) {
            const auto bytes = bytes_of(*job_, block);
            image.insert(image.end(), bytes.begin(), bytes.end());
            if (bytes.empty() && block.status.dwLastErr <= wire::err_limit)
                jobs_.cancel(job_);
            if (!is_linked_())
                return false;
            jobs_.block_done(job_);
            if (bytes.empty() || ends_image(block))
                return !bytes.empty();
            if (wait_for_block(jobs_, job_, block, next_block_limit) != ScanJobs::Take::block)
                return false;
        }
    }

    ScanJobs &jobs_;
    const ScanJobPtr &job_;
    const std::function<bool()> is_linked_;
    ImageSink &sink_;
    std::unique_ptr<PdfWriter> pdf_;
};

std::optional<Response> send_pdf(ScanJobs &jobs, const ScanJobPtr &job, const TakenBlock &block,
                                 ImageSink &sink, const std::function<bool()> &is_linked) {
    PdfDelivery delivery(jobs, job, sink, is_linked);
    if (delivery.is_possible()) {
        delivery.run(block);
        return std::nullopt;
    }
    delivery.give_up();
    return error_response(500, "no PDF can be made");
}

} // namespace

std::optional<Response> next_document(Device &device, const Request &request, ImageSink &sink) {
    ScanJobs &jobs = device.jobs();
    const ScanJobPtr job = jobs.find(request.uuid);
    if (!job)
        return error_response(404, "no such job");
    const Delivery delivery(jobs, job);
    if (!delivery)
        return error_response(503, "another client takes an image of this job");

    TakenBlock block;
    switch (wait_for_block(jobs, job, block, first_block_limit)) {
    case ScanJobs::Take::none:
        return error_response(503, "no image yet");
    case ScanJobs::Take::over:
        return no_image(jobs, job);
    case ScanJobs::Take::block:
        break;
    }
    const auto bytes = bytes_of(*job, block);
    if (bytes.empty()) {
        // The library ends a job with an error record by itself; anything else will not end.
        if (block.status.dwLastErr <= wire::err_limit)
            jobs.cancel(job);
        jobs.block_done(job);
        return no_image(jobs, job);
    }
    // What goes out over an interface that has lost its link does not arrive.
    const auto is_linked = [&] {
        return request.at_panel || has_link(device.root(), request.interface);
    };
    if (job->format == DocumentFormat::pdf) {
        std::optional<Response> refusal;
        device.run([&] { refusal = send_pdf(jobs, job, block, sink, is_linked); });
        return refusal;
    }
    if (!sink.begin(image_type(*job, bytes)) || !send_image(device, job, block, sink, is_linked)) {
        jobs.cancel(job);
        jobs.block_done(job);
    }
    return std::nullopt;
}

} // namespace varn::web
