/// Settings of a SharePoint job between profiles and documents, as jobs and defaults share them.
#pragma once

#include "frame/profile.h"

namespace varn::digital_send {

/// For records that are prepared; what a profile does not know is left out.
void fill_scan_settings(Document &document, dsd__ScanSettings &settings, const Profile &profile,
                        const char *caller);
void fill_attachment_settings(Document &document, dsd__AttachmentSettings &settings,
                              const Profile &profile, const char *caller);

/// Values that a profile has no number for.
enum class Unknown : uint8_t {
    as_before,  ///< leave what is stored; PDF is stored as JPEG
    by_default, ///< are replaced, with a word in the log; PDF is stored as such
};
void apply_scan_settings(Profile &profile, const dsd__ScanSettings &settings, Unknown unknown,
                         const char *caller);
void apply_attachment_settings(Profile &profile, const dsd__AttachmentSettings &settings,
                               Unknown unknown, const char *caller);

} // namespace varn::digital_send
