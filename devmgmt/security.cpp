/// The passwords of the device, and the document that sets that of the web pages.

#include "varn/security.h"
#include "frame/document.h"
#include "frame/parameters.h"
#include "frame/profile.h"
#include "frame/root.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace varn {
namespace {

constexpr char user_file[] = "/etc/user.txt";
constexpr char scratch_file[] = "/tmp/panelcheck.txt";
constexpr char digest_program[] = "/usr/bin/mongoose";
constexpr char security_ticket[] = "/tmp/xml_tickets/DevMgmt/SecurityDyn.xml";

struct FileCloser {
    void operator()(FILE *file) const { fclose(file); }
};

/// The first line of a file with its end, zeros behind it; of an empty file, an empty text.
struct FirstLine {
    bool opened = false;
    std::array<char, 256> text = {};

    bool empty() const { return text[0] == '\0'; }
};

FirstLine first_line(const char *name, const char *caller) {
    FirstLine line;
    const std::unique_ptr<FILE, FileCloser> file(fopen(device_path(name).c_str(), "re"));
    if (file == nullptr) {
        printf("%s:%d: error,open %s fail !\n", caller, __LINE__, name);
        return line;
    }
    line.opened = true;
    if (fgets(line.text.data(), static_cast<int>(line.text.size()), file.get()) == nullptr)
        line.text = {};
    return line;
}

/// Takes as long wherever the two differ.
template <size_t Size>
bool same(const std::array<char, Size> &a, const std::array<char, Size> &b) {
    unsigned difference = 0;
    for (size_t i = 0; i < Size; ++i)
        difference |= static_cast<unsigned>(static_cast<unsigned char>(a[i] ^ b[i]));
    return difference == 0;
}

/// Waits for the process, and ends it when it takes too long.
bool ends_well(pid_t pid) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(pid, &status, WNOHANG)) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return ended == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Has the web server's program write the candidate's digest line into a new scratch file. The
/// candidate is one argument, whatever its characters are.
bool make_digest_line(const char *password) {
    const std::string program = device_path(digest_program);
    const std::string scratch = device_path(scratch_file);
    // What an earlier candidate left must not match this one.
    unlink(scratch.c_str());
    char *const arguments[] = {const_cast<char *>("mongoose"),
                               const_cast<char *>("-A"),
                               const_cast<char *>(scratch.c_str()),
                               const_cast<char *>(VARN_ADMIN_REALM),
                               const_cast<char *>("admin"),
                               const_cast<char *>(password),
                               nullptr};
    const pid_t pid = fork();
    if (pid == 0) {
        umask(077);
        const int null = open("/dev/null", O_RDWR);
        for (int fd = 0; fd <= 2; ++fd)
            dup2(null, fd);
        close_range(3, ~0U, 0);
        execv(program.c_str(), arguments);
        _exit(127);
    }
    return pid > 0 && ends_well(pid);
}

bool fits_command_line(const char *password) {
    constexpr size_t buffer = 272;
    const std::string command =
        std::string("mongoose -A ") + scratch_file + " " VARN_ADMIN_REALM " admin ";
    return command.size() + strlen(password) < buffer;
}

} // namespace
} // namespace varn

int32_t VARN_AdminHasSetPassword(void) {
    return varn::first_line(varn::user_file, __func__).empty() ? 0 : 1;
}

int32_t VARN_CheckPassword(const char *password) {
    const varn::FirstLine expected = varn::first_line(varn::user_file, __func__);
    if (!expected.opened)
        return 0;
    if (expected.empty()) {
        printf("%s:%d: admin not set password\n", __func__, __LINE__);
        return 1;
    }
    // The line has room for 271 bytes; a candidate that does not fit would match by its beginning.
    if (password == nullptr || !varn::fits_command_line(password) ||
        !varn::make_digest_line(password))
        return 0;
    const varn::FirstLine line = varn::first_line(varn::scratch_file, __func__);
    return line.opened && varn::same(line.text, expected.text) ? 1 : 0;
}

int32_t VARN_CheckEWSPassword(const char *password) {
    varn::WebParameters block = {};
    if (!varn::read_block(block, MVTC_PARAM_WEB))
        return 0;
    constexpr size_t size = sizeof block.ews_password;
    const size_t length = strnlen(block.ews_password, size);
    if (length == 0)
        return 1;
    const size_t candidate = password != nullptr ? strnlen(password, size + 1) : size + 1;
    if (candidate > size)
        return 0;
    std::array<char, size> expected = {};
    std::array<char, size> given = {};
    memcpy(expected.data(), block.ews_password, length);
    memcpy(given.data(), password, candidate);
    return varn::same(expected, given) ? 1 : 0;
}

int32_t VARN_GetSecurityDyn(char **out_buf, uint32_t *out_len) {
    varn::WebParameters block = {};
    varn::read_block(block, MVTC_PARAM_WEB);
    const std::string password(block.ews_password,
                               strnlen(block.ews_password, sizeof block.ews_password));
    return varn::get_document<secdyn__SecurityDyn>(
        varn::namespaced_get, varn::security_ticket, out_buf, out_len,
        [&](varn::Document &document, secdyn__SecurityDyn &root) {
            if (!password.empty())
                root.dd__Password_ = document_text(document, password);
        });
}

namespace varn {
namespace {

int32_t apply_password(const char *password) {
    static constexpr char name[] = "set_kob_security_dyn_param";
    const auto link = static_cast<uint32_t>(varn_mvt_fd);
    WebParameters block = {};
    const int32_t read = mvtc_read_h1_parameter(link, &block, sizeof block, MVTC_PARAM_WEB);
    if (read < 0)
        return read;
    constexpr int size = sizeof block.ews_password;
    printf("%s: Before = %.*s\n", name, size, block.ews_password);
    if (password != nullptr)
        snprintf(block.ews_password, sizeof block.ews_password, "%s", password);
    const int32_t result = mvtc_write_h1_parameter(link, &block, sizeof block, MVTC_PARAM_WEB);
    printf("%s: After = %.*s\n", name, size, block.ews_password);
    return result;
}

} // namespace
} // namespace varn

int32_t VARN_PutSecurityDyn(const char *xml) {
    puts("VARN_PutSecurityDyn");
    return varn::put_document<secdyn__SecurityDyn>(
        varn::profile_put, xml, __func__, // the block keeps the text that a login sends: UTF-8
        [](const secdyn__SecurityDyn &root) { return varn::apply_password(root.dd__Password_); });
}

int32_t VARN_GetSecurityCap(char **out_buf, uint32_t *out_len) {
    static constexpr char path[] = "/tmp/xml_tickets/DevMgmt/SecurityCap.xml";
    return varn::get_static(__func__, path, path, out_buf, out_len);
}
