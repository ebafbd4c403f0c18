#ifndef TESSEL_OUTPUT_TEMPLATE_MERGE_H_
#define TESSEL_OUTPUT_TEMPLATE_MERGE_H_

#include <istream>
#include <string>
#include <vector>

class TesselGen;

/// The entries of a template personality, each section kind collected in
/// file order across every section of that kind.
struct TemplateSections {
  /// Lines that replace the personality line setting the same option.
  std::vector<std::string> ModifyLines;
  /// Lines appended when the personality does not already hold them.
  std::vector<std::string> AddLines;
  /// Lines removed from the personality (first exact match only).
  std::vector<std::string> RemoveLines;
  /// Opening tags ("<add>" etc.) of sections that reached the end of the
  /// file without their closing tag, in the order they were met.
  std::vector<std::string> unclosedSections;
};

/// Reads the "<modify>", "<add>" and "<remove>" sections of a template from
/// `in`. A line containing an opening tag anywhere starts a section; the
/// lines up to the first line containing the matching closing tag are its
/// entries, each with leading and trailing blanks (" ") removed. Lines
/// outside sections (the "<test>" section among them) are ignored. A section
/// still open at the end of the file ends there and is listed in
/// `unclosedSections`.
TemplateSections ReadTemplateSections(std::istream& in);

/// True when `line` and `templateLine` set the same option: both are reduced
/// to a key (blanks and double quotes removed, the first "(" through the
/// first ")" erased when both occur, then the text before the first "=")
/// and the keys compared. So a define of "X=1 2" in quotes matches a define
/// of X=3, and F(a)=a matches F(b)=b.
bool SameOption(const std::string& line, const std::string& templateLine);

/// Merges the template personality `tg.templatePath` into the closed
/// personality file at `personalityPath`, rewriting it, then prints the
/// review lines (`tg.ReviewLines`) that the template did not modify or
/// remove. Every problem is one console line on `tg.out`; the run goes on.
/// Modify entries replace the line with the same option (each line takes
/// the first unused matching entry, and each entry is used once); unmatched
/// modify entries are added after the add entries; a remove entry deletes
/// the first line equal to it; an add entry is appended only when no line
/// equals it. A section left open is reported as "Template section <add> is
/// not closed in " + the template path, and its entries are still used.
/// Returns false when the rewritten personality could not be written whole
/// (disk full, write error), so that the run does not report success.
bool MergeTemplate(TesselGen& tg, const std::string& personalityPath);

#endif  // TESSEL_OUTPUT_TEMPLATE_MERGE_H_
