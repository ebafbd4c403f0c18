#include "app/output_paths.h"

OutputPaths derive_output_paths(const std::string& outputPath, bool isC) {
  OutputPaths paths;
  std::string::size_type slash = outputPath.rfind('/');
  if (slash != std::string::npos) {
    paths.directory = outputPath.substr(0, slash + 1);
  }
  paths.personalityTest =
      paths.directory + "personality_test" + (isC ? ".c" : ".cpp");
  paths.forceInclude = paths.directory + "kivforceinclude";
  return paths;
}
