// Filters: predicates kept by the project, archived and evaluated against tasks.
#include <gtest/gtest.h>

#include "Model/project/KSFilter.h"
#include "Model/project/KSFilterEntry.h"
#include "ProjectFixture.h"

namespace kestrum::test {
namespace {

TEST(FilterTest, ANewFilterIsNamedByItsIdUntilNamed) {
    auto filter = KSFilter::filterWithPredicate(KSPredicate::truePredicate());
    EXPECT_FALSE(filter->filterId().empty());
    EXPECT_EQ(filter->name(), filter->filterId());
    EXPECT_NE(KSFilter().filterId(), filter->filterId());
    filter->setName("Late work");
    EXPECT_EQ(filter->name(), "Late work");
    EXPECT_FALSE(filter->displayFlatLeaves());
}

TEST(FilterTest, NamesComparePlainly) {
    KSFilter a, b;
    a.setName("alpha");
    b.setName("Beta");
    EXPECT_EQ(a.compareName(b), 1);  // lower case sorts after upper case
    EXPECT_EQ(b.compareName(a), -1);
    b.setName("alpha");
    EXPECT_EQ(a.compareName(b), 0);
}

TEST(FilterEntryTest, UnitsHaveArchiveWordsOnlyForTheKnownSpans) {
    KSFilterEntry entry;
    const std::pair<int, const char*> words[] = {
        {1, "seconds"},    {60, "minute"},      {3600, "hours"},    {86400, "days"},
        {604800, "weeks"}, {2592000, "months"}, {31536000, "years"}};
    for (const auto& [units, word] : words) {
        entry.setUnits(units);
        EXPECT_EQ(entry.unitsArchiveString(), std::optional<std::string>(word)) << units;
        EXPECT_EQ(KSFilterEntry::unitsFromArchiveString(word), units);
    }
    for (int units : {0, 120, -60, 7200}) {
        entry.setUnits(units);
        EXPECT_FALSE(entry.unitsArchiveString().has_value()) << units;
    }
    EXPECT_FALSE(KSFilterEntry::unitsFromArchiveString("fortnights").has_value());
}

TEST(FilterEntryTest, ReadsTheEditorsArchive) {
    KSFilterEntry entry;
    entry.loadFromArchiveDictionary({{"PYFilterEntryEditorValue", KSValue(3.5)},
                                     {"PYFilterEntryEditorKeyPath", KSValue("effort")},
                                     {"PYFilterEntryEditorOperator", KSValue(">")}});
    EXPECT_EQ(entry.value(), KSValue(3.5));
    EXPECT_EQ(entry.keyPath(), "effort");
    EXPECT_EQ(entry.operatorIdentifier(), ">");
    entry.loadFromArchiveDictionary({{"PYFilterEntryEditorKeyPath", KSValue(12)}});
    EXPECT_EQ(entry.keyPath(), "effort");  // a key path must be text
    EXPECT_EQ(entry.valueForKey("operator"), KSValue(">"));
}

class FilterEvaluationTest : public ProjectTest {
protected:
    void SetUp() override {
        ProjectTest::SetUp();
        project->changeUserInfoKeyFromToInArray(std::nullopt, std::string("Owner"),
                                                project->taskUserDataKeys());
        for (const auto& [title, owner] : std::vector<std::pair<std::string, std::string>>{
                 {"Révision finale", "Zoë"}, {"REVISION draft", "Ann"}, {"Pour concrete", ""}}) {
            auto task = add<RecordingTask>(title);
            if (!owner.empty()) task->setUserDataForKey(owner, "Owner");
            tasks.push_back(KSValue(std::shared_ptr<KSBaseObject>(task)));
        }
    }
    // The titles of the tasks a filter keeps.
    std::string kept(const KSFilter& filter) {
        std::string text;
        for (const auto& value : tasks) {
            if (!filter.matchesObject(value)) continue;
            if (!text.empty()) text += ", ";
            text += value.asObjectOfType<KSTask>()->title().value_or("?");
        }
        return text;
    }
    KSArray tasks;
};

TEST_F(FilterEvaluationTest, PredicatesEvaluateAgainstTasksWithInsensitiveOperators) {
    KSError error;
    auto plain = KSFilter::filterWithPredicate(
        KSPredicate::predicateWithFormat("title BEGINSWITH 'Revision'", {}, &error));
    EXPECT_EQ(kept(*plain), "");
    auto folded = KSFilter::filterWithPredicate(
        KSPredicate::predicateWithFormat("title BEGINSWITH[cd] 'revision'", {}, &error));
    EXPECT_EQ(kept(*folded), "Révision finale, REVISION draft");
    auto caseOnly = KSFilter::filterWithPredicate(
        KSPredicate::predicateWithFormat("title CONTAINS[c] 'révision'", {}, &error));
    EXPECT_EQ(kept(*caseOnly), "Révision finale");
    // User data reads as "" when missing, so a filter never sees null.
    auto owned = KSFilter::filterWithPredicate(
        KSPredicate::predicateWithFormat("Owner == '' OR Owner LIKE[d] 'Z*e'", {}, &error));
    EXPECT_EQ(kept(*owned), "Révision finale, Pour concrete");
    EXPECT_FALSE(KSFilter().matchesObject(tasks[0]));  // no predicate keeps nothing
}

TEST_F(FilterEvaluationTest, AnArchivedPredicateReadsBackAndFiltersTheSame) {
    KSError error;
    auto predicate = KSPredicate::predicateWithFormat(
        "title ENDSWITH[cd] 'FINALE' AND NOT (Owner IN {'Ann', 'Bo'})", {}, &error);
    ASSERT_NE(predicate, nullptr) << error.localizedDescription();
    std::string archive = predicate->base64Archive(&error);
    ASSERT_FALSE(archive.empty());
    auto read = KSPredicate::predicateWithBase64ArchiveOrFormat(archive, &error);
    ASSERT_NE(read, nullptr);
    EXPECT_EQ(*read, *predicate);
    EXPECT_EQ(read->predicateFormat(), predicate->predicateFormat());

    auto filter = KSFilter::filterWithPredicate(read);
    project->addFilter(filter);
    EXPECT_EQ(kept(*project->filterWithId(filter->filterId())), "Révision finale");
}

}  // namespace
}  // namespace kestrum::test
