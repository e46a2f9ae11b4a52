/// Entry to the library, the discovery document, the ticket files and the helpers around them.
///
/// A GET stores a buffer in `*out_buf`, obtained with calloc, one byte longer than the document
/// and so terminated; `*out_len` is the length of the document alone. The caller frees the buffer
/// with free(). With any result but 0 the caller treats the buffer as absent.
/// A request document stays the caller's and is read in place; it is terminated by a NUL.
///
/// Results, unless a function says otherwise: 0 done; -1 failed inside; else an HTTP status.
/// Two calls of one resource must not overlap; see docs/architecture.md for the other rules.
#ifndef VARN_FRAME_H
#define VARN_FRAME_H

#include "varn/base.h"

struct soap;

VARN_BEGIN_DECLS

/// Descriptor of the engine link, for every function that is not handed one. Set by VARN_Init.
extern VARN_API int32_t varn_mvt_fd;
/// The binding's context in which MyMalloc allocates: that of the running namespaced GET. It
/// points at a context that is gone as soon as that GET returned.
extern VARN_API struct soap *gSoap;
/// Request document of the running shared-reader PUT (not owned), bytes of it already handed
/// over, and its length. The length is written by the caller of varn_setXmlBuffer.
extern VARN_API const char *_pXmlBuffer;
extern VARN_API uint32_t _vXmlBufferOffset;
extern VARN_API uint32_t _vXmlBufferMaxLen;

/// Host notification over USB: what to send and how many bytes.
typedef void (*varn_usb_intr_cb)(uint8_t *data, uint32_t length);
extern VARN_API varn_usb_intr_cb USBIntr;

/// The library also exports `namespaces`, the namespace table of every document: 50 rows and a
/// row of nulls. Its type is gSOAP's `struct Namespace`, so gSOAP's header declares it.

/// Rows of the discovery document: resource path, resource type, schema revision, and a word
/// that is always null.
extern VARN_API const char *const totaltree[10][4];
/// Manifest path, resource type, schema revision.
extern VARN_API const char *const totalIfc[5][3];

/// Takes the engine link. Opens and checks nothing; comes before any call that needs the engine.
/// fd        descriptor for libkob_common; stays the caller's
/// returns   0
VARN_API int32_t VARN_Init(uint32_t fd);

/// Registers the callback that notifies a USB host; null takes it away. Returns 0.
VARN_API int32_t VARN_SetUSBIntrCB(void *cb);
/// Returns 1 when a callback is registered, else 0.
VARN_API int32_t VARN_ValidUSBIntrCB(void);
/// Hands `data` (`length` bytes, the caller's) to the callback when there is one. Returns 0.
VARN_API int32_t VARN_USBIntr(uint8_t *data, uint32_t length);

/// GET of "/DevMgmt/DiscoveryTree.xml": ten resources and five manifests, always the same.
/// Ticket "/tmp/xml_tickets/DevMgmt/DiscoveryTree.xml".
VARN_API int32_t VARN_GetDiscoveryTree(char **out_buf, uint32_t *out_len);

/// Stores the context for MyMalloc. Valid until that context is torn down.
VARN_API void varn_InitializeMyMalloc(struct soap *soap);
/// `n` zeroed bytes that die with the context; null for n below 1, and when there is no context
/// or no memory. Never given to free().
VARN_API void *MyMalloc(int32_t n);
/// A context-owned block of five bytes, the value in the first four; null as MyMalloc.
VARN_API void *CopyNumbers(uint32_t value);
/// A context-owned copy; null for null, and as MyMalloc.
VARN_API char *CopyString(const char *s);

/// Offset and length back to 0; the document pointer stays.
VARN_API void varn_clearXmlBuffer(void);
/// Points the shared reader at `xml` (not owned), offset 0. The length is left alone.
VARN_API void varn_setXmlBuffer(const char *xml);
/// Receive callback of the shared reader: copies at most `n` of the bytes that remain to `dst`.
/// Returns how many; 0 at the end and without a document.
VARN_API size_t varn_recv(struct soap *soap, char *dst, size_t n);

/// Reads a whole file (device path) into a new buffer under the file's lock.
/// out_buf   set to a block of size + 1 bytes, the last one zero, the caller's to free
/// out_len   set to the size
/// returns   0; -1 when the file cannot be opened or is empty (both outputs untouched), or when
///           it became shorter while it was read (the block stays in *out_buf, to be freed)
VARN_API int32_t common_read_file_data(const char *path, char **out_buf, uint32_t *out_len);
/// flock with a log line on failure.
/// who       direction, for the log; operation LOCK_EX (2) or LOCK_UN (8); caller, for the log
/// returns   0; -1 for a negative descriptor or a refused lock
VARN_API int32_t common_lock_file(int32_t fd, const char *who, int32_t operation,
                                  const char *caller);
/// A new identifier, 36 characters, in storage that the next call uses again: copy it at once.
/// Two calls must not overlap.
VARN_API const char *common_create_uuid(void);
/// Sets the text of `tag` below `root` in a stored XML file (device path); the paths are dotted.
/// Returns 0; -1 when the file does not open or one of the two is not there: a missing tag is
/// never made.
VARN_API int32_t common_set_tag_value(const char *file, const char *root, const char *tag,
                                      const char *value);
/// Reads that text into `out`, which holds 2048 bytes. Returns 0, or -1 as above.
VARN_API int32_t common_get_tag_value(const char *file, const char *root, const char *tag,
                                      char *out);
/// Writes every value of the XML fragment `xml` below its element `root` into the element of the
/// same path in a stored file. Values lose white space beyond single blanks; at most 511 bytes of
/// a value and 1023 of a path are taken. Elements without counterpart are logged and passed over.
/// Returns 0 when the walk was completed and the file saved, else -1.
VARN_API int32_t common_find_and_update_xmlfile(const char *xml, const char *root,
                                                const char *file);
/// 0 when the text begins with "<?xml" or "<?XML", else -1; -1 for null.
VARN_API int32_t check_xmlstr_valid(const char *xml);

VARN_END_DECLS

#endif
