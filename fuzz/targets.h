/// What is fuzzed. A target takes one input; a fault shows as a sanitizer's report or an abort.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace varn::fuzz {

using Input = std::span<const uint8_t>;

struct Target {
    const char *name;
    void (*take)(Input input);
};
std::span<const Target> targets();
/// Null for a name that is none.
const Target *find_target(std::string_view name);

/// One request document for each function that takes one. The first byte chooses the function.
void take_document(Input input);
/// A stored file as somebody else left it, and the calls that read it. The first byte chooses.
void take_file(Input input);
/// What the engine answers: records, lists, parameter blocks, and the action socket.
void take_engine(Input input);
/// The net service's status block, and a GET of the network. The first byte chooses the GET.
void take_network(Input input);
/// A text message to the net service.
void take_message(Input input);
/// What the engine sends while it scans: block records, ring, pages, replies on the link.
void take_scan(Input input);
/// A client's bytes, from its request line on, through the server's resources.
void take_http(Input input);

inline std::string text_of(Input input) {
    return {reinterpret_cast<const char *>(input.data()), input.size()};
}

/// The row that the first byte of an input chooses: letters in the order of the rows, so that an
/// input can be written by hand.
template <typename Row, size_t Count>
const Row &choose(const Row (&rows)[Count], Input &input) {
    const uint8_t byte = input.empty() ? 'a' : input[0];
    input = input.empty() ? input : input.subspan(1);
    return rows[static_cast<uint8_t>(byte - 'a') % Count];
}

} // namespace varn::fuzz
