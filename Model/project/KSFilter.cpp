#include "Model/project/KSFilter.h"

#include "Platform/xml/BKXMLFunctions.h"

namespace kestrum {

const KSClassInfo& KSFilter::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSFilter>(
        "KSFilter", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSFilter>& b) {
            b.custom(
                "filterId", KSValue::Type::String,
                [](const KSFilter& f) { return KSValue(f.filterId()); },
                [](KSFilter& f, const KSValue& v) {
                    if (!v.isString()) return false;
                    f.setFilterId(v.asString());
                    return true;
                });
            b.custom(
                "name", KSValue::Type::String, [](const KSFilter& f) { return KSValue(f.name()); },
                [](KSFilter& f, const KSValue& v) {
                    if (!v.isString()) return false;
                    f.setName(v.asString());
                    return true;
                });
            b.custom("predicate", KSValue::Type::Object, [](const KSFilter& f) {
                return f.predicate() ? KSValue(std::const_pointer_cast<KSPredicate>(f.predicate()))
                                     : KSValue();
            });
            b.attribute("displayFlatLeaves", &KSFilter::displayFlatLeaves,
                        &KSFilter::setDisplayFlatLeaves);
        });
    return info;
}

// Filter ids are the file's element identifiers.
KSFilter::KSFilter() : filterId_(BKXMLCreateID()), name_(filterId_) {}
KSFilter::~KSFilter() = default;

std::shared_ptr<KSFilter> KSFilter::filterWithPredicate(KSPredicatePtr predicate) {
    auto filter = std::make_shared<KSFilter>();
    filter->predicate_ = std::move(predicate);
    return filter;
}

void KSFilter::setFilterId(std::string filterId) {
    if (filterId == filterId_) return;
    willChangeValueForKey("filterId");
    filterId_ = std::move(filterId);
    didChangeValueForKey("filterId");
}

void KSFilter::setName(std::string name) {
    if (name == name_) return;
    willChangeValueForKey("name");
    name_ = std::move(name);
    didChangeValueForKey("name");
}

void KSFilter::setPredicate(KSPredicatePtr predicate) {
    if (KSPredicatesEqual(predicate, predicate_)) return;
    willChangeValueForKey("predicate");
    predicate_ = std::move(predicate);
    didChangeValueForKey("predicate");
}

void KSFilter::setDisplayFlatLeaves(bool flag) {
    if (flag == displayFlatLeaves_) return;
    willChangeValueForKey("displayFlatLeaves");
    displayFlatLeaves_ = flag;
    didChangeValueForKey("displayFlatLeaves");
}

bool KSFilter::matchesObject(const KSValue& object) const {
    return predicate_ && predicate_->evaluateWithObject(object);
}

int KSFilter::compareName(const KSFilter& other) const {
    int order = name_.compare(other.name_);
    return order < 0 ? -1 : (order > 0 ? 1 : 0);
}

}  // namespace kestrum
