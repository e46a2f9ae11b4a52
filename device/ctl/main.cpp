/// varnctl: the hand of the person at the virtual scanner.
#include "device/ctl/control_client.h"
#include "device/ctl/net_args.h"
#include "device/ctl/sheet_args.h"

#include "device/wire/places.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using Words = std::vector<std::string>;
namespace ctl = varn::ctl;
namespace wire = varn::wire;
using ctl::ask;
using ctl::NoEngine;

constexpr char usage[] =
    "usage: varnctl [--root DIR] NOUN VERB [ARGUMENTS]\n"
    "\n"
    "The hand of the person at the virtual scanner. DIR is its device tree\n"
    "(default %s).\n"
    "\n"
    "  feeder load N            put N test sheets under the stack\n"
    "  feeder load SHEET...     put these sheets under the stack\n"
    "  feeder empty             take all sheets away\n"
    "  feeder list              show the stack, top sheet first\n"
    "  glass put SHEET          lay a sheet on the glass\n"
    "  glass clear              take it away\n"
    "  hatch open|close         the feeder's hatch; closing it clears a jam\n"
    "  tray open|close          the output tray\n"
    "  fault KIND [SHEET] [AT]  let it happen at this sheet of a scan (default 1);\n"
    "                           AT start, middle or end\n"
    "  fault KIND now           let it happen to the running scan\n"
    "  fault refuse             let the engine refuse the next settings written to it\n"
    "  fault clear              forget waiting faults and the last error\n"
    "  panel takeover|release   the operator takes errors over at the panel, or lets them be\n"
    "  stored list              show the stored jobs\n"
    "  stored start UUID        mark the stored job as the one that the operator started\n"
    "  stored clear             take the mark off\n"
    "  power down|up            the engine's power; a scan that starts wakes it\n"
    "  slow strip|block MS      idle for each strip of 16 lines, or each block of data\n"
    "  slow off                 full speed again\n"
    "  wear PART PAGES          clean (the rollers), rollers or pad: due after so many more "
    "pages,\n"
    "                           and that often from each service\n"
    "  wear clean|rollers now   due whatever was counted; the pad with the rollers\n"
    "  wear off                 the intervals of a new device\n"
    "  sharepoint OUTCOME [MS]  what connection tests come to, after MS milliseconds (500):\n"
    "                           success, not-found, no-folder or wrong-credentials\n"
    "  time reachable|unreachable\n"
    "                           whether the server of the network time answers\n"
    "  usb in|out               the USB host's cable\n"
    "  net carrier IF up|down   the link of eth0, wlan0 or wlan1\n"
    "  net list                 Wi-Fi networks in range: signal, channel, security, name\n"
    "  net network add SSID SECURITY [PASSPHRASE] [SIGNAL]\n"
    "                           a network comes into range; SECURITY is NONE, WEP, WPA-PSK,\n"
    "                           WPA2-PSK, WPA-PSK+WPA2-PSK, WPA-EAP or WPA2-EAP, SIGNAL 0 to 5\n"
    "  net network remove SSID  it goes out of range\n"
    "  net client join|leave NAME  a client of the device's own access point\n"
    "  net wps partner on|off   somebody presses the button, or knows the PIN, on a router\n"
    "  net dhcp on [HOSTNAME]   the DHCP server answers, and may name the device\n"
    "  net dhcp off             it does not\n"
    "  net state                show the network as JSON, without pass phrases\n"
    "  state                    show everything as JSON\n"
    "\n"
    "KIND is jam, mispick, slowpick, multipick, toolong, tooshort, hatch (opened), tray (closed),\n"
    "empty (the feeder sees no sheet), cancel (by a person at the device), abort (by the engine)\n"
    "or drop (the image connection is cut).\n"
    "\n"
    "SHEET is a PNG or JPEG file, or chart, text, ramp, blank or long:INCHES; FRONT+BACK names\n"
    "both sides; SHEET*2 is two sheets that are picked at once. A picture's resolution gives\n"
    "its size; without one it is 8.5 inches wide.\n"
    "\n"
    "Exit status: 0 done, 1 refused, 2 wrong usage, 3 no engine serves DIR.\n";

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void expect(const Words &arguments, std::size_t least, std::size_t most) {
    if (arguments.size() < least || arguments.size() > most)
        throw UsageError("wrong number of arguments");
}

void load_feeder(const std::string &root, const Words &arguments) {
    if (arguments.empty())
        throw UsageError("feeder load needs a number or sheets");
    ask(root, {{"do", "state"}}); // an absent engine is a better reason than a missing directory
    ctl::StagedPictures staged(root);
    ask(root, {{"do", "feeder load"}, {"sheets", ctl::sheets_of(arguments, staged)}});
}

void list_feeder(const std::string &root, const Words &arguments) {
    expect(arguments, 0, 0);
    const json answer = ask(root, {{"do", "state"}});
    for (const json &sheet : answer.at("state").at("feeder"))
        std::printf("%u  %s + %s\n", sheet.at("number").get<unsigned>(),
                    sheet.at("front").get<std::string>().c_str(),
                    sheet.at("back").get<std::string>().c_str());
}

void put_on_glass(const std::string &root, const Words &arguments) {
    expect(arguments, 1, 1);
    ask(root, {{"do", "state"}});
    ctl::StagedPictures staged(root);
    ask(root, {{"do", "glass put"}, {"sheet", ctl::sheet_of(arguments.front(), staged)}});
}

bool is_number(const std::string &word) {
    return !word.empty() && word.size() < 7 &&
           word.find_first_not_of("0123456789") == std::string::npos;
}

