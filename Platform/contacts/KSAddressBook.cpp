#include "Platform/contacts/KSAddressBook.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "Platform/contacts/KSABRecord.h"
#include "Platform/core/KSLog.h"
#include "Platform/core/KSUserDefaults.h"

namespace kestrum {

const char* const KSAddressBookFolderPreference = "KSAddressBookFolder";
const char* const KSAddressBookNameOrderingPreference = "KSAddressBookNameOrdering";

namespace {

std::shared_ptr<KSAddressBook>& sharedBook() {
    static std::shared_ptr<KSAddressBook> book;
    return book;
}

bool& sharedBookLoaded() {
    static bool loaded = false;
    return loaded;
}

// A file name of the card's id: characters other than letters, digits, "-" and "_" go.
std::string fileNameForId(const std::string& uid) {
    std::string name;
    for (char c : uid) {
        bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                     c == '-' || c == '_';
        name += plain ? c : '_';
    }
    return name + ".vcf";
}

}  // namespace

const KSClassInfo& KSAddressBook::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSAddressBook>(
        "KSAddressBook", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSAddressBook>&) {});
    return info;
}

KSAddressBook::KSAddressBook(std::string folder) : folder_(std::move(folder)) {}

KSAddressBook::~KSAddressBook() {
    for (const auto& record : records_)
        record->setAddressBook(nullptr);
}

std::shared_ptr<KSAddressBook> KSAddressBook::sharedAddressBook() {
    if (sharedBookLoaded()) return sharedBook();
    sharedBookLoaded() = true;
    std::string folder =
        KSUserDefaults::standardUserDefaults().stringForKey(KSAddressBookFolderPreference);
    if (folder.empty()) return nullptr;
    KSError error;
    sharedBook() = addressBookAtPath(folder, &error);
    if (!sharedBook()) KSLog("Address book not read: " + error.localizedDescription());
    return sharedBook();
}

void KSAddressBook::resetSharedAddressBook() {
    sharedBook().reset();
    sharedBookLoaded() = false;
}

std::shared_ptr<KSAddressBook> KSAddressBook::addressBookAtPath(const std::string& folder,
                                                                KSError* error) {
    auto book = std::make_shared<KSAddressBook>(folder);
    if (!book->reload(error)) return nullptr;
    return book;
}

bool KSAddressBook::reload(KSError* error) {
    for (const auto& record : records_)
        record->setAddressBook(nullptr);
    records_.clear();
    byId_.clear();
    loadErrors_.clear();
    std::error_code ec;
    std::filesystem::directory_iterator it(folder_, ec);
    if (ec) {
        if (error) {
            *error = KSError::errorWithDescription(
                "Kestrum", 1,
                "The address book folder " + folder_ + " cannot be read: " + ec.message());
        }
        return false;
    }
    std::vector<std::filesystem::path> files;
    for (; it != std::filesystem::directory_iterator(); it.increment(ec)) {
        if (ec) break;
        if (it->path().extension() == ".vcf") files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    for (const auto& path : files) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream text;
        if (in) text << in.rdbuf();
        if (!in || in.bad()) {
            loadErrors_.push_back(path.filename().string() + ": cannot be read");
            continue;
        }
        std::string reason;
        auto record = KSABRecord::recordWithVCardString(text.str(), &reason);
        if (!record) {
            loadErrors_.push_back(path.filename().string() + ": " + reason);
            continue;
        }
        record->setFilePath(path.string());
        addRecord(record);
    }
    return true;
}

std::shared_ptr<KSABRecord> KSAddressBook::recordForUniqueId(const std::string& uid) const {
    auto found = byId_.find(uid);
    return found == byId_.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<KSABRecord>> KSAddressBook::people() const {
    std::vector<std::shared_ptr<KSABRecord>> found;
    for (const auto& record : records_) {
        if (!record->isGroup()) found.push_back(record);
    }
    return found;
}

std::vector<std::shared_ptr<KSABRecord>> KSAddressBook::groups() const {
    std::vector<std::shared_ptr<KSABRecord>> found;
    for (const auto& record : records_) {
        if (record->isGroup()) found.push_back(record);
    }
    return found;
}

int KSAddressBook::defaultNameOrdering() const {
    std::int64_t ordering =
        KSUserDefaults::standardUserDefaults().integerForKey(KSAddressBookNameOrderingPreference);
    return ordering == KSABLastNameFirst ? KSABLastNameFirst : KSABFirstNameFirst;
}

void KSAddressBook::addRecord(const std::shared_ptr<KSABRecord>& record) {
    if (!record || byId_.count(record->uniqueId())) return;
    record->setAddressBook(this);
    if (record->filePath().empty())
        record->setFilePath(
            (std::filesystem::path(folder_) / fileNameForId(record->uniqueId())).string());
    records_.push_back(record);
    byId_[record->uniqueId()] = record;
}

bool KSAddressBook::saveRecord(const KSABRecord& record, KSError* error) {
    std::string path = record.filePath();
    if (path.empty())
        path = (std::filesystem::path(folder_) / fileNameForId(record.uniqueId())).string();
    std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << record.vCardString();
        out.close();
        if (!out) {
            if (error) {
                *error = KSError::errorWithDescription("Kestrum", 1,
                                                       "The card " + path + " cannot be written");
            }
            std::remove(temporary.c_str());
            return false;
        }
    }
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        if (error) {
            *error = KSError::errorWithDescription(
                "Kestrum", 1, "The card " + path + " cannot be written: " + ec.message());
        }
        std::filesystem::remove(temporary, ec);
        return false;
    }
    return true;
}

}  // namespace kestrum
