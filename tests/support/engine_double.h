/// The engine operations, replaced in the test program: each call is noted and answers as told.
#pragma once

#include "tests/support/device_tree.h"
#include "tests/support/engine_end.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace varn::test {

struct EngineDouble {
    /// Operations in their order, with what went over `action` between them.
    std::vector<std::string> calls;
    std::map<std::string, int32_t> results; ///< by name without "mvtc_"; else 0
    std::string nvram = std::string(288, '\0');
    std::string scan_param = std::string(128, '\0'); ///< accepted last
    std::vector<std::string> pc_list;                ///< records of walk-up hosts, 4312 bytes each
    uint16_t sensors = 2;                            ///< of the picked sheet
    std::string net_block;                           ///< the net service's; short is zero-filled
    std::vector<std::string> stored_jobs;            ///< entries of 368 bytes
    std::string started_job = std::string(64, '\0');
    EngineEnd *action = nullptr;
    DeviceTree *flash = nullptr; ///< where the engine keeps its files; null keeps none

    int32_t note(const std::string &name, const std::string &arguments);
    /// The list so far, which is then empty.
    std::vector<std::string> take_calls();

private:
    std::mutex mutex_;
    void note_action();
};
extern EngineDouble engine;

} // namespace varn::test
