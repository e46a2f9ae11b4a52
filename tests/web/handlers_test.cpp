/// Handlers of jobs, events and the USB channel, with the library behind them.

#include "device/web/handlers.h"
#include "device/web/interfaces.h"
#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <functional>
#include <thread>

namespace varn::web {
namespace {

using test::text_of;
using test::texts;

class Handlers : public test::DeviceTest {
protected:
    static Request request(const std::string &path, const std::string &query = {}) {
        Request request;
        request.path = path;
        request.query = query;
        request.ids = find_resource(path, Method::get).ids;
        return request;
    }
    static std::string text(const Response &response) { return std::string(response.body()); }

    Device device{tree / "", -1};
};

class JobHandlers : public Handlers {
protected:
    JobHandlers() {
        VARN_Init_jdescQ();
        g_job_id = 0;
        g_queue_jobidx = -1;
    }
    static void set_jobs(int count) {
        for (int i = 0; i < count; ++i)
            VARN_Set_Job(VARN_JOB_SCAN, VARN_JOB_PROCESSING, VARN_JOB_SCANNER);
    }
    int put(const std::string &path, const std::string &elements) {
        Request put = request(path);
        put.body = "<?xml version=\"1.0\"?><j:Job xmlns:j=\"urn:j\">" + elements + "</j:Job>";
        return put_job(device, put).status;
    }
};

TEST_F(JobHandlers, EveryJobOfTheListHasItsDocument) {
    set_jobs(22);
    for (int id = 1; id <= 23; ++id) {
        const std::string path = "/Jobs/JobList/" + std::to_string(id);
        const Response response = get_job(device, request(path));
        ASSERT_EQ(response.status, id >= 3 && id <= 22 ? 200 : 404) << id;
        if (response.status != 200)
            continue;
        EXPECT_EQ(texts(text(response), "j:JobUrl"), std::vector<std::string>{path});
        EXPECT_EQ(text_of(text(response), "j:JobStateUpdate"), "1001-" + std::to_string(id));
        EXPECT_NE(text(response).find("xmlns:j="), std::string::npos);
    }
    for (const char *path : {"/Jobs/JobList/0", "/Jobs/JobList/022", "/Jobs/JobList/-1",
                             "/Jobs/JobList/22 ", "/Jobs/JobList/99999999999"})
        EXPECT_EQ(get_job(device, request(path)).status, 404) << path;
    tree.put("tmp/xml_tickets/Jobs/JobsList.xml", "no list");
    EXPECT_EQ(get_job(device, request("/Jobs/JobList/5")).status, 404);
    EXPECT_EQ(get_job(device, request("/Jobs/JobList/22")).status, 200);
}

TEST_F(JobHandlers, APutIsForTheJobThatPathAndDocumentName) {
    set_jobs(2);
    const std::string first = "<j:JobUrl> /Jobs/JobList/1\n</j:JobUrl>";
    const std::string state = "<j:JobState>Suspended</j:JobState>";
    const struct {
        const char *path;
        std::string elements;
        int status;
    } rows[] = {
        {"/Jobs/JobList", state, 400},
        {"/Jobs/JobList/2", first + state, 409},
        {"/Jobs/JobList", "<j:JobUrl>/Jobs/JobList/9</j:JobUrl>" + state, 404},
        {"/Jobs/JobList/9", "<j:JobUrl>/Jobs/JobList/9</j:JobUrl>" + state, 404},
        {"/Jobs/JobList", "<j:JobUrl>", 400},
    };
    const std::string before = tree.get("tmp/xml_tickets/Jobs/JobsList.xml");
    for (const auto &row : rows)
        EXPECT_EQ(put(row.path, row.elements), row.status) << row.path << row.elements;
    EXPECT_EQ(tree.get("tmp/xml_tickets/Jobs/JobsList.xml"), before);

    EXPECT_EQ(put("/Jobs/JobList/1", first + state), 200);
    EXPECT_EQ(put("/Jobs/JobList", "<j:JobUrl>/Jobs/JobList/2</j:JobUrl>" + state), 200);
    EXPECT_EQ(texts(tree.get("tmp/xml_tickets/Jobs/JobsList.xml"), "j:JobState"),
              (std::vector<std::string>{"Suspended", "Suspended"}));
}

class EventHandlers : public Handlers {};

TEST_F(EventHandlers, TheQueryIsTheFilter) {
    g_PowerCycle = 4;
    EXPECT_EQ(get_event_table(device, request("/EventMgmt/EventTable")).status, 204);
    for (const int bit : {VARN_EVENT_POWER_UP, VARN_EVENT_SCAN, VARN_EVENT_STATUS})
        VARN_SetEventTable(bit, "/a");
    const struct {
        const char *query;
        int status;
        std::vector<std::string> stamps;
    } rows[] = {
        {"", 200, {"4-1", "4-2", "4-3"}},
        {"AgingStamp=4-1", 200, {"4-2", "4-3"}},
        {"AgingStamp=4%2D3", 204, {}},
        {"EventCategory=ScanEvent", 200, {"4-2", "4-3"}},
        {"EventCategory=PoweringDownEvent", 204, {}},
        {"AgingStamp=4-2&EventCategory=PowerUpEvent", 200, {"4-3"}},
        {"AgingStamp=1-2147483647", 204, {}},
        {"EventCategory=CopyEvent", 400, {}},
        {"EventCategory=", 400, {}},
        {"EventCategory=a%3E", 400, {}},
        {"AgingStamp=", 400, {}},
        {"AgingStamp=4", 400, {}},
        {"AgingStamp=-4", 400, {}},
        {"AgingStamp=4-", 400, {}},
        {"AgingStamp=4-1-1", 400, {}},
        {"AgingStamp=1234567-12345678", 400, {}},
        {"agingStamp=4-1", 400, {}},
        {"AgingStamp=%", 400, {}},
    };
    for (const auto &row : rows) {
        const Response response =
            get_event_table(device, request("/EventMgmt/EventTable", row.query));
        EXPECT_EQ(response.status, row.status) << row.query;
        EXPECT_EQ(texts(text(response), "dd:AgingStamp"), row.stamps) << row.query;
        EXPECT_EQ(response.entity_tag, row.status == 400 ? "" : "4-3") << row.query;
    }
}

class UsbHandlers : public Handlers {
protected:
    UsbHandlers() {
        tree.put("proc/kob_usbd/connect", "1");
        sink.begin = [this](std::string_view type) {
            sent.append(type).append("\n");
            return true;
        };
        sink.write = [this](std::span<const std::byte> bytes) {
            sent.append(reinterpret_cast<const char *>(bytes.data()), bytes.size());
            return on_write();
        };
        sink.end = [this] {
            sent += "end";
            return true;
        };
    }
    static Request from(Interface interface) {
        Request request;
        request.interface = interface;
        return request;
    }

