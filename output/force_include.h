#ifndef TESSEL_OUTPUT_FORCE_INCLUDE_H_
#define TESSEL_OUTPUT_FORCE_INCLUDE_H_

#include <ostream>
#include <string>

class TesselGen;

/// Writes the force-include header into `directory` and points the analyser
/// at it with the personality lines "-q \"DIR\"" and "-fi \"FILE\"".
///
/// `directory` is created with mode 0775; an existing one is reused, and the
/// errors EACCES and EIO are tolerated too. Any other failure prints "Couldn't
/// create directory to write a force include file too." on `tg.out` and
/// writes nothing at all.
///
/// Template mode (`fileName` equals `tg.forceIncludePath`): the user's file is
/// copied line by line into `directory` under its base name, each line
/// ended by a newline, and every line containing "Any other items" is
/// followed by one "int NAME;" line per register identifier.
///
/// Generate mode (any other `fileName`): when `tg.registerIdentifiers` is not
/// empty, `directory` + "/" + `fileName` receives a guarded header declaring
/// each identifier as "int", in sorted order; otherwise no file is written
/// and the "-fi " line names an empty path ("").
///
/// A file that cannot be opened leaves no header, but both personality lines
/// are still written, naming the path that would have been used.
///
/// Returns false, with the header's path in `failedFile` (when not null),
/// when the header was opened but could not be written whole (disk full,
/// write error): the run must not report success then.
bool WriteForceInclude(TesselGen& tg, const std::string& directory,
                       const std::string& fileName, std::ostream& personality,
                       std::string* failedFile = nullptr);

#endif  // TESSEL_OUTPUT_FORCE_INCLUDE_H_
