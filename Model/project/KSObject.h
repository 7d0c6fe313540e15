// KSObject: the base of project, scenario, task and resource.
//
// It gives the model objects one way of reading and writing attributes by key (unknown
// keys fall back on the user-data attributes and the note), free-form user data under
// project-wide keys, a rich-text note, file attachments, and the change hooks through
// which every attribute change reaches the object's difference engine.
//
// Subclasses describe their attribute vocabulary (baseAttributeIdentifiers and
// nonGroupAttributeIdentifiers); the keys that matter for change tracking follow from
// it. Every undoable change records its inverse on the document's undo manager, reached
// through the object's project, with registerUndo / setUndoableValue.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "Model/project/KSTextStorage.h"
#include "Platform/core/KSUndoManager.h"
#include "Platform/difference/TMObject.h"

namespace kestrum {

class KSAttachment;
class KSProject;
class KSScenario;

// The class of value an attribute accepts through keyed access.
enum class KSValueClass {
    String,             // a string
    Number,             // a number or a boolean
    AttributedString,   // rich text (a TWTextStorage object)
    AssignedUnits,      // a KSAssignedUnitsValue
    ResourceType,       // a KSResourceType
    AddressBookPerson,  // a person's card of the address book (KSABRecord)
};

using KSKeySet = std::unordered_set<std::string>;

class KSObject : public TMObject, public KSTextStorageDelegate {
    KS_DECLARE_CLASS()
public:
    KSObject();
    ~KSObject() override;

    // --- Attribute vocabulary ----------------------------------------------------------
    // The attributes any object of the class has; none here.
    virtual std::vector<std::string> baseAttributeIdentifiers() const { return {}; }
    // The attributes only a non-group object has; none here.
    virtual std::vector<std::string> nonGroupAttributeIdentifiers() const { return {}; }
    // The value class an attribute accepts: number for "Notes" (the has-a-note column),
    // rich text for "NoteContents", string for anything else.
    virtual KSValueClass valueClassForIdentifier(std::string_view identifier) const;
    // The keys whose change affects `key` (its dependent-key sources).
    std::vector<std::string> additionalChangeTrackedKeysForKey(std::string_view key) const;
    // The base and non-group identifiers with the keys they depend on. Worked out anew
    // on each call here; subclasses with a fixed vocabulary cache it.
    virtual const KSKeySet& changeTrackedKeysSet() const;

    // --- Keyed access fallbacks -------------------------------------------------------
    // "Notes"/"NoteContents" answer the note's text, user-data keys their value, any
    // other key null. Never raises.
    KSValue valueForUndefinedKey(std::string_view key) const override;
    // Drops values of the wrong class; stores user-data values and notes; passes any
    // other key to the base, which raises.
    void setValueForUndefinedKey(const KSValue& value, std::string_view key) override;

    // --- User data ----------------------------------------------------------------------
    // The user-data keys in force for this kind of object, in order; none here.
    virtual std::vector<std::string> userDataKeys() const { return {}; }
    KSKeySet userDataKeySet() const;
    // The user-data keys that change tracking follows: userDataKeySet.
    KSKeySet userDataAttributeIdentifiers() const { return userDataKeySet(); }
    // The stored values, or null when none were ever stored.
    const std::optional<KSDictionary>& userData() const { return userData_; }
    // Replaces all values (undoable, "Set User Data"); sends no change notices.
    void setUserData(const std::optional<KSDictionary>& userData);
    // The value for `key`, or "" when there is none.
    std::string userDataForKey(std::string_view key) const;
    // Stores `value` under `key` (undoable, "Set User Data"); null or "" removes it.
    void setUserDataForKey(const std::optional<std::string>& value, const std::string& key);
    // Moves the value of `oldKey` to `newKey` (null: drops it) when a key is renamed or
    // removed project-wide; undoable.
    virtual void userDataChangedKeyFromTo(const std::string& oldKey,
                                          const std::optional<std::string>& newKey);

    // --- Note ---------------------------------------------------------------------------
    // Whether the note has any text.
    bool hasNote() const;
    // The note, made empty on first read once the object belongs to a project; null for
    // an object outside a project with no note.
    std::shared_ptr<KSTextStorage> notes() const;
    // Sets the note from a string or rich text (undoable, "Set Note"); an empty value
    // removes it. Outside a project the value is kept as given until the object joins one.
    void setNotes(const KSValue& value);
    // The note's plain text ("" without a note).
    std::string noteString() const;

