#include "fuzz/targets.h"

#include <algorithm>
#include <iterator>

namespace varn::fuzz {
namespace {

constexpr Target all[] = {
    {"documents", take_document}, {"engine", take_engine},    {"files", take_file},
    {"http", take_http},          {"messages", take_message}, {"network", take_network},
    {"scan", take_scan},
};

} // namespace

std::span<const Target> targets() { return all; }

const Target *find_target(std::string_view name) {
    const auto *target =
        std::ranges::find(all, name, [](const Target &t) { return std::string_view(t.name); });
    return target != std::end(all) ? target : nullptr;
}

} // namespace varn::fuzz
