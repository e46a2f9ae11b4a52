/// Walk-up scanning under "/WalkupScanToComp": destinations, the picked one, and its events.
///
/// Hosts register destinations; picking one at the panel writes the picked destination and an
/// event, puts the event into the event table (varn/events.h) and notifies a USB host. The
/// destinations are a document, each with an entry of the engine's PC list beside it (record and
/// limits in varn/walkup_subscriptions.h). Tickets lie in "/tmp/xml_tickets/WalkupScanToComp/".
/// "The list" below is "WalkupScanToCompDestinations.xml", "the picked destination"
/// "WalkupSelectDestination.xml". Every function works on the engine link of VARN_Init unless it
/// is handed one.
///
/// Order of a walk-up scan, and who calls:
///   1. host, request thread   VARN_CreateWalkupScanDestination
///   2. panel                  VARN_GetWalkupScanDests and VARN_GetCustomerShortcutName, to show
///                             what can be picked; VARN_FreeWalkupScanDests
///   3. panel                  VARN_SetWalkupScanDest_NetworkScan with SCAN_PC_TIMS 0, or
///                             VARN_SetWalkupScanDest for a USB host: "ScanRequested"
///   4. host, request thread   sees event 7 in the event table or the USB notification, reads
///                             VARN_GetWalkupScanEvent and VARN_GetWalkupScanDestination with its
///                             URI, which now holds its settings; then an ordinary scan job
///   5. panel                  VARN_ResumeWalkupScan for a new page, then
///                             VARN_SetWalkupScanEvent_Complete or VARN_StopResumeWalkupScan
///   6. host, request thread   VARN_DeleteWalkupScanDestination
/// The panel may call from any thread that has 256 KiB of stack. The list is guarded by its file
/// lock. What must not overlap: any two functions of this header, as they share tickets (the
/// panel takes the lock group of the resources); create also with common_create_uuid and with a
/// PUT through the shared reader.
#ifndef VARN_WALKUP_DESTINATIONS_H
#define VARN_WALKUP_DESTINATIONS_H

#include "varn/base.h"

struct soap;
struct wus__WalkupScanToCompDestination;

VARN_BEGIN_DECLS

/// One destination for the panel's list; texts are terminated and cut to their field.
struct WalkupScanDest {
    int32_t index;    /**< place in the list, from 0 */
    char name[64];    /**< dd3:Hostname */
    int32_t linkType; /**< 0 USB, 1 network */
    int32_t nCustom;  /**< used entries of `custom`; a fifth custom shortcut is not told */
    char custom[4][32];
};
/// What the panel offers. Owned by its caller, released with VARN_FreeWalkupScanDests.
struct WalkupScanDests {
    int32_t userActionTimeout; /**< capabilities, whole part of the value */
    int32_t nShortcuts;        /**< used entries of `shortcuts` */
    char shortcuts[6][32];     /**< the device's own, from the capabilities */
    int32_t nDests;
    struct WalkupScanDest *dests; /**< `nDests` */
};

/// GET of "/WalkupScanToComp/WalkupScanManifest.xml": the static ticket of that name. 0 or -1.
VARN_API int32_t VARN_GetWalkupScanManifest(char **out, uint32_t *outlen);
/// GET of "/WalkupScanToComp/WalkupScanToCompCaps": the static ticket of that name. 0 or -1.
/// isMac     for the log
VARN_API int32_t VARN_GetWalkupScanCapabilities(char **out, uint32_t *outlen, int32_t isMac);
/// GET of "/WalkupScanToComp/WalkupScanToCompEvent": the event that was written last, which stays.
/// Ticket "WalkupScanToCompEvent.xml". 0; -1 before the first one.
VARN_API int32_t VARN_GetWalkupScanEvent(char **out, uint32_t *outlen);

/// GET of a destination, or of all with null.
/// uri       "/WalkupScanToComp/WalkupScanToCompDestinations/UUID". The picked destination is
///           told with its scan settings and shortcut, another from the list by way of
///           "WalkupOneDestination.xml"
/// returns   result of common_read_file_data; 0 with `*outlen` 0 and no buffer when the list
///           cannot be read and for an unknown URI
VARN_API int32_t VARN_GetWalkupScanDestination(const char *uri, char **out, uint32_t *outlen);

/// The list and the capabilities in a form for the panel.
/// dests     null, or an old result, which is freed when there is a new one
/// returns   0; -1 with an empty or unreadable list, with `*dests` left alone
VARN_API int32_t VARN_GetWalkupScanDests(struct WalkupScanDests **dests);
/// Frees a result and nulls the pointer; null is allowed. Returns 0.
VARN_API int32_t VARN_FreeWalkupScanDests(struct WalkupScanDests **dests);

/// POST of "/WalkupScanToComp/WalkupScanToCompDestinations".
///
/// There is one USB destination; a new one takes its place. A network destination takes the place
/// of the one with its dd:Name. A host that the PC list knows by dd3:Hostname (ChkPClistIsExist)
/// keeps its UUID. The posted document is kept as "CustomShortcuts.xml.UUID". A refusal by the
/// capabilities comes after the PC list took the host.
/// xml         a wus:WalkupScanToCompDestination
/// uuid        set to the UUID, in storage of the library that the next create uses again; the
///             location is "/WalkupScanToComp/WalkupScanToCompDestinations/UUID"
/// checkLimit  nonzero: not with ten network destinations, not even to replace one
/// returns     0; 409 when the PC list is full (10 network hosts), when the list is longer than
///             wus:MaxNetworkDestinations + 1, for more custom shortcuts than
///             wus:MaxCustomShortcuts, and by checkLimit; -1 for null, a document that cannot be
///             read, no wus:LinkType or dd3:Hostname, a text that the PC list has no room for,
///             and without a usable UUID
VARN_API int32_t VARN_CreateWalkupScanDestination(const char *xml, char **uuid, int32_t checkLimit);
/// DELETE of a destination, in the list, the PC list and its custom shortcuts.
/// uri       as VARN_GetWalkupScanDestination
/// returns   0, also when the list cannot be written, which is logged; -1 for null, an unknown
///           URI, an empty list and one that cannot be read
VARN_API int32_t VARN_DeleteWalkupScanDestination(const char *uri);

