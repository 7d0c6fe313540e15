#include "Model/project/KSObject.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "Model/project/KSAttachment.h"
#include "Model/project/KSProject.h"
#include "Model/project/KSScenario.h"
#include "Platform/core/KSAssert.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUserDefaults.h"
#include "Platform/difference/TMDifferenceEngine.h"
#include "Platform/styles/HLStyle.h"

namespace kestrum {

namespace {

bool valueIsOfClass(const KSValue& value, KSValueClass valueClass) {
    switch (valueClass) {
        case KSValueClass::String:
            return value.isString();
        case KSValueClass::Number:
            return value.isNumber() || value.isBool();
        case KSValueClass::AttributedString:
            return value.asObjectOfType<TWTextStorage>() != nullptr;
        case KSValueClass::AssignedUnits:
        case KSValueClass::ResourceType:
        case KSValueClass::AddressBookPerson:
            // Objects of the resource columns; their classes check the value themselves.
            return value.isObject();
    }
    return false;
}

bool isRichText(const KSValue& value) {
    return value.asObjectOfType<TWTextStorage>() != nullptr;
}

// The plain text of a note value: rich text, a string, or anything's description.
std::string plainTextOfNoteValue(const KSValue& value) {
    if (auto text = value.asObjectOfType<TWTextStorage>()) return text->string();
    if (value.isNull()) return std::string();
    return value.isString() ? value.asString() : value.description();
}

void registerClassDefaults() {
    static std::once_flag once;
    std::call_once(once, [] {
        const char* home = std::getenv("HOME");
        std::string folder = std::string(home ? home : "") + "/Documents";
        KSUserDefaults::standardUserDefaults().registerDefaults(
            KSDictionary{{"KSLastAttachmentDirectory", KSValue(folder)}});
    });
}

}  // namespace

const KSClassInfo& KSObject::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSObject>(
        "KSObject", &TMObject::staticClassInfo(), [](KSClassBuilder<KSObject>& b) {
            b.custom(
                "notes", KSValue::Type::Object,
                [](const KSObject& o) { return KSValue(o.notes()); },
                [](KSObject& o, const KSValue& v) {
                    o.setNotes(v);
                    return true;
                });
            b.readOnly("hasNote", &KSObject::hasNote);
            b.custom(
                "userData", KSValue::Type::Dictionary,
                [](const KSObject& o) { return o.userData_ ? KSValue(*o.userData_) : KSValue(); },
                [](KSObject& o, const KSValue& v) {
                    if (v.isNull()) {
                        o.setUserData(std::nullopt);
                        return true;
                    }
                    if (!v.isDictionary()) return false;
                    o.setUserData(v.asDictionary());
                    return true;
                });
            b.custom(
                "attachmentDict", KSValue::Type::Dictionary,
                [](const KSObject& o) { return o.attachmentDict(); },
                [](KSObject& o, const KSValue& v) {
                    o.setAttachmentDict(v);
                    return true;
                });
            b.custom("attachments", KSValue::Type::Array, [](const KSObject& o) {
                KSArray list;
                for (const auto& attachment : o.attachments())
                    list.push_back(KSValue(attachment));
                return KSValue(std::move(list));
            });
            b.readOnly("subclassLocalizedTypeForUndo", &KSObject::subclassLocalizedTypeForUndo);
            b.dependentKeys("hasNote", {"notes"});
            b.dependentKeys("attachmentDict", {"attachments"});
        });
    return info;
}

KSObject::KSObject() {
    registerClassDefaults();
}

KSObject::~KSObject() {
    if (auto note = note_.asObjectOfType<KSTextStorage>()) {
        if (note->delegate() == this) note->setDelegate(nullptr);
    }
    for (const auto& attachment : attachments_) {
        if (attachment->attachee() == this) attachment->setAttachee(nullptr);
    }
}

// --- Vocabulary --------------------------------------------------------------------------

KSValueClass KSObject::valueClassForIdentifier(std::string_view identifier) const {
    if (identifier == "Notes") return KSValueClass::Number;
    if (identifier == "NoteContents") return KSValueClass::AttributedString;
    return KSValueClass::String;
}

std::vector<std::string> KSObject::additionalChangeTrackedKeysForKey(std::string_view key) const {
    return classInfo().keyPathsForValuesAffectingValueForKey(key);
}

