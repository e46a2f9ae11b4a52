/// The tickets of the walk-up destinations: reading, writing, copying.

#include "walkup/destination_list.h"

#include "frame/ticket_file.h"
#include "varn/walkup_destinations.h"

#include <cstdio>
#include <cstdlib>

namespace varn {

std::string destination_uri(std::string_view uuid) {
    return std::string(destinations_path).append(uuid.substr(0, 39));
}

std::string custom_shortcuts_path(const char *uuid) {
    if (uuid == nullptr)
        return custom_shortcuts_ticket;
    const std::string_view suffix = uuid;
    // It comes from the engine or from the panel: it must not lead out of the folder.
    if (suffix.empty() || suffix.size() > 39 || suffix.find('/') != suffix.npos)
        return {};
    return std::string(custom_shortcuts_ticket).append(".").append(suffix);
}

bool read_destinations(Document &document, DestinationList &list, const char *caller) {
    const bool read = read_ticket(document, list, destination_list_ticket, {"Read", caller});
    if (!read) {
        printf("%s:%d: error,soap_read_wus__WalkupScanToCompDestinations happen error:%d !\n",
               caller, __LINE__, document.error());
        list = {};
    }
    return read;
}

void write_destinations(Document &document, const DestinationList &list, const char *caller) {
    if (!write_ticket(document, list, destination_list_ticket, {"WRITE", caller}))
        printf("%s:%d: error,soap_write_wus__WalkupScanToCompDestinations happen error:%d !\n",
               caller, __LINE__, document.error());
}

std::span<Destination> entries(const DestinationList &list) {
    if (list.WalkupScanToCompDestination_ == nullptr || list.__sizeWalkupScanToCompDestination < 1)
        return {};
    return {list.WalkupScanToCompDestination_,
            static_cast<size_t>(list.__sizeWalkupScanToCompDestination)};
}

bool has_uri(const Destination &destination, std::string_view uri) {
    return destination.dd__ResourceURI != nullptr && destination.dd__ResourceURI == uri;
}

bool is_network(const Destination &destination) {
    return destination.LinkType != nullptr && *destination.LinkType == wus__LinkType__Network;
}

bool read_picked(Document &document, Destination &picked, const char *caller) {
    const bool read = read_ticket(document, picked, picked_destination_ticket, {"Read", caller});
    if (!read)
        printf("%s:%d: error,soap_read_wus__WalkupScanToCompDestination happen error:%d !\n",
               caller, __LINE__, document.error());
    return read;
}

DestinationLimits read_destination_limits() {
    Document document(escl_get);
    wus__WalkupScanToCompCaps caps;
    if (!read_ticket(document, caps, destination_caps_ticket))
        return {};
    const auto number = [](const char *text) {
        return text != nullptr ? strtol(text, nullptr, 10) : 0;
    };
    return {number(caps.MaxNetworkDestinations), number(caps.MaxCustomShortcuts)};
}

namespace {

wus__CustomShortcuts *copy(Document &document, const wus__CustomShortcuts *from) {
    auto *to = from != nullptr ? document.make<wus__CustomShortcuts>() : nullptr;
    if (to == nullptr || from->CustomShortcut_ == nullptr)
        return to;
    auto **names = document.make<char *>(from->__sizeCustomShortcut);
    if (names == nullptr)
        return to;
    for (int i = 0; i < from->__sizeCustomShortcut; ++i)
        names[i] = document.text(from->CustomShortcut_[i]);
    to->__sizeCustomShortcut = from->__sizeCustomShortcut;
    to->CustomShortcut_ = names;
    return to;
}

template <typename T>
T *copy_value(Document &document, const T *from) {
    return from != nullptr ? document.value(*from) : nullptr;
}

scantype__ScanSettings *copy(Document &document, const scantype__ScanSettings *from) {
    auto *to = copy_value(document, from);
    if (to == nullptr)
        return nullptr;
    to->dd__DSImageResolution = copy_value(document, from->dd__DSImageResolution);
    to->dd__ImageFileEnums_ = document.text(from->dd__ImageFileEnums_);
    to->dd__DSColorPreference = copy_value(document, from->dd__DSColorPreference);
    to->dd__ScanMediaSize = document.text(from->dd__ScanMediaSize);
    to->dd__ScanPlexMode = copy_value(document, from->dd__ScanPlexMode);
    to->dd__ScanMode = copy_value(document, from->dd__ScanMode);
    to->dd__Contrast = copy_value(document, from->dd__Contrast);
    to->Brightness = copy_value(document, from->Brightness);
    to->dd__Scaling = copy_value(document, from->dd__Scaling);
    to->dd__CompressAttachment = copy_value(document, from->dd__CompressAttachment);
    return to;
}

} // namespace
} // namespace varn

int32_t copy_WalkupScanToCompDestination(soap *context,
                                         const wus__WalkupScanToCompDestination *from,
                                         wus__WalkupScanToCompDestination *to) {
    if (context == nullptr || from == nullptr || to == nullptr)
        return 0;
    varn::Document document(context);
    *to = {};
    to->dd__ResourceURI = document.text(from->dd__ResourceURI);
    to->dd__Name_ = document.text(from->dd__Name_);
    to->dd3__Hostname_ = document.text(from->dd3__Hostname_);
    to->LinkType = varn::copy_value(document, from->LinkType);
    to->CustomShortcuts = varn::copy(document, from->CustomShortcuts);
    if (from->WalkupScanToCompSettings != nullptr) {
        to->WalkupScanToCompSettings = document.make<wus__WalkupScanToCompSettings>();
        if (to->WalkupScanToCompSettings != nullptr) {
            const wus__WalkupScanToCompSettings &settings = *from->WalkupScanToCompSettings;
            to->WalkupScanToCompSettings->scantype__ScanSettings =
                varn::copy(document, settings.scantype__ScanSettings);
            to->WalkupScanToCompSettings->Shortcut = document.text(settings.Shortcut);
        }
    }
    to->PIN = document.text(from->PIN);
    return 0;
}
