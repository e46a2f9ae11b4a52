#include "device/ctl/control_client.h"

#include "device/wire/local_socket.h"
#include "device/wire/places.h"

namespace varn::ctl {

using nlohmann::json;

namespace {

/// Time for the engine's answer: it may have to write a stack of sheets.
constexpr std::int64_t answer_limit_ms = 30000;

/// An answer to its line end. Whatever comes behind it belongs to no request.
wire::Transfer receive_line(int fd, std::string &text, std::int64_t deadline) {
    wire::Transfer transfer = wire::Transfer::done;
    while (transfer == wire::Transfer::done && (text.empty() || text.back() != '\n')) {
        text.push_back(0);
        transfer = wire::receive_all(fd, &text.back(), 1, deadline);
    }
    return transfer;
}

} // namespace

json ask(const std::string &root, const json &request) {
    const wire::Descriptor fd = wire::connect_local(root, wire::control_socket);
    if (!fd)
        throw NoEngine("no engine serves " + root);
    const std::int64_t deadline = wire::now_ms() + answer_limit_ms;
    const std::string line = request.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
    wire::Transfer transfer = wire::send_all(fd.get(), line.data(), line.size(), deadline);
    std::string text;
    if (transfer == wire::Transfer::done)
        transfer = receive_line(fd.get(), text, deadline);
    if (transfer != wire::Transfer::done)
        throw NoEngine("the engine does not answer");
    json answer = json::parse(text);
    if (!answer.at("ok").get<bool>())
        throw std::runtime_error(answer.at("error").get<std::string>());
    return answer;
}

} // namespace varn::ctl
