// Stored jobs: what a POST keeps, what the panel's calls do, and how a job goes.
#include "tests/escl/scan_fixture.h"
#include "tests/support/documents.h"

#include <sys/stat.h>

using namespace varn::test;

namespace {

constexpr char list_path[] = "tmp/xml_tickets/eSCL/ReserveJobs.xml";
constexpr char copy_path[] = "tmp/xml_tickets/eSCL/ReserveJobs_Copy.xml";
constexpr char marker_path[] = "tmp/xml_tickets/eSCL/ReserveJobs_Touch.xml";
constexpr char template_path[] = "tmp/xml_tickets/eSCL/res.xml";
constexpr time_t stored_at = 1700000000;

std::string ticket_path(const std::string &uuid) { return "tmp/xml_tickets/eSCL/" + uuid + ".xml"; }

/// A field of an entry of the engine's list.
std::string field(const std::string &entry, size_t offset, size_t width) {
    return entry.substr(offset, strnlen(entry.data() + offset, width));
}

class StoredJobs : public ScanTest {
protected:
    StoredJobs() { varn::test::waits.now = stored_at; }

    /// POST of a stored job; its identifier, or "" when it was refused with a 409.
    std::string store(const std::string &name, const std::string &pin = "",
                      const std::string &more = "") {
        open_sockets();
        answer_post();
        std::string request = "<scan:StoredJobRequest><scan:JobName>" + name + "</scan:JobName>";
        if (!pin.empty())
            request += "<scan:PIN>" + pin + "</scan:PIN>";
        log_ = log_of([&] { result_ = post(request + "</scan:StoredJobRequest>" + more); });
        EXPECT_TRUE(result_ == 201 || result_ == 409) << result_ << log_;
        return result_ == 201 ? escl_get_jobuuid() : "";
    }
    Calls listed(const char *child = "pwg:JobUri") const {
        return texts(tree.get(list_path), child);
    }
    Calls copied() const { return texts(tree.get(copy_path), "pwg:JobUri"); }
    static Calls in_engine() {
        Calls uuids;
        for (const std::string &entry : engine.stored_jobs)
            uuids.push_back(field(entry, 312, 40));
        return uuids;
    }
    std::string state_of(const std::string &uuid) const {
        const Calls uuids = texts(status_document(), "pwg:JobUuid");
        const auto at = std::find(uuids.begin(), uuids.end(), uuid);
        return at == uuids.end() ? "absent" : job_states()[static_cast<size_t>(at - uuids.begin())];
    }
    bool logged(std::string_view text) const { return log_.find(text) != log_.npos; }

