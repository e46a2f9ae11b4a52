#include "fuzz/device.h"
#include "fuzz/targets.h"

#include "varn/varn.h"

#include <algorithm>
#include <cstdlib>
#include <sys/socket.h>
#include <unistd.h>

namespace varn::fuzz {
namespace {

constexpr char uuid[40] = "6f1c1f0e-2b3a-4c5d-8e9f-0123456789ab";

template <typename Function, typename... Arguments>
void get(Function function, Arguments... arguments) {
    char *out = nullptr;
    uint32_t length = 0;
    function(arguments..., &out, &length);
    free(out);
}

void lists() {
    char found[40] = "";
    char name[] = "Desk";
    get(eSCL_GeteSCLConfig);
    get(eSCL_GetWalkupSubscription, nullptr);
    get(eSCL_GetWalkupSubscription, uuid);
    eSCL_SetWalkupScanDest(0, 0, 1, 1);
    eSCL_DeleteWalkupSubscription(uuid);
    ChkPClistIsExist(0, name, found);
    ChkRJlistNum(0);
    escl_RemoveRJPCList(0, uuid);
    escl_cancel_RJscan(0, uuid);
    getIsReservedJobs(0);
    get(KOB_GetNVRamXML, 0U);
}

void clocks() {
    get(VARN_GetTimeServiceSupportedTimeZones);
    get(VARN_GetTimeServiceRTCSetting);
    get(VARN_GetTimeServiceSNTPSync);
    get(VARN_GetTimeServiceSNTPDefaults);
    TimeService_SNTPSync_DiscoveryStatus_get();
}

void profiles() {
    get(VARN_GetEmailDyn);
    get(VARN_GetEmailServiceDyn);
    get(VARN_GetSendUSBServiceDyn);
    get(VARN_GetSharePointDyn);
    get(VARN_GetSharePointPredefinedjobs);
    get(VARN_GetSharePointPredefinedJobs_id, uuid);
    get(VARN_GetTestResultSharePointPredefinedJobs_id, uuid);
    VARN_PutSendUSBServiceDyn("<a/>");
    VARN_PostTestSharePointPredefinedJobs_id(uuid);
    VARN_DeleteSharePointPredefinedJobs_id(uuid);
}

/// An action socket whose other end has said all that it will ever say.
void action_socket(Input replies, int calls) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        abort();
    const size_t size = std::min<size_t>(replies.size(), 4096);
    if (send(ends[1], replies.data(), size, MSG_NOSIGNAL) < 0)
        abort();
    shutdown(ends[1], SHUT_WR);
    varn_scanner_status status = {};
    for (int i = 0; i < calls; ++i) {
        kob_inquire_scanner_status(ends[0], i % 3, &status);
        get(escl_get_scanner_status, ends[0]);
    }
    eSCL_GetScannerLastError(ends[0]);
    // A failed write closes the library's end; the number may not be closed twice.
    shutdown(ends[0], SHUT_RDWR);
    close(ends[0]);
    close(ends[1]);
}

} // namespace

void take_engine(Input input) {
    device().answer_with(input);
    lists();
    profiles();
    action_socket(input, 3);
    clocks();
}

} // namespace varn::fuzz
