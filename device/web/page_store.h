/// The last pages that were scanned, for the panel: JPEG files in the device tree.
#pragma once

#include "device/wire/local_socket.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace varn::web {

struct KeptPage {
    std::uint64_t id = 0; ///< from 1 on
    std::string job;      ///< UUID
    unsigned width = 0;   ///< pixels
    unsigned height = 0;
};

class PageStore {
public:
    static constexpr std::size_t max_pages = 8;

    /// root      device tree. Pages of an earlier run are deleted.
    explicit PageStore(const std::string &root);
    PageStore(const PageStore &) = delete;
    PageStore &operator=(const PageStore &) = delete;

    /// A page that is written while it goes out to its host. Only a JPEG is kept, and only if it
    /// came to its end. A page that cannot be written is none; the scan does not suffer.
    class Page {
    public:
        Page(PageStore &store, std::string job) : store_(store), job_(std::move(job)) {}
        ~Page();
        Page(const Page &) = delete;
        Page &operator=(const Page &) = delete;

        void write(std::span<const std::byte> bytes);
        void keep();

    private:
        void begin(std::span<const std::byte> bytes);

        PageStore &store_;
        std::string job_;
        wire::Descriptor file_;
        std::filesystem::path path_;
        std::vector<std::byte> head_; ///< as much as is needed to know the size
        bool begun_ = false;
    };

    /// Newest first.
    std::vector<KeptPage> pages() const;
    /// The file of a page; empty when it is not kept (any more).
    wire::Descriptor open(std::uint64_t id) const;

private:
    std::filesystem::path file_of(std::uint64_t id) const;
    void add(const std::filesystem::path &file, KeptPage page);

    const std::filesystem::path dir_;
    mutable std::mutex mutex_;
    std::deque<KeptPage> pages_; ///< newest first
    std::uint64_t last_id_ = 0;
};

/// Width and height from the head of a JPEG file; both 0 when the frame header is not in it.
void read_jpeg_size(std::span<const std::byte> head, unsigned &width, unsigned &height);

} // namespace varn::web
