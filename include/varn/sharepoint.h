/// Predefined scan-to-SharePoint jobs, and the service's defaults.
///
/// Up to twenty jobs stand in the engine's profile store: index 25 (119680 bytes) reads and writes
/// all slots at once, 5984 bytes each. The defaults are the profile of index 4 and byte 17 of
/// parameter block 4 (212 bytes), 1 for on. Offsets in a profile, with what stands for them:
///
///   4, 32 bits       type of the slot: 0 free, 7 SharePoint job
///   8, 168 bytes     dsd:DisplaySettings / dd:Name
///   176, 520 bytes   dd:FileNamePrefix
///   956              dd:DSColorPreference: 0 monochrome, 1 grayscale, 2 color, 3 autoDetect
///   957              dd:DSFileType: 0 "jpeg"; 1 "pdf", with 982 "pdfa"; 2 "tiff", with 981 "mtiff"
///   958              dd:DSAttachmentSize: 8 small, 6 standard, 3 large
///   960, 16 bits     dd:DSImageResolution: 150, 200, 300, 600
///   962              dd:ScanMediaSize: 0 "a4", 1 "letter", 2 "legal"
///   978              dd:ScanPlexMode: 1 Duplex
///   983              dd:MonochromeTiffCompression: 0 G3, 1 G4
///   986, 988         dd:Exposure, dd:Contrast, 16 bits each, as they are
///   3088, 512 bytes  dd3:DomainName
///   3600, 512 bytes  folder:SharePointPath
///   4112, 128 bytes  dd:UserName
///   4240, 128 bytes  dd:Password, which a GET shows: who may read a job is the server's decision
///   4368, 256 bytes  dd:ResourceURI, "/DevMgmt/SharePoint/PredefinedJobs/" and the job's UUID
///   4624, 32 bits    security:CredentialType: 0, 1 "zq_windowsNegotiated_v1", 3 "zq_simple_v1"
///
/// Texts are UTF-8, terminated and cut to their fields. Jobs stand in the front slots. An id is a
/// job's UUID; except for a clone's source any part of a URI that no earlier job has will do.
///
/// Tickets lie in "/tmp/xml_tickets/DevMgmt/SharePoint/". Buffers and results are as in
/// varn/frame.h. What must not overlap: any two functions of this header, which read, change and
/// write all slots; a GET with another one that uses MyMalloc; whatever takes a document with
/// another PUT through the shared reader; a POST or clone with common_create_uuid; the PUT of the
/// defaults with another writer of parameter block 4.
#ifndef VARN_SHAREPOINT_H
#define VARN_SHAREPOINT_H

#include "varn/base.h"

struct folder__PredefinedJob;
struct folder__PredefinedJobs;
struct spts__TestResult;

VARN_BEGIN_DECLS

/// Counter of predefined jobs, and the identifier of the job that was created last, terminated.
extern VARN_API uint32_t varn_SP_predefiendjob_id;
extern VARN_API char varn_SP_predefindjob_uuid[40];

/// Reads the counter / adds 1 to it. Nothing in the library counts with it.
VARN_API uint32_t VARN_SP_GetPredefinedjobID(void);
VARN_API void VARN_SP_SetPredefinedjobID(void);
/// Copies the identifier to `text`, 40 bytes / takes a new one, cut to 39 characters.
VARN_API void VARN_SP_GetPredefinedjobUUID(char *text);
VARN_API void VARN_SP_SetPredefinedjobUUID(const char *text);

/// GET of the static tickets "SharePointServiceCap.xml" and "SharePointServiceManifest.xml".
VARN_API int32_t VARN_GetSharePointCap(char **out, uint32_t *len);
VARN_API int32_t VARN_GetSharePointManifest(char **out, uint32_t *len);

/// Whether a text is a document of one of these resources that can be read whole. The functions
/// below take one that cannot for an empty one, so a server asks this first.
/// root      name of its root element without the prefix: "PredefinedJob" or "SharePointService"
/// returns   0; 400 for another root or a fault; -1 for null
VARN_API int32_t VARN_CheckSharePointDocument(const char *root, const char *xml);

