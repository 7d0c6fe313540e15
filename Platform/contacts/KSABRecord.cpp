#include "Platform/contacts/KSABRecord.h"

#include <belcard/belcard.hpp>
#include <belcard/belcard_parser.hpp>

#include <mutex>

#include "Platform/contacts/KSAddressBook.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/core/KSUUID.h"

namespace kestrum {

const char* const KSABFirstNameProperty = "First";
const char* const KSABLastNameProperty = "Last";
const char* const KSABNicknameProperty = "Nickname";
const char* const KSABEmailProperty = "Email";
const char* const KSABGroupNameProperty = "GroupName";
const char* const KSABPersonFlags = "ABPersonFlags";

struct KSABRecord::Card {
    std::shared_ptr<belcard::BelCard> card;
};

namespace {

// The library logs every parse failure; the book reports them itself.
void quietLibrary() {
    static std::once_flag once;
    std::call_once(once, [] {
        bctbx_set_log_level("belcard", BCTBX_LOG_FATAL);
        bctbx_set_log_level(nullptr, BCTBX_LOG_FATAL);
    });
}

// vCard text escapes: "\\", "\," and "\n" ("\;" is refused by the card grammar, and the
// names kept here never hold ";").
std::string escaped(std::string_view text) {
    std::string out;
    for (char c : text) {
        if (c == '\\')
            out += "\\\\";
        else if (c == ',')
            out += "\\,";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            continue;
        else
            out += c;
    }
    return out;
}

std::string unescaped(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            out += text[i];
            continue;
        }
        char next = text[++i];
        out += (next == 'n' || next == 'N') ? '\n' : next;
    }
    return out;
}

// A property of the record that the card keeps as an extended "X-" property: the name
// upper-cased with "." as "-" ("com.verdane.Kestrum.ResourceCount" is
// "X-COM-VERDANE-KESTRUM-RESOURCECOUNT").
std::string extendedName(std::string_view property) {
    std::string name = "X-";
    for (char c : property) {
        if (c == '.' || c == '_')
            name += '-';
        else
            name += static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
    }
    return name;
}

bool sameName(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        char x = a[i] >= 'a' && a[i] <= 'z' ? a[i] - 'a' + 'A' : a[i];
        char y = b[i] >= 'a' && b[i] <= 'z' ? b[i] - 'a' + 'A' : b[i];
        if (x != y) return false;
    }
    return true;
}

std::shared_ptr<belcard::BelCardProperty> findExtended(const belcard::BelCard& card,
                                                       const std::string& name) {
    for (const auto& property : card.getExtendedProperties()) {
        if (sameName(property->getName(), name)) return property;
    }
    return nullptr;
}

// Numbers read back as numbers, so that the flag and the resource values compare.
KSValue textOrNumber(const std::string& text) {
    if (text.empty()) return KSValue(text);
    char* end = nullptr;
    std::string copy = text;
    std::strtod(copy.c_str(), &end);
    if (end && *end == '\0') return KSValue(KSDoubleValueOfString(text));
    return KSValue(text);
}

std::string newUniqueId() {
    return "urn:uuid:" + KSUUIDString();
}

// Cards of version 3.0 and 2.1 are read with the 4.0 grammar: the first line that is a
// VERSION property of one of them says 4.0 instead. Only a whole line counts, so that
// the same letters inside another value stay as they are.
std::string withVersionFour(std::string_view text) {
    std::string input(text);
    for (std::size_t line = 0; line < input.size();) {
        std::size_t end = input.find('\n', line);
        if (end == std::string::npos) end = input.size();
        std::size_t valueEnd = end > line && input[end - 1] == '\r' ? end - 1 : end;
        if (valueEnd - line == 11 && sameName(input.substr(line, 8), "VERSION:")) {
            std::string_view value = std::string_view(input).substr(line + 8, 3);
            if (value == "3.0" || value == "2.1") {
                input.replace(line + 8, 3, "4.0");
                break;
            }
        }
        line = end + 1;
    }
    return input;
}

}  // namespace

