// KSResource: the link to a card of the user's address book.
#include "Model/resources/KSResource.h"
#include "Platform/contacts/KSABRecord.h"
#include "Platform/contacts/KSAddressBook.h"
#include "Platform/core/KSFormat.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSLog.h"

namespace kestrum {

const char* const KSABResourceCount = "com.verdane.Kestrum.ResourceCount";
const char* const KSABResourceUseCost = "com.verdane.Kestrum.ResourceUseCost";
const char* const KSABResourceCostPerHour = "com.verdane.Kestrum.ResourceCostPerHour";
const char* const KSABResourceEfficiency = "com.verdane.Kestrum.ResourceEfficiency";

namespace {

// "Resource 3" without its trailing number: "Resource".
std::string baseNameForUniquedName(const std::string& name) {
    std::size_t end = name.size();
    while (end > 0 && name[end - 1] >= '0' && name[end - 1] <= '9')
        --end;
    if (end < name.size() && end > 0 && name[end - 1] == ' ') return name.substr(0, end - 1);
    return name;
}

// The card's number for `property`, or `fallback` when it has none.
double cardNumber(const KSABRecord& record, const char* property, double fallback) {
    KSValue value = record.valueForProperty(property);
    return value.isNumber() ? value.doubleValue() : fallback;
}

std::string textOf(const KSValue& value) {
    return value.isString() ? value.asString() : std::string();
}

}  // namespace

std::optional<std::string> KSResource::emailAddress() const {
    if (emailAddress_) return emailAddress_;
    if (addressBookRecord_) return addressBookRecord_->primaryEmailAddress();
    return std::nullopt;
}

std::optional<std::vector<std::string>> KSResource::emailAddressList() const {
    if (!addressBookRecord_) return std::nullopt;
    std::vector<std::string> addresses = addressBookRecord_->emailAddresses();
    if (addresses.empty()) return std::nullopt;
    return addresses;
}

void KSResource::setAddressBookRecord(const std::shared_ptr<KSABRecord>& record) {
    if (record == addressBookRecord_) return;
    registerUndo<KSResource>(
        [old = addressBookRecord_](KSResource& r) { r.setAddressBookRecord(old); });
    willChangeValueForKey("addressBookRecord");
    addressBookRecord_ = record;
    if (record) missingAddressBookUUID_.reset();
    didChangeValueForKey("addressBookRecord");
    std::string defaultTitle = KSLocalizedString("Default Resource Title", "Resource 1");
    if (record &&
        (!name_ || baseNameForUniquedName(*name_) == baseNameForUniquedName(defaultTitle))) {
        getInfoFromAddressBook();
    }
    // Named last: reading the card in names its own steps on the way.
    setUndoActionName(record ? "Use Address Book Card" : "Stop Using Address Book Card");
}

bool KSResource::linkAddressBookRecordWithUniqueId(const std::string& uuid) {
    std::shared_ptr<KSAddressBook> book = KSAddressBook::sharedAddressBook();
    std::shared_ptr<KSABRecord> record = book ? book->recordForUniqueId(uuid) : nullptr;
    if (!record) {
        // The card stays named in the plan, so that a later save keeps the link.
        missingAddressBookUUID_ = uuid;
        return false;
    }
    setAddressBookRecord(record);
    return true;
}

bool KSResource::addressRecordDiffersFromResourceInfo() const {
    if (!addressBookRecord_) return true;
    const KSABRecord& card = *addressBookRecord_;
    if (card.isGroup() != isGroupResource()) return true;
    if (card.isGroup()) return textOf(card.valueForProperty(KSABGroupNameProperty)) != name_;
    return cardNumber(card, KSABResourceCount, 1.0) != unitsAvailable() ||
           cardNumber(card, KSABResourceUseCost, 0.0) != costPerUse() ||
           cardNumber(card, KSABResourceCostPerHour, 0.0) != costPerHour() ||
           cardNumber(card, KSABResourceEfficiency, 1.0) != efficiency();
}

void KSResource::getInfoFromAddressBook() {
    if (!addressBookRecord_) return;
    if (addressBookRecord_->isGroup()) {
        _readGroupFromAddressBook();
    } else {
        _readPersonFromAddressBook();
    }
}

void KSResource::_readPersonFromAddressBook() {
    const KSABRecord& card = *addressBookRecord_;
    for (const auto& child : childResources())
        child->deleteSelf();
    std::string first = textOf(card.valueForProperty(KSABFirstNameProperty));
    std::string last = textOf(card.valueForProperty(KSABLastNameProperty));
    std::string name = textOf(card.valueForProperty(KSABNicknameProperty));
    if (name.empty() && !first.empty() && !last.empty()) {
        int ordering = static_cast<int>(card.valueForProperty(KSABPersonFlags).integerValue()) &
                       KSABNameOrderingMask;
        if (ordering == KSABDefaultNameOrdering) {
            ordering = addressBookRecord_->addressBook()
                           ? addressBookRecord_->addressBook()->defaultNameOrdering()
                           : KSABFirstNameFirst;
        }
        name = ordering == KSABLastNameFirst ? KSStringWithFormat("%@ %@", last, first)
                                             : KSStringWithFormat("%@ %@", first, last);
    }
    if (name.empty()) name = !first.empty() ? first : last;
    if (name.empty()) name = card.primaryEmailAddress().value_or("");
    if (name.empty()) name = KSLocalizedString("Resource");
    setName(name);
    if (card.valueForProperty(KSABResourceCount).isNumber())
        setUnitsAvailable(cardNumber(card, KSABResourceCount, 1.0));
    if (card.valueForProperty(KSABResourceUseCost).isNumber())
        setCostPerUse(cardNumber(card, KSABResourceUseCost, 0.0));
    if (card.valueForProperty(KSABResourceCostPerHour).isNumber())
        setCostPerHour(cardNumber(card, KSABResourceCostPerHour, 0.0));
    if (card.valueForProperty(KSABResourceEfficiency).isNumber())
        setEfficiency(cardNumber(card, KSABResourceEfficiency, 1.0));
    setResourceType(KSResourceType::staff());
}

void KSResource::_readGroupFromAddressBook() {
    const KSABRecord& card = *addressBookRecord_;
    setName(textOf(card.valueForProperty(KSABGroupNameProperty)));
    std::vector<std::shared_ptr<KSABRecord>> records = card.subgroups();
    for (const auto& member : card.members())
        records.push_back(member);
    for (const auto& record : records) {
        std::shared_ptr<KSResource> child = _childWithAddressBookRecord(*record);
        if (!child) {
            child = std::make_shared<KSResource>();
            if (record->isGroup()) child->setResourceType(KSResourceType::group());
            child->addressBookRecord_ = record;
            insertObjectInChildrenAtIndex(child, countOfChildren());
        }
        child->getInfoFromAddressBook();
    }
}

void KSResource::setInfoIntoAddressBook() {
    if (!addressBookRecord_) return;
    KSABRecord& card = *addressBookRecord_;
    if (card.isGroup()) {
        card.setValueForProperty(name_ ? KSValue(*name_) : KSValue(), KSABGroupNameProperty);
    } else {
        card.setValueForProperty(KSValue(unitsAvailable()), KSABResourceCount);
        card.setValueForProperty(KSValue(costPerUse()), KSABResourceUseCost);
        card.setValueForProperty(KSValue(costPerHour()), KSABResourceCostPerHour);
        card.setValueForProperty(KSValue(efficiency()), KSABResourceEfficiency);
    }
    if (KSAddressBook* book = card.addressBook()) {
        KSError error;
        if (!book->saveRecord(card, &error)) KSLog(error.localizedDescription());
    }
}

std::shared_ptr<KSResource> KSResource::_childWithAddressBookRecord(
    const KSABRecord& record) const {
    for (const auto& child : childResources()) {
        if (child->addressBookRecord_ && child->addressBookRecord_->isEqual(record)) return child;
    }
    return nullptr;
}

std::shared_ptr<KSResource> KSResource::descendentWithAddressBookRecord(const KSABRecord& record) {
    if (addressBookRecord_ && addressBookRecord_->isEqual(record))
        return sharedFromThis<KSResource>();
    for (const auto& child : childResources()) {
        if (auto found = child->descendentWithAddressBookRecord(record)) return found;
    }
    return nullptr;
}

}  // namespace kestrum
