#include "Platform/files/BKAlias.h"

#include <sys/stat.h>

#include <filesystem>
#include <system_error>

#include "Platform/plist/KSPropertyList.h"

namespace kestrum {

namespace {
constexpr const char* kKindKey = "BKAlias";
constexpr long long kVersion = 1;

bool statPath(const std::string& path, std::uint64_t* device, std::uint64_t* inode) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return false;
    *device = static_cast<std::uint64_t>(info.st_dev);
    *inode = static_cast<std::uint64_t>(info.st_ino);
    return true;
}
}  // namespace

std::shared_ptr<BKAlias> BKAlias::aliasWithPath(const std::string& path) {
    if (path.empty()) return nullptr;
    std::error_code ec;
    std::filesystem::path absolute = std::filesystem::absolute(path, ec);
    if (ec) return nullptr;
    std::shared_ptr<BKAlias> alias(new BKAlias());
    alias->path_ = absolute.lexically_normal().string();
    alias->hasIdentity_ = statPath(alias->path_, &alias->device_, &alias->inode_);
    return alias;
}

std::shared_ptr<BKAlias> BKAlias::aliasWithData(const KSData& data) {
    if (data.empty()) return nullptr;
    KSValue plist = KSPropertyList::propertyListFromData(data);
    if (!plist.isDictionary()) return nullptr;
    const KSDictionary& d = plist.asDictionary();
    KSValue version = d.objectForKey(kKindKey);
    KSValue path = d.objectForKey("path");
    if (!version.isInteger() || version.asInteger() != kVersion || !path.isString() ||
        path.asString().empty()) {
        return nullptr;
    }
    std::shared_ptr<BKAlias> alias(new BKAlias());
    alias->path_ = path.asString();
    KSValue device = d.objectForKey("device");
    KSValue inode = d.objectForKey("inode");
    if (device.isInteger() && inode.isInteger()) {
        alias->hasIdentity_ = true;
        alias->device_ = static_cast<std::uint64_t>(device.asInteger());
        alias->inode_ = static_cast<std::uint64_t>(inode.asInteger());
    }
    return alias;
}

KSData BKAlias::data() const {
    KSDictionary d{{kKindKey, KSValue(kVersion)}, {"path", KSValue(path_)}};
    if (hasIdentity_) {
        d.setObjectForKey("device", KSValue(static_cast<long long>(device_)));
        d.setObjectForKey("inode", KSValue(static_cast<long long>(inode_)));
    }
    return KSPropertyList::dataFromPropertyList(KSValue(d), KSPropertyListFormat::Binary);
}

bool BKAlias::matchesIdentity(const std::string& path) const {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    if (!statPath(path, &device, &inode)) return false;
    return !hasIdentity_ || (device == device_ && inode == inode_);
}

std::optional<std::string> BKAlias::resolvedPath() const {
    if (matchesIdentity(path_)) return path_;
    if (!hasIdentity_) return std::nullopt;
    // The file may have been renamed within its folder: look for its identity there.
    std::error_code ec;
    std::filesystem::path folder = std::filesystem::path(path_).parent_path();
    for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        std::string candidate = it->path().string();
        if (matchesIdentity(candidate)) return candidate;
    }
    return std::nullopt;
}

std::string BKAlias::pathAllowingUnresolvedPath() const {
    std::optional<std::string> resolved = resolvedPath();
    return resolved ? *resolved : path_;
}

}  // namespace kestrum
