#ifndef TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_
#define TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_

#include <string>

namespace tessel_test {

/// Rules for the fake compiler that make it behave like a compiler with a
/// table of types. `table` is bash: one `model_type NAME BYTES ALIGN SIGNED
/// KIND [DECL]` call per type (KIND i, p or f; DECL a text the source must
/// hold for the type to exist, such as "#include <stddef.h>"). The model
/// answers the existence, arithmetic and integer tests, prints sizeof and
/// struct sizes from built programs, writes the initialised value's bytes
/// (little-endian, truncated to the type's size) and 0.1 in the float
/// encodings into objects, sizes the alignment test objects as 100 bytes
/// plus the array, and fails `int a[(T)-1];` for signed types ("negative")
/// and for unsigned types of at least TOO_LARGE_BITS bits ("too large").
/// With TEXT_OBJECTS=1 the objects are text: hex bytes in a "T" line.
/// Set NO_LL=1 to reject "1LL". `settings` may define a bash function
/// `custom_rule` that is asked first and returns 0 when it has handled the
/// source (calling fail, object_bytes, ...). Every compiled source is appended
/// to "sources.log", each followed by a line "----".
inline std::string TypeModelRules(const std::string& table,
                                  const std::string& settings = "") {
  return settings + R"BASH(
printf '%s----\n' "$FAKE_TEXT" >> sources.log
declare -A T_SIZE T_ALIGN T_SIGNED T_KIND T_DECL
TOO_LARGE_BITS=${TOO_LARGE_BITS:-64}
TEXT_OBJECTS=${TEXT_OBJECTS:-0}
NO_LL=${NO_LL:-0}
model_type() { T_SIZE[$1]=$2; T_ALIGN[$1]=$3; T_SIGNED[$1]=$4; T_KIND[$1]=$5; T_DECL[$1]=${6:-}; }
known() {
  [ -n "${T_SIZE[$1]+x}" ] || return 1
  [ -z "${T_DECL[$1]}" ] || has "${T_DECL[$1]}"
}
need() { known "$1" || fail "tmp_typetest.c:1:17: error: unknown type name '$1'"; }
emit_hex_bytes() {  # space-separated upper-case hex bytes
  if [ "$TEXT_OBJECTS" = 1 ]; then
    object_text "$(printf 'FAKEREL\nT 00 00 %s\n' "$1")"
  else
    local fmt='FAKEOBJ\n' b
    for b in $1; do fmt+="\\x$b"; done
    object_bytes "$fmt"
  fi
}
emit_value() {  # hex digits, size in bytes
  local h=$1 n=$(( $2 * 2 )) bytes= i
  while [ ${#h} -lt $n ]; do h=0$h; done
  h=${h: -$n}
  h=${h^^}
  for (( i = n - 2; i >= 0; i -= 2 )); do bytes+="${h:$i:2} "; done
  emit_hex_bytes "$bytes"
}
float_bytes() {
  case $1 in
    4) echo 'CD CC CC 3D' ;;
    8) echo '9A 99 99 99 99 99 B9 3F' ;;
    10) echo 'CD CC CC CC CC CC CC CC FB 3F' ;;
    12) echo 'CD CC CC CC CC CC CC CC FB 3F 00 00' ;;
    16) echo 'CD CC CC CC CC CC CC CC FB 3F 00 00 00 00 00 00' ;;
  esac
}
round_up() { echo $(( ($1 + $2 - 1) / $2 * $2 )); }
T='([A-Za-z_][A-Za-z0-9_ *]*)'
re_structx="struct X \\{char c;$T d;\\}"
re_sizeof="sizeof\\($T\\)\\); \\}"
re_struct="struct \\{char c\\[([0-9]+)\\]; $T d;\\} x\\[([0-9]+)\\]"
re_exist="int main\\(void\\) \\{$T a; \\}"
re_arith="int main\\(void\\) \\{$T q;"
re_intg="int main\\(void\\) \\{$T x; x = "
re_float="$T i\\[2\\] = \\{"
re_value="$T i = \\([^)]*\\)(0x[0-9a-f]+|1)(LL|L)?;"
re_array_u="int a\\[\\(unsigned $T\\)-1\\];"
re_array="int a\\[\\($T\\)-1\\];"
)BASH" + table +
         R"BASH(