/// fault KIND [SHEET|now] [AT]
void fault(const std::string &root, const std::string &kind, const Words &arguments) {
    expect(arguments, 0, 2);
    json request = {{"do", "fault add"}, {"kind", kind}};
    for (const std::string &word : arguments) {
        if (word == "now" && arguments.size() == 1)
            request["do"] = "fault now";
        else if (is_number(word))
            request["sheet"] = std::stoul(word);
        else
            request["at"] = word;
    }
    ask(root, request);
}

void show_state(const std::string &root) {
    std::puts(ask(root, {{"do", "state"}}).at("state").dump(2).c_str());
}

/// Commands that need nothing but their two words.
constexpr const char *plain_commands[] = {
    "feeder empty",  "glass clear",  "hatch open",     "hatch close",
    "tray open",     "tray close",   "fault clear",    "usb in",
    "usb out",       "power down",   "power up",       "panel takeover",
    "panel release", "stored clear", "time reachable", "time unreachable"};

void list_stored_jobs(const std::string &root, const Words &arguments) {
    expect(arguments, 0, 0);
    const json answer = ask(root, {{"do", "state"}});
    for (const json &job : answer.at("state").at("storedJobs"))
        std::printf("%s  %s\n", job.at("uuid").get<std::string>().c_str(),
                    job.at("name").get<std::string>().c_str());
}

void start_stored_job(const std::string &root, const Words &arguments) {
    expect(arguments, 1, 1);
    ask(root, {{"do", "stored start"}, {"uuid", arguments.front()}});
}

/// slow strip|block MS, slow off
void slow_down(const std::string &root, const std::string &what, const Words &arguments) {
    expect(arguments, what == "off" ? 0 : 1, what == "off" ? 0 : 1);
    json request = {{"do", "pace"}};
    if (what != "off") {
        if (what != "strip" && what != "block")
            throw UsageError("slow what? strip or block");
        if (!is_number(arguments.front()))
            throw UsageError("a delay is a number of milliseconds");
        request[what == "strip" ? "msPerStrip" : "msPerBlock"] = std::stoul(arguments.front());
    }
    ask(root, request);
}

unsigned long number_of(const std::string &word, const char *what) {
    if (!is_number(word))
        throw UsageError(std::string(what) + " is a number");
    return std::stoul(word);
}

/// wear PART PAGES, wear PART now, wear off
void wear(const std::string &root, const std::string &part, const Words &arguments) {
    if (part == "off") {
        expect(arguments, 0, 0);
        ask(root, {{"do", "wear off"}});
        return;
    }
    expect(arguments, 1, 1);
    if (arguments.front() == "now")
        ask(root, {{"do", "wear now"}, {"part", part}});
    else
        ask(root, {{"do", "wear"},
                   {"part", part},
                   {"pages", number_of(arguments.front(), "the count of pages")}});
}

/// sharepoint OUTCOME [MS]
void set_test_outcome(const std::string &root, const std::string &outcome, const Words &arguments) {
    expect(arguments, 0, 1);
    json request = {{"do", "sharepoint"}, {"outcome", outcome}};
    if (!arguments.empty())
        request["ms"] = number_of(arguments.front(), "the time of a test");
    ask(root, request);
}

/// net NOUN ...
void network(const std::string &root, const Words &words) {
    const json request = ctl::net_request(words);
    if (request.is_null())
        throw UsageError(words[0] == "carrier" ? "a carrier is up or down"
                                               : "cannot make sense of net " + words[0]);
    const json answer = ask(root, request);
    if (words[0] == "state")
        std::puts(answer.at("state").dump(2).c_str());
    else if (words[0] == "list")
        std::fputs(ctl::network_list(answer.at("state")).c_str(), stdout);
}

void perform(const std::string &root, const Words &words) {
    if (words.size() == 1 && words.front() == "state")
        return show_state(root);
    if (words.size() < 2)
        throw UsageError(words.empty() ? "nothing to do" : "cannot make sense of " + words.front());
    const std::string command = words[0] + " " + words[1];
    const Words arguments(words.begin() + 2, words.end());
    if (command == "feeder load")
        return load_feeder(root, arguments);
    if (command == "feeder list")
        return list_feeder(root, arguments);
    if (command == "glass put")
        return put_on_glass(root, arguments);
    if (std::ranges::find(plain_commands, command) != std::end(plain_commands)) {
        expect(arguments, 0, 0);
        ask(root, {{"do", command}});
        return;
    }
    if (words[0] == "net")
        return network(root, Words(words.begin() + 1, words.end()));
    if (command == "stored list")
        return list_stored_jobs(root, arguments);
    if (command == "stored start")
        return start_stored_job(root, arguments);
    if (words[0] == "slow")
        return slow_down(root, words[1], arguments);
    if (words[0] == "wear")
        return wear(root, words[1], arguments);
    if (words[0] == "sharepoint")
        return set_test_outcome(root, words[1], arguments);
    if (words[0] == "fault")
        return fault(root, words[1], arguments);
    throw UsageError("cannot make sense of " + command);
}

} // namespace

int main(int argc, char **argv) {
    std::string root = wire::default_root;
    Words words;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--help" || word == "-h") {
            std::printf(usage, wire::default_root);
            return EXIT_SUCCESS;
        }
        if (word == "--root" && i + 1 < argc)
            root = std::filesystem::absolute(argv[++i]).string();
        else
            words.push_back(word);
    }
    try {
        perform(root, words);
        return EXIT_SUCCESS;
    } catch (const UsageError &error) {
        std::fprintf(stderr, "varnctl: %s; see varnctl --help\n", error.what());
        return 2;
    } catch (const NoEngine &error) {
        std::fprintf(stderr, "varnctl: %s\n", error.what());
        return 3;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "varnctl: %s\n", error.what());
        return 1;
    }
}
