/// The service that saves scans on a USB drive from the panel.
///
/// Its predefined jobs are fixed documents. What a host can change is the default job, the engine's
/// profile 1 (5984 bytes); byte 1684 of parameter block 3 (1720 bytes) tells whether the service is
/// on, 1 for on. Offsets in the profile, with what stands for them in the document:
///
///   696, 260 bytes   dd:FileName
///   956              dd:DSColorPreference: 0 monochrome, 1 grayscale, 2 color, 3 autoDetect
///   957              dd:DSFileType: 0 "jpeg"; 1 "pdf", with 982 "pdfa"; 2 "tiff", with 981 "mtiff"
///   958              dd:DSAttachmentSize: below 6 large, 6 and 7 standard, 8 and up small
///   960, 16 bits     dd:DSImageResolution: 150, 200, 300, 600
///   962              dd:ScanMediaSize: 0 "a4", 1 "letter", 2 "legal", 25 "any"
///   976              dsd:AutoStraighten, follows the media size: 1 with "any"
///   978              dd:ScanPlexMode: 1 Duplex
///   983              dd:MonochromeTiffCompression: 0 G3, 1 G4
///   986, 16 bits     dd:Exposure, see map_exposure2VARN
///   991              set to 2 by a PUT with attachment settings
///   4664, 260 bytes  susb:Path
///
/// Tickets lie in "/tmp/xml_tickets/DevMgmt/SendUSB/". Buffers and results are as in varn/frame.h.
/// What must not overlap: any two functions of this header that take or give a document; a GET
/// with another one that uses MyMalloc; a PUT or POST with another one through the shared reader;
/// a POST with common_create_uuid.
#ifndef VARN_SEND_USB_H
#define VARN_SEND_USB_H

#include "varn/base.h"

struct susb__PredefinedJob;
struct susb__PredefinedJobs;

VARN_BEGIN_DECLS

/// Level 1 to 9 of an engine exposure: 2000, 1750, 1500, 1250, 1003, 750, 500, 250 and 0 in this
/// order. Another value, which is logged, has level 5.
VARN_API uint32_t map_exposure2VARN(uint32_t mvt_value);
/// Engine exposure of a level; of another one, which is logged, 1003.
VARN_API uint32_t map_exposure2MVT(uint32_t varn_value);

/// GET of the static tickets "SendUSBServiceCap.xml" and "SendUSBServiceManifest.xml". 0 or -1.
VARN_API int32_t VARN_GetSendUSBServiceCap(char **out, uint32_t *len);
VARN_API int32_t VARN_GetSendUSBServiceManifest(char **out, uint32_t *len);

/// GET of susb:SendUSBServiceDyn: whether the service is on, and its default job. Ticket
/// "SendUSBServiceDyn.xml". Records that cannot be read count as zeros. 0 or -1.
VARN_API int32_t VARN_GetSendUSBServiceDyn(char **out, uint32_t *len);
/// PUT of susb:SendUSBServiceDyn. What is absent stays; susb:SendUSBServiceEnabled is taken and has
/// no effect. Texts are cut to 259 bytes. The path must be ASCII without the signs \ * ? : " < > |
/// and the point, also one that was stored before. JPEG in black and white becomes grey.
/// returns   0; -1 with nothing changed for null, for a document that cannot be read, for such a
///           path, and when the engine does not give or take the profile
VARN_API int32_t VARN_PutSendUSBServiceDyn(const char *xml);

/// GET of susb:PredefinedJobs: two fixed jobs, the same. Ticket "PredefinedJobs.xml". 0 or -1.
VARN_API int32_t VARN_GetSendUSBServicePredefinedJobs(char **out, uint32_t *len);
/// POST of a susb:PredefinedJob, which is accepted and kept nowhere.
/// uuid      64 bytes of the caller's: the job's identifier, terminated
/// returns   0; -1 for a null argument, for a document that cannot be read, and without identifier
VARN_API int32_t VARN_PostSendUSBServicePredefinedJobs(const char *xml, char *uuid);
/// No job is kept, so there is none to show, change, delete or clone: 0, and nothing is done.
VARN_API int32_t VARN_GetSendUSBServicePredefinedJobs_id(void);
VARN_API int32_t VARN_PutSendUSBServicePredefinedJobs_id(void);
VARN_API int32_t VARN_DeleteSendUSBServicePredefinedJobs_id(void);
VARN_API int32_t VARN_ClonedSendUSBServicePredefinedJobs_id(void);

/// Fills the two fixed jobs, or the one that has a name ("Color Scan"), in the context of MyMalloc:
/// valid only inside of a namespaced GET. Both builders of one job do the same. Returns 0, or -1
/// for null and without memory.
VARN_API int32_t get_kob_sendusbservice_predefinedjobs(struct susb__PredefinedJobs *jobs);
VARN_API int32_t SendUSBService_PredefinedJob_get(struct susb__PredefinedJob *job);
VARN_API int32_t SendUSBService_PredefinedJob_getID(struct susb__PredefinedJob *job);

VARN_END_DECLS

#endif
