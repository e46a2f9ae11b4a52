/// Clients that misbehave, engines that are killed, trees in odd places.
#include "device/wire/link.h"
#include "device/wire/nvram.h"
#include "device/wire/places.h"
#include "platform/mvtc.h"
#include "tests/engine/engine_fixture.h"
#include "tests/engine/scan_client.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <random>
#include <thread>

namespace varn::test {
namespace {

constexpr const char *all_sockets[] = {wire::link_socket, wire::action_socket, wire::image_socket,
                                       wire::control_socket};

class RobustnessTest : public EngineTest {
protected:
    wire::Descriptor connect(const char *place) const {
        wire::Descriptor fd = wire::connect_local(root(), place);
        EXPECT_TRUE(fd) << place;
        return fd;
    }

    void expect_alive() const {
        const Link link(root());
        wire::NvramTable table;
        EXPECT_EQ(mvtc_read_nvram(link, &table, 0, sizeof table), 0);
        EXPECT_EQ(state().at("status"), "idle");
    }

    /// Whether the engine closes the connection rather than wait or answer for ever.
    static bool is_closed(const wire::Descriptor &fd) {
        char byte;
        wire::Transfer transfer = wire::Transfer::done;
        while (transfer == wire::Transfer::done)
            transfer = wire::receive_all(fd.get(), &byte, 1, wire::now_ms() + 5000);
        return transfer != wire::Transfer::timed_out;
    }
};

TEST_F(RobustnessTest, garbage_ends_only_its_own_connection) {
    std::mt19937 random(1);
    for (const char *place : all_sockets)
        for (int round = 0; round < 20; ++round) {
            const wire::Descriptor fd = connect(place);
            std::string bytes(1 + random() % 2000, 0);
            for (char &byte : bytes)
                byte = static_cast<char>(random());
            wire::send_all(fd.get(), bytes.data(), bytes.size(), wire::now_ms() + 1000);
        }
    expect_alive();
}

TEST_F(RobustnessTest, impossible_commands_end_the_connection) {
    const auto action = [](auto edit) {
        wire::ActionCommand command;
        command.dwSignature = wire::action_signature;
        edit(command);
        return std::string(reinterpret_cast<const char *>(&command), sizeof command);
    };
    const auto link = [](auto edit) {
        wire::LinkRequest request;
        request.dwMagic = wire::link_request_magic;
        edit(request);
        return std::string(reinterpret_cast<const char *>(&request), sizeof request);
    };
    const std::pair<const char *, std::string> cases[] = {
        {wire::action_socket, action([](auto &c) { c.dwSignature = 545; })},
        {wire::action_socket, action([](auto &c) { c.byOPCode = 99; })},
        {wire::action_socket, action([](auto &c) {
             c.byOPCode = 42;
             c.bySubCommand = 75;
             c.dwLength = 0xFFFFFFFF;
         })},
        {wire::image_socket, action([](auto &c) { c.dwSignature = 1; })},
        {wire::image_socket, action([](auto &c) { c.bySubCommand = 5; })},
        {wire::image_socket, action([](auto &c) {
             c.byOPCode = 18;
             c.bySubCommand = 4;
         })},
        {wire::link_socket, link([](auto &r) { r.dwMagic = 7; })},
        {wire::link_socket, link([](auto &r) { r.dwLength = wire::link_max_payload + 1; })},
        {wire::control_socket, std::string(300000, 'x')},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const wire::Descriptor fd = connect(cases[i].first);
        wire::send_all(fd.get(), cases[i].second.data(), cases[i].second.size(),
                       wire::now_ms() + 1000);
        EXPECT_TRUE(is_closed(fd)) << "case " << i;
    }
    expect_alive();
}

TEST_F(RobustnessTest, action_records_go_out_as_they_came_in) {
    const wire::Descriptor fd = connect(wire::action_socket);
    const auto command = [&](std::uint8_t opcode, std::uint8_t sub, std::uint16_t selector,
                             std::uint32_t length, std::string payload, std::size_t answer) {
        wire::ActionCommand header;
        header.dwSignature = wire::action_signature;
        header.byOPCode = opcode;
        header.bySubCommand = sub;
        header.wDTQ = selector;
        header.dwLength = length;
        payload.insert(0, reinterpret_cast<const char *>(&header), sizeof header);
        wire::send_all(fd.get(), payload.data(), payload.size(), wire::now_ms() + 1000);
        std::string bytes(answer, 0);
        EXPECT_EQ(wire::receive_all(fd.get(), bytes.data(), answer, wire::now_ms() + 5000),
                  wire::Transfer::done);
        return bytes;
    };
    const std::string factory_gamma("\xB4\x00\xEB\x03\xEB\x03\xD2\x05\x5E\x00", 10);
    EXPECT_EQ(command(40, 75, 0, 10, "", 10), factory_gamma);
    command(42, 75, 0, 10, "0123456789", 0);
    command(42, 80, 1, 16, std::string(16, 'm'), 0);
    for (const std::uint16_t table : {2, 3, 4, 5})
        command(42, 12, table, 510, std::string(510, 't'), 0);
    command(42, 13, 1, 18, std::string(18, 'c'), 0);
    EXPECT_EQ(command(40, 75, 0, 10, "", 10), "0123456789");
    EXPECT_EQ(command(18, 2, 1, 0, "", 32), std::string(32, 0)) << "idle, no error, feeder empty";
    EXPECT_EQ(command(20, 6, 0, 32, "", 32), std::string(32, 0)) << "nothing to stop";
    ctl({"feeder", "load", "1"});
    EXPECT_EQ(command(18, 2, 0, 0, "", 32)[8], 2);
    ctl({"hatch", "open"});
    EXPECT_EQ(command(18, 2, 0, 0, "", 32)[8], 3);
}

TEST_F(RobustnessTest, images_without_a_scan_are_refused_at_once) {
    const wire::Descriptor fd = connect(wire::image_socket);
    for (const std::uint8_t sub_command : {7, 4}) {
        wire::ActionCommand command;
        command.dwSignature = wire::action_signature;
        command.bySubCommand = sub_command;
        wire::send_all(fd.get(), &command, sizeof command, wire::now_ms() + 1000);
        wire::BlockStatus status;
        ASSERT_EQ(wire::receive_all(fd.get(), &status, sizeof status, wire::now_ms() + 5000),
                  wire::Transfer::done);
        EXPECT_EQ(status.dwLastErr, wire::err_abort_scan);
        EXPECT_EQ(status.dwDataLength, 0U);
    }
}

TEST_F(RobustnessTest, crowds_and_sluggards_do_not_keep_others_out) {
    std::vector<wire::Descriptor> crowd;
    for (const char *place : all_sockets)
        for (int i = 0; i < 10; ++i) {
            crowd.push_back(connect(place));
            wire::send_all(crowd.back().get(), "\x20\x02", 2, wire::now_ms() + 1000);
        }
    expect_alive();
    EXPECT_LE(engine.threads(), 60);
    for (int i = 0; i < 200; ++i)
        crowd.push_back(wire::connect_local(root(), wire::action_socket));
    crowd.clear();
    for (int i = 0; i < 500 && engine.threads() > 5; ++i)
        usleep(10000);
    EXPECT_LE(engine.threads(), 5);
    expect_alive();
}

TEST_F(RobustnessTest, a_second_engine_is_refused) {
    const Finished second = run_program({ENGINE_PROGRAM, "--root", root()});
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.output.find("another engine already serves " + root()), std::string::npos)
        << second.output;
    expect_alive();
}

TEST_F(RobustnessTest, ending_is_clean_and_a_stale_socket_is_no_obstacle) {
    EXPECT_EQ(engine.end(SIGKILL), SIGKILL);
    EXPECT_EQ(run_ctl(root(), {"state"}).status, 3);
    for (const int signal : {SIGTERM, SIGINT}) {
        EngineProcess next(root());
        EXPECT_TRUE(next.ready());
        ctl({"state"});
        EXPECT_EQ(next.end(signal), 0);
        for (const char *place : all_sockets)
            EXPECT_FALSE(std::filesystem::exists(root() + place)) << place;
    }
}

TEST(DeepTree, any_root_works) {
    const TempTree tree;
    std::string root = tree.path();
    for (int i = 0; i < 5; ++i)
        root += "/a-rather-long-name-of-a-directory-in-a-deep-tree";
    std::filesystem::create_directories(root);
    const EngineProcess engine(root);
    ASSERT_TRUE(engine.ready());
    EXPECT_EQ(run_ctl(root, {"feeder", "load", "2"}).status, 0);
    EXPECT_EQ(scan(root, page_at(6, 2, 75)).images.size(), 2U);
}

/// Kills the engine while somebody writes: whatever it finds afterwards is whole.
TEST(KilledEngine, state_is_the_old_or_the_new_never_a_mixture) {
    const TempTree tree;
    std::mt19937 random(2);
    for (int round = 0; round < 15; ++round) {
        EngineProcess engine(tree.path());
        ASSERT_TRUE(engine.ready()) << "round " << round;
        const auto sheets = run_ctl(tree.path(), {"feeder", "list"});
        EXPECT_EQ(sheets.status, 0);
        std::atomic<bool> stop = false;
        std::thread writer([&] {
            const Link link(tree.path());
            for (std::uint8_t i = 1; !stop; ++i) {
                const std::vector<std::uint8_t> mark(119680, i);
                if (mvtc_write_nvram(link, 0, mark.data(), 288) < 0 ||
                    mvtc_write_H1_profile(link, mark.data(), 119680, 25) < 0)
                    return;
            }
        });
        std::thread loader([&] {
            while (!stop && run_ctl(tree.path(), {"feeder", "load", "40"}).status == 0)
                run_ctl(tree.path(), {"feeder", "empty"});
        });
        usleep(5000 + random() % 60000);
        EXPECT_EQ(engine.end(SIGKILL), SIGKILL);
        stop = true;
        writer.join();
        loader.join();
        for (const char *name : {"/datafs/nvram.bin", "/datafs/engine/profile-25"}) {
            const std::filesystem::path path = tree.path() + name;
            if (round == 0 && !std::filesystem::exists(path))
                continue;
            const bool nvram = path.filename() == "nvram.bin";
            ASSERT_EQ(std::filesystem::file_size(path), nvram ? 288U : 119680U);
            std::string content(std::filesystem::file_size(path), 0);
            FILE *file = std::fopen(path.c_str(), "rb");
            ASSERT_EQ(std::fread(content.data(), content.size(), 1, file), 1U);
            std::fclose(file);
            const bool is_new_device = nvram && content.compare(25, 10, "VS00000001") == 0;
            EXPECT_TRUE(is_new_device || content == std::string(content.size(), content[0]))
                << path;
        }
    }
    const EngineProcess engine(tree.path());
    ASSERT_TRUE(engine.ready());
    const auto state = nlohmann::json::parse(run_ctl(tree.path(), {"state"}).output);
    EXPECT_TRUE(state.at("feeder").size() % 40 == 0);
}

} // namespace
} // namespace varn::test
