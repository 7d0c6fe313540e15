// Resources linked to cards of an address book kept as a folder of vCard files: a person's
// card read in (name by nickname, name ordering, custom values), a group's members made
// into resources, values written back to the file, a malformed file reported while the
// others read, and an id that is not found kept in the plan.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "Model/resources/KSResource.h"
#include "Platform/contacts/KSABRecord.h"
#include "Platform/contacts/KSAddressBook.h"
#include "Platform/core/KSUserDefaults.h"
#include "resources/CalendarFixture.h"

namespace kestrum::test {
namespace {

class AddressBookTest : public CalendarTest {
protected:
    void SetUp() override {
        CalendarTest::SetUp();
        folder =
            std::filesystem::temp_directory_path() /
            ("kestrum-cards-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
             "-" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
        card("ann.vcf",
             "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:urn:uuid:ann\r\nFN:Ann Lee\r\nN:Lee;Ann;;;\r\n"
             "EMAIL:ann@home.example\r\nEMAIL;PREF=1:ann@work.example\r\n"
             "X-COM-VERDANE-KESTRUM-RESOURCECOUNT:2\r\n"
             "X-COM-VERDANE-KESTRUM-RESOURCECOSTPERHOUR:45.5\r\n"
             "TEL:+1-555-0100\r\nEND:VCARD\r\n");
        card("bob.vcf",
             "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:urn:uuid:bob\r\nFN:Bob Ng\r\nN:Ng;Bob;;;\r\n"
             "NICKNAME:Bobby\r\nEMAIL;TYPE=INTERNET:bob@example.org\r\nEND:VCARD\r\n");
        card("cid.vcf",
             "BEGIN:VCARD\r\nVERSION:4.0\r\nUID:urn:uuid:cid\r\nFN:Cid Ortiz\r\nN:Ortiz;Cid;;;\r\n"
             "X-ABPERSONFLAGS:16\r\nEND:VCARD\r\n");
        card("testers.vcf",
             "BEGIN:VCARD\r\nVERSION:4.0\r\nKIND:group\r\nUID:urn:uuid:testers\r\nFN:Testers\r\n"
             "MEMBER:urn:uuid:bob\r\nMEMBER:urn:uuid:cid\r\nEND:VCARD\r\n");
        card("broken.vcf", "BEGIN:VCARD\r\nFN:half a card\r\n");
        KSError error;
        book = KSAddressBook::addressBookAtPath(folder.string(), &error);
        ASSERT_TRUE(book) << error.localizedDescription();
    }
    void TearDown() override {
        KSUserDefaults::standardUserDefaults().removeObjectForKey(KSAddressBookFolderPreference);
        KSAddressBook::resetSharedAddressBook();
        std::filesystem::remove_all(folder);
        CalendarTest::TearDown();
    }
    void card(const std::string& file, const std::string& text) {
        std::ofstream(folder / file, std::ios::binary) << text;
    }
    std::string fileText(const std::string& file) {
        std::ifstream in(folder / file, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    std::filesystem::path folder;
    std::shared_ptr<KSAddressBook> book;
};

TEST_F(AddressBookTest, TheFolderReadsItsCardsAndReportsTheBrokenOne) {
    EXPECT_EQ(book->people().size(), 3u);
    EXPECT_EQ(book->groups().size(), 1u);
    ASSERT_EQ(book->loadErrors().size(), 1u);
    EXPECT_EQ(book->loadErrors()[0].rfind("broken.vcf: ", 0), 0u);
    auto ann = book->recordForUniqueId("urn:uuid:ann");
    ASSERT_TRUE(ann);
    EXPECT_EQ(ann->emailAddresses().size(), 2u);
    EXPECT_EQ(ann->primaryEmailAddress(), "ann@work.example");
    EXPECT_EQ(ann->valueForProperty(KSABResourceCount).doubleValue(), 2.0);
    EXPECT_TRUE(ann->valueForProperty(KSABResourceUseCost).isNull());
    KSError error;
    EXPECT_EQ(KSAddressBook::addressBookAtPath((folder / "missing").string(), &error), nullptr);
    EXPECT_NE(error.localizedDescription().find("missing"), std::string::npos);
}

TEST_F(AddressBookTest, APersonsCardIsReadInAndUndone) {
    auto r = std::make_shared<KSResource>();
    scenario->rootResource()->insertObjectInChildrenAtIndex(r, 0);  // named "Resource 1"
    drain();
    r->setAddressBookRecord(book->recordForUniqueId("urn:uuid:ann"));
    EXPECT_EQ(r->name(), "Ann Lee");
    EXPECT_EQ(r->unitsAvailable(), 2.0);
    EXPECT_EQ(r->costPerHour(), 45.5);
    EXPECT_EQ(r->costPerUse(), 0.0);
    EXPECT_EQ(r->emailAddress(), "ann@work.example");
    EXPECT_FALSE(r->addressRecordDiffersFromResourceInfo());
    EXPECT_EQ(undo().undoActionName(), "Use Address Book Card");
    r->setCostPerUse(3.0);
    EXPECT_TRUE(r->addressRecordDiffersFromResourceInfo());
    drain();
    undo().undo();
    EXPECT_EQ(r->addressBookRecord(), nullptr);
    EXPECT_EQ(r->name(), "Resource 1");
    EXPECT_EQ(r->unitsAvailable(), 1.0);
}

TEST_F(AddressBookTest, NamesComeFromNicknameOrInTheCardsOrder) {
    auto bob = resource("");
    bob->setName(std::nullopt);
    bob->setAddressBookRecord(book->recordForUniqueId("urn:uuid:bob"));
    EXPECT_EQ(bob->name(), "Bobby");  // a 3.0 card, read as 4.0
    auto cid = resource("Resource 7");
    cid->setAddressBookRecord(book->recordForUniqueId("urn:uuid:cid"));
    EXPECT_EQ(cid->name(), "Ortiz Cid");  // the card says last name first
    // A named resource keeps its name when linked.
    auto named = resource("Carla");
    named->setAddressBookRecord(book->recordForUniqueId("urn:uuid:cid"));
    EXPECT_EQ(named->name(), "Carla");
}

TEST_F(AddressBookTest, AGroupCardMakesItsMembersResources) {
    auto testers = resource("Resource 3");
    testers->setResourceType(KSResourceType::group());
    testers->setAddressBookRecord(book->recordForUniqueId("urn:uuid:testers"));
    EXPECT_EQ(testers->name(), "Testers");
    ASSERT_EQ(testers->countOfChildren(), 2u);
    EXPECT_EQ(testers->childResources()[0]->name(), "Bobby");
    EXPECT_EQ(testers->childResources()[1]->name(), "Ortiz Cid");
    EXPECT_EQ(testers->descendentWithAddressBookRecord(*book->recordForUniqueId("urn:uuid:cid")),
              testers->childResources()[1]);
    // Reading again finds the same children.
    testers->getInfoFromAddressBook();
    EXPECT_EQ(testers->countOfChildren(), 2u);
}

TEST_F(AddressBookTest, ValuesAreWrittenBackKeepingTheRestOfTheCard) {
    auto r = resource("Resource 1");
    r->setAddressBookRecord(book->recordForUniqueId("urn:uuid:ann"));
    r->setUnitsAvailable(3.0);
    r->setCostPerUse(12.0);
    r->setInfoIntoAddressBook();
    std::string text = fileText("ann.vcf");
    EXPECT_NE(text.find("X-COM-VERDANE-KESTRUM-RESOURCECOUNT:3"), std::string::npos) << text;
    EXPECT_NE(text.find("X-COM-VERDANE-KESTRUM-RESOURCEUSECOST:12"), std::string::npos);
    EXPECT_NE(text.find("TEL:+1-555-0100"), std::string::npos);
    KSError error;
    auto again = KSAddressBook::addressBookAtPath(folder.string(), &error);
    auto card = again->recordForUniqueId("urn:uuid:ann");
    EXPECT_EQ(card->valueForProperty(KSABResourceCount).doubleValue(), 3.0);
    EXPECT_EQ(card->primaryEmailAddress(), "ann@work.example");
}

TEST_F(AddressBookTest, AnIdThatIsNotFoundStaysInThePlan) {
    auto r = resource("Dana");
    // No folder configured: every id is not found.
    EXPECT_EQ(KSAddressBook::sharedAddressBook(), nullptr);
    EXPECT_FALSE(r->linkAddressBookRecordWithUniqueId("urn:uuid:ann"));
    EXPECT_EQ(r->missingAddressBookUUID(), "urn:uuid:ann");
    EXPECT_EQ(r->name(), "Dana");
    // With the folder configured the card is found, and the missing id goes.
    KSUserDefaults::standardUserDefaults().setObjectForKey(KSValue(folder.string()),
                                                           KSAddressBookFolderPreference);
    KSAddressBook::resetSharedAddressBook();
    EXPECT_FALSE(r->linkAddressBookRecordWithUniqueId("urn:uuid:nobody"));
    EXPECT_EQ(r->missingAddressBookUUID(), "urn:uuid:nobody");
    EXPECT_TRUE(r->linkAddressBookRecordWithUniqueId("urn:uuid:ann"));
    EXPECT_FALSE(r->missingAddressBookUUID().has_value());
}

TEST(ABRecord, MalformedTextGivesNoRecordAndNoCrash) {
    std::string error;
    for (const char* text :
         {"", "BEGIN:VCARD", "END:VCARD", "BEGIN:VCARD\r\nVERSION:4.0\r\n", "\xff\xfe\x00",
          "BEGIN:VCARD\r\nVERSION:4.0\r\nFN:a\\;b\r\nEND:VCARD\r\n"}) {
        EXPECT_EQ(KSABRecord::recordWithVCardString(text, &error), nullptr) << text;
    }
    auto made = std::make_shared<KSABRecord>(false);
    made->setValueForProperty(KSValue("Smith, Jo"), KSABGroupNameProperty);
    made->setValueForProperty(KSValue(1.5), KSABResourceEfficiency);
    auto back = KSABRecord::recordWithVCardString(made->vCardString(), &error);
    ASSERT_TRUE(back) << made->vCardString();
    EXPECT_EQ(back->valueForProperty(KSABGroupNameProperty).asString(), "Smith, Jo");
    EXPECT_EQ(back->valueForProperty(KSABResourceEfficiency).doubleValue(), 1.5);
    EXPECT_EQ(back->uniqueId(), made->uniqueId());
}

TEST(ABRecord, OnlyTheVersionLineOfAnOlderCardIsRaised) {
    std::string error;
    // Version 2.1 and 3.0 cards read with the 4.0 grammar; the same letters inside a value
    // stay as written, so the id reads the same again after the card is written back.
    auto card = KSABRecord::recordWithVCardString(
        "BEGIN:VCARD\r\nVERSION:2.1\r\nUID:urn:x-VERSION:2.1-y\r\nFN:Ann\r\n"
        "NOTE:VERSION:3.0\r\nEND:VCARD\r\n",
        &error);
    ASSERT_TRUE(card) << error;
    EXPECT_EQ(card->uniqueId(), "urn:x-VERSION:2.1-y");
    auto again = KSABRecord::recordWithVCardString(card->vCardString(), &error);
    ASSERT_TRUE(again) << error;
    EXPECT_EQ(again->uniqueId(), card->uniqueId());
    // A lower-case property name, as some exporters write, is a version line too.
    EXPECT_TRUE(KSABRecord::recordWithVCardString(
        "BEGIN:VCARD\nversion:3.0\nUID:b\nFN:Bob\nEND:VCARD\n", &error))
        << error;
}

}  // namespace
}  // namespace kestrum::test
