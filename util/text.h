#ifndef TESSEL_UTIL_TEXT_H_
#define TESSEL_UTIL_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>

/// True when `part` occurs anywhere in `text`; an empty `part` always does.
/// Bytes are compared as they are, so binary object contents work too.
bool contains(std::string_view text, std::string_view part);

/// `text` without the blanks (' ') at either end. Tabs, carriage returns and
/// line feeds are not blanks and stay; a text of blanks only gives "".
std::string trim_blanks(const std::string& text);

/// `text` with every decimal digit and every white-space character removed,
/// so that two compiler messages that differ only in numbers (line numbers,
/// sizes) and layout compare equal.
std::string drop_digits_and_space(const std::string& text);

/// The number of rounds of a search that starts with groups of `size` items
/// and halves them until they are empty: 1 + log2(`size`), rounded down.
/// The stages that halve their candidate groups show one progress step per
/// round: 15 for 16384, 11 for 1024. `size` must be at least 1.
uint32_t halving_count(int32_t size);

/// `text` as a JSON string literal, quotes included: `"` and `\` escaped,
/// newline and tab as `\n` and `\t`, other control characters as
/// `\u00XX`; every other byte as it stands.
std::string json_quote(const std::string& text);

#endif  // TESSEL_UTIL_TEXT_H_
