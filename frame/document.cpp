#include "frame/document.h"

#include "frame/root.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>

namespace varn {

Document::Document(const Variant &variant) : soap_(soap_new1(variant.mode)) {
    if (soap_ == nullptr)
        return;
    soap_->user = this;
    // No document is deeper; the runtime's own limit would let one exhaust the stack.
    soap_->maxlevel = 64;
    const bool is_put = variant.permission == 0;
    if (variant.namespaced && is_put) {
        soap_set_namespaces(soap_, namespaces);
        soap_->encodingStyle = nullptr;
        soap_->omode |= SOAP_XML_GRAPH;
    } else if (variant.namespaced) {
        varn_InitializeMyMalloc(soap_);
        soap_set_namespaces(soap_, namespaces);
        soap_begin(soap_);
        soap_->omode |= SOAP_XML_TREE;
    } else {
        // This runtime marks shared texts with id and ref only under an encoding style; the
        // variants without a namespace call need the marking all the same.
        soap_->encodingStyle = "";
    }
    // One write for a document instead of one for each of its words.
    soap_->omode |= SOAP_IO_BUFFER;
}

Document::~Document() {
    if (soap_ == nullptr || !owned_)
        return;
    soap_delete(soap_, nullptr);
    soap_end(soap_);
    soap_free(soap_);
}

void *Document::allocate(size_t size, int count) {
    if (soap_ == nullptr || count < 1)
        return nullptr;
    void *block = soap_malloc(soap_, size * static_cast<size_t>(count));
    if (block != nullptr)
        memset(block, 0, size * static_cast<size_t>(count));
    return block;
}

char *Document::text(const char *s) {
    return soap_ == nullptr || s == nullptr ? nullptr : soap_strdup(soap_, s);
}

dd__Version *Document::version(const char *revision, const char *date) {
    auto *version = make<dd__Version>();
    if (version != nullptr) {
        version->Revision = text(revision);
        version->Date = text(date);
    }
    return version;
}

bool Document::begin_write(int fd) {
    if (soap_ == nullptr)
        return false;
    soap_->recvfd = soap_->sendfd = fd;
    soap_free_temp(soap_);
    return soap_begin_send(soap_) == SOAP_OK;
}

namespace {

size_t receive_nothing(soap *, char *, size_t) { return 0; }

} // namespace

bool Document::begin_read(const char *xml, size_t length) {
    if (soap_ == nullptr)
        return false;
    input_ = xml;
    input_left_ = length;
    if (!begins_like_xml({xml, length}))
        input_left_ = 0;
    return begin_receive([](soap *context, char *dst, size_t n) {
        auto *self = static_cast<Document *>(context->user);
        const size_t count = std::min(n, self->input_left_);
        memcpy(dst, self->input_, count);
        self->input_ += count;
        self->input_left_ -= count;
        return count;
    });
}

bool Document::begin_receive(size_t (*receive)(soap *, char *, size_t)) {
    if (soap_ == nullptr)
        return false;
    soap_->frecv = receive != nullptr ? receive : receive_nothing;
    // Documents come bare: no protocol header is looked for, and nothing is ever answered.
    soap_->imode |= SOAP_ENC_XML;
    return soap_begin_recv(soap_) == SOAP_OK;
}

bool Document::finish_read(bool got) {
    if (got)
        soap_end_recv(soap_);
    return soap_->error == SOAP_OK;
}

int open_ticket(const char *path, mode_t permission) {
    return open(device_path(path).c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, permission);
}

bool begins_like_xml(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    const size_t start = text.find_first_not_of(" \t\r\n");
    return start != std::string_view::npos && text[start] == '<';
}

int32_t get_static(const char *caller, const char *logged, const char *path, char **out_buf,
                   uint32_t *out_len) {
    printf("%s, open =%s\n", caller, logged);
    return common_read_file_data(path, out_buf, out_len);
}

} // namespace varn
