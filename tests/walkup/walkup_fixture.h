/// What the tests of walk-up scanning share.
#pragma once

#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "varn/varn.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace varn::test {

constexpr char uuid_a[] = "11111111-2222-3333-4444-555555555555";
constexpr char uuid_b[] = "99999999-8888-7777-6666-555555555555";

inline varn_pc_record pc_record(const char *name, const char *uuid, uint32_t link = 1,
                                std::initializer_list<const char *> shortcuts = {},
                                const char *pin = "") {
    varn_pc_record record = {};
    strcpy(record.szPCNameUTF8, name);
    strcpy(record.szPCUUID, uuid);
    strcpy(record.szPCPIN, pin);
    record.dwLinkType = link;
    for (const char *each : shortcuts)
        strcpy(record.szShortcut[record.dwShortcutNum++], each);
    return record;
}

class WalkupTest : public DeviceTest {
protected:
    WalkupTest() {
        VARN_Init(7);
        engine.pc_list.clear();
        engine.results.clear();
    }
    ~WalkupTest() override { free(block_); }

    static void add_host(const varn_pc_record &record) {
        engine.pc_list.emplace_back(reinterpret_cast<const char *>(&record), sizeof record);
    }
    static void add_hosts(int count, uint32_t link) {
        for (int i = 0; i < count; ++i) {
            const std::string uuid = "0000000" + std::to_string(i) + std::string(uuid_a).substr(8);
            add_host(pc_record(("host" + std::to_string(i) + ".").c_str(), uuid.c_str(), link));
        }
    }
    static varn_pc_record host(size_t index) {
        varn_pc_record record = {};
        memcpy(&record, engine.pc_list.at(index).data(), sizeof record);
        return record;
    }

    /// What a GET gave; "" with a length of 0.
    template <typename Get>
    std::string document(Get get, int32_t expected = 0) {
        free(std::exchange(block_, nullptr));
        uint32_t length = 0;
        EXPECT_EQ(get(&block_, &length), expected);
        return block_ != nullptr ? std::string(block_, length) : "";
    }

private:
    char *block_ = nullptr;
};

inline bool has(const std::string &text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

} // namespace varn::test
