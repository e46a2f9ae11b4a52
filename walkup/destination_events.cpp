/// The event of the walk-up destinations.

#include "frame/ticket_file.h"
#include "varn/events.h"
#include "varn/walkup_destinations.h"
#include "walkup/destination_list.h"
#include "walkup/picked_destination.h"

#include <cstdio>

using varn::Destination;
using varn::Document;

namespace varn {
namespace {

constexpr char event_ticket[] = "/tmp/xml_tickets/WalkupScanToComp/WalkupScanToCompEvent.xml";

/// Tells the picked host of an event.
int32_t notify_picked(uint32_t event, const char *caller) {
    Document document(escl_get);
    Destination picked;
    if (!read_picked(document, picked, caller))
        return -1;
    VARN_SetWalkupScanEvent(event);
    raise_scan_event(picked);
    if (!is_network(picked))
        send_usb_kick();
    return 0;
}

} // namespace

void raise_scan_event(const Destination &picked) {
    VARN_SetEventTable(VARN_EVENT_SCAN,
                       picked.dd__ResourceURI != nullptr ? picked.dd__ResourceURI : "");
}

} // namespace varn

int32_t VARN_GetWalkupScanEvent(char **out, uint32_t *outlen) {
    return common_read_file_data(varn::event_ticket, out, outlen);
}

int32_t VARN_SetWalkupScanEvent(uint32_t event) {
    if (event > wus__WalkupScanToCompEventType__ScanPagesComplete) {
        printf("%s:%d: error,not support walkup scan event:%u !\n", __func__, __LINE__, event);
        return -1;
    }
    Document document(varn::escl_get);
    wus__WalkupScanToCompEvent root;
    root.WalkupScanToCompEventType =
        document.value(static_cast<wus__WalkupScanToCompEventType>(event));
    if (!varn::write_ticket(document, root, varn::event_ticket, {"Write", __func__}))
        printf("%s:%d: error,soap_write_wus__WalkupScanToCompEvent happen error:%d !\n", __func__,
               __LINE__, document.error());
    return 0;
}

int32_t VARN_SetWalkupScanEvent_Complete(void) {
    VARN_SetWalkupScanEvent(wus__WalkupScanToCompEventType__ScanPagesComplete);
    return 0;
}

int32_t VARN_ResumeWalkupScan(void) {
    return varn::notify_picked(wus__WalkupScanToCompEventType__ScanNewPageRequested, __func__);
}

int32_t VARN_StopResumeWalkupScan(void) {
    return varn::notify_picked(wus__WalkupScanToCompEventType__ScanPagesComplete, __func__);
}
