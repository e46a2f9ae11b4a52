/// A status block written by absolute offset, so that the library's own table proves nothing, and
/// network documents.
#pragma once

#include "tests/support/documents.h"
#include "tests/support/engine_double.h"
#include "varn/varn.h"

#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace varn::test {

struct Word {
    size_t offset;
    uint32_t value;
};
struct Text {
    size_t offset;
    const char *value;
};

class NetTest : public DeviceTest {
protected:
    static constexpr size_t block_size = 1384712;

    NetTest() {
        engine.net_block.assign(block_size, '\0');
        VARN_Init(7);
    }

    static void put(Word word) {
        for (size_t i = 0; i < 4; ++i)
            engine.net_block[word.offset + i] = static_cast<char>(word.value >> (8 * i));
    }
    static void put(Text text) {
        memcpy(engine.net_block.data() + text.offset, text.value, strlen(text.value) + 1);
    }

    using Get = std::function<int32_t(char **, uint32_t *)>;
    /// The document of a GET, which has to be valid.
    static std::string document_of(const Get &get) {
        char *buffer = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(get(&buffer, &length), 0);
        std::string document(buffer != nullptr ? buffer : "", length);
        free(buffer);
        EXPECT_EQ(schema_fault(document), "") << document;
        return document;
    }
    static std::string profile_of(const char *adapter) {
        return document_of([&](char **out, uint32_t *length) {
            return VARN_GetIoMgmtAdaptersProfiles(adapter, "1", out, length);
        });
    }

    /// A document of the network schemas.
    static std::string document(const std::string &root, const std::string &elements) {
        static const char namespaces[] =
            " xmlns:io=\"http://A/schemas/imaging/con/varn/iomgmt/2008/11/30\""
            " xmlns:dd=\"http://A/schemas/imaging/con/dictionaries/1.0/\""
            " xmlns:dd3=\"http://A/schemas/imaging/con/dictionaries/2009/04/06\""
            " xmlns:wifi=\"http://A/schemas/imaging/con/wifi/2009/06/26\""
            " xmlns:nadyn=\"http://A/schemas/imaging/con/varn/netappdyn/2009/06/24\""
            " xmlns:nasdyn=\"http://A/schemas/imaging/con/varn/netappsecdyn/2012/11/15\""
            " xmlns:iocfgdyn2=\"http://A/schemas/imaging/con/varn/ioconfigdyn/2009/03/17\"";
        std::string text =
            "<?xml version=\"1.0\"?><" + root + namespaces + ">" + elements + "</" + root + ">";
        for (size_t at = 0; (at = text.find("http://A/", at)) != std::string::npos;)
            text.replace(at, 8, "http://schemas.varn.example");
        return with_schema_hosts(text);
    }

    static std::string hex(std::string_view text) {
        std::string digits;
        for (const unsigned char c : text) {
            constexpr char digit[] = "0123456789ABCDEF";
            digits += {digit[c >> 4], digit[c & 15]};
        }
        return digits;
    }

    /// What went to the net service since the last call, without the engine call around it.
    static std::vector<std::string> sent() {
        std::vector<std::string> messages;
        for (const std::string &call : engine.take_calls())
            if (call.starts_with("write2_NetworkServer 7 "))
                messages.push_back(call.substr(strlen("write2_NetworkServer 7 ")));
        return messages;
    }
};

} // namespace varn::test
