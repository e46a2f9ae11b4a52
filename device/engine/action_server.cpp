#include "device/engine/action_server.h"

#include "device/engine/files.h"

#include <array>

namespace varn::engine {
namespace {

enum OpCode : std::uint8_t { op_status = 18, op_stop = 20, op_read = 40, op_write = 42 };
enum SubCommand : std::uint8_t { sub_status = 2, sub_stop = 6 };

/// A record that commands 40 and 42 move, by sub-command and selector.
struct RecordCommand {
    std::uint8_t opcode;
    std::uint8_t sub_command;
    std::uint16_t selector;
    const RecordKind *record;
};
constexpr std::array<RecordCommand, 8> record_commands = {{
    {op_read, 75, 0, &gamma_record},
    {op_write, 75, 0, &gamma_record},
    {op_write, 80, 1, &multipick_record},
    {op_write, 12, 2, &tone_tables[0]},
    {op_write, 12, 3, &tone_tables[1]},
    {op_write, 12, 4, &tone_tables[2]},
    {op_write, 12, 5, &tone_tables[3]},
    {op_write, 13, 1, &colour_matrix},
}};

const RecordCommand *find_record(const wire::ActionCommand &command) {
    for (const RecordCommand &row : record_commands)
        if (row.opcode == command.byOPCode && row.sub_command == command.bySubCommand &&
            row.selector == command.wDTQ && row.record->size == command.dwLength)
            return &row;
    return nullptr;
}

/// False ends the connection: after a command that nobody knows the stream may hold anything.
bool perform(Engine &engine, Client &client, const wire::ActionCommand &command) {
    if (command.dwSignature != wire::action_signature)
        return false;
    if (command.byOPCode == op_status && command.bySubCommand == sub_status)
        return client.send(bytes_of(engine.status()));
    if (command.byOPCode == op_stop && command.bySubCommand == sub_stop) {
        engine.stop_scan();
        return client.send(bytes_of(engine.status()));
    }
    const RecordCommand *row = find_record(command);
    if (!row)
        return false;
    if (row->opcode == op_read)
        return client.send(engine.storage().record(*row->record));
    Bytes content(row->record->size);
    return client.receive(content) && engine.storage().set_record(*row->record, content);
}

} // namespace

void serve_actions(Engine &engine, Client &client) {
    wire::ActionCommand command;
    while (client.receive_request(writable_bytes(command)) && perform(engine, client, command)) {
    }
}

} // namespace varn::engine
