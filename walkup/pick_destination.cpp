/// The operator picks a destination at the panel.

#include "frame/ticket_file.h"
#include "varn/events.h"
#include "varn/walkup_destinations.h"
#include "walkup/picked_destination.h"

#include <algorithm>
#include <cstdio>

using varn::Destination;
using varn::DestinationList;
using varn::Document;

namespace varn {
namespace {

constexpr int32_t first_custom = 8; ///< of the panel's shortcut numbers
constexpr int32_t pages_complete = 32767;

constexpr const char *select_words[first_custom] = {
    "GeneralScan", "GeneralScan",      "SaveJPEG",    "EmailPDF",
    "EmailJPEG",   "SaveEditableText", "SendToCloud", "GeneralScan"};
constexpr const char *network_words[first_custom] = {
    "SavePDF",   "SavePDF",          "SaveJPEG",    "EmailPDF",
    "EmailJPEG", "SaveEditableText", "SendToCloud", "GeneralScan"};

/// Word of a shortcut number below the custom ones.
const char *shortcut_word(std::span<const char *const, first_custom> words, int32_t shortcut) {
    return shortcut >= 0 ? words[static_cast<size_t>(shortcut)] : "";
}

void write_picked(Document &document, const Destination &picked, const char *caller) {
    if (!write_ticket(document, picked, picked_destination_ticket, {"Write", caller}))
        printf("%s:%d: error,soap_write_wus__WalkupScanToCompDestination happen error:%d !\n",
               caller, __LINE__, document.error());
}

wus__WalkupScanToCompSettings *make_settings(Document &document, bool duplex, const char *word) {
    auto *settings = document.make<wus__WalkupScanToCompSettings>();
    if (settings == nullptr)
        return nullptr;
    settings->scantype__ScanSettings = document.make<scantype__ScanSettings>();
    if (settings->scantype__ScanSettings != nullptr)
        settings->scantype__ScanSettings->dd__ScanPlexMode =
            document.value(duplex ? dd__Plex__Duplex : dd__Plex__Simplex);
    settings->Shortcut = document.text(word);
    return settings;
}

void announce(const Destination &picked, uint32_t event, uint32_t plex) {
    VARN_SetWalkupScanEvent(event);
    raise_scan_event(picked);
    if (!is_network(picked))
        send_usb_kick_entry(plex);
}

/// Makes an entry of the list the picked destination and tells its host.
void pick(Document &document, const Destination &entry, const char *word, bool duplex,
          uint32_t event, const char *caller) {
    Destination picked;
    picked.dd__ResourceURI = entry.dd__ResourceURI;
    picked.dd__Name_ = entry.dd__Name_;
    picked.dd3__Hostname_ = entry.dd3__Hostname_;
    picked.LinkType = entry.LinkType;
    picked.WalkupScanToCompSettings = make_settings(document, duplex, word);
    write_picked(document, picked, caller);
    announce(picked, event, duplex ? 1 : 0);
}

uint32_t event_of(int32_t times) {
    if (times == pages_complete)
        return wus__WalkupScanToCompEventType__ScanPagesComplete;
    return times > 0 ? wus__WalkupScanToCompEventType__ScanNewPageRequested
                     : wus__WalkupScanToCompEventType__ScanRequested;
}

/// A UUID or a resource path, as a UUID.
std::string_view bare_uuid(std::string_view uuid) {
    const size_t at = uuid.find(destinations_path);
    return at != uuid.npos ? uuid.substr(at + destinations_path.size()) : uuid;
}

} // namespace

CustomShortcut::CustomShortcut(const char *uuid, int32_t place) {
    const std::string path = custom_shortcuts_path(uuid);
    Document document(escl_get);
    Destination posted;
    if (path.empty() || !read_ticket(document, posted, path.c_str()))
        return;
    const wus__CustomShortcuts *custom = posted.CustomShortcuts;
    if (custom == nullptr || custom->CustomShortcut_ == nullptr || place < 0 ||
        place >= custom->__sizeCustomShortcut || custom->CustomShortcut_[place] == nullptr)
        return;
    snprintf(text, sizeof text, "%s", custom->CustomShortcut_[place]);
}

} // namespace varn

