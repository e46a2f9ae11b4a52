#include "tests/digitalsend/engine_store.h"

#include "platform/mvtc.h"

namespace varn::test {

EngineStore store;

namespace {

int32_t give(const std::map<uint32_t, std::string> &records, void *dst, uint32_t size,
             uint32_t id) {
    const auto record = records.find(id);
    if (record == records.end() || record->second.size() != size)
        return -1;
    memcpy(dst, record->second.data(), size);
    return 0;
}

std::string words(const char *what, uint32_t id, uint32_t size) {
    return std::string(what) + " " + std::to_string(id) + " " + std::to_string(size);
}

} // namespace

StoreTest::StoreTest() {
    VARN_Init(7);
    const std::string profile(5984, '\0');
    store = {};
    store.blocks = {{3, std::string(1720, '\0')}, {4, std::string(212, '\0')}};
    store.profiles = {{0, profile},
                      {1, profile},
                      {4, profile},
                      {25, std::string(119680, '\0')},
                      {5566, std::string(4, '\xFF')}};
}

std::string StoreTest::request(const std::string &root, const std::string &elements) {
    const std::string base = "http://schemas.varn.example/schemas/imaging/con/";
    return with_schema_hosts("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<" + root +
                             " xmlns:dd=\"" + base + "dictionaries/1.0/\" xmlns:dd3=\"" + base +
                             "dictionaries/2009/04/06\" xmlns:dsd=\"" + base +
                             "digitalsending/2009/02/11\" xmlns:dsd2=\"" + base +
                             "digitalsending/2010/11/22\" xmlns:emaildyn=\"" + base +
                             "varn/emailservicedyn/2010/11/22\" xmlns:folder=\"" + base +
                             "service/folder/2009/02/11\" xmlns:security=\"" + base +
                             "security/2009/02/11\" xmlns:spts=\"" + base +
                             "varn/sharepointservice/2015/01/22\" xmlns:susb=\"" + base +
                             "varn/sendusbservice/2016/07/13\">" + elements + "</" + root + ">");
}

} // namespace varn::test

using varn::test::store;

extern "C" {

int32_t mvtc_read_h1_parameter(uint32_t, void *block, uint32_t size, uint32_t id) {
    return varn::test::give(store.blocks, block, size, id);
}

/// The record of the SharePoint defaults arrives as a parameter, known by its size.
int32_t mvtc_write_h1_parameter(uint32_t, const void *block, uint32_t size, uint32_t id) {
    store.writes.push_back(varn::test::words("block", id, size));
    if (!store.takes)
        return -1;
    const std::string bytes(static_cast<const char *>(block), size);
    (size == 5984 ? store.profiles : store.blocks)[id] = bytes;
    return 0;
}

int32_t mvtc_read_H1_profile(uint32_t, void *profile, uint32_t size, uint32_t id) {
    return varn::test::give(store.profiles, profile, size, id);
}

int32_t mvtc_write_H1_profile(uint32_t, const void *profile, uint32_t size, uint32_t id) {
    store.writes.push_back(varn::test::words("profile", id, size));
    if (store.takes)
        store.profiles[id].assign(static_cast<const char *>(profile), size);
    return store.takes ? 0 : -1;
}

int32_t mvtc_cmd_H1_profile(uint32_t, uint32_t command, uint32_t slot, void *result) {
    EXPECT_EQ(command, 1U);
    store.tested.push_back(slot);
    memset(result, 0, 4);
    return 0;
}
}
