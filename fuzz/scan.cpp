// The way of an image: start of a scan, block records, ring, pages, and the link below all of it.
#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "device/kob_common/exchange.h"
#include "device/web/pdf_writer.h"
#include "device/web/ring_view.h"
#include "device/wire/local_socket.h"
#include "device/wire/places.h"
#include "varn/varn.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace varn::fuzz {
namespace {

constexpr char uuid[40] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";

/// A socket of the library, and an engine at its other end that has said all that it ever will.
class Socket {
public:
    explicit Socket(Input replies) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            abort();
        library_ = ends[0];
        engine_ = wire::Descriptor(ends[1]);
        if (send(ends[1], replies.data(), replies.size(), MSG_NOSIGNAL) < 0)
            abort();
        shutdown(ends[1], SHUT_WR);
    }
    /// Nothing here makes a write fail, so the number is still this socket's.
    ~Socket() { wire::Descriptor closing(library_); }
    Socket(const Socket &) = delete;
    Socket &operator=(const Socket &) = delete;

    int fd() const { return library_; }
    bool is_empty() const {
        int waiting = 0;
        return ioctl(library_, FIONREAD, &waiting) != 0 || waiting == 0;
    }

private:
    int library_;
    wire::Descriptor engine_;
};

/// The web server's part of a scan, in the pauses of the receive thread. A job whose records have
/// run out is cancelled, as by the server that sees the engine's end.
struct Server {
    const Socket *image;
    int blocks_left; ///< until the client cancels or is cut off; below 0 never
    bool cut_off;
};
Server server;

void cut_links() {
    for (const char *link : {"/sys/class/net/eth0/carrier", "/sys/class/net/wlan0/carrier",
                             "/sys/class/net/wlan1/carrier", "/proc/kob_usbd/connect"})
        device().put(link, "0");
}

void deliver() {
    uint8_t record[64];
    uint32_t index = 0;
    if (do_get_current_block_info(record, &index) == 1 && server.blocks_left >= 0)
        --server.blocks_left;
    if (server.image->is_empty() || (server.blocks_left == 0 && !server.cut_off))
        escl_cancel_scan();
    else if (server.blocks_left == 0)
        return cut_links();
    do_notify_send_CurrentBlock_done();
}

void look_at_images() {
    char name[32];
    for (int i = 0; i < 3; ++i) {
        char *out = nullptr;
        uint32_t length = 0;
        if (escl_get_scanimageinfo(&out, &length, uuid) == 0)
            free(out);
        escl_get_image_file2(name);
        escl_get_rjimage_file2(name);
    }
}

/// A scan that has ended lets the next one in.
void expect_idle() {
    if (escl_is_scanthread_exist() != 0 || scanning_sts_change != 0 || cancelflag != 0)
        abort();
}

/// Bits: 0-1 the interface, 2 a stored job, 3 both sides, 4-6 blocks until the client
/// cancels, 7 or rather is cut off.
void take_options(Input &input) {
    const uint8_t options = input.empty() ? 0 : input[0];
    input = input.subspan(input.empty() ? 0 : 1);
    escl_set_scan_source(options & 3);
    g_is_reserverdjobsScan = options >> 2 & 1;
    g_scanparam.dwADF = (options & 8) != 0 ? 4 : 1;
    const int blocks = options >> 4 & 7;
    server.blocks_left = blocks != 0 ? blocks : -1;
    server.cut_off = (options & 0x80) != 0;
}

void records(Input input) {
    take_options(input);
    const Socket image(input);
    server.image = &image;
    device().on_pause(deliver);
    int32_t word = image.fd();
    receive_image_Process_Blockmode(&word);
    expect_idle();
    look_at_images();
}

