/// Scanner capabilities: a file that is edited in place and served.
#ifndef VARN_ESCL_CAPABILITIES_H
#define VARN_ESCL_CAPABILITIES_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Copy of the NVRAM table for the capabilities, 288 bytes; null until the first request.
extern VARN_API uint8_t *p_nvramtable;

/// GET of "/eSCL/ScannerCapabilities". Edits "/web/eSCL/ScannerCapabilities" for this device and
/// this connection, then serves that file.
/// is_https  1 over HTTPS, -1 over USB, anything else plain HTTP
/// returns   0 whatever came of it: look at *out_len, which is set to 0 first
/// overlap   with no other call of this function, nor with a scan start
VARN_API int32_t eSCL_GetScanCapa(char **out_buf, uint32_t *out_len, int32_t is_https);
/// The same with the result of the read: 0 or -1. Without `out_len` it only edits the file.
VARN_API int32_t eSCL_GetScanCapa2(char **out_buf, uint32_t *out_len, int32_t is_https);

VARN_END_DECLS

#endif
