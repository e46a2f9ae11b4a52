#include "tests/soak/clients.h"

#include "device/client/http_client.h"
#include "tests/soak/scan_clients.h"
#include "tests/web/support/raw_http.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <random>

namespace varn::soak {
namespace {

using testing::pause_ms;
using testing::RawConnection;
using testing::status_of;

using Random = std::mt19937;

int pick(Random &random, int least, int most) {
    return std::uniform_int_distribution(least, most)(random);
}

std::string request(const std::string &method, const std::string &path, const std::string &body) {
    return method + " " + path +
           " HTTP/1.1\r\nHost: scanner.local:80\r\nContent-Length: " + std::to_string(body.size()) +
           "\r\n\r\n" + body;
}

std::string get_request(const std::string &path) {
    return "GET " + path + " HTTP/1.1\r\nHost: scanner.local:80\r\n\r\n";
}

std::string settings_document(const std::string &element, const std::string &value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<prdcfgdyn2:ProductConfigDyn "
           "xmlns:prdcfgdyn2=\"http://schemas.varn.example/schemas/imaging/con/varn/"
           "productconfigdyn/2009/03/16\" "
           "xmlns:dd=\"http://schemas.varn.example/schemas/imaging/con/dictionaries/1.0/\">"
           "<prdcfgdyn2:ProductSettings><" +
           element + ">" + value + "</" + element +
           "></prdcfgdyn2:ProductSettings></prdcfgdyn2:ProductConfigDyn>\n";
}

/// While nothing is killed, a whole answer or a word that there is too much to do.
void expect_answer(World &world, const char *who, const std::string &path, int status) {
    if (status != 200 && status != 503 && !world.killing)
        world.ledger.breach(std::string(who) + ": " + path + " answered " + std::to_string(status));
}

void reader(World &world, Random random) {
    client::HttpClient http;
    while (!world.stop) {
        auto row = std::next(world.endings.begin(),
                             pick(random, 0, static_cast<int>(world.endings.size()) - 1));
        const client::HttpAnswer answer = http.get(world.url() + row->first);
        const int status = answer.failure.empty() ? answer.status : 0;
        world.ledger.row(Kind::reader).count(status);
        expect_answer(world, "reader", row->first + " " + answer.failure, status);
        if (status == 200 && !answer.body.ends_with(row->second))
            world.ledger.breach("reader: " + row->first + " is cut short");
        if (status != 200)
            pause_ms(20);
    }
}

void slow_reader(World &world, Random random) {
    while (!world.stop) {
        RawConnection connection(world.port, 1024);
        const std::string path = "/eSCL/ScannerCapabilities";
        connection.send(get_request(path));
        const bool gives_up = pick(random, 0, 2) == 0;
        std::string answer;
        std::size_t whole = 0;
        for (int steps = 0; !world.stop && !(gives_up && steps > 5); ++steps) {
            const std::string more = connection.receive_some(700);
            answer += more;
            if (whole == 0)
                if (const auto end = answer.find("\r\n\r\n"); end != std::string::npos)
                    whole = end + 4 +
                            static_cast<std::size_t>(
                                std::atol(testing::field_of(answer, "Content-Length").c_str()));
            if (more.empty() || (whole != 0 && answer.size() >= whole))
                break;
            pause_ms(pick(random, 1, 10));
        }
        const bool is_whole = whole != 0 && answer.size() >= whole;
        world.ledger.row(Kind::slow_reader).count(is_whole || gives_up ? status_of(answer) : 0);
        if (!is_whole && !gives_up && !world.stop)
            expect_answer(world, "slow reader", path, 0);
    }
}

struct Write {
    Kind kind;
    Setting &setting;
    std::string element;
    std::string value;
    std::size_t step; ///< bytes sent at a time
};

/// One PUT, and a look at whether it holds.
void write_once(World &world, const Write &write) {
    write.setting.begin(write.value);
    RawConnection connection(world.port);
    const std::string bytes =
        request("PUT", product_config, settings_document(write.element, write.value));
    for (std::size_t at = 0; at < bytes.size() && connection.connected(); at += write.step) {
        if (!connection.send(std::string_view(bytes).substr(at, write.step)))
            break;
        if (write.step < bytes.size())
            pause_ms(3);
    }
    const int status = connection.connected() ? status_of(connection.receive()) : 0;
    world.ledger.row(write.kind).count(status);
    expect_answer(world, "writer", write.element, status);
    if (status == 200)
        write.setting.confirmed(write.value);
    else if (status >= 400 && status < 500 && status != 408)
        write.setting.refused(write.value);
    if (status != 200) {
        pause_ms(50);
        return;
    }
    connection.send(get_request(product_config));
    const std::string answer = connection.receive();
    if (status_of(answer) != 200)
        return;
    if (const auto held = element_of(answer, write.element); held != write.value)
        world.ledger.breach("writer: " + write.element + " is " + held.value_or("not there") +
                            " after a confirmed " + write.value);
}

void writer(World &world, Random random) {
    for (int number = 0; !world.stop; ++number) {
        const std::string value =
            "soak-" + std::to_string(number) + "-" + std::to_string(pick(random, 0, 999999));
        write_once(world, {Kind::writer, world.asset, "dd:AssetNumber", value, 1 << 20});
        pause_ms(pick(random, 0, 20));
    }
}

void slow_writer(World &world, Random random) {
    constexpr std::array words = {"15minutes", "1hour", "4hours"}; // others are never read back
    while (!world.stop) {
        const std::string value = words[static_cast<std::size_t>(pick(random, 0, 2))];
        write_once(world, {Kind::slow_writer, world.sleep, "dd:PowerSaveTimeout", value, 10});
    }
}

void half_request(World &world, Random random) {
    const std::string requests[] = {
        get_request("/eSCL/ScannerStatus"),
        request("PUT", product_config, settings_document("dd:AssetNumber", "half")),
        request("POST", "/eSCL/ScanJobs", scan_settings("Feeder"))};
    while (!world.stop) {
        RawConnection connection(world.port);
        const std::string &whole = requests[static_cast<std::size_t>(pick(random, 0, 2))];
        connection.send(whole.substr(
            0, static_cast<std::size_t>(pick(random, 0, static_cast<int>(whole.size()) - 1))));
        const bool waits = pick(random, 0, 9) == 0;
        world.ledger.row(Kind::half).count(waits ? status_of(connection.receive()) : 200);
        if (!waits)
            pause_ms(pick(random, 0, 200));
    }
}

void vanisher(World &world, Random random) {
    while (!world.stop) {
        RawConnection connection(world.port, 1024);
        bool sent = false;
        switch (pick(random, 0, 7)) {
        case 0:
            sent = connection.connected();
            break;
        case 1:
            sent = connection.send(request("PUT", product_config, "<a/>"));
            break;
        case 2:
            sent = connection.send(request("POST", "/eSCL/ScanJobs", scan_settings("Platen")));
            pause_ms(pick(random, 0, 100));
            break;
        case 3:
            for (int i = 0; i < 5; ++i)
                sent = connection.send(get_request("/eSCL/ScannerStatus"));
            break;
        default:
            sent = connection.send(get_request("/eSCL/ScannerCapabilities"));
        }
        pause_ms(pick(random, 0, 30));
        world.ledger.row(Kind::vanisher).count(sent ? 200 : 0);
        if (!sent)
            pause_ms(20);
    }
}

/// What no decent client sends. None of it may be answered with success, but for a POST of settings
/// that cannot be read: it scans with the scanner's own settings.
std::vector<std::string> spiteful_requests() {
    using std::string_literals::operator""s;
    const std::string head = "PUT "s + product_config + " HTTP/1.1\r\nHost: h\r\n";
    std::string deep;
    for (int i = 0; i < 9000; ++i)
        deep += "<a>";
    std::string junk(3000, '\0');
    for (std::size_t i = 0; i < junk.size(); ++i)
        junk[i] = static_cast<char>(i * 7919 % 251);
    const std::string bomb = "<!DOCTYPE a [<!ENTITY b \"bbbbbbbbbb\"><!ENTITY c \"&b;&b;&b;\">]>"
                             "<a>&c;</a>";
    return {
        junk + "\r\n\r\n",
        "GET / HTTP/1.1\r\nHost: h\r\nX: " + std::string(40000, 'x') + "\r\n\r\n",
        "GET /../../etc/passwd HTTP/1.1\r\nHost: h\r\n\r\n",
        "GET /nothing%00 HTTP/1.1\r\nHost: h\r\n\r\n",
        "BREW / HTTP/1.1\r\nHost: h\r\n\r\n",
        head + "Content-Length: 65537\r\n\r\n" + std::string(65537, ' '),
        head + "Content-Length: 9223372036854775807\r\n\r\n",
        head + "Content-Length: -1\r\n\r\n",
        head + "Transfer-Encoding: chunked\r\n\r\n" + "20000\r\n" + std::string(0x20000, 'x') +
            "\r\n0\r\n\r\n",
        head + "Transfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n",
        request("PUT", product_config, deep),
        request("PUT", product_config, junk),
        request("PUT", product_config, bomb),
        request("PUT", product_config, settings_document("dd:AssetNumber", std::string(64, 'x'))),
        request("POST", "/eSCL/ScanJobs", deep),
        request("POST", "/eSCL/ScanJobs", junk),
        request("DELETE", "/eSCL/ScanJobs/00000000-0000-0000-0000-000000000000", ""),
    };
}

void spite(World &world, Random random) {
    const std::vector<std::string> requests = spiteful_requests();
    while (!world.stop) {
        const auto row =
            static_cast<std::size_t>(pick(random, 0, static_cast<int>(requests.size()) - 1));
        RawConnection connection(world.port);
        const bool sent = connection.send(requests[row]);
        // A server that closes on what is too much may take its answer with it.
        const int status = connection.connected() ? status_of(connection.receive()) : 0;
        world.ledger.row(Kind::spite).count(status);
        if (status >= 200 && status < 400 && !requests[row].starts_with("POST"))
            world.ledger.breach("spite: request " + std::to_string(row) + " was answered " +
                                std::to_string(status));
        if (!sent || status == 0)
            pause_ms(10);
    }
}

} // namespace

std::optional<std::string> element_of(const std::string &document, const std::string &name) {
    const auto begin = document.find("<" + name + ">");
    if (begin == std::string::npos)
        return std::nullopt;
    const auto text = begin + name.size() + 2;
    return document.substr(text, document.find('<', text) - text);
}

std::optional<std::string> get_patiently(const World &world, const std::string &path,
                                         int limit_ms) {
    client::HttpClient http;
    client::HttpAnswer answer;
    const bool answered = testing::eventually(
        [&] {
            answer = http.get(world.url() + path);
            return answer.status == 200 && answer.failure.empty();
        },
        limit_ms);
    return answered ? std::optional(std::move(answer.body)) : std::nullopt;
}

Crowd::Crowd(World &world) : world_(world) {
    static std::atomic<unsigned> seed = 1;
    world.stop = false;
    const struct {
        void (*run)(World &, Random);
        int count;
    } rows[] = {{reader, 4},       {slow_reader, 2}, {writer, 1}, {slow_writer, 1},
                {half_request, 2}, {vanisher, 1},    {spite, 2},  {scan_client, 1}};
    for (const auto &row : rows)
        for (int i = 0; i < row.count; ++i)
            threads_.emplace_back(row.run, std::ref(world), Random(seed++));
}

Crowd::~Crowd() {
    world_.stop = true;
    for (std::thread &thread : threads_)
        thread.join();
}

} // namespace varn::soak
