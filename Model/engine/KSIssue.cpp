#include "Model/engine/KSIssue.h"

#include <fstream>
#include <iterator>

#include "Model/formatters/KSDateFormatter.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"

namespace kestrum {

const KSClassInfo& KSIssue::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSIssue>(
        "KSIssue", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSIssue>& b) {
            b.readOnly("shortDescription", &KSIssue::shortDescription);
            b.readOnly("issueKind", &KSIssue::issueKind);
        });
    return info;
}

const KSClassInfo& KSMaximumEffortExceededError::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSMaximumEffortExceededError>(
        "KSMaximumEffortExceededError", &KSIssue::staticClassInfo(),
        [](KSClassBuilder<KSMaximumEffortExceededError>&) {});
    return info;
}

KSIssue::KSIssue(KSTask* task) : nonretainedTask_(task) {}
KSIssue::~KSIssue() = default;

const std::string& KSIssue::schedulingIssueKind() {
    static const std::string kind = "Scheduling";
    return kind;
}
const std::string& KSIssue::assignmentIssueKind() {
    static const std::string kind = "Assignment";
    return kind;
}
const std::string& KSIssue::constraintIssueKind() {
    static const std::string kind = "Constraints";
    return kind;
}
const std::string& KSIssue::levelingIssueKind() {
    static const std::string kind = "Leveling";
    return kind;
}
const std::string& KSIssue::maximumEffortIssueKind() {
    static const std::string kind = "maximumEffort";
    return kind;
}

std::string KSIssue::shortDescription() const {
    return KSLocalizedString("Generic Issue - this should never be seen");
}

void KSIssue::_addIssueToTask(const std::shared_ptr<KSIssue>& issue, KSTask& task) {
    task.addIssue(issue);
}

void KSIssue::performAction(const std::string&) {}

int KSIssue::compareByType(const KSIssue& other) const {
    int a = type();
    int b = other.type();
    return a < b ? -1 : (a > b ? 1 : 0);
}

namespace {

constexpr const char* kViolationsFolder = "ViolationsInfo";

// The text of "<name>.html" in the violations folder, or null with a reason; `baseURL`
// gets the folder's URL (the first folder searched when none holds it).
std::optional<std::string> violationsHTML(const std::string& name, std::string* baseURL,
                                          std::string* reason) {
    std::optional<std::string> folder = KSLocalization::pathForResource(kViolationsFolder);
    std::string path =
        folder.value_or(KSLocalization::resourceFolders().front() + "/" + kViolationsFolder);
    if (baseURL) *baseURL = "file://" + path + "/";
    std::ifstream file(path + "/" + name + ".html", std::ios::binary);
    if (!file) {
        *reason = "The file \"" + name + ".html\" couldn't be opened.";
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string loadedOrMissing(const std::string& name, std::string* baseURL) {
    std::string url;
    std::string reason;
    std::optional<std::string> html = violationsHTML(name, &url, &reason);
    if (baseURL) *baseURL = url;
    if (html) return *html;
    KSLog("Unable to load violations HTML from %@: %@", url + name + ".html", reason);
    return "<h1>HTML Missing</h1>";
}

// The page's text, or its stand-in, with the stylesheet link "css.css" made "css-Mac.css".
std::string pageWithStylesheet(const std::string& name, std::string* baseURL) {
    std::string html = loadedOrMissing(name, baseURL);
    for (std::size_t at = html.find("css.css"); at != std::string::npos;
         at = html.find("css.css", at + 11)) {
        html.replace(at, 7, "css-Mac.css");
    }
    return html;
}

}  // namespace

std::string KSIssue::longDescriptionHTMLAndBaseURL(std::string* baseURL) const {
    std::optional<std::string> file = longDescriptionHTMLFile();
    return resultHTMLStringForRawHTMLString(pageWithStylesheet(file.value_or(""), baseURL));
}

std::string KSIssue::noViolationsHTMLAndBaseURL(std::string* baseURL) {
    return pageWithStylesheet("Blank", baseURL);
}

std::string KSIssue::stringForDate(const KSDateTime& date) const {
    KSScenario* scenario = task() ? task()->scenario() : nullptr;
    if (scenario && scenario->sharedDateFormatter())
        return scenario->sharedDateFormatter()->stringForDate(date);
    KSDateFormatter formatter;
    return formatter.stringForDate(date);
}

std::string KSMaximumEffortExceededError::shortDescription() const {
    return KSLocalizedString("Maximum effort exceeded");
}

void KSMaximumEffortExceededError::performAction(const std::string& action) {
    if (action != "removeThisWarning" || !task()) return;
    task()->removeIssue(sharedFromThis<KSIssue>());
}

}  // namespace kestrum
