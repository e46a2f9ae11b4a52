#include "device/web/panel_maintenance.h"

#include "device/web/panel_xml.h"

#include <algorithm>

namespace varn::web {

using nlohmann::json;

namespace {

using namespace std::chrono_literals;

constexpr auto period = 2s;
constexpr char status_path[] = "/DevMgmt/ProductStatusDyn.xml";
constexpr char alert_name[] = "Alert";
constexpr char id_name[] = "ProductStatusAlertID";

std::vector<std::string> raised_alerts(mxml_node_t *status) {
    std::vector<std::string> raised;
    for (mxml_node_t *alert : elements(status, alert_name))
        raised.push_back(text_in(alert, id_name));
    return raised;
}

bool is_raised(mxml_node_t *status, const std::string &id) {
    const auto raised = raised_alerts(status);
    return std::ranges::find(raised, id) != raised.end();
}

} // namespace

json PanelMaintenance::shown(const json &engine) {
    const std::lock_guard lock(mutex_);
    if (!shown_.is_null() && Clock::now() < next_)
        return shown_;
    next_ = Clock::now() + period;
    const XmlTree status = document_of_resource(device_, status_path);
    shown_ = {{"alerts", raised_alerts(status.get())},
              {"counts", engine.value("counts", json())},
              {"wear", engine.value("wear", json())}};
    return shown_;
}

PanelAnswer PanelMaintenance::acknowledge(const std::string &alert) {
    PanelAnswer answer = press_ok(alert);
    const std::lock_guard lock(mutex_);
    next_ = {};
    return answer;
}

PanelAnswer PanelMaintenance::press_ok(const std::string &alert) {
    const XmlTree status = document_of_resource(device_, status_path);
    if (!is_raised(status.get(), alert))
        return {409, "This alert is not raised any more.", 0};
    // The first alert of a document is the one that is acknowledged, with the action that the
    // device itself put into it.
    for (mxml_node_t *each : elements(status.get(), alert_name))
        if (text_in(each, id_name) != alert)
            mxmlDelete(each);
    if (change_resource(device_, Method::put, status_path, written_out(status.get())) != 200)
        return {409, "The scan engine does not answer.", 0};
    const XmlTree after = document_of_resource(device_, status_path);
    if (is_raised(after.get(), alert))
        return {409,
                "The alert stays as long as something calls for it. That of the pad may go with "
                "that of the rollers.",
                0};
    return {};
}

} // namespace varn::web
