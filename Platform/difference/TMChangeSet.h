// TMChangeSet: the differences made by one user at one moment.
//
// An engine gathers the current differences into a change set when changes are marked
// and keeps the sets as its history, oldest first. The user name stamped on new sets is
// process-wide (currentUserName).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/core/KSValue.h"
#include "Platform/difference/TMDifference.h"

namespace kestrum {

class TMChangeSet {
public:
    TMChangeSet();
    virtual ~TMChangeSet();

    // The moment of the set; null until stamped.
    const std::optional<KSDate>& date() const { return date_; }
    // The user who made the changes; empty when unknown.
    const std::string& user() const { return user_; }
    void setUserAndDate(std::string user, KSDate date);
    // Stamps the set with `date` and the current user name.
    void stampWithDate(KSDate date);

    const std::vector<std::shared_ptr<TMDifference>>& differences() const { return differences_; }
    void addDifference(std::shared_ptr<TMDifference> difference);
    void addDifferences(const std::vector<std::shared_ptr<TMDifference>>& differences);

    // Orders by date, a set with no date first: -1, 0 or 1.
    int compareDate(const TMChangeSet& other) const;

    // The name stamped on new change sets; empty when none was set.
    static const std::string& currentUserName();
    static void setCurrentUserName(std::string name);

private:
    std::optional<KSDate> date_;
    std::string user_;
    std::vector<std::shared_ptr<TMDifference>> differences_;
};

}  // namespace kestrum
