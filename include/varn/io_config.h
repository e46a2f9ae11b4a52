/// Host name, domain and SNMP settings, and the device's net applications.
///
/// SNMP settings live in "/datafs/snmp.xml", one line: `accessRW` ("RW" or "R"),
/// `defaultGetCommunity` ("Enable" or "Disable"), `getCommunity`, `setCommunity`. Who changes them
/// rewrites the file and runs /usr/bin/RestartSnmp, which has to return. In documents the text
/// "NO SET" stands for an empty community name. Values are cut to 255 bytes.
///
/// The application switches live in parameter block 4 of the engine (212 bytes): byte 3 SNMP, 5
/// WS-Discovery, 24 DHCPv6, 25 automatic wireless configuration; text from 104 the application
/// service name.
///
/// What must not overlap: two calls with the same ticket, two PUTs (shared reader), two GETs that
/// use MyMalloc, two writers of the SNMP file or of parameter block 4.
#ifndef VARN_IO_CONFIG_H
#define VARN_IO_CONFIG_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// GET of "/IoMgmt/IoConfig.xml": host name and domain of eth0 while it has a carrier, else of
/// wlan0. Ticket "/tmp/xml_tickets/IoMgmt/IoConfig.xml". 0 or -1.
VARN_API int32_t VARN_GetIoConfig(char **out_buf, uint32_t *out_len);
/// PUT of it: the host name, at most 63 bytes, goes to the net service (command 10, 64 bytes). A
/// longer one is passed over in silence, as is all else in the document.
/// returns   0; -1 for null
VARN_API int32_t VARN_PutIoConfig(const char *ignored, const char *xml);
/// The steps behind the two: write the ticket; apply a document. Return 0; -1 for null.
VARN_API int32_t IoConfig(void);
VARN_API int32_t IoConfig_put(const char *xml);

/// GET of "/DevMgmt/IOConfigDyn.xml": three adaptors, two of them with host name and community
/// names. Ticket "/tmp/xml_tickets/DevMgmt/IOConfigDyn.xml". 0 or -1.
VARN_API int32_t VARN_GetIOConfigDyn(char **out_buf, uint32_t *out_len);
/// PUT of it: the community names of the SNMP applications of its first adaptor; the file is
/// written and the agent restarted once for each.
/// returns   size of the SNMP file as last read, -1 without one; 0 when nothing was to be done;
///           -1 for null and for a document that cannot be read
VARN_API int32_t VARN_PutIOConfigDyn(const char *xml);

/// GETs of static tickets in "/tmp/xml_tickets/DevMgmt/": NetAppsCap.xml, NetAppsSecureCap.xml,
/// NetAppsSecureManifest.xml. 0 or -1.
VARN_API int32_t VARN_GetNetAppsCap(char **out_buf, uint32_t *out_len);
VARN_API int32_t VARN_GetNetAppsSecureCap(char **out_buf, uint32_t *out_len);
VARN_API int32_t VARN_GetNetAppsSecureManifest(char **out_buf, uint32_t *out_len);

/// GET of "/DevMgmt/NetAppsDyn.xml". Ticket "/tmp/xml_tickets/DevMgmt/NetAppsDyn.xml". 0 or -1.
VARN_API int32_t VARN_GetNetAppsDyn(char **out_buf, uint32_t *out_len);
/// PUT of it, part by part in the document's order, each at once. The domain name sets the host
/// name, DHCPv6 switches IPv6 as a whole, and any access option makes SNMP read-only. A service
/// name is cut to what the block holds behind byte 104.
/// returns   0; with an SNMP part the size of its file, -1 without one; -1 for null and for a
///           document that cannot be read
VARN_API int32_t VARN_PutNetAppsDyn(const char *xml);

/// GET of "/DevMgmt/NetAppsSecureDyn.xml": automatic wireless configuration. Ticket
/// "/tmp/xml_tickets/DevMgmt/NetAppsSecureDyn.xml". 0 or -1.
VARN_API int32_t VARN_GetNetAppsSecureDyn(char **out_buf, uint32_t *out_len);
/// PUT of it. A document without the switch changes nothing. 0, or -1 as above.
VARN_API int32_t VARN_PutNetAppsSecureDyn(const char *xml);

VARN_END_DECLS

#endif