/// Writes "WalkupScanToCompEvent.xml".
/// event     0 HostSelected, 1 ScanRequested, 2 ScanNewPageRequested, 3 ScanPagesComplete
/// returns   0; -1 for another number, with nothing written
VARN_API int32_t VARN_SetWalkupScanEvent(uint32_t event);
/// Event 3. Returns 0.
VARN_API int32_t VARN_SetWalkupScanEvent_Complete(void);

/// Changes how the picked destination is to be scanned; event 1, event table and USB notification
/// as when it was picked.
/// params    a word (0 simplex, 1 duplex) and, from byte 4 on, a terminated shortcut
/// returns   0; -1 for null and when no destination has been picked
VARN_API int32_t VARN_SetWalkupScanParameter(uint32_t a, uint32_t b, const uint32_t *params);

/// The picked host is asked for a new page: event 2, event table, USB notification.
/// Returns 0; -1 when no destination has been picked.
VARN_API int32_t VARN_ResumeWalkupScan(void);
/// The picked host is told that no more pages come: event 3, event table, USB notification.
/// Returns 0; -1 when no destination has been picked.
VARN_API int32_t VARN_StopResumeWalkupScan(void);

/// The operator picked the USB host: the last entry of the list becomes the picked destination,
/// whatever `selectindex` says; then event 1, event table, and for USB the notification.
/// selectindex    below the length of the list
/// shortcut       0, 1 and 7 GeneralScan; 2 SaveJPEG; 3 EmailPDF; 4 EmailJPEG; 5 SaveEditableText;
///                6 SendToCloud; from 8 on the custom shortcut of that number less 8; an empty one
///                for a number that has none
/// panelScanType  0 simplex, else duplex
/// uuid           whose custom shortcuts; null takes "CustomShortcuts.xml"
/// returns        0; -1 when the list cannot be read or is not longer than `selectindex`
VARN_API int32_t VARN_SetWalkupScanDest(uint32_t ignored, int32_t selectindex, int32_t shortcut,
                                        uint32_t panelScanType, const char *uuid);
/// The operator picked a host: its entry becomes the picked destination; then its event, event
/// table, and for USB the notification.
/// selectindex    entries behind that of the host; 0 is the host itself
/// shortcut       0 and 1 SavePDF; 2 SaveJPEG; 3 EmailPDF; 4 EmailJPEG; 5 SaveEditableText;
///                6 SendToCloud; 7 GeneralScan; from 8 on by VARN_GetCustomerShortcutName
/// panelScanType  0 simplex, else duplex
/// uuid           of the host, or its URI
/// SCAN_PC_TIMS   32767 event 3; above 0 event 2; else event 1
/// returns        0; -1 when the list cannot be read, has no such host, or ends before the entry
VARN_API int32_t VARN_SetWalkupScanDest_NetworkScan(uint32_t ignored, int32_t selectindex,
                                                    int32_t shortcut, uint32_t panelScanType,
                                                    const char *uuid, int32_t SCAN_PC_TIMS);
/// Returns 0 for a nonzero argument, else -1; does nothing.
VARN_API int32_t VARN_SetWalkupScanDest_Net(uint32_t a);

/// Custom shortcut by the panel's number.
/// index     above 8: custom shortcut index - 8, from 0; else the first
/// dst       196 bytes; terminated; empty when there is none
/// uuid      of the host; null takes "CustomShortcuts.xml"
/// returns   0
VARN_API int32_t VARN_GetCustomerShortcutName(int32_t index, char *dst, const char *uuid);

/// Writes a posted destination, with its custom shortcuts, to "CustomShortcuts.xml.UUID".
/// Returns 0; -1 for null and when the file cannot be written.
VARN_API int32_t create_new_WalkupScanToCompDestinations_ShortCut(
    const char *uuid, const struct wus__WalkupScanToCompDestination *destination);

/// Writes the PC list entry of a destination: its link type, name and custom shortcuts, these
/// from slot 7 on.
/// fd        engine link
/// returns   0, whatever the engine says; -1 for a destination that does not fit the record, with
///           nothing written
VARN_API int32_t AddPClistToMVT(int32_t fd, const char *uuid,
                                const struct wus__WalkupScanToCompDestination *destination);
/// Removes it, by the UUID of the destination's URI. Returns 0.
VARN_API int32_t RemovePClistToMVT(int32_t fd,
                                   const struct wus__WalkupScanToCompDestination *destination);
/// Deep copy: what `to` points at afterwards lives in `context`. Returns 0.
VARN_API int32_t copy_WalkupScanToCompDestination(
    struct soap *context, const struct wus__WalkupScanToCompDestination *from,
    struct wus__WalkupScanToCompDestination *to);

VARN_END_DECLS

#endif
