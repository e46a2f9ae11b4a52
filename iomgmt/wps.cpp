/// Wi-Fi Protected Setup of the station: the session runs in the net service and is only started,
/// stopped and watched here.

#include "iomgmt/fill.h"
#include "iomgmt/messages.h"
#include "varn/io_adapters.h"

#include <cstdio>

using varn::Document;
using namespace varn::net;

namespace {

enum wifi__WpsStatus session_status() {
    const StatusBlock block(Refresh::settings);
    if (block.flag(wps::running))
        return wifi__WpsStatus__processing;
    const bool failed =
        block.flag(wps::failed1) || block.flag(wps::failed2) || block.flag(wps::failed3);
    // A session that never ran reads as a success.
    return block.flag(wps::succeeded) || !failed ? wifi__WpsStatus__success
                                                 : wifi__WpsStatus__failure;
}

int32_t write_session(const char *ticket) {
    const enum wifi__WpsStatus status = session_status();
    varn::write_document<io__WpsSession>(varn::namespaced_get, ticket,
                                         [&](Document &document, io__WpsSession &root) {
                                             root.wifi__WpsStatus = document.value(status);
                                         });
    return 0;
}

} // namespace

extern "C" {

int32_t Adapters_wifi0_WPS_PinSessions_PUT(const char *xml) {
    return act_on_document<io__WpsSession>(xml, [](const io__WpsSession &root) {
        if (root.wifi__WpsPin_ == nullptr)
            return;
        printf("WpsPin is %s\n", root.wifi__WpsPin_);
        char msg[VARN_NET_MESSAGE_SIZE];
        if (format_message(msg, wps_run_pin, root.wifi__WpsPin_) > 0)
            NetClient_Msg(msg);
    });
}

int32_t Adapters_wifi0_WPS_PinSessions(void) {
    return write_session("/tmp/xml_tickets/IoMgmt/PinSession.xml");
}

int32_t Adapters_wifi0_WPS_Delete_PinSessions(void) {
    NetClient_Msg(wps_cancel);
    return 0;
}

int32_t Adapters_wifi0_WPS_PushButtonRun(void) {
    NetClient_Msg(wps_push_button);
    return 0;
}

int32_t Adapters_wifi0_WPS_PushButtonSessions(void) {
    return write_session("/tmp/xml_tickets/IoMgmt/PushButton.xml");
}

int32_t Adapters_wifi0_WPS_PushButtonCancel(void) {
    // No message: the read itself is the cancel.
    const StatusBlock cancel(Refresh::cancel_push_button);
    return 0;
}

int32_t Adapters_Wifi0_WPS_PinSessions_Start(void) {
    NetClient_Msg(wps_get_pin);
    const std::string pin = StatusBlock(Refresh::settings).text(wps::pin_code);
    printf("Wireless.PinCode (%s) \n", pin.c_str());
    varn::write_document<io__WpsSession>(varn::namespaced_get, "/tmp/xml_tickets/IoMgmt/WPSPIN.xml",
                                         [&](Document &document, io__WpsSession &root) {
                                             root.wifi__WpsPin_ = document.text(pin.c_str());
                                         });
    return 0;
}
}
