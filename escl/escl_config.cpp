/// The scan service's own configuration, and its manifest.

#include "frame/document.h"
#include "frame/parameters.h"
#include "varn/escl_resources.h"

#include <cstddef>
#include <cstdio>
#include <cstring>

namespace varn {
namespace {

constexpr char config_ticket[] = "/tmp/xml_tickets/eSCL/eSCLConfig";
constexpr size_t credential_limit = 32;

/// Parameter block 9. Nothing here sets its flag.
struct Credentials {
    uint8_t is_set;
    char user_name[40];
    char password[87];
};
static_assert(sizeof(Credentials) == 128 && offsetof(Credentials, password) == 41);

void apply_state(bool enabled) {
    WebParameters parameters = {};
    const bool known = read_block(parameters, MVTC_PARAM_WEB);
    puts(enabled ? "Enable eSCL................." : "Disable eSCL.................");
    parameters.escl_enabled = enabled ? 1 : 0;
    // A block that could not be read would go back without what else is in it.
    if (known)
        write_block(parameters, MVTC_PARAM_WEB);
}

/// Credentials that cannot be taken are passed over: the host hears of success all the same.
void apply_credentials(const scan__ScannerAdminCredentials &request) {
    if (request.UserName == nullptr || request.Password == nullptr) {
        puts("Miss ScannerAdminCredentials UserName/Password.");
        return;
    }
    if (strlen(request.UserName) > credential_limit ||
        strlen(request.Password) > credential_limit) {
        puts("ScannerAdminCredentials UserName/Password length more than 32.");
        return;
    }
    Credentials credentials = {};
    if (!read_block(credentials, MVTC_PARAM_ESCL_CONFIG))
        return;
    strcpy(credentials.user_name, request.UserName);
    strcpy(credentials.password, request.Password);
    write_block(credentials, MVTC_PARAM_ESCL_CONFIG);
}

int32_t apply(const scan__eSCLConfig &root) {
    if (root.State == nullptr)
        return -1;
    apply_state(*root.State == scan__StateType__enabled);
    if (root.ScannerAdminCredentials != nullptr)
        apply_credentials(*root.ScannerAdminCredentials);
    return 0;
}

void fill(Document &document, scan__eSCLConfig &root, const WebParameters &parameters,
          const Credentials &credentials) {
    root.State = document.value(parameters.escl_enabled != 0 ? scan__StateType__enabled
                                                             : scan__StateType__disabled);
    if (credentials.is_set == 0)
        return;
    root.ScannerAdminCredentials = document.make<scan__ScannerAdminCredentials>();
    char name[sizeof credentials.user_name + 1] = {};
    memcpy(name, credentials.user_name, sizeof credentials.user_name);
    if (root.ScannerAdminCredentials != nullptr)
        root.ScannerAdminCredentials->UserName = document.text(name);
}

} // namespace
} // namespace varn

int32_t eSCL_GetManifest(char **out_buf, uint32_t *out_len) {
    return common_read_file_data("/tmp/xml_tickets/eSCL/eSclManifest.xml", out_buf, out_len);
}

int32_t eSCL_GeteSCLConfig(char **out_buf, uint32_t *out_len) {
    varn::WebParameters parameters = {};
    varn::Credentials credentials = {};
    varn::read_block(parameters, MVTC_PARAM_WEB);
    varn::read_block(credentials, MVTC_PARAM_ESCL_CONFIG);
    return varn::get_document<scan__eSCLConfig>(
        varn::escl_namespaced_get, varn::config_ticket, out_buf, out_len,
        [&](varn::Document &document, scan__eSCLConfig &root) {
            varn::fill(document, root, parameters, credentials);
        });
}

int32_t eSCL_PuteSCLConfig(const char *xml) {
    return varn::put_document<scan__eSCLConfig>(varn::escl_put, xml, __func__, varn::apply);
}
