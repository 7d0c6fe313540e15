#include "Model/project/KSAttachment.h"

#include <cctype>
#include <filesystem>

#include "Model/project/KSDocumentProtocol.h"
#include "Model/project/KSObject.h"
#include "Model/project/KSProject.h"
#include "Platform/core/KSBase64.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSURL.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

namespace fs = std::filesystem;

namespace {

// Normalizes "." and ".." and drops a trailing separator.
std::string standardizedPath(const fs::path& path) {
    std::string text = path.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/')
        text.pop_back();
    return text;
}

std::optional<std::string> folderOfLocation(const std::optional<std::string>& location) {
    if (!location || location->empty()) return std::nullopt;
    return fs::path(KSPathFromFileURLString(*location)).parent_path().string();
}

}  // namespace

const KSClassInfo& KSAttachment::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSAttachment>(
        "KSAttachment", &BKObject::staticClassInfo(), [](KSClassBuilder<KSAttachment>& b) {
            b.readOnly("filename", &KSAttachment::filename);
            b.readOnly("isExternal", &KSAttachment::isExternal);
        });
    return info;
}

KSAttachment::KSAttachment() = default;
KSAttachment::~KSAttachment() = default;

std::shared_ptr<KSAttachment> KSAttachment::attachmentWithURL(const std::string& url) {
    auto attachment = std::make_shared<KSAttachment>();
    attachment->setExternalPath(KSPathFromFileURLString(url));
    return attachment;
}

std::shared_ptr<KSAttachment> KSAttachment::attachmentWithArchive(const KSDictionary& archive) {
    auto attachment = std::make_shared<KSAttachment>();
    KSValue path = archive.objectForKey("externalPath");
    if (path.isString() && !path.asString().empty()) attachment->externalPath_ = path.asString();
    KSValue alias = archive.objectForKey("externalAlias");
    KSData data;
    if (alias.isString() && !alias.asString().empty() && KSBase64Decode(alias.asString(), &data) &&
        !data.empty()) {
        attachment->aliasData_ = std::move(data);
    }
    return attachment;
}

std::shared_ptr<BKAlias> KSAttachment::externalAlias() const {
    return aliasData_ ? BKAlias::aliasWithData(*aliasData_) : nullptr;
}

std::string KSAttachment::filename() const {
    return externalPath_ ? fs::path(*externalPath_).filename().string() : std::string();
}

std::optional<std::string> KSAttachment::documentFolder() const {
    KSProject* project = nonretainedAttachee_ ? nonretainedAttachee_->project() : nullptr;
    KSDocumentProtocol* document = project ? project->document() : nullptr;
    return document ? folderOfLocation(document->fileURL()) : std::nullopt;
}

std::optional<std::string> KSAttachment::savingFolder() const {
    KSProject* project = nonretainedAttachee_ ? nonretainedAttachee_->project() : nullptr;
    KSDocumentProtocol* document = project ? project->document() : nullptr;
    return document ? folderOfLocation(document->savingToURL()) : std::nullopt;
}

std::optional<std::string> KSAttachment::_fullPathViaPath(
    const std::optional<std::string>& path) const {
    if (!path) return std::nullopt;
    if (fs::path(*path).is_absolute()) return path;
    std::optional<std::string> folder = documentFolder();
    if (!folder) {
        // An unsaved document: the alias still knows where the file was.
        if (std::shared_ptr<BKAlias> alias = externalAlias()) {
            folder = fs::path(alias->pathAllowingUnresolvedPath()).parent_path().string();
        }
    }
    // The stored path, not the argument, is appended: setExternalPath resolves a new
    // relative path against where the attachment points now.
    if (!folder || !externalPath_) return std::nullopt;
    return standardizedPath(fs::path(*folder) / *externalPath_);
}

std::optional<std::string> KSAttachment::fullPathViaExternalPath() const {
    return _fullPathViaPath(externalPath_);
}

std::optional<std::string> KSAttachment::url() const {
    std::optional<std::string> full = fullPathViaExternalPath();
    if (!full) return std::nullopt;
    return "file://" + KSPercentEscapedString(*full);
}

void KSAttachment::setExternalPath(const std::optional<std::string>& path) {
    if (path == externalPath_) return;
    std::optional<std::string> full = _fullPathViaPath(path);
    std::shared_ptr<BKAlias> alias = full ? BKAlias::aliasWithPath(*full) : nullptr;
    std::optional<KSData> data;
    if (alias) data = alias->data();
    _setExternalPathAndAliasData(path, data);
    KSUndoManager* um = nonretainedAttachee_ ? nonretainedAttachee_->undoManager() : nullptr;
    if (um) um->setActionName(KSLocalizedString("Fix Attachment"));
}

void KSAttachment::_setExternalPathAndAliasData(const std::optional<std::string>& path,
                                                const std::optional<KSData>& aliasData) {
    KSUndoManager* um = nonretainedAttachee_ ? nonretainedAttachee_->undoManager() : nullptr;
    if (um && !weak_from_this().expired()) {
        um->registerUndoWithTarget(
            sharedFromThis<KSAttachment>(),
            [oldPath = externalPath_, oldData = aliasData_](KSAttachment& a) {
                a._setExternalPathAndAliasData(oldPath, oldData);
            });
    }
    externalPath_ = path;
    aliasData_ = aliasData;
}

void KSAttachment::updateToBaseURL(const std::string& baseURL) {
    if (!externalPath_ || !fs::path(*externalPath_).is_absolute()) return;
    std::optional<std::string> folder = folderOfLocation(baseURL);
    if (!folder) return;
    fs::path relative = fs::path(*externalPath_).lexically_relative(*folder);
    if (!relative.empty()) externalPath_ = relative.string();
}

std::optional<std::string> KSAttachment::_relativePathFromSavingURL() const {
    if (!externalPath_) return std::nullopt;
    if (!fs::path(*externalPath_).is_absolute()) return externalPath_;
    std::optional<std::string> folder = savingFolder();
    if (!folder) return std::nullopt;
    fs::path relative = fs::path(*externalPath_).lexically_relative(*folder);
    if (relative.empty()) return std::nullopt;
    return relative.string();
}

KSDictionary KSAttachment::archiveDictionary() const {
    if (!externalPath_) return {};
    std::optional<std::string> path = _relativePathFromSavingURL();
    return KSDictionary{
        {"externalPath", KSValue(path ? *path : *externalPath_)},
        {"externalAlias", KSValue(aliasData_ ? KSBase64Encode(*aliasData_) : std::string())}};
}

}  // namespace kestrum
