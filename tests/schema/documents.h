// Writing and reading documents through the binding, the way the library's frames do it.
#pragma once

#include "soapH.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace varn::test {

// The mode values in use.
inline constexpr unsigned strict_modes[] = {0x83000, 0x85440, 0x2087440, 0x2083440};
inline constexpr unsigned lenient_modes[] = {0x82000, 0x2082000, 0x2086000};

template <class T>
struct Binding;

#define VARN_BINDING(T)                                                                            \
    template <>                                                                                    \
    struct Binding<T> {                                                                            \
        static void serialize(soap *s, const T *p) { soap_serialize_##T(s, p); }                   \
        static int put(soap *s, const T *p, const char *tag) {                                     \
            return soap_put_##T(s, p, tag, nullptr);                                               \
        }                                                                                          \
        static T *get(soap *s, T *p) { return soap_get_##T(s, p, nullptr, nullptr); }              \
    }

VARN_BINDING(dd__DNSConfig);
VARN_BINDING(ev__Event);
VARN_BINDING(ev__EventTable);
VARN_BINDING(io__Adapters);
VARN_BINDING(io__Profile);
VARN_BINDING(io__Protocols);
VARN_BINDING(io__WifiNetworks);
VARN_BINDING(prdcfgdyn2__ProductConfigDyn);
VARN_BINDING(psdyn__ProductStatusDyn);
VARN_BINDING(scan__ScanSettingsType);
VARN_BINDING(scan__ScannerCapabilitiesType);
VARN_BINDING(scan__ScannerStatusType);
VARN_BINDING(ts__RTCSetting);
VARN_BINDING(varn__DiscoveryTree);

/// Which namespace calls a frame makes before it writes.
enum class Variant {
    Plain,      // none; the marking of shared objects is switched on
    Namespaced, // all of them, and every object in full
};

template <class T>
std::string write(const T &root, const char *tag, unsigned mode = 0x82000,
                  Variant variant = Variant::Plain) {
    soap *s = soap_new2(mode, mode);
    if (variant == Variant::Namespaced)
        soap_set_namespaces(s, namespaces);
    soap_begin(s);
    if (variant == Variant::Namespaced)
        s->omode |= SOAP_XML_TREE;
    const int fd = memfd_create("document", 0);
    s->recvfd = s->sendfd = fd;

    int error = soap_begin_send(s);
    if (!error) {
        Binding<T>::serialize(s, &root);
        error = Binding<T>::put(s, &root, tag);
        if (!error)
            error = soap_end_send(s);
    }
    std::string text = error ? "error " + std::to_string(error) : "";
    lseek(fd, 0, SEEK_SET);
    char block[4096];
    for (ssize_t n; (n = ::read(fd, block, sizeof block)) > 0;)
        text.append(block, static_cast<size_t>(n));
    close(fd);
    soap_delete(s, nullptr);
    soap_end(s);
    soap_done(s);
    soap_free(s);
    return text;
}

/// A document without its declaration, without namespace declarations and without layout.
inline std::string bare(std::string text) {
    const auto erase = [&text](std::string_view from, char to) {
        for (size_t at; (at = text.find(from)) != text.npos;)
            text.erase(at, text.find(to, at + from.size()) - at + 1);
    };
    erase("<?xml", '>');
    for (size_t at; (at = text.find(" xmlns:")) != text.npos;)
        text.erase(at, text.find('"', text.find('"', at) + 1) - at + 1);
    std::erase(text, '\n');
    std::erase(text, '\t');
    return text;
}

/// Document that was read, with the context that owns what it points at.
template <class T>
class Reading {
public:
    Reading(std::string_view text, unsigned mode, Variant variant = Variant::Plain) : rest(text) {
        s = soap_new2(mode, mode);
        s->imode |= SOAP_ENC_PLAIN; // never an HTTP message, whatever it begins with
        s->maxlevel = 64;           // the schema nests without end, a thread's stack does not
        if (variant == Variant::Namespaced) {
            soap_set_namespaces(s, namespaces);
            s->encodingStyle = nullptr;
            s->omode |= SOAP_XML_GRAPH;
        }
        s->user = this;
        s->frecv = receive;
        if (soap_begin_recv(s) == SOAP_OK && Binding<T>::get(s, &root))
            soap_end_recv(s);
        error = s->error;
    }
    Reading(const Reading &) = delete;
    Reading &operator=(const Reading &) = delete;
    ~Reading() {
        soap_delete(s, nullptr);
        soap_end(s);
        soap_done(s);
        soap_free(s);
    }

    T root;
    int error = 0;

private:
    static size_t receive(soap *s, char *buffer, size_t size) {
        std::string_view &rest = static_cast<Reading *>(s->user)->rest;
        const size_t n = std::min(size, rest.size());
        std::memcpy(buffer, rest.data(), n);
        rest.remove_prefix(n);
        return n;
    }

    std::string_view rest;
    soap *s;
};

/// Declarations for the prefixes that the documents of these tests use.
inline std::string with_namespaces(std::string text) {
    std::string declarations;
    for (const Namespace *row = namespaces; row->id; ++row) {
        if (row->ns)
            declarations += std::string(" xmlns:") + row->id + "=\"" + row->ns + "\"";
    }
    return text.insert(text.find_first_of("/> "), declarations);
}

} // namespace varn::test
