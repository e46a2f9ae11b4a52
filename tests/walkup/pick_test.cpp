// The operator picks a destination: settings, events, event table, USB notification.
#include "tests/walkup/destinations.h"

using namespace varn::test;

namespace {

std::string usb_bytes;

class Pick : public DestinationTest {
protected:
    Pick() {
        usb_bytes.clear();
        VARN_SetUSBIntrCB(reinterpret_cast<void *>(+[](uint8_t *data, uint32_t length) {
            usb_bytes.append(reinterpret_cast<char *>(data), length);
        }));
    }
    ~Pick() override { VARN_SetUSBIntrCB(nullptr); }

    std::string add(const std::string &name, const std::string &link,
                    const std::vector<std::string> &custom = {}) {
        EXPECT_EQ(create(destination(name, name, link, custom)), 0);
        return uuid_;
    }
    std::string picked() const { return tree.get(tickets + "WalkupSelectDestination.xml"); }
    std::string picked_text(const char *tag) const { return text_of(picked(), tag); }
    /// URI of the newest event of the table, and the host's count of notifications.
    void expect_told(const std::string &uuid, const char *type, size_t notifications) {
        EXPECT_EQ(event(), type);
        const std::string table = tree.get("tmp/xml_tickets/EventMgmt/EventTable.xml");
        EXPECT_EQ(text_of(table, "dd:UnqualifiedEventCategory"), "ScanEvent");
        EXPECT_EQ(text_of(table, "dd:ResourceURI"), destinations_path + uuid);
        EXPECT_EQ(usb_bytes, std::string(notifications, '\0'));
    }
};

TEST_F(Pick, the_words_of_both_writers) {
    const std::string uuid = add("Ann", "Network", {"Mine", "Yours"});
    const struct {
        int32_t shortcut;
        const char *select;
        const char *network;
    } rows[] = {
        {0, "GeneralScan", "SavePDF"},
        {1, "GeneralScan", "SavePDF"},
        {2, "SaveJPEG", "SaveJPEG"},
        {3, "EmailPDF", "EmailPDF"},
        {4, "EmailJPEG", "EmailJPEG"},
        {5, "SaveEditableText", "SaveEditableText"},
        {6, "SendToCloud", "SendToCloud"},
        {7, "GeneralScan", "GeneralScan"},
        {8, "Mine", "Mine"},
        {9, "Yours", "Yours"},
        {10, "", ""},
        {INT32_MAX, "", ""},
        {-1, "", ""},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(VARN_SetWalkupScanDest(0, 0, row.shortcut, 0, uuid.c_str()), 0);
        EXPECT_EQ(picked_text("wus:Shortcut"), row.select) << row.shortcut;
        EXPECT_EQ(VARN_SetWalkupScanDest_NetworkScan(0, 0, row.shortcut, 0, uuid.c_str(), 0), 0);
        EXPECT_EQ(picked_text("wus:Shortcut"), row.network) << row.shortcut;
    }
}

TEST_F(Pick, the_usb_writer_takes_the_last_entry_whatever_the_index) {
    EXPECT_EQ(VARN_SetWalkupScanDest(0, 0, 0, 0, nullptr), -1) << "nobody there";
    add("Ann", "Network");
    const std::string usb = add("Usb", "USB");
    std::string log = log_of([&] { EXPECT_EQ(VARN_SetWalkupScanDest(0, 0, 2, 7, nullptr), 0); });
    EXPECT_TRUE(has(log, "----------selectindex =0 \n----------lParam =7 PanelScanType=1\n"));
    EXPECT_EQ(schema_fault(picked()), "");
    EXPECT_EQ(picked_text("dd:Name"), "Usb");
    EXPECT_EQ(picked_text("wus:LinkType"), "USB");
    EXPECT_EQ(picked_text("dd:ScanPlexMode"), "Duplex");
    expect_told(usb, "ScanRequested", 1);
    log = log_of([&] { EXPECT_EQ(VARN_SetWalkupScanDest(0, 2, 2, 0, nullptr), -1); });
    EXPECT_TRUE(has(log, "selectindex(2) > Max (2) error !"));
    EXPECT_EQ(picked_text("dd:ScanPlexMode"), "Duplex") << "as before";
}

TEST_F(Pick, the_network_writer_counts_from_the_host) {
    const std::string ann = add("Ann", "Network");
    const std::string ben = add("Ben", "Network");
    const std::string usb = add("Usb", "USB");
    const struct {
        const char *name;
        int32_t index;
        std::string host;
        int32_t times;
        int32_t result;
        std::string picked;
        const char *event;
        size_t notifications;
    } rows[] = {
        {"itself", 0, ann, 0, 0, ann, "ScanRequested", 0},
        {"by its path", 0, destinations_path + ann, -1, 0, ann, "ScanRequested", 0},
        {"the next", 1, ann, 1, 0, ben, "ScanNewPageRequested", 0},
        {"a USB host", 1, ben, 32766, 0, usb, "ScanNewPageRequested", 1},
        {"no more pages", 0, ben, 32767, 0, ben, "ScanPagesComplete", 1},
        {"index out of the list", 3, ann, 0, -1, ben, "ScanPagesComplete", 1},
        {"behind its end", 2, ben, 0, -1, ben, "ScanPagesComplete", 1},
        {"before its start", -1, ann, 0, -1, ben, "ScanPagesComplete", 1},
        {"unknown host", 0, uuid_a, 0, -1, ben, "ScanPagesComplete", 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(
            VARN_SetWalkupScanDest_NetworkScan(0, row.index, 0, 0, row.host.c_str(), row.times),
            row.result);
        EXPECT_EQ(picked_text("dd:ResourceURI"), destinations_path + row.picked);
        EXPECT_EQ(picked_text("dd:ScanPlexMode"), "Simplex");
        expect_told(row.picked, row.event, row.notifications);
    }
    EXPECT_EQ(VARN_SetWalkupScanDest_NetworkScan(0, 0, 0, 0, nullptr, 0), -1);
    EXPECT_EQ(VARN_SetWalkupScanDest_Net(0), -1);
    EXPECT_EQ(VARN_SetWalkupScanDest_Net(3), 0);
}

TEST_F(Pick, parameters_resume_and_stop_work_on_the_picked_destination) {
    struct {
        uint32_t plex = 1;
        char shortcut[32] = "EmailPDF";
    } params;
    const auto *words = reinterpret_cast<const uint32_t *>(&params);
    EXPECT_EQ(VARN_SetWalkupScanParameter(0, 0, words), -1);
    EXPECT_EQ(VARN_ResumeWalkupScan(), -1);
    EXPECT_EQ(VARN_StopResumeWalkupScan(), -1);
    const std::string usb = add("Usb", "USB");
    ASSERT_EQ(VARN_SetWalkupScanDest(0, 0, 0, 0, nullptr), 0);
    EXPECT_EQ(VARN_SetWalkupScanParameter(0, 0, nullptr), -1);
    EXPECT_EQ(VARN_SetWalkupScanParameter(0, 0, words), 0);
    EXPECT_EQ(picked_text("wus:Shortcut"), "EmailPDF");
    EXPECT_EQ(picked_text("dd:ScanPlexMode"), "Duplex");
    EXPECT_EQ(picked_text("dd:Name"), "Usb");
    expect_told(usb, "ScanRequested", 2);
    EXPECT_EQ(VARN_ResumeWalkupScan(), 0);
    expect_told(usb, "ScanNewPageRequested", 3);
    EXPECT_EQ(VARN_StopResumeWalkupScan(), 0);
    expect_told(usb, "ScanPagesComplete", 4);
}

TEST_F(Pick, events) {
    constexpr const char *types[] = {"HostSelected", "ScanRequested", "ScanNewPageRequested",
                                     "ScanPagesComplete"};
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(VARN_SetWalkupScanEvent(i), 0);
        EXPECT_EQ(event(), types[i]);
        EXPECT_EQ(schema_fault(document(VARN_GetWalkupScanEvent)), "");
    }
    VARN_SetWalkupScanEvent(0);
    const std::string log = log_of([] { EXPECT_EQ(VARN_SetWalkupScanEvent(4), -1); });
    EXPECT_TRUE(has(log, "error,not support walkup scan event:4 !\n"));
    EXPECT_EQ(event(), "HostSelected");
    EXPECT_EQ(VARN_SetWalkupScanEvent_Complete(), 0);
    EXPECT_EQ(event(), "ScanPagesComplete");
}

TEST_F(Pick, custom_shortcuts_by_the_panels_number) {
    const std::string uuid = add("Ann", "Network", {"first", "second"});
    tree.put(tickets + "CustomShortcuts.xml", destination("x", "x", "USB", {"common"}));
    const struct {
        int32_t index;
        const char *host;
        const char *name;
    } rows[] = {
        {0, uuid.c_str(), "first"}, {8, uuid.c_str(), "first"}, {9, uuid.c_str(), "second"},
        {10, uuid.c_str(), ""},     {8, nullptr, "common"},     {8, uuid_a, ""},
        {8, "../Caps", ""},
    };
    for (const auto &row : rows) {
        char name[196] = "before";
        const std::string log =
            log_of([&] { EXPECT_EQ(VARN_GetCustomerShortcutName(row.index, name, row.host), 0); });
        EXPECT_STREQ(name, row.name) << row.index;
        EXPECT_EQ(log, "VARN_GetCustomerShortcutName shortcutindex=" + std::to_string(row.index) +
                           " shortcutName =" + row.name + " \n");
    }
    EXPECT_EQ(VARN_SetWalkupScanDest(0, 0, 8, 0, nullptr), 0);
    EXPECT_EQ(picked_text("wus:Shortcut"), "common");
}

} // namespace
