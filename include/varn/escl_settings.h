/// Scan settings translation: from a scan:ScanSettings document to the engine's parameter block.
#ifndef VARN_ESCL_SETTINGS_H
#define VARN_ESCL_SETTINGS_H

#include "varn/base.h"

VARN_BEGIN_DECLS

/// Scan parameter block, 128 bytes, exchanged with the engine as it stands (little-endian
/// processors only). Distances are three-hundredths of an inch while the settings are walked and
/// pixels at scan resolution afterwards.
struct varn_scan_window {
    uint32_t xPos;
    uint32_t yPos;
    uint32_t xExtent;
    uint32_t yExtent;
};
struct varn_scan_param {
    uint32_t dwADF;        /**< 0 flatbed, 6 feeder one-sided, 4 feeder two-sided */
    uint8_t byInDataType;  /**< 3 */
    uint8_t byOutDataType; /**< 1 bi-level, 2 grey, 3 colour */
    uint8_t byInPixelBits;
    uint8_t byOutPixelBits;
    uint32_t dwWidthPixels; /**< line width at scan resolution */
    uint32_t dwWidthBytes;  /**< output line width */
    uint16_t wXresolution;  /**< dots per inch */
    uint16_t wYresolution;
    struct varn_scan_window ScanWindow;
    uint32_t dwPaperWidth;
    uint32_t dwPaperHeight;
    uint16_t wXScaleRatio; /**< percent */
    uint16_t wYScaleRatio;
    uint8_t byScaleRatio;
    uint8_t byRotateMode_Bottom;
    uint8_t byRotateMode_Top;
    uint8_t byChannelDropOut; /**< 6 grey from all channels, 1 red, 2 green, 3 blue */
    uint8_t byCompression;
    uint8_t reserved53;
    uint16_t wImageOutputMode; /**< 11 colour, 101 grey, 166 bi-level */
    uint32_t dwImageProcess;
    uint8_t byOverScanLines; /**< at scan resolution */
    uint8_t reserved61;
    uint8_t byContrastBrightness;
    uint8_t byHalftoneThreshold;
    uint8_t byThresholdRandomRange;
    uint8_t byHalftoneDitherPattern;
    uint8_t bySpecialMode;
    uint8_t byMiscOptions; /**< bit 0 black background, 2 multipick detection, 3 overscan */
    uint8_t byPDFType;
    uint8_t bySharpSmooth;
    uint8_t reserved70[2];
    uint32_t dwRealLineNum; /**< lines at scan resolution */
    uint32_t dwImageProcess2;
    uint8_t reserved80[13];
    uint8_t byBlankPageSensitivity;   /**< 0 to 4 */
    uint8_t byColorDetectSensitivity; /**< 0 to 4 */
    uint8_t byColorDetectMode;        /**< 0 detect only, 16 treat non-colour as grey */
    uint8_t byHostIsNetwork;          /**< 1 network, 0 USB */
    uint8_t byTIFType;
    uint16_t wPagesToScan; /**< 0 for no limit */
    uint8_t reserved100[4];
    uint32_t dwReserved[6];
};

/// Tone record, 10 bytes.
struct varn_gamma_str {
    uint16_t wGamma;       /**< hundredths */
    uint16_t byBrightness; /**< 0 to 2000, 1003 neutral */
    uint16_t byContrast;   /**< 0 to 2000, 1003 neutral */
    uint16_t wHighlight;   /**< two-thousandths */
    uint16_t wShadow;      /**< two-thousandths */
};

/// Multipick record, 16 bytes: words 0 and 1 are 2 and 0 when an exclusion length was given,
/// word 2 is the exclusion extent, word 3 is nobody's.
struct varn_multipick {
    uint32_t words[4];
};

struct scan__ScanSettingsType;
struct scan__ScannerCapabilitiesType;
struct soap;

/// Process-wide values of the translation; see docs/architecture.md for who resets which.
extern VARN_API int32_t SinglePageMode;               /**< page count asked for, 0 none */
extern VARN_API int32_t Multipick_dwIgnoreAreaExtent; /**< carried over from job to job */
extern VARN_API int32_t AUTO_THRESHOLD_flg;           /**< 1: automatic exposure asked for */
extern VARN_API int32_t IQ_Test;                      /**< 1: image-quality file present */
extern VARN_API int32_t scan_withRJ;                  /**< 1: a stored-job request */
extern VARN_API int32_t escl_scan_pdf;                /**< 1: PDF asked for */
extern VARN_API uint16_t dbColorMatrixParam[9];       /**< from the image-quality file */
/// The block that the engine accepted last, read back at the start of a scan.
extern VARN_API struct varn_scan_param g_scanparam;

