#include "device/web/time_handlers.h"

#include "device/web/document_texts.h"
#include "device/web/network_handlers.h"
#include "device/wire/time_block.h"
#include "platform/mvtc.h"
#include "varn/frame.h"
#include "varn/timeservice.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace varn::web {
namespace {

Response not_of_this_resource() { return error_response(400, "not a document of this resource"); }

std::string text_in(const DocumentTexts &texts, std::string_view name) {
    const auto row = texts.find(name);
    return row != texts.end() ? row->second : "";
}

/// What the device shows now.
DocumentTexts shown_by(std::int32_t (*get)(char **, std::uint32_t *), std::string_view root,
                       std::string *whole = nullptr) {
    const Response response = library_get(get);
    if (whole)
        *whole = response.body();
    return document_texts(response.body(), root).value_or(DocumentTexts());
}

bool is_off(const std::string &state) { return state == "disabled" || state == "removed"; }

bool is_network_time_off(std::string *document = nullptr) {
    return is_off(text_in(shown_by(VARN_GetTimeServiceSNTPSync, "SNTPSync", document), "State"));
}

/// As a host does that reads the document, changes its state and puts it back.
void switch_network_time_off() {
    constexpr std::string_view on = ":State>enabled<";
    constexpr std::string_view off = ":State>disabled<";
    std::string document;
    is_network_time_off(&document);
    if (const auto at = document.find(on); at != std::string::npos)
        VARN_PutTimeServiceSNTPSync(document.replace(at, on.size(), off).c_str());
}

} // namespace

/// setenv leaves a reader in another thread with the old text or the new one, for good: the
/// variable is there before the first thread, and the C library never frees its values.
void follow_time_zone() {
    wire::TimeBlock block;
    if (mvtc_read_h1_parameter(static_cast<std::uint32_t>(varn_mvt_fd), &block, sizeof block,
                               MVTC_PARAM_TIME_SERVICE) < 0)
        return;
    const std::int32_t east = block.currentZone.offsetMinutes;
    constexpr std::int32_t most = 24 * 60; // what the C library can take
    if (east < -most || east > most)
        return;
    char zone[32];
    const unsigned minutes = static_cast<unsigned>(std::abs(east));
    std::snprintf(zone, sizeof zone, "<DEV>%c%02u:%02u", east > 0 ? '-' : '+', minutes / 60,
                  minutes % 60); // counted towards the west
    const char *present = std::getenv("TZ");
    if (present && std::string_view(present) == zone)
        return;
    setenv("TZ", zone, 1);
    tzset();
}

Response get_clock(Device &, const Request &) {
    follow_time_zone();
    return library_get(VARN_GetTimeServiceRTCSetting);
}

Response put_clock(Device &, const Request &request) {
    const auto given = document_texts(request.body, "RTCSetting");
    if (!given)
        return not_of_this_resource();
    return unless_engine_was_away([&]() -> Response {
        VARN_PutTimeServiceRTCSetting(request.body.c_str());
        follow_time_zone();
        const DocumentTexts shown = shown_by(VARN_GetTimeServiceRTCSetting, "RTCSetting");
        const std::string zone = text_in(*given, "TimeZoneName");
        if (!zone.empty() && text_in(shown, "TimeZoneName") != zone)
            return error_response(400, "the zone was not taken: its ts:Name may be missing");
        return {};
    });
}

Response put_network_time(Device &, const Request &request) {
    const auto given = document_texts(request.body, "SNTPSync");
    if (!given)
        return not_of_this_resource();
    return unless_engine_was_away([&]() -> Response {
        VARN_PutTimeServiceSNTPSync(request.body.c_str());
        const std::string state = text_in(*given, "State");
        const bool wants_off = is_off(state);
        if (wants_off && !is_network_time_off())
            switch_network_time_off();
        const bool wants_on = state == "enabled";
        if ((wants_on || wants_off) && is_network_time_off() != wants_off)
            return not_of_this_resource();
        return state.empty() || wants_on || wants_off ? Response() : not_of_this_resource();
    });
}

} // namespace varn::web
