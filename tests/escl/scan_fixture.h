/// A device with an engine on both its sockets, and the web server's part of a scan.
#pragma once

#include "tests/support/device_tree.h"
#include "tests/support/engine_double.h"
#include "tests/support/engine_end.h"
#include "tests/support/waits.h"
#include "varn/varn.h"

#include <cstring>
#include <functional>
#include <memory>

namespace varn::test {

using Calls = std::vector<std::string>;

varn_scan_job_info job_info(const char *uuid, int32_t status);

class ScanTest : public DeviceTest {
protected:
    ScanTest();
    ~ScanTest() override;

    /// New sockets, as for each request.
    void open_sockets();
    /// Answers of the engine to a POST: two inquiries and the tone record.
    void answer_post(const StatusRecord &status = {}) const;
    int32_t post(std::string_view elements);
    /// POST with answers; the blocks go to the image socket first.
    int32_t start(std::string_view elements, const std::string &blocks, bool bytewise = false);
    /// Takes and confirms blocks until the scan has ended, what it published last included:
    /// "ring index:error" for each. `confirm` may refuse a block by its number.
    std::string deliver_all(const std::function<bool(size_t)> &confirm = nullptr);
    bool scan_ends() const;

    /// The ticket, never in the middle of a write.
    std::string status_document() const;
    void put_status_document(std::string_view content) const { tree.put(status_path, content); }
    Calls job_states() const;
    std::string image_commands() const { return image_words(image->taken()); }

    static constexpr char status_path[] = "tmp/xml_tickets/eSCL/ScannerStatus.xml";
    std::unique_ptr<EngineEnd> action;
    std::unique_ptr<EngineEnd> image;
    int32_t image_fd = 0; ///< the word that the receive thread reads
};

} // namespace varn::test