int32_t VARN_SetWalkupScanDest(uint32_t, int32_t selectindex, int32_t shortcut,
                               uint32_t panelScanType, const char *uuid) {
    const bool duplex = panelScanType != 0;
    printf("----------selectindex =%d \n", selectindex);
    printf("----------lParam =%u PanelScanType=%d\n", panelScanType, duplex ? 1 : 0);
    std::string word;
    if (shortcut < varn::first_custom) {
        word = varn::shortcut_word(varn::select_words, shortcut);
    } else {
        printf("!!!!ShortCut gsoap mode:%s\n", __func__);
        word = varn::CustomShortcut(uuid, shortcut - varn::first_custom).text;
    }
    Document document(varn::escl_get);
    DestinationList list;
    if (!varn::read_destinations(document, list, __func__))
        return -1;
    const auto entries = varn::entries(list);
    if (entries.empty() || selectindex >= static_cast<int32_t>(entries.size())) {
        printf("%s:%d: selectindex(%d) > Max (%zu) error !", __func__, __LINE__, selectindex,
               entries.size());
        return -1;
    }
    // The last entry on purpose, not the one at the index.
    varn::pick(document, entries.back(), word.c_str(), duplex,
               wus__WalkupScanToCompEventType__ScanRequested, __func__);
    return 0;
}

int32_t VARN_SetWalkupScanDest_NetworkScan(uint32_t, int32_t selectindex, int32_t shortcut,
                                           uint32_t panelScanType, const char *uuid,
                                           int32_t SCAN_PC_TIMS) {
    printf("~~~~~!!!!!~~~~~~ SCAN_PC_TIMS = %d \n", SCAN_PC_TIMS);
    const std::string host(varn::bare_uuid(uuid != nullptr ? uuid : ""));
    char word[196];
    if (shortcut < varn::first_custom)
        snprintf(word, sizeof word, "%s", varn::shortcut_word(varn::network_words, shortcut));
    else
        VARN_GetCustomerShortcutName(shortcut, word, host.c_str());
    Document document(varn::escl_get);
    DestinationList list;
    if (!varn::read_destinations(document, list, __func__))
        return -1;
    const auto entries = varn::entries(list);
    const auto count = static_cast<int64_t>(entries.size());
    if (selectindex >= count) {
        printf("%s:%d: selectindex > Max error !", __func__, __LINE__);
        return -1;
    }
    const std::string uri = varn::destination_uri(host);
    const auto found = std::ranges::find_if(
        entries, [&](const Destination &entry) { return varn::has_uri(entry, uri); });
    if (found == entries.end()) {
        puts("~~~~~~UUID not match ");
        return -1;
    }
    printf("Find match UUID %s\n", uri.c_str());
    // Counted from the match: an index that fits the list may still lead out of it.
    const int64_t at = (found - entries.begin()) + int64_t{selectindex};
    if (at < 0 || at >= count) {
        printf("%s:%d: selectindex > Max error !", __func__, __LINE__);
        return -1;
    }
    varn::pick(document, entries[static_cast<size_t>(at)], word, panelScanType != 0,
               varn::event_of(SCAN_PC_TIMS), __func__);
    return 0;
}

int32_t VARN_SetWalkupScanDest_Net(uint32_t a) { return a != 0 ? 0 : -1; }

int32_t VARN_SetWalkupScanParameter(uint32_t, uint32_t, const uint32_t *params) {
    if (params == nullptr)
        return -1;
    Document document(varn::escl_get);
    Destination picked;
    if (!varn::read_picked(document, picked, __func__))
        return -1;
    if (picked.WalkupScanToCompSettings == nullptr)
        picked.WalkupScanToCompSettings = varn::make_settings(document, false, "");
    wus__WalkupScanToCompSettings *settings = picked.WalkupScanToCompSettings;
    if (settings == nullptr)
        return -1;
    if (settings->scantype__ScanSettings == nullptr)
        settings->scantype__ScanSettings = document.make<scantype__ScanSettings>();
    if (settings->scantype__ScanSettings != nullptr)
        settings->scantype__ScanSettings->dd__ScanPlexMode =
            document.value(static_cast<dd__Plex>(params[0]));
    settings->Shortcut = document.text(reinterpret_cast<const char *>(params + 1));
    varn::write_picked(document, picked, __func__);
    varn::announce(picked, wus__WalkupScanToCompEventType__ScanRequested, params[0]);
    return 0;
}
