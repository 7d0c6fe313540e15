// KSPredicateParser: reads the predicate format-string language.
//
// Grammar (keywords in any case; precedence from loosest to tightest):
//   predicate   := or
//   or          := and (("OR" | "||") and)*
//   and         := not (("AND" | "&&") not)*
//   not         := ("NOT" | "!") not | primary
//   primary     := "(" predicate ")" | "TRUEPREDICATE" | "FALSEPREDICATE" | comparison
//   comparison  := ["ANY" | "SOME" | "ALL" | "NONE"] expression operator [options] expression
//   operator    := "=" | "==" | "!=" | "<>" | "<" | "<=" | "=<" | ">" | ">=" | "=>"
//                | "BEGINSWITH" | "ENDSWITH" | "CONTAINS" | "LIKE" | "MATCHES" | "IN"
//                | "BETWEEN"
//   options     := "[c]" | "[d]" | "[cd]" | "[dc]"    (directly after the operator)
//   expression  := literal | keypath | "SELF" ["." keypath] | "{" [expression ("," expression)*]
//   "}"
//                | "CAST" "(" number-or-numeric-string "," "\"NSDate\"" ")"
//                | "%@" | "%K" ["." keypath] | "%d" | "%i" | "%ld" | "%lld" | "%u" | "%f" | "%g" |
//                "%e"
//   keypath     := component ("." component)*
//   component   := identifier | "@"identifier | "#"identifier | "#" string | "%K"
//   literal     := string | number | "YES" | "NO" | "TRUE" | "FALSE" | "NULL" | "NIL"
//   string      := '...' or "..." with escapes \\ \' \" \n \t \r \0 \uXXXX
//   number      := ["-" | "+"] digits ["." digits] [("e" | "E") ["+" | "-"] digits] | "0x" hex
//
// Identifiers are letters (any non-ASCII character counts as a letter), digits and '_',
// not starting with a digit; a reserved word used as a key is escaped with '#'. A %@
// argument becomes a constant (an array argument a list constant), a %K argument a key
// path split at its dots. Quoted text is never substituted. NONE p is read as NOT (ANY p).
//
// Errors never throw: parse answers null and fills the error with the offset and a
// reason, e.g. "Unable to parse the format string "a ==" at offset 4: expected an
// expression".
#pragma once

#include <string_view>

#include "Platform/core/KSError.h"
#include "Platform/predicate/KSPredicate.h"

namespace kestrum {

class KSPredicateParser {
public:
    // Parses `format` with `arguments` for its substitutions.
    static KSPredicatePtr parse(std::string_view format, const KSArray& arguments, KSError* error);
};

}  // namespace kestrum
