#include "tests/soak/scan_clients.h"

#include "device/client/http_client.h"
#include "device/client/settings.h"
#include "device/client/status.h"
#include "tests/web/support/raw_http.h"

#include <algorithm>

namespace varn::soak {
namespace {

using testing::pause_ms;

enum class Manner { decent, cancels, leaves };

struct Plan {
    client::ScanSettings settings;
    Manner manner = Manner::decent;
};

Plan make_plan(std::mt19937 &random) {
    const auto pick = [&](int most) { return std::uniform_int_distribution(0, most)(random); };
    constexpr const char *formats[] = {"image/jpeg", "image/jpeg", "application/pdf", "image/tiff"};
    Plan plan;
    plan.settings.source = pick(3) == 0 ? "feeder" : "flatbed";
    plan.settings.mode = pick(1) == 0 ? "gray" : "color";
    plan.settings.resolution = 75;
    plan.settings.format = formats[pick(3)];
    if (const int manner = pick(5); manner < 2)
        plan.manner = manner == 0 ? Manner::cancels : Manner::leaves;
    return plan;
}

bool is_whole(const std::string &format, const std::string &body) {
    if (format == "image/jpeg")
        return body.starts_with("\xff\xd8") && body.ends_with("\xff\xd9");
    if (format == "application/pdf")
        return body.starts_with("%PDF") && body.find("%%EOF") != std::string::npos;
    return body.starts_with("II*") || body.starts_with("MM");
}

/// Jobs whose owner has vanished keep the device: somebody cancels them.
void cancel_strays(World &world, client::HttpClient &http) {
    const std::string status = http.get(world.url() + "/eSCL/ScannerStatus").body;
    constexpr std::string_view mark = "/eSCL/ScanJobs/";
    constexpr std::size_t uuid_size = 36;
    std::string last;
    for (auto at = status.find(mark); at != std::string::npos; at = status.find(mark, at + 1)) {
        const std::string uuid = status.substr(at + mark.size(), uuid_size);
        const std::string state = client::parse_status(status, uuid).state;
        if (uuid != last && state != "Completed" && state != "Canceled" && state != "Aborted")
            http.del(world.url() + std::string(mark) + uuid);
        last = uuid;
    }
}

std::string job_path(const std::string &location) {
    const auto at = location.find("/eSCL/");
    return at == std::string::npos ? location : location.substr(at);
}

/// All images of a job. The count; -1 when one was not whole.
int fetch_all(World &world, client::HttpClient &http, const std::string &path,
              const std::string &format) {
    for (int images = 0;; ++images) {
        const client::HttpAnswer answer = http.get(world.url() + path + "/NextDocument");
        if (answer.status == 503 && answer.failure.empty()) {
            pause_ms(20); // too many connections
            --images;
            continue;
        }
        if (answer.status != 200)
            return answer.status == 404 ? images : -1;
        if (!answer.failure.empty() || !is_whole(format, answer.body))
            return -1;
    }
}

/// False when the job did not end as its plan wants.
bool carry_out(World &world, client::HttpClient &http, const Plan &plan, const std::string &path) {
    if (plan.manner == Manner::cancels)
        return http.del(world.url() + path).status == 200;
    if (plan.manner == Manner::leaves) {
        testing::RawConnection connection(world.port, 1024);
        connection.send("GET " + path + "/NextDocument HTTP/1.1\r\nHost: h\r\n\r\n");
        connection.receive_some(500);
        return true;
    }
    const int images = fetch_all(world, http, path, plan.settings.format);
    // A job that was left or cancelled may have left its sheet in the feeder for this one.
    return plan.settings.source == "feeder" ? images >= 1 : images == 1;
}

} // namespace

std::string scan_settings(const std::string &source) {
    client::ScanSettings settings;
    settings.source = source == "Platen" ? "flatbed" : "feeder";
    settings.resolution = 75;
    return client::settings_document(settings);
}

void scan_client(World &world, std::mt19937 random) {
    Row &row = world.ledger.row(Kind::scan);
    client::HttpClient http;
    int busy = 0;
    while (!world.stop) {
        const Plan plan = make_plan(random);
        if (plan.settings.source == "feeder")
            world.scanner.ctl({"feeder", "load", "1"});
        const client::HttpAnswer started =
            http.post_xml(world.url() + "/eSCL/ScanJobs", client::settings_document(plan.settings));
        if (started.status != 201) {
            row.count(started.status);
            if (++busy % 3 == 0)
                cancel_strays(world, http);
            pause_ms(30);
            continue;
        }
        busy = 0;
        const bool ended = carry_out(world, http, plan, job_path(started.location));
        row.count(ended ? 200 : 0);
        if (!ended && !world.killing)
            world.ledger.breach("scan: a job from the " + plan.settings.source + " as " +
                                plan.settings.format + " did not come through");
    }
    cancel_strays(world, http);
}

void scan_all_kinds(World &world) {
    client::HttpClient http;
    for (const char *source : {"feeder", "flatbed"})
        for (const char *mode : {"gray", "color"})
            for (const char *format : {"image/jpeg", "application/pdf", "image/tiff"}) {
                Plan plan;
                plan.settings.source = source;
                plan.settings.mode = mode;
                plan.settings.resolution = 75;
                plan.settings.format = format;
                world.scanner.ctl({"feeder", "load", "1"});
                const client::HttpAnswer started = http.post_xml(
                    world.url() + "/eSCL/ScanJobs", client::settings_document(plan.settings));
                if (started.status != 201 ||
                    !carry_out(world, http, plan, job_path(started.location)))
                    world.ledger.breach(std::string("a first scan from the ") + source + " as " +
                                        format + " did not come through");
            }
}

bool device_is_ready(World &world, int limit_ms) {
    client::HttpClient http;
    return testing::eventually(
        [&] {
            const client::HttpAnswer started =
                http.post_xml(world.url() + "/eSCL/ScanJobs", scan_settings("Platen"));
            if (started.status == 201)
                return fetch_all(world, http, job_path(started.location), "image/jpeg") == 1;
            cancel_strays(world, http);
            return false;
        },
        limit_ms);
}

} // namespace varn::soak
