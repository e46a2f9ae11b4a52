/// What the operator does, as the device and its hosts see it.

#include "tests/panel/panel_fixture.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace varn::testing {
namespace {

using nlohmann::json;

std::string read_file(const std::string &path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

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
    EXPECT_TRUE(job_gets(job, "Aborted"));
    ASSERT_EQ(act({{"action", "hatch.open"}}).status, 200);
    ASSERT_EQ(act({{"action", "hatch.close"}}).status, 200);
    EXPECT_TRUE(job_gets(job, "PendingHeld"));

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

TEST_F(PanelStoredJob, ItsTimeIsUpWhereverItStands) {
    const Job job = store("Letter", "");
    ASSERT_EQ(job.status, 201);
    const std::string list = scanner_.root().string() + "/tmp/xml_tickets/eSCL/ReserveJobs.xml";
    std::string text = read_file(list);
    const auto time = text.find("<scan:Time>");
    ASSERT_NE(time, std::string::npos);
    text[time + strlen("<scan:Time>")] = '0';
    std::ofstream(list) << text;
    EXPECT_TRUE(eventually([&] { return read_file(list).find(job.uuid) == std::string::npos; }));
    EXPECT_EQ(state().at("stored_jobs").size(), 1U) << "the engine has its own time";
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

class PanelWalkup : public PanelTest {
protected:
    /// The host as the panel lists it.
    json subscribe(const std::string &name, const std::string &link) {
        const std::string settings = client::settings_document({});
        const auto names = settings.find(" xmlns:");
        const std::string answer = ask_raw(
            "POST", "/eSCL/WalkupSubscriptions",
            "<scan:WalkupScanSubscription" +
                settings.substr(names, settings.find('>', names) - names) +
                "><scan:HostIdentifier>" + name + "</scan:HostIdentifier><scan:Connection>" + link +
                "</scan:Connection></scan:WalkupScanSubscription>");
        EXPECT_EQ(status_of(answer), 201);
        const json now = state();
        for (const json &host : now.at("destinations"))
            if (host.at("name") == name)
                return host;
        ADD_FAILURE() << name << " is not listed";
        return {};
    }
    static std::string event_of(const json &host) {
        return "/eSCL/WalkupScanEvent/" + host.at("uuid").get<std::string>();
    }
    int pick(const json &host, int shortcut) {
        return act({{"action", "walkup.pick"},
                    {"family", host.at("family")},
                    {"uuid", host.at("uuid")},
                    {"shortcut", shortcut},
                    {"duplex", true}})
            .status;
    }
};

TEST_F(PanelWalkup, APickedComputerFindsItsEvent) {
    const json host = subscribe("desk", "Network");
    EXPECT_EQ(host.at("family"), "escl");
    EXPECT_EQ(host.at("link"), "Network");
    EXPECT_EQ(get(event_of(host)).status, 204);
    json other = host;
    other["family"] = "varn";
    EXPECT_EQ(pick(other, 0), 409);
    EXPECT_EQ(pick(host, 1), 400);
    ASSERT_EQ(pick(host, 0), 200);
    EXPECT_NE(get(event_of(host)).body.find("ScanRequested"), std::string::npos);
    EXPECT_EQ(state().at("picked").at("uuid"), host.at("uuid"));
    for (const char *kind : {"walkup", "host"}) {
        ASSERT_EQ(act({{"action", "feeder.load"}, {"count", 1}}).status, 200);
        const Job job = start(small_scan("feeder"));
        ASSERT_EQ(job.status, 201);
        EXPECT_EQ(fetch_all(job).size(), 1U);
        EXPECT_TRUE(state_gets([&](const json &now) {
            return now.at("job").at("uuid") == job.uuid && now.at("job").at("kind") == kind;
        })) << kind;
    }
    EXPECT_EQ(act({{"action", "walkup.stop"}}).status, 200);
    EXPECT_EQ(state().at("picked"), nullptr);
    EXPECT_NE(get(event_of(host)).body.find("ScanPagesComplete"), std::string::npos);

    const std::string subscription =
        "/eSCL/WalkupSubscriptions/" + host.at("uuid").get<std::string>();
    ASSERT_EQ(pick(host, 0), 200);
    EXPECT_EQ(status_of(ask_raw("DELETE", subscription, "")), 200);
    EXPECT_EQ(act({{"action", "walkup.stop"}}).status, 409);
}

TEST_F(PanelWalkup, WhatIsPickedIsWhatTheDestinationIsTold) {
    const std::string listed = "/WalkupScanToComp/WalkupScanToCompDestinations";
    const std::string space =
        "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/varn/walkupscan/2010/09/28";
    const std::string dictionaries =
        "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/dictionaries/";
    // At first the USB host is the last of the list, and then it is not.
    for (const char *link : {"USB", "Network"}) {
        const std::string name = std::string("a host, ") + link;
        const std::string answer = ask_raw(
            "POST", listed,
            "<wus:WalkupScanToCompDestination xmlns:wus=\"" + space + "\" xmlns:dd=\"" +
                dictionaries + "1.0/\" xmlns:dd3=\"" + dictionaries + "2009/04/06\"><dd:Name>" +
                name + "</dd:Name><dd3:Hostname>" + name + "</dd3:Hostname><wus:LinkType>" + link +
                "</wus:LinkType><wus:CustomShortcuts><wus:CustomShortcut>Of its own"
                "</wus:CustomShortcut></wus:CustomShortcuts></wus:WalkupScanToCompDestination>");
        ASSERT_EQ(status_of(answer), 201) << answer;
        const json now = state();
        for (const json &host : now.at("destinations")) {
            EXPECT_GE(host.at("shortcuts").size(), 7U);
            int number = 0;
            for (const json &shortcut : host.at("shortcuts")) {
                ASSERT_EQ(pick(host, number++), 200);
                const std::string told =
                    get(listed + "/" + host.at("uuid").get<std::string>()).body;
                EXPECT_NE(told.find(">" + shortcut.get<std::string>() + "</wus:Shortcut>"),
                          std::string::npos)
                    << host << told;
            }
        }
    }
}

TEST_F(PanelWalkup, AUsbHostGetsItsOwnEventsWhereverItStandsInTheList) {
    for (const bool is_first : {true, false}) {
        SCOPED_TRACE(is_first);
        const json before = is_first ? json() : subscribe("desk", "Network");
        const json host = subscribe(is_first ? "alone" : "second", "USB");
        EXPECT_EQ(host.at("shortcuts").size(), 4U);
        EXPECT_EQ(host.at("shortcuts")[2], "EmailPDF");
        ASSERT_EQ(pick(host, 2), 200);
        if (!is_first) {
            EXPECT_EQ(get(event_of(before)).status, 204);
        }
        const std::string begun = get(event_of(host)).body;
        EXPECT_NE(begun.find("ScanRequested"), std::string::npos);
        EXPECT_NE(begun.find("EmailPDF"), std::string::npos);
        EXPECT_EQ(act({{"action", "walkup.stop"}}).status, 200);
        EXPECT_NE(get(event_of(host)).body.find("ScanPagesComplete"), std::string::npos);
    }
}

} // namespace
} // namespace varn::testing
