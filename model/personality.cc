#include "model/personality.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace {

// How the argument of each known option is shaped.
enum class ArgShape {
  kPath,      // a directory or file: -i, -si, -q, -fi
  kDefine,    // NAME or NAME=VALUE: -d, -sd
  kTypeSize,  // TYPE=NUMBER: -s, -a
  kTypeName,  // NAME=TYPE: -it
  kNumber,    // NUMBER: -xn, -na
  kName,      // NAME: -ex
};

struct OptionShape {
  const char* option;
  LineKind kind;
  ArgShape shape;
};

const OptionShape kOptions[] = {
    {"-i", LineKind::kInclude, ArgShape::kPath},
    {"-si", LineKind::kInclude, ArgShape::kPath},
    {"-q", LineKind::kSystemInclude, ArgShape::kPath},
    {"-fi", LineKind::kForceInclude, ArgShape::kPath},
    {"-d", LineKind::kDefine, ArgShape::kDefine},
    {"-sd", LineKind::kDefine, ArgShape::kDefine},
    {"-s", LineKind::kSize, ArgShape::kTypeSize},
    {"-a", LineKind::kAlignment, ArgShape::kTypeSize},
    {"-it", LineKind::kIntrinsicType, ArgShape::kTypeName},
    {"-xn", LineKind::kExternalIdLength, ArgShape::kNumber},
    {"-na", LineKind::kInternalIdLength, ArgShape::kNumber},
    {"-ex", LineKind::kExtension, ArgShape::kName},
};

}  // namespace

static bool is_number(const std::string& text) {
  long number = 0;
  const char* end = text.data() + text.size();
  auto result = std::from_chars(text.data(), end, number);
  return !text.empty() && result.ec == std::errc() && result.ptr == end;
}

// Fills the fields of `line` from the argument of an option of `shape`.
static bool parse_argument(ArgShape shape, const std::string& arg,
                           PersonalityLine* line, std::string* err) {
  const std::string::size_type equals = arg.find('=');
  switch (shape) {
    case ArgShape::kPath:
    case ArgShape::kName:
      line->name = arg;
      return true;
    case ArgShape::kDefine:
      line->hasValue = equals != std::string::npos;
      line->name = arg.substr(0, equals);
      line->value = line->hasValue ? arg.substr(equals + 1) : "";
      if (line->name.empty()) {
        *err = "define without a name";
        return false;
      }
      return true;
    case ArgShape::kTypeSize:
    case ArgShape::kTypeName:
      if (equals == std::string::npos || equals == 0) {
        *err = line->option + " needs TYPE=VALUE";
        return false;
      }
      line->name = arg.substr(0, equals);
      line->value = arg.substr(equals + 1);
      if (shape == ArgShape::kTypeSize && !is_number(line->value)) {
        *err = line->option + " needs a number after \"=\"";
        return false;
      }
      return true;
    case ArgShape::kNumber:
      line->value = arg;
      if (!is_number(arg)) {
        *err = line->option + " needs a number";
        return false;
      }
      return true;
  }
  return false;
}

bool parse_personality_line(const std::string& text, PersonalityLine* line,
                            std::string* err) {
  *line = PersonalityLine();
  line->text = text;
  std::string body = text;
  if (!body.empty() && body.back() == '\r') {
    body.pop_back();
  }
  const std::string::size_type blank = body.find(' ');
  const std::string option = body.substr(0, blank);
  if (option == "-u+" || option == "-u-") {
    if (blank != std::string::npos &&
        body.find_first_not_of(' ', blank) != std::string::npos) {
      *err = option + " takes no argument";
      return false;
    }
    line->kind = LineKind::kCharSign;
    line->option = option;
    line->value = option.substr(2);
    return true;
  }
  for (const OptionShape& known : kOptions) {
    if (option != known.option) {
      continue;
    }
    line->kind = known.kind;
    line->option = option;
    std::string arg;
    if (blank != std::string::npos) {
      const std::string::size_type start = body.find_first_not_of(' ', blank);
      arg = start == std::string::npos ? "" : body.substr(start);
    }
    if (!arg.empty() && arg.front() == '"') {
      if (arg.size() < 2 || arg.back() != '"') {
        *err = option + " argument has no closing quote";
        return false;
      }
      line->quoted = true;
      arg = arg.substr(1, arg.size() - 2);
    }
    if (arg.empty() && known.kind != LineKind::kForceInclude) {
      *err = option + " needs an argument";
      return false;
    }
    return parse_argument(known.shape, arg, line, err);
  }
  return true;  // kOther: kept as it stands
}

static std::string quoted_if(bool quoted, const std::string& text) {
  return quoted ? "\"" + text + "\"" : text;
}

std::string format_personality_line(const PersonalityLine& line) {
  if (!line.text.empty() || line.kind == LineKind::kOther) {
    return line.text;
  }
  switch (line.kind) {
    case LineKind::kInclude:
    case LineKind::kSystemInclude:
    case LineKind::kForceInclude:
    case LineKind::kExtension:
      return line.option + " " + quoted_if(line.quoted, line.name);
    case LineKind::kDefine:
      return line.option + " " +
             quoted_if(line.quoted, line.hasValue ? line.name + "=" + line.value
                                                  : line.name);
    case LineKind::kSize:
    case LineKind::kAlignment:
    case LineKind::kIntrinsicType:
      return line.option + " " +
             quoted_if(line.quoted, line.name + "=" + line.value);
    case LineKind::kCharSign:
      return "-u" + line.value;
    case LineKind::kExternalIdLength:
    case LineKind::kInternalIdLength:
      return line.option + " " + line.value;
    case LineKind::kOther:
      break;
  }
  return line.text;
}

