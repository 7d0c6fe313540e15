#include "Platform/core/KSUndoManager.h"

#include <algorithm>

#include "Platform/core/KSLog.h"
#include "Platform/core/KSNotificationCenter.h"
#include "Platform/core/KSRunLoop.h"

namespace kestrum {

const KSNotificationName KSUndoManagerDidOpenUndoGroupNotification(
    "KSUndoManagerDidOpenUndoGroupNotification");
const KSNotificationName KSUndoManagerWillCloseUndoGroupNotification(
    "KSUndoManagerWillCloseUndoGroupNotification");
const KSNotificationName KSUndoManagerDidCloseUndoGroupNotification(
    "KSUndoManagerDidCloseUndoGroupNotification");
const KSNotificationName KSUndoManagerCheckpointNotification("KSUndoManagerCheckpointNotification");
const KSNotificationName KSUndoManagerWillUndoChangeNotification(
    "KSUndoManagerWillUndoChangeNotification");
const KSNotificationName KSUndoManagerDidUndoChangeNotification(
    "KSUndoManagerDidUndoChangeNotification");
const KSNotificationName KSUndoManagerWillRedoChangeNotification(
    "KSUndoManagerWillRedoChangeNotification");
const KSNotificationName KSUndoManagerDidRedoChangeNotification(
    "KSUndoManagerDidRedoChangeNotification");

const KSClassInfo& KSUndoManager::staticClassInfo() {
    static const KSClassInfo info = KSClassInfo::make<KSUndoManager>(
        "KSUndoManager", &KSBaseObject::staticClassInfo(), [](KSClassBuilder<KSUndoManager>& b) {
            b.readOnly("canUndo", &KSUndoManager::canUndo);
            b.readOnly("canRedo", &KSUndoManager::canRedo);
            b.readOnly("isUndoing", &KSUndoManager::isUndoing);
            b.readOnly("isRedoing", &KSUndoManager::isRedoing);
            b.readOnly("groupingLevel", &KSUndoManager::groupingLevel);
            b.readOnly("undoActionName", &KSUndoManager::undoActionName);
            b.readOnly("redoActionName", &KSUndoManager::redoActionName);
        });
    return info;
}

bool KSUndoManager::Group::isEmpty() const {
    for (const auto& entry : entries) {
        if (!entry.group || !entry.group->isEmpty()) return false;
    }
    return true;
}

void KSUndoManager::Group::removeTarget(const void* target) {
    entries.erase(std::remove_if(entries.begin(), entries.end(),
                                 [&](Entry& e) {
                                     if (e.group) {
                                         e.group->removeTarget(target);
                                         return e.group->isEmpty();
                                     }
                                     return e.target.get() == target;
                                 }),
                  entries.end());
}

KSUndoManager::KSUndoManager() : loop_(&KSRunLoop::current()) {
    // The event group closes at the end of each pass of this thread's event loop.
    endOfPassToken_ = loop_->addEndOfPassObserver([this] { closeGroupAtEndOfPass(); });
}

KSUndoManager::~KSUndoManager() {
    // A manager destroyed after its thread's loop (one held in a static) has nothing to
    // remove; one destroyed on another thread must not touch that thread's loop.
    if (KSRunLoop::currentIfAlive() == loop_) loop_->removeEndOfPassObserver(endOfPassToken_);
}

void KSUndoManager::post(KSNotificationName name) {
    KSNotificationCenter::defaultCenter().postNotificationName(name, this);
}

std::vector<std::unique_ptr<KSUndoManager::Group>>& KSUndoManager::stackBeingFilled() {
    return state_ == State::Undoing ? redoStack_ : undoStack_;
}

// --- Recording -----------------------------------------------------------------------

void KSUndoManager::registerUndoWithTargetHandler(std::shared_ptr<void> target,
                                                  std::function<void()> action) {
    if (disableCount_ > 0 || !action) return;
    if (openGroups_.empty()) {
        if (!groupsByEvent_) {
            KSLog("KSUndoManager: must begin a group before registering undo");
            return;
        }
        beginUndoGrouping();
        // An observer of the open notification may have disabled registration.
        if (disableCount_ > 0 || openGroups_.empty()) return;
    }
    if (state_ == State::Idle) redoStack_.clear();
    openGroups_.back()->entries.push_back(Entry{std::move(target), std::move(action), nullptr});
}

void KSUndoManager::logNullTarget() {
    KSLog("KSUndoManager: ignoring an undo registration with a null target");
}

void KSUndoManager::removeAllActionsWithTarget(const void* target) {
    for (auto* stack : {&undoStack_, &redoStack_}) {
        for (auto& group : *stack)
            group->removeTarget(target);
        stack->erase(
            std::remove_if(stack->begin(), stack->end(), [](auto& g) { return g->isEmpty(); }),
            stack->end());
    }
    for (auto& group : openGroups_)
        group->removeTarget(target);
}

void KSUndoManager::removeAllActions() {
    undoStack_.clear();
    redoStack_.clear();
    for (auto& group : openGroups_)
        group->entries.clear();
}

// --- Groups --------------------------------------------------------------------------

int KSUndoManager::groupingLevel() const {
    return static_cast<int>(openGroups_.size());
}

void KSUndoManager::setLevelsOfUndo(std::size_t levels) {
    levelsOfUndo_ = levels;
    trimUndoStack();
}

void KSUndoManager::trimUndoStack() {
    if (levelsOfUndo_ == 0) return;
    for (auto* stack : {&undoStack_, &redoStack_}) {
        if (stack->size() > levelsOfUndo_) {
            stack->erase(stack->begin(), stack->begin() + static_cast<std::ptrdiff_t>(
                                                              stack->size() - levelsOfUndo_));
        }
    }
}

void KSUndoManager::openGroup() {
    openGroups_.push_back(std::make_unique<Group>());
    post(KSUndoManagerDidOpenUndoGroupNotification);
}

void KSUndoManager::closeGroup() {
    // Observers of the will-close notification may still record into the group.
    post(KSUndoManagerWillCloseUndoGroupNotification);
    if (openGroups_.empty()) return;
    std::unique_ptr<Group> group = std::move(openGroups_.back());
    openGroups_.pop_back();
    if (!openGroups_.empty()) {
        if (!group->isEmpty()) {
            openGroups_.back()->entries.push_back(Entry{nullptr, nullptr, std::move(group)});
        }
    } else if (!group->isEmpty()) {
        stackBeingFilled().push_back(std::move(group));
        trimUndoStack();
    }
    post(KSUndoManagerDidCloseUndoGroupNotification);
}

void KSUndoManager::beginUndoGrouping() {
    if (openGroups_.empty() && state_ == State::Idle) post(KSUndoManagerCheckpointNotification);
    openGroup();
}

void KSUndoManager::endUndoGrouping() {
    if (openGroups_.empty()) {
        KSLog("KSUndoManager: endUndoGrouping called with no open group");
        return;
    }
    closeGroup();
}

void KSUndoManager::closeGroupAtEndOfPass() {
    if (groupsByEvent_ && openGroups_.size() == 1 && state_ == State::Idle) endUndoGrouping();
}

void KSUndoManager::disableUndoRegistration() {
    ++disableCount_;
}

void KSUndoManager::enableUndoRegistration() {
    if (disableCount_ == 0) {
        KSLog("KSUndoManager: enableUndoRegistration without a matching disable");
        return;
    }
    --disableCount_;
}

// --- Undo and redo -------------------------------------------------------------------

bool KSUndoManager::canUndo() const {
    if (!undoStack_.empty()) return true;
    return openGroups_.size() == 1 && !openGroups_.back()->isEmpty();
}

bool KSUndoManager::canRedo() const {
    return !redoStack_.empty();
}

void KSUndoManager::runGroup(const Group& group) {
    // Last recorded runs first; nested groups unwind the same way.
    for (auto it = group.entries.rbegin(); it != group.entries.rend(); ++it) {
        if (it->group) {
            runGroup(*it->group);
        } else if (it->call) {
            it->call();
        }
    }
}

void KSUndoManager::replayGroup(const Group& group, State state) {
    // The calls record their inverse into a new group on the other stack.
    state_ = state;
    openGroup();
    try {
        runGroup(group);
    } catch (...) {
        // A call that throws leaves the document half reverted: the half-recorded inverse
        // is dropped and the manager is usable again.
        openGroups_.clear();
        state_ = State::Idle;
        throw;
    }
    // The inverse carries the name of the group it reverses.
    if (!openGroups_.empty() && !group.actionName.empty()) {
        openGroups_.front()->actionName = group.actionName;
    }
    while (!openGroups_.empty())
        closeGroup();
    state_ = State::Idle;
}

void KSUndoManager::undo() {
    if (groupsByEvent_ && openGroups_.size() == 1) endUndoGrouping();
    undoNestedGroup();
}

void KSUndoManager::undoNestedGroup() {
    if (!openGroups_.empty()) {
        KSLog("KSUndoManager: undo was called with %d open undo groups", groupingLevel());
        return;
    }
    if (undoStack_.empty() || state_ != State::Idle) return;
    post(KSUndoManagerCheckpointNotification);
    post(KSUndoManagerWillUndoChangeNotification);
    std::unique_ptr<Group> group = std::move(undoStack_.back());
    undoStack_.pop_back();
    replayGroup(*group, State::Undoing);
    post(KSUndoManagerDidUndoChangeNotification);
}

void KSUndoManager::redo() {
    if (!openGroups_.empty()) {
        if (groupsByEvent_ && openGroups_.size() == 1 && openGroups_.back()->isEmpty()) {
            endUndoGrouping();
        } else {
            KSLog("KSUndoManager: redo was called with %d open undo groups", groupingLevel());
            return;
        }
    }
    if (redoStack_.empty() || state_ != State::Idle) return;
    post(KSUndoManagerCheckpointNotification);
    post(KSUndoManagerWillRedoChangeNotification);
    std::unique_ptr<Group> group = std::move(redoStack_.back());
    redoStack_.pop_back();
    replayGroup(*group, State::Redoing);
    post(KSUndoManagerDidRedoChangeNotification);
}

// --- Action names --------------------------------------------------------------------

void KSUndoManager::setActionName(const std::string& name) {
    if (!openGroups_.empty()) {
        openGroups_.front()->actionName = name;
        return;
    }
    auto& stack = stackBeingFilled();
    if (!stack.empty()) stack.back()->actionName = name;
}

std::string KSUndoManager::undoActionName() const {
    if (openGroups_.size() == 1 && state_ == State::Idle && !openGroups_.back()->isEmpty()) {
        return openGroups_.back()->actionName;
    }
    return undoStack_.empty() ? std::string() : undoStack_.back()->actionName;
}

std::string KSUndoManager::redoActionName() const {
    return redoStack_.empty() ? std::string() : redoStack_.back()->actionName;
}

std::size_t KSUndoManager::undoCount() const {
    return undoStack_.size();
}
std::size_t KSUndoManager::redoCount() const {
    return redoStack_.size();
}

}  // namespace kestrum
