// The hand-over of blocks to the web server: waits, lost links, names, the semaphore.
#include "tests/escl/scan_fixture.h"
#include "tests/support/documents.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

using namespace varn::test;

namespace {

using Delivery = ScanTest;

const std::string cancel_answer = BlockRecord{.last_err = 0x4002}.bytes();

TEST_F(Delivery, block_is_taken_once) {
    uint8_t record[64] = {};
    uint32_t index = 99;
    EXPECT_EQ(log_of([&] { EXPECT_EQ(do_get_current_block_info(record, &index), -1); }),
              "do_get_current_block_info.receiveimage_thread is 0....\n");
    const std::string sent = BlockRecord{.height = 7, .width = 8}.bytes();
    EXPECT_EQ(start("", ""), 201);
    EXPECT_EQ(do_get_current_block_info(record, &index), 0);
    image->answer(sent + cancel_answer);
    ASSERT_TRUE(wait_until([&] { return do_get_current_block_info(record, &index) == 1; }));
    EXPECT_EQ(std::string(reinterpret_cast<char *>(record), 64), sent) << "the whole record";
    EXPECT_EQ(index, 0U);
    EXPECT_EQ(do_get_current_block_info(record, &index), 0);
    EXPECT_EQ(image_commands(), "next") << "no acknowledgement before the delivery";
    const std::string log = log_of([&] {
        EXPECT_EQ(escl_cancel_scan(), 200);
        EXPECT_EQ(deliver_all(), "1:4002");
    });
    EXPECT_EQ(image_commands(), "ack cancel");
    EXPECT_NE(log.find("do_cancel_cmd...\n"), log.npos);
    EXPECT_EQ(job_states(), Calls{"Canceled"});
    EXPECT_EQ(scan_errcode, 0x4002U);
}

struct Link {
    int32_t source;
    const char *eth0, *wlan0, *wlan1; ///< carriers; null: no such file
    const char *log;
};

TEST_F(Delivery, lost_link_ends_the_job_like_a_cancel) {
    const Link rows[] = {
        {1, "0", "1", "1", "ETH DISCONNECT>>>>>>>\n"},
        {1, nullptr, "1", "1", "ETH DISCONNECT>>>>>>>\n"},
        {1, "", "1", "1", "ETH DISCONNECT>>>>>>>\n"},
        {2, "0", "0", "1", "WLAN0 DISCONNECT>>>>>>>\n"},
        {2, "0", nullptr, "1", "WLAN0 DISCONNECT>>>>>>>\n"},
        {2, "1", "1", "1", "Use WLAN0 but Detect LAN cable in>>>>>>>\n"},
        {3, "1", "1", "0\n", "WLAN1 DISCONNECT>>>>>>>\n"},
        {1, "1", "0", "0", "Scan Timeout>>>>>>>timeout_count=60001\n"},
        {2, "0", "1", "0", "Scan Timeout>>>>>>>timeout_count=60001\n"},
    };
    const std::string seed = status_document();
    for (const Link &row : rows) {
        SCOPED_TRACE(testing::Message() << row.source << " " << row.log);
        for (const auto &[name, carrier] :
             {std::pair{"eth0", row.eth0}, {"wlan0", row.wlan0}, {"wlan1", row.wlan1}}) {
            const std::string path = std::string("sys/class/net/") + name + "/carrier";
            tree.remove(path);
            if (carrier != nullptr)
                tree.put(path, carrier);
        }
        put_status_document(seed);
        open_sockets();
        escl_set_scan_source(row.source);
        waits.slept_us = 0;
        const std::string log = log_of([&] {
            EXPECT_EQ(start("", BlockRecord{}.bytes() + cancel_answer), 201);
            EXPECT_TRUE(scan_ends()); // nobody takes a block
        });
        EXPECT_NE(log.find(row.log), log.npos) << log;
        EXPECT_NE(log.find("cancelflag=3"), log.npos) << log;
        EXPECT_EQ(image_commands(), "next ack cancel");
        EXPECT_EQ(job_states(), Calls{"Canceled"});
        EXPECT_EQ(text_of(status_document(), "pwg:JobStateReason"), "JobCanceledByUser");
        EXPECT_EQ(waits.slept_us > 300'000'000, strstr(row.log, "Timeout") != nullptr);
    }
}

TEST_F(Delivery, usb_host_that_is_gone_counts_as_served) {
    tree.put("proc/kob_usbd/connect", "0");
    EXPECT_EQ(start("", BlockRecord{}.bytes() + BlockRecord{.last_err = 0x1005}.bytes() +
                            BlockRecord{.flow = 4}.bytes()),
              201);
    EXPECT_TRUE(scan_ends());
    EXPECT_EQ(image_commands(), "next ack next ack");
    EXPECT_EQ(job_states(), Calls{"Completed"});
}

TEST_F(Delivery, usb_host_that_is_there_has_all_the_time) {
    for (const char *connect : {"1", ""}) { // a file that tells nothing does not end the wait
        tree.put("proc/kob_usbd/connect", connect);
        tree.put("sys/class/net/eth0/carrier", "0"); // no link is looked at
        open_sockets();
        waits.slept_us = 0;
        EXPECT_EQ(
            start("", BlockRecord{.last_err = 0x1005}.bytes() + BlockRecord{.flow = 4}.bytes()),
            201);
        EXPECT_TRUE(wait_until([] { return waits.slept_us > 310'000'000; }));
        EXPECT_EQ(escl_is_scanning(), 1);
        EXPECT_EQ(deliver_all(), "0:1005");
        EXPECT_EQ(job_states().front(), "Completed");
    }
}

TEST_F(Delivery, file_names) {
    const struct {
        int32_t type;
        uint32_t count;
        const char *name, *stored_name;
    } rows[] = {{0, 1, "001.jpg", "008.jpg"},
                {1, 12, "012.tif", "009.tif"},
                {2, 5, "Scan.pdf", "Scan.pdf"},
                {3, 1234, "1234.raw", "011.raw"},
                {9, 0, "000.jpg", "012.jpg"}};
    rjsend_image_count = 7;
    for (const auto &row : rows) {
        image_file_type = row.type;
        send_image_count = row.count;
        char name[32] = {};
        EXPECT_EQ(log_of([&] { EXPECT_EQ(escl_get_image_file2(name), 200); }),
                  std::string(row.name) + " \n");
        EXPECT_STREQ(name, row.name);
        EXPECT_EQ(escl_get_rjimage_file2(name), 200);
        EXPECT_STREQ(name, row.stored_name);
    }
}

TEST_F(Delivery, semaphore_tells_of_an_end) {
    EXPECT_EQ(do_init_wait_esclscan_sem(), 0);
    EXPECT_EQ(log_of([] { EXPECT_EQ(do_set_action_esclscan_finish(), 0); }),
              "Set to exit wait...\n");
    EXPECT_EQ(waits.slept_us, 1000U);
    const time_t before = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    EXPECT_EQ(log_of([] { EXPECT_EQ(do_wait_action_esclscan_finish(), 0); }),
              "Start to wait...\nStart to wait...2\n");
    EXPECT_GE(waits.deadline_s, before + 5);
    EXPECT_LE(waits.deadline_s, before + 6);
    EXPECT_EQ(waits.deadline_ns, 0);
    EXPECT_EQ(do_init_wait_esclscan_sem(), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(do_wait_action_esclscan_finish(), 0) << "torn down all the same";
    EXPECT_TRUE(
        testing::internal::GetCapturedStderr().starts_with("do_wait_action_esclscan_finish: "));
    // The end of each image and that of the thread post it.
    EXPECT_EQ(do_init_wait_esclscan_sem(), 0);
    EXPECT_EQ(start("", BlockRecord{.last_err = 0x1005}.bytes() + BlockRecord{.flow = 2}.bytes() +
                            BlockRecord{.last_err = 0x2001}.bytes()),
              201);
    deliver_all();
    int posts = 0;
    EXPECT_EQ(sem_getvalue(&esclscan_action_sem, &posts), 0);
    EXPECT_EQ(posts, 2);
}

TEST(CrashReport, tells_where_and_ends_the_process) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            escl_set_sigsegv_handler();
            raise(SIGSEGV);
        },
        testing::ExitedWithCode(1), "backtrace\\(\\) returned [0-9]+ addresses si_addr=");
}

} // namespace