if declare -F custom_rule >/dev/null && custom_rule; then
  :
elif [ "$FAKE_MODE" = program ]; then
  if [[ $FAKE_TEXT =~ $re_structx ]]; then
    t=${BASH_REMATCH[1]}; need "$t"
    program_prints "$(round_up $(( T_ALIGN[$t] + T_SIZE[$t] )) "${T_ALIGN[$t]}")"
  elif [[ $FAKE_TEXT =~ $re_sizeof ]]; then
    t=${BASH_REMATCH[1]}; need "$t"
    program_prints "${T_SIZE[$t]}"
  fi
elif [[ $FAKE_TEXT =~ $re_struct ]]; then
  n=${BASH_REMATCH[1]}; t=${BASH_REMATCH[2]}; count=${BASH_REMATCH[3]}; need "$t"
  a=${T_ALIGN[$t]}
  s=$(round_up $(( $(round_up "$n" "$a") + T_SIZE[$t] )) "$a")
  object_text "$(printf '%*s' $(( 100 + count * s )) '')"
elif [[ $FAKE_TEXT =~ $re_exist ]]; then
  need "${BASH_REMATCH[1]}"
elif [[ $FAKE_TEXT =~ $re_arith ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  [ "${T_KIND[$t]}" = p ] && fail "tmp_typetest.c:1:40: error: invalid operands to binary *"
elif [[ $FAKE_TEXT =~ $re_intg ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  [ "${T_KIND[$t]}" = i ] || fail "tmp_typetest.c:1:40: error: invalid operands to binary %"
elif [[ $FAKE_TEXT == 'int i = 1LL;'* ]]; then
  [ "$NO_LL" = 1 ] && fail "tmp_typetest.c:1:9: error: invalid suffix \"LL\" on integer constant"
elif [[ $FAKE_TEXT =~ $re_float ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  f=$(float_bytes "${T_SIZE[$t]}")
  emit_hex_bytes "$f $f"
elif [[ $FAKE_TEXT =~ $re_value ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  v=${BASH_REMATCH[2]}; v=${v#0x}
  emit_value "$v" "${T_SIZE[$t]}"
elif [[ $FAKE_TEXT =~ $re_array_u ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  (( T_SIZE[$t] * 8 >= TOO_LARGE_BITS )) && fail "tmp_typetest.c:1:$(( 6 + ${#t} )): error: size of array 'a' is too large"
elif [[ $FAKE_TEXT =~ $re_array ]]; then
  t=${BASH_REMATCH[1]}; need "$t"
  [ "${T_SIGNED[$t]}" = 1 ] && fail "tmp_typetest.c:1:5: error: size of array 'a' is negative"
  (( T_SIZE[$t] * 8 >= TOO_LARGE_BITS )) && fail "tmp_typetest.c:1:$(( 6 + ${#t} )): error: size of array 'a' is too large"
fi
)BASH";
}

/// The types of a 64-bit compiler with 32-bit int, 16-byte x87 long double
/// and the library types in <stddef.h>; "wchar_t" is built in when
/// `wcharBuiltIn` (as in C++).
inline std::string Lp64Table(bool wcharBuiltIn = false) {
  return std::string(
             "model_type int 4 4 1 i\n"
             "model_type char 1 1 1 i\n"
             "model_type short 2 2 1 i\n"
             "model_type long 8 8 1 i\n"
             "model_type 'long long' 8 8 1 i\n"
             "model_type float 4 4 1 f\n"
             "model_type double 8 8 1 f\n"
             "model_type 'long double' 16 16 1 f\n"
             "model_type 'int*' 8 8 0 p\n"
             "model_type zorv_fun 8 8 0 p 'typedef void (*zorv_fun)'\n"
             "model_type size_t 8 8 0 i '#include <stddef.h>'\n"
             "model_type ptrdiff_t 8 8 1 i '#include <stddef.h>'\n") +
         (wcharBuiltIn ? "model_type wchar_t 4 4 1 i\n"
                       : "model_type wchar_t 4 4 1 i '#include <stddef.h>'\n");
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_STAGE_TYPES_TYPE_FAKE_MODEL_H_
