/// The twenty SharePoint jobs: list, create, change, delete, clone, test.

#include "frame/profile.h"
#include "varn/sharepoint.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <span>

uint32_t varn_SP_predefiendjob_id = 0;
char varn_SP_predefindjob_uuid[40] = {};

namespace varn::digital_send {
namespace {

constexpr char list_ticket[] = "/tmp/xml_tickets/DevMgmt/SharePoint/PredefinedJobs.xml";
constexpr char job_ticket[] = "/tmp/xml_tickets/DevMgmt/SharePoint/PredefinedJob.xml";
constexpr char jobs_uri[] = "/DevMgmt/SharePoint/PredefinedJobs/";

constexpr size_t slot_count = 20;
constexpr uint32_t type_free = 0;
constexpr uint32_t type_sharepoint = 7;
constexpr size_t uuid_size = 64; // of a caller's buffer

/// All slots as the engine has them. A table that cannot be read has none, free ones included, so
/// that it is never written back.
class JobTable {
public:
    JobTable() : slots_(new (std::nothrow) Profile[slot_count]()) {
        if (slots_ != nullptr &&
            mvtc_read_H1_profile(static_cast<uint32_t>(varn_mvt_fd), slots_.get(), bytes,
                                 MVTC_PROFILE_JOB_TABLE) >= 0)
            read_ = slot_count;
        count_ = static_cast<size_t>(
            std::ranges::count(slots(), type_sharepoint, [](const Profile &p) { return p.type; }));
        printf("SP profile number is %d\n", static_cast<int>(count_));
    }
    std::span<Profile> slots() const { return {slots_.get(), read_}; }
    /// Jobs, wherever they stand: they are in the front slots.
    size_t count() const { return count_; }

    Profile *free_slot() const {
        const auto slot = std::ranges::find(slots(), type_free, &Profile::type);
        return slot != slots().end() ? &*slot : nullptr;
    }
    int index(const Profile *slot) const { return static_cast<int>(slot - slots_.get()); }
    /// 0, or 500.
    int32_t save() const {
        return mvtc_write_H1_profile(static_cast<uint32_t>(varn_mvt_fd), slots_.get(), bytes,
                                     MVTC_PROFILE_JOB_TABLE) >= 0
                   ? 0
                   : 500;
    }

private:
    static constexpr uint32_t bytes = slot_count * sizeof(Profile);
    std::unique_ptr<Profile[]> slots_;
    size_t read_ = 0;
    size_t count_ = 0;
};
static_assert(slot_count * sizeof(Profile) == 119680);

std::string_view uri_of(const Profile &slot) {
    return {slot.uri, strnlen(slot.uri, sizeof slot.uri)};
}

/// The first slot with the id anywhere in its URI.
Profile *find_job(const JobTable &table, const char *id) {
    for (Profile &slot : table.slots()) {
        if (id == nullptr || uri_of(slot).find(id) == std::string_view::npos)
            continue;
        printf("Find UUID %s at %d\n", id, table.index(&slot));
        return &slot;
    }
    printf("Can not find UUID %s \n", id != nullptr ? id : "(null)");
    return nullptr;
}

/// The job with that very identifier.
Profile *find_clone_source(const JobTable &table, const char *id) {
    const std::string uri = std::string(jobs_uri) + id;
    for (Profile &slot : table.slots()) {
        if (uri_of(slot) != uri)
            continue;
        printf("Find it at %d\n", table.index(&slot));
        return &slot;
    }
    return nullptr;
}

void set_uri(Profile &slot, const char *uuid) {
    set_text(slot.uri, (std::string(jobs_uri) + uuid).c_str());
}

/// The job of a request; an empty one for a document that cannot be read.
folder__PredefinedJob read_job(Document &document, const char *xml, const char *caller) {
    folder__PredefinedJob job;
    if (read_request(document, xml, job))
        return job;
    printf("%s:%d:happen error:%d !\n", caller, __LINE__, document.error());
    return {};
}

/// Name of a document's root element without its prefix; "" when none is found behind declarations
/// and comments.
std::string_view root_name(std::string_view xml) {
    for (;;) {
        const size_t start = xml.find('<');
        if (start == std::string_view::npos)
            return {};
        xml.remove_prefix(start + 1);
        const std::string_view end = xml.starts_with("?") ? "?>" : "-->";
        if (!xml.starts_with("?") && !xml.starts_with("!--"))
            break;
        xml.remove_prefix(std::min(xml.find(end), xml.size()));
    }
    const std::string_view name = xml.substr(0, xml.find_first_of(" \t\r\n/>"));
    return name.substr(name.find(':') + 1); // without a colon all of it
}

int32_t fill_list(Document &document, folder__PredefinedJobs &root, const JobTable &table) {
    const size_t count = std::min(table.count(), table.slots().size());
    auto *jobs = document.make<folder__PredefinedJob>(static_cast<int>(count));
    if (jobs == nullptr)
        return -1;
    for (size_t i = 0; i < count; ++i)
        if (set_default_PredefinedJob(&jobs[i]) == 0)
            get_CurrentPredefinedJob(&jobs[i], &table.slots()[i]);
    root.__sizePredefinedJob = static_cast<int>(count);
    root.PredefinedJob_ = jobs;
    return 0;
}

void remove_slot(const JobTable &table, Profile *slot) {
    const std::span<Profile> slots = table.slots();
    const auto found = static_cast<size_t>(table.index(slot));
    // What stands behind a gap, which no delete leaves, or is no job is taken out where it stands.
    const size_t last = std::max(found + 1, table.count()) - 1;
    std::move(slots.begin() + static_cast<ptrdiff_t>(found) + 1,
              slots.begin() + static_cast<ptrdiff_t>(last) + 1,
              slots.begin() + static_cast<ptrdiff_t>(found));
    slots[last] = {};
}

} // namespace
} // namespace varn::digital_send

