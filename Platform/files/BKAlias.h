// BKAlias: a persistent reference to a file that survives renaming it in its folder.
//
// An alias keeps the file's absolute path and, when the file existed when the alias was
// made, its identity on disk (device and inode). Resolving tries the path first and, when
// the file there is gone or is another file, looks for the same identity in the folder
// the file was in. Its data form is a small binary property list, safe to store in
// documents and archives.
//
//   auto alias = BKAlias::aliasWithPath("/home/me/Documents/plan.pdf");
//   KSData saved = alias->data();
//   std::string path = BKAlias::aliasWithData(saved)->pathAllowingUnresolvedPath();
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Platform/core/KSValue.h"

namespace kestrum {

class BKAlias {
public:
    // An alias to `path`, made absolute against the working folder; null for an empty path.
    static std::shared_ptr<BKAlias> aliasWithPath(const std::string& path);
    // The alias stored in `data`; null when the data is not an alias.
    static std::shared_ptr<BKAlias> aliasWithData(const KSData& data);

    // The stored form.
    KSData data() const;
    // The path the file has now, or null when it cannot be found.
    std::optional<std::string> resolvedPath() const;
    // The path the file has now, or the path it had when it cannot be found.
    std::string pathAllowingUnresolvedPath() const;
    // The path recorded when the alias was made.
    const std::string& originalPath() const { return path_; }

private:
    BKAlias() = default;
    bool matchesIdentity(const std::string& path) const;

    std::string path_;
    bool hasIdentity_ = false;
    std::uint64_t device_ = 0;
    std::uint64_t inode_ = 0;
};

}  // namespace kestrum
