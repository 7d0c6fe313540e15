// Small keyed classes for the core's tests: an item with attributes of every kind, a
// subclass that adds and overrides keys, and an observer that records what it is told.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Platform/core/KSBaseObject.h"

namespace kestrum::testing {

enum class KSTestKind { Plain = 0, Milestone = 1, Group = 2 };

// An item whose setters send will/did-change like the model's setters.
class KSTestItem : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    const std::string& title() const { return title_; }
    void setTitle(const std::string& title) {
        change("title", [&] { title_ = title; });
    }
    int count() const { return count_; }
    void setCount(int count) {
        change("count", [&] { count_ = count; });
    }
    double effort() const { return effort_; }
    void setEffort(double effort) {
        change("effort", [&] { effort_ = effort; });
    }
    bool isDone() const { return done_; }
    void setIsDone(bool done) {
        change("isDone", [&] { done_ = done; });
    }
    KSDate due() const { return due_; }
    void setDue(KSDate due) {
        change("due", [&] { due_ = due; });
    }
    KSTestKind kind() const { return kind_; }
    void setKind(KSTestKind kind) {
        change("kind", [&] { kind_ = kind; });
    }
    const std::string& notes() const { return notes_; }
    void setNotes(const std::string& notes) {
        change("notes", [&] { notes_ = notes; });
    }
    // Derived: depends on "notes".
    bool hasNote() const { return !notes_.empty(); }
    // Derived from a derived key: depends on "hasNote".
    std::string noteBadge() const { return hasNote() ? "N" : ""; }
    std::shared_ptr<KSTestItem> parent() const { return parent_; }
    void setParent(std::shared_ptr<KSTestItem> parent) {
        change("parent", [&] { parent_ = std::move(parent); });
    }

    // Will/did-change calls seen by the overridable hooks, in order ("will:title").
    std::vector<std::string> hookCalls;
    void willChangeValueForKey(std::string_view key) override {
        hookCalls.push_back("will:" + std::string(key));
        KSBaseObject::willChangeValueForKey(key);
    }
    void didChangeValueForKey(std::string_view key) override {
        hookCalls.push_back("did:" + std::string(key));
        KSBaseObject::didChangeValueForKey(key);
    }

private:
    template <class F>
    void change(const char* key, F&& store) {
        willChangeValueForKey(key);
        store();
        didChangeValueForKey(key);
    }

    std::string title_;
    int count_ = 0;
    double effort_ = 28800.0;
    bool done_ = false;
    KSDate due_{};
    KSTestKind kind_ = KSTestKind::Plain;
    std::string notes_;
    std::shared_ptr<KSTestItem> parent_;
};

// Adds a key, overrides an inherited one and answers undefined keys from a dictionary.
class KSTestSubItem : public KSTestItem {
    KS_DECLARE_CLASS()
public:
    const std::string& code() const { return code_; }
    void setCode(const std::string& code) { code_ = code; }

    KSDictionary extras;
    std::vector<std::string> nilKeys;
    KSValue valueForUndefinedKey(std::string_view key) const override {
        return extras.objectForKey(key);
    }
    void setValueForUndefinedKey(const KSValue& value, std::string_view key) override {
        if (!value.isString()) return KSBaseObject::setValueForUndefinedKey(value, key);
        extras.setObjectForKey(key, value);
    }
    void setNilValueForKey(std::string_view key) override { nilKeys.emplace_back(key); }

private:
    std::string code_;
};

// A class whose table is made by the plain constructor, inheriting everything.
class KSTestPlainSubItem : public KSTestItem {
    KS_DECLARE_CLASS()
};

// Records each observation as "key:kind:prior:old->new".
class KSTestObserver : public KSBaseObject {
public:
    struct Seen {
        std::string keyPath;
        KSBaseObject* object;
        KSKeyValueChange change;
        const void* context;
    };
    std::vector<Seen> seen;
    std::function<void(const Seen&)> onObserve;

    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath, KSBaseObject* object,
                                                     const KSKeyValueChange& change,
                                                     const void* context) override {
        seen.push_back(Seen{std::string(keyPath), object, change, context});
        if (onObserve) onObserve(seen.back());
    }
    // "key" or "prior:key" per notification, in order.
    std::vector<std::string> summary() const {
        std::vector<std::string> out;
        for (const auto& s : seen)
            out.push_back((s.change.isPrior ? "prior:" : "") + s.keyPath);
        return out;
    }
};

}  // namespace kestrum::testing
