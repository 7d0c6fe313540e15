// One mechanism for the undoable setters of model objects.
//
// Every undoable setter runs the same steps in the same order:
//   1. a value equal to the current one (by the equality policy) changes nothing;
//   2. the undo manager records a call that sets the old value back;
//   3. the open undo group is named (by the naming policy);
//   4. observers hear that the key will change;
//   5. the `before` step runs (a neighbour told that a value it reads will change);
//   6. the value is stored;
//   7. the `after` step runs (the invalidations that the change sends);
//   8. observers hear that the key did change.
// A setter says which of the optional steps it takes where it is written:
//
//   KSUndoableSetter(*this, undoManager())
//       .key("leadTime")
//       .action("Dependency Lead Time")
//       .after([&] { dependent->prerequisiteDidChange(*this); })
//       .set(leadTime_, leadTime, &KSDependency::setLeadTime);
//
// Nothing allocates unless an undo manager records. The steps hold references to the
// lambdas given, which live until the end of the full expression that calls set().
#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Platform/core/KSBaseObject.h"
#include "Platform/core/KSLocalization.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

// Records `action` (called with the object as `Self&`) on `undo` against `self`. Nothing is
// recorded without a manager or for an object that no shared_ptr holds.
template <class Self, class F>
void KSRegisterUndo(KSUndoManager* undo, Self& self, F&& action) {
    if (!undo) return;
    std::shared_ptr<KSBaseObject> held = self.weak_from_this().lock();
    if (!held) return;
    undo->registerUndoWithTarget(std::static_pointer_cast<Self>(held), std::forward<F>(action));
}

// How a setter tells that the new value is the current one.
enum class KSSetterEquality {
    Equal,       // operator==
    Identical,   // isIdenticalTo: a date equals only the same date, null only null
    SameMoment,  // isEqualToDate: a date equals the same moment; null equals nothing
    Never,       // every set is recorded and announced
};

// When a setter names the open undo group.
enum class KSActionNaming {
    Always,
    InsideGroup,  // only while a group is open (a set outside any group names nothing)
    Outermost,    // only in the first group level, not as a step of a larger action
};

// A non-owning reference to a callable taking no arguments.
class KSStepRef {
public:
    KSStepRef() = default;
    template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, KSStepRef>)
        KSStepRef(F&& f)  // NOLINT: implicit on purpose, from a lambda at the call site
        : object_(const_cast<void*>(static_cast<const void*>(std::addressof(f)))),
          call_([](void* o) { (*static_cast<std::remove_reference_t<F>*>(o))(); }) {}
    void operator()() const {
        if (call_) call_(object_);
    }

private:
    void* object_ = nullptr;
    void (*call_)(void*) = nullptr;
};

template <class Self>
class KSUndoableSetter {
public:
    KSUndoableSetter(Self& self, KSUndoManager* undo) : self_(self), undo_(undo) {}

    // The key that observers hear around the store; none when not given.
    KSUndoableSetter& key(std::string_view key) {
        key_ = key;
        return *this;
    }
    // The English name of the action, localized when it names the undo group.
    KSUndoableSetter& action(std::string_view englishName,
                             KSActionNaming naming = KSActionNaming::Always) {
        action_ = englishName;
        naming_ = naming;
        return *this;
    }
    KSUndoableSetter& comparedBy(KSSetterEquality equality) {
        equality_ = equality;
        return *this;
    }
    KSUndoableSetter& before(KSStepRef step) {
        before_ = step;
        return *this;
    }
    KSUndoableSetter& after(KSStepRef step) {
        after_ = step;
        return *this;
    }

    // Stores `value` in `field`; undo calls `undoSetter` (a member function or a callable
    // taking `Self&` and the value) with the old value. False when nothing changed.
    template <class V, class Setter>
    bool set(V& field, const V& value, Setter undoSetter) {
        return setWith(
            field, value, [&field](const V& v) { field = v; }, undoSetter);
    }

    // The same for a value stored by `store` (a bit field, a derived form), whose current
    // value is `current`.
    template <class V, class Store, class Setter>
    bool setWith(const V& current, const V& value, Store&& store, Setter undoSetter) {
        if (isSame(current, value)) return false;
        KSRegisterUndo(undo_, self_, [old = V(current), undoSetter](Self& self) {
            std::invoke(undoSetter, self, old);
        });
        nameAction();
        if (!key_.empty()) self_.willChangeValueForKey(key_);
        before_();
        store(value);
        after_();
        if (!key_.empty()) self_.didChangeValueForKey(key_);
        return true;
    }

private:
    template <class V>
    bool isSame(const V& current, const V& value) const {
        switch (equality_) {
            case KSSetterEquality::Never:
                return false;
            case KSSetterEquality::Identical:
                if constexpr (requires { current.isIdenticalTo(value); })
                    return current.isIdenticalTo(value);
                else
                    return current == value;
            case KSSetterEquality::SameMoment:
                if constexpr (requires { current.isEqualToDate(value); })
                    return current.isEqualToDate(value);
                else
                    return current == value;
            case KSSetterEquality::Equal:
                break;
        }
        return current == value;
    }

    void nameAction() const {
        if (!undo_ || action_.empty()) return;
        const int level = undo_->groupingLevel();
        if (naming_ == KSActionNaming::InsideGroup && level == 0) return;
        if (naming_ == KSActionNaming::Outermost && level != 1) return;
        undo_->setActionName(KSLocalizedString(action_));
    }

    Self& self_;
    KSUndoManager* undo_;
    std::string_view key_;
    std::string_view action_;
    KSActionNaming naming_ = KSActionNaming::Always;
    KSSetterEquality equality_ = KSSetterEquality::Equal;
    KSStepRef before_;
    KSStepRef after_;
};

}  // namespace kestrum
