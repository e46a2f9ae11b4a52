/// What the operator does, as the device and its hosts see it.

#include "tests/panel/panel_fixture.h"

namespace varn::testing {
namespace {

using nlohmann::json;

class PanelStoredJob : public PanelTest {
protected:
    Job store(const std::string &name, const std::string &pin) {
        std::string settings = client::settings_document(small_scan("flatbed"));
        settings.insert(settings.rfind("</"), "<scan:StoredJobRequest><scan:JobName>" + name +
                                                  "</scan:JobName><scan:PIN>" + pin +
                                                  "</scan:PIN></scan:StoredJobRequest>");
        return start(settings);
    }
};

TEST_F(PanelStoredJob, ReleasedWithItsPinItIsScannedForThePanel) {
    const Job job = store("Rent &lt;b&gt;", "4711");
    ASSERT_EQ(job.status, 201);
    const json waiting = state().at("stored_jobs");
    ASSERT_EQ(waiting.size(), 1U);
    EXPECT_EQ(waiting[0].at("name"), "Rent <b>");
    EXPECT_EQ(waiting[0].at("has_pin"), true);
    EXPECT_EQ(waiting.dump().find("4711"), std::string::npos);

    const json release = {{"action", "stored.release"}, {"uuid", job.uuid}};
    json wrong = release;
    wrong["pin"] = "4712";
    json right = release;
    right["pin"] = "4711";
    const Answer refused = act(wrong);
    EXPECT_EQ(refused.status, 403);
    EXPECT_EQ(refused.body.at("retry_after_s"), 1);
    EXPECT_EQ(act(right).status, 429);
    EXPECT_TRUE(eventually([&] { return act(right).status == 200; }));

    EXPECT_TRUE(state_gets([&](const json &now) {
        return now.at("stored_jobs").empty() && now.at("pages").size() == 1 &&
               now.at("pages")[0].at("job") == job.uuid;
    }));
    EXPECT_TRUE(job_gets(job, "Completed"));
    const json done = state();
    EXPECT_EQ(done.at("job").at("kind"), "stored");
    const std::string page = "http://" + host() + "/pages/1";
    EXPECT_EQ(decode_jpeg(http_.get(page).body).width, done.at("pages")[0].at("width"));
    EXPECT_TRUE(state_gets([](const json &now) {
        return now.at("jobs").size() == 1 && now.at("jobs")[0].at("state") == "Completed" &&
               now.at("jobs")[0].at("source") == "scanner";
    }));
    expect_scanner_works();
}

TEST_F(PanelStoredJob, AJamCostsNobodyTheJobAndACancelTakesItAway) {
    std::string settings = client::settings_document(small_scan("feeder"));
    settings.insert(settings.rfind("</"), "<scan:StoredJobRequest><scan:JobName>Rent"
                                          "</scan:JobName></scan:StoredJobRequest>");
    const Job job = start(settings);
    ASSERT_EQ(job.status, 201);
    const json release = {{"action", "stored.release"}, {"uuid", job.uuid}};
    ASSERT_EQ(act({{"action", "feeder.load"}, {"count", 3}}).status, 200);
    ASSERT_EQ(act({{"action", "fault.set"}, {"kind", "jam"}, {"sheet", 2}}).status, 200);
    ASSERT_EQ(act(release).status, 200);
    EXPECT_TRUE(state_gets(
        [](const json &now) { return now.at("scanner").at("feeder_state") == "ScannerAdfJam"; }));
    EXPECT_EQ(state().at("stored_jobs").size(), 1U);
    ASSERT_EQ(act({{"action", "hatch.open"}}).status, 200);
    ASSERT_EQ(act({{"action", "hatch.close"}}).status, 200);

    ASSERT_EQ(act({{"action", "feeder.load"}, {"count", 20}}).status, 200);
    ASSERT_TRUE(scanner_.ctl({"slow", "strip", "20"}));
    ASSERT_TRUE(eventually([&] { return act(release).status == 200; }));
    EXPECT_EQ(act({{"action", "stored.delete"}, {"uuid", job.uuid}}).status, 409);
    ASSERT_EQ(act({{"action", "job.cancel"}}).status, 200);
    EXPECT_TRUE(state_gets([](const json &now) { return now.at("stored_jobs").empty(); }));
    EXPECT_TRUE(job_gets(job, "Canceled"));
    ASSERT_TRUE(scanner_.ctl({"slow", "off"}));
    expect_scanner_works();
}

TEST_F(PanelStoredJob, DeletedOneIsGoneForItsHostToo) {
    const Job job = store("Letter", "");
    EXPECT_EQ(act({{"action", "stored.delete"}, {"uuid", job.uuid}}).status, 200);
    EXPECT_EQ(state().at("stored_jobs").size(), 0U);
    EXPECT_TRUE(job_gets(job, "Canceled"));
    EXPECT_EQ(act({{"action", "stored.release"}, {"uuid", job.uuid}}).status, 409);
}

TEST_F(PanelTest, PreviewShowsThePageAndTheCurveThatTheEngineGot) {
    ASSERT_EQ(act({{"action", "glass.put"}, {"picture", "chart"}}).status, 200);
    EXPECT_EQ(state().at("tone").at("curve"), nullptr);
    ASSERT_EQ(act({{"action", "preview.start"}, {"source", "glass"}, {"gamma", 120}}).status, 200);
    EXPECT_TRUE(state_gets([](const json &now) { return now.at("pages").size() == 1; }));
    const json first = state().at("tone").at("curve");
    EXPECT_EQ(first.size(), 256U);
    ASSERT_TRUE(eventually([&] {
        return act({{"action", "preview.start"}, {"source", "glass"}, {"gamma", 300}}).status ==
               200;
    }));
    EXPECT_NE(state().at("tone").at("curve"), first);
    EXPECT_TRUE(state_gets([](const json &now) { return now.at("pages").size() == 2; }));
    EXPECT_EQ(act({{"action", "preview.start"}, {"source", "feeder"}}).status, 409);
}

TEST_F(PanelTest, AHostsScanAndItsJamShowAtThePanel) {
    ASSERT_EQ(act({{"action", "feeder.load"}, {"count", 2}}).status, 200);
    ASSERT_EQ(act({{"action", "fault.set"}, {"kind", "jam"}, {"sheet", 2}}).status, 200);
    EXPECT_EQ(state().at("feeder").at("fault"), "jam");
    const Job job = start(small_scan("feeder"));
    ASSERT_EQ(job.status, 201);
    EXPECT_EQ(fetch_all(job).size(), 1U);
    EXPECT_TRUE(state_gets([](const json &now) {
        return now.at("scanner").at("feeder_state") == "ScannerAdfJam" &&
               now.at("job").at("kind") == "host" && now.at("job").at("state") == "Aborted" &&
               now.at("pages").size() == 1;
    }));
    EXPECT_EQ(act({{"action", "hatch.open"}}).status, 200);
    EXPECT_EQ(act({{"action", "hatch.close"}}).status, 200);
    EXPECT_TRUE(state_gets(
        [](const json &now) { return now.at("scanner").at("feeder_state") != "ScannerAdfJam"; }));
    expect_scanner_works();
}

TEST_F(PanelTest, APickedComputerFindsItsEvent) {
    const std::string settings = client::settings_document({});
    const auto names = settings.find(" xmlns:");
    const std::string answer = ask_raw(
        "POST", "/eSCL/WalkupSubscriptions",
        "<scan:WalkupScanSubscription" + settings.substr(names, settings.find('>', names) - names) +
            "><scan:HostIdentifier>desk</scan:HostIdentifier><scan:Connection>Network"
            "</scan:Connection></scan:WalkupScanSubscription>");
    ASSERT_EQ(status_of(answer), 201);
    const json hosts = state().at("destinations");
    ASSERT_EQ(hosts.size(), 1U);
    EXPECT_EQ(hosts[0].at("family"), "escl");
    EXPECT_EQ(hosts[0].at("name"), "desk");
    EXPECT_EQ(hosts[0].at("link"), "Network");
    const std::string uuid = hosts[0].at("uuid");
    const std::string event = "/eSCL/WalkupScanEvent/" + uuid;
    EXPECT_EQ(get(event).status, 204);
    EXPECT_EQ(act({{"action", "walkup.pick"}, {"family", "varn"}, {"uuid", uuid}}).status, 409);
    const json pick = {
        {"action", "walkup.pick"}, {"family", "escl"}, {"uuid", uuid}, {"duplex", true}};
    ASSERT_EQ(act(pick).status, 200);
    EXPECT_NE(get(event).body.find("ScanRequested"), std::string::npos);
    EXPECT_EQ(act({{"action", "walkup.stop"}}).status, 200);
    EXPECT_NE(get(event).body.find("ScanPagesComplete"), std::string::npos);
}

} // namespace
} // namespace varn::testing
