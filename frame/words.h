/// Exported plain words that several threads use: the C interface keeps them plain, so the
/// library reads and writes them through atomic operations.
#pragma once

#include <atomic>
#include <type_traits>

namespace varn {

template <typename Word>
Word load_word(const Word &word) {
    return std::atomic_ref<Word>(const_cast<Word &>(word)).load(std::memory_order_acquire);
}

template <typename Word>
void store_word(Word &word, std::type_identity_t<Word> value) {
    std::atomic_ref<Word>(word).store(value, std::memory_order_release);
}

/// Adds and returns the new value.
template <typename Word>
Word add_word(Word &word, std::type_identity_t<Word> step) {
    return static_cast<Word>(std::atomic_ref<Word>(word).fetch_add(step) + step);
}

} // namespace varn
