/// Scan execution: starting a scan, the receive thread, and the hand-over of image blocks.
///
/// The web server owns the image bytes. For each job it opens an action and an image socket
/// (unix_socket_connect), calls escl_start_scan, and then, block by block: polls
/// do_get_current_block_info, delivers the block of the engine's ring that the 64-byte record
/// describes, and calls do_notify_send_CurrentBlock_done. A record with dwLastErr 0x1005 ends an
/// image; one above 0x2000 is an error and carries no bytes.
#ifndef VARN_ESCL_SCAN_H
#define VARN_ESCL_SCAN_H

#include <semaphore.h>

#include "varn/base.h"
#include "varn/escl_settings.h"
#include "varn/escl_status.h"

VARN_BEGIN_DECLS

extern VARN_API int32_t g_esclscan_src; /**< 0 USB, 1 eth0, 2 wlan0, 3 wlan1 */
extern VARN_API int32_t is_blk_mode;    /**< 1 from the first scan on */
extern VARN_API int32_t blk_mode_fd;
extern VARN_API uint8_t g_current_blk_status[64]; /**< published block status */
extern VARN_API uint32_t m_BLK_CNT;               /**< ring index of the published block */
extern VARN_API int32_t m_isBlockStatusReady;     /**< 1: published and not yet taken */
extern VARN_API int32_t m_isCurrnetBlockSent;     /**< set when the block has gone out */
extern VARN_API int32_t m_isBlockReady;           /**< 0 until the image's first block was seen */
extern VARN_API int32_t image_file_type;
extern VARN_API int32_t scan_resolution;
extern VARN_API int32_t scan_paperH;
extern VARN_API sem_t esclscan_action_sem;

/// One finished image of the running or last job.
struct varn_image_info {
    uint32_t index; /**< from 0 */
    uint32_t byImageKind;
    uint32_t width;
    uint32_t height;
    uint32_t bytes_per_line;
    uint32_t byColorDetected;
    uint32_t wCropBlank;
    uint32_t byDataCheck;
    struct varn_image_info *next;
};
/// Newest at the tail. Owned by the library, freed when the next scan begins.
extern VARN_API struct varn_image_info *imageinfolist;
extern VARN_API uint32_t scan_imginfo_idx;

/// Heads every request to the engine on the action and the image socket; 16 bytes.
struct varn_action_cmd {
    uint32_t signature; /**< 544 */
    uint8_t byOPCode;   /**< 0 on the image socket */
    uint8_t reserved5;
    uint8_t sub_command;
    uint8_t reserved7;
    uint16_t wDTQ;
    uint16_t reserved10;
    uint32_t length; /**< bytes of the payload */
};

/// One exchange on the action socket: the command, then the 32-byte reply when `reply` is given,
/// then, but for opcodes 18 and 20, the payload: read for opcode 40, written otherwise.
/// cmd_fd    action socket; 0 counts as none
/// reply     32 bytes or null
/// payload   `length` bytes, or null with 0
/// returns   0; -1 no socket; -2 the exchange failed. After a failed write the socket is closed
///           and the descriptor is the caller's no more; a failed read leaves it open
VARN_API int32_t send_action_cmd(int32_t cmd_fd, const struct varn_action_cmd *command, void *reply,
                                 void *payload, uint32_t length);

/// Connects to a local stream socket (device path). Send time-out 2 s.
/// returns   the descriptor, the caller's to close; -1 on failure and for a path that is too long
VARN_API int32_t unix_socket_connect(const char *path);

/// POST of "/eSCL/ScanJobs".
/// cmd_fd      action socket
/// thread_arg  points at a 32-bit word with the descriptor of the image socket; read by the
///             receive thread at its start, so the word lives on after this call. The socket
///             stays the caller's and stays open until the thread has ended
/// xml         settings, terminated
/// returns     201 started or stored; 409 settings refused, no media, or thread still there;
///             503 busy or parameters refused; 0 engine in an unexpected state
/// overlap     with no other start and no capabilities request
VARN_API int32_t escl_start_scan(int32_t cmd_fd, void *thread_arg, char *xml, uint32_t xml_len);
/// Starts a prepared stored job. 201 or 409.
VARN_API int32_t scl_start_scan_ForRescl_start_scaneserveJob(int32_t cmd_fd, void *thread_arg);
/// Prepares a stored job: settings ticket `job_name`, identifier `uuid`. 0, -1 refused, 503.
VARN_API int32_t escl_ScanSetting_ReserveJob(const char *job_name, int32_t cmd_fd,
                                             uint32_t no_multipick, const char *uuid);
/// Asks the engine to stop. Returns 0.
VARN_API int32_t escl_stop_scan(int32_t cmd_fd);
/// DELETE of the running job: the thread ends it between blocks. Returns 200.
VARN_API int32_t escl_cancel_scan(void);
/// 201 when there is paper in the feeder, else 503.
VARN_API int32_t kob_pick_media(int32_t fd);
/// Hands the block to the engine (mvtc_write_scan_param) and returns its result.
VARN_API int32_t set_kob_scan_param(int32_t fd, struct varn_scan_param *block);
/// 201; 409 when a receive thread exists.
VARN_API int32_t create_receive_thread(void *thread_arg);
/// Body of the receive thread.
VARN_API void *receive_image_Process_Blockmode(void *thread_arg);

/// Takes the published block.
/// out         64 bytes
/// block_index ring index
/// returns     1 taken; 0 none published; -1 no scan runs
VARN_API int32_t do_get_current_block_info(uint8_t out[64], uint32_t *block_index);
/// Tells that the block has gone out.
VARN_API void do_notify_send_CurrentBlock_done(void);
/// Semaphore at the end of an image: set up, wait (4 to 5 s) and tear down, post.
VARN_API int32_t do_init_wait_esclscan_sem(void);
VARN_API int32_t do_wait_action_esclscan_finish(void);
VARN_API int32_t do_set_action_esclscan_finish(void);

/// Name of the image for the delivery side. dst at least 32 bytes. Return 200.
VARN_API int32_t escl_get_image_file2(char *dst);
VARN_API int32_t escl_get_rjimage_file2(char *dst);

/// What eSCL_GetScanImageInfo takes.
struct varn_scan_image_info {
    char uuid[40];
    uint32_t width;
    uint32_t height;
    uint32_t bytes_per_line;
    char **out_buf;
    uint32_t *out_len;
    uint32_t byColorDetected;
    uint32_t wCropBlank;
    uint32_t byDataCheck;
};
/// GET of "/eSCL/ScanJobs/{uuid}/ScanImageInfo" for the next image not yet told; the last one is
/// told again. 0; -1 when there is none or the last job failed.
VARN_API int32_t escl_get_scanimageinfo(char **out, uint32_t *outlen, const char *uuid);
/// The document of one image, ticket "/tmp/xml_tickets/eSCL/ScanImageInfo.xml". 0 or -1.
VARN_API int32_t eSCL_GetScanImageInfo(struct varn_scan_image_info *record);

/// Tells the engine that all images went out. Returns 0.
VARN_API int32_t eSCL_Notify_AllImgSentDone(int32_t fd);
VARN_API int32_t escl_setblockmode_fd(int32_t fd); /**< returns 0 */
VARN_API int32_t escl_is_blockmode(void);
/// Reports a crash of the process with a backtrace on standard output. Result of sigaction.
VARN_API int32_t escl_set_sigsegv_handler(void);
/// That handler is exported, too: void esclscan_sigsegvhandler(int, siginfo_t *, void *). Plain C
/// has no siginfo_t, so it is not declared here.

VARN_END_DECLS

#endif
