/// Contract of libcfg: the configuration tree library that a device supplies.
///
/// A handle is the top of a tree that was loaded from an XML file; a node is one of its elements.
/// Both are Mini-XML nodes, and wherever a starting node is asked for either may be given, as may
/// nodes of a tree that the caller loaded itself with mxmlLoadString. A path is a chain of
/// element names joined by dots below the starting point, prefixes and their colons included:
/// from a handle its first link is the document's root element, whether the file has an XML
/// declaration or not.
///
/// In a loaded tree each text is one opaque node, the white space between elements included: read
/// it with cfg_get_param_value or mxmlGetOpaque. Nodes that a caller makes with mxmlNewElement and
/// mxmlNewText, or moves here from another tree with mxmlAdd, are saved like any other.
///
/// One tree, one thread at a time; different trees may be used by different threads at once.
#ifndef PLATFORM_CFG_H
#define PLATFORM_CFG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// As Mini-XML declares it, so that a caller needs no Mini-XML header for this one.
typedef struct _mxml_node_s mxml_node_t;

/// Loads a file. Returns the handle, which the caller releases with cfg_deinit; null when the file
/// cannot be opened or parsed. A file that holds only an XML declaration has a handle, ready for
/// its root element. Refused besides texts that are not well-formed: document type declarations,
/// more than 1 MiB, 128 levels or 512 attributes of one element. The reason goes to standard
/// output.
mxml_node_t *cfg_init(const char *path);
/// Releases the tree without saving it. Null is allowed.
void cfg_deinit(mxml_node_t *handle);
/// Writes the tree to `path`, replacing that file whole: a reader finds the old or the new file,
/// never a part. What was not changed since cfg_init is written byte for byte as it was. Mode and
/// owner of the file stay. Returns 0; -1 and leaves the old file when it cannot be written, or when
/// the tree holds what XML cannot, so that it could not be loaded again.
int32_t cfg_save_file(mxml_node_t *handle, const char *path);

/// First element at `path` below `start`; null when there is none.
mxml_node_t *cfg_find_param_node(mxml_node_t *start, const char *path);
/// Copies the text of `node`, without the white space around it, into `dst`, terminated and cut
/// to the whole UTF-8 characters that fit into size - 1 bytes. An element without text gives "".
/// Returns 0, or -1 for a null argument or size 0.
int32_t cfg_get_param_value(mxml_node_t *node, char *dst, uint32_t size);
/// Replaces the text of `node`; attributes and child elements stay. Returns 0; -1 and changes
/// nothing for a null argument, a node that is no element, or a text that is not UTF-8 or has
/// control characters, which XML cannot hold.
int32_t cfg_set_param_value(mxml_node_t *node, const char *text);
/// The same for a text of several lines, kept to the byte, carriage returns included.
int32_t cfg_set_param_email_body_value(mxml_node_t *node, const char *text);
/// Appends a new child element and returns it; null for a null argument or for what is no element
/// name. A blank at the end of the name is kept.
mxml_node_t *cfg_add_param_node(mxml_node_t *start, const char *name);
/// Removes the element with all below it, and the line that it stood on. Returns 0, or -1 for null
/// or a handle.
int32_t cfg_del_param_node(mxml_node_t *node);
/// Next element after `node` in document order below `top`, null after the last one. Texts and
/// comments are never visited. `descend` 1 goes into children first, 0 passes over them.
mxml_node_t *cfg_walk_next(mxml_node_t *node, mxml_node_t *top, int32_t descend);
/// Writes the dotted path of `node` from `top` down, names of both included; a handle (the XML
/// declaration) adds no name of its own. Returns 0, or -1 when `node` is not an element below
/// `top` or the path does not fit into `size` bytes.
int32_t cfg_get_node_pathname(mxml_node_t *node, mxml_node_t *top, char *dst, uint32_t size);

#ifdef __cplusplus
}
#endif
#endif
