/// What a person can touch: the feeder and its sheets, the glass, hatch and output tray; and the
/// faults that are to happen. All of it survives a restart, but for the last error, the panel and
/// the pace.
#pragma once

#include "device/engine/faults.h"
#include "device/engine/sheets.h"

#include <filesystem>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <vector>

namespace varn::engine {

inline constexpr std::size_t feeder_capacity = 500; // sheets

/// How much the engine is slowed down.
struct Pace {
    unsigned ms_per_strip = 0; ///< a strip is 16 lines
    unsigned ms_per_block = 0; ///< of coded data
};

/// A sheet on its way past the sensor. Its pictures are deleted with it.
class MovingSheet {
public:
    MovingSheet(Sheet sheet, std::filesystem::path dir)
        : sheet_(std::move(sheet)), dir_(std::move(dir)) {}
    ~MovingSheet();
    MovingSheet(const MovingSheet &) = delete;
    MovingSheet &operator=(const MovingSheet &) = delete;

    const Sheet &sheet() const { return sheet_; }

private:
    Sheet sheet_;
    std::filesystem::path dir_;
};

class PaperPath {
public:
    explicit PaperPath(const std::filesystem::path &root);

    // The person. Each call throws std::runtime_error, with words for the user, when it cannot be
    // done; nothing has changed then.

    /// Puts sheets under the stack. Their files lie in the incoming directory and are moved.
    void load_feeder(const nlohmann::json &sheets);
    void empty_feeder();
    void put_on_glass(const nlohmann::json &sheet);
    void clear_glass();
    void set_hatch(bool open);
    void set_tray(bool open);
    void add_fault(const Fault &fault);
    void clear_faults();
    /// The operator takes errors over at the panel from now on, until the error is put right.
    void set_takeover(bool on);
    void set_pace(const Pace &pace);
    /// The parts "feeder", "glass", "hatch", "tray", "faults", "lastError", "takeover", "pace" of
    /// the state.
    void describe(nlohmann::json &state) const;

    // The scan.

    std::uint32_t last_error() const;
    void set_last_error(std::uint32_t error);
    /// Whether the operator has taken over an error that is still there.
    bool taken_over() const;
    Pace pace() const;
    /// Bit 0 hatch open, bit 1 sheet in the feeder.
    std::uint16_t sensors() const;
    /// Why the feeder cannot pick a sheet now; err_none when it can.
    std::uint32_t feeder_obstacle() const;
    /// The top sheet, or nothing when there is none.
    std::unique_ptr<MovingSheet> pick();
    /// What lies on the glass; a blank sheet when nothing does.
    Sheet on_glass() const;
    const std::filesystem::path &sheet_dir() const { return sheet_dir_; }
    /// The fault that waits for sheet `number` of the scan; it does not wait any more then. On the
    /// glass only a cancel or an abort can happen.
    std::optional<Fault> take_fault(unsigned number, bool on_glass);
    /// Whether the settings that a host is writing are to be refused; the next ones are not.
    bool take_refusal();

private:
    /// What survives a restart.
    struct Paper {
        std::vector<Sheet> feeder;
        std::optional<Sheet> glass;
        std::vector<Fault> faults;
        bool hatch_open = false;
        bool tray_open = true;
        unsigned loaded = 0; ///< sheets since the feeder was last empty
        unsigned next_file = 1;
    };

    static Paper parse(const nlohmann::json &state);
    void remove_strays() const;
    /// Puts the changed state on disk, then in force.
    void commit(Paper next);
    Sheet take_in(const nlohmann::json &entry);
    void take_in_file(SheetSide &side);
    void change_glass(std::optional<Sheet> sheet);
    std::uint32_t obstacle() const;
    std::optional<Fault> take(std::vector<Fault>::const_iterator fault);
    void forgive(std::initializer_list<std::uint32_t> errors);

    const std::filesystem::path state_file_;
    const std::filesystem::path sheet_dir_;
    const std::filesystem::path incoming_dir_;
    mutable std::mutex mutex_;
    Paper paper_;
    std::uint32_t last_error_ = wire::err_none;
    bool takeover_ = false;
    Pace pace_;
};

} // namespace varn::engine
