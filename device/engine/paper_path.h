/// What a person can touch: the feeder and its sheets, the glass, hatch and output tray; and the
/// faults that are to happen. All of it survives a restart.
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

/// A sheet on its way past the sensor. Its pictures are deleted with it.
class MovingSheet {
public:
    MovingSheet(Sheet sheet, std::filesystem::path dir)
        : sheet_(std::move(sheet)), dir_(std::move(dir)) {}
    ~MovingSheet();
    MovingSheet(const MovingSheet &) = delete;
    MovingSheet &operator=(const MovingSheet &) = delete;

    std::unique_ptr<RowSource> scan(bool back, const ScanArea &area) const {
        return scan_side(sheet_, back, dir_, area);
    }

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
    /// The parts "feeder", "glass", "hatch", "tray", "faults", "lastError" of the state.
    void describe(nlohmann::json &state) const;

    // The scan.

    std::uint32_t last_error() const;
    void set_last_error(std::uint32_t error);
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
    void forgive(std::initializer_list<std::uint32_t> errors);

    const std::filesystem::path state_file_;
    const std::filesystem::path sheet_dir_;
    const std::filesystem::path incoming_dir_;
    mutable std::mutex mutex_;
    Paper paper_;
    std::uint32_t last_error_ = wire::err_none;
};

} // namespace varn::engine
