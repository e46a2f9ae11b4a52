/// The engine's list of walk-up hosts.

#include "walkup/pc_list.h"

#include "platform/mvtc.h"
#include "varn/frame.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <new>

static_assert(sizeof(varn_pc_record) == 4312 && offsetof(varn_pc_record, szPCUUID) == 256 &&
              offsetof(varn_pc_record, szPCPIN) == 296 &&
              offsetof(varn_pc_record, dwLinkType) == 384 &&
              offsetof(varn_pc_record, dwShortcutNum) == 388 &&
              offsetof(varn_pc_record, szShortcut) == 392);

namespace varn {
namespace {

constexpr uint32_t number_selector = 4;
constexpr uint32_t records_selector = 5;
constexpr uint32_t limit_selector = 7;
/// No engine keeps as many; a larger number is a broken one.
constexpr uint32_t most_records = 1000;

char handed_out_uuid[40];

bool is_uuid(std::string_view text) {
    constexpr size_t dashes[] = {8, 13, 18, 23};
    return text.size() == 36 &&
           std::ranges::all_of(dashes, [&](size_t at) { return text[at] == '-'; });
}

} // namespace

PcList::PcList(int32_t fd) {
    const auto link = static_cast<uint32_t>(fd);
    if (mvtc_read_H1_PCList(link, &number_, sizeof number_, number_selector) < 0)
        number_ = 0;
    if (number_ == 0 || number_ > most_records)
        return;
    records_.reset(new (std::nothrow) varn_pc_record[number_]());
    const auto size = static_cast<uint32_t>(number_ * sizeof(varn_pc_record));
    if (records_ != nullptr &&
        mvtc_read_H1_PCList(link, records_.get(), size, records_selector) >= 0)
        read_ = number_;
}

int32_t read_host_number(int32_t fd, uint32_t &number) {
    number = 0;
    return mvtc_read_H1_PCList(static_cast<uint32_t>(fd), &number, sizeof number, limit_selector);
}

bool set_shortcuts(varn_pc_record &record, uint32_t first_slot, int count, char *const *names) {
    puts("Detect shortcut is existed!");
    if (count < 0 || static_cast<uint32_t>(count) > VARN_PC_SHORTCUTS - first_slot)
        return false;
    record.dwShortcutNum = static_cast<uint32_t>(count);
    for (uint32_t i = 0; i < record.dwShortcutNum; ++i)
        if (names[i] != nullptr && !set_field(record.szShortcut[first_slot + i], names[i]))
            return false;
    return true;
}

char *hand_out_uuid(std::string_view uuid) {
    memset(handed_out_uuid, 0, sizeof handed_out_uuid);
    memcpy(handed_out_uuid, uuid.data(), std::min(uuid.size(), sizeof handed_out_uuid - 1));
    return handed_out_uuid;
}

char *hand_out_new_uuid() {
    const char *uuid = common_create_uuid();
    if (uuid == nullptr || !is_uuid(uuid)) {
        puts("@@@@@@@@@ UUID ERROR @@@@@@@ ");
        return nullptr;
    }
    return hand_out_uuid(uuid);
}

} // namespace varn

int32_t ChkPCListCntIsvalid(int32_t fd, int32_t link) {
    uint32_t number = 0;
    const int32_t result = varn::read_host_number(fd, number);
    printf("%s Current: %u/%u\n", __func__, number, varn::network_host_limit);
    return link != 0 && number >= varn::network_host_limit ? -1 : result;
}

int32_t ChkPClistIsExist(int32_t fd, char *name, char uuid[40]) {
    if (name == nullptr || uuid == nullptr)
        return 0;
    const varn::PcList list(fd);
    printf("Get current PC list number is %u\n", list.number());
    for (const varn_pc_record &record : list.records()) {
        // The stored name decides how much is compared: a host whose name goes on behind it
        // counts as the same, and an unnamed record as every host.
        if (!std::string_view(name).starts_with(varn::field_view(record.szPCNameUTF8)))
            continue;
        printf("Detect %s is in PClist!\n", name);
        memcpy(uuid, record.szPCUUID, sizeof record.szPCUUID);
        return 1;
    }
    return 0;
}
