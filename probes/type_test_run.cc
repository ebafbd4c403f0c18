#include "probes/type_test_run.h"

#include <dirent.h>

#include "app/tessel_gen.h"

// Not built yet: the stage does nothing.
void RunTypeTests(TesselGen& /*tg*/, std::ostream& /*personality*/) {}

std::set<std::string> ListTestDirectory(const TesselGen& tg,
                                        const std::string& dir) {
  std::set<std::string> files;
  const char* marker = tg.isC ? ".c" : ".cpp";
  if (DIR* handle = opendir(dir.c_str())) {
    while (dirent* entry = readdir(handle)) {
      std::string name = entry->d_name;
      if (name.find(marker) != std::string::npos) {
        files.insert(dir + "/" + name);
      }
    }
    closedir(handle);
  }
  return files;
}
