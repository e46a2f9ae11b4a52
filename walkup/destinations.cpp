/// Walk-up destinations: registering, removing and telling them.

#include "frame/ticket_file.h"
#include "platform/mvtc.h"
#include "varn/walkup_destinations.h"
#include "walkup/destination_list.h"
#include "walkup/pc_list.h"

#include <algorithm>
#include <cstdio>

using varn::Destination;
using varn::DestinationList;
using varn::Document;

namespace varn {
namespace {

constexpr char one_destination_ticket[] =
    "/tmp/xml_tickets/WalkupScanToComp/WalkupOneDestination.xml";
constexpr int destination_limit = 10;
constexpr uint32_t first_custom_slot = 7;

int custom_count(const Destination &destination) {
    return destination.CustomShortcuts != nullptr
               ? destination.CustomShortcuts->__sizeCustomShortcut
               : 0;
}

/// Identifier for a posted destination; null when there is none to be had.
char *choose_uuid(const Destination &request) {
    char known[41] = {};
    char stored[40] = {};
    if (ChkPClistIsExist(varn_mvt_fd, request.dd3__Hostname_, stored) == 0)
        return hand_out_new_uuid();
    memcpy(known, stored, sizeof stored);
    char *uuid = hand_out_uuid(known);
    printf("Get existed uuid %s\n", uuid);
    // It becomes part of a file's name.
    return custom_shortcuts_path(uuid).empty() ? nullptr : uuid;
}

/// Whether the request takes the place of this entry: there is one USB destination, and network
/// destinations go by their name.
bool replaces(const Destination &request, const Destination &entry) {
    if (!is_network(request))
        return !is_network(entry);
    return is_network(entry) && request.dd__Name_ != nullptr && entry.dd__Name_ != nullptr &&
           strcmp(request.dd__Name_, entry.dd__Name_) == 0;
}

/// PIN and settings of the entry stay.
void overwrite(Document &document, Destination &entry, const Destination &request) {
    Destination copy;
    copy_WalkupScanToCompDestination(document.get(), &request, &copy);
    entry.dd__ResourceURI = copy.dd__ResourceURI;
    entry.dd__Name_ = copy.dd__Name_;
    entry.dd3__Hostname_ = copy.dd3__Hostname_;
    entry.CustomShortcuts = copy.CustomShortcuts;
    if (is_network(request))
        printf("~~~~~~~~@@@@@@@@@@@@@@@@@@@@@@WalkupScanToDestination->dd__Name_ = %s @@@@@@@@@ \n",
               entry.dd__Name_);
}

struct Merged {
    DestinationList list; ///< with a place for the request behind its end
    int network = 0;      ///< network destinations in it
    bool replaced = false;
};

/// A copy of the list in which the request has taken its place, if it had one.
Merged merge(Document &document, const DestinationList &old, const Destination &request) {
    Merged merged;
    const int count = static_cast<int>(entries(old).size());
    auto *copies = document.make<Destination>(count + 1);
    if (copies == nullptr)
        return merged;
    merged.list.WalkupScanToCompDestination_ = copies;
    merged.list.__sizeWalkupScanToCompDestination = count;
    for (const Destination &entry : entries(old)) {
        copy_WalkupScanToCompDestination(document.get(), &entry, copies);
        if (replaces(request, *copies)) {
            overwrite(document, *copies, request);
            merged.replaced = true;
        }
        merged.network += is_network(*copies) ? 1 : 0;
        ++copies;
    }
    return merged;
}

/// 0 when the request is in the list, else 409.
int32_t add_destination(const DestinationList &old, const Destination &request, const char *uuid,
                        bool check_limit, const char *caller) {
    const DestinationLimits limits = read_destination_limits();
    printf("~~~~~ MaxNetworkDestinations_Capa = %ld \n", limits.network_destinations);
    printf("~~~~~ MaxCustomShortcuts_CapaNumber = %ld \n", limits.custom_shortcuts);
    if (static_cast<long>(entries(old).size()) > limits.network_destinations + 1)
        return 409;
    Document document(escl_get);
    Merged merged = merge(document, old, request);
    if (merged.list.WalkupScanToCompDestination_ == nullptr)
        return -1;
    printf("\n\n Total_Net_Destinations = %d\n\n", merged.network);
    if ((check_limit && merged.network == destination_limit) ||
        custom_count(request) > limits.custom_shortcuts)
        return 409;
    int &count = merged.list.__sizeWalkupScanToCompDestination;
    copy_WalkupScanToCompDestination(document.get(), &request,
                                     &merged.list.WalkupScanToCompDestination_[count]);
    if (!merged.replaced)
        ++count;
    create_new_WalkupScanToCompDestinations_ShortCut(uuid, &request);
    write_destinations(document, merged.list, caller);
    return 0;
}

/// The custom shortcuts of a destination go with it, unless another has the same resource path.
void forget_custom_shortcuts(const DestinationList &rest, std::string_view uri) {
    if (std::ranges::any_of(entries(rest), [&](const Destination &d) { return has_uri(d, uri); }))
        return;
    const std::string uuid(uri.substr(std::min(uri.size(), destinations_path.size())));
    const std::string path = custom_shortcuts_path(uuid.c_str());
    if (!path.empty())
        unlink(device_path(path).c_str());
}

} // namespace
} // namespace varn

