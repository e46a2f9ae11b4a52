/// The certificate of the HTTPS interface.
#pragma once

#include <string>

namespace varn::web {

/// Makes sure that `path` holds a private key and a self-signed certificate for "localhost" and
/// 127.0.0.1, in one PEM file of mode 0600. What is there already stays.
/// Throws std::runtime_error when it cannot be made.
void provide_certificate(const std::string &path);

} // namespace varn::web
