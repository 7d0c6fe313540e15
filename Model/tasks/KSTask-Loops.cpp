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
//
// Searches that cannot find anything are skipped, so that building a plan stays linear.
//
// What is known. The top of a tree (a plan's root, or a task outside any tree) may hold a
// note: no active loop can be reached from its end node. A note is valid while the
// unchecked count has not moved since it was written. The count goes up whenever an edge
// may have come in without a check: a link turned on directly or by key, a link added
// while loading, a change of the tree that cannot be proven harmless. Notes are written
// by a clean pass of the whole-plan search (for the root), when a task is made (its end
// reaches nothing), and when a task leaves a tree whose top holds a valid note (what its
// end reaches, that top reached too, and leaving only takes edges away).
//
// Why valid notes stay true:
//   - a link that passed its check closes no loop: a new loop would run through it, from
//     the prerequisite's end to the dependent, which is what the check looks for. What
//     it makes reachable is what the prerequisite's end reaches, and that holds no loop:
//     the depth-first check went through all of it, or the prerequisite lies in a tree
//     whose top holds a valid note;
//   - taking links out, turning them off and taking tasks out of a tree remove edges;
//   - a task joining a parent is proven harmless (_joiningMayCloseLoop) or counted.
//
// What is skipped:
//   - the whole-plan search of a recheck, when the root holds a valid note: that search
//     finds a loop only among what the root's end reaches (recheckDependencies);
//   - the depth-first check of a link, when the prerequisite's tree holds a valid note
//     and a probe finds no path from the prerequisite's end to the dependent: the check
//     answers true for such a path or for a loop met on the way, and there is none to
//     meet (_dependencyWouldCauseDependencyLoop);
//   - the walk that tries to turn inactive links back on, when no change since the last
//     whole walk can have let one back on (_findFixedDependencyLoops).
//
// While a task's parent is set, its start already leads to the parent's start, but the
// parent's list takes it only after the recheck. The probes follow that edge backwards
// too, and the task's subtree, out of the root's reach for that moment, is not taken as
// covered by the root's note.
#include <algorithm>
#include <atomic>
#include <utility>

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

// The edges that came into force without a loop check; see the top of this file. Plans
// on other threads share it: a count too high only costs them a full search.
std::atomic<std::uint64_t> gUncheckedGeneration{1};

// The changes that may let an inactive link back on: a link taken out or turned off, a
// task leaving its parent, chunks that are no more, a tree joining with links turned off.
std::atomic<std::uint64_t> gFreeingGeneration{1};

std::atomic<bool> gLoopSearchShortcuts{true};

struct SearchFrame {
    KSTask* task;
    bool startNode;
    bool finishing;
    std::size_t index;
};

}  // namespace

// --- Probes ----------------------------------------------------------------------------------

// Visit bits of the probes, kept on the tasks with the number of the probe that set them:
// a probe allocates nothing per node (its work lists are kept from one probe to the next)
// and clears nothing when it ends.
struct KSTask::LoopProbe {
    struct Node {
        KSTask* task;
        bool end;
    };
    struct Workspace {
        std::uint32_t number = 0;
        // The task whose parent is being set: its start already leads to the parent's
        // start, while the parent's list takes it only after the recheck (see _setParent).
        KSTask* joining = nullptr;
        std::vector<Node> forward;
        std::vector<Node> backward;
        std::vector<KSTask*> tasks;
    };
    enum Bit : std::uint8_t {
        kForwardStart = 1,
        kForwardEnd = 2,
        kBackwardStart = 4,
        kBackwardEnd = 8,
        kInside = 16,
    };

    LoopProbe() : w_(workspace()) {
        if (++w_.number == 0) w_.number = 1;
    }

    // Whether a path of the search's edges leads from the end node of `from` to either
    // node of `to`. One side follows the edges forward from `from`, the other backward
    // from `to`; the side that has done less work takes the next step, and the answer is
    // no as soon as either side has nowhere left to go. So the probe costs about twice
    // the smaller of the two sides: little for a link at the end of a long chain, whichever
    // way the chain was built.
    bool endLeadsToTask(KSTask* from, KSTask* to) {
        w_.forward.clear();
        w_.backward.clear();
        reach(to, false, false);
        reach(to, true, false);
        if (reach(from, true, true)) return true;
        while (!w_.forward.empty() && !w_.backward.empty()) {
            const bool forward = forwardWork_ <= backwardWork_;
            std::vector<Node>& pending = forward ? w_.forward : w_.backward;
            const Node node = pending.back();
            pending.pop_back();
            if (forward ? expandForward(node) : expandBackward(node)) return true;
        }
        return false;
    }

