#ifndef TESSEL_TESTS_STAGE_VERIFY_VERIFY_FAKE_MODEL_H_
#define TESSEL_TESTS_STAGE_VERIFY_VERIFY_FAKE_MODEL_H_

#include <string>

namespace tessel_test {

/// Rules for the fake compiler that make it judge the check stage's test
/// files like a compiler with a table of facts. `table` is bash that sets:
///   S[TYPE]=BYTES, A[TYPE]=BYTES   sizeof and alignment ("long long",
///                                  "int*", "tg_codeptr", ...); a type
///                                  without S is unknown
///   CHAR_SIGNED=1|0               plain char's sign
///   IT[NAME]="unsigned long"       what size_t, ptrdiff_t, wchar_t are
///   XN=63 NA=31                    identifier characters told apart
///   KW="__asm __inline"            the keywords (blank-separated)
///   DECL="__fsadd"                 functions the compiler declares itself
///                                  (a second declaration clashes, their
///                                  address can be taken)
///   BUILTIN_WCHAR=1                wchar_t is a type without a header
///   MODE=warns|rejects             a compiler that only warns about a
///                                  negative array, or fails every file
/// Each source line is judged alone: a negative-array typedef fails when
/// its claim evaluates to 0, a pointer redeclaration when the two types
/// differ, an `int X...a; long X...b;` pair when the names are longer than
/// the limit, `int NAME;` when NAME is a keyword or declared, and
/// `sizeof(&NAME)` unless NAME is declared. Every source is
/// appended to "sources.log", each followed by a line "----".
inline std::string VerifyModelRules(const std::string& table) {
  return "declare -A S A IT\nCHAR_SIGNED=1 XN=16384 NA=16384 KW= DECL= "
         "BUILTIN_WCHAR=0 MODE=\n" +
         table + R"BASH(
printf '%s----\n' "$FAKE_TEXT" >> sources.log
[ "$MODE" = rejects ] && fail "tmp_verify.c:1:1: error: rejected"
canon() {  # the scalar type a spelling names
  local t=$1
  case $t in
    "signed int") t=int ;; "signed long") t=long ;;
    "signed short") t=short ;; "signed long long") t="long long" ;;
  esac
  [ -n "${IT[$t]+x}" ] && t=$(canon "${IT[$t]}")
  printf '%s' "$t"
}
re_claim='^typedef char [a-z_0-9]+\[\((.*)\)\*2-1\];$'
re_align='\(sizeof\(tg_s_[a-z0-9]+\) - sizeof\(([^()]*)\)\)'
re_sizeof='sizeof\(([^()]*)\)'
re_struct='^typedef struct \{ char c; (.*) t; \} tg_s_[a-z0-9]+;$'
re_redecl='^extern (.*)\* (tg_p[0-9]+); extern (.*)\* tg_p[0-9]+;$'
re_ident='(int|long) ([A-Za-z_][A-Za-z_0-9]*)[ab];'
re_plain='^int ([A-Za-z_][A-Za-z_0-9]*) = 1; int tg_u_'
re_addr='^int tg_d_[A-Za-z_0-9]+ = sizeof\(&([A-Za-z_][A-Za-z_0-9]*)\);$'
judge() {  # fails the compile for a line the model rejects
  local line=$1 e
  if [[ $line =~ $re_struct ]]; then
    [ -n "${S[${BASH_REMATCH[1]}]+x}" ] || fail "error: unknown type"
  elif [[ $line =~ $re_claim ]]; then
    e=${BASH_REMATCH[1]}
    while [[ $e =~ $re_align ]]; do
      [ -n "${A[${BASH_REMATCH[1]}]+x}" ] || fail "error: unknown type"
      e=${e/"${BASH_REMATCH[0]}"/${A[${BASH_REMATCH[1]}]}}
    done
    while [[ $e =~ $re_sizeof ]]; do
      [ -n "${S[${BASH_REMATCH[1]}]+x}" ] || fail "error: unknown type"
      e=${e/"${BASH_REMATCH[0]}"/${S[${BASH_REMATCH[1]}]}}
    done
    if [ "$CHAR_SIGNED" = 1 ]; then e=${e//(char)-1/-1}; else e=${e//(char)-1/255}; fi
    if [ $(( e )) = 0 ]; then
      [ "$MODE" = warns ] && say_err "warning: negative array size" ||
        fail "tmp_verify.c: error: size of array is negative"
    fi
  elif [[ $line =~ $re_redecl ]]; then
    [ "${BASH_REMATCH[1]}" = wchar_t ] && [ "$BUILTIN_WCHAR" = 1 ] &&
      fail "error: conflicting types for '${BASH_REMATCH[2]}'"
    [ "$(canon "${BASH_REMATCH[1]}")" = "$(canon "${BASH_REMATCH[3]}")" ] ||
      fail "error: conflicting types for '${BASH_REMATCH[2]}'"
  elif [[ $line =~ $re_plain ]]; then
    case " $KW " in *" ${BASH_REMATCH[1]} "*) fail "error: expected identifier" ;; esac
    case " $DECL " in *" ${BASH_REMATCH[1]} "*) fail "error: Duplicate symbol" ;; esac
  elif [[ $line =~ $re_addr ]]; then
    case " $DECL " in *" ${BASH_REMATCH[1]} "*) ;; *) fail "error: no address" ;; esac
  elif [[ $line =~ $re_ident ]]; then
    local limit=$XN
    [[ $line == void* ]] && limit=$NA
    [ $(( ${#BASH_REMATCH[2]} + 1 )) -gt "$limit" ] &&
      fail "error: conflicting types"
  elif [[ $line == "extern wchar_t tg_w;" ]]; then
    [ "$BUILTIN_WCHAR" = 1 ] || fail "error: unknown type name 'wchar_t'"
  fi
  return 0
}
while IFS= read -r src_line; do
  judge "$src_line"
done <<< "$FAKE_TEXT"
)BASH";
}

/// The facts of a typical LP64 compiler for `VerifyModelRules`.
inline std::string VerifyLp64Table() {
  return R"BASH(
S[int]=4 A[int]=4 S[char]=1 A[char]=1 S[short]=2 A[short]=2
S[long]=8 A[long]=8 S["long long"]=8 A["long long"]=8
S[float]=4 A[float]=4 S[double]=8 A[double]=8
S["long double"]=16 A["long double"]=16 S["int*"]=8 A["int*"]=8
S[tg_codeptr]=8 A[tg_codeptr]=8
IT[size_t]="unsigned long" IT[ptrdiff_t]=long IT[wchar_t]=int
)BASH";
}

}  // namespace tessel_test

#endif  // TESSEL_TESTS_STAGE_VERIFY_VERIFY_FAKE_MODEL_H_
