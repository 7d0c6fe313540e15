#include "Model/formatters/KSDependenciesFormatter.h"

namespace kestrum {

const KSClassInfo& KSDependenciesFormatter::staticClassInfo() {
    using F = KSDependenciesFormatter;
    static const KSClassInfo info = KSClassInfo::make<F>(
        "KSDependenciesFormatter", &KSFormatter::staticClassInfo(), [](KSClassBuilder<F>& b) {
            b.attribute("showingDependents", &F::showingDependents, &F::setShowingDependents);
        });
    return info;
}

KSDependenciesFormatter::KSDependenciesFormatter()
    : depFormatter_(std::make_shared<KSDependencyFormatter>()) {}

KSDependenciesFormatter::~KSDependenciesFormatter() = default;

void KSDependenciesFormatter::setScenario(KSScenario* scenario) {
    nonretainedScenario_ = scenario;
    depFormatter_->setScenario(scenario);
}

std::string KSDependenciesFormatter::stringForObjectValue(const KSValue& value) {
    if (!value.isArray()) return {};
    std::string text;
    for (const KSValue& element : value.asArray()) {
        if (!text.empty()) text += ", ";
        text += depFormatter_->stringForObjectValue(element);
    }
    return text;
}

KSDependency::List KSDependenciesFormatter::dependenciesForString(std::string_view text) const {
    KSDependency::List links;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        std::size_t comma = text.find(',', begin);
        if (comma == std::string_view::npos) comma = text.size();
        std::string_view piece = text.substr(begin, comma - begin);
        if (!piece.empty()) {
            if (auto link = depFormatter_->dependencyForString(piece, nullptr))
                links.push_back(std::move(link));
        }
        begin = comma + 1;
    }
    return links;
}

bool KSDependenciesFormatter::getObjectValueForString(KSValue* out, std::string_view text,
                                                      std::string*) {
    if (!out) return true;
    KSArray values;
    for (auto& link : dependenciesForString(text))
        values.emplace_back(std::move(link));
    *out = KSValue(std::move(values));
    return true;
}

}  // namespace kestrum
