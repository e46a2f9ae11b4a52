#include "tests/escl/scan_fixture.h"

#include "tests/support/documents.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace varn::test {

varn_scan_job_info job_info(const char *uuid, int32_t status) {
    varn_scan_job_info info = {};
    strncpy(info.uuid, uuid, sizeof info.uuid - 1);
    info.status = status;
    return info;
}

ScanTest::ScanTest() {
    VARN_Init(7);
    tree.put("proc/kob_usbd/connect", "1");
    open_sockets();
}

ScanTest::~ScanTest() {
    if (escl_is_scanning() != 0) {
        escl_set_cancel_ok(1);
        image->hang_up();
        EXPECT_TRUE(scan_ends());
    }
    engine.action = nullptr;
}

void ScanTest::open_sockets() {
    action = std::make_unique<EngineEnd>();
    image = std::make_unique<EngineEnd>();
    image_fd = image->library_fd();
    engine.action = action.get();
    engine.calls.clear();
}

void ScanTest::answer_post(const StatusRecord &status) const {
    const uint16_t tone[] = {180, 1003, 1003, 1490, 94};
    action->answer(status.bytes() + status.bytes() +
                   std::string(reinterpret_cast<const char *>(tone), sizeof tone));
}

int32_t ScanTest::post(std::string_view elements) {
    std::string xml = scan_settings(elements);
    return escl_start_scan(action->library_fd(), &image_fd, xml.data(),
                           static_cast<uint32_t>(xml.size()));
}

int32_t ScanTest::start(std::string_view elements, const std::string &blocks, bool bytewise) {
    answer_post();
    if (bytewise)
        image->answer_bytewise(blocks);
    else
        image->answer(blocks);
    return post(elements);
}

std::string ScanTest::deliver_all(const std::function<bool(size_t)> &confirm) {
    std::string delivered;
    size_t number = 0;
    const auto note = [&](const uint8_t *record, uint32_t index) {
        uint32_t error = 0;
        memcpy(&error, record, sizeof error);
        char text[32];
        snprintf(text, sizeof text, "%s%u:%x", delivered.empty() ? "" : " ", index, error);
        delivered += text;
    };
    EXPECT_TRUE(wait_until([&] {
        uint8_t record[64];
        uint32_t index = 0;
        if (escl_is_scanning() == 0)
            return true;
        if (do_get_current_block_info(record, &index) == 1) {
            note(record, index);
            if (confirm == nullptr || confirm(number++))
                do_notify_send_CurrentBlock_done();
        }
        return false;
    })) << "the scan does not end";
    if (m_isBlockStatusReady == 1)
        note(g_current_blk_status, m_BLK_CNT);
    return delivered;
}

bool ScanTest::scan_ends() const {
    return wait_until([] { return escl_is_scanning() == 0; });
}

std::string ScanTest::status_document() const {
    const int fd = open((tree / status_path).c_str(), O_RDONLY | O_CLOEXEC);
    flock(fd, LOCK_SH);
    std::string document = tree.get(status_path);
    close(fd);
    return document;
}

Calls ScanTest::job_states() const { return texts(status_document(), "pwg:JobState"); }

} // namespace varn::test
