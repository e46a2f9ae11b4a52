// Walk-up destinations: the list, its mirror in the engine, what hosts and panel are told.
#include "tests/walkup/destinations.h"

using namespace varn::test;

namespace {

class Destinations : public DestinationTest {};

TEST_F(Destinations, a_new_destination_is_in_list_and_engine) {
    const std::string log = log_of([&] {
        EXPECT_EQ(create(destination("Ann & I", "desk", "Network", {"Mail", "B\xC3\xBCro"}, "12")),
                  0);
    });
    const std::string list = get_list();
    EXPECT_EQ(text_of(list, "dd:ResourceURI"), destinations_path + uuid_);
    EXPECT_EQ(text_of(list, "dd:Name"), "Ann &amp; I");
    EXPECT_EQ(text_of(list, "dd3:Hostname"), "desk");
    EXPECT_EQ(text_of(list, "wus:LinkType"), "Network");
    EXPECT_EQ(texts(list, "wus:CustomShortcut"), (std::vector<std::string>{"Mail", "B\xC3\xBCro"}));
    EXPECT_EQ(text_of(list, "wus:PIN"), "12");
    ASSERT_EQ(engine.pc_list.size(), 1U);
    EXPECT_STREQ(host(0).szPCNameUTF8, "desk");
    EXPECT_EQ(host(0).szPCUUID, uuid_);
    EXPECT_STREQ(host(0).szPCPIN, "");
    EXPECT_EQ(host(0).dwShortcutNum, 2U);
    EXPECT_STREQ(host(0).szShortcut[6], "");
    EXPECT_STREQ(host(0).szShortcut[7], "Mail");
    EXPECT_STREQ(host(0).szShortcut[8], "B\xC3\xBCro");
    const std::string posted = tree.get(tickets + "CustomShortcuts.xml." + uuid_);
    EXPECT_EQ(text_of(posted, "wus:CustomShortcut"), "Mail");
    EXPECT_EQ(text_of(posted, "dd3:Hostname"), "desk");
    for (const char *line :
         {"gsoap mode:VARN_CreateWalkupScanDestination\n", "ChkPCListCntIsvalid Current: 0/10\n",
          "Get current PC list number is 0\n", "Detect shortcut is existed!",
          "Add CustomShortcut \n", "~~~~~ MaxNetworkDestinations_Capa = 10 \n",
          "~~~~~ MaxCustomShortcuts_CapaNumber = 4 \n", "\n\n Total_Net_Destinations = 0\n\n",
          "~~~~~for CustomShortcuts test "})
        EXPECT_TRUE(has(log, line)) << line;
}

TEST_F(Destinations, a_network_name_and_the_usb_place_are_taken_once) {
    ASSERT_EQ(create(destination("Ann", "desk", "Network", {"Mail"}, "12")), 0);
    const std::string first = uuid_;
    ASSERT_EQ(create(destination("Usb", "plug", "USB")), 0);
    ASSERT_EQ(create(destination("Ben", "door", "Network")), 0);
    std::string log = log_of([&] { EXPECT_EQ(create(destination("Ann", "moved", "Network")), 0); });
    EXPECT_TRUE(has(log, "WalkupScanToDestination->dd__Name_ = Ann @@@@@@@@@ \n"));
    EXPECT_NE(uuid_, first) << "another host of that name";
    ASSERT_EQ(create(destination("Other", "socket", "USB", {"Scan"})), 0);
    const std::string list = get_list();
    EXPECT_EQ(texts(list, "dd:Name"), (std::vector<std::string>{"Ann", "Other", "Ben"}));
    EXPECT_EQ(texts(list, "dd3:Hostname"), (std::vector<std::string>{"moved", "socket", "door"}));
    EXPECT_EQ(texts(list, "wus:CustomShortcut"), std::vector<std::string>{"Scan"});
    EXPECT_EQ(texts(list, "wus:PIN"), std::vector<std::string>{"12"}) << "kept from before";
    log = log_of([&] { EXPECT_EQ(create(destination("New", "door and more", "Network")), 0); });
    EXPECT_EQ(uuid_, text_of(get_list().substr(get_list().find(">Other<")), "dd:ResourceURI")
                         .substr(destinations_path.size()))
        << "the host whose name this one begins with";
    EXPECT_TRUE(has(log, "Get existed uuid " + uuid_ + "\n"));
}

TEST_F(Destinations, limits) {
    EXPECT_EQ(create(destination("five", "five", "Network", {"1", "2", "3", "4", "5"})), 409);
    EXPECT_EQ(create(destination("14", "14", "Network", std::vector<std::string>(14, "x"))), 409);
    EXPECT_EQ(texts(get_list(), "dd:Name").size(), 0U);
    engine.pc_list.clear();
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(create(destination(std::to_string(i), "host" + std::to_string(i), "Network")), 0);
    EXPECT_EQ(create(destination("more", "more", "Network")), 409) << "full in the engine";
    engine.pc_list.clear();
    EXPECT_EQ(create(destination("3", "host3", "Network"), 1), 409) << "full, even to replace";
    EXPECT_EQ(create(destination("3", "host3", "Network"), 0), 0);
    EXPECT_EQ(create(destination("usb", "usb", "USB"), 0), 0);
    EXPECT_EQ(create(destination("eleven", "eleven", "Network"), 0), 0);
    EXPECT_EQ(create(destination("3", "host3", "Network"), 0), 409) << "more than eleven entries";
    EXPECT_EQ(texts(get_list(), "dd:Name").size(), 12U);
}

TEST_F(Destinations, what_cannot_be_taken_changes_nothing) {
    ASSERT_EQ(create(destination("Ann", "desk", "Network")), 0);
    const std::string before = get_list();
    const struct {
        const char *name;
        std::string xml;
        int32_t result;
    } rows[] = {
        {"no document", "register me", -1},
        {"broken off", destination("x", "x", "Network").substr(0, 400), -1},
        {"no link type", destination("x", "x", ""), -1},
        {"unknown link type", destination("x", "x", "Radio"), -1},
        {"host name of 256 bytes", destination("x", std::string(256, 'h'), "Network"), -1},
        {"custom shortcut of 196 bytes", destination("x", "x", "Network", {std::string(196, 's')}),
         -1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(create(row.xml), row.result) << row.name;
    EXPECT_EQ(get_list(), before);
    EXPECT_EQ(engine.pc_list.size(), 1U);
}

TEST_F(Destinations, a_uuid_of_the_engine_cannot_lead_to_another_file) {
    add_host(pc_record("desk", "../../../../datafs/kobnvram.bin"));
    EXPECT_EQ(create(destination("Ann", "desk", "Network")), -1);
    EXPECT_EQ(texts(get_list(), "dd:Name").size(), 0U);
}

TEST_F(Destinations, delete_takes_it_from_list_and_engine) {
    ASSERT_EQ(create(destination("Ann", "desk", "Network", {"Mail"})), 0);
    const std::string ann = destinations_path + uuid_;
    const std::string posted = tickets + "CustomShortcuts.xml." + uuid_;
    ASSERT_EQ(create(destination("Usb", "plug", "USB")), 0);
    const std::string usb = destinations_path + uuid_;
    EXPECT_EQ(VARN_DeleteWalkupScanDestination(nullptr), -1);
    EXPECT_EQ(VARN_DeleteWalkupScanDestination(uuid_a), -1);
    const std::string log =
        log_of([&] { EXPECT_EQ(VARN_DeleteWalkupScanDestination(ann.c_str()), 0); });
    EXPECT_TRUE(has(log, "uuid is " + ann.substr(destinations_path.size()) + "\n"));
    EXPECT_EQ(texts(get_list(), "dd:Name"), std::vector<std::string>{"Usb"});
    ASSERT_EQ(engine.pc_list.size(), 1U);
    EXPECT_STREQ(host(0).szPCNameUTF8, "plug");
    EXPECT_FALSE(tree.has(posted));
    EXPECT_EQ(VARN_DeleteWalkupScanDestination(ann.c_str()), -1);
    EXPECT_EQ(VARN_DeleteWalkupScanDestination(usb.c_str()), 0);
    EXPECT_EQ(texts(get_list(), "wus:WalkupScanToCompDestination").size(), 0U);
    EXPECT_TRUE(has(get_list(), "<wus:WalkupScanToCompDestinations "));
    EXPECT_EQ(VARN_DeleteWalkupScanDestination(usb.c_str()), -1) << "an empty list";
    EXPECT_EQ(engine.pc_list.size(), 0U);
}

TEST_F(Destinations, one_is_told_from_the_list_or_with_its_settings_when_picked) {
    tree.remove(tickets + "WalkupScanToCompDestinations.xml");
    EXPECT_EQ(get("x"), "") << "no list";
    EXPECT_EQ(get(nullptr), "");
    EXPECT_EQ(VARN_DeleteWalkupScanDestination("x"), -1);
    ASSERT_EQ(create(destination("Ann", "desk", "Network")), 0);
    const std::string ann = destinations_path + uuid_;
    ASSERT_EQ(create(destination("Ben", "door", "Network")), 0);
    EXPECT_EQ(get("x"), "");
    const std::string one = get(ann.c_str());
    EXPECT_EQ(texts(one, "dd:Name"), std::vector<std::string>{"Ann"});
    EXPECT_EQ(tree.get(tickets + "WalkupOneDestination.xml"), one);
    EXPECT_EQ(VARN_SetWalkupScanDest_NetworkScan(0, 0, 2, 1, ann.c_str(), 0), 0);
    const std::string picked = get(ann.c_str());
    EXPECT_EQ(text_of(picked, "wus:Shortcut"), "SaveJPEG");
    EXPECT_EQ(text_of(picked, "dd:ScanPlexMode"), "Duplex");
    EXPECT_EQ(text_of(get((destinations_path + uuid_).c_str()), "dd:Name"), "Ben");
}

TEST_F(Destinations, static_documents) {
    EXPECT_TRUE(has(document(VARN_GetWalkupScanManifest), ":Manifest"));
    std::string caps;
    const std::string log = log_of([&] {
        caps = document([](char **out, uint32_t *length) {
            return VARN_GetWalkupScanCapabilities(out, length, 1);
        });
    });
    EXPECT_EQ(caps, tree.get(tickets + "WalkupScanToCompCaps"));
    EXPECT_EQ(log, "VARN_GetWalkupScanCapabilities is mac=1\n");
    document(VARN_GetWalkupScanEvent, -1);
}

TEST_F(Destinations, the_panels_record) {
    WalkupScanDests *dests = nullptr;
    EXPECT_EQ(VARN_GetWalkupScanDests(&dests), -1);
    EXPECT_EQ(dests, nullptr);
    ASSERT_EQ(create(destination("Ann", std::string(70, 'h'), "Network",
                                 {"Mail", std::string(40, 's'), "3", "4"})),
              0);
    ASSERT_EQ(create(destination("Usb", "plug", "USB")), 0);
    tree.replace(tickets + "WalkupScanToCompCaps", ">60<", ">42.9<");
    ASSERT_EQ(VARN_GetWalkupScanDests(&dests), 0);
    ASSERT_EQ(VARN_GetWalkupScanDests(&dests), 0) << "the old one is freed";
    EXPECT_EQ(dests->userActionTimeout, 42);
    ASSERT_EQ(dests->nShortcuts, 6);
    EXPECT_STREQ(dests->shortcuts[0], "SavePDF");
    EXPECT_STREQ(dests->shortcuts[5], "SendToCloud");
    ASSERT_EQ(dests->nDests, 2);
    EXPECT_EQ(dests->dests[0].index, 0);
    EXPECT_EQ(dests->dests[0].name, std::string(63, 'h'));
    EXPECT_EQ(dests->dests[0].linkType, 1);
    ASSERT_EQ(dests->dests[0].nCustom, 4);
    EXPECT_STREQ(dests->dests[0].custom[0], "Mail");
    EXPECT_EQ(dests->dests[0].custom[1], std::string(31, 's'));
    EXPECT_EQ(dests->dests[1].index, 1);
    EXPECT_STREQ(dests->dests[1].name, "plug");
    EXPECT_EQ(dests->dests[1].nCustom, 0);
    EXPECT_EQ(VARN_FreeWalkupScanDests(&dests), 0);
    EXPECT_EQ(dests, nullptr);
    EXPECT_EQ(VARN_FreeWalkupScanDests(&dests), 0);
}

} // namespace
