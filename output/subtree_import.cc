#include "output/subtree_import.h"

#include <dirent.h>
#include <sys/stat.h>

#include <fstream>
#include <set>
#include <utility>

namespace {

// What one copy keeps while it walks: the directories met so far, by
// device and inode, so that none is copied twice and a link back into the
// tree cannot make the copy go round for ever.
struct CopyWalk {
  std::set<std::pair<dev_t, ino_t>> visited;
  CopyProblems* problems;
};

}  // namespace

// Copies the file `from` (whose status is `fromStatus`) to `to`, truncating
// `to`. A source that cannot be opened leaves no destination file behind.
// False when the destination was opened but could not be written whole.
static bool copy_file(const std::string& from, const struct stat& fromStatus,
                      const std::string& to) {
  // When the copy would land on the source itself (a source inside the
  // destination parent, or one given with a trailing "/"), truncating the
  // destination would empty the user's file.
  struct stat toStatus;
  if (stat(to.c_str(), &toStatus) == 0 &&
      toStatus.st_dev == fromStatus.st_dev &&
      toStatus.st_ino == fromStatus.st_ino) {
    return true;
  }
  std::ifstream in(from, std::ios::in | std::ios::binary);
  if (!in.is_open()) {
    return true;
  }
  std::ofstream out(to, std::ios::out | std::ios::binary | std::ios::trunc);
  if (!out.is_open()) {
    return true;
  }
  char buffer[65536];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    out.write(buffer, in.gcount());
  }
  out.close();
  return !out.fail();
}

// Notes `path` as passed over, with `why`.
static void note_skipped(CopyWalk& walk, const std::string& path,
                         const char* why) {
  if (walk.problems != nullptr) {
    walk.problems->skipped.push_back(path + " (" + why + ")");
  }
}

// Notes `path` as a file that could not be written; only the first counts.
static void note_failed(CopyWalk& walk, const std::string& path) {
  if (walk.problems != nullptr && walk.problems->failedFile.empty()) {
    walk.problems->failedFile = path;
  }
}

static void copy_tree(const std::string& source, const std::string& parent,
                      std::ostream& personality, CopyWalk& walk) {
  std::string::size_type slash = source.rfind('/');
  const std::string destination =
      parent + (slash == std::string::npos ? source : source.substr(slash + 1));
  // An existing directory is fine, and any other failure shows up as files
  // that cannot be written, which are passed over as well.
  (void)mkdir(destination.c_str(), 0775);
  personality << "-i \"" << destination << "\"\n";
  personality << "-q \"" << destination << "\"\n";

  struct stat sourceStatus;
  DIR* dir = opendir(source.c_str());
  if (dir == nullptr) {
    return;
  }
  if (stat(source.c_str(), &sourceStatus) == 0) {
    walk.visited.insert({sourceStatus.st_dev, sourceStatus.st_ino});
  }
  // A destination created inside the source must not be walked as part of
  // it, or the copy would copy itself until the path grew too long.
  struct stat destinationStatus;
  if (stat(destination.c_str(), &destinationStatus) == 0) {
    walk.visited.insert({destinationStatus.st_dev, destinationStatus.st_ino});
  }
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
      if (walk.visited.count({status.st_dev, status.st_ino}) > 0) {
        note_skipped(walk, path, "a directory already copied");
        continue;
      }
      copy_tree(path, destination + "/", personality, walk);
    } else if (S_ISREG(status.st_mode)) {
      if (!copy_file(path, status, destination + "/" + name)) {
        note_failed(walk, destination + "/" + name);
      }
    } else {
      // Reading a pipe would wait for a writer forever and a device may
      // never end.
      note_skipped(walk, path, "not a regular file");
    }
  }
  closedir(dir);
}

void CopySubPersonality(const std::string& source, const std::string& parent,
                        std::ostream& personality, CopyProblems* problems) {
  CopyWalk walk{{}, problems};
  copy_tree(source, parent, personality, walk);
}
