#include "tests/engine/engine_fixture.h"

#include "device/kob_common/link.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <png.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace varn::test {
namespace fs = std::filesystem;

namespace {

/// Starts a program with its output in `output`, a pipe's end.
pid_t start(const std::vector<std::string> &words, wire::Descriptor &output, bool with_errors) {
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) < 0)
        return -1;
    output = wire::Descriptor(ends[0]);
    const wire::Descriptor writing(ends[1]);
    std::vector<char *> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(writing.get(), 1);
        if (with_errors)
            dup2(writing.get(), 2);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    return pid;
}

int count_entries(const std::string &dir) {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(dir))
        ++count;
    return count;
}

} // namespace

TempTree::TempTree() {
    std::string name = (fs::temp_directory_path() / "varn-test-XXXXXX").string();
    path_ = mkdtemp(name.data()) ? name : "";
    EXPECT_FALSE(path_.empty());
}

TempTree::~TempTree() {
    std::error_code ignored;
    if (!path_.empty())
        fs::remove_all(path_, ignored);
}

Finished run_program(const std::vector<std::string> &words) {
    Finished finished;
    wire::Descriptor output;
    const pid_t pid = start(words, output, true);
    char part[4096];
    ssize_t got = 0;
    while ((got = read(output.get(), part, sizeof part)) > 0)
        finished.output.append(part, static_cast<std::size_t>(got));
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status))
        finished.status = WEXITSTATUS(status);
    return finished;
}

EngineProcess::EngineProcess(const std::string &root) {
    wire::Descriptor output;
    pid_ = start({ENGINE_PROGRAM, "--root", root, "--prctl-parent-death"}, output, false);
    char line[6] = {};
    pollfd entry{output.get(), POLLIN, 0};
    ready_ = pid_ > 0 && poll(&entry, 1, 60000) == 1 && read(output.get(), line, 6) == 6 &&
             std::string(line, 6) == "ready\n";
}

EngineProcess::~EngineProcess() {
    if (pid_ > 0) {
        EXPECT_EQ(end(SIGTERM), 0);
    }
}

int EngineProcess::end(int signal) {
    int status = -1;
    kill(pid_, signal);
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
}

int EngineProcess::threads() const {
#ifdef __SANITIZE_THREAD__
    constexpr int foreign = 1; // the sanitizer's own
#else
    constexpr int foreign = 0;
#endif
    return count_entries("/proc/" + std::to_string(pid_) + "/task") - foreign;
}

int EngineProcess::descriptors() const {
    return count_entries("/proc/" + std::to_string(pid_) + "/fd");
}

Link::Link(const std::string &root) : fd_(kob_link_open(root.c_str())) { EXPECT_GE(fd_, 0); }
Link::~Link() { kob_link_close(fd_); }

Finished run_ctl(const std::string &root, std::vector<std::string> words) {
    words.insert(words.begin(), {CTL_PROGRAM, "--root", root});
    return run_program(words);
}

std::string EngineTest::ctl(std::vector<std::string> words) const {
    const std::string named = testing::PrintToString(words);
    const Finished finished = run_ctl(root(), std::move(words));
    EXPECT_EQ(finished.status, 0) << named << finished.output;
    return finished.output;
}

std::string EngineTest::paint(const std::string &name, unsigned width, unsigned height,
                              std::uint32_t colour, unsigned dpi) const {
    std::string path = root() + "/" + name;
    FILE *file = std::fopen(path.c_str(), "wb");
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    const auto per_metre = static_cast<png_uint_32>(std::lround(dpi / 0.0254));
    if (dpi > 0)
        png_set_pHYs(png, info, per_metre, per_metre, PNG_RESOLUTION_METER);
    png_write_info(png, info);
    std::vector<png_byte> row;
    for (unsigned x = 0; x < width; ++x)
        for (const int shift : {16, 8, 0})
            row.push_back(static_cast<png_byte>(colour >> shift));
    for (unsigned y = 0; y < height; ++y)
        png_write_row(png, row.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    std::fclose(file);
    return path;
}

} // namespace varn::test
