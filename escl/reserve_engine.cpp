/// The engine's list of stored jobs.

#include "escl/scan_words.h"
#include "platform/mvtc.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace varn {
namespace {

static_assert(sizeof(varn_stored_job) == 368 && offsetof(varn_stored_job, szPIN) == 296 &&
              offsetof(varn_stored_job, szJobUUID) == 312 &&
              offsetof(varn_stored_job, dwSetTime) == 352 &&
              offsetof(varn_stored_job, byFlatbed) == 356);

constexpr uint32_t most_jobs = 5;
/// An engine may list more than it takes from here; beyond this its count is no count.
constexpr uint32_t most_listed = 64;

enum ListId : uint32_t { id_count = 4, id_entries = 5, id_started = 6 };
enum ListOperation : uint32_t { add_entry = 1, remove_entry = 2 };

/// The job that the panel has started.
struct StartedJob {
    uint32_t flag;
    char uuid[40];
    uint8_t reserved44[20];
};
static_assert(sizeof(StartedJob) == 64 && offsetof(StartedJob, uuid) == 4);

template <size_t width>
void copy_text(char (&dst)[width], const char *src) {
    if (src == nullptr)
        return;
    size_t length = strnlen(src, width);
    if (length == width) { // cut, but not in the middle of a character
        length = width - 1;
        while (length > 0 && (static_cast<uint8_t>(src[length]) & 0xC0) == 0x80)
            --length;
    }
    memcpy(dst, src, length);
}

uint32_t entry_count(int fd) {
    uint32_t count = 0;
    if (mvtc_read_H1_RJList(static_cast<uint32_t>(fd), &count, sizeof count, id_count) < 0)
        return 0;
    return count;
}

std::vector<varn_stored_job> read_entries(int fd) {
    std::vector<varn_stored_job> entries(std::min(entry_count(fd), most_listed));
    if (!entries.empty())
        mvtc_read_H1_RJList(static_cast<uint32_t>(fd), entries.data(),
                            static_cast<uint32_t>(entries.size() * sizeof entries[0]), id_entries);
    return entries;
}

bool is_job(const varn_stored_job &entry, const char *uuid) {
    const size_t length = strnlen(entry.szJobUUID, sizeof entry.szJobUUID);
    return strlen(uuid) == length && memcmp(entry.szJobUUID, uuid, length) == 0;
}

/// word      the log's name for the identifier
void remove_entry_of(int fd, const char *uuid, const char *word) {
    const std::vector<varn_stored_job> entries = read_entries(fd);
    const auto found = std::ranges::find_if(
        entries, [uuid](const varn_stored_job &entry) { return is_job(entry, uuid); });
    if (found == entries.end())
        return;
    printf("Find %d %s is %s to delete...\n", static_cast<int>(found - entries.begin()), word,
           uuid);
    mvtc_write_H1_RJList(static_cast<uint32_t>(fd), &*found, remove_entry);
}

} // namespace
} // namespace varn

int32_t ChkRJlistNum(int fd) {
    const uint32_t count = varn::entry_count(fd);
    printf("%s Current RJ: %d/%d\n", __func__, static_cast<int>(count),
           static_cast<int>(varn::most_jobs));
    return count < varn::most_jobs ? 0 : -1;
}

int32_t AddRJlistToMVT(int fd, const char *uuid, uint32_t set_time, const char *job_name,
                       const char *pin, uint8_t flatbed) {
    varn_stored_job entry = {};
    varn::copy_text(entry.szJobName, job_name);
    varn::copy_text(entry.szPIN, pin);
    varn::copy_text(entry.szJobUUID, uuid);
    entry.dwSetTime = set_time;
    entry.byFlatbed = flatbed;
    mvtc_write_H1_RJList(static_cast<uint32_t>(fd), &entry, varn::add_entry);
    return 0;
}

int32_t escl_RemoveRJPCList(int fd, const char *uuid) {
    const char *job = uuid != nullptr ? uuid : "";
    printf("%s,job uuid=%s  scanning_scanjob_id= (%s)\n", __func__, job,
           escl_scanning_scanjob_uuid);
    varn::remove_entry_of(fd, job, "jobid");
    return 200;
}

int32_t escl_cancel_RJscan(int fd, const char *uuid) {
    const char *job = uuid != nullptr ? uuid : "";
    printf("%s,job id=%s  scanning_scanjob_id= (%s)\n", __func__, job, escl_scanning_scanjob_uuid);
    const bool running = *job != '\0' && strcmp(job, escl_scanning_scanjob_uuid) == 0;
    if (running)
        varn::store_word(cancelflag, 1);
    varn::remove_entry_of(fd, job, "jobuuid");
    parse_ReserveScanJob_deleteByID(job);
    set_scan_specific_jobstatus(JOBSTAT_CANCELED_BY_USER, job, running ? 1 : 0);
    return 200;
}

int32_t getIsReservedJobs(int fd) {
    varn::StartedJob started = {};
    if (mvtc_read_H1_RJList(static_cast<uint32_t>(fd), &started, sizeof started, varn::id_started) <
        0)
        started = {};
    const auto flag = static_cast<int32_t>(started.flag);
    varn::store_word(g_is_reserverdjobsScan, flag);
    if (flag != 0) {
        started.uuid[sizeof started.uuid - 1] = '\0';
        varn::copy_uuid(escl_scanning_scanjob_uuid, started.uuid);
    }
    return flag;
}
