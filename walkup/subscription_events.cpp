/// The event that calls an eSCL host: its two writers at the panel, and the host's poll.

#include "frame/ticket_file.h"
#include "walkup/pc_list.h"

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sys/stat.h>

using varn::Document;

namespace varn {
namespace {

constexpr char event_ticket[] = "/tmp/xml_tickets/eSCL/WalkupScanEvent.xml";
constexpr std::string_view subscriptions_path = "/eSCL/WalkupSubscriptions/";
constexpr int32_t pages_complete = 32767;

/// The event ticket, opened and locked for writing.
class LockedEvent {
public:
    explicit LockedEvent(const char *caller) {
        const std::string path = device_path(event_ticket);
        // A poller may take the file away before the lock is ours: an event written then would
        // be lost with it.
        do {
            held_.reset();
            file_.emplace(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
            if (!file_->ok())
                return;
            held_.emplace(file_->get(), TicketLock{"Write", caller});
        } while (is_removed());
    }
    int fd() const { return file_->get(); }

private:
    bool is_removed() const {
        struct stat info {};
        return fstat(file_->get(), &info) == 0 && info.st_nlink == 0;
    }

    std::optional<UniqueFd> file_;
    std::optional<FileLock> held_;
};

/// What both writers put in; the connection is theirs.
scan__WalkupScanEvent make_event(Document &document, const char *uuid, const char *name,
                                 const char *shortcut) {
    char uri[256] = {};
    snprintf(uri, sizeof uri, "%s%s", subscriptions_path.data(), uuid);
    scan__WalkupScanEvent event;
    event.ResourceURI = document.text(uri);
    event.HostIdentifier = document.text(name);
    event.Shortcut = document.text(shortcut);
    return event;
}

scan__ScanSettingsType *make_settings(Document &document, int64_t duplex) {
    if (duplex != 0 && duplex != 1)
        return nullptr;
    auto *settings = document.make<scan__ScanSettingsType>();
    if (settings == nullptr)
        return nullptr;
    settings->pwg__Version = document.text("2.92");
    settings->Duplex = document.value(duplex != 0 ? xsd__boolean__true_ : xsd__boolean__false_);
    return settings;
}

void write_event(Document &document, const scan__WalkupScanEvent &event, const char *caller,
                 bool truncate) {
    const LockedEvent ticket(caller);
    if (ticket.fd() < 0 || (truncate && ftruncate(ticket.fd(), 0) != 0))
        document.fail(SOAP_EOF);
    else
        document.write(ticket.fd(), event);
    if (document.error() != SOAP_OK)
        printf("%s:%d: error,soap_write_scan__WalkupScanEvent happen error:%d !\n", caller,
               __LINE__, document.error());
}

const char *usb_shortcut(int32_t shortcut) {
    constexpr const char *words[] = {"SavePDF", "SaveJPEG", "EmailPDF", "SendToCloud"};
    if (shortcut <= 0)
        return words[0];
    return shortcut < static_cast<int32_t>(std::size(words)) ? words[shortcut] : nullptr;
}

/// Whose event it is, from its resource path.
std::string_view uuid_of(const scan__WalkupScanEvent &event) {
    if (event.ResourceURI == nullptr || strlen(event.ResourceURI) < subscriptions_path.size())
        return {};
    const std::string_view rest = event.ResourceURI + subscriptions_path.size();
    return rest.substr(0, rest.find('/'));
}

char *copy_to_caller(const std::string &text) {
    auto *copy = static_cast<char *>(malloc(text.size() + 1));
    if (copy != nullptr)
        memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

} // namespace
} // namespace varn

int32_t eSCL_GetWalkupScanEvent(const char *uuid, char **out, uint32_t *outlen) {
    if (uuid == nullptr || out == nullptr || outlen == nullptr)
        return 0;
    const std::string path = varn::device_path(varn::event_ticket);
    const varn::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.ok())
        return 0;
    // One lock from the look to the removal: a newer event is not taken for the one delivered.
    const varn::FileLock held(file.get(), {"Read", __func__});
    const std::string text = varn::read_whole(file.get());
    Document document(varn::escl_get);
    scan__WalkupScanEvent event;
    if (!document.read(text.data(), text.size(), event) || varn::uuid_of(event) != uuid)
        return 0;
    printf("%s: %s Event %d received\n", __func__, uuid,
           event.Event != nullptr ? static_cast<int>(*event.Event) : -1);
    char *copy = varn::copy_to_caller(text);
    if (copy == nullptr)
        return 0;
    unlink(path.c_str());
    *out = copy;
    *outlen = static_cast<uint32_t>(text.size());
    return 1;
}

int32_t eSCL_SetWalkupScanDest(uint32_t, int32_t selectindex, int32_t shortcut, uint32_t duplex) {
    const varn::PcList list(varn_mvt_fd);
    if (list.records().empty())
        return 0;
    const char *word = varn::usb_shortcut(shortcut);
    if (word == nullptr)
        printf("!!!!ShortCut gsoap mode:%s\n", __func__);
    word = word != nullptr ? word : "";
    printf("----------selectindex = %d, %s\n", selectindex, word);
    const varn_pc_record &first = list.records().front();
    Document document(varn::escl_namespaced_get);
    scan__WalkupScanEvent event = varn::make_event(document, varn::FieldText(first.szPCUUID).text,
                                                   varn::FieldText(first.szPCNameUTF8).text, word);
    event.Connection = document.value(scan__ConnectionType__USB);
    event.Event = document.value(scan__EventType__ScanRequested);
    event.ScanSettings = varn::make_settings(document, duplex);
    // Written over what is there, whose end stays when it was longer.
    varn::write_event(document, event, __func__, false);
    return 0;
}

int32_t eSCL_SetWalkupScanDest_NetworkScan(const varn_pc_record *pc, uint32_t,
                                           uint32_t shortcutIndex, int32_t duplex, const char *uuid,
                                           int32_t SCAN_PC_TIMS) {
    printf("~~~~~!!!!!~~~~~~ SCAN_PC_TIMS = %d, %u, %d \n", SCAN_PC_TIMS, shortcutIndex, duplex);
    if (pc == nullptr)
        return 0;
    Document document(varn::escl_namespaced_get);
    const bool has_slot = shortcutIndex < VARN_PC_SHORTCUTS;
    scan__WalkupScanEvent event = varn::make_event(
        document, uuid != nullptr ? uuid : "", varn::FieldText(pc->szPCNameUTF8).text,
        has_slot ? varn::FieldText(pc->szShortcut[shortcutIndex]).text : "");
    event.Connection = document.value(pc->dwLinkType != 0 ? scan__ConnectionType__Network
                                                          : scan__ConnectionType__USB);
    event.Event =
        document.value(SCAN_PC_TIMS == varn::pages_complete ? scan__EventType__ScanPagesComplete
                                                            : scan__EventType__ScanRequested);
    event.ScanSettings = varn::make_settings(document, duplex);
    varn::write_event(document, event, __func__, true);
    return 0;
}