using namespace varn::digital_send;
using varn::Document;
using varn::Profile;

// --- Identifiers --------------------------------------------------------------------------------

uint32_t VARN_SP_GetPredefinedjobID(void) { return varn_SP_predefiendjob_id; }

void VARN_SP_SetPredefinedjobID(void) { ++varn_SP_predefiendjob_id; }

void VARN_SP_GetPredefinedjobUUID(char *text) {
    if (text != nullptr)
        memcpy(text, varn_SP_predefindjob_uuid, sizeof varn_SP_predefindjob_uuid);
}

void VARN_SP_SetPredefinedjobUUID(const char *text) {
    varn::set_text(varn_SP_predefindjob_uuid, text);
}

// --- Working functions --------------------------------------------------------------------------

int32_t SharePointService_PredefinedJob_get(char **out, uint32_t *len) {
    const JobTable table;
    return varn::get_document<folder__PredefinedJobs>(
        varn::namespaced_get, list_ticket, out, len,
        [&](Document &document, folder__PredefinedJobs &root) {
            fill_list(document, root, table);
        });
}

int32_t SharePointService_PredefinedJob_get_specific(const char *id, char **out, uint32_t *len) {
    const JobTable table;
    const Profile *slot = find_job(table, id);
    if (slot == nullptr)
        return 404;
    return varn::get_document<folder__PredefinedJob>(varn::namespaced_get, job_ticket, out, len,
                                                     [&](Document &, folder__PredefinedJob &root) {
                                                         if (set_default_PredefinedJob(&root) == 0)
                                                             get_CurrentPredefinedJob(&root, slot);
                                                     });
}

int32_t SharePointService_PredefinedJob_post(const char *xml) {
    if (xml == nullptr)
        return -1;
    constexpr int first_index = 25; // of the slots in the engine's numbering
    const JobTable table;
    Profile *slot = table.free_slot();
    if (slot == nullptr) {
        printf("%s can't find empty slot!\n", __func__);
        return -1;
    }
    printf("%s  find empty slot! at %d\n", __func__, table.index(slot) + first_index);
    const char *uuid = common_create_uuid();
    if (uuid == nullptr)
        return -1;
    slot->type = type_sharepoint;
    set_uri(*slot, uuid);
    VARN_SP_SetPredefinedjobUUID(uuid);
    Document document(varn::profile_put);
    const folder__PredefinedJob job = read_job(document, xml, __func__);
    const int32_t result = set_CurrentScanProfile(&job, slot);
    const int32_t saved = table.save();
    return saved != 0 ? saved : result;
}

