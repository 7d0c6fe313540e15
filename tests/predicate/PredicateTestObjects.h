// Small keyed objects that the predicate tests evaluate against: a person and a task
// with strings, numbers, a date, a boolean, a nullable note, tags and an owner.
#pragma once

#include <memory>
#include <string>

#include "Platform/core/KSBaseObject.h"

namespace kestrum::test {

class TestPerson : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    explicit TestPerson(std::string name = {}) : name_(std::move(name)) {}
    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }

private:
    std::string name_;
};

class TestTask : public KSBaseObject {
    KS_DECLARE_CLASS()
public:
    const std::string& title() const { return title_; }
    void setTitle(std::string title) { title_ = std::move(title); }
    double effort() const { return effort_; }
    void setEffort(double effort) { effort_ = effort; }
    int priority() const { return priority_; }
    void setPriority(int priority) { priority_ = priority; }
    bool isCompleted() const { return completed_; }
    void setIsCompleted(bool completed) { completed_ = completed; }
    KSDate dueDate() const { return due_; }
    void setDueDate(KSDate due) { due_ = due; }
    // A note that may be absent (null).
    const KSValue& note() const { return note_; }
    void setNote(KSValue note) { note_ = std::move(note); }
    const KSArray& tags() const { return tags_; }
    void setTags(KSArray tags) { tags_ = std::move(tags); }
    const std::shared_ptr<TestPerson>& owner() const { return owner_; }
    void setOwner(std::shared_ptr<TestPerson> owner) { owner_ = std::move(owner); }
    const KSArray& subtasks() const { return subtasks_; }
    void setSubtasks(KSArray subtasks) { subtasks_ = std::move(subtasks); }

private:
    std::string title_;
    double effort_ = 28800.0;
    int priority_ = 500;
    bool completed_ = false;
    KSDate due_;
    KSValue note_;
    KSArray tags_;
    std::shared_ptr<TestPerson> owner_;
    KSArray subtasks_;
};

inline const KSClassInfo& TestPerson::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<TestPerson>(
        "TestPerson", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<TestPerson>& b) {
            b.attribute("name", &TestPerson::name, &TestPerson::setName);
        });
    return info;
}

inline const KSClassInfo& TestTask::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<TestTask>(
        "TestTask", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<TestTask>& b) {
            b.attribute("title", &TestTask::title, &TestTask::setTitle);
            b.attribute("effort", &TestTask::effort, &TestTask::setEffort);
            b.attribute("priority", &TestTask::priority, &TestTask::setPriority);
            b.attribute("isCompleted", &TestTask::isCompleted, &TestTask::setIsCompleted);
            b.attribute("dueDate", &TestTask::dueDate, &TestTask::setDueDate);
            b.attribute("note", &TestTask::note, &TestTask::setNote);
            b.attribute("tags", &TestTask::tags, &TestTask::setTags);
            b.attribute("owner", &TestTask::owner, &TestTask::setOwner);
            b.attribute("subtasks", &TestTask::subtasks, &TestTask::setSubtasks);
        });
    return info;
}

}  // namespace kestrum::test