    // --- Attachments --------------------------------------------------------------------
    const std::vector<std::shared_ptr<KSAttachment>>& attachments() const { return attachments_; }
    // Adds an attachment (undoable, "Add Attachment").
    void addAttachment(const std::shared_ptr<KSAttachment>& attachment);
    // Removes an attachment (undoable, "Remove Attachment"); nothing for a stranger.
    void removeAttachment(const std::shared_ptr<KSAttachment>& attachment);
    // Null without attachments, else {"a": [archive dictionary, ...]}.
    KSValue attachmentDict() const;
    // Replaces all attachments by those of an attachmentDict form.
    void setAttachmentDict(const KSValue& dict);
    void checkForAttachmentUpdates();
    // Rewrites absolute attachment paths relative to the folder of `baseURL`.
    void updateAttachmentsToBaseURL(const std::string& baseURL);
    // The folder name for this object's attachments in a document package: "unknown".
    virtual std::string attachmentSubdirectoryName() const { return "unknown"; }

    // --- Place in a plan ----------------------------------------------------------------
    // The scenario (not retained), or null while not in a plan.
    KSScenario* scenario() const { return nonretainedScenario_; }
    virtual void setScenario(KSScenario* scenario);
    // The project of the scenario, or null.
    virtual KSProject* project() const;
    // The document's undo manager, or null outside a project.
    virtual KSUndoManager* undoManager() const;

    // Scrambles user data (every character but whitespace, punctuation and capitals
    // becomes "x", capitals "X") and removes all attachments.
    void gibberize();
    // The scrambled form of `text`.
    static std::string gibberizedString(std::string_view text);

    // --- Change hooks -----------------------------------------------------------------
    // Tracked keys (and keys they depend on, and user-data keys) notify "hasTrackedChanges"
    // and the difference engine around the key's own notice.
    void willChangeValueForKey(std::string_view key) override;
    void didChangeValueForKey(std::string_view key) override;
    // The same for set mutations of "childrenSet".
    void willChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                          KSKeyValueSetMutationKind kind,
                                                          const KSArray& objects) override;
    void didChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                         KSKeyValueSetMutationKind kind,
                                                         const KSArray& objects) override;

    // A short description for lists of changes; null here.
    virtual std::optional<std::string> objectDescription() const { return std::nullopt; }
    // The localized type word of undo action names ("Task"); every subclass gives it.
    virtual std::string subclassLocalizedTypeForUndo() const;
    // The id prefix in change logs and files: "BAD-<class>" unless a class gives one.
    virtual std::string idPrefix() const { return "BAD-" + className(); }
    // The XML element name: "BAD-<class>" unless a class gives one.
    virtual std::string xmlElementName() const { return "BAD-" + className(); }

    // --- Note editing (KSTextStorageDelegate) ------------------------------------------
    void willBeginEditing(KSTextStorage& storage) override;
    void textStorageWillProcessEditing(TWTextStorage& storage) override;
    void textStorageDidProcessEditing(TWTextStorage& storage) override;

protected:
    // Records `undo` (called with this object as `Self&`) on `manager`, or on this
    // object's undo manager when `manager` is null. Nothing is recorded outside a
    // project or for an object not held by a shared_ptr.
    template <class Self, class F>
    void registerUndo(F&& undo, KSUndoManager* manager = nullptr) {
        KSUndoManager* um = manager ? manager : undoManager();
        if (!um || weak_from_this().expired()) return;
        um->registerUndoWithTarget(sharedFromThis<Self>(), std::forward<F>(undo));
    }
    // Names the open undo group with the localized form of `englishName`.
    void setUndoActionName(std::string_view englishName) const;
    // The undoable setter: returns false when unchanged; else records `setter` with the
    // old value, names the action, sends will-change for `key`, stores, sends did-change.
    template <class Self, class V, class Setter>
    bool setUndoableValue(V& field, const V& value, std::string_view key,
                          std::string_view actionName, Setter setter) {
        if (field == value) return false;
        registerUndo<Self>([old = field, setter](Self& self) { (self.*setter)(old); });
        if (!actionName.empty()) setUndoActionName(actionName);
        willChangeValueForKey(key);
        field = value;
        didChangeValueForKey(key);
        return true;
    }
    // Whether a change of `key` is reported to the difference engine.
    bool isTrackedKey(std::string_view key) const;
    // Turns a note value into a note under this object's project; null for an empty one.
    std::shared_ptr<KSTextStorage> makeNote(const KSValue& value) const;

private:
    void storeNote(KSValue note);

    mutable KSValue note_;  // a KSTextStorage, or the raw value set outside a project
    std::optional<KSDictionary> userData_;
    std::vector<std::shared_ptr<KSAttachment>> attachments_;
    KSScenario* nonretainedScenario_ = nullptr;
    mutable KSKeySet trackedKeys_;
};

}  // namespace kestrum
