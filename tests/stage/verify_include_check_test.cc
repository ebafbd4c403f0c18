#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/test_support.h"
#include "verify/include_check.h"

using tessel_test::FakeRun;
using tessel_test::ScratchDir;
using Strings = std::vector<std::string>;

namespace {

// A compiler imitated by fakecc that searches `search` in order. A file
// whose kind in `files` is "next" includes the next copy of itself further
// down the list. After "int x[" the error falls in the last copy reached,
// and the include chain is printed in `style`: "gcc" (innermost first,
// ending "from inctest.c:2:"), "clang" (outermost first, beginning "In
// file included from inctest.c:2:") or "none" (only the innermost file).
struct ChainCompiler {
  Strings search;
  std::map<std::string, std::string> files;
  std::string style;
};

std::string Rules(const ChainCompiler& compiler) {
  std::ostringstream rules;
  rules << "SEARCH=(";
  for (const std::string& dir : compiler.search) {
    rules << " " << tessel_test::ShellQuote(dir);
  }
  rules << " )\ndeclare -A FILES=(";
  for (const auto& [path, kind] : compiler.files) {
    rules << " [" << tessel_test::ShellQuote(path)
          << "]=" << tessel_test::ShellQuote(kind);
  }
  rules << " )\nSTYLE=" << compiler.style << "\n";
  rules << R"(re='#include <([^>]*)>'
[[ $FAKE_TEXT =~ $re ]] && header=${BASH_REMATCH[1]}
chain=()
for d in "${SEARCH[@]}"; do
  kind=${FILES[$d/$header]}
  [ -z "$kind" ] && continue
  chain+=("$d/$header")
  [ "$kind" = next ] || break
done
[ ${#chain[@]} -eq 0 ] && fail "$FAKE_SRC:2:10: fatal error: $header: No such file or directory"
has 'int x[' || fail "$FAKE_SRC:2:1: error: unknown type name 'this'"
last=${chain[-1]}
n=${#chain[@]}
case $STYLE in
  gcc)
    if [ $n -eq 1 ]; then
      say_err "In file included from $FAKE_SRC:2:"
    else
      for ((i = n - 2; i >= 0; i--)); do
        if [ $i -eq $((n - 2)) ]; then
          say_err "In file included from ${chain[$i]}:3,"
        else
          say_err "                 from ${chain[$i]}:3,"
        fi
      done
      say_err "                 from $FAKE_SRC:2:"
    fi
    fail "$last:1:1: error: expected expression before 'typedef'" ;;
  clang)
    say_err "In file included from $FAKE_SRC:2:"
    for ((i = 0; i < n - 1; i++)); do
      say_err "In file included from ${chain[$i]}:3:"
    done
    fail "$last:1:1: error: expected expression" ;;
  *)
    fail "$last, line 1: syntax error" ;;
esac
)";
  return rules.str();
}

std::string IncludeLines(const Strings& dirs) {
  std::string text;
  for (const std::string& dir : dirs) {
    text += "-i \"" + dir + "\"\n-q \"" + dir + "\"\n";
  }
  return text;
}

// Runs the check on a personality listing `written` (after a define line
// that must stay first) and returns the personality it leaves.
std::string Check(FakeRun& run, const ChainCompiler& compiler,
                  const Strings& written, std::vector<FactResult>* facts,
                  const std::string& tail = "") {
  tessel_test::WriteFakeRules(Rules(compiler));
  for (const auto& [path, kind] : compiler.files) {
    const std::string::size_type slash = path.rfind('/');
    run.tg->HeaderInventory[path.substr(0, slash)].insert(
        path.substr(slash + 1));
  }
  Personality personality;
  std::string err;
  EXPECT_TRUE(parse_personality(
      "-d A=1\n" + IncludeLines(written) + "-s int=32\n" + tail, &personality,
      &err));
  *facts = check_include_dirs(*run.tg, &personality);
  return write_personality(personality);
}

const char kGcc[] = "/usr/lib/gcc/x/12/include";
const char kUsr[] = "/usr/include";
const char kLocal[] = "/usr/local/include";

// gcc's own stdint.h includes the system one with include_next (unless
// `plain`); the other shared headers are ordinary copies. Every pair of
// directories shares a header, so the messages decide the whole order.
ChainCompiler WrappingCompiler(const std::string& style, bool plain = false) {
  return {{kGcc, kLocal, kUsr},
          {{std::string(kGcc) + "/stdint.h", plain ? "file" : "next"},
           {std::string(kUsr) + "/stdint.h", "file"},
           {std::string(kGcc) + "/float.h", "file"},
           {std::string(kLocal) + "/float.h", "file"},
           {std::string(kLocal) + "/local.h", "file"},
           {std::string(kUsr) + "/local.h", "file"},
           {std::string(kUsr) + "/stdio.h", "file"}},
          style};
}

}  // namespace

TEST(VerifyIncludeCheckStage, GccChainPutsTheWrapperFirst) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
            Check(run, WrappingCompiler("gcc"), {kUsr, kLocal, kGcc}, &facts));
  ASSERT_EQ(3u, facts.size());
  EXPECT_EQ(kUsr, facts[0].name);
  EXPECT_EQ("1", facts[0].written);
  EXPECT_EQ("3", facts[0].now);
  EXPECT_EQ(FactStatus::kCorrected, facts[0].status);
  EXPECT_EQ("2", facts[1].now);
  EXPECT_EQ(FactStatus::kConfirmed, facts[1].status);
  EXPECT_EQ("1", facts[2].now);
  EXPECT_EQ("#include <stdint.h> after int x[: first copy", facts[2].test);
  EXPECT_EQ("#include <local.h> after int x[: first copy", facts[1].test);
}

