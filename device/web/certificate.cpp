#include "device/web/certificate.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace varn::web {
namespace {

namespace fs = std::filesystem;

constexpr long valid_seconds = 10L * 365 * 24 * 3600;
/// Clocks of hosts may be behind.
constexpr long early_seconds = 24L * 3600;
constexpr int serial_bits = 127;

template <auto function>
struct Free {
    template <typename T>
    void operator()(T *object) const {
        function(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Free<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Free<X509_free>>;

void require(bool done) {
    if (!done)
        throw std::runtime_error("cannot make the certificate of the HTTPS interface");
}

void add_extension(X509 *certificate, int id, const char *value) {
    const std::unique_ptr<X509_EXTENSION, Free<X509_EXTENSION_free>> extension(
        X509V3_EXT_conf_nid(nullptr, nullptr, id, value));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

void set_random_serial(X509 *certificate) {
    const std::unique_ptr<BIGNUM, Free<BN_free>> number(BN_new());
    require(number && BN_rand(number.get(), serial_bits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1);
    require(BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr);
}

Certificate make_certificate(EVP_PKEY *key) {
    Certificate made(X509_new());
    X509 *certificate = made.get();
    require(certificate && X509_set_version(certificate, 2) == 1);
    set_random_serial(certificate);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -early_seconds);
    X509_gmtime_adj(X509_getm_notAfter(certificate), valid_seconds);
    X509_NAME *name = X509_get_subject_name(certificate);
    const auto *host = reinterpret_cast<const unsigned char *>("localhost");
    require(X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, host, -1, -1, 0) == 1);
    require(X509_set_issuer_name(certificate, name) == 1);
    require(X509_set_pubkey(certificate, key) == 1);
    add_extension(certificate, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1");
    add_extension(certificate, NID_basic_constraints, "critical,CA:FALSE");
    require(X509_sign(certificate, key, EVP_sha256()) > 0);
    return made;
}

} // namespace

void provide_certificate(const std::string &path) {
    struct stat info = {};
    if (stat(path.c_str(), &info) == 0 && info.st_size > 0) {
        chmod(path.c_str(), 0600);
        return;
    }
    const Key key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    const Certificate certificate = make_certificate(key.get());

    // Under a passing name first: a start that is broken off leaves no half of a key behind.
    std::error_code ignored;
    fs::create_directories(fs::path(path).parent_path(), ignored);
    const std::string passing = path + ".new";
    fs::remove(passing, ignored);
    const int descriptor = open(passing.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    std::FILE *file = descriptor < 0 ? nullptr : fdopen(descriptor, "w");
    require(file != nullptr);
    const bool written =
        PEM_write_PrivateKey(file, key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1 &&
        PEM_write_X509(file, certificate.get()) == 1;
    require(std::fclose(file) == 0 && written && rename(passing.c_str(), path.c_str()) == 0);
}

} // namespace varn::web