int32_t AddPClistToMVT(int32_t fd, const char *uuid, const Destination *destination) {
    if (uuid == nullptr || destination == nullptr || destination->LinkType == nullptr ||
        destination->dd3__Hostname_ == nullptr)
        return -1;
    varn_pc_record record = {};
    record.dwLinkType = *destination->LinkType != wus__LinkType__USB ? 1 : 0;
    if (!varn::set_field(record.szPCNameUTF8, destination->dd3__Hostname_) ||
        !varn::set_field(record.szPCUUID, uuid))
        return -1;
    if (const wus__CustomShortcuts *custom = destination->CustomShortcuts; custom != nullptr) {
        if (!varn::set_shortcuts(record, varn::first_custom_slot, custom->__sizeCustomShortcut,
                                 custom->CustomShortcut_))
            return -1;
        // The log tells the slots from 0 on, where nothing was put.
        for (uint32_t i = 0; i < record.dwShortcutNum; ++i)
            printf("Add CustomShortcut %s\n", record.szShortcut[i]);
    }
    mvtc_write_H1_PCList(static_cast<uint32_t>(fd), &record, varn::pc_list_add);
    return 0;
}

int32_t RemovePClistToMVT(int32_t fd, const Destination *destination) {
    if (destination == nullptr || destination->dd__ResourceURI == nullptr ||
        strlen(destination->dd__ResourceURI) <= varn::destinations_path.size())
        return 0;
    varn_pc_record record = {};
    record.dwLinkType = varn::is_network(*destination) ? 1 : 0;
    if (destination->dd3__Hostname_ != nullptr)
        varn::cut_to_field(record.szPCNameUTF8, destination->dd3__Hostname_);
    varn::cut_to_field(record.szPCUUID,
                       destination->dd__ResourceURI + varn::destinations_path.size());
    printf("uuid is %s\n", record.szPCUUID);
    mvtc_write_H1_PCList(static_cast<uint32_t>(fd), &record, varn::pc_list_remove);
    return 0;
}

int32_t VARN_CreateWalkupScanDestination(const char *xml, char **uuid, int32_t checkLimit) {
    printf("gsoap mode:%s\n", __func__);
    if (xml == nullptr || uuid == nullptr)
        return -1;
    Document document(varn::escl_put);
    Destination request;
    if (!varn::read_request(document, xml, request)) {
        printf("%s:%d: error,soap_read_wus__WalkupScanToCompDestination happen error:%d !\n",
               __func__, __LINE__, document.error());
        return -1;
    }
    if (request.LinkType == nullptr || request.dd3__Hostname_ == nullptr)
        return -1;
    if (ChkPCListCntIsvalid(varn_mvt_fd, *request.LinkType) < 0)
        return 409;
    // More than the record has slots for; no capabilities allow as many.
    if (varn::custom_count(request) > static_cast<int>(VARN_PC_SHORTCUTS - varn::first_custom_slot))
        return 409;
    *uuid = varn::choose_uuid(request);
    if (*uuid == nullptr)
        return -1;
    request.dd__ResourceURI = document.text(varn::destination_uri(*uuid).c_str());
    Document list_document(varn::escl_get);
    DestinationList list;
    varn::read_destinations(list_document, list, __func__);
    if (AddPClistToMVT(varn_mvt_fd, *uuid, &request) != 0)
        return -1;
    return varn::add_destination(list, request, *uuid, checkLimit != 0, __func__);
}

int32_t VARN_DeleteWalkupScanDestination(const char *uri) {
    Document document(varn::escl_get);
    DestinationList list;
    if (!varn::read_destinations(document, list, __func__) || uri == nullptr)
        return -1;
    const auto old = varn::entries(list);
    const auto found = std::ranges::find_if(
        old, [&](const Destination &entry) { return varn::has_uri(entry, uri); });
    if (found == old.end())
        return -1;
    RemovePClistToMVT(varn_mvt_fd, &*found);
    Document rest_document(varn::escl_get);
    DestinationList rest;
    rest.WalkupScanToCompDestination_ =
        rest_document.make<Destination>(static_cast<int>(old.size()) - 1);
    for (auto entry = old.begin(); entry != old.end(); ++entry)
        if (entry != found && rest.WalkupScanToCompDestination_ != nullptr)
            copy_WalkupScanToCompDestination(
                rest_document.get(), &*entry,
                &rest.WalkupScanToCompDestination_[rest.__sizeWalkupScanToCompDestination++]);
    varn::write_destinations(rest_document, rest, __func__);
    varn::forget_custom_shortcuts(rest, uri);
    return 0;
}

int32_t VARN_GetWalkupScanManifest(char **out, uint32_t *outlen) {
    constexpr char manifest[] = "/tmp/xml_tickets/WalkupScanToComp/WalkupScanManifest.xml";
    return varn::get_static(__func__, manifest, manifest, out, outlen);
}

int32_t VARN_GetWalkupScanCapabilities(char **out, uint32_t *outlen, int32_t isMac) {
    printf("%s is mac=%d\n", __func__, isMac);
    return common_read_file_data(varn::destination_caps_ticket, out, outlen);
}

int32_t VARN_GetWalkupScanDestination(const char *uri, char **out, uint32_t *outlen) {
    if (out == nullptr || outlen == nullptr)
        return -1;
    *out = nullptr;
    *outlen = 0;
    Document document(varn::escl_get);
    DestinationList list;
    if (!varn::read_destinations(document, list, __func__))
        return 0;
    if (uri == nullptr)
        return common_read_file_data(varn::destination_list_ticket, out, outlen);
    // The picked destination is told with its settings.
    Document picked_document(varn::escl_get);
    Destination picked;
    if (varn::read_ticket(picked_document, picked, varn::picked_destination_ticket) &&
        varn::has_uri(picked, uri))
        return common_read_file_data(varn::picked_destination_ticket, out, outlen);
    for (const Destination &entry : varn::entries(list)) {
        if (!varn::has_uri(entry, uri))
            continue;
        varn::write_ticket(document, entry, varn::one_destination_ticket);
        return common_read_file_data(varn::one_destination_ticket, out, outlen);
    }
    return 0;
}
