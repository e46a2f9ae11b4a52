/// File-level routines under every resource: read-back, locks, identifiers, stored XML values.

#include "frame/guards.h"
#include "frame/root.h"
#include "platform/xml_text.h"
#include "varn/frame.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <mxml.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <uuid/uuid.h>

// This header does not say of itself that its functions are C.
extern "C" {
#include <e2p/e2p.h>
}

using varn::ConfigTree;
using varn::device_path;
using varn::UniqueFd;

namespace varn {

int32_t read_back(int fd, char **out_buf, uint32_t *out_len) {
    struct stat info {};
    if (fstat(fd, &info) != 0 || info.st_size < 1 || info.st_size >= UINT32_MAX)
        return -1;
    const auto size = static_cast<uint32_t>(info.st_size);
    auto *block = static_cast<char *>(malloc(size_t{size} + 1));
    if (block == nullptr)
        return -1;
    *out_len = size;
    *out_buf = block;
    common_lock_file(fd, "READ", LOCK_EX, "common_read_file_data");
    const ssize_t got = pread(fd, block, size, 0);
    common_lock_file(fd, "READ", LOCK_UN, "common_read_file_data");
    const size_t filled = got > 0 ? static_cast<size_t>(got) : 0;
    memset(block + filled, 0, size_t{size} + 1 - filled);
    return filled == size ? 0 : -1;
}

} // namespace varn

int32_t common_read_file_data(const char *path, char **out_buf, uint32_t *out_len) {
    if (path == nullptr || out_buf == nullptr || out_len == nullptr)
        return -1;
    const UniqueFd file(open(device_path(path).c_str(), O_RDWR | O_CLOEXEC));
    return file.ok() ? varn::read_back(file.get(), out_buf, out_len) : -1;
}

int32_t common_lock_file(int32_t fd, const char *who, int32_t operation, const char *caller) {
    if (fd < 0) {
        printf("%s, fd<0! by %s\n", __func__, caller);
        return -1;
    }
    const char *word = operation == LOCK_UN ? "unLock" : operation == LOCK_EX ? "Lock" : "unKonwn";
    if (flock(fd, operation) != 0) {
        printf("%s %s NG! %s by %s fd=%d\n", who, word, strerror(errno), caller, fd);
        return -1;
    }
    return 0;
}

const char *common_create_uuid(void) {
    uuid_t id = {};
    uuid_generate(id);
    if (e2p_is_null_uuid(id) != 0)
        uuid_generate(id);
    return e2p_uuid2str(id);
}

namespace {

/// The node of `tag` below `root` in an opened file; null with a log line when one is missing.
mxml_node_t *find_tag(const ConfigTree &tree, const char *file, const char *root, const char *tag) {
    if (tree.get() == nullptr) {
        printf("%s:%d:#Error: unable to open %s \n", __FILE_NAME__, __LINE__, file);
        return nullptr;
    }
    mxml_node_t *top = cfg_find_param_node(tree.get(), root);
    if (top == nullptr) {
        printf("%s:%d:#Error: unable to find root %s\n", __FILE_NAME__, __LINE__, root);
        return nullptr;
    }
    mxml_node_t *node = cfg_find_param_node(top, tag);
    if (node == nullptr)
        printf("%s:%d:#Error: unable to find tag %s\n", __FILE_NAME__, __LINE__, tag);
    return node;
}

} // namespace

int32_t common_set_tag_value(const char *file, const char *root, const char *tag,
                             const char *value) {
    if (file == nullptr || root == nullptr || tag == nullptr || value == nullptr)
        return -1;
    const std::string path = device_path(file);
    const ConfigTree tree(path.c_str());
    mxml_node_t *node = find_tag(tree, file, root, tag);
    if (node == nullptr)
        return -1;
    cfg_set_param_value(node, value);
    cfg_save_file(tree.get(), path.c_str());
    return 0;
}

int32_t common_get_tag_value(const char *file, const char *root, const char *tag, char *out) {
    if (file == nullptr || root == nullptr || tag == nullptr || out == nullptr)
        return -1;
    const std::string path = device_path(file);
    const ConfigTree tree(path.c_str());
    mxml_node_t *node = find_tag(tree, file, root, tag);
    if (node == nullptr)
        return -1;
    cfg_get_param_value(node, out, 2048);
    return 0;
}

