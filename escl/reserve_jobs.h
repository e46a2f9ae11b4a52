/// Storing a job, as the translation of its POST does it.
#pragma once

#include "escl/settings_io.h"

namespace varn {

/// Enters the job of a request into list and engine and writes its settings ticket.
/// request   the parsed body, with a stored-job request; name and PIN are blanked
/// support   of the capabilities
/// uuid      job identifier, 40 bytes
/// returns   200; -1 when the list is full or cannot take the job, and then nothing was stored
int32_t store_job(Parsed<scan__ScanSettingsType> &request,
                  const scan__StoredJobRequestSupportType &support, const char *uuid);

} // namespace varn
