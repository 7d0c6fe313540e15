// BKXMLDictionary: the XML form of a KSDictionary, used for publish actions and print
// settings.
//
// A dictionary's content is a flat run of pairs, without an element per pair: a "key"
// element holding the key, then one value element:
//
//   bool "true"/"false"          integer  the value cut to 32 bits
//   real  the value as a float, printed as a double (a double loses precision on purpose)
//   string, date (XML date string), data (base 64), dict (nested pairs), array (values)
//
// Values of any other kind (null, objects) write the key alone, and such a key is dropped
// on reading. Reading also takes "value", an older name of "string". A "real" reads back
// as a double holding the float-rounded value, so a dictionary round trip changes doubles.
//
//   document->pushElement("printinfo-dictionary");
//   BKXMLDictionary::writeContentsXML(printInfo, *document, &error);
//   document->popElement();
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Platform/core/KSError.h"
#include "Platform/core/KSValue.h"
#include "Platform/xml/BKXMLCursor.h"
#include "Platform/xml/BKXMLDocument.h"

namespace kestrum {

class BKXMLDictionary {
public:
    // Nested dictionaries and arrays deeper than this are skipped when reading, with a
    // line in the log, so that hostile input cannot exhaust the stack.
    static constexpr int kMaximumNesting = 128;

    // Writes every pair in the dictionary's order into the top element; true.
    static bool writeContentsXML(const KSDictionary& dictionary, BKXMLDocument& document,
                                 KSError* error);
    // Writes the pairs of the given keys in that order, skipping keys without a value;
    // always true.
    static bool writeContentsXMLForKeys(const KSDictionary& dictionary, BKXMLDocument& document,
                                        const std::vector<std::string>& keys, KSError* error);
    // Writes one value element (nothing for a value of another kind).
    static void writeValueXML(const KSValue& value, BKXMLDocument& document);

    // Reads pairs from the cursor's current element into `dictionary` while the next
    // element is "key"; a value element of an unknown kind ends the run and stays unread.
    // Always true.
    static bool readContentsXML(KSDictionary& dictionary, BKXMLCursor& cursor, KSError* error);
    // Reads the value element `element`, which must be the cursor's next element. Answers
    // null, leaving it unread, when it is no value element; null after consuming it when
    // it holds no usable value (an empty or unparsable date, bad base 64).
    static KSValue readValueXMLForElement(BKXMLCursor& cursor, const BKXMLElement& element);

private:
    static bool _readContents(KSDictionary& dictionary, BKXMLCursor& cursor, int depth);
    static KSValue _readValue(BKXMLCursor& cursor, const BKXMLElement& element, int depth,
                              bool* recognized);
};

}  // namespace kestrum
