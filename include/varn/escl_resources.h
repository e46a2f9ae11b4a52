/// The small eSCL resources: configuration, manifest, buffer information.
#ifndef VARN_ESCL_RESOURCES_H
#define VARN_ESCL_RESOURCES_H

#include "varn/base.h"
#include "varn/escl_settings.h"

struct soap;
struct scan__ScanBufferInfo;
struct scan__ScanSettingsType;

VARN_BEGIN_DECLS

/// GET of "/eSCL/eSclManifest.xml": the static ticket of that name. 0 or -1.
VARN_API int32_t eSCL_GetManifest(char **out_buf, uint32_t *out_len);

/// GET of "/eSCL/eSCLConfig": byte 27 of parameter block 4 (1 on, 0 off); the administrator's name
/// from byte 1 of block 9 when byte 0 of that block is set. The password is never told.
/// Ticket "/tmp/xml_tickets/eSCL/eSCLConfig". 0 or -1.
VARN_API int32_t eSCL_GeteSCLConfig(char **out_buf, uint32_t *out_len);
/// PUT of it: state into block 4, name and password (at most 32 characters each) into bytes 1 and
/// 41 of block 9. Credentials that are incomplete or too long are passed over in silence.
/// xml       request document
/// returns   0; -1 for a document that cannot be read or names no state, with nothing changed
/// overlap   with no other PUT through the shared reader
VARN_API int32_t eSCL_PuteSCLConfig(const char *xml);

/// PUT of "/eSCL/ScanBufferInfo": what a set of settings would produce. Values that the scanner
/// has not got are corrected, never refused. Ticket "/tmp/xml_tickets/eSCL/ScanBufferInfo.xml".
/// returns   0; -1 for null and when the ticket cannot be read back
/// overlap   with no scan start
VARN_API int32_t eSCL_PutScanBuffInfo(char *xml, uint32_t xml_len, char **out_buf,
                                      uint32_t *out_len);
/// The same, as the image-delivery side calls it.
VARN_API int32_t escl_get_scanbufferinfo(char *xml, uint32_t xml_len, char **out_buf,
                                         uint32_t *out_len);

/// Fills `info`, whose settings structure and three number buffers (16 bytes each) the caller has
/// allocated in `context`. Capabilities: "/tmp/xml_tickets/eSCL/ScannerCapabilities".
/// returns   result of the last element's parser
VARN_API int32_t ParseBufferScanSetting(struct soap *context, char *xml, uint32_t xml_len,
                                        struct scan__ScanBufferInfo *info);
/// Adds to the settings what the request left out and the block tells, in memory of `context`.
VARN_API void ModifyScanSetting(struct soap *context, struct scan__ScanSettingsType *settings,
                                const struct varn_scan_param *block);

VARN_END_DECLS

#endif
