// The engine's status, and what it makes of the status document.
#include "tests/escl/scan_fixture.h"
#include "tests/support/documents.h"

#include <thread>

using namespace varn::test;

namespace {

using Status = ScanTest;

/// A document with one running job of two images, one of them still to transfer.
void enter_running_job(const char *uuid = "job-1") {
    varn_scan_job_info info = job_info(uuid, JOBSTAT_CREATED);
    log_of([&] {
        eSCL_FWSetScanJobInfo(&info);
        info.status = JOBSTAT_SCANNING;
        info.imagesCompleted = 2;
        info.imagesToTransfer = 1;
        eSCL_FWUpdateScanJobInfo(&info);
    });
}

std::string get_status(const StatusRecord &record, uint32_t flatbed = 0) {
    varn_scanner_status status;
    memcpy(&status, record.bytes().data(), sizeof status);
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(eSCL_GetScanStatus(&status, &block, &length, flatbed), 0);
    std::string document(block != nullptr ? block : "", length);
    free(block);
    return document;
}

struct Error {
    uint32_t code;
    const char *word;
    bool known;
};
constexpr Error errors[] = {
    {0x2001, "ScannerAdfMispick", true},
    {0x2002, "ScannerAdfJam", true},
    {0x2003, "ScannerAdfJam", true},
    {0x2004, "ScannerAdfMultipickDetected", true},
    {0x2007, "ScannerAdfDuplexPageTooLong", true},
    {0x2008, "ScannerAdfDuplexPageTooShort", true},
    {0x2009, "ScannerAdfHatchOpen", true},
    {0x200E, "ScannerAdfEmpty", true},
    {0x2016, "ScannerAdfOutputTrayClosed", true},
    {0x2005, "ScannerAdfEmpty", false},
    {0x4002, "ScannerAdfEmpty", false},
    {1, "ScannerAdfEmpty", false},
};

TEST_F(Status, error_by_takeover_by_source) {
    const std::string seed = status_document();
    for (const Error &error : errors)
        for (const uint8_t takeover : {0, 1})
            for (const uint32_t flatbed : {0U, 1U}) {
                SCOPED_TRACE(testing::Message() << std::hex << error.code << " takeover "
                                                << int{takeover} << " flatbed " << flatbed);
                put_status_document(seed);
                tree.remove("tmp/PanelWalkupFlag.txt");
                escl_set_cancel_ok(0);
                enter_running_job();
                std::string document;
                const std::string log = log_of([&] {
                    document = get_status({.last_err = error.code, .takeover = takeover}, flatbed);
                });
                EXPECT_EQ(schema_fault(document), "");
                const bool jam = error.code == 0x2002 || error.code == 0x2003;
                const bool taken_over = takeover != 0 && error.known;
                const bool jammed = jam && !taken_over && flatbed == 0;
                EXPECT_EQ(text_of(document, "scan:AdfState"),
                          taken_over ? "ScannerAdfLoaded" : error.word);
                EXPECT_EQ(text_of(document, "pwg:JobState"), taken_over ? "Canceled"
                                                             : jammed   ? "Aborted"
                                                                        : "Processing");
                EXPECT_EQ(texts(document, "pwg:JobStateReason"),
                          std::vector<std::string>{taken_over ? "JobCanceledByUser"
                                                   : jammed   ? "ErrorsDetected"
                                                              : "JobScanning"});
                EXPECT_EQ(text_of(document, "pwg:ImagesCompleted"), jammed ? "1" : "2");
                EXPECT_EQ(text_of(document, "pwg:ImagesToTransfer"), jammed ? "0" : "1");
                EXPECT_EQ(tree.has("tmp/PanelWalkupFlag.txt"), taken_over);
                EXPECT_EQ(escl_get_cancel_ok(), taken_over && !jam ? 1 : 0);
                char abnormal[200];
                snprintf(abnormal, sizeof abnormal,
                         "DETECT ABNORMAL STATUS!!!!!\npStatus->dwLastErr =%#x\n"
                         "pStatus->wFWInfo =0\npStatus->byFlowStatus =0\npStatus->byID =0\n"
                         "pStatus->wSensorStatus =0x2\n",
                         error.code);
                EXPECT_EQ(log, error.known ? "" : abnormal);
            }
}

TEST_F(Status, sensors_decide_without_an_error) {
    for (const auto &[sensors, word] : {std::pair{0, "ScannerAdfEmpty"},
                                        {1, "ScannerAdfHatchOpen"},
                                        {2, "ScannerAdfLoaded"},
                                        {3, "ScannerAdfHatchOpen"},
                                        {4, "ScannerAdfEmpty"}})
        for (const uint8_t takeover : {0, 1})
            EXPECT_EQ(text_of(get_status({.sensors = static_cast<uint16_t>(sensors),
                                          .takeover = takeover}),
                              "scan:AdfState"),
                      word);
}

TEST_F(Status, jam_and_takeover_without_a_job_and_counters_at_zero) {
    EXPECT_EQ(text_of(get_status({.last_err = 0x2002}), "scan:AdfState"), "ScannerAdfJam");
    EXPECT_EQ(text_of(get_status({.last_err = 0x2001, .takeover = 1}), "scan:AdfState"),
              "ScannerAdfLoaded");
    EXPECT_EQ(tree.get("tmp/PanelWalkupFlag.txt"), "1\n");
    varn_scan_job_info info = job_info("job-1", JOBSTAT_SCANNING);
    eSCL_FWSetScanJobInfo(&info);
    for (int i = 0; i < 2; ++i) {
        const std::string document = get_status({.last_err = 0x2003});
        EXPECT_EQ(text_of(document, "pwg:ImagesCompleted"), "0");
        EXPECT_EQ(text_of(document, "pwg:ImagesToTransfer"), "0");
    }
}

TEST_F(Status, engine_activity_decides_the_state) {
    const auto state = [](const std::string &document) {
        return text_of(document, "pwg:State") + " " + text_of(document, "pwg:StateReason");
    };
    EXPECT_EQ(state(get_status({.activity = 0, .power_down = 1})), "Idle PowerDown");
    EXPECT_EQ(state(get_status({.activity = 4, .power_down = 1})), "Processing PowerDown");
    EXPECT_EQ(state(get_status({.activity = 9})), "Processing PowerDown") << "as read";
    EXPECT_EQ(state(get_status({.activity = 0, .power_down = 2})), "Idle absent");
    const std::string document = get_status({.activity = 4});
    EXPECT_EQ(text_of(document, "pwg:Version"), "2.9");
    EXPECT_EQ(status_document(), document);
    eSCL_GetScanStatus_ForReserve();
    EXPECT_EQ(text_of(status_document(), "pwg:Version"), "2.5");
    EXPECT_EQ(text_of(status_document(), "pwg:State"), "Processing");
    EXPECT_EQ(schema_fault(status_document()), "");
}

TEST_F(Status, document_that_stays_the_same_follows_every_change) {
    enter_running_job();
    const StatusRecord loaded;
    const auto settle = [&] {
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(text_of(get_status(loaded), "scan:AdfState"), "ScannerAdfLoaded");
    };
    settle();
    EXPECT_EQ(get_status(loaded), status_document());
    EXPECT_EQ(text_of(get_status({.sensors = 0}), "scan:AdfState"), "ScannerAdfEmpty");
    settle();
    tree.replace(status_path, "ScannerAdfLoaded", "ScannerAdfJam"); // from outside
    settle();
    varn_scan_job_info info = job_info("job-1", JOBSTAT_SCANNING);
    info.imagesCompleted = 3;
    eSCL_FWUpdateScanJobInfo(&info);
    EXPECT_EQ(text_of(get_status(loaded), "pwg:ImagesCompleted"), "3");
    settle();
    // A jam takes its page back with every request, between settled ones too.
    for (const char *left : {"2", "1", "0", "0"}) {
        EXPECT_EQ(text_of(get_status({.last_err = 0x2002}), "pwg:ImagesCompleted"), left);
        settle();
    }
    tree.remove(status_path);
    EXPECT_EQ(texts(get_status(loaded), "pwg:JobUri").size(), 0U);
    settle();
}

TEST_F(Status, unreadable_document_is_written_anew) {
    for (const char *content :
         {"", "no document", "<scan:ScannerStatus><scan:Jobs><scan:JobInfo>"}) {
        put_status_document(content);
        const std::string document = get_status({.sensors = 1});
        EXPECT_EQ(text_of(document, "pwg:State"), "Idle") << content;
        EXPECT_EQ(text_of(document, "scan:AdfState"), "ScannerAdfHatchOpen");
        EXPECT_EQ(text_of(document, "scan:JobInfo"), "absent");
        EXPECT_EQ(schema_fault(document), "");
    }
    tree.remove("tmp/xml_tickets/eSCL/ScannerStatus.xml");
    EXPECT_EQ(text_of(get_status({}), "scan:AdfState"), "ScannerAdfLoaded");
    tree.remove("tmp/xml_tickets/eSCL");
    varn_scanner_status status = {};
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(log_of([&] { EXPECT_EQ(eSCL_GetScanStatus(&status, &block, &length, 0), -1); }),
              "OOOOOOOOOOOPS!!! Read /tmp/xml_tickets/eSCL/ScannerStatus.xml error!!!!\n");
    EXPECT_EQ(eSCL_GetScanStatus(&status, nullptr, nullptr, 0), 0);
}

TEST_F(Status, inquiry_modes) {
    const struct {
        int mode;
        uint16_t activity;
        int32_t result;
        const char *command;
        const char *log;
    } rows[] = {
        {0, 4, 0, "18.2.0/0", "ScannerStatus.dwLastErr=0x2001 nret=0 wDTQ=0\n"},
        {2, 0, 0, "18.2.1/0", "ScannerStatus.dwLastErr=0x2001 nret=0 wDTQ=1\n"},
        {1, 0, 201, "18.2.0/0", "ScannerStatus.dwLastErr=0x2001 nret=0 wDTQ=0\n"},
        {1, 4, 503, "18.2.0/0", "kob_inquire_scanner_status: Retrun 503 since scanner is busy\n"},
        {1, 7, 0, "18.2.0/0", "ScannerStatus.dwLastErr=0x2001 nret=0 wDTQ=0\n"},
    };
    for (const auto &row : rows) {
        action->answer(StatusRecord{.last_err = 0x2001, .activity = row.activity}.bytes());
        varn_scanner_status status = {};
        const std::string log = log_of([&] {
            EXPECT_EQ(kob_inquire_scanner_status(action->library_fd(), row.mode, &status),
                      row.result);
        });
        EXPECT_TRUE(log.ends_with(row.log)) << log;
        EXPECT_EQ(status.dwLastErr, 0x2001U);
        EXPECT_EQ(engine.take_calls(), Calls{row.command});
    }
    action->answer(StatusRecord{.last_err = 0x2003, .activity = 4}.bytes());
    EXPECT_EQ(eSCL_GetScannerLastError(action->library_fd()), 0x2003U);
    action->answer(StatusRecord{}.bytes() + StatusRecord{.activity = 4}.bytes());
    EXPECT_EQ(eSCL_GetScannerStatus(action->library_fd()), 0);
    EXPECT_EQ(eSCL_GetScannerStatus(action->library_fd()), -1);
    EXPECT_EQ(kob_inquire_scanner_status(0, 0, nullptr), -1);
    EXPECT_NE(log_of([] {
                  EXPECT_EQ(kob_inquire_scanner_status(0, 1, nullptr), 503);
              }).find("kob_inquire_scanner_status: Retrun 503 since get status fail!\n"),
              std::string::npos);
}

TEST_F(Status, request_for_the_document_asks_the_engine_first) {
    FBorADF = 1;
    enter_running_job();
    action->answer(StatusRecord{.last_err = 0x2002}.bytes());
    char *block = nullptr;
    uint32_t length = 0;
    EXPECT_EQ(escl_get_scanner_status(action->library_fd(), &block, &length), 0);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(text_of(block, "pwg:JobState"), "Processing") << "a flatbed job knows no jam";
    free(std::exchange(block, nullptr));
    EXPECT_EQ(engine.take_calls(), Calls{"18.2.1/0"});
    const std::string log =
        log_of([&] { EXPECT_EQ(escl_get_scanner_status(0, &block, &length), 0); });
    EXPECT_TRUE(log.ends_with("Return 0 since kob_inquire_scanner_status fail...cmdsockfd=0\n"));
    EXPECT_EQ(block, nullptr);
}

TEST_F(Status, setter_of_stored_jobs_gives_the_mutex_back) {
    strcpy(escl_get_jobuuid(), "posted");
    const auto taken_by_another = [] {
        bool taken = false;
        std::thread([&] {
            taken = pthread_mutex_trylock(&scan_job_mutex) == 0;
            if (taken)
                pthread_mutex_unlock(&scan_job_mutex);
        }).join();
        return taken;
    };
    pthread_mutex_lock(&scan_job_mutex);
    EXPECT_FALSE(taken_by_another());
    EXPECT_EQ(log_of([] {
                  set_scan_job_status_forReserveJob(JOBSTAT_STORED, nullptr);
              }).find("~~~set_scan_job_status_forReserveJob: escl_scan_job_id = posted \n"),
              0U);
    EXPECT_TRUE(taken_by_another());
    // Not held: nothing is given back that another thread may hold.
    std::thread([] { pthread_mutex_lock(&scan_job_mutex); }).join();
    set_scan_job_status_forReserveJob(JOBSTAT_CANCELED_BY_USER, nullptr);
    EXPECT_FALSE(taken_by_another());
    EXPECT_EQ(job_states(), Calls{"PendingHeld"}) << "a null identifier changes nothing";
    set_scan_job_status_forReserveJob(JOBSTAT_CANCELED_BY_USER, "posted");
    EXPECT_EQ(job_states(), Calls{"Canceled"});
    EXPECT_EQ(scan_job_status, JOBSTAT_CANCELED_BY_USER);
}

TEST_F(Status, status_of_the_running_job_carries_counters_and_error) {
    enter_running_job("running");
    log_of([] { escl_setScanningJobUUID("running"); });
    scan_image_count = 5;
    send_image_count = 3;
    scan_errcode = 0x2004;
    EXPECT_TRUE(log_of([] { set_scan_scanning_jobstatus(JOBSTAT_ABORTED); })
                    .starts_with("set_scan_scanning_jobstatus: jobid=running jobstatus=6 "
                                 "scan_image_count=5 send_image_count=3 scan_errcode=0x2004\n"));
    const std::string document = status_document();
    EXPECT_EQ(text_of(document, "pwg:ImagesCompleted"), "3");
    EXPECT_EQ(text_of(document, "pwg:ImagesToTransfer"), "2");
    EXPECT_EQ(text_of(document, "scan:AdfState"), "ScannerAdfMultipickDetected");
    EXPECT_EQ(escl_get_scanning_job_status(), JOBSTAT_ABORTED);
    EXPECT_EQ(flag_forimginfo, 1);

    jobstat_lock = 1;
    EXPECT_TRUE(log_of([] { set_scan_scanning_jobstatus(JOBSTAT_SCANNING); })
                    .starts_with("set_scan_scanning_jobstatus,jobstat_lock=1, "
                                 "Impossible!!!!!!!!!!!!!!\n"));
    EXPECT_EQ(waits.longest_us, 200000U);

    EXPECT_TRUE(log_of([] {
                    set_scan_specific_jobstatus(JOBSTAT_CREATED, "other", 0);
                }).starts_with("set_scan_specific_jobstatus: uuid=other status=1\n"));
    set_scan_specific_jobstatus(JOBSTAT_COMPLETED, "running", 1);
    set_scan_specific_jobstatus(JOBSTAT_SCANNING, "other", 0);
    EXPECT_EQ(job_states(), (Calls{"Processing", "Completed"}));
    EXPECT_EQ(texts(status_document(), "pwg:ImagesCompleted"), (Calls{"0", "3"}));
    EXPECT_EQ(scan_job_status, JOBSTAT_SCANNING);
}

TEST_F(Status, accessors) {
    for (const auto &[source, duplex] : {std::pair{0U, 0}, {6U, 0}, {4U, 1}, {7U, 1}, {12U, 1}}) {
        g_scanparam.dwADF = source;
        EXPECT_EQ(escl_is_duplex(), duplex) << source;
    }
    const std::string uuid(60, 'u');
    EXPECT_EQ(log_of([&] { escl_setScanningJobUUID(uuid.c_str()); }),
              "escl_setScanningJobUUID set id=" + uuid + ", " + uuid.substr(0, 39) + "\n");
    EXPECT_EQ(escl_getScanningJobUUID(), uuid.substr(0, 39));
}

} // namespace
