/// Looking into a request document without the library.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace varn::web {

/// The text of the first element of each name, without prefixes and without white space around
/// it. None unless the document is well formed and its root has that name.
using DocumentTexts = std::map<std::string, std::string, std::less<>>;
std::optional<DocumentTexts> document_texts(std::string_view xml, std::string_view root);

} // namespace varn::web
