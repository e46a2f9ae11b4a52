/// The clock's zone, and the zones on offer.

#include "timeservice/time_block.h"

#include <ctime>

namespace varn::timeservice {
namespace {

constexpr char zones_ticket[] = "/tmp/xml_tickets/timeservice/SupportedTimeZones.xml";
constexpr char clock_ticket[] = "/tmp/xml_tickets/timeservice/RTC_Setting.xml";

void fill_boundary(Document &document, ts__DstBoundary &boundary, const DstBoundary &from) {
    boundary.dd__DayCount = document.value<unsigned short>(from.day_count);
    boundary.Day = value_of<dd__DaysOfWeek>(document, from.day, 7);
    boundary.Month = value_of<dd__MonthOfYear>(document, from.month, 12);
    boundary.Hours = number(document, from.hour);
}

void fill_dst(Document &document, ts__DstSettings &settings, const ZoneRecord &zone) {
    settings.State = document.value(zone.dst_enabled == 1 ? dd__EnableDisableRemove__enabled
                                                          : dd__EnableDisableRemove__disabled);
    if ((settings.DstStart = document.make<ts__DstBoundary>()) != nullptr)
        fill_boundary(document, *settings.DstStart, zone.dst_start);
    if ((settings.DstEnd = document.make<ts__DstBoundary>()) != nullptr)
        fill_boundary(document, *settings.DstEnd, zone.dst_end);
}

void fill_zone(Document &document, ts__TimeZoneInformation &information, uint32_t code,
               const ZoneRecord &zone) {
    information.TimeZoneName = value_of<dd__TimeZoneName>(document, code, VARN_TIME_ZONE_CODES);
    if (information.TimeZoneName != nullptr)
        information.Name =
            document.text(soap_dd__TimeZoneName2s(document.get(), *information.TimeZoneName));
    information.dd__OffsetMinutes = document.value<int>(zone.offset_minutes);
    if ((information.DstSettings = document.make<ts__DstSettings>()) != nullptr)
        fill_dst(document, *information.DstSettings, zone);
}

void fill_zones(Document &document, ts__SupportedTimeZones &root, const TimeBlock &block) {
    printf("Ts->support_tz.dwsSupport_TZ_Cnt=%d\n", static_cast<int>(block.zone_count));
    root.TimeZoneInformation_ = document.make<ts__TimeZoneInformation>(VARN_TIME_ZONES);
    if (root.TimeZoneInformation_ == nullptr)
        return;
    root.__sizeTimeZoneInformation = VARN_TIME_ZONES;
    for (size_t i = 0; i < VARN_TIME_ZONES; ++i)
        fill_zone(document, root.TimeZoneInformation_[i], SupportTZList[i], block.zones[i]);
}

void fill_clock(Document &document, ts__RTCSetting &root, const TimeBlock &block) {
    const ZoneRecord &zone = block.current_zone;
    const time_t now = time(nullptr);
    tm local = {};
    tzset(); // the zone of the process may have changed since the last call
    localtime_r(&now, &local);
    root.TimeStamp = document.text(time_stamp(local, zone.offset_minutes).c_str());
    if ((root.CurrentTimeZone = document.make<ts__TimeZoneInformation>()) == nullptr)
        return;
    fill_zone(document, *root.CurrentTimeZone, zone.code, zone);
    if (root.CurrentTimeZone->DstSettings != nullptr)
        root.CurrentTimeZone->DstSettings->dd__DstOffsetMinutes =
            document.value<int>(zone.dst_offset_minutes);
}

template <typename Number>
uint8_t byte_of(const Number *value) {
    return value != nullptr ? static_cast<uint8_t>(*value) : 0;
}

/// A part that the document left out stays zero.
DstBoundary boundary_of(const ts__DstBoundary *boundary) {
    if (boundary == nullptr)
        return {};
    return {byte_of(boundary->dd__DayCount), byte_of(boundary->Day), byte_of(boundary->Month),
            byte_of(boundary->Hours)};
}

void apply_clock(const ts__RTCSetting &root, TimeBlock &block) {
    if (root.CurrentTimeZone == nullptr)
        return;
    const ts__TimeZoneInformation &information = *root.CurrentTimeZone;
    ZoneRecord &zone = block.current_zone;
    zone.code = byte_of(information.TimeZoneName);
    zone.name_reference = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(information.Name));
    if (information.dd__OffsetMinutes != nullptr)
        zone.offset_minutes = *information.dd__OffsetMinutes;
    const ts__DstSettings *dst = information.DstSettings;
    if (dst == nullptr)
        return;
    zone.dst_enabled = dst->State != nullptr && *dst->State == dd__EnableDisableRemove__enabled;
    zone.dst_start = boundary_of(dst->DstStart);
    zone.dst_end = boundary_of(dst->DstEnd);
}

} // namespace
} // namespace varn::timeservice

namespace ts = varn::timeservice;

int32_t TimeService_SupportedTimeZones_get() {
    return ts::build<ts__SupportedTimeZones>(ts::zones_ticket, ts::fill_zones);
}

int32_t TimeService_RTCSetting_customDST_get() {
    return ts::build<ts__RTCSetting>(ts::clock_ticket, ts::fill_clock);
}

int32_t TimeService_RTCSetting_put(const char *document) {
    return ts::put_into_block<ts__RTCSetting>(document, __func__, ts::apply_clock);
}

int32_t VARN_GetTimeServiceSupportedTimeZones(char **out_buf, uint32_t *out_len) {
    return ts::get<ts__SupportedTimeZones>(ts::zones_ticket, out_buf, out_len, ts::fill_zones);
}

int32_t VARN_GetTimeServiceRTCSetting(char **out_buf, uint32_t *out_len) {
    return ts::get<ts__RTCSetting>(ts::clock_ticket, out_buf, out_len, ts::fill_clock);
}

int32_t VARN_PutTimeServiceRTCSetting(const char *document) {
    return TimeService_RTCSetting_put(document);
}
