/// What a scan-to-email job uses: sender, subject and body text, and the mail server.
///
/// Both documents show and take a few elements of the engine's profile 0 (5984 bytes); all the
/// others of these large documents are accepted and dropped by a PUT and absent from a GET:
///
///   emaildyn:FromAddress / dd:EmailAddress    bytes 5052 to 5179, text
///   dsd2:SMTPServerSettings / dd3:NetworkID   bytes 5180 to 5315, text
///   dsd2:SMTPServerSettings / dd:Port         bytes 5316 and 5317, number
///   emaildyn:EmailBodyText                    bytes 5452 to 5707, text
///   emaildyn:EmailSubject                     bytes 5708 to 5963, text
///
/// Texts are UTF-8, terminated and cut to their fields. Tickets lie in
/// "/tmp/xml_tickets/DevMgmt/Email/". Buffers and results are as in varn/frame.h. What must not
/// overlap: any two functions of this header, as both documents are one record; a GET with another
/// one that uses MyMalloc, a PUT with another one through the shared reader.
#ifndef VARN_EMAIL_H
#define VARN_EMAIL_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// GET of emaildyn:EmailSettings. Ticket "ScanToEmailDyn.xml". A record that cannot be read gives
/// empty texts. 0 or -1.
VARN_API int32_t VARN_GetEmailDyn(char **out, uint32_t *len);
/// PUT of emaildyn:EmailSettings; what is absent stays.
/// returns   0, also when the engine took nothing: the next GET shows what it has; -1 with nothing
///           changed for null and for a document that cannot be read
VARN_API int32_t VARN_PutEmailDyn(const char *xml);
/// GET of emaildyn:CommonEmailServerDyn. Ticket "CommonEmailServerDyn.xml". As above.
VARN_API int32_t VARN_GetEmailServiceDyn(char **out, uint32_t *len);
/// PUT of emaildyn:CommonEmailServerDyn; the port keeps its lower 16 bits. As above.
VARN_API int32_t VARN_PutEmailServiceDyn(const char *xml);

VARN_END_DECLS

#endif
