/// What calls of the library must not overlap in, one lock for each.
///
/// The library locks nothing around a resource: two calls of one resource, or two resources that
/// share a ticket, a reader or an allocator, must not overlap. The map gives each resource the
/// locks that it needs; resources without a common lock never wait for each other.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <mutex>

namespace varn::web {

enum class Lock : std::uint8_t {
    discovery_tree,
    product_config,     ///< GET and PUT of the configuration
    product_config_cap, ///< the capability ticket
    maintenance,        ///< alerts, counters and service of the product
    scan,               ///< capabilities file, scan start, image list
    scanner_status,     ///< the status ticket's GET; a running scan has the library's own mutex
    image_info,
    escl_config,
    escl_manifest,
    jobs,   ///< queue, list, and the ticket of one job
    events, ///< the answer of the event table; the table itself has the library's own mutex
    walkup, ///< tickets and identifier of the walk-up resources, and of picking at the panel
    io_capabilities, ///< the capability ticket of the interfaces
    network_change,  ///< PUTs, POSTs and DELETEs of the adapters but that of a profile
    profile_change,  ///< a PUT of a profile, which may take eight seconds
    snmp_file,       ///< writers of it
    email,           ///< the record of both mail documents
    sharepoint,      ///< job table, defaults, test and their tickets
    send_usb,        ///< default job and the tickets of the service
    settings_files,  ///< the XML files on flash that the panel changes
    web_parameters,  ///< writers of the engine's block of application switches
    identifiers,     ///< whatever makes a UUID
    shared_reader,   ///< every PUT that reads through varn_recv
    my_malloc,       ///< every GET that allocates with MyMalloc: the tickets of the network, too
    count
};

class LockSet {
public:
    constexpr LockSet() = default;
    constexpr LockSet(std::initializer_list<Lock> locks) {
        for (const Lock lock : locks)
            bits_ |= bit(lock);
    }
    constexpr bool has(Lock lock) const { return (bits_ & bit(lock)) != 0; }

private:
    static_assert(static_cast<unsigned>(Lock::count) <= 64);
    static constexpr std::uint64_t bit(Lock lock) {
        return std::uint64_t{1} << static_cast<unsigned>(lock);
    }
    std::uint64_t bits_ = 0;
};

class LockTable {
public:
    /// Holds the locks of a set. They are taken in the order of the enumeration, so two holders
    /// cannot block each other.
    class Guard {
    public:
        Guard(LockTable &table, LockSet set) : table_(table), set_(set) {
            for (unsigned i = 0; i < size; ++i)
                if (set_.has(static_cast<Lock>(i)))
                    table_.mutexes_[i].lock();
        }
        ~Guard() {
            for (unsigned i = size; i-- > 0;)
                if (set_.has(static_cast<Lock>(i)))
                    table_.mutexes_[i].unlock();
        }
        Guard(const Guard &) = delete;
        Guard &operator=(const Guard &) = delete;

    private:
        LockTable &table_;
        LockSet set_;
    };

private:
    static constexpr unsigned size = static_cast<unsigned>(Lock::count);
    std::array<std::mutex, size> mutexes_;
};

} // namespace varn::web