namespace {

/// One value on its way from the fragment to the stored file.
struct PendingValue {
    char *path; ///< `path_size` bytes, not owned
    char name[256] = {};
    char value[512] = {};
    bool more_words = false;

    bool complete() const { return *name != '\0' && *value != '\0' && !more_words; }
    void clear() {
        *path = *name = *value = '\0';
        more_words = false;
    }
};
constexpr size_t path_size = 1024;

/// The text loader splits at white space: words of one element come as siblings.
void collect(PendingValue &pending, mxml_node_t *node, mxml_node_t *fragment) {
    if (mxmlGetType(node) == MXML_ELEMENT) {
        if (cfg_get_node_pathname(node, fragment, pending.path, path_size) != 0)
            *pending.path = '\0';
        snprintf(pending.name, sizeof pending.name, "%s", mxmlGetElement(node));
        return;
    }
    const char *text = mxmlGetType(node) == MXML_TEXT ? mxmlGetText(node, nullptr) : nullptr;
    if (text == nullptr)
        return;
    const char *parent = mxmlGetElement(mxmlGetParent(node));
    if (parent == nullptr || strcmp(parent, pending.name) != 0)
        return;
    const bool last = mxmlGetNextSibling(node) == nullptr;
    if (*text == '\0') {
        // White space behind the last word is a text of its own: the value ends with it, or it
        // would run on into the next element's.
        if (last)
            pending.more_words = false;
        return;
    }
    if (*pending.value == '\0') {
        snprintf(pending.value, sizeof pending.value, "%s", text);
        pending.more_words = !last;
        return;
    }
    const size_t used = strlen(pending.value);
    snprintf(pending.value + used, sizeof pending.value - used, " %s", text);
    if (last)
        pending.more_words = false;
}

void store(PendingValue &pending, const ConfigTree &stored) {
    printf("Found %s = %s\n", pending.name, pending.value);
    mxml_node_t *target = cfg_find_param_node(stored.get(), pending.path);
    if (target != nullptr)
        cfg_set_param_value(target, pending.value);
    else
        printf("%s:%d:#Error: unable to find tag %s\n", __FILE_NAME__, __LINE__, pending.path);
    pending.clear();
}

int32_t merge(mxml_node_t *fragment, const char *root, const ConfigTree &stored,
              char *path_buffer) {
    mxml_node_t *top = mxmlFindElement(fragment, fragment, root, nullptr, nullptr, MXML_DESCEND);
    if (top == nullptr) {
        printf("%s...find node error\n", "common_find_and_update_xmlfile");
        return -1;
    }
    PendingValue pending{path_buffer};
    for (mxml_node_t *node = top; node != nullptr;
         node = mxmlWalkNext(node, fragment, MXML_DESCEND)) {
        collect(pending, node, fragment);
        if (pending.complete())
            store(pending, stored);
    }
    return 0;
}

} // namespace

int32_t common_find_and_update_xmlfile(const char *xml, const char *root, const char *file) {
    if (xml == nullptr || root == nullptr || file == nullptr) {
        printf("%s...function para error \n", __func__);
        return -1;
    }
    const std::unique_ptr<char, decltype(&free)> path_buffer(
        static_cast<char *>(calloc(path_size, 1)), free);
    if (path_buffer == nullptr) {
        printf("%s:%d:#Error: unable to allocate buffer1\n", __FILE_NAME__, __LINE__);
        return -1;
    }
    const std::string path = device_path(file);
    const ConfigTree stored(path.c_str());
    if (stored.get() == nullptr) {
        printf("%s:%d:#Error: unable to open %s \n", __FILE_NAME__, __LINE__, file);
        return -1;
    }
    if (cfg_find_param_node(stored.get(), root) == nullptr) {
        printf("%s:%d:#Error: unable to find root %s\n", __FILE_NAME__, __LINE__, root);
        return -1;
    }
    const varn::XmlText fragment = varn::load_xml_text(xml, nullptr);
    if (fragment == nullptr) {
        printf("%s...tree error \n", __func__);
        return -1;
    }
    const int32_t result = merge(fragment.get(), root, stored, path_buffer.get());
    if (result == 0)
        cfg_save_file(stored.get(), path.c_str());
    return result;
}

int32_t check_xmlstr_valid(const char *xml) {
    if (xml == nullptr)
        return -1;
    return strncmp(xml, "<?xml>", 5) == 0 || strncmp(xml, "<?XML>", 5) == 0 ? 0 : -1;
}
