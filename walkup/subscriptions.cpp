/// Subscriptions of hosts to walk-up scanning over eSCL.

#include "frame/document.h"
#include "platform/mvtc.h"
#include "walkup/pc_list.h"

#include <algorithm>
#include <cstdio>

using varn::Document;
using varn::PcList;

namespace varn {
namespace {

constexpr char subscriptions_ticket[] = "/tmp/xml_tickets/eSCL/WalkupSubscriptions.xml";

/// False: no room for another network host. USB hosts are not limited.
bool has_room(int32_t fd, scan__ConnectionType connection) {
    uint32_t number = 0;
    const int32_t result = read_host_number(fd, number);
    printf("eSCL_ChkPCListCntIsvalid Current: %u/%u\n", number, network_host_limit);
    return result >= 0 &&
           (connection != scan__ConnectionType__Network || number < network_host_limit);
}

/// The identifier under which the list has that very name already; null for a new host.
char *known_uuid(const PcList &list, const char *name) {
    if (name == nullptr)
        return nullptr;
    for (const varn_pc_record &record : list.records()) {
        if (field_view(record.szPCNameUTF8) != name)
            continue;
        printf("Detect %s is in PClist!\n", name);
        char *uuid = hand_out_uuid(field_view(record.szPCUUID));
        printf("Get existed uuid %s\n", uuid);
        return uuid;
    }
    return nullptr;
}

bool fill_record(varn_pc_record &record, const char *uuid,
                 const scan__WalkupScanSubscription &subscription) {
    record.dwLinkType = *subscription.Connection != scan__ConnectionType__USB ? 1 : 0;
    if (subscription.HostIdentifier == nullptr && record.dwLinkType != 0) {
        puts("HostIdentifier is NULL!");
        return false;
    }
    if (subscription.HostIdentifier != nullptr &&
        !set_field(record.szPCNameUTF8, subscription.HostIdentifier))
        return false;
    if (!set_field(record.szPCUUID, uuid))
        return false;
    if (const scan__Shortcuts *shortcuts = subscription.Shortcuts; shortcuts != nullptr) {
        if (!set_shortcuts(record, 0, shortcuts->__sizeShortcut, shortcuts->Shortcut))
            return false;
        printf("pclist.dwShortcutNum ===%u\n", record.dwShortcutNum);
        for (uint32_t i = 0; i < record.dwShortcutNum; ++i)
            printf("Add CustomShortcut %s\n", record.szShortcut[i]);
    }
    return subscription.PIN == nullptr || set_field(record.szPCPIN, subscription.PIN);
}

scan__Shortcuts *shortcuts_of(Document &document, const varn_pc_record &record) {
    const uint32_t count = std::min<uint32_t>(record.dwShortcutNum, VARN_PC_SHORTCUTS);
    auto *shortcuts = document.make<scan__Shortcuts>();
    auto **names = document.make<char *>(VARN_PC_SHORTCUTS);
    if (shortcuts == nullptr || names == nullptr)
        return nullptr;
    for (uint32_t i = 0; i < count; ++i)
        names[i] = document.text(FieldText(record.szShortcut[i]).text);
    shortcuts->__sizeShortcut = static_cast<int>(count);
    shortcuts->Shortcut = names;
    return shortcuts;
}

void fill_subscription(Document &document, scan__WalkupScanSubscription &subscription,
                       const varn_pc_record &record) {
    subscription.HostIdentifier = document.text(FieldText(record.szPCNameUTF8).text);
    subscription.Connection = document.value(record.dwLinkType != 0 ? scan__ConnectionType__Network
                                                                    : scan__ConnectionType__USB);
    if (record.dwShortcutNum != 0)
        subscription.Shortcuts = shortcuts_of(document, record);
    if (record.szPCPIN[0] != '\0')
        subscription.PIN = document.text(FieldText(record.szPCPIN).text);
}

void fill_one(Document &document, scan__WalkupScanSubscription &root, const PcList &list,
              const char *uuid) {
    int index = 0;
    for (const varn_pc_record &record : list.records()) {
        printf("pclist[%d].szPCNameUTF8 = %.256s, %.40s\n", index++, record.szPCNameUTF8,
               record.szPCUUID);
        if (field_view(record.szPCUUID) != uuid)
            continue;
        printf("Detect %s is in PClist!\n", uuid);
        fill_subscription(document, root, record);
        return;
    }
}

void fill_all(Document &document, scan__WalkupScanSubscriptions &root, const PcList &list) {
    const auto records = list.records();
    const int count = static_cast<int>(records.size());
    auto *subscriptions = document.make<scan__WalkupScanSubscription>(count);
    if (subscriptions == nullptr)
        return;
    for (int i = 0; i < count; ++i) {
        fill_subscription(document, subscriptions[i], records[static_cast<size_t>(i)]);
        // The collection keeps the PIN of a host without shortcuts to itself; this is meant.
        if (subscriptions[i].Shortcuts == nullptr)
            subscriptions[i].PIN = nullptr;
    }
    root.__sizeWalkupScanSubscription = count;
    root.WalkupScanSubscription = subscriptions;
}

} // namespace
} // namespace varn

