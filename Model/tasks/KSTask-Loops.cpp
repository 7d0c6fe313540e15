// KSTask: finding dependency loops, and turning links off and on around them.
//
// Each task stands for two nodes, its start and its end. What must be finished before
// what: a task's end waits for each child's end and for its own start; a task's start
// waits for each active prerequisite's end (whatever the kind) and for its parent's
// start. A depth-first search marks nodes 0 (unvisited), 1 (on the path) and 2
// (finished); reaching a node marked 1 is a loop. The search walks back along the
// traversal links that each node keeps (how it was entered) to gather the links of the
// loop, and turns the first of them off with a loop error on its dependent.
//
// The search keeps its own work list of frames, so a chain of thousands of links costs
// no stack; it visits nodes in the order a recursive search would.
#include <algorithm>

#include "Model/engine/KSDependencyLoopError.h"
#include "Model/project/KSScenario.h"
#include "Model/tasks/KSDependency.h"
#include "Model/tasks/KSTask.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum {

struct KSTask::LoopHit {
    // The link through which the marked node was reached, if any.
    KSDependency* dependency = nullptr;
    // The node the search stood on when it reached it.
    KSTask* task = nullptr;
    bool inStartNode = false;
};

namespace {

// The number of the present search; marks of an older one read as clear.
thread_local std::uint32_t tLoopSearchNumber = 1;

struct SearchFrame {
    KSTask* task;
    bool startNode;
    bool finishing;
    std::size_t index;
};

}  // namespace

// --- Marks --------------------------------------------------------------------------------------

void KSTask::_refreshLoopMarks() {
    if (loopSearchNumber_ == tLoopSearchNumber) return;
    loopSearchNumber_ = tLoopSearchNumber;
    flags_.startMark = 0;
    flags_.endMark = 0;
    nonretainedStartTraversal_ = nullptr;
    nonretainedEndTraversal_ = nullptr;
}

int KSTask::_dfsStatusStartNode() const {
    return loopSearchNumber_ == tLoopSearchNumber ? static_cast<int>(flags_.startMark) : 0;
}

int KSTask::_dfsStatusEndNode() const {
    return loopSearchNumber_ == tLoopSearchNumber ? static_cast<int>(flags_.endMark) : 0;
}

void KSTask::_unmarkRecursively() {
    ++tLoopSearchNumber;
    _refreshLoopMarks();
}

void KSTask::_enterStartNode(KSTask* enteringTask) {
    _refreshLoopMarks();
    flags_.startMark = 1;
    nonretainedStartTraversal_ = enteringTask;
}

void KSTask::_enterEndNode(KSDependency* dependency) {
    _refreshLoopMarks();
    flags_.endMark = 1;
    nonretainedEndTraversal_ = dependency;
}

// --- The search
// -----------------------------------------------------------------------------------

bool KSTask::_dfsVisitStartFromAbortOnLoop(KSTask* enteringTask, KSDependency** loopDependency) {
    LoopHit hit;
    bool found = _dfsRun(true, enteringTask, nullptr, loopDependency != nullptr, &hit);
    if (found && loopDependency) *loopDependency = hit.dependency;
    return found;
}

bool KSTask::_dfsVisitEndFromAbortOnLoop(KSDependency* dependency, KSDependency** loopDependency) {
    LoopHit hit;
    bool found = _dfsRun(false, nullptr, dependency, loopDependency != nullptr, &hit);
    if (found && loopDependency) *loopDependency = hit.dependency;
    return found;
}

