// Keyed access through the per-class attribute tables: typed reads, converting writes,
// undefined keys, key paths and inheritance of the tables.
#include <gtest/gtest.h>

#include "CoreTestObjects.h"
#include "Platform/core/KSLog.h"

namespace kestrum {
namespace {

using testing::KSTestItem;
using testing::KSTestKind;
using testing::KSTestPlainSubItem;
using testing::KSTestSubItem;

TEST(KSKeyedAccess, ReadsAttributesAsTypedValues) {
    auto item = std::make_shared<KSTestItem>();
    item->setTitle("Design");
    item->setCount(3);
    item->setIsDone(true);
    item->setDue(KSDate{3600});
    item->setKind(KSTestKind::Group);
    EXPECT_EQ(item->valueForKey("title"), KSValue("Design"));
    EXPECT_EQ(item->valueForKey("count").type(), KSValue::Type::Integer);
    EXPECT_EQ(item->valueForKey("count"), KSValue(3));
    EXPECT_EQ(item->valueForKey("effort").type(), KSValue::Type::Double);
    EXPECT_EQ(item->valueForKey("isDone").type(), KSValue::Type::Bool);
    EXPECT_EQ(item->valueForKey("due"), KSValue(KSDate{3600}));
    EXPECT_EQ(item->valueForKey("kind"), KSValue(2));
    EXPECT_TRUE(item->valueForKey("parent").isNull());
    EXPECT_EQ(item->valueForKey("hasNote"), KSValue(false));
}

TEST(KSKeyedAccess, WritesConvertValuesTheWayThePlatformDoes) {
    auto item = std::make_shared<KSTestItem>();
    item->setValueForKey(KSValue("12 apples"), "count");
    EXPECT_EQ(item->count(), 12);
    item->setValueForKey(KSValue(2.75), "count");
    EXPECT_EQ(item->count(), 2);
    item->setValueForKey(KSValue("YES"), "isDone");
    EXPECT_TRUE(item->isDone());
    item->setValueForKey(KSValue(7), "effort");
    EXPECT_EQ(item->effort(), 7.0);
    item->setValueForKey(KSValue(1), "kind");
    EXPECT_EQ(item->kind(), KSTestKind::Milestone);
    item->setValueForKey(KSValue("Build"), "title");
    EXPECT_EQ(item->title(), "Build");
    item->setValueForKey(KSValue(), "title");
    EXPECT_EQ(item->title(), "");
    auto parent = std::make_shared<KSTestItem>();
    item->setValueForKey(KSValue(parent), "parent");
    EXPECT_EQ(item->parent(), parent);
    item->setValueForKey(KSValue(), "parent");
    EXPECT_EQ(item->parent(), nullptr);
}

TEST(KSKeyedAccess, ValuesOfTheWrongClassAreDroppedWithALogLine) {
    auto item = std::make_shared<KSTestItem>();
    item->setTitle("Keep");
    KSLogCapture log;
    item->setValueForKey(KSValue(KSDate{5}), "title");
    item->setValueForKey(KSValue::array({1}), "count");
    item->setValueForKey(KSValue("2026-01-01"), "due");
    item->setValueForKey(KSValue(std::make_shared<KSBaseObject>()), "parent");
    EXPECT_EQ(item->title(), "Keep");
    EXPECT_EQ(item->count(), 0);
    EXPECT_EQ(item->due(), KSDate{});
    EXPECT_EQ(item->parent(), nullptr);
    ASSERT_EQ(log.lines().size(), 4u);
    EXPECT_TRUE(log.contains("KSTestItem: dropped a value of type date for the key \"title\""));
}

TEST(KSKeyedAccess, NullForAScalarGoesToSetNilValueForKey) {
    auto item = std::make_shared<KSTestItem>();
    item->setCount(5);
    KSLogCapture log;
    item->setValueForKey(KSValue(), "count");
    EXPECT_EQ(item->count(), 5);
    EXPECT_TRUE(log.contains("could not set nil as the value for the key count"));

    auto sub = std::make_shared<KSTestSubItem>();
    sub->setValueForKey(KSValue(), "effort");
    sub->setValueForKey(KSValue(), "isDone");
    EXPECT_EQ(sub->nilKeys, (std::vector<std::string>{"effort", "isDone"}));
}

TEST(KSKeyedAccess, UndefinedKeysAnswerNullAndRaiseOnWrite) {
    auto item = std::make_shared<KSTestItem>();
    KSLogCapture log;
    EXPECT_TRUE(item->valueForKey("noSuchKey").isNull());
    EXPECT_TRUE(
        log.contains("valueForUndefinedKey:]: this class is not key value coding-compliant "
                     "for the key noSuchKey."));
    try {
        item->setValueForKey(KSValue(1), "noSuchKey");
        FAIL() << "setting an undefined key must raise";
    } catch (const KSUndefinedKeyException& e) {
        EXPECT_EQ(e.key(), "noSuchKey");
        EXPECT_NE(std::string(e.what()).find("KSTestItem"), std::string::npos);
    }
    // A read-only attribute cannot be set either.
    EXPECT_THROW(item->setValueForKey(KSValue(true), "hasNote"), KSUndefinedKeyException);
    EXPECT_FALSE(item->isSettableKey("hasNote"));
    EXPECT_TRUE(item->isSettableKey("title"));
}

TEST(KSKeyedAccess, SubclassesOverrideTheUndefinedKeyFallbacks) {
    auto sub = std::make_shared<KSTestSubItem>();
    sub->setValueForKey(KSValue("blue"), "Colour");
    EXPECT_EQ(sub->valueForKey("Colour"), KSValue("blue"));
    EXPECT_TRUE(sub->valueForKey("Other").isNull());
    EXPECT_THROW(sub->setValueForKey(KSValue(3), "Colour"), KSUndefinedKeyException);
}

TEST(KSKeyedAccess, KeyPathsWalkThroughObjectAttributes) {
    auto grand = std::make_shared<KSTestItem>();
    grand->setTitle("Root");
    auto parent = std::make_shared<KSTestItem>();
    parent->setParent(grand);
    auto item = std::make_shared<KSTestItem>();
    item->setParent(parent);
    EXPECT_EQ(item->valueForKeyPath("parent.parent.title"), KSValue("Root"));
    item->setValueForKeyPath(KSValue("Renamed"), "parent.parent.title");
    EXPECT_EQ(grand->title(), "Renamed");
    // A null on the way answers null, and a set through it does nothing.
    EXPECT_TRUE(grand->valueForKeyPath("parent.title").isNull());
    grand->setValueForKeyPath(KSValue("x"), "parent.title");
    EXPECT_EQ(grand->title(), "Renamed");
    // Dictionaries on the way are read by their entries.
    auto sub = std::make_shared<KSTestSubItem>();
    sub->extras.setObjectForKey("info", KSDictionary{{"owner", KSDictionary{{"name", "Ann"}}}});
    EXPECT_EQ(sub->valueForKeyPath("info.owner.name"), KSValue("Ann"));
    EXPECT_TRUE(sub->valueForKeyPath("info.missing.name").isNull());
    EXPECT_TRUE(sub->valueForKeyPath("info.owner.name.more").isNull());
}

TEST(KSKeyedAccess, SetValuesForKeysWithDictionaryFollowsItsOrder) {
    auto item = std::make_shared<KSTestItem>();
    item->setValuesForKeysWithDictionary(
        KSDictionary{{"title", "A"}, {"count", 2}, {"notes", "n"}, {"title", "B"}});
    EXPECT_EQ(item->title(), "B");
    EXPECT_EQ(item->count(), 2);
    EXPECT_EQ(item->hookCalls.front(), "will:title");
    EXPECT_EQ(item->hookCalls.back(), "did:notes");
}

TEST(KSClassTables, SubclassesInheritAndOverrideAttributes) {
    const KSClassInfo& info = KSTestSubItem::staticClassInfo();
    EXPECT_EQ(info.name(), "KSTestSubItem");
    EXPECT_EQ(info.superclass(), &KSTestItem::staticClassInfo());
    EXPECT_TRUE(info.isKindOf(KSBaseObject::staticClassInfo()));
    EXPECT_FALSE(KSTestItem::staticClassInfo().isKindOf(info));
    const auto& keys = info.attributeKeys();
    ASSERT_GE(keys.size(), 3u);
    EXPECT_EQ(keys.front(), "title");
    EXPECT_EQ(keys.back(), "finished");
    EXPECT_EQ(std::count(keys.begin(), keys.end(), "title"), 1);

    auto sub = std::make_shared<KSTestSubItem>();
    EXPECT_EQ(sub->className(), "KSTestSubItem");
    EXPECT_TRUE(sub->isKindOfClass(KSTestItem::staticClassInfo()));
    sub->setValueForKey(KSValue("Plan"), "title");
    EXPECT_EQ(sub->valueForKey("title"), KSValue("sub:Plan"));
    sub->setValueForKey(KSValue(4), "count");
    EXPECT_EQ(sub->count(), 4);
    sub->setValueForKey(KSValue(6), "quantity");
    EXPECT_EQ(sub->count(), 6);
    sub->setIsDone(true);
    EXPECT_EQ(sub->valueForKey("finished"), KSValue(true));
    EXPECT_EQ(sub->valueTypeForKey("code"), KSValue::Type::String);
    EXPECT_EQ(sub->valueTypeForKey("due"), KSValue::Type::Date);
    EXPECT_EQ(sub->valueTypeForKey("unknown"), KSValue::Type::Null);
}

TEST(KSClassTables, DependentKeysAreInvertedTransitively) {
    const KSClassInfo& info = KSTestItem::staticClassInfo();
    EXPECT_EQ(info.keyPathsForValuesAffectingValueForKey("hasNote"),
              (std::vector<std::string>{"notes"}));
    EXPECT_EQ(info.keysAffectedByKey("notes"), (std::vector<std::string>{"hasNote", "noteBadge"}));
    EXPECT_TRUE(info.keysAffectedByKey("title").empty());
    // The subclass adds its own relation and keeps the inherited ones.
    const KSClassInfo& sub = KSTestSubItem::staticClassInfo();
    EXPECT_EQ(sub.keysAffectedByKey("title"), (std::vector<std::string>{"code"}));
    EXPECT_EQ(sub.keysAffectedByKey("notes"), (std::vector<std::string>{"hasNote", "noteBadge"}));
}

TEST(KSClassTables, AClassMadeWithoutABuilderInheritsEverything) {
    const KSClassInfo& plain = KSTestPlainSubItem::staticClassInfo();
    EXPECT_NE(plain.attributeForKey("title"), nullptr);
    EXPECT_EQ(plain.keyPathsForValuesAffectingValueForKey("hasNote"),
              (std::vector<std::string>{"notes"}));
    EXPECT_EQ(plain.keysAffectedByKey("notes"), (std::vector<std::string>{"hasNote", "noteBadge"}));
}

TEST(KSClassTables, BaseObjectDescribesItselfByClassAndAddress) {
    auto object = std::make_shared<KSTestItem>();
    std::string description = object->description();
    EXPECT_EQ(description.rfind("<KSTestItem: 0x", 0), 0u) << description;
    EXPECT_EQ(description.back(), '>');
    EXPECT_EQ(object->sharedFromThis<KSTestItem>(), object);
}

}  // namespace
}  // namespace kestrum