/// GET of folder:PredefinedJobs, in the order of the slots. Ticket "PredefinedJobs.xml". 0 or -1.
VARN_API int32_t VARN_GetSharePointPredefinedjobs(char **out, uint32_t *len);
/// POST of a folder:PredefinedJob: a new job. VARN_SP_GetPredefinedjobUUID then tells which.
/// "pdf" and "pdfa" are stored as "jpeg".
/// returns   0; -1 for null, without a free slot and without an identifier; 500 when the engine
///           does not take the slots
VARN_API int32_t VARN_PostSharePointDynPredefinedjobs(const char *xml);
/// GET of one folder:PredefinedJob. Ticket "PredefinedJob.xml". 0; 404 for an unknown id; -1.
VARN_API int32_t VARN_GetSharePointPredefinedJobs_id(const char *id, char **out, uint32_t *len);
/// PUT of one; what is absent stays.
/// returns   0, also for an unknown id; -1 for null; 500 as above
VARN_API int32_t VARN_PutSharePointPredefinedJobs_id(const char *id, const char *xml);
/// DELETE of one; those behind it move up. 0; 404 for an unknown id; 500 as above.
VARN_API int32_t VARN_DeleteSharePointPredefinedJobs_id(const char *id);
/// A copy of a job with the changes of a folder:PredefinedJob.
/// id        the whole UUID of the source
/// uuid      64 bytes of the caller's: the copy's identifier, terminated
/// returns   0; -1 for a null argument and without an identifier; 404 for an unknown source; 413
///           without a free slot; 500 as above
VARN_API int32_t VARN_CloneSharePointPredefinedJobs_id(const char *xml, const char *id, char *uuid);
/// Starts the connection test of a job in the engine. 0; 404 for an unknown id.
VARN_API int32_t VARN_PostTestSharePointPredefinedJobs_id(const char *id);
/// GET of spts:TestResult, of the test that was started last. Ticket "PredefinedJobTestResult.xml".
/// id        any
/// source    the word of profile index 5566: 0 Success, -1 ErrorSettingNotTested (also when the
///           engine gives none), 304 ErrorServerNotFound, 305 ErrorInvalidFileOrDirectory, 306
///           ErrorWrongCredentials, any other ErrorTestInProgress
VARN_API int32_t VARN_GetTestResultSharePointPredefinedJobs_id(const char *id, char **out,
                                                               uint32_t *len);

/// GET of spts:SharePointService: whether the service is on, and its default job. Ticket
/// "SendUSBService.xml", in spite of its name. 0 or -1.
VARN_API int32_t VARN_GetSharePointDyn(char **out, uint32_t *len);
/// PUT of spts:SharePointService; what is absent stays. Here "pdf" and "pdfa" are stored as such,
/// and an unknown resolution as 300.
/// returns   0, also for a document that cannot be read; -1 for null
VARN_API int32_t VARN_PutSharePointDyn(const char *xml);

/// What the functions above do, by their working names; arguments and results as there.
VARN_API int32_t SharePointService_PredefinedJob_get(char **out, uint32_t *len);
VARN_API int32_t SharePointService_PredefinedJob_get_specific(const char *id, char **out,
                                                              uint32_t *len);
VARN_API int32_t SharePointService_PredefinedJob_post(const char *xml);
VARN_API int32_t SharePointService_PredefinedJob_put(const char *id, const char *xml);
VARN_API int32_t SharePointService_Clone_specificID(const char *xml, const char *id, char *uuid);
VARN_API int32_t SharePointService_PredefinedJob_TestResult(char **out, uint32_t *len);

/// Gives a job its sub-records (scan, attachment, destination, authentication, display) in the
/// context of MyMalloc: valid only inside of a namespaced GET. 0; -1 for null and without memory.
VARN_API int32_t set_default_PredefinedJob(struct folder__PredefinedJob *job);
/// Fills a job that was prepared so from a record of 5984 bytes. 0; -1 for null and for a job that
/// is not prepared.
VARN_API int32_t get_CurrentPredefinedJob(struct folder__PredefinedJob *job, const void *record);
/// Writes what a job has into a record of 5984 bytes. 0; -1 for null.
VARN_API int32_t set_CurrentScanProfile(const struct folder__PredefinedJob *job, void *record);

VARN_END_DECLS

#endif