int32_t SharePointService_PredefinedJob_put(const char *id, const char *xml) {
    if (xml == nullptr)
        return -1;
    Document document(varn::profile_put);
    const folder__PredefinedJob job = read_job(document, xml, __func__);
    const JobTable table;
    Profile *slot = find_job(table, id);
    if (slot == nullptr)
        return 0;
    set_CurrentScanProfile(&job, slot);
    return table.save();
}

int32_t SharePointService_Clone_specificID(const char *xml, const char *id, char *uuid) {
    if (xml == nullptr || id == nullptr || uuid == nullptr)
        return -1;
    Document document(varn::profile_put);
    const folder__PredefinedJob job = read_job(document, xml, __func__);
    const JobTable table;
    const Profile *source = find_clone_source(table, id);
    if (source == nullptr)
        return 404;
    Profile *slot = table.free_slot();
    if (slot == nullptr)
        return 413;
    printf("Find empty slot at %d, Clone it!\n", table.index(slot));
    const char *created = common_create_uuid();
    if (created == nullptr)
        return -1;
    *slot = *source;
    set_uri(*slot, created);
    printf("Clone URI is %s\n", slot->uri);
    snprintf(uuid, uuid_size, "%s", created);
    set_CurrentScanProfile(&job, slot);
    return table.save();
}

// --- Exports ------------------------------------------------------------------------------------

int32_t VARN_CheckSharePointDocument(const char *root, const char *xml) {
    if (root == nullptr || xml == nullptr)
        return -1;
    if (root_name(xml) != root)
        return 400;
    Document document(varn::profile_put);
    if (strcmp(root, "SharePointService") == 0) {
        spts__SharePointService service;
        return varn::read_request(document, xml, service) ? 0 : 400;
    }
    folder__PredefinedJob job;
    return varn::read_request(document, xml, job) ? 0 : 400;
}

int32_t VARN_GetSharePointPredefinedjobs(char **out, uint32_t *len) {
    return SharePointService_PredefinedJob_get(out, len);
}

int32_t VARN_PostSharePointDynPredefinedjobs(const char *xml) {
    return SharePointService_PredefinedJob_post(xml);
}

int32_t VARN_GetSharePointPredefinedJobs_id(const char *id, char **out, uint32_t *len) {
    return SharePointService_PredefinedJob_get_specific(id, out, len);
}

int32_t VARN_PutSharePointPredefinedJobs_id(const char *id, const char *xml) {
    return SharePointService_PredefinedJob_put(id, xml);
}

int32_t VARN_DeleteSharePointPredefinedJobs_id(const char *id) {
    const JobTable table;
    Profile *slot = find_job(table, id);
    if (slot == nullptr)
        return 404;
    remove_slot(table, slot);
    return table.save();
}

int32_t VARN_CloneSharePointPredefinedJobs_id(const char *xml, const char *id, char *uuid) {
    return SharePointService_Clone_specificID(xml, id, uuid);
}

int32_t VARN_PostTestSharePointPredefinedJobs_id(const char *id) {
    const JobTable table;
    const Profile *slot = find_job(table, id);
    if (slot == nullptr)
        return 404;
    uint32_t result = 0;
    mvtc_cmd_H1_profile(static_cast<uint32_t>(varn_mvt_fd), 1,
                        static_cast<uint32_t>(table.index(slot)), &result);
    return 0;
}

int32_t VARN_GetTestResultSharePointPredefinedJobs_id(const char *, char **out, uint32_t *len) {
    return SharePointService_PredefinedJob_TestResult(out, len);
}
