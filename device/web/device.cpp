#include "device/web/device.h"

#include "device/kob_common/link.h"
#include "device/web/handlers.h"
#include "device/web/resource_map.h"
#include "varn/frame.h"

#include <cstdio>

namespace varn::web {
namespace {

constexpr std::size_t interface_count = static_cast<std::size_t>(Interface::https) + 1;

Response call_get(const LibraryGet &get) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    const std::int32_t result = get.function(&buffer, &length);
    return get_response(result, buffer, length);
}

Response call_put(const LibraryPut &put, int link_fd, const Resource &resource, std::string &xml) {
    const int status = http_status(put.function(static_cast<std::uint32_t>(link_fd), xml.data()));
    Response response;
    if (status >= 300)
        response = error_response(status, "");
    response.status = status;
    if (status == 405) // an element that is read only
        response.allow = allowed_methods(resource.path);
    return response;
}

Response call_put(const DocumentPut &put, const std::string &xml) {
    if (put.function(xml.c_str()) == 0)
        return {};
    return error_response(400, "not a document of this resource");
}

Response read_file(const char *device_path) {
    char *buffer = nullptr;
    std::uint32_t length = 0;
    if (common_read_file_data(device_path, &buffer, &length) == 0)
        return document_response(buffer, length);
    std::free(buffer);
    return error_response(404, "");
}

} // namespace

Response unless_engine_was_away(const std::function<Response()> &change) {
    const unsigned long broken = kob_broken_exchanges();
    Response response = change();
    if (response.status < 300 && kob_broken_exchanges() != broken)
        return error_response(503, "the scan engine is away");
    return response;
}

Device::Device(std::string root, int link_fd)
    : root_(std::move(root)), link_fd_(link_fd), pages_(root_), jobs_(root_, link_fd),
      login_(root_), flights_(resource_map().size() * interface_count) {}

Response Device::locked(const Resource &resource, const std::function<Response()> &make) {
    const LockTable::Guard guard(locks_, resource.locks);
    Response response;
    threads_.run([&] { response = make(); });
    return response;
}

void Device::exclusively(LockSet locks, const std::function<void()> &work) {
    const LockTable::Guard guard(locks_, locks);
    threads_.run(work);
}

SharedResponse Device::share(const Resource &resource, const Request &request,
                             const std::function<Response()> &make) {
    // What a document says may depend on the interface, so only requests of one interface share.
    const auto row = static_cast<std::size_t>(&resource - resource_map().data());
    const std::size_t flight = row * interface_count + static_cast<std::size_t>(request.interface);
    return flights_[flight].get([&] { return locked(resource, make); });
}

SharedResponse Device::answer(const Resource &resource, Request &request, ImageSink &sink) {
    const Adapter &adapter = resource.adapter;
    if (const auto *get = std::get_if<LibraryGet>(&adapter))
        return share(resource, request, [&] { return call_get(*get); });
    if (const auto *shared = std::get_if<SharedAnswer>(&adapter))
        return share(resource, request, [&] { return shared->function(*this, request); });
    if (const auto *stream = std::get_if<Stream>(&adapter)) {
        std::optional<Response> refusal = stream->function(*this, request, sink);
        return refusal ? std::make_shared<const Response>(std::move(*refusal)) : nullptr;
    }
    return std::make_shared<const Response>([&]() -> Response {
        if (const auto *put = std::get_if<LibraryPut>(&adapter))
            return locked(resource, [&] {
                return unless_engine_was_away(
                    [&] { return call_put(*put, link_fd_, resource, request.body); });
            });
        if (const auto *put = std::get_if<DocumentPut>(&adapter))
            return locked(resource, [&] {
                return unless_engine_was_away([&] { return call_put(*put, request.body); });
            });
        if (const auto *later = std::get_if<LocksLater>(&adapter))
            return later->function(*this, request, [&](const std::function<Response()> &work) {
                return locked(resource, work);
            });
        if (const auto *taking = std::get_if<TakingAnswer>(&adapter))
            return locked(resource, [&] { return taking->function(*this, request); });
        if (const auto *file = std::get_if<StaticFile>(&adapter))
            return read_file(file->device_path);
        return locked(resource, [&] { return std::get<Answer>(adapter).function(*this, request); });
    }());
}

} // namespace varn::web
