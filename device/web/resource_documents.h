/// What the resources speak: for the documentation.
#pragma once

#include <string_view>

namespace varn::web {

/// Root element of the document of a path of the map, or the media types of what is no XML. Empty
/// when the path has no document of its own.
std::string_view document_of(std::string_view path);

} // namespace varn::web