const KSClassInfo& KSABRecord::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSABRecord>(
        "KSABRecord", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSABRecord>& b) {
            b.readOnly("uniqueId", &KSABRecord::uniqueId);
            b.readOnly("isGroup", &KSABRecord::isGroup);
        });
    return info;
}

KSABRecord::KSABRecord(bool isGroup) : card_(std::make_unique<Card>()) {
    quietLibrary();
    card_->card = std::make_shared<belcard::BelCard>();
    card_->card->setSkipFieldValidation(true);
    auto uid = belcard::BelCardGeneric::create<belcard::BelCardUniqueId>();
    uid->setValue(newUniqueId());
    card_->card->setUniqueId(uid);
    auto fn = belcard::BelCardGeneric::create<belcard::BelCardFullName>();
    fn->setValue("");
    card_->card->setFullName(fn);
    if (isGroup) {
        auto kind = belcard::BelCardGeneric::create<belcard::BelCardKind>();
        kind->setValue("group");
        card_->card->setKind(kind);
    }
}

KSABRecord::KSABRecord(std::unique_ptr<Card> card) : card_(std::move(card)) {}

KSABRecord::~KSABRecord() = default;

std::shared_ptr<KSABRecord> KSABRecord::recordWithVCardString(std::string_view text,
                                                              std::string* error) {
    quietLibrary();
    std::string input = withVersionFour(text);
    std::shared_ptr<belcard::BelCard> card;
    try {
        card = belcard::BelCardParser::getInstance()->parseOne(input);
    } catch (const std::exception& e) {
        if (error) *error = e.what();
        return nullptr;
    }
    if (!card) {
        if (error) *error = "not a vCard";
        return nullptr;
    }
    card->setSkipFieldValidation(true);
    if (!card->getUniqueId()) {
        auto uid = belcard::BelCardGeneric::create<belcard::BelCardUniqueId>();
        uid->setValue(newUniqueId());
        card->setUniqueId(uid);
    }
    auto holder = std::make_unique<Card>();
    holder->card = card;
    return std::shared_ptr<KSABRecord>(new KSABRecord(std::move(holder)));
}

std::string KSABRecord::uniqueId() const {
    const auto& uid = card_->card->getUniqueId();
    return uid ? uid->getValue() : std::string();
}

bool KSABRecord::isGroup() const {
    const auto& kind = card_->card->getKind();
    return kind && sameName(kind->getValue(), "group");
}

KSValue KSABRecord::valueForProperty(std::string_view property) const {
    const belcard::BelCard& card = *card_->card;
    if (property == KSABEmailProperty) {
        auto primary = primaryEmailAddress();
        return primary ? KSValue(*primary) : KSValue();
    }
    if (property == KSABFirstNameProperty || property == KSABLastNameProperty) {
        const auto& n = card.getName();
        if (!n) return KSValue();
        std::string value =
            unescaped(property == KSABFirstNameProperty ? n->getGivenName() : n->getFamilyName());
        return value.empty() ? KSValue() : KSValue(value);
    }
    if (property == KSABNicknameProperty) {
        if (card.getNicknames().empty()) return KSValue();
        std::string value = unescaped(card.getNicknames().front()->getValue());
        return value.empty() ? KSValue() : KSValue(value);
    }
    if (property == KSABGroupNameProperty) {
        const auto& fn = card.getFullName();
        return fn ? KSValue(unescaped(fn->getValue())) : KSValue();
    }
    auto extended = findExtended(card, extendedName(property));
    return extended ? textOrNumber(unescaped(extended->getValue())) : KSValue();
}

