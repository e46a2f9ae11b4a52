#include "platform/cfg.h"

#include "platform/cfg/file.h"
#include "platform/cfg/tree.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tree = varn::xmltree;

namespace {

/// Runs a body that may run out of memory; nothing is thrown through the C functions.
template <typename Result, typename Body>
Result shielded(Result failure, Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

/// What follows `name` in `path`, "" or from a dot on; null when the path does not begin with that
/// name. Names may hold dots themselves.
const char *behind_link(const char *path, const char *name) {
    std::size_t length = std::strlen(name);
    if (std::strncmp(path, name, length) != 0)
        return nullptr;
    const char *rest = path + length;
    return *rest == '\0' || *rest == '.' ? rest : nullptr;
}

// As deep as the path has links; a wrong branch is left for its next sibling.
mxml_node_t *find_below(mxml_node_t *start, const char *path) {
    for (mxml_node_t *child = mxmlGetFirstChild(start); child; child = mxmlGetNextSibling(child)) {
        const char *rest =
            tree::is_element(child) ? behind_link(path, mxmlGetElement(child)) : nullptr;
        if (!rest)
            continue;
        if (*rest == '\0')
            return child;
        if (mxml_node_t *found = find_below(child, rest + 1))
            return found;
    }
    return nullptr;
}

bool has_elements(mxml_node_t *node) {
    for (mxml_node_t *child = mxmlGetFirstChild(node); child; child = mxmlGetNextSibling(child))
        if (tree::is_element(child))
            return true;
    return false;
}

bool is_blank(mxml_node_t *node) {
    return tree::is_text(node) && tree::trim(tree::own_text(node)).empty();
}

/// Leaves one opaque node among the texts of `node`, or none, and returns it. The white space
/// that lays out child elements stays.
mxml_node_t *reduce_texts(mxml_node_t *node) {
    bool keep_blanks = has_elements(node);
    mxml_node_t *kept = nullptr;
    for (mxml_node_t *child = mxmlGetFirstChild(node), *next = nullptr; child; child = next) {
        next = mxmlGetNextSibling(child);
        if (!tree::is_text(child) || (keep_blanks && is_blank(child)))
            continue;
        if (!kept && mxmlGetType(child) == MXML_OPAQUE)
            kept = child;
        else
            mxmlDelete(child);
    }
    return kept;
}

int32_t set_text(mxml_node_t *node, const char *text) {
    if (!text || !tree::is_element(node) || !tree::is_xml_text(text))
        return -1;
    mxml_node_t *present = reduce_texts(node);
    if (*text == '\0') {
        if (present)
            mxmlDelete(present);
        return 0;
    }
    if (present)
        return mxmlSetOpaque(present, text) == 0 ? 0 : -1;
    mxml_node_t *fresh = mxmlNewOpaque(MXML_NO_PARENT, text);
    if (!fresh)
        return -1;
    mxmlAdd(node, MXML_ADD_BEFORE, MXML_ADD_TO_PARENT, fresh);
    return 0;
}

/// Asks the parser. A blank at the end passes: one stored element is named with one.
bool is_element_name(const std::string &name) {
    std::string error;
    mxml_node_t *handle = tree::load("<" + name + "/>", error);
    mxml_node_t *root = handle ? mxmlGetFirstChild(handle) : nullptr;
    bool named = root && tree::is_element(root) &&
                 name.substr(0, name.find_last_not_of(' ') + 1) == mxmlGetElement(root);
    tree::release(handle);
    return named;
}

/// Largest part of `text` within `size` bytes that does not cut a UTF-8 character.
std::string_view whole_characters(std::string_view text, std::size_t size) {
    if (text.size() <= size)
        return text;
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80)
        --size;
    return text.substr(0, size);
}

} // namespace