bool KSTask::_dfsRun(bool startNode, KSTask* enteringTask, KSDependency* dependency,
                     bool abortOnLoop, LoopHit* hit) {
    thread_local std::vector<SearchFrame> frames;
    const std::size_t base = frames.size();
    auto enterStart = [](KSTask* task, KSTask* entering) {
        task->_enterStartNode(entering);
        frames.push_back(SearchFrame{task, true, false, task->prerequisites_.size()});
    };
    auto enterEnd = [](KSTask* task, KSDependency* link) {
        task->_enterEndNode(link);
        frames.push_back(SearchFrame{task, false, false, task->countOfChildren()});
    };
    // Answers true for a loop: with abortOnLoop the node reached is noted and the search
    // stops; otherwise the loop is broken where it was found.
    auto loopAt = [&](KSTask* task, bool inStartNode, KSDependency* link, bool toStart,
                      KSTask* target) {
        if (abortOnLoop) {
            if (hit) *hit = LoopHit{link, task, inStartNode};
        } else {
            task->_foundLoopToStartOfTaskWithDependencyInStartNode(toStart, target, link,
                                                                   inStartNode);
        }
    };
    if (startNode) {
        enterStart(this, enteringTask);
    } else {
        enterEnd(this, dependency);
    }
    bool found = false;
    while (!found && frames.size() > base) {
        SearchFrame& frame = frames.back();
        KSTask* task = frame.task;
        if (frame.finishing) {
            if (frame.startNode) {
                task->flags_.startMark = 2;
            } else {
                task->flags_.endMark = 2;
            }
            frames.pop_back();
            continue;
        }
        if (!frame.startNode) {
            // An end node: the children's ends from the last to the first, then its start.
            if (frame.index > 0) {
                auto* child = static_cast<KSTask*>((*task->children())[--frame.index].get());
                int mark = child->_dfsStatusEndNode();
                if (mark == 0) {
                    enterEnd(child, nullptr);
                } else if (mark == 1) {
                    loopAt(task, false, nullptr, false, child);
                    found = true;
                }
                continue;
            }
            frame.finishing = true;
            int mark = task->_dfsStatusStartNode();
            if (mark == 1) {
                loopAt(task, false, nullptr, true, task);
                found = true;
            } else if (mark == 0) {
                enterStart(task, task);
            }
            continue;
        }
        // A start node: the active prerequisites from the last to the first, then the
        // parent's start.
        if (frame.index > 0) {
            KSDependency* link = task->prerequisites_[--frame.index].get();
            KSTask* before = link->prerequisite();
            if (!link->isActive() || !before) continue;
            int mark = before->_dfsStatusEndNode();
            if (mark == 0) {
                enterEnd(before, link);
            } else if (mark == 1) {
                loopAt(task, true, link, false, before);
                // A loop broken at a link lets the search go on with the next link.
                found = abortOnLoop;
            }
            continue;
        }
        frame.finishing = true;
        if (KSTask* p = task->parentTask()) {
            int mark = p->_dfsStatusStartNode();
            if (mark == 1) {
                loopAt(task, true, nullptr, true, p);
                found = true;
            } else if (mark == 0) {
                enterStart(p, task);
            }
        }
    }
    frames.resize(base);
    return found;
}

void KSTask::_dfsSearch() {
    // Each pass that finds a loop has turned one link off; a clean pass ends the search.
    // The passes are bounded by the links there are to turn off.
    std::size_t links = 1;
    std::vector<const KSTask*> pending{this};
    while (!pending.empty()) {
        const KSTask* task = pending.back();
        pending.pop_back();
        links += task->prerequisites_.size();
        if (task->children()) {
            for (const auto& child : *task->children())
                pending.push_back(static_cast<const KSTask*>(child.get()));
        }
    }
    for (std::size_t pass = 0; pass <= links; ++pass) {
        _unmarkRecursively();
        if (!_dfsRun(false, nullptr, nullptr, false, nullptr)) return;
    }
}

// --- Walking a loop back ------------------------------------------------------------------------

