// POST of a scan: results, and what goes to the engine in what order.
#include "tests/escl/scan_fixture.h"
#include "tests/escl/translation.h"
#include "tests/support/documents.h"

using namespace varn::test;

namespace {

using Start = ScanTest;

const Calls gates = {"18.2.0/0", "18.2.0/0"};
const std::string read_tone = "40.75.0/10";
const std::string write_tone = "42.75.0/10 b4 00 eb 03 eb 03 d2 05 5e 00";
const std::string one_page =
    BlockRecord{.last_err = 0x1005}.bytes() + BlockRecord{.flow = 4}.bytes();

Calls operator+(Calls list, const Calls &more) {
    list.insert(list.end(), more.begin(), more.end());
    return list;
}

TEST_F(Start, engine_is_told_everything_in_order) {
    std::string log = log_of([&] {
        EXPECT_EQ(start("", one_page), 201);
        EXPECT_EQ(deliver_all(), "0:1005");
    });
    EXPECT_EQ(engine.take_calls(),
              (gates + Calls{read_tone, write_tone, "write_scan_param 7", "pick_media 7",
                             "startscan 7 0", "read_scan_param 7", "read_blockimage 7"}));
    varn_scan_param sent;
    memcpy(&sent, engine.scan_param.data(), sizeof sent);
    varn_scan_param expected = empty_request_block();
    expected.dwImageProcess2 |= 0x2000000;
    EXPECT_EQ(difference(sent, expected), "");
    EXPECT_EQ(difference(g_scanparam, expected), "") << "read back";
    EXPECT_EQ(FBorADF, 0);
    EXPECT_EQ(escl_get_scan_resolution(), 300);
    EXPECT_EQ(escl_get_scan_paperheight(), 3510);
    EXPECT_EQ(escl_is_blockmode(), 1);
    for (const char *line :
         {"kob_pick_media, ret=201\n", "Create receive_image_Process thread  success!\n",
          "~~~~~!!!!!g_is_reserverdjobsScan = 0 \n", ":finish thread !\n"})
        EXPECT_NE(log.find(line), log.npos) << line << log;
    const std::string uuid = escl_get_jobuuid();
    EXPECT_NE(log.find("create_scan_job_status escl_scan_job_id=" + uuid + " status=1\n"),
              log.npos);
    EXPECT_EQ(texts(status_document(), "pwg:JobUuid"), Calls{uuid});
}

TEST_F(Start, optional_records_are_written_when_they_have_something_to_tell) {
    const Calls end = {"pick_media 7", "startscan 7 0", "read_scan_param 7", "read_blockimage 7"};
    EXPECT_EQ(start("MultipickExclusionLength=4 Gamma=158 Highlight=1733 Shadow=39", one_page),
              201);
    deliver_all();
    EXPECT_EQ(engine.take_calls(),
              (gates +
               Calls{read_tone, "42.75.0/10 9e 00 eb 03 eb 03 c5 06 27 00", "write_scan_param 7",
                     "42.80.1/16 02 00 00 00 00 00 00 00 2c 01 00 00 00 00 00 00",
                     "42.12.2/510 1047..56551", "42.12.3/510 1047..56551",
                     "42.12.4/510 1047..56551", "42.12.5/510 1047..56551"} +
               end));
    tree.put("tmp/xml_tickets/eSCL/IQ.txt", "M 1 2 3 4 5 6 7 8 9 T 180 94 1490 1003 1003 S 1 C 3");
    open_sockets();
    EXPECT_EQ(start("MultipickExclusionLength=3", one_page), 201);
    deliver_all();
    Calls calls = engine.take_calls();
    calls.resize(6); // the tables of the file's tone are those of the tone step
    EXPECT_EQ(calls, (gates + Calls{read_tone, write_tone,
                                    "42.13.1/18 01 00 04 00 07 00 02 00 05 00 08 00 03 00 06 00 "
                                    "09 00",
                                    "write_scan_param 7"}));
}

struct Refusal {
    const char *elements;
    StatusRecord status;
    const char *first_job; ///< state of the newest job in the document; null for none
    std::map<std::string, int32_t> results;
    uint16_t paper;
    int32_t result;
    Calls after_gates;
    const char *log;
};

const Calls gate = {"18.2.0/0"};
const Calls parameters = {"18.2.0/0", read_tone, write_tone, "write_scan_param 7"};

// clang-format off
const Refusal refused[] = {
    {"", {.activity = 4}, nullptr, {}, 2, 503, gate, "kob_inquire_scanner_status: Retrun 503 since scanner is busy\n"},
    {"", {.activity = 9}, nullptr, {}, 2, 0, gate, ""},
    {"", {.activity = 4}, "Completed", {}, 2, 503, gate, ""},
    {"", {}, "Processing", {}, 2, 503, {}, "Return 503 since has scan job is processing...\n"},
    {"", {}, "Pending", {}, 2, 503, {}, "Return 503 since has scan job is processing...\n"},
    {"Overscan=false", {}, nullptr, {}, 2, 409, gate + Calls{read_tone}, "Return 409 since Invalid input setting\n"},
    {"", {}, nullptr, {{"write_scan_param", -1}}, 2, 503, parameters, "Return 503 since set_kob_scan_param fail...\n"},
    {"", {}, nullptr, {{"write_scan_param", 3}}, 2, 503, parameters, ""},
    {"", {}, "Canceled", {}, 1, 409, parameters + Calls{"pick_media 7"}, "kob_pick_media, ret=503\nReturn 409 since kob_start_scan_command fail nret=503 dwADF=6\n"},
};
// clang-format on

TEST_F(Start, refusals) {
    const std::string seed = status_document();
    std::string uuid = escl_get_jobuuid();
    for (const Refusal &row : refused) {
        SCOPED_TRACE(testing::Message()
                     << row.elements << " activity " << row.status.activity << " first "
                     << (row.first_job ? row.first_job : "none") << " " << row.log);
        put_status_document(seed);
        if (row.first_job != nullptr) {
            varn_scan_job_info info = job_info("first", JOBSTAT_CREATED);
            eSCL_FWSetScanJobInfo(&info);
            if (strcmp(row.first_job, "Pending") != 0)
                tree.replace(status_path, ">Pending<", std::string(">") + row.first_job + "<");
        }
        const std::string before = status_document();
        open_sockets();
        engine.results = row.results;
        engine.sensors = row.paper;
        answer_post(row.status);
        const std::string log = log_of([&] { EXPECT_EQ(post(row.elements), row.result); });
        EXPECT_NE(log.find(row.log), log.npos) << log;
        EXPECT_EQ(engine.take_calls(), Calls{"18.2.0/0"} + row.after_gates);
        EXPECT_EQ(status_document(), before);
        EXPECT_EQ(escl_is_scanning(), 0);
        EXPECT_NE(escl_get_jobuuid(), std::exchange(uuid, escl_get_jobuuid()))
            << "every POST uses up an identifier";
    }
}

TEST_F(Start, engine_that_hangs_up_makes_a_503) {
    action->hang_up();
    const std::string log = log_of([&] { EXPECT_EQ(post(""), 503); });
    EXPECT_NE(log.find("Retrun 503 since get status fail!\n"), log.npos) << log;
}

TEST_F(Start, flatbed_needs_no_media_in_the_feeder) {
    engine.sensors = 0;
    EXPECT_EQ(start("InputSource=Platen", one_page), 201);
    EXPECT_EQ(deliver_all(), "0:1005");
    EXPECT_EQ(FBorADF, 1);
    open_sockets();
    EXPECT_EQ(start("", one_page), 409);
    EXPECT_EQ(FBorADF, 0);
}

TEST_F(Start, pdf_keeps_black_as_it_is) {
    varn_scan_param block = {};
    escl_scan_pdf = 1;
    EXPECT_EQ(log_of([&] { EXPECT_EQ(set_kob_scan_param(7, &block), 0); }),
              "Scan with PDF, ignore dImagePipelineTest_SET_BW_BLACK_IS_ZERO...\n");
    EXPECT_EQ(block.dwImageProcess2, 0U);
    escl_scan_pdf = 0;
    EXPECT_EQ(set_kob_scan_param(7, &block), 0);
    EXPECT_EQ(block.dwImageProcess2, 0x2000000U);
}

TEST_F(Start, job_is_entered_once_and_the_one_before_stays_as_it_ended) {
    EXPECT_EQ(text_of(status_document(), "scan:Jobs"), "absent");
    std::string before;
    for (int i = 0; i < 20; ++i) {
        open_sockets();
        answer_post();
        log_of([&] { EXPECT_EQ(post(""), 201); });
        // The engine has given nothing yet: the thread waits for its first block.
        const std::string uuid = escl_get_jobuuid();
        EXPECT_EQ(texts(status_document(), "pwg:JobUuid"),
                  before.empty() ? Calls{uuid} : (Calls{uuid, before}));
        EXPECT_EQ(job_states(),
                  before.empty() ? Calls{"Pending"} : (Calls{"Pending", "Completed"}));
        EXPECT_EQ(escl_getScanningJobUUID(), uuid);
        image->answer(one_page);
        log_of([&] { deliver_all(); });
        EXPECT_EQ(job_states().front(), "Completed");
        before = uuid;
    }
}

TEST_F(Start, second_request_is_refused_while_a_scan_runs) {
    escl_set_scan_source(1);
    EXPECT_EQ(start("", ""), 201);
    ASSERT_TRUE(wait_until([] { return escl_is_scanning_sts_change() == 1; }));
    const std::string running = escl_getScanningJobUUID();
    answer_post();
    EXPECT_EQ(post(""), 503);
    EXPECT_EQ(texts(status_document(), "pwg:JobUuid"), Calls{running});
    EXPECT_EQ(create_receive_thread(&image_fd), 409);
    // Its entry is final and the engine idle, but the thread is still there: the engine is started
    // in vain.
    set_scan_specific_jobstatus(JOBSTAT_COMPLETED, running.c_str(), 0);
    auto image_of_the_first = std::move(image);
    open_sockets();
    const std::string log = log_of([&] { EXPECT_EQ(start("", ""), 409); });
    EXPECT_NE(log.find(": has create receive_image_Process thread!\n"), log.npos);
    EXPECT_EQ(engine.take_calls().back(), "read_blockimage 7");
    EXPECT_EQ(texts(status_document(), "pwg:JobUuid"), Calls{running});
    image_of_the_first->answer(one_page);
    EXPECT_EQ(deliver_all(), "0:1005");
}

TEST_F(Start, usb_host_takes_the_scanner_over) {
    escl_set_scan_source(1);
    EXPECT_EQ(start("", BlockRecord{}.bytes() + BlockRecord{.last_err = 0x4002}.bytes()), 201);
    uint8_t record[64];
    uint32_t index = 0;
    ASSERT_TRUE(wait_until([&] { return do_get_current_block_info(record, &index) == 1; }));
    const std::string first = escl_get_jobuuid();
    auto image_of_the_first = std::move(image);
    open_sockets();
    escl_set_scan_source(0);
    std::string delivered;
    const std::string log = log_of([&] {
        EXPECT_EQ(start("", one_page), 201);
        delivered = deliver_all();
    });
    EXPECT_NE(log.find(" exist and from USB, Override!\n"), log.npos);
    EXPECT_NE(log.find("For CR#38786  receiveimage_thread = "), log.npos);
    EXPECT_GE(waits.seconds, 1U);
    EXPECT_EQ(image_words(image_of_the_first->taken()), "next ack cancel");
    EXPECT_EQ(delivered, "0:1005");
    EXPECT_EQ(texts(status_document(), "pwg:JobUuid"), (Calls{escl_get_jobuuid(), first}));
    EXPECT_EQ(job_states(), (Calls{"Completed", "Canceled"}));
}

TEST_F(Start, image_socket_of_zero_blocks_further_scans) {
    image_fd = 0;
    escl_set_scan_source(1);
    const std::string log = log_of([&] { EXPECT_EQ(start("", ""), 201); });
    EXPECT_NE(log.find(":finish thread with ERROR!\n"), log.npos);
    EXPECT_NE(receiveimage_thread, 0U);
    EXPECT_EQ(create_receive_thread(&image_fd), 409);
    receiveimage_thread = 0; // nothing runs
}

TEST_F(Start, cancel_is_asked_unless_the_job_failed) {
    scanning_job_status = JOBSTAT_SCANNING;
    EXPECT_EQ(escl_cancel_scan(), 200);
    EXPECT_EQ(escl_get_cancel_ok(), 1);
    escl_set_cancel_ok(0);
    scanning_job_status = JOBSTAT_ABORTED;
    EXPECT_EQ(escl_cancel_scan(), 200);
    EXPECT_EQ(escl_get_cancel_ok(), 0);
    EXPECT_EQ(eSCL_Notify_AllImgSentDone(9), 0);
    EXPECT_EQ(engine.take_calls(), Calls{"outprocess_scan_end 9 0 0"});
}

TEST_F(Start, stored_job_is_prepared_and_started) {
    const struct {
        int dpi, factor;
        int level;
        const char *log;
    } rows[] = {
        {300, 1, 3, "escl_ScanSetting_ReserveJob: scan byCompression<3, change to 3!\n"},
        {300, 2, 3, ""},
        {400, 3, 5, "escl_ScanSetting_ReserveJob: scan byCompression<5, change to 5!\n"},
        {400, 5, 6, ""},
    };
    for (const auto &row : rows) {
        const std::string dpi = std::to_string(row.dpi);
        tree.put("tmp/xml_tickets/eSCL/Stored.xml",
                 scan_settings("<scan:XResolution>" + dpi +
                               "</scan:XResolution><scan:YResolution>" + dpi +
                               "</scan:YResolution><scan:MultipickDetection>true"
                               "</scan:MultipickDetection><scan:CompressionFactor>" +
                               std::to_string(row.factor) + "</scan:CompressionFactor>"));
        open_sockets();
        const uint16_t tone[] = {180, 1003, 1003, 1490, 94};
        action->answer(StatusRecord{.sensors = 0}.bytes() +
                       std::string(reinterpret_cast<const char *>(tone), sizeof tone));
        const uint32_t no_multipick = row.dpi == 400 ? 1 : 0;
        const std::string log = log_of([&] {
            EXPECT_EQ(escl_ScanSetting_ReserveJob("Stored", action->library_fd(), no_multipick,
                                                  "stored-uuid"),
                      0);
        });
        EXPECT_NE(log.find(row.log), log.npos) << log;
        EXPECT_EQ(log.find("scan byCompression<") == log.npos, *row.log == '\0');
        EXPECT_NE(log.find("!!!!ScannerStatus.wSensorStatus!!!!!!!!!= 0 \n"), log.npos);
        EXPECT_NE(log.find("setReservedJobs job=stored-uuid!!!!!!!! \n"), log.npos);
        EXPECT_EQ(engine.take_calls(),
                  (Calls{"18.2.0/0", read_tone, write_tone, "write_scan_param 7"}));
        varn_scan_param sent;
        memcpy(&sent, engine.scan_param.data(), sizeof sent);
        EXPECT_EQ(sent.byCompression, row.level);
        EXPECT_EQ(sent.byHostIsNetwork, 1);
        EXPECT_EQ(sent.byMiscOptions, no_multipick != 0 ? 0 : 4);
        EXPECT_STREQ(g_job_uuid, "stored-uuid");
        EXPECT_EQ(g_is_reserverdjobsScan, 1);
    }
    image->answer(one_page);
    engine.sensors = 0; // not looked at
    EXPECT_EQ(scl_start_scan_ForRescl_start_scaneserveJob(action->library_fd(), &image_fd), 201);
    deliver_all();
    EXPECT_EQ(engine.take_calls(),
              (Calls{"pick_media 7", "startscan 7 1", "read_scan_param 7", "read_blockimage 7"}));
}

} // namespace