int32_t add_or_update_pclist(int32_t fd, const char *uuid,
                             const scan__WalkupScanSubscription *subscription) {
    if (uuid == nullptr || subscription == nullptr || subscription->Connection == nullptr)
        return 400;
    varn_pc_record record = {};
    if (!varn::fill_record(record, uuid, *subscription))
        return 400;
    return mvtc_write_H1_PCList(static_cast<uint32_t>(fd), &record, varn::pc_list_add) < 0 ? -1 : 0;
}

int32_t eSCL_CreateWalkupSubscription(const char *xml, char **uuid) {
    printf("gsoap mode:%s\n", __func__);
    if (xml == nullptr || uuid == nullptr)
        return 400;
    Document document(varn::escl_put);
    scan__WalkupScanSubscription subscription;
    if (!varn::read_request(document, xml, subscription)) {
        printf("%s:%d: error,soap_read_scan__WalkupScanSubscription happen error:%d !\n", __func__,
               __LINE__, document.error());
        return 400;
    }
    if (subscription.Connection == nullptr)
        return 400;
    if (!varn::has_room(varn_mvt_fd, *subscription.Connection))
        return 409;
    char *known = varn::known_uuid(PcList(varn_mvt_fd), subscription.HostIdentifier);
    *uuid = known != nullptr ? known : varn::hand_out_new_uuid();
    if (*uuid == nullptr)
        return -1;
    return add_or_update_pclist(varn_mvt_fd, *uuid, &subscription);
}

int32_t eSCL_GetWalkupSubscription(const char *uuid, char **out, uint32_t *outlen) {
    const PcList list(varn_mvt_fd);
    printf("Get current PC list number is %u\n", list.number());
    if (uuid == nullptr)
        return varn::get_document<scan__WalkupScanSubscriptions>(
            varn::escl_get, varn::subscriptions_ticket, out, outlen,
            [&](Document &document, scan__WalkupScanSubscriptions &root) {
                varn::fill_all(document, root, list);
            });
    return varn::get_document<scan__WalkupScanSubscription>(
        varn::escl_get, varn::subscriptions_ticket, out, outlen,
        [&](Document &document, scan__WalkupScanSubscription &root) {
            varn::fill_one(document, root, list, uuid);
        });
}

int32_t eSCL_DeleteWalkupSubscription(const char *uuid) {
    if (uuid == nullptr)
        return 0;
    const PcList list(varn_mvt_fd);
    for (const varn_pc_record &record : list.records()) {
        if (varn::field_view(record.szPCUUID) != uuid)
            continue;
        printf("Detect %s is in PClist!\n", uuid);
        varn_pc_record removed = {};
        memcpy(removed.szPCUUID, record.szPCUUID, sizeof removed.szPCUUID);
        mvtc_write_H1_PCList(static_cast<uint32_t>(varn_mvt_fd), &removed, varn::pc_list_remove);
    }
    return 0;
}
