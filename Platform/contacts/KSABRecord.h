// KSABRecord: one card of the user's address book: a person or a group.
//
// A record is a vCard kept by a KSAddressBook. It answers named properties: single
// values (first and last name, nickname, a group's name, the person's name-ordering flag
// and any custom property) and the multi-valued e-mail addresses with their primary one.
// Setting a property changes the card in place, so that everything else the card holds
// (telephones, photos, properties of other programs) survives a write back. A group's
// members and subgroups are records of the same book.
//
//   auto ann = book->recordForUniqueId("urn:uuid:...");
//   ann->valueForProperty(KSABNicknameProperty);             // "Annie", or null
//   ann->setValueForProperty(KSValue(2.0), "com.verdane.Kestrum.ResourceCount");
//   book->saveRecord(*ann, &error);
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum {

class KSAddressBook;

// Properties of a record.
extern const char* const KSABFirstNameProperty;  // "First"
extern const char* const KSABLastNameProperty;   // "Last"
extern const char* const KSABNicknameProperty;   // "Nickname"
extern const char* const KSABEmailProperty;      // "Email" (multi-valued)
extern const char* const KSABGroupNameProperty;  // "GroupName"
extern const char* const KSABPersonFlags;        // "ABPersonFlags": the name ordering
// Name orderings: of the flag, and of the book's default.
inline constexpr int KSABNameOrderingMask = 070;
inline constexpr int KSABDefaultNameOrdering = 0;
inline constexpr int KSABFirstNameFirst = 040;
inline constexpr int KSABLastNameFirst = 020;

class KSABRecord : public KSBaseObject {
    KS_DECLARE_CLASS()
    struct Card;

public:
    // A new person (or group) card with a fresh unique id, in no book.
    explicit KSABRecord(bool isGroup = false);
    ~KSABRecord() override;
    // The card read from vCard text; null (with the reason in `error`) when the text is no
    // card. vCard 3.0 text is read as 4.0, whose grammar it fits for what is read here.
    static std::shared_ptr<KSABRecord> recordWithVCardString(std::string_view text,
                                                             std::string* error);

    // The card's UID.
    std::string uniqueId() const;
    bool isGroup() const;
    // A single-valued property: a string, or a number for the flag and numeric custom
    // properties; null when the card has none. The e-mail property answers the primary
    // address.
    KSValue valueForProperty(std::string_view property) const;
    // Sets (null removes) a single-valued property.
    void setValueForProperty(const KSValue& value, std::string_view property);
    // Every e-mail address, in order.
    std::vector<std::string> emailAddresses() const;
    // The primary address: the preferred one, else the first; null without any.
    std::optional<std::string> primaryEmailAddress() const;
    // Replaces the addresses; the first is made primary.
    void setEmailAddresses(const std::vector<std::string>& addresses);
    // The vCard text of the card.
    std::string vCardString() const;

    // --- Groups ------------------------------------------------------------------------
    // The UIDs of the members (people and groups) in card order.
    std::vector<std::string> memberIds() const;
    void addMemberId(const std::string& uid);
    // The member records that are people / groups, resolved in the book.
    std::vector<std::shared_ptr<KSABRecord>> members() const;
    std::vector<std::shared_ptr<KSABRecord>> subgroups() const;

    // The book the record is in (not retained), and the file it came from.
    KSAddressBook* addressBook() const { return nonretainedAddressBook_; }
    void setAddressBook(KSAddressBook* book) { nonretainedAddressBook_ = book; }
    const std::string& filePath() const { return filePath_; }
    void setFilePath(std::string path) { filePath_ = std::move(path); }

    bool isEqual(const KSBaseObject& other) const override;
    std::string description() const override;

private:
    explicit KSABRecord(std::unique_ptr<Card> card);
    std::vector<std::shared_ptr<KSABRecord>> _membersOfKind(bool groups) const;

    std::unique_ptr<Card> card_;
    KSAddressBook* nonretainedAddressBook_ = nullptr;
    std::string filePath_;
};

}  // namespace kestrum
