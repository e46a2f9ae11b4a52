/// A scanner and the hand at its panel.
#pragma once

#include "tests/e2e/e2e_fixture.h"

#include <nlohmann/json.hpp>

namespace varn::testing {

class PanelTest : public ScannerTest {
protected:
    struct Answer {
        int status = 0;
        nlohmann::json body;
    };

    std::string host() const { return "127.0.0.1:" + std::to_string(scanner_.panel_port()); }

    /// An answer to its end, whole.
    std::string ask_panel(const std::string &request) const {
        RawConnection connection(scanner_.panel_port());
        return connection.send(request) ? connection.receive() : "";
    }
    std::string post(const std::string &body, const std::string &fields) const {
        return ask_panel("POST /actions HTTP/1.1\r\n" + fields +
                         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }
    std::string own_fields() const {
        return "Host: " + host() + "\r\nContent-Type: application/json\r\nX-Varn-Panel: 1\r\n";
    }
    Answer act(const nlohmann::json &request) const {
        const std::string answer = post(request.dump(), own_fields());
        const auto body = answer.find("\r\n\r\n");
        return {status_of(answer), body == std::string::npos
                                       ? nlohmann::json()
                                       : nlohmann::json::parse(answer.substr(body + 4))};
    }
    nlohmann::json state() {
        return nlohmann::json::parse(http_.get("http://" + host() + "/state").body);
    }
    template <typename Condition>
    bool state_gets(Condition condition) {
        return eventually([&] { return condition(state()); });
    }
};

} // namespace varn::testing
