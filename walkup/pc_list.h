/// The engine's list of walk-up hosts, as both families of walk-up resources use it.
#pragma once

#include "varn/walkup_subscriptions.h"

#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace varn {

constexpr uint32_t pc_list_add = 1;
constexpr uint32_t pc_list_remove = 2;
constexpr uint32_t network_host_limit = 10;

/// The records as the engine has them.
class PcList {
public:
    explicit PcList(int32_t fd);
    /// What the engine tells, also when the records themselves cannot be read.
    uint32_t number() const { return number_; }
    std::span<const varn_pc_record> records() const { return {records_.get(), read_}; }

private:
    uint32_t number_ = 0;
    size_t read_ = 0;
    std::unique_ptr<varn_pc_record[]> records_;
};

/// The number that the limit test goes by; returns the engine's result.
int32_t read_host_number(int32_t fd, uint32_t &number);

template <size_t N>
std::string_view field_view(const char (&field)[N]) {
    return {field, strnlen(field, N)};
}

/// A terminated copy of a field, which itself need not be terminated.
template <size_t N>
struct FieldText {
    explicit FieldText(const char (&field)[N]) { memcpy(text, field, N); }
    char text[N + 1] = {};
};

/// Fills a zeroed field. False, with nothing copied, when the text and its end do not fit.
template <size_t N>
bool set_field(char (&field)[N], const char *text) {
    const size_t length = strlen(text);
    if (length >= N)
        return false;
    memcpy(field, text, length);
    return true;
}

/// The same, cut to the field.
template <size_t N>
void cut_to_field(char (&field)[N], const char *text) {
    memcpy(field, text, strnlen(text, N - 1));
}

/// Names of a request into the record's slots from `first_slot` on; false when they do not fit.
bool set_shortcuts(varn_pc_record &record, uint32_t first_slot, int count, char *const *names);

/// The text of the static buffer in which a create hands out its identifier.
char *hand_out_uuid(std::string_view uuid);
/// A new identifier in that buffer; null when the generator gave none of the usual form.
char *hand_out_new_uuid();

} // namespace varn
