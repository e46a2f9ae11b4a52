/// Who gets to the panel.

#include "tests/panel/panel_fixture.h"

#include <memory>

namespace varn::testing {
namespace {

TEST_F(PanelTest, OnlyItsOwnPageMayAct) {
    const std::string own = "Host: " + host() + "\r\n";
    const std::string json = "Content-Type: application/json\r\n";
    const std::string mark = "X-Varn-Panel: 1\r\n";
    struct Case {
        std::string fields;
        int status;
    };
    const Case cases[] = {
        {own + json + mark, 200},
        {own + json + mark + "Origin: http://" + host() + "\r\n", 200},
        {own + json + mark + "Origin: http://evil.example\r\n", 403},
        {own + json + mark + "Origin: " + scanner_.url() + "\r\n", 403},
        {own + json + mark + "Origin: null\r\n", 403},
        {"Host: evil.example\r\n" + json + mark, 403},
        {"Host: 127.0.0.1\r\n" + json + mark, 403},
        {json + mark, 403},
        {own + json, 403},
        {own + json + mark + "Sec-Fetch-Site: same-origin\r\n", 200},
        {own + json + mark + "Sec-Fetch-Site: cross-site\r\n", 403},
        {own + mark, 403},
        {own + mark + "Content-Type: text/plain\r\n", 403},
    };
    for (const Case &row : cases)
        EXPECT_EQ(status_of(post(R"({"action":"hatch.open"})", row.fields)), row.status)
            << row.fields;
    EXPECT_EQ(state().at("feeder").at("hatch_open"), true);
}

TEST_F(PanelTest, PublicPortsHaveNoPanel) {
    for (const char *path : {"/state", "/events", "/panel.js", "/pages/1", "/actions"}) {
        EXPECT_EQ(get(path).status, 404) << path;
        EXPECT_EQ(status_of(ask_panel("GET " + std::string(path) +
                                      " HTTP/1.1\r\nHost: evil.example\r\n\r\n")),
                  403)
            << path;
    }
    const std::string page = ask_panel("GET / HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    EXPECT_EQ(status_of(page), 200);
    EXPECT_NE(field_of(page, "Content-Security-Policy").find("default-src 'self'"),
              std::string::npos);
}

TEST_F(PanelTest, BadActionsAreAnsweredAndChangeNothing) {
    for (const char *body :
         {"", "{", "[]", R"({"action":7})", R"({"action":"no"})", R"({"action":"feeder.load"})",
          R"({"action":"feeder.load","count":0})", R"({"action":"feeder.load","count":2.5})",
          R"({"action":"feeder.load","count":1e300})",
          R"({"action":"fault.set","kind":"jam","sheet":-1})",
          R"({"action":"feeder.load","count":1000000})",
          R"({"action":"feeder.load","sheets":["../../etc/passwd"]})",
          R"({"action":"preview.start","source":"glass","gamma":401})"})
        EXPECT_EQ(status_of(post(body, own_fields())), 400) << body;
    EXPECT_EQ(status_of(post(std::string(5000, ' '), own_fields())), 413);
    EXPECT_EQ(act({{"action", "job.cancel"}}).status, 409);
    EXPECT_EQ(act({{"action", "walkup.next"}}).status, 409);
    EXPECT_EQ(state().at("feeder").at("sheets"), 0);
}

TEST_F(PanelTest, ListenersHearOfChangesAndTheNinthIsSentAway) {
    const std::string listen = "GET /events HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
    const auto heard = [](const RawConnection &listener, const std::string &what) {
        std::string text;
        return eventually([&] {
            text += listener.receive_some(65536);
            return text.find(what) != std::string::npos;
        });
    };
    std::vector<std::unique_ptr<RawConnection>> listeners;
    for (int i = 0; i < 8; ++i) {
        listeners.push_back(std::make_unique<RawConnection>(scanner_.panel_port()));
        ASSERT_TRUE(listeners.back()->send(listen));
        ASSERT_TRUE(heard(*listeners.back(), R"("hatch_open":false)")) << i;
    }
    EXPECT_EQ(status_of(ask_panel(listen)), 503);
    ASSERT_TRUE(scanner_.ctl({"hatch", "open"}));
    EXPECT_TRUE(heard(*listeners.front(), R"("hatch_open":true)"));
    EXPECT_TRUE(heard(*listeners.back(), R"("hatch_open":true)"));
    listeners.clear();
    // Nothing changes meanwhile that would have to be told.
    EXPECT_TRUE(eventually(
        [&] {
            RawConnection one(scanner_.panel_port());
            return one.send(listen) && one.receive_some(16).find(" 200") != std::string::npos;
        },
        3000));
}

} // namespace
} // namespace varn::testing
