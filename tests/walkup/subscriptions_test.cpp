// Subscriptions over eSCL, as the engine's list and as documents.
#include "tests/walkup/walkup_fixture.h"

using namespace varn::test;

namespace {

std::string subscription(const std::string &content) {
    return with_schema_hosts(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<scan:WalkupScanSubscription "
        "xmlns:scan=\"http://schemas.escl.example/imaging/escl/2011/05/03\">" +
        content + "</scan:WalkupScanSubscription>");
}

std::string element(const char *name, const std::string &text) {
    return std::string("<scan:") + name + ">" + text + "</scan:" + name + ">";
}

std::string network_host(const std::string &name, const std::string &more = "") {
    return subscription(element("HostIdentifier", name) + element("Connection", "Network") + more);
}

std::string shortcuts(int count, const std::string &name = "s") {
    std::string each;
    for (int i = 0; i < count; ++i)
        each += element("Shortcut", name + std::to_string(i));
    return element("Shortcuts", each);
}

class Subscriptions : public WalkupTest {
protected:
    int32_t create(const std::string &xml) {
        char *uuid = nullptr;
        const int32_t result = eSCL_CreateWalkupSubscription(xml.c_str(), &uuid);
        uuid_ = uuid != nullptr ? uuid : "";
        return result;
    }
    std::string get(const char *uuid) {
        const std::string xml = document([&](char **out, uint32_t *length) {
            return eSCL_GetWalkupSubscription(uuid, out, length);
        });
        EXPECT_EQ(schema_fault(xml), "");
        return xml;
    }
    std::string uuid_;
};

TEST_F(Subscriptions, a_new_host_becomes_a_record) {
    const std::string log = log_of([&] {
        EXPECT_EQ(
            create(network_host("B\xC3\xBCro &amp; Co", shortcuts(2) + element("PIN", "0 &lt;12"))),
            0);
    });
    ASSERT_EQ(engine.pc_list.size(), 1U);
    const varn_pc_record record = host(0);
    EXPECT_STREQ(record.szPCNameUTF8, "B\xC3\xBCro & Co");
    EXPECT_EQ(record.szPCUUID, uuid_);
    EXPECT_EQ(uuid_.size(), 36U);
    EXPECT_STREQ(record.szPCPIN, "0 <12");
    EXPECT_EQ(record.dwLinkType, 1U);
    EXPECT_EQ(record.dwShortcutNum, 2U);
    EXPECT_STREQ(record.szShortcut[0], "s0");
    EXPECT_STREQ(record.szShortcut[1], "s1");
    EXPECT_EQ(record.szShortcut[2][0], '\0');
    for (const char *line :
         {"gsoap mode:eSCL_CreateWalkupSubscription\n", "eSCL_ChkPCListCntIsvalid Current: 0/10\n",
          "Detect shortcut is existed!", "pclist.dwShortcutNum ===2\n", "Add CustomShortcut s1\n"})
        EXPECT_TRUE(has(log, line)) << line;
}

TEST_F(Subscriptions, the_same_host_keeps_its_uuid_and_gets_a_new_record) {
    ASSERT_EQ(create(network_host("one", shortcuts(3) + element("PIN", "1"))), 0);
    const std::string first = uuid_;
    ASSERT_EQ(create(network_host("one and more")), 0);
    EXPECT_NE(uuid_, first) << "the whole name counts";
    const std::string log =
        log_of([&] { EXPECT_EQ(create(network_host("one", shortcuts(1))), 0); });
    EXPECT_EQ(uuid_, first);
    EXPECT_TRUE(has(log, "Detect one is in PClist!\nGet existed uuid " + first + "\n"));
    ASSERT_EQ(engine.pc_list.size(), 2U);
    EXPECT_EQ(host(0).dwShortcutNum, 1U);
    EXPECT_STREQ(host(0).szShortcut[1], "");
    EXPECT_STREQ(host(0).szPCPIN, "");
}

TEST_F(Subscriptions, ten_network_hosts_are_the_limit_and_usb_has_none) {
    add_hosts(9, 1);
    EXPECT_EQ(create(network_host("tenth")), 0);
    EXPECT_EQ(create(network_host("eleventh")), 409);
    EXPECT_EQ(create(network_host("tenth")), 409) << "a known one too";
    EXPECT_EQ(create(subscription(element("HostIdentifier", "usb") + element("Connection", "USB"))),
              0);
    EXPECT_EQ(create(subscription(element("Connection", "USB"))), 0) << "a host without a name";
    EXPECT_EQ(engine.pc_list.size(), 12U);
    engine.results["read_PCList"] = -1;
    EXPECT_EQ(create(subscription(element("HostIdentifier", "usb") + element("Connection", "USB"))),
              409);
}

TEST_F(Subscriptions, what_is_refused_changes_nothing) {
    const struct {
        const char *name;
        std::string xml;
    } rows[] = {
        {"no document", "subscribe me"},
        {"broken off", network_host("one").substr(0, 150)},
        {"no connection", subscription(element("HostIdentifier", "one"))},
        {"unknown connection",
         subscription(element("HostIdentifier", "one") + element("Connection", "Radio"))},
        {"network host without a name", subscription(element("Connection", "Network"))},
        {"name of 256 bytes", network_host(std::string(256, 'n'))},
        {"PIN of 88 bytes", network_host("one", element("PIN", std::string(88, '1')))},
        {"21 shortcuts", network_host("one", shortcuts(21))},
        {"shortcut of 196 bytes", network_host("one", shortcuts(1, std::string(195, 's')))},
    };
    for (const auto &row : rows)
        EXPECT_EQ(create(row.xml), 400) << row.name;
    EXPECT_EQ(engine.pc_list.size(), 0U);
    EXPECT_EQ(create(network_host(std::string(255, 'n'),
                                  shortcuts(20) + element("PIN", std::string(87, '1')))),
              0)
        << "what just fits";
    engine.results["write_PCList"] = -1;
    EXPECT_EQ(create(network_host("one")), -1) << "the engine has no room";
}

TEST_F(Subscriptions, the_pin_is_told_alone_but_in_the_collection_only_beside_shortcuts) {
    add_host(pc_record("plain", uuid_a, 0, {}, "1234"));
    add_host(pc_record("full", uuid_b, 1, {"Desk", "Mail & file"}, "5678"));
    const std::string all = get(nullptr);
    EXPECT_EQ(texts(all, "scan:HostIdentifier"), (std::vector<std::string>{"plain", "full"}));
    EXPECT_EQ(texts(all, "scan:Connection"), (std::vector<std::string>{"USB", "Network"}));
    EXPECT_EQ(texts(all, "scan:Shortcut"), (std::vector<std::string>{"Desk", "Mail &amp; file"}));
    EXPECT_EQ(texts(all, "scan:PIN"), std::vector<std::string>{"5678"});
    EXPECT_EQ(text_of(get(uuid_a), "scan:PIN"), "1234");
    EXPECT_EQ(text_of(get(uuid_b), "scan:PIN"), "5678");
    EXPECT_EQ(tree.get("tmp/xml_tickets/eSCL/WalkupSubscriptions.xml"), get(uuid_b));
}

TEST_F(Subscriptions, without_a_match_the_document_is_empty) {
    EXPECT_EQ(texts(get(nullptr), "scan:WalkupScanSubscription").size(), 0U);
    add_host(pc_record("plain", uuid_a));
    const std::string none = get(uuid_b);
    EXPECT_TRUE(has(none, "<scan:WalkupScanSubscription "));
    EXPECT_EQ(text_of(none, "scan:HostIdentifier"), "");
    EXPECT_EQ(text_of(none, "scan:Connection"), "absent");
}

TEST_F(Subscriptions, an_engine_that_tells_nonsense_is_survived) {
    varn_pc_record record = pc_record("x", uuid_a);
    memset(record.szPCNameUTF8, 'n', sizeof record.szPCNameUTF8);
    memset(record.szShortcut, 's', sizeof record.szShortcut);
    record.dwShortcutNum = 0xFFFFFFFF;
    add_host(record);
    const std::string one = get(uuid_a);
    EXPECT_EQ(text_of(one, "scan:HostIdentifier"), std::string(256, 'n'));
    EXPECT_EQ(texts(one, "scan:Shortcut"), std::vector<std::string>(20, std::string(196, 's')));
    engine.results["read_PCList"] = -1;
    EXPECT_EQ(texts(get(nullptr), "scan:WalkupScanSubscription").size(), 0U);
}

TEST_F(Subscriptions, delete_takes_every_record_of_the_uuid) {
    EXPECT_EQ(eSCL_DeleteWalkupSubscription(uuid_a), 0) << "an empty list";
    add_host(pc_record("a", uuid_a, 1, {"s"}, "1"));
    add_host(pc_record("b", uuid_b));
    engine.take_calls();
    EXPECT_EQ(eSCL_DeleteWalkupSubscription(uuid_a), 0);
    EXPECT_EQ(engine.take_calls(),
              (std::vector<std::string>{"read_PCList 7 4 4", "read_PCList 7 8624 5",
                                        std::string("write_PCList 7 2 ") + uuid_a}));
    ASSERT_EQ(engine.pc_list.size(), 1U);
    EXPECT_STREQ(host(0).szPCNameUTF8, "b");
}

TEST_F(Subscriptions, list_tests_go_by_limit_and_by_prefix) {
    add_hosts(9, 1);
    EXPECT_EQ(ChkPCListCntIsvalid(7, 1), 0);
    add_host(pc_record("PC-1", uuid_a));
    EXPECT_EQ(ChkPCListCntIsvalid(7, 1), -1);
    EXPECT_EQ(ChkPCListCntIsvalid(7, 0), 0);
    char uuid[40] = "before";
    char longer[] = "PC-12";
    char shorter[] = "PC-";
    EXPECT_EQ(ChkPClistIsExist(7, shorter, uuid), 0);
    EXPECT_STREQ(uuid, "before");
    EXPECT_EQ(ChkPClistIsExist(7, longer, uuid), 1);
    EXPECT_STREQ(uuid, uuid_a);
    add_host(pc_record("", uuid_b));
    EXPECT_EQ(ChkPClistIsExist(7, shorter, uuid), 1) << "an unnamed record is every host";
    EXPECT_STREQ(uuid, uuid_b);
    engine.results["read_PCList"] = -3;
    EXPECT_EQ(ChkPCListCntIsvalid(7, 0), -3);
    EXPECT_EQ(ChkPClistIsExist(7, longer, uuid), 0);
}

} // namespace