const KSKeySet& KSObject::changeTrackedKeysSet() const {
    trackedKeys_.clear();
    for (const auto& list : {baseAttributeIdentifiers(), nonGroupAttributeIdentifiers()}) {
        for (const auto& key : list) {
            trackedKeys_.insert(key);
            for (const auto& source : additionalChangeTrackedKeysForKey(key)) {
                trackedKeys_.insert(source);
            }
        }
    }
    return trackedKeys_;
}

// --- Keyed access fallbacks ----------------------------------------------------------------

KSValue KSObject::valueForUndefinedKey(std::string_view key) const {
    if (key == "Notes" || key == "NoteContents") return KSValue(noteString());
    if (key.empty()) return KSValue();
    if (userDataKeySet().count(std::string(key))) return KSValue(userDataForKey(key));
    return KSValue();
}

void KSObject::setValueForUndefinedKey(const KSValue& value, std::string_view key) {
    if (!valueIsOfClass(value, valueClassForIdentifier(key))) return;
    std::string k(key);
    if (userDataKeySet().count(k)) {
        setUserDataForKey(value.description(), k);
        return;
    }
    if ((k == "Notes" || k == "NoteContents" || k == "hasNote") &&
        (value.isString() || isRichText(value))) {
        setNotes(value);
        return;
    }
    TMObject::setValueForUndefinedKey(value, key);
}

// --- User data ------------------------------------------------------------------------------

KSKeySet KSObject::userDataKeySet() const {
    std::vector<std::string> keys = userDataKeys();
    return KSKeySet(keys.begin(), keys.end());
}

std::string KSObject::userDataForKey(std::string_view key) const {
    if (!userData_) return std::string();
    const KSValue* value = userData_->find(key);
    return value ? value->stringValue() : std::string();
}

void KSObject::setUserDataForKey(const std::optional<std::string>& value, const std::string& key) {
    std::optional<std::string> old;
    if (userData_) {
        if (const KSValue* stored = userData_->find(key)) old = stored->stringValue();
    }
    if (!old && !value) return;
    if (value && old && *value == *old) return;
    registerUndo<KSObject>([old, key](KSObject& o) { o.setUserDataForKey(old, key); });
    setUndoActionName("Set User Data");
    willChangeValueForKey("userData");
    willChangeValueForKey(key);
    if (!userData_) userData_.emplace();
    if (!value || value->empty()) {
        userData_->removeObjectForKey(key);
    } else {
        userData_->setObjectForKey(key, KSValue(*value));
    }
    didChangeValueForKey("userData");
    didChangeValueForKey(key);
}

void KSObject::setUserData(const std::optional<KSDictionary>& userData) {
    // Values compare by content here: giving the same contents is no change.
    if (userData == userData_) return;
    registerUndo<KSObject>([old = userData_](KSObject& o) { o.setUserData(old); });
    setUndoActionName("Set User Data");
    if (!userData) {
        userData_.reset();
        return;
    }
    if (!userData_) userData_.emplace();
    userData_->removeAllObjects();
    for (const auto& [key, value] : *userData)
        userData_->setObjectForKey(key, value);
}

void KSObject::userDataChangedKeyFromTo(const std::string& oldKey,
                                        const std::optional<std::string>& newKey) {
    if (!userData_ || !userData_->contains(oldKey)) return;
    if (newKey && *newKey == oldKey) return;
    std::string value = userData_->objectForKey(oldKey).stringValue();
    willChangeValueForKey("userData");
    if (newKey) {
        registerUndo<KSObject>(
            [oldKey, newKey](KSObject& o) { o.userDataChangedKeyFromTo(*newKey, oldKey); });
        userData_->setObjectForKey(*newKey, KSValue(value));
    } else {
        registerUndo<KSObject>(
            [oldKey, value](KSObject& o) { o.setUserDataForKey(value, oldKey); });
    }
    userData_->removeObjectForKey(oldKey);
    didChangeValueForKey("userData");
}

// --- Note -----------------------------------------------------------------------------------

bool KSObject::hasNote() const {
    return !plainTextOfNoteValue(note_).empty();
}

std::string KSObject::noteString() const {
    return plainTextOfNoteValue(note_);
}

std::shared_ptr<KSTextStorage> KSObject::makeNote(const KSValue& value) const {
    if (plainTextOfNoteValue(value).empty()) return nullptr;
    KSProject* owner = project();
    std::shared_ptr<const KSBaseObject> style = owner ? owner->noteStyle() : nullptr;
    if (auto rich = value.asObjectOfType<TWTextStorage>()) {
        return std::make_shared<KSTextStorage>(*rich, style);
    }
    return std::make_shared<KSTextStorage>(plainTextOfNoteValue(value), style);
}

