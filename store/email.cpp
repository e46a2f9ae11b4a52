/// Sender, subject, body text and mail server of a scan-to-email job, all in one profile.

#include "varn/email.h"
#include "frame/profile.h"

#include <cstdio>

namespace varn {
namespace {

constexpr char settings_ticket[] = "/tmp/xml_tickets/DevMgmt/Email/ScanToEmailDyn.xml";
constexpr char server_ticket[] = "/tmp/xml_tickets/DevMgmt/Email/CommonEmailServerDyn.xml";

Profile gather() {
    Profile profile = {};
    read_profile(profile, MVTC_PROFILE_EMAIL);
    return profile;
}

/// Changes the profile by what a document has. A record that could not be read would go back
/// without what else is in it.
template <typename Root>
int32_t put(const char *xml, const char *caller, void (*apply)(Profile &, const Root &)) {
    puts(caller);
    return put_document<Root>(profile_put, xml, caller, [&](const Root &root) {
        Profile profile = {};
        if (read_profile(profile, MVTC_PROFILE_EMAIL)) {
            apply(profile, root);
            write_profile(profile, MVTC_PROFILE_EMAIL);
        }
        return 0;
    });
}

void apply_settings(Profile &profile, const emaildyn__EmailSettings &root) {
    if (root.FromAddress != nullptr)
        set_text(profile.from_address, root.FromAddress->dd__EmailAddress_);
    set_text(profile.email_subject, root.EmailSubject);
    set_text(profile.email_body, root.EmailBodyText);
}

void apply_server(Profile &profile, const _emaildyn__CommonEmailServerDyn &root) {
    if (root.dsd2__SMTPServerSettings == nullptr)
        return;
    set_text(profile.smtp_server, root.dsd2__SMTPServerSettings->dd3__NetworkID_);
    if (const int *port = root.dsd2__SMTPServerSettings->dd__Port_)
        profile.smtp_port = static_cast<uint16_t>(*port);
}

} // namespace
} // namespace varn

int32_t VARN_GetEmailDyn(char **out, uint32_t *len) {
    const varn::Profile profile = varn::gather();
    return varn::get_document<emaildyn__EmailSettings>(
        varn::namespaced_get, varn::settings_ticket, out, len,
        [&](varn::Document &document, emaildyn__EmailSettings &root) {
            root.FromAddress = document.make<emaildyn__EmailAddressDisplay>();
            if (root.FromAddress != nullptr)
                root.FromAddress->dd__EmailAddress_ = varn::text_of(document, profile.from_address);
            root.EmailSubject = varn::text_of(document, profile.email_subject);
            root.EmailBodyText = varn::text_of(document, profile.email_body);
        });
}

int32_t VARN_PutEmailDyn(const char *xml) {
    return varn::put<emaildyn__EmailSettings>(xml, __func__, varn::apply_settings);
}

int32_t VARN_GetEmailServiceDyn(char **out, uint32_t *len) {
    const varn::Profile profile = varn::gather();
    return varn::get_document<_emaildyn__CommonEmailServerDyn>(
        varn::namespaced_get, varn::server_ticket, out, len,
        [&](varn::Document &document, _emaildyn__CommonEmailServerDyn &root) {
            auto *server = document.make<dsd2__SMTPServerSettings>();
            root.dsd2__SMTPServerSettings = server;
            if (server == nullptr)
                return;
            server->dd3__NetworkID_ = varn::text_of(document, profile.smtp_server);
            server->dd__Port_ = document.value(static_cast<int>(profile.smtp_port));
        });
}

int32_t VARN_PutEmailServiceDyn(const char *xml) {
    return varn::put<_emaildyn__CommonEmailServerDyn>(xml, __func__, varn::apply_server);
}
