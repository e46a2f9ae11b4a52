/// Reading the scanner's status document.
#pragma once

#include <string>

namespace varn::client {

struct JobStatus {
    std::string state;  ///< of the job: "Processing"; empty when the document does not name it
    std::string reason; ///< first one
    std::string scanner_state;
    std::string feeder_state;
};

/// What a scan:ScannerStatus document says about one job.
JobStatus parse_status(const std::string &xml, const std::string &job_uuid);

} // namespace varn::client
