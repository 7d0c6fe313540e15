// Evaluation against keyed objects: strings with case and accents, numbers, dates,
// booleans, nulls, key paths through references and lists.
#include <gtest/gtest.h>

#include "Platform/core/KSLog.h"
#include "Platform/predicate/KSPredicate.h"
#include "tests/predicate/PredicateTestObjects.h"

namespace kestrum {
namespace {

using test::TestPerson;
using test::TestTask;

class PredicateEvaluation : public ::testing::Test {
protected:
    void SetUp() override {
        task = std::make_shared<TestTask>();
        task->setTitle("Crème Brûlée Review");
        task->setEffort(7200.0);
        task->setPriority(750);
        task->setIsCompleted(true);
        task->setDueDate(KSDate::dateWithTimeIntervalSinceReferenceDate(1000.0));
        task->setTags(KSArray{KSValue("urgent"), KSValue("Kitchen")});
        task->setOwner(std::make_shared<TestPerson>("Zoë Ångström"));
        auto a = std::make_shared<TestTask>();
        a->setEffort(3600.0);
        auto b = std::make_shared<TestTask>();
        b->setEffort(1800.0);
        task->setSubtasks(KSArray{KSValue(a), KSValue(b)});
    }

    bool holds(std::string_view format, const KSArray& args = {}) {
        KSError error;
        auto predicate = KSPredicate::predicateWithFormat(format, args, &error);
        EXPECT_TRUE(predicate) << error.localizedDescription();
        return predicate && predicate->evaluateWithObject(task);
    }

