#include "Model/engine/KSDependencyLoopError.h"

#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSNumberText.h"

namespace kestrum {

namespace {

std::string numberOf(const KSTask* task) {
    return task ? task->positionalIDString() : std::string();
}

std::string titleOf(const KSTask* task) {
    return task ? task->title().value_or(std::string()) : std::string();
}

}  // namespace

const KSClassInfo& KSDependencyLoopError::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSDependencyLoopError>(
        "KSDependencyLoopError", &KSIssue::staticClassInfo(),
        [](KSClassBuilder<KSDependencyLoopError>&) {});
    return info;
}

KSDependencyLoopError::KSDependencyLoopError(KSTask* task, std::shared_ptr<KSDependency> dependency,
                                             std::optional<Loop> loop)
    : KSIssue(task), dependency_(std::move(dependency)), loop_(std::move(loop)) {}

KSDependencyLoopError::~KSDependencyLoopError() = default;

std::shared_ptr<KSDependencyLoopError> KSDependencyLoopError::issueForDependencyInLoop(
    const std::shared_ptr<KSDependency>& dependency, const Loop* loop) {
    if (!dependency || !dependency->dependent()) return nullptr;
    std::optional<Loop> kept;
    if (loop) kept = *loop;
    return issueForTask<KSDependencyLoopError>(*dependency->dependent(), dependency,
                                               std::move(kept));
}

std::string KSDependencyLoopError::shortDescription() const {
    return KSLocalizedString("This task is involved in a dependency loop");
}

std::string KSDependencyLoopError::resultHTMLStringForRawHTMLString(
    const std::string& rawHTML) const {
    const KSTask* prerequisite = dependency_ ? dependency_->prerequisite() : nullptr;
    return KSStringWithFormat(rawHTML, numberOf(prerequisite), titleOf(prerequisite),
                              loopInfoHTML());
}

std::string KSDependencyLoopError::loopInfoHTML() const {
    std::string html;
    if (!loop_) return html;
    long long n = 1;
    for (const auto& link : *loop_) {
        html += KSStringWithFormat(
            "<li><a href=ksaction:removeOther-%6$d>Remove</a>: (%1$@) %2$@ %3$@ (%4$@) %5$@",
            numberOf(link->prerequisite()), titleOf(link->prerequisite()), "\u2192",
            numberOf(link->dependent()), titleOf(link->dependent()), n++);
    }
    return html;
}

void KSDependencyLoopError::performAction(const std::string& action) {
    static const std::string kRemoveOther = "removeOther-";
    if (action == "remove") {
        if (dependency_) dependency_->remove();
        return;
    }
    if (action.rfind(kRemoveOther, 0) != 0 || !loop_) return;
    long long n = KSIntegerValueOfString(action.substr(kRemoveOther.size()));
    if (n < 1 || n > static_cast<long long>(loop_->size())) return;
    std::shared_ptr<KSDependency> link = (*loop_)[static_cast<std::size_t>(n - 1)];
    link->remove();
}

}  // namespace kestrum