mxml_node_t *cfg_init(const char *path) {
    return shielded(static_cast<mxml_node_t *>(nullptr), [&]() -> mxml_node_t * {
        std::string source, error;
        if (!path || !tree::read_file(path, tree::max_source_bytes, source))
            return nullptr;
        mxml_node_t *handle = tree::load(std::move(source), error);
        if (!handle)
            std::printf("cfg_init: %s: %s\n", path, error.c_str());
        return handle;
    });
}

void cfg_deinit(mxml_node_t *handle) { tree::release(handle); }

int32_t cfg_save_file(mxml_node_t *handle, const char *path) {
    return shielded(-1, [&] {
        std::string text;
        if (!handle || !path)
            return -1;
        if (!tree::write(handle, text)) {
            std::printf("cfg_save_file: %s: the tree could not be read back, not saved\n", path);
            return -1;
        }
        if (!tree::replace_file(path, text)) {
            std::printf("cfg_save_file: %s: %s\n", path, std::strerror(errno));
            return -1;
        }
        return 0;
    });
}

mxml_node_t *cfg_find_param_node(mxml_node_t *start, const char *path) {
    return start && path ? find_below(start, path) : nullptr;
}

int32_t cfg_get_param_value(mxml_node_t *node, char *dst, uint32_t size) {
    if (!node || !dst || size == 0)
        return -1;
    return shielded(-1, [&] {
        std::string text = tree::is_text(node) ? tree::own_text(node) : tree::text_of(node);
        std::string_view part = whole_characters(tree::trim(text), size - 1);
        std::memcpy(dst, part.data(), part.size());
        dst[part.size()] = '\0';
        return 0;
    });
}

int32_t cfg_set_param_value(mxml_node_t *node, const char *text) {
    return shielded(-1, [&] { return set_text(node, text); });
}

int32_t cfg_set_param_email_body_value(mxml_node_t *node, const char *text) {
    return cfg_set_param_value(node, text);
}

mxml_node_t *cfg_add_param_node(mxml_node_t *start, const char *name) {
    return shielded(static_cast<mxml_node_t *>(nullptr), [&]() -> mxml_node_t * {
        if (!name || !is_element_name(name) || !(tree::is_element(start) || tree::is_handle(start)))
            return nullptr;
        return mxmlNewElement(start, name);
    });
}

int32_t cfg_del_param_node(mxml_node_t *node) {
    if (!node || tree::is_handle(node))
        return -1;
    return shielded(-1, [&] {
        // The white space in front of the element goes with it, or lines would pile up.
        mxml_node_t *before = mxmlGetPrevSibling(node);
        mxml_node_t *after = mxmlGetNextSibling(node);
        if (before && after && is_blank(before) && is_blank(after))
            mxmlDelete(before);
        mxmlDelete(node);
        return 0;
    });
}

mxml_node_t *cfg_walk_next(mxml_node_t *node, mxml_node_t *top, int32_t descend) {
    do
        node = node ? mxmlWalkNext(node, top, descend ? MXML_DESCEND : MXML_NO_DESCEND) : nullptr;
    while (node && !tree::is_element(node));
    return node;
}

int32_t cfg_get_node_pathname(mxml_node_t *node, mxml_node_t *top, char *dst, uint32_t size) {
    if (!dst || !top || !tree::is_element(node))
        return -1;
    std::size_t length = 0; // of the path with a dot, or the final zero, behind each name
    mxml_node_t *link = node;
    for (;; link = mxmlGetParent(link)) {
        if (!link)
            return -1;
        if (!tree::is_handle(link))
            length += std::strlen(mxmlGetElement(link)) + 1;
        if (link == top)
            break;
    }
    if (length > size)
        return -1;
    char *end = dst + length;
    char terminator = '\0';
    for (link = node; end != dst; link = mxmlGetParent(link)) {
        const char *name = mxmlGetElement(link);
        std::size_t name_length = std::strlen(name);
        *--end = terminator;
        end -= name_length;
        std::copy_n(name, name_length, end);
        terminator = '.';
    }
    return 0;
}
