/// Tickets that are read and rewritten while others do the same, under their file lock.
#pragma once

#include "frame/document.h"
#include "frame/guards.h"
#include "frame/root.h"

#include <fcntl.h>
#include <string>
#include <sys/file.h>

namespace varn {

/// Whether an access to a ticket takes the file lock, and what it is called in the log.
struct TicketLock {
    const char *label = nullptr;  ///< null: no lock
    const char *caller = nullptr; ///< exported function, for the log
};

/// Holds the file lock of a ticket for a block.
class FileLock {
public:
    FileLock(int fd, const TicketLock &lock) : fd_(fd), lock_(lock) {
        if (lock_.label != nullptr)
            common_lock_file(fd_, lock_.label, LOCK_EX, lock_.caller);
    }
    ~FileLock() {
        if (lock_.label != nullptr)
            common_lock_file(fd_, lock_.label, LOCK_UN, lock_.caller);
    }
    FileLock(const FileLock &) = delete;
    FileLock &operator=(const FileLock &) = delete;

private:
    int fd_;
    TicketLock lock_;
};

/// The rest of an open file.
std::string read_whole(int fd);

/// Parses a ticket (device path) into `root`; false when it is not there or cannot be read, as
/// the document's error() tells then.
template <typename Root>
bool read_ticket(Document &document, Root &root, const char *path, const TicketLock &lock = {}) {
    const UniqueFd file(open(device_path(path).c_str(), O_RDONLY | O_CLOEXEC));
    std::string text;
    if (file.ok()) {
        const FileLock held(file.get(), lock);
        text = read_whole(file.get());
    }
    return document.read(text.data(), text.size(), root);
}

/// Puts a document in place of a ticket; false when it cannot be written whole, as the document's
/// error() tells then. The old text goes under the lock, so that a reader that holds it never
/// finds half a file.
template <typename Root>
bool write_ticket(Document &document, const Root &root, const char *path,
                  const TicketLock &lock = {}) {
    const UniqueFd file(open(device_path(path).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!file.ok())
        return document.fail(SOAP_EOF);
    const FileLock held(file.get(), lock);
    if (ftruncate(file.get(), 0) != 0)
        return document.fail(SOAP_EOF);
    document.write(file.get(), root);
    return document.error() == SOAP_OK;
}

} // namespace varn