    int32_t result_ = 0;
    std::string log_;
};

TEST_F(StoredJobs, posted_job_is_kept_in_every_place) {
    const std::string first = store("Tax &amp; &lt;b&gt;\"rent\"", "00 1'2",
                                    "<pwg:InputSource>Platen</pwg:InputSource>"
                                    "<scan:XResolution>200</scan:XResolution>");
    ASSERT_NE(first, "") << log_;
    EXPECT_EQ(engine.take_calls(), (Calls{"18.2.0/0", "18.2.0/0", "40.75.0/10",
                                          "read_H1_RJList 7 4 4", "write_H1_RJList 7 1"}))
        << "nothing is scanned";
    EXPECT_EQ(escl_is_scanning(), 0);
    EXPECT_EQ(escl_get_is_RJob(), 1);
    EXPECT_EQ(state_of(first), "PendingHeld");
    for (const std::string &line :
         {"ChkRJlistNum Current RJ: 0/5\n" + std::string(), "jobuuid=" + first + "\n",
          std::string("jobexist=Tax & <b>\"rent\"\n"), std::string("jobexist_PIN=00 1'2\n"),
          std::string("job_flatbed=1\n"), std::string("\n\nset_scan_job_status_forReserveJob\n")})
        EXPECT_TRUE(logged(line)) << line << log_;

    varn::test::waits.now = stored_at + 1;
    const std::string second = store("Plain");
    EXPECT_EQ(listed(), (Calls{first, second}));
    EXPECT_EQ(listed("scan:JobName"), (Calls{"Tax &amp; &lt;b&gt;\"rent\"", "Plain"}));
    EXPECT_EQ(listed("scan:PIN"), (Calls{"00 1'2", ""}));
    EXPECT_EQ(listed("scan:Time"), (Calls{"1700000000", "1700000001"}));
    EXPECT_EQ(tree.get(copy_path), tree.get(list_path));

    ASSERT_EQ(engine.stored_jobs.size(), 2U);
    const std::string &entry = engine.stored_jobs[0];
    EXPECT_EQ(field(entry, 0, 296), "Tax & <b>\"rent\"");
    EXPECT_EQ(field(entry, 296, 16), "00 1'2");
    EXPECT_EQ(field(entry, 312, 40), first);
    EXPECT_EQ(entry.substr(352), std::string("\x00\xf1\x53\x65\x01", 5) + std::string(11, '\0'));
    EXPECT_EQ(engine.stored_jobs[1][296], '\0');
    EXPECT_EQ(engine.stored_jobs[1][356], '\0');

    const std::string ticket = tree.get(ticket_path(first));
    EXPECT_NE(ticket.find("<scan:ScanSettingsType "), ticket.npos);
    EXPECT_EQ(text_of(ticket, "scan:JobName"), "");
    EXPECT_EQ(text_of(ticket, "scan:PIN"), "");
    EXPECT_EQ(text_of(ticket, "pwg:InputSource"), "Platen");
    EXPECT_EQ(text_of(ticket, "scan:XResolution"), "200");
    struct stat info = {};
    ASSERT_EQ(stat((tree / ticket_path(first)).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
}

TEST_F(StoredJobs, busy_scanner_stores_all_the_same) {
    const varn_scan_job_info running = job_info("running", JOBSTAT_SCANNING);
    varn_scan_job_info entered = running;
    eSCL_FWSetScanJobInfo(&entered);
    open_sockets();
    answer_post({.activity = 4});
    log_of([&] {
        EXPECT_EQ(post("<scan:StoredJobRequest><scan:PIN>1</scan:PIN></scan:StoredJobRequest>"),
                  201);
    });
    EXPECT_EQ(state_of(escl_get_jobuuid()), "PendingHeld");
    EXPECT_EQ(listed("scan:JobName"), Calls{""});
}

TEST_F(StoredJobs, request_without_name_and_pin_is_an_ordinary_scan) {
    const std::string before = tree.get(list_path);
    EXPECT_EQ(start("StoredJobRequest=",
                    BlockRecord{.last_err = 0x1005}.bytes() + BlockRecord{.flow = 4}.bytes()),
              201);
    log_of([&] { deliver_all(); });
    EXPECT_EQ(escl_get_is_RJob(), 1);
    EXPECT_EQ(job_states(), Calls{"Completed"});
    EXPECT_EQ(tree.get(list_path), before);
}

struct Refusal {
    const char *what;
    void (*arrange)(DeviceTree &tree);
    int32_t with_stored_job;
    const char *log;
};

void write_template(DeviceTree &tree, const char *children) {
    tree.put(template_path, std::string("<root><scan:StoredJobRequest>") + children +
                                "</scan:StoredJobRequest></root>");
}

TEST_F(StoredJobs, refused_job_leaves_nothing_behind) {
    const std::string kept = store("Kept");
    const std::string capabilities = tree.get("web/eSCL/ScannerCapabilities");
    const std::string list = tree.get(list_path);
    const std::string entry_template = tree.get(template_path);
    const std::string entry = engine.stored_jobs.at(0);
    const Refusal rows[] = {
        {"engine's list", [](DeviceTree &) { engine.stored_jobs.resize(5, std::string(368, 'x')); },
         0, "ChkRJlistNum Current RJ: 5/5\nReturn 409 since RJ list is full!\n"},
        {"limit of the capabilities",
         [](DeviceTree &tree) {
             tree.replace("web/eSCL/ScannerCapabilities", "MaxStoredJobRequests>5<",
                          "MaxStoredJobRequests>1<");
         },
         1, ""},
        {"no support",
         [](DeviceTree &tree) {
             tree.replace("web/eSCL/ScannerCapabilities", "scan:StoredJobRequestSupport>",
                          "scan:Nothing>");
         },
         1, ""},
        {"no template", [](DeviceTree &tree) { tree.remove(template_path); }, 0,
         "unable to open /tmp/xml_tickets/eSCL/res.xml parse_ReserveScanJob"},
        {"empty template", [](DeviceTree &tree) { tree.put(template_path, "<root/>"); }, 0,
         "unable to find root.scan:StoredJobRequest in res.xml\n"},
        {"template without PIN",
         [](DeviceTree &tree) { write_template(tree, "<scan:JobName/><scan:Time/><pwg:JobUri/>"); },
         0, "unable to find scan:PIN in root.scan:StoredJobRequest\n"},
    };
    for (const Refusal &row : rows) {
        SCOPED_TRACE(row.what);
        row.arrange(tree);
        const size_t in_engine_before = engine.stored_jobs.size();
        EXPECT_EQ(store("Refused", "1234"), "");
        EXPECT_TRUE(logged(row.log)) << log_;
        EXPECT_EQ(scan_withRJ, row.with_stored_job);
        EXPECT_EQ(tree.get(list_path), list);
        EXPECT_EQ(engine.stored_jobs.size(), in_engine_before);
        EXPECT_EQ(state_of(escl_get_jobuuid()), "absent");
        EXPECT_FALSE(tree.has(ticket_path(escl_get_jobuuid())));
        engine.stored_jobs = {entry};
        tree.put("web/eSCL/ScannerCapabilities", capabilities);
        tree.put(template_path, entry_template);
    }
    for (const char *broken : {"", "<?xml version=\"1.0\"?><scan:Jobs/>", "<scan:ScanSettingsTy"}) {
        tree.put(list_path, broken);
        EXPECT_EQ(store("Refused"), "");
        EXPECT_TRUE(logged("dd:Version didn't find!\n")) << log_;
        EXPECT_EQ(tree.get(list_path), broken);
    }
    tree.put(list_path, list);
    EXPECT_NE(store("Accepted"), "");
    EXPECT_EQ(listed().size(), 2U);
}

TEST_F(StoredJobs, texts_that_are_too_long_are_cut_for_the_engine_only) {
    // The last character, of two bytes, would lie across the end of the field.
    const std::string name = std::string(294, 'n') + "\xc3\xa9";
    const std::string pin = std::string(40, '7');
    ASSERT_NE(store(name, pin), "");
    const std::string &entry = engine.stored_jobs.at(0);
    EXPECT_EQ(entry.substr(0, 296), std::string(294, 'n') + std::string(2, '\0'));
    EXPECT_EQ(entry.substr(296, 16), std::string(15, '7') + '\0');
    EXPECT_EQ(listed("scan:JobName"), Calls{name});
    EXPECT_EQ(listed("scan:PIN"), Calls{pin});
    AddRJlistToMVT(7, nullptr, 1, nullptr, nullptr, 1);
    std::string empty(368, '\0');
    empty[352] = empty[356] = 1;
    EXPECT_EQ(engine.stored_jobs.at(1), empty);
}

TEST_F(StoredJobs, job_lives_for_five_minutes_in_the_list) {
    const std::string old = store("Old");
    varn::test::waits.now = stored_at + 1;
    const std::string fresh = store("ScannerStatus");
    tree.put(ticket_path("Old"), "by name");
    const std::string copy = tree.get(copy_path);
    const struct {
        int seconds;
        Calls left;
        const char *log;
    } rows[] = {
        {300, {old, fresh}, "~~~!!! CheckSetTime = 1700000000 \n~~~!!! DiffTime_value = 300 \n"},
        {301,
         {fresh},
         "~~~!!! DiffTime_value = 301 \n"
         "~~~!!! fname_ScanSetting = /tmp/xml_tickets/eSCL/Old.xml \n"},
        {-5, {fresh}, "~~~!!! DiffTime_value = -6 \n"},
        {302, {}, "~~~!!! fname_ScanSetting = /tmp/xml_tickets/eSCL/ScannerStatus.xml \n"},
        {400, {}, ""},
    };
    for (const auto &row : rows) {
        varn::test::waits.now = stored_at + row.seconds;
        const std::string log = log_of([] { EXPECT_EQ(parse_ReserveScanJob_CheckTime(), 0); });
        EXPECT_EQ(listed(), row.left) << row.seconds;
        EXPECT_NE(log.find(row.log), log.npos) << log;
    }
    EXPECT_FALSE(tree.has(ticket_path("Old")));
    EXPECT_TRUE(tree.has(ticket_path(old))) << "the settings outlive the entry";
    EXPECT_TRUE(tree.has(status_path)) << "the device's own document";
    EXPECT_EQ(tree.get(copy_path), copy);
    EXPECT_EQ(in_engine(), (Calls{old, fresh}));
    EXPECT_EQ(state_of(old), "PendingHeld");
}

TEST_F(StoredJobs, times_and_names_of_strangers_do_no_harm) {
    store("..%2f");
    tree.put("tmp/outside.xml", "kept");
    for (const char *name : {"../../outside", "", "/tmp/outside"}) {
        tree.replace(list_path, ">" + listed("scan:JobName").at(0) + "<",
                     ">" + std::string(name) + "x<");
        tree.replace(list_path, std::string(name) + "x<", std::string(name) + "<");
        const std::string list = tree.get(list_path);
        for (const char *time : {"99999999999999999999999", "-9223372036854775808", "", "x"}) {
            tree.put(list_path, list);
            tree.replace(list_path, ">1700000000<", ">" + std::string(time) + "<");
            log_of([] { parse_ReserveScanJob_CheckTime(); });
            EXPECT_EQ(listed().empty(), *time != '9') << time;
        }
        tree.put(list_path, list);
    }
    EXPECT_EQ(tree.get("tmp/outside.xml"), "kept");
}

TEST_F(StoredJobs, panel_finds_a_job_by_its_identifier) {
    store("One");
    const std::string second = store("Two");
    std::string log = log_of([&] { EXPECT_EQ(eSCL_SetReserveJob_Panel("x", second.c_str()), 0); });
    EXPECT_EQ(log, "!!! Res_JobName = x \n");
    // A start that failed puts the job back among the waiting ones.
    set_scan_specific_jobstatus(JOBSTAT_SCANNING, second.c_str(), 0);
    EXPECT_EQ(state_of(second), "Processing");
    set_scan_specific_jobstatus(JOBSTAT_STORED, second.c_str(), 0);
    EXPECT_EQ(state_of(second), "PendingHeld");
    log = log_of([&] {
        EXPECT_EQ(eSCL_SetReserveJob_Panel(nullptr, second.substr(1).c_str()), -1);
        EXPECT_EQ(parse_ReserveScanJob_Setting(nullptr, nullptr), -1);
        tree.remove(list_path);
        EXPECT_EQ(parse_ReserveScanJob_Setting(nullptr, second.c_str()), -1);
    });
    EXPECT_NE(log.find("NNNNNNNNNNNNNNNNNNNNN~~checkName = "), log.npos);
}

/// What a way out of the list leaves of the first of two jobs.
struct WayOut {
    const char *name;
    void (*go)(const char *uuid);
    bool leaves_list, leaves_engine;
    const char *state;
    const char *log;
};

const WayOut ways_out[] = {
    {"by identifier", [](const char *uuid) { parse_ReserveScanJob_deleteByID(uuid); }, true, false,
     "PendingHeld", "~~~!!! Job_UUID = "},
    {"delete", [](const char *uuid) { parse_ReserveScanJob_delete("x", uuid); }, true, false,
     "PendingHeld", "~~~!!! Job_UUID = "},
    {"time is up", [](const char *uuid) { eSCL_ReserveScanJob_CheckTime("x", uuid); }, true, false,
     "Canceled", "~eSCL_ReserveScanJob_CheckTime~ \n"},
    {"operator cancels", [](const char *uuid) { escl_CancelScan_ReserveJob("x", uuid, 1); }, true,
     false, "Canceled", "#######escl_CancelScan_ReserveJob Res_JobName = x Res_ButtonStatus=1\n"},
    {"operator deletes", [](const char *uuid) { escl_CancelScan_ReserveJob("x", uuid, 2); }, true,
     false, "PendingHeld", "Res_ButtonStatus=2\n"},
    {"operator declines", [](const char *uuid) { escl_CancelScan_ReserveJob("x", uuid, 0); }, false,
     false, "PendingHeld", "Res_ButtonStatus=0\n"},
    {"unknown button", [](const char *uuid) { escl_CancelScan_ReserveJob(nullptr, uuid, 3); },
     false, false, "PendingHeld", "Res_ButtonStatus=3\n"},
    {"engine only", [](const char *uuid) { EXPECT_EQ(escl_RemoveRJPCList(7, uuid), 200); }, false,
     true, "PendingHeld", "Find 0 jobid is "},
    {"cancelled", [](const char *uuid) { EXPECT_EQ(escl_cancel_RJscan(7, uuid), 200); }, true, true,
     "Canceled", "Find 0 jobuuid is "},
};

TEST_F(StoredJobs, every_way_out_leaves_something_else) {
    for (const WayOut &way : ways_out) {
        SCOPED_TRACE(way.name);
        const std::string gone = store("Gone", "1");
        const std::string stays = store("Stays", "2");
        cancelflag = 0;
        const std::string log = log_of([&] { way.go(gone.c_str()); });
        EXPECT_NE(log.find(way.log), log.npos) << log;
        const Calls left = {stays};
        const Calls both = {gone, stays};
        EXPECT_EQ(listed(), way.leaves_list ? left : both);
        EXPECT_EQ(copied(), way.leaves_list ? left : both);
        EXPECT_EQ(tree.has(ticket_path(gone)), !way.leaves_list);
        EXPECT_TRUE(tree.has(ticket_path(stays)));
        EXPECT_EQ(in_engine(), way.leaves_engine ? left : both);
        EXPECT_EQ(state_of(gone), way.state);
        EXPECT_EQ(state_of(stays), "PendingHeld");
        EXPECT_EQ(tree.has("tmp/rj_delete"), std::string(way.name) == "operator declines");
        EXPECT_EQ(cancelflag, 0) << "nothing is scanned";
        tree.remove("tmp/rj_delete");
        log_of([&] { // for the next row
            escl_cancel_RJscan(7, gone.c_str());
            escl_cancel_RJscan(7, stays.c_str());
        });
    }
}

TEST_F(StoredJobs, unknown_job_is_saved_around_by_one_way_only) {
    store("Here");
    tree.put(copy_path, "old");
    tree.put(ticket_path("unknown"), "");
    log_of([] {
        parse_ReserveScanJob_deleteByID("unknown");
        parse_ReserveScanJob_deleteByID(nullptr);
        parse_ReserveScanJob_delete("x", nullptr);
        escl_RemoveRJPCList(7, nullptr);
    });
    EXPECT_EQ(tree.get(copy_path), "old");
    EXPECT_TRUE(tree.has(ticket_path("unknown")));
    log_of([] { parse_ReserveScanJob_delete("x", "unknown"); });
    EXPECT_EQ(tree.get(copy_path), tree.get(list_path));
    EXPECT_FALSE(tree.has(ticket_path("unknown")));
    // An identifier is no path, and the device's own documents are no settings.
    tree.put("tmp/outside.xml", "kept");
    for (const char *name : {"../../outside", "ReserveJobs", "ScannerStatus", "res"})
        log_of([name] { parse_ReserveScanJob_delete("x", name); });
    EXPECT_TRUE(tree.has("tmp/outside.xml") && tree.has(list_path) && tree.has(status_path) &&
                tree.has(template_path));
    EXPECT_EQ(listed().size(), 1U);
}

std::filesystem::path marker_to_remove;
int looks_before_it_goes = 0;

TEST_F(StoredJobs, copy_waits_for_its_reader_but_not_for_ever) {
    const std::string first = store("First");
    marker_to_remove = tree / marker_path;
    looks_before_it_goes = 3;
    tree.put(marker_path, "");
    varn::test::waits.slept_us = 0;
    varn::test::waits.on_usleep = [] {
        if (--looks_before_it_goes == 0)
            std::filesystem::remove(marker_to_remove);
    };
    const std::string second = store("Second");
    EXPECT_EQ(copied(), (Calls{first, second}));
    EXPECT_EQ(varn::test::waits.slept_us, 150000U);
    EXPECT_TRUE(logged("ReserveJobs_Touch.xml file exists\nReserveJobs_Touch.xml file exists\n"
                       "ReserveJobs_Touch.xml file exists\njobuuid="))
        << log_;
    // A reader that died; a pipe in its place is no trap either.
    varn::test::waits.on_usleep = nullptr;
    varn::test::waits.slept_us = 0;
    ASSERT_EQ(mkfifo(marker_to_remove.c_str(), 0600), 0);
    log_of([&] { parse_ReserveScanJob_deleteByID(first.c_str()); });
    EXPECT_EQ(varn::test::waits.slept_us, 3000000U);
    EXPECT_EQ(listed(), Calls{second}) << "the list does not wait";
    EXPECT_EQ(copied(), (Calls{first, second}));
    tree.remove(marker_path);
    const std::string third = store("Third");
    EXPECT_EQ(copied(), (Calls{second, third}));
}

TEST_F(StoredJobs, engine_says_which_job_the_operator_started) {
    g_is_reserverdjobsScan = 3;
    escl_setScanningJobUUID("before");
    EXPECT_EQ(getIsReservedJobs(7), 0);
    EXPECT_EQ(g_is_reserverdjobsScan, 0);
    EXPECT_STREQ(escl_scanning_scanjob_uuid, "before");
    engine.started_job = std::string("\1\0\0\0", 4) + std::string(60, 'u');
    EXPECT_EQ(getIsReservedJobs(7), 1);
    EXPECT_EQ(g_is_reserverdjobsScan, 1);
    EXPECT_EQ(escl_scanning_scanjob_uuid, std::string(39, 'u'));
    engine.results["read_H1_RJList"] = -1;
    EXPECT_EQ(getIsReservedJobs(7), 0);
    EXPECT_EQ(ChkRJlistNum(7), 0) << "an engine that does not tell";
    setReservedJobs("job");
    EXPECT_EQ(log_of([] { EXPECT_EQ(clearReservedJobs(), 0); }),
              "~~~~!!!!!!!!!!!!!!!clearReservedJobs!!!!!!!! \n");
    EXPECT_EQ(g_is_reserverdjobsScan, 0);
    EXPECT_EQ(std::string(g_job_uuid, sizeof g_job_uuid), std::string(40, '\0'));
}

/// The panel's calls up to the start of the thread.
class Released : public StoredJobs {
protected:
    void release(const std::string &uuid, const std::string &blocks) {
        open_sockets();
        engine.started_job = std::string("\1\0\0\0", 4) + uuid + std::string(24, '\0');
        const uint16_t tone[] = {180, 1003, 1003, 1490, 94};
        action->answer(StatusRecord{}.bytes() +
                       std::string(reinterpret_cast<const char *>(tone), sizeof tone));
        image->answer(blocks);
        log_ = log_of([&] {
            ASSERT_EQ(getIsReservedJobs(7), 1);
            ASSERT_EQ(eSCL_SetReserveJob_Panel("", uuid.c_str()), 0);
            ASSERT_EQ(
                escl_ScanSetting_ReserveJob(uuid.c_str(), action->library_fd(), 0, uuid.c_str()),
                0);
            ASSERT_EQ(scl_start_scan_ForRescl_start_scaneserveJob(action->library_fd(), &image_fd),
                      201);
        });
    }
};

TEST_F(Released, stored_job_goes_from_the_post_to_its_end) {
    const std::string uuid = store("Job", "1", "<pwg:InputSource>Platen</pwg:InputSource>");
    const std::string other = store("Other");
    release(uuid, "");
    varn_scan_param sent;
    memcpy(&sent, engine.scan_param.data(), sizeof sent);
    EXPECT_EQ(sent.dwADF, 0U) << "the settings of that job";
    EXPECT_EQ(state_of(uuid), "Processing");
    image->answer(BlockRecord{.last_err = 0x1005}.bytes() + BlockRecord{.flow = 4}.bytes());
    log_of([&] { deliver_all(); });
    EXPECT_EQ(state_of(uuid), "Completed");
    EXPECT_EQ(state_of(other), "PendingHeld");
    log_of([&] {
        escl_RemoveRJPCList(7, uuid.c_str());
        parse_ReserveScanJob_delete("Job", uuid.c_str());
        clearReservedJobs();
    });
    EXPECT_EQ(listed(), Calls{other});
    EXPECT_EQ(in_engine(), Calls{other});
    EXPECT_EQ(state_of(uuid), "Completed");
}

TEST_F(Released, cancelling_the_running_job_ends_its_scan) {
    const std::string waiting = store("Waiting");
    const std::string running = store("Running");
    release(running, BlockRecord{}.bytes() + BlockRecord{.last_err = 0x4002}.bytes());
    log_of([&] {
        escl_cancel_RJscan(7, waiting.c_str());
        EXPECT_EQ(escl_get_cancel_ok(), 0);
        EXPECT_EQ(state_of(waiting), "Canceled");
        EXPECT_EQ(state_of(running), "Processing");
        escl_cancel_RJscan(7, running.c_str());
        deliver_all();
    });
    EXPECT_EQ(image_commands(), "next ack cancel");
    EXPECT_EQ(state_of(running), "Canceled");
    EXPECT_EQ(in_engine(), Calls{});
    EXPECT_EQ(listed(), Calls{});
}

TEST_F(Released, feeder_error_is_hidden) {
    const std::string uuid = store("Job");
    release(uuid, BlockRecord{.last_err = 0x2002}.bytes());
    log_of([&] { deliver_all(); });
    EXPECT_EQ(state_of(uuid), "Processing");
    EXPECT_EQ(scan_errcode, 0U);
}

} // namespace
