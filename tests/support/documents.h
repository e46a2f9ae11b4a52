/// Looking into documents.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace varn::test {

/// Text of every element of that tag, in document order; "" for one without text.
std::vector<std::string> texts(std::string_view document, std::string_view tag);
/// Its first one; "absent" when there is none.
std::string text_of(std::string_view document, std::string_view tag);

/// What libxml2 finds wrong with a document by the schemas; empty when it is valid.
std::string schema_fault(const std::string &document);

/// The tests name the schemas by their default hosts: a text with those of this build, and back.
std::string with_schema_hosts(std::string text);
std::string without_schema_hosts(std::string text);

/// A settings document. `elements` are XML, or words like "Duplex=true InputSource=Platen".
std::string scan_settings(std::string_view elements);

} // namespace varn::test
