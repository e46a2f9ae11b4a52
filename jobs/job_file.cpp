#include "jobs/job_file.h"

#include "frame/root.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <mxml.h>
#include <string>

#define VARN_JOBS "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/varn/jobs/2009/04/30"
#define VARN_FAX "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/fax/2008/06/13"
#define VARN_DICTIONARY "http://" VARN_SCHEMA_HOST_A "/schemas/imaging/con/dictionaries/1.0/"
#define VARN_XSI "http://www.w3.org/2001/XMLSchema-instance"
#define VARN_LOCATION "xsi:schemaLocation=\"" VARN_JOBS " ../schemas/Jobs.xsd\""

namespace varn {
namespace {

constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n";
constexpr std::string_view disclaimer =
    "<!-- THIS DATA SUBJECT TO DISCLAIMER(S) INCLUDED WITH THE PRODUCT OF ORIGIN. -->\r\n";
constexpr std::string_view list_start =
    "<j:JobList " VARN_LOCATION "\r\n xmlns:xsi=\"" VARN_XSI "\" xmlns:fax=\"" VARN_FAX
    "\"\r\n xmlns:dd=\"" VARN_DICTIONARY "\"\r\n xmlns:j=\"" VARN_JOBS "\">\r\n";
constexpr std::string_view list_end = "</j:JobList>\r\n";
constexpr std::string_view job_start =
    "<j:Job xmlns:j=\"" VARN_JOBS "\" xmlns:dd=\"" VARN_DICTIONARY "\" xmlns:fax=\"" VARN_FAX
    "\" xmlns:xsi=\"" VARN_XSI "\" " VARN_LOCATION ">";
constexpr std::string_view job_end = "</j:Job>\r\n";
static_assert(declaration.size() == 40 && disclaimer.size() == 82 && list_end.size() == 14 &&
              job_end.size() == 10);

bool create(const char *path, int flags, std::string_view start, std::string_view end) {
    const UniqueFd file(
        open(device_path(path).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644));
    const std::string_view parts[] = {declaration, disclaimer, start, end};
    return file.ok() && std::ranges::all_of(parts, [&](std::string_view part) {
               return write(file.get(), part.data(), part.size()) ==
                      static_cast<ssize_t>(part.size());
           });
}

/// Bytes of the UTF-8 character at the head of `text` when XML can hold it, else 0.
size_t character_size(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
        return lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r' ? 1 : 0;
    const size_t size = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (size == 0 || text.size() < size)
        return 0;
    uint32_t code = lead & (0x7FU >> size);
    for (const char c : text.substr(1, size - 1)) {
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
            return 0;
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3F);
    }
    const bool overlong = code < (size == 2 ? 0x80U : size == 3 ? 0x800U : 0x10000U);
    const bool none =
        (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF || code > 0x10FFFF;
    return overlong || none ? 0 : size;
}

bool is_xml_text(std::string_view text) {
    while (!text.empty()) {
        const size_t size = character_size(text);
        if (size == 0)
            return false;
        text.remove_prefix(size);
    }
    return true;
}

void add_text(mxml_node_t *parent, const char *name, const char *text) {
    mxml_node_t *element = mxmlNewElement(parent, name);
    if (element != nullptr && text != nullptr)
        mxmlNewText(element, 0, text);
}

bool is_blank(mxml_node_t *node) {
    const char *text = nullptr;
    if (mxmlGetType(node) == MXML_OPAQUE)
        text = mxmlGetOpaque(node);
    else if (mxmlGetType(node) == MXML_TEXT)
        text = mxmlGetText(node, nullptr);
    return text != nullptr && text[strspn(text, " \t\r\n")] == '\0';
}

/// The white space of the last save, to which this one would add its own: a list that is saved
/// often would grow without end.
void drop_layout(mxml_node_t *handle) {
    for (mxml_node_t *node = handle, *next = nullptr; node != nullptr; node = next) {
        next = mxmlWalkNext(node, handle, MXML_DESCEND);
        if (is_blank(node))
            mxmlDelete(node);
    }
}

/// A line end in front of the declaration would make a file that cannot be loaded again.
const char *white_space(mxml_node_t *node, int where) {
    const char *name = mxmlGetElement(node);
    const bool is_declaration = name != nullptr && strncmp(name, "?xml", 4) == 0;
    const bool breaks = where == MXML_WS_BEFORE_OPEN || where == MXML_WS_AFTER_CLOSE;
    return breaks && !is_declaration ? "\n" : nullptr;
}

} // namespace

std::recursive_mutex &job_mutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

bool create_job_list() { return create(job_list_path, O_EXCL, list_start, list_end); }
bool create_job() { return create(job_path, O_TRUNC, job_start, job_end); }

bool is_storable(const varn_job_text &job) {
    return std::ranges::all_of(job_elements, [&](const JobElement &element) {
        const char *text = element.text != nullptr ? job.*element.text : nullptr;
        return text == nullptr || is_xml_text(text);
    });
}

void add_job_elements(mxml_node_t *parent, const varn_job_text &job) {
    for (const JobElement &element : job_elements) {
        if (element.text != nullptr)
            add_text(parent, element.name, job.*element.text);
        else
            add_text(parent, element.name, std::to_string(job.percent).c_str());
    }
}

bool save_job_tree(mxml_node_t *handle, int fd) {
    drop_layout(handle);
    if (lseek(fd, 0, SEEK_SET) != 0 || mxmlSaveFd(handle, fd, white_space) != 0)
        return false;
    // What a longer document left behind this one would make it unreadable.
    const off_t end = lseek(fd, 0, SEEK_CUR);
    return end > 0 && ftruncate(fd, end) == 0;
}

} // namespace varn