void KSTask::_followLoopBack(KSTask* node, bool inStartNode, bool toStart, KSTask* target,
                             KSDependencyList& links) {
    // Traversal links lead back along the search's path to its first node; the bound is a
    // safeguard against links left by a search that did not run to that path.
    for (std::size_t steps = 0; node && steps < (1u << 26); ++steps) {
        if (inStartNode) {
            if (toStart && node == target) return;
            KSTask* entering =
                node->_dfsStatusStartNode() ? node->nonretainedStartTraversal_ : nullptr;
            if (!entering) return;
            if (entering == node) {
                inStartNode = false;
            } else {
                node = entering;
            }
        } else {
            if (!toStart && node == target) return;
            KSDependency* link =
                node->_dfsStatusEndNode() ? node->nonretainedEndTraversal_ : nullptr;
            if (!link) {
                node = node->parentTask();
            } else {
                links.push_back(link->sharedFromThis<KSDependency>());
                node = link->dependent();
                inStartNode = true;
            }
        }
    }
}

void KSTask::_foundLoopToStartOfTaskWithDependencyInStartNode(bool toStart, KSTask* task,
                                                              KSDependency* dependency,
                                                              bool inStartNode) {
    KSDependencyList links;
    if (dependency) links.push_back(dependency->sharedFromThis<KSDependency>());
    _followLoopBack(this, inStartNode, toStart, task, links);
    // A loop through the task tree alone has no link to turn off.
    if (links.empty()) return;
    std::shared_ptr<KSDependency> first = links.front();
    KSDependencyList rest(links.begin() + 1, links.end());
    if (KSTask* dependent = first->dependent())
        dependent->_deactivatePrerequisiteInLoop(first, &rest);
}

void KSTask::_startFollowLoopBackToStartOfTaskForDependencies(bool toStart, KSTask* task,
                                                              KSDependencyList& dependencies) {
    _followLoopBack(this, true, toStart, task, dependencies);
}

void KSTask::_endFollowLoopBackToStartOfTaskForDependencies(bool toStart, KSTask* task,
                                                            KSDependencyList& dependencies) {
    _followLoopBack(this, false, toStart, task, dependencies);
}

// --- Would a new link close a loop? -------------------------------------------------------------

bool KSTask::_dependencyWouldCauseDependencyLoop(const KSDependency& link, KSDependencyList* loop) {
    KSScenario* owner = scenario();
    if (owner && owner->shortcircuitDependencyLoopTesting()) return false;
    KSTask* before = link.prerequisite();
    if (!before) return false;
    _unmarkRecursively();
    // The search stands on this task already: reaching either of its nodes is the loop.
    _refreshLoopMarks();
    flags_.startMark = 1;
    flags_.endMark = 1;
    LoopHit hit;
    bool found = before->_dfsRun(false, nullptr, const_cast<KSDependency*>(&link), true, &hit);
    if (!found || !loop) return found;
    if (hit.dependency) loop->push_back(hit.dependency->sharedFromThis<KSDependency>());
    // The rest of the loop lies on the search's path: from where it stood when it came
    // back to this task, back to the prerequisite's end where it began. (This task's own
    // nodes were marked, not entered, so no traversal link leads out of them.)
    _followLoopBack(hit.task, hit.inStartNode, false, before, *loop);
    return true;
}

// --- Turning links off and on
// ---------------------------------------------------------------------

void KSTask::_deactivatePrerequisiteInLoop(const std::shared_ptr<KSDependency>& link,
                                           const KSDependencyList* loop) {
    if (!link) return;
    if (link->isActive()) {
        std::optional<KSDependencyList> kept;
        if (loop) kept = *loop;
        registerUndo<KSTask>([link, kept](KSTask& t) {
            t._reactivatePrerequisiteInLoop(link, kept ? &*kept : nullptr);
        });
        link->setIsActive(false);
        KSDependencyLoopError::issueForDependencyInLoop(link, loop);
    } else if (!_loopIssueForDependency(*link)) {
        KSDependencyLoopError::issueForDependencyInLoop(link, loop);
    }
}

