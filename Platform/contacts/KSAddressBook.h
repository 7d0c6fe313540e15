// KSAddressBook: the user's contacts as a folder of vCard files.
//
// The folder holds one card per ".vcf" file, as desktop contact tools keep and sync them
// (a "vdir"): people and groups (KIND:group, with MEMBER entries naming other cards'
// UIDs). The book reads every card of the folder, keeps those that read and reports the
// others (malformed or unreadable files) without losing them, and writes a changed card
// back to its file through a temporary file and a rename. The folder is the user
// preference "KSAddressBookFolder"; with none configured there is no shared book, and
// every card is "not found".
//
//   KSError error;
//   auto book = KSAddressBook::addressBookAtPath("/home/ann/.contacts/work", &error);
//   auto card = book->recordForUniqueId(uid);
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSError.h"

namespace kestrum {

class KSABRecord;

// The preferences of the address book: its folder and its default name ordering
// (KSABFirstNameFirst or KSABLastNameFirst).
extern const char* const KSAddressBookFolderPreference;        // "KSAddressBookFolder"
extern const char* const KSAddressBookNameOrderingPreference;  // "KSAddressBookNameOrdering"

class KSAddressBook : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    // An empty book of `folder` (nothing read yet).
    explicit KSAddressBook(std::string folder);
    ~KSAddressBook() override;

    // The book of the folder preference, read once; null when none is configured or the
    // folder cannot be read.
    static std::shared_ptr<KSAddressBook> sharedAddressBook();
    // Forgets the shared book so that the next call reads the preference again.
    static void resetSharedAddressBook();
    // A book of `folder`, read; null with `error` when the folder cannot be listed.
    static std::shared_ptr<KSAddressBook> addressBookAtPath(const std::string& folder,
                                                            KSError* error);

    const std::string& folder() const { return folder_; }
    // Reads every ".vcf" file of the folder; false with `error` when the folder cannot be
    // listed. Files that do not read are listed in loadErrors.
    bool reload(KSError* error);
    // "<file>: <reason>" for each file that did not read at the last reload.
    const std::vector<std::string>& loadErrors() const { return loadErrors_; }

    std::shared_ptr<KSABRecord> recordForUniqueId(const std::string& uid) const;
    std::vector<std::shared_ptr<KSABRecord>> people() const;
    std::vector<std::shared_ptr<KSABRecord>> groups() const;
    // KSABFirstNameFirst unless the preference says KSABLastNameFirst.
    int defaultNameOrdering() const;

    // Adds a record to the book (not yet written); its file is named by its UID.
    void addRecord(const std::shared_ptr<KSABRecord>& record);
    // Writes the card to its file (a temporary file renamed over it); false with `error`.
    bool saveRecord(const KSABRecord& record, KSError* error);

private:
    std::string folder_;
    std::vector<std::shared_ptr<KSABRecord>> records_;
    std::unordered_map<std::string, std::shared_ptr<KSABRecord>> byId_;
    std::vector<std::string> loadErrors_;
};

}  // namespace kestrum
