// KSDocumentProtocol: the application's side of a project.
//
// The application makes one KSProject per open document and hands it an object that
// answers this protocol: the document's undo manager, where the document lives and
// where it is being saved, and a way to show errors to the user. The project does not
// retain the document; the document owns the project.
#pragma once

#include <optional>
#include <string>

namespace kestrum {

class KSError;
class KSUndoManager;

class KSDocumentProtocol {
public:
    virtual ~KSDocumentProtocol() = default;

    // The undo manager of the document, which every undoable edit records into; never
    // null while the project lives.
    virtual KSUndoManager* undoManager() = 0;
    // Where the document was last saved: an absolute file path or a "file://" URL; null
    // for a document that was never saved.
    virtual std::optional<std::string> fileURL() const = 0;
    // Where a save in progress writes to (same forms as fileURL); null outside a save.
    virtual std::optional<std::string> savingToURL() const = 0;
    // Shows `error` (domain "Kestrum", code 1 for the model's errors) to the user.
    virtual void presentError(const KSError& error) = 0;
    // Tells the application to show or hide outline numbers in front of titles.
    virtual void setShowHeadingNumbers(bool flag) = 0;
    // Tells the application that subscribing to resource loads was turned on or off.
    virtual void resourceLoadSubscriptionFlagDidChange() = 0;
};

}  // namespace kestrum
