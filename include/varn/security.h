/// The two passwords of the device: the administrator's, a digest line that belongs to the web
/// server, and that of the web pages (EWS), kept by the engine. And "/DevMgmt/SecurityDyn.xml".
///
/// Nothing here counts failed attempts: slowing a guesser down is the caller's business.
#ifndef VARN_SECURITY_H
#define VARN_SECURITY_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Realm of the administrator's digest line: the web server's digest authentication uses it too.
#define VARN_ADMIN_REALM "varn-device"

/// Returns 1 when "/etc/user.txt" has a first line; 0 otherwise.
VARN_API int32_t VARN_AdminHasSetPassword(void);

/// Tests a candidate for the administrator's password: the web server's program
/// ("/usr/bin/mongoose -A FILE REALM admin CANDIDATE") writes the candidate's digest line into
/// "/tmp/panelcheck.txt", which only its owner can read, and that line is compared with the first
/// one of "/etc/user.txt". The file name is a fixed one: calls must not overlap. A program that
/// takes longer than ten seconds is ended.
/// password  candidate; one that would make a command line of 272 bytes or more does not match
/// returns   1 for a match, and for any candidate while "/etc/user.txt" is empty; else 0
VARN_API int32_t VARN_CheckPassword(const char *password);

/// Tests a candidate for the password of the web pages: 40 bytes from byte 172 of parameter
/// block 4 of the engine.
/// returns   1 for a match, and for any candidate while none is set; 0 otherwise, and when the
///           engine does not answer
VARN_API int32_t VARN_CheckEWSPassword(const char *password);

/// GET of the security document: the password of the web pages, or an empty root while none is
/// set. Ticket "/tmp/xml_tickets/DevMgmt/SecurityDyn.xml".
VARN_API int32_t VARN_GetSecurityDyn(char **out_buf, uint32_t *out_len);

/// PUT of the security document: its dd:Password, cut to 39 bytes, becomes the password of the
/// web pages; an empty one removes it. Every other element is ignored, and the block is written
/// back in any case. Asks for no old password: the caller must have authorised the request.
/// xml       request document
/// returns   result of the engine's write or, negative, of its read; -1 for null and for a
///           document that cannot be read
VARN_API int32_t VARN_PutSecurityDyn(const char *xml);

/// GET of the static ticket "/tmp/xml_tickets/DevMgmt/SecurityCap.xml".
VARN_API int32_t VARN_GetSecurityCap(char **out_buf, uint32_t *out_len);

VARN_END_DECLS

#endif
