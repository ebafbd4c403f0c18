#include "export/cppcheck_export.h"

#include <gtest/gtest.h>

#include "tests/unit/export/export_samples.h"

namespace {

using tessel_test::SampleFacts;

TEST(CppcheckExport, ThePlatformGivesEverySizeInBytes) {
  std::vector<std::string> notes;
  EXPECT_EQ(cppcheck_platform(SampleFacts(), &notes),
            "<?xml version=\"1.0\"?>\n"
            "<!-- Written by TesselExport.\n"
            "     Personality: p/TesselPerson.p_c\n"
            "     Compiler: not known (no run log beside the personality)\n"
            "     sizeof bool is not in the personality: 1 assumed\n"
            "     sizeof short is not in the personality: 2 assumed\n"
            "     sizeof long-long is not in the personality: 8 assumed\n"
            "     sizeof float is not in the personality: 4 assumed\n"
            "     sizeof double is not in the personality: 8 assumed\n"
            "     sizeof long-double is not in the personality: 8 assumed\n"
            "-->\n"
            "<platform>\n"
            "  <char_bit>8</char_bit>\n"
            "  <default-sign>unsigned</default-sign>\n"
            "  <sizeof>\n"
            "    <bool>1</bool>\n"
            "    <short>2</short>\n"
            "    <int>2</int>\n"
            "    <long>4</long>\n"
            "    <long-long>8</long-long>\n"
            "    <float>4</float>\n"
            "    <double>8</double>\n"
            "    <long-double>8</long-double>\n"
            "    <pointer>3</pointer>\n"
            "    <size_t>2</size_t>\n"
            "    <wchar_t>4</wchar_t>\n"
            "  </sizeof>\n"
            "</platform>\n");
  EXPECT_EQ(notes.size(), 6u);
  EXPECT_EQ(notes[2], "sizeof long-long is not in the personality: 8 assumed");
}

TEST(CppcheckExport, TheIncludesFileListsTheDirectoriesInSearchOrder) {
  EXPECT_EQ(cppcheck_includes(SampleFacts()),
            "/opt/sdcc/include/mcs51\n/opt/sdcc/include\n");
}

TEST(CppcheckExport, TheProjectNamesPlatformDirectoriesAndDefines) {
  ExportFacts facts = SampleFacts(
      "-i \"/a&b\"\n-d X=\"q\"\n-d Y\n-d Z=a;b\n-d S=_KIV_STRINGIFY(v)\n",
      "p.p_c");
  EXPECT_EQ(cppcheck_project(facts, CppcheckFiles()),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<!-- Written by TesselExport.\n"
            "     Personality: p.p_c\n"
            "     Compiler: not known (no run log beside the personality)\n"
            "     Force-include tessel_cppcheck_compat.h (cppcheck's include= "
            "option);\n"
            "     the same directories, one a line: tessel_includes.txt\n"
            "-->\n"
            "<project version=\"1\">\n"
            "  <platform>tessel_platform.xml</platform>\n"
            "  <includedir>\n"
            "    <dir name=\"/a&amp;b/\"/>\n"
            "  </includedir>\n"
            "  <defines>\n"
            "    <define name=\"X=&quot;q&quot;\"/>\n"
            "    <define name=\"Y=1\"/>\n"
            "    <define name=\"S=&quot;v&quot;\"/>\n"
            "  </defines>\n"
            "</project>\n");
}

}  // namespace