TEST(VerifyIncludeCheckStage, ClangChainPutsTheWrapperFirst) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::vector<FactResult> facts;
  EXPECT_EQ(
      "-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
      Check(run, WrappingCompiler("clang"), {kUsr, kLocal, kGcc}, &facts));
}

// Without a chain only the file holding the error is named; with plain
// copies that is the copy the compiler took.
TEST(VerifyIncludeCheckStage, WithoutChainTheNamedCopyCounts) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::vector<FactResult> facts;
  EXPECT_EQ(
      "-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
      Check(run, WrappingCompiler("none", true), {kUsr, kGcc, kLocal}, &facts));
}

// Evidence that a pair's order cannot be told (one header names no copy)
// leaves the written order where nothing else decides.
TEST(VerifyIncludeCheckStage, UndecidedPairsKeepTheWrittenOrder) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ChainCompiler compiler{
      {"/a", "/b"}, {{"/a/x.h", "file"}, {"/b/y.h", "file"}}, "gcc"};
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({"/b", "/a"}) + "-s int=32\n",
            Check(run, compiler, {"/b", "/a"}, &facts));
  ASSERT_EQ(2u, facts.size());
  // Searched, but no compile orders the pair: the place stays unchecked.
  EXPECT_EQ(FactStatus::kUnchecked, facts[0].status);
  EXPECT_EQ(
      "#include <y.h> after int x[: this copy named; place by rank: no header "
      "orders it",
      facts[0].test);
  EXPECT_EQ(FactStatus::kUnchecked, facts[1].status);
}

// Where nothing orders a directory and one below it (a port's headers in
// "include/mcs51" beside the common ones in "include"), the one below
// comes first, as compilers search them.
TEST(VerifyIncludeCheckStage, UndecidedSubdirectoryComesBeforeItsParent) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ChainCompiler compiler{{"/inc/port", "/inc"},
                         {{"/inc/x.h", "file"}, {"/inc/port/y.h", "file"}},
                         "gcc"};
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({"/inc/port", "/inc"}) + "-s int=32\n",
            Check(run, compiler, {"/inc", "/inc/port"}, &facts));
  ASSERT_EQ(2u, facts.size());
  // Both move, so both lines change; the test says how they were placed.
  EXPECT_EQ(FactStatus::kCorrected, facts[0].status);
  EXPECT_EQ(
      "#include <x.h> after int x[: this copy named; place by rank: no header "
      "orders it",
      facts[0].test);
  EXPECT_EQ(FactStatus::kCorrected, facts[1].status);
}

// The "-q" line of the force-include header's directory, written after
// the types, has no include line: it is not a search directory, gets no
// fact and stays where it is when the section is reordered.
TEST(VerifyIncludeCheckStage, ForceIncludeDirectoryLineStaysPut) {
  ScratchDir scratch;
  FakeRun run(true, false);
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) +
                "-s int=32\n-q \"personality/kivforceinclude\"\n",
            Check(run, WrappingCompiler("gcc"), {kUsr, kLocal, kGcc}, &facts,
                  "-q \"personality/kivforceinclude\"\n"));
  ASSERT_EQ(3u, facts.size());
  for (const FactResult& fact : facts) {
    EXPECT_NE("personality/kivforceinclude", fact.name);
  }
}

TEST(VerifyIncludeCheckStage, DirectoryNeverSearchedIsDropped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  ChainCompiler compiler = WrappingCompiler("gcc");
  compiler.files["/usr/include/linux/acct.h"] = "file";
  std::vector<FactResult> facts;
  EXPECT_EQ(
      "-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
      Check(run, compiler, {kGcc, kLocal, "/usr/include/linux", kUsr}, &facts));
  ASSERT_EQ(4u, facts.size());
  EXPECT_EQ("/usr/include/linux", facts[2].name);
  EXPECT_FALSE(facts[2].hasNow);
  EXPECT_EQ(FactStatus::kCorrected, facts[2].status);
  EXPECT_EQ("#include <acct.h>: file not found", facts[2].test);
}

// A directory of the user's that the include stage missed is added where
// the compiler's copies put it.
TEST(VerifyIncludeCheckStage, MissedUserDirectoryIsAdded) {
  ScratchDir scratch;
  FakeRun run(true, false);
  run.tg->includeDirs = {kGcc, kLocal, kUsr};
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
            Check(run, WrappingCompiler("gcc"), {kGcc, kUsr}, &facts));
  ASSERT_EQ(3u, facts.size());
  EXPECT_EQ(kLocal, facts[2].name);
  EXPECT_FALSE(facts[2].hadWritten);
  EXPECT_EQ("2", facts[2].now);
  EXPECT_EQ(FactStatus::kAdded, facts[2].status);
}

// A directory written twice, spelled two ways, keeps its first line.
TEST(VerifyIncludeCheckStage, DirectorySpelledAnotherWayIsDropped) {
  ScratchDir scratch;
  FakeRun run(true, false);
  const std::string spelled = "/usr/lib/gcc/x/12/../12/include";
  run.tg->HeaderInventory[spelled] = {"stdint.h", "float.h"};
  std::vector<FactResult> facts;
  EXPECT_EQ("-d A=1\n" + IncludeLines({kGcc, kLocal, kUsr}) + "-s int=32\n",
            Check(run, WrappingCompiler("gcc"), {kGcc, spelled, kLocal, kUsr},
                  &facts));
  ASSERT_EQ(4u, facts.size());
  EXPECT_EQ(spelled, facts[1].name);
  EXPECT_FALSE(facts[1].hasNow);
  EXPECT_EQ(FactStatus::kCorrected, facts[1].status);
  EXPECT_EQ("the same directory as /usr/lib/gcc/x/12/include", facts[1].test);
}
