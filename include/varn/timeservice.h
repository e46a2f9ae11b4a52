/// Time service: "/TimeService/…", the clock's zone and network time. The clock runs in the engine;
/// the documents show and change its parameter block 2, 3580 bytes. Offsets below are in that
/// block.
///
/// The GETs read the block whole; when the engine refuses it counts as zeros. Both PUTs write a
/// block that holds what the document gave and is zero elsewhere: the engine decides what to take
/// from it. PUTs use the shared reader.
#ifndef VARN_TIMESERVICE_H
#define VARN_TIMESERVICE_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Zones on offer, and codes of the enumeration dd:TimeZoneName, from 0.
enum { VARN_TIME_ZONES = 108, VARN_TIME_ZONE_CODES = 134 };

/// Codes of the zones on offer, in the order of the zone records of the block and of the document.
extern VARN_API const uint32_t SupportTZList[VARN_TIME_ZONES];
/// By code: whole hours of the offset in the zone's name, cut towards zero. For callers from
/// outside; nothing here reads it.
extern VARN_API const int16_t TimeZoneOffsetHours[VARN_TIME_ZONE_CODES];

/// GET of the static tickets "/tmp/xml_tickets/timeservice/TimeServiceCap.xml" and
/// "/tmp/xml_tickets/timeservice/TimeServiceManifest.xml".
VARN_API int32_t VARN_GetTimeServiceCap(char **out_buf, uint32_t *out_len);
VARN_API int32_t VARN_GetTimeServiceManifest(char **out_buf, uint32_t *out_len);

/// GET of the zones on offer: always 108, whatever count the block has. Offset and daylight saving
/// come from the zone records at byte 4, names from the enumeration: the block's own references to
/// names are 32-bit addresses of another process and are never followed.
/// Ticket "/tmp/xml_tickets/timeservice/SupportedTimeZones.xml".
VARN_API int32_t VARN_GetTimeServiceSupportedTimeZones(char **out_buf, uint32_t *out_len);

/// GET of clock and zone: local time of this process with the offset of the zone record at byte
/// 3552, and that record. Ticket "/tmp/xml_tickets/timeservice/RTC_Setting.xml".
VARN_API int32_t VARN_GetTimeServiceRTCSetting(char **out_buf, uint32_t *out_len);
/// PUT of the zone: name, offset and daylight saving go into the record at byte 3552. The time
/// stamp and the daylight saving offset are read and ignored. A given ts:Name leaves the low half
/// of its address, which is good for nothing once the call has returned.
/// document   ts:RTCSetting; one that cannot be read writes a block of zeros
/// returns    0, also when the engine refuses; -1 for null
VARN_API int32_t VARN_PutTimeServiceRTCSetting(const char *document);

/// GET of network time: state (byte 3028), result of the last synchronisation (3032 to 3211) and
/// settings (3212 to 3363). Ticket "/tmp/xml_tickets/timeservice/SNTPSync_config.xml".
VARN_API int32_t VARN_GetTimeServiceSNTPSync(char **out_buf, uint32_t *out_len);
/// PUT of network time: state, sync state, last server, action, server and interval. A server
/// address is cut to 135 bytes. "removed" is as good as "disabled"; without any setting either is a
/// block of zeros.
/// document   ts:SNTPSync; one that cannot be read writes a block of zeros
/// returns    0, also when the engine refuses; -1 for null
VARN_API int32_t VARN_PutTimeServiceSNTPSync(const char *document);
/// GET of the settings that the action "useDefaults" brings back (bytes 3364 to 3551).
/// Ticket "/tmp/xml_tickets/timeservice/SNTPSync_Defaults.xml".
VARN_API int32_t VARN_GetTimeServiceSNTPDefaults(char **out_buf, uint32_t *out_len);

/// What is behind the calls above. The builders write their tickets and return 0; the two PUTs
/// return as theirs do.
VARN_API int32_t TimeService_SupportedTimeZones_get(void);
VARN_API int32_t TimeService_RTCSetting_customDST_get(void);
VARN_API int32_t TimeService_RTCSetting_put(const char *document);
VARN_API int32_t TimeService_SNTPSync_config_get(void);
VARN_API int32_t TimeService_SNTPSync_put(const char *document);
VARN_API int32_t TimeService_SNTPSync_default_get(void);

/// Builders without a resource; they return 0.
/// The default settings, ticket "/tmp/xml_tickets/timeservice/tsConfig.xml".
VARN_API int32_t TimeService_SNTPSync_useDefaults_get(void);
/// A sample of a synchronisation that failed, always the same, ticket
/// "/tmp/xml_tickets/timeservice/SNTPSync_syncnow.xml".
VARN_API int32_t TimeService_SNTPSync_syncNow_get(void);
/// State of network time with a discovery that succeeded, ticket
/// "/tmp/xml_tickets/timeservice/SNTPSync_DiscoveryStatus.xml".
VARN_API int32_t TimeService_SNTPSync_DiscoveryStatus_get(void);

/// An offset as it stands behind a time stamp: +330 is "+05:30". Zero is "-00:00", and the sign of
/// a negative offset comes twice or three times: -330 is "--5:-30". Hosts rely on it.
/// out       at least 16 bytes; null does nothing
/// minutes   east of Greenwich
/// returns   0
VARN_API int32_t FormratTZStr(char *out, int32_t minutes);

VARN_END_DECLS

#endif