void KSTask::_reactivatePrerequisiteInLoop(const std::shared_ptr<KSDependency>& link,
                                           const KSDependencyList* loop) {
    if (!link || link->isActive()) return;
    if (!wouldBeAllowedPrerequisite(link->prerequisite()) ||
        _dependencyWouldCauseDependencyLoop(*link, nullptr))
        return;
    std::shared_ptr<KSDependencyLoopError> issue = _loopIssueForDependency(*link);
    std::optional<KSDependencyList> kept;
    if (loop) {
        kept = *loop;
    } else if (issue && issue->loop()) {
        kept = *issue->loop();
    }
    registerUndo<KSTask>([link, kept](KSTask& t) {
        t._deactivatePrerequisiteInLoop(link, kept ? &*kept : nullptr);
    });
    link->setIsActive(true);
    _removeLoopIssueForDependency(*link);
}

std::shared_ptr<KSDependencyLoopError> KSTask::_loopIssueForDependency(
    const KSDependency& link) const {
    for (std::size_t i = issues_.size(); i-- > 0;) {
        auto error = std::dynamic_pointer_cast<KSDependencyLoopError>(issues_[i]);
        if (error && error->dependency().get() == &link) return error;
    }
    return nullptr;
}

void KSTask::_removeLoopIssueForDependency(const KSDependency& link) {
    if (auto error = _loopIssueForDependency(link)) removeIssue(error);
}

// --- When the graph changed
// -----------------------------------------------------------------------

void KSTask::_findNewDependencyLoops() {
    KSScenario* owner = scenario();
    if (owner && owner->rootTask()) owner->rootTask()->_dfsSearch();
}

void KSTask::topDownFindDependencyLoops() {
    _findNewDependencyLoops();
}

void KSTask::_findFixedDependencyLoops() {
    KSScenario* owner = scenario();
    if (flags_.isLoading || !owner || owner->isLevelingResources()) return;
    // Without errors no link is off: the running total saves the walk.
    if (owner->errorCount() == 0 || !owner->rootTask()) return;
    owner->rootTask()->_topDownFindFixedDependencyLoops();
}

void KSTask::_topDownFindFixedDependencyLoops() {
    std::vector<KSTask*> pending{this};
    while (!pending.empty()) {
        KSTask* task = pending.back();
        pending.pop_back();
        for (std::size_t i = task->prerequisites_.size(); i-- > 0;) {
            if (i >= task->prerequisites_.size()) continue;
            std::shared_ptr<KSDependency> link = task->prerequisites_[i];
            if (!link->isActive()) task->_reactivatePrerequisiteInLoop(link, nullptr);
        }
        // Children go on the list last first, so that they are visited first to last.
        if (task->children()) {
            for (std::size_t i = task->countOfChildren(); i-- > 0;)
                pending.push_back(static_cast<KSTask*>((*task->children())[i].get()));
        }
    }
}

void KSTask::recheckDependencies() {
    for (std::size_t i = prerequisites_.size(); i-- > 0;) {
        if (i >= prerequisites_.size()) continue;
        std::shared_ptr<KSDependency> link = prerequisites_[i];
        if (!wouldBeAllowedPrerequisite(link->prerequisite()))
            _deactivatePrerequisiteInLoop(link, nullptr);
    }
    for (std::size_t i = dependents_.size(); i-- > 0;) {
        if (i >= dependents_.size()) continue;
        std::shared_ptr<KSDependency> link = dependents_[i];
        KSTask* after = link->dependent();
        if (after && !after->wouldBeAllowedPrerequisite(this))
            after->_deactivatePrerequisiteInLoop(link, nullptr);
    }
    _findNewDependencyLoops();
    KSScenario* owner = scenario();
    if (owner && owner->errorCount() != 0) {
        _findFixedDependencyLoops();
        if (owner->rootTask()) owner->rootTask()->_unmarkRecursively();
    }
}

}  // namespace kestrum
