#include "device/web/page_store.h"

#include "device/wire/places.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace varn::web {
namespace fs = std::filesystem;

namespace {

constexpr std::size_t head_size = 4096;

unsigned byte_at(std::span<const std::byte> bytes, std::size_t at) {
    return std::to_integer<unsigned>(bytes[at]);
}

unsigned word_at(std::span<const std::byte> bytes, std::size_t at) {
    return byte_at(bytes, at) << 8 | byte_at(bytes, at + 1);
}

bool is_frame_header(unsigned marker) {
    return marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
}

bool is_jpeg(std::span<const std::byte> bytes) {
    return bytes.size() > 2 && word_at(bytes, 0) == 0xffd8 && byte_at(bytes, 2) == 0xff;
}

} // namespace

void read_jpeg_size(std::span<const std::byte> head, unsigned &width, unsigned &height) {
    width = height = 0;
    std::size_t at = 2;
    while (at + 9 <= head.size() && byte_at(head, at) == 0xff) {
        if (is_frame_header(byte_at(head, at + 1))) {
            height = word_at(head, at + 5);
            width = word_at(head, at + 7);
            return;
        }
        at += 2 + word_at(head, at + 2);
    }
}

PageStore::PageStore(const std::string &root) : dir_(root + wire::run_dir + "/panel") {
    std::error_code ignored;
    fs::remove_all(dir_, ignored);
    fs::create_directories(dir_, ignored);
}

fs::path PageStore::file_of(std::uint64_t id) const { return dir_ / (std::to_string(id) + ".jpg"); }

void PageStore::Page::begin(std::span<const std::byte> bytes) {
    begun_ = true;
    if (!is_jpeg(bytes))
        return;
    std::string name = (store_.dir_ / "page-XXXXXX").string();
    file_ = wire::Descriptor(mkostemp(name.data(), O_CLOEXEC));
    if (file_)
        path_ = name;
}

void PageStore::Page::write(std::span<const std::byte> bytes) {
    if (!begun_)
        begin(bytes);
    if (!file_)
        return;
    const std::size_t wanted = head_size - std::min(head_size, head_.size());
    const auto head = bytes.first(std::min(bytes.size(), wanted));
    head_.insert(head_.end(), head.begin(), head.end());
    while (!bytes.empty()) {
        const ssize_t n = ::write(file_.get(), bytes.data(), bytes.size());
        if (n <= 0) {
            file_.reset();
            return;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(n));
    }
}

void PageStore::Page::keep() {
    if (!file_)
        return;
    KeptPage page;
    page.job = std::move(job_);
    read_jpeg_size(head_, page.width, page.height);
    store_.add(path_, std::move(page));
    file_.reset();
    path_.clear();
}

PageStore::Page::~Page() {
    std::error_code ignored;
    if (!path_.empty())
        fs::remove(path_, ignored);
}

void PageStore::add(const fs::path &file, KeptPage page) {
    const std::lock_guard lock(mutex_);
    page.id = ++last_id_;
    std::error_code error;
    fs::rename(file, file_of(page.id), error);
    if (error)
        return;
    pages_.push_front(std::move(page));
    if (pages_.size() > max_pages) {
        fs::remove(file_of(pages_.back().id), error);
        pages_.pop_back();
    }
}

std::vector<KeptPage> PageStore::pages() const {
    const std::lock_guard lock(mutex_);
    return {pages_.begin(), pages_.end()};
}

wire::Descriptor PageStore::open(std::uint64_t id) const {
    const std::lock_guard lock(mutex_);
    if (std::ranges::find(pages_, id, &KeptPage::id) == pages_.end())
        return {};
    return wire::Descriptor(::open(file_of(id).c_str(), O_RDONLY | O_CLOEXEC));
}

} // namespace varn::web
