#ifndef TESSEL_MODEL_PERSONALITY_H_
#define TESSEL_MODEL_PERSONALITY_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// What a personality line sets. The stages write these kinds; anything
/// else (empty lines, options added by a template, lines written by hand)
/// is `kOther` and is kept as it stands.
enum class LineKind {
  kInclude,           ///< "-i DIR" (C) or "-si DIR" (C++)
  kSystemInclude,     ///< "-q DIR"
  kDefine,            ///< "-d NAME=VALUE" (C) or "-sd NAME=VALUE" (C++)
  kSize,              ///< "-s TYPE=BITS"
  kAlignment,         ///< "-a TYPE=BYTES"
  kCharSign,          ///< "-u+" (plain char unsigned) or "-u-" (signed)
  kIntrinsicType,     ///< "-it NAME=SCALAR TYPE"
  kExternalIdLength,  ///< "-xn N"
  kInternalIdLength,  ///< "-na N"
  kExtension,         ///< "-ex NAME"
  kForceInclude,      ///< "-fi FILE"
  kOther,             ///< anything else, kept verbatim
};

/// One line of a personality, split into its parts.
///
/// `text` holds the line exactly as it was read, so that a file that is
/// read and written back is unchanged byte for byte. While `text` is set it
/// is what gets written; code that changes a field must clear it (or build
/// the line with one of the `make_..._line` functions), and the line is then
/// written from its fields.
struct PersonalityLine {
  /// What the line sets.
  LineKind kind = LineKind::kOther;
  /// The option word as written: "-i", "-si", "-q", "-d", "-sd", "-s",
  /// "-a", "-u+", "-u-", "-it", "-xn", "-na", "-ex" or "-fi"; empty for
  /// `kOther`.
  std::string option;
  /// The directory (include kinds), the file (force-include), the macro
  /// name with any parameter list (define), the type (size, alignment,
  /// intrinsic type) or the keyword (extension).
  std::string name;
  /// The macro's value, the number of bits, bytes or characters, the
  /// scalar type of an intrinsic type, or "+"/"-" for the char sign.
  std::string value;
  /// For a define: true when the line holds "=" after the name.
  bool hasValue = false;
  /// True when the argument is written in double quotes.
  bool quoted = false;
  /// The line as read; empty for a line built or changed by the program.
  std::string text;
};

/// A whole personality file: its lines in file order.
struct Personality {
  /// Every line, empty ones included.
  std::vector<PersonalityLine> lines;
  /// False when the file's last line has no newline (a file written by
  /// hand); a file the program writes always ends with one.
  bool endsWithNewline = true;
};

/// Splits one line (without its newline) into its parts. Returns false and
/// sets `err` to a short reason when the line uses a known option with an
/// argument of the wrong shape ("-s int" without "=BITS", "-xn abc", an
/// unclosed quote).
[[nodiscard]] bool parse_personality_line(const std::string& text,
                                          PersonalityLine* line,
                                          std::string* err);

/// The text of `line` without a newline: `line.text` when it is set,
/// otherwise the line built from its fields as the stages write it.
std::string format_personality_line(const PersonalityLine& line);

/// Parses a whole personality text. On failure `err` reads
/// "line N: reason" and `personality` holds the lines before line N.
[[nodiscard]] bool parse_personality(const std::string& content,
                                     Personality* personality,
                                     std::string* err);

/// The text of a whole personality; for a parsed, unchanged personality
/// this is the text that was parsed.
std::string write_personality(const Personality& personality);

/// Reads and parses the file at `path`. On failure `err` reads
/// "PATH: cannot be read" or "PATH:N: reason".
[[nodiscard]] bool read_personality_file(const std::string& path,
                                         Personality* personality,
                                         std::string* err);

/// Writes `personality` to `path`, replacing the file. Returns false with
/// `err` naming the file when it cannot be written in full.
[[nodiscard]] bool write_personality_file(const std::string& path,
                                          const Personality& personality,
                                          std::string* err);

/// The value of a size, alignment or identifier length line as a number;
/// empty for other lines.
std::optional<long> numeric_value(const PersonalityLine& line);

/// Index of the first line of `kind` whose name is `name`, or empty.
std::optional<std::size_t> find_line(const Personality& personality,
                                     LineKind kind, const std::string& name);

/// The lines of one kind, in file order.
std::vector<PersonalityLine> lines_of_kind(const Personality& personality,
                                           LineKind kind);

/// "-i "DIR"" for the C analyser, "-si "DIR"" for the C++ analyser.
PersonalityLine make_include_line(bool isC, const std::string& dir);
/// "-q "DIR"".
PersonalityLine make_system_include_line(const std::string& dir);
/// A define with the prefix "-d" (C) or "-sd" (C++); quoted when the
/// value holds a blank, as the macro stage writes it.
PersonalityLine make_define_line(bool isC, const std::string& name,
                                 const std::string& value);
/// "-s TYPE=BITS".
PersonalityLine make_size_line(const std::string& type, long bits);
/// "-a TYPE=BYTES".
PersonalityLine make_alignment_line(const std::string& type, long bytes);
/// "-u+" when plain char is unsigned, "-u-" otherwise.
PersonalityLine make_char_sign_line(bool isUnsigned);
/// "-it "NAME=SCALAR"", quoted when the scalar type holds a blank.
PersonalityLine make_intrinsic_type_line(const std::string& name,
                                         const std::string& scalar);
/// "-xn N" for external identifiers, "-na N" for internal ones.
PersonalityLine make_id_length_line(bool external, long length);

#endif  // TESSEL_MODEL_PERSONALITY_H_
