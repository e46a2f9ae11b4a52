/// The scan engine: what its servers act on.
#pragma once

#include "device/engine/clock.h"
#include "device/engine/connection_test.h"
#include "device/engine/connections.h"
#include "device/engine/nvram.h"
#include "device/engine/paper_path.h"
#include "device/engine/ring.h"
#include "device/engine/scan_job.h"
#include "device/engine/storage.h"
#include "device/engine/tally.h"
#include "device/netservice/net_service.h"

#include <memory>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace varn::engine {

/// A started scan ends by itself when no image client has come for it within this time.
inline constexpr std::int64_t unclaimed_limit_ms = 30000;

class Engine {
public:
    explicit Engine(const std::string &root);

    const std::string &root() const { return root_; }
    Nvram &nvram() { return nvram_; }
    Storage &storage() { return storage_; }
    PaperPath &paper() { return paper_; }
    Connections &connections() { return connections_; }
    netservice::NetService &net() { return net_; }
    ConnectionTest &connection_test() { return connection_test_; }
    Clock &clock() { return clock_; }
    const Tally &tally() const { return tally_; }

    wire::ScannerStatus status() const;

    /// Keeps the settings of the next scan. False when they are impossible or a scan is running.
    bool set_scan_param(const wire::ScanParam &param);
    wire::ScanParam scan_param() const;
    /// What picking the first sheet gives; a pick that works ends an earlier error.
    wire::ScannerStatus pick_media();
    /// What the next scan that starts makes of its pages; the ones behind it make JPEG again.
    void set_next_format(DocumentFormat format);
    /// Starts the scan of the kept settings. Null when one is running.
    std::shared_ptr<ScanJob> start_scan();
    /// From now on an image client may claim the started scan. False when there is none.
    bool arm();

    /// The started scan, for the one client that takes its images; null when there is none to take.
    std::shared_ptr<ScanJob> claim();
    bool is_unclaimed(const std::shared_ptr<ScanJob> &job) const;
    /// Ends the scan and leaves the engine idle. `error` is kept as the engine's last error when
    /// it tells of the paper path.
    void finish(const std::shared_ptr<ScanJob> &job, std::uint32_t error = wire::err_none);
    /// Somebody else than its image client wants the running scan to end; that client is told why.
    /// False when none runs.
    bool cancel(std::uint32_t why);
    /// The host wants the running scan to end, whether or not its image client ever comes.
    void stop_scan();
    /// Something happened to the running scan on the paper path. False when no scan runs there.
    bool interrupt(std::uint32_t why);
    /// Disconnects the running scan's image client. False when no scan runs.
    bool drop_images();
    /// A scan that starts ends the power-down. False when one is running.
    bool set_power_down(bool down);

    /// The operator starts a stored job, which is then the one that the library scans for; false
    /// when there is no such job. It holds until it is cleared, or the engine ends.
    bool start_stored_job(const std::string &uuid);
    void clear_started_job();
    wire::StartedJob started_job() const;

    /// Starts the connection test of a job of the table. False for a free slot.
    bool test_connection(std::uint64_t slot);

    /// To be called every now and then.
    void tick();

    void describe(nlohmann::json &state);
    bool restore_factory();

private:
    std::shared_ptr<ScanJob> job() const;
    std::vector<wire::StoredJob> stored_jobs() const;
    void describe_stored_jobs(nlohmann::json &state) const;

    const std::string root_;
    Nvram nvram_;
    Storage storage_;
    Tally tally_;
    Clock clock_;
    PaperPath paper_;
    Connections connections_;
    ConnectionTest connection_test_;
    netservice::NetService net_;
    Ring ring_;
    mutable std::mutex mutex_;
    std::shared_ptr<ScanJob> job_;
    wire::StartedJob started_job_;
    DocumentFormat next_format_ = DocumentFormat::jpeg;
    bool powered_down_ = false;
    bool armed_ = false;
    bool claimed_ = false;
    std::int64_t claim_until_ms_ = 0;
};

} // namespace varn::engine
