/// The event table, and the notification of a host over USB.
///
/// The table holds one entry for each kind of event, in the order of their last occurrence, in
/// "/tmp/xml_tickets/EventMgmt/EventTable.xml". Each entry has an aging stamp "<power
/// cycle>-<count>".
///
/// Any thread may call, also while it holds locks of its own: what reads or writes the table waits
/// for each other inside the library and for nothing else.
#ifndef VARN_EVENTS_H
#define VARN_EVENTS_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Kinds of events, for VARN_SetEventTable.
enum varn_event_bit {
    VARN_EVENT_POWER_UP = 1,             /**< "PowerUpEvent" */
    VARN_EVENT_POWERING_DOWN = 2,        /**< "PoweringDownEvent" */
    VARN_EVENT_SCAN = 8,                 /**< "ScanEvent", with two payloads */
    VARN_EVENT_ALERT_TABLE_CHANGED = 16, /**< "AlertTableChanged", with the status document */
    VARN_EVENT_STATUS = 32,              /**< "StatusEvent" */
    VARN_EVENT_CAPABILITIES_CHANGED = 64 /**< "DeviceCapabilitiesChanged" */
};

enum varn_event_filter_flag { VARN_EVENT_FILTER_STAMP = 1, VARN_EVENT_FILTER_CATEGORY = 2 };

#define VARN_EVENT_STAMP_SIZE 32

/// What VARN_GetEventTable selects.
struct varn_event_filter {
    uint32_t flags;    /**< varn_event_filter_flag */
    char stamp[16];    /**< "3-17": events after the 17th; the power cycle is not looked at */
    char category[32]; /**< name of a kind, as above */
};

/// Power cycles of the device: first number of each stamp. The program sets it before the first
/// event; 0 at first.
extern VARN_API int32_t g_PowerCycle;
/// Count of the last event, as the table had it when it was last read.
extern VARN_API int32_t g_EventCount;

/// Puts an event into the table: its entry gets the next stamp and stands last.
/// eventBit  one varn_event_bit; another value is logged and changes nothing
/// uri       for VARN_EVENT_SCAN the URI of the destination, copied, at most 255 bytes; null counts
///           as "". The other kinds do not use it.
/// returns   0 always, also when the table could not be written; a table that could not be read
///           begins again with this event
VARN_API int32_t VARN_SetEventTable(int32_t eventBit, const char *uri);
/// GET of "/EventMgmt/EventTable", through the ticket
/// "/tmp/xml_tickets/EventMgmt/GetEventTable.xml".
///
/// Without filter the whole table; else every entry from the first one on that has, or has behind
/// it, all that was asked for: an entry after the stamp, an entry of the category (perhaps not the
/// same one). Entries behind it come with it, whatever they are.
/// filter        null: none
/// out, outlen   as for every GET, see varn/frame.h
/// stamp         at least VARN_EVENT_STAMP_SIZE bytes, gets the current stamp in every case; may be
///               null
/// returns   0 with a document; 0 with *outlen 0 and *out null when no entry was selected or the
///           table cannot be read; -1 when the ticket cannot be read back
VARN_API int32_t VARN_GetEventTable(const struct varn_event_filter *filter, char **out,
                                    uint32_t *outlen, char *stamp);

/// GETs of static tickets: "/EventMgmt/SubscriptionList", "/EventMgmt/EventMgmtManifest.xml",
/// "/EventMgmt/EventCapabilities".
VARN_API int32_t VARN_GetEventSubscriptionList(char **out, uint32_t *outlen);
VARN_API int32_t VARN_GetEventManifest(char **out, uint32_t *outlen);
VARN_API int32_t VARN_GetEventCapabilities(char **out, uint32_t *outlen);

/// Notifications of a USB host through the callback of VARN_SetUSBIntrCB (varn/frame.h): one byte
/// each, on the calling thread. Without a callback they do nothing. All return 0.

/// Byte 0: there is an event to be fetched.
VARN_API int32_t send_usb_kick(void);
/// send_usb_kick; the argument is not used.
VARN_API int32_t send_usb_kick_entry(uint32_t ignored);
/// Byte 1 when `is_duplex` is not 0, else byte 0.
VARN_API int32_t send_usb_kick_with_WJAContent(int32_t is_duplex);
/// Byte 1: a destination was deleted.
VARN_API int32_t send_usb_delete_notify(void);

VARN_END_DECLS

#endif
