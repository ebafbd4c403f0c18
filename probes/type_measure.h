#ifndef TESSEL_PROBES_TYPE_MEASURE_H_
#define TESSEL_PROBES_TYPE_MEASURE_H_

#include <string>

class TesselGen;
struct TypeRecord;

/// The kinds of type that `TypeRecord::kind` holds.
inline constexpr int kIntegerKind = 0;
/// See `kIntegerKind`.
inline constexpr int kPointerKind = 1;
/// See `kIntegerKind`.
inline constexpr int kFloatingKind = 2;

/// Base name of the size procedure's test files ("tmp_typetest").
extern const char kTypeTest[];
/// Base name of the native alignment program's files ("tmp_typealign").
extern const char kTypeAlign[];

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

/// The alignment procedure: learns the alignment in bytes of `type` and
/// stores it in `type.align`. Natively a program prints the size of a
/// structure of a char and the type; otherwise, or when that fails, four
/// compile-only structure sizes tell the padding.
void FindAlignment(TesselGen& tg, TypeRecord& type);

/// The first scalar type whose `kind` and `bits` equal those of `type`.
/// When none does, prints "~Couldn't match type '<name>' to any scalar type,
/// using type int" and returns the first scalar type ("int"); with an empty
/// table it returns a plain "int" record.
const TypeRecord& MatchScalarType(TesselGen& tg, const TypeRecord& type);

#endif  // TESSEL_PROBES_TYPE_MEASURE_H_
