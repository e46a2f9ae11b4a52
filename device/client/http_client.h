/// HTTP requests over one kept connection.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace varn::client {

struct HttpAnswer {
    int status = 0; ///< 0: no answer
    std::string body;
    std::string location;
    int retry_after_s = 0;
    std::string content_type;
    std::string failure; ///< why there is no whole answer
};

/// Takes a piece of a body; false breaks the transfer off.
using TakeBytes = std::function<bool(std::string_view bytes, const HttpAnswer &so_far)>;

class HttpClient {
public:
    /// insecure  takes any certificate. That of a scanner on this machine is always taken: it signs
    ///           for itself, and nobody is in between.
    explicit HttpClient(bool insecure = false);
    ~HttpClient();
    HttpClient(const HttpClient &) = delete;
    HttpClient &operator=(const HttpClient &) = delete;

    HttpAnswer get(const std::string &url);
    /// The body of a 200 goes to `take`, that of another answer stays in it.
    HttpAnswer get(const std::string &url, const TakeBytes &take);
    HttpAnswer post_xml(const std::string &url, const std::string &xml);
    HttpAnswer del(const std::string &url);

private:
    HttpAnswer perform(const std::string &url, const TakeBytes &take);

    void *curl_;
    const bool insecure_;
};

} // namespace varn::client
