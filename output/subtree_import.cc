#include "output/subtree_import.h"

#include <dirent.h>
#include <sys/stat.h>

#include <fstream>

// Copies the file `from` (whose status is `fromStatus`) to `to`, truncating
// `to`. A source that cannot be opened leaves no destination file behind.
static void copy_file(const std::string& from, const struct stat& fromStatus,
                      const std::string& to) {
  // When the copy would land on the source itself (a source inside the
  // destination parent, or one given with a trailing "/"), truncating the
  // destination would empty the user's file.
  struct stat toStatus;
  if (stat(to.c_str(), &toStatus) == 0 &&
      toStatus.st_dev == fromStatus.st_dev &&
      toStatus.st_ino == fromStatus.st_ino) {
    return;
  }
  std::ifstream in(from, std::ios::in | std::ios::binary);
  if (!in.is_open()) {
    return;
  }
  std::ofstream out(to, std::ios::out | std::ios::binary | std::ios::trunc);
  if (!out.is_open()) {
    return;
  }
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    out.write(buffer, in.gcount());
  }
}

void CopySubPersonality(const std::string& source, const std::string& parent,
                        std::ostream& personality) {
  std::string::size_type slash = source.rfind('/');
  const std::string destination =
      parent + (slash == std::string::npos ? source : source.substr(slash + 1));
  // An existing directory is fine, and any other failure shows up as files
  // that cannot be written, which are passed over as well.
  (void)mkdir(destination.c_str(), 0775);
  personality << "-i \"" << destination << "\"\n";
  personality << "-q \"" << destination << "\"\n";

  DIR* dir = opendir(source.c_str());
  if (dir == nullptr) {
    return;
  }
  // A destination created inside the source must not be walked as part of
  // it, or the copy would copy itself until the path grew too long.
  struct stat destinationStatus;
  const bool haveDestination =
      stat(destination.c_str(), &destinationStatus) == 0;
  while (dirent* entry = readdir(dir)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    const std::string path = source + "/" + name;
    // stat() follows links, so a link to a directory is walked and a link
    // to a file is copied as a file.
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
      continue;
    }
    if (S_ISDIR(status.st_mode)) {
      if (haveDestination && status.st_dev == destinationStatus.st_dev &&
          status.st_ino == destinationStatus.st_ino) {
        continue;
      }
      CopySubPersonality(path, destination + "/", personality);
    } else if (S_ISREG(status.st_mode)) {
      copy_file(path, status, destination + "/" + name);
    }
    // Pipes, sockets and devices are passed over: reading a pipe would wait
    // for a writer forever and a device may never end.
  }
  closedir(dir);
}
