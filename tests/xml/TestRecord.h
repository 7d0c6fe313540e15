// TestRecord: a small persistent object for the XML tests, with keyed attributes of the
// kinds the model stores, and a stand-in for the model's date type.
#pragma once

#include <string>

#include "Platform/xml/BKObject.h"
#include "Platform/xml/XMLArchiving.h"

namespace kestrum {

// Stands in for the model's date (null or an instant) until the model's own type exists.
struct TestDateTime {
    bool null = true;
    KSDate date;
    friend bool operator==(const TestDateTime&, const TestDateTime&) = default;
};

template <>
struct KSValueTraits<TestDateTime> {
    static constexpr KSValue::Type valueType = KSValue::Type::Date;
    static KSValue toValue(const TestDateTime& d) { return d.null ? KSValue() : KSValue(d.date); }
    static bool fromValue(const KSValue& v, TestDateTime* out) {
        if (v.isNull()) {
            *out = TestDateTime();
            return true;
        }
        if (!v.isDate()) return false;
        *out = TestDateTime{false, v.asDate()};
        return true;
    }
};

class TestRecord : public BKObject, public XMLArchiving {
    KS_DECLARE_CLASS()
    KS_DECLARE_XML_ELEMENT_NAME("record")
public:
    std::string title() const { return title_; }
    void setTitle(std::string t) {
        title_ = std::move(t);
        ++titleSetCount;
    }
    double effort() const { return effort_; }
    void setEffort(double e) { effort_ = e; }
    bool flag() const { return flag_; }
    void setFlag(bool f) { flag_ = f; }
    int count() const { return count_; }
    void setCount(int c) { count_ = c; }
    TestDateTime start() const { return start_; }
    void setStart(TestDateTime d) { start_ = d; }
    KSValue anything() const { return anything_; }
    void setAnything(KSValue v) { anything_ = std::move(v); }

    // Writes title, effort, flag, count, start and anything (as data), in this order.
    bool writeContentsXML(BKXMLDocument& document, KSBaseObject*, KSError*) override;
    bool readContentsXML(BKXMLCursor& cursor, KSBaseObject*, KSError*) override;

    int titleSetCount = 0;

private:
    std::string title_;
    double effort_ = 0.0;
    bool flag_ = false;
    int count_ = 0;
    TestDateTime start_;
    KSValue anything_;
};

}  // namespace kestrum