void KSABRecord::setValueForProperty(const KSValue& value, std::string_view property) {
    belcard::BelCard& card = *card_->card;
    std::string text = value.isNull() ? std::string() : value.stringValue();
    if (property == KSABEmailProperty) {
        setEmailAddresses(value.isNull() ? std::vector<std::string>() : std::vector{text});
        return;
    }
    if (property == KSABFirstNameProperty || property == KSABLastNameProperty) {
        auto n = card.getName();
        if (!n) {
            n = belcard::BelCardGeneric::create<belcard::BelCardName>();
            card.setName(n);
        }
        if (property == KSABFirstNameProperty)
            n->setGivenName(escaped(text));
        else
            n->setFamilyName(escaped(text));
        return;
    }
    if (property == KSABNicknameProperty) {
        for (const auto& nick : std::list(card.getNicknames()))
            card.removeNickname(nick);
        if (value.isNull()) return;
        auto nick = belcard::BelCardGeneric::create<belcard::BelCardNickname>();
        nick->setValue(escaped(text));
        card.addNickname(nick);
        return;
    }
    if (property == KSABGroupNameProperty) {
        auto fn = belcard::BelCardGeneric::create<belcard::BelCardFullName>();
        fn->setValue(escaped(text));
        card.setFullName(fn);
        return;
    }
    std::string name = extendedName(property);
    if (auto present = findExtended(card, name)) card.removeExtendedProperty(present);
    if (value.isNull()) return;
    auto extended = belcard::BelCardGeneric::create<belcard::BelCardProperty>();
    extended->setName(name);
    extended->setValue(escaped(text));
    card.addExtendedProperty(extended);
}

std::vector<std::string> KSABRecord::emailAddresses() const {
    std::vector<std::string> addresses;
    for (const auto& email : card_->card->getEmails())
        addresses.push_back(unescaped(email->getValue()));
    return addresses;
}

std::optional<std::string> KSABRecord::primaryEmailAddress() const {
    const auto& emails = card_->card->getEmails();
    if (emails.empty()) return std::nullopt;
    // The preferred address is the one of lowest PREF.
    std::shared_ptr<belcard::BelCardEmail> best;
    int bestPref = 101;
    for (const auto& email : emails) {
        const auto& pref = email->getPrefParam();
        int rank = pref ? KSIntValueOfString(pref->getValue()) : 101;
        if (rank < bestPref) {
            best = email;
            bestPref = rank;
        }
    }
    return unescaped((best ? best : emails.front())->getValue());
}

void KSABRecord::setEmailAddresses(const std::vector<std::string>& addresses) {
    belcard::BelCard& card = *card_->card;
    for (const auto& email : std::list(card.getEmails()))
        card.removeEmail(email);
    bool first = true;
    for (const auto& address : addresses) {
        auto email = belcard::BelCardGeneric::create<belcard::BelCardEmail>();
        email->setValue(escaped(address));
        if (first) {
            auto pref = belcard::BelCardGeneric::create<belcard::BelCardPrefParam>();
            pref->setName("PREF");
            pref->setValue("1");
            email->setPrefParam(pref);
        }
        first = false;
        card.addEmail(email);
    }
}

std::string KSABRecord::vCardString() const {
    return card_->card->toFoldedString();
}

std::vector<std::string> KSABRecord::memberIds() const {
    std::vector<std::string> ids;
    for (const auto& member : card_->card->getMembers())
        ids.push_back(member->getValue());
    return ids;
}

void KSABRecord::addMemberId(const std::string& uid) {
    auto member = belcard::BelCardGeneric::create<belcard::BelCardMember>();
    member->setValue(uid);
    card_->card->addMember(member);
}

std::vector<std::shared_ptr<KSABRecord>> KSABRecord::_membersOfKind(bool groups) const {
    std::vector<std::shared_ptr<KSABRecord>> found;
    if (!nonretainedAddressBook_) return found;
    for (const auto& uid : memberIds()) {
        auto record = nonretainedAddressBook_->recordForUniqueId(uid);
        if (record && record->isGroup() == groups) found.push_back(record);
    }
    return found;
}

std::vector<std::shared_ptr<KSABRecord>> KSABRecord::members() const {
    return _membersOfKind(false);
}

std::vector<std::shared_ptr<KSABRecord>> KSABRecord::subgroups() const {
    return _membersOfKind(true);
}

bool KSABRecord::isEqual(const KSBaseObject& other) const {
    const auto* record = dynamic_cast<const KSABRecord*>(&other);
    return record && record->uniqueId() == uniqueId();
}

std::string KSABRecord::description() const {
    return "<KSABRecord " + uniqueId() + ">";
}

}  // namespace kestrum
