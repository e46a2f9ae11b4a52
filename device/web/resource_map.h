/// The resources of the device: which path and method calls which function of the library.
///
/// The server, the documentation and the tests read this one array.
#pragma once

#include "device/web/http.h"
#include "device/web/locks.h"

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace varn::web {

class Device;
class ImageSink;

/// A GET of the library. All requests that wait at one time share a run.
struct LibraryGet {
    std::int32_t (*function)(char **out_buf, std::uint32_t *out_len);
};
/// A PUT of the library that takes the engine link.
struct LibraryPut {
    std::int32_t (*function)(std::uint32_t fd, char *xml);
};
/// A PUT of the library that takes nothing but the document, and gives -1 for one that it cannot
/// read.
struct DocumentPut {
    std::int32_t (*function)(const char *xml);
};
/// A file of the device tree that nothing writes while the server runs.
struct StaticFile {
    const char *device_path;
};
/// A GET that needs more than a plain call; shared like LibraryGet.
struct SharedAnswer {
    Response (*function)(Device &device, const Request &request);
};
/// Any other answer; each request has its own.
struct Answer {
    Response (*function)(Device &device, const Request &request);
};
/// A GET that hands something out once, so that HEAD may not ask for it.
struct TakingAnswer {
    Response (*function)(Device &device, const Request &request);
};
/// Runs its argument with the locks of the resource.
using WithLocks = std::function<Response(const std::function<Response()> &work)>;
/// An answer that first waits for something that must not hold up others.
struct LocksLater {
    Response (*function)(Device &device, const Request &request, const WithLocks &with_locks);
};
/// An answer that writes its body as it comes. Gives the error response when it has none.
struct Stream {
    std::optional<Response> (*function)(Device &device, const Request &request, ImageSink &sink);
};

using Adapter = std::variant<LibraryGet, LibraryPut, DocumentPut, StaticFile, SharedAnswer, Answer,
                             TakingAnswer, LocksLater, Stream>;

/// Once the administrator has set a password, all but `everyone` need the login.
enum class Authority : std::uint8_t {
    everyone,
    owner,        ///< open while no password is set
    administrator ///< while no password is set, whoever works at this machine
};
std::string_view authority_name(Authority who);

struct Resource {
    /// "{uuid}" stands for one identifier, each "{id}" for one segment of any other form.
    std::string_view path;
    Method method;
    Authority who;
    LockSet locks;
    std::string_view function; ///< exported function or file that answers
    Adapter adapter;
};

std::span<const Resource> resource_map();

/// What a request path and method lead to.
struct Match {
    const Resource *resource = nullptr; ///< null: no such path, or not this method
    bool path_exists = false;
    std::string uuid;             ///< what stands for {uuid}
    std::vector<std::string> ids; ///< what stands for each {id}
};
/// A path that is spelled out in the map comes before patterns, {uuid} before {id}.
Match find_resource(std::string_view path, Method method);

/// Methods of a path as an Allow field has them; HEAD goes with every GET that changes nothing.
std::string allowed_methods(std::string_view path);

/// Whether HEAD may ask for it: a stream and a taking answer hand out what they have once.
bool allows_head(const Resource &resource);

} // namespace varn::web