std::shared_ptr<KSTextStorage> KSObject::notes() const {
    if (auto note = note_.asObjectOfType<KSTextStorage>()) return note;
    KSProject* owner = project();
    if (!owner) return nullptr;
    // A project's objects always have a note to edit, made under its note style.
    std::shared_ptr<KSTextStorage> note = makeNote(note_);
    if (!note) note = std::make_shared<KSTextStorage>(std::string(), owner->noteStyle());
    const_cast<KSObject*>(this)->storeNote(KSValue(note));
    return note;
}

void KSObject::storeNote(KSValue note) {
    if (auto old = note_.asObjectOfType<KSTextStorage>()) {
        if (old->delegate() == this) old->setDelegate(nullptr);
    }
    note_ = std::move(note);
    if (auto current = note_.asObjectOfType<KSTextStorage>()) current->setDelegate(this);
}

void KSObject::setNotes(const KSValue& value) {
    if (!project()) {
        // No project, so no note style yet: keep the value until the object joins one.
        willChangeValueForKey("notes");
        storeNote(value);
        didChangeValueForKey("notes");
        return;
    }
    std::shared_ptr<KSTextStorage> note = makeNote(value);
    registerUndo<KSObject>([old = note_](KSObject& o) { o.setNotes(old); });
    setUndoActionName("Set Note");
    willChangeValueForKey("notes");
    storeNote(note ? KSValue(note) : KSValue());
    didChangeValueForKey("notes");
}

void KSObject::willBeginEditing(KSTextStorage&) {
    willChangeValueForKey("hasNote");
    willChangeValueForKey("NoteContents");
}

void KSObject::textStorageWillProcessEditing(TWTextStorage&) {}

void KSObject::textStorageDidProcessEditing(TWTextStorage&) {
    didChangeValueForKey("NoteContents");
    didChangeValueForKey("hasNote");
}

// --- Attachments ------------------------------------------------------------------------------

void KSObject::addAttachment(const std::shared_ptr<KSAttachment>& attachment) {
    if (!attachment) return;
    registerUndo<KSObject>([attachment](KSObject& o) { o.removeAttachment(attachment); });
    setUndoActionName("Add Attachment");
    attachment->setAttachee(this);
    willChangeValueForKey("attachments");
    attachments_.push_back(attachment);
    didChangeValueForKey("attachments");
}

void KSObject::removeAttachment(const std::shared_ptr<KSAttachment>& attachment) {
    auto it = std::find(attachments_.begin(), attachments_.end(), attachment);
    if (it == attachments_.end()) return;
    registerUndo<KSObject>([attachment](KSObject& o) { o.addAttachment(attachment); });
    setUndoActionName("Remove Attachment");
    willChangeValueForKey("attachments");
    attachments_.erase(it);
    didChangeValueForKey("attachments");
    // A removed attachment must not point at an object that may go away before it.
    if (attachment->attachee() == this) attachment->setAttachee(nullptr);
}

KSValue KSObject::attachmentDict() const {
    if (attachments_.empty()) return KSValue();
    KSArray list;
    for (const auto& attachment : attachments_)
        list.push_back(KSValue(attachment->archiveDictionary()));
    return KSValue(KSDictionary{{"a", KSValue(std::move(list))}});
}

void KSObject::setAttachmentDict(const KSValue& dict) {
    std::vector<std::shared_ptr<KSAttachment>> current = attachments_;
    for (const auto& attachment : current)
        removeAttachment(attachment);
    if (!dict.isDictionary()) return;
    for (const KSValue& entry : dict.asDictionary().objectForKey("a").asArray()) {
        if (!entry.isDictionary()) continue;
        addAttachment(KSAttachment::attachmentWithArchive(entry.asDictionary()));
    }
}

void KSObject::checkForAttachmentUpdates() {
    for (const auto& attachment : attachments_)
        attachment->checkForFileUpdates();
}

void KSObject::updateAttachmentsToBaseURL(const std::string& baseURL) {
    for (const auto& attachment : attachments_)
        attachment->updateToBaseURL(baseURL);
}

// --- Place in a plan ----------------------------------------------------------------------------

