#include "device/web/http.h"

#include <algorithm>
#include <charconv>
#include <ctime>

namespace varn::web {
namespace {

struct StatusText {
    int status;
    std::string_view text;
};
constexpr StatusText status_texts[] = {
    {200, "OK"},
    {201, "Created"},
    {204, "No Content"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {413, "Content Too Large"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {429, "Too Many Requests"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {503, "Service Unavailable"},
    {505, "HTTP Version Not Supported"},
};

bool is_alnum(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }

int hex_value(char c) {
    if (is_digit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

std::string http_date() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    gmtime_r(&now, &parts);
    char text[40];
    const std::size_t n = std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S GMT", &parts);
    return {text, n};
}

void add_field(std::string &head, std::string_view name, std::string_view value) {
    head.append(name).append(": ").append(value).append("\r\n");
}

/// Decodes %-escapes. None when one is broken or gives a control character.
std::optional<std::string> unescape(std::string_view escaped) {
    std::string text;
    text.reserve(escaped.size());
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        char c = escaped[i];
        if (c == '%') {
            const int high = i + 2 < escaped.size() ? hex_value(escaped[i + 1]) : -1;
            const int low = i + 2 < escaped.size() ? hex_value(escaped[i + 2]) : -1;
            if (high < 0 || low < 0)
                return std::nullopt;
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            return std::nullopt;
        text += c;
    }
    return text;
}

} // namespace

std::string_view method_name(Method method) {
    switch (method) {
    case Method::get:
        return "GET";
    case Method::put:
        return "PUT";
    case Method::post:
        return "POST";
    case Method::del:
        return "DELETE";
    }
    return "";
}

std::int32_t scan_source(Interface interface) {
    switch (interface) {
    case Interface::usb:
        return 0;
    case Interface::wlan0:
        return 2;
    case Interface::wlan1:
        return 3;
    case Interface::eth0:
    case Interface::https:
        break;
    }
    return 1;
}

std::int32_t connection_word(Interface interface) {
    switch (interface) {
    case Interface::usb:
        return -1;
    case Interface::https:
        return 1;
    default:
        return 0;
    }
}

std::string_view status_text(int status) {
    for (const StatusText &row : status_texts)
        if (row.status == status)
            return row.text;
    return "Unknown";
}

Response error_response(int status, std::string_view reason) {
    Response response;
    response.status = status;
    response.content_type = "text/plain; charset=utf-8";
    response.text = std::to_string(status).append(" ").append(status_text(status));
    if (!reason.empty())
        response.text.append(": ").append(reason);
    response.text += '\n';
    if (status == 503)
        response.retry_after_s = 2;
    return response;
}

Response document_response(char *buffer, std::uint32_t length) {
    if (!buffer || length == 0) {
        std::free(buffer);
        return error_response(500, "the device has no such document");
    }
    Response response;
    response.document = std::make_shared<const Document>(buffer, length);
    return response;
}

Response get_response(std::int32_t library_result, char *buffer, std::uint32_t length) {
    if (library_result == 0)
        return document_response(buffer, length);
    std::free(buffer);
    return error_response(http_status(library_result), "");
}

int http_status(std::int32_t library_result) {
    switch (library_result) {
    case 0:
        return 200;
    case 200:
    case 201:
    case 204:
    case 400:
    case 404:
    case 405:
    case 409:
    case 413:
    case 500:
    case 503:
        return library_result;
    default:
        return 500; // -1, and whatever has no meaning for a client
    }
}

std::string response_head(const Response &response, std::optional<std::size_t> length, bool chunked,
                          bool keep_alive) {
    std::string head = "HTTP/1.1 ";
    head.reserve(384);
    head.append(std::to_string(response.status)).append(" ");
    head.append(status_text(response.status)).append("\r\n");
    add_field(head, "Date", http_date());
    add_field(head, "Connection", keep_alive ? "keep-alive" : "close");
    add_field(head, "Cache-Control", "no-store");
    if (response.content_type.starts_with("text/html"))
        add_field(head, "Content-Security-Policy",
                  "default-src 'self'; img-src 'self' data:; frame-ancestors 'none'; base-uri "
                  "'none'; form-action 'none'; "
                  "object-src 'none'");
    add_field(head, "X-Content-Type-Options", "nosniff");
    if (length.value_or(1) != 0)
        add_field(head, "Content-Type", response.content_type);
    if (length && response.status != 204)
        add_field(head, "Content-Length", std::to_string(*length));
    if (chunked)
        add_field(head, "Transfer-Encoding", "chunked");
    if (!response.location.empty())
        add_field(head, "Location", response.location);
    if (!response.allow.empty())
        add_field(head, "Allow", response.allow);
    if (!response.entity_tag.empty())
        add_field(head, "ETag", "\"" + response.entity_tag + "\"");
    if (!response.challenge.empty())
        add_field(head, "WWW-Authenticate", response.challenge);
    if (response.retry_after_s != 0)
        add_field(head, "Retry-After", std::to_string(response.retry_after_s));
    head += "\r\n";
    return head;
}

std::optional<std::string> decode_path(std::string_view target) {
    return unescape(target.substr(0, target.find_first_of("?#")));
}

std::optional<QueryFields> decode_query(std::string_view query) {
    QueryFields fields;
    while (!query.empty()) {
        const std::string_view field = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(field.size() + 1, query.size()));
        if (field.empty())
            continue;
        std::string plain(field);
        std::ranges::replace(plain, '+', ' ');
        const std::size_t equals = std::min(plain.find('='), plain.size());
        auto name = unescape(std::string_view(plain).substr(0, equals));
        auto value = unescape(std::string_view(plain).substr(std::min(equals + 1, plain.size())));
        if (!name || !value)
            return std::nullopt;
        fields.emplace_back(std::move(*name), std::move(*value));
    }
    return fields;
}

bool is_valid_host(std::string_view host) {
    constexpr std::size_t longest = 261; // a full domain name and a port
    if (host.empty() || host.size() > longest)
        return false;
    std::size_t end;
    if (host.front() == '[') {
        end = host.find(']');
        if (end == std::string_view::npos || end < 3)
            return false;
        const auto inside = host.substr(1, end - 1);
        if (!std::ranges::all_of(inside,
                                 [](char c) { return hex_value(c) >= 0 || c == ':' || c == '.'; }))
            return false;
        ++end;
    } else {
        end = std::min(host.find(':'), host.size());
        const auto name = host.substr(0, end);
        if (name.empty() || !std::ranges::all_of(name, [](char c) {
                return is_alnum(c) || c == '-' || c == '.' || c == '_';
            }))
            return false;
    }
    if (end == host.size())
        return true;
    const auto port = host.substr(end + 1);
    return host[end] == ':' && port.size() <= 5 && std::ranges::all_of(port, is_digit);
}

std::optional<std::uint64_t> parse_length(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || !is_digit(text.front()) || end != text.data() + text.size())
        return std::nullopt;
    if (error != std::errc())
        return std::nullopt;
    return value;
}

bool is_uuid(std::string_view text) {
    constexpr std::string_view shape = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    return std::ranges::equal(
        text, shape, [](char c, char form) { return form == 'x' ? hex_value(c) >= 0 : c == form; });
}

} // namespace varn::web
