#include "device/netservice/message.h"

#include <algorithm>
#include <expat.h>
#include <memory>

namespace varn::netservice {
namespace {

constexpr std::size_t deepest_element = 8;

constexpr std::string_view element_names[] = {
    "Address",
    "Cancel",
    "Channel",
    "Direct",
    "DnsIP1",
    "DnsIP2",
    "ETHERNET",
    "EnableAUTOCONF",
    "EnableAutoBushButton",
    "EnableAutoIP",
    "EnableDhcpClient",
    "EnableDnsIPStatic",
    "EnableDomainNameStatic",
    "EnableGroupOwner",
    "EnableIPv6",
    "EnableInterface",
    "EnablePersistent",
    "EnableStaticIP",
    "Enable_",
    "Encryption",
    "Gateway",
    "GetPinCode",
    "Hostname",
    "IPv4",
    "IPv6",
    "Password",
    "PrefixLength",
    "PushButton",
    "RunPinCode",
    "SETVALUE",
    "SSID",
    "SYSTEM",
    "Security",
    "Station",
    "Submask",
    "WIRELESS",
    "WPS",
    "Wep",
    "Wireless",
    "WirelessMode",
    "Wlan1",
    "Wpa",
    "eth0",
    "key0",
    "key1",
    "key2",
    "key3",
    "tx_keyidx",
    "wlan0",
    "wlan1",
};

bool is_element_name(std::string_view name) {
    return std::ranges::find(element_names, name) != std::end(element_names);
}

class Reader {
public:
    std::optional<std::vector<Setting>> read(std::string_view text);

private:
    struct Element {
        std::size_t path_length; ///< of its parent
        std::string text;
        bool is_leaf = true;
    };

    static void XMLCALL on_start(void *user, const XML_Char *name, const XML_Char **);
    static void XMLCALL on_end(void *user, const XML_Char *);
    static void XMLCALL on_text(void *user, const XML_Char *text, int length);
    static void XMLCALL on_doctype(void *user, const XML_Char *, const XML_Char *, const XML_Char *,
                                   int) {
        static_cast<Reader *>(user)->stop();
    }
    void stop() { XML_StopParser(parser_.get(), XML_FALSE); }

    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };
    // Names on the air are bytes of any kind. Read as Latin-1 none of them is refused, and each
    // character is turned back into its byte.
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> parser_{
        XML_ParserCreate("ISO-8859-1")};
    std::string path_;
    std::vector<Element> open_;
    std::vector<Setting> settings_;
};

std::string bytes_of_latin1(const std::string &utf8) {
    std::string bytes;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if ((lead == 0xC2 || lead == 0xC3) && i + 1 < utf8.size())
            bytes.push_back(static_cast<char>(((lead & 3) << 6) | (utf8[++i] & 0x3F)));
        else
            bytes.push_back(utf8[i]);
    }
    return bytes;
}

void Reader::on_start(void *user, const XML_Char *name, const XML_Char **) {
    auto &self = *static_cast<Reader *>(user);
    if (self.open_.size() >= deepest_element || !is_element_name(name))
        return self.stop();
    if (!self.open_.empty())
        self.open_.back().is_leaf = false;
    self.open_.push_back({self.path_.size(), {}, true});
    self.path_ += self.path_.empty() ? "" : "/";
    self.path_ += name;
}

void Reader::on_end(void *user, const XML_Char *) {
    auto &self = *static_cast<Reader *>(user);
    const Element &element = self.open_.back();
    if (element.is_leaf)
        self.settings_.push_back({self.path_, bytes_of_latin1(element.text)});
    self.path_.resize(element.path_length);
    self.open_.pop_back();
}

void Reader::on_text(void *user, const XML_Char *text, int length) {
    auto &self = *static_cast<Reader *>(user);
    if (!self.open_.empty())
        self.open_.back().text.append(text, static_cast<std::size_t>(length));
}

std::optional<std::vector<Setting>> Reader::read(std::string_view text) {
    if (!parser_)
        return std::nullopt;
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), on_start, on_end);
    XML_SetCharacterDataHandler(parser_.get(), on_text);
    XML_SetStartDoctypeDeclHandler(parser_.get(), on_doctype);
    if (XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) !=
        XML_STATUS_OK)
        return std::nullopt;
    return std::move(settings_);
}

/// The name in a tag at the start of `text`, "<name>" or "</name>"; empty when there is none of
/// the names that messages have.
std::string_view tag_name(std::string_view text) {
    const std::size_t start = text.starts_with("</") ? 2 : 1;
    const std::size_t end = text.find('>', start);
    if (end == std::string_view::npos)
        return {};
    const std::string_view name = text.substr(start, end - start);
    return is_element_name(name) ? name : std::string_view();
}

bool is_entity(std::string_view text) {
    return std::ranges::any_of(
        std::initializer_list<std::string_view>{"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"},
        [&](std::string_view entity) { return text.starts_with(entity); });
}

std::string mend(std::string_view text) {
    std::string mended;
    std::vector<std::string_view> open;
    while (!text.empty()) {
        const std::string_view name =
            text.front() == '<' ? tag_name(text.substr(0, 64)) : std::string_view();
        std::size_t used = 1;
        if (!name.empty()) {
            const bool closing = text[1] == '/';
            used = name.size() + (closing ? 3 : 2);
            const bool ends_open_one = !open.empty() && open.back() == name;
            if (ends_open_one)
                open.pop_back();
            else if (!closing)
                open.push_back(name);
            mended.append(closing || ends_open_one ? "</" : "<").append(name).append(">");
        } else if (text.front() == '<') {
            mended += "&lt;";
        } else if (text.front() == '&' && !is_entity(text)) {
            mended += "&amp;";
        } else {
            mended += text.front();
        }
        text.remove_prefix(used);
    }
    return mended;
}

} // namespace

std::optional<std::vector<Setting>> parse_message(std::string_view text) {
    if (text.size() > longest_message)
        return std::nullopt;
    if (auto settings = Reader().read(text))
        return settings;
    return Reader().read(mend(text));
}

} // namespace varn::netservice
