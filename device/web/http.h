/// Requests and answers as the web server handles them, apart from any socket.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varn::web {

enum class Method : std::uint8_t { get, put, post, del };

std::string_view method_name(Method method);

/// The interface that a request came in on.
enum class Interface : std::uint8_t { eth0, wlan0, wlan1, usb, https };

/// Value for escl_set_scan_source.
std::int32_t scan_source(Interface interface);
/// Value for the third argument of eSCL_GetScanCapa.
std::int32_t connection_word(Interface interface);

/// A document that the library handed out, in its own buffer.
class Document {
public:
    Document(char *buffer, std::uint32_t length) : buffer_(buffer), length_(length) {}
    std::string_view text() const { return {buffer_.get(), length_}; }

private:
    struct Free {
        void operator()(char *buffer) const { std::free(buffer); }
    };
    std::unique_ptr<char, Free> buffer_;
    std::uint32_t length_;
};

struct Request {
    Method method = Method::get;
    Interface interface = Interface::eth0;
    std::string path;             ///< decoded, without the query
    std::string host;             ///< as the client names this server, with the port; checked
    std::string query;            ///< as it was sent, without the "?"
    std::string uuid;             ///< what stands for {uuid} in the path
    std::vector<std::string> ids; ///< what stands for each {id} in the path
    std::string body;
    bool at_panel = false; ///< needs no interface
};

struct Response {
    int status = 200;
    std::string_view content_type = "text/xml; charset=utf-8";
    std::string text;
    std::shared_ptr<const Document> document; ///< takes precedence over `text`
    std::string location;
    std::string allow;
    std::string entity_tag; ///< without its quotes
    std::string challenge;  ///< with 401: how to log in
    int retry_after_s = 0;
    bool close = false; ///< the connection cannot be used any more

    std::string_view body() const { return document ? document->text() : text; }
};

using SharedResponse = std::shared_ptr<const Response>;

std::string_view status_text(int status);
/// A short plain text for people. Codes that ask for it get Retry-After.
Response error_response(int status, std::string_view reason);
/// A document, or 500 without one.
Response document_response(char *buffer, std::uint32_t length);

/// What a GET of the library gave: a document, or the status of its failure. Takes the buffer.
Response get_response(std::int32_t library_result, char *buffer, std::uint32_t length);

/// The one place where results of the library become HTTP status codes.
int http_status(std::int32_t library_result);

/// Status line and header fields, ended by the empty line.
/// length    of the body; none: the body is sent in chunks, or ends with the connection
std::string response_head(const Response &response, std::optional<std::size_t> length, bool chunked,
                          bool keep_alive);

/// Path of a request target: query cut off, %-escapes decoded. None when an escape is broken or
/// the path would hold a control character.
std::optional<std::string> decode_path(std::string_view target);

/// Names and values of a query: "a=1&b=%20", both decoded, a "+" as a blank. None when an escape is
/// broken or something would hold a control character.
using QueryFields = std::vector<std::pair<std::string, std::string>>;
std::optional<QueryFields> decode_query(std::string_view query);

/// Whether a Host field names a host: a name, an IPv4 address or an IPv6 address in brackets,
/// and perhaps a port. Nothing else may get into a Location.
bool is_valid_host(std::string_view host);

/// Length of a body from its Content-Length field: digits only.
std::optional<std::uint64_t> parse_length(std::string_view text);

/// 36 characters of the form that common_create_uuid gives, in either case.
bool is_uuid(std::string_view text);

} // namespace varn::web