constexpr char settings[] =
    "<?xml version=\"1.0\"?><scan:ScanSettings xmlns:scan=\"http://" VARN_SCHEMA_HOST_B
    "/imaging/escl/2011/05/03\" xmlns:pwg=\"http://www.pwg.org/schemas/2010/12/sm\">"
    "<pwg:Version>2.63</pwg:Version><pwg:InputSource>Feeder</pwg:InputSource>"
    "<scan:Gamma>120</scan:Gamma></scan:ScanSettings>";

/// Two status records and the tone record of the action socket come first, then the records of
/// the image socket; the link answers with all of it.
void start(Input input) {
    constexpr size_t action_bytes = 32 + 32 + sizeof(varn_gamma_str);
    take_options(input);
    device().answer_with(input);
    const size_t size = std::min(input.size(), action_bytes);
    const Socket action(input.first(size));
    const Socket image(input.subspan(size));
    server.image = &image;
    device().on_pause(deliver);
    std::string xml = settings;
    int32_t word = image.fd();
    escl_start_scan(action.fd(), &word, xml.data(), static_cast<uint32_t>(xml.size()));
    while (escl_is_scanthread_exist() != 0)
        sched_yield();
    look_at_images();
    escl_ScanSetting_ReserveJob("job", action.fd(), 1, uuid);
    eSCL_Notify_AllImgSentDone(0);
}

/// An image as the engine coded it, twice, in one document.
void page(Input input) {
    const auto *bytes = reinterpret_cast<const std::byte *>(input.data());
    size_t written = 0;
    const auto writer = web::make_pdf_writer([&](std::span<const std::byte> piece) {
        written += piece.size();
        return true;
    });
    if (!writer)
        abort();
    bool added = true;
    for (int i = 0; i < 2 && added; ++i)
        added = writer->add_page({bytes, bytes + input.size()}, 300);
    if (writer->finish() && added && written < input.size())
        abort(); // a document without its pages
}

void ring(Input input) {
    device().put(wire::ring_file, text_of(input));
    const web::RingView ring(device().root());
    volatile uint8_t seen = 0;
    for (const uint32_t index : {0U, 1U, 7U, 0x7FFFFFFFU, 0xFFFFFFFFU})
        for (const uint32_t length : {0U, 1U, 16U, 4096U, 0xFFFFFFFFU})
            if (const auto block = ring.block(index, length); !block.empty())
                seen = static_cast<uint8_t>(block.front()) ^ static_cast<uint8_t>(block.back());
    static_cast<void>(seen);
}

/// Replies on the engine link. A reply with the number 0 is the one to the last request.
void link(Input input) {
    static uint32_t requests = 0;
    std::string replies = text_of(input.first(std::min<size_t>(input.size(), 16384)));
    constexpr size_t number = offsetof(wire::LinkReply, dwSequence);
    const wire::u32le expected = ++requests;
    if (replies.size() >= sizeof(wire::LinkReply) && memcmp(&replies[number], "\0\0\0\0", 4) == 0)
        memcpy(&replies[number], &expected, sizeof expected);
    const Socket engine({reinterpret_cast<const uint8_t *>(replies.data()), replies.size()});
    std::byte table[288];
    std::fill(std::begin(table), std::end(table), std::byte(0xA5));
    const int32_t result =
        kob::exchange(static_cast<uint32_t>(engine.fd()), wire::LinkOperation::read_nvram,
                      {0, sizeof table}, {}, table);
    const bool untouched =
        std::ranges::all_of(table, [](std::byte b) { return b == std::byte(0xA5); });
    if (result < 0 && !untouched)
        abort(); // a refusal leaves the caller's buffer alone
}

struct Row {
    const char *name;
    void (*take)(Input input);
};
constexpr Row rows[] = {
    /* a */ {"block records", records},
    /* b */ {"start of a scan", start},
    /* c */ {"page of a PDF", page},
    /* d */ {"ring file", ring},
    /* e */ {"link replies", link},
};

} // namespace

void take_scan(Input input) {
    choose(rows, input).take(input.first(std::min<size_t>(input.size(), 16384)));
}

} // namespace varn::fuzz
