/// The clients of a soak run, decent ones and others.
#pragma once

#include "tests/soak/ledger.h"
#include "tests/web/support/scanner_process.h"

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace varn::soak {

/// What every client knows of the run.
struct World {
    testing::ScannerProcess scanner{{"--request-timeout-ms", "3000"}};
    Ledger ledger;
    Setting asset;
    Setting sleep;
    std::atomic<int> port = 0; ///< another one after each start
    std::atomic<bool> stop = false;
    std::atomic<bool> killing = false;          ///< constant while clients run
    std::map<std::string, std::string> endings; ///< of the documents, by path

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port); }
};

inline constexpr char product_config[] = "/DevMgmt/ProductConfigDyn.xml";

/// First text of an element, by its prefixed name.
std::optional<std::string> element_of(const std::string &document, const std::string &name);

/// Asks until there is an answer of 200; none after `limit_ms`.
std::optional<std::string> get_patiently(const World &world, const std::string &path, int limit_ms);

/// A small scan from the glass comes through from end to end within `limit_ms`.
bool device_is_ready(World &world, int limit_ms);

/// All clients, from construction to destruction.
class Crowd {
public:
    explicit Crowd(World &world);
    ~Crowd();
    Crowd(const Crowd &) = delete;
    Crowd &operator=(const Crowd &) = delete;

private:
    World &world_;
    std::vector<std::thread> threads_;
};

} // namespace varn::soak