void KSObject::setScenario(KSScenario* scenario) {
    nonretainedScenario_ = scenario;
    // A note kept as a raw value while outside a project becomes real rich text now.
    if (!note_.isNull() && !note_.asObjectOfType<KSTextStorage>() && project()) {
        std::shared_ptr<KSTextStorage> note = makeNote(note_);
        storeNote(note ? KSValue(note) : KSValue());
    }
}

KSProject* KSObject::project() const {
    return nonretainedScenario_ ? nonretainedScenario_->project() : nullptr;
}

KSUndoManager* KSObject::undoManager() const {
    KSProject* owner = project();
    return owner ? owner->undoManager() : nullptr;
}

void KSObject::setUndoActionName(std::string_view englishName) const {
    if (KSUndoManager* um = undoManager()) um->setActionName(KSLocalizedString(englishName));
}

// --- Gibberize -------------------------------------------------------------------------------

std::string KSObject::gibberizedString(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    std::int32_t i = 0;
    const auto length = static_cast<std::int32_t>(text.size());
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    while (i < length) {
        std::int32_t start = i;
        UChar32 c = 0;
        U8_NEXT(bytes, i, length, c);
        if (c < 0) {
            result.push_back('x');  // an invalid sequence is private text like any other
            continue;
        }
        std::int8_t type = u_charType(c);
        if (type == U_UPPERCASE_LETTER || type == U_TITLECASE_LETTER) {
            result.push_back('X');
        } else if (u_isUWhiteSpace(c) || u_ispunct(c)) {
            result.append(
                text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
        } else {
            result.push_back('x');
        }
    }
    return result;
}

void KSObject::gibberize() {
    if (userData_) {
        std::vector<std::string> keys = userData_->allKeys();
        for (auto it = keys.rbegin(); it != keys.rend(); ++it) {
            setUserDataForKey(gibberizedString(userDataForKey(*it)), *it);
        }
    }
    std::vector<std::shared_ptr<KSAttachment>> current = attachments_;
    for (const auto& attachment : current)
        removeAttachment(attachment);
}

// --- Change hooks ---------------------------------------------------------------------------

bool KSObject::isTrackedKey(std::string_view key) const {
    std::string k(key);
    const KSKeySet& tracked = changeTrackedKeysSet();
    if (tracked.count(k)) return true;
    // The observing layer tells the observers of dependent keys directly, not through
    // these hooks, so a change of a key that a tracked attribute depends on is caught
    // here: it changes that attribute too.
    for (const auto& dependent : classInfo().keysAffectedByKey(key)) {
        if (tracked.count(dependent)) return true;
    }
    std::vector<std::string> userKeys = userDataKeys();
    return std::find(userKeys.begin(), userKeys.end(), k) != userKeys.end();
}

void KSObject::willChangeValueForKey(std::string_view key) {
    if (isTrackedKey(key)) {
        TMObject::willChangeValueForKey("hasTrackedChanges");
        if (TMDifferenceEngine* engine = differenceEngine()) engine->objectWillChange(*this);
    }
    TMObject::willChangeValueForKey(key);
}

void KSObject::didChangeValueForKey(std::string_view key) {
    if (isTrackedKey(key)) {
        TMObject::didChangeValueForKey("hasTrackedChanges");
        if (TMDifferenceEngine* engine = differenceEngine()) engine->objectDidChange(*this);
    }
    TMObject::didChangeValueForKey(key);
}

void KSObject::willChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                                KSKeyValueSetMutationKind kind,
                                                                const KSArray& objects) {
    if (key == "childrenSet") {
        TMObject::willChangeValueForKey("hasTrackedChanges");
        if (TMDifferenceEngine* engine = differenceEngine()) engine->objectWillChange(*this);
    }
    TMObject::willChangeValueForKeyWithSetMutationUsingObjects(key, kind, objects);
}

void KSObject::didChangeValueForKeyWithSetMutationUsingObjects(std::string_view key,
                                                               KSKeyValueSetMutationKind kind,
                                                               const KSArray& objects) {
    if (key == "childrenSet") {
        TMObject::didChangeValueForKey("hasTrackedChanges");
        if (TMDifferenceEngine* engine = differenceEngine()) engine->objectDidChange(*this);
    }
    TMObject::didChangeValueForKeyWithSetMutationUsingObjects(key, kind, objects);
}

std::string KSObject::subclassLocalizedTypeForUndo() const {
    KS_FAIL("%@ must override subclassLocalizedTypeForUndo", className());
}

}  // namespace kestrum