bool parse_personality(const std::string& content, Personality* personality,
                       std::string* err) {
  *personality = Personality();
  personality->endsWithNewline = content.empty() || content.back() == '\n';
  std::string::size_type start = 0;
  int number = 0;
  while (start < content.size()) {
    std::string::size_type end = content.find('\n', start);
    if (end == std::string::npos) {
      end = content.size();
    }
    ++number;
    PersonalityLine line;
    std::string reason;
    if (!parse_personality_line(content.substr(start, end - start), &line,
                                &reason)) {
      *err = "line " + std::to_string(number) + ": " + reason;
      return false;
    }
    personality->lines.push_back(std::move(line));
    start = end + 1;
  }
  return true;
}

std::string write_personality(const Personality& personality) {
  std::string text;
  for (std::size_t i = 0; i < personality.lines.size(); ++i) {
    text += format_personality_line(personality.lines[i]);
    if (i + 1 < personality.lines.size() || personality.endsWithNewline) {
      text += '\n';
    }
  }
  return text;
}

bool read_personality_file(const std::string& path, Personality* personality,
                           std::string* err) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *err = path + ": cannot be read";
    return false;
  }
  std::ostringstream content;
  content << in.rdbuf();
  if (in.bad()) {
    *err = path + ": cannot be read";
    return false;
  }
  std::string reason;
  if (!parse_personality(content.str(), personality, &reason)) {
    // "line N: reason" becomes "PATH:N: reason", as compilers name places.
    *err = path + ":" + reason.substr(5);
    return false;
  }
  return true;
}

bool write_personality_file(const std::string& path,
                            const Personality& personality, std::string* err) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (out) {
    out << write_personality(personality);
    out.flush();
  }
  if (!out) {
    *err = path + ": cannot be written";
    return false;
  }
  return true;
}

std::optional<long> numeric_value(const PersonalityLine& line) {
  switch (line.kind) {
    case LineKind::kSize:
    case LineKind::kAlignment:
    case LineKind::kExternalIdLength:
    case LineKind::kInternalIdLength: {
      long number = 0;
      const char* end = line.value.data() + line.value.size();
      auto result = std::from_chars(line.value.data(), end, number);
      if (result.ec == std::errc() && result.ptr == end) {
        return number;
      }
      return std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

std::optional<std::size_t> find_line(const Personality& personality,
                                     LineKind kind, const std::string& name) {
  for (std::size_t i = 0; i < personality.lines.size(); ++i) {
    if (personality.lines[i].kind == kind &&
        personality.lines[i].name == name) {
      return i;
    }
  }
  return std::nullopt;
}

std::vector<PersonalityLine> lines_of_kind(const Personality& personality,
                                           LineKind kind) {
  std::vector<PersonalityLine> found;
  for (const PersonalityLine& line : personality.lines) {
    if (line.kind == kind) {
      found.push_back(line);
    }
  }
  return found;
}

static PersonalityLine built_line(LineKind kind, const std::string& option,
                                  const std::string& name,
                                  const std::string& value, bool quoted) {
  PersonalityLine line;
  line.kind = kind;
  line.option = option;
  line.name = name;
  line.value = value;
  line.quoted = quoted;
  return line;
}

PersonalityLine make_include_line(bool isC, const std::string& dir) {
  return built_line(LineKind::kInclude, isC ? "-i" : "-si", dir, "", true);
}

PersonalityLine make_system_include_line(const std::string& dir) {
  return built_line(LineKind::kSystemInclude, "-q", dir, "", true);
}

PersonalityLine make_define_line(bool isC, const std::string& name,
                                 const std::string& value) {
  PersonalityLine line =
      built_line(LineKind::kDefine, isC ? "-d" : "-sd", name, value,
                 value.find(' ') != std::string::npos);
  line.hasValue = true;
  return line;
}

PersonalityLine make_size_line(const std::string& type, long bits) {
  return built_line(LineKind::kSize, "-s", type, std::to_string(bits), false);
}

PersonalityLine make_alignment_line(const std::string& type, long bytes) {
  return built_line(LineKind::kAlignment, "-a", type, std::to_string(bytes),
                    false);
}

PersonalityLine make_char_sign_line(bool isUnsigned) {
  const std::string sign = isUnsigned ? "+" : "-";
  return built_line(LineKind::kCharSign, "-u" + sign, "", sign, false);
}

PersonalityLine make_intrinsic_type_line(const std::string& name,
                                         const std::string& scalar) {
  return built_line(LineKind::kIntrinsicType, "-it", name, scalar,
                    scalar.find(' ') != std::string::npos);
}

PersonalityLine make_id_length_line(bool external, long length) {
  return built_line(
      external ? LineKind::kExternalIdLength : LineKind::kInternalIdLength,
      external ? "-xn" : "-na", "", std::to_string(length), false);
}
