/// The event table: one entry for each kind of event, ordered by its last occurrence.

#include "varn/events.h"

#include "escl/settings_io.h"
#include "frame/guards.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <span>

int32_t g_PowerCycle = 0;
int32_t g_EventCount = 0;

namespace varn {
namespace {

constexpr char table_ticket[] = "/tmp/xml_tickets/EventMgmt/EventTable.xml";
constexpr char answer_ticket[] = "/tmp/xml_tickets/EventMgmt/GetEventTable.xml";
constexpr char capabilities_ticket[] = "/tmp/xml_tickets/EventMgmt/EventCapabilities";

struct EventKind {
    int32_t bit;
    dd__UnqualifiedCategory category;
    const char *name;
};
constexpr EventKind kinds[] = {
    {VARN_EVENT_POWER_UP, dd__UnqualifiedCategory__PowerUpEvent, "PowerUpEvent"},
    {VARN_EVENT_POWERING_DOWN, dd__UnqualifiedCategory__PoweringDownEvent, "PoweringDownEvent"},
    {VARN_EVENT_SCAN, dd__UnqualifiedCategory__ScanEvent, "ScanEvent"},
    {VARN_EVENT_ALERT_TABLE_CHANGED, dd__UnqualifiedCategory__AlertTableChanged,
     "AlertTableChanged"},
    {VARN_EVENT_STATUS, dd__UnqualifiedCategory__StatusEvent, "StatusEvent"},
    {VARN_EVENT_CAPABILITIES_CHANGED, dd__UnqualifiedCategory__DeviceCapabilitiesChanged,
     "DeviceCapabilitiesChanged"},
};

/// A stored URI of a scan event, with its terminator.
constexpr size_t uri_size = 256;

/// Whoever raises an event holds locks of its own; this one is taken last and for the table alone.
std::mutex &table_mutex() {
    static std::mutex mutex;
    return mutex;
}

const EventKind *kind_of_bit(int32_t bit) {
    const auto *kind = std::ranges::find(kinds, bit, &EventKind::bit);
    if (kind != std::end(kinds))
        return kind;
    printf("%s:%d:%d event not support !\n", "get_eventCategory", __LINE__, bit);
    return nullptr;
}

std::optional<dd__UnqualifiedCategory> category_of_name(std::string_view name) {
    const auto *kind = std::ranges::find(kinds, name, &EventKind::name);
    if (kind != std::end(kinds))
        return kind->category;
    printf("%s:%d: error,not support event:%.*s !\n", "get_eventFilterCategory", __LINE__,
           static_cast<int>(name.size()), name.data());
    return std::nullopt;
}

/// A text of a record of fixed width, which need not be terminated.
template <size_t Size>
std::string_view field(const char (&text)[Size]) {
    return {text, strnlen(text, Size)};
}

/// The number behind the "-" of a stamp; the power cycle in front of it does not count.
int32_t count_of(std::string_view stamp) {
    const size_t dash = stamp.find('-');
    if (dash == std::string_view::npos)
        return 0;
    return static_cast<int32_t>(strtol(std::string(stamp.substr(dash + 1)).c_str(), nullptr, 10));
}

int32_t count_of(const ev__Event &event) {
    return count_of(event.dd__AgingStamp != nullptr ? event.dd__AgingStamp : "");
}

struct Stamp {
    char text[VARN_EVENT_STAMP_SIZE];
};
Stamp current_stamp() {
    Stamp stamp = {};
    snprintf(stamp.text, sizeof stamp.text, "%d-%d", g_PowerCycle, g_EventCount);
    return stamp;
}

std::span<ev__Event> events_of(const ev__EventTable &table) {
    if (table.Event_ == nullptr || table.__sizeEvent < 1)
        return {};
    return {table.Event_, static_cast<size_t>(table.__sizeEvent)};
}

bool has_category(const ev__Event &event, std::optional<dd__UnqualifiedCategory> category) {
    return category && event.dd__UnqualifiedEventCategory != nullptr &&
           *event.dd__UnqualifiedEventCategory == *category;
}

/// A table that cannot be read is an empty one. Sets g_EventCount.
void read_table(Parsed<ev__EventTable> &table) {
    table.read(read_text_file(table_ticket, O_RDWR | O_CREAT));
    const auto events = events_of(table.root);
    g_EventCount = events.empty() ? 0 : count_of(events.back());
}

/// What the device can tell of is read for the log alone.
void read_supported_events() {
    Parsed<ev__SupportedEventList> supported(event_get);
    const int error = supported.read(read_text_file(capabilities_ticket, O_RDWR));
    printf("soap_read_ev__SupportedEventList error=%d\n", error);
}

void fill_payloads(Document &document, ev__Event &event, std::string_view uri) {
    struct PayloadText {
        std::string uri;
        const char *type;
    };
    const auto set = [&](std::span<const PayloadText> texts) {
        event.Payload_ = document.make<ev__Payload>(static_cast<int>(texts.size()));
        if (event.Payload_ == nullptr)
            return;
        event.__sizePayload = static_cast<int>(texts.size());
        for (size_t i = 0; i < texts.size(); ++i) {
            event.Payload_[i].dd__ResourceURI = document.text(texts[i].uri.c_str());
            event.Payload_[i].dd__ResourceType_ = document.text(texts[i].type);
        }
    };
    switch (*event.dd__UnqualifiedEventCategory) {
    case dd__UnqualifiedCategory__AlertTableChanged: {
        const PayloadText status[] = {
            {"/DevMgmt/ProductStatusDyn.xml", "varn:zqVarnProductStatusDyn"}};
        set(status);
        break;
    }
    case dd__UnqualifiedCategory__ScanEvent: {
        const PayloadText walkup[] = {
            {std::string(uri), "wus:WalkupScanToCompDestination"},
            {"/WalkupScanToComp/WalkupScanToCompEvent", "wus:WalkupScanToCompEvent"}};
        set(walkup);
        break;
    }
    default:
        break;
    }
}

/// The entry of a kind: a new one, or the one that was there, with a new stamp and URI.
ev__Event renewed(Document &document, const ev__Event *old, dd__UnqualifiedCategory category,
                  std::string_view uri) {
    ev__Event event = old != nullptr ? *old : ev__Event();
    event.dd__AgingStamp = document.text(current_stamp().text);
    if (old == nullptr) {
        event.dd__UnqualifiedEventCategory = document.value(category);
        if (event.dd__UnqualifiedEventCategory != nullptr)
            fill_payloads(document, event, uri);
    } else if (category == dd__UnqualifiedCategory__ScanEvent && event.__sizePayload > 0 &&
               event.Payload_ != nullptr) {
        event.Payload_[0].dd__ResourceURI = document.text(std::string(uri).c_str());
    }
    return event;
}

/// Puts the entry of a kind last; the others keep their order.
void move_to_end(Document &document, ev__EventTable &table, dd__UnqualifiedCategory category,
                 std::string_view uri) {
    const auto old = events_of(table);
    const auto found = std::ranges::find_if(
        old, [&](const ev__Event &event) { return has_category(event, category); });
    const bool is_new = found == old.end();
    auto *events = document.make<ev__Event>(static_cast<int>(old.size()) + (is_new ? 1 : 0));
    if (events == nullptr)
        return;
    const ev__Event last = renewed(document, is_new ? nullptr : &*found, category, uri);
    ev__Event *end = std::copy(old.begin(), found, events);
    if (!is_new)
        end = std::copy(found + 1, old.end(), end);
    *end++ = last;
    table.Event_ = events;
    table.__sizeEvent = static_cast<int>(end - events);
}

void write_table(const ev__EventTable &table) {
    Document writer(event_get);
    const UniqueFd file(open_ticket(table_ticket, event_get.permission));
    if (file.ok())
        writer.write(file.get(), table);
}

/// The events from the first one on that has, or has behind it, all that the filter asks for.
std::span<ev__Event> select(std::span<ev__Event> events, const varn_event_filter &filter) {
    if (events.empty())
        return {};
    const bool by_stamp = (filter.flags & VARN_EVENT_FILTER_STAMP) != 0;
    const bool by_category = (filter.flags & VARN_EVENT_FILTER_CATEGORY) != 0;
    const int32_t threshold = by_stamp ? count_of(field(filter.stamp)) : 0;
    const auto category = by_category ? category_of_name(field(filter.category)) : std::nullopt;
    bool passed_stamp = !by_stamp;
    bool passed_category = !by_category;
    for (size_t i = 0; i < events.size(); ++i) {
        passed_stamp = passed_stamp || count_of(events[i]) > threshold;
        passed_category = passed_category || has_category(events[i], category);
        if (passed_stamp && passed_category)
            return events.subspan(i);
    }
    return {};
}

} // namespace
} // namespace varn

