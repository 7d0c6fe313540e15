#include "Platform/predicate/KSPredicate.h"

#include "Platform/core/KSBase64.h"
#include "Platform/plist/KSPropertyList.h"
#include "Platform/predicate/KSPredicateParser.h"

namespace kestrum {

const char* const KSPredicateErrorDomain = "KSPredicateErrorDomain";
const char* const KSPredicateErrorOffsetKey = "KSPredicateErrorOffset";

namespace {

const char* const kArchiveClassKey = "class";
const char* const kArchiveVersionKey = "version";
const char* const kArchiveFormatKey = "format";
const char* const kArchiveClassName = "KSPredicate";
constexpr long long kArchiveVersion = 1;

// TRUEPREDICATE and FALSEPREDICATE.
class KSConstantPredicate : public KSPredicate {
    KS_DECLARE_CLASS()
public:
    explicit KSConstantPredicate(bool value) : value_(value) {}
    Kind predicateKind() const override { return value_ ? Kind::True : Kind::False; }
    bool evaluateWithObject(const KSValue&) const override { return value_; }
    std::string predicateFormat() const override {
        return value_ ? "TRUEPREDICATE" : "FALSEPREDICATE";
    }
    bool isEqual(const KSBaseObject& other) const override {
        const auto* p = dynamic_cast<const KSConstantPredicate*>(&other);
        return p && p->value_ == value_;
    }
    std::size_t hash() const override { return value_ ? 0x7e57u : 0xfa15u; }

private:
    bool value_;
};

const KSClassInfo& KSConstantPredicate::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSConstantPredicate>(
        "KSConstantPredicate", &KSPredicate::staticClassInfo(), nullptr);
    return info;
}

KSError archiveError(const std::string& message) {
    return KSError::errorWithDescription(KSPredicateErrorDomain, KSPredicateArchiveError, message);
}

}  // namespace

const KSClassInfo& KSPredicate::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSPredicate>(
        "KSPredicate", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSPredicate>& b) {
            b.readOnly("predicateFormat", &KSPredicate::predicateFormat);
        });
    return info;
}

KSPredicatePtr KSPredicate::predicateWithFormat(std::string_view format, const KSArray& arguments,
                                                KSError* error) {
    return KSPredicateParser::parse(format, arguments, error);
}

const KSPredicatePtr& KSPredicate::truePredicate() {
    static const KSPredicatePtr predicate = std::make_shared<KSConstantPredicate>(true);
    return predicate;
}

const KSPredicatePtr& KSPredicate::falsePredicate() {
    static const KSPredicatePtr predicate = std::make_shared<KSConstantPredicate>(false);
    return predicate;
}

KSArray KSPredicate::filteredArray(const KSArray& array) const {
    KSArray result;
    for (const auto& element : array) {
        if (evaluateWithObject(element)) result.push_back(element);
    }
    return result;
}

KSData KSPredicate::archivedData(KSError* error) const {
    std::string format = predicateFormat();
    // Only text that reads back to this very predicate may be archived; constants with
    // no literal form would otherwise come back as strings.
    KSPredicatePtr reread = predicateWithFormat(format);
    if (!reread || !reread->isEqual(*this)) {
        KSSetError(error,
                   archiveError("The predicate \"" + format +
                                "\" holds values that have no text form and cannot be archived."));
        return {};
    }
    KSDictionary archive{{kArchiveClassKey, KSValue(kArchiveClassName)},
                         {kArchiveVersionKey, KSValue(kArchiveVersion)},
                         {kArchiveFormatKey, KSValue(format)}};
    return KSPropertyList::dataFromPropertyList(KSValue(std::move(archive)),
                                                KSPropertyListFormat::Binary, error);
}

KSPredicatePtr KSPredicate::predicateWithArchivedData(const KSData& data, KSError* error) {
    KSError plistError;
    KSValue plist = KSPropertyList::propertyListFromData(data, nullptr, &plistError);
    if (!plist.isDictionary()) {
        KSError failure = archiveError("The data is not a predicate archive.");
        if (plistError.isSet()) failure.setUnderlyingError(plistError);
        KSSetError(error, failure);
        return nullptr;
    }
    const KSDictionary& archive = plist.asDictionary();
    const KSValue* className = archive.find(kArchiveClassKey);
    const KSValue* format = archive.find(kArchiveFormatKey);
    if ((className && className->stringValue() != kArchiveClassName) || !format ||
        !format->isString()) {
        KSSetError(error, archiveError("The data is not a predicate archive."));
        return nullptr;
    }
    long long version = archive.objectForKey(kArchiveVersionKey).integerValue();
    if (version > kArchiveVersion) {
        KSSetError(error,
                   archiveError("The predicate archive has version " + std::to_string(version) +
                                ", newer than this reader understands (" +
                                std::to_string(kArchiveVersion) + ")."));
        return nullptr;
    }
    return predicateWithFormat(format->asString(), {}, error);
}

std::string KSPredicate::base64Archive(KSError* error) const {
    KSData data = archivedData(error);
    return data.empty() ? std::string() : KSBase64Encode(data);
}

KSPredicatePtr KSPredicate::predicateWithBase64ArchiveOrFormat(std::string_view text,
                                                               KSError* error) {
    KSData data;
    if (KSBase64Decode(text, &data) && !data.empty()) {
        if (KSPredicatePtr predicate = predicateWithArchivedData(data)) return predicate;
    }
    // The older form: the text is the predicate's format string itself.
    return predicateWithFormat(text, {}, error);
}

bool KSPredicatesEqual(const KSPredicatePtr& a, const KSPredicatePtr& b) {
    if (!a || !b) return !a && !b;
    return a->isEqual(*b);
}

}  // namespace kestrum
