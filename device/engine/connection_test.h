/// The connection test of a SharePoint job. There is no server around a virtual device: a person
/// says what a test comes to.
#pragma once

#include "device/wire/profile.h"

#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string_view>

namespace varn::engine {

class ConnectionTest {
public:
    /// What the tests that start from now on come to, and how long each takes. Throws
    /// std::runtime_error for an unknown outcome or a longer time than ten minutes.
    void set_outcome(std::string_view name, std::int64_t duration_ms);

    /// Starts a test; it takes the place of one that runs.
    void start();
    /// The result word of the last test. None has run when the engine starts.
    std::int32_t result() const;
    void forget();

    /// The part "sharePoint" of the state.
    void describe(nlohmann::json &state) const;

private:
    std::int32_t result_now() const;

    mutable std::mutex mutex_;
    std::int32_t outcome_ = wire::test_succeeded; ///< of the next test
    std::int64_t duration_ms_ = 500;
    std::int32_t last_ = wire::test_never_ran; ///< of the last one, once it has ended
    std::int64_t ends_ms_ = 0;
};

} // namespace varn::engine
