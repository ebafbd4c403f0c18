#include "probes/directory_walk.h"

#include <dirent.h>
#include <sys/stat.h>

#include <map>
#include <set>
#include <utility>
#include <vector>

#include "app/tessel_gen.h"

namespace {

// A directory by device and inode, the same however it is reached.
using DirectoryId = std::pair<dev_t, ino_t>;

// What a walk remembers: every directory visited (with the path it was
// first walked under) and the ones being walked right now, so that a link
// back into one of those is never followed.
struct Walk {
  std::map<DirectoryId, std::string> visited;
  std::set<DirectoryId> walking;
};

// What a directory entry is, for the walk.
enum class EntryKind { kFile, kDirectory, kSpecial };

}  // namespace

// Classifies the entry `entry` at `full`, links followed; fills `id` for a
// directory. The type the listing gives is taken when it is a plain file;
// anything else is looked up. A dangling link counts as a file (reading it
// finds nothing), as before.
static EntryKind classify(const dirent& entry, const std::string& full,
                          DirectoryId* id) {
#ifdef _DIRENT_HAVE_D_TYPE
  if (entry.d_type == DT_REG) {
    return EntryKind::kFile;
  }
#else
  (void)entry;
#endif
  struct stat info;
  if (stat(full.c_str(), &info) != 0) {
    return EntryKind::kFile;
  }
  if (S_ISDIR(info.st_mode)) {
    *id = {info.st_dev, info.st_ino};
    return EntryKind::kDirectory;
  }
  return S_ISREG(info.st_mode) ? EntryKind::kFile : EntryKind::kSpecial;
}

// Warns on the console's error stream and in the run log.
static void warn_walk(TesselGen& tg, const std::string& message) {
  *tg.err << message << std::endl;
  tg.log.warn(message);
}

static int scan_directory(TesselGen& tg, const std::string& dir, Walk& walk);

// Walks the subdirectory `sub` (identified by `id`). A directory already
// walked under another path is not read again: `sub` takes over the names
// found there.
static void walk_subdirectory(TesselGen& tg, const std::string& sub,
                              const DirectoryId& id, Walk& walk) {
  auto seen = walk.visited.find(id);
  if (seen == walk.visited.end()) {
    scan_directory(tg, sub, walk);
  } else if (seen->second != sub) {
    tg.HeaderInventory.emplace(sub, tg.HeaderInventory[seen->second]);
  }
}

static int scan_directory(TesselGen& tg, const std::string& dir, Walk& walk) {
  DIR* handle = opendir(dir.c_str());
  if (handle == nullptr) {
    return 0;
  }
  DirectoryId self{0, 0};
  struct stat info;
  if (fstat(dirfd(handle), &info) == 0) {
    self = {info.st_dev, info.st_ino};
  }
  walk.visited.emplace(self, dir);
  walk.walking.insert(self);
  std::set<std::string> names;
  std::vector<std::pair<std::string, DirectoryId>> subdirectories;
  while (const dirent* entry = readdir(handle)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") {
      continue;
    }
    const std::string full = dir + "/" + name;
    DirectoryId id{0, 0};
    const EntryKind kind = classify(*entry, full, &id);
    if (kind == EntryKind::kSpecial) {
      warn_walk(tg,
                "Header scan skips a file that is not a regular file: " + full);
    } else if (kind == EntryKind::kFile) {
      names.insert(name);
      tg.headerFiles.push_back(full);
    } else if (walk.walking.count(id) > 0) {
      warn_walk(tg,
                "Header scan skips a link back into a directory it is "
                "walking: " +
                    full);
    } else {
      subdirectories.emplace_back(full, id);
    }
  }
  closedir(handle);

  if (names.empty()) {
    // A directory of directories only: it lists its subdirectories' files
    // as "sub/name".
    tg.log.info("Handling an empty include dir: " + dir);
    for (const auto& [sub, id] : subdirectories) {
      walk_subdirectory(tg, sub, id, walk);
      const std::string rel = sub.substr(sub.rfind('/') + 1);
      tg.log.info("  nested dir abs: " + sub + " rel: " + rel);
      for (const std::string& name : tg.HeaderInventory[sub]) {
        names.insert(rel + "/" + name);
      }
    }
  } else {
    for (const auto& [sub, id] : subdirectories) {
      walk_subdirectory(tg, sub, id, walk);
    }
  }
  walk.walking.erase(self);
  tg.HeaderInventory.emplace(dir, std::move(names));
  return 1;
}

int ScanDirectory(TesselGen& tg, const std::string& dir) {
  Walk walk;
  return scan_directory(tg, dir, walk);
}

void WalkHeaderDirectories(TesselGen& tg) {
  // One walk for all directories: a directory reached again, from another
  // header directory or through a link, is read once.
  Walk walk;
  for (const std::string& dir : tg.includeDirs) {
    struct stat info;
    if (stat(dir.c_str(), &info) == 0 &&
        walk.visited.count({info.st_dev, info.st_ino}) > 0) {
      walk_subdirectory(tg, dir, {info.st_dev, info.st_ino}, walk);
    } else {
      scan_directory(tg, dir, walk);
    }
  }
}
