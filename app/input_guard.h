#ifndef TESSEL_APP_INPUT_GUARD_H_
#define TESSEL_APP_INPUT_GUARD_H_

#include <string>

#include "app/output_paths.h"

class TesselGen;

/// Looks, before anything is written, for settings under which the run
/// would overwrite one of the user's own inputs: a personality path that is
/// the template (`templatePath`) or the force-include header
/// (`forceIncludePath`), a force-include header that is the very file the
/// run writes from it (in `paths.forceInclude`), and an output directory
/// inside the sub-personality tree that the run copies. Paths are compared
/// as files (device and inode) or as resolved directories, so other
/// spellings of the same path are caught. Returns the message that
/// explains the first conflict found, or "" when there is none.
std::string findInputConflict(const TesselGen& tg, const OutputPaths& paths);

#endif  // TESSEL_APP_INPUT_GUARD_H_
