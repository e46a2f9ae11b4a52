/// The form in which a job's images go to the host.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace varn::web {

enum class DocumentFormat : std::uint8_t { jpeg, tiff, raw, pdf };

/// Format that a scan:ScanSettings document asks for: scan:DocumentFormatExt; without it PDF or
/// JPEG by pwg:DocumentFormat. JPEG when there is no word that is known.
DocumentFormat requested_format(const std::string &settings_xml);

/// Value for kob_set_document_format. PDF is put together from JPEG images.
int engine_format(DocumentFormat format);

std::string_view media_type(DocumentFormat format);

} // namespace varn::web
