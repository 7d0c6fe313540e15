// The keyed archive of a predicate and the plain-format fall-back of older files.
#include <gtest/gtest.h>

#include "Platform/core/KSBase64.h"
#include "Platform/plist/KSPropertyList.h"
#include "Platform/predicate/KSPredicate.h"
#include "tests/predicate/PredicateTestObjects.h"

namespace kestrum {
namespace {

KSPredicatePtr parse(std::string_view format, const KSArray& args = {}) {
    auto predicate = KSPredicate::predicateWithFormat(format, args);
    EXPECT_TRUE(predicate) << format;
    return predicate;
}

TEST(PredicateArchive, RoundTripsThroughABinaryPropertyList) {
    auto predicate =
        parse("(title BEGINSWITH[cd] %@ OR ANY tags == 'x') AND dueDate < %@ AND NOT note == nil",
              {KSValue("Crème"), KSValue(KSDate::dateWithTimeIntervalSinceReferenceDate(12.25))});
    KSError error;
    KSData data = predicate->archivedData(&error);
    ASSERT_FALSE(data.empty()) << error.localizedDescription();
    KSPropertyListFormat format{};
    KSValue plist = KSPropertyList::propertyListFromData(data, &format);
    EXPECT_EQ(format, KSPropertyListFormat::Binary);
    EXPECT_EQ(plist.asDictionary().objectForKey("format"), KSValue(predicate->predicateFormat()));
    EXPECT_EQ(plist.asDictionary().objectForKey("version"), KSValue(1));

    auto reread = KSPredicate::predicateWithArchivedData(data, &error);
    ASSERT_TRUE(reread) << error.localizedDescription();
    EXPECT_EQ(*reread, *predicate);

    auto task = std::make_shared<test::TestTask>();
    task->setTitle("creme caramel");
    task->setNote(KSValue("n"));
    task->setDueDate(KSDate::dateWithTimeIntervalSinceReferenceDate(12.0));
    EXPECT_TRUE(reread->evaluateWithObject(task));
    task->setDueDate(KSDate::dateWithTimeIntervalSinceReferenceDate(12.25));
    EXPECT_FALSE(reread->evaluateWithObject(task));
}

TEST(PredicateArchive, Base64TextReadsBackAndPlainFormatFallsBack) {
    auto predicate = parse("priority >= 500 AND title CONTAINS[c] 'review'");
    std::string text = predicate->base64Archive();
    ASSERT_FALSE(text.empty());
    auto fromArchive = KSPredicate::predicateWithBase64ArchiveOrFormat(text);
    ASSERT_TRUE(fromArchive);
    EXPECT_EQ(*fromArchive, *predicate);

    // An older file keeps the format string itself.
    auto fromFormat = KSPredicate::predicateWithBase64ArchiveOrFormat(predicate->predicateFormat());
    ASSERT_TRUE(fromFormat);
    EXPECT_EQ(*fromFormat, *predicate);
    // Text that happens to be valid base 64 but is no archive is read as a format too.
    auto wordLike = KSPredicate::predicateWithBase64ArchiveOrFormat("TRUEPREDICATE");
    ASSERT_TRUE(wordLike);
    EXPECT_EQ(*wordLike, *KSPredicate::truePredicate());
    auto keyLike = KSPredicate::predicateWithBase64ArchiveOrFormat("abcd == 1");
    ASSERT_TRUE(keyLike);
    EXPECT_EQ(keyLike->predicateFormat(), "abcd == 1");
}

TEST(PredicateArchive, GarbageGivesAnErrorAndNoPredicate) {
    KSError error;
    EXPECT_FALSE(KSPredicate::predicateWithBase64ArchiveOrFormat("%%%not a predicate", &error));
    EXPECT_EQ(error.domain(), KSPredicateErrorDomain);

    KSData junk{1, 2, 3, 4, 5};
    EXPECT_FALSE(KSPredicate::predicateWithArchivedData(junk, &error));
    EXPECT_EQ(error.code(), KSPredicateArchiveError);

    // A property list of the wrong shape, a newer version, a format that does not parse.
    KSData array = KSPropertyList::dataFromPropertyList(KSValue::array({KSValue(1)}),
                                                        KSPropertyListFormat::Binary);
    EXPECT_FALSE(KSPredicate::predicateWithArchivedData(array, &error));
    KSData newer =
        KSPropertyList::dataFromPropertyList(KSValue(KSDictionary{{"class", KSValue("KSPredicate")},
                                                                  {"version", KSValue(2)},
                                                                  {"format", KSValue("a == 1")}}),
                                             KSPropertyListFormat::Binary);
    EXPECT_FALSE(KSPredicate::predicateWithArchivedData(newer, &error));
    EXPECT_NE(error.localizedDescription().find("version 2"), std::string::npos);
    KSData broken = KSPropertyList::dataFromPropertyList(
        KSValue(KSDictionary{{"version", KSValue(1)}, {"format", KSValue("a ==")}}),
        KSPropertyListFormat::XML);
    EXPECT_FALSE(KSPredicate::predicateWithArchivedData(broken, &error));
    EXPECT_EQ(error.code(), KSPredicateFormatError);
}

TEST(PredicateArchive, ConstantsWithoutLiteralFormAreRefused) {
    auto predicate = parse("owner == %@", {KSValue(std::make_shared<test::TestPerson>("x"))});
    KSError error;
    EXPECT_TRUE(predicate->archivedData(&error).empty());
    EXPECT_EQ(error.code(), KSPredicateArchiveError);
    EXPECT_TRUE(predicate->base64Archive().empty());
}

}  // namespace
}  // namespace kestrum
