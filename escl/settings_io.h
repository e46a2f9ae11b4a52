/// Reading the documents of the settings translation.
#pragma once

#include "frame/document.h"

#include <string>

namespace varn {

/// Whole content of a device file; empty when it does not open.
std::string read_text_file(const char *path, int flags);

/// A document with the context that owns its memory.
template <typename Root>
struct Parsed {
    explicit Parsed(const Variant &variant) : document(variant) {}
    Document document;
    Root root;

    /// What cannot be read goes on as a document without elements. Returns the error.
    int read(const std::string &text) {
        document.read(text.data(), text.size(), root);
        const int error = document.error();
        if (error != SOAP_OK)
            root = Root();
        return error;
    }
};

/// Reads a request body through scanparam_recv; without elements when it cannot be read. Returns
/// the error.
int read_request(Document &document, const char *xml, uint32_t length,
                 scan__ScanSettingsType &settings);

/// Reads a capabilities file, and makes an empty one where there is none.
void read_capabilities(Parsed<scan__ScannerCapabilitiesType> &capabilities, const char *path);

} // namespace varn
