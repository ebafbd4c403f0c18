#ifndef TESSEL_APP_OUTPUT_PATHS_H_
#define TESSEL_APP_OUTPUT_PATHS_H_

#include <string>

/// Paths that the generation driver derives from the personality path.
struct OutputPaths {
  /// The personality path up to and including its last "/", or "".
  std::string directory;
  /// Source used by the include directory tests: directory +
  /// "personality_test" + ".c" or ".cpp".
  std::string personalityTest;
  /// Directory of the force-include header: directory + "kivforceinclude".
  std::string forceInclude;
};

/// Derives the driver's paths from `outputPath` for the C (`isC`) or C++
/// product.
OutputPaths derive_output_paths(const std::string& outputPath, bool isC);

#endif  // TESSEL_APP_OUTPUT_PATHS_H_
