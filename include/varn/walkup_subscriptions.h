/// Walk-up scanning over eSCL: the hosts that subscribed, and the event that calls one of them.
///
/// A host subscribes and so becomes a destination at the device's panel. When the operator picks
/// it, the panel side writes an event, which the host fetches by polling. The subscriptions are
/// the engine's PC list, which outlives a restart and which varn/walkup_destinations.h shares.
/// Every function here works on the engine link of VARN_Init unless it is handed one.
///
/// Order of a walk-up scan, and who calls:
///   1. host, request thread   eSCL_CreateWalkupSubscription
///   2. panel                  reads the records (mvtc_read_H1_PCList) to show them, then
///                             eSCL_SetWalkupScanDest_NetworkScan (or eSCL_SetWalkupScanDest for
///                             the one USB host) with SCAN_PC_TIMS 0: "ScanRequested"
///   3. host, request thread   eSCL_GetWalkupScanEvent until it gives 1, then an ordinary scan job
///   4. panel                  eSCL_SetWalkupScanDest_NetworkScan with SCAN_PC_TIMS 32767:
///                             "ScanPagesComplete"
///   5. host, request thread   eSCL_DeleteWalkupSubscription
/// The panel may call from any thread that has 256 KiB of stack. The event ticket is guarded by
/// its file lock, so writers and poller may meet. What must not overlap: two calls of create,
/// get and delete of this header or of varn/walkup_destinations.h; create with any other call of
/// common_create_uuid (a scan start is one) and with a PUT through the shared reader; the two
/// event writers with each other and with a GET that uses MyMalloc, because they set its context.
#ifndef VARN_WALKUP_SUBSCRIPTIONS_H
#define VARN_WALKUP_SUBSCRIPTIONS_H

#include "varn/base.h"

struct scan__WalkupScanSubscription;

VARN_BEGIN_DECLS

#define VARN_PC_SHORTCUTS 20

/// Entry of the engine's PC list, 4312 bytes, little-endian, zero-filled. The engine knows an
/// entry by its UUID. Texts are terminated unless they fill their field.
struct varn_pc_record {
    char szPCNameUTF8[256];
    char szPCUUID[40];      /**< 36 characters */
    char szPCPIN[88];       /**< as the host gave it; empty: none */
    uint32_t dwLinkType;    /**< 0 USB, 1 network */
    uint32_t dwShortcutNum; /**< at most VARN_PC_SHORTCUTS */
    /** eSCL subscriptions begin at slot 0, walk-up destinations put their own at slot 7 */
    char szShortcut[VARN_PC_SHORTCUTS][196];
};

/// POST of "/eSCL/WalkupSubscriptions": adds a record to the PC list. A host name (up to 255
/// bytes) that is already there keeps its UUID and has its record replaced.
/// xml       a scan:WalkupScanSubscription
/// uuid      set to the UUID, in storage of the library that the next create uses again
/// returns   0: web servers answer 201 with the location "/eSCL/WalkupSubscriptions/UUID"; 400
///           for null, a document that cannot be read, no scan:Connection, a network link without
///           scan:HostIdentifier, more than 20 shortcuts, and a text that does not fit its field;
///           409 for a network link when 10 are there, also of a known host, and when the engine
///           does not tell; -1 without a usable UUID and when the engine takes no more records
VARN_API int32_t eSCL_CreateWalkupSubscription(const char *xml, char **uuid);

/// GET of "/eSCL/WalkupSubscriptions/UUID", or of all with null.
/// An unknown UUID answers an empty element, whose required parts are nil. scan:PIN is told for
/// one subscription whenever it has one, in the collection only for those that also have
/// shortcuts. Ticket "/tmp/xml_tickets/eSCL/WalkupSubscriptions.xml".
/// returns   result of common_read_file_data
VARN_API int32_t eSCL_GetWalkupSubscription(const char *uuid, char **out, uint32_t *outlen);

/// DELETE of "/eSCL/WalkupSubscriptions/UUID": takes every record with that UUID from the PC list.
/// returns   0, also when there is none
VARN_API int32_t eSCL_DeleteWalkupSubscription(const char *uuid);

/// A host asks for its event. Ticket "/tmp/xml_tickets/eSCL/WalkupScanEvent.xml", which is there
/// only while an event waits. An event for another host stays, and so hides those behind it.
/// uuid      of the asking host
/// out       the event, to be freed by the caller; set with result 1 only, and so is outlen
/// returns   1 delivered, and gone from the device; 0 nothing
VARN_API int32_t eSCL_GetWalkupScanEvent(const char *uuid, char **out, uint32_t *outlen);

/// The operator picked the USB host: writes a "ScanRequested" event for the first record of the
/// PC list, whatever `selectindex` says. A shorter event than the one that still waits leaves the
/// end of the older one behind it in the ticket.
/// selectindex   for the log
/// shortcut      0 and below SavePDF, 1 SaveJPEG, 2 EmailPDF, 3 SendToCloud, above an empty one
/// duplex        0 or 1: in the event's settings; else the event has no settings
/// returns       0, also with an empty list, when nothing is written
VARN_API int32_t eSCL_SetWalkupScanDest(uint32_t ignored, int32_t selectindex, int32_t shortcut,
                                        uint32_t duplex);

/// The operator picked a host: writes its event in place of one that waits.
/// pc              its record: name, link type and shortcuts; null writes nothing
/// shortcutIndex   slot of the record's shortcut; 20 and above an empty one
/// duplex          0 or 1: in the event's settings; else the event has no settings
/// uuid            of the host; null counts as empty
/// SCAN_PC_TIMS    32767 "ScanPagesComplete", else "ScanRequested"
/// returns         0, also when the ticket cannot be written, which is logged
VARN_API int32_t eSCL_SetWalkupScanDest_NetworkScan(const struct varn_pc_record *pc,
                                                    uint32_t ignored, uint32_t shortcutIndex,
                                                    int32_t duplex, const char *uuid,
                                                    int32_t SCAN_PC_TIMS);

/// Writes one subscription to the PC list, in place of a record with its UUID.
/// fd            engine link
/// uuid          at most 39 characters
/// subscription  the binding's structure of the request
/// returns       0; 400 as eSCL_CreateWalkupSubscription; -1 when the engine refuses it
VARN_API int32_t add_or_update_pclist(int32_t fd, const char *uuid,
                                      const struct scan__WalkupScanSubscription *subscription);

/// Whether the PC list has room, by the engine's number for it (PC list selector 7).
/// link      0 USB, which is not limited
/// returns   -1 with a network link and a number above 9; else the result of the engine
VARN_API int32_t ChkPCListCntIsvalid(int32_t fd, int32_t link);

/// Looks a host up in the PC list. A stored name that `name` begins with is a match, so an empty
/// stored one always is.
/// uuid      40 bytes: the UUID field of the first match
/// returns   1 found; 0 not, or a null argument
VARN_API int32_t ChkPClistIsExist(int32_t fd, char *name, char uuid[40]);

VARN_END_DECLS

#endif