    // Gathers the subtree of `top`, each task marked inside, and notes whether an active
    // link, or an inactive one, has an end in it.
    void gatherSubtree(KSTask* top, bool& active, bool& inactive) {
        std::vector<KSTask*>& tasks = w_.tasks;
        tasks.clear();
        tasks.push_back(top);
        active = inactive = false;
        for (std::size_t i = 0; i < tasks.size(); ++i) {
            KSTask* task = tasks[i];
            bits(task) |= kInside;
            for (const auto* list : {&task->prerequisites_, &task->dependents_}) {
                for (const auto& link : *list) {
                    const bool edge = isActiveEdge(*link);
                    active = active || edge;
                    inactive = inactive || !edge;
                }
            }
            if (task->children()) {
                for (const auto& child : *task->children())
                    tasks.push_back(static_cast<KSTask*>(child.get()));
            }
        }
    }

    // After gatherSubtree: whether an active link joins a task of the subtree to one
    // outside it.
    bool subtreeHasCrossingLink() {
        for (KSTask* task : w_.tasks) {
            for (const auto& link : task->prerequisites_) {
                if (isActiveEdge(*link) && !(bits(link->prerequisite()) & kInside)) return true;
            }
            for (const auto& link : task->dependents_) {
                if (isActiveEdge(*link) && !(bits(link->dependent()) & kInside)) return true;
            }
        }
        return false;
    }

    static Workspace& workspace() {
        thread_local Workspace w;
        return w;
    }

private:
    static bool isActiveEdge(const KSDependency& link) {
        return link.isActive() && link.prerequisite() && link.dependent();
    }

    std::uint8_t& bits(KSTask* task) {
        if (task->loopProbeNumber_ != w_.number) {
            task->loopProbeNumber_ = w_.number;
            task->loopProbeBits_ = 0;
        }
        return task->loopProbeBits_;
    }

    // Marks a node for one side and puts it on that side's list; true when the other
    // side has been there: then a path joins the two.
    bool reach(KSTask* task, bool end, bool forward) {
        const std::uint8_t forwardBit = end ? kForwardEnd : kForwardStart;
        const std::uint8_t backwardBit = end ? kBackwardEnd : kBackwardStart;
        std::uint8_t& b = bits(task);
        ++(forward ? forwardWork_ : backwardWork_);
        if (b & (forward ? backwardBit : forwardBit)) return true;
        const std::uint8_t mine = forward ? forwardBit : backwardBit;
        if (!(b & mine)) {
            b |= mine;
            (forward ? w_.forward : w_.backward).push_back(Node{task, end});
        }
        return false;
    }

    // The edges out of a node (what it waits for), as the depth-first search follows them.
    bool expandForward(const Node& node) {
        KSTask* task = node.task;
        ++forwardWork_;
        if (node.end) {
            if (task->children()) {
                for (const auto& child : *task->children()) {
                    if (reach(static_cast<KSTask*>(child.get()), true, true)) return true;
                }
            }
            return reach(task, false, true);
        }
        for (const auto& link : task->prerequisites_) {
            if (isActiveEdge(*link) && reach(link->prerequisite(), true, true)) return true;
        }
        KSTask* up = task->parentTask();
        return up && reach(up, false, true);
    }

    // The edges into a node (what waits for it). The dependents lists hold the same links
    // as the prerequisites lists: instantiate and remove change both.
    bool expandBackward(const Node& node) {
        KSTask* task = node.task;
        ++backwardWork_;
        if (node.end) {
            if (KSTask* up = task->parentTask(); up && reach(up, true, false)) return true;
            for (const auto& link : task->dependents_) {
                if (isActiveEdge(*link) && reach(link->dependent(), false, false)) return true;
            }
            return false;
        }
        if (reach(task, true, false)) return true;
        if (task->children()) {
            for (const auto& child : *task->children()) {
                if (reach(static_cast<KSTask*>(child.get()), false, false)) return true;
            }
        }
        KSTask* joining = w_.joining;
        return joining && joining->parentTask() == task && reach(joining, false, false);
    }

    Workspace& w_;
    std::size_t forwardWork_ = 0;
    std::size_t backwardWork_ = 0;
};

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
    const std::uint64_t generation = _uncheckedLoopGeneration();
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
        if (!_dfsRun(false, nullptr, nullptr, false, nullptr)) {
            // A clean pass from the top of a tree visited all it reaches.
            if (!parent()) loopFreeGeneration_ = generation;
            return;
        }
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
    if (owner && owner->shortcircuitDependencyLoopTesting()) {
        loopCheckWasBypassed();
        return false;
    }
    KSTask* before = link.prerequisite();
    if (!before) return false;
    // The depth-first check answers true for a path from the prerequisite's end to this
    // task, or for any loop it meets on the way. Where the prerequisite's tree reaches no
    // loop, only the path can make it answer true, and the probe looks for that alone.
    if (loopSearchShortcuts() && before->_treeReachesNoLoop() &&
        !LoopProbe().endLeadsToTask(before, this))
        return false;
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
    link->setIsActive(true, KSLoopCheckedKey());
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
    KSTask* root = owner->rootTask().get();
    // After a whole walk no inactive link of the tree can come back on: one refused is
    // not allowed or its check finds a path or a loop, and the links turned on later in
    // the walk only add edges. That lasts until a change that may free one (see
    // inactiveLinksMayComeBack): adding edges or links that close loops frees none, and
    // joining a parent only takes allowed links away. Until then a walk would turn
    // nothing on, and is skipped. (A walk made while a task joins its parent does not
    // reach that task yet, and proves nothing.)
    const std::uint64_t generation = gFreeingGeneration.load(std::memory_order_relaxed);
    if (loopSearchShortcuts() && root->linksSettledGeneration_ == generation) return;
    root->_topDownFindFixedDependencyLoops();
    if (gFreeingGeneration.load(std::memory_order_relaxed) == generation &&
        !LoopProbe::workspace().joining)
        root->linksSettledGeneration_ = generation;
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
    // The whole-plan search starts at the root's end and finds a loop only among what
    // that end reaches. A valid note on the root says that no loop is there (see the top
    // of this file): the search would find nothing, and is skipped.
    KSScenario* owner = scenario();
    KSTask* root = owner ? owner->rootTask().get() : nullptr;
    if (!(loopSearchShortcuts() && root && root->_reachesNoLoop())) _findNewDependencyLoops();
    if (owner && owner->errorCount() != 0) {
        _findFixedDependencyLoops();
        if (owner->rootTask()) owner->rootTask()->_unmarkRecursively();
    }
}

