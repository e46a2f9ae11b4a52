#include "device/engine/paper_path.h"

#include "device/engine/files.h"
#include "device/engine/pictures/picture_file.h"
#include "device/wire/places.h"

#include <nlohmann/json.hpp>
#include <set>

namespace varn::engine {
namespace fs = std::filesystem;
using nlohmann::json;

namespace {

constexpr std::size_t state_limit = 4 * 1024 * 1024; // bytes
constexpr std::size_t most_faults = 100;

void remove_quietly(const fs::path &path) {
    std::error_code ignored;
    fs::remove(path, ignored);
}

void delete_pictures(const Sheet &sheet, const fs::path &dir) {
    for (const SheetSide *side : {&sheet.front, &sheet.back})
        if (!side->file.empty())
            remove_quietly(dir / side->file);
}

json fault_to_json(const Fault &fault) {
    const auto place = std::ranges::find(fault_places, fault.place, &NamedPlace::place);
    return {{"kind", fault.kind->name}, {"sheet", fault.sheet}, {"at", place->name}};
}

Fault fault_from_json(const json &entry) {
    Fault fault;
    fault.kind = find_named(fault_kinds, entry.at("kind").get<std::string>());
    const auto *place = find_named(fault_places, entry.at("at").get<std::string>());
    if (!fault.kind || !place)
        throw PictureError("unknown fault");
    fault.sheet = entry.at("sheet").get<unsigned>();
    fault.place = place->place;
    return fault;
}

} // namespace

MovingSheet::~MovingSheet() { delete_pictures(sheet_, dir_); }

PaperPath::PaperPath(const fs::path &root)
    : state_file_(root / "var/varn/paper.json"), sheet_dir_(root / "var/varn/sheets"),
      incoming_dir_(root.string() + wire::incoming_dir) {
    fs::create_directories(sheet_dir_);
    fs::create_directories(incoming_dir_);
    try {
        const Bytes text = read_file(state_file_, state_limit).value_or(Bytes());
        const auto *begin = reinterpret_cast<const char *>(text.data());
        if (!text.empty())
            paper_ = parse(json::parse(begin, begin + text.size()));
    } catch (const std::exception &error) {
        log_line(state_file_.string() + " is unreadable, the feeder starts empty: " + error.what());
    }
    remove_strays();
}

PaperPath::Paper PaperPath::parse(const json &state) {
    Paper paper;
    for (const json &sheet : state.at("feeder"))
        paper.feeder.push_back(sheet_from_json(sheet));
    if (state.contains("glass"))
        paper.glass = sheet_from_json(state.at("glass"));
    for (const json &fault : state.at("faults"))
        paper.faults.push_back(fault_from_json(fault));
    paper.hatch_open = state.at("hatchOpen").get<bool>();
    paper.tray_open = state.at("trayOpen").get<bool>();
    paper.loaded = state.at("loaded").get<unsigned>();
    paper.next_file = state.at("nextFile").get<unsigned>();
    return paper;
}

/// A sheet that was moving when the engine ended has left its pictures behind.
void PaperPath::remove_strays() const {
    std::set<std::string> used;
    const auto note = [&used](const Sheet &sheet) {
        used.insert(sheet.front.file);
        used.insert(sheet.back.file);
    };
    std::ranges::for_each(paper_.feeder, note);
    if (paper_.glass)
        note(*paper_.glass);
    for (const auto &entry : fs::directory_iterator(sheet_dir_))
        if (!used.contains(entry.path().filename().string()))
            remove_quietly(entry.path());
    for (const auto &entry : fs::directory_iterator(incoming_dir_))
        remove_quietly(entry.path());
}

void PaperPath::commit(Paper next) {
    json state = {{"feeder", json::array()},      {"faults", json::array()},
                  {"hatchOpen", next.hatch_open}, {"trayOpen", next.tray_open},
                  {"loaded", next.loaded},        {"nextFile", next.next_file}};
    for (const Sheet &sheet : next.feeder)
        state["feeder"].push_back(to_json(sheet));
    if (next.glass)
        state["glass"] = to_json(*next.glass);
    for (const Fault &fault : next.faults)
        state["faults"].push_back(fault_to_json(fault));
    const std::string text = state.dump(1, ' ', false, json::error_handler_t::replace);
    if (!replace_file(state_file_, bytes_of(std::string_view(text))))
        throw std::runtime_error("the device tree cannot be written");
    paper_ = std::move(next);
}

void PaperPath::take_in_file(SheetSide &side) {
    if (side.file.empty())
        return;
    const fs::path source = incoming_dir_ / side.file;
    open_picture(source); // refuses what could not be scanned
    const std::string kept = std::to_string(paper_.next_file++);
    std::error_code error;
    fs::rename(source, sheet_dir_ / kept, error);
    if (error)
        throw std::runtime_error("cannot take in " + side.name + ": " + error.message());
    side.file = kept;
}

Sheet PaperPath::take_in(const json &entry) {
    Sheet sheet = sheet_from_json(entry);
    take_in_file(sheet.front);
    take_in_file(sheet.back);
    return sheet;
}

void PaperPath::load_feeder(const json &sheets) {
    const std::lock_guard lock(mutex_);
    if (!sheets.is_array() || sheets.empty())
        throw std::runtime_error("no sheets to load");
    if (sheets.size() + paper_.feeder.size() > feeder_capacity)
        throw std::runtime_error("the feeder holds at most " + std::to_string(feeder_capacity) +
                                 " sheets");
    try {
        std::vector<Sheet> added;
        for (const json &entry : sheets)
            added.push_back(take_in(entry));
        Paper next = paper_;
        if (next.feeder.empty())
            next.loaded = 0;
        for (Sheet &sheet : added) {
            sheet.number = ++next.loaded;
            next.feeder.push_back(sheet);
        }
        commit(std::move(next));
    } catch (...) {
        remove_strays();
        throw;
    }
    forgive({wire::err_feeder_empty, wire::err_mispick});
}

void PaperPath::empty_feeder() {
    const std::lock_guard lock(mutex_);
    Paper next = paper_;
    next.feeder.clear();
    const std::vector<Sheet> removed = paper_.feeder;
    commit(std::move(next));
    for (const Sheet &sheet : removed)
        delete_pictures(sheet, sheet_dir_);
}

void PaperPath::put_on_glass(const json &entry) {
    const std::lock_guard lock(mutex_);
    change_glass(take_in(entry));
}

void PaperPath::clear_glass() {
    const std::lock_guard lock(mutex_);
    change_glass(std::nullopt);
}

void PaperPath::change_glass(std::optional<Sheet> sheet) {
    Paper next = paper_;
    next.glass = std::move(sheet);
    if (next.glass)
        next.glass->number = 1;
    const std::optional<Sheet> removed = paper_.glass;
    commit(std::move(next));
    if (removed)
        delete_pictures(*removed, sheet_dir_);
}

void PaperPath::set_hatch(bool open) {
    const std::lock_guard lock(mutex_);
    Paper next = paper_;
    next.hatch_open = open;
    commit(std::move(next));
    if (!open) // whoever closes it has cleared the path
        forgive({wire::err_mispick, wire::err_jam, wire::err_jam_exit, wire::err_multipick,
                 wire::err_page_too_long, wire::err_page_too_short, wire::err_hatch_open});
}

void PaperPath::set_tray(bool open) {
    const std::lock_guard lock(mutex_);
    Paper next = paper_;
    next.tray_open = open;
    commit(std::move(next));
    if (open)
        forgive({wire::err_tray_closed});
}

void PaperPath::add_fault(const Fault &fault) {
    const std::lock_guard lock(mutex_);
    if (paper_.faults.size() >= most_faults)
        throw std::runtime_error("too many faults are pending");
    Paper next = paper_;
    next.faults.push_back(fault);
    commit(std::move(next));
}

void PaperPath::clear_faults() {
    const std::lock_guard lock(mutex_);
    Paper next = paper_;
    next.faults.clear();
    commit(std::move(next));
    last_error_ = wire::err_none;
    takeover_ = false;
}

void PaperPath::set_takeover(bool on) {
    const std::lock_guard lock(mutex_);
    takeover_ = on;
}

void PaperPath::set_pace(const Pace &pace) {
    const std::lock_guard lock(mutex_);
    pace_ = pace;
}

void PaperPath::describe(json &state) const {
    const std::lock_guard lock(mutex_);
    state["feeder"] = json::array();
    for (const Sheet &sheet : paper_.feeder)
        state["feeder"].push_back({{"number", sheet.number},
                                   {"front", sheet.front.name},
                                   {"back", sheet.back.name},
                                   {"double", sheet.is_double}});
    state["glass"] = paper_.glass ? json(paper_.glass->front.name) : json(nullptr);
    state["hatch"] = paper_.hatch_open ? "open" : "closed";
    state["tray"] = paper_.tray_open ? "open" : "closed";
    state["faults"] = json::array();
    for (const Fault &fault : paper_.faults)
        state["faults"].push_back(fault_to_json(fault));
    const auto error = std::ranges::find(error_names, last_error_, &ErrorName::code);
    state["lastError"] = last_error_;
    state["lastErrorName"] = error == error_names.end() ? "unknown" : error->name;
    state["takeover"] = takeover_;
    state["pace"] = {{"msPerStrip", pace_.ms_per_strip}, {"msPerBlock", pace_.ms_per_block}};
}

std::uint32_t PaperPath::last_error() const {
    const std::lock_guard lock(mutex_);
    return last_error_;
}

void PaperPath::set_last_error(std::uint32_t error) {
    const std::lock_guard lock(mutex_);
    last_error_ = error;
}

bool PaperPath::taken_over() const {
    const std::lock_guard lock(mutex_);
    return takeover_ && last_error_ != wire::err_none;
}

Pace PaperPath::pace() const {
    const std::lock_guard lock(mutex_);
    return pace_;
}

std::uint16_t PaperPath::sensors() const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::uint16_t>((paper_.hatch_open ? 1 : 0) |
                                      (paper_.feeder.empty() ? 0 : 2));
}

