/// Product configuration: "/DevMgmt/ProductConfigDyn.xml" and its capability document.
#ifndef VARN_PRODUCT_H
#define VARN_PRODUCT_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// GET of the configuration: firmware identity files, NVRAM file, power file, memory of the
/// machine. A file that is missing leaves its element without a value.
/// Ticket "/tmp/xml_tickets/DevMgmt/ProductConfigDyn.xml".
VARN_API int32_t VARN_GetProductConfigDyn(char **out_buf, uint32_t *out_len);

/// PUT of the configuration: asset number (at most 63 characters, NVRAM byte 176 through the
/// engine), sleep time, auto-off time, panel language. Each is applied at once, in this order;
/// what was applied before a refusal stays.
/// fd        engine link
/// xml       request document, must begin with an XML declaration
/// returns   0; -1 for null; 400 not acceptable; 405 a read-only element
VARN_API int32_t VARN_PutProductConfigDyn(uint32_t fd, char *xml);

/// GET of the static ticket "/tmp/xml_tickets/DevMgmt/ProductConfigCap_RTC.xml".
VARN_API int32_t VARN_GetProductConfigCap(char **out_buf, uint32_t *out_len);

/// Panel language code of a word, exact match; 0 (English) for an unknown word. Returns 0; -1 for
/// a null argument.
VARN_API int32_t DevMgmt_GetPlatDevLang(uint32_t *code, const char *text);
/// Word of a code, "en" for an unknown one. dst at least 8 bytes. Returns 0; -1 for null.
VARN_API int32_t DevMgmt_SetPlatDevLang(const uint32_t *code, char *dst);
/// 0 when `text` occurs anywhere in "/tmp/xml_tickets/DevMgmt/ProductConfigCap.xml"; negative
/// when it does not, and when the file cannot be read.
VARN_API int32_t DevMgmt_AdjustPlatSleepRange(const char *text);

VARN_END_DECLS

#endif
