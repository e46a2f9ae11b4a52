#include "device/client/scan_session.h"

#include "device/client/http_client.h"
#include "device/client/status.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace varn::client {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto watch_step = 100ms;
constexpr int most_refusals = 150; ///< 503 in a row for one image

/// Standard output, shared by the watcher and the pages.
class Report {
public:
    explicit Report(bool progress) : progress_(progress) {}

    void line(const std::string &text) {
        const std::lock_guard lock(mutex_);
        clear();
        std::printf("%s\n", text.c_str());
        std::fflush(stdout);
    }
    /// Written over by whatever comes next.
    void passing(const std::string &text) {
        if (!progress_)
            return;
        const std::lock_guard lock(mutex_);
        clear();
        std::fputs(text.c_str(), stdout);
        std::fflush(stdout);
        dirty_ = true;
    }

private:
    void clear() {
        if (dirty_)
            std::fputs("\r\033[K", stdout);
        dirty_ = false;
    }

    const bool progress_;
    bool dirty_ = false;
    std::mutex mutex_;
};

/// Prints each state of the job that it sees in the status document.
class JobWatcher {
public:
    JobWatcher(std::string status_url, std::string uuid, bool insecure, Report &report)
        : status_url_(std::move(status_url)), uuid_(std::move(uuid)), insecure_(insecure),
          report_(report), thread_(&JobWatcher::watch, this) {}
    /// Looks a last time.
    ~JobWatcher() {
        {
            const std::lock_guard lock(mutex_);
            stopping_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    JobWatcher(const JobWatcher &) = delete;
    JobWatcher &operator=(const JobWatcher &) = delete;

private:
    void watch() {
        HttpClient http(insecure_);
        for (bool last = false; !last;) {
            look(http);
            std::unique_lock lock(mutex_);
            last = changed_.wait_for(lock, watch_step, [this] { return stopping_; });
        }
        look(http);
        // The job may take a moment to end after its last image.
        for (int i = 0; i < 20 && !is_final(); ++i) {
            std::this_thread::sleep_for(watch_step);
            look(http);
        }
    }
    void look(HttpClient &http) {
        const HttpAnswer answer = http.get(status_url_);
        if (answer.status != 200)
            return;
        const JobStatus status = parse_status(answer.body, uuid_);
        std::string text = "job " + status.state;
        if (!status.reason.empty())
            text += " (" + status.reason + ")";
        text += ", scanner " + status.scanner_state;
        if (!status.feeder_state.empty())
            text += ", feeder " + status.feeder_state;
        state_ = status.state;
        if (!status.state.empty() && text != printed_)
            report_.line(printed_ = text);
    }
    bool is_final() const { return state_ != "Pending" && state_ != "Processing"; }

    const std::string status_url_;
    const std::string uuid_;
    const bool insecure_;
    Report &report_;
    std::string state_;
    std::string printed_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

std::string extension_of(const std::string &content_type) {
    if (content_type.starts_with("image/jpeg"))
        return ".jpg";
    if (content_type.starts_with("image/tiff"))
        return ".tif";
    if (content_type.starts_with("application/pdf"))
        return ".pdf";
    return ".raw";
}

std::string first_line(const std::string &text) { return text.substr(0, text.find('\n')); }

std::string describe(const HttpAnswer &answer) {
    if (!answer.failure.empty())
        return answer.failure;
    return answer.body.empty() ? "HTTP status " + std::to_string(answer.status)
                               : first_line(answer.body);
}

/// One page's file: written under a passing name, so that a page that breaks off leaves nothing
/// that looks like one.
class PageFile {
public:
    PageFile(const fs::path &directory, unsigned number) : directory_(directory) {
        char name[32];
        std::snprintf(name, sizeof name, "page-%03u", number);
        stem_ = name;
        partial_ = directory_ / (stem_ + ".part");
    }
    ~PageFile() {
        if (file_)
            std::fclose(file_);
        std::error_code ignored;
        fs::remove(partial_, ignored);
    }
    PageFile(const PageFile &) = delete;
    PageFile &operator=(const PageFile &) = delete;

    bool write(std::string_view bytes) {
        if (!file_)
            file_ = std::fopen(partial_.c_str(), "wb");
        size_ += bytes.size();
        return file_ && std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size();
    }
    std::optional<fs::path> finish(const std::string &content_type) {
        const fs::path path = directory_ / (stem_ + extension_of(content_type));
        std::error_code error;
        if (!file_ || std::fclose(std::exchange(file_, nullptr)) != 0)
            return std::nullopt;
        fs::rename(partial_, path, error);
        if (error)
            return std::nullopt;
        return path;
    }
    std::size_t size() const { return size_; }

private:
    fs::path directory_;
    std::string stem_;
    fs::path partial_;
    std::FILE *file_ = nullptr;
    std::size_t size_ = 0;
};

enum class Page { saved, none, failed };

class Session {
public:
    Session(const SessionOptions &options, std::string job_url)
        : options_(options), report_(options.progress), job_url_(std::move(job_url)),
          http_(options.insecure) {}

    int run() {
        const std::string uuid = job_url_.substr(job_url_.rfind('/') + 1);
        report_.line("201 Created: job " + uuid);
        const JobWatcher watcher(options_.url + "/eSCL/ScannerStatus", uuid, options_.insecure,
                                 report_);
        for (unsigned number = 1;; ++number) {
            switch (fetch(number)) {
            case Page::saved:
                continue;
            case Page::none:
                return end_of_job(number - 1);
            case Page::failed:
                return 1;
            }
        }
    }

private:
    Page fetch(unsigned number) {
        PageFile file(options_.out, number);
        bool file_failed = false;
        const TakeBytes take = [&](std::string_view bytes, const HttpAnswer &) {
            file_failed = !file.write(bytes);
            report_.passing("page " + std::to_string(number) + ": " +
                            std::to_string(file.size() / 1024) + " KiB");
            return !file_failed;
        };
        HttpAnswer answer;
        for (int refusals = 0; refusals < most_refusals; ++refusals) {
            answer = http_.get(job_url_ + "/NextDocument", take);
            if (answer.status != 503)
                break;
            std::this_thread::sleep_for(std::chrono::seconds(std::max(1, answer.retry_after_s)));
        }
        if (file_failed)
            return give_up("cannot write to " + options_.out.string());
        if (answer.status == 404 && answer.failure.empty())
            return Page::none;
        if (answer.status != 200 || !answer.failure.empty())
            return give_up("page " + std::to_string(number) + ": " + describe(answer));
        const auto path = file.finish(answer.content_type);
        if (!path)
            return give_up("cannot write to " + options_.out.string());
        report_.line(path->string() + "  " + std::to_string(file.size()) + " bytes");
        return Page::saved;
    }

    int end_of_job(unsigned pages) {
        // One image each, or the one PDF of the whole job.
        report_.line(std::to_string(pages) + (pages == 1 ? " file" : " files"));
        return 0;
    }

    Page give_up(const std::string &why) {
        report_.line("scan failed: " + why);
        std::fprintf(stderr, "varn-scan: %s\n", why.c_str());
        http_.del(job_url_);
        return Page::failed;
    }

    const SessionOptions &options_;
    Report report_;
    const std::string job_url_;
    HttpClient http_;
};

} // namespace

int scan(const SessionOptions &options, const std::string &settings_xml) {
    std::error_code error;
    fs::create_directories(options.out, error);
    if (error) {
        std::fprintf(stderr, "varn-scan: %s: %s\n", options.out.c_str(), error.message().c_str());
        return 1;
    }
    HttpAnswer answer;
    {
        HttpClient http(options.insecure);
        answer = http.post_xml(options.url + "/eSCL/ScanJobs", settings_xml);
    }
    if (answer.status != 201 || answer.location.empty()) {
        std::fprintf(stderr, "varn-scan: %s/eSCL/ScanJobs: %s\n", options.url.c_str(),
                     describe(answer).c_str());
        return 1;
    }
    return Session(options, answer.location).run();
}

} // namespace varn::client
