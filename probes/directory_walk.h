#ifndef TESSEL_PROBES_DIRECTORY_WALK_H_
#define TESSEL_PROBES_DIRECTORY_WALK_H_

#include <string>

class TesselGen;

/// Walks `dir` recursively: appends the full path of every regular file
/// (and of every dangling link) to `tg.headerFiles` and records the entry
/// names of each directory in `tg.HeaderInventory`. A directory without
/// files of its own is logged as an empty include dir and takes over its
/// subdirectories' names as "sub/name". Links are followed, but each
/// directory (by device and inode) is read once: a link back into a
/// directory being walked is passed over, and a directory met again under
/// another path takes over the names found the first time. Pipes, sockets
/// and devices are never read. Both are named in a warning on `tg.err` and
/// in the run log. Returns 0 when `dir` cannot be opened (silently), else
/// 1.
int ScanDirectory(TesselGen& tg, const std::string& dir);

/// Walks every header directory of `tg.includeDirs`, in order, as one
/// walk: a directory reached from an earlier header directory is not read
/// a second time.
void WalkHeaderDirectories(TesselGen& tg);

#endif  // TESSEL_PROBES_DIRECTORY_WALK_H_
