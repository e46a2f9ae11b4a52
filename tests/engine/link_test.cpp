/// The operations of libkob_common against a running engine.
#include "device/kob_common/link.h"
#include "device/wire/link.h"
#include "device/wire/nvram.h"
#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"
#include "tests/engine/scan_client.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <functional>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace varn::test {
namespace {

using Buffer = std::vector<std::uint8_t>;

class LinkTest : public EngineTest {
protected:
    wire::NvramTable flash() const {
        return read_record<wire::NvramTable>(root() + wire::nvram_file);
    }
    wire::PowerInfo power() const {
        return read_record<wire::PowerInfo>(root() + wire::power_file);
    }

    Link link{root()};
};

TEST_F(LinkTest, first_start_makes_a_new_device) {
    const wire::NvramTable table = flash();
    EXPECT_EQ(std::string(table.serial_number, 10), "VS00000001");
    const std::string uuid(table.uuid, 36);
    EXPECT_EQ(std::ranges::count(uuid, '-'), 4) << uuid;
    EXPECT_EQ(table.adf_pages, 0U);
    EXPECT_GE(table.manufacture_month, 1);
    EXPECT_EQ(power().minutes_to_sleep, 13U);
    EXPECT_EQ(power().minutes_to_auto_off, 120U);
}

TEST_F(LinkTest, nvram_writes_are_on_flash_before_they_return) {
    wire::NvramTable table;
    ASSERT_EQ(mvtc_read_nvram(link, &table, 0, sizeof table), 0);
    std::strcpy(table.asset_number, "A-4711");
    ASSERT_EQ(mvtc_write_nvram(link, 0, &table, sizeof table), 0);
    EXPECT_STREQ(flash().asset_number, "A-4711");

    const std::uint16_t count = 77;
    ASSERT_EQ(mvtc_write_nvram(link, offsetof(wire::NvramTable, jam_events), &count, 2), 0);
    EXPECT_EQ(flash().jam_events, 77);
    EXPECT_STREQ(flash().asset_number, "A-4711");
}

TEST_F(LinkTest, settings_reach_their_place_on_flash) {
    const wire::u32le language(0x01020304);
    EXPECT_EQ(mvtc_write_lcdc(link, &language, 4, 0x01020304), 0);
    EXPECT_EQ(flash().panel_language, 0x01020304U);
    EXPECT_LT(mvtc_write_lcdc(link, &language, 4, 5), 0) << "two different codes";
    EXPECT_EQ(mvtc_write_sleeptime(link, 60), 0);
    EXPECT_EQ(mvtc_write_autoofftime(link, 480), 0);
    EXPECT_EQ(power().minutes_to_sleep, 60U);
    EXPECT_EQ(power().minutes_to_auto_off, 480U);
}

TEST_F(LinkTest, factory_default_keeps_identity_and_counts) {
    wire::NvramTable table;
    ASSERT_EQ(mvtc_read_nvram(link, &table, 0, sizeof table), 0);
    table.adf_pages = 1234;
    table.panel_language = 9;
    std::strcpy(table.asset_number, "gone");
    ASSERT_EQ(mvtc_write_nvram(link, 0, &table, sizeof table), 0);
    Buffer block(128, 5);
    ASSERT_EQ(mvtc_write_h1_parameter(link, block.data(), 128, 9), 0);

    ASSERT_EQ(mvtc_cmd_factorydefault(link), 0);
    EXPECT_EQ(flash().adf_pages, 1234U);
    EXPECT_EQ(std::memcmp(flash().uuid, table.uuid, sizeof table.uuid), 0);
    EXPECT_EQ(flash().panel_language, 0U);
    EXPECT_STREQ(flash().asset_number, "");
    ASSERT_EQ(mvtc_read_h1_parameter(link, block.data(), 128, 9), 0);
    EXPECT_EQ(block, Buffer(128, 0));
    Buffer web(212);
    ASSERT_EQ(mvtc_read_h1_parameter(link, web.data(), 212, 4), 0);
    EXPECT_EQ(web[27], 1) << "scanning over eSCL is on in a new device";
}

/// Blocks that are kept under an identifier.
struct KeptBlock {
    const char *name;
    std::uint32_t id;
    std::uint32_t size;
    int32_t (*read)(std::uint32_t, void *, std::uint32_t, std::uint32_t);
    int32_t (*write)(std::uint32_t, const void *, std::uint32_t, std::uint32_t);
};
constexpr KeptBlock kept_blocks[] = {
    {"send to USB", 3, 1720, mvtc_read_h1_parameter, mvtc_write_h1_parameter},
    {"web", 4, 212, mvtc_read_h1_parameter, mvtc_write_h1_parameter},
    {"eSCL", 9, 128, mvtc_read_h1_parameter, mvtc_write_h1_parameter},
    {"email", 0, 5984, mvtc_read_H1_profile, mvtc_write_H1_profile},
    {"USB profile", 1, 5984, mvtc_read_H1_profile, mvtc_write_H1_profile},
    {"SharePoint", 4, 5984, mvtc_read_H1_profile, mvtc_write_H1_profile},
    {"job table", 25, 119680, mvtc_read_H1_profile, mvtc_write_H1_profile},
};

TEST_F(LinkTest, blocks_are_kept_over_a_restart) {
    for (const KeptBlock &kept : kept_blocks) {
        Buffer block(kept.size, 0xEE);
        ASSERT_EQ(kept.read(link, block.data(), kept.size, kept.id), 0) << kept.name;
        const auto mark = static_cast<std::uint8_t>(kept.size + kept.id);
        ASSERT_EQ(kept.write(link, Buffer(kept.size, mark).data(), kept.size, kept.id), 0);
        EXPECT_LT(kept.write(link, block.data(), kept.size - 1, kept.id), 0) << "wrong size";
    }
    EXPECT_EQ(engine.end(SIGTERM), 0);
    const EngineProcess again(root());
    const Link new_link(root());
    for (const KeptBlock &kept : kept_blocks) {
        Buffer block(kept.size);
        ASSERT_EQ(kept.read(new_link, block.data(), kept.size, kept.id), 0) << kept.name;
        EXPECT_EQ(block, Buffer(kept.size, static_cast<std::uint8_t>(kept.size + kept.id)));
    }
}

TEST_F(LinkTest, the_size_tells_a_sharepoint_profile_from_the_web_block) {
    Buffer web(212, 7);
    ASSERT_EQ(mvtc_write_h1_parameter(link, web.data(), 212, 4), 0);
    const Buffer sent(5984, 9);
    ASSERT_EQ(mvtc_write_h1_parameter(link, sent.data(), 5984, 4), 0);
    ASSERT_EQ(mvtc_read_h1_parameter(link, web.data(), 212, 4), 0);
    EXPECT_EQ(web, Buffer(212, 7));
    Buffer profile(5984);
    ASSERT_EQ(mvtc_read_H1_profile(link, profile.data(), 5984, 4), 0);
    EXPECT_EQ(profile, sent);
}

TEST_F(LinkTest, connection_tests_come_to_what_was_told) {
    const auto last_result = [&] {
        wire::i32le word(77);
        EXPECT_EQ(mvtc_read_H1_profile(link, &word, 4, 5566), 0);
        return std::int32_t{word};
    };
    EXPECT_EQ(last_result(), -1);
    Buffer table(119680);
    table[19 * 5984 + 4] = 7; // the last slot holds a job
    ASSERT_EQ(mvtc_write_H1_profile(link, table.data(), 119680, 25), 0);
    struct Outcome {
        const char *name;
        std::int32_t word;
    };
    for (const Outcome &outcome : {Outcome{"not-found", 304}, Outcome{"no-folder", 305},
                                   Outcome{"wrong-credentials", 306}, Outcome{"success", 0}}) {
        ctl({"sharepoint", outcome.name, "0"});
        wire::i32le word(77);
        ASSERT_EQ(mvtc_cmd_H1_profile(link, 1, 19, &word), 0) << outcome.name;
        EXPECT_EQ(word, outcome.word) << outcome.name;
        EXPECT_EQ(last_result(), outcome.word) << outcome.name;
    }
    ctl({"sharepoint", "no-folder", "300"});
    wire::i32le running;
    ASSERT_EQ(mvtc_cmd_H1_profile(link, 1, 19, &running), 0);
    EXPECT_EQ(running, 1);
    wire::i32le word(77);
    EXPECT_LT(mvtc_cmd_H1_profile(link, 2, 19, &word), 0) << "no such command";
    EXPECT_LT(mvtc_cmd_H1_profile(link, 1, 18, &word), 0) << "a free slot";
    EXPECT_EQ(word, 77);
    usleep(320000);
    EXPECT_EQ(last_result(), 305);
}

struct ListCase {
    std::size_t entry_size;
    std::size_t key_offset;
    int32_t (*read)(std::uint32_t, void *, std::uint32_t, std::uint32_t);
    int32_t (*write)(std::uint32_t, const void *, std::uint32_t);
};

TEST_F(LinkTest, lists_add_replace_and_remove_by_key) {
    for (const ListCase &list : {ListCase{4312, 256, mvtc_read_H1_PCList, mvtc_write_H1_PCList},
                                 ListCase{368, 312, mvtc_read_H1_RJList, mvtc_write_H1_RJList}}) {
        const auto entry = [&](const char *key, std::uint8_t mark) {
            Buffer bytes(list.entry_size);
            bytes[0] = mark;
            std::memcpy(&bytes[list.key_offset], key, std::strlen(key));
            return bytes;
        };
        const auto count = [&] {
            wire::u32le number(99);
            EXPECT_EQ(list.read(link, &number, 4, 4), 0);
            return std::uint32_t{number};
        };
        EXPECT_EQ(count(), 0U);
        EXPECT_EQ(list.write(link, entry("one", 'a').data(), 1), 0);
        EXPECT_EQ(list.write(link, entry("two", 'b').data(), 1), 0);
        EXPECT_EQ(list.write(link, entry("one", 'c').data(), 1), 0);
        EXPECT_EQ(count(), 2U);
        Buffer both(2 * list.entry_size);
        ASSERT_EQ(list.read(link, both.data(), static_cast<std::uint32_t>(both.size()), 5), 0);
        EXPECT_EQ(both[0], 'c');
        EXPECT_EQ(both[list.entry_size], 'b');
        EXPECT_EQ(list.write(link, entry("one", 0).data(), 2), 0);
        EXPECT_EQ(count(), 1U);
        EXPECT_LT(list.write(link, entry("one", 0).data(), 3), 0) << "no such operation";
    }
}

wire::StoredJob stored_job(const std::string &uuid) {
    wire::StoredJob job;
    uuid.copy(job.szJobUUID, sizeof job.szJobUUID - 1);
    ("job " + uuid).copy(job.szJobName, sizeof job.szJobName - 1);
    return job;
}

TEST_F(LinkTest, five_stored_jobs_outlive_the_engine_and_the_started_mark_does_not) {
    for (const char *uuid : {"a", "b", "c", "d", "e"}) {
        const wire::StoredJob job = stored_job(uuid);
        EXPECT_EQ(mvtc_write_H1_RJList(link, &job, 1), 0) << uuid;
    }
    const wire::StoredJob sixth = stored_job("f");
    EXPECT_LT(mvtc_write_H1_RJList(link, &sixth, 1), 0);
    ctl({"stored", "start", "d"});
    wire::StartedJob started;
    ASSERT_EQ(mvtc_read_H1_RJList(link, &started, sizeof started, 6), 0);
    EXPECT_EQ(started.dwFlag, 1U);
    EXPECT_STREQ(started.szJobUUID, "d");
    EXPECT_LT(mvtc_read_H1_RJList(link, &started, 32, 6), 0) << "wrong size";
    const wire::StoredJob third = stored_job("c");
    EXPECT_EQ(mvtc_write_H1_RJList(link, &third, 2), 0);

    EXPECT_EQ(engine.end(SIGTERM), 0);
    const EngineProcess again(root());
    const Link new_link(root());
    wire::u32le count;
    ASSERT_EQ(mvtc_read_H1_RJList(new_link, &count, 4, 4), 0);
    ASSERT_EQ(count, 4U);
    wire::StoredJob jobs[4];
    ASSERT_EQ(mvtc_read_H1_RJList(new_link, jobs, sizeof jobs, 5), 0);
    EXPECT_STREQ(jobs[2].szJobUUID, "d");
    EXPECT_STREQ(jobs[3].szJobName, "job e");
    ASSERT_EQ(mvtc_read_H1_RJList(new_link, &started, sizeof started, 6), 0);
    EXPECT_EQ(started.dwFlag, 0U);
}

TEST_F(LinkTest, walk_up_hosts_are_kept_and_those_of_the_network_counted) {
    const auto add = [this](const char *uuid, std::uint32_t link_type) {
        wire::PcListEntry entry;
        std::strcpy(entry.szPCUUID, uuid);
        entry.dwLinkType = link_type;
        EXPECT_EQ(mvtc_write_H1_PCList(link, &entry, 1), 0) << uuid;
    };
    add("usb", 0);
    add("first", 1);
    add("second", 1);
    const auto number = [](std::uint32_t fd, std::uint32_t id) {
        wire::u32le value(99);
        EXPECT_EQ(mvtc_read_H1_PCList(fd, &value, sizeof value, id), 0);
        return std::uint32_t{value};
    };
    EXPECT_EQ(number(link, 4), 3U);
    EXPECT_EQ(number(link, 7), 2U);
    add("second", 0);
    EXPECT_EQ(number(link, 7), 1U);
    EXPECT_EQ(engine.end(SIGTERM), 0);
    const EngineProcess again(root());
    const Link new_link(root());
    EXPECT_EQ(number(new_link, 4), 3U);
    EXPECT_EQ(number(new_link, 7), 1U);
}

TEST_F(LinkTest, what_is_refused_leaves_the_buffer_alone) {
    const std::function<int32_t(void *)> refused[] = {
        [&](void *b) { return mvtc_read_nvram(link, b, 1, 288); },
        [&](void *b) { return mvtc_read_nvram(link, b, 0xFFFFFFFF, 2); },
        [&](void *b) { return mvtc_read_nvram(link, b, 0, 0); },
        [&](void *b) { return mvtc_write_nvram(link, 288, b, 1); },
        [&](void *b) { return mvtc_read_h1_parameter(link, b, 128, 8); },
        [&](void *b) { return mvtc_read_h1_parameter(link, b, 129, 9); },
        [&](void *b) { return mvtc_read_h1_parameter(link, b, 0, 8); },
        [&](void *b) { return mvtc_read_H1_profile(link, b, 4, 7); },
        [&](void *b) { return mvtc_read_H1_profile(link, b, 8, 5566); },
        [&](void *b) { return mvtc_write_H1_profile(link, b, 4, 5566); },
        [&](void *b) { return mvtc_read_h1_parameter(link, b, 3579, 2); },
        [&](void *b) { return mvtc_write_h1_parameter(link, b, 3581, 2); },
        [&](void *b) { return mvtc_read_h1_parameter(link, b, 5984, 4); },
        [&](void *b) { return mvtc_write_h1_parameter(link, b, 5984, 3); },
        [&](void *b) { return mvtc_cmd_H1_profile(link, 1, 0, b); }, // a free slot
        [&](void *b) { return mvtc_cmd_H1_profile(link, 1, 20, b); },
        [&](void *b) { return mvtc_read_H1_PCList(link, b, 100, 5); },
        [&](void *b) { return mvtc_read_H1_PCList(link, b, 8, 4); },
        [&](void *b) { return mvtc_read_H1_RJList(link, b, 100, 5); },
        [&](void *b) { return mvtc_read_H1_RJList(link, b, 8, 4); },
        [&](void *b) { return mvtc_read_NetworkServer(link, 1, b, 64); },
        [&](void *b) { return mvtc_write_fwpackage(link, 1, 2, reinterpret_cast<uintptr_t>(b)); },
        [&](void *b) { return mvtc_cmd_startscan(link, b, 2); },
        [&](void *b) { return mvtc_read_nvram(9999, b, 0, 288); },
        [&](void *b) { return mvtc_read_nvram(0xFFFFFFFF, b, 0, 288); },
        [&](void *) { return mvtc_read_nvram(link, nullptr, 0, 288); },
        [&](void *) { return mvtc_read_blockimage(link); },
    };
    for (std::size_t i = 0; i < std::size(refused); ++i) {
        Buffer buffer(8192, 0xA5);
        EXPECT_LT(refused[i](buffer.data()), 0) << "case " << i;
        EXPECT_EQ(buffer, Buffer(8192, 0xA5)) << "case " << i;
    }
    wire::u32le count(5);
    EXPECT_EQ(mvtc_read_H1_PCList(link, &count, 4, 7), 0) << "the link is still good";
    EXPECT_EQ(count, 0U);
}

TEST_F(LinkTest, scan_settings_are_kept_when_possible) {
    using Edit = void (*)(wire::ScanParam &);
    const Edit impossible[] = {
        [](wire::ScanParam &p) { p.dwADF = 5; },
        [](wire::ScanParam &p) { p.byOutDataType = 0; },
        [](wire::ScanParam &p) { p.byOutDataType = 4; },
        [](wire::ScanParam &p) { p.wXresolution = 0; },
        [](wire::ScanParam &p) { p.wYresolution = 0; },
        [](wire::ScanParam &p) { p.wXresolution = 9600; },
        [](wire::ScanParam &p) { p.window.xExtent = 0; },
        [](wire::ScanParam &p) { p.window.yExtent = 0; },
        [](wire::ScanParam &p) { p.window.xExtent = 1U << 20; },
        [](wire::ScanParam &p) { p.window.yExtent = 0xFFFFFFFF; },
        [](wire::ScanParam &p) { p.window.yPos = 0xFFFFFFFF; },
    };
    const wire::ScanParam good = page_at(4, 2, 200);
    ASSERT_EQ(mvtc_write_scan_param(link, &good), 0);
    for (std::size_t i = 0; i < std::size(impossible); ++i) {
        wire::ScanParam bad = page_at(6, 3);
        impossible[i](bad);
        EXPECT_LT(mvtc_write_scan_param(link, &bad), 0) << "case " << i;
    }
    wire::ScanParam kept;
    ASSERT_EQ(mvtc_read_scan_param(link, &kept), 0);
    EXPECT_EQ(std::memcmp(&kept, &good, sizeof kept), 0);
}

TEST_F(LinkTest, one_link_serves_many_threads) {
    std::vector<std::thread> threads;
    std::atomic<int> wrong = 0;
    for (std::uint8_t id = 0; id < 4; ++id)
        threads.emplace_back([&, id] {
            const KeptBlock &kept = kept_blocks[id];
            for (std::uint8_t i = 1; i < 10; ++i) {
                Buffer block(kept.size, static_cast<std::uint8_t>(16 * id + i));
                const Buffer expected = block;
                wrong += kept.write(link, block.data(), kept.size, kept.id) != 0;
                wrong += kept.read(link, block.data(), kept.size, kept.id) != 0;
                wrong += block != expected;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(LinkTest, a_dead_link_fails_until_it_is_replaced) {
    const int number = kob_link_open(root().c_str());
    const auto fd = static_cast<std::uint32_t>(number);
    EXPECT_EQ(engine.end(SIGKILL), SIGKILL);
    wire::NvramTable table;
    EXPECT_LT(mvtc_read_nvram(fd, &table, 0, sizeof table), 0);
    EXPECT_LT(mvtc_read_nvram(fd, &table, 0, sizeof table), 0);

    const EngineProcess again(root());
    const int replacement = kob_link_open(root().c_str());
    ASSERT_EQ(dup2(replacement, number), number);
    kob_link_close(replacement);
    EXPECT_EQ(mvtc_read_nvram(fd, &table, 0, sizeof table), 0);
    kob_link_close(number);
}

/// An engine that answers wrongly.
TEST(LinkReplies, a_broken_reply_ends_the_link) {
    using Spoil = void (*)(wire::LinkReply &);
    const Spoil spoils[] = {
        [](wire::LinkReply &r) { r.dwMagic = 1; },
        [](wire::LinkReply &r) { r.dwSequence = r.dwSequence + 1; },
        [](wire::LinkReply &r) { r.dwLength = 287; },
        [](wire::LinkReply &r) { r.dwLength = 0xFFFFFFFF; },
        [](wire::LinkReply &r) { r.result = -5; }, // a refusal with a payload
    };
    for (std::size_t i = 0; i < std::size(spoils); ++i) {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        std::thread engine([&] {
            wire::LinkRequest request;
            ASSERT_EQ(read(ends[1], &request, sizeof request), ssize_t{sizeof request});
            wire::LinkReply reply;
            reply.dwMagic = wire::link_reply_magic;
            reply.dwSequence = request.dwSequence;
            reply.dwLength = 288;
            spoils[i](reply);
            ASSERT_EQ(write(ends[1], &reply, sizeof reply), ssize_t{sizeof reply});
            const Buffer payload(288, 1);
            send(ends[1], payload.data(), payload.size(), MSG_NOSIGNAL);
        });
        Buffer table(288, 0xA5);
        const auto fd = static_cast<std::uint32_t>(ends[0]);
        EXPECT_LT(mvtc_read_nvram(fd, table.data(), 0, 288), 0) << "case " << i;
        EXPECT_EQ(table, Buffer(288, 0xA5)) << "case " << i;
        engine.join();
        EXPECT_LT(mvtc_write_sleeptime(fd, 1), 0) << "case " << i;
        close(ends[0]);
        close(ends[1]);
    }
}

} // namespace
} // namespace varn::test
