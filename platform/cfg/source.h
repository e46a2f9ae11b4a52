/// What a tree knows of its source; shared by the reader and the writer of trees.
#pragma once

#include <mxml.h>

#include <cstdint>
#include <string>
#include <vector>

namespace varn::xmltree {

struct Span {
    std::uint32_t begin = 0;
    std::uint32_t size = 0;
};

/// How a node was written. It holds for `node` only, and for as long as the node's value has the
/// digest that it had when it was loaded.
struct Form {
    const mxml_node_t *node;
    std::uint64_t digest;
    Span span;    ///< the start tag of an element, the whole of anything else
    Span end_tag; ///< empty for an element written as one tag
};

/// Hangs on the handle as its user data; the other nodes hold a pointer to their form.
struct Document {
    std::string source;
    std::vector<Form> forms; ///< the handle's comes first; empty for a converted document
};

/// Digest of what a node says itself: name and attributes, or text.
std::uint64_t digest(mxml_node_t *node);

} // namespace varn::xmltree
