// What the fuzz targets share: the report of a broken invariant and a document for plans.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "Model/project/KSDocumentProtocol.h"
#include "Platform/core/KSError.h"
#include "Platform/core/KSUndoManager.h"

namespace kestrum::fuzz {

// Names the target, the invariant and the input, then aborts so that the fuzzer keeps it.
[[noreturn]] inline void failInvariant(const char* target, const char* what,
                                       const std::string& text) {
    std::fprintf(stderr, "%s: invariant broken: %s for \"%s\"\n", target, what, text.c_str());
    std::abort();
}

// A document without a file that swallows errors, with its own undo manager.
class Document : public KSDocumentProtocol {
public:
    KSUndoManager* undoManager() override { return undo.get(); }
    std::optional<std::string> fileURL() const override { return std::nullopt; }
    std::optional<std::string> savingToURL() const override { return std::nullopt; }
    void presentError(const KSError&) override {}
    void setShowHeadingNumbers(bool) override {}
    void resourceLoadSubscriptionFlagDidChange() override {}
    std::shared_ptr<KSUndoManager> undo = std::make_shared<KSUndoManager>();
};

}  // namespace kestrum::fuzz
