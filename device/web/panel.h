/// The front panel: a page for the operator, on a port of its own.
///
/// It listens on the loopback address alone, whatever the address of the device. Every request must
/// name this port as its host, so that no other name leads here; an action needs a header field
/// that a page of another origin cannot send without being asked for leave first, which it does not
/// get.
#pragma once

#include "device/web/http_threads.h"
#include "device/web/panel_actions.h"
#include "device/web/panel_feed.h"
#include "device/web/panel_maintenance.h"

#include <atomic>
#include <string>
#include <string_view>

struct mg_connection;
struct mg_context;

namespace varn::web {

class Panel {
public:
    static constexpr std::size_t max_body = 4096;

    /// port        0 takes a free one
    /// addresses   of the device's interfaces, to be shown
    /// Throws std::runtime_error when the port cannot be had.
    Panel(Device &device, int port, std::vector<std::string> addresses);
    ~Panel();
    Panel(const Panel &) = delete;
    Panel &operator=(const Panel &) = delete;

    int port() const { return port_; }
    /// After ScanJobs::shut_down.
    void stop();

private:
    struct Callbacks;
    void start(int port);
    int handle(mg_connection *connection);
    bool is_admitted(const mg_connection *connection) const;
    int get(mg_connection *connection, std::string_view path);
    int act(mg_connection *connection);
    int send_events(mg_connection *connection);
    int send_page(mg_connection *connection, std::string_view name);

    Device &device_;
    PanelJobs jobs_;
    PanelMaintenance maintenance_;
    PanelActions actions_;
    PanelFeed feed_;
    HttpThreads threads_;
    mg_context *context_ = nullptr;
    std::atomic<int> port_ = 0;
};

} // namespace varn::web
