// The event of an eSCL host: two writers, one poller.
#include "tests/walkup/walkup_fixture.h"

#include <thread>

using namespace varn::test;

namespace {

constexpr char ticket[] = "tmp/xml_tickets/eSCL/WalkupScanEvent.xml";

class SubscriptionEvents : public WalkupTest {
protected:
    std::string poll(const char *uuid, int32_t expected) {
        return document(
            [&](char **out, uint32_t *length) {
                return eSCL_GetWalkupScanEvent(uuid, out, length);
            },
            expected);
    }
    static void pick(const varn_pc_record &pc, const char *uuid, uint32_t slot = 0, int duplex = 2,
                     int times = 0) {
        EXPECT_EQ(eSCL_SetWalkupScanDest_NetworkScan(&pc, 0, slot, duplex, uuid, times), 0);
    }
    const varn_pc_record pc_ = pc_record("Desk", uuid_a, 1, {"First", "Second"});
};

TEST_F(SubscriptionEvents, the_network_writer_tells_all_of_the_pick) {
    const struct {
        uint32_t slot;
        int duplex;
        int times;
        const char *shortcut;
        const char *event;
        const char *told_duplex;
    } rows[] = {
        {0, 0, 0, "First", "ScanRequested", "false"},
        {1, 1, 5, "Second", "ScanRequested", "true"},
        {2, 2, 32767, "", "ScanPagesComplete", "absent"},
        {20, -1, 32766, "", "ScanRequested", "absent"},
    };
    for (const auto &row : rows) {
        const std::string log = log_of([&] { pick(pc_, uuid_a, row.slot, row.duplex, row.times); });
        EXPECT_TRUE(has(log, "~~~~~!!!!!~~~~~~ SCAN_PC_TIMS = " + std::to_string(row.times)));
        const std::string event = tree.get(ticket);
        EXPECT_EQ(schema_fault(event), "");
        EXPECT_EQ(text_of(event, "scan:ResourceURI"),
                  std::string("/eSCL/WalkupSubscriptions/") + uuid_a);
        EXPECT_EQ(text_of(event, "scan:HostIdentifier"), "Desk");
        EXPECT_EQ(text_of(event, "scan:Connection"), "Network");
        EXPECT_EQ(text_of(event, "scan:Event"), row.event);
        EXPECT_EQ(text_of(event, "scan:Shortcut"), row.shortcut);
        EXPECT_EQ(text_of(event, "scan:Duplex"), row.told_duplex);
        EXPECT_EQ(text_of(event, "pwg:Version"),
                  row.duplex == 0 || row.duplex == 1 ? "2.92" : "absent");
    }
}

TEST_F(SubscriptionEvents, the_usb_writer_takes_the_first_host_and_its_own_words) {
    EXPECT_EQ(eSCL_SetWalkupScanDest(0, 0, 0, 0), 0);
    EXPECT_FALSE(tree.has(ticket)) << "nobody has subscribed";
    add_host(pc_record("Desk", uuid_a, 1));
    add_host(pc_record("Other", uuid_b, 0));
    const struct {
        int32_t shortcut;
        const char *word;
    } rows[] = {{-1, "SavePDF"}, {0, "SavePDF"},     {1, "SaveJPEG"},
                {2, "EmailPDF"}, {3, "SendToCloud"}, {4, ""}};
    for (const auto &row : rows) {
        tree.remove(ticket);
        const std::string log =
            log_of([&] { EXPECT_EQ(eSCL_SetWalkupScanDest(9, 1, row.shortcut, 1), 0); });
        EXPECT_TRUE(has(log, std::string("----------selectindex = 1, ") + row.word + "\n"));
        EXPECT_EQ(has(log, "!!!!ShortCut gsoap mode:eSCL_SetWalkupScanDest\n"), row.shortcut > 3);
        const std::string event = tree.get(ticket);
        EXPECT_EQ(schema_fault(event), "");
        EXPECT_EQ(text_of(event, "scan:HostIdentifier"), "Desk") << "whatever the index says";
        EXPECT_EQ(text_of(event, "scan:Connection"), "USB");
        EXPECT_EQ(text_of(event, "scan:Event"), "ScanRequested");
        EXPECT_EQ(text_of(event, "scan:Shortcut"), row.word);
        EXPECT_EQ(text_of(event, "scan:Duplex"), "true");
    }
}

TEST_F(SubscriptionEvents, only_the_network_writer_cuts_what_was_there) {
    add_host(pc_record("Desk", uuid_a));
    varn_pc_record wordy = pc_;
    memset(wordy.szPCNameUTF8, 'n', 255);
    pick(wordy, uuid_b);
    const std::string longer = tree.get(ticket);
    EXPECT_EQ(eSCL_SetWalkupScanDest(0, 0, 0, 2), 0);
    const std::string mixed = tree.get(ticket);
    EXPECT_EQ(mixed.size(), longer.size());
    EXPECT_EQ(poll(uuid_a, 1), mixed) << "the end of the older one comes along";
    pick(wordy, uuid_b);
    pick(pc_, uuid_a);
    EXPECT_LT(tree.get(ticket).size(), longer.size());
}

TEST_F(SubscriptionEvents, the_poller_takes_its_own_event_and_leaves_another_hosts) {
    EXPECT_EQ(poll(uuid_a, 0), "");
    pick(pc_, uuid_a, 0, 1);
    EXPECT_EQ(poll(uuid_b, 0), "");
    EXPECT_EQ(poll("", 0), "");
    const std::string waiting = tree.get(ticket);
    std::string delivered;
    const std::string log = log_of([&] { delivered = poll(uuid_a, 1); });
    EXPECT_EQ(delivered, waiting);
    EXPECT_EQ(log, std::string("eSCL_GetWalkupScanEvent: ") + uuid_a + " Event 1 received\n");
    EXPECT_FALSE(tree.has(ticket));
    EXPECT_EQ(poll(uuid_a, 0), "");
}

TEST_F(SubscriptionEvents, a_ticket_that_is_no_event_is_nobodys) {
    for (const char *content :
         {"", "no document", "<a/>", "<scan:WalkupScanEvent><scan:ResourceURI>/short"}) {
        tree.put(ticket, content);
        EXPECT_EQ(poll(uuid_a, 0), "") << content;
        EXPECT_TRUE(tree.has(ticket));
    }
    tree.put(ticket, with_schema_hosts("<s:E xmlns:s=\"http://schemas.escl.example/imaging/escl/"
                                       "2011/05/03\"><s:ResourceURI>/eSCL/WalkupSubscriptions/" +
                                       std::string(uuid_a) + "/ScanEvent</s:ResourceURI></s:E>"));
    EXPECT_NE(poll(uuid_a, 1), "") << "the UUID ends at the next slash";
}

TEST_F(SubscriptionEvents, the_newest_event_is_delivered_however_writer_and_poller_meet) {
    constexpr int rounds = 300;
    std::atomic<bool> written = false;
    std::string newest;
    const auto poll_once = [&] {
        char *block = nullptr;
        uint32_t length = 0;
        if (eSCL_GetWalkupScanEvent(uuid_a, &block, &length) == 1)
            newest = text_of({block, length}, "scan:HostIdentifier");
        free(block);
    };
    testing::internal::CaptureStdout();
    std::thread panel([&] {
        for (int i = 1; i <= rounds; ++i)
            pick(pc_record(std::to_string(i).c_str(), uuid_a), uuid_a);
        written = true;
    });
    while (!written)
        poll_once();
    panel.join();
    poll_once();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(newest, std::to_string(rounds));
    EXPECT_FALSE(tree.has(ticket));
}

} // namespace
