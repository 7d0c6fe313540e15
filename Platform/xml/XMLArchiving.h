// XMLArchiving: the contract of objects stored as XML elements.
//
// The caller owns the element, the object its contents: the caller pushes (writing) or
// opens (reading) the element, calls the object, then pops or closes it. An object never
// opens or closes its own element; it may add attributes to it through the document's
// `topElement` or `setAttribute...`.
//
// Each conforming class names its element once with KS_DECLARE_XML_ELEMENT_NAME("task"),
// which gives the class-level `T::xmlElementName()` and the virtual
// `classXMLElementName()` for code that holds an object of unknown class.
//
//   document.pushElement(KSTask::xmlElementName());
//   task->writeContentsXML(document, nullptr, &error);
//   document.popElement();
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

namespace kestrum {

// Only named here, so that a class that can be archived does not bring the XML layer to
// everyone who includes its header.
class BKXMLCursor;
class BKXMLDocument;
class KSBaseObject;
class KSError;

class XMLArchiving {
public:
    virtual ~XMLArchiving() = default;

    // Fills the receiver from the element the cursor is inside; true on success.
    // `attachmentArchiveContext` is handed on to styled text and attachments untouched
    // (null when no attachments are wanted).
    virtual bool readContentsXML(BKXMLCursor& cursor, KSBaseObject* attachmentArchiveContext,
                                 KSError* error) = 0;
    // Writes the receiver's attributes and children into the element on top of the
    // document's stack; true on success.
    virtual bool writeContentsXML(BKXMLDocument& document, KSBaseObject* attachmentArchiveContext,
                                  KSError* error) = 0;
    // The element name of the receiver's class (the class-level xmlElementName).
    virtual std::string classXMLElementName() const = 0;
};

// A class that conforms and names its element at class level.
template <class T>
concept XMLArchivingClass = std::is_base_of_v<XMLArchiving, T> && requires {
    { T::xmlElementName() } -> std::convertible_to<std::string>;
};

// Writes `object` as a child element named `elementName` of the top element: push,
// writeContentsXML, pop. Answers what writeContentsXML answered.
bool BKXMLWriteObjectElement(BKXMLDocument& document, XMLArchiving& object,
                             std::string_view elementName, KSBaseObject* attachmentArchiveContext,
                             KSError* error);
// Reads `object` from the cursor's next child element if it is named `elementName`: open,
// readContentsXML, close. False when the element is not there (the cursor stays) or the
// object answered false (the cursor still stands behind the element).
bool BKXMLReadObjectElement(BKXMLCursor& cursor, XMLArchiving& object, std::string_view elementName,
                            KSBaseObject* attachmentArchiveContext, KSError* error);

}  // namespace kestrum

// Declares the class-level element name of an XMLArchiving class.
#define KS_DECLARE_XML_ELEMENT_NAME(elementName)       \
public:                                                \
    static std::string xmlElementName() {              \
        return elementName;                            \
    }                                                  \
    std::string classXMLElementName() const override { \
        return xmlElementName();                       \
    }