int32_t VARN_SetEventTable(int32_t eventBit, const char *uri) {
    printf("gsoap mode:%s eventtype=%d\n", __func__, eventBit);
    const std::lock_guard lock(varn::table_mutex());
    varn::Parsed<ev__EventTable> table(varn::event_get);
    varn::read_table(table);
    varn::read_supported_events();
    const varn::EventKind *kind = varn::kind_of_bit(eventBit);
    if (kind == nullptr)
        return 0;
    g_EventCount = static_cast<int32_t>(static_cast<uint32_t>(g_EventCount) + 1);
    if (table.root.dd__Version == nullptr)
        table.root.dd__Version = table.document.version("2.5", "2014-07-29");
    const std::string_view all = uri != nullptr ? uri : "";
    varn::move_to_end(table.document, table.root, kind->category,
                      all.substr(0, varn::uri_size - 1));
    varn::write_table(table.root);
    return 0;
}

int32_t VARN_GetEventTable(const varn_event_filter *filter, char **out, uint32_t *outlen,
                           char *stamp) {
    const std::lock_guard lock(varn::table_mutex());
    varn::Parsed<ev__EventTable> table(varn::event_get);
    varn::read_table(table);
    if (stamp != nullptr)
        memcpy(stamp, varn::current_stamp().text, VARN_EVENT_STAMP_SIZE);
    if (out == nullptr || outlen == nullptr)
        return -1;
    *out = nullptr;
    *outlen = 0;
    const varn_event_filter none = {};
    const auto selected =
        varn::select(varn::events_of(table.root), filter != nullptr ? *filter : none);
    if (selected.empty())
        return 0;
    return varn::get_document<ev__EventTable>(varn::event_get, varn::answer_ticket, out, outlen,
                                              [&](varn::Document &, ev__EventTable &root) {
                                                  root.dd__Version = table.root.dd__Version;
                                                  root.Event_ = selected.data();
                                                  root.__sizeEvent =
                                                      static_cast<int>(selected.size());
                                              });
}
