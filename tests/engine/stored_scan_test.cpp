// A stored job from its POST to its end: the library in this process, the real engine beside it.
#include "tests/engine/engine_fixture.h"

#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "varn/varn.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <thread>

namespace varn::test {
namespace {

/// The device tree of a scanner that was just switched on.
const std::string &filled(const TempTree &tree) {
    std::filesystem::copy(VARN_ROOTFS_DIR, tree.path(),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::skip_existing);
    return tree.path();
}

class StoredScan : public testing::Test {
protected:
    StoredScan() : engine_(filled(tree_)), link_(tree_.path()) {
        EXPECT_EQ(VARN_SetRoot(tree_.path().c_str()), 0);
        VARN_Init(link_);
        escl_set_scan_source(0);
    }
    ~StoredScan() override { VARN_SetRoot(nullptr); }

    int link() const { return static_cast<int>(std::uint32_t{link_}); }
    std::string ctl(std::vector<std::string> words) const {
        return run_ctl(tree_.path(), std::move(words)).output;
    }
    void open_sockets() {
        action_ = wire::connect_local(tree_.path(), wire::action_socket);
        image_ = wire::connect_local(tree_.path(), wire::image_socket);
        image_word_ = image_.get();
    }
    std::string store(const char *source) {
        std::string xml =
            std::string("<s:ScanSettings xmlns:s=\"http://any.example/imaging/escl/2011/05/03\" "
                        "xmlns:p=\"http://www.pwg.org/schemas/2010/12/sm\"><p:InputSource>") +
            source +
            "</p:InputSource><s:XResolution>100</s:XResolution><s:YResolution>100</s:YResolution>"
            "<s:StoredJobRequest><s:JobName>Job</s:JobName><s:PIN>1</s:PIN></s:StoredJobRequest>"
            "</s:ScanSettings>";
        open_sockets();
        EXPECT_EQ(escl_start_scan(action_.get(), &image_word_, xml.data(),
                                  static_cast<std::uint32_t>(xml.size())),
                  201);
        return escl_get_jobuuid();
    }
    /// The panel's calls; the result of the last one.
    int32_t release(const std::string &uuid) {
        EXPECT_EQ(ctl({"stored", "start", uuid}), "");
        open_sockets();
        EXPECT_EQ(getIsReservedJobs(link()), 1);
        EXPECT_EQ(eSCL_SetReserveJob_Panel("Job", uuid.c_str()), 0);
        EXPECT_EQ(escl_ScanSetting_ReserveJob(uuid.c_str(), action_.get(), 0, uuid.c_str()), 0);
        return scl_start_scan_ForRescl_start_scaneserveJob(action_.get(), &image_word_);
    }
    /// Takes every block; how many images that made.
    static unsigned take_images() {
        unsigned images = 0;
        while (escl_is_scanning() != 0) {
            uint8_t record[64];
            uint32_t index = 0;
            wire::BlockStatus status;
            if (do_get_current_block_info(record, &index) == 1) {
                std::memcpy(static_cast<void *>(&status), record, sizeof status);
                images += status.dwLastErr == wire::err_image_complete ? 1 : 0;
                do_notify_send_CurrentBlock_done();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return images;
    }
    void end(const std::string &uuid) {
        escl_RemoveRJPCList(link(), uuid.c_str());
        parse_ReserveScanJob_delete("Job", uuid.c_str());
        clearReservedJobs();
        ctl({"stored", "clear"});
    }
    /// State of the job in the status document.
    std::string state_of(const std::string &uuid) {
        char *text = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(escl_get_scanner_status(action_.get(), &text, &length), 0);
        const std::string document(text, length);
        free(text);
        const size_t job = document.find(uuid);
        const size_t from = document.find("<pwg:JobState>", job) + 14;
        return job == document.npos ? "absent"
                                    : document.substr(from, document.find('<', from) - from);
    }

    TempTree tree_;
    EngineProcess engine_;
    Link link_;
    wire::Descriptor action_;
    wire::Descriptor image_;
    int32_t image_word_ = 0;
};

TEST_F(StoredScan, releasedJobIsScannedWithItsOwnSettings) {
    const std::string glass = store("Platen");
    const std::string feeder = store("Adf");
    EXPECT_EQ(state_of(glass), "PendingHeld");
    EXPECT_EQ(ctl({"stored", "list"}), glass + "  Job\n" + feeder + "  Job\n");
    ctl({"feeder", "load", "3"});

    ASSERT_EQ(release(feeder), 201);
    EXPECT_EQ(g_scanparam.dwADF, 6U);
    EXPECT_EQ(g_scanparam.wXresolution, 100);
    EXPECT_EQ(take_images(), 3U);
    EXPECT_EQ(state_of(feeder), "Completed");
    EXPECT_EQ(state_of(glass), "PendingHeld");
    end(feeder);
    EXPECT_EQ(ctl({"stored", "list"}), glass + "  Job\n");

    ASSERT_EQ(release(glass), 201);
    EXPECT_EQ(take_images(), 1U);
    EXPECT_EQ(state_of(glass), "Completed");
    end(glass);
    EXPECT_EQ(getIsReservedJobs(link()), 0);
    EXPECT_EQ(ChkRJlistNum(link()), 0);
    EXPECT_EQ(eSCL_SetReserveJob_Panel("Job", glass.c_str()), -1);
}

TEST_F(StoredScan, cancelAndJamEndTheScanEachInItsWay) {
    const std::string jammed = store("Adf");
    const std::string cancelled = store("Adf");
    ctl({"feeder", "load", "2"});
    ctl({"fault", "jam", "2"});
    ASSERT_EQ(release(jammed), 201);
    EXPECT_EQ(take_images(), 1U);
    EXPECT_EQ(escl_get_scanning_job_status(), JOBSTAT_SCANNING) << "the error is hidden";
    EXPECT_EQ(scan_errcode, 0U);
    end(jammed);

    ctl({"hatch", "open"});
    ctl({"hatch", "close"});
    ctl({"fault", "clear"});
    ctl({"feeder", "load", "5"});
    ctl({"slow", "block", "20"});
    ASSERT_EQ(release(cancelled), 201);
    EXPECT_EQ(escl_cancel_RJscan(link(), cancelled.c_str()), 200);
    take_images();
    EXPECT_EQ(state_of(cancelled), "Canceled");
    clearReservedJobs();
    EXPECT_EQ(ctl({"stored", "list"}), "");
}

} // namespace
} // namespace varn::test
