/// The engine's parameter blocks and profiles, kept by the test program.
#pragma once

#include "tests/support/device_tree.h"
#include "tests/support/documents.h"
#include "varn/varn.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace varn::test {

struct EngineStore {
    std::map<uint32_t, std::string> blocks;   ///< by number
    std::map<uint32_t, std::string> profiles; ///< by index; those that are not there are refused
    bool takes = true;                        ///< whether writes succeed
    std::vector<std::string> writes;          ///< "block 4 212", "profile 25 119680"
    std::vector<uint32_t> tested;             ///< slots, in the order of their tests
};
extern EngineStore store;

template <typename Number>
Number number_at(const std::string &record, size_t offset) {
    Number number = 0;
    memcpy(&number, record.data() + offset, sizeof number);
    return number;
}
template <typename Number>
void put_number(std::string &record, size_t offset, Number number) {
    memcpy(record.data() + offset, &number, sizeof number);
}
inline std::string text_at(const std::string &record, size_t offset) {
    return record.c_str() + offset;
}

/// Base of the tests: a store with all records of zeros.
class StoreTest : public DeviceTest {
protected:
    StoreTest();

    /// What a GET gave; it is valid by its schema.
    template <typename Get>
    static std::string document(Get get) {
        char *buffer = nullptr;
        uint32_t length = 0;
        EXPECT_EQ(get(&buffer, &length), 0);
        const std::string text(buffer != nullptr ? buffer : "", length);
        free(buffer);
        EXPECT_EQ(schema_fault(text), "");
        return text;
    }
    /// A request document: a root element with the prefixes of the digital-send documents.
    static std::string request(const std::string &root, const std::string &elements);
};

} // namespace varn::test
