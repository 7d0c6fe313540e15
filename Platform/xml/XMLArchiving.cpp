#include "Platform/xml/XMLArchiving.h"

#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"

namespace kestrum {

bool BKXMLWriteObjectElement(BKXMLDocument& document, XMLArchiving& object,
                             std::string_view elementName, KSBaseObject* attachmentArchiveContext,
                             KSError* error) {
    document.pushElement(elementName);
    bool ok = object.writeContentsXML(document, attachmentArchiveContext, error);
    document.popElement();
    return ok;
}

bool BKXMLReadObjectElement(BKXMLCursor& cursor, XMLArchiving& object, std::string_view elementName,
                            KSBaseObject* attachmentArchiveContext, KSError* error) {
    if (!cursor.openNextChildElementNamed(elementName)) return false;
    std::size_t depth = cursor.depth();
    bool ok = object.readContentsXML(cursor, attachmentArchiveContext, error);
    // An object that left an inner element open is not allowed to unbalance its caller.
    while (cursor.depth() > depth)
        cursor.closeElement();
    if (cursor.depth() == depth) cursor.closeElement();
    return ok;
}

}  // namespace kestrum
