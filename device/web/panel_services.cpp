#include "device/web/panel_services.h"

#include "device/web/panel_xml.h"

#include <algorithm>

namespace varn::web {

using nlohmann::json;

namespace {

constexpr char clock_path[] = "/TimeService/RTCSetting";
constexpr char zones_path[] = "/TimeService/SupportedTimeZones";
constexpr char zone_name[] = "TimeZoneName";
constexpr char jobs_path[] = "/DevMgmt/SharePoint/PredefinedJobs";

std::vector<std::string> zones_on_offer(Device &device) {
    std::vector<std::string> names;
    const XmlTree zones = document_of_resource(device, zones_path);
    for (mxml_node_t *zone : elements(zones.get(), "TimeZoneInformation"))
        names.push_back(text_in(zone, zone_name));
    return names;
}

PanelAnswer answer_for(int status, const char *refusal) {
    if (status == 200)
        return {};
    return {409, status == 503 ? "The scan engine does not answer." : refusal, 0};
}

PanelAnswer set_zone(Device &device, const std::string &zone) {
    const auto zones = zones_on_offer(device);
    if (std::ranges::find(zones, zone) == zones.end())
        return {400, "There is no such time zone.", 0};
    const XmlTree clock = document_of_resource(device, clock_path);
    const auto name = elements(clock.get(), zone_name);
    if (name.empty())
        return {409, "The clock cannot be read.", 0};
    mxmlSetOpaque(name.front(), zone.c_str());
    // Those of the zone before; the engine knows what belongs to the new one.
    for (const char *other : {"TimeStamp", "Name", "OffsetMinutes", "DstSettings"})
        for (mxml_node_t *node : elements(clock.get(), other))
            mxmlDelete(node);
    return answer_for(change_resource(device, Method::put, clock_path, written_out(clock.get())),
                      "The time zone was not taken.");
}

} // namespace

json describe_clock(Device &device) {
    const XmlTree clock = document_of_resource(device, clock_path);
    if (!clock)
        return nullptr;
    return {{"zone", text_in(clock.get(), zone_name)}, {"zones", zones_on_offer(device)}};
}

json describe_sharepoint_jobs(Device &device) {
    json list = json::array();
    const XmlTree jobs = document_of_resource(device, jobs_path);
    for (mxml_node_t *job : elements(jobs.get(), "PredefinedJob")) {
        const auto display = elements(job, "DisplaySettings");
        const std::string uri = text_in(job, "ResourceURI");
        list.push_back({{"uuid", uri.substr(uri.rfind('/') + 1)},
                        {"name", display.empty() ? "" : text_in(display.front(), "Name")},
                        {"path", text_in(job, "SharePointPath")}});
    }
    return list;
}

std::optional<PanelAnswer> act_on_services(Device &device, const std::string &action,
                                           const json &request) {
    if (action == "clock.put")
        return set_zone(device, request.at("zone"));
    if (action == "sharepoint.test") {
        const std::string test =
            std::string(jobs_path) + "/" + request.at("uuid").get<std::string>() + "/Test";
        return answer_for(change_resource(device, Method::post, test, {}),
                          "This job is not there any more.");
    }
    return std::nullopt;
}

} // namespace varn::web
