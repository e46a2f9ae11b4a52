/// The binding alone, called as a program without the frame would call it.
#pragma once

#include "frame/document.h"

#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

namespace varn::bench {

/// A context of the binding, set up as a variant asks for.
class Context {
public:
    explicit Context(const Variant &variant) : soap_(soap_new1(variant.mode)) {
        if (variant.namespaced) {
            soap_set_namespaces(soap_, namespaces);
            soap_->omode |= SOAP_XML_TREE;
        } else {
            soap_->encodingStyle = "";
        }
        soap_->omode |= SOAP_IO_BUFFER;
        soap_->imode |= SOAP_ENC_XML;
    }
    ~Context() {
        soap_destroy(soap_);
        soap_end(soap_);
        soap_free(soap_);
    }
    Context(const Context &) = delete;
    Context &operator=(const Context &) = delete;

    template <typename Root>
    bool read(std::string_view text, Root &root) {
        unread_ = text;
        soap_->user = this;
        soap_->frecv = [](soap *context, char *dst, size_t n) {
            std::string_view &unread = static_cast<Context *>(context->user)->unread_;
            const size_t count = unread.copy(dst, n);
            unread.remove_prefix(count);
            return count;
        };
        return soap_begin_recv(soap_) == SOAP_OK && Binding<Root>::get(soap_, &root) != nullptr &&
               soap_end_recv(soap_) == SOAP_OK;
    }

    template <typename Root>
    bool write(const std::string &path, const Root &root) {
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        soap_->sendfd = fd;
        bool done = soap_begin_send(soap_) == SOAP_OK;
        Binding<Root>::serialize(soap_, &root);
        done =
            done && Binding<Root>::put(soap_, &root) == SOAP_OK && soap_end_send(soap_) == SOAP_OK;
        close(fd);
        return done;
    }

private:
    soap *soap_;
    std::string_view unread_;
};

} // namespace varn::bench