    std::shared_ptr<TestTask> task;
};

TEST_F(PredicateEvaluation, StringOperatorsFoldCaseAndDiacriticsOnlyWhenAsked) {
    EXPECT_TRUE(holds("title BEGINSWITH 'Crème'"));
    EXPECT_FALSE(holds("title BEGINSWITH 'creme'"));
    EXPECT_FALSE(holds("title BEGINSWITH[c] 'creme'"));
    EXPECT_FALSE(holds("title BEGINSWITH[d] 'creme'"));
    EXPECT_TRUE(holds("title BEGINSWITH[d] 'Creme'"));
    EXPECT_TRUE(holds("title BEGINSWITH[cd] 'CREME'"));
    EXPECT_TRUE(holds("title ENDSWITH[c] 'REVIEW'"));
    EXPECT_FALSE(holds("title ENDSWITH 'REVIEW'"));
    EXPECT_TRUE(holds("title CONTAINS[cd] 'brulee'"));
    EXPECT_FALSE(holds("title CONTAINS[c] 'brulee'"));
    EXPECT_TRUE(holds("title ==[cd] 'creme brulee review'"));
    EXPECT_FALSE(holds("title == 'creme brulee review'"));
    EXPECT_TRUE(holds("owner.name ==[cd] 'ZOE ANGSTROM'"));
    EXPECT_TRUE(holds("owner.name !=[c] 'ZOE ANGSTROM'"));
}

TEST_F(PredicateEvaluation, DecomposedAndPrecomposedSpellingsMeetUnderFolding) {
    // "e" followed by a combining acute accent against the precomposed "é".
    task->setTitle("Cafe\xCC\x81");
    EXPECT_TRUE(holds("title ==[c] 'CAFÉ'"));
    EXPECT_FALSE(holds("title == 'Café'"));
    task->setTitle("Straße");
    EXPECT_TRUE(holds("title ==[c] 'STRASSE'"));
}

TEST_F(PredicateEvaluation, LikeWildcards) {
    EXPECT_TRUE(holds("title LIKE 'Crème*Review'"));
    EXPECT_TRUE(holds("title LIKE '*Br?l?e*'"));
    EXPECT_FALSE(holds("title LIKE 'Br*'"));
    EXPECT_TRUE(holds("title LIKE[cd] 'creme*'"));
    EXPECT_FALSE(holds("title LIKE 'creme*'"));
    task->setTitle("50*");
    EXPECT_TRUE(holds("title LIKE '50\\\\*'"));
    task->setTitle("500");
    EXPECT_FALSE(holds("title LIKE '50\\\\*'"));
    EXPECT_TRUE(holds("title LIKE '5*'"));
    task->setTitle("");
    EXPECT_TRUE(holds("title LIKE '*'"));
    EXPECT_FALSE(holds("title LIKE '?'"));
}

TEST_F(PredicateEvaluation, MatchesUsesWholeStringRegularExpressions) {
    EXPECT_TRUE(holds("title MATCHES 'Cr.me .* Review'"));
    EXPECT_FALSE(holds("title MATCHES 'Review'"));  // must match the whole text
    EXPECT_TRUE(holds("title MATCHES[c] 'crème.*'"));
    EXPECT_TRUE(holds("title MATCHES[cd] 'creme brulee \\\\w+'"));
    EXPECT_FALSE(holds("title MATCHES 'creme.*'"));
    // A pattern from a key path is compiled when evaluated; an invalid one never matches.
    task->setNote(KSValue("(["));
    EXPECT_FALSE(holds("title MATCHES note"));
    task->setNote(KSValue("C.*"));
    EXPECT_TRUE(holds("title MATCHES note"));
}

TEST_F(PredicateEvaluation, NumbersCompareByValueAcrossIntegerDoubleAndBoolean) {
    EXPECT_TRUE(holds("effort == 7200"));
    EXPECT_TRUE(holds("effort == 7200.0"));
    EXPECT_TRUE(holds("priority > 749.5 AND priority <= 750"));
    EXPECT_TRUE(holds("effort BETWEEN {3600, 7200}"));
    EXPECT_FALSE(holds("effort BETWEEN {3600, 7199}"));
    EXPECT_TRUE(holds("priority IN {100, 750}"));
    EXPECT_FALSE(holds("priority IN {100, 751}"));
    EXPECT_TRUE(holds("isCompleted == YES"));
    EXPECT_TRUE(holds("isCompleted == 1"));
    EXPECT_FALSE(holds("isCompleted == NO"));
    EXPECT_FALSE(holds("priority == '750'"));  // a string is never equal to a number
    EXPECT_FALSE(holds("priority < 'zzz'"));
    EXPECT_TRUE(holds("priority == %d AND effort > %f", {KSValue(750), KSValue(7199.5)}));
}

TEST_F(PredicateEvaluation, DatesCompareAsInstants) {
    EXPECT_TRUE(holds("dueDate == CAST(1000, 'NSDate')"));
    EXPECT_TRUE(holds("dueDate > CAST(999.5, 'NSDate')"));
    EXPECT_FALSE(holds("dueDate > CAST(1000, 'NSDate')"));
    EXPECT_TRUE(
        holds("dueDate BETWEEN %@",
              {KSValue::array({KSValue(KSDate::dateWithTimeIntervalSinceReferenceDate(0)),
                               KSValue(KSDate::dateWithTimeIntervalSinceReferenceDate(1e6))})}));
    EXPECT_FALSE(holds("dueDate == 1000"));  // a date is not a number
}

TEST_F(PredicateEvaluation, NullsEqualOnlyNull) {
    EXPECT_TRUE(holds("note == nil"));
    EXPECT_FALSE(holds("note != nil"));
    EXPECT_FALSE(holds("note == ''"));
    EXPECT_FALSE(holds("note < 5 OR note > 5"));
    EXPECT_FALSE(holds("note BEGINSWITH ''"));
    EXPECT_FALSE(holds("note CONTAINS 'x'"));
    task->setOwner(nullptr);
    EXPECT_TRUE(holds("owner.name == nil"));  // a null on the way answers null
    EXPECT_FALSE(holds("owner.name BEGINSWITH 'Z'"));
}

TEST_F(PredicateEvaluation, CollectionsThroughKeyPaths) {
    EXPECT_TRUE(holds("tags CONTAINS 'urgent'"));
    EXPECT_FALSE(holds("tags CONTAINS 'kitchen'"));
    EXPECT_TRUE(holds("tags CONTAINS[c] 'kitchen'"));
    EXPECT_TRUE(holds("'urgent' IN tags"));
    EXPECT_TRUE(holds("ANY tags BEGINSWITH 'K'"));
    EXPECT_FALSE(holds("ALL tags BEGINSWITH 'K'"));
    EXPECT_TRUE(holds("ALL tags.@count == 1 OR tags.@count == 2"));
    EXPECT_TRUE(holds("NONE tags == 'later'"));
    EXPECT_TRUE(holds("subtasks.@count == 2"));
    EXPECT_TRUE(holds("subtasks.@sum.effort == 5400"));
    EXPECT_TRUE(holds("subtasks.@avg.effort == 2700"));
    EXPECT_TRUE(holds("subtasks.@max.effort == 3600 AND subtasks.@min.effort == 1800"));
    EXPECT_TRUE(holds("ANY subtasks.effort > 3000"));
    EXPECT_FALSE(holds("ALL subtasks.effort > 3000"));
    EXPECT_TRUE(holds("'Brûlée' IN title"));  // IN on two strings is a substring test
}

TEST_F(PredicateEvaluation, CompoundsAndConstants) {
    EXPECT_TRUE(holds("TRUEPREDICATE"));
    EXPECT_FALSE(holds("FALSEPREDICATE"));
    EXPECT_TRUE(holds("priority == 1 OR (isCompleted == YES AND NOT effort < 100)"));
    EXPECT_FALSE(holds("priority == 1 OR isCompleted == NO"));
    EXPECT_TRUE(holds("!(priority == 1) && effort > 0 || FALSEPREDICATE"));
}

TEST_F(PredicateEvaluation, SelfAndDictionaries) {
    auto predicate = KSPredicate::predicateWithFormat("SELF BEGINSWITH[c] 'a'");
    ASSERT_TRUE(predicate);
    KSArray words{KSValue("Apple"), KSValue("banana"), KSValue("avocado"), KSValue(5)};
    EXPECT_EQ(predicate->filteredArray(words), (KSArray{KSValue("Apple"), KSValue("avocado")}));
    auto onDictionary = KSPredicate::predicateWithFormat("#\"Custom Key\" == 'v' AND n > 1");
    ASSERT_TRUE(onDictionary);
    EXPECT_TRUE(onDictionary->evaluateWithObject(
        KSValue(KSDictionary{{"Custom Key", KSValue("v")}, {"n", KSValue(2)}})));
    EXPECT_FALSE(onDictionary->evaluateWithObject(KSValue(KSDictionary{{"n", KSValue(2)}})));
}

TEST_F(PredicateEvaluation, UnknownKeysReadAsNullWithoutThrowing) {
    KSLogCapture capture;
    EXPECT_NO_THROW(EXPECT_TRUE(holds("noSuchKey == nil")));
    EXPECT_FALSE(holds("noSuchKey == 1"));
}

}  // namespace
}  // namespace kestrum
