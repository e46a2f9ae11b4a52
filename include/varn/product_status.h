/// Maintenance of the scanner: "/DevMgmt/ProductStatusDyn.xml" with its alerts, the counters of
/// "/DevMgmt/ProductUsageDyn.xml", and "/DevMgmt/ProductServiceDyn.xml", by which a service tool
/// records that maintenance was done.
///
/// The state below is plain and unlocked: calls of VARN_GetProductStatDyn, VARN_PutProductStatDyn
/// and VARN_PutProductServiceDyn must not overlap. It is lost with the process, so an acknowledged
/// alert returns after a restart while its counters still call for it.
#ifndef VARN_PRODUCT_STATUS_H
#define VARN_PRODUCT_STATUS_H

#include "varn/base.h"

VARN_BEGIN_DECLS

extern VARN_API uint32_t g_cleanroller_seq_num;   /**< of the alert; 0 while it is not raised */
extern VARN_API uint32_t g_replaceroller_seq_num; /**< likewise */
extern VARN_API uint32_t g_replacepad_seq_num;    /**< likewise */
extern VARN_API uint32_t ModificationNumber;      /**< counts every rise and fall of an alert */
extern VARN_API uint32_t AlertEvtCnt;             /**< alerts now raised */
extern VARN_API int32_t ap_record_clean_roller;   /**< 1: acknowledged; silences the alert */
extern VARN_API int32_t ap_record_replace_roller; /**< likewise */
extern VARN_API int32_t ap_record_replace_pad;    /**< likewise */

/// GET of the status. Raises and lowers the alerts by the NVRAM file and the marker files
/// "/tmp/cleanp" and "/tmp/replacer" (which raises two: rollers and pad), then writes those that
/// are raised: clean (172), rollers (174), pad (173). Without an NVRAM file the markers alone
/// count. Ticket "/tmp/xml_tickets/DevMgmt/ProductStatusDyn.xml".
VARN_API int32_t VARN_GetProductStatDyn(char **out_buf, uint32_t *out_len);

/// PUT of the status: acknowledges the first alert of the document when the first user action of
/// its details is "pressOK"; the marker file of a clean or roller alert is removed. Alerts after
/// the first are not looked at. An alert without code, details or user action changes nothing.
/// fd        not used
/// xml       request document with dd:Version and psdyn:AlertTable
/// returns   0; -1 for null; 400 not readable, or without one of the two
VARN_API int32_t VARN_PutProductStatDyn(uint32_t fd, char *xml);

/// GET of the static ticket "/tmp/xml_tickets/DevMgmt/ProductStatusCap.xml".
VARN_API int32_t VARN_GetProductStatCap(char **out_buf, uint32_t *out_len);

/// GET of the counters: NVRAM file, and the word at byte 24 of the engine's counters block, which
/// the flatbed count is added to. What cannot be read counts as 0.
/// Ticket "/tmp/xml_tickets/DevMgmt/ProductUsageDyn.xml".
VARN_API int32_t VARN_GetProductUsageDyn(char **out_buf, uint32_t *out_len);

/// GET of the static ticket "/tmp/xml_tickets/DevMgmt/ProductUsageCap.xml".
VARN_API int32_t VARN_GetProductUsageCap(char **out_buf, uint32_t *out_len);

/// GET of the maintenance counters of the NVRAM file; those of the pad are never shown.
/// Ticket "/tmp/xml_tickets/DevMgmt/ProductServiceDyn.xml".
VARN_API int32_t VARN_GetProductServiceDyn(char **out_buf, uint32_t *out_len);

/// PUT of the maintenance counters, all six optional. The three counts are cut to 16 bits, and
/// each re-arms its alert; a text that is no number is 0; a number out of the range of a long
/// leaves its counter and alert alone. The NVRAM table is read from flash and written back through
/// the engine, whose refusal is not looked at; without a table nothing is written.
/// fd        engine link
/// xml       request document
/// returns   0; -1 for null; 400 not readable, without prdservicedyn:ScannerMaintenance, or with
///           an element that cannot be set; nothing is written then
VARN_API int32_t VARN_PutProductServiceDyn(uint32_t fd, char *xml);

/// GET of the static ticket "/tmp/xml_tickets/DevMgmt/ProductServiceCap.xml".
VARN_API int32_t VARN_GetProductServiceCap(char **out_buf, uint32_t *out_len);

VARN_END_DECLS

#endif
