#include "device/engine/link_server.h"

#include "device/engine/files.h"
#include "device/wire/link.h"

#include <cstring>

namespace varn::engine {
namespace {

using wire::LinkOperation;

struct Request {
    LinkOperation operation;
    std::uint64_t args[4];
    Bytes payload;
};

struct Reply {
    std::int32_t result = wire::link_refused;
    Bytes payload;
};

Reply done(bool accepted) { return {accepted ? 0 : wire::link_refused, {}}; }

Reply with(Bytes payload) { return {0, std::move(payload)}; }

template <typename Record>
Reply with_record(const Record &record) {
    const auto bytes = bytes_of(record);
    return with(Bytes(bytes.begin(), bytes.end()));
}

Reply read_nvram(const Nvram &nvram, std::uint64_t offset, std::uint64_t size) {
    if (size > sizeof(wire::NvramTable))
        return {};
    Bytes bytes(size);
    return nvram.read(offset, bytes) ? with(std::move(bytes)) : Reply();
}

Reply write_language(Engine &engine, const Request &request) {
    wire::u32le code;
    if (request.payload.size() != sizeof code)
        return {};
    std::memcpy(&code, request.payload.data(), sizeof code);
    if (code != request.args[0])
        return {};
    return done(engine.nvram().change([&](auto &table) { table.panel_language = code; }));
}

Reply read_parameter(Engine &engine, std::uint64_t id, std::uint64_t size) {
    if (size == 0 || size != Storage::parameter_size(id))
        return {};
    return id == time_parameter ? with_record(engine.clock().read())
                                : with(engine.storage().parameter(id));
}

Reply write_parameter(Engine &engine, std::uint64_t id, const Bytes &block) {
    return done(id == time_parameter ? engine.clock().write(block)
                                     : engine.storage().set_parameter(id, block));
}

Reply read_profile(Engine &engine, std::uint64_t id, std::uint64_t size) {
    constexpr std::uint64_t test_result_id = 5566;
    if (id == test_result_id && size == sizeof(wire::i32le))
        return with_record(wire::i32le(engine.connection_test().result()));
    if (size == 0 || size != Storage::profile_area_size(id))
        return {};
    return with(engine.storage().profile(id));
}

Reply test_profile(Engine &engine, std::uint64_t command, std::uint64_t slot) {
    constexpr std::uint64_t start = 1;
    if (command != start || !engine.test_connection(slot))
        return {};
    return with_record(wire::i32le(engine.connection_test().result()));
}

/// Entries that the limit of network hosts counts: those over USB are not limited.
std::uint32_t network_hosts(const Storage &storage) {
    std::uint32_t count = 0;
    const Bytes list =
        storage.list_entries(pc_list, storage.list_count(pc_list) * pc_list.entry_size);
    for (std::size_t at = 0; at < list.size(); at += pc_list.entry_size) {
        wire::u32le link_type;
        std::memcpy(&link_type, list.data() + at + offsetof(wire::PcListEntry, dwLinkType),
                    sizeof link_type);
        count += link_type != 0 ? 1 : 0;
    }
    return count;
}

Reply read_list(const Storage &storage, const ListKind &kind, std::uint64_t id,
                std::uint64_t size) {
    constexpr std::uint64_t count_id = 4;
    constexpr std::uint64_t entries_id = 5;
    constexpr std::uint64_t limit_id = 7;
    const bool is_job_list = &kind == &job_list;
    if (id == count_id && size == sizeof(wire::u32le))
        return with_record(wire::u32le(storage.list_count(kind)));
    if (id == limit_id && !is_job_list && size == sizeof(wire::u32le))
        return with_record(wire::u32le(network_hosts(storage)));
    if (id == entries_id && size % kind.entry_size == 0 && size <= kind.capacity * kind.entry_size)
        return with(storage.list_entries(kind, size));
    return {};
}

Reply read_net_service(Engine &engine, const Request &request) {
    if (request.args[0] > UINT32_MAX || request.args[1] != wire::net::block_size)
        return {};
    Bytes block = engine.net().read(static_cast<std::uint32_t>(request.args[0]));
    return block.empty() ? Reply() : with(std::move(block));
}

Reply write_net_service(Engine &engine, const Request &request) {
    return done(request.args[0] <= UINT32_MAX &&
                engine.net().write(static_cast<std::uint32_t>(request.args[0]), request.payload));
}

Reply read_job_list(Engine &engine, std::uint64_t id, std::uint64_t size) {
    constexpr std::uint64_t started_job_id = 6;
    if (id == started_job_id && size == sizeof(wire::StartedJob))
        return with_record(engine.started_job());
    return read_list(engine.storage(), job_list, id, size);
}

Reply write_list(Storage &storage, const ListKind &kind, const Request &request) {
    constexpr std::uint64_t add = 1;
    constexpr std::uint64_t remove = 2;
    if (request.args[0] == add)
        return done(storage.list_add(kind, request.payload));
    return done(request.args[0] == remove && storage.list_remove(kind, request.payload));
}

Reply write_scan_param(Engine &engine, const Bytes &payload) {
    wire::ScanParam param;
    if (payload.size() != sizeof param)
        return {};
    std::memcpy(static_cast<void *>(&param), payload.data(), sizeof param);
    return done(engine.set_scan_param(param));
}

Reply start_scan(Engine &engine, std::uint64_t stored, std::weak_ptr<ScanJob> &started) {
    if (stored > 1)
        return {};
    const auto job = engine.start_scan();
    if (!job)
        return {};
    started = job;
    return with_record(engine.status());
}

/// What the device has no answer for yet is refused, as is everything unknown.
Reply perform(Engine &engine, const Request &request, std::weak_ptr<ScanJob> &started) {
    Storage &storage = engine.storage();
    const auto &args = request.args;
    switch (request.operation) {
    case LinkOperation::read_nvram:
        return read_nvram(engine.nvram(), args[0], args[1]);
    case LinkOperation::write_nvram:
        return done(engine.nvram().write(args[0], request.payload));
    case LinkOperation::write_sleep_time:
        return done(engine.nvram().set_minutes_to_sleep(static_cast<std::uint32_t>(args[0])));
    case LinkOperation::write_auto_off_time:
        return done(engine.nvram().set_minutes_to_auto_off(static_cast<std::uint32_t>(args[0])));
    case LinkOperation::write_language:
        return write_language(engine, request);
    case LinkOperation::factory_default:
        return done(engine.restore_factory());
    case LinkOperation::read_parameter:
        return read_parameter(engine, args[0], args[1]);
    case LinkOperation::write_parameter:
        return write_parameter(engine, args[0], request.payload);
    case LinkOperation::read_profile:
        return read_profile(engine, args[0], args[1]);
    case LinkOperation::write_profile:
        return done(storage.set_profile(args[0], request.payload));
    case LinkOperation::read_counters:
        return with_record(engine.tally().counters());
    case LinkOperation::read_pc_list:
        return read_list(storage, pc_list, args[0], args[1]);
    case LinkOperation::write_pc_list:
        return write_list(storage, pc_list, request);
    case LinkOperation::read_job_list:
        return read_job_list(engine, args[0], args[1]);
    case LinkOperation::write_job_list:
        return write_list(storage, job_list, request);
    case LinkOperation::read_scan_param:
        return with_record(engine.scan_param());
    case LinkOperation::write_scan_param:
        return write_scan_param(engine, request.payload);
    case LinkOperation::pick_media:
        return with_record(engine.pick_media());
    case LinkOperation::start_scan:
        return start_scan(engine, args[0], started);
    case LinkOperation::arm_blocks:
        return done(engine.arm());
    case LinkOperation::scan_sent:
        return with_record(wire::BlockStatus());
    case LinkOperation::set_document_format:
        if (args[0] > static_cast<std::uint64_t>(DocumentFormat::raw))
            return {};
        engine.set_next_format(static_cast<DocumentFormat>(args[0]));
        return done(true);
    case LinkOperation::test_profile:
        return test_profile(engine, args[0], args[1]);
    case LinkOperation::write_firmware:
        break;
    case LinkOperation::read_net_service:
        return read_net_service(engine, request);
    case LinkOperation::write_net_service:
        return write_net_service(engine, request);
    }
    return {};
}

bool receive(Client &client, wire::LinkRequest &header, Request &request) {
    if (!client.receive_request(writable_bytes(header)) ||
        header.dwMagic != wire::link_request_magic || header.dwLength > wire::link_max_payload)
        return false;
    request.operation = static_cast<LinkOperation>(std::uint16_t{header.wOperation});
    std::copy(std::begin(header.args), std::end(header.args), request.args);
    request.payload.resize(header.dwLength);
    return client.receive(request.payload);
}

bool send(Client &client, std::uint32_t sequence, const Reply &reply) {
    wire::LinkReply header;
    header.dwMagic = wire::link_reply_magic;
    header.dwSequence = sequence;
    header.result = reply.result;
    header.dwLength = static_cast<std::uint32_t>(reply.payload.size());
    return client.send(bytes_of(header)) && client.send(reply.payload);
}

} // namespace

void serve_link(Engine &engine, Client &client, const std::function<void()> &settle) {
    std::weak_ptr<ScanJob> started;
    wire::LinkRequest header;
    Request request;
    while (receive(client, header, request)) {
        if (request.operation == LinkOperation::start_scan)
            settle();
        if (!send(client, header.dwSequence, perform(engine, request, started)))
            break;
    }
    const std::shared_ptr<ScanJob> left_behind = started.lock();
    if (engine.is_unclaimed(left_behind)) // whoever wanted it has gone before its first image
        engine.finish(left_behind);
}

} // namespace varn::engine
