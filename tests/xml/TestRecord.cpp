#include "TestRecord.h"

#include "Platform/core/KSBase64.h"

namespace kestrum {

const KSClassInfo& TestRecord::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<TestRecord>(
        "TestRecord", &BKObject::staticClassInfo(), [](KSClassBuilder<TestRecord>& b) {
            b.attribute("title", &TestRecord::title, &TestRecord::setTitle);
            b.attribute("effort", &TestRecord::effort, &TestRecord::setEffort);
            b.attribute("flag", &TestRecord::flag, &TestRecord::setFlag);
            b.attribute("count", &TestRecord::count, &TestRecord::setCount);
            b.attribute("start", &TestRecord::start, &TestRecord::setStart);
            b.attribute("anything", &TestRecord::anything, &TestRecord::setAnything);
        });
    return info;
}

bool TestRecord::writeContentsXML(BKXMLDocument& document, KSBaseObject*, KSError*) {
    writeBoolValueToDocumentAttributeName(flag_, document, "flag");
    writeStringDocumentElementName("title", document, "title");
    document.appendElementContainingDouble("effort", effort_);
    writeOptionalIntegerNumberDocumentElementName("count", document, "count");
    writeDateDocumentElementName("start", document, "start-date");
    writeDataDocumentElementName("anything", document, "blob");
    return true;
}

bool TestRecord::readContentsXML(BKXMLCursor& cursor, KSBaseObject*, KSError*) {
    readBoolFromCursorAttributeName("flag", cursor, "flag");
    readStringStoringWithKeyFromCursorElementName("title", cursor, "title");
    readFloatNumberFromCursorElementName("effort", cursor, "effort");
    readIntegerNumberFromCursorElementName("count", cursor, "count");
    readDateStoringWithKeyFromCursorElementName<TestDateTime>("start", cursor, "start-date");
    KSValue blob = readStringStoringWithKeyFromCursorElementName("", cursor, "blob");
    KSData bytes;
    if (blob.isString() && KSBase64Decode(blob.asString(), &bytes)) setAnything(KSValue(bytes));
    return true;
}

}  // namespace kestrum
