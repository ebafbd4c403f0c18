#include "export/cppcheck_export.h"

#include "export/clang_export.h"

std::string xml_escape(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// "--" may not appear inside an XML comment.
static std::string comment_text(const std::string& text) {
  std::string out;
  for (const char c : text) {
    out += (c == '-' && !out.empty() && out.back() == '-') ? '_' : c;
  }
  return out;
}

static std::string origin_comment(const ExportFacts& facts) {
  std::string text = "<!-- Written by TesselExport.\n";
  for (const std::string& line : origin_lines(facts)) {
    text += "     " + comment_text(line) + "\n";
  }
  return text;
}

// The size in bytes of a type the personality gives in bits.
static std::optional<long> bytes_of(const ExportFacts& facts,
                                    const std::string& type, long charBit) {
  const std::optional<long> bits = size_in_bits(facts, type);
  if (!bits) {
    return std::nullopt;
  }
  return (*bits + charBit - 1) / charBit;
}

// The size of an "-it" type (size_t, wchar_t) in bytes.
static std::optional<long> intrinsic_bytes(const ExportFacts& facts,
                                           const std::string& name,
                                           long charBit) {
  for (const auto& type : facts.intrinsicTypes) {
    if (type.first == name) {
      return bytes_of(facts, type.second, charBit);
    }
  }
  return std::nullopt;
}

std::string cppcheck_platform(const ExportFacts& facts,
                              std::vector<std::string>* notes) {
  const long charBit = size_in_bits(facts, "char").value_or(8);
  struct Entry {
    const char* tag;
    std::optional<long> bytes;
    long fallback;
  };
  const std::optional<long> pointer = bytes_of(facts, "dataptr", charBit);
  const Entry entries[] = {
      {"bool", bytes_of(facts, "bool", charBit), 1},
      {"short", bytes_of(facts, "short", charBit), 2},
      {"int", bytes_of(facts, "int", charBit), 4},
      {"long", bytes_of(facts, "long", charBit), 4},
      {"long-long", bytes_of(facts, "longlong", charBit), 8},
      {"float", bytes_of(facts, "float", charBit), 4},
      {"double", bytes_of(facts, "double", charBit), 8},
      {"long-double", bytes_of(facts, "ldouble", charBit), 8},
      {"pointer", pointer, 4},
      {"size_t", intrinsic_bytes(facts, "size_t", charBit),
       pointer.value_or(4)},
      {"wchar_t", intrinsic_bytes(facts, "wchar_t", charBit), 4}};
  std::string body;
  for (const Entry& entry : entries) {
    const long bytes = entry.bytes.value_or(entry.fallback);
    if (!entry.bytes) {
      notes->push_back(std::string("sizeof ") + entry.tag +
                       " is not in the personality: " + std::to_string(bytes) +
                       " assumed");
    }
    body += std::string("    <") + entry.tag + ">" + std::to_string(bytes) +
            "</" + entry.tag + ">\n";
  }
  std::string text = "<?xml version=\"1.0\"?>\n" + origin_comment(facts);
  for (const std::string& note : *notes) {
    text += "     " + comment_text(note) + "\n";
  }
  text += "-->\n<platform>\n  <char_bit>" + std::to_string(charBit) +
          "</char_bit>\n  <default-sign>" +
          (facts.charUnsigned.value_or(false) ? "unsigned" : "signed") +
          "</default-sign>\n  <sizeof>\n" + body + "  </sizeof>\n</platform>\n";
  return text;
}

std::string cppcheck_includes(const ExportFacts& facts) {
  std::string text;
  for (const std::string& dir : facts.includeDirs) {
    text += dir + "\n";
  }
  return text;
}

std::string cppcheck_project(const ExportFacts& facts,
                             const CppcheckFiles& files) {
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + origin_comment(facts) +
      "     Force-include " + files.compat +
      " (cppcheck's include= option);\n"
      "     the same directories, one a line: " +
      files.includes +
      "\n-->\n"
      "<project version=\"1\">\n  <platform>" +
      xml_escape(files.platform) + "</platform>\n  <includedir>\n";
  for (const std::string& dir : facts.includeDirs) {
    const std::string slashed =
        dir.empty() || dir.back() == '/' ? dir : dir + "/";
    text += "    <dir name=\"" + xml_escape(slashed) + "\"/>\n";
  }
  text += "  </includedir>\n  <defines>\n";
  for (const DefineFact& macro : facts.macros) {
    const std::string value = macro.hasValue ? c_macro_value(macro.value) : "1";
    // cppcheck joins the defines with ";", so a value holding one cannot be
    // given here; the compat header still defines it.
    if (value.find(';') == std::string::npos) {
      text += "    <define name=\"" + xml_escape(macro.name + "=" + value) +
              "\"/>\n";
    }
  }
  return text + "  </defines>\n</project>\n";
}
