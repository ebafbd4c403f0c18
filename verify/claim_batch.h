#ifndef TESSEL_VERIFY_CLAIM_BATCH_H_
#define TESSEL_VERIFY_CLAIM_BATCH_H_

#include <string>
#include <vector>

class TesselGen;

/// Base name of every test source of the check stage ("tmp_verify").
extern const char kVerifyTest[];

/// `typedef char NAME[(CLAIM)*2-1];`: a file-scope array whose size is
/// negative when the constant expression `claim` is false, so the file
/// compiles exactly when the claim holds. It needs neither C11 nor the
/// conditional or logical operators, which some compilers reject in
/// constant expressions. `name` must be unique within one test file.
std::string claim_typedef(const std::string& name, const std::string& claim);

/// Compiles `prelude` followed by `snippet` (file-scope text) through the
/// harness, as an object only; true when the object appeared. Counts one
/// compile.
bool compiles_alone(TesselGen& tg, const std::string& prelude,
                    const std::string& snippet);

/// Decides for each of `snippets` whether it compiles after `prelude`,
/// with as few compiles as the answers allow: all snippets are compiled in
/// one file; a file that compiles proves every snippet in it, and only a
/// file that fails is split in halves and each half compiled again. The
/// snippets must not depend on each other (each declares its own names).
std::vector<bool> compile_claims(TesselGen& tg, const std::string& prelude,
                                 const std::vector<std::string>& snippets);

/// Compiles run by this stage's checks since the last reset.
int verify_compile_count();

/// Sets the compile count back to 0 (at the start of the stage, and by
/// tests).
void reset_verify_compile_count();

#endif  // TESSEL_VERIFY_CLAIM_BATCH_H_
