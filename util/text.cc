#include "util/text.h"

#include <cctype>
#include <cmath>
#include <cstdio>

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

std::string trim_blanks(const std::string& text) {
  std::string::size_type first = text.find_first_not_of(' ');
  if (first == std::string::npos) {
    return std::string();
  }
  std::string::size_type last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

std::string drop_digits_and_space(const std::string& text) {
  std::string kept;
  for (char c : text) {
    unsigned char byte = static_cast<unsigned char>(c);
    if (!std::isdigit(byte) && !std::isspace(byte)) {
      kept += c;
    }
  }
  return kept;
}

uint32_t halving_count(int32_t size) {
  // log10(2) written out, so that powers of two land on whole numbers the
  // same way on every host.
  return static_cast<uint32_t>(
      std::floor(std::log10(size) / 0.3010299956639812 + 1.0));
}

std::string json_quote(const std::string& text) {
  std::string out = "\"";
  for (const char c : text) {
    const unsigned char u = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (u < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", u);
      out += escaped;
    } else {
      out += c;
    }
  }
  return out + "\"";
}
