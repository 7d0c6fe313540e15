#include "Platform/difference/TMChangeSet.h"

namespace kestrum {

namespace {
std::string& currentUserNameStorage() {
    static std::string name;
    return name;
}
}  // namespace

TMChangeSet::TMChangeSet() = default;
TMChangeSet::~TMChangeSet() = default;

void TMChangeSet::setUserAndDate(std::string user, KSDate date) {
    user_ = std::move(user);
    date_ = date;
}

void TMChangeSet::stampWithDate(KSDate date) {
    setUserAndDate(currentUserName(), date);
}

void TMChangeSet::addDifference(std::shared_ptr<TMDifference> difference) {
    if (difference) differences_.push_back(std::move(difference));
}

void TMChangeSet::addDifferences(const std::vector<std::shared_ptr<TMDifference>>& differences) {
    for (const auto& d : differences)
        addDifference(d);
}

int TMChangeSet::compareDate(const TMChangeSet& other) const {
    if (!date_ || !other.date_) return date_ ? 1 : (other.date_ ? -1 : 0);
    if (*date_ < *other.date_) return -1;
    return *date_ == *other.date_ ? 0 : 1;
}

const std::string& TMChangeSet::currentUserName() {
    return currentUserNameStorage();
}

void TMChangeSet::setCurrentUserName(std::string name) {
    currentUserNameStorage() = std::move(name);
}

}  // namespace kestrum
