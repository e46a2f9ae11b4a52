/// The static resources beside the event table.

#include "varn/events.h"
#include "varn/frame.h"

int32_t VARN_GetEventSubscriptionList(char **out, uint32_t *outlen) {
    return common_read_file_data("/tmp/xml_tickets/EventMgmt/SubscriptionList", out, outlen);
}

int32_t VARN_GetEventManifest(char **out, uint32_t *outlen) {
    return common_read_file_data("/tmp/xml_tickets/EventMgmt/EventMgmtManifest.xml", out, outlen);
}

int32_t VARN_GetEventCapabilities(char **out, uint32_t *outlen) {
    return common_read_file_data("/tmp/xml_tickets/EventMgmt/EventCapabilities", out, outlen);
}