// --- Knowing where no loop can be ----------------------------------------------------------

void KSTask::loopCheckWasBypassed() {
    gUncheckedGeneration.fetch_add(1, std::memory_order_relaxed);
}

void KSTask::inactiveLinksMayComeBack() {
    gFreeingGeneration.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t KSTask::_linksSettledGenerationNow() {
    return gFreeingGeneration.load(std::memory_order_relaxed);
}

std::uint64_t KSTask::_uncheckedLoopGeneration() {
    return gUncheckedGeneration.load(std::memory_order_relaxed);
}

bool KSTask::loopSearchShortcuts() {
    return gLoopSearchShortcuts.load(std::memory_order_relaxed);
}

void KSTask::setLoopSearchShortcuts(bool enabled) {
    gLoopSearchShortcuts.store(enabled, std::memory_order_relaxed);
}

bool KSTask::_treeReachesNoLoop() {
    // A task whose parent is being set does not stand in the parent's list yet: what lies
    // below it cannot be reached from the root's end, and is not taken as known.
    const KSTask* joining = LoopProbe::workspace().joining;
    KSTask* task = this;
    while (KSTask* up = task->parentTask()) {
        if (task == joining) return false;
        task = up;
    }
    return task->_reachesNoLoop();
}

bool KSTask::_reachesNoLoop() const {
    return loopFreeGeneration_ != 0 && loopFreeGeneration_ == _uncheckedLoopGeneration();
}

std::uint8_t KSTask::_joiningRisk() {
    // This task, c, joins a parent, p: the edges p.end -> c.end and c.start -> p.start
    // come in. It is proven that no tree known to reach no loop comes to reach one when c
    // is the top of its tree, no active link crosses the boundary of c's subtree, and c's
    // subtree holds no loop: either no active link has an end in it (inside, ends lead
    // only down and starts only up), or c is known to reach no loop.
    //
    // Then the only way into the subtree is p.end -> c.end and the only way out c.start ->
    // p.start. A new loop must use both, and so run from p.start back to p.end outside the
    // subtree; with the edge p.end -> p.start that path is an old loop through p, and any
    // tree that reaches the new loop reaches p, and that old loop with it: it was not known
    // to reach none. What else becomes reachable is c's subtree, which holds no loop.
    //
    // A task that still has a parent keeps the old parent's edge into its end, another
    // way in: that case is never proven.
    //
    // Inactive links of the subtree were not seen by the last walk of fixed loops, which
    // went through the plan's tree only: they may come back on.
    if (parent()) return kJoinMayCloseLoop | kJoinBringsInactiveLinks;
    LoopProbe probe;
    bool active = false;
    bool inactive = false;
    probe.gatherSubtree(this, active, inactive);
    std::uint8_t risk = inactive ? kJoinBringsInactiveLinks : 0;
    if (active && (!_reachesNoLoop() || probe.subtreeHasCrossingLink())) risk |= kJoinMayCloseLoop;
    return risk;
}

void KSTask::_noteJoiningRisk(std::uint8_t risk) {
    if (risk & kJoinMayCloseLoop) loopCheckWasBypassed();
    if (risk & kJoinBringsInactiveLinks) inactiveLinksMayComeBack();
}

KSTask* KSTask::_noteTaskJoiningParent(KSTask* task) {
    return std::exchange(LoopProbe::workspace().joining, task);
}

void KSTask::_leavingParent() {
    // Everything this task's end reaches was reachable from the top of the tree it leaves,
    // and taking it out only removes edges. Those edges, and the ancestors it leaves, may
    // have held links off.
    KSTask* oldParent = parentTask();
    if (!oldParent) return;
    loopFreeGeneration_ = oldParent->_treeReachesNoLoop() ? _uncheckedLoopGeneration() : 0;
    inactiveLinksMayComeBack();
}

}  // namespace kestrum
