// KSAttachment: a reference from a plan object to a file outside the document.
//
// The file is kept by path, absolute or relative to the document's folder, and by a
// file alias so that it can still be found after the document has moved. A relative
// path resolves against the folder of the document's file location; a document never
// saved falls back on the folder of the alias's path.
//
// The archive form is a dictionary with "externalPath" (relative to the saving location
// when one is known) and "externalAlias" (the alias data in base64); an attachment with
// no path archives as an empty dictionary.
//
//   auto a = KSAttachment::attachmentWithURL("/home/me/Documents/brief.pdf");
//   task->addAttachment(a);
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Platform/core/KSValue.h"
#include "Platform/files/BKAlias.h"
#include "Platform/xml/BKObject.h"

namespace kestrum {

class KSObject;

class KSAttachment : public BKObject {
    KS_DECLARE_CLASS()
public:
    KSAttachment();
    ~KSAttachment() override;

    // An attachment to the file at `url` (a path or a "file://" URL).
    static std::shared_ptr<KSAttachment> attachmentWithURL(const std::string& url);
    // An attachment read from its archive dictionary.
    static std::shared_ptr<KSAttachment> attachmentWithArchive(const KSDictionary& archive);

    // The object the file is attached to (not retained), or null.
    KSObject* attachee() const { return nonretainedAttachee_; }
    void setAttachee(KSObject* attachee) { nonretainedAttachee_ = attachee; }

    // The stored path: absolute, or relative to the document's folder; null when none.
    const std::optional<std::string>& externalPath() const { return externalPath_; }
    // Points the attachment at another file (undoable, "Fix Attachment"), with a new
    // alias made from the path resolved against the present one.
    void setExternalPath(const std::optional<std::string>& path);
    // The alias data, or null.
    const std::optional<KSData>& aliasData() const { return aliasData_; }
    // The alias made from aliasData, or null.
    std::shared_ptr<BKAlias> externalAlias() const;

    // The last path component of the stored path ("" without one).
    std::string filename() const;
    // The absolute, standardized path of the file, or null.
    std::optional<std::string> fullPathViaExternalPath() const;
    // The file URL of the full path ("file:///..."), or null.
    std::optional<std::string> url() const;
    // Whether a path is stored.
    bool isExternal() const { return externalPath_.has_value(); }
    // The file's icon; this library has no workspace icons, so it is always null.
    std::shared_ptr<KSBaseObject> icon() const { return nullptr; }

    // Looks for changes of the file; an external file needs no action.
    void checkForFileUpdates() {}
    // Rewrites an absolute stored path relative to the folder of `baseURL`; no undo.
    void updateToBaseURL(const std::string& baseURL);
    // The archive form (see above).
    KSDictionary archiveDictionary() const;

    // The stored path resolved as described above, but with `path` deciding whether it
    // is absolute; null for a null path or when no folder can be found.
    std::optional<std::string> _fullPathViaPath(const std::optional<std::string>& path) const;
    // Stores path and alias and records the reverse call.
    void _setExternalPathAndAliasData(const std::optional<std::string>& path,
                                      const std::optional<KSData>& aliasData);
    // An absolute stored path made relative to the folder being saved to; null when no
    // save is in progress. A relative path stands as it is.
    std::optional<std::string> _relativePathFromSavingURL() const;

private:
    std::optional<std::string> documentFolder() const;
    std::optional<std::string> savingFolder() const;

    KSObject* nonretainedAttachee_ = nullptr;
    std::optional<std::string> externalPath_;
    std::optional<KSData> aliasData_;
};

}  // namespace kestrum
