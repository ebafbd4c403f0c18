#ifndef TESSEL_PROBES_TYPE_SIZES_H_
#define TESSEL_PROBES_TYPE_SIZES_H_

#include <ostream>
#include <string>

class TesselGen;
struct TypeRecord;

/// Fills `tg.scalarTypes` with the ten basic types, in the order the
/// personality lists them, with the kind, size and alignment that stand when
/// a type's tests fail: int, char, short, long, long long, float, double,
/// long double, int* ("dataptr") and zorv_fun ("codeptr").
void SetupBasicTypes(TesselGen& tg);

/// The size procedure: learns what kind of type `type.name` is (integer,
/// pointer, floating), its size in bits and whether it is unsigned, and
/// stores what it learns in `type`. `prefix` goes ahead of every test source
/// (empty for the scalar types, an #include for the intrinsic types).
/// Natively a program prints `sizeof`; for a cross compiler the size is read
/// back out of the object of a compiled initialiser. Every failure prints one
/// console line and leaves the earlier value in place. A native test program
/// whose output does not start with a number makes std::stoi throw, which is
/// not caught.
void FindTypeSize(TesselGen& tg, const std::string& prefix, TypeRecord& type);

/// The first scalar type whose `kind` and `bits` equal those of `type`.
/// When none does, prints "~Couldn't match type '<name>' to any scalar type,
/// using type int" and returns the first scalar type ("int"); with an empty
/// table it returns a plain "int" record.
const TypeRecord& MatchScalarType(TesselGen& tg, const TypeRecord& type);

/// The scalar pass: sizes and alignments of the ten basic types written as
/// "-s <name>=<bits>" and "-a <name>=<align>" lines (skipped for a type whose
/// size came out as 0), the "-u+"/"-u-" line of plain char for C only, and
/// then the intrinsic type pass.
void RunScalarPass(TesselGen& tg, std::ostream& personality);

#endif  // TESSEL_PROBES_TYPE_SIZES_H_
