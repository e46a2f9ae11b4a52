/// The device behind the resources: what their handlers work with.
#pragma once

#include "device/web/device_threads.h"
#include "device/web/locks.h"
#include "device/web/login.h"
#include "device/web/page_store.h"
#include "device/web/scan_jobs.h"
#include "device/web/single_flight.h"
#include "device/web/usb_channel.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace varn::web {

struct Resource;

/// Where a streamed body goes. Each function is false once the client is gone or too slow.
class ImageSink {
public:
    std::function<bool(std::string_view content_type)> begin;
    std::function<bool(std::span<const std::byte>)> write;
    /// Without this call the client learns that the body was broken off.
    std::function<bool()> end;
};

class Device {
public:
    /// root      device tree, as given to VARN_SetRoot; link_fd engine link, as given to VARN_Init
    Device(std::string root, int link_fd);

    /// Answers a request for a resource. A stream gives null after it has begun its body.
    SharedResponse answer(const Resource &resource, Request &request, ImageSink &sink);

    /// Runs calls of the library that no request asked for, such as VARN_Set_Job, with the locks of
    /// the resources that they change.
    void exclusively(LockSet locks, const std::function<void()> &work);

    const std::string &root() const { return root_; }
    ScanJobs &jobs() { return jobs_; }
    PageStore &pages() { return pages_; }
    UsbChannel &usb_channel() { return usb_channel_; }
    Login &login() { return login_; }
    /// Runs work that needs more stack than the threads of the HTTP library have.
    void run(const std::function<void()> &work) { threads_.run(work); }
    /// Stays open between requests for the scanner's status; whoever uses it has that lock.
    EngineSocket &status_socket() { return status_socket_; }

private:
    SharedResponse share(const Resource &resource, const Request &request,
                         const std::function<Response()> &make);
    Response locked(const Resource &resource, const std::function<Response()> &make);

    const std::string root_;
    const int link_fd_;
    LockTable locks_;
    DeviceThreads threads_;
    EngineSocket status_socket_;
    PageStore pages_;
    ScanJobs jobs_;
    UsbChannel usb_channel_;
    Login login_;
    std::vector<SingleFlight<Response>> flights_; ///< for each resource and interface
};

} // namespace varn::web
