/// Opening the engine link: what a device's main program does before it hands the descriptor to
/// the library. Part of libkob_common beside the operations of platform/mvtc.h.
#ifndef DEVICE_KOB_COMMON_LINK_H
#define DEVICE_KOB_COMMON_LINK_H

#ifdef __cplusplus
extern "C" {
#endif

/// Connects to the engine that serves the device tree `root` (null or "": the default tree).
/// Returns the descriptor of the link, which the caller owns; -1 with errno set when no engine
/// listens there. A refusal leaves the link in use. An exchange that breaks off (the engine gone,
/// or silent for ten seconds) ends it: every further call gives -1 until the owner opens a new
/// link, and puts it in the old one's place with dup2 where others hold the number.
int kob_link_open(const char *root);
/// Closes a link. A negative descriptor is ignored.
void kob_link_close(int fd);

/// How many exchanges of this process have come to nothing because the link was broken, over all
/// links. One that grows during a call of the library tells that the call may have changed less
/// than it says: the library looks at the result of some writes only.
unsigned long kob_broken_exchanges(void);

enum {
    kob_document_jpeg = 0, ///< a JPEG file an image
    kob_document_tiff = 1, ///< a TIFF file an image: LZW, bi-level CCITT group 4
    kob_document_raw = 2   ///< lines without gaps: RGB, grey, or eight points a byte
};

/// Says what the next scan makes of its pages; the parameter block has no field for it. It holds
/// for the next start that the engine accepts, whoever asks for it; without a call, and for the
/// starts behind that one, it is JPEG.
/// fd        link to the engine
/// format    one of the values above
/// returns   0; -1 for an unknown format or a broken link, and nothing has changed then
int kob_set_document_format(int fd, int format);

#ifdef __cplusplus
}
#endif
#endif