/// Translates a request.
/// xml, xml_len  request body, the caller's
/// block         filled; left as far as the walk got on a refusal
/// gamma_str     the record that the engine holds; updated
/// multipick     words 0 and 1 when the request has an exclusion length, word 2 always
/// job_uuid      job identifier, 40 bytes
/// source        0 USB, else network
/// returns       0 accepted; -1 refused; 200 the request only stored a job
/// overlap       with no other translation and no capabilities request
VARN_API int32_t eSCL_ParseScanParam(char *xml, uint32_t xml_len, struct varn_scan_param *block,
                                     struct varn_gamma_str *gamma_str,
                                     struct varn_multipick *multipick, const char *job_uuid,
                                     uint32_t source);
/// Translates the settings ticket "/tmp/xml_tickets/eSCL/<job_name>.xml" of a stored job.
/// Returns 0 or -1 (also for a ticket that cannot be read, and a name with a slash in it).
VARN_API int32_t eSCL_ParseScanParam_forReserveJobSet(const void *ignored,
                                                      struct varn_scan_param *block,
                                                      struct varn_gamma_str *gamma_str,
                                                      struct varn_multipick *multipick,
                                                      const char *job_name);
/// Defaults of the block. Null is passed over.
VARN_API void do_fill_scanparam(struct varn_scan_param *block);
/// Receive callback over the request of the running translation.
VARN_API size_t scanparam_recv(struct soap *soap, char *dst, size_t n);

/// Element parsers. Each takes the parsed capabilities, the value of the element and the block;
/// returns 0, or -1 when the value is refused. Texts may be null, which is refused where a list
/// is looked through. Enumerations are codes of the schema.
VARN_API int32_t parse_InputSource(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                   struct varn_scan_param *block);
VARN_API int32_t parse_Duplex(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                              struct varn_scan_param *block);
VARN_API int32_t parse_Intent(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                              struct varn_scan_param *block);
VARN_API int32_t parse_Resolution(struct scan__ScannerCapabilitiesType *caps, const char *x,
                                  const char *y, struct varn_scan_param *block);
VARN_API int32_t parse_Overscan(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                struct varn_scan_param *block);
VARN_API int32_t parse_ScanRegions(struct scan__ScannerCapabilitiesType *caps,
                                   const struct scan__ScanSettingsType *settings,
                                   struct varn_scan_param *block);
VARN_API int32_t parse_DocumentFormat(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                      struct varn_scan_param *block);
VARN_API int32_t parse_ContentType(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                   struct varn_scan_param *block);
VARN_API int32_t parse_ColorMode(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                 struct varn_scan_param *block);
VARN_API int32_t parse_CcdChannel(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                  struct varn_scan_param *block);
VARN_API int32_t parse_MultipickDetection(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                          struct varn_scan_param *block);
VARN_API int32_t parse_MultipickDetectionAction(struct scan__ScannerCapabilitiesType *caps,
                                                int32_t value, struct varn_scan_param *block);
VARN_API int32_t parse_MultipickExclusionLength(struct scan__ScannerCapabilitiesType *caps,
                                                const char *value,
                                                struct varn_multipick *multipick);
VARN_API int32_t parse_NumberOfPages(struct scan__ScannerCapabilitiesType *caps, const char *value,
                                     struct varn_scan_param *block);
VARN_API int32_t parse_AutoCrop(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                struct varn_scan_param *block);
VARN_API int32_t parse_CarrierSheet(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                    struct varn_scan_param *block);
VARN_API int32_t parse_AutoExposure(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                    struct varn_scan_param *block);
VARN_API int32_t parse_BlankPageDetection(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                          struct varn_scan_param *block);
VARN_API int32_t parse_BlankPageSensitivity(struct scan__ScannerCapabilitiesType *caps,
                                            int32_t value, struct varn_scan_param *block);
VARN_API int32_t parse_BlankPageRemoval(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                        struct varn_scan_param *block);
VARN_API int32_t parse_AutoColorDetectionMode(struct scan__ScannerCapabilitiesType *caps,
                                              int32_t value, struct varn_scan_param *block);
VARN_API int32_t parse_CompressionFactor(struct scan__ScannerCapabilitiesType *caps,
                                         const int32_t *value, struct varn_scan_param *block);
VARN_API int32_t parse_HalftoneThreshod(struct scan__ScannerCapabilitiesType *caps, int32_t value,
                                        struct varn_scan_param *block);
VARN_API int32_t parse_AutoColorSensitivity(struct scan__ScannerCapabilitiesType *caps,
                                            int32_t value, struct varn_scan_param *block);
/// Last step of every translation: scales the window to the resolution and completes the block.
/// Returns 0; -1 for a long page at a resolution that forbids it.
VARN_API int32_t scale_window_to_resolution(struct varn_scan_param *block);

VARN_END_DECLS

#endif
