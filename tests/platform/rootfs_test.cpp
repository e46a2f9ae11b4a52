// The device tree as the build assembles it.
#include "platform/cfg.h"
#include "tests/platform/scratch.h"

#include <mxml.h>

#include <map>
#include <set>

namespace fs = std::filesystem;

namespace {

const fs::path root = VARN_ROOTFS_DIR;

using Rootfs = Scratch;

TEST_F(Rootfs, every_static_ticket_is_there) {
    const std::map<std::string, std::vector<std::string>> tickets = {
        {"DevMgmt",
         {"ProductConfigCap.xml", "ProductConfigCap_RTC.xml", "ProductServiceCap.xml",
          "ProductStatusCap.xml", "ProductUsageCap.xml", "SecurityCap.xml", "NetAppsCap.xml",
          "NetAppsSecureCap.xml", "NetAppsSecureManifest.xml"}},
        {"DevMgmt/Email", {}},
        {"DevMgmt/SendUSB", {"SendUSBServiceCap.xml", "SendUSBServiceManifest.xml"}},
        {"DevMgmt/SharePoint", {"SharePointServiceCap.xml", "SharePointServiceManifest.xml"}},
        {"EventMgmt", {"EventCapabilities", "EventMgmtManifest.xml", "SubscriptionList"}},
        {"IoMgmt", {"IoMgmtCap.xml", "IoMgmtManifest.xml"}},
        {"Jobs", {"JobsManifest.xml"}},
        {"WalkupScanToComp",
         {"WalkupScanManifest.xml", "WalkupScanToCompCaps", "WalkupScanToCompDestinations.xml"}},
        {"eSCL", {"eSclManifest.xml", "ScannerCapabilities", "ScannerStatus.xml"}},
        {"timeservice", {"TimeServiceCap.xml", "TimeServiceManifest.xml"}},
    };
    for (const auto &[directory, names] : tickets) {
        fs::path path = root / "tmp/xml_tickets" / directory;
        ASSERT_TRUE(fs::is_directory(path)) << path;
        for (const std::string &name : names)
            EXPECT_GT(fs::file_size(path / name), 0u) << path / name;
    }
    for (const char *directory : {"datafs", "run/varn"})
        EXPECT_TRUE(fs::is_directory(root / directory)) << directory;
    EXPECT_EQ(content_of(root / "tmp/ftdram.txt"), "512");
    EXPECT_EQ(content_of(root / "sys/class/net/eth0/carrier")[0], '1');
    EXPECT_EQ(content_of(root / "sys/class/net/wlan0/carrier")[0], '0');
    EXPECT_EQ(content_of(root / "proc/kob_usbd/connect")[0], '0');
}

TEST_F(Rootfs, every_document_is_well_formed_and_saved_as_it_was) {
    int documents = 0;
    for (const auto &entry : fs::recursive_directory_iterator(root)) {
        std::string content = entry.is_regular_file() ? content_of(entry.path()) : "";
        EXPECT_EQ(content.find("@VARN"), content.npos) << entry.path(); // a setting not filled in
        if (!content.starts_with("<"))
            continue;
        ++documents;
        EXPECT_TRUE(content.starts_with("<?xml ")) << entry.path();
        mxml_node_t *handle = cfg_init(entry.path().c_str());
        ASSERT_TRUE(handle) << entry.path();
        EXPECT_EQ(cfg_save_file(handle, file("copy").c_str()), 0);
        EXPECT_EQ(content_of(file("copy")), content) << entry.path();
        cfg_deinit(handle);
    }
    EXPECT_GE(documents, 28);
}

std::set<std::string> texts_at(mxml_node_t *handle, const std::string &path) {
    std::set<std::string> texts;
    char buffer[1024];
    for (mxml_node_t *node = handle; (node = cfg_walk_next(node, handle, 1));) {
        EXPECT_EQ(cfg_get_node_pathname(node, handle, buffer, sizeof buffer), 0);
        if (path == buffer && cfg_get_param_value(node, buffer, sizeof buffer) == 0)
            texts.insert(buffer);
    }
    return texts;
}

// A buffer-information request replaces what the source does not offer by these values, again
// and again until all are accepted: a source without one of them would never finish.
TEST_F(Rootfs, every_source_offers_what_the_scan_path_falls_back_to) {
    mxml_node_t *handle = cfg_init((root / "web/eSCL/ScannerCapabilities").c_str());
    ASSERT_TRUE(handle);
    const std::string top = "scan:ScannerCapabilities.";
    const std::string profile = ".scan:SettingProfiles.scan:SettingProfile.";
    const std::string resolution = "scan:SupportedResolutions.scan:DiscreteResolutions."
                                   "scan:DiscreteResolution.";
    const std::set<std::string> resolutions = {"75",  "100", "150", "200", "240",
                                               "300", "400", "500", "600", "1200"};
    for (const char *source :
         {"scan:Platen.scan:PlatenInputCaps", "scan:Adf.scan:AdfSimplexInputCaps",
          "scan:Adf.scan:AdfDuplexInputCaps"}) {
        auto offers = [&, at = top + source](const std::string &what) {
            return texts_at(handle, at + what);
        };
        EXPECT_TRUE(offers(".scan:SupportedIntents.scan:Intent").contains("Document")) << source;
        EXPECT_EQ(offers(profile + resolution + "scan:XResolution"), resolutions) << source;
        EXPECT_EQ(offers(profile + resolution + "scan:YResolution"), resolutions) << source;
        EXPECT_TRUE(offers(profile + "scan:ContentTypes.pwg:ContentType").contains("Text"));
        EXPECT_EQ(offers(profile + "scan:ColorModes.scan:ColorMode"),
                  (std::set<std::string>{"BlackAndWhite1", "Grayscale8", "RGB24"}));
        EXPECT_TRUE(
            offers(profile + "scan:CcdChannels.scan:CcdChannel").contains("GrayCcdEmulated"));
        for (const char *format : {"pwg:DocumentFormat", "scan:DocumentFormatExt"})
            EXPECT_TRUE(offers(profile + "scan:DocumentFormats." + format).contains("image/jpeg"));
        EXPECT_EQ(offers(".scan:MaxWidth"), std::set<std::string>{"2550"}) << source;
    }
    EXPECT_TRUE(
        texts_at(handle, top + "scan:Adf.scan:AdfOptions.scan:AdfOption").contains("Duplex"));
    EXPECT_TRUE(
        cfg_find_param_node(handle, (top + "scan:MultipickDetectionActionSupport").c_str()));
    cfg_deinit(handle);
}

// The sleep time of a request is accepted when its text occurs anywhere in this file.
TEST_F(Rootfs, sleep_times_are_those_that_read_back) {
    std::string text = content_of(root / "tmp/xml_tickets/DevMgmt/ProductConfigCap.xml");
    for (const char *offered : {"never", "15minutes", "1hour", "4hours"})
        EXPECT_NE(text.find(offered), text.npos) << offered;
    for (const char *other : {"30minutes", "2hours", "8hours", "1minute"})
        EXPECT_EQ(text.find(other), text.npos) << other;
}

} // namespace
