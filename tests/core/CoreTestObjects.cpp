#include "CoreTestObjects.h"

namespace kestrum::testing {

const KSClassInfo& KSTestItem::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSTestItem>(
        "KSTestItem", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSTestItem>& b) {
            b.attribute("title", &KSTestItem::title, &KSTestItem::setTitle);
            b.attribute("count", &KSTestItem::count, &KSTestItem::setCount);
            b.attribute("effort", &KSTestItem::effort, &KSTestItem::setEffort);
            b.attribute("isDone", &KSTestItem::isDone, &KSTestItem::setIsDone);
            b.attribute("due", &KSTestItem::due, &KSTestItem::setDue);
            b.attribute("kind", &KSTestItem::kind, &KSTestItem::setKind);
            b.attribute("notes", &KSTestItem::notes, &KSTestItem::setNotes);
            b.attribute("parent", &KSTestItem::parent, &KSTestItem::setParent);
            b.readOnly("hasNote", &KSTestItem::hasNote);
            b.readOnly("noteBadge", &KSTestItem::noteBadge);
            b.dependentKeys("hasNote", {"notes"});
            b.dependentKeys("noteBadge", {"hasNote"});
        });
    return info;
}

const KSClassInfo& KSTestSubItem::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSTestSubItem>(
        "KSTestSubItem", &KSTestItem::staticClassInfo(), [](KSClassBuilder<KSTestSubItem>& b) {
            b.attribute("code", &KSTestSubItem::code, &KSTestSubItem::setCode);
            // Superclass members serve for a new key.
            b.attribute("quantity", &KSTestItem::count, &KSTestItem::setCount);
            b.readOnly("finished", &KSTestItem::isDone);
            // Overrides the inherited "title" with a prefixed view of it.
            b.custom(
                "title", KSValue::Type::String,
                [](const KSTestSubItem& item) {
                    return KSValue("sub:" + item.KSTestItem::title());
                },
                [](KSTestSubItem& item, const KSValue& v) {
                    if (!v.isString()) return false;
                    item.setTitle(v.asString());
                    return true;
                });
            b.dependentKeys("code", {"title"});
        });
    return info;
}

const KSClassInfo& KSTestPlainSubItem::staticClassInfo() {
    static const KSClassInfo info("KSTestPlainSubItem", &KSTestItem::staticClassInfo());
    return info;
}

}  // namespace kestrum::testing
