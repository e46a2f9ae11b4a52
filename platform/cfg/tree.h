/// XML documents as Mini-XML trees that remember how their source was written, so that what was
/// not changed is written back byte for byte.
///
/// Expat reads the source: it reports where each piece of it stands, and refuses what is not
/// well-formed. Mini-XML holds the tree.
#pragma once

#include <mxml.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace varn::xmltree {

// A device's files are some kilobytes. The limits keep a damaged or hostile one from costing more
// than a moment and some megabytes.
inline constexpr std::size_t max_source_bytes = 1 << 20;
inline constexpr std::size_t max_depth = 128;
inline constexpr std::size_t max_attributes = 512;

/// Parses a document. Returns its handle, which `release` frees: an element with the name of an XML
/// declaration, above the root, whether the source has a declaration or not. A source that is a
/// declaration and nothing else has a handle without a root. Null, with the reason in `error`, for
/// a text that is not well-formed, has a document type declaration or is beyond the limits.
/// Documents in another encoding than UTF-8 are converted, and are written back as UTF-8.
mxml_node_t *load(std::string source, std::string &error);
void release(mxml_node_t *handle);

/// Writes the tree below `top`, `top` included, to `out`. Returns false for a tree that could not
/// be loaded again, for example because a caller put a control character into it.
bool write(mxml_node_t *top, std::string &out);

/// True for the top of a tree that stands for the XML declaration.
bool is_handle(mxml_node_t *node);
/// True for elements proper. Mini-XML also keeps comments, processing instructions and CDATA
/// sections as elements, with names that begin with '!' or '?'.
bool is_element(mxml_node_t *node);
/// True for nodes that are part of their parent's text, CDATA sections included.
bool is_text(mxml_node_t *node);
/// Text of one text node; text of all text nodes right below an element, in order.
std::string own_text(mxml_node_t *text_node);
std::string text_of(mxml_node_t *element);

/// True for UTF-8 without the characters that XML cannot hold.
bool is_xml_text(std::string_view text);
std::string_view trim(std::string_view text);

} // namespace varn::xmltree
