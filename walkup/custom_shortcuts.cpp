/// What the panel offers: destinations, the device's shortcuts, and those of the hosts.

#include "frame/ticket_file.h"
#include "varn/walkup_destinations.h"
#include "walkup/picked_destination.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

using varn::Destination;
using varn::Document;

static_assert(sizeof(WalkupScanDest) == 204);

namespace varn {
namespace {

void cut_into(char *dst, size_t size, const char *text) {
    snprintf(dst, size, "%s", text != nullptr ? text : "");
}

/// Copies the first texts into fields of 32 bytes; returns how many.
template <size_t N>
int32_t cut_texts(char (&fields)[N][32], int count, char *const *texts) {
    const int taken = texts != nullptr ? std::clamp(count, 0, static_cast<int>(N)) : 0;
    for (int i = 0; i < taken; ++i)
        cut_into(fields[i], sizeof fields[i], texts[i]);
    return taken;
}

void fill_capabilities(WalkupScanDests &result) {
    Document document(escl_get);
    wus__WalkupScanToCompCaps caps;
    read_ticket(document, caps, destination_caps_ticket);
    if (caps.UserActionTimeout != nullptr && caps.UserActionTimeout->ValueFloat != nullptr) {
        const float seconds = *caps.UserActionTimeout->ValueFloat;
        if (std::fabs(seconds) < 1e9F) // what an integer cannot hold, and no number, stay 0
            result.userActionTimeout = static_cast<int32_t>(seconds);
    }
    if (const wus__ShortcutSupportType *support = caps.ShortcutSupport; support != nullptr)
        result.nShortcuts =
            cut_texts(result.shortcuts, support->__sizeShortcut, support->Shortcut_);
}

void fill_destination(WalkupScanDest &result, int32_t index, const Destination &entry) {
    result.index = index;
    cut_into(result.name, sizeof result.name, entry.dd3__Hostname_);
    result.linkType = entry.LinkType != nullptr ? *entry.LinkType : 0;
    if (const wus__CustomShortcuts *custom = entry.CustomShortcuts; custom != nullptr)
        result.nCustom =
            cut_texts(result.custom, custom->__sizeCustomShortcut, custom->CustomShortcut_);
}

} // namespace
} // namespace varn

int32_t VARN_GetWalkupScanDests(WalkupScanDests **dests) {
    Document document(varn::escl_get);
    varn::DestinationList list;
    varn::read_ticket(document, list, varn::destination_list_ticket, {"Read", __func__});
    printf("soap_read_wus__WalkupScanToCompDestinations error=%d\n", document.error());
    const auto entries = varn::entries(list);
    if (document.error() != SOAP_OK || entries.empty() || dests == nullptr)
        return -1;
    auto *result = static_cast<WalkupScanDests *>(calloc(1, sizeof(WalkupScanDests)));
    auto *each = static_cast<WalkupScanDest *>(calloc(entries.size(), sizeof(WalkupScanDest)));
    if (result == nullptr || each == nullptr) {
        free(result);
        free(each);
        return -1;
    }
    varn::fill_capabilities(*result);
    result->nDests = static_cast<int32_t>(entries.size());
    result->dests = each;
    for (int32_t i = 0; i < result->nDests; ++i)
        varn::fill_destination(each[i], i, entries[static_cast<size_t>(i)]);
    VARN_FreeWalkupScanDests(dests);
    *dests = result;
    return 0;
}

int32_t VARN_FreeWalkupScanDests(WalkupScanDests **dests) {
    if (dests == nullptr || *dests == nullptr)
        return 0;
    free((*dests)->dests);
    free(*dests);
    *dests = nullptr;
    return 0;
}

int32_t create_new_WalkupScanToCompDestinations_ShortCut(const char *uuid,
                                                         const Destination *destination) {
    const std::string path = varn::custom_shortcuts_path(uuid);
    if (uuid == nullptr || destination == nullptr || path.empty())
        return -1;
    if (destination->CustomShortcuts != nullptr)
        puts("~~~~~for CustomShortcuts test ");
    Document document(varn::escl_get);
    return varn::write_ticket(document, *destination, path.c_str()) ? 0 : -1;
}

int32_t VARN_GetCustomerShortcutName(int32_t index, char *dst, const char *uuid) {
    if (dst == nullptr)
        return 0;
    varn::CustomShortcut shortcut(uuid, index > 8 ? index - 8 : 0);
    memcpy(dst, shortcut.text, sizeof shortcut.text);
    printf("%s shortcutindex=%d shortcutName =%s \n", __func__, index, dst);
    return 0;
}
