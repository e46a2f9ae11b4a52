#include "device/client/http_client.h"

#include <cstdlib>
#include <curl/curl.h>
#include <new>
#include <strings.h>

namespace varn::client {
namespace {

constexpr long connect_timeout_s = 10;
/// The scanner may wait for paper or a person; a transfer without a byte for so long is dead.
constexpr long silence_limit_s = 320;

struct Transfer {
    CURL *curl;
    HttpAnswer answer;
    const TakeBytes &take;
};

int status_of(CURL *curl) {
    long status = 0;
    curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
    return static_cast<int>(status);
}

bool is_on_this_machine(const std::string &url) {
    char *host = nullptr;
    CURLU *parts = curl_url();
    curl_url_set(parts, CURLUPART_URL, url.c_str(), 0);
    curl_url_get(parts, CURLUPART_HOST, &host, 0);
    const std::string name = host ? host : "";
    curl_free(host);
    curl_url_cleanup(parts);
    return name == "localhost" || name == "127.0.0.1" || name == "[::1]";
}

std::size_t take_body(char *data, std::size_t, std::size_t size, void *user) {
    auto &transfer = *static_cast<Transfer *>(user);
    transfer.answer.status = status_of(transfer.curl);
    if (!transfer.take || transfer.answer.status != 200) {
        transfer.answer.body.append(data, size);
        return size;
    }
    return transfer.take({data, size}, transfer.answer) ? size : 0;
}

std::size_t take_field(char *data, std::size_t, std::size_t size, void *user) {
    auto &answer = static_cast<Transfer *>(user)->answer;
    const std::string_view line(data, size);
    const auto colon = line.find(':');
    if (colon == std::string_view::npos)
        return size;
    const std::string name(line.substr(0, colon));
    const auto begin = line.find_first_not_of(" \t", colon + 1);
    const auto end = line.find_last_not_of("\r\n \t");
    const std::string value(begin > end ? "" : line.substr(begin, end - begin + 1));
    if (strcasecmp(name.c_str(), "Location") == 0)
        answer.location = value;
    else if (strcasecmp(name.c_str(), "Content-Type") == 0)
        answer.content_type = value;
    else if (strcasecmp(name.c_str(), "Retry-After") == 0)
        answer.retry_after_s = std::atoi(value.c_str());
    return size;
}

} // namespace

HttpClient::HttpClient(bool insecure) : curl_(curl_easy_init()), insecure_(insecure) {
    if (!curl_)
        throw std::bad_alloc();
}

HttpClient::~HttpClient() { curl_easy_cleanup(curl_); }

HttpAnswer HttpClient::perform(const std::string &url, const TakeBytes &take) {
    CURL *curl = curl_;
    Transfer transfer{curl, {}, take};
    char reason[CURL_ERROR_SIZE] = "";
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, connect_timeout_s);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(curl, CURLOPT_LOW_SPEED_TIME, silence_limit_s);
    if (insecure_ || is_on_this_machine(url)) {
        curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, reason);
    curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, take_body);
    curl_easy_setopt(curl, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(curl, CURLOPT_HEADERFUNCTION, take_field);
    curl_easy_setopt(curl, CURLOPT_HEADERDATA, &transfer);
    const CURLcode result = curl_easy_perform(curl);
    transfer.answer.status = status_of(curl);
    if (result != CURLE_OK)
        transfer.answer.failure = *reason ? reason : curl_easy_strerror(result);
    curl_easy_reset(curl);
    return std::move(transfer.answer);
}

HttpAnswer HttpClient::get(const std::string &url) { return perform(url, {}); }

HttpAnswer HttpClient::get(const std::string &url, const TakeBytes &take) {
    return perform(url, take);
}

HttpAnswer HttpClient::post_xml(const std::string &url, const std::string &xml) {
    curl_slist *fields = curl_slist_append(nullptr, "Content-Type: text/xml; charset=utf-8");
    fields = curl_slist_append(fields, "Expect:");
    curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, fields);
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE, static_cast<long>(xml.size()));
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, xml.data());
    HttpAnswer answer = perform(url, {});
    curl_slist_free_all(fields);
    return answer;
}

HttpAnswer HttpClient::del(const std::string &url) {
    curl_easy_setopt(curl_, CURLOPT_CUSTOMREQUEST, "DELETE");
    return perform(url, {});
}

} // namespace varn::client
