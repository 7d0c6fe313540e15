// A small scenario document form for the placeholder tests, until the file code reads and
// writes whole scenarios: top-level tasks with their id, title and user data.
//
//   <scenario><task id="3" title="Write"><data key="Owner">Ann</data></task></scenario>
#pragma once

#include <string>

#include "Model/project/KSScenario.h"
#include "Model/project/KSScenarioPlaceholder.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSNumberText.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"
#include "Platform/xml/BKXMLFunctions.h"

namespace kestrum::test {

inline bool readTestScenario(KSScenario& scenario, BKXMLCursor& cursor, KSBaseObject*,
                             KSError* error) {
    if (cursor.name() != "scenario") {
        if (error) *error = KSError::errorWithDescription("Kestrum", 1, "not a scenario");
        return false;
    }
    KSTask& root = *scenario.rootTask();
    while (cursor.openNextChildElementNamed("task")) {
        auto task = std::make_shared<KSTask>();
        task->setObjectId(KSIntegerValueOfString(cursor.attributeNamed("id").value_or("0")));
        task->setTitle(std::string(cursor.attributeNamed("title").value_or("")));
        root.insertObjectInChildrenAtIndex(task, root.countOfChildren());
        while (cursor.openNextChildElementNamed("data")) {
            std::string key(cursor.attributeNamed("key").value_or(""));
            task->setUserDataForKey(BKCharacterDataFromElement(cursor.currentElement()), key);
            cursor.closeElement();
        }
        cursor.closeElement();
    }
    return true;
}

inline bool writeTestScenario(KSScenario& scenario, BKXMLDocument& document,
                              const std::vector<std::int64_t>*, KSBaseObject*, KSError*) {
    for (const auto& item : scenario.rootTask()->children().value_or(KSProjectItemList())) {
        document.pushElement("task");
        document.setAttributeInteger("id", item->objectId());
        document.setAttributeString("title", item->title().value_or(""));
        for (const auto& [key, value] : item->userData().value_or(KSDictionary())) {
            document.appendElementContainingString("data", value.asString())
                .setAttributeString("key", key);
        }
        document.popElement();
    }
    return true;
}

// Installs the coder for the life of a test.
class ScopedTestScenarioCoder {
public:
    ScopedTestScenarioCoder() {
        KSScenarioPlaceholder::setXMLCoder(readTestScenario, writeTestScenario);
    }
    ~ScopedTestScenarioCoder() { KSScenarioPlaceholder::setXMLCoder(nullptr, nullptr); }
};

inline KSData bytesOf(const std::string& text) {
    return KSData(text.begin(), text.end());
}

}  // namespace kestrum::test
