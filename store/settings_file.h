/// What a settings file consists of, shared by the writers.
#pragma once

#include "frame/guards.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace varn::settings {

/// A field of a record and the element that holds it.
struct Field {
    const char *name;
    uint16_t offset;
    uint16_t width;      ///< bytes; 0: the last field, up to its zero
    const char *factory; ///< content of a new file; null: a new file has no such element
    bool secret = false; ///< not for the log
};

std::string value_of(const void *record, const Field &field);

/// A field in the log: "Name=value", a secret one without its value.
void log_field(const void *record, const Field &field);

/// Puts the XML declaration in place of a file (device path).
void seed(const char *file);

/// Opens a file and finds its top element; null, with a word in the log, when one is missing.
mxml_node_t *find_top(const ConfigTree &tree, const char *file, const char *top);

/// Up to 2047 bytes of a node's text.
std::string text_of(mxml_node_t *node);
/// Dotted path of a node from `top` on; "" for one of more than 1023 bytes.
std::string path_of(mxml_node_t *node, mxml_node_t *top);

} // namespace varn::settings
