// KSPredicate: a condition over keyed objects, written in the predicate language.
//
//   KSError error;
//   auto p = KSPredicate::predicateWithFormat("title BEGINSWITH[cd] %@ AND effort > 3600",
//                                             {KSValue("Revue")}, &error);
//   if (p && p->evaluateWithObject(task)) ...
//
// A predicate is an immutable tree of comparisons (KSComparisonPredicate), compounds
// (KSCompoundPredicate: AND, OR, NOT) and the constants TRUEPREDICATE and
// FALSEPREDICATE. Equality is by structure. `predicateFormat` prints the canonical text,
// which parses back to an equal predicate; the grammar is described in
// KSPredicateParser.h.
//
// Archive. The keyed archive of a predicate (what a project file keeps, base 64 encoded)
// is a binary property list holding a dictionary:
//   { class = "KSPredicate"; version = 1; format = "<predicateFormat>"; }
// Reading accepts any property-list encoding of that dictionary and a version up to 1.
// A predicate whose constants have no literal form (data, dictionaries, object
// references) cannot be archived. predicateWithBase64ArchiveOrFormat adds the fall-back
// of older files: text that is not the base 64 of such an archive is read as a plain
// format string.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class KSPredicate;
using KSPredicatePtr = std::shared_ptr<const KSPredicate>;

// The error domain of predicate parsing and archives.
extern const char* const KSPredicateErrorDomain;
// Codes of KSPredicateErrorDomain.
enum KSPredicateErrorCode : long {
    KSPredicateFormatError = 1,    // the format string does not parse
    KSPredicateArgumentError = 2,  // a substitution lacks its argument or has the wrong kind
    KSPredicateArchiveError = 3,   // the archive is not a predicate archive
};
// User-info key of a format error: the byte offset in the format string (integer).
extern const char* const KSPredicateErrorOffsetKey;

class KSPredicate : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    enum class Kind { True, False, Comparison, Compound };

    // Parses a format string, substituting %@ (a value), %K (a key path) and the number
    // conversions (%d, %i, %ld, %lld, %u, %f, %g, %e) from `arguments` in order. Answers
    // null and fills `error` on malformed text; never throws.
    static KSPredicatePtr predicateWithFormat(std::string_view format,
                                              const KSArray& arguments = {},
                                              KSError* error = nullptr);
    // TRUEPREDICATE and FALSEPREDICATE (shared instances).
    static const KSPredicatePtr& truePredicate();
    static const KSPredicatePtr& falsePredicate();

    // Which kind of node this is.
    virtual Kind predicateKind() const = 0;
    // The result for an evaluated object: an object reference, a dictionary (its entries
    // are the keys) or any value (reached through SELF).
    virtual bool evaluateWithObject(const KSValue& object) const = 0;
    // The canonical text.
    virtual std::string predicateFormat() const = 0;
    // The canonical text, for "%@".
    std::string description() const override { return predicateFormat(); }

    // The elements of `array` for which the predicate holds, in order.
    KSArray filteredArray(const KSArray& array) const;

    // The archive described in the header comment; empty data and `error` when the
    // predicate holds a constant without a literal form.
    KSData archivedData(KSError* error = nullptr) const;
    // Reads an archive; null and `error` when the data is not one.
    static KSPredicatePtr predicateWithArchivedData(const KSData& data, KSError* error = nullptr);
    // The base 64 text of archivedData (empty on failure).
    std::string base64Archive(KSError* error = nullptr) const;
    // Reads base 64 archive text, else takes `text` as a format string; null and `error`
    // (the format error) when neither works.
    static KSPredicatePtr predicateWithBase64ArchiveOrFormat(std::string_view text,
                                                             KSError* error = nullptr);

    // Structural equality (isEqual).
    friend bool operator==(const KSPredicate& a, const KSPredicate& b) { return a.isEqual(b); }
    friend bool operator!=(const KSPredicate& a, const KSPredicate& b) { return !a.isEqual(b); }
};

// Structural equality of two optional predicates.
bool KSPredicatesEqual(const KSPredicatePtr& a, const KSPredicatePtr& b);

}  // namespace kestrum
