// The receive thread: what it makes of the engine's records.
#include "tests/escl/scan_fixture.h"
#include "tests/support/documents.h"

using namespace varn::test;

namespace {

std::string block(uint32_t error = 0, uint32_t ring = 8) {
    return BlockRecord{.last_err = error, .ring_size = ring}.bytes();
}
std::string sheet(uint8_t flow, uint32_t error = 0) {
    return BlockRecord{.last_err = error, .flow = flow}.bytes();
}
constexpr uint32_t image_end = 0x1005;
const std::string duplex = "Duplex=true";

struct Transcript {
    const char *name;
    std::string elements;
    std::string records;
    const char *commands;  ///< of the library on the image socket
    const char *delivered; ///< ring index and error of each published record
    const char *state, *reason;
    uint32_t images_begun, images_received;
    uint32_t errcode;
    const char *log;
};

const Transcript transcripts[] = {
    {"one image in two blocks", "", block() + block(image_end) + sheet(4), "next ack next ack",
     "0:0 1:1005", "Completed", "JobCompletedSuccessfully", 1, 1, 0, ",total finish\n"},
    {"ring of three wraps", "",
     block(0, 3) + block(0, 3) + block(0, 3) + block(0, 3) + block(image_end, 3) + sheet(4),
     "next ack next ack next ack next ack next ack", "0:0 1:0 2:0 0:0 1:1005", "Completed",
     "JobCompletedSuccessfully", 1, 1, 0, ""},
    {"ring is told by the first record alone", "",
     block(0, 2) + block(0, 5) + block(0, 5) + block(image_end) + sheet(4),
     "next ack next ack next ack next ack", "0:0 1:0 0:0 1:1005", "Completed",
     "JobCompletedSuccessfully", 1, 1, 0, ""},
    {"ring of none", "", block(0, 0) + block(image_end, 0) + sheet(4), "next ack next ack",
     "0:0 0:1005", "Completed", "JobCompletedSuccessfully", 1, 1, 0, ""},
    {"three sheets", "",
     block(image_end) + sheet(2) + block(image_end) + sheet(2) + block(image_end) + sheet(4),
     "next ack next ack next ack", "0:1005 1:1005 2:1005", "Completed", "JobCompletedSuccessfully",
     3, 3, 0, ":has next image!\n"},
    {"two sides and a sheet record after the second", duplex,
     block() + block(image_end) + block(image_end) + sheet(2) + block(image_end) +
         block(image_end) + sheet(4),
     "next ack next ack next ack next ack next ack", "0:0 1:1005 2:1005 3:1005 4:1005", "Completed",
     "JobCompletedSuccessfully", 4, 4, 0, ""},
    {"jam at once", "", block(0x2002), "next ack", "0:2002", "Aborted", "ErrorsDetected", 1, 0,
     0x2002, ":scan happen error=0x2002\n"},
    {"multipick in the second image", "", block(image_end) + sheet(2) + block() + block(0x2004),
     "next ack next ack next ack", "0:1005 1:0 2:2004", "Aborted", "ErrorsDetected", 2, 1, 0x2004,
     ""},
    {"the limit itself is no error", "", block(0x2000) + block(image_end) + sheet(4),
     "next ack next ack", "0:2000 1:1005", "Completed", "JobCompletedSuccessfully", 1, 1, 0, ""},
    {"cancelled by the engine", "", block() + block(0x4002), "next ack next ack", "0:0 1:4002",
     "Canceled", "JobCanceledByUser", 1, 0, 0, "dwLastErr == MVTE_FW_SCN_ABORT_SCAN\n"},
    {"cancelled at the device", "", block(0x4001), "next ack", "0:4001", "Canceled",
     "JobCanceledAtDevice", 1, 0, 0, ""},
    {"sheet record with an error", "", block(image_end) + sheet(0, 0x2001), "next ack",
     "0:1005 1:2001", "Aborted", "ErrorsDetected", 1, 1, image_end, "Get error in dummy=0x2001\n"},
    {"sheet record of a cancel", "", block(image_end) + sheet(0, 0x4002), "next ack",
     "0:1005 1:4002", "Canceled", "JobCanceledByUser", 1, 1, image_end, ""},
    {"sheet record of a cancel at the device", "", block(image_end) + sheet(0, 0x4001), "next ack",
     "0:1005 1:4001", "Aborted", "ErrorsDetected", 1, 1, image_end, ""},
    {"unknown flow", "", block(image_end) + sheet(9), "next ack", "0:1005", "Processing",
     "JobScanning", 1, 1, 0, "Get unkown flow status 9!!!!!!\n"},
};

class Receive : public ScanTest {
protected:
    void replay(bool bytewise) {
        for (const Transcript &t : transcripts) {
            SCOPED_TRACE(t.name);
            tree.put(status_path, seed_);
            open_sockets();
            std::string delivered;
            const std::string log = log_of([&] {
                EXPECT_EQ(start(t.elements, t.records, bytewise), 201);
                delivered = deliver_all();
            });
            EXPECT_EQ(delivered, t.delivered);
            EXPECT_EQ(image_commands(), t.commands);
            EXPECT_EQ(job_states(), Calls{t.state});
            EXPECT_EQ(text_of(status_document(), "pwg:JobStateReason"), t.reason);
            EXPECT_EQ(scan_image_count, t.images_begun);
            EXPECT_EQ(send_image_count, t.images_received);
            EXPECT_EQ(scan_errcode, t.errcode);
            EXPECT_EQ(Scan_Finish_Type, 0);
            EXPECT_EQ(scanning_sts_change, 0);
            EXPECT_EQ(escl_get_cancel_ok(), 0);
            EXPECT_NE(log.find(t.log), log.npos) << log;
        }
    }
    std::string seed_ = status_document();
};

TEST_F(Receive, transcripts) { replay(false); }
TEST_F(Receive, transcripts_byte_by_byte) { replay(true); }

TEST_F(Receive, error_reaches_the_document_and_a_jammed_page_counts_as_to_transfer) {
    EXPECT_EQ(start("", block() + block(0x2003)), 201);
    deliver_all();
    const std::string document = status_document();
    EXPECT_EQ(text_of(document, "scan:AdfState"), "ScannerAdfJam");
    EXPECT_EQ(text_of(document, "pwg:ImagesCompleted"), "0");
    EXPECT_EQ(text_of(document, "pwg:ImagesToTransfer"), "1");
    EXPECT_EQ(flag_forimginfo, 1);
    EXPECT_EQ(escl_cancel_scan(), 200);
    EXPECT_EQ(escl_get_cancel_ok(), 0) << "a failed job is not cancelled";
}

TEST_F(Receive, engine_that_finishes_ahead_of_the_delivery) {
    std::string delivered;
    const std::string log = log_of([&] {
        EXPECT_EQ(start("", block(image_end) + sheet(2) + block(image_end) + sheet(4)), 201);
        delivered = deliver_all([](size_t number) {
            if (number == 1)
                escl_set_send_image_count(1);
            return true;
        });
    });
    EXPECT_EQ(delivered, "0:1005 1:1005");
    EXPECT_EQ(Scan_Finish_Type, 1);
    EXPECT_EQ(job_states(), Calls{"Processing"});
    escl_set_send_image_count(2);
    set_scan_scanning_jobstatus(JOBSTAT_COMPLETED); // the delivery side, with its last image
    EXPECT_EQ(job_states(), Calls{"Completed"});
    // The first image alone ends the job whatever was delivered.
    open_sockets();
    EXPECT_EQ(start("", block(image_end) + sheet(4)), 201);
    deliver_all([](size_t) { return escl_set_send_image_count(0) == 0; });
    EXPECT_EQ(job_states().front(), "Completed");
    EXPECT_EQ(Scan_Finish_Type, 0);
}

TEST_F(Receive, stored_job_hides_its_error) {
    for (const std::string &records : {block(0x2002), block(image_end) + sheet(0, 0x2002)}) {
        varn_scan_job_info info = job_info("stored-uuid", JOBSTAT_STORED);
        put_status_document(seed_);
        eSCL_FWSetScanJobInfo(&info);
        open_sockets();
        setReservedJobs("stored-uuid");
        escl_setScanningJobUUID("stored-uuid");
        image->answer(records);
        EXPECT_EQ(scl_start_scan_ForRescl_start_scaneserveJob(action->library_fd(), &image_fd),
                  201);
        deliver_all();
        EXPECT_EQ(job_states(), Calls{"Processing"});
        EXPECT_EQ(scan_errcode, 0U);
    }
    open_sockets();
    image->answer(block(0x4001));
    EXPECT_EQ(create_receive_thread(&image_fd), 201);
    deliver_all();
    EXPECT_EQ(job_states(), Calls{"Canceled"}) << "a cancel is told of a stored job too";
}

TEST_F(Receive, images_are_told_one_by_one) {
    const auto image_record = [](uint32_t width, uint8_t color, uint16_t crop_blank,
                                 uint8_t check) {
        return BlockRecord{.last_err = image_end,
                           .height = 3300,
                           .width = width,
                           .bytes_per_line = width * 3,
                           .color = color,
                           .crop_blank = crop_blank,
                           .multipick = check}
            .bytes();
    };
    EXPECT_EQ(start("AutoExposure=true", image_record(2550, 0, 0x0001, 0) + sheet(2) +
                                             image_record(1000, 1, 0x0100, 1) + sheet(4)),
              201);
    char *out = nullptr;
    uint32_t length = 0;
    deliver_all();
    const struct {
        const char *width, *exposed, *crop, *blank, *color, *multipick;
    } rows[] = {{"2550", "true", "true", "false", "false", "false"},
                {"1000", "false", "false", "true", "true", "true"},
                {"1000", "false", "false", "true", "true", "true"}}; // the last one again
    for (const auto &row : rows) {
        ASSERT_EQ(escl_get_scanimageinfo(&out, &length, "a-job"), 0);
        const std::string document(out, length);
        free(out);
        EXPECT_TRUE(document.starts_with("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"));
        EXPECT_EQ(text_of(document, "pwg:JobUri"), "/eSCL/ScanJobs/a-job");
        EXPECT_EQ(text_of(document, "pwg:JobUuid"), "a-job");
        EXPECT_EQ(text_of(document, "scan:ActualWidth"), row.width);
        EXPECT_EQ(text_of(document, "scan:ActualHeight"), "3300");
        EXPECT_EQ(text_of(document, "scan:AutoExposureApplied"), row.exposed);
        EXPECT_EQ(text_of(document, "scan:AutoCropApplied"), row.crop);
        EXPECT_EQ(text_of(document, "scan:BlankPageDetected"), row.blank);
        EXPECT_EQ(text_of(document, "scan:ColorDetected"), row.color);
        EXPECT_EQ(text_of(document, "scan:MultipickDetected"), row.multipick);
    }
    flag_forimginfo = 1; // of a job that failed: told once
    EXPECT_EQ(escl_get_scanimageinfo(&out, &length, "a-job"), -1);
    EXPECT_EQ(escl_get_scanimageinfo(&out, &length, "a-job"), 0);
    free(out);
    open_sockets();
    EXPECT_EQ(start("", block(image_end) + sheet(2) + block(0x2001)), 201);
    deliver_all();
    flag_forimginfo = 0;
    for (int i = 0; i < 2; ++i, free(out)) // of the one image that came
        ASSERT_EQ(escl_get_scanimageinfo(&out, &length, "a-job"), 0);
    open_sockets();
    EXPECT_EQ(start("", block(0x2001)), 201);
    deliver_all();
    flag_forimginfo = 0;
    EXPECT_EQ(imageinfolist, nullptr);
    EXPECT_EQ(escl_get_scanimageinfo(&out, &length, "a-job"), -1);
}

TEST_F(Receive, engine_that_is_gone_leaves_the_end_to_the_host) {
    EXPECT_EQ(start("", block()), 201);
    image->hang_up();
    const std::string delivered = deliver_all([](size_t number) {
        if (number == 3) // blocks of nothing come: the host gives up
            escl_cancel_scan();
        return true;
    });
    EXPECT_TRUE(delivered.starts_with("0:0 1:0 2:0 3:0")) << delivered;
    EXPECT_EQ(job_states(), Calls{"Canceled"});
}

} // namespace