std::uint32_t PaperPath::feeder_obstacle() const {
    const std::lock_guard lock(mutex_);
    return obstacle();
}

std::uint32_t PaperPath::obstacle() const {
    if (paper_.hatch_open)
        return wire::err_hatch_open;
    if (!paper_.tray_open)
        return wire::err_tray_closed;
    return paper_.feeder.empty() ? wire::err_feeder_empty : wire::err_none;
}

std::unique_ptr<MovingSheet> PaperPath::pick() {
    const std::lock_guard lock(mutex_);
    if (obstacle() != wire::err_none)
        return nullptr;
    const Sheet top = paper_.feeder.front();
    Paper next = paper_;
    next.feeder.erase(next.feeder.begin());
    commit(std::move(next));
    return std::make_unique<MovingSheet>(top, sheet_dir_);
}

Sheet PaperPath::on_glass() const {
    const std::lock_guard lock(mutex_);
    return paper_.glass.value_or(Sheet());
}

std::optional<Fault> PaperPath::take_fault(unsigned number, bool on_glass) {
    const std::lock_guard lock(mutex_);
    const auto found = std::ranges::find_if(paper_.faults, [&](const Fault &fault) {
        return fault.sheet == number && fault.kind->effect != FaultEffect::refuse &&
               (!on_glass || strikes_glass(*fault.kind));
    });
    return take(found);
}

bool PaperPath::take_refusal() {
    const std::lock_guard lock(mutex_);
    return take(std::ranges::find_if(
                    paper_.faults,
                    [](const Fault &fault) { return fault.kind->effect == FaultEffect::refuse; }))
        .has_value();
}

std::optional<Fault> PaperPath::take(std::vector<Fault>::const_iterator found) {
    if (found == paper_.faults.cend())
        return std::nullopt;
    const Fault fault = *found;
    Paper next = paper_;
    next.faults.erase(next.faults.begin() + (found - paper_.faults.cbegin()));
    commit(std::move(next));
    return fault;
}

void PaperPath::forgive(std::initializer_list<std::uint32_t> errors) {
    if (std::ranges::find(errors, last_error_) == errors.end())
        return;
    last_error_ = wire::err_none;
    takeover_ = false;
}

} // namespace varn::engine
