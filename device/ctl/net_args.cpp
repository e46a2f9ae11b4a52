#include "device/ctl/net_args.h"

#include <cstdio>
#include <optional>

namespace varn::ctl {
namespace {

using nlohmann::json;
using Words = std::vector<std::string>;

std::optional<bool> switched(const std::string &word, const char *on, const char *off) {
    if (word == on)
        return true;
    return word == off ? std::optional(false) : std::nullopt;
}

/// add SSID SECURITY [PASSPHRASE] [SIGNAL]; only what has a pass phrase takes one.
json add_request(const Words &words) {
    const bool has_phrase = words.size() > 4 && (words[4].empty() || words[4].size() > 1);
    const std::size_t signal = has_phrase ? 5 : 4;
    if (words.size() < 4 || words.size() > signal + 1)
        return nullptr;
    json request = {{"do", "net network add"}, {"ssid", words[2]}, {"security", words[3]}};
    if (has_phrase)
        request["passPhrase"] = words[4];
    if (words.size() > signal) {
        if (words[signal].size() != 1 || words[signal][0] < '0' || words[signal][0] > '9')
            return nullptr;
        request["signal"] = words[signal][0] - '0';
    }
    return request;
}

json dhcp_request(const Words &words) {
    const auto on = switched(words[1], "on", "off");
    if (!on || words.size() > (*on ? 3U : 2U))
        return nullptr;
    json request = {{"do", "net dhcp"}, {"on", *on}};
    if (words.size() > 2)
        request["hostName"] = words[2];
    return request;
}

} // namespace

json net_request(const Words &words) {
    const std::string noun = words.empty() ? "" : words[0];
    const std::string verb = words.size() > 1 ? words[1] : "";
    if (words.size() == 1 && (noun == "state" || noun == "list"))
        return {{"do", "net state"}};
    if (noun == "network" && verb == "add")
        return add_request(words);
    if (noun == "dhcp" && words.size() > 1)
        return dhcp_request(words);
    if (words.size() != 3)
        return nullptr;
    if (noun == "network" && verb == "remove")
        return {{"do", "net network remove"}, {"ssid", words[2]}};
    if (noun == "client" && (verb == "join" || verb == "leave"))
        return {{"do", "net client " + verb}, {"name", words[2]}};
    if (const auto on = switched(words[2], "on", "off"); noun == "wps" && verb == "partner" && on)
        return {{"do", "net wps partner"}, {"on", *on}};
    if (const auto up = switched(words[2], "up", "down"); noun == "carrier" && up)
        return {{"do", "net carrier"}, {"interface", verb}, {"up", *up}};
    return nullptr;
}

std::string network_list(const json &state) {
    std::string list;
    for (const json &network : state.at("networks")) {
        char line[64];
        std::snprintf(line, sizeof line, "%u/5  %2u  %-16s  ", network.at("signal").get<unsigned>(),
                      network.at("channel").get<unsigned>(),
                      network.at("security").get<std::string>().c_str());
        list += line + network.at("ssid").get<std::string>() + "\n";
    }
    return list;
}

} // namespace varn::ctl