    ImageSink sink;
    std::string sent;
    std::function<bool()> on_write = [] { return true; };
};

TEST_F(UsbHandlers, InterruptsAreEvents) {
    int writes = 0;
    on_write = [&] {
        if (++writes == 1) {
            send_usb_kick();
            send_usb_kick_with_WJAContent(1);
        }
        if (writes == 3)
            tree.put("proc/kob_usbd/connect", "0");
        return true;
    };
    EXPECT_FALSE(usb_interrupts(device, from(Interface::usb), sink));
    EXPECT_EQ(sent, "text/event-stream\n: listening\n\n"
                    "event: interrupt\nid: 1\ndata: 00\n\n"
                    "event: interrupt\nid: 2\ndata: 01\n\nend");
}

TEST_F(UsbHandlers, AListenerThatHasGoneFreesItsPlace) {
    on_write = [] { return false; };
    for (std::size_t i = 0; i < 2 * UsbChannel::max_listeners; ++i)
        EXPECT_FALSE(usb_interrupts(device, from(Interface::usb), sink));
    EXPECT_EQ(sent.find("end"), std::string::npos) << "the body was broken off";

    std::vector<std::unique_ptr<UsbChannel::Listener>> listeners(UsbChannel::max_listeners);
    for (auto &listener : listeners)
        listener = std::make_unique<UsbChannel::Listener>(device.usb_channel());
    EXPECT_EQ(usb_interrupts(device, from(Interface::usb), sink)->status, 503);
    for (const Interface other : {Interface::eth0, Interface::wlan0, Interface::https})
        EXPECT_EQ(usb_interrupts(device, from(other), sink)->status, 404);
}

} // namespace
} // namespace varn::web
